#include "kernel/vevent.h"

#include "kernel/vcursor.h"

VEvent::~VEvent() = default;
VMouseEvent::~VMouseEvent() = default;
VWheelEvent::~VWheelEvent() = default;
VContextMenuEvent::~VContextMenuEvent() = default;
VTabletEvent::~VTabletEvent() = default;
VFocusEvent::~VFocusEvent() = default;
VKeyEvent::~VKeyEvent() = default;
VCustomEvent::~VCustomEvent() = default;
VActionEvent::~VActionEvent() = default;

VMouseEvent::VMouseEvent(VEvent::Type type, const geometry::Vector2i& position, int button,
                         int state)
    : VEvent(type), VAcceptance(true), m_position(position), m_globalPosition(VCursor::pos()),
      m_button(static_cast<unsigned short>(button)), m_state(static_cast<unsigned short>(state))
{
}

VWheelEvent::VWheelEvent(const geometry::Vector2i& position, int delta, int state,
                         Zyl::Orientation orientation)
    : VEvent(Wheel), VAcceptance(true), m_position(position), m_globalPosition(VCursor::pos()),
      m_delta(delta), m_state(static_cast<unsigned short>(state)), m_orientation(orientation)
{
}

VContextMenuEvent::VContextMenuEvent(Reason reason, const geometry::Vector2i& position, int state)
    : VEvent(ContextMenu), m_reason(reason), m_position(position), m_globalPosition(VCursor::pos()),
      m_state(static_cast<unsigned short>(state))
{
}

VTabletEvent::VTabletEvent(VEvent::Type type, const geometry::Vector2i& position,
                           const geometry::Vector2i& globalPosition, int device, int pressure,
                           int xTilt, int yTilt, unsigned serial, unsigned tool)
    : VEvent(type), VAcceptance(true), m_position(position), m_globalPosition(globalPosition),
      m_device(device), m_pressure(pressure), m_xTilt(xTilt), m_yTilt(yTilt), m_unique{serial, tool}
{
}

VFocusEvent::Reason VFocusEvent::m_reason = VFocusEvent::Other;
VFocusEvent::Reason VFocusEvent::m_previousReason = VFocusEvent::Other;

void VFocusEvent::setReason(Reason reason)
{
    m_previousReason = m_reason;
    m_reason = reason;
}

void VFocusEvent::resetReason()
{
    m_reason = m_previousReason;
}

int VKeyEvent::stateAfter() const
{
    // X keysyms, left and right.
    constexpr struct {
        int left, right, modifier;
    } modifiers[] = {{65505, 65506, ShiftButton},
                     {65507, 65508, ControlButton},
                     {65513, 65514, AltButton},
                     {65511, 65512, MetaButton}};
    for (const auto& row : modifiers)
        if (m_key == row.left || m_key == row.right)
            return m_state ^ row.modifier;
    return m_state;
}
