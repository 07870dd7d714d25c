#include "kernel/vimagelines_p.h"

#include <algorithm>
#include <vector>

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

/// Divides sums of at most 255 and a half bases by the base. They stay below 2^20 and the base
/// below 2^13, for which the reciprocal in 32 bits is exact.
class Divisor
{
public:
    explicit Divisor(int base) : m_reciprocal((quint64(1) << 32) / quint64(base) + 1) {}
    [[gnu::always_inline]] Word operator()(Word sum) const
    {
        return Word(sum * m_reciprocal >> 32);
    }

private:
    quint64 m_reciprocal;
};

/// Adds weighted bytes, of all four channels alike.
struct AddLoop {
    ZYL_IMAGE_LOOP run(const Byte* from, Word* sums, int count, Word weight)
    {
        for (int i = 0; i < count; ++i)
            sums[i] += from[i] * weight;
    }
};

struct OutputLoop {
    ZYL_IMAGE_LOOP run(const Word* sums, Byte* to, int count, Divisor divide)
    {
        for (int i = 0; i < count; ++i)
            to[i] = Byte(divide(sums[i]));
    }
};

struct OpaqueLoop {
    ZYL_IMAGE_LOOP run(const Byte* from, Byte* to, int count)
    {
        for (int x = 0; x < count; ++x)
            store(to, x, load(from, x) | Opaque);
    }
};

/// The sums of one pixel whose colours count as much as its alpha.
struct AlphaSums {
    Word r, g, b, a;

    explicit AlphaSums(Word half) : r(half), g(half), b(half), a(half) {}

    [[gnu::always_inline]] void add(Word color, Word weight)
    {
        const Word alpha = color >> 24;
        r += (color >> 16 & 0xFF) * weight * alpha / 255;
        g += (color >> 8 & 0xFF) * weight * alpha / 255;
        b += (color & 0xFF) * weight * alpha / 255;
        a += alpha * weight;
    }

    /// The sum of alphas is never 0: it started at half a pixel, as that of each colour, which
    /// can't pass it. A product has 28 bits, so that a quotient of real numbers truncates to the
    /// same as one of integers.
    [[gnu::always_inline]] Word color(Divisor divide) const
    {
        const double scale = double(int(a));
        return divide(a) << 24 | Word(int(int(r * 255) / scale)) << 16 |
               Word(int(int(g * 255) / scale)) << 8 | Word(int(int(b * 255) / scale));
    }
};

/// Averages boxes of pixels, first the lines and then the pixels of each.
class BoxScaler
{
public:
    BoxScaler(const VImage& from, VImage& to)
        : m_from(from), m_to(to), m_alpha(from.hasAlphaBuffer()), m_base(scaleBase(from.width())),
          m_divide(m_base), m_lines(from.height(), to.height(), m_base),
          m_columns(from.width(), to.width(), m_base), m_line(std::size_t(from.width()) * 4)
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
    static constexpr int Chunk = 256; // pixels, whose sums fit the first cache

    Word half() const { return Word(m_base / 2); }
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
        Word sums[Chunk * 4];
        for (int x = 0; x < m_from.width(); x += Chunk) {
            const int bytes = std::min(Chunk, m_from.width() - x) * 4;
            std::fill_n(sums, bytes, half());
            for (const Shares::Share* share = m_lines.begin(y); share != m_lines.end(y); ++share)
                runLoop<AddLoop>(m_from.jumpTable()[share->input] + std::ptrdiff_t(x) * 4, sums,
                                 bytes, Word(share->weight));
            runLoop<OutputLoop>(sums, m_line.data() + std::size_t(x) * 4, bytes, m_divide);
        }
        return m_line.data();
    }

    void scaleLine(const Byte* from, Byte* to) const
    {
        if (keepsWidth()) {
            runLoop<OpaqueLoop>(from, to, m_to.width());
            return;
        }
        for (int x = 0; x < m_to.width(); ++x) {
            const Shares::Share* share = m_columns.begin(x);
            if (m_columns.isSingle(x)) {
                store(to, x, load(from, share->input) | Opaque);
                continue;
            }
            // The sums of three channels, in 20 bits each.
            quint64 sums = apart(0x010101) * half();
            for (; share != m_columns.end(x); ++share)
                sums += apart(load(from, share->input)) * quint64(share->weight);
            store(to, x,
                  Opaque | m_divide(sums >> 40 & 0xFFFFF) << 16 |
                      m_divide(sums >> 20 & 0xFFFFF) << 8 | m_divide(sums & 0xFFFFF));
        }
    }

    static quint64 apart(Word color)
    {
        return quint64(color & 0xFF0000) << 24 | quint64(color & 0xFF00) << 12 | (color & 0xFF);
    }

    const Byte* averagedAlphaLine(int y)
    {
        if (keepsHeight())
            return m_from.jumpTable()[y];
        for (int x = 0; x < m_from.width(); ++x) {
            AlphaSums sums(half());
            for (const Shares::Share* share = m_lines.begin(y); share != m_lines.end(y); ++share)
                sums.add(load(m_from.jumpTable()[share->input], x), Word(share->weight));
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
            AlphaSums sums(half());
            for (const Shares::Share* share = m_columns.begin(x); share != m_columns.end(x);
                 ++share)
                sums.add(load(from, share->input), Word(share->weight));
            store(to, x, sums.color(m_divide));
        }
    }

    const VImage& m_from;
    VImage& m_to;
    bool m_alpha;
    int m_base;
    Divisor m_divide;
    Shares m_lines, m_columns;
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
