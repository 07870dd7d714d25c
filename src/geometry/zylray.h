#pragma once

#include "geometry/zylvector.h"

namespace geometry
{
/// An origin and a direction in the plane: `Ray2f`, `Ray2d`.
template <class S>
struct ZYL_EXPORT Ray2 {
    Vector2<S> origin, direction;

    constexpr Ray2() = default;
    /// From the first point towards the second, with a direction of length 1.
    Ray2(const Vector2<S>& p0, const Vector2<S>& p1) : origin(p0), direction(normalize(p1 - p0)) {}
};

/// An origin and a direction in space: `Ray3f`, `Ray3d`. All tests but the cone's treat it as the
/// whole line, and take the direction to have length 1.
template <class S>
struct ZYL_EXPORT Ray3 {
    Vector3<S> origin, direction;

    constexpr Ray3() = default;
    /// From the first point towards the second, with a direction of length 1.
    Ray3(const Vector3<S>& p0, const Vector3<S>& p1) : origin(p0), direction(normalize(p1 - p0)) {}

    Vector3<S> closestPoint(const Vector3<S>& p) const
    {
        return origin + direction * dot(p - origin, direction);
    }
    /// The points of both lines that lie closest together, `p1` on this one. False, with nothing
    /// written, for parallel lines.
    bool closestPoints(const Ray3& other, Vector3<S>& p1, Vector3<S>& p2) const;

    /// Where the line meets the faces of a box: `enter` and `exit` are written if it meets a front
    /// or a back face, also behind the origin.
    bool intersect(const Box3<S>& box, Vector3<S>& enter, Vector3<S>& exit) const;

    /// Whether a cone about the ray meets a box, point or segment. An `angle` below 0 stands for a
    /// cylinder of that radius; a point's distance over its depth is compared with the angle
    /// itself, not its tangent.
    bool intersect(S angle, const Box3<S>& box) const;
    bool intersect(S angle, const Vector3<S>& p) const;
    /// `out` gets the point of the segment that is closest to the line; it stays unwritten for a
    /// parallel one.
    bool intersect(S angle, const Vector3<S>& v0, const Vector3<S>& v1, Vector3<S>& out) const;

    /// The line against a triangle. `barycentric` are the weights of v0, v1 and v2; `front` tells
    /// whether the direction runs against the normal (v2 - v1) x (v1 - v0). Nothing is written on a
    /// miss.
    bool intersect(const Vector3<S>& v0, const Vector3<S>& v1, const Vector3<S>& v2,
                   Vector3<S>& point, Vector3<S>& barycentric, bool& front) const;
};

extern template struct Ray3<float>;
extern template struct Ray3<double>;
} // namespace geometry
