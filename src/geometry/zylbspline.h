#pragma once

#include "geometry/zylargument.h"
#include "toolkit/zylexport.h"

namespace geometry
{
/// B-spline curves over raw numbers. Every function stands for float and for double.
///
/// `order` is the degree plus 1, `count` the number of control points, `dim` the numbers of each,
/// with the weight of a rational curve as one more. The `count + order` knots don't descend; the
/// curve runs from knots[order - 1] to knots[count], and parameters are held to that. Fewer points
/// than the order are no curve. No knots, and no parameter, make a function read outside the
/// arrays.
class ZYL_EXPORT BSpline
{
public:
    /// The largest index below `n` of a knot at or below `t`, or -1.
    template <class S>
    static int findSpan(int n, const S* knots, Argument<S> t);
    /// Also tells how many of the knots up to that index are equal to it.
    template <class S>
    static int findSpan(int n, const S* knots, Argument<S> t, int* multiplicity);

    /// Writes order + count knots: 0, 1, 2, ... if `uniform`, else clamped ones, with `order` equal
    /// knots at either end and steps of 1 between.
    template <class S>
    static void initKnot(int order, int count, bool uniform, S* knots);

    /// The basis functions at `t`, which isn't held to the curve. Writes only those of the `order`
    /// control points up to the span that it returns; `blend` is indexed like the control points.
    /// -1 if there is no curve.
    template <class S>
    static int blendData(int order, int count, const S* knots, Argument<S> t, S* blend);

    /// Writes degree + 1 rows of `order` numbers, the basis functions and their derivatives, for
    /// the control points up to the span that it returns. -1 if there is no curve or no memory.
    template <class S>
    static int derivatives(int order, int count, const S* knots, Argument<S> t, int degree, S* out);

    /// These return false, with nothing written, if there is no curve or no memory. Order 1 gives
    /// the first point.
    template <class S>
    static bool evaluate(int order, int count, const S* knots, int dim, const S* points,
                         Argument<S> t, S* out);
    /// Also the first derivative.
    template <class S>
    static bool evaluate(int order, int count, const S* knots, int dim, const S* points,
                         Argument<S> t, S* out, S* deriv);
    /// Also `degree` derivatives, from the first one on.
    template <class S>
    static bool evaluate(int order, int count, const S* knots, int dim, const S* points,
                         Argument<S> t, S* out, int degree, S* derivs);

    // What follows takes arrays that may be the same before and after, or else lie apart. New
    // arrays have room for the most that the call can make.

    /// Inserts a knot on the curve without changing it, at most `times` and as often as its
    /// multiplicity stays within the order. Returns how often.
    template <class S>
    static int insertKnot(int order, int count, const S* knots, int dim, const S* points,
                          Argument<S> t, int times, S* newKnots, S* newPoints);
    /// Removes a knot between the ends of the curve, at most `times` and as often as it is there.
    /// The curve changes unless the knot is superfluous. Returns how often.
    template <class S>
    static int removeKnot(int order, int count, const S* knots, int dim, const S* points,
                          Argument<S> t, int times, S* newKnots, S* newPoints);

    /// Raises the order by `times` without changing the curve, whose ends become clamped. Returns
    /// the number of control points, at most count + (count - order + 1) * times. 0, with the
    /// arrays as they were, if there is no curve or no memory.
    template <class S>
    static int elevate(int order, int count, const S* knots, int dim, const S* points, int times,
                       S* newKnots, S* newPoints);
    /// Lowers the order by `times`. What `elevate` made becomes what it was, apart from clamped
    /// ends; another curve is approximated, its ends kept. There are at most `count` control
    /// points, and their number is returned; 0 if an order below 2 would be left, otherwise as
    /// `elevate`.
    template <class S>
    static int reduce(int order, int count, const S* knots, int dim, const S* points, int times,
                      S* newKnots, S* newPoints);

    /// Writes the parameter and the point of the curve nearest to `point`. The search starts from
    /// the nearest control point, so that of several near pieces of the curve it may find another.
    template <class S>
    static bool project(int order, int count, const S* knots, int dim, const S* points,
                        const S* point, Argument<S> tolerance, S* t, S* out);
    /// The same from a parameter.
    template <class S>
    static bool project(int order, int count, const S* knots, int dim, const S* points,
                        const S* point, Argument<S> start, Argument<S> tolerance, S* t, S* out);
};
} // namespace geometry
