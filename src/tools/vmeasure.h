#pragma once

#include "toolkit/zylexport.h"

#include <qglobal.h>

class QString;

/// A unit of measure. Amounts convert between units through the metric one of their kind; this base
/// class has no kind, and leaves amounts as they are.
class ZYL_EXPORT VMeasure
{
public:
    VMeasure() = default;
    VMeasure(const VMeasure&) = default;
    VMeasure& operator=(const VMeasure&) = default;
    virtual ~VMeasure();

    virtual double toAnglo(double amount) const;
    virtual double toMetric(double amount) const;

    /// An amount of this unit in units of `target`, which has to be of the same kind.
    virtual double toTarget(double amount, const VMeasure& target) const;

    virtual double fromAnglo(double amount) const;
    virtual double fromMetric(double amount) const;
};

/// A unit of time, times a power of ten. The metric and the Anglo-American unit are both the
/// second. A year is the mean Gregorian one of 31556952 seconds, and a month its twelfth.
class ZYL_EXPORT VTimeMeasure : public VMeasure
{
public:
    enum Unit { Second, Minute, QuarterHour, Hour, Day, Week, Month, Quarter, Year, Century };

    VTimeMeasure() = default;
    explicit VTimeMeasure(int unit, int exponent = 0);

    /// Amounts are multiplied by ten to this power, which is held to 16 bits.
    int exponent() const { return m_exponent; }
    void setExponent(int exponent);

    int unit() const { return m_unit; }

    /// Stores the index of a name. One that has no name counts in seconds.
    void setUnit(int unit) { m_unit = unit; }

    /// "Second", "Quarter hour" and so on; null for an index without a name.
    QString name() const;

    double toAnglo(double amount) const override;
    double toMetric(double amount) const override;
    double fromAnglo(double amount) const override;
    double fromMetric(double amount) const override;

    bool operator==(const VTimeMeasure& other) const
    {
        return m_unit == other.m_unit && m_exponent == other.m_exponent;
    }
    bool operator!=(const VTimeMeasure& other) const { return !(*this == other); }

private:
    qint16 m_exponent = 0;
    int m_unit = Second;
};
