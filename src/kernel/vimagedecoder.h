#pragma once

#include "kernel/vimage.h"
#include "toolkit/qstrlist.h"
#include "toolkit/zylexport.h"

#include <array>
#include <memory>

class QPoint;
class QRect;

/// Hears what becomes of a picture while it is decoded. Every call comes from within
/// `VImageDecoder::decode`; none may delete the decoder.
class ZYL_EXPORT VImageConsumer
{
public:
    VImageConsumer() = default;
    virtual ~VImageConsumer();
    VImageConsumer(const VImageConsumer&) = delete;
    VImageConsumer& operator=(const VImageConsumer&) = delete;

    /// The picture is whole. A format that doesn't say which frame is its last calls it after each.
    virtual void end();
    /// Pixels of the image within `area` may have another value than before.
    virtual void changed(const QRect& area);
    /// The image shows a whole frame.
    virtual void frameDone();
    /// The image shows a whole frame, whose upper left corner stands at `offset` and whose part
    /// within the image is `area`.
    virtual void frameDone(const QPoint& offset, const QRect& area);
    /// How often the frames are played, 0 for ever.
    virtual void setLooping(int loops);
    /// How long the frame that follows stands.
    virtual void setFramePeriod(int milliseconds);
    /// The size of the image, once, before any of its pixels.
    virtual void setSize(int width, int height);
};

/// One picture on its way through one format.
class ZYL_EXPORT VImageFormat
{
public:
    VImageFormat() = default;
    virtual ~VImageFormat();
    VImageFormat(const VImageFormat&) = delete;
    VImageFormat& operator=(const VImageFormat&) = delete;

    /// Goes on from where the last piece ended and draws into `image`, always the same one. Returns
    /// the number of bytes taken, which is all of them up to the end of the picture, or -1. Not
    /// called again after either end.
    virtual int decode(VImage& image, VImageConsumer& consumer, const unsigned char* bytes,
                       int length) = 0;
};

/// Makes the formats of one kind.
class ZYL_EXPORT VImageFormatType
{
public:
    VImageFormatType() = default;
    virtual ~VImageFormatType();
    VImageFormatType(const VImageFormatType&) = delete;
    VImageFormatType& operator=(const VImageFormatType&) = delete;

    /// A new format for a picture that starts so, which the caller deletes; null when the bytes are
    /// of another kind or still too few to tell.
    virtual VImageFormat* decoderFor(const unsigned char* bytes, int length) = 0;
    /// The name stays as long as the type.
    virtual const char* formatName() const = 0;
};

/// Decodes a picture from pieces of any size, as a network delivers them. GIF and PNG are built in.
class ZYL_EXPORT VImageDecoder
{
public:
    /// A kind of picture is told from no more bytes than these.
    static constexpr int HeadLength = 16;

    /// The consumer isn't owned and may be null.
    explicit VImageDecoder(VImageConsumer* consumer);
    ~VImageDecoder();
    VImageDecoder(const VImageDecoder&) = delete;
    VImageDecoder& operator=(const VImageDecoder&) = delete;

    /// The picture so far. Copies share its pixels, so one that is to stay needs `VImage::copy`.
    const VImage& image() const { return m_image; }

    /// Returns the number of bytes taken: fewer than given only when the picture ends, 0 after its
    /// end. -1 for data that is broken or of no known kind, and then ever after.
    int decode(const unsigned char* bytes, int length);

    /// The name of the format that starts so, or null.
    static const char* formatName(const unsigned char* bytes, int length);
    /// The names, sorted and each once.
    static QStrList inputFormats();

    /// Puts a type in front of all others; null is ignored. The type isn't owned and is taken out
    /// by the caller before it goes.
    static void registerType(VImageFormatType* type);
    static void unregisterType(VImageFormatType* type);

private:
    int findFormat(const unsigned char* bytes, int length);

    VImage m_image;
    VImageConsumer m_silent; // stands in for none
    VImageConsumer* m_consumer;
    std::unique_ptr<VImageFormat> m_format;
    std::array<unsigned char, HeadLength> m_head{};
    int m_headLength = 0;
    bool m_hasFailed = false;
    bool m_hasEnded = false;
};
