#pragma once

#include "geometry/zylmatrix.h"
#include "geometry/zylrow.h"

namespace geometry
{
/// Transformation of space in row-vector form, p' = p * M: the translation is the last row, and the
/// numbers stand in memory as `glLoadMatrix` takes them.
///
/// The transforming members multiply from the left, M' = X * M, in the order of the OpenGL calls,
/// so that the last one named acts first on a point. Only `look` multiplies from the right.
template <class S>
struct ZYL_EXPORT Matrix4 : SquareMatrix<Matrix4<S>, S, 4> {
    using SquareMatrix<Matrix4<S>, S, 4>::m;
    using Row = Row4<S>;

    /// The identity.
    Matrix4() { this->makeIdentity(); }
    /// Every number is `value`: no scaled identity.
    explicit Matrix4(S value) { this->fill(value); }
    Matrix4(S m00, S m01, S m02, S m03, S m10, S m11, S m12, S m13, S m20, S m21, S m22, S m23,
            S m30, S m31, S m32, S m33)
        : Matrix4(Vector4<S>(m00, m01, m02, m03), Vector4<S>(m10, m11, m12, m13),
                  Vector4<S>(m20, m21, m22, m23), Vector4<S>(m30, m31, m32, m33))
    {
    }
    Matrix4(const Vector4<S>& row0, const Vector4<S>& row1, const Vector4<S>& row2,
            const Vector4<S>& row3)
    {
        setRow(0, Row::load(&row0.x));
        setRow(1, Row::load(&row1.x));
        setRow(2, Row::load(&row2.x));
        setRow(3, Row::load(&row3.x));
    }
    template <class U>
    explicit Matrix4(const Matrix4<U>& from)
    {
        this->convert(from.m);
    }

    /// 0 for the identity, 1 if only the last row differs from it, else 7.
    template <class U = S, class = std::enable_if_t<std::is_same_v<U, float>>>
    int flags() const
    {
        const int mismatch = this->firstMismatch();
        return mismatch == 16 ? 0 : mismatch >= 12 ? 1 : 7;
    }

    /// Determinant of the minor with these rows and columns.
    double det3(int r1, int r2, int r3, int c1, int c2, int c3) const;
    double det4() const;

    void translate(S x, S y, S z);
    void translate(const Vector3<S>& offset) { translate(offset.x, offset.y, offset.z); }
    void scale(S x, S y, S z);
    void scale(S factor) { scale(factor, factor, factor); }
    void scale(const Vector3<S>& factors) { scale(factors.x, factors.y, factors.z); }
    /// Angles are in radians, or given by their cosine and sine; these warn outside -1.00001
    /// to 1.00001.
    void xrotate(S c, S s);
    void yrotate(S c, S s);
    void zrotate(S c, S s);
    void xrotate(S angle) { xrotate(std::cos(angle), std::sin(angle)); }
    void yrotate(S angle) { yrotate(std::cos(angle), std::sin(angle)); }
    void zrotate(S angle) { zrotate(std::cos(angle), std::sin(angle)); }
    /// A zero axis turns nothing.
    void rotate(const Vector3<S>& axis, S c, S s);
    void rotate(const Vector3<S>& axis, S angle) { rotate(axis, std::cos(angle), std::sin(angle)); }
    void rotate(const BasicQuaternion<S>& rotation);
    void ortho(S left, S right, S bottom, S top, S hither, S yon);
    void frustum(S left, S right, S bottom, S top, S hither, S yon);
    /// Passes to a left-handed frame by negating row 2.
    void left();
    /// Moves the view to `eye`, looking at `center`. Multiplies from the right, unlike the others,
    /// and leaves the last column as it was.
    void look(const Vector3<S>& eye, const Vector3<S>& center, const Vector3<S>& up);

    /// The rotation of the upper 3 x 3 block, which must be free of scale.
    BasicQuaternion<S> getRotation() const;

    /// Eigenvalues and eigenvectors of the upper 3 x 3 block, taken as symmetric; the eigenvectors
    /// are the columns of the three `vectors`. `rotations` counts the visits to an element above
    /// the diagonal.
    void jacobi3(S* values, Vector3<S>* vectors, int& rotations) const;

    /// Splits the affine part into r * diag(s) * transpose(r) * u with a rotation `u` and the
    /// eigenvectors in the columns of `r`; `t` is the last row. All scales are negative if the
    /// matrix mirrors. Returns false, with only `t` and `proj` (the identity) set, when the
    /// determinant is within 1e-12 of zero.
    bool factor(Matrix4& r, Vector3<S>& s, Matrix4& u, Vector3<S>& t, Matrix4& proj) const;

