#include "opengl/glcurve.h"

#include "kernel/vzylfields_p.h"
#include "opengl/glcurve_p.h"
#include "opengl/glframe_p.h"

#include <GL/gl.h>

using geometry::Vector3f;
using zylfields::field;

const VMetaClass GL_Curve::metaClass("GL_Curve", &ZYLObject::factory, &GL_Object::metaClass);

const VMetaClass* GL_Curve::metaObject() const
{
    return &metaClass;
}

void GL_Curve::draw(GL_RenderEvent* event)
{
    GL_State& state = event->state;
    if (!event->traversal.isSelecting()) {
        leaveMaterial(event);
        const bool lit = testFlags(Lit);
        state.setEnabled(GL_State::Lighting, lit);
        state.setEnabled(GL_State::AutoNormal, lit);
        if (lit) {
            state.setEnabled(GL_State::Normalize, true);
            event->material = nullptr;
            event->defaultMaterial.setDiffuse(geometry::Vector4f(color()));
            event->defaultMaterial.draw(event);
        } else {
            glColor(color());
        }
    }
    if (!isSelected()) {
        drawShape(event);
        return;
    }
    state.setEnabled(GL_State::LineStipple, true);
    glLineStipple(2, 0x5555);
    drawShape(event);
    state.setEnabled(GL_State::LineStipple, false);

    drawSelected(*this, event);
}

void GL_Curve::hit(GL_RenderEvent* event)
{
    drawShape(event);
}

void GL_Curve::drawShape(GL_RenderEvent*) {}

void GL_Curve::drawHandles(GL_RenderEvent*) {}

void GL_Curve::drawHull(GL_RenderEvent*) {}

// GL_Line

struct GL_Line::Stored {
    static constexpr auto fields =
        std::tuple(field("from", 0x80, &Line3f::p1), field("to", 0x81, &Line3f::p2));
};

const VMetaClass GL_Line::metaClass("GL_Line", &GL_Line::factory, &GL_Curve::metaClass);

ZYLObject* GL_Line::factory()
{
    return new GL_Line;
}

const VMetaClass* GL_Line::metaObject() const
{
    return &metaClass;
}

GL_Line::GL_Line() : Line3f(Vector3f(), Vector3f(1, 0, 0))
{
    setExtent(Stale);
}

bool GL_Line::event(VEvent* event)
{
    if (GL_Curve::event(event))
        return true;
    const geometry::Matrix4f* const matrix = pointTransform(event);
    if (!matrix)
        return false;
    p1 = transformed(p1, *matrix);
    p2 = transformed(p2, *matrix);
    boundsChanged();
    static_cast<VActionEvent*>(event)->accept();
    return true;
}

VFormatIO& GL_Line::read(VFormatIO& io)
{
    zylfields::read(GL_Curve::read(io), *this, Stored::fields);
    boundsChanged();
    return io;
}

VFormatIO& GL_Line::write(VFormatIO& io) const
{
    return zylfields::write(GL_Curve::write(io), *this, Stored::fields);
}

void GL_Line::init(GL_Scene*)
{
    boundsChanged();
}

void GL_Line::bounds(geometry::Box3f& box) const
{
    box = Line3f::bounds();
}

void GL_Line::hit(GL_RenderEvent* event)
{
    drawShape(event); // under the name of the node, or only the ends could be picked
    glPushName(0);
    for (const Vector3f* end : {&p1, &p2}) {
        glLoadName(end == &p2);
        glBegin(GL_POINTS);
        glVertex3fv(&end->x);
        glEnd();
    }
    glPopName();
}

bool GL_Line::drag(GL_Viewer* viewer, const geometry::Vector2i& from, const geometry::Vector2i& to)
{
    const int part = pickedPart(this, viewer);
    const Vector3f offset = viewer->localVector(this, from, to,
                                                part == 0   ? p1
                                                : part == 1 ? p2
                                                            : (p1 + p2) * 0.5f);
    if (part != 1)
        p1 += offset;
    if (part != 0)
        p2 += offset;
    boundsChanged();
    return true;
}

void GL_Line::drawShape(GL_RenderEvent*)
{
    glBegin(GL_LINES);
    glVertex3fv(&p1.x);
    glVertex3fv(&p2.x);
    glEnd();
}

void GL_Line::drawHandles(GL_RenderEvent*)
{
    glBegin(GL_POINTS);
    glVertex3fv(&p1.x);
    glVertex3fv(&p2.x);
    glEnd();
}
