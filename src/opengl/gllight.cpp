#include "opengl/gllight.h"

#include "kernel/vevent.h"
#include "kernel/vzylfields_p.h"
#include "opengl/glframe_p.h"
#include "opengl/glglyph_p.h"
#include "opengl/glscene.h"
#include "opengl/glviewer.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

using geometry::Matrix4f;
using geometry::Vector3f;
using geometry::Vector4f;
using zylfields::field;

namespace
{
constexpr float glyphPixels = 10; // radius
constexpr int glyphSegments = 16;
constexpr float steepest = 75; // degrees; a wider cone is drawn as this
constexpr float radians = 0.017453293f;

/// Three circles, each seen from the front along one axis.
void drawBall(float radius)
{
    GL_Object::drawCircle(radius, 0, glyphSegments);
    for (const Vector3f& axis : {Vector3f(1, 0, 0), Vector3f(0, 1, 0)}) {
        const glyph::Space space(glyph::along(axis));
        GL_Object::drawCircle(radius, 0, glyphSegments);
    }
}

/// From the origin along z.
void drawCone(float length, float radius)
{
    GL_Object::drawCircle(radius, length, glyphSegments);
    for (const float side : {-radius, radius}) {
        glyph::line(Vector3f(), Vector3f(side, 0, length));
        glyph::line(Vector3f(), Vector3f(0, side, length));
    }
}
} // namespace

struct GL_Light::Stored {
    static constexpr auto fields =
        std::tuple(field("ambient", 0x80, &GL_Light::m_ambient, VColor(0xFF000000u)),
                   field("specular", 0x81, &GL_Light::m_specular, VColor(0xFFFFFFFFu)),
                   field("position", 0x82, &GL_Light::m_position, Vector3f()),
                   field("direction", 0x83, &GL_Light::m_direction, Vector3f(0, 0, -1)),
                   field("spotExponent", 0x84, &GL_Light::m_spotExponent, 0),
                   field("spotCutoff", 0x85, &GL_Light::m_spotCutoff, 180),
                   field("constantAttenuation", 0x86, &GL_Light::m_constantAttenuation, 1),
                   field("linearAttenuation", 0x87, &GL_Light::m_linearAttenuation, 0),
                   field("quadraticAttenuation", 0x88, &GL_Light::m_quadraticAttenuation, 0));
};

const VMetaClass GL_Light::metaClass("GL_Light", &GL_Light::factory, &GL_Object::metaClass);

ZYLObject* GL_Light::factory()
{
    return new GL_Light;
}

const VMetaClass* GL_Light::metaObject() const
{
    return &metaClass;
}

GL_Light::~GL_Light()
{
    if (m_number <= numberLimit)
        glDisable(GL_LIGHT0 + m_number);
}

GL_Light::LightType GL_Light::type() const
{
    if (!testFlags(Positional))
        return Directional;
    return m_spotCutoff == 180 ? Point : Spot;
}

void GL_Light::setPosition(const Vector3f& position)
{
    m_position = position;
    boundsChanged();
}

void GL_Light::setDirection(const Vector3f& direction)
{
    m_direction = direction;
    boundsChanged();
}

bool GL_Light::event(VEvent* event)
{
    if (GL_Object::event(event))
        return true;
    Matrix4f matrix = glyph::along(-m_direction, m_position);
    if (!transformEvent(event, matrix))
        return false;
    if (event->type() != VActionEvent::GetTransform) {
        m_direction = -geometry::normalize(glyph::row(matrix, 2)) * m_direction.length();
        setPosition(glyph::row(matrix, 3));
    }
    return true;
}

VFormatIO& GL_Light::read(VFormatIO& io)
{
    GL_Object::read(io);
    VZylStream* const stream = VZylStream::get(io);
    if (stream && !stream->dataStream()) {
        VColor diffuse;
        if (stream->read("diffuse", diffuse) > 0)
            setColor(diffuse);
    }
    zylfields::read(io, *this, Stored::fields);
    boundsChanged();
    return io;
}

VFormatIO& GL_Light::write(VFormatIO& io) const
{
    return zylfields::write(GL_Object::write(io), *this, Stored::fields);
}

