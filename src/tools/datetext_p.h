#pragma once

#include "tools/vdate.h"
#include "tools/vtime.h"

#include <ctime>
#include <optional>

#include <qstring.h>

/// What the date and time classes share about text and the C library's clock.
namespace datetext
{
/// Builds a short text of numbers on the stack, so that it is allocated once.
class Builder
{
public:
    Builder& put(char16_t unit)
    {
        if (m_size < capacity)
            m_units[m_size++] = unit;
        return *this;
    }

    /// At least `width` characters, filled with zeros in front.
    Builder& number(qint64 value, int width);

    Builder& isoDate(VDate date);
    Builder& isoTime(VTime time);
    QString text() const { return QString(reinterpret_cast<const QChar*>(m_units), m_size); }

private:
    // Room for the widest date, time and nanoseconds with their separators.
    static constexpr int capacity = 64;

    char16_t m_units[capacity];
    int m_size = 0;
};

/// The decimal number that the text is, blanks around it allowed, or 0.
int number(QStringView text);

VDate isoDate(QStringView text);

/// Warns for an empty text.
VTime isoTime(QStringView text);

/// The date of "Thu Nov 12 ... 2026", or nothing if there is no such month.
std::optional<VDate> textDate(QStringView text);

/// Replaces the letters of `format`. Those of the date or the time are copied as they stand where
/// that is null.
QString formatted(const QString& format, const VDate* date, const VTime* time);

/// What `strftime` makes of one field in the current locale, or null.
QString localText(const std::tm& fields, const char* format);
std::tm brokenDown(VDate date);
std::tm brokenDown(VTime time);

/// The local time, else the universal one; nothing where the year leaves the C library's range.
std::optional<std::tm> brokenDown(std::time_t seconds);

/// Null where the calendar of `VDate` has no such day.
VDate dateOf(const std::tm& fields);
VTime timeOf(const std::tm& fields);

/// The year as `std::tm` counts it, and back.
constexpr int tmYear(int year)
{
    return saturatedInt(qint64(year) - 1900);
}

constexpr int yearOf(const std::tm& fields)
{
    return saturatedInt(qint64(fields.tm_year) + 1900);
}
} // namespace datetext
