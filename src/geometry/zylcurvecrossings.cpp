#include "geometry/zylbezier.h"
#include "geometry/zylcurve.h"
#include "geometry/zylpathwalk_p.h"
#include "geometry/zylquadcurve.h"
#include "geometry/zylvector.h"

#include <algorithm>
#include <cmath>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace geometry
{
namespace
{
// All coordinates here are relative to the point and in double, in which differences of floats are
// exact unless they are of very different size.

constexpr double endRange = 1e-10; // what is no further from an end of a curve is the end

int directionOf(bool startsBelow)
{
    return startsBelow ? Curve::Increasing : Curve::Decreasing;
}

/// A line whose ends lie on different sides of the axis. It passes right of the point if its cross
/// product has the sign of its direction, which spares a division and its rounding.
int crossingOfLine(double x0, double y0, double x1, double y1)
{
    return y0 < y1 ? x0 * y1 > x1 * y0 : -int(x0 * y1 < x1 * y0);
}

/// The answer where no curve has to be solved; false if one has to.
bool isDecidedByHull(const double* x, const double* y, int degree, int& crossings)
{
    const auto isRight = [](double v) { return !(v <= 0); };
    const auto isBelow = [](double v) { return v < 0; };
    crossings = 0;
    if (std::none_of(x, x + degree + 1, isRight) || std::none_of(y, y + degree + 1, isBelow) ||
        std::all_of(y, y + degree + 1, isBelow))
        return true;
    if (!std::all_of(x, x + degree + 1, isRight))
        return false;
    if (isBelow(y[0]) != isBelow(y[degree]))
        crossings = directionOf(isBelow(y[0]));
    return true;
}

void fill(double (&eqn)[3], const double* v)
{
    QuadCurve::fillEqn(eqn, 0, v[0], v[1], v[2]);
}

void fill(double (&eqn)[4], const double* v)
{
    CubicCurve::fillEqn(eqn, 0, v[0], v[1], v[2], v[3]);
}

template <int degree>
double value(const double* eqn, double t)
{
    double v = eqn[degree];
    for (int k = degree; k-- > 0;)
        v = v * t + eqn[k];
    return v;
}

template <int degree>
double slope(const double* eqn, double t)
{
    double v = degree * eqn[degree];
    for (int k = degree; --k > 0;)
        v = v * t + k * eqn[k];
    return v;
}

/// The root between two places on different sides of 0, by Newton's steps held to what is left of
/// the bracket.
template <int degree>
double rootBetween(const double* eqn, double low, double high, bool lowIsBelow)
{
    double t = (low + high) / 2;
    for (int round = 0; round < 128; ++round) {
        const double v = value<degree>(eqn, t);
        if (v == 0)
            break;
        ((v < 0) == lowIsBelow ? low : high) = t;
        double next = t - v / slope<degree>(eqn, t);
        if (!(next > low && next < high))
            next = (low + high) / 2;
        if (next == t || next == low || next == high)
            break;
        t = next;
    }
    return t;
}

/// Solves the curve between its turning points, where a root can neither be missed nor found twice
/// however close to a touch it is.
template <int degree>
int crossingsOfCurve(const double* x, const double* y)
{
    int crossings = 0;
    if (isDecidedByHull(x, y, degree, crossings))
        return crossings;
    double xeqn[degree + 1], yeqn[degree + 1];
    fill(xeqn, x);
    fill(yeqn, y);
    double turns[4] = {};
    const double turning[] = {yeqn[1], 2 * yeqn[2], degree == 3 ? 3 * yeqn[degree] : 0};
    const int count = std::max(QuadCurve::solveQuadratic(turning, turns), 0);
    std::sort(turns, turns + count);
    turns[count] = 1;

    double low = 0, atLow = y[0];
    for (int i = 0; i <= count; ++i) {
        const double high = turns[i];
        if (!(high > low && high <= 1))
            continue;
        const double atHigh = high == 1 ? y[degree] : value<degree>(yeqn, high);
        if ((atLow < 0) != (atHigh < 0)) {
            const double t = atLow == 0    ? low
                             : atHigh == 0 ? high
                                           : rootBetween<degree>(yeqn, low, high, atLow < 0);
            // A curve that runs out level on the axis still comes from one of its sides.
            const bool isEnd = t <= endRange || t >= 1 - endRange;
            if (value<degree>(xeqn, t) >= 0 && (isEnd || slope<degree>(yeqn, t) != 0))
                crossings += directionOf(atLow < 0);
        }
        low = high;
        atLow = atHigh;
    }
    return crossings;
}

int crossingsOfCurve(const double* x, const double* y, int degree)
{
    constexpr double tolerance = 1.0000000116860974e-07;
    int crossings = 0;
    if (isDecidedByHull(x, y, degree, crossings))
        return crossings;
    double roots[256];
    const int count = BezierCurve::solve(degree + 1, y, tolerance, roots);
    for (int i = 0; i < count; ++i) {
        const double t = roots[i];
        double at, height, rise;
        BezierCurve::evaluate(degree + 1, 1, x, t, &at);
        BezierCurve::evaluate(degree + 1, 1, y, t, &height, &rise);
        // At an end the sign there decides whether the curve comes from beyond the axis.
        const bool isDown = rise < 0;
        if (rise == 0 || at < 0 || (t <= endRange && (y[0] < 0) == isDown) ||
            (t >= 1 - endRange && (y[degree] < 0) != isDown))
            continue;
        crossings += directionOf(!isDown);
    }
    return crossings;
}

/// Adds up the crossings of a walk's edges.
class PointVisitor
{
public:
    explicit PointVisitor(const Vector2f& p) : m_x(p.x), m_y(p.y) {}

    int crossings() const { return m_crossings; }

    bool lines(const float* from, const float* to, unsigned stride, unsigned count)
    {
        // Which ends lie beyond the ray, as bits: most blocks have none where it changes, and the
        // others only a few places to look at.
        constexpr unsigned block = 32;
        const float* previous = from;
        for (unsigned n; count > 0; count -= n, to += std::size_t(n) * stride) {
            n = std::min(count, block);
            quint64 sides = previous[1] < m_y;
            if (n == block && stride == 2)
                sides |= sidesOf(to, block) << 1;
            else if (stride == 2)
                sides |= sidesOf(to, n) << 1;
            else
                for (unsigned i = 0; i < n; ++i)
                    sides |= quint64(to[std::size_t(i) * stride + 1] < m_y) << (i + 1);
            quint64 changes = (sides ^ (sides >> 1)) & ((quint64(1) << n) - 1);
            for (; changes != 0; changes &= changes - 1) {
                const auto i = unsigned(__builtin_ctzll(changes));
                const float* const a = i == 0 ? previous : to + std::size_t(i - 1) * stride;
                const float* const b = to + std::size_t(i) * stride;
                m_crossings += crossingOfLine(double(a[0]) - m_x, double(a[1]) - m_y,
                                              double(b[0]) - m_x, double(b[1]) - m_y);
            }
            previous = to + std::size_t(n - 1) * stride;
        }
        return false;
    }

    bool curve(const float* from, const float* points, unsigned stride, int degree)
    {
        // Curves beside the ray or left of the point are the most, and cost no copy.
        const bool startsBelow = from[1] < m_y;
        bool isOneSided = true, isLeft = from[0] <= m_x;
        for (int i = 0; i < degree; ++i) {
            const float* const p = points + std::size_t(unsigned(i)) * stride;
            isOneSided = isOneSided && (p[1] < m_y) == startsBelow;
            isLeft = isLeft && p[0] <= m_x;
        }
        if (isOneSided || isLeft)
            return false;
        double x[256], y[256];
        x[0] = double(from[0]) - m_x;
        y[0] = double(from[1]) - m_y;
        for (int i = 1; i <= degree; ++i, points += stride) {
            x[i] = double(points[0]) - m_x;
            y[i] = double(points[1]) - m_y;
        }
        m_crossings += degree == QuadSegment    ? crossingsOfCurve<2>(x, y)
                       : degree == CubicSegment ? crossingsOfCurve<3>(x, y)
                                                : crossingsOfCurve(x, y, degree);
        return false;
    }

private:
    quint64 sidesOf(const float* points, unsigned n) const
    {
        quint32 sides = 0;
        unsigned i = 0;
#ifdef __SSE2__
        const __m128 ray = _mm_set1_ps(m_y);
        for (; i + 4 <= n; i += 4) {
            const __m128 two = _mm_loadu_ps(points + 2 * i);
            const __m128 nextTwo = _mm_loadu_ps(points + 2 * i + 4);
            const __m128 heights = _mm_shuffle_ps(two, nextTwo, _MM_SHUFFLE(3, 1, 3, 1));
            sides |= quint32(_mm_movemask_ps(_mm_cmplt_ps(heights, ray))) << i;
        }
#endif
        for (; i < n; ++i)
            sides |= quint32(points[2 * i + 1] < m_y) << i;
        return sides;
    }

    const float m_x, m_y;
    int m_crossings = 0;
};

template <int degree>
int crossingsOfFloats(const float* x, const float* y)
{
    double dx[degree + 1], dy[degree + 1];
    std::copy(x, x + degree + 1, dx);
    std::copy(y, y + degree + 1, dy);
    return crossingsOfCurve<degree>(dx, dy);
}
} // namespace

int Curve::crossingsForLine(const float* x, const float* y)
{
    return (y[0] < 0) == (y[1] < 0) ? 0 : crossingOfLine(x[0], y[0], x[1], y[1]);
}

int Curve::crossingsForQuad(const float* x, const float* y)
{
    return crossingsOfFloats<2>(x, y);
}

int Curve::crossingsForCubic(const float* x, const float* y)
{
    return crossingsOfFloats<3>(x, y);
}

int Curve::crossingsForPath(const GeneralPath2f& path, const Vector2f& p)
{
    PointVisitor visitor(p);
    return walkPath(PathView(path), visitor) == WalkEnd::Done ? visitor.crossings() : 0;
}
} // namespace geometry
