#pragma once

#include "geometry/zylpathiterator.h"
#include "geometry/zylshape.h"
#include "geometry/zylvector.h"

namespace geometry
{
class Rectangle;

/// A part of an ellipse that fills an upright frame. Angles are in degrees, 0 towards growing x and
/// 90 towards growing y, and stretched with the ellipse.
class ZYL_EXPORT Arc2f : public Shape2f
{
public:
    /// What closes the arc: nothing (as an area, the chord), the chord, or lines to the center.
    enum Type { Open = 0, Chord = 1, Pie = 2 };

    Arc2f() = default;
    explicit Arc2f(Type arcType) : type(arcType) {}
    Arc2f(const Rectangle& frame, float startAngle, float angularExtent, Type arcType);

    void setArcByCenter(const Vector2f& center, float radius, float startAngle, float angularExtent,
                        Type arcType);
    /// The fillet of a radius in the corner at `p2` between the lines to `p1` and `p3`. Keeps the
    /// type.
    void setArcByTangent(const Vector2f& p1, const Vector2f& p2, const Vector2f& p3, float radius);
    /// Starts in the direction of a point from the center.
    void setAngleStart(const Vector2f& p);
    /// From the direction of one point on to that of another, by growing angles.
    void setAngles(const Vector2f& p1, const Vector2f& p2);

    Vector2f center() const { return Vector2f(x + width * 0.5f, y + height * 0.5f); }
    Vector2f startPoint() const { return pointAt(start); }
    Vector2f endPoint() const { return pointAt(double(start) + extent); }

    /// Brings an angle within -180 to 180; one beyond 540 only within -360 to 360.
    static double normalizeDegrees(double angle);
    /// Whether the arc passes an angle. The end of the arc isn't part of it.
    bool containsAngle(double degrees) const;

    Box2f bounds() const override;
    /// Of an arc that isn't a pie, the side of the chord is told by where the point lies from a
    /// chord of the unit circle, so that only arcs about the origin get it right.
    bool contains(const Vector2f& p) const override;
    bool contains(const Box2f& box) const override;
    /// Looks at the corners of the box and at the arc alone: a box that lies inside, or meets only
    /// a pie's straight sides, can go unseen.
    bool intersects(const Box2f& box) const override;
    PathIterator* getPathIterator() const override;

    float x = 0, y = 0, width = 0, height = 0; // of the frame; negative sizes are empty
    float start = 0;
    float extent = 0; // its sign is the direction
    Type type = Open;

private:
    bool isEmpty() const { return width < 0 || height < 0; }
    Vector2f pointAt(double degrees) const;
    double angleOf(const Vector2f& p) const;
};

/// The path of an arc: a move, cubic curves of at most 90 degrees, and what closes it.
class ZYL_EXPORT ArcIterator : public PathIterator
{
public:
    explicit ArcIterator(const Arc2f& arc);

    int windingRule() const override { return NonZeroRule; }
    bool isDone() const override { return m_index > m_arcCount + m_lineCount; }
    void next() override { ++m_index; }
    int currentType() const override;
    int currentSegment(float* coords, unsigned int dimension) const override;

private:
    double m_x, m_y, m_radiusX, m_radiusY;
    double m_start, m_step = 0, m_control = 0; // radians
    int m_arcCount, m_lineCount;
    int m_index = 0;
};
} // namespace geometry
