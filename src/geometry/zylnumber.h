#pragma once

#include <limits>
#include <type_traits>

namespace geometry
{
/// Converts one number to another type, towards zero. What an `int` can't hold stops at its limits,
/// and NaN is 0: the plain cast is undefined there.
template <class To, class From>
constexpr To toNumber(From value)
{
    if constexpr (std::is_integral_v<To> && std::is_floating_point_v<From>) {
        // The upper limit itself is no float; the first value beyond it is.
        constexpr From beyond = From(std::numeric_limits<To>::max() / 2 + 1) * 2;
        if (value >= beyond)
            return std::numeric_limits<To>::max();
        if (value <= From(std::numeric_limits<To>::min()))
            return std::numeric_limits<To>::min();
        return value == value ? To(value) : To(0);
    } else {
        return To(value);
    }
}
} // namespace geometry
