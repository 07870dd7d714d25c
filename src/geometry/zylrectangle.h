#pragma once

#include "geometry/zylpathiterator.h"
#include "geometry/zylshape.h"
#include "geometry/zylvector.h"

namespace geometry
{
class Line2f;

/// A width and a height.
struct ZYL_EXPORT Size2f {
    float width = 0, height = 0;

    constexpr Size2f() = default;
    constexpr Size2f(float w, float h) : width(w), height(h) {}
};

/// An upright rectangle by corner and size. A negative size makes it empty for every test; a flat
/// one is not empty.
class ZYL_EXPORT Rectangle : public Shape2f
{
public:
    /// All zeros.
    Rectangle() = default;
    Rectangle(float px, float py, float w, float h) : x(px), y(py), width(w), height(h) {}
    Rectangle(const Vector2f& corner, const Size2f& size)
        : Rectangle(corner.x, corner.y, size.width, size.height)
    {
    }
    explicit Rectangle(const Box2f& box);

    bool isEmpty() const { return width < 0 || height < 0; }
    Vector2f center() const { return Vector2f(x + width / 2, y + height / 2); }

    Box2f bounds() const override;
    /// Closed on all sides.
    bool contains(const Vector2f& p) const override;
    bool contains(const Box2f& box) const override;
    /// Open: a box that only touches doesn't intersect.
    bool intersects(const Box2f& box) const override;
    PathIterator* getPathIterator() const override;

    /// Whether any part of the segment lies in the closed rectangle. Never for one without width or
    /// height.
    bool intersects(const Line2f& line) const;
    /// Where a point lies: bit 0 left, 1 right, 2 below, 3 above. Without width both of 0 and 1 are
    /// set, without height both of 2 and 3.
    int outcode(const Vector2f& p) const;

    /// Spans the rectangle between two points in any order.
    void setCoords(const Vector2f& p1, const Vector2f& p2);
    void include(const Vector2f& p);
    void include(const Rectangle& other);

    float x = 0, y = 0, width = 0, height = 0;
};

/// The path round a rectangle: a move, three lines and a close. At once past the end for a negative
/// size.
class ZYL_EXPORT RectIterator : public PathIterator
{
public:
    explicit RectIterator(const Rectangle& rectangle);

    int windingRule() const override;
    bool isDone() const override;
    void next() override;
    int currentType() const override;
    /// Warns and returns -1 past the end.
    int currentSegment(float* coords, unsigned int dimension) const override;

private:
    const Rectangle* m_rectangle;
    int m_index;
};
} // namespace geometry
