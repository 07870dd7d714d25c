#include "geometry/zylbox.h"

#include "geometry/zylhmatrix.h"

#include <qlogging.h>
#include <utility>

namespace geometry
{
namespace
{
/// The least and the greatest value of each column of `m` over all points of a box.
template <class S>
struct Extent {
    Row4<S> low, high;

    Extent(const Box3<S>& box, const Matrix4<S>& m)
    {
        const Row4<S> x = m.row(0), y = m.row(1), z = m.row(2);
        const Row4<S> zero(0);
        const auto xUp = x > zero, yUp = y > zero, zUp = z > zero;
        const Row4<S> x0 = box.min.x * x, x1 = box.max.x * x;
        const Row4<S> y0 = box.min.y * y, y1 = box.max.y * y;
        const Row4<S> z0 = box.min.z * z, z1 = box.max.z * z;
        low = xUp.select(x0, x1) + yUp.select(y0, y1) + zUp.select(z0, z1) + m.row(3);
        high = xUp.select(x1, x0) + yUp.select(y1, y0) + zUp.select(z1, z0) + m.row(3);
    }
};

/// On which sides of the two clipping planes of an axis a coordinate lies: bit 0 below -w, bit 1
/// above w.
template <class S>
int clipCode(S coordinate, S w)
{
    return int(coordinate < -w) | int(coordinate > w) << 1;
}

/// What a run of clip codes agrees on.
struct Codes {
    int common = 3, any = 0;

