#include "tools/datetext_p.h"

#include <algorithm>

#include <qlogging.h>

namespace
{
constexpr const char* englishMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

/// The month of the name, from 1, or 0.
int monthNumber(QStringView name)
{
    for (int month = 1; month <= 12; ++month)
        if (name == QLatin1String(englishMonths[month - 1]))
            return month;
    for (int month = 1; month <= 12; ++month)
        if (name == VDate::shortMonthName(month))
            return month;
    return 0;
}

struct Moment {
    const VDate* date;
    const VTime* time;
    bool hasTwelveHours;

    int hour() const { return hasTwelveHours ? (time->hour() + 11) % 12 + 1 : time->hour(); }
    bool isMorning() const { return time->hour() < 12; }
};

struct Letters {
    const char* letters;
    bool areTime;
    void (*append)(QString& text, const Moment& moment);
};

void appendNumber(QString& text, int number, int width)
{
    text += datetext::Builder().number(number, width).text();
}

using Text = QString;
using At = const Moment;

// The longest first of each letter.
constexpr Letters letterTable[] = {
    {"dddd", false, [](Text& t, At& at) { t += VDate::longDayName(at.date->dayOfWeek()); }},
    {"ddd", false, [](Text& t, At& at) { t += VDate::shortDayName(at.date->dayOfWeek()); }},
    {"dd", false, [](Text& t, At& at) { appendNumber(t, at.date->day(), 2); }},
    {"d", false, [](Text& t, At& at) { appendNumber(t, at.date->day(), 1); }},
    {"MMMM", false, [](Text& t, At& at) { t += VDate::longMonthName(at.date->month()); }},
    {"MMM", false, [](Text& t, At& at) { t += VDate::shortMonthName(at.date->month()); }},
    {"MM", false, [](Text& t, At& at) { appendNumber(t, at.date->month(), 2); }},
    {"M", false, [](Text& t, At& at) { appendNumber(t, at.date->month(), 1); }},
    {"yyyy", false, [](Text& t, At& at) { appendNumber(t, at.date->year(), 4); }},
    {"yy", false, [](Text& t, At& at) { appendNumber(t, at.date->year() % 100, 2); }},
    {"y", false, [](Text&, At&) {}},
    {"hh", true, [](Text& t, At& at) { appendNumber(t, at.hour(), 2); }},
    {"h", true, [](Text& t, At& at) { appendNumber(t, at.hour(), 1); }},
    {"mm", true, [](Text& t, At& at) { appendNumber(t, at.time->minute(), 2); }},
    {"m", true, [](Text& t, At& at) { appendNumber(t, at.time->minute(), 1); }},
    {"ss", true, [](Text& t, At& at) { appendNumber(t, at.time->second(), 2); }},
    {"s", true, [](Text& t, At& at) { appendNumber(t, at.time->second(), 1); }},
    {"zzz", true, [](Text& t, At& at) { appendNumber(t, at.time->msec(), 3); }},
    {"z", true, [](Text& t, At& at) { appendNumber(t, at.time->msec(), 1); }},
    {"AP", true, [](Text& t, At& at) { t += QLatin1String(at.isMorning() ? "AM" : "PM"); }},
    {"ap", true, [](Text& t, At& at) { t += QLatin1String(at.isMorning() ? "am" : "pm"); }},
};

const Letters* findLetters(QStringView rest, const Moment& moment)
{
    for (const Letters& row : letterTable)
        if ((row.areTime ? moment.time != nullptr : moment.date != nullptr) &&
            rest.startsWith(QLatin1String(row.letters)))
            return &row;
    return nullptr;
}
} // namespace

datetext::Builder& datetext::Builder::number(qint64 value, int width)
{
    char16_t digits[24];
    int count = 0;
    quint64 left = value < 0 ? 0 - quint64(value) : quint64(value);
    do {
        digits[count++] = char16_t(u'0' + left % 10);
        left /= 10;
    } while (left != 0);
    if (value < 0) {
        put(u'-');
        --width;
    }
    for (int i = count; i < width; ++i)
        put(u'0');
    while (count > 0)
        put(digits[--count]);
    return *this;
}

