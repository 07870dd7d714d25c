#pragma once

#include "tools/saturate.h"
#include "tools/zyl.h"

class QDataStream;
class QString;

/// A time of day in milliseconds since midnight. 86400000 marks the null time, which is invalid and
/// reads 24:00:00.
class ZYL_EXPORT VTime
{
public:
    static constexpr quint32 msecsPerDay = 86400000;

    constexpr VTime() = default;

    /// The null time where `setHMS` refuses.
    constexpr VTime(int hour, int minute, int second = 0, int msec = 0)
    {
        setHMS(hour, minute, second, msec);
    }

    /// The time that many milliseconds after midnight, unchecked.
    static constexpr VTime fromMSecs(quint32 msecs)
    {
        VTime time;
        time.m_msecs = msecs;
        return time;
    }

    constexpr quint32 msecs() const { return m_msecs; }
    constexpr bool isNull() const { return m_msecs == msecsPerDay; }
    constexpr bool isValid() const { return m_msecs < msecsPerDay; }

    /// Warns, stores the null time and returns false when there is no such time.
    constexpr bool setHMS(int hour, int minute, int second, int msec = 0);

    constexpr int hour() const { return int(m_msecs / 3600000); }
    constexpr int minute() const { return int(m_msecs / 60000 % 60); }
    constexpr int second() const { return int(m_msecs / 1000 % 60); }
    constexpr int msec() const { return int(m_msecs % 1000); }

    /// "14:05:09", or the locale's form.
    QString toString(Zyl::DateFormat format = Zyl::TextDate) const;

    /// Replaces the letters h hh m mm s ss z zzz AP ap and copies the rest; with "AP" or "ap" the
    /// hours are those of a twelve-hour clock. A run of one letter is cut into these, the longest
    /// first.
    QString toString(const QString& format) const;

    /// Go round at midnight in both directions.
    constexpr VTime addSecs(int secs) const { return moved(qint64(secs) * 1000); }
    constexpr VTime addMSecs(int msecs) const { return moved(msecs); }

    /// Whole seconds, truncated.
    constexpr int secsTo(VTime other) const
    {
        return int((qint64(other.m_msecs) - m_msecs) / 1000);
    }
    constexpr int msecsTo(VTime other) const
    {
        return saturatedInt(qint64(other.m_msecs) - m_msecs);
    }

    static VTime currentTime();

    /// Sets `*now` and returns true in the first minute after midnight, when a date read before may
    /// be yesterday's. Warns and returns false for a null pointer.
    static bool currentTime(VTime* now);

    /// Reads "14:05:09.250" by the places of its digits. An empty text or `Zyl::LocalDate` warns
    /// and gives the null time.
    static VTime fromString(const QString& text, Zyl::DateFormat format = Zyl::TextDate);

    static constexpr bool isValid(int hour, int minute, int second, int msec = 0)
    {
        return unsigned(hour) <= 23 && unsigned(minute) <= 59 && unsigned(second) <= 59 &&
               unsigned(msec) <= 999;
    }

    /// A stop watch for less than a day: `elapsed` counts the milliseconds since `start`, and
    /// `restart` counts them and starts again.
    void start();
    int restart();
    int elapsed() const;

    friend constexpr bool operator==(VTime a, VTime b) { return a.m_msecs == b.m_msecs; }
    friend constexpr bool operator!=(VTime a, VTime b) { return a.m_msecs != b.m_msecs; }
    friend constexpr bool operator<(VTime a, VTime b) { return a.m_msecs < b.m_msecs; }
    friend constexpr bool operator<=(VTime a, VTime b) { return a.m_msecs <= b.m_msecs; }
    friend constexpr bool operator>(VTime a, VTime b) { return a.m_msecs > b.m_msecs; }
    friend constexpr bool operator>=(VTime a, VTime b) { return a.m_msecs >= b.m_msecs; }

private:
    friend class VTimeRange;

    constexpr VTime moved(qint64 msecs) const
    {
        const qint64 day = msecsPerDay;
        return fromMSecs(quint32((m_msecs + msecs % day + day) % day));
    }

    static void warnInvalid(int hour, int minute, int second, int msec);

    quint32 m_msecs = msecsPerDay;
};

/// The stream form is the milliseconds in 32 bits.
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, VTime time);
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, VTime& time);

constexpr bool VTime::setHMS(int hour, int minute, int second, int msec)
{
    if (!isValid(hour, minute, second, msec)) {
        m_msecs = msecsPerDay;
        warnInvalid(hour, minute, second, msec);
        return false;
    }
    m_msecs = quint32(((hour * 60 + minute) * 60 + second) * 1000 + msec);
    return true;
}
