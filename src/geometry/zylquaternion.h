#pragma once

#include "geometry/zylvector.h"

namespace geometry
{
/// A rotation as the vector part x, y, z and the scalar part w: `Quaternion` and `DQuaternion`.
/// Angles are radians.
template <class S>
struct ZYL_EXPORT BasicQuaternion {
    S x = 0, y = 0, z = 0, w = 1;

    constexpr BasicQuaternion() = default;
    constexpr BasicQuaternion(S px, S py, S pz, S pw) : x(px), y(py), z(pz), w(pw) {}
    constexpr BasicQuaternion(const Vector3<S>& v, S pw) : x(v.x), y(v.y), z(v.z), w(pw) {}
    template <class U>
    explicit constexpr BasicQuaternion(const BasicQuaternion<U>& q)
        : x(S(q.x)), y(S(q.y)), z(S(q.z)), w(S(q.w))
    {
    }

    /// Turns about x, then y, then z.
    BasicQuaternion& setValue(S a, S b, S c);
    void getValue(S& a, S& b, S& c) const;
    /// Turns about an axis of any length but 0.
    BasicQuaternion& setValue(const Vector3<S>& axis, S angle);
    void getValue(Vector3<S>& axis, S& angle) const;
    /// The shortest turn from one direction to another.
    BasicQuaternion& setValue(const Vector3<S>& from, const Vector3<S>& to);

    /// z enters the length under the root of both unsquared: squaring it would change every result
    /// with a z component.
    BasicQuaternion exp() const;
    BasicQuaternion log() const;

    /// Warns for the zero quaternion and gives NaN.
    BasicQuaternion invert() const;
    constexpr BasicQuaternion conjugate() const { return BasicQuaternion(-x, -y, -z, w); }
    /// The vector turned; for a quaternion of another length than 1 also scaled by its square.
    Vector3<S> rotate(const Vector3<S>& v) const;

    friend constexpr BasicQuaternion operator*(const BasicQuaternion& a, const BasicQuaternion& b)
    {
        return BasicQuaternion(a.x * b.w + a.y * b.z + a.w * b.x - a.z * b.y,
                               a.z * b.x + a.w * b.y + a.y * b.w - a.x * b.z,
                               a.w * b.z + a.z * b.w + a.x * b.y - a.y * b.x,
                               a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z);
    }
    friend constexpr BasicQuaternion& operator*=(BasicQuaternion& a, const BasicQuaternion& b)
    {
        return a = a * b;
    }
    friend constexpr bool operator==(const BasicQuaternion& a, const BasicQuaternion& b)
    {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend constexpr bool operator!=(const BasicQuaternion& a, const BasicQuaternion& b)
    {
        return !(a == b);
    }

    using Scalar = S; // where a template parameter must not be deduced from
};

/// The turn by twice the angle between two unit vectors, not normalised.
template <class S>
constexpr BasicQuaternion<S> arc(const Vector3<S>& a, const Vector3<S>& b)
{
    return BasicQuaternion<S>(cross(a, b), dot(a, b));
}

/// Spherical interpolation along the shorter way, from `a` at 0 to `b` (or its negative) at 1. Not
/// normalised.
template <class S>
ZYL_EXPORT BasicQuaternion<S> lerp(const BasicQuaternion<S>& a, const BasicQuaternion<S>& b,
                                   typename BasicQuaternion<S>::Scalar t);

/// The stream form is x, y, z and w as one array of numbers.
template <class S>
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const BasicQuaternion<S>& q);
template <class S>
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, BasicQuaternion<S>& q);

extern template struct BasicQuaternion<float>;
extern template struct BasicQuaternion<double>;
} // namespace geometry
