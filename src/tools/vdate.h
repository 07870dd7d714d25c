#pragma once

#include "tools/saturate.h"
#include "tools/zyl.h"

class QDataStream;
class QString;

/// A day of the Gregorian calendar as its Julian day number. The calendar begins on 1752-09-14: the
/// null date and all earlier ones are invalid, though they keep their number.
///
/// Wherever a year is given, one of 99 or less has 1900 added.
class ZYL_EXPORT VDate
{
public:
    constexpr VDate() = default;

    /// The null date where `setYMD` refuses.
    constexpr VDate(int year, int month, int day) { setYMD(year, month, day); }

    static constexpr VDate fromJulianDay(quint32 number)
    {
        VDate date;
        date.m_julianDay = number;
        return date;
    }

    constexpr quint32 julianDay() const { return m_julianDay; }
    constexpr bool isNull() const { return m_julianDay == 0; }
    constexpr bool isValid() const { return m_julianDay > 2361221; }

    /// Warns, keeps the old date and returns false when there is no such day.
    constexpr bool setYMD(int year, int month, int day);

    constexpr int year() const { return fields().year; }
    constexpr int month() const { return fields().month; }
    constexpr int day() const { return fields().day; }

    /// Monday 1 to Sunday 7.
    constexpr int dayOfWeek() const { return int(((m_julianDay + 1) % 7 + 6) % 7 + 1); }
    constexpr int dayOfYear() const
    {
        return int(m_julianDay - gregorianToJulian(year(), 1, 1) + 1);
    }
    constexpr int daysInMonth() const { return monthLength(fields().year, fields().month); }
    constexpr int daysInYear() const { return leapYear(year()) ? 366 : 365; }

    /// Names in the C library's current locale. A number out of range warns and counts as 1.
    static QString shortMonthName(int month);
    static QString longMonthName(int month);
    static QString shortDayName(int weekday);
    static QString longDayName(int weekday);

    /// "2026-11-12", the locale's form, or "Thu Nov 12 2026" in the locale's names. Null for the
    /// null date.
    QString toString(Zyl::DateFormat format = Zyl::TextDate) const;

    /// Replaces the letters d dd ddd dddd M MM MMM MMMM yy yyyy and copies the rest. A run of one
    /// letter is cut into these, the longest first, and a single "y" is dropped. Null for the null
    /// date.
    QString toString(const QString& format) const;

    /// Moves the day number, whatever comes out.
    constexpr VDate addDays(int days) const { return fromJulianDay(m_julianDay + quint32(days)); }

    /// The same day of another month, or that month's last. Warns and is null before the calendar
    /// starts.
    constexpr VDate addMonths(int months) const;

    /// Unlike `addMonths`, warns and is null where February 29 meets a year without it.
    constexpr VDate addYears(int years) const;

    constexpr int daysTo(VDate other) const { return int(other.m_julianDay - m_julianDay); }

    static VDate currentDate();

    /// Reads "2026-11-12", or "Thu Nov 12 2026" with English month names or those of the locale. An
    /// empty text, an unknown month or `Zyl::LocalDate` warns and gives the null date.
    static VDate fromString(const QString& text, Zyl::DateFormat format = Zyl::TextDate);

    /// Whether `setYMD` takes the three. A year of 99 or less is not held against the start of the
    /// calendar.
    static constexpr bool isValid(int year, int month, int day);
    static constexpr bool leapYear(int year)
    {
        return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    }

    static constexpr quint32 gregorianToJulian(int year, int month, int day);

    /// Counts in 32 bits, so that numbers before March of the year 0 come out in the year 2935093.
    static constexpr void julianToGregorian(quint32 number, int& year, int& month, int& day);

    friend constexpr bool operator==(VDate a, VDate b) { return a.m_julianDay == b.m_julianDay; }
    friend constexpr bool operator!=(VDate a, VDate b) { return a.m_julianDay != b.m_julianDay; }
    friend constexpr bool operator<(VDate a, VDate b) { return a.m_julianDay < b.m_julianDay; }
    friend constexpr bool operator<=(VDate a, VDate b) { return a.m_julianDay <= b.m_julianDay; }
    friend constexpr bool operator>(VDate a, VDate b) { return a.m_julianDay > b.m_julianDay; }
    friend constexpr bool operator>=(VDate a, VDate b) { return a.m_julianDay >= b.m_julianDay; }

private:
    struct Fields {
        int year, month, day;
    };

    constexpr Fields fields() const
    {
        Fields result{};
        julianToGregorian(m_julianDay, result.year, result.month, result.day);
        return result;
    }

    static constexpr int monthLength(int year, int month)
    {
        // February's length aside, the long months alternate and August turns the beat.
        return month == 2 ? (leapYear(year) ? 29 : 28) : 30 + ((month + (month >> 3)) & 1);
    }

    static void warnInvalid(int year, int month, int day);

    quint32 m_julianDay = 0;
};

/// The stream form is the day number in 32 bits.
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, VDate date);
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, VDate& date);

constexpr quint32 VDate::gregorianToJulian(int year, int month, int day)
{
    // 64 bits, since years beyond 58 million leave 32.
    qint64 y = year <= 99 ? qint64(year) + 1900 : year;
    qint64 m = qint64(month) - 3;
    if (month < 3) {
        m += 12;
        --y;
    }
    const qint64 c = y / 100;
    const qint64 ya = y % 100;
    return quint32(146097 * c / 4 + 1461 * ya / 4 + (153 * m + 2) / 5 + day + 1721119);
}

constexpr void VDate::julianToGregorian(quint32 number, int& year, int& month, int& day)
{
    quint32 x = 4 * (number - 1721119) - 1;
    const quint32 century = x / 146097;
    x = (x - 146097 * century) & ~quint32(3);
    const quint32 y = (x + 3) / 1461;
    x = (x - 1461 * y + 7) / 4 * 5;
    const quint32 m = (x - 3) / 153;
    const bool isNextYear = m > 9;
    year = int(y + 100 * century) + isNextYear;
    month = int(m) + (isNextYear ? -9 : 3);
    day = int((x - 153 * m + 2) / 5);
}

constexpr bool VDate::isValid(int year, int month, int day)
{
    if (year <= 99)
        year += 1900;
    else if (year < 1752 || (year == 1752 && (month < 9 || (month == 9 && day < 14))))
        return false;
    return month >= 1 && month <= 12 && day >= 1 && day <= monthLength(year, month);
}

constexpr bool VDate::setYMD(int year, int month, int day)
{
    const Fields present = fields();
    if (present.year == year && present.month == month && present.day == day)
        return isValid();
    if (!isValid(year, month, day)) {
        warnInvalid(year, month, day);
        return false;
    }
    m_julianDay = gregorianToJulian(year, month, day);
    return true;
}

constexpr VDate VDate::addMonths(int months) const
{
    if (isNull())
        return VDate();
    const Fields from = fields();
    const qint64 index = qint64(from.year) * 12 + (from.month - 1) + months;
    const int month = int((index % 12 + 12) % 12);
    const int year = int((index - month) / 12);
    const int length = monthLength(year <= 99 ? year + 1900 : year, month + 1);
    return VDate(year, month + 1, from.day < length ? from.day : length);
}

constexpr VDate VDate::addYears(int years) const
{
    if (isNull())
        return VDate();
    const Fields from = fields();
    return VDate(saturatedInt(qint64(from.year) + years), from.month, from.day);
}
