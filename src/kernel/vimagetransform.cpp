#include "kernel/vimagelines_p.h"

#include "geometry/zylmatrix.h"
#include "kernel/vpixmap.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

using namespace imagelines;

namespace
{
/// Brings the pixels of a reversed 1-bit line back to its start: its padding came first.
void shiftOutPadding(Byte* line, int bytes, int padding, VImage::Endian order)
{
    const int rest = 8 - padding;
    for (int i = 0; i < bytes; ++i) {
        const int next = i + 1 < bytes ? line[i + 1] : 0;
        line[i] = order == VImage::LittleEndian ? Byte(line[i] >> padding | next << rest)
                                                : Byte(line[i] << padding | next >> rest);
    }
}

void reverseLine(const Byte* from, Byte* to, const VImage& image)
{
    const int w = image.width();
    switch (image.depth()) {
    case 1: {
        const int bytes = (w + 7) / 8;
        reverseBytes(from, to, bytes);
        flipBits(to, to, std::size_t(bytes));
        if (w % 8)
            shiftOutPadding(to, bytes, 8 - w % 8, image.bitOrder());
        break;
    }
    case 8:
        reverseBytes(from, to, w);
        break;
    case 32:
        reverseWords(from, to, w);
        break;
    }
}

/// A number as 16.16, whole pixels above 2^31 cut. Noise of the inversion must not make 0.9999999
/// of a pixel's step out of one, so what lies that close to an integer is taken for it.
qint64 toFixed(double value)
{
    constexpr double limit = 2147483648.0 * 65536.0;
    const double product = std::clamp(value * 65536.0, -limit, limit);
    const double nearest = std::round(product);
    return qint64(std::fabs(product - nearest) <= 1e-6 ? nearest : product);
}

bool isFinite(const geometry::Matrix3d& matrix)
{
    return std::all_of(&matrix.m[0][0], &matrix.m[0][0] + 9,
                       [](double v) { return std::isfinite(v); });
}

/// Pixels of a line from `first` on, up to `end`.
struct Span {
    qint64 first, end;

    Span operator&(const Span& other) const
    {
        const Span both{std::max(first, other.first), std::min(end, other.end)};
        return both.first < both.end ? both : Span{0, 0};
    }
};

/// The pixels of a line whose positions, `start` and further by `step` a pixel, are at least 0 and
/// below `limit`.
Span spanInside(qint64 start, qint64 step, qint64 limit)
{
    constexpr qint64 all = qint64(1) << 32, reach = qint64(1) << 62;
    if (limit <= 0 || start < -reach || start > reach)
        return {0, 0};
    if (step == 0)
        return {0, start >= 0 && start < limit ? all : 0};
    if (step < 0) {
        // The same positions, seen from the other side.
        start = limit - 1 - start;
        step = -step;
    }
    return {start >= 0 ? 0 : (-start + step - 1) / step,
            start >= limit ? 0 : (limit - 1 - start) / step + 1};
}

/// Takes the pixels of a picture at fixed-point positions.
class Sampler
{
public:
    static constexpr int Keep = -1;

    Sampler(const geometry::Matrix3d& matrix, int xoffset, const Byte* src, int sbpl, int sWidth,
            int sHeight)
        : m_src(src), m_lineBytes(sbpl), m_xLimit(qint64(sWidth) << 16),
          m_yLimit(qint64(sHeight) << 16), m_xStep(toFixed(matrix.m[0][0])),
          m_yStep(toFixed(matrix.m[0][1])), m_xLineStep(toFixed(matrix.m[1][0])),
          m_yLineStep(toFixed(matrix.m[1][1])),
          m_x(toFixed(matrix.m[2][0]) + xoffset * qint64(65536)), m_y(toFixed(matrix.m[2][1]))
    {
    }

