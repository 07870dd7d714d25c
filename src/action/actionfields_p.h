#pragma once

#include "geometry/zylvectorarray.h"
#include "kernel/vformatio.h"
#include "kernel/vzylstream.h"
#include "security/asnarray.h"
#include "security/asnvalue.h"
#include "toolkit/qstrlist.h"

#include <qbuffer.h>
#include <qdatastream.h>
#include <qstringconverter.h>
#include <qtextstream.h>

#include <cstring>
#include <tuple>

/// The fields of actions in files. A class has a table of rows, each with its keyword in the text
/// form, its tag in the binary form, and its member; one walk reads or writes either form.
///
/// What a member's type does in a file say the functions `isDefault`, `readText`, `writeText`,
/// `readBinary` and `writeBinary`, which types may bring along in their own namespace.
namespace action::fields
{
/// Makes a dictionary twice as wide when it is four fifths full.
template <class Dict>
void makeRoom(Dict& dict)
{
    if (quint64(dict.count()) * 100 >= quint64(dict.size()) * 80)
        dict.resize(2 * dict.size());
}

/// The next byte of a binary form, which stays there; -1 at the end.
inline int nextTag(QDataStream& data)
{
    char tag;
    return data.device() && data.device()->peek(&tag, 1) == 1 ? quint8(tag) : -1;
}

/// A value's bytes behind its tag and length.
inline void writeValue(QDataStream& data, quint8 tag, const QByteArray& bytes)
{
    data << tag;
    asn::DerValue::encode(data, math::MSBArray(bytes.constData(), unsigned(bytes.size())));
}

/// Sends the stream to another device until the end of the scope.
class DeviceScope
{
public:
    DeviceScope(VZylStream& stream, QIODevice* device)
        : m_stream(stream), m_device(stream.io()->ioDevice()),
          m_dataDevice(stream.dataStream() ? stream.dataStream()->device() : nullptr)
    {
        switchTo(device, device);
    }
    ~DeviceScope() { switchTo(m_device, m_dataDevice); }
    DeviceScope(const DeviceScope&) = delete;
    DeviceScope& operator=(const DeviceScope&) = delete;

private:
    void switchTo(QIODevice* device, QIODevice* dataDevice)
    {
        if (QDataStream* const data = m_stream.dataStream()) {
            m_stream.io()->setIODevice(device);
            data->setDevice(dataDevice);
        } else {
            m_stream.setDevice(device);
        }
    }

