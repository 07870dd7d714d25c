#include "tools/vtimerange.h"

#include "tools/vtimestamp.h"

#include <cmath>

namespace
{
/// The nearest whole number of milliseconds; what exceeds 64 bits stays below their limits.
qint64 roundedMSecs(double seconds)
{
    constexpr double limit = 9e18;
    const double msecs = seconds * 1000;
    if (std::isnan(msecs))
        return 0;
    return qint64(std::round(std::fmin(std::fmax(msecs, -limit), limit)));
}

/// The months in a unit that calendars count, or 0 for one of fixed length.
int monthsOf(int unit)
{
    switch (unit) {
    case VTimeMeasure::Month:
        return 1;
    case VTimeMeasure::Quarter:
        return 3;
    case VTimeMeasure::Year:
        return 12;
    case VTimeMeasure::Century:
        return 1200;
    default:
        return 0;
    }
}

int scaled(double amount, int factor)
{
    return saturatedInt(qint64(roundedInt(amount)) * factor);
}
} // namespace

VTimeRange::~VTimeRange() = default;

void VTimeRange::setSpan(int span)
{
    m_span = span;
}

void VTimeRange::setUnit(const VTimeMeasure& unit)
{
    if (unit == m_unit)
        return;
    m_span = roundedInt(m_unit.toTarget(m_span, unit));
    m_unit = unit;
}

void VTimeRange::setBase(const VDateTime& base)
{
    m_base = base;
}

double VTimeRange::amount() const
{
    return m_span * std::pow(10.0, m_unit.exponent());
}

VDateTime VTimeRange::end() const
{
    // Beyond this number the years of a VDate go round.
    constexpr qint64 lastDay = qint64(1) << 30;
    if (!m_base.isValid())
        return VDateTime();
    VDateTime moved = m_base;
    qint64 day = 0;
    if (const int months = monthsOf(m_unit.unit())) {
        moved = m_base.addMonths(roundedInt(amount() * months));
        day = moved.date().julianDay();
    } else {
        const double days = std::floor(m_unit.toMetric(m_span) / 86400);
        if (!(std::fabs(days) < double(lastDay)))
            return VDateTime();
        const qint64 msecs = m_base.time().msecs() + roundedMSecs(m_unit.toMetric(m_span));
        const qint64 perDay = VTime::msecsPerDay;
        const qint64 carried = (msecs < 0 ? msecs - (perDay - 1) : msecs) / perDay;
        day = m_base.date().julianDay() + carried;
        moved = VDateTime(VDate::fromJulianDay(quint32(day)),
                          VTime::fromMSecs(quint32(msecs - carried * perDay)));
    }
    return day > 0 && day <= lastDay && moved.isValid() ? moved : VDateTime();
}

VTimestamp VTimeRange::timestamp() const
{
    const double count = amount();
    VDateTime moved = m_base;
    switch (m_unit.unit()) {
    case VTimeMeasure::Day:
        moved = m_base.addDays(roundedInt(count));
        break;
    case VTimeMeasure::Week:
        moved = m_base.addDays(scaled(count, 7));
        break;
    case VTimeMeasure::Month:
        moved = m_base.addMonths(roundedInt(count));
        break;
    case VTimeMeasure::Quarter:
        moved = m_base.addMonths(scaled(count, 3));
        break;
    case VTimeMeasure::Year:
        moved = m_base.addYears(roundedInt(count));
        break;
    case VTimeMeasure::Century:
        moved = m_base.addYears(scaled(count, 100));
        break;
    default: {
        double seconds = m_unit.toMetric(m_span);
        moved = m_base.addDays(roundedInt(seconds / 86400));
        // Only units above the second lose the fraction.
        if (m_unit.unit() != VTimeMeasure::Second)
            seconds = std::round(seconds);
        moved.setTime(m_base.time().moved(roundedMSecs(seconds)));
    }
    }
    return VTimestamp(moved.date(), moved.time());
}