    /// Samples pixels of whole bytes. What isn't covered gets the byte `background`, or with `Keep`
    /// stays.
    template <int Bytes>
    void sample(Byte* dst, qint64 advance, int count, int lines, int background = Keep) const
    {
        if (isQuarterTurn()) {
            sampleQuarterTurn<Bytes>(dst, advance, count, lines, background);
            return;
        }
        // In tiles, so that the lines which a big turned picture is read across stay in the cache.
        constexpr int side = 64;
        constexpr qint64 cacheBytes = 1 << 19;
        const bool whole = m_yStep == 0 || m_lineBytes * (m_yLimit >> 16) <= cacheBytes;
        const int tile = whole ? std::max(count, 1) : side;
        Line band[side];
        for (int y0 = 0; y0 < lines; y0 += side, dst += side * advance) {
            const int height = std::min(side, lines - y0);
            for (int i = 0; i < height; ++i) {
                band[i] = lineAt(y0 + i, count);
                if (background != Keep)
                    clearOutside<Bytes>(dst + i * advance, band[i].span, count, background);
            }
            for (int x = 0; x < count; x += tile)
                for (int i = 0; i < height; ++i) {
                    const Span part = band[i].span & Span{x, qint64(x) + tile};
                    if (i > 0 && isRepeat(band[i], band[i - 1]))
                        std::memcpy(dst + i * advance + part.first * Bytes,
                                    dst + (i - 1) * advance + part.first * Bytes,
                                    std::size_t(part.end - part.first) * Bytes);
                    else if (part.first < part.end)
                        sampleSpan<Bytes>(dst + i * advance, band[i], part);
                }
        }
    }

    /// Samples bits, setting those of the target, from the least significant, whose source is set.
    void sampleBits(Byte* dst, qint64 advance, int count, int lines, VImage::Endian order) const
    {
        const int turn = order == VImage::LittleEndian ? 0 : 7;
        for (int y = 0; y < lines; ++y, dst += advance) {
            const Line line = lineAt(y, count);
            qint64 px = line.x + line.span.first * m_xStep, py = line.y + line.span.first * m_yStep;
            for (qint64 x = line.span.first; x < line.span.end;) {
                const qint64 end = std::min(line.span.end, (x | 7) + 1);
                unsigned bits = 0;
                for (Byte* const to = dst + (x >> 3); x < end; px += m_xStep, py += m_yStep, ++x) {
                    const qint64 at = px >> 16;
                    const unsigned from = m_src[(py >> 16) * m_lineBytes + (at >> 3)];
                    bits |= (from >> ((at & 7) ^ turn) & 1) << (x & 7);
                    if (x + 1 == end)
                        *to = Byte(*to | bits);
                }
            }
        }
    }

private:
    struct Line {
        qint64 x, y; // position of its first pixel
        Span span;
    };

    Line lineAt(int y, int count) const
    {
        // Unsigned, as a matrix out of all proportion may wrap here; the span only takes what lies
        // inside.
        Line line;
        line.x = qint64(quint64(m_x) + quint64(y) * quint64(m_xLineStep));
        line.y = qint64(quint64(m_y) + quint64(y) * quint64(m_yLineStep));
        line.span = spanInside(line.x, m_xStep, m_xLimit) & spanInside(line.y, m_yStep, m_yLimit) &
                    Span{0, count};
        return line;
    }

    /// Whether two lines take the same pixels.
    bool isRepeat(const Line& line, const Line& before) const
    {
        return m_yStep == 0 && line.x == before.x && line.y >> 16 == before.y >> 16;
    }

    bool isQuarterTurn() const
    {
        return m_xStep == 0 && m_yLineStep == 0 && std::abs(m_yStep) == 65536 &&
               std::abs(m_xLineStep) == 65536;
    }