    void add(int code)
    {
        common &= code;
        any |= code;
    }
    bool agree() const { return common != 0 || any == 0; }
};

/// The codes of all corners on one axis, as far as they agree.
template <class S>
Codes cornerCodes(const Box3<S>& box, const Matrix4<S>& m, int axis)
{
    // Bits 0 to 2 take the maximum in x, y, z. Opposite corners come first: they tell most boxes
    // apart.
    static constexpr int corners[] = {0, 7, 1, 6, 2, 5, 3, 4};
    Codes codes;
    for (const int corner : corners) {
        const S x = (corner & 1 ? box.max : box.min).x;
        const S y = (corner & 2 ? box.max : box.min).y;
        const S z = (corner & 4 ? box.max : box.min).z;
        const auto value = [&](int column) {
            return x * m.m[0][column] + y * m.m[1][column] + z * m.m[2][column] + m.m[3][column];
        };
        codes.add(clipCode(value(axis), value(3)));
        if (!codes.agree())
            break;
    }
    return codes;
}

/// The offset `v` from the center in units of the half edges.
template <class V>
V relative(V v, const V& half)
{
    for (int i = 0; i < int(sizeof(V) / sizeof(v.x)); ++i)
        if (half[i] > 0)
            v[i] /= half[i];
    return v;
}
} // namespace

template <class S>
void Box2<S>::transform(const Matrix3<S>& m)
{
    if (this->isEmpty())
        return;
    const auto along = [&](int k, const Vector2<S>& positive, const Vector2<S>& other) {
        return (m.m[0][k] > 0 ? positive : other).x * m.m[0][k] +
               (m.m[1][k] > 0 ? positive : other).y * m.m[1][k] + m.m[2][k];
    };
    const S low = along(2, min, max), high = along(2, max, min);
    *this = Box2(along(0, min, max) / high, along(1, min, max) / high, along(0, max, min) / low,
                 along(1, max, min) / low);
}

template <class S>
Vector2<S> Box2<S>::closestPoint(const Vector2<S>& p) const
{
    if (this->isEmpty())
        return p;
    const Vector2<S> c = this->center();
    if (p == c)
        return Vector2<S>(max.x, c.y);
    if (max.x == min.x)
        return Vector2<S>(min.x, p.y);
    if (max.y == min.y)
        return Vector2<S>(p.x, min.y);
    const Vector2<S> half = (max - min) * S(0.5), v = relative(p - c, half);
    const Vector2<S> a(std::abs(v.x), std::abs(v.y));
    const Vector2<S> r(a.x >= a.y || a.x > 1 ? 1 : a.x, a.y >= a.x || a.y > 1 ? 1 : a.y);
    return Vector2<S>(c.x + half.x * (v.x > 0 ? r.x : -r.x), c.y + half.y * (v.y > 0 ? r.y : -r.y));
}

template <class S>
void Box3<S>::transform(const Matrix4<S>& m)
{
    if (this->isEmpty())
        return;
    const Extent<S> e(*this, m);
    const Row4<S> low = e.low / e.high[3], high = e.high / e.low[3];
    *this = Box3(low[0], low[1], low[2], high[0], high[1], high[2]);
}

template <class S>
bool Box3<S>::outside(const Matrix4<S>& m, int& cullBits) const
{
    const Extent<S> e(*this, m);
    const S wmax = e.high[3], wmin = e.low[3];
    if (wmax < 0)
        return true;
    for (int k = 0; k < 3; ++k) {
        const int bit = 1 << k;
        if (!(cullBits & bit))
            continue;
        Codes codes;
        const std::pair<S, S> quick[] = {
            {e.low[k], wmin}, {e.low[k], wmax}, {e.high[k], wmin}, {e.high[k], wmax}};
        for (const auto& [coordinate, w] : quick)
            codes.add(clipCode(coordinate, w));
        if (!codes.agree())
            codes = cornerCodes(*this, m, k);
        if (codes.any == 0)
            cullBits &= ~bit;
        else if (codes.common != 0)
            return true;
    }
    return false;
}

template <class S>
Vector3<S> Box3<S>::closestPoint(const Vector3<S>& p) const
{
    if (this->isEmpty())
        return p;
    const Vector3<S> c = this->center();
    if (p == c)
        return Vector3<S>(c.x, c.y, max.z);
    const Vector3<S> half = (max - min) * S(0.5), v = relative(p - c, half);
    const Vector3<S> a(std::abs(v.x), std::abs(v.y), std::abs(v.z));
    Vector3<S> r = lo(a, Vector3<S>(1, 1, 1));
    if (a.x > a.y && a.x > a.z) {
        r.x = 1;
    } else if (a.y > a.x && a.y > a.z) {
        r.y = 1;
    } else {
        r.z = 1;
        if (a.z > a.x && a.z > a.y) {
            // the top or the bottom
        } else if (a.x == a.y && a.x == a.z) {
            r = Vector3<S>(1, 1, 1);
        } else if (a.x == a.z) {
            r.x = 1;
        } else {
            r.y = 1;
            // A tie of x and y above z has no case of its own: it ends on the top's edge, and
            // stored snaps rely on it.
            if (a.y != a.z)
                qDebug("Box3%c::closestPoint: Can't determine vector to point",
                       std::is_same_v<S, float> ? 'f' : 'd');
        }
    }
    for (int i = 0; i < 3; ++i)
        r[i] = c[i] + half[i] * (v[i] < 0 ? -r[i] : r[i]);
    return r;
}

template <class S>
bool Box3<S>::intersect(const Vector3<S>& p1, const Vector3<S>& p2) const
{
    if (this->isEmpty())
        return false;
    const Vector3<S> d = p2 - p1;
    S first = std::numeric_limits<S>::lowest(), last = std::numeric_limits<S>::max();
    for (int i = 0; i < 3; ++i) {
        if (d[i] == 0) {
            if (p1[i] < min[i] || p1[i] > max[i])
                return false;
            continue;
        }
        const S a = (min[i] - p1[i]) / d[i], b = (max[i] - p1[i]) / d[i];
        const S enter = b < a ? b : a, leave = b < a ? a : b;
        if (enter > first)
            first = enter;
        if (leave < last)
            last = leave;
        if (first > last)
            return false;
    }
    return true;
}

template struct Box2<float>;
template struct Box2<double>;
template struct Box3<float>;
template struct Box3<double>;
} // namespace geometry
