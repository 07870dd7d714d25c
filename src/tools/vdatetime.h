#pragma once

#include "tools/vdate.h"
#include "tools/vtime.h"

/// A date and a time of day, in local time where the system's clock is concerned. The default is
/// the null date at the null time.
class ZYL_EXPORT VDateTime
{
public:
    constexpr VDateTime() = default;

    /// Midnight of `date`.
    constexpr VDateTime(VDate date) : m_date(date), m_time(0, 0) {}
    constexpr VDateTime(VDate date, VTime time) : m_date(date), m_time(time) {}

    constexpr bool isNull() const { return m_date.isNull() && m_time.isNull(); }
    constexpr bool isValid() const { return m_date.isValid() && m_time.isValid(); }

    constexpr VDate date() const { return m_date; }
    constexpr VTime time() const { return m_time; }
    constexpr void setDate(VDate date) { m_date = date; }
    constexpr void setTime(VTime time) { m_time = time; }

    /// Seconds since 1970 as the C library makes them of standard time: a moment of summer time
    /// comes out an hour late.
    long getTime_t() const;

    /// The local time of so many seconds since 1970; the start of 1970 where the C library can't
    /// tell it.
    void setTime_t(long seconds);

    /// "2026-11-12T14:05:09", "Thu Nov 12 14:05:09 2026", or the locale's date, a blank and its
    /// time. Null for the null date and any other format.
    QString toString(Zyl::DateFormat format = Zyl::TextDate) const;

    /// Takes the letters of `VDate` and `VTime`. Null for the null date.
    QString toString(const QString& format) const;

    constexpr VDateTime addDays(int days) const { return {m_date.addDays(days), m_time}; }
    constexpr VDateTime addMonths(int months) const { return {m_date.addMonths(months), m_time}; }
    constexpr VDateTime addYears(int years) const { return {m_date.addYears(years), m_time}; }
    constexpr VDateTime addSecs(int secs) const;

    constexpr int daysTo(const VDateTime& other) const { return m_date.daysTo(other.m_date); }
    constexpr int secsTo(const VDateTime& other) const
    {
        return saturatedInt(m_time.secsTo(other.m_time) + qint64(86400) * daysTo(other));
    }

    static VDateTime currentDateTime();

    /// Reads what `toString` writes in the same format. An empty text, an unknown month or
    /// `Zyl::LocalDate` warns and gives the null value. A date alone has an invalid time in
    /// `Zyl::ISODate`, with a warning, and midnight otherwise.
    static VDateTime fromString(const QString& text, Zyl::DateFormat format = Zyl::TextDate);

    friend constexpr bool operator==(const VDateTime& a, const VDateTime& b)
    {
        return a.m_date == b.m_date && a.m_time == b.m_time;
    }
    friend constexpr bool operator!=(const VDateTime& a, const VDateTime& b) { return !(a == b); }
    friend constexpr bool operator<(const VDateTime& a, const VDateTime& b)
    {
        return a.m_date != b.m_date ? a.m_date < b.m_date : a.m_time < b.m_time;
    }
    friend constexpr bool operator<=(const VDateTime& a, const VDateTime& b) { return !(b < a); }
    friend constexpr bool operator>(const VDateTime& a, const VDateTime& b) { return b < a; }
    friend constexpr bool operator>=(const VDateTime& a, const VDateTime& b) { return !(a < b); }

private:
    VDate m_date;
    VTime m_time;
};

/// The stream form is the date's, then the time's.
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const VDateTime& dateTime);
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, VDateTime& dateTime);

constexpr VDateTime VDateTime::addSecs(int secs) const
{
    const qint64 day = VTime::msecsPerDay;
    const qint64 sum = qint64(m_time.msecs()) + qint64(secs) * 1000;
    const qint64 days = (sum < 0 ? sum - (day - 1) : sum) / day;
    return {m_date.addDays(int(days)), VTime::fromMSecs(quint32(sum - days * day))};
}
