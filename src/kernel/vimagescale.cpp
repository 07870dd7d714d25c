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

/// Averages sixteen pixels at a time; `first` and `second` of the pairs are lines. Returns how many
/// it did.
///
/// Sixteen fill a line of the cache, which each line of the image is read by only once: lines of
/// some widths displace each other there.
int averageSixteens(const VImage& from, const Pairs::Pair* begin, const Pairs::Pair* end, int half,
                    Divisor divide, Byte* to)
{
    const __m128i zero = _mm_setzero_si128();
    int x = 0;
    for (; x + 16 <= from.width(); x += 16) {
        const Sums start(half);
        Sums sums[16] = {start, start, start, start, start, start, start, start,
                         start, start, start, start, start, start, start, start};
        for (const Pairs::Pair* pair = begin; pair != end; ++pair) {
            const Byte* const lines[] = {from.jumpTable()[pair->first] + std::ptrdiff_t(x) * 4,
                                         from.jumpTable()[pair->second] + std::ptrdiff_t(x) * 4};
            const __m128i weights = _mm_set1_epi32(pair->weights);
            for (int i = 0; i < 16; i += 4) {
                const auto pixels = [i](const Byte* line) {
                    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(line + i * 4));
                };
                const __m128i first = pixels(lines[0]), second = pixels(lines[1]);
                const __m128i low = _mm_unpacklo_epi8(first, second);
                const __m128i high = _mm_unpackhi_epi8(first, second);
                sums[i].addInterleaved(_mm_unpacklo_epi8(low, zero), weights);
                sums[i + 1].addInterleaved(_mm_unpackhi_epi8(low, zero), weights);
                sums[i + 2].addInterleaved(_mm_unpacklo_epi8(high, zero), weights);
                sums[i + 3].addInterleaved(_mm_unpackhi_epi8(high, zero), weights);
            }
        }
        for (int i = 0; i < 16; i += 4)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to + std::ptrdiff_t(x + i) * 4),
                             Sums::words(sums + i, divide));
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

int averageSixteens(const VImage&, const Pairs::Pair*, const Pairs::Pair*, int, Divisor, Byte*)
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

/// Weighted sums of a run of pixels whose colours count as much as their alpha, a plane a channel.
/// Each product of colour, weight and alpha is divided by 255 on its own.
///
/// No sum of alphas is 0: it starts at half a pixel, as those of the colours, which can't pass it.
class AlphaSums
{
public:
    static constexpr int Length = 64;

    /// 65536 255ths of a weight, rounded up. A 65536th of a product with less than 255 is the whole
    /// part of the product of that and the weight by 255: what is too much stays below a 255th.
    static Word scaled(int weight) { return (Word(weight) * 65536 + 254) / 255; }

    void start(int half) { std::fill_n(&m_sums[0][0], 4 * Length, Word(half)); }

    void add(const Byte* words, int weight, int count)
    {
        runLoop<Addition>(words, Same{Word(weight)}, Same{scaled(weight)}, this, count);
    }
    /// Each pixel has a weight of its own.
    void add(const Byte* words, const Word* weights, const Word* scaledWeights, int count)
    {
        runLoop<Addition>(words, weights, scaledWeights, this, count);
    }

    void store(Divisor divide, Byte* to, int count) const
    {
        runLoop<Division>(this, divide, to, count);
    }

private:
    struct Same {
        Word value;
        Word operator[](int) const { return value; }
    };

    struct Addition {
        template <class Weights>
        ZYL_IMAGE_LOOP run(const Byte* words, Weights weights, Weights scaledWeights, AlphaSums* to,
                           int count)
        {
            Word(*const sums)[Length] = to->m_sums;
            for (int x = 0; x < count; ++x) {
                const Word color = load(words, x), alpha = color >> 24;
                for (int i = 0; i < 3; ++i) {
                    // Divided by 255 before the weight comes in, and the rest after. The shifts
                    // divide any product of two bytes exactly.
                    const Word product = (color >> (8 * i) & 0xFF) * alpha;
                    const Word whole = (product + 1 + (product >> 8)) >> 8;
                    const Word rest = product - whole * 255;
                    sums[i][x] += whole * weights[x] + (rest * scaledWeights[x] >> 16);
                }
                sums[3][x] += alpha * weights[x];
            }
        }
    };

