#include "kernel/vevent.h"
#include "opengl/glmanipulator.h"
#include "opengl/glscene.h"
#include "opengl/glviewer.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>
#include <utility>

using geometry::Matrix4f;
using geometry::Quaternion;
using geometry::Vector2i;
using geometry::Vector3f;

namespace
{
constexpr int anyModifiers = -1;

/// What a press starts; the first row that fits counts.
struct Press {
    int mode;
    int button;
    int modifiers;
    bool unlocked; // only while the view isn't locked
    int action;
};

// clang-format off
constexpr Press presses[] = {
    {GL_Viewer::Select, VEvent::LeftButton, VEvent::AltButton, true, GL_Viewer::Orbit},
    {GL_Viewer::Select, VEvent::LeftButton, anyModifiers, false, GL_Viewer::Pressed},
    {GL_Viewer::Select, VEvent::MidButton, VEvent::ShiftButton, false, GL_Viewer::Dolly},
    {GL_Viewer::Select, VEvent::MidButton, VEvent::ControlButton, false, GL_Viewer::FieldOfView},
    {GL_Viewer::Select, VEvent::MidButton, 0, false, GL_Viewer::Zoom},
    {GL_Viewer::View, VEvent::LeftButton, VEvent::ShiftButton, true, GL_Viewer::Zoom},
    {GL_Viewer::View, VEvent::LeftButton, VEvent::ControlButton, true, GL_Viewer::Pan},
    {GL_Viewer::View, VEvent::LeftButton, VEvent::AltButton, true, GL_Viewer::ZoomBand},
    {GL_Viewer::View, VEvent::LeftButton, VEvent::AltButton | VEvent::ShiftButton, true, GL_Viewer::ZoomBand},
    {GL_Viewer::View, VEvent::LeftButton, anyModifiers, true, GL_Viewer::Orbit},
    {GL_Viewer::Fly, VEvent::LeftButton, VEvent::ShiftButton, false, GL_Viewer::FieldOfView},
    {GL_Viewer::Fly, VEvent::LeftButton, VEvent::ControlButton, false, GL_Viewer::Dolly},
    {GL_Viewer::Fly, VEvent::LeftButton, anyModifiers, false, GL_Viewer::LookAround},
};
// clang-format on

const Press* findPress(int mode, int button, int modifiers, bool locked)
{
    for (const Press& press : presses)
        if (press.mode == mode && press.button == button && !(locked && press.unlocked) &&
            (press.modifiers == anyModifiers || press.modifiers == modifiers))
            return &press;
    return nullptr;
}

bool isGestureButton(int button)
{
    return button == VEvent::LeftButton || button == VEvent::MidButton;
}

bool isBand(int action)
{
    return action == GL_Viewer::SelectBand || action == GL_Viewer::ZoomBand;
}
} // namespace

void GL_Viewer::mousePressEvent(VMouseEvent* event)
{
    m_lastPosition = event->pos();
    if (m_mouseAction != NoAction)
        return;
    if (!isGestureButton(event->button())) {
        event->ignore();
        return;
    }
    m_pressPosition = event->pos();
    const int modifiers = event->state() & VEvent::KeyButtonMask;
    const Press* const press =
        findPress(m_mouseMode, event->button(), modifiers, testFlags(Locked));
    if (!press) {
        event->ignore();
        return;
    }
    m_mouseAction = press->action;
    if (m_mouseAction == Pressed && m_scene)
        pressOn(pick(event->x(), event->y()), modifiers);
}

/// Changes the selection by a press on a node, or on none.
void GL_Viewer::pressOn(GL_Object* object, int modifiers)
{
    if (modifiers == VEvent::ShiftButton || modifiers == VEvent::ControlButton) {
        const bool toggles = modifiers == VEvent::ControlButton;
        if (object && (toggles || !object->isSelected()))
            m_scene->selectObject(object, !object->isSelected());
    } else if (modifiers != 0) {
        return;
    } else if (!object) {
        if (m_scene->selection().isEmpty())
            return;
        m_scene->clearSelection();
        emitSelectionChanged();
    } else if (!object->isSelected()) {
        m_scene->setSelection(object);
        emitSelectionChanged();
        m_mouseAction = Drag;
    } else {
        if (GL_Manipulator* const manipulator = m_scene->manipulator()) {
            manipulator->setFlags(GL_Object::Rebuild, true);
            emitSelectionChanged();
        }
        m_mouseAction = Drag;
    }
}

