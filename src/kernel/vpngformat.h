#pragma once

#include "kernel/vimagedecoder.h"

#include <qpoint.h>
#include <qrect.h>

#include <vector>

struct png_info_def;
struct png_struct_def;

/// PNG, and the series of them that `VPNGImageWriter` writes.
///
/// The image takes the first frame's size and form. It turns to 32 bits with the second frame;
/// frames replace what they cover, alpha included, when they are whole, and are placed relative to
/// the first one's offset. The picture ends where something else than a frame follows.
class ZYL_EXPORT VPNGFormat : public VImageFormat
{
public:
    VPNGFormat();
    ~VPNGFormat() override;

    int decode(VImage& image, VImageConsumer& consumer, const unsigned char* bytes,
               int length) override;

private:
    struct Callbacks;
    enum class Part { Signature, ChunkHead, Chunk, NextFrame };

    void expect(Part part, std::size_t count);
    bool handlePart();
    bool handleChunkHead();
    bool start();
    void release();
    bool process(const unsigned char* bytes, std::size_t length);
    void tellHeader();
    void tellTimes();
    void flushChanges();
    bool finishFrame();
    bool placeFrame();
    void dispose();

    Part m_part = Part::Signature;
    std::vector<unsigned char> m_block; // collected for the codec
    std::size_t m_expected = 8;
    std::size_t m_left = 0; // of the chunk, with its checksum
    bool m_isPixels = false;
    bool m_isLastChunk = false;
    bool m_isSkipped = false;

    png_struct_def* m_png = nullptr;
    png_info_def* m_info = nullptr;
    VImage* m_image = nullptr; // while a piece is decoded
    VImageConsumer* m_consumer = nullptr;

    VImage m_frame; // shares the image's pixels in the first frame
    VImage m_covered;
    QRect m_area;  // of the frame that stands
    QRect m_dirty; // not yet told of
    QPoint m_origin;
    int m_frames = 0;
    int m_looping = -1;
    int m_period = -1;
    int m_disposal = 0;
    int m_lastDisposal = 0;
    int m_lastPass = 0;
    bool m_hasHeader = false;
    bool m_hasAllRows = false;
};

class ZYL_EXPORT VPNGFormatType : public VImageFormatType
{
public:
    VImageFormat* decoderFor(const unsigned char* bytes, int length) override;
    const char* formatName() const override;
};
