#pragma once

#include "toolkit/zylexport.h"

/// A reading with a fixed number of states, counted from 0.
class ZYL_EXPORT VSwitchValue
{
public:
    VSwitchValue() = default;
    VSwitchValue(const VSwitchValue&) = default;
    VSwitchValue& operator=(const VSwitchValue&) = default;
    virtual ~VSwitchValue();

    unsigned int number() const { return m_number; }
    unsigned int value() const { return m_value; }

    /// Sets the number of states. A value beyond them stays until it is set next.
    virtual void setNumber(unsigned int number);

    /// Ignored when there is no such state.
    void setValue(unsigned int value);

private:
    unsigned int m_number = 2;
    unsigned int m_value = 0;
};
