#include "tools/vanalogvalue.h"

#include <algorithm>
#include <cmath>

namespace
{
void store(double& field, double value)
{
    if (!std::isnan(value))
        field = value;
}
} // namespace

VAnalogValue::~VAnalogValue() = default;

void VAnalogValue::setValue(double value)
{
    // Not std::clamp, which is undefined where the limits cross.
    if (!std::isnan(value))
        m_value = std::min(std::max(value, m_min), m_max);
}

void VAnalogValue::setMin(double min)
{
    store(m_min, min);
}

void VAnalogValue::setMax(double max)
{
    store(m_max, max);
}

void VAnalogValue::setLow(double low)
{
    store(m_low, low);
}

void VAnalogValue::setHigh(double high)
{
    store(m_high, high);
}

void VAnalogValue::setUnit(VMeasure* unit)
{
    m_unit = unit;
}
