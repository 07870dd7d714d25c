#pragma once

#include "kernel/vformatio.h"
#include "kernel/vzylfields_p.h"
#include "toolkit/qcstring.h"

#include <qbuffer.h>
#include <qdatastream.h>
#include <qtextstream.h>

/// What actions need of the native stream besides its fields.
namespace action
{
/// Makes a dictionary twice as wide when it is four fifths full.
template <class Dict>
void makeRoom(Dict& dict)
{
    if (quint64(dict.count()) * 100 >= quint64(dict.size()) * 80)
        dict.resize(2 * dict.size());
}

/// The next tag of a binary form, which stays there; -1 at the end.
inline int peekTag(QDataStream& data)
{
    quint8 tag;
    if (!zylfields::nextTag(data, tag))
        return -1;
    zylfields::putBack(data, tag);
    return tag;
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
} // namespace action
