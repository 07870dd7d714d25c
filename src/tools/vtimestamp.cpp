#include "tools/vtimestamp.h"

#include "tools/datetext_p.h"

#include <qdatastream.h>
#include <qlogging.h>

long VTimestamp::getTime() const
{
    std::tm fields{};
    fields.tm_year = datetext::tmYear(m_year);
    fields.tm_mon = m_month - 1;
    fields.tm_mday = m_day;
    fields.tm_hour = hour();
    fields.tm_min = minute();
    fields.tm_sec = second();
    return long(std::mktime(&fields));
}

void VTimestamp::setTime(long seconds)
{
    const auto fields = datetext::brokenDown(std::time_t(seconds));
    *this = fields ? VTimestamp(datetext::yearOf(*fields), fields->tm_mon + 1, fields->tm_mday,
                                fields->tm_hour, fields->tm_min, fields->tm_sec, 0)
                   : VTimestamp();
}

VTimestamp VTimestamp::currentTimestamp()
{
    const VDateTime now = VDateTime::currentDateTime();
    return VTimestamp(now.date(), now.time());
}

QString VTimestamp::toString() const
{
    datetext::Builder text;
    text.number(m_year, 4).put(u'-').number(m_month, 2).put(u'-').number(m_day, 2).put(u' ');
    text.number(hour(), 2).put(u':').number(minute(), 2).put(u':').number(second(), 2);
    if (m_nanoseconds != 0)
        text.put(u'.').number(m_nanoseconds, 9);
    return text.text();
}

VTimestamp VTimestamp::fromString(const QString& text)
{
    if (text.isEmpty()) {
        qWarning("VTimestamp::valueOf: Parameter out of range.");
        return VTimestamp();
    }
    const QStringView view = text;
    const VDate date = datetext::isoDate(view.mid(0, 10));
    const VTime time = datetext::isoTime(view.mid(11));
    return VTimestamp(date, time, datetext::number(view.mid(20)));
}

QDataStream& operator<<(QDataStream& stream, const VTimestamp& timestamp)
{
    return stream << qint32(timestamp.m_year) << qint8(timestamp.m_month) << qint8(timestamp.m_day)
                  << qint32(timestamp.m_seconds) << qint32(timestamp.m_nanoseconds);
}

QDataStream& operator>>(QDataStream& stream, VTimestamp& timestamp)
{
    return stream >> timestamp.m_year >> timestamp.m_month >> timestamp.m_day >>
           timestamp.m_seconds >> timestamp.m_nanoseconds;
}
