#include "tools/vdatetime.h"
#include "support/text.h"
#include "support/warnings.h"

#include <cstdlib>
#include <ctime>
#include <limits>

namespace
{
static_assert(std::is_trivially_copyable_v<VDateTime> && sizeof(VDateTime) == 8);

/// Sets the time zone for its block.
class Zone
{
public:
    explicit Zone(const QByteArray& name)
        : m_old(qgetenv("TZ")), m_wasSet(qEnvironmentVariableIsSet("TZ"))
    {
        qputenv("TZ", name);
        tzset();
    }
    ~Zone()
    {
        if (m_wasSet)
            qputenv("TZ", m_old);
        else
            qunsetenv("TZ");
        tzset();
    }
    Zone(const Zone&) = delete;
    Zone& operator=(const Zone&) = delete;

private:
    QByteArray m_old;
    bool m_wasSet;
};
} // namespace

TEST(VDateTime, AddsSecondsAcrossDays)
{
    struct Case {
        VDateTime from;
        int secs;
        VDateTime result;
    };
    const int largest = std::numeric_limits<int>::max();
    const VDateTime epoch(VDate(1970, 1, 1));
    const Case cases[] = {
        {epoch, -1, {VDate(1969, 12, 31), VTime(23, 59, 59)}},
        {{VDate(2024, 2, 28), VTime(23, 59, 59, 999)},
         1,
         {VDate(2024, 2, 29), VTime(0, 0, 0, 999)}},
        {epoch, -86400, {VDate(1969, 12, 31), VTime(0, 0)}},
        {epoch, 86399, {VDate(1970, 1, 1), VTime(23, 59, 59)}},
        {{VDate(1970, 1, 1), VTime(12, 0)},
         -2 * 86400 - 43201,
         {VDate(1969, 12, 29), VTime(23, 59, 59)}},
        // The ends of a signed 32-bit clock.
        {epoch, largest, {VDate(2038, 1, 19), VTime(3, 14, 7)}},
        {epoch, -largest - 1, {VDate(1901, 12, 13), VTime(20, 45, 52)}},
        {{VDate(1970, 1, 1), VTime()}, 0, VDate(1970, 1, 2)},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.from.addSecs(c.secs), c.result) << c.secs;
        if (c.from.isValid()) {
            EXPECT_EQ(c.from.secsTo(c.result), c.secs);
        }
    }
    EXPECT_EQ(VDateTime(VDate(1753, 1, 1)).secsTo(VDate(2400, 1, 1)), largest);
    EXPECT_EQ(VDateTime(VDate(2400, 1, 1)).secsTo(VDate(1753, 1, 1)), -largest - 1);
}

TEST(VDateTime, ComparesTheDateBeforeTheTime)
{
    const VDateTime early(VDate(2024, 1, 1), VTime(23, 0)), late(VDate(2024, 1, 2), VTime(1, 0));
    EXPECT_TRUE(early < late && early <= late && late > early && late >= early && early != late);
    EXPECT_FALSE(late < early || late <= early || early > late || early >= late || early == late);
    EXPECT_TRUE(early <= early && early >= early && !(early < early));
}

TEST(VDateTime, WritesItsForms)
{
    const VDateTime moment(VDate(2026, 11, 2), VTime(14, 5, 9, 250));
    EXPECT_EQ(moment.toString(Zyl::ISODate), text("2026-11-02T14:05:09"));
    EXPECT_EQ(moment.toString(), text("Mon Nov 2 14:05:09 2026"));
    EXPECT_EQ(moment.toString(Zyl::LocalDate), text("11/02/26 14:05:09"));
    EXPECT_TRUE(moment.toString(Zyl::DateFormat(3)).isNull());
    EXPECT_EQ(moment.toString(text("yyMMddhhmmss")), text("261102140509"));
    EXPECT_EQ(moment.toString(text("yyyy-MM-dd h.mm AP zzz")), text("2026-11-02 2.05 PM 250"));
    EXPECT_TRUE(VDateTime().toString(Zyl::ISODate).isNull());
}

