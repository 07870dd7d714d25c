#pragma once

#include "geometry/zylbox.h"

namespace geometry
{
// The plain solids, as numbers. They stand around the origin with their axis along z; counts tell
// how finely they are drawn. `bounds` sets the box to what they cover, and takes sizes by their
// amount.

struct ZYL_EXPORT Sphere {
    double radius = 0.5;
    int slices = 20; ///< around
    int stacks = 20; ///< from pole to pole

    void bounds(Box3f& box) const;
};

/// Stands on the plane z = 0.
struct ZYL_EXPORT Cone {
    double baseRadius = 0.5;
    double topRadius = 0;
    double height = 1;
    int slices = 20;
    int stacks = 1;
    int rings = 1; ///< of the caps

    void bounds(Box3f& box) const;
};

/// Stands on the plane z = 0.
struct ZYL_EXPORT Cylinder {
    double radius = 0.5;
    double height = 1;
    int slices = 20;
    int stacks = 1;
    int rings = 1; ///< of the caps

    void bounds(Box3f& box) const;
};

/// Lies in the plane z = 0.
struct ZYL_EXPORT Disk {
    double innerRadius = 0;
    double outerRadius = 0.5;
    int slices = 20;
    int rings = 1;

    void bounds(Box3f& box) const;
};

/// A part of a disk. Its bounds are those of the full one.
struct ZYL_EXPORT PartialDisk : virtual Disk {
    double startAngle = 0; ///< degrees, from the y axis towards growing x
    double sweepAngle = 360;
};

/// A tube of `minorRadius` along a circle of `majorRadius` in the plane z = 0.
struct ZYL_EXPORT Torus {
    double majorRadius = 0.5;
    double minorRadius = 0.25;
    int sides = 10; ///< around the tube
    int rings = 20; ///< along it

    void bounds(Box3f& box) const;
};

/// A box around the origin: `width` along x, `height` along y, `depth` along z.
struct ZYL_EXPORT Cube {
    double width = 1;
    double height = 1;
    double depth = 1;

    void bounds(Box3f& box) const;
};
} // namespace geometry
