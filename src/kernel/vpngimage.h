#pragma once

#include "kernel/vimage.h"

class QIODevice;

/// Writes one PNG, or a series of them that together are an animation: each frame follows the one
/// before without a signature of its own, and private chunks say how often the series is played,
/// how long a frame stands and what becomes of it.
class ZYL_EXPORT VPNGImageWriter
{
public:
    /// What becomes of a frame when the next one comes.
    enum DisposalMethod {
        Unspecified = 0,
        NoDisposal = 1,
        RestoreBackground = 2,
        RestoreImage = 3
    };

    /// The writer doesn't own the device.
    explicit VPNGImageWriter(QIODevice* device);
    virtual ~VPNGImageWriter();
    VPNGImageWriter(const VPNGImageWriter&) = delete;
    VPNGImageWriter& operator=(const VPNGImageWriter&) = delete;

    void setDisposalMethod(DisposalMethod method) { m_disposal = method; }

    /// How often the series is played: 0 for ever, -1 not said.
    void setLooping(int loops = 0) { m_looping = loops; }

    /// How long each of the following frames stands, in milliseconds; -1 not said.
    void setFrameDelay(int milliseconds) { m_frameDelay = milliseconds; }

    /// The gamma of the screen that the colours are meant for, 0 for none.
    void setGamma(float gamma) { m_gamma = gamma; }

    /// Writes a frame at (x, y) plus the image's own offset. `quality` is the level of compression,
    /// 0 to 9 or -1 for the codec's own. False for an image that a PNG can't hold (without colours,
    /// or over 256) or when the device takes no more.
    bool writeImage(const VImage& image, int quality, int x, int y);
    bool writeImage(const VImage& image, int x, int y) { return writeImage(image, -1, x, y); }
    bool writeImage(const VImage& image) { return writeImage(image, -1, 0, 0); }

    int framesWritten() const { return m_frames; }
    QIODevice* device() const { return m_device; }

private:
    QIODevice* m_device;
    int m_frames = 0;
    DisposalMethod m_disposal = Unspecified;
    int m_looping = -1;
    int m_frameDelay = -1;
    float m_gamma = 0;
};

/// Writes an animation in which each frame holds only the rectangle that differs from the frame
/// before.
class ZYL_EXPORT VPNGImagePacker : public VPNGImageWriter
{
public:
    /// Frames are stored with `storageDepth` bits a pixel, converted with `conversionFlags`.
    VPNGImagePacker(QIODevice* device, int storageDepth, int conversionFlags);
    ~VPNGImagePacker() override;

    /// Sides of the rectangles come at multiples of this many pixels, or at the frame's edge; at
    /// least 1.
    void setPixelAlignment(int pixels);

    /// Writes the part of `image` that differs from the last one, or a single pixel where nothing
    /// does. A frame of another size is written whole.
    bool packImage(const VImage& image);

private:
    VImage m_previous;
    int m_depth;
    int m_conversionFlags;
    int m_alignment = 1;
};
