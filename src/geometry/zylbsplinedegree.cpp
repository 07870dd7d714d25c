#include "geometry/zylbspline.h"

#include "geometry/zylbspline_p.h"
#include "geometry/zylscratch_p.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <qglobal.h>

namespace geometry
{
namespace
{
/// A curve on its way to another degree: cut into Bezier segments, which are raised or lowered one
/// by one, and put together on knots of fitting multiplicity.
///
/// Both ends of the way go through blossoms: the function of as many parameters as the degree that
/// is affine in each, symmetric, and the curve where all are equal. Its values at neighbouring
/// knots are the control points, and at the two ends of a segment the Bezier points.
template <class S>
class DegreeChange
{
public:
    DegreeChange(int order, int count, const S* knots, int dim, const S* points)
        : m_degree(order - 1), m_count(count), m_knots(knots), m_dim(dim), m_points(points)
    {
        for (int k = m_degree; k < count; ++k)
            m_segments += knots[k] < knots[k + 1];
    }

    /// Returns the number of new points, or 0.
    int run(int times, S* newKnots, S* newPoints)
    {
        const int goal = m_degree + times;
        const int widest = std::max(m_degree, goal);
        m_stride = std::size_t(widest + 1) * std::size_t(m_dim);
        const auto segments = std::size_t(m_segments);
        Scratch<S, 64> ends(segments + 1);
        Scratch<int, 64> multiplicities(segments + 1);
        Scratch<S, 256> bezier(segments * m_stride);
        Scratch<S, 64> work(2 * m_stride);
        if (m_segments == 0 || !ends || !multiplicities || !bezier || !work)
            return 0;
        m_ends = ends;
        m_bezier = bezier;
        m_work = work;

        // All is read before anything is written, which may be to the same arrays.
        int total = cut(multiplicities, times);
        if (total == 0)
            return 0;
        Scratch<int, 128> places{std::size_t(total)}; // which of the ends each knot is
        if (!places)
            return 0;
        for (int segment = 0; segment < m_segments; ++segment)
            bend(at(segment), goal);
        total = 0;
        for (int i = 0; i <= m_segments; ++i) {
            std::fill_n(newKnots + total, multiplicities[i], m_ends[i]);
            std::fill_n(places + total, multiplicities[i], i);
            total += multiplicities[i];
        }
        const int newCount = total - goal - 1;
        for (int i = 0; i < newCount; ++i)
            join(goal, newKnots + i, places[i], places[i + goal + 1] - 1,
                 newPoints + std::ptrdiff_t(i) * m_dim);
        return newCount;
    }

private:
    S* at(int segment) const { return m_bezier + std::size_t(segment) * m_stride; }
    S widthOf(int segment) const { return m_ends[segment + 1] - m_ends[segment]; }

    /// Fills the segments and the multiplicities that their ends will have, and returns the sum of
    /// these, or 0 if they are too many.
    int cut(int* multiplicities, int times)
    {
        qint64 total = 0;
        int segment = 0, before = 0;
        for (int k = m_degree; k < m_count; ++k) {
            if (!(m_knots[k] < m_knots[k + 1]))
                continue;
            // A simple knot stays when the degree is lowered: without it the curve would lose its
            // shape there.
            const int inner = std::max(std::min(k - before, m_degree + 1) + times, 1);
            multiplicities[segment] = segment == 0 ? m_degree + times + 1 : inner;
            total += multiplicities[segment];
            m_ends[segment] = m_knots[k];
            for (int j = 0; j <= m_degree; ++j)
                bezierPoint(k, j, at(segment) + std::size_t(j) * std::size_t(m_dim));
            before = k;
            ++segment;
        }
        m_ends[segment] = m_knots[m_count];
        multiplicities[segment] = m_degree + times + 1;
        total += multiplicities[segment];
        return total > std::numeric_limits<int>::max() ? 0 : int(total);
    }

    /// The blossom of the points around a span, with `ends` parameters at its end and the others at
    /// its start. Only means of points.
    void bezierPoint(int span, int ends, S* out)
    {
        const int dim = m_dim;
        std::copy_n(m_points + std::ptrdiff_t(span - m_degree) * dim,
                    std::ptrdiff_t(m_degree + 1) * dim, m_work);
        for (int level = 1; level <= m_degree; ++level) {
            const S t = m_knots[level <= m_degree - ends ? span : span + 1];
            for (int j = m_degree; j >= level; --j) {
                const S low = m_knots[span - m_degree + j], high = m_knots[span + 1 + j - level];
                const S a = (t - low) / (high - low);
                S* const point = m_work + std::ptrdiff_t(j) * dim;
                for (int k = 0; k < dim; ++k)
                    point[k] = (1 - a) * point[k - dim] + a * point[k];
            }
        }
        std::copy_n(m_work + std::ptrdiff_t(m_degree) * dim, dim, out);
    }

    /// Brings a segment to another degree, its ends kept.
    void bend(S* points, int goal)
    {
        for (int degree = m_degree; degree < goal; ++degree)
            raise(points, degree);
        for (int degree = m_degree; degree > goal; --degree)
            lower(points, degree);
    }

    void raise(S* points, int degree)
    {
        std::copy_n(points + std::ptrdiff_t(degree) * m_dim, m_dim,
                    points + std::ptrdiff_t(degree + 1) * m_dim);
        for (int j = degree; j > 0; --j) {
            const S a = S(j) / S(degree + 1);
            S* const point = points + std::ptrdiff_t(j) * m_dim;
            for (int k = 0; k < m_dim; ++k)
                point[k] = a * point[k - m_dim] + (1 - a) * point[k];
        }
    }