datetext::Builder& datetext::Builder::isoDate(VDate date)
{
    int year = 0, month = 0, day = 0;
    VDate::julianToGregorian(date.julianDay(), year, month, day);
    return number(year, 4).put(u'-').number(month, 2).put(u'-').number(day, 2);
}

datetext::Builder& datetext::Builder::isoTime(VTime time)
{
    number(time.hour(), 2).put(u':');
    return number(time.minute(), 2).put(u':').number(time.second(), 2);
}

int datetext::number(QStringView text)
{
    int value = 0;
    for (const QChar digit : text) {
        const unsigned difference = unsigned(digit.unicode()) - u'0';
        // Blanks, signs and numbers that may not fit take the long way.
        if (difference > 9 || value > 99999999)
            return text.toInt();
        value = value * 10 + int(difference);
    }
    return value;
}

VDate datetext::isoDate(QStringView text)
{
    const int year = number(text.mid(0, 4));
    const int month = number(text.mid(5, 2));
    const int day = number(text.mid(8, 2));
    return year != 0 && month != 0 && day != 0 ? VDate(year, month, day) : VDate();
}

VTime datetext::isoTime(QStringView text)
{
    if (text.isEmpty()) {
        qWarning("VTime::fromString: Parameter out of range.");
        return VTime();
    }
    return VTime(number(text.mid(0, 2)), number(text.mid(3, 2)), number(text.mid(6, 2)),
                 number(text.mid(9, 3)));
}

std::optional<VDate> datetext::textDate(QStringView text)
{
    const int month = monthNumber(text.mid(4, 3));
    if (month == 0)
        return std::nullopt;
    return VDate(number(text.right(4)), month, number(text.mid(8, 2)));
}

QString datetext::formatted(const QString& format, const VDate* date, const VTime* time)
{
    const bool hasTwelveHours =
        format.contains(QLatin1String("AP")) || format.contains(QLatin1String("ap"));
    const Moment moment{date, time, hasTwelveHours};
    QString text;
    text.reserve(format.size());
    for (QStringView rest = format; !rest.isEmpty();) {
        const Letters* row = findLetters(rest, moment);
        if (row)
            row->append(text, moment);
        else
            text += rest[0];
        rest = rest.mid(row ? qsizetype(qstrlen(row->letters)) : 1);
    }
    return text;
}

QString datetext::localText(const std::tm& fields, const char* format)
{
    char bytes[256];
    const std::size_t length = std::strftime(bytes, sizeof bytes, format, &fields);
    return length == 0 ? QString() : QString::fromLocal8Bit(bytes, qsizetype(length));
}

std::tm datetext::brokenDown(VDate date)
{
    std::tm fields{};
    VDate::julianToGregorian(date.julianDay(), fields.tm_year, fields.tm_mon, fields.tm_mday);
    fields.tm_year = tmYear(fields.tm_year);
    --fields.tm_mon;
    return fields;
}

std::tm datetext::brokenDown(VTime time)
{
    std::tm fields{};
    fields.tm_hour = time.hour();
    fields.tm_min = time.minute();
    fields.tm_sec = time.second();
    return fields;
}

std::optional<std::tm> datetext::brokenDown(std::time_t seconds)
{
    std::tm fields;
    // Unlike localtime, localtime_r need not look at a changed zone by itself.
    tzset();
    if (localtime_r(&seconds, &fields) || gmtime_r(&seconds, &fields))
        return fields;
    return std::nullopt;
}

VDate datetext::dateOf(const std::tm& fields)
{
    const int year = yearOf(fields);
    // Two digits would count as years of the last century.
    return year <= 99 ? VDate() : VDate(year, fields.tm_mon + 1, fields.tm_mday);
}

VTime datetext::timeOf(const std::tm& fields)
{
    // A leap second belongs to the minute that it ends.
    return VTime(fields.tm_hour, fields.tm_min, std::min(fields.tm_sec, 59));
}
