#pragma once

#include "geometry/zylnurbs.h"
#include "kernel/vformatio.h"
#include "kernel/vzylfields_p.h"

#include <qbuffer.h>

#include <memory>

/// The file forms that NURBS of all kinds share.
namespace nurbsfile
{
/// Knots stand in files as floats, whatever type the vertices are of.
VMemArray<float> toFloats(const geometry::KnotVector& knots, unsigned flags);
geometry::KnotVector toKnots(const VMemArray<float>& floats, unsigned flags);

/// Reads the text of one value by a stream of its own.
class ValueText : public VFormatIO
{
public:
    explicit ValueText(const QMemArray<char>& text)
        : m_bytes(QByteArray::fromRawData(text.data(), qsizetype(text.size()))), m_buffer(&m_bytes)
    {
        m_buffer.open(QIODevice::ReadOnly);
        setIODevice(&m_buffer);
    }
    bool read() override { return false; }
    bool write() override { return false; }

private:
    QByteArray m_bytes;
    QBuffer m_buffer;
};

/// Reads `{ { statements }, ... }` by `readOne`, which makes an item of the statements of one
/// block. False, with the items as they were, where the text is no such list.
template <class T, class Vector, class ReadOne>
bool readBlocks(const QMemArray<char>& text, Vector& items, ReadOne readOne)
{
    ValueText io(text);
    VZylStream stream(&io);
    std::vector<std::unique_ptr<T>> made;
    if (stream.nextChar() != '{')
        return false;
    int c = stream.nextChar();
    while (c == '{') {
        VZylBlock block(stream);
        if (block.read() < 0)
            return false;
        made.push_back(readOne(stream));
        c = stream.nextChar();
        if (c == ',')
            c = stream.nextChar();
    }
    Vector fresh;
    if (c != '}' || !fresh.resize(unsigned(made.size())))
        return false;
    for (unsigned i = 0; i < fresh.size(); ++i)
        fresh.insert(i, made[i].release());
    items = fresh;
    return true;
}

/// The value of a keyword or tag, by the items' own stream operators or as `readBlocks`.
template <class T, class Vector, class ReadOne>
void readList(VFormatIO& io, const char* key, quint8 tag, Vector& items, ReadOne readOne)
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return;
    if (QDataStream* const data = stream->dataStream()) {
        quint8 found;
        if (!zylfields::nextTag(*data, found))
            return;
        if (found == tag)
            *data >> items;
        else
            zylfields::putBack(*data, found);
    } else if (const QMemArray<char>* const text = stream->find(key)) {
        readBlocks<T>(*text, items, readOne);
    }
}

template <class Vector, class WriteOne>
void writeList(VFormatIO& io, const char* key, quint8 tag, const Vector& items, WriteOne writeOne)
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream || items.isEmpty())
        return;
    if (QDataStream* const data = stream->dataStream()) {
        *data << tag << items;
        return;
    }
    stream->begin(key);
    stream->writeRaw("{");
    bool isFirst = true;
    for (const auto* item : items) {
        if (!item)
            continue;
        stream->writeRaw(isFirst ? " {\n" : ", {\n");
        isFirst = false;
        writeOne(*stream, *item);
        stream->writeRaw("}");
    }
    stream->writeRaw(" }");
    stream->end();
}

/// A statement of an array, unless it is empty.
template <class T>
void writeFilled(VZylStream& stream, const char* key, const T& array)
{
    if (!array.isEmpty())
        zylfields::writeText(stream, key, array);
}
} // namespace nurbsfile
