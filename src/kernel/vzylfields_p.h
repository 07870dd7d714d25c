#pragma once

#include "kernel/vzylstream.h"

#include <qdatastream.h>

#include <tuple>

/// The stored values of a class as a table, walked by both forms of a file:
///
///     struct GL_Cone::Stored {
///         static constexpr auto fields =
///             std::tuple(field("radius", 0x80, &GL_Cone::radius),
///                        field("slices", 0x81, &GL_Cone::slices, 20));
///     };
///     VFormatIO& GL_Cone::read(VFormatIO& io)
///     {
///         return zylfields::read(GL_Shape::read(io), *this, Stored::fields);
///     }
///
/// A row is the keyword, the tag of the binary form, the member, and what it is when it isn't
/// written; without that it is written always.
namespace zylfields
{
template <class C, class T>
struct Field {
    const char* key;
    quint8 tag;
    T C::*member;

    constexpr bool isWritten(const T&) const { return true; }
};

template <class C, class T>
struct DefaultField : Field<C, T> {
    T neutral;

    constexpr bool isWritten(const T& value) const { return !(value == neutral); }
};

/// An array or a text, which isn't written when it is empty.
template <class C, class T>
struct FilledField : Field<C, T> {
    bool isWritten(const T& value) const { return !value.isEmpty(); }
};

template <class C, class T>
constexpr Field<C, T> field(const char* key, int tag, T C::*member)
{
    return {key, quint8(tag), member};
}

template <class C, class T, class D>
constexpr DefaultField<C, T> field(const char* key, int tag, T C::*member, const D& neutral)
{
    return {{key, quint8(tag), member}, T(neutral)};
}

template <class C, class T>
constexpr FilledField<C, T> filled(const char* key, int tag, T C::*member)
{
    return {{key, quint8(tag), member}};
}

// Values of the binary form: an INTEGER, a REAL with the octets of number arrays, a
// PrintableString, a SEQUENCE of those, colours as an array of whole numbers, and for the rest what
// its stream operators make. Reading something else, or less than a whole value, sets the stream's
// status and leaves the value alone.
void put(QDataStream& stream, int value);
void put(QDataStream& stream, unsigned value);
void put(QDataStream& stream, double value);
void put(QDataStream& stream, float value);
void put(QDataStream& stream, VColor color);
void put(QDataStream& stream, const char* text);
void put(QDataStream& stream, const QCString& text);
void put(QDataStream& stream, const QString& text);
void put(QDataStream& stream, const QStringList& list);
void put(QDataStream& stream, const VZylRows& rows);
void put(QDataStream& stream, const QStrList& list);
void put(QDataStream& stream, const VMemArray<VColor>& colors);
template <class T>
void put(QDataStream& stream, const T& value)
{
    stream << value;
}

void get(QDataStream& stream, int& value);
/// Also takes a negative number of 32 bits.
void get(QDataStream& stream, unsigned& value);
void get(QDataStream& stream, double& value);
void get(QDataStream& stream, float& value);
void get(QDataStream& stream, VColor& color);
void get(QDataStream& stream, QCString& text);
void get(QDataStream& stream, QString& text);
void get(QDataStream& stream, QStringList& list);
void get(QDataStream& stream, VZylRows& rows);
void get(QDataStream& stream, QStrList& list);
void get(QDataStream& stream, VMemArray<VColor>& colors);
template <class T>
void get(QDataStream& stream, T& value)
{
    stream >> value;
}

/// The content of a value of this tag, held against the bytes that are there. Where the stream is
/// on a buffer it views the buffer's bytes, and so isn't closed by a zero.
bool getContent(QDataStream& stream, quint8 tag, QByteArray& content);
void putContent(QDataStream& stream, quint8 tag, const QByteArray& content);

/// The next tag; false at the end of the data, or after a value that couldn't be read.
bool nextTag(QDataStream& stream, quint8& tag);
/// Steps back over the tag just read.
void putBack(QDataStream& stream, quint8 tag);

/// Writes one statement of the text form.
template <class T>
void writeText(VZylStream& stream, const char* key, const T& value)
{
    stream.begin(key);
    stream.write(value);
    stream.end();
}

/// A bare keyword.
inline void writeWord(VZylStream& stream, const char* key)
{
    stream.begin(key);
    stream.end();
}

/// Reads the value of a tag of the table; false, with nothing read, for any other tag.
template <class C, class... F>
bool take(QDataStream& data, quint8 tag, C& object, const std::tuple<F...>& fields)
{
    const auto one = [&](const auto& f) {
        if (f.tag != tag)
            return false;
        get(data, object.*f.member);
        return true;
    };
    return std::apply([&](const auto&... f) { return (one(f) || ...); }, fields);
}

/// Reads what the table tells and leaves the rest to the caller: with its dictionary, or with the
/// first unknown tag still to come.
template <class C, class... F>
VFormatIO& read(VFormatIO& io, C& object, const std::tuple<F...>& fields)
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QDataStream* const data = stream->dataStream();
    if (!data) {
        std::apply([&](const auto&... f) { (stream->read(f.key, object.*f.member), ...); }, fields);
        return io;
    }
    quint8 tag;
    while (nextTag(*data, tag)) {
        if (!take(*data, tag, object, fields)) {
            putBack(*data, tag);
            break;
        }
    }
    return io;
}

template <class C, class... F>
VFormatIO& write(VFormatIO& io, const C& object, const std::tuple<F...>& fields)
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QDataStream* const data = stream->dataStream();
    const auto one = [&](const auto& f) {
        const auto& value = object.*f.member;
        if (!f.isWritten(value))
            return;
        if (data) {
            *data << f.tag;
            put(*data, value);
        } else {
            writeText(*stream, f.key, value);
        }
    };
    std::apply([&](const auto&... f) { (one(f), ...); }, fields);
    return io;
}
} // namespace zylfields
