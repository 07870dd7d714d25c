#include "geometry/zylphysics.h"

namespace physics
{
geometry::Vector3f Camera::target() const
{
    // An orientation out of a file may have any length, which scales what it turns.
    geometry::Vector3f direction = m_orientation.rotate(geometry::Vector3f(0, 0, -1));
    if (!(direction.normalize() > 0))
        direction = geometry::Vector3f(0, 0, -1);
    return m_position + m_focalDistance * direction;
}
} // namespace physics
