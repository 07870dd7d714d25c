#include "opengl/gltext3.h"

#include "kernel/vzylfields_p.h"
#include "opengl/glrenderevent.h"
#include "opengl/gltextglyph.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

using geometry::Box2f;
using zylfields::field;

struct GL_Text3::Stored {
    static constexpr auto fields = std::tuple(field("depth", 0x87, &GL_Text3::m_depth, 0.25f),
                                              field("step", 0x88, &GL_Text3::m_step, 4));
};

const VMetaClass GL_Text3::metaClass("GL_Text3", &GL_Text3::factory, &GL_Shape::metaClass);

ZYLObject* GL_Text3::factory()
{
    return new GL_Text3;
}

const VMetaClass* GL_Text3::metaObject() const
{
    return &metaClass;
}

GL_Text3::GL_Text3() = default;

void GL_Text3::setDepth(float depth)
{
    m_depth = depth;
    layoutChanged();
}

void GL_Text3::setStep(int step)
{
    m_step = step;
    m_isChecked = false;
}

bool GL_Text3::event(VEvent* event)
{
    return GL_Shape::event(event) || textEvent(event);
}

VFormatIO& GL_Text3::read(VFormatIO& io)
{
    GL_Shape::read(io);
    readLayout(io);
    return zylfields::read(io, *this, Stored::fields);
}

VFormatIO& GL_Text3::write(VFormatIO& io) const
{
    GL_Shape::write(io);
    writeLayout(io);
    return zylfields::write(io, *this, Stored::fields);
}

void GL_Text3::init(GL_Scene* scene)
{
    initLayout(scene);
}

float GL_Text3::usedDepth() const
{
    return std::isfinite(m_depth) ? std::clamp(m_depth, -1e12f, 1e12f) : 0;
}

void GL_Text3::layoutChanged()
{
    m_isChecked = false;
    const Box2f flat = textBounds();
    geometry::Box3f box;
    if (!flat.isEmpty()) {
        const float depth = usedDepth();
        box = geometry::Box3f(flat.min.x, flat.min.y, std::min(depth, 0.0f), flat.max.x, flat.max.y,
                              std::max(depth, 0.0f));
    }
    setShapeBounds(box);
}

void GL_Text3::draw(GL_RenderEvent* event)
{
    if (!m_isChecked) {
        m_isChecked = true;
        setClosed(usedDepth() != 0 &&
                  std::all_of(places().begin(), places().end(), [this](const Place& place) {
                      return place.glyph->solid(m_step).isClosed;
                  }));
    }
    GL_Shape::draw(event);
}

/// The texture covers the text once.
void GL_Text3::generateTexture(bool on) const
{
    if (!on) {
        glDisable(GL_TEXTURE_GEN_S);
        glDisable(GL_TEXTURE_GEN_T);
        return;
    }
    // By planes in space: each letter has a matrix of its own.
    const geometry::Box3f& box = shapeBounds();
    const geometry::Vector3f size = box.max - box.min;
    const float across = size.x > 0 ? 1 / size.x : 1, up = size.y > 0 ? 1 / size.y : 1;
    const GLfloat s[4] = {across, 0, 0, -box.min.x * across};
    const GLfloat t[4] = {0, up, 0, -box.min.y * up};
    glTexGeni(GL_S, GL_TEXTURE_GEN_MODE, GL_EYE_LINEAR);
    glTexGeni(GL_T, GL_TEXTURE_GEN_MODE, GL_EYE_LINEAR);
    glTexGenfv(GL_S, GL_EYE_PLANE, s);
    glTexGenfv(GL_T, GL_EYE_PLANE, t);
    glEnable(GL_TEXTURE_GEN_S);
    glEnable(GL_TEXTURE_GEN_T);
}

void GL_Text3::drawShape(GL_RenderEvent* event)
{
    using Vertex = GL_Glyph::Solid::Vertex;
    const float size = scale(), depth = usedDepth();
    if (size == 0)
        return;
    const bool isPlain =
        event->traversal.isSelecting() || (event->flags & GL_RenderEvent::FillOnly);
    const bool isTextured = !isPlain && event->state.isEnabled(GL_State::Texture2D);
    if (isTextured)
        generateTexture(true);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    for (const Place& place : places()) {
        const GL_Glyph::Solid& solid = place.glyph->solid(m_step);
        if (solid.triangles.empty())
            continue;
        glPushMatrix();
        glTranslatef(place.at.x * size, place.at.y * size, std::min(depth, 0.0f));
        glScalef(size, size, depth != 0 ? std::abs(depth) : 1);
        if (depth == 0)
            glTranslatef(0, 0, -1); // only the front is drawn, and stands at 1
        glVertexPointer(3, GL_FLOAT, sizeof(Vertex), &solid.vertices[0].point.x);
        glNormalPointer(GL_FLOAT, sizeof(Vertex), &solid.vertices[0].normal.x);
        glDrawElements(GL_TRIANGLES,
                       GLsizei(depth != 0 ? solid.triangles.size() : solid.frontCount),
                       GL_UNSIGNED_INT, solid.triangles.data());
        glPopMatrix();
    }
    glDisableClientState(GL_VERTEX_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    if (isTextured)
        generateTexture(false);
}
