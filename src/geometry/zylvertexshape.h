#pragma once

#include "geometry/gvector.h"

namespace geometry
{
/// A figure held as an array of points: a path, a mesh, the control points of a curve.
class ZYL_EXPORT VertexShape
{
public:
    VertexShape() = default;
    explicit VertexShape(const GVectorArray& points) : vertices(points) {}
    virtual ~VertexShape();

    GVectorArray vertices;
};
} // namespace geometry
