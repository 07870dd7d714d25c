#include "geometry/zylsolids.h"

#include "geometry/zylfloat_p.h"

#include <algorithm>
#include <cmath>

namespace geometry
{
namespace
{
/// A box with corners on both sides of the axis, from the height `low` to `high`.
void setBox(Box3f& box, double x, double y, double low, double high)
{
    const float halfX = toFloat(std::abs(x)), halfY = toFloat(std::abs(y));
    box = Box3f(-halfX, -halfY, toFloat(std::min(low, high)), halfX, halfY,
                toFloat(std::max(low, high)));
}

void setRound(Box3f& box, double radius, double low, double high)
{
    setBox(box, radius, radius, low, high);
}
} // namespace

void Sphere::bounds(Box3f& box) const
{
    setRound(box, radius, -radius, radius);
}

void Cone::bounds(Box3f& box) const
{
    setRound(box, std::max(std::abs(baseRadius), std::abs(topRadius)), 0, height);
}

void Cylinder::bounds(Box3f& box) const
{
    setRound(box, radius, 0, height);
}

void Disk::bounds(Box3f& box) const
{
    setRound(box, std::max(std::abs(innerRadius), std::abs(outerRadius)), 0, 0);
}

void Torus::bounds(Box3f& box) const
{
    setRound(box, std::abs(majorRadius) + std::abs(minorRadius), -minorRadius, minorRadius);
}

void Cube::bounds(Box3f& box) const
{
    setBox(box, width / 2, height / 2, -depth / 2, depth / 2);
}
} // namespace geometry
