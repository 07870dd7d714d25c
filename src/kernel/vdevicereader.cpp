#include "kernel/vdevicereader_p.h"

#include <qbuffer.h>
#include <qiodevice.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace
{
constexpr std::size_t blockSize = 64 * 1024;
}

DeviceReader::DeviceReader(QIODevice* device) : m_device(device), m_start(device->pos())
{
    // Un-got bytes lie in the device's own queue, which its memory doesn't show.
    const auto* buffer = qobject_cast<QBuffer*>(device);
    if (buffer && device->isReadable() && m_start >= 0 && m_start <= buffer->data().size() &&
        device->bytesAvailable() == buffer->data().size() - m_start) {
        m_inMemory = true;
        const auto* bytes = reinterpret_cast<const uchar*>(buffer->data().constData());
        m_begin = m_at = bytes + m_start;
        m_end = bytes + buffer->data().size();
    }
}

DeviceReader::~DeviceReader()
{
    if (!m_device->isSequential()) {
        m_device->seek(m_start + pos());
        return;
    }
    for (const uchar* byte = m_end; byte > m_at;)
        m_device->ungetChar(static_cast<char>(*--byte));
}

bool DeviceReader::fill()
{
    if (m_at < m_end)
        return true;
    if (m_inMemory)
        return false;
    m_windowPos += m_end - m_begin;
    m_block.resize(blockSize);
    const qint64 count = m_device->read(reinterpret_cast<char*>(m_block.data()), blockSize);
    m_begin = m_at = m_block.data();
    m_end = m_begin + std::max<qint64>(count, 0);
    return m_at < m_end;
}

qint64 DeviceReader::read(void* target, qint64 count)
{
    auto* bytes = static_cast<uchar*>(target);
    const qint64 ready = std::min(count, windowSize());
    if (ready > 0)
        std::memcpy(bytes, m_at, std::size_t(ready));
    m_at += ready;
    qint64 done = ready;
    while (done < count && !m_inMemory) {
        if (count - done < qint64(blockSize)) {
            if (!fill())
                break;
            const qint64 part = std::min(count - done, windowSize());
            std::memcpy(bytes + done, m_at, std::size_t(part));
            m_at += part;
            done += part;
            continue;
        }
        // Whole blocks go straight to where they are wanted.
        const qint64 part = m_device->read(reinterpret_cast<char*>(bytes + done), count - done);
        if (part <= 0)
            break;
        m_windowPos += m_end - m_begin + part;
        m_begin = m_at = m_end = nullptr;
        done += part;
    }
    return done;
}

const uchar* DeviceReader::take(qint64 count)
{
    if (windowSize() >= count) {
        m_at += count;
        return m_at - count;
    }
    if (m_inMemory || count > remaining())
        return nullptr;
    // The bytes here move to the front, and the block grows no faster than bytes come.
    m_windowPos += m_at - m_begin;
    std::vector<uchar> block(m_at, m_end);
    while (qint64(block.size()) < count) {
        const std::size_t have = block.size();
        block.resize(have + std::max(blockSize, std::min(have, std::size_t(count) - have)));
        const qint64 part = m_device->read(reinterpret_cast<char*>(block.data() + have),
                                           qint64(block.size() - have));
        block.resize(have + std::size_t(std::max<qint64>(part, 0)));
        if (part <= 0)
            break;
    }
    m_block.swap(block);
    m_begin = m_at = m_block.data();
    m_end = m_begin + m_block.size();
    if (windowSize() < count)
        return nullptr;
    m_at += count;
    return m_at - count;
}

bool DeviceReader::skip(qint64 count)
{
    if (count < 0)
        return false;
    if (!m_inMemory && !m_device->isSequential() && count > windowSize())
        return seek(pos() + count);
    while (count > 0) {
        if (!fill())
            return false;
        const qint64 part = std::min(count, windowSize());
        m_at += part;
        count -= part;
    }
    return true;
}

bool DeviceReader::seek(qint64 to)
{
    if (to >= m_windowPos && to <= m_windowPos + (m_end - m_begin)) {
        m_at = m_begin + (to - m_windowPos);
        return true;
    }
    if (m_inMemory || to < 0)
        return false;
    if (m_device->isSequential())
        return to > pos() && skip(to - pos());
    if (to > m_device->size() - m_start || !m_device->seek(m_start + to))
        return false;
    m_begin = m_at = m_end = nullptr;
    m_windowPos = to;
    return true;
}

qint64 DeviceReader::remaining() const
{
    if (m_inMemory)
        return windowSize();
    if (m_device->isSequential())
        return std::numeric_limits<qint64>::max();
    return std::max<qint64>(0, m_device->size() - m_start - pos());
}