    /// Turns by a quarter, in blocks whose lines of both pictures fit the first cache whatever
    /// their distance.
    template <int Bytes>
    void sampleQuarterTurn(Byte* dst, qint64 advance, int count, int lines, int background) const
    {
        const Span columns = spanInside(m_y, m_yStep, m_yLimit) & Span{0, count};
        const Span rows = spanInside(m_x, m_xLineStep, m_xLimit) & Span{0, lines};
        if (background != Keep)
            for (int y = 0; y < lines; ++y)
                clearOutside<Bytes>(dst + y * advance,
                                    y >= rows.first && y < rows.end ? columns : Span{0, 0}, count,
                                    background);
        const qint64 columnStep = m_yStep < 0 ? -m_lineBytes : m_lineBytes;
        const qint64 rowStep = m_xLineStep < 0 ? -Bytes : Bytes;
        const Byte* const origin = m_src + (m_y >> 16) * m_lineBytes + (m_x >> 16) * Bytes;
        constexpr qint64 side = 8, group = 64;
        for (qint64 y0 = rows.first; y0 < rows.end; y0 += group)
            for (qint64 x = columns.first; x < columns.end; x += side)
                for (qint64 y = y0; y < std::min(y0 + group, rows.end); y += side) {
                    const qint64 width = std::min(side, columns.end - x);
                    const qint64 height = std::min(side, std::min(y0 + group, rows.end) - y);
                    const Byte* from = origin + x * columnStep + y * rowStep;
                    Byte* to = dst + y * advance + x * Bytes;
                    if (width == side && height == side)
                        turnBlock<Bytes>(from, columnStep, rowStep, to, advance, side, side);
                    else
                        turnBlock<Bytes>(from, columnStep, rowStep, to, advance, width, height);
                }
    }

    template <int Bytes>
    [[gnu::always_inline]] static void turnBlock(const Byte* from, qint64 columnStep,
                                                 qint64 rowStep, Byte* to, qint64 advance,
                                                 qint64 width, qint64 height)
    {
        for (qint64 y = 0; y < height; ++y)
            for (qint64 x = 0; x < width; ++x)
                std::memcpy(to + y * advance + x * Bytes, from + x * columnStep + y * rowStep,
                            Bytes);
    }

    template <int Bytes>
    static void clearOutside(Byte* to, const Span& span, int count, int background)
    {
        std::memset(to, background, std::size_t(span.first * Bytes));
        std::memset(to + span.end * Bytes, background, std::size_t((count - span.end) * Bytes));
    }

    template <int Bytes>
    void sampleSpan(Byte* to, const Line& line, const Span& span) const
    {
        qint64 px = line.x + span.first * m_xStep, py = line.y + span.first * m_yStep;
        to += span.first * Bytes;
        const int count = int(span.end - span.first);
        if (m_yStep == 0) {
            const Byte* from = m_src + (py >> 16) * m_lineBytes;
            if (m_xStep == 65536)
                std::memcpy(to, from + (px >> 16) * Bytes, std::size_t(count) * Bytes);
            else if (m_xStep == -65536 && Bytes == 4)
                reverseWords(from + ((px >> 16) - count + 1) * Bytes, to, count);
            else if (m_xStep == -65536 && Bytes == 1)
                reverseBytes(from + ((px >> 16) - count + 1) * Bytes, to, count);
            else
                for (int i = 0; i < count; ++i, px += m_xStep)
                    std::memcpy(to + i * Bytes, from + (px >> 16) * Bytes, Bytes);
            return;
        }
        int i = 0;
#if defined(__x86_64__)
        if (Bytes == 4 && hasAvx2 && fitsGather()) {
            i = gatherWords(to, count, px, py);
            px += i * m_xStep;
            py += i * m_yStep;
        }
#endif
        for (; i < count; ++i, px += m_xStep, py += m_yStep)
            std::memcpy(to + i * Bytes, m_src + (py >> 16) * m_lineBytes + (px >> 16) * Bytes,
                        Bytes);
    }

#if defined(__x86_64__)
    /// Whether positions inside, eight steps, and the offsets of words have 32 bits.
    bool fitsGather() const
    {
        constexpr qint64 most = 0x7fffffff;
        return m_xLimit <= most && m_yLimit <= most && std::abs(m_xStep) <= most / 8 &&
               std::abs(m_yStep) <= most / 8 && m_lineBytes * (m_yLimit >> 16) <= most;
    }

