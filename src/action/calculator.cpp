#include "action/calculator.h"

#include "action/actionstream_p.h"
#include "action/evaluation_p.h"
#include "kernel/vproperties.h"
#include "security/asnarray.h"

#include <algorithm>
#include <cmath>

namespace action
{
namespace
{
double add(double value, double data)
{
    return value + data;
}
double multiply(double value, double data)
{
    return value * data;
}
double remainder(double value, double data)
{
    return std::fmod(value, data);
}
constexpr double (*operations[])(double, double) = {&add, &multiply, &remainder};
} // namespace

struct Calculator::Meta {
    static constexpr auto changed = declare::overload<int, double>(&Calculator::valueChanged);
    static constexpr declare::Signals signalTable{
        declare::signal<changed>("valueChanged(int,double)")};

    static constexpr VMetaEnum::Item typeItems[] = {
        {"Add", Add}, {"Multiply", Multiply}, {"Module", Module}, {"Expression", Expression}};
    static constexpr VMetaEnum enumTable[] = {VMetaEnum("Type", typeItems)};
    static constexpr declare::Properties propertyTable{
        &metaObj, declare::property<&Calculator::type, &Calculator::setType>("type", enumTable[0])};

    static constexpr auto fieldTable =
        std::tuple(zylfields::field("type", 0x80, &Calculator::m_type, 0),
                   zylfields::field("data", 0x81, &Calculator::m_data, 0),
                   zylfields::filled("inputs", 0x82, &Calculator::m_inputs),
                   zylfields::filled("expression", 0x83, &Calculator::m_expression));
};
VMetaObject* Calculator::metaObj = nullptr;

VMetaObject* Calculator::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::Calculator", Action::staticMetaObject(),
                                      Meta::signalTable, Meta::propertyTable, Meta::enumTable);
    return metaObj;
}

VMetaObject* Calculator::metaObject() const
{
    return staticMetaObject();
}

bool Calculator::signal_emit(int id, VUObject* o)
{
    return Meta::signalTable.invoke(this, id, o) || Action::signal_emit(id, o);
}

bool Calculator::property_op(int id, int op, VVariant* value)
{
    return Meta::propertyTable.operate(this, id, op, value) || Action::property_op(id, op, value);
}

void Calculator::valueChanged(int input, double value)
{
    Meta::signalTable.send<Meta::changed>(this, input, value);
}

bool Calculator::evaluate(int key, double value)
{
    const int* const input = std::find(m_inputs.begin(), m_inputs.end(), key);
    const Evaluation evaluation(*this);
    if (input == m_inputs.end() || !evaluation)
        return false;
    if (m_type >= 0 && m_type < int(std::size(operations)))
        value = operations[m_type](value, m_data);
    valueChanged(int(input - m_inputs.begin()), value);
    return true;
}

VFormatIO& Calculator::read(VFormatIO& io)
{
    Action::read(io);
    return zylfields::read(io, *this, Meta::fieldTable);
}

VFormatIO& Calculator::write(VFormatIO& io) const
{
    Action::write(io);
    return zylfields::write(io, *this, Meta::fieldTable);
}
} // namespace action
