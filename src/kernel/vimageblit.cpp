#include "kernel/vimagelines_p.h"

#include <algorithm>
#include <optional>
#include <vector>

using namespace imagelines;

namespace
{
/// Leaves the top bytes of a record without meaning for a block.
class AlphaOff
{
public:
    explicit AlphaOff(const VImage& image) : m_image(image), m_alpha(image.hasAlphaBuffer())
    {
        m_image.setAlphaBuffer(false);
    }
    ~AlphaOff() { m_image.setAlphaBuffer(m_alpha); }
    AlphaOff(const AlphaOff&) = delete;
    AlphaOff& operator=(const AlphaOff&) = delete;

private:
    VImage m_image; // a handle of the same record
    bool m_alpha;
};

/// A block of the source and its place in the destination, within both. 64 bits hold whatever a
/// caller asks for.
struct Block {
    qint64 dx, dy, sx, sy, w, h;

    bool clip(const VImage& dst, const VImage& src)
    {
        if (w < 0)
            w = src.width();
        if (h < 0)
            h = src.height();
        clipStart(sx, dx, w);
        clipStart(sy, dy, h);
        clipStart(dx, sx, w);
        clipStart(dy, sy, h);
        w = std::min({w, src.width() - sx, dst.width() - dx});
        h = std::min({h, src.height() - sy, dst.height() - dy});
        return w > 0 && h > 0;
    }

private:
    static void clipStart(qint64& start, qint64& other, qint64& size)
    {
        if (start < 0) {
            other -= start;
            size += start;
            start = 0;
        }
    }
};

bool isSupported(int depth)
{
    return depth == 1 || depth == 8 || depth == 32;
}

bool haveSameColors(const VImage& a, const VImage& b)
{
    if (a.depth() != b.depth() || a.numColors() != b.numColors())
        return false;
    return a.colorTable() == b.colorTable() ||
           (a.colorTable() && b.colorTable() &&
            std::equal(a.colorTable(), a.colorTable() + a.numColors(), b.colorTable()));
}

/// Whether a block for a 1-bit destination is made of whole bytes. At the right edge of both a last
/// part may be less.
bool isWholeBytes(const Block& block, const VImage& dst, const VImage& src)
{
    const bool toEdge = block.dx + block.w == dst.width() && block.sx + block.w == src.width();
    return block.dx % 8 == 0 && block.sx % 8 == 0 && (block.w % 8 == 0 || toEdge);
}

/// Calls `line(target line, source line)` for the lines of a block, in the order in which a block
/// moved within one image reads each line before it is written.
template <class Line>
void forEachLine(const Block& block, const VImage& dst, const VImage& src, Line line)
{
    Byte* const* to = dst.jumpTable() + block.dy;
    const Byte* const* from = src.jumpTable() + block.sy;
    const int count = int(block.h), first = int(block.sy);
    if (block.dy > block.sy)
        for (int y = count; y-- > 0;)
            line(to[y], from[y], first + y);
    else
        for (int y = 0; y < count; ++y)
            line(to[y], from[y], first + y);
}

/// Copies bytes of images of equal kind.
void copyBytes(const Block& block, const VImage& dst, const VImage& src)
{
    const int depth = dst.depth();
    const auto bytes = [depth](qint64 pixels) { return std::size_t((pixels * depth + 7) / 8); };
    const std::size_t toStart = bytes(block.dx), fromStart = bytes(block.sx), size = bytes(block.w);
    forEachLine(block, dst, src, [=](Byte* to, const Byte* from, int) {
        std::memmove(to + toStart, from + fromStart, size);
    });
}

/// Draws into a 32-bit image, through a line of words where the source has none or lies in the same
/// lines.
void drawWords(const Block& block, const VImage& dst, const VImage& src)
{
    const bool blend = src.hasAlphaBuffer();
    if (src.depth() == 32 && !blend) {
        copyBytes(block, dst, src);
        return;
    }
    const bool direct = src.depth() == 32 && dst.bits() != src.bits();
    std::optional<FullTable> table;
    if (!direct)
        table.emplace(src);
    const int first = int(block.sx & ~7); // whole bytes of a 1-bit line
    const int count = int(block.sx + block.w) - first;
    std::vector<Byte> words(direct ? 0 : std::size_t(count) * 4);
    forEachLine(block, dst, src, [&](Byte* to, const Byte* from, int y) {
        if (direct) {
            from += block.sx * 4;
        } else {
            toWords(src, *table, y, first, words.data(), count);
            from = words.data() + (block.sx - first) * 4;
        }
        if (blend)
            blendWords(from, to + block.dx * 4, int(block.w));
        else
            std::memmove(to + block.dx * 4, from, std::size_t(block.w) * 4);
    });
}
} // namespace

VImage VImage::copy(int x, int y, int w, int h, int conversionFlags) const
{
    if (w < 1 || h < 1 || isNull())
        return VImage();
    VImage image = createLike(w, h);
    if (image.isNull())
        return image;
    const bool inside =
        x >= 0 && y >= 0 && w <= width() && x <= width() - w && h <= height() && y <= height() - h;
    if (!inside)
        image.fill(0);
    const bool alpha = hasAlphaBuffer();
    const qint64 dx = x < 0 ? -qint64(x) : 0, dy = y < 0 ? -qint64(y) : 0;
    if (dx < w && dy < h) {
        const AlphaOff copiedNotBlended(*this);
        bitBlt(&image, int(dx), int(dy), this, std::max(x, 0), std::max(y, 0), -1, -1,
               conversionFlags);
    }
    image.setAlphaBuffer(alpha);
    return image;
}

void bitBlt(VImage* dst, int dx, int dy, const VImage* src, int sx, int sy, int sw, int sh,
            int conversionFlags)
{
    if (!dst || !src || dst->isNull() || src->isNull() || !isSupported(dst->depth()) ||
        !isSupported(src->depth()))
        return;
    Block block{dx, dy, sx, sy, sw, sh};
    if (!block.clip(*dst, *src))
        return;
    if (dst->jumpTable() == src->jumpTable() && block.dx == block.sx && block.dy == block.sy)
        return;

    const bool sameColors = haveSameColors(*dst, *src);
    if (dst->depth() == 32) {
        drawWords(block, *dst, *src);
    } else if (sameColors && (dst->depth() != 1 || isWholeBytes(block, *dst, *src))) {
        if (dst->bitOrder() == src->bitOrder())
            copyBytes(block, *dst, *src);
        else
            copyBytes(block, *dst, src->convertBitOrder(dst->bitOrder()));
    } else {
        VImage words = dst->convertDepth(32, conversionFlags);
        bitBlt(&words, dx, dy, src, sx, sy, sw, sh, conversionFlags);
        const int flags = (conversionFlags & ~VImage::DitherPreferenceMask) | VImage::AvoidDither;
        words =
            words.convertDepthWithPalette(dst->depth(), dst->colorTable(), dst->numColors(), flags);
        if (!words.isNull())
            *dst = words;
    }
}
