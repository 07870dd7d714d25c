#include "geometry/zylcurve2f.h"

#include "geometry/zylbox.h"
#include "geometry/zylcurve.h"
#include "geometry/zylline.h"

#include <algorithm>
#include <cmath>

namespace geometry
{
namespace
{
template <std::size_t n>
using Points = std::array<Vector2f, n>;

// The equations of both degrees under one name, by the number of points.
void fill(double (&eqn)[3], double val, const double (&v)[3])
{
    QuadCurve::fillEqn(eqn, val, v[0], v[1], v[2]);
}
void fill(double (&eqn)[4], double val, const double (&v)[4])
{
    CubicCurve::fillEqn(eqn, val, v[0], v[1], v[2], v[3]);
}
int solve(const double (&eqn)[3], double* res)
{
    return QuadCurve::solveQuadratic(eqn, res);
}
int solve(const double (&eqn)[4], double* res)
{
    return CubicCurve::solveCubic(eqn, res);
}
int evaluate(double* vals, int n, const double* inflect, const double (&v)[3])
{
    return QuadCurve::evalQuadratic(vals, n, true, true, inflect, v[0], v[1], v[2]);
}
int evaluate(double* vals, int n, const double* inflect, const double (&v)[4])
{
    return CubicCurve::evalCubic(vals, n, true, true, inflect, v[0], v[1], v[2], v[3]);
}

template <std::size_t n>
Box2f boundsOf(const Points<n>& points)
{
    Box2f box(points[0], points[0]);
    for (const Vector2f& p : points)
        box.include(p);
    return box;
}

template <std::size_t n>
float flatnessOf(const Points<n>& points)
{
    const Line2f chord(points[0], points[n - 1]);
    float most = 0;
    for (std::size_t i = 1; i < n - 1; ++i)
        most = std::max(most, chord.ptSegDistSq(points[i]));
    return most;
}

template <std::size_t n>
bool containsPoint(const Points<n>& points, const Vector2f& p)
{
    float x[n], y[n];
    for (std::size_t i = 0; i < n; ++i) {
        x[i] = points[i].x - p.x;
        y[i] = points[i].y - p.y;
    }
    const float chordX[] = {x[n - 1], x[0]}, chordY[] = {y[n - 1], y[0]};
    const int crossings = n == 3 ? Curve::crossingsForQuad(x, y) : Curve::crossingsForCubic(x, y);
    return ((crossings + Curve::crossingsForLine(chordX, chordY)) & 1) != 0;
}

/// One axis of a curve against the same axis of a box.
template <std::size_t n>
struct Axis {
    double v[n]; // the coordinates of the points
    double low, high;
    int tags[n];

    Axis(const Points<n>& points, const Box2f& box, int axis)
        : low(box.min[axis]), high(box.max[axis])
    {
        for (std::size_t i = 0; i < n; ++i) {
            v[i] = points[i][axis];
            tags[i] = tag(v[i]);
        }
    }

    /// A tag tells nothing about what isn't a number.
    bool isSound() const
    {
        return std::all_of(v, v + n, [](double coord) { return std::isfinite(coord); }) &&
               low <= high;
    }
    int tag(double coord) const { return QuadCurve::getTag(coord, low, high); }
    int first() const { return tags[0]; }
    int last() const { return tags[n - 1]; }
    bool overlaps() const { return first() * last() < 1; }
    double edge(int side) const { return side < 0 ? low : high; }
    bool isBeside() const
    {
        return std::all_of(tags, tags + n, [](int t) { return t < 0; }) ||
               std::all_of(tags, tags + n, [](int t) { return t > 0; });
    }
    /// Whether the curve or the chord leads from an end, in this axis, to the inside.
    bool leadsIn(std::size_t end) const
    {
        bool inwards = false;
        for (std::size_t i = 1; i < n - 1; ++i)
            inwards = inwards || QuadCurve::inwards(tags[end], tags[n - 1 - end], tags[i]);
        return inwards;
    }

