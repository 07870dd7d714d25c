#pragma once

#include "toolkit/zylexport.h"

namespace geometry
{
/// Bezier curves over raw arrays: `order` control points, degree + 1, of `dim` numbers each. The
/// templates stand for float and double.
class ZYL_EXPORT BezierCurve
{
public:
    /// The value at `t`. With an order below 2 it is the first point.
    template <class T>
    static void evaluate(int order, int dim, const T* points, T t, T* out);
    /// The value and the first derivative.
    template <class T>
    static void evaluate(int order, int dim, const T* points, T t, T* out, T* deriv);

    /// Writes the places from 0 to 1 where a polynomial of one dimension changes between negative
    /// and not negative, in ascending order, and returns how many: at most `order` - 1. A touch is
    /// none. 0 if there is no memory.
    template <class T>
    static int solve(int order, const T* coefficients, T tolerance, T* roots);
};
} // namespace geometry