namespace
{
struct Reading {
    const char* text;
    Zyl::DateFormat format;
    VDateTime result;
    const char* warning;
};

class DateTimeText : public testing::TestWithParam<Reading>
{
};

TEST_P(DateTimeText, IsRead)
{
    WarningCatcher warnings;
    EXPECT_EQ(VDateTime::fromString(text(GetParam().text), GetParam().format), GetParam().result);
    EXPECT_EQ(warnings.text(), text(GetParam().warning));
}

constexpr VDate date(2026, 11, 2);
constexpr char outOfRange[] = "VDateTime::fromString: Parameter out of range.";

INSTANTIATE_TEST_SUITE_P(
    Forms, DateTimeText,
    testing::Values(
        Reading{"2026-11-02T14:05:09.250", Zyl::ISODate, {date, VTime(14, 5, 9, 250)}, ""},
        Reading{"2026-11-02",
                Zyl::ISODate,
                {date, VTime()},
                "VTime::fromString: Parameter out of range."},
        Reading{"garbage", Zyl::ISODate, {}, "VTime::fromString: Parameter out of range."},
        Reading{"Mon Nov 2 14:05:09 2026", Zyl::TextDate, {date, VTime(14, 5, 9)}, ""},
        Reading{"Mon Nov 02 1414:05:0999 2026", Zyl::TextDate, {date, VTime(14, 5, 9)}, ""},
        Reading{"Mon Nov 02 2026", Zyl::TextDate, {date, VTime(0, 0)}, ""},
        Reading{"Mon Nov 02 99:05:09 2026",
                Zyl::TextDate,
                {date, VTime()},
                "VTime::setHMS Invalid time 99:05:09.000"},
        Reading{"Mon Now 02 14:05:09 2026", Zyl::TextDate, {}, outOfRange},
        Reading{"", Zyl::ISODate, {}, outOfRange},
        Reading{"2026-11-02T14:05:09", Zyl::LocalDate, {}, outOfRange}));
} // namespace

TEST(VDateTime, ConvertsToAndFromTheSystemsClock)
{
    const Zone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    VDateTime moment;
    moment.setTime_t(1700000000);
    EXPECT_EQ(moment, VDateTime(VDate(2023, 11, 14), VTime(23, 13, 20)));
    EXPECT_EQ(moment.getTime_t(), 1700000000);
    // A summer time is taken for standard time, so that it comes out an hour late.
    moment.setTime_t(1690000000);
    EXPECT_EQ(moment, VDateTime(VDate(2023, 7, 22), VTime(6, 26, 40)));
    EXPECT_EQ(moment.getTime_t(), 1690003600);
}

TEST(VDateTime, SystemTimesOutsideTheCalendar)
{
    const Zone zone("UTC");
    WarningCatcher warnings;
    VDateTime moment;
    moment.setTime_t(std::numeric_limits<long>::max());
    EXPECT_EQ(moment, VDateTime(VDate(1970, 1, 1)));
    // The last second that a 32-bit year can tell.
    moment.setTime_t(67768036191676799);
    EXPECT_TRUE(warnings.isEmpty());
    // In the year 50, which must not be taken for 1950.
    moment.setTime_t(-60589296000);
    EXPECT_TRUE(moment.date().isNull());
    moment.setTime_t(-7000000000);
    EXPECT_TRUE(moment.date().isNull());
    EXPECT_EQ(warnings.text(), text("VDate::setYMD: Invalid date 1748/03/06"));
}

TEST(VDateTime, TheFirstMinuteAfterMidnightIsReported)
{
    std::time_t now = std::time(nullptr);
    // A zone where it is now half a minute past midnight, of today or tomorrow.
    const int behind = int(now % 86400) - 30;
    const QByteArray sign = behind < 0 ? "-" : "";
    const int seconds = std::abs(behind);
    const Zone zone("XXX" + sign + QByteArray::number(seconds / 3600) + ':' +
                    QByteArray::number(seconds / 60 % 60) + ':' + QByteArray::number(seconds % 60));
    VTime time;
    EXPECT_TRUE(VTime::currentTime(&time));
    EXPECT_EQ(time.minute(), 0);
    const VDateTime moment = VDateTime::currentDateTime();
    EXPECT_EQ(moment.date().julianDay(), 2440588u + quint32((now - behind) / 86400));
    EXPECT_EQ(VDate::currentDate(), moment.date());
}

TEST(VDateTime, StreamsTheDateAndThenTheTime)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << VDateTime(VDate(1970, 1, 1), VTime(0, 0, 1));
    EXPECT_EQ(bytes.toHex(), QByteArray("00253d8c000003e8"));
    QDataStream in(bytes);
    VDateTime moment;
    in >> moment;
    EXPECT_EQ(moment, VDateTime(VDate(1970, 1, 1), VTime(0, 0, 1)));
}
