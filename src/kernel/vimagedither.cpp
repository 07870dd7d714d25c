#include "kernel/vimagelines_p.h"

#include <algorithm>
#include <array>
#include <vector>

using namespace imagelines;

namespace
{
/// Thresholds from 0 to 255, each once, neighbours far apart.
struct Bayer {
    Byte at[16][16];
};

constexpr Bayer makeBayer()
{
    Bayer table{};
    for (int i = 1; i < 16; i *= 2)
        for (int j = 0; j < i; ++j)
            for (int k = 0; k < i; ++k) {
                const int value = table.at[j][k] * 4;
                table.at[j][k] = Byte(value);
                table.at[i + j][k] = Byte(value + 2);
                table.at[j][i + k] = Byte(value + 3);
                table.at[i + j][i + k] = Byte(value + 1);
            }
    return table;
}
constexpr Bayer bayer = makeBayer();

/// A pixel's threshold in a 1-bit image. The table lies across here, where for the cube it lies
/// along the lines, and its first entry is 1, so that black is black everywhere.
Byte bitLimit(int x, int y)
{
    x &= 15;
    y &= 15;
    return x == 0 && y == 0 ? 1 : bayer.at[x][y];
}

/// A channel's level in the cube is (value * scale + bias) >> 16: for a scale of 1286 the Bayer
/// table decides at which part of a step it goes up, for 1285 half a step does.
struct LevelLoop {
    ZYL_IMAGE_LOOP run(const Byte* from, Byte* to, int count, int scale, const int* biases)
    {
        int x = 0;
        for (; x + 16 <= count; x += 16)
            for (int i = 0; i < 16; ++i)
                to[x + i] = index(load(from, x + i), scale, biases[i]);
        for (; x < count; ++x)
            to[x] = index(load(from, x), scale, biases[x & 15]);
    }

private:
    [[gnu::always_inline]] static inline Byte index(Word color, int scale, int bias)
    {
        const int r = (red(color) * scale + bias) >> 16;
        const int g = (green(color) * scale + bias) >> 16;
        const int b = (blue(color) * scale + bias) >> 16;
        return Byte(r * 36 + g * 6 + b);
    }
};

/// What becomes of the errors along one line: a part is carried on, and the rest falls to three
/// pixels of the next line, whose sums are complete one column later.
class ErrorWalk
{
public:
    int ahead() const { return m_ahead; }
    /// What the next line's pixel under the last column gets.
    int below() const { return m_below; }

    /// Spreads the error of a column. Returns what the next line's pixel under the column before
    /// gets, to which this column adds only with `behind`.
    int spread(int error, bool behind)
    {
        const int complete = m_below + (behind ? (error * 3) >> 4 : 0);
        m_below = m_diagonal + ((error * 5) >> 4);
        m_diagonal = error >> 4;
        m_ahead = (error * 7) >> 4;
        return complete;
    }

private:
    int m_ahead = 0;
    int m_diagonal = 0;
    int m_below = 0;
};

struct ChannelErrors {
    int channel[3] = {0, 0, 0};
};

/// Dithers one line to the cube. `errors` holds what the line before left to each column, and then
/// what this one leaves.
template <bool Rightward>
void diffuseLine(const Byte* from, Byte* to, int w, ChannelErrors* errors)
{
    ErrorWalk walks[3];
    constexpr int step = Rightward ? 1 : -1;
    const int first = Rightward ? 0 : w - 1;
    int x = first;
    for (int n = 0; n < w; ++n, x += step) {
        const Word color = load(from, x);
        // Rightward, column 1 gives nothing back to column 0.
        const bool behind = Rightward ? x > 1 : x + 1 < w;
        int index = 0;
        for (int c = 0; c < 3; ++c) {
            const int value =
                int(color >> (16 - 8 * c) & 0xFF) + errors[x].channel[c] + walks[c].ahead();
            const int level = (std::clamp(value, 0, 255) * 5 + 128) / 255;
            const int complete = walks[c].spread(value - level * 51, behind);
            if (n > 0)
                errors[x - step].channel[c] = complete;
            index = index * 6 + level;
        }
        to[x] = Byte(index);
    }
    for (int c = 0; c < 3; ++c)
        errors[x - step].channel[c] = walks[c].below();
}

/// Dithers one line of values to bits, those below 128 set. `errors` as for the cube.
void diffuseBits(const Byte* values, Byte* to, int w, int* errors)
{
    ErrorWalk walk;
    unsigned bits = 0;
    for (int x = 0; x < w; ++x) {
        const int value = values[x] + errors[x] + walk.ahead();
        const bool set = value < 128;
        const int complete = walk.spread(set ? value : value - 255, true);
        if (x > 0)
            errors[x - 1] = complete;
        bits = bits << 1 | unsigned(set);
        if ((x & 7) == 7)
            to[x >> 3] = Byte(bits);
    }
    errors[w - 1] = walk.below();
    if (w & 7)
        to[w >> 3] = Byte(bits << (8 - (w & 7)));
}

/// A byte for each pixel of a line: its gray, or for a mask what its alpha says.
class ValueLines
{
public:
    ValueLines(const VImage& image, bool fromAlpha)
        : m_image(image), m_fromAlpha(fromAlpha), m_values(std::size_t(image.width()))
    {
        const FullTable table(image);
        for (int i = 0; i < 256; ++i)
            m_table[std::size_t(i)] = Byte(fromAlpha ? 255 - alpha(table[i]) : gray(table[i]));
    }

