#include "opengl/glarc.h"

#include "geometry/zylarc.h"
#include "geometry/zylbox.h"
#include "geometry/zylquaternion.h"
#include "kernel/vzylfields_p.h"
#include "opengl/glcurve_p.h"

#include <GL/gl.h>

#include <cmath>

using geometry::Vector3f;
using zylfields::field;

namespace
{
constexpr double radiansOfDegree = 0.017453292519943295;
} // namespace

struct GL_Arc::Stored {
    static constexpr auto fields =
        std::tuple(field("radius", 0x80, &GL_Arc::m_radius, 0.5f),
                   field("startAngle", 0x81, &GL_Arc::m_startAngle, 0.0f),
                   field("sweepAngle", 0x82, &GL_Arc::m_sweepAngle, 360.0f),
                   field("position", 0x83, &GL_Arc::m_position),
                   field("direction", 0x84, &GL_Arc::m_direction),
                   field("slices", 0x85, &GL_Arc::m_slices, 20));
};

const VMetaClass GL_Arc::metaClass("GL_Arc", &GL_Arc::factory, &GL_Curve::metaClass);

ZYLObject* GL_Arc::factory()
{
    return new GL_Arc;
}

const VMetaClass* GL_Arc::metaObject() const
{
    return &metaClass;
}

GL_Arc::GL_Arc()
{
    setExtent(Stale);
}

void GL_Arc::setRadius(float radius)
{
    m_radius = radius;
    boundsChanged();
}

void GL_Arc::setStartAngle(float degrees)
{
    m_startAngle = degrees;
    boundsChanged();
}

void GL_Arc::setSweepAngle(float degrees)
{
    m_sweepAngle = degrees;
    boundsChanged();
}

void GL_Arc::setPosition(const Vector3f& position)
{
    m_position = position;
    boundsChanged();
}

void GL_Arc::setDirection(const Vector3f& direction)
{
    m_direction = direction;
    boundsChanged();
}

bool GL_Arc::isFullCircle() const
{
    return std::abs(double(m_sweepAngle)) > 360 - 1e-10;
}

bool GL_Arc::containsAngle(float degrees) const
{
    // Twice, as once leaves far angles within a whole turn either way only.
    const auto normalized = [](double angle) {
        using geometry::Arc2f;
        return Arc2f::normalizeDegrees(Arc2f::normalizeDegrees(angle));
    };
    if (isFullCircle())
        return true;
    const double ahead = normalized(double(degrees) - m_startAngle);
    const double along = m_sweepAngle < 0 ? -ahead : ahead;
    return (along < 0 ? along + 360 : along) <= std::abs(double(m_sweepAngle));
}

geometry::Matrix4f GL_Arc::matrix() const
{
    geometry::Matrix4f matrix;
    matrix.translate(m_position);
    if (m_direction != Vector3f())
        matrix.rotate(geometry::Quaternion().setValue(Vector3f(0, 0, 1), m_direction));
    return matrix;
}

bool GL_Arc::event(VEvent* event)
{
    if (GL_Curve::event(event))
        return true;
    const geometry::Matrix4f* const matrix = pointTransform(event);
    if (!matrix)
        return false;
    setPosition(transformed(m_position, *matrix));
    static_cast<VActionEvent*>(event)->accept();
    return true;
}

VFormatIO& GL_Arc::read(VFormatIO& io)
{
    zylfields::read(GL_Curve::read(io), *this, Stored::fields);
    boundsChanged();
    return io;
}

VFormatIO& GL_Arc::write(VFormatIO& io) const
{
    return zylfields::write(GL_Curve::write(io), *this, Stored::fields);
}

void GL_Arc::init(GL_Scene*)
{
    boundsChanged();
}

void GL_Arc::bounds(geometry::Box3f& box) const
{
    const auto include = [this, &box](double degrees) {
        const double angle = degrees * radiansOfDegree;
        box.include(float(m_radius * std::cos(angle)), float(m_radius * std::sin(angle)), 0);
    };
    box.makeEmpty();
    include(m_startAngle);
    include(double(m_startAngle) + m_sweepAngle);
    for (const float extreme : {0.0f, 90.0f, 180.0f, 270.0f})
        if (containsAngle(extreme))
            include(extreme);
    box.transform(matrix());
}

bool GL_Arc::drag(GL_Viewer* viewer, const geometry::Vector2i& from, const geometry::Vector2i& to)
{
    setPosition(m_position + viewer->localVector(this, from, to, m_position));
    return true;
}

void GL_Arc::drawShape(GL_RenderEvent*)
{
    const int count = qBound(2, m_slices, 1000);
    glPushMatrix();
    glMultMatrixf(matrix().m[0]);
    glNormal3fv(&m_direction.x);
    glBegin(isClosed() && !isFullCircle() ? GL_LINE_LOOP : GL_LINE_STRIP);
    for (int i = 0; i <= count; ++i) {
        const double angle = (m_startAngle + double(m_sweepAngle) * i / count) * radiansOfDegree;
        glVertex2d(m_radius * std::cos(angle), m_radius * std::sin(angle));
    }
    glEnd();
    glPopMatrix();
}
