#include "action/coloractions.h"

#include "action/channels_p.h"
#include "action/truncated_p.h"
#include "kernel/vdeclare.h"
#include "kernel/vevent.h"
#include "kernel/zylobject.h"

#include <algorithm>

namespace action
{
ColorConnection::ColorConnection(const ZYLObject* object, int part) : Connection(object, part)
{
    VActionEvent event(VActionEvent::GetColor, &m_color, part);
    receiver()->event(&event);
}

VMetaObject* ColorAction::metaObj = nullptr;
VMetaObject* SelectColor::metaObj = nullptr;

VMetaObject* ColorAction::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::ColorAction", Action::staticMetaObject());
    return metaObj;
}

VMetaObject* ColorAction::metaObject() const
{
    return staticMetaObject();
}

VMetaObject* SelectColor::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::SelectColor", Action::staticMetaObject());
    return metaObj;
}

VMetaObject* SelectColor::metaObject() const
{
    return staticMetaObject();
}

bool ColorAction::evaluate(int key, double value)
{
    key = std::max(key, 0);
    const ChannelChange<ColorConnections> change(connections(key / 4), key % 4, value);
    if (!change.isReal())
        return false;
    geometry::Vector4f d;
    d[change.channel()] = float(change.difference());
    return send(change.store(), VActionEvent::AddColor, &d);
}

ConnectionList* ColorAction::newConnections() const
{
    return new ColorConnections;
}

bool SelectColor::evaluate(int key, double value)
{
    const VColor* const found =
        m_scheme && !std::isnan(value) ? m_scheme->find(truncated(value)) : nullptr;
    if (!found)
        return false;
    VColor color = *found;
    return send(key, VActionEvent::SetColor, &color);
}

Connection* SelectColor::newConnection(const ZYLObject* receiver, int index) const
{
    return new ColorConnection(receiver, index);
}

VFormatIO& SelectColor::read(VFormatIO& io)
{
    Action::read(io);
    auto scheme = std::make_unique<ColorScheme>();
    scheme->read(io);
    if (!scheme->colors().isEmpty() || !scheme->selector().isEmpty())
        m_scheme = std::move(scheme);
    return io;
}

VFormatIO& SelectColor::write(VFormatIO& io) const
{
    Action::write(io);
    return m_scheme ? m_scheme->write(io) : io;
}
} // namespace action
