#include "kernel/vimagelines_p.h"

#include <algorithm>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

using namespace imagelines;

namespace
{
/// The whole of one target pixel, in parts of which inputs are given to it: the largest multiple of
/// the source's width up to 4096, by halving.
int scaleBase(int width)
{
    int factor = 4096;
    if (width > 4096)
        return factor;
    while (width * factor > 4096)
        factor /= 2;
    return factor * width;
}

/// Which inputs of one direction each output is made of, with weights that add up to the base.
class Shares
{
public:
    struct Share {
        int input;
        int weight;

        bool operator==(const Share& other) const
        {
            return input == other.input && weight == other.weight;
        }
    };

    Shares(int inputs, int outputs, int base)
    {
        // A step truncated to nothing would never fill an output.
        const int step = std::max(1, int(double(outputs) / inputs * base));
        m_shares.reserve(std::size_t(outputs) + std::size_t(inputs) + 1);
        m_first.reserve(std::size_t(outputs) + 1);
        int input = 0, left = step;
        for (int output = 0; output < outputs; ++output) {
            m_first.push_back(m_shares.size());
            for (int missing = base; missing > 0;) {
                // Truncated steps leave the last outputs short, which the last input makes up for.
                const int weight = left > 0 ? std::min(left, missing) : missing;
                m_shares.push_back({input, weight});
                missing -= weight;
                left = std::max(0, left - weight);
                if (left == 0 && input + 1 < inputs) {
                    ++input;
                    left = step;
                }
            }
        }
        m_first.push_back(m_shares.size());
    }

    const Share* begin(int output) const { return m_shares.data() + m_first[std::size_t(output)]; }
    const Share* end(int output) const { return begin(output + 1); }
    /// Whether an output is one input alone.
    bool isSingle(int output) const { return end(output) - begin(output) == 1; }
    /// Whether an output is made of the same as the one before.
    bool isRepeat(int output) const
    {
        return output > 0 &&
               std::equal(begin(output), end(output), begin(output - 1), end(output - 1));
    }

private:
    std::vector<Share> m_shares;
    std::vector<std::size_t> m_first; // of each output
};

/// Pairs of the inputs that an output is made of, for sums that don't depend on their order.
class Pairs
{
public:
    struct Pair {
        int first, second;
        int weights; // the second's in the upper half
    };

    explicit Pairs(const Shares& shares, int outputs)
    {
        m_first.reserve(std::size_t(outputs) + 1);
        for (int output = 0; output < outputs; ++output) {
            m_first.push_back(m_pairs.size());
            for (const Shares::Share* at = shares.begin(output); at != shares.end(output);) {
                const Shares::Share& one = *at++;
                Pair pair{one.input, one.input, one.weight};
                if (at != shares.end(output)) {
                    pair.second = at->input;
                    pair.weights |= at++->weight << 16;
                }
                m_pairs.push_back(pair);
            }
        }
        m_first.push_back(m_pairs.size());
    }

    const Pair* begin(int output) const { return m_pairs.data() + m_first[std::size_t(output)]; }
    const Pair* end(int output) const { return begin(output + 1); }

private:
    std::vector<Pair> m_pairs;
    std::vector<std::size_t> m_first; // of each output
};

/// Divides sums of at most 255 and a half bases by the base. They have 20 bits, and a half more
/// keeps each quotient further from an integer than the product is wrong.
struct Divisor {
    float reciprocal;

    [[gnu::always_inline]] Word operator()(Word sum) const
    {
        return Word(int((float(int(sum)) + 0.5f) * reciprocal));
    }
};

#if defined(__SSE2__)
/// Weighted sums of the channels of one pixel.
class Sums
{
public:
    explicit Sums(int half) : m_sums(_mm_set1_epi32(half)) {}

