#include "support.h"

#include "kernel/vimagedecoder.h"

#include <algorithm>
#include <cstring>

#include <qrect.h>

namespace
{
/// What a consumer is told must hold for the image.
class Checker : public VImageConsumer
{
public:
    void setSize(int width, int height) override
    {
        fuzz::require(width > 0 && height > 0);
        m_screen = QRect(0, 0, width, height);
    }
    void changed(const QRect& area) override { fuzz::require(m_screen.contains(area)); }
    void frameDone() override { ++frames; }
    void frameDone(const QPoint&, const QRect&) override { ++frames; }

    int frames = 0;

private:
    QRect m_screen;
};

struct Decoded {
    /// `nextLength` gives the length of each piece.
    template <class F>
    Decoded(const std::uint8_t* data, std::size_t size, F&& nextLength) : decoder(&checker)
    {
        while (taken < size) {
            const int length = int(std::min<std::size_t>(size - taken, nextLength()));
            const int count = decoder.decode(data + taken, length);
            fuzz::require(count >= -1 && count <= length);
            hasFailed = count < 0;
            if (hasFailed)
                break;
            taken += std::size_t(count);
            if (count < length)
                break;
        }
    }

    Checker checker;
    VImageDecoder decoder;
    std::size_t taken = 0;
    bool hasFailed = false;
};

bool isSame(const VImage& one, const VImage& other)
{
    if (one.isNull() || other.isNull())
        return one.isNull() == other.isNull();
    if (one.size() != other.size() || one.depth() != other.depth() ||
        one.hasAlphaBuffer() != other.hasAlphaBuffer())
        return false;
    const std::size_t bits = std::size_t(one.width()) * std::size_t(one.depth());
    for (int y = 0; y < one.height(); ++y)
        if (std::memcmp(one.scanLine(y), other.scanLine(y), bits / 8) != 0)
            return false;
    return true;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::silence();
    // A header must not take more than a fuzzer has.
    VImage::setAllocationLimit(4 << 20);
    // The data itself says how it is cut.
    unsigned piece = size > 12 ? data[12] : 1;
    const Decoded pieces(data, size, [&piece] {
        piece = piece * 5 + 3;
        return std::size_t(piece % 67 + 1);
    });
    const Decoded whole(data, size, [size] { return size; });
    fuzz::require(pieces.hasFailed == whole.hasFailed);
    fuzz::require(pieces.hasFailed || pieces.taken == whole.taken);
    fuzz::require(pieces.checker.frames == whole.checker.frames);
    fuzz::require(isSame(pieces.decoder.image(), whole.decoder.image()));
    if (!whole.decoder.image().isNull())
        whole.decoder.image().allGray();
    return 0;
}