    /// Takes eight words at a time; returns how many it did.
    ZYL_AVX2 int gatherWords(Byte* to, int count, qint64 px, qint64 py) const
    {
        const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
        const __m256i lineBytes = _mm256_set1_epi32(int(m_lineBytes));
        const __m256i xStep = _mm256_set1_epi32(int(m_xStep)),
                      yStep = _mm256_set1_epi32(int(m_yStep));
        const __m256i xStride = _mm256_slli_epi32(xStep, 3), yStride = _mm256_slli_epi32(yStep, 3);
        __m256i x = _mm256_set1_epi32(int(px)), y = _mm256_set1_epi32(int(py));
        x = _mm256_add_epi32(x, _mm256_mullo_epi32(lanes, xStep));
        y = _mm256_add_epi32(y, _mm256_mullo_epi32(lanes, yStep));
        int i = 0;
        for (; i + 8 <= count; i += 8) {
            const __m256i offsets =
                _mm256_add_epi32(_mm256_mullo_epi32(_mm256_srai_epi32(y, 16), lineBytes),
                                 _mm256_slli_epi32(_mm256_srai_epi32(x, 16), 2));
            _mm256_storeu_si256(
                reinterpret_cast<__m256i*>(to + i * 4),
                _mm256_i32gather_epi32(reinterpret_cast<const int*>(m_src), offsets, 1));
            x = _mm256_add_epi32(x, xStride);
            y = _mm256_add_epi32(y, yStride);
        }
        return i;
    }
#endif

    const Byte* m_src;
    qint64 m_lineBytes;
    qint64 m_xLimit, m_yLimit;
    qint64 m_xStep, m_yStep;         // from pixel to pixel
    qint64 m_xLineStep, m_yLineStep; // from line to line
    qint64 m_x, m_y;                 // of the first pixel
};

/// A side of a picture that a factor scales, its absolute value rounded.
double scaledSide(double factor, int side)
{
    return std::floor(std::fabs(factor * side) + 0.5);
}
} // namespace

bool zyl_xForm_helper(const geometry::Matrix3d& matrix, int xoffset, int type, int depth,
                      unsigned char* dst, int dbpl, int pInc, int dHeight, const unsigned char* src,
                      int sbpl, int sWidth, int sHeight)
{
    if (!isFinite(matrix) ||
        (depth != 1 && depth != 8 && depth != 16 && depth != 24 && depth != 32))
        return false;
    const Sampler sampler(matrix, xoffset, src, sbpl, sWidth, sHeight);
    const int count = int(qint64(dbpl) * 8 / depth);
    const qint64 advance = qint64(count) * depth / 8 + pInc;
    if (depth == 1)
        sampler.sampleBits(dst, advance, count, dHeight,
                           type == 0 ? VImage::BigEndian : VImage::LittleEndian);
    else if (depth == 8)
        sampler.sample<1>(dst, advance, count, dHeight);
    else if (depth == 16)
        sampler.sample<2>(dst, advance, count, dHeight);
    else if (depth == 24)
        sampler.sample<3>(dst, advance, count, dHeight);
    else
        sampler.sample<4>(dst, advance, count, dHeight);
    return true;
}

