#pragma once

#include "tools/saturate.h"
#include "toolkit/zylexport.h"

/// A width and a height. Arithmetic ends at the limits of `int` instead of wrapping.
class ZYL_EXPORT VSize
{
public:
    /// How `scale` treats the proportions: not at all, the largest size within the target, or the
    /// smallest size round it.
    enum ScaleMode { ScaleFree, ScaleMin, ScaleMax };

    constexpr VSize() = default;
    constexpr VSize(int width, int height) : m_width(width), m_height(height) {}

    constexpr int width() const { return m_width; }
    constexpr int height() const { return m_height; }
    constexpr bool isNull() const { return m_width == 0 && m_height == 0; }
    constexpr bool isEmpty() const { return m_width < 1 || m_height < 1; }
    constexpr void setWidth(int width) { m_width = width; }
    constexpr void setHeight(int height) { m_height = height; }

    /// Changes the size to `width` by `height`, or to the size of the same proportions that `mode`
    /// asks for. With a zero width or height there are no proportions to keep, and every mode acts
    /// as `ScaleFree`.
    void scale(int width, int height, ScaleMode mode);
    void scale(VSize size, ScaleMode mode) { scale(size.m_width, size.m_height, mode); }

    constexpr void transpose() { *this = VSize(m_height, m_width); }

    constexpr VSize& operator+=(VSize other);
    constexpr VSize& operator-=(VSize other);
    constexpr VSize& operator*=(int factor);
    VSize& operator*=(double factor);

    /// Warn and change nothing when the divisor is zero. The integer form truncates, the other
    /// rounds.
    VSize& operator/=(int divisor);
    VSize& operator/=(double divisor);

private:
    int m_width = 0;
    int m_height = 0;
};

constexpr VSize& VSize::operator+=(VSize other)
{
    return *this = VSize(saturatedInt(qint64(m_width) + other.m_width),
                         saturatedInt(qint64(m_height) + other.m_height));
}

constexpr VSize& VSize::operator-=(VSize other)
{
    return *this = VSize(saturatedInt(qint64(m_width) - other.m_width),
                         saturatedInt(qint64(m_height) - other.m_height));
}

constexpr VSize& VSize::operator*=(int factor)
{
    return *this = VSize(saturatedInt(qint64(m_width) * factor),
                         saturatedInt(qint64(m_height) * factor));
}

inline VSize& VSize::operator*=(double factor)
{
    return *this = VSize(roundedInt(m_width * factor), roundedInt(m_height * factor));
}

constexpr bool operator==(VSize a, VSize b)
{
    return a.width() == b.width() && a.height() == b.height();
}

constexpr bool operator!=(VSize a, VSize b)
{
    return !(a == b);
}

constexpr VSize operator+(VSize a, VSize b)
{
    return a += b;
}

constexpr VSize operator-(VSize a, VSize b)
{
    return a -= b;
}

template <class Number>
constexpr VSize operator*(VSize size, Number factor)
{
    return size *= factor;
}

template <class Number>
inline VSize operator/(VSize size, Number divisor)
{
    return size /= divisor;
}
