#pragma once

#include "geometry/zylforward.h"
#include "geometry/zylnumber.h"
#include "toolkit/zylexport.h"

#include <qglobal.h>

#include <cmath>

QT_BEGIN_NAMESPACE
class QDataStream;
QT_END_NAMESPACE
class VColor;

namespace geometry
{
/// The arithmetic that vectors of every size share. `V` tells it how to visit its components, by
/// `zip` and `sum`.
template <class V, class S>
struct VectorArithmetic {
    friend constexpr V operator+(const V& a, const V& b)
    {
        return V::zip(a, b, [](S p, S q) { return S(p + q); });
    }
    friend constexpr V operator-(const V& a, const V& b)
    {
        return V::zip(a, b, [](S p, S q) { return S(p - q); });
    }
    friend constexpr V operator-(const V& v)
    {
        return V::zip(v, v, [](S p, S) { return S(-p); });
    }
    friend constexpr V operator*(const V& v, S factor)
    {
        return V::zip(v, v, [factor](S p, S) { return S(p * factor); });
    }
    friend constexpr V operator*(S factor, const V& v) { return v * factor; }
    friend constexpr V operator/(const V& v, S divisor)
    {
        return V::zip(v, v, [divisor](S p, S) { return S(p / divisor); });
    }
    friend constexpr V& operator+=(V& a, const V& b) { return a = a + b; }
    friend constexpr V& operator-=(V& a, const V& b) { return a = a - b; }
    friend constexpr V& operator*=(V& v, S factor) { return v = v * factor; }
    friend constexpr V& operator/=(V& v, S divisor) { return v = v / divisor; }
    friend constexpr bool operator!=(const V& a, const V& b) { return !(a == b); }

    S length() const
    {
        static_assert(std::is_floating_point_v<S>);
        return std::sqrt(V::zip(self(), self(), [](S p, S q) { return p * q; }).sum());
    }

    /// Brings the length to 1 and returns what it was. Only a length of exactly 0 leaves the zero
    /// vector.
    S normalize()
    {
        const S measured = length();
        V& v = static_cast<V&>(*this);
        if (measured == S(0))
            v = V();
        else
            v *= S(1) / measured;
        return measured;
    }

    constexpr const V& self() const { return static_cast<const V&>(*this); }
};

/// The smaller of each pair of components.
template <class V, class S>
constexpr V lo(const VectorArithmetic<V, S>& a, const VectorArithmetic<V, S>& b)
{
    return V::zip(a.self(), b.self(), [](S p, S q) { return q < p ? q : p; });
}

/// The larger of each pair of components.
template <class V, class S>
constexpr V hi(const VectorArithmetic<V, S>& a, const VectorArithmetic<V, S>& b)
{
    return V::zip(a.self(), b.self(), [](S p, S q) { return p < q ? q : p; });
}

template <class V, class S>
constexpr S dot(const VectorArithmetic<V, S>& a, const VectorArithmetic<V, S>& b)
{
    return V::zip(a.self(), b.self(), [](S p, S q) { return S(p * q); }).sum();
}

/// A copy of length 1; of the zero vector, the zero vector.
template <class V, class S>
V normalize(const VectorArithmetic<V, S>& v)
{
    V copy = v.self();
    copy.normalize();
    return copy;
}

/// A point or direction in the plane: `Vector2i`, `Vector2f`, `Vector2d`.
template <class S>
struct ZYL_EXPORT Vector2 : VectorArithmetic<Vector2<S>, S> {
    S x = 0, y = 0;

    constexpr Vector2() = default;
    constexpr Vector2(S px, S py) : x(px), y(py) {}
    template <class U>
    explicit constexpr Vector2(const Vector2<U>& v) : x(toNumber<S>(v.x)), y(toNumber<S>(v.y))
    {
    }

    constexpr S& operator[](int i) { return i == 0 ? x : y; }
    constexpr const S& operator[](int i) const { return i == 0 ? x : y; }

