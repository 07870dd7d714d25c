#include "tools/vdatetime.h"

#include "tools/datetext_p.h"

#include <algorithm>

#include <qdatastream.h>
#include <qlogging.h>

namespace
{
/// The first "hh:mm:ss" of the text, or midnight.
VTime findTime(QStringView text)
{
    const QStringView form = u"00:00:00";
    const auto matches = [](QChar unit, QChar wanted) {
        return wanted == u':' ? unit == wanted : unit >= u'0' && unit <= u'9';
    };
    const auto found = std::search(text.begin(), text.end(), form.begin(), form.end(), matches);
    if (found == text.end())
        return VTime(0, 0);
    return datetext::isoTime(text.mid(found - text.begin(), form.size()));
}
} // namespace

long VDateTime::getTime_t() const
{
    std::tm fields = datetext::brokenDown(m_time);
    const std::tm day = datetext::brokenDown(m_date);
    fields.tm_year = day.tm_year;
    fields.tm_mon = day.tm_mon;
    fields.tm_mday = day.tm_mday;
    return long(std::mktime(&fields));
}

void VDateTime::setTime_t(long seconds)
{
    const auto fields = datetext::brokenDown(std::time_t(seconds));
    m_date = fields ? datetext::dateOf(*fields) : VDate(1970, 1, 1);
    m_time = fields ? datetext::timeOf(*fields) : VTime(0, 0);
}

QString VDateTime::toString(Zyl::DateFormat format) const
{
    if (m_date.isNull())
        return QString();
    switch (format) {
    case Zyl::ISODate:
        return datetext::Builder().isoDate(m_date).put(u'T').isoTime(m_time).text();
    case Zyl::TextDate:
        return VDate::shortDayName(m_date.dayOfWeek()) + u' ' +
               VDate::shortMonthName(m_date.month()) +
               datetext::Builder()
                   .put(u' ')
                   .number(m_date.day(), 1)
                   .put(u' ')
                   .isoTime(m_time)
                   .put(u' ')
                   .number(m_date.year(), 1)
                   .text();
    case Zyl::LocalDate:
        return m_date.toString(format) + u' ' + m_time.toString(format);
    }
    return QString();
}

QString VDateTime::toString(const QString& format) const
{
    return m_date.isNull() ? QString() : datetext::formatted(format, &m_date, &m_time);
}

VDateTime VDateTime::currentDateTime()
{
    VDateTime now;
    now.m_date = VDate::currentDate();
    // The day may have turned between the two readings.
    if (VTime::currentTime(&now.m_time))
        now.m_date = VDate::currentDate();
    return now;
}

VDateTime VDateTime::fromString(const QString& text, Zyl::DateFormat format)
{
    if (!text.isEmpty() && format != Zyl::LocalDate) {
        const QStringView view = text;
        if (format == Zyl::ISODate) {
            const VTime time = datetext::isoTime(view.mid(11));
            return VDateTime(datetext::isoDate(view.mid(0, 10)), time);
        }
        if (const auto date = datetext::textDate(view))
            return VDateTime(*date, findTime(view));
    }
    qWarning("VDateTime::fromString: Parameter out of range.");
    return VDateTime();
}

QDataStream& operator<<(QDataStream& stream, const VDateTime& dateTime)
{
    return stream << dateTime.date() << dateTime.time();
}

QDataStream& operator>>(QDataStream& stream, VDateTime& dateTime)
{
    VDate date;
    VTime time;
    stream >> date >> time;
    dateTime = VDateTime(date, time);
    return stream;
}
