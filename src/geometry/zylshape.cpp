#include "geometry/zylshape.h"

#include "geometry/zylpathiterator.h"

namespace geometry
{
// Out of line, so that each table of virtual functions stands in one place.
PathIterator::~PathIterator() = default;
Shape2f::~Shape2f() = default;
Shape3f::~Shape3f() = default;
} // namespace geometry