    void add(const Byte* first, const Byte* second, int weights)
    {
        const __m128i zero = _mm_setzero_si128();
        const __m128i both = _mm_unpacklo_epi8(_mm_cvtsi32_si128(int(load(first, 0))),
                                               _mm_cvtsi32_si128(int(load(second, 0))));
        addInterleaved(_mm_unpacklo_epi8(both, zero), _mm_set1_epi32(weights));
    }
    void addInterleaved(__m128i channels, __m128i weights)
    {
        m_sums = _mm_add_epi32(m_sums, _mm_madd_epi16(channels, weights));
    }
    __m128i quotients(Divisor divide) const
    {
        const __m128 more = _mm_add_ps(_mm_cvtepi32_ps(m_sums), _mm_set1_ps(0.5f));
        return _mm_cvttps_epi32(_mm_mul_ps(more, _mm_set1_ps(divide.reciprocal)));
    }
    static __m128i words(const Sums* sums, Divisor divide)
    {
        return _mm_packus_epi16(
            _mm_packs_epi32(sums[0].quotients(divide), sums[1].quotients(divide)),
            _mm_packs_epi32(sums[2].quotients(divide), sums[3].quotients(divide)));
    }
    static void storeOpaque(const Sums* sums, Divisor divide, Byte* to)
    {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to),
                         _mm_or_si128(words(sums, divide), _mm_set1_epi32(int(Opaque))));
    }
    Word color(Divisor divide) const
    {
        const __m128i half = _mm_packs_epi32(quotients(divide), _mm_setzero_si128());
        return Word(_mm_cvtsi128_si32(_mm_packus_epi16(half, half)));
    }

private:
    __m128i m_sums;
};

/// Averages four pixels at a time; `first` and `second` of the pairs are lines. Returns how many it
/// did.
int averageFours(const VImage& from, const Pairs::Pair* begin, const Pairs::Pair* end, int half,
                 Divisor divide, Byte* to)
{
    const __m128i zero = _mm_setzero_si128();
    int x = 0;
    for (; x + 4 <= from.width(); x += 4) {
        Sums sums[4] = {Sums(half), Sums(half), Sums(half), Sums(half)};
        for (const Pairs::Pair* pair = begin; pair != end; ++pair) {
            const auto pixels = [&from, x](int line) {
                return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from.jumpTable()[line] +
                                                                        std::ptrdiff_t(x) * 4));
            };
            const __m128i first = pixels(pair->first), second = pixels(pair->second);
            const __m128i weights = _mm_set1_epi32(pair->weights);
            const __m128i low = _mm_unpacklo_epi8(first, second);
            const __m128i high = _mm_unpackhi_epi8(first, second);
            sums[0].addInterleaved(_mm_unpacklo_epi8(low, zero), weights);
            sums[1].addInterleaved(_mm_unpackhi_epi8(low, zero), weights);
            sums[2].addInterleaved(_mm_unpacklo_epi8(high, zero), weights);
            sums[3].addInterleaved(_mm_unpackhi_epi8(high, zero), weights);
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + std::ptrdiff_t(x) * 4),
                         Sums::words(sums, divide));
    }
    return x;
}
#else
class Sums
{
public:
    explicit Sums(int half) : m_sums{Word(half), Word(half), Word(half), Word(half)} {}

    void add(const Byte* first, const Byte* second, int weights)
    {
        for (int i = 0; i < 4; ++i)
            m_sums[i] += first[i] * Word(weights & 0xFFFF) + second[i] * Word(weights >> 16);
    }
    static void storeOpaque(const Sums* sums, Divisor divide, Byte* to)
    {
        for (int i = 0; i < 4; ++i)
            store(to, i, sums[i].color(divide) | Opaque);
    }
    Word color(Divisor divide) const
    {
        Byte channels[4];
        for (int i = 0; i < 4; ++i)
            channels[i] = Byte(divide(m_sums[i]));
        return load(channels, 0);
    }

private:
    Word m_sums[4];
};

int averageFours(const VImage&, const Pairs::Pair*, const Pairs::Pair*, int, Divisor, Byte*)
{
    return 0;
}
#endif

struct OpaqueLoop {
    ZYL_IMAGE_LOOP run(const Byte* from, Byte* to, int count)
    {
        for (int x = 0; x < count; ++x)
            store(to, x, load(from, x) | Opaque);
    }
};

/// The weighted sums of one pixel whose colours count as much as its alpha. Each product of colour,
/// weight and alpha is divided by 255 on its own.
///
/// The sum of alphas is never 0: it starts at half a pixel, as those of the colours, which can't
/// pass it.
#if defined(__SSE2__)
class AlphaSums
{
public:
    explicit AlphaSums(int half) : m_sums(_mm_set1_epi32(half)) {}

