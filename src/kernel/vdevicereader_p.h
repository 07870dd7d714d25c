#pragma once

#include <qglobal.h>

#include <vector>

class QIODevice;

/// Reads a device through one window of bytes, so that a parser may go byte by byte at no cost. A
/// buffer's own memory is the window where there is one; otherwise blocks are read. On destruction
/// the device stands where the parser stands: what was read ahead is given back.
class DeviceReader
{
public:
    explicit DeviceReader(QIODevice* device);
    ~DeviceReader();
    DeviceReader(const DeviceReader&) = delete;
    DeviceReader& operator=(const DeviceReader&) = delete;

    /// The next byte, or -1 at the end.
    int get() { return m_at < m_end || fill() ? *m_at++ : -1; }
    int peek() { return m_at < m_end || fill() ? *m_at : -1; }

    /// Copies up to `count` bytes and returns how many there were.
    qint64 read(void* target, qint64 count);

    /// The next `count` bytes in one run, valid until the next call; null when the device ends
    /// before. The bytes are set aside only as they come, so a wild count takes no memory.
    const uchar* take(qint64 count);

    /// Passes over bytes; false at the end.
    bool skip(qint64 count);

    /// Bytes passed since construction.
    qint64 pos() const { return m_windowPos + (m_at - m_begin); }

    /// Goes to a place counted from the start of this reader; false when it can't be reached.
    bool seek(qint64 pos);

    /// The bytes that are left, or a number above any count where the device doesn't know.
    qint64 remaining() const;

    /// The bytes of the window from here on. `advance` passes over some of them.
    const uchar* window() const { return m_at; }
    qint64 windowSize() const { return m_end - m_at; }
    void advance(qint64 count) { m_at += count; }
    /// Makes the window non-empty; false at the end.
    bool fill();

private:
    QIODevice* m_device;
    std::vector<uchar> m_block; // empty over memory
    const uchar* m_begin = nullptr;
    const uchar* m_at = nullptr;
    const uchar* m_end = nullptr;
    qint64 m_windowPos = 0; // of m_begin, from the start of this reader
    qint64 m_start = 0;     // of this reader, in the device
    bool m_inMemory = false;
};
