#include "opengl/glpoint.h"

#include "geometry/zylbox.h"
#include "kernel/vzylfields_p.h"
#include "opengl/glcurve_p.h"
#include "opengl/glframe_p.h"

#include <GL/gl.h>

struct GL_Point::Stored {
    static constexpr auto fields =
        std::tuple(zylfields::field("position", 0x80, &GL_Point::m_position));
};

const VMetaClass GL_Point::metaClass("GL_Point", &GL_Point::factory, &GL_Object::metaClass);

ZYLObject* GL_Point::factory()
{
    return new GL_Point;
}

const VMetaClass* GL_Point::metaObject() const
{
    return &metaClass;
}

GL_Point::GL_Point()
{
    setExtent(Stale);
}

void GL_Point::setPosition(const geometry::Vector3f& position)
{
    m_position = position;
    boundsChanged();
}

bool GL_Point::event(VEvent* event)
{
    if (GL_Object::event(event))
        return true;
    const geometry::Matrix4f* const matrix = pointTransform(event);
    if (!matrix)
        return false;
    setPosition(transformed(m_position, *matrix));
    static_cast<VActionEvent*>(event)->accept();
    return true;
}

VFormatIO& GL_Point::read(VFormatIO& io)
{
    zylfields::read(GL_Object::read(io), *this, Stored::fields);
    boundsChanged();
    return io;
}

VFormatIO& GL_Point::write(VFormatIO& io) const
{
    return zylfields::write(GL_Object::write(io), *this, Stored::fields);
}

void GL_Point::init(GL_Scene*)
{
    boundsChanged();
}

void GL_Point::bounds(geometry::Box3f& box) const
{
    box = geometry::Box3f(m_position, m_position);
}

void GL_Point::draw(GL_RenderEvent* event)
{
    if (!event->traversal.isSelecting()) {
        leaveMaterial(event);
        event->state.setEnabled(GL_State::Lighting, false);
        const bool isCurrent = event->scene && event->scene->currentObject() == this;
        glColor(!isSelected() ? color()
                : isCurrent   ? GL_Viewer::m_selectColor
                              : GL_Viewer::m_boundColor);
    }
    glPushAttrib(GL_POINT_BIT);
    glPointSize(4);
    hit(event);
    glPopAttrib();
}

void GL_Point::hit(GL_RenderEvent*)
{
    glBegin(GL_POINTS);
    glVertex3fv(&m_position.x);
    glEnd();
}

bool GL_Point::drag(GL_Viewer* viewer, const geometry::Vector2i& from, const geometry::Vector2i& to)
{
    setPosition(m_position + viewer->localVector(this, from, to, m_position));
    return true;
}