    void add(Word color, int weight)
    {
        const __m128i zero = _mm_setzero_si128();
        const __m128i weights = _mm_set1_epi32(weight);
        const __m128i alpha = _mm_set1_epi16(short(color >> 24));
        // An alpha of 255 in the colour's place makes the fourth product the alpha's own.
        const __m128i channels = _mm_unpacklo_epi8(_mm_cvtsi32_si128(int(color | Opaque)), zero);
        const __m128i product = _mm_mullo_epi16(channels, alpha);
        // Divided by 255 before the weight comes in, and the rest after: both fit 16 bits.
        const __m128i whole =
            _mm_srli_epi16(_mm_mulhi_epu16(product, _mm_set1_epi16(short(0x8081))), 7);
        const __m128i rest = _mm_sub_epi16(product, _mm_sub_epi16(_mm_slli_epi16(whole, 8), whole));
        const __m128i rests = _mm_madd_epi16(_mm_unpacklo_epi16(rest, zero), weights);
        const __m128 more = _mm_add_ps(_mm_cvtepi32_ps(rests), _mm_set1_ps(0.5f));
        m_sums = _mm_add_epi32(m_sums, _mm_madd_epi16(_mm_unpacklo_epi16(whole, zero), weights));
        m_sums = _mm_add_epi32(m_sums, _mm_cvttps_epi32(_mm_mul_ps(more, _mm_set1_ps(1.0f / 255))));
    }

    /// A quotient of sums of 20 bits stays 2^-20 below the next integer, or is one.
    Word color(Divisor divide) const
    {
        const int alpha = _mm_cvtsi128_si32(_mm_shuffle_epi32(m_sums, 0xFF));
        const __m128d scale = _mm_set1_pd(255.0 / alpha), more = _mm_set1_pd(1.0 / (1 << 22));
        const __m128d low = _mm_cvtepi32_pd(m_sums);
        const __m128d high = _mm_cvtepi32_pd(_mm_unpackhi_epi64(m_sums, m_sums));
        const __m128i quotients =
            _mm_unpacklo_epi64(_mm_cvttpd_epi32(_mm_add_pd(_mm_mul_pd(low, scale), more)),
                               _mm_cvttpd_epi32(_mm_add_pd(_mm_mul_pd(high, scale), more)));
        const __m128i words = _mm_packs_epi32(quotients, quotients);
        const Word color = Word(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
        return (color & ColorMask) | divide(Word(alpha)) << 24;
    }

private:
    __m128i m_sums;
};
#else
class AlphaSums
{
public:
    explicit AlphaSums(int half) : m_sums{Word(half), Word(half), Word(half), Word(half)} {}

    void add(Word color, int weight)
    {
        for (int i = 0; i < 4; ++i)
            m_sums[i] += ((color | Opaque) >> (8 * i) & 0xFF) * Word(weight) * (color >> 24) / 255;
    }

    Word color(Divisor divide) const
    {
        Word color = divide(m_sums[3]) << 24;
        for (int i = 0; i < 3; ++i)
            color |= m_sums[i] * 255 / m_sums[3] << (8 * i);
        return color;
    }

private:
    Word m_sums[4];
};
#endif

/// Averages boxes of pixels, first the lines and then the pixels of each.
class BoxScaler
{
public:
    BoxScaler(const VImage& from, VImage& to)
        : m_from(from), m_to(to), m_alpha(from.hasAlphaBuffer()),
          m_base(scaleBase(from.width())), m_divide{1.0f / float(m_base)},
          m_lines(from.height(), to.height(), m_base), m_columns(from.width(), to.width(), m_base),
          m_linePairs(m_lines, to.height()), m_columnPairs(m_columns, to.width()),
          m_line(std::size_t(from.width()) * 4)
    {
    }

    void run()
    {
        for (int y = 0; y < m_to.height(); ++y) {
            Byte* target = m_to.jumpTable()[y];
            if (m_lines.isRepeat(y))
                std::memcpy(target, m_to.jumpTable()[y - 1], std::size_t(m_to.width()) * 4);
            else if (m_alpha)
                scaleAlphaLine(averagedAlphaLine(y), target);
            else
                scaleLine(averagedLine(y), target);
        }
    }

private:
    bool keepsHeight() const { return m_from.height() == m_to.height(); }
    bool keepsWidth() const { return m_from.width() == m_to.width(); }

