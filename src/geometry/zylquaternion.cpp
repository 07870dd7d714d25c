#include "geometry/zylquaternion.h"

#include "geometry/numberstream_p.h"
#include "geometry/zylassert.h"

namespace geometry
{
namespace
{
constexpr double halfPi = 1.57079632679489661923;

template <class S>
Vector3<S> vectorPart(const BasicQuaternion<S>& q)
{
    return Vector3<S>(q.x, q.y, q.z);
}

/// The measure of `exp` and `log`, in which z stands unsquared.
template <class S>
S rootLength(const BasicQuaternion<S>& q)
{
    return std::sqrt(q.x * q.x + q.y * q.y + q.z);
}
} // namespace

template <class S>
BasicQuaternion<S>& BasicQuaternion<S>::setValue(S a, S b, S c)
{
    const S sa = std::sin(a / 2), ca = std::cos(a / 2);
    const S sb = std::sin(b / 2), cb = std::cos(b / 2);
    const S sc = std::sin(c / 2), cc = std::cos(c / 2);
    x = sa * cb * cc - ca * sb * sc;
    y = sa * cb * sc + ca * sb * cc;
    z = ca * cb * sc - sa * sb * cc;
    w = ca * cb * cc + sa * sb * sc;
    return *this;
}

template <class S>
void BasicQuaternion<S>::getValue(S& a, S& b, S& c) const
{
    const S t = 2 * (w * y - x * z);
    if (t >= 1 || t <= -1) {
        // Straight up or down, where only the sum or difference of the two other angles shows.
        const S turn = std::atan2(2 * (y * x - w * z), 1 - 2 * (x * x + z * z));
        a = t >= 1 ? turn : -turn;
        b = t >= 1 ? S(halfPi) : -S(halfPi);
        c = 0;
        return;
    }
    a = std::atan2(2 * (y * z + w * x), 1 - 2 * (x * x + y * y));
    b = std::asin(t);
    c = std::atan2(2 * (x * y + w * z), 1 - 2 * (z * z + y * y));
}

template <class S>
BasicQuaternion<S>& BasicQuaternion<S>::setValue(const Vector3<S>& axis, S angle)
{
    const Vector3<S> v = axis * std::sin(angle / 2) / axis.length();
    return *this = BasicQuaternion(v, std::cos(angle / 2));
}

template <class S>
void BasicQuaternion<S>::getValue(Vector3<S>& axis, S& angle) const
{
    Vector3<S> v = vectorPart(*this);
    if (v.normalize() > S(1e-5)) {
        axis = v;
        angle = 2 * std::acos(w);
    } else {
        axis = Vector3<S>(0, 0, 1);
        angle = 0;
    }
}

template <class S>
BasicQuaternion<S>& BasicQuaternion<S>::setValue(const Vector3<S>& from, const Vector3<S>& to)
{
    const Vector3<S> a = normalize(from), b = normalize(to);
    const S d = dot(a, b);
    if (d > S(0.99999))
        return *this = BasicQuaternion();
    if (d >= S(-0.99999)) {
        const Vector3<S> axis = normalize(cross(from, to));
        return *this = BasicQuaternion(axis * std::sqrt((1 - d) / 2), std::sqrt((1 + d) / 2));
    }
    Vector3<S> axis = cross(a, Vector3<S>(1, 0, 0));
    if (axis.length() < S(1e-5))
        axis = cross(a, Vector3<S>(0, 1, 0));
    return *this = BasicQuaternion(normalize(axis), 0);
}

template <class S>
BasicQuaternion<S> BasicQuaternion<S>::exp() const
{
    const S l = rootLength(*this);
    const S k = l > S(1e-6) ? std::sin(l) / l : 1;
    return BasicQuaternion(vectorPart(*this) * k, std::cos(l));
}

template <class S>
BasicQuaternion<S> BasicQuaternion<S>::log() const
{
    const S l = rootLength(*this);
    const S k = l > 0 ? std::atan2(l, w) / l : l;
    return BasicQuaternion(vectorPart(*this) * k, 0);
}

template <class S>
BasicQuaternion<S> BasicQuaternion<S>::invert() const
{
    constexpr bool single = std::is_same_v<S, float>;
    const S n = x * x + y * y + z * z + w * w;
    check(n > 0, single ? "n > 0.0f" : "n > 0.0",
          single ? "geometry/zylquaternion" : "geometry/zyldquaternion");
    return BasicQuaternion(-x / n, -y / n, -z / n, w / n);
}

template <class S>
Vector3<S> BasicQuaternion<S>::rotate(const Vector3<S>& v) const
{
    const Vector3<S> q = vectorPart(*this);
    const Vector3<S> side = cross(q, v);
    return w * w * v + 2 * w * side + q * dot(q, v) + cross(q, side);
}

template <class S>
BasicQuaternion<S> lerp(const BasicQuaternion<S>& a, const BasicQuaternion<S>& b,
                        typename BasicQuaternion<S>::Scalar t)
{
    S d = a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
    const bool negated = d < 0;
    if (negated)
        d = -d;
    S k0 = 1 - t, k1 = t;
    if (1 - d >= S(1e-6)) {
        const S theta = std::acos(d);
        k0 = std::sin(theta - t * theta) / std::sin(theta);
        k1 = std::sin(t * theta) / std::sin(theta);
    }
    if (negated)
        k1 = -k1;
    return BasicQuaternion<S>(k0 * a.x + k1 * b.x, k0 * a.y + k1 * b.y, k0 * a.z + k1 * b.z,
                              k0 * a.w + k1 * b.w);
}

template <class S>
QDataStream& operator<<(QDataStream& stream, const BasicQuaternion<S>& q)
{
    return writeNumbers(stream, &q.x, 4);
}

template <class S>
QDataStream& operator>>(QDataStream& stream, BasicQuaternion<S>& q)
{
    return readNumbers(stream, &q.x, 4);
}

template Quaternion lerp(const Quaternion&, const Quaternion&, float);
template DQuaternion lerp(const DQuaternion&, const DQuaternion&, double);
template struct BasicQuaternion<float>;
template struct BasicQuaternion<double>;
template QDataStream& operator<<(QDataStream&, const Quaternion&);
template QDataStream& operator>>(QDataStream&, Quaternion&);
template QDataStream& operator<<(QDataStream&, const DQuaternion&);
template QDataStream& operator>>(QDataStream&, DQuaternion&);
} // namespace geometry
