#pragma once

#include "kernel/vimage.h"

/// A picture for drawing. There is no display of the library's own to keep it on, so it holds an
/// image.
class ZYL_EXPORT VPixmap
{
public:
    VPixmap() = default;
    VPixmap(const VImage& image) : m_image(image) {}

    bool isNull() const { return m_image.isNull(); }
    int width() const { return m_image.width(); }
    int height() const { return m_image.height(); }

    VImage convertToImage() const { return m_image; }
    operator VImage() const { return m_image; }

    /// The matrix's linear part with a translation that brings what it makes of `w` by `h` pixels
    /// to the origin.
    ///
    /// Where something lies left of or above the origin, the translation stays 1/131072 short: so a
    /// flip samples inside of the last column, not at its far edge.
    static geometry::Matrix3d trueMatrix(const geometry::Matrix3d& matrix, int w, int h);

private:
    VImage m_image;
};