    /// The source's average line for a target line. A line that is one of the source's is that, top
    /// bytes included.
    const Byte* averagedLine(int y)
    {
        if (keepsHeight())
            return m_from.jumpTable()[y];
        if (m_lines.isSingle(y))
            return m_from.jumpTable()[m_lines.begin(y)->input];
        const Pairs::Pair *begin = m_linePairs.begin(y), *end = m_linePairs.end(y);
        int x = averageFours(m_from, begin, end, m_base / 2, m_divide, m_line.data());
        for (; x < m_from.width(); ++x) {
            const std::ptrdiff_t at = std::ptrdiff_t(x) * 4;
            Sums sums(m_base / 2);
            for (const Pairs::Pair* pair = begin; pair != end; ++pair)
                sums.add(m_from.jumpTable()[pair->first] + at,
                         m_from.jumpTable()[pair->second] + at, pair->weights);
            store(m_line.data(), x, sums.color(m_divide));
        }
        return m_line.data();
    }

    void scaleLine(const Byte* from, Byte* to) const
    {
        if (keepsWidth()) {
            runLoop<OpaqueLoop>(from, to, m_to.width());
            return;
        }
        int x = 0;
        for (; x + 4 <= m_to.width(); x += 4) {
            const Sums sums[4] = {sumsOf(from, x), sumsOf(from, x + 1), sumsOf(from, x + 2),
                                  sumsOf(from, x + 3)};
            Sums::storeOpaque(sums, m_divide, to + std::ptrdiff_t(x) * 4);
        }
        for (; x < m_to.width(); ++x)
            store(to, x, sumsOf(from, x).color(m_divide) | Opaque);
    }

    [[gnu::always_inline]] Sums sumsOf(const Byte* from, int x) const
    {
        Sums sums(m_base / 2);
        const Pairs::Pair *pair = m_columnPairs.begin(x), *end = m_columnPairs.end(x);
        do
            sums.add(from + std::ptrdiff_t(pair->first) * 4,
                     from + std::ptrdiff_t(pair->second) * 4, pair->weights);
        while (++pair != end);
        return sums;
    }

    const Byte* averagedAlphaLine(int y)
    {
        if (keepsHeight())
            return m_from.jumpTable()[y];
        for (int x = 0; x < m_from.width(); ++x) {
            AlphaSums sums(m_base / 2);
            for (const Shares::Share* share = m_lines.begin(y); share != m_lines.end(y); ++share)
                sums.add(load(m_from.jumpTable()[share->input], x), share->weight);
            store(m_line.data(), x, sums.color(m_divide));
        }
        return m_line.data();
    }

    void scaleAlphaLine(const Byte* from, Byte* to) const
    {
        if (keepsWidth()) {
            std::memcpy(to, from, std::size_t(m_to.width()) * 4);
            return;
        }
        for (int x = 0; x < m_to.width(); ++x) {
            AlphaSums sums(m_base / 2);
            for (const Shares::Share* share = m_columns.begin(x); share != m_columns.end(x);
                 ++share)
                sums.add(load(from, share->input), share->weight);
            store(to, x, sums.color(m_divide));
        }
    }

    const VImage& m_from;
    VImage& m_to;
    bool m_alpha;
    int m_base;
    Divisor m_divide;
    Shares m_lines, m_columns;
    Pairs m_linePairs, m_columnPairs;
    std::vector<Byte> m_line;
};
} // namespace

VImage VImage::smoothScale(int w, int h, ScaleMode mode) const
{
    if (isNull()) {
        qWarning("VImage::smoothScale: Image is a null image");
        return copy();
    }
    VSize target = size();
    target.scale(w, h, VSize::ScaleMode(mode));
    if (w < 1 || h < 1 || target.isEmpty())
        return VImage();
    if (target == size())
        return copy();
    if (depth() == 32)
        return smoothScaled(target);
    const VImage words = convertDepth(32);
    if (words.isNull())
        return words;
    const VImage scaled = words.smoothScaled(target);
    return allGray() && !hasAlphaBuffer() && !scaled.isNull() ? scaled.convertDepth(8) : scaled;
}

VImage VImage::smoothScale(const VSize& size, ScaleMode mode) const
{
    return smoothScale(size.width(), size.height(), mode);
}

VImage VImage::smoothScaled(const VSize& size) const
{
    VImage image(size, 32);
    if (image.isNull())
        return image;
    image.setAlphaBuffer(hasAlphaBuffer());
    BoxScaler(*this, image).run();
    return image;
}
