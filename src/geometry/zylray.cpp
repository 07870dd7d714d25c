#include "geometry/zylray.h"

#include "geometry/zylbox.h"

namespace geometry
{
namespace
{
constexpr double tiny = 1e-10;

/// Corner of a box: bits 0 to 2 take the minimum in x, y, z.
template <class S>
Vector3<S> corner(const Box3<S>& box, int index)
{
    return Vector3<S>((index & 1 ? box.min : box.max).x, (index & 2 ? box.min : box.max).y,
                      (index & 4 ? box.min : box.max).z);
}
} // namespace

template <class S>
bool Ray3<S>::closestPoints(const Ray3& other, Vector3<S>& p1, Vector3<S>& p2) const
{
    const Vector3<S>&d1 = direction, &d2 = other.direction;
    const S a = dot(d1, d1), b = dot(d1, d2), c = dot(d2, d2);
    const S determinant = a * c - b * b;
    if (determinant == 0)
        return false;
    const Vector3<S> w = other.origin - origin;
    const S u = dot(w, d1), v = dot(w, d2);
    const Vector3<S> first = origin + d1 * ((u * c - v * b) / determinant);
    p2 = other.origin + d2 * ((u * b - v * a) / determinant);
    p1 = first;
    return true;
}

template <class S>
bool Ray3<S>::intersect(const Box3<S>& box, Vector3<S>& enter, Vector3<S>& exit) const
{
    static constexpr int triangles[][3] = {{2, 1, 0}, {2, 3, 1}, {4, 5, 6}, {6, 5, 7},
                                           {0, 6, 2}, {0, 4, 6}, {1, 3, 7}, {1, 7, 5},
                                           {1, 4, 0}, {1, 5, 4}, {2, 7, 3}, {2, 6, 7}};
    if (box.isEmpty())
        return false;
    const Vector3<S> center = box.center(), off = closestPoint(center) - center;
    const Vector3<S> size = box.max - box.min;
    if (dot(off, off) > dot(size, size) / 4)
        return false;
    bool hit = false;
    for (const auto& [a, b, c] : triangles) {
        Vector3<S> point, barycentric;
        bool front;
        if (intersect(corner(box, a), corner(box, b), corner(box, c), point, barycentric, front)) {
            (front ? enter : exit) = point;
            hit = true;
        }
    }
    return hit;
}

template <class S>
bool Ray3<S>::intersect(S angle, const Box3<S>& box) const
{
    if (box.isEmpty())
        return false;
    S radius = -angle;
    if (!(angle < 0)) {
        S farthest = 0;
        for (int i = 0; i < 8; ++i) {
            const S distance = (corner(box, i) - origin).length();
            if (distance > farthest)
                farthest = distance;
        }
        radius = farthest * std::tan(angle);
    }
    const Vector3<S> margin(radius, radius, radius);
    Vector3<S> enter, exit;
    return intersect(Box3<S>(box.min - margin, box.max + margin), enter, exit);
}

template <class S>
bool Ray3<S>::intersect(S angle, const Vector3<S>& p) const
{
    const Vector3<S> d = p - origin;
    const S t = dot(d, direction);
    if (t <= 0)
        return false;
    // On the axis rounding can take the rest below zero.
    const S rest = dot(d, d) - t * t;
    const S r = rest < 0 ? 0 : std::sqrt(rest);
    return angle < 0 ? r < -angle : r / t < angle;
}

template <class S>
bool Ray3<S>::intersect(S angle, const Vector3<S>& v0, const Vector3<S>& v1, Vector3<S>& out) const
{
    Vector3<S> a;
    if (!closestPoints(Ray3(v0, v1), a, out))
        return false;
    if (dot(out - v0, v1 - v0) < 0)
        out = v0;
    else if (dot(out - v1, v0 - v1) < 0)
        out = v1;
    const S distance = (a - out).length();
    return angle < 0 ? distance < -angle : distance / (a - origin).length() < angle;
}

template <class S>
bool Ray3<S>::intersect(const Vector3<S>& v0, const Vector3<S>& v1, const Vector3<S>& v2,
                        Vector3<S>& point, Vector3<S>& barycentric, bool& front) const
{
    Vector3<S> n = cross(v2 - v1, v1 - v0);
    if (n.normalize() < S(tiny))
        return false;
    const S s = dot(n, direction);
    if (s > -S(tiny) && s < S(tiny))
        return false;
    const S t = dot(v0 - origin, n) / s;

    // The plane of two axes in which the triangle shows largest.
    const S nx = std::abs(n.x), ny = std::abs(n.y), nz = std::abs(n.z);
    int i = 2, j = 0;
    if (nx > ny && nx > nz) {
        i = 1;
        j = 2;
    } else if (!(ny > nz)) {
        i = 0;
        j = 1;
    }
    const Vector3<S> q = origin + direction * t;
    const S u0 = q[i] - v0[i], w0 = q[j] - v0[j];
    const S u1 = v1[i] - v0[i], w1 = v1[j] - v0[j];
    const S u2 = v2[i] - v0[i], w2 = v2[j] - v0[j];
    const S beta = (w0 * u1 - u0 * w1) / (w2 * u1 - u2 * w1);
    if (!(beta >= 0 && beta <= 1))
        return false;
    const bool level = w1 >= -S(tiny) && w1 <= S(tiny);
    const S alpha = level ? (u0 - u2 * beta) / u1 : (w0 - beta * w2) / w1;
    if (!(alpha >= 0 && alpha + beta <= 1))
        return false;
    barycentric = Vector3<S>(1 - alpha - beta, alpha, beta);
    front = s < 0;
    point = q;
    return true;
}

template struct Ray3<float>;
template struct Ray3<double>;
} // namespace geometry
