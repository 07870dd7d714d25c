#include "geometry/zylhmatrix.h"

#include "geometry/zylquaternion.h"

namespace geometry
{
namespace
{
/// Cyclic Jacobi iteration on the upper triangle of `a`. The eigenvectors are the columns of
/// `vectors`.
int jacobi(double (&a)[3][3], double (&values)[3], double (&vectors)[3][3])
{
    constexpr int maximumSweeps = 50;
    double base[3], correction[3] = {};
    for (int i = 0; i < 3; ++i) {
        base[i] = values[i] = a[i][i];
        for (int j = 0; j < 3; ++j)
            vectors[i][j] = i == j;
    }
    int visits = 0;
    for (int sweep = 0; sweep < maximumSweeps; ++sweep) {
        const double sum = std::abs(a[0][1]) + std::abs(a[0][2]) + std::abs(a[1][2]);
        if (sum == 0)
            break;
        const double threshold = sweep < 3 ? 0.2 * sum / 9 : 0;
        for (int p = 0; p < 2; ++p) {
            for (int q = p + 1; q < 3; ++q) {
                ++visits;
                double& off = a[p][q];
                const double g = 100 * std::abs(off);
                if (sweep > 3 && std::abs(values[p]) + g == std::abs(values[p]) &&
                    std::abs(values[q]) + g == std::abs(values[q])) {
                    off = 0;
                    continue;
                }
                if (!(std::abs(off) > threshold))
                    continue;
                const double h = values[q] - values[p];
                double t;
                if (std::abs(h) + g == std::abs(h)) {
                    t = off / h;
                } else {
                    const double theta = 0.5 * h / off;
                    t = 1 / (std::abs(theta) + std::sqrt(theta * theta + 1));
                    if (theta < 0)
                        t = -t;
                }
                const double c = 1 / std::sqrt(t * t + 1), s = t * c, tau = s / (c + 1);
                const auto rotate = [s, tau](double& x, double& y) {
                    const double x0 = x, y0 = y;
                    x = x0 - s * (y0 + x0 * tau);
                    y = y0 + s * (x0 - y0 * tau);
                };
                correction[p] -= t * off;
                correction[q] += t * off;
                values[p] -= t * off;
                values[q] += t * off;
                off = 0;
                const int other = 3 - p - q;
                rotate(other < p ? a[other][p] : a[p][other],
                       other < q ? a[other][q] : a[q][other]);
                for (double(&row)[3] : vectors)
                    rotate(row[p], row[q]);
            }
        }
        for (int i = 0; i < 3; ++i) {
            values[i] = base[i] += correction[i];
            correction[i] = 0;
        }
    }
    return visits;
}

template <class S>
bool isNeutral(const BasicQuaternion<S>& q)
{
    return q == BasicQuaternion<S>();
}
} // namespace

template <class S>
double Matrix4<S>::det3(int r1, int r2, int r3, int c1, int c2, int c3) const
{
    const auto at = [this](int row, int column) { return double(m[row][column]); };
    return at(r1, c1) * (at(r2, c2) * at(r3, c3) - at(r2, c3) * at(r3, c2)) -
           at(r1, c2) * (at(r2, c1) * at(r3, c3) - at(r2, c3) * at(r3, c1)) +
           at(r1, c3) * (at(r2, c1) * at(r3, c2) - at(r2, c2) * at(r3, c1));
}

template <class S>
double Matrix4<S>::det4() const
{
    return m[0][0] * det3(1, 2, 3, 1, 2, 3) - m[1][0] * det3(0, 2, 3, 1, 2, 3) +
           m[2][0] * det3(0, 1, 3, 1, 2, 3) - m[3][0] * det3(0, 1, 2, 1, 2, 3);
}

template <class S>
void Matrix4<S>::translate(S x, S y, S z)
{
    setRow(3, row(3) + (x * row(0) + y * row(1) + z * row(2)));
}

template <class S>
void Matrix4<S>::scale(S x, S y, S z)
{
    setRow(0, x * row(0));
    setRow(1, y * row(1));
    setRow(2, z * row(2));
}

template <class S>
void Matrix4<S>::checkTurn(S c, S s) const
{
    constexpr S bound = S(1.00001);
    check(-bound < c && c < bound && -bound < s && s < bound,
          "-1.00001<c && c<1.00001 && -1.00001<s && s<1.00001", source);
}

/// Turns row i towards row j.
template <class S>
void Matrix4<S>::turn(int i, int j, S c, S s)
{
    checkTurn(c, s);
    const Row first = row(i), second = row(j);
    setRow(i, c * first + s * second);
    setRow(j, c * second - s * first);
}

/// Multiplies the first three rows by the 3 x 3 matrix with these rows.
template <class S>
void Matrix4<S>::turn(const Vector3<S>& x0, const Vector3<S>& x1, const Vector3<S>& x2)
{
    const Row row0 = row(0), row1 = row(1), row2 = row(2);
    setRow(0, x0.x * row0 + x0.y * row1 + x0.z * row2);
    setRow(1, x1.x * row0 + x1.y * row1 + x1.z * row2);
    setRow(2, x2.x * row0 + x2.y * row1 + x2.z * row2);
}

template <class S>
void Matrix4<S>::xrotate(S c, S s)
{
    turn(1, 2, c, s);
}

template <class S>
void Matrix4<S>::yrotate(S c, S s)
{
    turn(2, 0, c, s);
}

template <class S>
void Matrix4<S>::zrotate(S c, S s)
{
    turn(0, 1, c, s);
}

template <class S>
void Matrix4<S>::rotate(const Vector3<S>& axis, S c, S s)
{
    checkTurn(c, s);
    if (!(dot(axis, axis) > S(1e-30)))
        return;
    const Vector3<S> unit = geometry::normalize(axis);
    const S x = unit.x, y = unit.y, z = unit.z, t = 1 - c;
    turn(Vector3<S>(x * x * t + c, x * y * t + s * z, x * z * t - s * y),
         Vector3<S>(x * y * t - s * z, y * y * t + c, y * z * t + s * x),
         Vector3<S>(x * z * t + s * y, y * z * t - s * x, z * z * t + c));
}

template <class S>
void Matrix4<S>::rotate(const BasicQuaternion<S>& q)
{
    const S x = q.x, y = q.y, z = q.z, w = q.w;
    turn(Vector3<S>(1 - 2 * y * y - 2 * z * z, 2 * x * y + 2 * z * w, 2 * x * z - 2 * y * w),
         Vector3<S>(2 * x * y - 2 * z * w, 1 - 2 * x * x - 2 * z * z, 2 * y * z + 2 * x * w),
         Vector3<S>(2 * x * z + 2 * y * w, 2 * y * z - 2 * x * w, 1 - 2 * x * x - 2 * y * y));
}

template <class S>
void Matrix4<S>::ortho(S left, S right, S bottom, S top, S hither, S yon)
{
    const S rl = right - left, tb = top - bottom, yh = yon - hither;
    check(rl != 0 && tb != 0 && yh != 0, "rl && tb && yh", source);
    const Row row0 = row(0), row1 = row(1), row2 = row(2);
    setRow(3, row(3) + (-(right + left) / rl * row0 + -(top + bottom) / tb * row1 +
                        -(yon + hither) / yh * row2));
    setRow(0, 2 / rl * row0);
    setRow(1, 2 / tb * row1);
    setRow(2, -2 / yh * row2);
}

template <class S>
void Matrix4<S>::frustum(S left, S right, S bottom, S top, S hither, S yon)
{
    const S rl = right - left, tb = top - bottom, yh = yon - hither;
    check(0 < hither && hither < yon, "0.0<hither && hither<yon", source);
    check(rl != 0 && tb != 0, "rl && tb", source);
    const Row row0 = row(0), row1 = row(1), row2 = row(2);
    setRow(2, (right + left) / rl * row0 + (top + bottom) / tb * row1 - (yon + hither) / yh * row2 -
                  row(3));
    setRow(3, -2 * yon * hither / yh * row2);
    setRow(0, 2 * hither / rl * row0);
    setRow(1, 2 * hither / tb * row1);
}

template <class S>
void Matrix4<S>::left()
{
    for (S& number : m[2])
        number = -number;
}

template <class S>
void Matrix4<S>::look(const Vector3<S>& eye, const Vector3<S>& center, const Vector3<S>& up)
{
    const Vector3<S> z = geometry::normalize(eye - center);
    const Vector3<S> x = geometry::normalize(cross(up, z));
    const Vector3<S> y = geometry::normalize(cross(z, x));
    for (S(&row)[4] : m) {
        const Vector3<S> v(row[0], row[1], row[2]);
        row[0] = dot(v, x) - row[3] * dot(eye, x);
        row[1] = dot(v, y) - row[3] * dot(eye, y);
        row[2] = dot(v, z) - row[3] * dot(eye, z);
    }
}

template <class S>
BasicQuaternion<S> Matrix4<S>::getRotation() const
{
    int i = m[0][0] > m[1][1] ? 0 : 1;
    if (!(m[2][2] < m[i][i]))
        i = 2;
    const S trace = m[0][0] + m[1][1] + m[2][2];
    BasicQuaternion<S> q;
    if (trace > m[i][i]) {
        q.w = std::sqrt(trace + m[3][3]) * S(0.5);
        const S divisor = 4 * q.w;
        q.x = (m[1][2] - m[2][1]) / divisor;
        q.y = (m[2][0] - m[0][2]) / divisor;
        q.z = (m[0][1] - m[1][0]) / divisor;
        return q;
    }
    const int j = (i + 1) % 3, k = (i + 2) % 3;
    Vector3<S> v;
    v[i] = std::sqrt(m[i][i] - m[j][j] - m[k][k] + m[3][3]) * S(0.5);
    const S divisor = 4 * v[i];
    v[j] = (m[j][i] + m[i][j]) / divisor;
    v[k] = (m[k][i] + m[i][k]) / divisor;
    return BasicQuaternion<S>(v.x, v.y, v.z, (m[j][k] - m[k][j]) / divisor);
}

template <class S>
void Matrix4<S>::jacobi3(S* values, Vector3<S>* vectors, int& rotations) const
{
    double a[3][3], eigenvalues[3], eigenvectors[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            a[i][j] = m[i][j];
    rotations = jacobi(a, eigenvalues, eigenvectors);
    for (int i = 0; i < 3; ++i) {
        values[i] = S(eigenvalues[i]);
        const double(&row)[3] = eigenvectors[i];
        vectors[i] = Vector3<S>(Vector3<double>(row[0], row[1], row[2]));
    }
}

template <class S>
bool Matrix4<S>::factor(Matrix4& r, Vector3<S>& s, Matrix4& u, Vector3<S>& t, Matrix4& proj) const
{
    // In double for both: a float square keeps too few digits of a small scale beside a large one.
    Matrix4<double> a(*this);
    for (int i = 0; i < 3; ++i)
        a.m[3][i] = a.m[i][3] = 0;
    a.m[3][3] = 1;
    const double det = a.det3(0, 1, 2, 0, 1, 2);
    t = Vector3<S>(m[3][0], m[3][1], m[3][2]);
    proj.makeIdentity();
    const double sign = det < 0 ? -1 : 1;
    if (sign * det < 1e-12)
        return false;

    const Matrix4<double> square = a * a.transpose();
    double values[3];
    Vector3<double> vectors[3];
    int rotations;
    square.jacobi3(values, vectors, rotations);
    Matrix4<double> axes, reciprocals;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j)
            axes.m[i][j] = vectors[i][j];
        const double scale = sign * std::sqrt(values[i]);
        s[i] = S(scale);
        reciprocals.m[i][i] = 1 / scale;
    }
    u = Matrix4(axes * reciprocals * axes.transpose() * a);
    r = Matrix4(axes);
    return true;
}

