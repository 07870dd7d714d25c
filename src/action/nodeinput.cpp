#include "action/nodeinput.h"

#include "action/actionstream_p.h"
#include "action/evaluation_p.h"
#include "kernel/vdeclare.h"
#include "kernel/vevent.h"

#include <algorithm>
#include <numeric>

namespace action
{
using geometry::Vector2i;

namespace
{
bool isBefore(const Vector2i& a, const Vector2i& b)
{
    return a.x != b.x ? a.x < b.x : a.y < b.y;
}
} // namespace

struct NodeInput::Meta {
    static constexpr auto changed = declare::overload<int, double>(&NodeInput::valueChanged);
    static constexpr declare::Signals signalTable{
        declare::signal<changed>("valueChanged(int,double)"),
        declare::signal<&NodeInput::stateChanged>("stateChanged(int,double)")};
    static constexpr auto fieldTable =
        std::tuple(zylfields::filled("inputs", 0x80, &NodeInput::m_inputs));
};
VMetaObject* NodeInput::metaObj = nullptr;

VMetaObject* NodeInput::staticMetaObject()
{
    if (!metaObj)
        metaObj =
            declare::metaObject("action::NodeInput", Action::staticMetaObject(), Meta::signalTable);
    return metaObj;
}

VMetaObject* NodeInput::metaObject() const
{
    return staticMetaObject();
}

bool NodeInput::signal_emit(int id, VUObject* o)
{
    return Meta::signalTable.invoke(this, id, o) || Action::signal_emit(id, o);
}

void NodeInput::valueChanged(int input, double value)
{
    Meta::signalTable.send<Meta::changed>(this, input, value);
}

void NodeInput::stateChanged(int input, double state)
{
    Meta::signalTable.send<&NodeInput::stateChanged>(this, input, state);
}

void NodeInput::setInputs(const geometry::Vector2iArray& inputs)
{
    m_inputs = geometry::Vector2iArray(inputs.copy());
    m_order.resize(m_inputs.size());
    std::iota(m_order.begin(), m_order.end(), 0);
    const Vector2i* const addresses = m_inputs.data();
    std::stable_sort(m_order.begin(), m_order.end(),
                     [=](int a, int b) { return isBefore(addresses[a], addresses[b]); });
}

int NodeInput::indexOf(const Vector2i& address) const
{
    const Vector2i* const addresses = m_inputs.data();
    const auto found =
        std::lower_bound(m_order.begin(), m_order.end(), address,
                         [=](int a, const Vector2i& b) { return isBefore(addresses[a], b); });
    return found != m_order.end() && addresses[*found] == address ? *found : -1;
}

template <auto Signal>
bool NodeInput::emitValue(int input, double value)
{
    const int row = decltype(Meta::signalTable)::rowOf<Signal>();
    const VConnectionList* const list = receivers(staticMetaObject()->signalOffset() + row);
    const Evaluation evaluation(*this);
    if (!list || list->isEmpty() || !evaluation)
        return false;
    Meta::signalTable.send<Signal>(this, input, value);
    return true;
}

bool NodeInput::evaluate(int input, double value)
{
    return emitValue<Meta::changed>(input, value);
}

bool NodeInput::evaluate(int input, int state)
{
    return emitValue<&NodeInput::stateChanged>(input, state);
}

bool NodeInput::evaluate(int input, const QString& text)
{
    QString value = text;
    return send(input, VActionEvent::SetText, &value);
}

VFormatIO& NodeInput::read(VFormatIO& io)
{
    Action::read(io);
    zylfields::read(io, *this, Meta::fieldTable);
    setInputs(geometry::Vector2iArray(m_inputs));
    return io;
}

VFormatIO& NodeInput::write(VFormatIO& io) const
{
    Action::write(io);
    return zylfields::write(io, *this, Meta::fieldTable);
}
} // namespace action
