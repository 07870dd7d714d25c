#pragma once

#include "geometry/zylpathiterator.h"
#include "geometry/zylquadcurve.h"
#include "geometry/zylshape.h"
#include "geometry/zylvector.h"

#include <array>

namespace geometry
{
/// A quadratic curve in the plane. Its inside is what curve and chord enclose, crossed an odd
/// number of times.
class ZYL_EXPORT QuadCurve2f : public QuadCurve, public Shape2f
{
public:
    QuadCurve2f() = default;
    explicit QuadCurve2f(const Vector2f* points) : QuadCurve2f(points[0], points[1], points[2]) {}
    QuadCurve2f(const Vector2f& from, const Vector2f& control, const Vector2f& to)
        : p0(from), c(control), p1(to)
    {
    }

    /// The box of all points, the control point too.
    Box2f bounds() const override;
    bool contains(const Vector2f& p) const override;
    bool contains(const Box2f& box) const override;
    bool intersects(const Box2f& box) const override;
    PathIterator* getPathIterator() const override;

    /// The greatest distance of a control point from the chord.
    float flatnessSq() const;
    float flatness() const;
    /// Splits at the middle. Either half may be null, or the curve itself.
    static void subdivide(const QuadCurve2f& src, QuadCurve2f* left, QuadCurve2f* right);
    void subdivide(QuadCurve2f* left, QuadCurve2f* right) const { subdivide(*this, left, right); }

    std::array<Vector2f, 3> points() const { return {p0, c, p1}; }

    Vector2f p0, c, p1;
};

/// A cubic curve in the plane, with the inside of `QuadCurve2f`.
class ZYL_EXPORT CubicCurve2f : public CubicCurve, public Shape2f
{
public:
    CubicCurve2f() = default;
    explicit CubicCurve2f(const Vector2f* points)
        : CubicCurve2f(points[0], points[1], points[2], points[3])
    {
    }
    CubicCurve2f(const Vector2f& from, const Vector2f& control1, const Vector2f& control2,
                 const Vector2f& to)
        : p0(from), c1(control1), c2(control2), p1(to)
    {
    }

    Box2f bounds() const override;
    bool contains(const Vector2f& p) const override;
    bool contains(const Box2f& box) const override;
    bool intersects(const Box2f& box) const override;
    PathIterator* getPathIterator() const override;

    float flatnessSq() const;
    float flatness() const;
    static void subdivide(const CubicCurve2f& src, CubicCurve2f* left, CubicCurve2f* right);
    void subdivide(CubicCurve2f* left, CubicCurve2f* right) const { subdivide(*this, left, right); }

    std::array<Vector2f, 4> points() const { return {p0, c1, c2, p1}; }

    Vector2f p0, c1, c2, p1;
};

/// The path of a curve: a move and the curve. `C` is `QuadCurve2f` or `CubicCurve2f`.
template <class C>
class ZYL_EXPORT CurveIterator : public PathIterator
{
public:
    explicit CurveIterator(const C& curve) : m_curve(&curve) {}

    int windingRule() const override { return NonZeroRule; }
    bool isDone() const override { return m_index > 1; }
    void next() override { ++m_index; }
    int currentType() const override
    {
        return isDone() ? CloseSegment : m_index == 0 ? MoveSegment : C::degree;
    }
    int currentSegment(float* coords, unsigned int dimension) const override;

private:
    const C* m_curve;
    int m_index = 0;
};

using QuadIterator = CurveIterator<QuadCurve2f>;
using CubicIterator = CurveIterator<CubicCurve2f>;

extern template class CurveIterator<QuadCurve2f>;
extern template class CurveIterator<CubicCurve2f>;
} // namespace geometry
