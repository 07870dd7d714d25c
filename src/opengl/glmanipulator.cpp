#include "opengl/glmanipulator.h"

#include "geometry/zylquaternion.h"
#include "kernel/vevent.h"
#include "opengl/glframe_p.h"
#include "opengl/glglyph_p.h"
#include "opengl/glgroup.h"
#include "opengl/glscene.h"
#include "opengl/glviewer.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

using geometry::Matrix4f;
using geometry::Vector2i;
using geometry::Vector3f;

namespace
{
constexpr VColor axisColors[] = {VColor(0xFFFF3030u), VColor(0xFF30E030u), VColor(0xFF5080FFu)};
constexpr float handlePixels = 60; // from the origin to a handle's tip
constexpr float tip = 0.08f;       // half the width of a tip, as a part of that
constexpr int circleSegments = 48;
/// A plane or a line that the pointer's ray meets at less than this sine tells no place.
constexpr float leastSine = 0.15f;
constexpr float largestFactor = 100; // of one step of a drag
constexpr float doublingPixels = 100;

/// Draws over what is there, in plain colours, and puts everything back.
class Overlay
{
public:
    Overlay()
    {
        glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT | GL_LINE_BIT | GL_POLYGON_BIT |
                     GL_VIEWPORT_BIT | GL_TRANSFORM_BIT);
        for (const GLenum off : {GL_DEPTH_TEST, GL_LIGHTING, GL_TEXTURE_2D, GL_CULL_FACE, GL_FOG,
                                 GL_BLEND, GL_ALPHA_TEST})
            glDisable(off);
        glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
        glLineWidth(1);
    }
    ~Overlay() { glPopAttrib(); }
    Overlay(const Overlay&) = delete;
    Overlay& operator=(const Overlay&) = delete;
};

struct Stroke {
    float x0, y0, x1, y1;
};
constexpr Stroke letterX[] = {{-1, -1, 1, 1}, {-1, 1, 1, -1}};
constexpr Stroke letterY[] = {{-1, 1, 0, 0}, {1, 1, 0, 0}, {0, 0, 0, -1}};
constexpr Stroke letterZ[] = {{-1, 1, 1, 1}, {1, 1, -1, -1}, {-1, -1, 1, -1}};

template <std::size_t N>
void drawLetter(const Stroke (&strokes)[N], const Vector3f& center)
{
    constexpr float half = 0.1f;
    for (const Stroke& stroke : strokes)
        glyph::line(center + Vector3f(stroke.x0, stroke.y0, 0) * half,
                    center + Vector3f(stroke.x1, stroke.y1, 0) * half);
}

/// A pyramid that ends at 1 on the z axis.
void drawPoint()
{
    glBegin(GL_TRIANGLE_FAN);
    glVertex3f(0, 0, 1);
    for (const Stroke& corner : {Stroke{1, 1, 0, 0}, Stroke{-1, 1, 0, 0}, Stroke{-1, -1, 0, 0},
                                 Stroke{1, -1, 0, 0}, Stroke{1, 1, 0, 0}})
        glVertex3f(corner.x0 * tip, corner.y0 * tip, 1 - 3 * tip);
    glEnd();
}

/// A cube around a point of the z axis.
void drawCube(float z)
{
    glBegin(GL_QUADS);
    for (int axis = 0; axis < 3; ++axis) {
        for (const float side : {-tip, tip}) {
            for (const Stroke& corner : {Stroke{-1, -1, 0, 0}, Stroke{1, -1, 0, 0},
                                         Stroke{1, 1, 0, 0}, Stroke{-1, 1, 0, 0}}) {
                Vector3f v;
                v[axis] = side;
                v[(axis + 1) % 3] = corner.x0 * tip;
                v[(axis + 2) % 3] = corner.y0 * tip;
                glVertex3f(v.x, v.y, v.z + z);
            }
        }
    }
    glEnd();
}

Matrix4f parentSpace(const GL_Object* node)
{
    Matrix4f matrix;
    if (node->parent())
        node->parent()->hasTransform(matrix);
    return matrix;
}

/// False for a node that has no matrix. A plain group would hand the question on to its children.
bool ownMatrix(GL_Object* node, Matrix4f& matrix)
{
    if (node->inherits(&GL_Group::metaClass) && !node->inherits(&GL_Joint::metaClass))
        return false;
    VActionEvent question(VActionEvent::GetTransform, &matrix);
    return node->event(&question);
}

struct Ray {
    Vector3f origin;
    Vector3f direction;

    Ray(const GL_Viewer* viewer, const Vector2i& pixel)
    {
        viewer->boreVector(pixel.x, pixel.y, origin, direction);
    }

