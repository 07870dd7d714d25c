#pragma once

#include "geometry/zylbox.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylquaternion.h"

#include <random>

/// Lets failed comparisons print numbers instead of bytes.
namespace geometry
{
template <class S>
void PrintTo(const Vector2<S>& v, std::ostream* out)
{
    *out << '(' << v.x << ", " << v.y << ')';
}
template <class S>
void PrintTo(const Vector3<S>& v, std::ostream* out)
{
    *out << '(' << v.x << ", " << v.y << ", " << v.z << ')';
}
template <class S>
void PrintTo(const Vector4<S>& v, std::ostream* out)
{
    *out << '(' << v.x << ", " << v.y << ", " << v.z << ", " << v.w << ')';
}
template <class S>
void PrintTo(const BasicQuaternion<S>& q, std::ostream* out)
{
    *out << '(' << q.x << ", " << q.y << ", " << q.z << "; " << q.w << ')';
}
template <class M, class S, int N>
void PrintTo(const SquareMatrix<M, S, N>& a, std::ostream* out)
{
    for (const S(&row)[N] : a.m)
        for (int j = 0; j < N; ++j)
            *out << (j ? " " : "\n") << row[j];
}
template <class B, class V, class S>
void PrintTo(const BoxArithmetic<B, V, S>& box, std::ostream* out)
{
    PrintTo(box.min, out);
    *out << " - ";
    PrintTo(box.max, out);
}

template <class V, class S>
bool isNear(const VectorArithmetic<V, S>& a, const VectorArithmetic<V, S>& b, S tolerance)
{
    return (a.self() - b.self()).length() <= tolerance;
}
template <class S>
bool isNear(const BasicQuaternion<S>& a, const BasicQuaternion<S>& b, S tolerance)
{
    return isNear(Vector4<S>(a.x, a.y, a.z, a.w), Vector4<S>(b.x, b.y, b.z, b.w), tolerance);
}
template <class M, class S, int N>
bool isNear(const SquareMatrix<M, S, N>& a, const SquareMatrix<M, S, N>& b, S tolerance)
{
    for (int i = 0; i < N * N; ++i)
        if (!(std::abs(a.m[i / N][i % N] - b.m[i / N][i % N]) <= tolerance))
            return false;
    return true;
}
} // namespace geometry

/// Near comparisons of vectors, quaternions and matrices.
struct IsNear {
    template <class T, class S>
    bool operator()(const T& a, const T& b, S tolerance) const
    {
        return geometry::isNear(a, b, tolerance);
    }
};
#define EXPECT_CLOSE(actual, expected, tolerance)                                                  \
    EXPECT_PRED3(IsNear(), actual, expected, tolerance)
#define ASSERT_CLOSE(actual, expected, tolerance)                                                  \
    ASSERT_PRED3(IsNear(), actual, expected, tolerance)

/// Numbers of a fixed sequence, so that a failure comes back.
class Numbers
{
public:
    explicit Numbers(unsigned start = 20210417) : m_random(start) {}

    double operator()(double from = -1, double to = 1)
    {
        return from + (to - from) * double(m_random()) / 4294967296.0;
    }
    template <class S = float>
    geometry::Vector3<S> vector3(double from = -1, double to = 1)
    {
        const S x = S((*this)(from, to)), y = S((*this)(from, to));
        return geometry::Vector3<S>(x, y, S((*this)(from, to)));
    }
    template <class S = float>
    geometry::Matrix4<S> matrix4()
    {
        geometry::Matrix4<S> m;
        for (S(&row)[4] : m.m)
            for (S& number : row)
                number = S((*this)());
        return m;
    }
    template <class S = float>
    geometry::BasicQuaternion<S> rotation()
    {
        geometry::Vector4<S> v(vector3<S>(), S((*this)()));
        v.normalize();
        return geometry::BasicQuaternion<S>(v.x, v.y, v.z, v.w);
    }

private:
    std::mt19937 m_random;
};
