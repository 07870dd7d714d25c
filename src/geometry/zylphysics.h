#pragma once

#include "geometry/zylquaternion.h"
#include "geometry/zylvector.h"

namespace physics
{
/// Where a picture is taken from, and how. It looks along -z, turned by the orientation, with y up.
class ZYL_EXPORT Camera
{
public:
    Camera() = default;

    const geometry::Vector3f& position() const { return m_position; }
    void setPosition(const geometry::Vector3f& position) { m_position = position; }
    const geometry::Quaternion& orientation() const { return m_orientation; }
    void setOrientation(const geometry::Quaternion& orientation) { m_orientation = orientation; }
    /// The angle of the picture's height in degrees.
    float fov() const { return m_fov; }
    void setFov(float degrees) { m_fov = degrees; }
    /// Width over height.
    float aspectRatio() const { return m_aspectRatio; }
    void setAspectRatio(float ratio) { m_aspectRatio = ratio; }
    // What lies between these distances is in the picture.
    float nearDistance() const { return m_nearDistance; }
    void setNearDistance(float distance) { m_nearDistance = distance; }
    float farDistance() const { return m_farDistance; }
    void setFarDistance(float distance) { m_farDistance = distance; }
    float focalDistance() const { return m_focalDistance; }
    void setFocalDistance(float distance) { m_focalDistance = distance; }

    /// The point in the middle of the picture, at the focal distance.
    geometry::Vector3f target() const;

protected:
    geometry::Vector3f m_position;
    geometry::Quaternion m_orientation;
    float m_fov = 45;
    float m_aspectRatio = 1;
    float m_nearDistance = 0.1f;
    float m_farDistance = 100;
    float m_focalDistance = 1;
};
} // namespace physics