    /// How far along a line, from its origin, the ray comes closest to it.
    bool closest(const Vector3f& start, const Vector3f& axis, float& place) const
    {
        const float cosine = dot(axis, direction);
        const float sine2 = 1 - cosine * cosine;
        if (!(sine2 > leastSine * leastSine))
            return false;
        const Vector3f between = start - origin;
        place = (cosine * dot(between, direction) - dot(between, axis)) / sine2;
        return std::isfinite(place);
    }

    /// Where the ray meets a plane, seen from `center` in it.
    bool meets(const Vector3f& center, const Vector3f& normal, Vector3f& point) const
    {
        const float sine = dot(direction, normal);
        if (!(std::fabs(sine) > leastSine))
            return false;
        const float distance = dot(center - origin, normal) / sine;
        point = origin + direction * distance - center;
        return distance > 0;
    }
};

/// From a point towards the eye.
Vector3f toEye(const GL_Viewer* viewer, const Vector3f& point)
{
    const bool isPerspective = viewer->testFlags(GL_Viewer::Perspective);
    return geometry::normalize(isPerspective ? viewer->eyePosition() - point : viewer->eyeVector());
}

/// The angle by which a turn about the axis takes one pixel to the other.
bool turnAngle(const GL_Viewer* viewer, const Vector2i& from, const Vector2i& to,
               const Vector3f& center, const Vector3f& axis, float& angle)
{
    const Ray start(viewer, from);
    const Ray end(viewer, to);
    Vector3f a, b;
    if (start.meets(center, axis, a) && end.meets(center, axis, b)) {
        angle = std::atan2(dot(axis, cross(a, b)), dot(a, b));
        return true;
    }
    // Seen from the edge, the near side of the circle follows the pointer.
    const float radius = handlePixels * glyph::pixelSize(viewer, center);
    const Vector3f along = cross(axis, toEye(viewer, center));
    angle = dot(viewer->worldVector(from, to, center), along) / radius;
    return std::isfinite(angle);
}
} // namespace

const VMetaClass GL_Manipulator::metaClass("GL_Manipulator", &ZYLObject::factory,
                                           &GL_Object::metaClass);

const VMetaClass* GL_Manipulator::metaObject() const
{
    return &metaClass;
}

void GL_Manipulator::setTarget(GL_Object* target)
{
    m_target = target == this ? nullptr : target;
    setFlags(Rebuild, true);
}

void GL_Manipulator::draw(GL_RenderEvent* event)
{
    drawAll(event, false);
    setFlags(Rebuild, false);
}

void GL_Manipulator::hit(GL_RenderEvent* event)
{
    drawAll(event, true);
}

GL_Object* GL_Manipulator::identify(unsigned*, unsigned)
{
    return m_target;
}

bool GL_Manipulator::drag(GL_Viewer* viewer, const Vector2i& from, const Vector2i& to)
{
    if (!m_target || m_handle < X || m_handle >= HandleCount) {
        bool moved = false;
        if (const GL_Scene* const scene = viewer->scene())
            for (GL_Object* object : scene->selection())
                if (object != this && object->drag(viewer, from, to))
                    moved = true;
        return moved;
    }
    Matrix4f place, inWorld;
    if (!frame(place) || !change(viewer, from, to, place, inWorld))
        return false;

    const Matrix4f parent = parentSpace(m_target);
    if (parent.det3(0, 1, 2, 0, 1, 2) == 0)
        return false;
    const Matrix4f back = parent.invert();
    Matrix4f local;
    // A mere offset stays one, whatever the rounding of the matrices around it.
    if (inWorld.flags() == 1)
        local.translate(back.map(glyph::row(inWorld, 3)) - glyph::row(back, 3));
    else
        local = parent * inWorld * back;
    VActionEvent step(VActionEvent::TransformAfter, &local);
    return m_target->event(&step);
}

bool GL_Manipulator::frame(Matrix4f& matrix) const
{
    if (!m_target)
        return false;
    Matrix4f own;
    const Matrix4f parent = parentSpace(m_target);
    if (!ownMatrix(m_target, own)) {
        geometry::Box3f box;
        m_target->bounds(box);
        if (box.isEmpty())
            return false;
        own.translate(box.center());
    }
    const Matrix4f world = own * parent;
    Vector3f axes[3];
    for (int i = 0; i < 3; ++i) {
        axes[i] = glyph::row(world, i);
        const float length = axes[i].normalize();
        if (!(length > 0) || !std::isfinite(length))
            return false;
    }
    matrix = glyph::frame(axes[0], axes[1], axes[2], glyph::row(world, 3));
    return true;
}

