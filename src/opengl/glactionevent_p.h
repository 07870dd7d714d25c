#pragma once

#include "geometry/zylhmatrix.h"
#include "kernel/vevent.h"

// What handlers of action events share.
namespace actionevent
{
/// The event, if its code lies between these two and it carries a value.
inline VActionEvent* between(VEvent* event, int first, int last)
{
    if (!event || event->type() < first || event->type() > last)
        return nullptr;
    auto* const action = dynamic_cast<VActionEvent*>(event);
    return action && action->data() ? action : nullptr;
}

/// Reads or changes a matrix. True, with the event accepted, when it was about one.
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
    case VActionEvent::SetTransform:
        matrix = value;
        break;
    }
    action->accept();
    return true;
}
} // namespace actionevent
