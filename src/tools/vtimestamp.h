#pragma once

#include "tools/vdatetime.h"

/// A moment with nanoseconds as databases store it: the fields stand apart and are not checked
/// against the calendar.
///
/// Beware of `operator!=`, which is not the negation of `operator==`.
class ZYL_EXPORT VTimestamp
{
public:
    constexpr VTimestamp() = default;
    constexpr VTimestamp(int year, int month, int day, int hour, int minute, int second,
                         int nanoseconds)
        : m_year(year), m_month(qint8(month)), m_day(qint8(day)),
          m_seconds(saturatedInt(qint64(hour) * 3600 + qint64(minute) * 60 + second)),
          m_nanoseconds(nanoseconds)
    {
    }

    /// From the null date every field is 0, whatever the time.
    constexpr VTimestamp(VDate date) { setDate(date); }

    /// Nanoseconds of 0 are replaced by the milliseconds of `time`.
    constexpr VTimestamp(VDate date, VTime time, int nanoseconds = 0);

    constexpr bool isNull() const { return *this == VTimestamp(); }

    /// Whether each field is in its range; a February 31 is valid.
    constexpr bool isValid() const
    {
        return m_month >= 1 && m_month <= 12 && m_day >= 1 && m_day <= 31 && m_seconds >= 0 &&
               m_seconds < 86400 && m_nanoseconds >= 0 && m_nanoseconds <= 999999999;
    }

    constexpr int year() const { return m_year; }
    constexpr int month() const { return m_month; }
    constexpr int day() const { return m_day; }
    constexpr int hour() const { return m_seconds / 3600; }
    constexpr int minute() const { return m_seconds / 60 % 60; }
    constexpr int second() const { return m_seconds % 60; }
    constexpr int nanoseconds() const { return m_nanoseconds; }

    /// The null date without a warning where the three fields are 0, otherwise what `VDate` makes
    /// of them.
    constexpr VDate date() const;
    constexpr VTime time() const
    {
        return VTime(hour(), minute(), second(), m_nanoseconds / 1000000);
    }
    constexpr void setDate(VDate date);
    constexpr void setTime(VTime time)
    {
        m_seconds = int(time.msecs() / 1000);
        m_nanoseconds = time.msec() * 1000000;
    }

    /// Seconds since 1970 as the C library makes them of standard time.
    long getTime() const;

    /// The local time of so many seconds since 1970; every field is 0 where the C library can't
    /// tell it.
    void setTime(long seconds);

    static VTimestamp currentTimestamp();

    /// "2026-11-12 14:05:09", and "." with nine digits when there are nanoseconds.
    QString toString() const;

    /// Reads what `toString` writes. What stands behind the point is the plain number of
    /// nanoseconds: ".5" are five. An empty text warns and gives the null value.
    static VTimestamp fromString(const QString& text);

    constexpr bool operator==(const VTimestamp& other) const
    {
        return m_year == other.m_year && m_month == other.m_month && m_day == other.m_day &&
               m_seconds == other.m_seconds && m_nanoseconds == other.m_nanoseconds;
    }

    /// True only if all five fields differ: programs rely on one equal field being enough
    /// for false.
    constexpr bool operator!=(const VTimestamp& other) const
    {
        return m_year != other.m_year && m_month != other.m_month && m_day != other.m_day &&
               m_seconds != other.m_seconds && m_nanoseconds != other.m_nanoseconds;
    }
    constexpr bool operator<(const VTimestamp& other) const;
    constexpr bool operator<=(const VTimestamp& other) const { return !(other < *this); }
    constexpr bool operator>(const VTimestamp& other) const { return other < *this; }
    constexpr bool operator>=(const VTimestamp& other) const { return !(*this < other); }

private:
    friend ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const VTimestamp& timestamp);
    friend ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, VTimestamp& timestamp);

    qint32 m_year = 0;
    qint8 m_month = 0;
    qint8 m_day = 0;
    qint32 m_seconds = 0;
    qint32 m_nanoseconds = 0;
};

/// The stream form is the fields: 32, 8, 8, 32 and 32 bits.
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const VTimestamp& timestamp);
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, VTimestamp& timestamp);

constexpr VTimestamp::VTimestamp(VDate date, VTime time, int nanoseconds)
{
    if (date.isNull())
        return;
    setDate(date);
    setTime(time);
    if (nanoseconds != 0)
        m_nanoseconds = nanoseconds;
}

constexpr VDate VTimestamp::date() const
{
    return m_year == 0 && m_month == 0 && m_day == 0 ? VDate() : VDate(m_year, m_month, m_day);
}

constexpr void VTimestamp::setDate(VDate date)
{
    const bool isNull = date.isNull();
    m_year = isNull ? 0 : date.year();
    m_month = isNull ? qint8(0) : qint8(date.month());
    m_day = isNull ? qint8(0) : qint8(date.day());
}

constexpr bool VTimestamp::operator<(const VTimestamp& other) const
{
    if (m_year != other.m_year)
        return m_year < other.m_year;
    if (m_month != other.m_month)
        return m_month < other.m_month;
    if (m_day != other.m_day)
        return m_day < other.m_day;
    if (m_seconds != other.m_seconds)
        return m_seconds < other.m_seconds;
    return m_nanoseconds < other.m_nanoseconds;
}