    /// Makes the matrix from its parts, leaving out each that is neutral. Axes of scale other than
    /// the identity turn the result twice and are never turned back: stored matrices hang on that,
    /// and `getTransform` does not undo it.
    void setTransform(const Vector3<S>& translation, const BasicQuaternion<S>& rotation,
                      const Vector3<S>& scaleAmount, const BasicQuaternion<S>& scaleAxes,
                      const Vector3<S>& center = Vector3<S>());
    /// The parts, by `factor`. A singular matrix gives its translation, and neutral values for the
    /// rest.
    void getTransform(Vector3<S>& translation, BasicQuaternion<S>& rotation,
                      Vector3<S>& scaleAmount, BasicQuaternion<S>& scaleAxes,
                      const Vector3<S>& center = Vector3<S>()) const;

    /// Maps a point as a row, dividing by the fourth component. `src` may be `dst`.
    void multVecMatrix(const Vector3<S>& src, Vector3<S>& dst) const { dst = multVecMatrix(src); }
    Vector3<S> multVecMatrix(const Vector3<S>& v) const
    {
        const Row mapped = mapped4(v);
        const S w = mapped[3];
        return Vector3<S>(mapped[0] / w, mapped[1] / w, mapped[2] / w);
    }
    /// Maps a point as a column, dividing by the fourth component. `src` may be `dst`.
    void multMatrixVec(const Vector3<S>& src, Vector3<S>& dst) const { dst = multMatrixVec(src); }
    Vector3<S> multMatrixVec(const Vector3<S>& v) const
    {
        return Vector3<S>(column(0, v), column(1, v), column(2, v)) / column(3, v);
    }

    friend Matrix4 operator*(const Matrix4& a, const Matrix4& b)
    {
        Matrix4 result{Uninitialised()};
        const Row b0 = b.row(0), b1 = b.row(1), b2 = b.row(2), b3 = b.row(3);
        for (int i = 0; i < 4; ++i)
            result.setRow(i, a.m[i][0] * b0 + a.m[i][1] * b1 + a.m[i][2] * b2 + a.m[i][3] * b3);
        return result;
    }
    friend Vector4<S> operator*(const Vector4<S>& v, const Matrix4& a)
    {
        Vector4<S> result;
        (v.x * a.row(0) + v.y * a.row(1) + v.z * a.row(2) + v.w * a.row(3)).store(&result.x);
        return result;
    }
    friend Vector4<S> operator*(const Matrix4& a, const Vector4<S>& v)
    {
        const auto& m = a.m;
        const auto along = [&](int i) {
            return m[i][0] * v.x + m[i][1] * v.y + m[i][2] * v.z + m[i][3] * v.w;
        };
        return Vector4<S>(along(0), along(1), along(2), along(3));
    }
    /// The affine row form. Warns unless the last column is that of an affine matrix.
    friend Vector3<S> operator*(const Vector3<S>& v, const Matrix4& a)
    {
        check(a.isAffine(), "m.m[0][3]==0.0 && m.m[1][3]==0.0 && m.m[2][3]==0.0 && m.m[3][3]==1.0",
              source);
        return a.map(v);
    }
    /// The affine column form. Warns unless the last row is that of an affine matrix.
    friend Vector3<S> operator*(const Matrix4& a, const Vector3<S>& v)
    {
        const S(&last)[4] = a.m[3];
        check(last[0] == 0 && last[1] == 0 && last[2] == 0 && last[3] == 1,
              "m.m[3][0]==0.0 && m.m[3][1]==0.0 && m.m[3][2]==0.0 && m.m[3][3]==1.0", source);
        return Vector3<S>(a.column(0, v), a.column(1, v), a.column(2, v));
    }

    /// The affine row form without its test of the last column.
    Vector3<S> map(const Vector3<S>& v) const
    {
        const Row mapped = mapped4(v);
        return Vector3<S>(mapped[0], mapped[1], mapped[2]);
    }
    bool isAffine() const { return m[0][3] == 0 && m[1][3] == 0 && m[2][3] == 0 && m[3][3] == 1; }

    Row row(int i) const { return Row::load(m[i]); }
    void setRow(int i, const Row& row) { row.store(m[i]); }

    static constexpr const char* source =
        std::is_same_v<S, float> ? "geometry/zylhmatrix" : "geometry/zyldhmatrix";
    static constexpr const char* pivotCondition =
        std::is_same_v<S, float> ? "pvv != 0.0f" : "pvv != 0.0";

private:
    struct Uninitialised {
    };
    explicit Matrix4(Uninitialised) {}

    Row mapped4(const Vector3<S>& v) const
    {
        return v.x * row(0) + v.y * row(1) + v.z * row(2) + row(3);
    }
    S column(int i, const Vector3<S>& v) const
    {
        return m[i][0] * v.x + m[i][1] * v.y + m[i][2] * v.z + m[i][3];
    }
    void checkTurn(S c, S s) const;
    void turn(int i, int j, S c, S s);
    void turn(const Vector3<S>& x0, const Vector3<S>& x1, const Vector3<S>& x2);
};

extern template struct Matrix4<float>;
extern template struct Matrix4<double>;
} // namespace geometry