VImage VImage::xForm(const geometry::Matrix3d& matrix) const
{
    if (isNull())
        return copy();
    if (depth() == 16)
        return convertDepth(32).xForm(matrix);
    const geometry::Matrix3d forward = VPixmap::trueMatrix(matrix, width(), height());
    if (!isFinite(forward))
        return VImage();

    double w, h;
    if (forward.m[0][1] == 0.0 && forward.m[1][0] == 0.0) {
        if (forward.m[0][0] == 1.0 && forward.m[1][1] == 1.0)
            return copy();
        w = scaledSide(forward.m[0][0], width());
        h = scaledSide(forward.m[1][1], height());
    } else {
        geometry::Vector2d least, most;
        for (int corner = 0; corner < 4; ++corner) {
            const geometry::Vector2d at = forward.map(
                geometry::Vector2d(corner & 1 ? width() : 0, corner & 2 ? height() : 0));
            const geometry::Vector2d rounded(std::round(at.x), std::round(at.y));
            least = corner == 0 ? rounded : lo(least, rounded);
            most = corner == 0 ? rounded : hi(most, rounded);
        }
        w = most.x - least.x;
        h = most.y - least.y;
    }
    const geometry::Matrix3d backward = forward.invert();
    if (!isFinite(backward) || !(w >= 1.0 && w <= 0x7fffffff && h >= 1.0 && h <= 0x7fffffff))
        return VImage();

    VImage image = createLike(int(w), int(h));
    if (image.isNull())
        return image;
    image.setAlphaBuffer(hasAlphaBuffer());
    image.setDotsPerMeterX(dotsPerMeterX());
    image.setDotsPerMeterY(dotsPerMeterY());

    const Sampler sampler(backward, 0, bits(), bytesPerLine(), width(), height());
    const qint64 advance = image.bytesPerLine();
    switch (depth()) {
    case 1:
        std::memset(image.bits(), 0, std::size_t(image.numBytes()));
        sampler.sampleBits(image.bits(), advance, image.width(), image.height(), bitOrder());
        break;
    case 8: {
        int background = 0;
        if (numColors() < 256) {
            background = numColors();
            image.setNumColors(background + 1);
        }
        sampler.sample<1>(image.bits(), advance, image.width(), image.height(), background);
        break;
    }
    case 32:
        sampler.sample<4>(image.bits(), advance, image.width(), image.height(), 0);
        break;
    }
    return image;
}

/// `xForm` by a factor for each axis.
VImage VImage::scaledBy(double x, double y) const
{
    geometry::Matrix3d matrix(0.0);
    matrix.makeIdentity();
    matrix.scale(x, y);
    return xForm(matrix);
}

VImage VImage::scale(int w, int h, ScaleMode mode) const
{
    if (isNull()) {
        qWarning("VImage::scale: Image is a null image");
        return copy();
    }
    if (w < 0 || h < 0)
        return VImage();
    VSize target = size();
    target.scale(w, h, VSize::ScaleMode(mode));
    if (target == size())
        return copy();
    return scaledBy(double(target.width()) / width(), double(target.height()) / height());
}

VImage VImage::scale(const VSize& size, ScaleMode mode) const
{
    return scale(size.width(), size.height(), mode);
}

VImage VImage::scaleWidth(int w) const
{
    if (isNull()) {
        qWarning("VImage::scaleWidth: Image is a null image");
        return copy();
    }
    return w < 1 ? VImage() : scaledBy(double(w) / width(), double(w) / width());
}

VImage VImage::scaleHeight(int h) const
{
    if (isNull()) {
        qWarning("VImage::scaleHeight: Image is a null image");
        return copy();
    }
    return h < 1 ? VImage() : scaledBy(double(h) / height(), double(h) / height());
}

VImage VImage::mirror() const
{
    return mirror(false, true);
}

VImage VImage::mirror(bool horizontal, bool vertical) const
{
    if (isNull() || (!horizontal && !vertical) || (width() < 2 && height() < 2))
        return copy();
    VImage image = createLike(width(), height());
    if (image.isNull())
        return image;
    image.copyExtras(*this);
    const std::size_t bytes = std::size_t((qint64(width()) * depth() + 7) / 8);
    for (int y = 0; y < height(); ++y) {
        const Byte* from = m_data->bits[vertical ? height() - 1 - y : y];
        if (horizontal)
            reverseLine(from, image.m_data->bits[y], *this);
        else
            std::memcpy(image.m_data->bits[y], from, bytes);
    }
    return image;
}

VImage VImage::swapRGB() const
{
    if (depth() != 32 || isNull()) {
        VImage image = copy();
        const auto table = reinterpret_cast<Byte*>(image.colorTable());
        if (table)
            swapRedBlue(table, table, std::size_t(image.numColors()));
        return image;
    }
    VImage image = createLike(width(), height());
    if (image.isNull())
        return image;
    image.copyExtras(*this);
    swapRedBlue(bits(), image.bits(), std::size_t(numBytes()) / 4);
    return image;
}
