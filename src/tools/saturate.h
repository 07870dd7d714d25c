#pragma once

#include <cmath>
#include <limits>

#include <qglobal.h>

/// The `int` nearest to `value`: amounts from files and users end at the limits instead of
/// wrapping.
constexpr int saturatedInt(qint64 value)
{
    using Limits = std::numeric_limits<int>;
    if (value < Limits::min())
        return Limits::min();
    return value > Limits::max() ? Limits::max() : int(value);
}

/// Rounds to the nearest `int`, halves away from zero; beyond the limits it stays at them, and NaN
/// gives 0.
inline int roundedInt(double value)
{
    using Limits = std::numeric_limits<int>;
    if (std::isnan(value))
        return 0;
    const double rounded = std::round(value);
    if (rounded <= Limits::min())
        return Limits::min();
    return rounded >= Limits::max() ? Limits::max() : int(rounded);
}
