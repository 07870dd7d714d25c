#include "kernel/vimagelines_p.h"

#include <algorithm>
#include <array>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

using namespace imagelines;

#if defined(__x86_64__)
const bool imagelines::hasAvx2 = __builtin_cpu_supports("avx2") != 0;
#else
const bool imagelines::hasAvx2 = false;
#endif

namespace
{

constexpr std::array<Byte, 256> makeFlipped()
{
    std::array<Byte, 256> table{};
    for (int value = 0; value < 256; ++value)
        for (int bit = 0; bit < 8; ++bit)
            if (value >> bit & 1)
                table[std::size_t(value)] = Byte(table[std::size_t(value)] | 0x80 >> bit);
    return table;
}
constexpr std::array<Byte, 256> flipped = makeFlipped();

/// A byte of 0 or 1 for each bit, the least significant bit in the first byte of memory.
std::uint64_t spread(Byte bits)
{
    // Each bit meets a byte of its own in the product's mask; adding 0x7F carries it to that byte's
    // top.
    std::uint64_t word = (bits * 0x0101010101010101u) & 0x8040201008040201u;
    word = ((word & 0x7F7F7F7F7F7F7F7Fu) + 0x7F7F7F7F7F7F7F7Fu) | word;
    return word >> 7 & 0x0101010101010101u;
}

Byte lsbFirst(Byte bits, VImage::Endian order)
{
    return order == VImage::LittleEndian ? bits : flipped[bits];
}

void indicesToWords(const Byte* from, const FullTable& table, Byte* to, int count)
{
    for (int x = 0; x < count; ++x)
        store(to, x, table[from[x]]);
}

void bitsToWords(const Byte* from, VImage::Endian order, Word clear, Word set, Byte* to, int count)
{
    Word pair[2] = {clear, set};
    for (int x = 0; x < count; x += 8) {
        const unsigned bits = lsbFirst(from[x >> 3], order);
        Word words[8];
        for (unsigned i = 0; i < 8; ++i)
            words[i] = pair[bits >> i & 1];
        std::memcpy(to + std::ptrdiff_t(x) * 4, words, std::size_t(std::min(8, count - x)) * 4);
    }
}

struct GrayLoop {
    ZYL_IMAGE_LOOP run(const Byte* from, Byte* to, int count)
    {
        for (int x = 0; x < count; ++x)
            to[x] = Byte(gray(load(from, x)));
    }
};

struct AlphaLoop {
    ZYL_IMAGE_LOOP run(const Byte* from, Byte* to, int count)
    {
        for (int x = 0; x < count; ++x)
            to[x] = Byte(alpha(load(from, x)));
    }
};

struct SwapLoop {
    ZYL_IMAGE_LOOP run(const Byte* from, Byte* to, std::ptrdiff_t count)
    {
        for (std::ptrdiff_t x = 0; x < count; ++x) {
            const Word word = load(from, x);
            store(to, x, (word & 0xFF00FF00) | (word & 0xFF) << 16 | (word >> 16 & 0xFF));
        }
    }
};

struct ReverseLoop {
    ZYL_IMAGE_LOOP run(const Byte* from, Byte* to, int count)
    {
        for (int x = 0; x < count; ++x)
            store(to, x, load(from, count - 1 - x));
    }
};

struct FlipLoop {
    // Swapping neighbours, pairs and halves in eight bytes at once needs no table.
    ZYL_IMAGE_LOOP run(const Byte* from, Byte* to, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            unsigned bits = from[i];
            bits = (bits >> 1 & 0x55) | (bits & 0x55) << 1;
            bits = (bits >> 2 & 0x33) | (bits & 0x33) << 2;
            to[i] = Byte((bits >> 4 & 0x0F) | (bits & 0x0F) << 4);
        }
    }
};

struct FillLoop {
    ZYL_IMAGE_LOOP run(Byte* to, std::ptrdiff_t count, Word word)
    {
        for (std::ptrdiff_t x = 0; x < count; ++x)
            store(to, x, word);
    }
};

struct FillColorLoop {
    ZYL_IMAGE_LOOP run(Byte* to, std::ptrdiff_t count, Word word, Word keep)
    {
        for (std::ptrdiff_t x = 0; x < count; ++x)
            store(to, x, (load(to, x) & keep) | (word & ~keep));
    }
};

