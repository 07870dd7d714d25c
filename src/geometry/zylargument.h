#pragma once

#include <type_traits>

namespace geometry
{
/// A number whose type follows that of the call's arrays, so that `f(floats, 0.5)` is a call in
/// single precision.
template <class S>
using Argument = std::common_type_t<S>;
} // namespace geometry
