#include "support.h"

#include "kernel/vimagedecoder.h"

#include <algorithm>

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

private:
    QRect m_screen;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::silence();
    // A header must not take more than a fuzzer has.
    VImage::setAllocationLimit(16 << 20);
    Checker checker;
    VImageDecoder decoder(&checker);
    // The data itself says how it is cut.
    unsigned piece = size > 12 ? data[12] : 1;
    for (std::size_t at = 0; at < size;) {
        piece = piece * 5 + 3;
        const int length = int(std::min<std::size_t>(size - at, piece % 67 + 1));
        const int taken = decoder.decode(data + at, length);
        fuzz::require(taken >= -1 && taken <= length);
        if (taken < length)
            break;
        at += std::size_t(taken);
    }
    if (!decoder.image().isNull())
        decoder.image().allGray();
    return 0;
}