    VZylStream& m_stream;
    QIODevice* m_device;
    QIODevice* m_dataDevice;
};

/// Calls `read` with the stream standing at the beginning of a keyword's value, if there is one.
template <class Read>
void readValue(VZylStream& stream, const char* key, Read read)
{
    const QMemArray<char>* const text = stream.find(key);
    if (!text)
        return;
    QBuffer buffer;
    buffer.setData(QByteArray::fromRawData(text->data(), qsizetype(text->size())));
    buffer.open(QIODevice::ReadOnly);
    const DeviceScope scope(stream, &buffer);
    read();
}

/// Text that none of the stream's writers makes.
inline void putRaw(VZylStream& stream, const char* text)
{
    if (QTextStream* const out = stream.textStream())
        *out << text;
    else if (stream.io()->ioDevice())
        stream.io()->ioDevice()->write(text);
}

template <class T>
void writeStatement(VZylStream& stream, const char* key, const T& value)
{
    stream.begin(key);
    stream.write(value);
    stream.end();
}

inline QString textOf(const math::MSBArray& bytes)
{
    const QByteArrayView view(bytes.data(), qsizetype(bytes.size()));
    QStringDecoder decode(QStringDecoder::Utf8);
    const QString text = decode(view);
    return decode.hasError() ? QString::fromLatin1(view) : text;
}

/// Hands the values of a SEQUENCE of strings to `take`, one after the other.
template <class Take>
void readStrings(QDataStream& data, Take take)
{
    asn::DerValue list;
    list.decode(data);
    if (list.tag != asn::DerValue::Sequence)
        return;
    for (const asn::DerValue& item : list.getList())
        if (item.tag == asn::DerValue::PrintableString)
            take(item);
}

// Numbers, arrays and strings

inline bool isDefault(int value)
{
    return value == 0;
}
inline bool isDefault(double value)
{
    return value == 0;
}
template <class T>
auto isDefault(const T& value) -> decltype(value.isEmpty())
{
    return value.isEmpty();
}

template <class T>
void readText(VZylStream& stream, const char* key, T& value)
{
    stream.read(key, value);
}
/// Every string counts, as it stands.
inline void readText(VZylStream& stream, const char* key, QStrList& list)
{
    readValue(stream, key, [&] {
        QCString item;
        if (stream.nextChar() == '{')
            while (stream.read(item) > 0) {
                list.append(item);
                if (stream.nextChar() != ',')
                    break;
            }
    });
}

template <class T>
void writeText(VZylStream& stream, const char* key, const T& value)
{
    writeStatement(stream, key, value);
}
inline void writeText(VZylStream& stream, const char* key, const QStrList& list)
{
    stream.begin(key);
    const char* before = "{ ";
    for (QStrListIterator it(list); it.current(); ++it) {
        putRaw(stream, before);
        stream.write(it.current());
        before = ", ";
    }
    putRaw(stream, " }");
    stream.end();
}

template <class T>
void readBinary(QDataStream& data, VMemArray<T>& array)
{
    VMemArray<T> fresh;
    data >> fresh;
    array = fresh;
}
template <class V>
void readBinary(QDataStream& data, geometry::VectorArray<V>& array)
{
    geometry::VectorArray<V> fresh;
    data >> fresh;
    array = fresh;
}
inline void readBinary(QDataStream& data, VMemArray<VColor>& array)
{
    VMemArray<unsigned> pixels;
    data >> pixels;
    VMemArray<VColor> fresh{int(pixels.size())};
    std::transform(pixels.begin(), pixels.end(), fresh.begin(),
                   [](unsigned p) { return VColor(p); });
    array = fresh;
}
inline void readBinary(QDataStream& data, int& value)
{
    asn::DerValue number;
    number.decode(data);
    bool ok = false;
    const int read = number.data.toInt(&ok);
    if (ok && number.tag == asn::DerValue::Integer)
        value = read;
}
inline void readBinary(QDataStream& data, double& value)
{
    asn::DerValue number;
    number.decode(data);
    double read;
    if (number.tag == asn::DerValue::Real && number.data.getReal(read))
        value = read;
}
inline void readBinary(QDataStream& data, QString& value)
{
    asn::DerValue text;
    text.decode(data);
    if (text.tag == asn::DerValue::PrintableString)
        value = textOf(text.data);
}
inline void readBinary(QDataStream& data, QCString& value)
{
    asn::DerValue text;
    text.decode(data);
    if (text.tag == asn::DerValue::PrintableString)
        value = text.getPrintableString();
}
inline void readBinary(QDataStream& data, QStringList& list)
{
    list.clear();
    readStrings(data, [&](const asn::DerValue& item) { list.append(textOf(item.data)); });
}
inline void readBinary(QDataStream& data, QStrList& list)
{
    readStrings(data, [&](const asn::DerValue& item) { list.append(item.getPrintableString()); });
}

template <class A>
auto writeBinary(QDataStream& data, const A& array) -> decltype(array.begin(), void())
{
    data << array;
}
inline void writeBinary(QDataStream& data, const VMemArray<VColor>& array)
{
    VMemArray<unsigned> pixels{int(array.size())};
    std::transform(array.begin(), array.end(), pixels.begin(), [](VColor c) { return c.pixel(); });
    data << pixels;
}
inline void writeBinary(QDataStream& data, int value)
{
    asn::DerValue number;
    number.tag = asn::DerValue::Integer;
    number.data.setInteger(value);
    number.encode(data);
}
inline void writeBinary(QDataStream& data, double value)
{
    asn::DerValue number;
    number.tag = asn::DerValue::Real;
    number.data.setReal(value);
    number.encode(data);
}
inline void writeBinary(QDataStream& data, const QCString& value)
{
    asn::DerValue(value).encode(data);
}
inline void writeBinary(QDataStream& data, const QString& value)
{
    writeBinary(data, QCString(value.toUtf8().constData()));
}
inline void writeBinary(QDataStream& data, const QStrList& list)
{
    QValueList<asn::DerValue> items;
    for (QStrListIterator it(list); it.current(); ++it)
        items.append(asn::DerValue(QCString(it.current())));
    asn::DerValue value;
    value.setSequence(items);
    value.encode(data);
}
inline void writeBinary(QDataStream& data, const QStringList& list)
{
    QStrList strings;
    for (const QString& text : list)
        strings.append(text.toUtf8().constData());
    writeBinary(data, strings);
}

// Rows

template <class C, class T>
struct Field {
    const char* keyword;
    quint8 tag;
    T C::*member;
};

template <class C, class T>
constexpr Field<C, T> field(const char* keyword, quint8 tag, T C::*member)
{
    return {keyword, tag, member};
}

template <class... Fields>
constexpr std::tuple<Fields...> table(Fields... rows)
{
    return {rows...};
}

/// Reads what the stream has of the fields: in the text form those of the current block, in the
/// binary form one after the other up to a tag that isn't in the table.
template <class C, class... Fields>
VFormatIO& read(VFormatIO& io, C& object, const std::tuple<Fields...>& rows)
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QDataStream* const data = stream->dataStream();
    if (!data) {
        const auto readRow = [&](const auto& row) {
            readText(*stream, row.keyword, object.*row.member);
        };
        std::apply([&](const auto&... row) { (readRow(row), ...); }, rows);
        return io;
    }
    const auto takeRow = [&](int tag, const auto& row) {
        if (tag != row.tag)
            return false;
        data->skipRawData(1);
        readBinary(*data, object.*row.member);
        return true;
    };
    bool isTaken = true;
    while (isTaken) {
        const int tag = nextTag(*data);
        isTaken = tag >= 0 &&
                  std::apply([&](const auto&... row) { return (takeRow(tag, row) || ...); }, rows);
    }
    return io;
}

/// Writes a value as a field's, unless it is the default.
template <class C, class T>
VFormatIO& writeField(VFormatIO& io, const Field<C, T>& row, const T& value)
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream || isDefault(value))
        return io;
    if (QDataStream* const data = stream->dataStream()) {
        *data << row.tag;
        writeBinary(*data, value);
    } else {
        writeText(*stream, row.keyword, value);
    }
    return io;
}

template <class C, class... Fields>
VFormatIO& write(VFormatIO& io, const C& object, const std::tuple<Fields...>& rows)
{
    std::apply([&](const auto&... row) { (writeField(io, row, object.*row.member), ...); }, rows);
    return io;
}
} // namespace action::fields
