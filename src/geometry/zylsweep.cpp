#include "geometry/zylsweep.h"

#include "geometry/zylbox.h"
#include "geometry/zylfloat_p.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylmeshnormals_p.h"
#include "geometry/zylquaternion.h"

#include <cmath>
#include <cstring>

namespace geometry
{
namespace
{
constexpr double degree = 3.14159265358979323846 / 180;

/// The numbers of a step, or of the last there is.
bool numbersAt(const GVectorArray& array, unsigned step, float* numbers, int count)
{
    if (array.size() == 0 || array.dimension() != count || array.type() != GVector::Float)
        return false;
    std::memcpy(numbers, array.at(std::min(step, array.size() - 1)),
                unsigned(count) * sizeof(float));
    return true;
}
} // namespace

void Extrude::bounds(Box3f& box) const
{
    shape.bounds(box);
    if (box.isEmpty())
        return;
    box.include(Box3f(box.min + vector, box.max + vector));
}

void Lathe::frame(Vector3f& x, Vector3f& y, Vector3f& z) const
{
    Quaternion turn;
    if (axis.length() > 0)
        turn.setValue(Vector3f(0, 0, 1), axis);
    x = turn.rotate(Vector3f(1, 0, 0));
    y = turn.rotate(Vector3f(0, 1, 0));
    z = turn.rotate(Vector3f(0, 0, 1));
}

Vector3f Lathe::turned(const Vector3f& x, const Vector3f& y, const Vector3f& z,
                       const Vector3f& point, double degrees)
{
    const double c = std::cos(degrees * degree), s = std::sin(degrees * degree);
    const double px = dot(point, x), py = dot(point, y);
    return x * toFloat(px * c - py * s) + y * toFloat(px * s + py * c) + z * dot(point, z);
}

void Lathe::bounds(Box3f& box) const
{
    box.makeEmpty();
    Vector3f x, y, z;
    frame(x, y, z);
    const MeshPoints points(shape.vertices);
    const bool isFlat =
        shape.vertices.dimension() == 2 ||
        (shape.vertices.dimension() == 3 && (shape.vertices.flags() & GVector::homogeneous));
    const double first = std::min(startAngle, startAngle + sweepAngle);
    const double sweep = std::min(std::abs(double(sweepAngle)), 360.0);
    for (unsigned i = 0; i < points.count(); ++i) {
        const Vector3f p = isFlat ? x * points[i].x + z * points[i].y : points[i];
        const double px = dot(p, x), py = dot(p, y);
        const double radius = std::hypot(px, py), phase = std::atan2(py, px) / degree;
        box.include(turned(x, y, z, p, startAngle));
        box.include(turned(x, y, z, p, double(startAngle) + sweepAngle));
        // A circle is farthest out along an axis where the axis, seen along its own, points to.
        for (int k = 0; k < 3; ++k) {
            const double reach = radius * std::hypot(double(x[k]), double(y[k]));
            const double angle = std::atan2(double(y[k]), double(x[k])) / degree - phase;
            for (const int side : {1, -1}) {
                const double there = angle + (side < 0 ? 180 : 0) - first;
                const double turns = there - 360 * std::floor(there / 360);
                if (!(turns <= sweep))
                    continue;
                Vector3f extreme = turned(x, y, z, p, startAngle);
                extreme[k] = toFloat(double(z[k]) * dot(p, z) + side * reach);
                box.include(extreme);
            }
        }
    }
}

Matrix4f PathExtrude::transform(unsigned step) const
{
    Matrix4f matrix;
    numbersAt(transforms, step, &matrix.m[0][0], 16);
    return matrix;
}

Vector4f PathExtrude::color(unsigned step) const
{
    Vector4f color(1, 1, 1, 1);
    numbersAt(colors, step, &color.x, 4);
    return color;
}

void PathExtrude::bounds(Box3f& box) const
{
    path.bounds(box);
    if (box.isEmpty())
        return;
    // As far as the shape reaches from the path, whichever way it is turned there. The corners of
    // its box bound its points, and are eight whatever it has.
    Box3f around;
    MeshPoints(shape.vertices).bounds(around);
    float radius = 0;
    for (unsigned step = 0; step < std::max(transforms.size(), 1u) && !around.isEmpty(); ++step) {
        const Matrix4f matrix = transform(step);
        for (int corner = 0; corner < 8; ++corner) {
            const Vector3f p(corner & 1 ? around.max.x : around.min.x,
                             corner & 2 ? around.max.y : around.min.y,
                             corner & 4 ? around.max.z : around.min.z);
            radius = std::max(radius, matrix.map(p).length());
        }
    }
    const Vector3f reach(radius, radius, radius);
    box.min -= reach;
    box.max += reach;
}
} // namespace geometry
