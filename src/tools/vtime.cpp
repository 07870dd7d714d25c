#include "tools/vtime.h"

#include "tools/datetext_p.h"

#include <sys/time.h>

#include <qdatastream.h>
#include <qlogging.h>

void VTime::warnInvalid(int hour, int minute, int second, int msec)
{
    qWarning("VTime::setHMS Invalid time %02d:%02d:%02d.%03d", hour, minute, second, msec);
}

QString VTime::toString(Zyl::DateFormat format) const
{
    if (format == Zyl::LocalDate)
        return datetext::localText(datetext::brokenDown(*this), "%X");
    return datetext::Builder().isoTime(*this).text();
}

QString VTime::toString(const QString& format) const
{
    return datetext::formatted(format, nullptr, this);
}

VTime VTime::currentTime()
{
    VTime now;
    currentTime(&now);
    return now;
}

bool VTime::currentTime(VTime* now)
{
    if (!now) {
        qWarning("VTime::currentTime(VTime *): Null pointer not allowed");
        return false;
    }
    timeval clock;
    gettimeofday(&clock, nullptr);
    const auto fields = datetext::brokenDown(clock.tv_sec);
    *now = fields ? datetext::timeOf(*fields).addMSecs(int(clock.tv_usec / 1000)) : VTime(0, 0);
    return now->hour() == 0 && now->minute() == 0;
}

VTime VTime::fromString(const QString& text, Zyl::DateFormat format)
{
    return datetext::isoTime(format == Zyl::LocalDate ? QStringView() : QStringView(text));
}

void VTime::start()
{
    *this = currentTime();
}

int VTime::restart()
{
    const VTime earlier = *this;
    start();
    const int passed = earlier.msecsTo(*this);
    return passed < 0 ? passed + int(msecsPerDay) : passed;
}

int VTime::elapsed() const
{
    return VTime(*this).restart();
}

QDataStream& operator<<(QDataStream& stream, VTime time)
{
    return stream << quint32(time.msecs());
}

QDataStream& operator>>(QDataStream& stream, VTime& time)
{
    quint32 msecs;
    stream >> msecs;
    time = VTime::fromMSecs(msecs);
    return stream;
}