template <class S>
void Matrix4<S>::setTransform(const Vector3<S>& translation, const BasicQuaternion<S>& rotation,
                              const Vector3<S>& scaleAmount, const BasicQuaternion<S>& scaleAxes,
                              const Vector3<S>& center)
{
    const Vector3<S> zero;
    this->makeIdentity();
    if (translation != zero)
        translate(translation);
    if (center != zero)
        translate(center);
    if (!isNeutral(rotation))
        rotate(rotation);
    if (scaleAmount != Vector3<S>(1, 1, 1)) {
        // Twice the same way and never back: undoing the turn here would change stored matrices.
        const bool turned = !isNeutral(scaleAxes);
        if (turned)
            rotate(scaleAxes);
        scale(scaleAmount);
        if (turned)
            rotate(scaleAxes);
    }
    if (center != zero)
        translate(-center);
}

template <class S>
void Matrix4<S>::getTransform(Vector3<S>& translation, BasicQuaternion<S>& rotation,
                              Vector3<S>& scaleAmount, BasicQuaternion<S>& scaleAxes,
                              const Vector3<S>& center) const
{
    Matrix4 about = *this;
    if (center != Vector3<S>()) {
        Matrix4 back;
        back.translate(-center);
        about = *this * back;
        about.translate(center);
    }
    Matrix4 r, u, proj;
    Vector3<S> s(1, 1, 1);
    about.factor(r, s, u, translation, proj);
    scaleAmount = s;
    scaleAxes = r.transpose().getRotation();
    rotation = u.getRotation();
}

template struct Matrix4<float>;
template struct Matrix4<double>;
} // namespace geometry