void GL_Light::init(GL_Scene*)
{
    if (m_number > numberLimit)
        return;
    send(values());
    place();
}

void GL_Light::draw(GL_RenderEvent*)
{
    if (m_number > numberLimit)
        return;
    const GLenum id = GL_LIGHT0 + m_number;
    if (!testFlags(On)) {
        glDisable(id);
        return;
    }
    glEnable(id);
    const Values present = values();
    if (!m_isSent || !(present == m_sent))
        send(present);
    place();
}

void GL_Light::bounds(geometry::Box3f& box) const
{
    box = geometry::Box3f(m_position, m_position);
    if (type() != Point)
        box.include(m_direction);
}

void GL_Light::hit(GL_RenderEvent* event)
{
    const glyph::Space space(m_position);
    drawOutline(event);
}

bool GL_Light::drag(GL_Viewer* viewer, const geometry::Vector2i& from, const geometry::Vector2i& to)
{
    setPosition(m_position + viewer->localVector(this, from, to, m_position));
    return true;
}

void GL_Light::drawShape(GL_RenderEvent* event)
{
    const glyph::Space space(m_position);
    const bool isCurrent = event->scene && event->scene->currentObject() == this;
    glColor(isCurrent ? GL_Viewer::m_selectColor : GL_Viewer::m_boundColor);
    drawOutline(event);
}

bool GL_Light::Values::operator==(const Values& other) const
{
    return std::equal(std::begin(colors), std::end(colors), std::begin(other.colors)) &&
           std::equal(std::begin(numbers), std::end(numbers), std::begin(other.numbers));
}

/// GL refuses what is out of range, and would keep what the light had before.
GL_Light::Values GL_Light::values() const
{
    const auto least = [](float value) { return value > 0 ? value : 0.0f; };
    Values values = {{m_ambient, color(), m_specular},
                     {std::min(least(m_spotExponent), 128.0f), 180, least(m_constantAttenuation),
                      least(m_linearAttenuation), least(m_quadraticAttenuation)}};
    // GL would cut a directional light down to its cone, too.
    if (type() == Spot)
        values.numbers[1] = std::min(least(m_spotCutoff), 90.0f);
    return values;
}

void GL_Light::send(const Values& values)
{
    constexpr GLenum colorNames[] = {GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR};
    constexpr GLenum numberNames[] = {GL_SPOT_EXPONENT, GL_SPOT_CUTOFF, GL_CONSTANT_ATTENUATION,
                                      GL_LINEAR_ATTENUATION, GL_QUADRATIC_ATTENUATION};
    const GLenum id = GL_LIGHT0 + m_number;
    for (std::size_t i = 0; i < std::size(colorNames); ++i) {
        const Vector4f color(values.colors[i]);
        glLightfv(id, colorNames[i], &color.x);
    }
    for (std::size_t i = 0; i < std::size(numberNames); ++i)
        glLightf(id, numberNames[i], values.numbers[i]);
    m_sent = values;
    m_isSent = true;
}

void GL_Light::place() const
{
    const GLenum id = GL_LIGHT0 + m_number;
    const LightType kind = type();
    const Vector4f place =
        kind == Directional ? Vector4f(-m_direction, 0) : Vector4f(m_position, 1);
    glLightfv(id, GL_POSITION, &place.x);
    if (kind == Spot)
        glLightfv(id, GL_SPOT_DIRECTION, &m_direction.x);
}

/// Around the origin.
void GL_Light::drawOutline(GL_RenderEvent* event) const
{
    const float radius = glyphPixels * glyph::pixelSize(event->viewer, m_position);
    const LightType kind = type();
    if (kind == Point) {
        drawBall(radius);
        return;
    }
    const float length = 4 * radius;
    const glyph::Space space(glyph::along(m_direction));
    if (m_direction != Vector3f())
        glyph::arrow(length);
    if (kind == Spot) {
        const float angle = std::clamp(m_spotCutoff, 0.0f, steepest) * radians;
        drawCone(0.75f * length, 0.75f * length * std::tan(angle));
    } else {
        drawCircle(radius, 0, glyphSegments);
        drawCircle(radius, 0.5f * length, glyphSegments);
    }
}
