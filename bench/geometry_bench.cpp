#include "geometry/zylbox.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylvectorarray.h"
#include "ratio.h"

#include <Eigen/Dense>

#include <random>

using namespace geometry;

namespace
{
constexpr int count = 1024;
std::mt19937 random(20210417);

float number()
{
    return std::uniform_real_distribution<float>(-1, 1)(random);
}

using Matrices = std::vector<Matrix4f>;
using EigenMatrices = std::vector<Eigen::Matrix4f>;

Matrices matrices()
{
    Matrices all(count);
    for (Matrix4f& m : all)
        for (float(&row)[4] : m.m)
            for (float& value : row)
                value = number();
    return all;
}

/// The same numbers in memory, which is the transposed matrix for columns.
EigenMatrices toEigen(const Matrices& from)
{
    EigenMatrices all(from.size());
    for (std::size_t i = 0; i < from.size(); ++i)
        std::memcpy(all[i].data(), from[i].m, sizeof(from[i].m));
    return all;
}

void products()
{
    const Matrices a = matrices(), b = matrices();
    const EigenMatrices ea = toEigen(a), eb = toEigen(b);
    Matrices out(count);
    EigenMatrices eout(count);
    bench::compare(
        "geometry: Matrix4f product / Eigen", 1.1,
        [&] {
            for (int i = 0; i < count; ++i)
                out[i] = a[i] * b[i];
            bench::keep(out.data());
        },
        [&] {
            for (int i = 0; i < count; ++i)
                eout[i].noalias() = ea[i] * eb[i];
            bench::keep(eout.data());
        });
}

void inverses()
{
    const Matrices a = matrices();
    const EigenMatrices ea = toEigen(a);
    Matrices out(count);
    EigenMatrices eout(count);
    bench::compare(
        "geometry: Matrix4f inverse / Eigen", 4.0,
        [&] {
            for (int i = 0; i < count; ++i)
                out[i] = a[i].invert();
            bench::keep(out.data());
        },
        [&] {
            for (int i = 0; i < count; ++i)
                eout[i] = ea[i].inverse();
            bench::keep(eout.data());
        });
}

void points()
{
    // A rotation and a small shift back and forth, so that the points stay where they are.
    Matrix4f m;
    m.rotate(Vector3f(1, 2, 3), 0.1f);
    m.translate(0.01f, 0, 0);
    Eigen::Affine3f em;
    std::memcpy(em.matrix().data(), m.m, sizeof(m.m));
    Vector3fArray three(count);
    Vector4fArray four(count);
    std::vector<Eigen::Vector3f> ethree(count);
    std::vector<Eigen::Vector4f> efour(count);
    for (int i = 0; i < count; ++i) {
        three[i] = Vector3f(number(), number(), number());
        four[i] = Vector4f(three[i], 1);
        ethree[i] = Eigen::Vector3f(three[i].x, three[i].y, three[i].z);
        efour[i] = ethree[i].homogeneous();
    }
    bench::compare(
        "geometry: Vector3f array by Matrix4f / Eigen", 1.1,
        [&] {
            three.project(m);
            bench::keep(three.data());
        },
        [&] {
            for (Eigen::Vector3f& v : ethree)
                v = em * v;
            bench::keep(ethree.data());
        });
    bench::compare(
        "geometry: Vector4f array by Matrix4f / Eigen", 1.1,
        [&] {
            four.project(m);
            bench::keep(four.data());
        },
        [&] {
            for (Eigen::Vector4f& v : efour)
                v = em.matrix() * v;
            bench::keep(efour.data());
        });
}

void culling()
{
    Matrix4f view;
    view.frustum(-1, 1, -1, 1, 1, 10);
    view.translate(0, 0, -5);
    view.rotate(Vector3f(1, 2, 3), 0.5f);
    // About as many inside and outside as across the border.
    std::vector<Box3f> boxes(count);
    for (Box3f& box : boxes) {
        const Vector3f middle = Vector3f(number(), number(), number()) * 6.0f;
        const Vector3f half = Vector3f(1, 1, 1) * (1.1f + number());
        box = Box3f(middle - half, middle + half);
    }
    bench::rate("geometry: Box3f::outside at 20 million a second", 20e6, count, [&] {
        int hidden = 0;
        for (const Box3f& box : boxes) {
            int cull = 7;
            hidden += box.outside(view, cull);
        }
        bench::keep(hidden);
    });
}
} // namespace

int main()
{
    products();
    points();
    inverses();
    culling();
}
