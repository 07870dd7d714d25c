#pragma once

#include "geometry/zylhmatrix.h"
#include "geometry/zylray.h"

namespace geometry
{
/// The points p with normal . p = d: `Plane` and `DPlane`. The normal has length 1.
template <class S>
struct ZYL_EXPORT BasicPlane {
    Vector3<S> normal;
    S d = 0;

    constexpr BasicPlane() = default;
    /// Through three points, seen counter-clockwise from the side that the normal points to.
    BasicPlane(const Vector3<S>& p0, const Vector3<S>& p1, const Vector3<S>& p2)
        : BasicPlane(cross(p1 - p0, p2 - p0), p0)
    {
    }
    /// The distance is kept as given, whatever the length of the normal.
    BasicPlane(const Vector3<S>& direction, S distance) : normal(normalize(direction)), d(distance)
    {
    }
    BasicPlane(const Vector3<S>& direction, const Vector3<S>& point)
        : normal(normalize(direction)), d(dot(point, normal))
    {
    }

    /// Where the whole line meets the plane, also behind the origin. False, with `out` as it was,
    /// when it runs along it.
    bool intersect(const Ray3<S>& ray, Vector3<S>& out) const;
    /// The angle between two vectors. False for a zero vector and for an angle of 0, which alone is
    /// written then.
    static bool intersect(const Vector3<S>& a, const Vector3<S>& b, S& angle);

    /// Moves the plane with the points on it. The normal passes through the affine row product,
    /// which warns for any matrix that translates.
    void transform(const Matrix4<S>& m);

    bool isInHalfSpace(const Vector3<S>& p) const { return dot(normal, p) >= d; }

    /// The projection from a point onto the plane, and the one along a direction, for
    /// `multVecMatrix`.
    Matrix4<S> centerProjection(const Vector3<S>& p) const;
    Matrix4<S> parallelProjection(const Vector3<S>& v) const;

    friend bool operator==(const BasicPlane& a, const BasicPlane& b)
    {
        return a.d == b.d && a.normal == b.normal;
    }
    friend bool operator!=(const BasicPlane& a, const BasicPlane& b) { return !(a == b); }
};

extern template struct BasicPlane<float>;
extern template struct BasicPlane<double>;
} // namespace geometry
