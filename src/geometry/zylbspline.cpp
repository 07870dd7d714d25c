#include "geometry/zylbspline.h"

#include "geometry/zylbspline_p.h"
#include "geometry/zylscratch_p.h"

#include <algorithm>
#include <limits>
#include <type_traits>

namespace geometry
{
namespace
{
using bspline::isCurve;

/// The index of the last knot at or below `t` among the first `n`, without a branch to mispredict.
template <class S>
int lastNotAbove(int n, const S* knots, S t)
{
    const S* base = knots;
    while (n > 1) {
        const int half = n / 2;
        base = base[half] <= t ? base + half : base;
        n -= half;
    }
    return n > 0 && *base <= t ? int(base - knots) : int(base - knots) - 1;
}

/// The same for a place on the curve. Knots are mostly about as far apart as others, so that a look
/// around where even ones would be spares the search.
template <class S>
int lastNotAbove(int order, int count, const S* knots, S t)
{
    const S low = knots[order - 1], high = knots[count];
    const S guess = (t - low) / (high - low) * S(count - order + 1);
    if (guess >= 0 && guess < S(count - order)) {
        const int at = order - 1 + int(guess);
        const int near = at + (knots[at + 1] <= t) - (t < knots[at]);
        if (knots[near] <= t && t < knots[near + 1])
            return near;
    }
    return lastNotAbove(count, knots, t);
}

/// The span whose points make the curve at `t`: the last one for the end, and never one of no width
/// behind it.
template <class S>
int spanOf(int order, int count, const S* knots, S t)
{
    int span = std::max(lastNotAbove(order, count, knots, t), order - 1);
    while (span > order - 1 && knots[span] == knots[span + 1])
        --span;
    return span;
}

template <class S>
S held(int order, int count, const S* knots, S t)
{
    const S low = knots[order - 1], high = knots[count];
    return t < low ? low : t > high ? high : t;
}

/// Goes on from the basis functions of degree - 1 to those of `degree`. Both end the row of
/// `order`; `base` are the knots from the one of the row's first control point on.
template <class S>
[[gnu::always_inline]] inline void raise(int order, const S* base, S t, int degree, S* row)
{
    S carried = 0;
    for (int j = order - 1 - degree; j < order - 1; ++j) {
        const S left = base[j + 1], right = base[j + 1 + degree], width = right - left;
        if (width == 0) {
            row[j] = carried;
            carried = 0;
        } else {
            const S q = row[j + 1] / width;
            row[j] = (right - t) * q + carried;
            carried = (t - left) * q;
        }
    }
    row[order - 1] = carried;
}

/// The last such step, which also finds the first derivatives.
template <class S>
[[gnu::always_inline]] inline void raiseWithSlope(int order, const S* base, S t, S* row, S* slope)
{
    const S degree = S(order - 1);
    S carried = 0, before = 0;
    for (int j = 0; j < order - 1; ++j) {
        const S left = base[j + 1], right = base[j + order], width = right - left;
        const S q = width == 0 ? S(0) : row[j + 1] / width;
        row[j] = (right - t) * q + carried;
        carried = (t - left) * q;
        slope[j] = degree * (before - q);
        before = q;
    }
    row[order - 1] = carried;
    slope[order - 1] = degree * before;
}

/// Goes on from derivatives of some number to those of one more, which are of one degree more.
template <class S>
[[gnu::always_inline]] inline void differentiate(int order, const S* base, int degree, S* row)
{
    S next = 0;
    for (int j = order - 1; j >= order - degree; --j) {
        const S width = base[j + degree] - base[j];
        const S q = width == 0 ? S(0) : S(degree) * row[j] / width;
        row[j] = q - next;
        next = q;
    }
    row[order - 1 - degree] = -next;
}

/// Rows of basis functions and derivatives; those above order - 1 aren't written.
template <class S>
[[gnu::always_inline]] inline void basisRows(int order, const S* base, S t, int degree, S* rows)
{
    rows[order - 1] = 1;
    for (int d = 0; d < order - 1; ++d) {
        if (d > 0)
            raise(order, base, t, d, rows);
        const int derivative = order - 1 - d;
        if (derivative > 1 && derivative <= degree) {
            S* const row = rows + std::ptrdiff_t(derivative) * order;
            for (int j = order - 1 - d; j < order; ++j)
                row[j] = rows[j];
            for (int higher = d + 1; higher < order; ++higher)
                differentiate(order, base, higher, row);
        }
    }
    if (order > 1 && degree > 0)
        raiseWithSlope(order, base, t, rows, rows + order);
    else if (order > 1)
        raise(order, base, t, order - 1, rows);
}

template <class S>
[[gnu::always_inline]] inline void combine(int order, int dim, const S* row, const S* points,
                                           S* out)
{
    for (int k = 0; k < dim; ++k) {
        S sum = 0;
        for (int j = 0; j < order; ++j)
            sum += row[j] * points[std::ptrdiff_t(j) * dim + k];
        out[k] = sum;
    }
}

/// Calls `use` with the order and the dimension, as constants where they are the usual ones, so
/// that its loops unroll.
template <class Use>
inline auto withSizes(int order, int dim, Use use)
{
    const auto withDim = [&](auto fixedOrder) {
        using std::integral_constant;
        switch (dim) {
        case 2:
            return use(fixedOrder, integral_constant<int, 2>());
        case 3:
            return use(fixedOrder, integral_constant<int, 3>());
        case 4:
            return use(fixedOrder, integral_constant<int, 4>());
        default:
            return use(fixedOrder, dim);
        }
    };
    switch (order) {
    case 3:
        return withDim(std::integral_constant<int, 3>());
    case 4:
        return withDim(std::integral_constant<int, 4>());
    default:
        return withDim(order);
    }
}

/// The value and `degree` derivatives of one curve; `out[d]` is where each goes.
template <class S>
bool evaluateRows(int order, int count, const S* knots, int dim, const S* points, S t, int degree,
                  S* out, S* derivs)
{
    if (!isCurve(order, count) || dim < 1)
        return false;
    const int known = std::clamp(degree, 0, order - 1);
    const auto clearBeyond = [=] {
        if (degree > known)
            std::fill_n(derivs + std::ptrdiff_t(known) * dim, std::ptrdiff_t(degree - known) * dim,
                        S(0));
    };
    if (order == 1) {
        std::copy_n(points, dim, out);
        clearBeyond();
        return true;
    }
    t = held(order, count, knots, t);
    const int first = spanOf(order, count, knots, t) - order + 1;
    const S* const base = knots + first;
    points += std::ptrdiff_t(first) * dim;
    return withSizes(order, dim, [=](auto fixedOrder, auto fixedDim) {
        constexpr bool isFixed = !std::is_same_v<decltype(fixedOrder), int>;
        constexpr int few = isFixed ? 16 : 64;
        Scratch<S, few> rows(std::size_t(known + 1) * std::size_t(int(fixedOrder)));
        if (!rows)
            return false;
        basisRows<S>(fixedOrder, base, t, known, rows);
        combine<S>(fixedOrder, fixedDim, rows, points, out);
        for (int d = 1; d <= known; ++d)
            combine<S>(fixedOrder, fixedDim, rows + std::ptrdiff_t(d) * int(fixedOrder), points,
                       derivs + std::ptrdiff_t(d - 1) * dim);
        clearBeyond();
        return true;
    });
}

template <class S>
S squareDistance(int dim, const S* a, const S* b)
{
    S sum = 0;
    for (int k = 0; k < dim; ++k)
        sum += (a[k] - b[k]) * (a[k] - b[k]);
    return sum;
}
} // namespace

template <class S>
int BSpline::findSpan(int n, const S* knots, Argument<S> t)
{
    return lastNotAbove(n, knots, S(t));
}

template <class S>
int BSpline::findSpan(int n, const S* knots, Argument<S> t, int* multiplicity)
{
    const int span = findSpan(n, knots, t);
    int first = span;
    while (first > 0 && knots[first - 1] == knots[span])
        --first;
    *multiplicity = span < 0 ? 0 : span - first + 1;
    return span;
}

template <class S>
void BSpline::initKnot(int order, int count, bool uniform, S* knots)
{
    const int most = std::max(count - order, 0) + 1; // where the last knots are clamped
    for (int i = 0, total = order + count; i < total; ++i)
        knots[i] = S(uniform ? i : std::clamp(i - order + 1, 0, most));
}

template <class S>
int BSpline::blendData(int order, int count, const S* knots, Argument<S> t, S* blend)
{
    if (!isCurve(order, count))
        return -1;
    const int span = spanOf(order, count, knots, S(t));
    const int first = span - order + 1;
    basisRows(order, knots + first, S(t), 0, blend + first);
    return span;
}

template <class S>
int BSpline::derivatives(int order, int count, const S* knots, Argument<S> t, int degree, S* out)
{
    if (!isCurve(order, count))
        return -1;
    const S at = held(order, count, knots, S(t));
    const int span = spanOf(order, count, knots, at);
    const int known = std::clamp(degree, 0, order - 1);
    basisRows(order, knots + span - order + 1, at, known, out);
    if (degree > known)
        std::fill_n(out + std::ptrdiff_t(known + 1) * order, std::ptrdiff_t(degree - known) * order,
                    S(0));
    return span;
}

template <class S>
bool BSpline::evaluate(int order, int count, const S* knots, int dim, const S* points,
                       Argument<S> t, S* out)
{
    return evaluateRows<S>(order, count, knots, dim, points, t, 0, out, nullptr);
}

template <class S>
bool BSpline::evaluate(int order, int count, const S* knots, int dim, const S* points,
                       Argument<S> t, S* out, S* deriv)
{
    return evaluateRows<S>(order, count, knots, dim, points, t, 1, out, deriv);
}

template <class S>
bool BSpline::evaluate(int order, int count, const S* knots, int dim, const S* points,
                       Argument<S> t, S* out, int degree, S* derivs)
{
    return evaluateRows<S>(order, count, knots, dim, points, t, degree, out, derivs);
}

template <class S>
bool BSpline::project(int order, int count, const S* knots, int dim, const S* points,
                      const S* point, Argument<S> tolerance, S* t, S* out)
{
    if (!isCurve(order, count) || dim < 1)
        return false;
    int nearest = 0;
    S least = std::numeric_limits<S>::infinity();
    for (int i = 0; i < count; ++i) {
        const S distance = squareDistance(dim, points + std::ptrdiff_t(i) * dim, point);
        if (distance < least) {
            least = distance;
            nearest = i;
        }
    }
    const S start = order < 2 ? knots[0]
                    : nearest < order
                        ? (knots[order] - knots[order - 1]) * S(nearest) / S(order - 1)
                        : knots[nearest + 1];
    return project(order, count, knots, dim, points, point, start, tolerance, t, out);
}

template <class S>
bool BSpline::project(int order, int count, const S* knots, int dim, const S* points,
                      const S* point, Argument<S> start, Argument<S> tolerance, S* t, S* out)
{
    if (!isCurve(order, count) || dim < 1)
        return false;
    Scratch<S, 16> scratch(3 * std::size_t(dim));
    if (!scratch)
        return false;
    S* const place = scratch;
    const S* const slope = place + dim;
    const S* const bend = slope + dim;
    S at = order < 2 ? knots[0] : held(order, count, knots, S(start));
    // Close to the foot all distances are equal but for rounding, and the later ones better.
    constexpr S slack = 1 + 8 * std::numeric_limits<S>::epsilon();
    S least = std::numeric_limits<S>::infinity();
    bool isSettled = order < 2;
    for (int round = 0; round < 100; ++round) {
        if (!evaluate(order, count, knots, dim, points, at, place, 2, place + dim))
            return false;
        const S distance = squareDistance<S>(dim, place, point);
        if (round > 0 && distance > least * slack) {
            // Too far: the way leads down, so that a shorter step comes closer.
            const S half = at + (*t - at) / 2;
            if (isSettled || half == at || half == *t)
                break;
            at = half;
            continue;
        }
        least = std::min(least, distance);
        *t = at;
        std::copy_n(place, dim, out);
        if (isSettled)
            break;
        // Half the distance's square has this slope and, where it is a valley, this bend.
        S first = 0, square = 0, second = 0;
        for (int k = 0; k < dim; ++k) {
            const S away = place[k] - point[k];
            first += away * slope[k];
            square += slope[k] * slope[k];
            second += away * bend[k];
        }
        const S curvature = square + second > 0 ? square + second : square;
        if (!(curvature > 0))
            break;
        const S next = held(order, count, knots, at - first / curvature);
        isSettled = !((next > at ? next - at : at - next) > tolerance);
        at = next;
    }
    return true;
}

#define INSTANTIATE(S)                                                                             \
    template int BSpline::findSpan(int, const S*, S);                                              \
    template int BSpline::findSpan(int, const S*, S, int*);                                        \
    template void BSpline::initKnot(int, int, bool, S*);                                           \
    template int BSpline::blendData(int, int, const S*, S, S*);                                    \
    template int BSpline::derivatives(int, int, const S*, S, int, S*);                             \
    template bool BSpline::evaluate(int, int, const S*, int, const S*, S, S*);                     \
    template bool BSpline::evaluate(int, int, const S*, int, const S*, S, S*, S*);                 \
    template bool BSpline::evaluate(int, int, const S*, int, const S*, S, S*, int, S*);            \
    template bool BSpline::project(int, int, const S*, int, const S*, const S*, S, S*, S*);        \
    template bool BSpline::project(int, int, const S*, int, const S*, const S*, S, S, S*, S*);
INSTANTIATE(float)
INSTANTIATE(double)
#undef INSTANTIATE
} // namespace geometry
