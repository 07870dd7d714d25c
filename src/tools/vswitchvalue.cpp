#include "tools/vswitchvalue.h"

VSwitchValue::~VSwitchValue() = default;

void VSwitchValue::setNumber(unsigned int number)
{
    m_number = number;
}

void VSwitchValue::setValue(unsigned int value)
{
    if (value < m_number)
        m_value = value;
}
