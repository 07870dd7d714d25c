#include "kernel/vimagedecoder.h"

#include "kernel/vgifformat.h"
#include "kernel/vpngformat.h"
#include "tools/postroutines.h"
#include "tools/vptrlist.h"

namespace
{
struct FormatTypes {
    FormatTypes()
    {
        list.append(&gif);
        list.append(&png);
    }

    VGIFFormatType gif;
    VPNGFormatType png;
    VPtrList<VImageFormatType> list;
};

FormatTypes* s_types = nullptr;

void deleteFormatTypes()
{
    delete s_types;
    s_types = nullptr;
}

VPtrList<VImageFormatType>& formatTypes()
{
    if (!s_types) {
        s_types = new FormatTypes;
        postroutines::add(&deleteFormatTypes);
    }
    return s_types->list;
}
} // namespace

VImageConsumer::~VImageConsumer() = default;

void VImageConsumer::end() {}

void VImageConsumer::changed(const QRect&) {}

void VImageConsumer::frameDone() {}

void VImageConsumer::frameDone(const QPoint&, const QRect&) {}

void VImageConsumer::setLooping(int) {}

void VImageConsumer::setFramePeriod(int) {}

void VImageConsumer::setSize(int, int) {}

VImageFormat::~VImageFormat() = default;

VImageFormatType::~VImageFormatType() = default;

VImageDecoder::VImageDecoder(VImageConsumer* consumer) : m_consumer(consumer ? consumer : &m_silent)
{
}

VImageDecoder::~VImageDecoder() = default;

int VImageDecoder::decode(const unsigned char* bytes, int length)
{
    if (m_hasFailed)
        return -1;
    if (!bytes || length <= 0 || m_hasEnded)
        return 0;
    int taken = m_format ? 0 : findFormat(bytes, length);
    if (taken >= 0 && taken < length && !m_hasEnded) {
        const int count = m_format->decode(m_image, *m_consumer, bytes + taken, length - taken);
        m_hasEnded = count >= 0 && count < length - taken;
        taken = count < 0 ? -1 : taken + count;
    }
    m_hasFailed = taken < 0;
    return taken;
}

/// Takes bytes until a type knows them, one at a time so that the choice doesn't depend on how the
/// data is cut.
int VImageDecoder::findFormat(const unsigned char* bytes, int length)
{
    for (int taken = 0; taken < length;) {
        m_head[std::size_t(m_headLength++)] = bytes[taken++];
        for (VImageFormatType* type : formatTypes()) {
            m_format.reset(type->decoderFor(m_head.data(), m_headLength));
            if (!m_format)
                continue;
            const int count = m_format->decode(m_image, *m_consumer, m_head.data(), m_headLength);
            m_hasEnded = count >= 0 && count < m_headLength;
            return count < 0 ? -1 : taken;
        }
        if (m_headLength == HeadLength)
            return -1;
    }
    return length;
}

const char* VImageDecoder::formatName(const unsigned char* bytes, int length)
{
    if (!bytes || length <= 0)
        return nullptr;
    for (VImageFormatType* type : formatTypes())
        if (std::unique_ptr<VImageFormat>(type->decoderFor(bytes, length)))
            return type->formatName();
    return nullptr;
}

QStrList VImageDecoder::inputFormats()
{
    QStrList names;
    for (const VImageFormatType* type : formatTypes())
        if (!names.contains(type->formatName()))
            names.inSort(type->formatName());
    return names;
}

void VImageDecoder::registerType(VImageFormatType* type)
{
    if (type)
        formatTypes().prepend(type);
}

void VImageDecoder::unregisterType(VImageFormatType* type)
{
    if (s_types)
        s_types->list.removeRef(type);
}