void GL_Viewer::mouseMoveEvent(VMouseEvent* event)
{
    const Vector2i from = std::exchange(m_lastPosition, event->pos());
    const Vector2i to = event->pos();
    const int dy = to.y - from.y;
    switch (m_mouseAction) {
    case Pressed:
        m_mouseAction = SelectBand;
        drawLasso(m_pressPosition, clampToWindow(to));
        break;
    case SelectBand:
    case ZoomBand:
        drawLasso(m_pressPosition, clampToWindow(from));
        drawLasso(m_pressPosition, clampToWindow(to));
        break;
    case Orbit:
        setOrientation(turn(from, to) * m_orientation);
        break;
    case Pan:
        translate(-worldVector(from, to));
        break;
    case Zoom:
        setZoom(m_zoom * std::exp2(0.005 * dy));
        break;
    case FieldOfView:
        if (m_viewport.height > 0)
            setFieldOfView(m_fieldOfView + 90.0 * dy / m_viewport.height);
        break;
    case Drag:
        dragSelection(from, to);
        break;
    case Dolly:
        dolly(dy);
        break;
    case LookAround:
        lookAround(from, to);
        break;
    default:
        event->ignore();
    }
}

void GL_Viewer::dragSelection(const Vector2i& from, const Vector2i& to)
{
    if (!m_scene || m_scene->selection().isEmpty())
        return;
    bool moved = false;
    if (GL_Manipulator* const manipulator = m_scene->manipulator())
        moved = manipulator->drag(this, from, to);
    else
        for (GL_Object* object : m_scene->selection())
            moved = object->drag(this, from, to) || moved;
    if (moved)
        emitUpdate();
}

void GL_Viewer::dolly(double pixels)
{
    translate(geometry::normalize(eyeVector()) * float(m_pixelSize * pixels));
}

void GL_Viewer::lookAround(const Vector2i& from, const Vector2i& to)
{
    const Quaternion q = turn(from, to);
    Matrix4f aroundEye;
    aroundEye.translate(0, 0, float(-m_distance));
    aroundEye.rotate(q);
    aroundEye.translate(0, 0, float(m_distance));
    m_center = m_center * aroundEye;
    setOrientation(q * m_orientation);
}

Vector2i GL_Viewer::clampToWindow(const Vector2i& position) const
{
    return Vector2i(std::clamp(position.x, 0, std::max(m_viewport.width - 1, 0)),
                    std::clamp(position.y, 0, std::max(m_viewport.height - 1, 0)));
}

void GL_Viewer::mouseReleaseEvent(VMouseEvent* event)
{
    const Vector2i last = std::exchange(m_lastPosition, event->pos());
    if (!isGestureButton(event->button())) {
        event->ignore();
        return;
    }
    const int action = std::exchange(m_mouseAction, int(NoAction));
    if (!isBand(action))
        return;
    drawLasso(m_pressPosition, clampToWindow(last));
    if (event->button() != VEvent::LeftButton)
        return;
    const Vector2i corner = clampToWindow(event->pos());
    if (action == ZoomBand)
        zoomTo(corner);
    else if (m_scene)
        selectTo(corner, event->state() & VEvent::KeyButtonMask);
}

/// Fills the window with the rectangle from the press to here.
void GL_Viewer::zoomTo(const Vector2i& corner)
{
    const auto [x0, x1] = std::minmax(m_pressPosition.x, corner.x);
    const auto [y0, y1] = std::minmax(m_pressPosition.y, corner.y);
    if (x0 == x1 || y0 == y1)
        return;
    const Vector2i toMiddle((m_viewport.width - (x0 + x1)) / 2,
                            (m_viewport.height - (y0 + y1)) / 2);
    translate(-worldVector(Vector2i(0, 0), toMiddle));
    setZoom(m_zoom * m_viewport.width / (x1 - x0));
}

/// Selects by the rectangle from the press to here.
void GL_Viewer::selectTo(const Vector2i& corner, int modifiers)
{
    // A node that shows by several parts must not be toggled as often, or dragged.
    GL_ObjectList nodes;
    std::unordered_set<const GL_Object*> seen;
    for (GL_Object* object : lasso(m_pressPosition.x, m_pressPosition.y, corner.x, corner.y))
        if (seen.insert(object).second)
            nodes.append(object);

    if (modifiers == 0)
        m_scene->setSelections(nodes);
    else if (modifiers == VEvent::ControlButton || modifiers == VEvent::ShiftButton)
        for (GL_Object* object : nodes)
            if (modifiers == VEvent::ControlButton || !object->isSelected())
                m_scene->selectObject(object, !object->isSelected());
    if (!nodes.isEmpty())
        emitSelectionChanged();
}

void GL_Viewer::mouseDoubleClickEvent(VMouseEvent* event)
{
    mousePressEvent(event);
}

void GL_Viewer::wheelEvent(VWheelEvent* event)
{
    if (m_mouseMode == Select || (m_mouseMode == View && !testFlags(Locked)))
        setZoom(m_zoom * std::exp2(0.1 * event->delta() / 120));
    else if (m_mouseMode == Fly)
        dolly(event->delta() / 6.0);
    else
        event->ignore();
}

void GL_Viewer::tabletEvent(VTabletEvent* event)
{
    event->ignore();
}

void GL_Viewer::contextMenuEvent(VContextMenuEvent*) {}
