#pragma once

#include <kernel/vimage.h>

/// Makes every pixel of a 32-bit image opaque: a scene's background may be transparent, which
/// shows in a window but would be saved.
inline void makeOpaque(VImage& image)
{
    for (int y = 0; y < image.height(); ++y) {
        auto* const pixels = reinterpret_cast<unsigned*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            pixels[x] |= 0xFF000000u;
    }
}
