#include "kernel/vzylfields_p.h"

#include "kernel/vzylrows.h"
#include "math/msbarray.h"
#include "security/asnarray.h"
#include "security/asnarray.h"
#include "security/asnvalue.h"
#include "security/derlength_p.h"

#include <qbuffer.h>

#include <algorithm>
#include <cstring>

namespace zylfields
{
namespace
{
using asn::DerValue;
using math::MSBArray;

template <class T>
void putNumber(QDataStream& stream, quint8 tag, T value)
{
    uchar octets[2 + MSBArray::MaxEncoded];
    const unsigned length = MSBArray::encode(value, octets + 2);
    octets[0] = tag;
    octets[1] = uchar(length);
    stream.writeRawData(reinterpret_cast<const char*>(octets), int(2 + length));
}

void fail(QDataStream& stream)
{
    stream.setStatus(QDataStream::ReadCorruptData);
}

template <class T>
void getNumber(QDataStream& stream, quint8 tag, T& value)
{
    uchar octets[2 + MSBArray::MaxEncoded];
    char* const raw = reinterpret_cast<char*>(octets);
    if (stream.readRawData(raw, 2) != 2 || octets[0] != tag || octets[1] > MSBArray::MaxEncoded ||
        stream.readRawData(raw + 2, octets[1]) != octets[1]) {
        fail(stream);
        return;
    }
    T read = 0;
    MSBArray::decode(octets + 2, octets[1], read);
    value = read;
}

void putHeader(QDataStream& stream, quint8 tag, qsizetype length)
{
    uchar octets[1 + asn::derlength::maxSize];
    octets[0] = tag;
    const uchar* const end = asn::derlength::write(octets + 1, quint32(length));
    stream.writeRawData(reinterpret_cast<const char*>(octets), int(end - octets));
}

void putText(QDataStream& stream, const char* text, qsizetype length)
{
    putHeader(stream, DerValue::PrintableString, length);
    stream.writeRawData(text, int(length));
}

template <class Put>
void putTexts(QDataStream& stream, Put put)
{
    QByteArray content;
    QDataStream inner(&content, QIODevice::WriteOnly);
    put(inner);
    putContent(stream, DerValue::Sequence, content);
}

/// False, with the stream's status set, where anything but texts stands.
template <class Text, class Append>
bool getTexts(QDataStream& stream, Append append)
{
    QByteArray content;
    if (!getContent(stream, DerValue::Sequence, content))
        return false;
    QDataStream inner(content);
    while (!inner.atEnd()) {
        Text text;
        get(inner, text);
        if (inner.status() != QDataStream::Ok) {
            fail(stream);
            return false;
        }
        append(text);
    }
    return true;
}
} // namespace

void put(QDataStream& stream, int value)
{
    putNumber(stream, DerValue::Integer, value);
}

void put(QDataStream& stream, unsigned value)
{
    putNumber(stream, DerValue::Integer, value);
}

void put(QDataStream& stream, double value)
{
    putNumber(stream, DerValue::Real, value);
}

void put(QDataStream& stream, float value)
{
    putNumber(stream, DerValue::Real, value);
}

void put(QDataStream& stream, VColor color)
{
    put(stream, unsigned(color.pixel()));
}

void put(QDataStream& stream, const char* text)
{
    putText(stream, text, text ? qsizetype(std::strlen(text)) : 0);
}

void put(QDataStream& stream, const QCString& text)
{
    putText(stream, text.data(), qsizetype(text.length()));
}

void put(QDataStream& stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    putText(stream, bytes.constData(), bytes.size());
}

void put(QDataStream& stream, const QStringList& list)
{
    putTexts(stream, [&list](QDataStream& inner) {
        for (const QString& text : list)
            put(inner, text);
    });
}

void put(QDataStream& stream, const QStrList& list)
{
    putTexts(stream, [&list](QDataStream& inner) {
        for (QStrListIterator it(list); const char* text = it.current(); ++it)
            put(inner, text);
    });
}

void put(QDataStream& stream, const VMemArray<VColor>& colors)
{
    VMemArray<unsigned> pixels{int(colors.size())};
    std::transform(colors.begin(), colors.end(), pixels.begin(),
                   [](VColor c) { return c.pixel(); });
    stream << pixels;
}

void put(QDataStream& stream, const VZylRows& rows)
{
    std::vector<int> flat(rows.numbers.size() + rows.size());
    int* out = flat.data();
    for (unsigned row = 0; row < rows.size(); ++row) {
        *out++ = int(rows.length(row));
        out = std::copy_n(rows.data(row), rows.length(row), out);
    }
    MSBArray octets;
    asn::Array::encode(octets, flat.data(), unsigned(flat.size()));
    stream << quint8(DerValue::OctetString);
    DerValue::encode(stream, octets);
}

void get(QDataStream& stream, int& value)
{
    getNumber(stream, DerValue::Integer, value);
}

void get(QDataStream& stream, unsigned& value)
{
    qint64 wide = value;
    getNumber(stream, DerValue::Integer, wide);
    value = unsigned(wide);
}

void get(QDataStream& stream, double& value)
{
    getNumber(stream, DerValue::Real, value);
}

void get(QDataStream& stream, float& value)
{
    getNumber(stream, DerValue::Real, value);
}

void get(QDataStream& stream, VColor& color)
{
    unsigned pixel = color.pixel();
    get(stream, pixel);
    color = VColor(pixel);
}

void get(QDataStream& stream, QCString& text)
{
    QByteArray content;
    if (getContent(stream, DerValue::PrintableString, content))
        text = QCString(content.constData(), unsigned(content.size()) + 1);
}

void get(QDataStream& stream, QString& text)
{
    QByteArray content;
    if (getContent(stream, DerValue::PrintableString, content))
        text = QString::fromUtf8(content);
}

void get(QDataStream& stream, QStringList& list)
{
    QStringList texts;
    if (getTexts<QString>(stream, [&texts](const QString& text) { texts.append(text); }))
        list = texts;
}

void get(QDataStream& stream, QStrList& list)
{
    QStrList texts;
    if (getTexts<QCString>(stream, [&texts](const QCString& text) { texts.append(text.data()); }))
        list = texts;
}

void get(QDataStream& stream, VMemArray<VColor>& colors)
{
    VMemArray<unsigned> pixels;
    stream >> pixels;
    VMemArray<VColor> read{int(pixels.size())};
    std::transform(pixels.begin(), pixels.end(), read.begin(),
                   [](unsigned p) { return VColor(p); });
    colors = read;
}

void get(QDataStream& stream, VZylRows& rows)
{
    QByteArray content;
    if (!getContent(stream, DerValue::OctetString, content))
        return;
    MSBArray octets;
    octets.setRawData(content.constData(), unsigned(content.size()));
    VZylRows read;
    std::vector<int>& numbers = read.numbers;
    numbers.resize(asn::Array::count(octets));
    const unsigned count = asn::Array::decode(octets, numbers.data(), unsigned(numbers.size()));
    octets.resetRawData(content.constData(), unsigned(content.size()));
    // The numbers move down over the lengths that stand between them.
    auto end = numbers.begin();
    for (unsigned at = 0; at < count;) {
        const int length = numbers[at++];
        if (length < 0 || unsigned(length) > count - at) {
            fail(stream);
            return;
        }
        if (read.ends.empty())
            read.ends.reserve(count / (unsigned(length) + 1));
        end = std::copy_n(numbers.begin() + at, length, end);
        read.ends.push_back(unsigned(end - numbers.begin()));
        at += unsigned(length);
    }
    numbers.erase(end, numbers.end());
    rows = std::move(read);
}

bool getContent(QDataStream& stream, quint8 tag, QByteArray& content)
{
    quint8 found = 0, first = 0;
    stream >> found >> first;
    quint32 length = first;
    if (first & 0x80) {
        length = 0;
        const int octets = first & 0x7F;
        for (int i = 0; i < octets && octets < int(asn::derlength::maxSize); ++i) {
            quint8 digit = 0;
            stream >> digit;
            length = length << 8 | digit;
        }
    }
    const bool fits = stream.status() == QDataStream::Ok && found == tag && stream.device() &&
                      qint64(length) <= stream.device()->bytesAvailable();
    if (!fits) {
        fail(stream);
        return false;
    }
    // What a buffer holds isn't copied, so that the content lives as long as the buffer's.
    if (auto* const memory = qobject_cast<QBuffer*>(stream.device())) {
        content =
            QByteArray::fromRawData(memory->data().constData() + memory->pos(), qsizetype(length));
        return memory->seek(memory->pos() + length);
    }
    content.resize(qsizetype(length));
    stream.readRawData(content.data(), int(length));
    return true;
}

void putContent(QDataStream& stream, quint8 tag, const QByteArray& content)
{
    putHeader(stream, tag, content.size());
    stream.writeRawData(content.constData(), int(content.size()));
}

bool nextTag(QDataStream& stream, quint8& tag)
{
    char byte = 0;
    if (stream.status() != QDataStream::Ok || !stream.device() || !stream.device()->getChar(&byte))
        return false;
    tag = quint8(byte);
    return true;
}

void putBack(QDataStream& stream, quint8 tag)
{
    // Stepping back is cheaper than a byte kept in front of the device.
    QIODevice* const device = stream.device();
    if (device->isSequential() || !device->seek(device->pos() - 1))
        device->ungetChar(char(tag));
}
} // namespace zylfields
