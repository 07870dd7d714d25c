#include "geometry/zylphysics.h"

#include "geometry/zylhmatrix.h"

namespace physics
{
geometry::Vector3f Camera::target() const
{
    geometry::Matrix4f matrix;
    matrix.translate(m_position);
    matrix.rotate(m_orientation);
    return matrix.map(geometry::Vector3f(0, 0, -m_focalDistance));
}
} // namespace physics
