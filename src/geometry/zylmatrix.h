#pragma once

#include "geometry/zylassert.h"
#include "geometry/zylvector.h"

namespace geometry
{
/// Gauss-Jordan elimination with partial pivoting, the first of equal candidates staying. A zero
/// pivot warns with `condition` and is divided by all the same.
template <class S, int N>
ZYL_EXPORT void invertMatrix(const S (&from)[N][N], S (&to)[N][N], const char* condition,
                             const char* source);

/// What matrices of both sizes share: the numbers, stored row after row, and what works on each of
/// them.
template <class M, class S, int N>
struct SquareMatrix {
    S m[N][N];

    bool isIdentity() const { return firstMismatch() == N * N; }
    void makeIdentity()
    {
        for (int i = 0; i < N; ++i)
            for (int j = 0; j < N; ++j)
                m[i][j] = S(i == j);
    }
    M transpose() const
    {
        M result;
        for (int i = 0; i < N; ++i)
            for (int j = 0; j < N; ++j)
                result.m[i][j] = m[j][i];
        return result;
    }
    /// The inverse. Warns for a singular matrix and gives infinities or NaN.
    M invert() const
    {
        M result;
        invertMatrix<S, N>(m, result.m, M::pivotCondition, M::source);
        return result;
    }

    friend M operator+(const M& a, const M& b)
    {
        return zip(a, b, [](S p, S q) { return p + q; });
    }
    friend M operator-(const M& a, const M& b)
    {
        return zip(a, b, [](S p, S q) { return p - q; });
    }
    friend M operator-(const M& a)
    {
        return zip(a, a, [](S p, S) { return -p; });
    }
    friend M operator*(const M& a, S factor)
    {
        return zip(a, a, [factor](S p, S) { return p * factor; });
    }
    friend M operator/(const M& a, S divisor)
    {
        return zip(a, a, [divisor](S p, S) { return p / divisor; });
    }
    friend M operator/(S dividend, const M& a)
    {
        return zip(a, a, [dividend](S p, S) { return dividend / p; });
    }
    friend M& operator+=(M& a, const M& b) { return a = a + b; }
    friend M& operator-=(M& a, const M& b) { return a = a - b; }
    friend M& operator*=(M& a, S factor) { return a = a * factor; }
    friend M& operator/=(M& a, S divisor) { return a = a / divisor; }
    friend M& operator*=(M& a, const M& b) { return a = a * b; }

    friend bool operator==(const M& a, const M& b)
    {
        for (int i = 0; i < N; ++i)
            for (int j = 0; j < N; ++j)
                if (!(a.m[i][j] == b.m[i][j]))
                    return false;
        return true;
    }
    friend bool operator!=(const M& a, const M& b) { return !(a == b); }

protected:
    /// Index, in memory order, of the first number that the identity doesn't have there, or N * N.
    int firstMismatch() const
    {
        for (int i = 0; i < N * N; ++i)
            if (!(m[i / N][i % N] == S(i / N == i % N)))
                return i;
        return N * N;
    }
    void fill(S value)
    {
        for (S(&row)[N] : m)
            for (S& number : row)
                number = value;
    }
    template <class U>
    void convert(const U (&from)[N][N])
    {
        for (int i = 0; i < N; ++i)
            for (int j = 0; j < N; ++j)
                m[i][j] = S(from[i][j]);
    }

private:
    template <class F>
    static M zip(const M& a, const M& b, F f)
    {
        M result;
        for (int i = 0; i < N; ++i)
            for (int j = 0; j < N; ++j)
                result.m[i][j] = f(a.m[i][j], b.m[i][j]);
        return result;
    }
};

/// The stream form is the numbers, row after row, as one array. Those that the stream lacks stay as
/// they were.
template <class M, class S, int N>
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const SquareMatrix<M, S, N>& m);
template <class M, class S, int N>
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, SquareMatrix<M, S, N>& m);

/// Transformation of the plane in row-vector form, p' = p * M, with the translation in the last
/// row. Transforming members multiply from the left, so that the last one named acts first on a
/// point.
template <class S>
struct ZYL_EXPORT Matrix3 : SquareMatrix<Matrix3<S>, S, 3> {
    using SquareMatrix<Matrix3<S>, S, 3>::m;

