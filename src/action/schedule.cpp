#include "action/schedule.h"

#include "action/actionstream_p.h"
#include "action/animationcurve_p.h"
#include "security/asnvalue.h"

#include <algorithm>
#include <memory>
#include <string_view>

namespace action
{
namespace
{
constexpr const char* keywords[Schedule::channels] = {"translateX", "translateY", "translateZ",
                                                      "rotateX",    "rotateY",    "rotateZ",
                                                      "scaleX",     "scaleY",     "scaleZ"};

/// The channel that a keyword names by its beginning and its last letter; -1 for none.
int channelOf(std::string_view word)
{
    for (int channel = 0; channel < Schedule::channels; ++channel) {
        std::string_view keyword = keywords[channel];
        const char axis = keyword.back();
        keyword.remove_suffix(1);
        if (word.size() > keyword.size() && word.substr(0, keyword.size()) == keyword &&
            (word.back() == axis || word.back() == axis - 'A' + 'a'))
            return channel;
    }
    return -1;
}

/// Passes over the rest of an entry and the semicolon behind it.
void skipEntry(VZylStream& stream)
{
    QMemArray<char> rest;
    if (stream.read_expression(rest) > 0)
        stream.getch();
}
} // namespace

Schedule::Schedule() : VPtrVector<AnimationCurve>(channels)
{
    setAutoDelete(true);
}

VFormatIO& Schedule::read(VFormatIO& io)
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    if (QDataStream* const data = stream->dataStream())
        readBinary(*data);
    else
        readText(*stream);
    return io;
}

void Schedule::readText(VZylStream& stream)
{
    if (stream.nextChar() != '{')
        return;
    QCString word;
    while (stream.read_identifier(word) > 0) {
        const int channel = channelOf(word.data());
        if (channel < 0) {
            stream.report(VFormatDiagnostics::SkippedKey, QString::fromLatin1(word.data()));
            if (stream.nextChar() == '{' && stream.skip_block() < 0)
                return;
            skipEntry(stream);
            continue;
        }
        auto curve = std::make_unique<AnimationCurve>();
        const bool isRead = readCurve(stream, *curve);
        const int end = isRead ? stream.nextChar() : 0;
        if (isRead)
            insertExpand(unsigned(channel), curve.release());
        else
            qWarning("Schedule::read: Cannot read %s", word.data());
        if (end == '}')
            return;
        if (end != ';')
            skipEntry(stream);
    }
}

void Schedule::readBinary(QDataStream& data)
{
    QByteArray content;
    if (!zylfields::getContent(data, asn::DerValue::OctetString, content))
        return;
    QDataStream curves(content);
    while (!curves.atEnd()) {
        quint8 channel = 0;
        Item item = nullptr;
        curves >> channel;
        read(curves, item);
        std::unique_ptr<AnimationCurve> curve(static_cast<AnimationCurve*>(item));
        if (channel < channels && !curve->isEmpty())
            insertExpand(channel, curve.release());
    }
}

VFormatIO& Schedule::write(VFormatIO& io) const
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    const unsigned last = std::min(size(), unsigned(channels));
    if (QDataStream* const data = stream->dataStream()) {
        QByteArray bytes;
        QDataStream curves(&bytes, QIODevice::WriteOnly);
        for (unsigned channel = 0; channel < last; ++channel)
            if (AnimationCurve* const curve = at(channel)) {
                curves << quint8(channel);
                write(curves, curve);
            }
        zylfields::putContent(*data, asn::DerValue::OctetString, bytes);
        return io;
    }
    putRaw(*stream, "{\n");
    io.setIndent(io.indent() + 1);
    for (unsigned channel = 0; channel < last; ++channel)
        if (const AnimationCurve* const curve = at(channel)) {
            stream->begin(keywords[channel]);
            io << *curve;
            stream->end();
        }
    io.setIndent(io.indent() - 1);
    stream->writeIndent();
    putRaw(*stream, "}");
    return io;
}

QDataStream& Schedule::read(QDataStream& stream, Item& item)
{
    auto curve = std::make_unique<AnimationCurve>();
    readCurve(stream, *curve);
    item = curve.release();
    return stream;
}

QDataStream& Schedule::write(QDataStream& stream, Item item) const
{
    return stream << static_cast<const geometry::Vector2dArray&>(
               *static_cast<const AnimationCurve*>(item));
}
} // namespace action
