#pragma once

#include "geometry/zylargument.h"
#include "toolkit/zylexport.h"

namespace geometry
{
class VectorBuffer;

/// Curves of one Bezier segment, over raw numbers. Every function stands for float and for double.
///
/// `order` is the degree plus 1 and the number of points, `dim` the numbers of a point; points
/// follow one another. An order below 2 is the one point.
class ZYL_EXPORT BezierCurve
{
public:
    template <class S>
    static void evaluate(int order, int dim, const S* points, Argument<S> t, S* out);
    /// Also writes the first derivative.
    template <class S>
    static void evaluate(int order, int dim, const S* points, Argument<S> t, S* out, S* deriv);

    /// Writes the points of both halves, 2 * order - 1 with the one that they share. `out` may be
    /// `points`.
    template <class S>
    static void split(int order, int dim, const S* points, Argument<S> t, S* out);

    /// Writes the roots from 0 to 1 of a polynomial in Bernstein form in ascending order, at most
    /// order - 1, and returns their number. A root is where the polynomial passes from below 0 to
    /// not below it or back: one that it only touches is none. None either if a coefficient isn't
    /// finite.
    template <class S>
    static int solve(int order, const S* coefficients, Argument<S> tolerance, S* roots);

    /// The arc length, by Simpson's rule on panels that are halved until the two estimates of each
    /// are within `tolerance`. The last number of a rational point is its weight.
    template <class S>
    static S length(int order, int dim, const S* points, bool rational, Argument<S> tolerance)
    {
        return length(order, dim, points, rational, S(0), S(1), tolerance);
    }
    template <class S>
    static S length(int order, int dim, const S* points, bool rational, Argument<S> t0,
                    Argument<S> t1, Argument<S> tolerance);

    /// Writes the points at t0, t0 + step, ... up to t1, which may be missed by a thousandth of a
    /// step, and returns their number; 0 for a step that isn't above 0.
    template <class S>
    static int evaluate(int order, int dim, const S* points, Argument<S> t0, Argument<S> t1,
                        Argument<S> step, S* out);
    template <class S>
    static int quadratic(int dim, const S* points, Argument<S> t0, Argument<S> t1, Argument<S> step,
                         S* out);
    template <class S>
    static int cubic(int dim, const S* points, Argument<S> t0, Argument<S> t1, Argument<S> step,
                     S* out);

    /// Appends points of the buffer's dimension at 1 / steps, 2 / steps, ..., the last an exact
    /// copy of the last control point. Numbers are converted to the buffer's type. Returns how
    /// many, or -1 if the buffer can't grow or holds bytes.
    template <class S>
    static int evaluate(int order, const S* points, int steps, VectorBuffer& buffer);
    template <class S>
    static int quadratic(const S* points, int steps, VectorBuffer& buffer);
    template <class S>
    static int cubic(const S* points, int steps, VectorBuffer& buffer);
};
} // namespace geometry
