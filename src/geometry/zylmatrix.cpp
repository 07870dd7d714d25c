#include "geometry/zylmatrix.h"

#include "geometry/numberstream_p.h"
#include "geometry/zylhmatrix.h"

#include <utility>

namespace geometry
{
namespace
{
/// Both sides of an elimination. A row of three travels with a fourth number that no other place
/// reads.
///
/// Nothing branches or addresses memory by what the numbers are: a processor foresees neither, and
/// would wait longer than the arithmetic takes.
template <class S, int N>
struct Elimination {
    using Row = Row4<S>;
    Row left[N], right[N];

    explicit Elimination(const S (&from)[N][N])
    {
        for (int i = 0; i < N; ++i) {
            left[i] = Row::load(from[i], N);
            right[i] = Row(i == 0, i == 1, i == 2, i == 3);
        }
    }

    /// Changes row `I` for the one from there on with the greatest number in column `I`, the first
    /// of equal ones.
    template <int I>
    void pivot()
    {
        typename Row::Mask chosen[N];
        Row best(std::abs(left[I][I]));
        for (int j = I + 1; j < N; ++j) {
            const Row candidate(std::abs(left[j][I]));
            const auto greater = candidate > best;
            best = greater.select(candidate, best);
            for (int k = I + 1; k < j; ++k)
                chosen[k] = chosen[k].without(greater);
            chosen[j] = greater;
        }
        for (int j = I + 1; j < N; ++j) {
            chosen[j].swap(left[I], left[j]);
            chosen[j].swap(right[I], right[j]);
        }
    }

    /// Brings column `I` of the left side to the identity's.
    template <int I>
    void step(const char* condition, const char* source)
    {
        pivot<I>();
        const S pvv = left[I][I];
        check(pvv != 0, condition, source);
        left[I] = left[I] / pvv;
        right[I] = right[I] / pvv;
        for (int j = 0; j < N; ++j) {
            if (j == I)
                continue;
            const S factor = left[j][I];
            left[j] = left[j] - factor * left[I];
            right[j] = right[j] - factor * right[I];
        }
    }

    template <int... I>
    void run(std::integer_sequence<int, I...>, const char* condition, const char* source)
    {
        (step<I>(condition, source), ...);
    }
};
} // namespace

template <class S, int N>
void invertMatrix(const S (&from)[N][N], S (&to)[N][N], const char* condition, const char* source)
{
    Elimination<S, N> elimination(from);
    elimination.run(std::make_integer_sequence<int, N>(), condition, source);
    for (int i = 0; i < N; ++i)
        elimination.right[i].store(to[i], N);
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

template <class M, class S, int N>
QDataStream& operator<<(QDataStream& stream, const SquareMatrix<M, S, N>& m)
{
    return writeNumbers(stream, m.m[0], N * N);
}

template <class M, class S, int N>
QDataStream& operator>>(QDataStream& stream, SquareMatrix<M, S, N>& m)
{
    return readNumbers(stream, m.m[0], N * N);
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
template QDataStream& operator<<(QDataStream&, const SquareMatrix<Matrix3f, float, 3>&);
template QDataStream& operator>>(QDataStream&, SquareMatrix<Matrix3f, float, 3>&);
template QDataStream& operator<<(QDataStream&, const SquareMatrix<Matrix3d, double, 3>&);
template QDataStream& operator>>(QDataStream&, SquareMatrix<Matrix3d, double, 3>&);
template QDataStream& operator<<(QDataStream&, const SquareMatrix<Matrix4f, float, 4>&);
template QDataStream& operator>>(QDataStream&, SquareMatrix<Matrix4f, float, 4>&);
template QDataStream& operator<<(QDataStream&, const SquareMatrix<Matrix4d, double, 4>&);
template QDataStream& operator>>(QDataStream&, SquareMatrix<Matrix4d, double, 4>&);
} // namespace geometry
