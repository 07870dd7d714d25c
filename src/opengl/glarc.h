#pragma once

#include "geometry/zylhmatrix.h"
#include "opengl/glcurve.h"

/// A part of a circle. Angles are degrees from the x axis of the circle's plane on, which the
/// shortest turn from (0, 0, 1) to the direction puts in place.
class ZYL_EXPORT GL_Arc : public GL_Curve
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Arc();

    float radius() const { return m_radius; }
    void setRadius(float radius);
    float startAngle() const { return m_startAngle; }
    void setStartAngle(float degrees);
    /// Backwards if negative.
    float sweepAngle() const { return m_sweepAngle; }
    void setSweepAngle(float degrees);
    const geometry::Vector3f& position() const { return m_position; }
    void setPosition(const geometry::Vector3f& position);
    /// The normal of the plane, of any length.
    const geometry::Vector3f& direction() const { return m_direction; }
    void setDirection(const geometry::Vector3f& direction);
    int slices() const { return m_slices; }
    void setSlices(int count) { m_slices = count; }

    /// Whether the arc passes an angle.
    bool containsAngle(float degrees) const;
    /// From the arc's plane to the parent's space.
    geometry::Matrix4f matrix() const;

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void bounds(geometry::Box3f& box) const override;
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;
    void drawShape(GL_RenderEvent* event) override;

private:
    struct Stored;

    bool isFullCircle() const;

    float m_radius = 0.5f;
    float m_startAngle = 0;
    float m_sweepAngle = 360;
    geometry::Vector3f m_position;
    geometry::Vector3f m_direction = geometry::Vector3f(0, 0, 1);
    int m_slices = 20;
};