    /// Undoes `raise` from both ends; a middle point that both find is the mean.
    void lower(S* points, int degree)
    {
        const auto point = [=](int i) { return points + std::ptrdiff_t(i) * m_dim; };
        const int dim = m_dim, last = degree - 1;
        std::copy_n(points, std::size_t(degree + 1) * std::size_t(dim), m_work);
        const S* const old = m_work;
        S* const fromRight = m_work + m_stride;
        std::copy_n(old + std::ptrdiff_t(degree) * dim, dim,
                    fromRight + std::ptrdiff_t(last) * dim);
        for (int j = last; 2 * j > last; --j) {
            const S a = S(j) / S(degree);
            for (int k = 0; k < dim; ++k) {
                const std::ptrdiff_t i = std::ptrdiff_t(j) * dim + k;
                fromRight[i - dim] = (old[i] - (1 - a) * fromRight[i]) / a;
            }
        }
        for (int j = 1; 2 * j <= last; ++j) {
            const S a = S(j) / S(degree);
            for (int k = 0; k < dim; ++k)
                point(j)[k] = (old[std::ptrdiff_t(j) * dim + k] - a * point(j - 1)[k]) / (1 - a);
        }
        for (int j = last; 2 * j > last; --j)
            std::copy_n(fromRight + std::ptrdiff_t(j) * dim, dim, point(j));
        if (last % 2 == 0 && last > 0) {
            S* const middle = point(last / 2);
            for (int k = 0; k < dim; ++k)
                middle[k] = middle[k] / 2 + fromRight[std::ptrdiff_t(last / 2) * dim + k] / 2;
        }
    }

    /// The control point behind `knots[0]`, whose part of the curve are the segments `first` to
    /// `last`. If the curve fits all of them give the same; the widest loses least to rounding, and
    /// of equal ones the middle is nearest to all.
    void join(int degree, const S* knots, int first, int last, S* out)
    {
        constexpr S clearly = S(1.001);
        int best = first;
        for (int i = first + 1; i <= last; ++i) {
            const S width = widthOf(i), bestWidth = widthOf(best);
            if (width > clearly * bestWidth ||
                (width * clearly >= bestWidth &&
                 std::abs(2 * i - first - last) < std::abs(2 * best - first - last)))
                best = i;
        }
        blossom(degree, knots, best, out);
        const int twin = first + last - best;
        if (twin == best || widthOf(twin) * clearly < widthOf(best) ||
            widthOf(best) * clearly < widthOf(twin))
            return;
        S* const other = m_work + m_stride;
        blossom(degree, knots, twin, other);
        for (int k = 0; k < m_dim; ++k)
            out[k] = out[k] / 2 + other[k] / 2;
    }

    /// The blossom of a segment at `degree` knots from the second one on.
    void blossom(int degree, const S* knots, int segment, S* out)
    {
        const S start = m_ends[segment], width = widthOf(segment);
        std::copy_n(at(segment), std::size_t(degree + 1) * std::size_t(m_dim), m_work);
        for (int level = 1; level <= degree; ++level) {
            const S a = (knots[level] - start) / width;
            const std::ptrdiff_t length = std::ptrdiff_t(degree + 1 - level) * m_dim;
            for (std::ptrdiff_t i = 0; i < length; ++i)
                m_work[i] = (1 - a) * m_work[i] + a * m_work[i + m_dim];
        }
        std::copy_n(m_work, m_dim, out);
    }

    const int m_degree;
    const int m_count;
    const S* const m_knots;
    const int m_dim;
    const S* const m_points;
    int m_segments = 0;
    std::size_t m_stride = 0; // numbers of a segment
    S* m_ends = nullptr;
    S* m_bezier = nullptr;
    S* m_work = nullptr; // room for two segments
};

template <class S>
int changeDegree(int order, int count, const S* knots, int dim, const S* points, int times,
                 S* newKnots, S* newPoints)
{
    if (!bspline::isCurve(order, count) || dim < 1 || order + times < 2 ||
        !bspline::areKnots(order + count, knots))
        return 0;
    return DegreeChange<S>(order, count, knots, dim, points).run(times, newKnots, newPoints);
}
} // namespace

template <class S>
int BSpline::elevate(int order, int count, const S* knots, int dim, const S* points, int times,
                     S* newKnots, S* newPoints)
{
    if (times < 1 || times > std::numeric_limits<int>::max() - 1 - std::max(order, 0))
        return 0;
    return changeDegree(order, count, knots, dim, points, times, newKnots, newPoints);
}

template <class S>
int BSpline::reduce(int order, int count, const S* knots, int dim, const S* points, int times,
                    S* newKnots, S* newPoints)
{
    if (times < 1 || order < times)
        return 0;
    return changeDegree(order, count, knots, dim, points, -times, newKnots, newPoints);
}

#define INSTANTIATE(S)                                                                             \
    template int BSpline::elevate(int, int, const S*, int, const S*, int, S*, S*);                 \
    template int BSpline::reduce(int, int, const S*, int, const S*, int, S*, S*);
INSTANTIATE(float)
INSTANTIATE(double)
#undef INSTANTIATE
} // namespace geometry
