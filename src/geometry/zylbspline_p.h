#pragma once

#include <cmath>

namespace geometry::bspline
{
inline bool isCurve(int order, int count)
{
    return order >= 1 && count >= order;
}

/// Whether knots can be computed with: finite, and none below the one before.
template <class S>
bool areKnots(int n, const S* knots)
{
    for (int i = 0; i + 1 < n; ++i)
        if (!(knots[i] <= knots[i + 1]))
            return false;
    return n > 0 && std::isfinite(knots[0]) && std::isfinite(knots[n - 1]);
}
} // namespace geometry::bspline
