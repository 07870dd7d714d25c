#include "opengl/gltext2.h"

#include "kernel/vzylfields_p.h"
#include "opengl/glcurve_p.h"
#include "opengl/glfont.h"
#include "opengl/glframe_p.h"
#include "opengl/glglyph_p.h"
#include "opengl/glglyphatlas_p.h"
#include "opengl/gltextglyph.h"
#include "opengl/gltransform_p.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

using geometry::Box2f;
using geometry::Box3f;
using geometry::Matrix4f;
using geometry::Vector3f;

namespace
{
constexpr char labelWord[] = "label";

// Pixels to the em from which on pictures would show their own pixels.
constexpr float mostPictured = 1.5f * GL_GlyphAtlas::resolution;

/// Puts switches back at the end of the scope.
class SwitchScope
{
public:
    explicit SwitchScope(GL_State& state) : m_state(state)
    {
        for (std::size_t i = 0; i < std::size(switches); ++i)
            m_on[i] = state.isEnabled(switches[i]);
    }
    ~SwitchScope()
    {
        for (std::size_t i = 0; i < std::size(switches); ++i)
            m_state.setEnabled(switches[i], m_on[i]);
    }
    SwitchScope(const SwitchScope&) = delete;
    SwitchScope& operator=(const SwitchScope&) = delete;

private:
    static constexpr GL_State::Switch switches[] = {GL_State::Blend, GL_State::AlphaTest,
                                                    GL_State::Texture2D};
    GL_State& m_state;
    bool m_on[std::size(switches)];
};
} // namespace

/// The space that the text is drawn in, current until the end of the scope.
class GL_Text2::Space
{
public:
    Space(const GL_Text2& text, GL_RenderEvent* event) : m_scope(event->traversal, text.m_transform)
    {
        const Matrix4f& matrix = event->traversal.matrix();
        if (text.isLabel()) {
            const Vector3f origin = glyph::row(matrix, 3);
            const float pixel = glyph::pixelSizeAt(event->viewer, origin.z);
            const Matrix4f upright = glyph::frame(Vector3f(pixel, 0, 0), Vector3f(0, pixel, 0),
                                                  Vector3f(0, 0, pixel), origin);
            glPushMatrix();
            glLoadMatrixf(&upright.m[0][0]);
            m_isPushed = true;
            m_emPixels = text.scale();
        } else {
            // Where the text comes nearest it needs the most detail.
            const Box2f box = text.textBounds();
            float nearest = -HUGE_VALF;
            for (const float x : {box.min.x, box.max.x})
                for (const float y : {box.min.y, box.max.y})
                    nearest = std::max(nearest, matrix.map(Vector3f(x, y, 0)).z);
            const float scale =
                std::max(glyph::row(matrix, 0).length(), glyph::row(matrix, 1).length());
            m_emPixels =
                text.scale() * scale / glyph::pixelSizeAt(event->viewer, std::min(nearest, -1e-6f));
        }
    }
    ~Space()
    {
        if (m_isPushed)
            glPopMatrix();
    }
    Space(const Space&) = delete;
    Space& operator=(const Space&) = delete;

    float emPixels() const { return m_emPixels; }

private:
    GL_MatrixScope m_scope;
    bool m_isPushed = false;
    float m_emPixels;
};

const VMetaClass GL_Text2::metaClass("GL_Text2", &GL_Text2::factory, &GL_Object::metaClass);

ZYLObject* GL_Text2::factory()
{
    return new GL_Text2;
}

const VMetaClass* GL_Text2::metaObject() const
{
    return &metaClass;
}

GL_Text2::GL_Text2()
{
    setExtent(Stale);
}

void GL_Text2::setTransform(const Matrix4f& transform)
{
    m_transform = transform;
    boundsChanged();
}

void GL_Text2::setLabel(bool on)
{
    setFlags(Label, on);
    layoutChanged();
}

bool GL_Text2::event(VEvent* event)
{
    return GL_Object::event(event) || transformEvent(event, m_transform) || textEvent(event);
}

// Files