    friend constexpr bool operator==(const Vector2& a, const Vector2& b)
    {
        return a.x == b.x && a.y == b.y;
    }

    template <class F>
    static constexpr Vector2 zip(const Vector2& a, const Vector2& b, F f)
    {
        return Vector2(f(a.x, b.x), f(a.y, b.y));
    }
    constexpr S sum() const { return x + y; }
};

/// A point or direction in space: `Vector3f`, `Vector3d`; as a colour red, green, blue from 0 to 1.
template <class S>
struct ZYL_EXPORT Vector3 : VectorArithmetic<Vector3<S>, S> {
    S x = 0, y = 0, z = 0;

    constexpr Vector3() = default;
    constexpr Vector3(S px, S py, S pz) : x(px), y(py), z(pz) {}
    explicit constexpr Vector3(const Vector2<S>& v, S pz = 0) : x(v.x), y(v.y), z(pz) {}
    template <class U>
    explicit constexpr Vector3(const Vector3<U>& v)
        : x(toNumber<S>(v.x)), y(toNumber<S>(v.y)), z(toNumber<S>(v.z))
    {
    }
    template <class U>
    explicit Vector3(const Vector4<U>&) = delete; // it would pass through a colour
    explicit Vector3(VColor color);
    /// Truncates each channel, so that a colour may come back one step darker. Opaque.
    operator VColor() const;

    constexpr S& operator[](int i) { return i == 0 ? x : i == 1 ? y : z; }
    constexpr const S& operator[](int i) const { return i == 0 ? x : i == 1 ? y : z; }

    friend constexpr bool operator==(const Vector3& a, const Vector3& b)
    {
        return a.x == b.x && a.y == b.y && a.z == b.z;
    }

    template <class F>
    static constexpr Vector3 zip(const Vector3& a, const Vector3& b, F f)
    {
        return Vector3(f(a.x, b.x), f(a.y, b.y), f(a.z, b.z));
    }
    constexpr S sum() const { return x + y + z; }
};

template <class S>
constexpr Vector3<S> cross(const Vector3<S>& a, const Vector3<S>& b)
{
    return Vector3<S>(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

/// A homogeneous point, or a colour with alpha in `w`: `Vector4f`, `Vector4d`.
template <class S>
struct ZYL_EXPORT Vector4 : VectorArithmetic<Vector4<S>, S> {
    S x = 0, y = 0, z = 0, w = 0;

    constexpr Vector4() = default;
    constexpr Vector4(S px, S py, S pz, S pw) : x(px), y(py), z(pz), w(pw) {}
    constexpr Vector4(const Vector3<S>& v, S pw) : x(v.x), y(v.y), z(v.z), w(pw) {}
    template <class U>
    explicit constexpr Vector4(const Vector4<U>& v)
        : x(toNumber<S>(v.x)), y(toNumber<S>(v.y)), z(toNumber<S>(v.z)), w(toNumber<S>(v.w))
    {
    }
    template <class U>
    explicit Vector4(const Vector3<U>&) = delete; // it would pass through a colour
    explicit Vector4(VColor color);
    operator VColor() const;

    constexpr S& operator[](int i) { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }
    constexpr const S& operator[](int i) const { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }

    friend constexpr bool operator==(const Vector4& a, const Vector4& b)
    {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }

    template <class F>
    static constexpr Vector4 zip(const Vector4& a, const Vector4& b, F f)
    {
        return Vector4(f(a.x, b.x), f(a.y, b.y), f(a.z, b.z), f(a.w, b.w));
    }
    constexpr S sum() const { return x + y + z + w; }
};

/// The stream form is the components as one array of numbers. Those that the stream lacks stay as
/// they were.
template <class V, class S>
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const VectorArithmetic<V, S>& v);
template <class V, class S>
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, VectorArithmetic<V, S>& v);
} // namespace geometry
