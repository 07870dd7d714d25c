#pragma once

#include "toolkit/zylexport.h"

class VMeasure;

/// A reading between a minimum and a maximum, with the limits beyond which it is low or high. NaN
/// is ignored everywhere. The limits only store: the value is held to them when it is set next.
class ZYL_EXPORT VAnalogValue
{
public:
    VAnalogValue() = default;
    VAnalogValue(const VAnalogValue&) = default;
    VAnalogValue& operator=(const VAnalogValue&) = default;
    virtual ~VAnalogValue();

    /// The unit, for the application's use only; not owned.
    VMeasure* unit() const { return m_unit; }
    double value() const { return m_value; }
    double min() const { return m_min; }
    double max() const { return m_max; }
    double low() const { return m_low; }
    double high() const { return m_high; }

    /// Holds the value to the range; where the minimum lies above the maximum, the maximum decides.
    virtual void setValue(double value);
    virtual void setMin(double min);
    virtual void setMax(double max);
    virtual void setLow(double low);
    virtual void setHigh(double high);
    virtual void setUnit(VMeasure* unit);

private:
    VMeasure* m_unit = nullptr;
    double m_value = 0.0;
    double m_min = -1.0;
    double m_max = 1.0;
    double m_low = -1.0;
    double m_high = 1.0;
};
