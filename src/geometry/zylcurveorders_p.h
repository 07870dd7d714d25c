#pragma once

#include "geometry/zylcurveorders.h"

#include <optional>
#include <utility>

namespace geometry
{
/// Curves cut into monotonic pieces without a place to keep them.
namespace pieces
{
/// Calls `use` with the coordinates and the direction of each piece in path order, until it returns
/// true. The curve runs as told; `direction` says whether the path does too.
template <class Use>
bool ofQuad(double* tmp, double x0, double y0, double cx0, double cy0, double x1, double y1,
            int direction, Use use)
{
    double t;
    const int count = Order2::getHorizontalParams(y0, cy0, y1, &t);
    const double whole[] = {x0, y0, cx0, cy0, x1, y1};
    std::copy(whole, whole + 6, tmp);
    if (count == 0)
        return use(tmp, direction);
    Order2::split(tmp, 0, t);
    const int first = direction == Curve::Increasing ? 0 : 4;
    return use(tmp + first, direction) || use(tmp + 4 - first, direction);
}

template <class Use>
bool ofCubic(double* tmp, double x0, double y0, double cx0, double cy0, double cx1, double cy1,
             double x1, double y1, int direction, Use use)
{
    const int count = Order3::getHorizontalParams(y0, cy0, cy1, y1, tmp);
    double t = tmp[0], t2 = tmp[1];
    const double whole[] = {x0, y0, cx0, cy0, cx1, cy1, x1, y1};
    double* const coords = tmp + 3;
    std::copy(whole, whole + 8, coords);
    if (count > 0) {
        if (count > 1 && t > t2)
            std::swap(t, t2);
        Order3::split(coords, 0, t);
        if (count > 1)
            Order3::split(coords, 6, (t2 - t) / (1 - t));
    }
    for (int i = 0; i <= count; ++i)
        if (use(coords + 6 * (direction == Curve::Increasing ? i : count - i), direction))
            return true;
    return false;
}

/// A curve from any point of a path, given as `Curve::insertQuad` is. Level ones have no pieces.
template <class Use>
bool ofPathQuad(double* tmp, double x0, double y0, const double* c, Use use)
{
    if (y0 > c[3])
        return ofQuad(tmp, c[2], c[3], c[0], c[1], x0, y0, Curve::Decreasing, use);
    if (y0 == c[3] && y0 == c[1])
        return false;
    return ofQuad(tmp, x0, y0, c[0], c[1], c[2], c[3], Curve::Increasing, use);
}

template <class Use>
bool ofPathCubic(double* tmp, double x0, double y0, const double* c, Use use)
{
    if (y0 > c[5])
        return ofCubic(tmp, c[4], c[5], c[2], c[3], c[0], c[1], x0, y0, Curve::Decreasing, use);
    if (y0 == c[5] && y0 == c[1] && y0 == c[3])
        return false;
    return ofCubic(tmp, x0, y0, c[0], c[1], c[2], c[3], c[4], c[5], Curve::Increasing, use);
}

// The piece of some coordinates, turned to run down; none if its ends are level.
inline std::optional<Order2> quadPiece(const double* c, int direction)
{
    if (c[1] > c[5])
        return Order2(c[4], c[5], c[2], c[3], c[0], c[1], -direction);
    if (c[1] < c[5])
        return Order2(c[0], c[1], c[2], c[3], c[4], c[5], direction);
    return std::nullopt;
}

inline std::optional<Order3> cubicPiece(const double* c, int direction)
{
    if (c[1] > c[7])
        return Order3(c[6], c[7], c[4], c[5], c[2], c[3], c[0], c[1], -direction);
    if (c[1] < c[7])
        return Order3(c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7], direction);
    return std::nullopt;
}
} // namespace pieces
} // namespace geometry
