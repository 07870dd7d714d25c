#include "opengl/glrain.h"

#include "geometry/zylbox.h"
#include "kernel/vevent.h"
#include "kernel/vzylfields_p.h"
#include "opengl/glframe_p.h"
#include "opengl/glscene.h"
#include "opengl/glviewer.h"

#include <GL/gl.h>

using zylfields::field;

struct GL_Rain::Stored {
    static constexpr auto fields =
        std::tuple(field("min", 0x80, &Raining::min), field("max", 0x81, &Raining::max),
                   field("length", 0x82, &Raining::length), field("number", 0x83, &Raining::number),
                   field("acceleration", 0x84, &Raining::acceleration));
};

const VMetaClass GL_Rain::metaClass("GL_Rain", &GL_Rain::factory, &GL_Object::metaClass);

ZYLObject* GL_Rain::factory()
{
    return new GL_Rain;
}

const VMetaClass* GL_Rain::metaObject() const
{
    return &metaClass;
}

bool GL_Rain::event(VEvent* event)
{
    if (GL_Object::event(event))
        return true;
    if (!event || event->type() != VActionEvent::Elapsed)
        return false;
    auto* const action = static_cast<VActionEvent*>(event);
    if (!action->data())
        return false;
    update(float(*action->value<double>()));
    action->accept();
    return true;
}

VFormatIO& GL_Rain::read(VFormatIO& io)
{
    zylfields::read(GL_Object::read(io), *this, Stored::fields);
    clear();
    return io;
}

VFormatIO& GL_Rain::write(VFormatIO& io) const
{
    return zylfields::write(GL_Object::write(io), *this, Stored::fields);
}

void GL_Rain::bounds(geometry::Box3f& box) const
{
    box.makeEmpty();
    box.include(min);
    box.include(max);
}

void GL_Rain::draw(GL_RenderEvent* event)
{
    update(0); // makes the drops at first use
    GL_State& state = event->state;
    const bool selecting = event->traversal.isSelecting();
    const bool textured = !selecting && state.isEnabled(GL_State::Texture2D);
    const bool lit = !selecting && state.isEnabled(GL_State::Lighting);
    const bool blended = !selecting && state.isEnabled(GL_State::Blend);
    GLint source = 0, destination = 0;
    if (!selecting) {
        glGetIntegerv(GL_BLEND_SRC, &source);
        glGetIntegerv(GL_BLEND_DST, &destination);
        state.setEnabled(GL_State::Texture2D, false);
        state.setEnabled(GL_State::Lighting, false);
        state.setEnabled(GL_State::Blend, true);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    }
    glBegin(GL_LINES);
    for (const physics::RainParticle& drop : particles()) {
        if (!drop.isAlive)
            continue;
        const geometry::Vector3f end = tail(drop);
        glColor4f(0.7f, 0.95f, 1, 1);
        glVertex3fv(&drop.position.x);
        glColor4f(0.3f, 0.7f, 1, 1);
        glVertex3fv(&end.x);
    }
    glEnd();
    if (!selecting) {
        glBlendFunc(GLenum(source), GLenum(destination));
        state.setEnabled(GL_State::Texture2D, textured);
        state.setEnabled(GL_State::Lighting, lit);
        state.setEnabled(GL_State::Blend, blended);
    }
    if (!isSelected())
        return;
    const GL_FrameScope frame(event);
    geometry::Box3f box;
    bounds(box);
    glColor(GL_Viewer::m_boundColor);
    drawBox(box);
    glPointSize(4);
    drawHandles(box);
}
