#include "opengl/glshape.h"

#include "kernel/vformatio.h"
#include "opengl/glframe_p.h"
#include "opengl/glscene.h"
#include "opengl/gltransform_p.h"
#include "opengl/glviewer.h"

#include <GL/gl.h>

namespace
{
constexpr quint8 materialTag = 0x13;

/// Flags that are words of their own in the text form, and travel in the flags word too.
constexpr struct {
    const char* key;
    unsigned flag;
} bareWords[] = {
    {"smoothAngle", GL_Object::SmoothAngle},
    {"clockwise", GL_Object::Clockwise},
    {"cullFace", GL_Object::CullFace},
};

GL_Material* findMaterial(VZylStream& stream, const char* name)
{
    auto* const scene = static_cast<GL_Scene*>(stream.io()->container("scene"));
    GL_Material* const found = scene ? scene->findMaterial(name) : nullptr;
    if (!found)
        stream.report(VFormatDiagnostics::UnresolvedName, QString::fromLatin1(name));
    return found;
}
} // namespace

const VMetaClass GL_Shape::metaClass("GL_Shape", &ZYLObject::factory, &GL_Object::metaClass);

const VMetaClass* GL_Shape::metaObject() const
{
    return &metaClass;
}

GL_Shape::GL_Shape() : GL_Object(Kind::Shape, Stale)
{
    setFlags(Lit | StyleMask | 1u << shadingShift);
}

void GL_Shape::setTransform(const geometry::Matrix4f& transform)
{
    m_transform = transform;
    boundsChanged();
}

void GL_Shape::setShapeBounds(const geometry::Box3f& bounds)
{
    m_bounds = bounds;
    boundsChanged();
}

bool GL_Shape::event(VEvent* event)
{
    return GL_Object::event(event) || transformEvent(event, m_transform);
}

