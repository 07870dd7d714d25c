#include "action/transformactions.h"

#include "action/channels_p.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylquaternion.h"
#include "kernel/vdeclare.h"
#include "kernel/vevent.h"

using geometry::Matrix4f;
using geometry::Quaternion;
using geometry::Vector3f;

namespace action
{
namespace
{
constexpr double radians = 0.017453292519943295;

/// The change of an axis, whose group is a third of the key.
template <class Connections>
ChannelChange<Connections> axisChange(const Action& action, int key, double value)
{
    ConnectionList* const list = key < 0 ? nullptr : action.connections(key / 3);
    return ChannelChange<Connections>(list, key % 3, value);
}
} // namespace

VMetaObject* MoveAction::metaObj = nullptr;
VMetaObject* RotateAction::metaObj = nullptr;
VMetaObject* ScaleAction::metaObj = nullptr;

VMetaObject* MoveAction::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::MoveAction", Action::staticMetaObject());
    return metaObj;
}

VMetaObject* MoveAction::metaObject() const
{
    return staticMetaObject();
}

VMetaObject* RotateAction::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::RotateAction", MoveAction::staticMetaObject());
    return metaObj;
}

VMetaObject* RotateAction::metaObject() const
{
    return staticMetaObject();
}

VMetaObject* ScaleAction::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::ScaleAction", Action::staticMetaObject());
    return metaObj;
}

VMetaObject* ScaleAction::metaObject() const
{
    return staticMetaObject();
}

bool MoveAction::evaluate(int key, double value)
{
    const auto change = axisChange<PathConnections>(*this, key, value);
    if (!change.isReal())
        return false;
    Vector3f d;
    d[change.channel()] = float(change.difference());
    Matrix4f m;
    m.translate(d);
    return send(change.store(), VActionEvent::TransformBefore, &m);
}

ConnectionList* MoveAction::newConnections() const
{
    return new PathConnections;
}

bool RotateAction::evaluate(int key, double value)
{
    const auto change = axisChange<PathConnections>(*this, key, value);
    if (!change.isReal())
        return false;
    Vector3f d;
    d[change.channel()] = float(change.difference() * radians);
    Matrix4f m;
    m.rotate(Quaternion().setValue(d.x, d.y, d.z));
    return send(change.store(), VActionEvent::TransformBefore, &m);
}

bool ScaleAction::evaluate(int key, double value)
{
    const auto change = axisChange<ScaleConnections>(*this, key, value == 0 ? 1 : value);
    if (!change.isReal())
        return false;
    Vector3f ratios(1, 1, 1);
    if (change.before() != 0)
        ratios[change.channel()] = float(change.value() / change.before());
    if (!isSendable(ratios[change.channel()]))
        return false;
    Matrix4f m;
    m.scale(ratios);
    return send(change.store(), VActionEvent::TransformBefore, &m);
}

ConnectionList* ScaleAction::newConnections() const
{
    return new ScaleConnections;
}
} // namespace action
