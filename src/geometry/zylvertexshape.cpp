#include "geometry/zylvertexshape.h"

namespace geometry
{
VertexShape::~VertexShape() = default;
} // namespace geometry
