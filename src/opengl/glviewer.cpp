#include "opengl/glviewer.h"

#include "geometry/zylassert.h"
#include "kernel/vevent.h"
#include "opengl/glcamera.h"
#include "opengl/glscene.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

using geometry::Box3f;
using geometry::Matrix4f;
using geometry::Quaternion;
using geometry::Vector2i;
using geometry::Vector3f;

namespace
{
constexpr double pi = 3.14159265358979323846;
constexpr double leastLength = 1e-30; // of distances, diameters and zooms
constexpr float root = 0.70710677f;

constexpr Quaternion topView(0, 0, 0, 1);
constexpr Quaternion bottomView(0, -1, 0, 0);
constexpr Quaternion frontView(-root, 0, 0, root);
constexpr Quaternion backView(0, -root, -root, 0);
constexpr Quaternion leftView(-0.5f, 0.5f, 0.5f, 0.5f);
constexpr Quaternion rightView(-0.5f, -0.5f, -0.5f, 0.5f);

void checkPositive(double value, const char* condition, int line = __builtin_LINE())
{
    geometry::check(value > 0.0, condition, "opengl/glviewer", line);
}

double tangentOfHalf(double degrees)
{
    return std::tan(degrees * pi / 360);
}

double clampedAngle(double degrees)
{
    return std::min(175.0, std::max(2.0, degrees));
}

/// False, and the quaternion as it was, if it has no direction.
bool normalize(Quaternion& q)
{
    const double length =
        std::sqrt(double(q.x) * q.x + double(q.y) * q.y + double(q.z) * q.z + double(q.w) * q.w);
    if (!(length > 0) || !std::isfinite(length))
        return false;
    q = Quaternion(float(q.x / length), float(q.y / length), float(q.z / length),
                   float(q.w / length));
    return true;
}

bool isFinite(const Vector3f& v)
{
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

/// Hands the event to its handler if it is what its type says; true if it stayed accepted.
template <class Event>
bool deliver(GL_Viewer* viewer, void (GL_Viewer::*handler)(Event*), VEvent* event)
{
    Event* const own = dynamic_cast<Event*>(event);
    if (!own)
        return false;
    (viewer->*handler)(own);
    return own->isAccepted();
}
} // namespace

const VMetaClass GL_Viewer::metaClass("GL_Viewer", nullptr, &ZYLObject::metaClass);

VColor GL_Viewer::m_boundColor = VColor(0xFFFFFFFFu);
VColor GL_Viewer::m_selectColor = VColor(0xFF00FF00u);
VColor GL_Viewer::m_handleColor = VColor(0xFF00FF00u);

const VMetaClass* GL_Viewer::metaObject() const
{
    return &metaClass;
}

GL_Viewer::GL_Viewer()
{
    updateTransform();
}

GL_Viewer::~GL_Viewer() = default;

bool GL_Viewer::event(VEvent* event)
{
    if (!event)
        return ZYLObject::event(event);
    switch (event->type()) {
    case VEvent::MouseButtonPress:
        return deliver(this, &GL_Viewer::mousePressEvent, event);
    case VEvent::MouseButtonRelease:
        return deliver(this, &GL_Viewer::mouseReleaseEvent, event);
    case VEvent::MouseButtonDblClick:
        return deliver(this, &GL_Viewer::mouseDoubleClickEvent, event);
    case VEvent::MouseMove:
        return deliver(this, &GL_Viewer::mouseMoveEvent, event);
    case VEvent::Wheel:
        return deliver(this, &GL_Viewer::wheelEvent, event);
    case VEvent::TabletMove:
    case VEvent::TabletPress:
    case VEvent::TabletRelease:
        return deliver(this, &GL_Viewer::tabletEvent, event);
    case VEvent::ContextMenu:
        if (VContextMenuEvent* const menu = dynamic_cast<VContextMenuEvent*>(event))
            contextMenuEvent(menu);
        return false;
    case VActionEvent::SetCamera:
        if (VCustomEvent* const custom = dynamic_cast<VCustomEvent*>(event)) {
            ZYLObject* const object = static_cast<ZYLObject*>(custom->data());
            setCamera(dynamic_cast<GL_Camera*>(object));
            if (VActionEvent* const action = dynamic_cast<VActionEvent*>(event))
                action->accept();
            return true;
        }
        return false;
    default:
        return ZYLObject::event(event);
    }
}

void GL_Viewer::setHitBufferSize(int size)
{
    m_hitBufferSize = size;
    m_hitBuffer = VMemArray<unsigned>();
}

void GL_Viewer::setProjection(int projection)
{
    const bool perspective = projection & 1;
    if (perspective == testFlags(Perspective))
        return;
    setFlags(Perspective, perspective);
    updateProjection();
}

void GL_Viewer::setOrientation(const Quaternion& orientation)
{
    Quaternion turned = orientation;
    if (orientation == m_orientation || !normalize(turned) || turned == m_orientation)
        return;
    setView(turned);
}

void GL_Viewer::setCenter(const Vector3f& center)
{
    if (center == m_center)
        return;
    m_center = center;
    updateTransform();
    emitUpdate();
}

void GL_Viewer::setScale(const Vector3f& scale)
{
    // A smaller one would leave a matrix without inverse.
    constexpr float least = 0.000001f;
    const Vector3f clamped(std::max(least, scale.x), std::max(least, scale.y),
                           std::max(least, scale.z));
    if (clamped == m_scale)
        return;
    m_scale = clamped;
    updateTransform();
    emitUpdate();
}

void GL_Viewer::setFieldOfView(double degrees)
{
    const double clamped = clampedAngle(degrees);
    if (clamped == m_fieldOfView)
        return;
    m_fieldOfView = clamped;
    m_diameter = 2 * m_distance * tangentOfHalf(m_fieldOfView);
    updateProjection();
    emitUpdate();
}

void GL_Viewer::setDistance(double distance)
{
    const double clamped = std::max(leastLength, std::min(distance, 114 * m_diameter));
    if (clamped == m_distance)
        return;
    m_distance = clamped;
    setPlanes();
    updateProjection();
    updateTransform();
    emitUpdate();
}

void GL_Viewer::setPlanes()
{
    m_viewport.far = m_distance + m_diameter;
    m_viewport.near = 0.1 * m_viewport.far;
}

void GL_Viewer::setZoom(double zoom)
{
    const double clamped = std::max(leastLength, zoom);
    if (clamped == m_zoom)
        return;
    m_zoom = clamped;
    updateProjection();
    emitUpdate();
}

void GL_Viewer::setBackColor(VColor color)
{
    if (color == m_backColor)
        return;
    m_backColor = color;
    if (!testFlags(Quiet))
        emitUpdate();
}

void GL_Viewer::setAmbientColor(VColor color)
{
    if (color == m_ambientColor)
        return;
    m_ambientColor = color;
    if (!testFlags(Quiet))
        emitUpdate();
}

void GL_Viewer::setCamera(GL_Camera* camera)
{
    if (!camera)
        return;
    Quaternion turned = camera->orientation();
    m_orientation = normalize(turned) ? turned.conjugate() : Quaternion();
    m_center = camera->target();
    m_fieldOfView = clampedAngle(camera->fov());
    m_distance = std::max(leastLength, double(camera->focalDistance()));
    m_diameter = 2 * m_distance * tangentOfHalf(m_fieldOfView);
    m_viewport.near = camera->nearDistance();
    m_viewport.far = camera->farDistance();
    // A camera of a file can have planes between which GL sees nothing.
    if (!(m_viewport.near > 0 && m_viewport.far > m_viewport.near))
        setPlanes();
    m_zoom = 1;
    updateProjection();
    updateTransform();
    emitUpdate();
}

void GL_Viewer::translate(const Vector3f& offset)
{
    setCenter(m_center + offset);
}

void GL_Viewer::setView(const Quaternion& orientation)
{
    m_orientation = orientation;
    updateTransform();
    emitUpdate();
}

bool GL_Viewer::isView(const Quaternion& orientation) const
{
    const auto isNear = [](float a, float b) { return std::fabs(a - b) < 0.001f; };
    return isNear(m_orientation.x, orientation.x) && isNear(m_orientation.y, orientation.y) &&
           isNear(m_orientation.z, orientation.z) && isNear(m_orientation.w, orientation.w);
}

// clang-format off
void GL_Viewer::top() { setView(topView); }
void GL_Viewer::bottom() { setView(bottomView); }
void GL_Viewer::front() { setView(frontView); }
void GL_Viewer::back() { setView(backView); }
void GL_Viewer::left() { setView(leftView); }
void GL_Viewer::right() { setView(rightView); }
bool GL_Viewer::isTop() const { return isView(topView); }
bool GL_Viewer::isBottom() const { return isView(bottomView); }
bool GL_Viewer::isFront() const { return isView(frontView); }
bool GL_Viewer::isBack() const { return isView(backView); }
bool GL_Viewer::isLeft() const { return isView(leftView); }
bool GL_Viewer::isRight() const { return isView(rightView); }
// clang-format on

void GL_Viewer::setBounds(const Box3f& box)
{
    // A file can hold numbers whose sum or difference overflows: the view stays usable.
    const Vector3f center = box.center();
    const double longest = box.longest();
    m_center = isFinite(center) ? center : Vector3f();
    m_diameter = longest < leastLength || !std::isfinite(longest) ? 2 : longest;
    m_scale = Vector3f(1, 1, 1);
    const double before = m_distance;
    setDistance(m_diameter / 2 / tangentOfHalf(m_fieldOfView));
    if (m_distance == before) {
        updateProjection();
        updateTransform();
        emitUpdate();
    }
}

void GL_Viewer::fitToBounds(const Box3f& box)
{
    const Vector3f center = box.center();
    Matrix4f turned;
    turned.translate(center);
    turned.rotate(m_orientation);
    turned.translate(-center);
    Box3f seen = box;
    seen.transform(turned);
    setBounds(seen);
}

Box3f GL_Viewer::sceneBounds() const
{
    Box3f box(-1, -1, -1, 1, 1, 1);
    if (m_scene)
        m_scene->bounds(box);
    return box;
}

void GL_Viewer::fitView()
{
    m_zoom = 1;
    setBounds(sceneBounds());
}

void GL_Viewer::resetView()
{
    m_orientation = Quaternion();
    m_fieldOfView = 45;
    m_zoom = 1;
    setBounds(sceneBounds());
}

void GL_Viewer::initialize()
{
    makeCurrent();
    if (testFlags(KeepView)) {
        if (m_scene)
            m_scene->initialize();
        return;
    }
    if (m_scene)
        m_scene->init();
    setBounds(sceneBounds());
}

void GL_Viewer::reshape(int width, int height)
{
    m_viewport.width = width;
    m_viewport.height = height;
    makeCurrent();
    glViewport(m_viewport.x, m_viewport.y, width, height);
    updateProjection();
}

// Hooks of the window layer.
void GL_Viewer::makeCurrent() {}
void GL_Viewer::emitUpdate() {}
void GL_Viewer::emitSelectionChanged() {}

void GL_Viewer::updateProjection()
{
    GL_Viewport& v = m_viewport;
    if (v.width <= 0 || v.height <= 0)
        return;
    const double half = m_diameter / 2 / m_zoom;
    const bool wide = v.width > v.height;
    v.right = wide ? half * v.width / v.height : half;
    v.top = wide ? half : half * v.height / v.width;
    v.left = -v.right;
    v.bottom = -v.top;

    checkPositive(m_diameter, "m_diameter > 0.0");
    checkPositive(m_distance, "m_distance > 0.0");
    m_pixelSize = (v.right - v.left) / v.width;
    m_pixelDepth = m_pixelSize * m_diameter;
    m_originX = v.left - v.x * m_pixelSize;
    m_originY = v.bottom - v.y * m_pixelSize;
    if (!testFlags(Perspective))
        return;
    // Pixel size and origin tell of the plane of the centre, GL wants the edges in the near plane.
    const double shrink = v.near / m_distance;
    v.left *= shrink;
    v.right *= shrink;
    v.bottom *= shrink;
    v.top *= shrink;
}

void GL_Viewer::updateTransform()
{
    m_modelView.makeIdentity();
    m_modelView.translate(0, 0, float(-m_distance));
    m_modelView.rotate(m_orientation);
    m_modelView.scale(m_scale);
    m_modelView.translate(-m_center);
    m_inverse = m_modelView.invert();
}
