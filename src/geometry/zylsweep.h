#pragma once

#include "geometry/zylgeneralpath.h"
#include "geometry/zylvector.h"

namespace geometry
{
// The swept solids: a path and how it is moved. Counts are kept as they come, and whoever draws
// bounds them. The extents are those of the control points, so that curves lie within.

/// A path moved along a vector.
class ZYL_EXPORT Extrude
{
public:
    void bounds(Box3f& box) const;

    GeneralPath shape{2};
    Vector3f vector{0, 0, 1};
    int slices = 5; // for each curve of the path
};

/// A path turned about an axis through the origin.
///
/// The axis is where z comes to by the shortest turn, and turns x and y along. A profile in the
/// plane has its distance from the axis in x and its height along the axis in y; points in space
/// are turned as they stand.
class ZYL_EXPORT Lathe
{
public:
    /// The directions that x, y and z come to.
    void frame(Vector3f& x, Vector3f& y, Vector3f& z) const;
    /// A point of the profile turned by an angle, where `frame` is given.
    static Vector3f turned(const Vector3f& x, const Vector3f& y, const Vector3f& z,
                           const Vector3f& point, double degrees);

    void bounds(Box3f& box) const;

    GeneralPath shape{2};
    Vector3f axis{0, 0, 1};
    float startAngle = 0; // degrees
    float sweepAngle = 360;
    int slices = 20; // around the axis
    int stacks = 5;  // for each curve of the path
};

/// A path moved along another path, turned with it.
///
/// At each step of the way the shape takes the transformation and the colour of that number, the
/// last of them where there are too few.
class ZYL_EXPORT PathExtrude
{
public:
    /// The identity where there is none.
    Matrix4f transform(unsigned step) const;
    /// White where there is none.
    Vector4f color(unsigned step) const;

    /// Holds however the shape is turned about the path.
    void bounds(Box3f& box) const;

    GeneralPath shape{2};
    GeneralPath path{3};
    GVectorArray colors{0, 4, unsigned(GVector::Float)};      // red, green, blue, alpha
    GVectorArray transforms{0, 16, unsigned(GVector::Float)}; // the numbers of a `Matrix4f`
    int slices = 5;                                           // for each curve of the shape
    int stacks = 5;                                           // for each curve of the path
};
} // namespace geometry
