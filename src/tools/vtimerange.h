#pragma once

#include "tools/vdatetime.h"
#include "tools/vmeasure.h"

class VTimestamp;

/// A span of time from a base moment, counted in a unit.
///
/// `end` is the moment at the far end. `timestamp` is a coarse reckoning that stored results depend
/// on: it is off by up to a day for spans in hours or less. Use it only to agree with those.
class ZYL_EXPORT VTimeRange
{
public:
    VTimeRange() = default;
    VTimeRange(const VDateTime& base, int span, const VTimeMeasure& unit)
        : m_span(span), m_unit(unit), m_base(base)
    {
    }
    VTimeRange(const VTimeRange&) = default;
    VTimeRange& operator=(const VTimeRange&) = default;
    virtual ~VTimeRange();

    int span() const { return m_span; }
    const VTimeMeasure& unit() const { return m_unit; }
    VDateTime base() const { return m_base; }

    virtual void setSpan(int span);

    /// Converts the span, rounded.
    virtual void setUnit(const VTimeMeasure& unit);
    virtual void setBase(const VDateTime& base);

    /// The base moved by the span. Months and longer units keep the day, or take the month's last.
    /// Null from an invalid base and where the calendar ends.
    VDateTime end() const;

    /// The base with its date moved by the rounded number of days in the span, and for units of
    /// hours or less its time moved round the clock, with nothing carried: three hours after 22:00
    /// is 01:00 of the same day.
    VTimestamp timestamp() const;

private:
    double amount() const;

    int m_span = 0;
    VTimeMeasure m_unit;
    VDateTime m_base;
};
