#pragma once

#include "kernel/vzylnumber_p.h"

#include <qbytearray.h>
#include <qiodevice.h>
#include <qpointer.h>

#include <cstddef>
#include <cstring>
#include <string_view>
#include <type_traits>

QT_BEGIN_NAMESPACE
class QTextStream;
QT_END_NAMESPACE
class VFormatIO;

/// The writing side of the native stream: collects bytes for the request's device, and writes
/// numbers in bulk.
class VZylWriter
{
public:
    /// What is written inside of a scope goes to the device in large pieces, and all of it is there
    /// at the end of the outermost one.
    class Scope
    {
    public:
        explicit Scope(VZylWriter& writer) : m_writer(writer)
        {
            if (m_writer.m_depth++ == 0)
                m_writer.begin();
        }
        ~Scope()
        {
            if (--m_writer.m_depth == 0)
                m_writer.flush();
        }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        VZylWriter& m_writer;
    };

    explicit VZylWriter(VFormatIO* io) : m_io(io) {}

    /// Text that goes to the device through this stream is kept in its place among ours.
    QTextStream* textStream() const { return m_textStream; }
    void setTextStream(QTextStream* stream) { m_textStream = stream; }

    void flush();
    /// Whether the device has refused anything so far, or something had to be left out.
    bool hasFailed() const { return m_failed; }
    void setFailed() { m_failed = true; }

    void put(char c)
    {
        *room(1) = c;
        ++m_at;
    }
    void put(std::string_view text);
    void putIndent();
    void putLine()
    {
        put('\n');
        putIndent();
    }
    void raiseIndent(int levels);

    template <class T>
    void putNumber(T value);
    /// " 1, 2, 3 " for 1, 2 and 3; nothing for none.
    template <class T>
    void putNumbers(const T* values, std::size_t n);

private:
    void begin();
    char* room(std::size_t size)
    {
        if (Q_UNLIKELY(std::size_t(m_end - m_at) < size))
            spill();
        return m_at;
    }
    void spill();
    bool isExact() const;
    /// Tells the request's diagnostics, if there are any, of numbers that can't be read back.
    template <class T>
    void checkFinite(const T* values, std::size_t n);

    VFormatIO* m_io;
    QPointer<QIODevice> m_device;
    QTextStream* m_textStream = nullptr;
    QByteArray m_buffer;
    char* m_at = nullptr;
    char* m_end = nullptr;
    int m_depth = 0;
    bool m_failed = false;
};

template <class T>
void VZylWriter::putNumber(T value)
{
    char* const to = room(zyltext::longestNumber);
    if constexpr (std::is_same_v<T, char>) {
        *to = value;
        m_at = to + 1;
    } else if constexpr (std::is_integral_v<T>) {
        m_at = zyltext::writeInteger(to, value);
    } else {
        checkFinite(&value, 1);
        m_at = isExact() ? zyltext::writeExact(to, value) : zyltext::writeReal(to, double(value));
    }
}

template <class T>
void VZylWriter::putNumbers(const T* values, std::size_t n)
{
    const bool exact = isExact();
    if constexpr (std::is_floating_point_v<T>)
        checkFinite(values, n);
    for (std::size_t i = 0; i < n; ++i) {
        char* to = room(zyltext::longestNumber + 3);
        *to++ = ' ';
        if constexpr (std::is_same_v<T, char>)
            *to++ = values[i];
        else if constexpr (std::is_integral_v<T>)
            to = zyltext::writeInteger(to, values[i]);
        else if (exact)
            to = zyltext::writeExact(to, values[i]);
        else
            to = zyltext::writeReal(to, double(values[i]));
        *to++ = i + 1 < n ? ',' : ' ';
        m_at = to;
    }
}
