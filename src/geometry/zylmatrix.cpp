#include "geometry/zylmatrix.h"

#include "geometry/zylrow.h"

#include <utility>

namespace geometry
{
template <class S, int N>
void invertMatrix(const S (&from)[N][N], S (&to)[N][N], const char* condition, const char* source)
{
    // A row of three travels with a fourth number that no other place reads.
    Row4<S> a[N], b[N];
    for (int i = 0; i < N; ++i) {
        S padded[4] = {}, unit[4] = {};
        std::memcpy(padded, from[i], sizeof(from[i]));
        unit[i] = 1;
        a[i] = Row4<S>::load(padded);
        b[i] = Row4<S>::load(unit);
    }
    for (int i = 0; i < N; ++i) {
        int pivot = i;
        S pvv = a[i][i];
        for (int j = i + 1; j < N; ++j) {
            if (std::abs(a[j][i]) > std::abs(pvv)) {
                pivot = j;
                pvv = a[j][i];
            }
        }
        check(pvv != 0, condition, source);
        if (pivot != i) {
            std::swap(a[i], a[pivot]);
            std::swap(b[i], b[pivot]);
        }
        a[i] = a[i] / pvv;
        b[i] = b[i] / pvv;
        for (int j = 0; j < N; ++j) {
            if (j == i)
                continue;
            const S factor = a[j][i];
            a[j] = a[j] - factor * a[i];
            b[j] = b[j] - factor * b[i];
        }
    }
    for (int i = 0; i < N; ++i) {
        S padded[4];
        b[i].store(padded);
        std::memcpy(to[i], padded, sizeof(to[i]));
    }
}

template <class S>
double Matrix3<S>::det() const
{
    const auto minor = [this](int row1, int row2) {
        return double(m[row1][1]) * m[row2][2] - double(m[row1][2]) * m[row2][1];
    };
    return m[0][0] * minor(1, 2) - m[1][0] * minor(0, 2) + m[2][0] * minor(0, 1);
}

template <class S>
void Matrix3<S>::translate(S x, S y)
{
    for (int j = 0; j < 3; ++j)
        m[2][j] += x * m[0][j] + y * m[1][j];
}

template <class S>
void Matrix3<S>::scale(S x, S y)
{
    for (int j = 0; j < 3; ++j) {
        m[0][j] *= x;
        m[1][j] *= y;
    }
}

template <class S>
void Matrix3<S>::rotate(S angle)
{
    const S c = std::cos(angle), s = std::sin(angle);
    for (int j = 0; j < 3; ++j) {
        const S x = m[0][j], y = m[1][j];
        m[0][j] = c * x + s * y;
        m[1][j] = c * y - s * x;
    }
}

template <class S>
void Matrix3<S>::rotate(const Vector2<S>& center, S angle)
{
    translate(center);
    rotate(angle);
    translate(-center);
}

template <class S>
void Matrix3<S>::shear(S sx, S sy)
{
    for (int j = 0; j < 3; ++j) {
        const S x = m[0][j], y = m[1][j];
        m[0][j] = x + sy * y;
        m[1][j] = y + sx * x;
    }
}

template void invertMatrix<float, 3>(const float (&)[3][3], float (&)[3][3], const char*,
                                     const char*);
template void invertMatrix<double, 3>(const double (&)[3][3], double (&)[3][3], const char*,
                                      const char*);
template void invertMatrix<float, 4>(const float (&)[4][4], float (&)[4][4], const char*,
                                     const char*);
template void invertMatrix<double, 4>(const double (&)[4][4], double (&)[4][4], const char*,
                                      const char*);
template struct Matrix3<float>;
template struct Matrix3<double>;
} // namespace geometry
