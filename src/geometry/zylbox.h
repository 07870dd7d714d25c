#pragma once

#include "geometry/zylvector.h"

#include <limits>

namespace geometry
{
/// What boxes of both sizes share. `V` is the corner's type; `B::all` asks a question of every
/// axis.
///
/// The empty box has its minimum at the largest finite number and its maximum at the smallest,
/// which makes it the neutral element of `include`. A flat box is not empty.
template <class B, class V, class S>
struct BoxArithmetic {
    V min = filled(std::numeric_limits<S>::max());
    V max = filled(std::numeric_limits<S>::lowest());

    constexpr void makeEmpty() { static_cast<B&>(*this) = B(); }
    constexpr bool isEmpty() const
    {
        return !B::all([this](int i) { return !(min[i] > max[i]); });
    }
    /// Closed: a point on the border is inside.
    constexpr bool contains(const V& p) const
    {
        return B::all([&](int i) { return min[i] <= p[i] && p[i] <= max[i]; });
    }
    /// Open: a point on the border is outside.
    constexpr bool intersects(const V& p) const
    {
        return B::all([&](int i) { return min[i] < p[i] && p[i] < max[i]; });
    }
    /// Open: boxes that only touch don't intersect.
    constexpr bool intersects(const B& box) const
    {
        return B::all([&](int i) { return min[i] < box.max[i] && box.min[i] < max[i]; });
    }
    constexpr void include(const V& p)
    {
        min = lo(min, p);
        max = hi(max, p);
    }
    constexpr void include(const B& box)
    {
        min = lo(min, box.min);
        max = hi(max, box.max);
    }
    /// Cuts this box down to what both have in common, which can be empty.
    constexpr void clipTo(const B& box)
    {
        min = hi(min, box.min);
        max = lo(max, box.max);
    }

    constexpr V center() const
    {
        static_assert(std::is_floating_point_v<S>);
        return (min + max) * S(0.5);
    }
    S diagonal() const { return (max - min).length(); }

    friend constexpr bool operator==(const B& a, const B& b)
    {
        return a.min == b.min && a.max == b.max;
    }
    friend constexpr bool operator!=(const B& a, const B& b) { return !(a == b); }

private:
    static constexpr V filled(S value)
    {
        V v;
        B::all([&](int i) {
            v[i] = value;
            return true;
        });
        return v;
    }
};

/// Upright rectangle between two corners: `Box2i`, `Box2f`, `Box2d`.
template <class S>
struct ZYL_EXPORT Box2 : BoxArithmetic<Box2<S>, Vector2<S>, S> {
    using Base = BoxArithmetic<Box2<S>, Vector2<S>, S>;
    using Base::contains;
    using Base::include;
    using Base::max;
    using Base::min;

    /// The empty box.
    constexpr Box2() = default;
    constexpr Box2(const Vector2<S>& minimum, const Vector2<S>& maximum)
    {
        min = minimum;
        max = maximum;
    }
    constexpr Box2(S xmin, S ymin, S xmax, S ymax)
        : Box2(Vector2<S>(xmin, ymin), Vector2<S>(xmax, ymax))
    {
    }

    constexpr bool contains(S x, S y) const { return contains(Vector2<S>(x, y)); }
    constexpr void include(S x, S y) { include(Vector2<S>(x, y)); }

    /// Grows or moves to hold its image under `m`, divided by the least and greatest w.
    void transform(const Matrix3<S>& m);
    /// The closest point on the border. From the center that is the middle of the right side.
    Vector2<S> closestPoint(const Vector2<S>& p) const;

    template <class F>
    static constexpr bool all(F holds)
    {
        return holds(0) && holds(1);
    }
};

/// Upright box between two corners: `Box3f`, `Box3d`.
template <class S>
struct ZYL_EXPORT Box3 : BoxArithmetic<Box3<S>, Vector3<S>, S> {
    using Base = BoxArithmetic<Box3<S>, Vector3<S>, S>;
    using Base::contains;
    using Base::include;
    using Base::max;
    using Base::min;

    /// The empty box.
    constexpr Box3() = default;
    constexpr Box3(const Vector3<S>& minimum, const Vector3<S>& maximum)
    {
        min = minimum;
        max = maximum;
    }
    constexpr Box3(S xmin, S ymin, S zmin, S xmax, S ymax, S zmax)
        : Box3(Vector3<S>(xmin, ymin, zmin), Vector3<S>(xmax, ymax, zmax))
    {
    }

    constexpr bool contains(S x, S y, S z) const { return contains(Vector3<S>(x, y, z)); }
    constexpr void include(S x, S y, S z) { include(Vector3<S>(x, y, z)); }

    /// Length of the longest and of the shortest edge.
    constexpr S longest() const
    {
        const Vector3<S> size = max - min;
        const S xy = size.x < size.y ? size.y : size.x;
        return xy < size.z ? size.z : xy;
    }
    constexpr S shortest() const
    {
        const Vector3<S> size = max - min;
        const S xy = size.y < size.x ? size.y : size.x;
        return size.z < xy ? size.z : xy;
    }

    /// Grows or moves to hold its image under `m`, divided by the least and greatest w. The empty
    /// box stays empty.
    void transform(const Matrix4<S>& m);
    /// Whether the box lies wholly outside the view that the projective matrix `m` shows. Bits 0 to
    /// 2 of `cullBits` name the axes to test; a bit is cleared where the box is wholly inside, so
    /// that its parts need no test there.
    bool outside(const Matrix4<S>& m, int& cullBits) const;
    /// The closest point on the surface. From the center that is the middle of the top (the largest
    /// z).
    Vector3<S> closestPoint(const Vector3<S>& p) const;
    /// Whether the whole line through two points meets the box; touching it is enough.
    bool intersect(const Vector3<S>& p1, const Vector3<S>& p2) const;

    template <class F>
    static constexpr bool all(F holds)
    {
        return holds(0) && holds(1) && holds(2);
    }
};

/// The stream form is the two corners in order.
template <class B, class V, class S>
QDataStream& operator<<(QDataStream& stream, const BoxArithmetic<B, V, S>& box)
{
    return stream << box.min << box.max;
}
template <class B, class V, class S>
QDataStream& operator>>(QDataStream& stream, BoxArithmetic<B, V, S>& box)
{
    return stream >> box.min >> box.max;
}

extern template struct Box2<float>;
extern template struct Box2<double>;
extern template struct Box3<float>;
extern template struct Box3<double>;
} // namespace geometry
