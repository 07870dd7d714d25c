#pragma once

#include "kernel/vimage.h"

#include <initializer_list>
#include <vector>

/// Pictures that tests and the programs which worked out their results both make, and what is
/// compared.
namespace pictures
{
using Picture = VImage (*)();

/// The stream of numbers behind the noise: s = s * 1664525 + 1013904223, of which the upper 24 bits
/// count.
class Numbers
{
public:
    explicit Numbers(unsigned seed) : m_state(seed) {}
    unsigned operator()() { return (m_state = m_state * 1664525u + 1013904223u) >> 8; }
    unsigned word()
    {
        const unsigned high = (*this)() & 0xFFFF;
        return high << 16 | ((*this)() & 0xFFFF);
    }

private:
    unsigned m_state;
};

inline VImage withAlpha(VImage image, bool alpha)
{
    image.setAlphaBuffer(alpha);
    return image;
}

inline VImage noise32(int w, int h, unsigned seed, bool alpha = false)
{
    VImage image(w, h, 32);
    Numbers next(seed);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            image.setPixel(x, y, next.word());
    return withAlpha(image, alpha);
}

/// Red grows to the right, green downward; blue and alpha in waves.
inline VImage ramp32(int w, int h, bool alpha = false)
{
    VImage image(w, h, 32);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            image.setPixel(x, y,
                           unsigned(x * 7 + y * 3) << 24 | unsigned(x * 255 / (w - 1)) << 16 |
                               unsigned(y * 255 / (h - 1)) << 8 | (unsigned(x * y) & 255));
    return withAlpha(image, alpha);
}

inline VImage noise8(int w, int h, unsigned seed, int colors, bool alpha = false)
{
    VImage image(w, h, 8, colors);
    Numbers next(seed);
    for (int i = 0; i < colors; ++i)
        image.setColor(i, next.word());
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            image.setPixel(x, y, next() % unsigned(colors));
    return withAlpha(image, alpha);
}

inline VImage noise1(int w, int h, unsigned seed, VImage::Endian order)
{
    VImage image(w, h, 1, 2, order);
    image.setColor(0, 0xFFFFFFFF);
    image.setColor(1, 0xFF000000);
    Numbers next(seed);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            image.setPixel(x, y, next() & 1);
    return image;
}

/// A picture of the given depth with these pixels, line by line.
inline VImage picture(int w, int depth, std::initializer_list<unsigned> pixels,
                      std::initializer_list<unsigned> colors = {},
                      VImage::Endian order = VImage::BigEndian)
{
    VImage image(w, int(pixels.size()) / w, depth, int(colors.size()), order);
    int i = 0;
    for (const unsigned color : colors)
        image.setColor(i++, color);
    i = 0;
    for (const unsigned pixel : pixels) {
        if (depth == 8)
            image.scanLine(i / w)[i % w] = (unsigned char)pixel;
        else
            image.setPixel(i % w, i / w, pixel);
        ++i;
    }
    return image;
}

/// The indices, or the words of a 32-bit image, line by line.
inline std::vector<unsigned> pixels(const VImage& image)
{
    std::vector<unsigned> result;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            result.push_back(image.depth() == 32 ? image.pixel(x, y)
                                                 : unsigned(image.pixelIndex(x, y)));
    return result;
}

inline std::vector<unsigned> colors(const VImage& image)
{
    return {image.colorTable(), image.colorTable() + image.numColors()};
}

/// FNV-1a over the bytes of words, the least significant first: size, depth, colours, alpha flag,
/// table and pixels.
inline unsigned digest(const VImage& image)
{
    std::vector<unsigned> words = {unsigned(image.width()), unsigned(image.height()),
                                   unsigned(image.depth()), unsigned(image.numColors()),
                                   unsigned(image.hasAlphaBuffer())};
    for (const unsigned color : colors(image))
        words.push_back(color);
    for (const unsigned pixel : pixels(image))
        words.push_back(pixel);
    unsigned hash = 2166136261u;
    for (const unsigned word : words)
        for (int shift = 0; shift < 32; shift += 8)
            hash = (hash ^ (word >> shift & 255)) * 16777619u;
    return hash;
}
} // namespace pictures
