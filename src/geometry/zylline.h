#pragma once

#include "geometry/zylpathiterator.h"
#include "geometry/zylshape.h"
#include "geometry/zylvector.h"

namespace geometry
{
/// A straight segment in the plane. It has no interior and so contains nothing.
class ZYL_EXPORT Line2f : public Shape2f
{
public:
    Line2f() = default;
    Line2f(float x1, float y1, float x2, float y2) : p1(x1, y1), p2(x2, y2) {}
    Line2f(const Vector2f& from, const Vector2f& to) : p1(from), p2(to) {}

    Box2f bounds() const override;
    bool contains(const Vector2f& p) const override;
    bool contains(const Box2f& box) const override;
    bool intersects(const Box2f& box) const override;
    PathIterator* getPathIterator() const override;

    /// On which side of the line through both ends a point lies, 1 and -1. On the line itself: -1
    /// before the first end, 1 past the second, 0 between.
    int relativeCCW(const Vector2f& p) const;
    /// Touching counts.
    bool intersects(const Line2f& other) const;

    /// Distance to the segment. The square can fall a little below 0 for a point on it, whose root
    /// is then NaN.
    float ptSegDistSq(const Vector2f& p) const;
    float ptSegDist(const Vector2f& p) const { return std::sqrt(ptSegDistSq(p)); }
    /// Distance to the whole line.
    float ptLineDistSq(const Vector2f& p) const;
    float ptLineDist(const Vector2f& p) const { return std::sqrt(ptLineDistSq(p)); }

    Vector2f p1, p2;
};

/// A straight segment in space, which neither contains nor meets anything.
class ZYL_EXPORT Line3f : public Shape3f
{
public:
    Line3f() = default;
    Line3f(float x1, float y1, float z1, float x2, float y2, float z2)
        : p1(x1, y1, z1), p2(x2, y2, z2)
    {
    }
    Line3f(const Vector3f& from, const Vector3f& to) : p1(from), p2(to) {}

    Box3f bounds() const override;
    bool contains(const Vector3f& p) const override;
    bool contains(const Box3f& box) const override;
    bool intersects(const Box3f& box) const override;
    PathIterator* getPathIterator() const override;

    Vector3f p1, p2;
};

/// The path of a segment: a move and a line. `L` is `Line2f` or `Line3f`.
///
/// Every point is written with all of its coordinates, however small the `dimension`. A greater one
/// goes on with the floats that follow in the line, and zeros after its last.
template <class L>
class ZYL_EXPORT LineIterator : public PathIterator
{
public:
    explicit LineIterator(const L& line) : m_line(&line) {}

    int windingRule() const override { return NonZeroRule; }
    bool isDone() const override { return m_index > 1; }
    void next() override { ++m_index; }
    int currentType() const override { return isDone() ? CloseSegment : m_index; }
    /// Warns and returns -1 past the end.
    int currentSegment(float* coords, unsigned int dimension) const override;

private:
    const L* m_line;
    int m_index = 0;
};

using Line2fIterator = LineIterator<Line2f>;
using Line3fIterator = LineIterator<Line3f>;

extern template class LineIterator<Line2f>;
extern template class LineIterator<Line3f>;
} // namespace geometry
