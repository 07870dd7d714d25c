#pragma once

#include "geometry/gvector.h"

namespace geometry
{
/// Maps points in place, each a row in front of the matrix.
using TransformFunction = void (*)(void* points, int count, const Matrix4d& matrix);

/// The function for points of two or three coordinates, the missing ones being 0. `rational` points
/// have a weight behind them, which takes part; with `project` the result is divided by the weight
/// it got, unless that is 0, and is a point of weight 1. Null for other dimensions, and for bytes.
ZYL_EXPORT TransformFunction find_transform(int dimension, GVector::ElementType type, bool rational,
                                            bool project);
} // namespace geometry
