#include "kernel/vimagelines_p.h"

#include "geometry/zylassert.h"

#include <algorithm>

using namespace imagelines;

namespace
{
/// The colours met so far with their indices, found by open addressing.
class ColorIndex
{
public:
    explicit ColorIndex(Word mask) : m_mask(mask) {}

    int count() const { return m_count; }

    /// The colour's index, or -1.
    int find(Word color) const { return m_buckets[place(color & m_mask)].index; }

    /// Counts a colour. Of equal ones the first keeps its index.
    void add(Word color)
    {
        Bucket& bucket = m_buckets[place(color & m_mask)];
        if (bucket.index < 0)
            bucket = {color & m_mask, m_count};
        ++m_count;
    }

private:
    struct Bucket {
        Word color = 0;
        int index = -1; // no byte: 255 is an index like any other
    };
    static constexpr unsigned Buckets = 997;

    /// The colour's bucket, or the empty one that it would take. There always is one, as colours
    /// end at 256.
    unsigned place(Word color) const
    {
        unsigned i = color % Buckets;
        while (m_buckets[i].index >= 0 && m_buckets[i].color != color)
            i = i + 1 == Buckets ? 0 : i + 1;
        return i;
    }

    Bucket m_buckets[Buckets];
    Word m_mask;
    int m_count = 0;
};

/// Sets every pixel of `to` to the index of its colour, new colours going behind those in `known`.
/// False, with pixels partly set, at the 257th colour.
bool collectColors(const VImage& from, VImage& to, ColorIndex& known)
{
    const Word opaque = from.hasAlphaBuffer() ? 0 : Opaque;
    const int w = from.width();
    Word last = ~load(from.bits(), 0);
    Byte lastIndex = 0;
    for (int y = 0; y < from.height(); ++y) {
        const Byte* line = from.jumpTable()[y];
        Byte* target = to.jumpTable()[y];
        for (int x = 0; x < w; ++x) {
            const Word color = load(line, x);
            if (color != last) {
                int index = known.find(color);
                if (index < 0) {
                    index = known.count();
                    if (index == 256)
                        return false;
                    known.add(color);
                    to.colorTable()[index] = color | opaque;
                }
                last = color;
                lastIndex = Byte(index);
            }
            target[x] = lastIndex;
        }
    }
    return true;
}

void setCubeColors(VImage& image)
{
    unsigned int* table = image.colorTable();
    std::fill_n(table, image.numColors(), 0);
    for (int i = 0; i < CubeColors; ++i)
        table[i] = Opaque | Word(i / 36 * 51) << 16 | Word(i / 6 % 6 * 51) << 8 | Word(i % 6 * 51);
}

/// Gives what the mask hides an index of its own, whose colour is clear.
void hideClearPixels(VImage& image, const VImage& mask)
{
    if (mask.isNull())
        return;
    image.colorTable()[CubeColors] = 0;
    for (int y = 0; y < image.height(); ++y) {
        const Byte* bits = mask.jumpTable()[y];
        Byte* line = image.jumpTable()[y];
        for (int x = 0; x < image.width(); x += 8) {
            if (bits[x >> 3] == 0xFF)
                continue;
            // The last byte of the mask may reach past the line.
            for (int i = x; i < std::min(x + 8, image.width()); ++i)
                if (!testBit(bits, i, VImage::BigEndian))
                    line[i] = CubeColors;
        }
    }
}

VImage convert1To8(const VImage& from)
{
    VImage to(from.width(), from.height(), 8, 2);
    if (to.isNull())
        return to;
    to.setAlphaBuffer(from.hasAlphaBuffer());
    const int known = from.colorTable() ? std::min(from.numColors(), 2) : 0;
    to.setColor(0, known > 0 ? from.color(0) : White);
    to.setColor(1, known > 1 ? from.color(1) : Opaque);
    for (int y = 0; y < from.height(); ++y)
        bitsToBytes(from.jumpTable()[y], to.jumpTable()[y], from.width(), from.bitOrder());
    return to;
}

VImage convertTo32(const VImage& from)
{
    VImage to(from.width(), from.height(), 32);
    if (to.isNull())
        return to;
    to.setAlphaBuffer(from.hasAlphaBuffer());
    const FullTable table(from);
    for (int y = 0; y < from.height(); ++y)
        toWords(from, table, y, 0, to.jumpTable()[y], from.width());
    return to;
}
} // namespace

FullTable::FullTable(const VImage& image)
{
    const int known = image.colorTable() ? std::min(image.numColors(), 256) : 0;
    std::copy_n(image.colorTable(), known, m_colors);
    std::fill(m_colors + known, m_colors + 256, White);
}

VImage VImage::convertDepth(int depth) const
{
    return convertDepth(depth, 0);
}

VImage VImage::convertDepth(int depth, int conversionFlags) const
{
    const int from = m_data->d;
    if (from == depth)
        return *this;
    VImage result;
    if (isNull())
        qWarning("VImage::convertDepth: Image is a null image");
    else if (depth == 1 && (from == 8 || from == 32))
        ditherTo1(result, conversionFlags, false);
    else if (depth == 8 && from == 32)
        convert32To8(result, conversionFlags, nullptr, 0);
    else if (depth == 8 && from == 1)
        result = convert1To8(*this);
    else if (depth == 32 && (from == 1 || from == 8))
        result = convertTo32(*this);
    else
        qWarning("VImage::convertDepth: Depth %d not supported", depth);
    return result;
}

VImage VImage::convertDepthWithPalette(int depth, const unsigned int* palette, int paletteCount,
                                       int conversionFlags) const
{
    VImage result;
    if (isNull())
        return result;
    if (m_data->d == 1 || m_data->d == 8)
        return convertDepth(m_data->d == 1 ? 8 : 32, conversionFlags)
            .convertDepthWithPalette(depth, palette, paletteCount, conversionFlags);
    if (m_data->d == 32 && convert32To8(result, conversionFlags, palette, paletteCount))
        return result.convertDepth(depth);
    return result;
}

bool VImage::convert32To8(VImage& dst, int conversionFlags, const unsigned int* palette,
                          int paletteCount) const
{
    if (!dst.create(width(), height(), 8, 256))
        return false;
    dst.setAlphaBuffer(hasAlphaBuffer());

    ColorIndex known(hasAlphaBuffer() ? White : ColorMask);
    geometry::check(paletteCount <= 256, "pix != 256", "kernel/vimage", 400);
    for (int i = 0; palette && i < std::min(paletteCount, 256); ++i) {
        dst.colorTable()[i] = palette[i];
        known.add(palette[i]);
    }
    if ((conversionFlags & DitherPreferenceMask) != PreferDither &&
        collectColors(*this, dst, known)) {
        dst.setNumColors(known.count());
        return true;
    }

    setCubeColors(dst);
    ditherToCube(*this, dst, conversionFlags);
    if (hasAlphaBuffer())
        hideClearPixels(dst, createAlphaMask(conversionFlags));
    return true;
}

VImage VImage::convertBitOrder(Endian bitOrder) const
{
    if (isNull() || depth() != 1 || (bitOrder != BigEndian && bitOrder != LittleEndian))
        return VImage();
    if (bitOrder == m_data->bitordr)
        return copy();
    VImage result(width(), height(), 1, numColors(), bitOrder);
    if (result.isNull())
        return result;
    if (colorTable() && result.colorTable())
        std::copy_n(colorTable(), numColors(), result.colorTable());
    flipBits(bits(), result.bits(), std::size_t(numBytes()));
    return result;
}