struct InvertLoop {
    ZYL_IMAGE_LOOP run(Byte* words, std::ptrdiff_t count, Word mask)
    {
        for (std::ptrdiff_t x = 0; x < count; ++x)
            store(words, x, load(words, x) ^ mask);
    }
};

struct GrayTest {
    ZYL_IMAGE_LOOP run(const Byte* words, std::ptrdiff_t count, Word* difference)
    {
        Word found = 0;
        for (std::ptrdiff_t x = 0; x < count; ++x) {
            const Word word = load(words, x);
            found |= (word ^ word >> 8) & 0xFFFF; // blue against green, green against red
        }
        *difference = found;
    }
};

Word blend(Word over, Word under)
{
    const int a = alpha(over);
    if (a == 255)
        return over;
    if (a == 0)
        return under;
    Word result = Word(std::max(a, alpha(under))) << 24;
    for (int shift = 0; shift < 24; shift += 8) {
        const int d = int(under >> shift & 0xFF);
        const int s = int(over >> shift & 0xFF);
        result |= Word(d + (s - d) * a / 256) << shift;
    }
    return result;
}

#if defined(__SSE2__)
/// `blend` for pixels by sixteens.
struct BlendLoop {
    static constexpr int RunLength = 16;

    /// All of a run is read before any of it is written: a store seems to the processor to hit
    /// loads 4096 bytes away.
    ZYL_IMAGE_LOOP run(const Byte* from, Byte* to, std::ptrdiff_t runs)
    {
        for (; runs > 0; --runs, from += RunLength * 4, to += RunLength * 4) {
            const auto source = reinterpret_cast<const __m128i*>(from);
            const auto target = reinterpret_cast<__m128i*>(to);
            __m128i words[RunLength / 4];
            for (int i = 0; i < RunLength / 4; ++i)
                words[i] = blend4(_mm_loadu_si128(source + i), _mm_loadu_si128(target + i));
            for (int i = 0; i < RunLength / 4; ++i)
                _mm_storeu_si128(target + i, words[i]);
        }
    }

private:
    /// The difference is scaled without its sign, which gives the division its direction.
    [[gnu::always_inline]] static inline __m128i blend4(__m128i over, __m128i under)
    {
        const __m128i larger = _mm_max_epu8(over, under);
        const __m128i difference = _mm_sub_epi8(larger, _mm_min_epu8(over, under));
        // 256 for opaque pixels, so that all of the difference counts.
        const __m128i alpha = _mm_srli_epi32(over, 24);
        const __m128i a = _mm_sub_epi32(alpha, _mm_cmpeq_epi32(alpha, _mm_set1_epi32(255)));
        const __m128i as = _mm_or_si128(a, _mm_slli_epi32(a, 16));
        // Bytes 0 and 2 of each pixel, and bytes 1 and 3.
        const __m128i lowBytes = _mm_set1_epi16(0xFF);
        const __m128i even = _mm_mullo_epi16(_mm_and_si128(difference, lowBytes), as);
        const __m128i odd = _mm_mullo_epi16(_mm_srli_epi16(difference, 8), as);
        const __m128i step = _mm_or_si128(_mm_srli_epi16(even, 8), _mm_andnot_si128(lowBytes, odd));
        // All bits are set where the step is up.
        const __m128i up = _mm_cmpeq_epi8(larger, over);
        const __m128i moved = _mm_sub_epi8(under, _mm_sub_epi8(_mm_xor_si128(step, up), up));
        const __m128i top = _mm_set1_epi32(int(Opaque));
        return _mm_or_si128(_mm_and_si128(larger, top), _mm_andnot_si128(top, moved));
    }
};
#endif
} // namespace

void imagelines::toWords(const VImage& image, const FullTable& table, int line, int first, Byte* to,
                         int count)
{
    const Byte* from = image.jumpTable()[line] + std::ptrdiff_t(first) * image.depth() / 8;
    switch (image.depth()) {
    case 1:
        bitsToWords(from, image.bitOrder(), table[0], table[1], to, count);
        break;
    case 8:
        indicesToWords(from, table, to, count);
        break;
    case 32:
        std::memcpy(to, from, std::size_t(count) * 4);
        break;
    }
}

