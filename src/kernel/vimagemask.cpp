#include "kernel/vimagelines_p.h"

#include <algorithm>
#include <vector>

using namespace imagelines;

namespace
{
/// The colour of the background by the corners: one that two of them share, if any.
Word backgroundOf(const VImage& image)
{
    const int right = image.width() - 1, bottom = image.height() - 1;
    const auto corner = [&image](int x, int y) {
        return load(image.jumpTable()[y], x) & ColorMask;
    };
    const Word topLeft = corner(0, 0), topRight = corner(right, 0);
    const Word bottomLeft = corner(0, bottom), bottomRight = corner(right, bottom);
    if (topLeft == topRight || topLeft == bottomLeft || topLeft == bottomRight)
        return topLeft;
    if (topRight == bottomLeft || topRight == bottomRight || bottomLeft != bottomRight)
        return topRight;
    return bottomRight;
}

/// Clears the mask's bits of the background that hangs together with the frame. Going by runs of a
/// line keeps the list of what is still to do short.
class FrameFill
{
public:
    FrameFill(const VImage& image, Word background, VImage& mask)
        : m_image(image), m_mask(mask), m_background(background)
    {
    }

    void run()
    {
        const int right = m_image.width() - 1, bottom = m_image.height() - 1;
        for (int y = 0; y <= bottom; ++y) {
            const int step = y == 0 || y == bottom ? 1 : std::max(right, 1);
            for (int x = 0; x <= right; x += step)
                visit(x, y);
        }
        while (!m_runs.empty()) {
            const Run run = m_runs.back();
            m_runs.pop_back();
            for (int x = run.first; x <= run.last; ++x) {
                if (run.y > 0)
                    visit(x, run.y - 1);
                if (run.y < bottom)
                    visit(x, run.y + 1);
            }
        }
    }

private:
    struct Run {
        int y, first, last;
    };

    /// Whether the pixel is background that no run holds yet.
    bool isOpen(int x, int y) const
    {
        return testBit(m_mask.jumpTable()[y], x, VImage::LittleEndian) &&
               (load(m_image.jumpTable()[y], x) & ColorMask) == m_background;
    }

    void visit(int x, int y)
    {
        if (!isOpen(x, y))
            return;
        Run run{y, x, x};
        while (run.first > 0 && isOpen(run.first - 1, y))
            --run.first;
        while (run.last + 1 < m_image.width() && isOpen(run.last + 1, y))
            ++run.last;
        Byte* bits = m_mask.jumpTable()[y];
        for (int i = run.first; i <= run.last; ++i)
            bits[i >> 3] = Byte(bits[i >> 3] & ~bitMask(i, VImage::LittleEndian));
        m_runs.push_back(run);
    }

    const VImage& m_image;
    VImage& m_mask;
    Word m_background;
    std::vector<Run> m_runs;
};
} // namespace

VImage VImage::createAlphaMask(int conversionFlags) const
{
    if (conversionFlags == 1)
        conversionFlags = DiffuseAlphaDither;
    VImage mask;
    if (isNull() || !hasAlphaBuffer())
        return mask;
    if (depth() == 1)
        return convertDepth(8, conversionFlags).createAlphaMask(conversionFlags);
    if (depth() == 8 || depth() == 32)
        ditherTo1(mask, conversionFlags, true);
    return mask;
}

VImage VImage::createHeuristicMask(bool clipTight) const
{
    if (isNull())
        return VImage();
    if (depth() != 32)
        return convertDepth(32).createHeuristicMask(clipTight);

    VImage mask(width(), height(), 1, 2, LittleEndian);
    if (mask.isNull())
        return mask;
    mask.setColor(0, ColorMask);
    mask.setColor(1, 0);
    mask.fill(0xFF);
    const Word background = backgroundOf(*this);
    FrameFill(*this, background, mask).run();
    if (clipTight)
        return mask;

    const auto set = [&mask](int x, int y) {
        if (mask.valid(x, y)) {
            Byte& bits = mask.jumpTable()[y][x >> 3];
            bits = Byte(bits | bitMask(x, LittleEndian));
        }
    };
    for (int y = 0; y < height(); ++y)
        for (int x = 0; x < width(); ++x)
            if ((imagelines::load(m_data->bits[y], x) & ColorMask) != background) {
                set(x - 1, y);
                set(x + 1, y);
                set(x, y - 1);
                set(x, y + 1);
            }
    return mask;
}