    Byte* line(int y)
    {
        const Byte* from = m_image.jumpTable()[y];
        const int w = m_image.width();
        if (m_image.depth() == 8)
            for (int x = 0; x < w; ++x)
                m_values[std::size_t(x)] = m_table[from[x]];
        else if (m_fromAlpha)
            wordsToAlphas(from, m_values.data(), w);
        else
            wordsToGrays(from, m_values.data(), w);
        return m_values.data();
    }

private:
    const VImage& m_image;
    bool m_fromAlpha;
    std::vector<Byte> m_values;
    std::array<Byte, 256> m_table;
};
} // namespace

void imagelines::ditherToCube(const VImage& from, VImage& to, int conversionFlags)
{
    const int w = from.width();
    const int dither = conversionFlags & VImage::DitherMask;
    if (dither == VImage::OrderedDither || dither == VImage::ThresholdDither) {
        const bool ordered = dither == VImage::OrderedDither;
        for (int y = 0; y < from.height(); ++y) {
            int biases[16];
            for (int x = 0; x < 16; ++x)
                biases[x] = ordered ? bayer.at[y & 15][x] << 8 : 32896;
            runLoop<LevelLoop>(from.jumpTable()[y], to.jumpTable()[y], w, ordered ? 1286 : 1285,
                               biases);
        }
        return;
    }
    std::vector<ChannelErrors> errors(static_cast<std::size_t>(w));
    for (int y = 0; y < from.height(); ++y) {
        if (y & 1)
            diffuseLine<true>(from.jumpTable()[y], to.jumpTable()[y], w, errors.data());
        else
            diffuseLine<false>(from.jumpTable()[y], to.jumpTable()[y], w, errors.data());
    }
}

bool VImage::ditherTo1(VImage& dst, int conversionFlags, bool fromAlpha) const
{
    const int w = width();
    if (!dst.create(w, height(), 1, 2, BigEndian))
        return false;
    dst.setColor(0, White);
    dst.setColor(1, Opaque);

    enum { Threshold, Ordered, Diffuse } mode = Diffuse;
    if (fromAlpha) {
        const int dither = conversionFlags & AlphaDitherMask;
        mode = dither == DiffuseAlphaDither   ? Diffuse
               : dither == OrderedAlphaDither ? Ordered
                                              : Threshold;
    } else {
        const int dither = conversionFlags & DitherMask;
        mode = dither == ThresholdDither ? Threshold : dither == OrderedDither ? Ordered : Diffuse;
    }

    // Alphas of 32 bits set the bits of high values, all others those of low ones.
    const bool high = fromAlpha && depth() == 32;
    ValueLines values(*this, fromAlpha);
    std::vector<int> errors(mode == Diffuse ? std::size_t(w) : 0);
    for (int y = 0; y < height(); ++y) {
        Byte* line = values.line(y);
        Byte* to = dst.jumpTable()[y];
        if (mode == Diffuse) {
            if (high)
                for (int x = 0; x < w; ++x)
                    line[x] = Byte(255 - line[x]);
            diffuseBits(line, to, w, errors.data());
            continue;
        }
        Byte limits[16];
        for (int x = 0; x < 16; ++x)
            limits[x] = mode == Ordered ? bitLimit(x, y) : 128;
        belowToBits(line, limits, high, to, w);
    }
    return true;
}
