#pragma once

#include <limits>

namespace geometry
{
/// The nearest float. What is beyond the largest stops there: the plain cast is undefined then.
inline float toFloat(double value)
{
    constexpr double most = std::numeric_limits<float>::max();
    return float(value > most ? most : value < -most ? -most : value);
}
} // namespace geometry