    /// Writes where the curve stands in the other axis as it passes a value of this one, and
    /// returns how often that is.
    int pass(double value, const Axis& other, double* res, bool withTouches = true) const
    {
        double eqn[n];
        fill(eqn, value, v);
        const int count = std::max(solve(eqn, res), 0);
        return evaluate(res, count, withTouches ? nullptr : eqn, other.v);
    }
    /// Whether the curve leaves the ends' side of the box and comes back on another side or inside.
    bool bulgesInto(const Axis& other) const
    {
        double res[n];
        return pass(edge(first()), other, res) == 2 && other.tag(res[0]) * other.tag(res[1]) < 1;
    }
    /// Whether the curve passes an edge of the box.
    bool crossesEdges(const Axis& other) const
    {
        for (const double value : {low, high}) {
            double res[n];
            const int count = pass(value, other, res, false);
            for (int i = 0; i < count; ++i)
                if (other.tag(res[i]) == 0)
                    return true;
        }
        return false;
    }
};

/// A cubic curve can also turn twice and come into the box from a side that neither its ends nor
/// the passes of the nearest edge tell of.
template <std::size_t n>
bool swingsInto(const Points<n>& points, const Box2f& box, const Axis<n>& x, const Axis<n>& y)
{
    return x.crossesEdges(y) || y.crossesEdges(x) || containsPoint(points, box.min);
}

template <std::size_t n>
bool intersectsBox(const Points<n>& points, const Box2f& box)
{
    const Axis<n> x(points, box, 0), y(points, box, 1);
    if (!x.isSound() || !y.isSound())
        return false;
    if ((x.first() == 0 && y.first() == 0) || (x.last() == 0 && y.last() == 0))
        return true;
    if (x.isBeside() || y.isBeside())
        return false;
    if ((x.leadsIn(0) && y.leadsIn(0)) || (x.leadsIn(n - 1) && y.leadsIn(n - 1)))
        return true;
    const bool xoverlap = x.overlaps(), yoverlap = y.overlaps();
    if (x.first() == 0 && x.last() == 0 && yoverlap)
        return true;
    if (y.first() == 0 && y.last() == 0 && xoverlap)
        return true;
    if (!xoverlap || !yoverlap) {
        if ((!yoverlap && y.bulgesInto(x)) || (!xoverlap && x.bulgesInto(y)))
            return true;
        return n == 4 && swingsInto(points, box, x, y);
    }

    // Where the chord enters and leaves the height of the box.
    const double dx = x.v[n - 1] - x.v[0], dy = y.v[n - 1] - y.v[0];
    const double k = y.v[n - 1] * x.v[0] - x.v[n - 1] * y.v[0];
    const auto chordTag = [&](std::size_t end) {
        return y.tags[end] == 0 ? x.tags[end] : x.tag((k + dx * y.edge(y.tags[end])) / dy);
    };
    const int chord0 = chordTag(0), chord1 = chordTag(n - 1);
    if (chord0 * chord1 < 1)
        return true;
    // The chord passes beside the box. It and the curve together pass the line of that side an even
    // number of times; from the lowest up, each pair encloses what lies between.
    double res[n];
    const int count = x.pass(x.edge(chord1), y, res);
    int tags[n + 1];
    std::transform(res, res + count, tags, [&](double value) { return y.tag(value); });
    tags[count] = chord0 * x.first() < 1 ? y.first() : y.last();
    std::sort(tags, tags + count + 1);
    for (int i = 0; i + 1 <= count; i += 2)
        if (tags[i] * tags[i + 1] < 1)
            return true;
    return n == 4 && swingsInto(points, box, x, y);
}

template <std::size_t n>
bool containsBox(const Points<n>& points, const Box2f& box)
{
    for (const Vector2f& corner :
         {box.min, Vector2f(box.max.x, box.min.y), box.max, Vector2f(box.min.x, box.max.y)})
        if (!containsPoint(points, corner))
            return false;
    const Axis<n> x(points, box, 0), y(points, box, 1);
    if ((x.first() == 0 && y.first() == 0) || (x.last() == 0 && y.last() == 0))
        return false;
    return !x.crossesEdges(y) && !y.crossesEdges(x);
}

/// Splits at the middle: the rows of means, whose first points make the left half.
template <class C, std::size_t n>
void split(Points<n> points, C* left, C* right)
{
    Points<n> half;
    for (std::size_t i = 0; i < n; ++i) {
        half[i] = points[0];
        for (std::size_t k = 0; k + 1 < n - i; ++k)
            points[k] = (points[k] + points[k + 1]) * 0.5f;
    }
    if (left)
        *left = C(half.data());
    if (right)
        *right = C(points.data());
}
} // namespace

// Both classes forward to the same work.
#define CURVE_MEMBERS(C, Iterator)                                                                 \
    Box2f C::bounds() const                                                                        \
    {                                                                                              \
        return boundsOf(points());                                                                 \
    }                                                                                              \
    bool C::contains(const Vector2f& p) const                                                      \
    {                                                                                              \
        return containsPoint(points(), p);                                                         \
    }                                                                                              \
    bool C::contains(const Box2f& box) const                                                       \
    {                                                                                              \
        return containsBox(points(), box);                                                         \
    }                                                                                              \
    bool C::intersects(const Box2f& box) const                                                     \
    {                                                                                              \
        return intersectsBox(points(), box);                                                       \
    }                                                                                              \
    PathIterator* C::getPathIterator() const                                                       \
    {                                                                                              \
        return new Iterator(*this);                                                                \
    }                                                                                              \
    float C::flatnessSq() const                                                                    \
    {                                                                                              \
        return flatnessOf(points());                                                               \
    }                                                                                              \
    float C::flatness() const                                                                      \
    {                                                                                              \
        return std::sqrt(flatnessSq());                                                            \
    }                                                                                              \
    void C::subdivide(const C& src, C* left, C* right)                                             \
    {                                                                                              \
        split(src.points(), left, right);                                                          \
    }

CURVE_MEMBERS(QuadCurve2f, QuadIterator)
CURVE_MEMBERS(CubicCurve2f, CubicIterator)
#undef CURVE_MEMBERS

template <class C>
int CurveIterator<C>::currentSegment(float* coords, unsigned int dimension) const
{
    if (isDone())
        return CloseSegment;
    const auto points = m_curve->points();
    const std::size_t first = m_index == 0 ? 0 : 1, end = m_index == 0 ? 1 : points.size();
    for (std::size_t i = first; i < end; ++i, coords += dimension)
        for (unsigned k = 0; k < dimension && k < 2; ++k)
            coords[k] = points[i][int(k)];
    return currentType();
}

template class CurveIterator<QuadCurve2f>;
template class CurveIterator<CubicCurve2f>;
} // namespace geometry