void GL_Manipulator::drawAll(GL_RenderEvent* event, bool named)
{
    Matrix4f place;
    if (!event->viewer || !frame(place))
        return;
    const Vector3f origin = glyph::row(place, 3);
    const Vector3f towards = toEye(event->viewer, origin);
    const float size = handlePixels * glyph::pixelSize(event->viewer, origin);
    const Overlay overlay;
    if (named)
        glPushName(0);
    for (int handle = X; handle < HandleCount; ++handle) {
        const bool isFree = handle == Free;
        // An axis seen from its end can't be dragged along, and would cover the free handle.
        if (!isFree && m_kind != Rotate &&
            cross(glyph::row(place, handle), towards).length() <= leastSine)
            continue;
        const Matrix4f& from = isFree ? event->viewer->inverse() : place;
        const auto axis = [&](int i) {
            return geometry::normalize(glyph::row(from, isFree ? i : (handle + 1 + i) % 3)) * size;
        };
        const VColor color = isFree ? GL_Viewer::m_handleColor : axisColors[handle];
        glColor(handle == m_handle ? GL_Viewer::m_boundColor : color);
        if (named)
            glLoadName(unsigned(handle));
        const glyph::Space space(glyph::frame(axis(0), axis(1), axis(2), origin));
        drawHandle(handle);
    }
    if (named)
        glPopName();
}

void GL_Manipulator::drawHandle(int handle) const
{
    if (m_kind == Rotate) {
        drawCircle(handle == Free ? 1.2f : 1.0f, 0, circleSegments);
    } else if (handle == Free) {
        drawCube(0);
    } else {
        // Off the origin, so that the free handle there can be picked.
        glyph::line(Vector3f(0, 0, 2 * tip), Vector3f(0, 0, 1 - 2 * tip));
        if (m_kind == Scale)
            drawCube(1 - tip);
        else
            drawPoint();
    }
}

bool GL_Manipulator::change(GL_Viewer* viewer, const Vector2i& from, const Vector2i& to,
                            const Matrix4f& frame, Matrix4f& matrix) const
{
    const Vector3f origin = glyph::row(frame, 3);
    const bool isFree = m_handle == Free;
    const Vector3f axis = isFree ? Vector3f() : glyph::row(frame, m_handle);
    matrix.makeIdentity();

    if (m_kind == Rotate) {
        matrix.translate(origin);
        if (isFree) {
            // The trackball turns in the eye's space.
            matrix.rotate(viewer->orientation().conjugate());
            matrix.rotate(viewer->turn(from, to));
            matrix.rotate(viewer->orientation());
        } else {
            float angle;
            if (!turnAngle(viewer, from, to, origin, axis, angle))
                return false;
            matrix.rotate(axis, angle);
        }
        matrix.translate(-origin);
        return true;
    }

    if (isFree && m_kind == Translate) {
        matrix.translate(viewer->worldVector(from, to, origin));
        return true;
    }
    if (isFree) {
        const float factor = std::exp2(float(to.y - from.y) / doublingPixels);
        matrix.translate(origin);
        matrix.scale(std::clamp(factor, 1 / largestFactor, largestFactor));
        matrix.translate(-origin);
        return true;
    }

    float start, end;
    if (!Ray(viewer, from).closest(origin, axis, start) ||
        !Ray(viewer, to).closest(origin, axis, end))
        return false;
    if (m_kind == Translate) {
        matrix.translate(axis * (end - start));
        return true;
    }
    // Through the origin would turn the node inside out.
    const float factor = end / start;
    if (!(factor > 1 / largestFactor) || !(factor < largestFactor))
        return false;
    Vector3f factors(1, 1, 1);
    factors[m_handle] = factor;
    matrix = frame;
    matrix.scale(factors);
    matrix = frame.invert() * matrix;
    return true;
}

void GL_Manipulator::drawAxis(GL_Viewer* viewer)
{
    constexpr int largest = 80;
    constexpr double reach = 1.4; // of the axes with their letters
    const GL_Viewport& view = viewer->viewport();
    const int size = std::min({largest, view.width, view.height});
    if (size < 1)
        return;

    const Overlay overlay;
    glViewport(view.x, view.y, size, size);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glOrtho(-reach, reach, -reach, reach, -reach, reach);
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();

    // Without the depth test, the axes that point away come first.
    Matrix4f turn;
    turn.rotate(viewer->orientation());
    int order[] = {0, 1, 2};
    std::sort(std::begin(order), std::end(order),
              [&turn](int a, int b) { return turn.m[a][2] < turn.m[b][2]; });
    for (const int axis : order) {
        const Vector3f end = glyph::row(turn, axis);
        const Vector3f letter = end * 1.2f;
        glColor(axisColors[axis]);
        glyph::line(Vector3f(), end);
        if (axis == 0)
            drawLetter(letterX, letter);
        else if (axis == 1)
            drawLetter(letterY, letter);
        else
            drawLetter(letterZ, letter);
    }

    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
}
