#include "geometry/zylplane.h"

namespace geometry
{
template <class S>
bool BasicPlane<S>::intersect(const Ray3<S>& ray, Vector3<S>& out) const
{
    const S slope = dot(normal, ray.direction);
    if (slope == 0)
        return false;
    out = ray.origin + ray.direction * ((d - dot(normal, ray.origin)) / slope);
    return true;
}

template <class S>
bool BasicPlane<S>::intersect(const Vector3<S>& a, const Vector3<S>& b, S& angle)
{
    // In double for both, where rounding seldom takes the cosine of parallel vectors out of its
    // range.
    const Vector3<double> u(a), v(b);
    if (u == Vector3<double>() || v == Vector3<double>())
        return false;
    const double cosine = dot(u, v) / (u.length() * v.length());
    if (!(cosine >= -1 && cosine <= 1))
        return false;
    angle = S(std::acos(cosine));
    return angle != 0;
}

template <class S>
void BasicPlane<S>::transform(const Matrix4<S>& m)
{
    const Vector3<S> point = normal * d;
    *this = BasicPlane(normal * m.invert().transpose(), m.multVecMatrix(point));
}

template <class S>
Matrix4<S> BasicPlane<S>::centerProjection(const Vector3<S>& p) const
{
    const S a = normal.x, b = normal.y, c = normal.z;
    const S height = dot(normal, p), k = d - height;
    return Matrix4<S>(a * p.x + k, p.y * a, p.z * a, a, p.x * b, b * p.y + k, p.z * b, b, p.x * c,
                      p.y * c, c * p.z + k, c, -d * p.x, -d * p.y, -d * p.z, -height);
}

template <class S>
Matrix4<S> BasicPlane<S>::parallelProjection(const Vector3<S>& v) const
{
    const S a = normal.x, b = normal.y, c = normal.z;
    return Matrix4<S>(b * v.y + c * v.z, -a * v.y, -a * v.z, 0, -b * v.x, a * v.x + c * v.z,
                      -b * v.z, 0, -c * v.x, -c * v.y, a * v.x + b * v.y, 0, d * v.x, d * v.y,
                      d * v.z, a * v.x + b * v.y + c * v.z);
}

template struct BasicPlane<float>;
template struct BasicPlane<double>;
} // namespace geometry
