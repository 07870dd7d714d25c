#pragma once

#include "geometry/zylargument.h"
#include "geometry/zylforward.h"

namespace geometry
{
/// Polynomial pieces in power form. Every function stands for float and for double.
class ZYL_EXPORT Spline
{
public:
    /// The value at `t` of a polynomial of `order` rows of `dim` coefficients, that of the highest
    /// power first.
    template <class S>
    static void evaluate(int order, int dim, const S* coefficients, Argument<S> t, S* out);

    /// The matrix that takes two end points and the slopes there, as a column, to coefficients.
    template <class S>
    static void setHermit(Matrix4<S>& basis);
    /// The matrix that takes four points in a row to the coefficients of the piece between the
    /// middle two. Its slopes are (1 - tension) / 2 times the way from neighbour to neighbour, so
    /// that tension 1 stops at every point.
    template <class S>
    static void setCardinal(Argument<S> tension, Matrix4<S>& basis);
};
} // namespace geometry
