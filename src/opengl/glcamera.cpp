#include "opengl/glcamera.h"

#include "geometry/zylhmatrix.h"
#include "kernel/vevent.h"
#include "kernel/vzylfields_p.h"
#include "opengl/glframe_p.h"
#include "opengl/glglyph_p.h"
#include "opengl/glscene.h"
#include "opengl/glviewer.h"

#include <GL/glu.h>

#include <algorithm>
#include <cmath>
#include <memory>

using geometry::Matrix4f;
using geometry::Quaternion;
using geometry::Vector3f;
using zylfields::field;

namespace
{
constexpr float glyphPixels = 12; // half the length of the body
constexpr int ringSegments = 16;
constexpr double pi = 3.14159265358979323846;
constexpr float widest = 160; // degrees of the picture that is shown

struct DeleteQuadric {
    void operator()(GLUquadric* quadric) const { gluDeleteQuadric(quadric); }
};

/// A ring of lines around z, which opens to its end.
void drawRing(float from, float to, float startRadius, float endRadius)
{
    const std::unique_ptr<GLUquadric, DeleteQuadric> quadric(gluNewQuadric());
    if (!quadric)
        return;
    gluQuadricDrawStyle(quadric.get(), GLU_LINE);
    gluQuadricNormals(quadric.get(), GLU_NONE);
    const glyph::Space space(Vector3f(0, 0, from));
    gluCylinder(quadric.get(), startRadius, endRadius, to - from, ringSegments, 1);
}
} // namespace

struct GL_Camera::Stored {
    static constexpr auto fields =
        std::tuple(field("position", 0x80, &GL_Camera::m_position, Vector3f()),
                   field("orientation", 0x81, &GL_Camera::m_orientation, Quaternion()),
                   field("fov", 0x82, &GL_Camera::m_fov, 45),
                   field("aspectRatio", 0x83, &GL_Camera::m_aspectRatio, 1),
                   field("nearDistance", 0x84, &GL_Camera::m_nearDistance, 0.1f),
                   field("farDistance", 0x85, &GL_Camera::m_farDistance, 100),
                   field("focalDistance", 0x86, &GL_Camera::m_focalDistance, 1));
};

const VMetaClass GL_Camera::metaClass("GL_Camera", &GL_Camera::factory, &GL_Object::metaClass);

ZYLObject* GL_Camera::factory()
{
    return new GL_Camera;
}

const VMetaClass* GL_Camera::metaObject() const
{
    return &metaClass;
}

bool GL_Camera::event(VEvent* event)
{
    if (GL_Object::event(event))
        return true;
    Matrix4f changed = matrix();
    if (!transformEvent(event, changed))
        return false;
    if (event->type() == VActionEvent::GetTransform)
        return true;
    setPosition(glyph::row(changed, 3));
    // Scale, shear and mirroring have no meaning here: z stays, and y as near as it can.
    const Vector3f z = geometry::normalize(glyph::row(changed, 2));
    const Vector3f x = geometry::normalize(cross(glyph::row(changed, 1), z));
    if (x != Vector3f() && z != Vector3f())
        setOrientation(glyph::frame(x, cross(z, x), z, Vector3f()).getRotation());
    return true;
}

VFormatIO& GL_Camera::read(VFormatIO& io)
{
    zylfields::read(GL_Object::read(io), *this, Stored::fields);
    boundsChanged();
    return io;
}

VFormatIO& GL_Camera::write(VFormatIO& io) const
{
    return zylfields::write(GL_Object::write(io), *this, Stored::fields);
}

void GL_Camera::draw(GL_RenderEvent* event)
{
    const float size = glyphPixels * glyph::pixelSize(event->viewer, position());
    Matrix4f place = matrix();
    place.xrotate(float(pi)); // what follows is drawn along z
    const GL_FrameScope plain(event);
    const GL_MatrixScope scope(event->traversal, place);
    const bool isCurrent = event->scene && event->scene->currentObject() == this;
    glColor(!isSelected() ? color()
            : isCurrent   ? GL_Viewer::m_selectColor
                          : GL_Viewer::m_boundColor);
    drawGlyph(size);
}

void GL_Camera::bounds(geometry::Box3f& box) const
{
    box = geometry::Box3f(position(), position());
    box.include(target());
}

bool GL_Camera::drag(GL_Viewer* viewer, const geometry::Vector2i& from,
                     const geometry::Vector2i& to)
{
    setPosition(position() + viewer->localVector(this, from, to, position()));
    boundsChanged();
    return true;
}

/// From the camera's space to its parent's.
Matrix4f GL_Camera::matrix() const
{
    Matrix4f matrix;
    matrix.translate(position());
    matrix.rotate(orientation());
    return matrix;
}

/// A body with its lens, and the picture at the focal distance.
void GL_Camera::drawGlyph(float size) const
{
    drawBox(geometry::Box3f(-0.5f * size, -0.6f * size, -size, 0.5f * size, 0.6f * size, size));
    drawRing(size, 1.3f * size, 0.3f * size, 0.3f * size);
    drawRing(1.3f * size, 1.7f * size, 0.3f * size, 0.5f * size);

    const double half = std::clamp(fov(), 0.0f, widest) * pi / 360;
    const float depth = focalDistance();
    const float y = depth * float(std::tan(half));
    const float x = y * aspectRatio();
    const Vector3f corners[] = {{-x, -y, depth}, {x, -y, depth}, {x, y, depth}, {-x, y, depth}};
    glBegin(GL_LINE_LOOP);
    for (const Vector3f& corner : corners)
        glyph::vertex(corner);
    glEnd();
    for (const Vector3f& corner : corners)
        glyph::line(Vector3f(), corner);
    glyph::line(Vector3f(), Vector3f(0, 0, depth)); // to the target
}
