#pragma once

#include "toolkit/zylexport.h"

namespace geometry
{
/// Vector arithmetic on raw control points of two or three coordinates. A rational point has its
/// weight behind them, which `assign` copies and `subtract` divides out, a zero weight counting as
/// 1; `dot` and `length` take plain differences.
struct ZYL_EXPORT GVectorOperation {
    void (*assign)(float* to, const float* from) = nullptr;
    void (*subtract)(float* difference, const float* a, const float* b) = nullptr;
    float (*dot)(const float* a, const float* b) = nullptr;
    float (*length)(const float* v) = nullptr;

    /// All null for a dimension other than 2 and 3.
    GVectorOperation(int dimension, bool rational);
};
} // namespace geometry
