#include "action/valuetracker.h"

#include "action/actionstream_p.h"
#include "action/evaluation_p.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylquaternion.h"
#include "kernel/vevent.h"
#include "kernel/vproperties.h"
#include "kernel/zylobject.h"

#include <algorithm>

namespace action
{
using geometry::Matrix4f;
using geometry::Vector3f;

struct ValueTracker::Meta {
    static constexpr declare::Slots slotTable{
        declare::slot<&ValueTracker::transform>("transform(Connection*)"),
        declare::slot<&ValueTracker::changeColor>("changeColor(Connection*)")};

    static constexpr auto changed = declare::overload<int, double>(&ValueTracker::valueChanged);
    static constexpr auto changedObject =
        declare::overload<int, void*>(&ValueTracker::valueChanged);
    static constexpr declare::Signals signalTable{
        declare::signal<changed>("valueChanged(int,double)"),
        declare::signal<changedObject>("valueChanged(int,void*)")};

    static constexpr VMetaEnum::Item typeItems[] = {
        {"Translate", Translate},   {"Rotate", Rotate},
        {"Scale", Scale},           {"TranslateX", TranslateX},
        {"TranslateY", TranslateY}, {"TranslateZ", TranslateZ},
        {"RotateX", RotateX},       {"RotateY", RotateY},
        {"RotateZ", RotateZ},       {"ScaleX", ScaleX},
        {"ScaleY", ScaleY},         {"ScaleZ", ScaleZ},
        {"Color", Color},           {"Red", Red},
        {"Green", Green},           {"Blue", Blue},
        {"Alpha", Alpha},           {"Brightness", Brightness}};
    static constexpr VMetaEnum enumTable[] = {VMetaEnum("Type", typeItems)};
    static constexpr declare::Properties propertyTable{
        &metaObj,
        declare::property<&ValueTracker::type, &ValueTracker::setType>("type", enumTable[0])};

    static constexpr auto fieldTable =
        std::tuple(zylfields::field("type", 0x80, &ValueTracker::m_type, 0));
};
VMetaObject* ValueTracker::metaObj = nullptr;

VMetaObject* ValueTracker::staticMetaObject()
{
    if (!metaObj)
        metaObj =
            declare::metaObject("action::ValueTracker", Action::staticMetaObject(), Meta::slotTable,
                                Meta::signalTable, Meta::propertyTable, Meta::enumTable);
    return metaObj;
}

VMetaObject* ValueTracker::metaObject() const
{
    return staticMetaObject();
}

bool ValueTracker::slot_invoke(int id, VUObject* o)
{
    return Meta::slotTable.invoke(this, id, o) || Action::slot_invoke(id, o);
}

bool ValueTracker::signal_emit(int id, VUObject* o)
{
    return Meta::signalTable.invoke(this, id, o) || Action::signal_emit(id, o);
}

bool ValueTracker::property_op(int id, int op, VVariant* value)
{
    return Meta::propertyTable.operate(this, id, op, value) || Action::property_op(id, op, value);
}

void ValueTracker::valueChanged(int position, double value)
{
    Meta::signalTable.send<Meta::changed>(this, position, value);
}

void ValueTracker::valueChanged(int position, void* value)
{
    Meta::signalTable.send<Meta::changedObject>(this, position, value);
}

namespace
{
constexpr int watchedKey = -1;
}

/// Finds the watched object that the connection leads to, emits what has become of it, and points
/// the receivers to it.
template <class Emit>
void ValueTracker::track(Connection* connection, Emit emitChange)
{
    ConnectionList* const list = connection ? connections(watchedKey) : nullptr;
    if (!list)
        return;
    ZYLObject* const object = connection->receiver();
    VPtrListIterator<Connection> it(*list);
    int position = 0;
    while (it.current() &&
           (it.current()->receiver() != object || it.current()->index() != connection->index())) {
        ++it;
        ++position;
    }
    Connection* const watched = it.current();
    if (!watched)
        return;
    {
        const Evaluation evaluation(*this);
        if (!evaluation)
            return;
        (this->*emitChange)(position, *object);
    }
    // A slot may have deleted this tracker, or ended the watch.
    if (it.current() == watched)
        evaluate(position, watched);
}

void ValueTracker::transform(Connection* connection)
{
    track(connection, &ValueTracker::emitTransform);
}

void ValueTracker::changeColor(Connection* connection)
{
    track(connection, &ValueTracker::emitColor);
}

void ValueTracker::emitTransform(int position, ZYLObject& object)
{
    Matrix4f matrix, axes, turn, projection;
    VActionEvent event(VActionEvent::GetTransform, &matrix);
    if (!object.event(&event) || m_type < Translate || m_type > ScaleZ)
        return;
    Vector3f scale(1, 1, 1), translation;
    matrix.factor(axes, scale, turn, translation, projection);
    geometry::Quaternion rotation = turn.getRotation();
    Vector3f angles;
    rotation.getValue(angles.x, angles.y, angles.z);
    switch (m_type) {
    case Translate:
        return valueChanged(position, static_cast<void*>(&translation));
    case Rotate:
        return valueChanged(position, static_cast<void*>(&rotation));
    case Scale:
        return valueChanged(position, static_cast<void*>(&scale));
    }
    const Vector3f* const parts[] = {&translation, &angles, &scale};
    const int component = m_type - TranslateX;
    valueChanged(position, double((*parts[component / 3])[component % 3]));
}

void ValueTracker::emitColor(int position, ZYLObject& object)
{
    VColor color;
    VActionEvent event(VActionEvent::GetColor, &color);
    if (!object.event(&event) || m_type < Color || m_type > Brightness)
        return;
    const geometry::Vector4f channels(color);
    if (m_type == Color)
        valueChanged(position, static_cast<void*>(&color));
    else if (m_type == Brightness)
        valueChanged(position, double(std::max({channels.x, channels.y, channels.z})));
    else
        valueChanged(position, double(channels[m_type - Red]));
}

bool ValueTracker::evaluate(int key, double)
{
    ConnectionList* const watched = connections(watchedKey);
    VLNode* node = watched && key >= 0 ? watched->firstNode() : nullptr;
    for (int i = 0; node && i < key; ++i)
        node = node->next;
    return node && evaluate(key, static_cast<Connection*>(node->item));
}

bool ValueTracker::evaluate(int key, Connection* connection)
{
    return connection && send(key, VActionEvent::SetCamera, connection->receiver());
}

VFormatIO& ValueTracker::read(VFormatIO& io)
{
    Action::read(io);
    return zylfields::read(io, *this, Meta::fieldTable);
}

VFormatIO& ValueTracker::write(VFormatIO& io) const
{
    Action::write(io);
    return zylfields::write(io, *this, Meta::fieldTable);
}
} // namespace action
