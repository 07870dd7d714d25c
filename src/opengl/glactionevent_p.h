#pragma once

#include "geometry/zylhmatrix.h"
#include "kernel/vevent.h"
#include "tools/vcolor.h"

// What action events ask of a matrix or a colour.
namespace actionevent
{
/// The event, if its code lies between these two and it carries a value.
inline VActionEvent* between(VEvent* event, int first, int last)
{
    if (event->type() < first || event->type() > last)
        return nullptr;
    auto* const action = dynamic_cast<VActionEvent*>(event);
    return action && action->data() ? action : nullptr;
}

/// The colour as a word. Channels are brought into range first: packing would let one that has left
/// it carry into its neighbour.
inline VColor packed(const geometry::Vector4f& color)
{
    const auto within = [](float channel) {
        return channel > 0 ? (channel < 1 ? channel : 1.0f) : 0.0f;
    };
    return geometry::Vector4f(within(color.x), within(color.y), within(color.z), within(color.w));
}

/// True, with the event accepted, when it was about a matrix.
inline bool changeMatrix(VEvent* event, geometry::Matrix4f& matrix)
{
    VActionEvent* const action =
        between(event, VActionEvent::TransformBefore, VActionEvent::SetTransform);
    if (!action)
        return false;
    auto& value = *action->value<geometry::Matrix4f>();
    switch (action->code()) {
    case VActionEvent::TransformBefore:
        matrix = value * matrix;
        break;
    case VActionEvent::TransformAfter:
        matrix = matrix * value;
        break;
    case VActionEvent::GetTransform:
        value = matrix;
        break;
    default:
        matrix = value;
    }
    action->accept();
    return true;
}

/// True, with the event accepted, when it was about a colour.
inline bool changeColor(VEvent* event, VColor& color)
{
    VActionEvent* const action = between(event, VActionEvent::AddColor, VActionEvent::SetColor);
    if (!action)
        return false;
    switch (action->code()) {
    case VActionEvent::AddColor:
        color = packed(geometry::Vector4f(color) + *action->value<geometry::Vector4f>());
        break;
    case VActionEvent::GetColor:
        *action->value<VColor>() = color;
        break;
    default:
        color = *action->value<VColor>();
    }
    action->accept();
    return true;
}
} // namespace actionevent
