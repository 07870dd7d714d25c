#pragma once

#include "tools/saturate.h"

namespace action
{
/// The number without its fraction; beyond the limits of `int` it stays at them, and NaN gives 0.
inline int truncated(double value)
{
    return roundedInt(std::trunc(value));
}
} // namespace action
