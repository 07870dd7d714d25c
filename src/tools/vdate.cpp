#include "tools/vdate.h"

#include "tools/datetext_p.h"

#include <qdatastream.h>
#include <qlogging.h>

namespace
{
QString monthName(int month, const char* format, const char* function)
{
    if (month < 1 || month > 12) {
        qWarning("VDate::%s: Parameter out ouf range.", function);
        month = 1;
    }
    std::tm fields{};
    fields.tm_mon = month - 1;
    return datetext::localText(fields, format);
}

QString dayName(int weekday, const char* format, const char* function)
{
    if (weekday < 1 || weekday > 7) {
        qWarning("VDate::%s: Parameter out of range.", function);
        weekday = 1;
    }
    std::tm fields{};
    fields.tm_wday = weekday % 7;
    return datetext::localText(fields, format);
}
} // namespace

void VDate::warnInvalid(int year, int month, int day)
{
    qWarning("VDate::setYMD: Invalid date %04d/%02d/%02d", year, month, day);
}

QString VDate::shortMonthName(int month)
{
    return monthName(month, "%b", "shortMonthName");
}

QString VDate::longMonthName(int month)
{
    return monthName(month, "%B", "longMonthName");
}

QString VDate::shortDayName(int weekday)
{
    return dayName(weekday, "%a", "shortDayName");
}

QString VDate::longDayName(int weekday)
{
    return dayName(weekday, "%A", "longDayName");
}

QString VDate::toString(Zyl::DateFormat format) const
{
    if (isNull())
        return QString();
    if (format == Zyl::ISODate)
        return datetext::Builder().isoDate(*this).text();
    if (format == Zyl::LocalDate)
        return datetext::localText(datetext::brokenDown(*this), "%x");
    const Fields present = fields();
    return shortDayName(dayOfWeek()) + u' ' + shortMonthName(present.month) +
           datetext::Builder()
               .put(u' ')
               .number(present.day, 1)
               .put(u' ')
               .number(present.year, 1)
               .text();
}

QString VDate::toString(const QString& format) const
{
    return isNull() ? QString() : datetext::formatted(format, this, nullptr);
}

VDate VDate::currentDate()
{
    const auto fields = datetext::brokenDown(std::time(nullptr));
    return fields ? datetext::dateOf(*fields) : VDate();
}

VDate VDate::fromString(const QString& text, Zyl::DateFormat format)
{
    if (!text.isEmpty() && format != Zyl::LocalDate) {
        if (format == Zyl::ISODate)
            return datetext::isoDate(text);
        if (const auto date = datetext::textDate(text))
            return *date;
    }
    qWarning("VDate::fromString: Parameter out of range.");
    return VDate();
}

QDataStream& operator<<(QDataStream& stream, VDate date)
{
    return stream << quint32(date.julianDay());
}

QDataStream& operator>>(QDataStream& stream, VDate& date)
{
    quint32 number;
    stream >> number;
    date = VDate::fromJulianDay(number);
    return stream;
}
