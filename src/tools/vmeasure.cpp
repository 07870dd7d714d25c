#include "tools/vmeasure.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include <qstring.h>

namespace
{
struct TimeUnit {
    const char* name;
    double seconds;
};

constexpr TimeUnit timeUnits[] = {
    {"Second", 1},      {"Minute", 60},          {"Quarter hour", 900}, {"Hour", 3600},
    {"Day", 86400},     {"Week", 604800},        {"Month", 2629746},    {"Quarter", 7889238},
    {"Year", 31556952}, {"Century", 3155695200},
};

const TimeUnit* timeUnit(int index)
{
    return index >= 0 && index < int(std::size(timeUnits)) ? &timeUnits[index] : nullptr;
}

double secondsOf(int index)
{
    const TimeUnit* unit = timeUnit(index);
    return unit ? unit->seconds : 1;
}
} // namespace

VMeasure::~VMeasure() = default;

double VMeasure::toAnglo(double amount) const
{
    return amount;
}

double VMeasure::toMetric(double amount) const
{
    return amount;
}

double VMeasure::toTarget(double amount, const VMeasure& target) const
{
    return target.fromMetric(toMetric(amount));
}

double VMeasure::fromAnglo(double amount) const
{
    return amount;
}

double VMeasure::fromMetric(double amount) const
{
    return amount;
}

VTimeMeasure::VTimeMeasure(int unit, int exponent) : m_unit(unit)
{
    setExponent(exponent);
}

void VTimeMeasure::setExponent(int exponent)
{
    using Limits = std::numeric_limits<qint16>;
    m_exponent = qint16(std::clamp<int>(exponent, Limits::min(), Limits::max()));
}

QString VTimeMeasure::name() const
{
    const TimeUnit* unit = timeUnit(m_unit);
    return unit ? QString::fromLatin1(unit->name) : QString();
}

double VTimeMeasure::toAnglo(double amount) const
{
    return toMetric(amount);
}

double VTimeMeasure::toMetric(double amount) const
{
    return amount * std::pow(10.0, m_exponent) * secondsOf(m_unit);
}

double VTimeMeasure::fromAnglo(double amount) const
{
    return fromMetric(amount);
}

double VTimeMeasure::fromMetric(double amount) const
{
    return amount / secondsOf(m_unit) / std::pow(10.0, m_exponent);
}
