#pragma once

#include "geometry/zylrectangle.h"

namespace geometry
{
/// A rectangle whose corners are quarters of ellipses with these diameters.
class ZYL_EXPORT RoundRect : public Rectangle
{
public:
    RoundRect() = default;
    RoundRect(float px, float py, float w, float h, float arcW, float arcH)
        : Rectangle(px, py, w, h), arcWidth(arcW), arcHeight(arcH)
    {
    }
    RoundRect(const Vector2f& corner, const Size2f& size, const Vector2f& arc)
        : RoundRect(corner.x, corner.y, size.width, size.height, arc.x, arc.y)
    {
    }

    /// Without the right and the upper edge.
    bool contains(const Vector2f& p) const override;
    bool contains(const Box2f& box) const override;
    using Rectangle::intersects;
    bool intersects(const Box2f& box) const override;
    PathIterator* getPathIterator() const override;

    float arcWidth = 0, arcHeight = 0;
};

/// The path round it: a move, lines and cubic curves in turn, a close.
class ZYL_EXPORT RoundRectIterator : public PathIterator
{
public:
    explicit RoundRectIterator(const RoundRect& rectangle);

    int windingRule() const override { return NonZeroRule; }
    bool isDone() const override;
    void next() override;
    int currentType() const override;
    /// Warns and returns -1 past the end.
    int currentSegment(float* coords, unsigned int dimension) const override;

private:
    static const signed char types[10];
    static const double ctrlpts[17][4];

    const RoundRect* m_rectangle;
    int m_index;
    int m_point = 0;
};
} // namespace geometry