VFormatIO& GL_Shape::read(VFormatIO& io)
{
    GL_Object::read(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QCString material;
    if (QDataStream* const data = stream->dataStream()) {
        quint8 tag;
        while (zylfields::nextTag(*data, tag)) {
            if (tag == materialTag) {
                zylfields::get(*data, material);
                m_material = findMaterial(*stream, material);
            } else if (!gltransform::read(*data, tag, m_transform)) {
                zylfields::putBack(*data, tag);
                break;
            }
        }
    } else {
        stream->read("transform", m_transform);
        if (stream->read("material", material) > 0)
            m_material = findMaterial(*stream, material);
        // Their bits stand in the flags word too, but here the words count.
        int value = 0;
        if (stream->read("style", value) > 0)
            setStyle(Style(value & 3));
        if (stream->read("shadingModel", value) > 0)
            setShadingModel(value & 3);
        for (const auto& word : bareWords)
            if (stream->contains(word.key))
                setFlags(word.flag, true);
    }
    boundsChanged();
    return io;
}

VFormatIO& GL_Shape::write(VFormatIO& io) const
{
    GL_Object::write(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    gltransform::write(*stream, m_transform);
    const char* const material = m_material ? m_material->name(nullptr) : nullptr;
    if (QDataStream* const data = stream->dataStream()) {
        if (material) {
            *data << materialTag;
            zylfields::put(*data, material);
        }
        return io;
    }
    if (material)
        zylfields::writeText(*stream, "material", material);
    if (style() != Filled)
        zylfields::writeText(*stream, "style", int(style()));
    if (shadingModel() != 0)
        zylfields::writeText(*stream, "shadingModel", shadingModel());
    for (const auto& word : bareWords)
        if (testFlags(word.flag))
            zylfields::writeWord(*stream, word.key);
    return io;
}

// Drawing

bool GL_Shape::shouldRender(GL_RenderEvent* event) const
{
    return event->pass < 1 || (m_material && m_material->shouldRender(event));
}

/// Whether the back faces can be left out without a difference, as far as it doesn't depend on the
/// material: none of them shows from outside of a closed shape, of which all is in front of the
/// near plane.
bool GL_Shape::hidesBackFaces(GL_RenderEvent* event) const
{
    constexpr unsigned inTheWay = GL_RenderEvent::KeepCulling | GL_RenderEvent::FillOnly;
    return m_closed && !testFlags(Clockwise | CullFace) && !(event->flags & inTheWay) &&
           !event->traversal.isSelecting() && event->state.hidesCovered() &&
           !event->traversal.reachesNear(*this);
}

void GL_Shape::draw(GL_RenderEvent* event)
{
    GL_State& state = event->state;
    const bool selecting = event->traversal.isSelecting();
    const bool hideBack = hidesBackFaces(event);
    const GL_MatrixScope scope(event->traversal, m_transform);
    const bool flip = event->traversal.isMirrored() != testFlags(Clockwise);
    if (!selecting)
        state.borrow();

    if (event->flags & GL_RenderEvent::FillOnly) {
        drawFilled(event, flip, false);
    } else if (!(event->viewer && event->viewer->testFlags(GL_Viewer::HideShapes)) &&
               !(event->pass == 0 && m_material && !m_material->shouldRender(event))) {
        if (!selecting)
            applyLook(event);
        if (style() == Filled) {
            drawFilled(event, flip, hideBack);
        } else {
            state.setPolygonMode(style() == Points ? GL_POINT : GL_LINE);
            if (!selecting && testFlags(Lit))
                glColor(color());
            if (!(event->flags & GL_RenderEvent::KeepCulling))
                state.setEnabled(GL_State::CullFace, false);
            drawShape(event);
        }
    }
    if (event->pass <= 0 && isSelected())
        drawSelected(*this, event);
}

/// Lighting, shading and material.
void GL_Shape::applyLook(GL_RenderEvent* event)
{
    GL_State& state = event->state;
    const bool lit = testFlags(Lit);
    state.setEnabled(GL_State::Lighting, lit);
    state.setEnabled(GL_State::AutoNormal, lit);
    if (lit)
        state.setEnabled(GL_State::Normalize, true);
    else
        glColor(color());
    state.setShadeModel(testFlags(ShadingMask) ? GL_SMOOTH : GL_FLAT);

    // Shapes in a row with one material pay for it once.
    if (!m_material || m_material != event->material) {
        event->material = m_material;
        if (m_material) {
            m_material->draw(event);
        } else {
            event->defaultMaterial.setDiffuse(geometry::Vector4f(color()));
            event->defaultMaterial.draw(event);
        }
    }
    // A shape without texture coordinates shows the point of the texture that those lead to which
    // stood before any shape was drawn.
    if (state.isEnabled(GL_State::Texture2D))
        state.resetTextureCoords();
}

void GL_Shape::drawFilled(GL_RenderEvent* event, bool flip, bool hideBack)
{
    GL_State& state = event->state;
    state.setPolygonMode(GL_FILL);
    if (!(event->flags & GL_RenderEvent::KeepCulling)) {
        if (hideBack && !state.isEnabled(GL_State::Blend) && !state.isEnabled(GL_State::AlphaTest))
            state.hideBackFaces();
        else
            state.setEnabled(GL_State::CullFace, testFlags(CullFace));
    }
    if (flip)
        state.setFrontFace(GL_CW);
    drawShape(event);
    if (flip)
        state.setFrontFace(GL_CCW);
}

void GL_Shape::drawShape(GL_RenderEvent*) {}

void GL_Shape::drawHandles(GL_RenderEvent*)
{
    GL_Object::drawHandles(m_bounds);
}

void GL_Shape::drawHull(GL_RenderEvent*)
{
    drawBox(m_bounds);
}

void GL_Shape::autoTextureGen(bool on)
{
    if (!on) {
        glDisable(GL_TEXTURE_GEN_S);
        glDisable(GL_TEXTURE_GEN_T);
        return;
    }
    const float dx = m_bounds.max.x - m_bounds.min.x;
    const float dy = m_bounds.max.y - m_bounds.min.y;
    geometry::Vector4f s(1, 0, 0, 0), t(0, 1, 0, 0);
    // The constant is added where a plane through the border would have it subtracted: pictures of
    // stored scenes hang on it.
    if (dx > 0)
        s = geometry::Vector4f(1 / dx, 0, 0, m_bounds.min.x / dx);
    if (dy > 0)
        t = geometry::Vector4f(0, 1 / dy, 0, m_bounds.min.y / dy);
    glTexGeni(GL_S, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR);
    glTexGeni(GL_T, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR);
    glTexGenfv(GL_S, GL_OBJECT_PLANE, &s.x);
    glTexGenfv(GL_T, GL_OBJECT_PLANE, &t.x);
    glEnable(GL_TEXTURE_GEN_S);
    glEnable(GL_TEXTURE_GEN_T);
}

// Placement

bool GL_Shape::hasTransform(geometry::Matrix4f& matrix) const
{
    matrix *= m_transform;
    GL_Object::hasTransform(matrix);
    return true;
}

void GL_Shape::bounds(geometry::Box3f& box) const
{
    box = m_bounds;
    box.transform(m_transform);
}

bool GL_Shape::drag(GL_Viewer* viewer, const geometry::Vector2i& from, const geometry::Vector2i& to)
{
    m_transform.translate(viewer->localVector(this, from, to, geometry::Vector3f()));
    boundsChanged();
    return true;
}