VFormatIO& GL_Text2::read(VFormatIO& io)
{
    GL_Object::read(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    if (QDataStream* const data = stream->dataStream()) {
        quint8 tag;
        while (zylfields::nextTag(*data, tag)) {
            if (!gltransform::read(*data, tag, m_transform)) {
                zylfields::putBack(*data, tag);
                break;
            }
        }
    } else {
        stream->read("transform", m_transform);
        if (stream->contains(labelWord))
            setFlags(Label, true);
    }
    readLayout(io);
    layoutChanged();
    return io;
}

VFormatIO& GL_Text2::write(VFormatIO& io) const
{
    GL_Object::write(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    gltransform::write(*stream, m_transform);
    if (isLabel() && !stream->dataStream())
        zylfields::writeWord(*stream, labelWord);
    writeLayout(io);
    return io;
}

// Extent

void GL_Text2::init(GL_Scene* scene)
{
    initLayout(scene);
    if (scene)
        scene->raisePasses(2);
}

void GL_Text2::layoutChanged()
{
    // A label reaches as far as the view tells.
    setExtent(isLabel() ? Unknown : Stale);
    m_hasPictures = false;
    m_pictures.clear();
    m_others.clear();
    boundsChanged();
}

bool GL_Text2::shouldRender(GL_RenderEvent* event) const
{
    return event->pass < 0 || event->pass == 1;
}

bool GL_Text2::hasTransform(Matrix4f& matrix) const
{
    matrix *= m_transform;
    GL_Object::hasTransform(matrix);
    return true;
}

Box3f GL_Text2::localBounds() const
{
    const Box2f box = textBounds();
    return box.isEmpty() ? Box3f() : Box3f(box.min.x, box.min.y, 0, box.max.x, box.max.y, 0);
}

void GL_Text2::bounds(Box3f& box) const
{
    box = isLabel() ? Box3f(Vector3f(), Vector3f()) : localBounds();
    if (!box.isEmpty())
        box.transform(m_transform);
}

bool GL_Text2::drag(GL_Viewer* viewer, const geometry::Vector2i& from, const geometry::Vector2i& to)
{
    m_transform.translate(viewer->localVector(this, from, to, Vector3f()));
    boundsChanged();
    return true;
}

// Drawing

void GL_Text2::draw(GL_RenderEvent* event)
{
    if (event->traversal.isSelecting()) {
        hit(event);
        return;
    }
    if (scale() == 0 || lines().empty())
        return;
    const SwitchScope switches(event->state);
    const Space space(*this, event);
    if (event->flags & GL_RenderEvent::FillOnly)
        drawOutlines(places(), space.emPixels());
    else
        drawText(event, space.emPixels());
    if (isSelected())
        drawSelected(*this, event);
}

void GL_Text2::drawText(GL_RenderEvent* event, float emPixels)
{
    GL_State& state = event->state;
    state.setEnabled(GL_State::Lighting, false);
    state.setEnabled(GL_State::Texture2D, false);
    state.setPolygonMode(GL_FILL);
    if (!(event->flags & GL_RenderEvent::KeepCulling))
        state.setEnabled(GL_State::CullFace, false);
    state.setEnabled(GL_State::Blend, true);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    // Pixels without a letter mustn't hide what comes after, where there is no pass for that.
    state.setEnabled(GL_State::AlphaTest, event->pass < 0);
    glAlphaFunc(GL_GREATER, 0.05f);
    event->material = nullptr;
    glColor(color());
    // Letters on a wall stand out from it.
    glEnable(GL_POLYGON_OFFSET_FILL);
    const bool inPictures = emPixels <= mostPictured;
    if (inPictures)
        drawPictures(event);
    drawOutlines(inPictures ? m_others : places(), emPixels);
    glDisable(GL_POLYGON_OFFSET_FILL);
}

void GL_Text2::makePictures()
{
    m_hasPictures = true;
    GL_Font* const font = usedFont();
    GL_GlyphAtlas* const atlas = font ? font->atlas() : nullptr;
    const float size = scale();
    m_pictures.reserve(4 * places().size());
    for (const Place& place : places()) {
        const bool isOfFont = place.glyph != &GL_Glyph::box();
        const auto* const cell = atlas && isOfFont ? atlas->cell(place.glyph->index()) : nullptr;
        if (!cell) {
            m_others.push_back(place);
            continue;
        }
        const Box2f at((cell->box.min + place.at) * size, (cell->box.max + place.at) * size);
        const Box2f& texture = cell->texture;
        m_pictures.push_back({at.min, texture.min});
        m_pictures.push_back({{at.max.x, at.min.y}, {texture.max.x, texture.min.y}});
        m_pictures.push_back({at.max, texture.max});
        m_pictures.push_back({{at.min.x, at.max.y}, {texture.min.x, texture.max.y}});
    }
}

void GL_Text2::drawPictures(GL_RenderEvent* event)
{
    if (!m_hasPictures)
        makePictures();
    if (m_pictures.empty() || !usedFont()->atlas()->bind())
        return;
    event->state.setEnabled(GL_State::Texture2D, true);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glMatrixMode(GL_TEXTURE);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glVertexPointer(2, GL_FLOAT, sizeof(Corner), &m_pictures[0].at.x);
    glTexCoordPointer(2, GL_FLOAT, sizeof(Corner), &m_pictures[0].texture.x);
    glDrawArrays(GL_QUADS, 0, GLsizei(m_pictures.size()));
    glDisableClientState(GL_VERTEX_ARRAY);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    event->state.setEnabled(GL_State::Texture2D, false);
}

void GL_Text2::drawOutlines(const std::vector<Place>& places, float emPixels)
{
    const int steps = emPixels < 150 ? 4 : emPixels < 600 ? 8 : 16;
    const float size = scale();
    glEnableClientState(GL_VERTEX_ARRAY);
    for (const Place& place : places) {
        const GL_Glyph::Shape& shape = place.glyph->shape(steps);
        if (shape.triangles.empty())
            continue;
        glPushMatrix();
        glTranslatef(place.at.x * size, place.at.y * size, 0);
        glScalef(size, size, 1);
        glVertexPointer(2, GL_FLOAT, 0, &shape.points[0].x);
        glDrawElements(GL_TRIANGLES, GLsizei(shape.triangles.size()), GL_UNSIGNED_INT,
                       shape.triangles.data());
        glPopMatrix();
    }
    glDisableClientState(GL_VERTEX_ARRAY);
}

void GL_Text2::hit(GL_RenderEvent* event)
{
    if (scale() == 0 || lines().empty())
        return;
    const Space space(*this, event);
    event->state.setPolygonMode(GL_FILL);
    event->state.setEnabled(GL_State::CullFace, false);
    const float size = scale();
    glBegin(GL_QUADS);
    for (const Box2f& line : lines()) {
        const Box2f box(line.min * size, line.max * size);
        glVertex2f(box.min.x, box.min.y);
        glVertex2f(box.max.x, box.min.y);
        glVertex2f(box.max.x, box.max.y);
        glVertex2f(box.min.x, box.max.y);
    }
    glEnd();
}

void GL_Text2::drawHandles(GL_RenderEvent*)
{
    GL_Object::drawHandles(localBounds());
}

void GL_Text2::drawHull(GL_RenderEvent*)
{
    drawBox(localBounds());
}