void imagelines::bitsToBytes(const Byte* from, Byte* to, int count, VImage::Endian order)
{
    int x = 0;
    for (; x + 8 <= count; x += 8) {
        const std::uint64_t bytes = spread(lsbFirst(from[x >> 3], order));
        std::memcpy(to + x, &bytes, 8);
    }
    for (; x < count; ++x)
        to[x] = testBit(from, x, order);
}

void imagelines::belowToBits(const Byte* values, const Byte (&limits)[16], bool invert, Byte* to,
                             int count)
{
    const Byte others = invert ? 0xFF : 0;
    int x = 0;
#if defined(__SSE2__)
    // Unsigned bytes compare as signed ones once their top bits are turned.
    const __m128i top = _mm_set1_epi8(-128);
    const __m128i limit =
        _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(limits)), top);
    for (; x + 16 <= count; x += 16) {
        const __m128i value = _mm_loadu_si128(reinterpret_cast<const __m128i*>(values + x));
        const int below = _mm_movemask_epi8(_mm_cmplt_epi8(_mm_xor_si128(value, top), limit));
        to[x >> 3] = Byte(flipped[std::size_t(below & 0xFF)] ^ others);
        to[(x >> 3) + 1] = Byte(flipped[std::size_t(below >> 8)] ^ others);
    }
#endif
    for (; x < count; x += 8) {
        unsigned bits = 0;
        for (int i = 0; i < std::min(8, count - x); ++i)
            bits |= unsigned((values[x + i] < limits[(x + i) & 15]) != invert) << (7 - i);
        to[x >> 3] = Byte(bits);
    }
}

void imagelines::wordsToGrays(const Byte* from, Byte* to, int count)
{
    runLoop<GrayLoop>(from, to, count);
}

void imagelines::wordsToAlphas(const Byte* from, Byte* to, int count)
{
    runLoop<AlphaLoop>(from, to, count);
}

void imagelines::fillWords(Byte* to, std::size_t count, Word word, Word keep)
{
    if (keep)
        runLoop<FillColorLoop>(to, std::ptrdiff_t(count), word, keep);
    else
        runLoop<FillLoop>(to, std::ptrdiff_t(count), word);
}

void imagelines::invertWords(Byte* words, std::size_t count, Word mask)
{
    runLoop<InvertLoop>(words, std::ptrdiff_t(count), mask);
}

void imagelines::swapRedBlue(const Byte* from, Byte* to, std::size_t count)
{
    runLoop<SwapLoop>(from, to, std::ptrdiff_t(count));
}

void imagelines::reverseWords(const Byte* from, Byte* to, int count)
{
    runLoop<ReverseLoop>(from, to, count);
}

void imagelines::reverseBytes(const Byte* from, Byte* to, int count)
{
    int x = 0;
    for (; x + 8 <= count; x += 8) {
        std::uint64_t bytes;
        std::memcpy(&bytes, from + count - x - 8, 8);
        bytes = __builtin_bswap64(bytes);
        std::memcpy(to + x, &bytes, 8);
    }
    for (; x < count; ++x)
        to[x] = from[count - 1 - x];
}

void imagelines::flipBits(const Byte* from, Byte* to, std::size_t count)
{
    runLoop<FlipLoop>(from, to, count);
}

void imagelines::blendWords(const Byte* from, Byte* to, int count)
{
    int x = 0;
#if defined(__SSE2__)
    x = count - count % BlendLoop::RunLength;
    runLoop<BlendLoop>(from, to, std::ptrdiff_t(count / BlendLoop::RunLength));
#endif
    for (; x < count; ++x)
        store(to, x, blend(load(from, x), load(to, x)));
}

bool imagelines::areGray(const Byte* words, std::size_t count)
{
    constexpr std::size_t run = 4096;
    for (std::size_t i = 0; i < count; i += run) {
        Word difference;
        runLoop<GrayTest>(words + i * 4, std::ptrdiff_t(std::min(run, count - i)), &difference);
        if (difference)
            return false;
    }
    return true;
}

const unsigned char* zyl_get_bitflip_array()
{
    return flipped.data();
}
