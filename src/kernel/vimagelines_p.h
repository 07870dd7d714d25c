#pragma once

#include "kernel/vimage.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__x86_64__)
#define ZYL_AVX2 __attribute__((target("avx2")))
#else
#define ZYL_AVX2
#endif
#define ZYL_IMAGE_LOOP [[gnu::always_inline]] static inline void

/// What several operations of `VImage` share: parts of a colour, bits of a line, and loops over the
/// pixels of a line. Words are read and written as bytes, since lines that a caller keeps may start
/// anywhere.
namespace imagelines
{
using Byte = unsigned char;
using Word = unsigned int;

constexpr Word Opaque = 0xFF000000;
constexpr Word White = 0xFFFFFFFF;
constexpr Word ColorMask = 0x00FFFFFF;

constexpr int red(Word color)
{
    return int(color >> 16 & 0xFF);
}
constexpr int green(Word color)
{
    return int(color >> 8 & 0xFF);
}
constexpr int blue(Word color)
{
    return int(color & 0xFF);
}
constexpr int alpha(Word color)
{
    return int(color >> 24);
}
constexpr int gray(Word color)
{
    return (red(color) * 11 + green(color) * 16 + blue(color) * 5) >> 5;
}
constexpr bool isGray(Word color)
{
    return red(color) == green(color) && green(color) == blue(color);
}

inline Word load(const Byte* line, std::ptrdiff_t x)
{
    Word word;
    std::memcpy(&word, line + x * 4, 4);
    return word;
}
inline void store(Byte* line, std::ptrdiff_t x, Word word)
{
    std::memcpy(line + x * 4, &word, 4);
}

/// Bytes of a line, which fills whole 32-bit words.
constexpr std::int64_t lineBytes(std::int64_t w, int depth)
{
    return (w * depth + 31) / 32 * 4;
}

/// The bit of pixel `x` in its byte.
constexpr Byte bitMask(int x, VImage::Endian order)
{
    return Byte(order == VImage::LittleEndian ? 1 << (x & 7) : 0x80 >> (x & 7));
}
inline bool testBit(const Byte* line, int x, VImage::Endian order)
{
    return (line[x >> 3] & bitMask(x, order)) != 0;
}

/// Whether this machine can run the loops' wide copies.
extern const bool hasAvx2;

/// Compiles `Loop::run` a second time for wide registers, and runs the copy that this machine can.
/// Both do the same integer work, so no result depends on the machine.
template <class Loop, class... Args>
ZYL_AVX2 void runWide(Args... args)
{
    Loop::run(args...);
}
template <class Loop, class... Args>
void runLoop(Args... args)
{
    if (hasAvx2)
        runWide<Loop>(args...);
    else
        Loop::run(args...);
}

/// The colours of all 256 indices, `White` where the image has none.
class FullTable
{
public:
    explicit FullTable(const VImage& image);
    Word operator[](int index) const { return m_colors[index]; }

private:
    Word m_colors[256];
};

/// Writes pixels of a line of any depth as words. In a 1-bit line `first` is a multiple of 8.
void toWords(const VImage& image, const FullTable& table, int line, int first, Byte* to, int count);
/// Writes the first `count` bits as bytes 0 and 1.
void bitsToBytes(const Byte* from, Byte* to, int count, VImage::Endian order);
/// Sets the bits, from bit 7 downward, of the values below their limit, of which 16 take turns;
/// with `invert` of the others. Bits beyond `count` in the last byte become 0.
void belowToBits(const Byte* values, const Byte (&limits)[16], bool invert, Byte* to, int count);
void wordsToGrays(const Byte* from, Byte* to, int count);
void wordsToAlphas(const Byte* from, Byte* to, int count);
/// Sets words but for the bits of `keep`.
void fillWords(Byte* to, std::size_t count, Word word, Word keep);
/// Turns over the bits of `mask`.
void invertWords(Byte* words, std::size_t count, Word mask);
void swapRedBlue(const Byte* from, Byte* to, std::size_t count);
void reverseWords(const Byte* from, Byte* to, int count);
void reverseBytes(const Byte* from, Byte* to, int count);
void flipBits(const Byte* from, Byte* to, std::size_t count);
/// Draws words over others by their alpha. Each channel moves by a 256th part of the difference,
/// toward zero.
void blendWords(const Byte* from, Byte* to, int count);
bool areGray(const Byte* words, std::size_t count);

/// Fills an 8-bit image with the nearest colours of the cube of 6 x 6 x 6, spread by the flags'
/// colour dither.
void ditherToCube(const VImage& from, VImage& to, int conversionFlags);
/// The number of colours in the cube.
constexpr int CubeColors = 6 * 6 * 6;
} // namespace imagelines
