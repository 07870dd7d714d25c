#include "geometry/zylroundrect.h"

#include "geometry/zylbox.h"

#include <qlogging.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace geometry
{
namespace
{
/// One axis of a round rectangle.
struct Side {
    double low, high, radius;

    Side(double from, double size, double arc)
        : low(from), high(from + size), radius(std::min(size, std::abs(arc)) / 2)
    {
    }

    bool isBetweenCorners(double v) const { return v >= low + radius && v < high - radius; }
    /// The distance from the center of the nearer corner's ellipse, in radii.
    double offset(double v) const
    {
        return (v - (v < low + radius ? low + radius : high - radius)) / radius;
    }
    /// 0 before the rectangle, 1 in the low corner band, 2 between, 3 in the high band, 4 past it.
    int band(double v) const
    {
        return v < low ? 0 : v < low + radius ? 1 : v < high - radius ? 2 : v < high ? 3 : 4;
    }
};

/// An interval of a box against a side.
struct Span {
    int from, to; // bands
    double nearest;

    Span(const Side& side, double low, double high)
        : from(side.band(low)), to(side.band(high)), nearest(to == 1 ? high : low)
    {
    }

    bool isInMiddle() const { return from == 2 || to == 2 || (from < 2 && to > 2); }
};
} // namespace

bool RoundRect::contains(const Vector2f& p) const
{
    const Side sideX(x, width, arcWidth), sideY(y, height, arcHeight);
    if (!(p.x >= sideX.low && p.y >= sideY.low && p.x < sideX.high && p.y < sideY.high))
        return false;
    if (sideX.isBetweenCorners(p.x) || sideY.isBetweenCorners(p.y))
        return true;
    const double u = sideX.offset(p.x), v = sideY.offset(p.y);
    return u * u + v * v <= 1;
}

bool RoundRect::contains(const Box2f& box) const
{
    return contains(box.min) && contains(Vector2f(box.max.x, box.min.y)) && contains(box.max) &&
           contains(Vector2f(box.min.x, box.max.y));
}

bool RoundRect::intersects(const Box2f& box) const
{
    if (!Rectangle::intersects(box))
        return false;
    const Side sideX(x, width, arcWidth), sideY(y, height, arcHeight);
    const Span spanX(sideX, box.min.x, box.max.x), spanY(sideY, box.min.y, box.max.y);
    if (spanX.isInMiddle() || spanY.isInMiddle())
        return true;
    const double u = sideX.offset(spanX.nearest), v = sideY.offset(spanY.nearest);
    return u * u + v * v <= 1;
}

PathIterator* RoundRect::getPathIterator() const
{
    return new RoundRectIterator(*this);
}

const signed char RoundRectIterator::types[10] = {0, 1, 3, 1, 3, 1, 3, 1, 3, -1};

namespace
{
constexpr double k = 0.22385762631893158; // half of 1 - 4/3 (sqrt(2) - 1)
}

// clang-format off
// A point is x + a * width + b * arcWidth, y + c * height + d * arcHeight.
const double RoundRectIterator::ctrlpts[17][4] = {
    {0,  0.0, 0,  0.5},
    {0,  0.0, 1, -0.5},
    {0,  0.0, 1, -k  }, {0,  k,   1,  0.0}, {0,  0.5, 1,  0.0},
    {1, -0.5, 1,  0.0},
    {1, -k,   1,  0.0}, {1,  0.0, 1, -k  }, {1,  0.0, 1, -0.5},
    {1,  0.0, 0,  0.5},
    {1,  0.0, 0,  k  }, {1, -k,   0,  0.0}, {1, -0.5, 0,  0.0},
    {0,  0.5, 0,  0.0},
    {0,  k,   0,  0.0}, {0,  0.0, 0,  k  }, {0,  0.0, 0,  0.5},
};
// clang-format on

RoundRectIterator::RoundRectIterator(const RoundRect& rectangle)
    : m_rectangle(&rectangle), m_index(rectangle.isEmpty() ? int(std::size(types)) : 0)
{
}

bool RoundRectIterator::isDone() const
{
    return m_index >= int(std::size(types));
}

void RoundRectIterator::next()
{
    m_point += std::max(isDone() ? 0 : m_index == 0 ? 1 : int(types[m_index]), 0);
    ++m_index;
}

int RoundRectIterator::currentType() const
{
    return isDone() ? int(CloseSegment) : types[m_index];
}

int RoundRectIterator::currentSegment(float* coords, unsigned int dimension) const
{
    if (isDone()) {
        qWarning("roundrect iterator out of bounds");
        return CloseSegment;
    }
    const RoundRect& r = *m_rectangle;
    const int type = currentType();
    const int count = type == MoveSegment ? 1 : std::max(type, 0);
    for (int i = 0; i < count; ++i, coords += dimension) {
        const double* const row = ctrlpts[m_point + i];
        const float point[] = {float(r.x + row[0] * r.width + row[1] * r.arcWidth),
                               float(r.y + row[2] * r.height + row[3] * r.arcHeight)};
        std::copy(point, point + std::min(dimension, 2u), coords);
    }
    return type;
}
} // namespace geometry