    struct Division {
        ZYL_IMAGE_LOOP run(const AlphaSums* from, Divisor divide, Byte* to, int count)
        {
            const Word(*const sums)[Length] = from->m_sums;
            for (int x = 0; x < count; ++x) {
                // Sums of 20 bits give quotients that are too small by less than one; what is left
                // of the product tells whether by any.
                const int alpha = int(sums[3][x]);
                const float scale = 254.9995f / float(alpha);
                Word color = divide(sums[3][x]) << 24;
                for (int i = 0; i < 3; ++i) {
                    const int sum = int(sums[i][x]);
                    const int quotient = int(float(sum) * scale);
                    const bool isMore = sum * 255 - quotient * alpha >= alpha;
                    color |= Word(quotient + isMore) << (8 * i);
                }
                imagelines::store(to, x, color);
            }
        }
    };

    Word m_sums[4][Length];
};

/// What each output is made of, as rounds that each add one input to every output; some add an
/// input without weight.
class Rounds
{
public:
    Rounds(const Shares& shares, int outputs) : m_outputs(std::size_t(outputs))
    {
        for (int x = 0; x < outputs; ++x)
            m_count = std::max(m_count, int(shares.end(x) - shares.begin(x)));
        const std::size_t size = m_outputs * std::size_t(m_count);
        m_inputs.resize(size);
        m_weights.resize(size);
        m_scaledWeights.resize(size);
        for (int x = 0; x < outputs; ++x) {
            auto at = std::size_t(x);
            for (const Shares::Share* share = shares.begin(x); share != shares.end(x); ++share) {
                m_inputs[at] = share->input;
                m_weights[at] = Word(share->weight);
                m_scaledWeights[at] = AlphaSums::scaled(share->weight);
                at += m_outputs;
            }
        }
    }

    /// Adds the inputs of `count` outputs, from `first` on.
    void addTo(AlphaSums& sums, const Byte* from, int first, int count) const
    {
        Byte words[AlphaSums::Length * 4];
        auto at = std::size_t(first);
        for (int round = 0; round < m_count; ++round, at += m_outputs) {
            for (int x = 0; x < count; ++x)
                store(words, x, load(from, m_inputs[at + std::size_t(x)]));
            sums.add(words, &m_weights[at], &m_scaledWeights[at], count);
        }
    }

private:
    std::size_t m_outputs;
    int m_count = 0;
    std::vector<int> m_inputs;
    std::vector<Word> m_weights, m_scaledWeights;
};

/// Averages boxes of pixels, first the lines and then the pixels of each.
class BoxScaler
{
public:
    BoxScaler(const VImage& from, VImage& to)
        : m_from(from), m_to(to), m_alpha(from.hasAlphaBuffer()),
          m_base(scaleBase(from.width())), m_divide{1.0f / float(m_base)},
          m_lines(from.height(), to.height(), m_base), m_columns(from.width(), to.width(), m_base),
          m_linePairs(m_lines, m_alpha ? 0 : to.height()),
          m_columnPairs(m_columns, m_alpha ? 0 : to.width()),
          m_columnRounds(m_columns, m_alpha ? to.width() : 0), m_line(std::size_t(from.width()) * 4)
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
        int x = averageSixteens(m_from, begin, end, m_base / 2, m_divide, m_line.data());
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
        average(m_line.data(), m_from.width(), [this, y](AlphaSums& sums, int first, int count) {
            for (const Shares::Share* share = m_lines.begin(y); share != m_lines.end(y); ++share)
                sums.add(m_from.jumpTable()[share->input] + std::ptrdiff_t(first) * 4,
                         share->weight, count);
        });
        return m_line.data();
    }

    void scaleAlphaLine(const Byte* from, Byte* to) const
    {
        if (keepsWidth())
            std::memcpy(to, from, std::size_t(m_to.width()) * 4);
        else
            average(to, m_to.width(), [this, from](AlphaSums& sums, int first, int count) {
                m_columnRounds.addTo(sums, from, first, count);
            });
    }

    /// `add(sums, first, count)` adds up a run of pixels.
    template <class Add>
    void average(Byte* to, int width, Add&& add) const
    {
        AlphaSums sums;
        for (int first = 0; first < width; first += AlphaSums::Length) {
            const int count = std::min(AlphaSums::Length, width - first);
            sums.start(m_base / 2);
            add(sums, first, count);
            sums.store(m_divide, to + std::ptrdiff_t(first) * 4, count);
        }
    }

    const VImage& m_from;
    VImage& m_to;
    bool m_alpha;
    int m_base;
    Divisor m_divide;
    Shares m_lines, m_columns;
    Pairs m_linePairs, m_columnPairs;
    Rounds m_columnRounds; // with alpha
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
