#include "geometry/zylbspline.h"

#include "geometry/zylbspline_p.h"
#include "geometry/zylscratch_p.h"

#include <algorithm>
#include <cstring>

namespace geometry
{
namespace
{
/// Moves numbers, also to where they overlap.
template <class S>
void move(S* to, const S* from, std::ptrdiff_t count)
{
    if (to != from && count > 0)
        std::memmove(to, from, std::size_t(count) * sizeof(S));
}

template <class S>
void erase(S* array, std::ptrdiff_t at, std::ptrdiff_t n, std::ptrdiff_t size)
{
    move(array + at, array + at + n, size - at - n);
}

/// Takes the knot with index `last`, one of `multiplicity` equal ones, out of a curve, in place.
///
/// Inserting it again would give one equation more than there are unknown points, each between two
/// of them. So the points are found from both sides, and where the sides meet an equation is left
/// over or a point has two answers; the mean keeps that even.
template <class S>
void removeOnce(int order, int count, S* knots, int dim, S* points, int last, int multiplicity)
{
    const int degree = order - 1;
    const S t = knots[last];
    const auto at = [=](int i) { return points + std::ptrdiff_t(i) * dim; };
    const auto share = [=](int i) { return (t - knots[i]) / (knots[i + order] - knots[i]); };
    const int steps = (degree - multiplicity + 1) / 2;
    int left = last - degree, right = last - multiplicity;
    for (int step = 0; step < steps; ++step, ++left, --right) {
        const S a = share(left), b = share(right);
        for (int k = 0; k < dim; ++k)
            at(left)[k] = (at(left)[k] - (1 - a) * at(left - 1)[k]) / a;
        for (int k = 0; k < dim; ++k)
            at(right)[k] = (at(right)[k] - b * at(right + 1)[k]) / (1 - b);
    }
    // Slots of the right side hold the points before them, which fall into place as one slot goes.
    if (left > right) {
        for (int k = 0; k < dim; ++k)
            at(left - 1)[k] = at(left - 1)[k] / 2 + at(left)[k] / 2;
    }
    erase(points, std::ptrdiff_t(left) * dim, dim, std::ptrdiff_t(count) * dim);
    erase(knots, last, 1, std::ptrdiff_t(count) + order);
}
} // namespace

template <class S>
int BSpline::insertKnot(int order, int count, const S* knots, int dim, const S* points,
                        Argument<S> t, int times, S* newKnots, S* newPoints)
{
    if (!bspline::isCurve(order, count) || dim < 0)
        return 0;
    const int knotCount = order + count, degree = order - 1;
    const std::ptrdiff_t width = dim;
    int span = 0, multiplicity = 0, inserted = 0;
    if (times > 0 && bspline::areKnots(knotCount, knots) && t >= knots[order - 1] &&
        t <= knots[count]) {
        span = findSpan(knotCount, knots, t, &multiplicity);
        if (knots[span] != t)
            multiplicity = 0;
        inserted = std::clamp(order - multiplicity, 0, times);
    }
    // The points that the knot changes, and those that they become at each further insertion.
    const int window = std::max(order - multiplicity, 0);
    Scratch<S, 64> scratch(std::size_t(window) * std::size_t(width));
    if (!scratch)
        inserted = 0;
    if (inserted == 0) {
        move(newKnots, knots, knotCount);
        move(newPoints, points, count * width);
        return 0;
    }
    S* const row = scratch;
    const int first = span - degree, tail = span - multiplicity;
    move(row, points + first * width, window * width);
    move(newPoints + (tail + inserted) * width, points + tail * width, (count - tail) * width);
    move(newPoints, points, (first + 1) * width);
    for (int j = 1; j <= inserted && j < window; ++j) {
        const int length = window - j;
        for (int i = 0; i < length; ++i) {
            const S low = knots[first + j + i], high = knots[span + 1 + i];
            const S a = (t - low) / (high - low);
            for (int k = 0; k < dim; ++k)
                row[i * width + k] = (1 - a) * row[i * width + k] + a * row[(i + 1) * width + k];
        }
        move(newPoints + (first + j) * width, row, width);
        move(newPoints + (tail + inserted - j) * width, row + (length - 1) * width, width);
        if (j == inserted)
            move(newPoints + (first + j) * width, row, length * width);
    }
    move(newKnots + span + 1 + inserted, knots + span + 1, knotCount - span - 1);
    move(newKnots, knots, span + 1);
    std::fill_n(newKnots + span + 1, inserted, S(t));
    return inserted;
}

template <class S>
int BSpline::removeKnot(int order, int count, const S* knots, int dim, const S* points,
                        Argument<S> t, int times, S* newKnots, S* newPoints)
{
    if (!bspline::isCurve(order, count) || dim < 0)
        return 0;
    move(newKnots, knots, std::ptrdiff_t(order) + count);
    move(newPoints, points, std::ptrdiff_t(count) * dim);
    if (times < 1 || !bspline::areKnots(order + count, newKnots) || !(t > newKnots[order - 1]) ||
        !(t < newKnots[count]))
        return 0;
    int multiplicity;
    int last = findSpan(order + count, newKnots, t, &multiplicity);
    if (newKnots[last] != t)
        return 0;
    const int removed = std::min(times, multiplicity);
    // Points between more equal knots than the order have no part in the curve.
    const int idle = std::clamp(multiplicity - order, 0, removed);
    erase(newPoints, std::ptrdiff_t(last - multiplicity + 1) * dim, std::ptrdiff_t(idle) * dim,
          std::ptrdiff_t(count) * dim);
    erase(newKnots, last - idle + 1, idle, std::ptrdiff_t(count) + order);
    for (int i = idle; i < removed; ++i)
        removeOnce(order, count - i, newKnots, dim, newPoints, last - i, multiplicity - i);
    return removed;
}

#define INSTANTIATE(S)                                                                             \
    template int BSpline::insertKnot(int, int, const S*, int, const S*, S, int, S*, S*);           \
    template int BSpline::removeKnot(int, int, const S*, int, const S*, S, int, S*, S*);
INSTANTIATE(float)
INSTANTIATE(double)
#undef INSTANTIATE
} // namespace geometry