    /// The identity.
    Matrix3() { this->makeIdentity(); }
    /// Every number is `value`: no scaled identity.
    explicit Matrix3(S value) { this->fill(value); }
    Matrix3(S m00, S m01, S m02, S m10, S m11, S m12, S m20, S m21, S m22)
        : Matrix3(Vector3<S>(m00, m01, m02), Vector3<S>(m10, m11, m12), Vector3<S>(m20, m21, m22))
    {
    }
    Matrix3(const Vector3<S>& row0, const Vector3<S>& row1, const Vector3<S>& row2)
    {
        for (int j = 0; j < 3; ++j) {
            m[0][j] = row0[j];
            m[1][j] = row1[j];
            m[2][j] = row2[j];
        }
    }
    template <class U>
    explicit Matrix3(const Matrix3<U>& from)
    {
        this->convert(from.m);
    }

    double det() const;

    void translate(S x, S y);
    void translate(const Vector2<S>& offset) { translate(offset.x, offset.y); }
    void scale(S x, S y);
    void scale(S factor) { scale(factor, factor); }
    void scale(const Vector2<S>& factors) { scale(factors.x, factors.y); }
    /// Turns by an angle in radians.
    void rotate(S angle);
    void rotate(const Vector2<S>& center, S angle);
    void shear(S sx, S sy);
    void shear(const Vector2<S>& factors) { shear(factors.x, factors.y); }

    friend Matrix3 operator*(const Matrix3& a, const Matrix3& b)
    {
        Matrix3 result;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                result.m[i][j] =
                    a.m[i][0] * b.m[0][j] + a.m[i][1] * b.m[1][j] + a.m[i][2] * b.m[2][j];
        return result;
    }
    friend Vector3<S> operator*(const Vector3<S>& v, const Matrix3& a)
    {
        const auto& m = a.m;
        return Vector3<S>(v.x * m[0][0] + v.y * m[1][0] + v.z * m[2][0],
                          v.x * m[0][1] + v.y * m[1][1] + v.z * m[2][1],
                          v.x * m[0][2] + v.y * m[1][2] + v.z * m[2][2]);
    }
    friend Vector3<S> operator*(const Matrix3& a, const Vector3<S>& v)
    {
        const auto& m = a.m;
        return Vector3<S>(m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z,
                          m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z,
                          m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z);
    }
    /// The affine row form. Warns unless the last column is that of an affine matrix.
    friend Vector2<S> operator*(const Vector2<S>& v, const Matrix3& a)
    {
        a.checkAffine();
        return a.map(v);
    }
    /// The affine column form. It tests the same column as the row form, and so warns for exactly
    /// the matrices that it was written to translate with.
    friend Vector2<S> operator*(const Matrix3& a, const Vector2<S>& v)
    {
        a.checkAffine();
        const auto& m = a.m;
        return Vector2<S>(m[0][0] * v.x + m[0][1] * v.y + m[0][2],
                          m[1][0] * v.x + m[1][1] * v.y + m[1][2]);
    }

    /// The affine row form without its test of the last column.
    Vector2<S> map(const Vector2<S>& v) const
    {
        return Vector2<S>(v.x * m[0][0] + v.y * m[1][0] + m[2][0],
                          v.x * m[0][1] + v.y * m[1][1] + m[2][1]);
    }
    bool isAffine() const { return m[0][2] == 0 && m[1][2] == 0 && m[2][2] == 1; }

    static constexpr const char* source =
        std::is_same_v<S, float> ? "geometry/zylmatrix" : "geometry/zyldmatrix";
    static constexpr const char* pivotCondition = "pvv != 0.0f";

private:
    void checkAffine() const
    {
        check(isAffine(), "m.m[0][2]==0.0 && m.m[1][2]==0.0 && m.m[2][2]==1.0", source);
    }
};

extern template struct Matrix3<float>;
extern template struct Matrix3<double>;
} // namespace geometry
