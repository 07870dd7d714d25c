#include "tools/vdate.h"
#include "support/text.h"
#include "support/warnings.h"

#include <ctime>
#include <limits>

#include <qdatetime.h>

namespace
{
constexpr int largest = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

static_assert(std::is_trivially_copyable_v<VDate> && sizeof(VDate) == 4);
static_assert(VDate(1970, 1, 1).julianDay() == 2440588);
static_assert(VDate(1752, 9, 14).julianDay() == 2361222);
} // namespace

TEST(VDate, AgreesWithTheSystemOnEveryDayTo2400)
{
    constexpr std::time_t secondsPerDay = 86400;
    std::tm start{};
    start.tm_year = 1752 - 1900;
    start.tm_mon = 8;
    start.tm_mday = 14;
    const std::time_t first = timegm(&start);
    int days = 0;
    for (VDate date(1752, 9, 14); date.year() <= 2400; date = date.addDays(1), ++days) {
        const std::time_t seconds = first + days * secondsPerDay;
        std::tm system;
        gmtime_r(&seconds, &system);
        const int year = system.tm_year + 1900, month = system.tm_mon + 1;
        ASSERT_TRUE(date.year() == year && date.month() == month && date.day() == system.tm_mday)
            << date.julianDay();
        ASSERT_EQ(VDate(year, month, system.tm_mday), date);
        ASSERT_EQ(date.dayOfWeek(), (system.tm_wday + 6) % 7 + 1);
        ASSERT_EQ(date.dayOfYear(), system.tm_yday + 1);
        const QDate other = QDate::fromJulianDay(date.julianDay());
        ASSERT_EQ(date.daysInMonth(), other.daysInMonth()) << date.julianDay();
        ASSERT_EQ(date.daysInYear(), other.daysInYear()) << date.julianDay();
    }
    EXPECT_EQ(days, 236786) << "648 years, 109 days and 157 leap days";
}

TEST(VDate, AddsMonthsAsTheToolkitDoes)
{
    for (const QDate& from : {QDate(2024, 1, 31), QDate(2024, 2, 29), QDate(2023, 12, 15),
                              QDate(2000, 11, 30), QDate(1900, 3, 31)}) {
        const VDate date(from.year(), from.month(), from.day());
        for (int months = -1300; months <= 1300; ++months)
            ASSERT_EQ(date.addMonths(months).julianDay(), from.addMonths(months).toJulianDay())
                << months;
    }
}

TEST(VDate, ADateBeforeTheCalendarWarnsAndKeepsTheOldOne)
{
    const int bad[][3] = {{1752, 9, 13}, {1752, 8, 31}, {1751, 12, 31}, {100, 1, 1},
                          {2023, 2, 29}, {1900, 2, 29}, {2024, 4, 31},  {2024, 0, 1},
                          {2024, 13, 1}, {2024, 1, 0},  {2024, 1, 32},  {2024, least, 1},
                          {0, 2, 29},    {2024, 1, -1}};
    for (const auto& ymd : bad) {
        WarningCatcher warnings;
        VDate date(2024, 2, 29);
        EXPECT_FALSE(date.setYMD(ymd[0], ymd[1], ymd[2]));
        EXPECT_EQ(date, VDate(2024, 2, 29));
        EXPECT_EQ(warnings.text(), QString::asprintf("VDate::setYMD: Invalid date %04d/%02d/%02d",
                                                     ymd[0], ymd[1], ymd[2]));
    }
}

TEST(VDate, YearsOf99AndLessBelongToTheLastCentury)
{
    EXPECT_EQ(VDate(99, 1, 1), VDate(1999, 1, 1));
    EXPECT_EQ(VDate(0, 2, 28), VDate(1900, 2, 28));
    // These are not held against the start of the calendar.
    VDate old;
    EXPECT_TRUE(old.setYMD(-200, 3, 1));
    EXPECT_EQ(old.year(), 1700);
    EXPECT_FALSE(old.isValid());
    EXPECT_FALSE(old.setYMD(1700, 3, 1)) << "the present date is not tested again";
    EXPECT_TRUE(VDate::isValid(-300, 2, 29));
    EXPECT_FALSE(VDate::isValid(-200, 2, 29));
}

TEST(VDate, AddYearsDoesNotClampWhereAddMonthsDoes)
{
    WarningCatcher warnings;
    EXPECT_TRUE(VDate(2024, 2, 29).addYears(1).isNull());
    EXPECT_EQ(warnings.text(), text("VDate::setYMD: Invalid date 2025/02/29"));
    EXPECT_EQ(VDate(2024, 2, 29).addMonths(12), VDate(2025, 2, 28));
    EXPECT_EQ(VDate(2024, 2, 29).addYears(-4), VDate(2020, 2, 29));
    EXPECT_TRUE(VDate(1753, 1, 1).addMonths(-4).isNull());
    EXPECT_EQ(warnings.text(), text("VDate::setYMD: Invalid date 1752/09/01"));
    EXPECT_TRUE(VDate().addMonths(1).isNull());
    EXPECT_TRUE(VDate().addYears(1).isNull());
    EXPECT_TRUE(warnings.isEmpty());
}

TEST(VDate, HugeSteps)
{
    WarningCatcher warnings;
    const VDate date(2026, 11, 21);
    for (const int step : {largest, least}) {
        EXPECT_EQ(date.daysTo(date.addDays(step)), step);
        date.addMonths(step);
        date.addYears(step);
        for (const VDate wrapped : {VDate::fromJulianDay(quint32(step)), VDate()}) {
            EXPECT_TRUE(wrapped.month() >= 1 && wrapped.month() <= 12);
            EXPECT_TRUE(wrapped.dayOfWeek() >= 1 && wrapped.dayOfWeek() <= 7);
            wrapped.addMonths(step);
            wrapped.toString(Zyl::TextDate);
        }
    }
    EXPECT_EQ(VDate().year(), 2935093);
}

TEST(VDate, NamesOutOfRangeWarnAndCountAsTheFirst)
{
    WarningCatcher warnings;
    EXPECT_EQ(VDate::shortMonthName(13), text("Jan"));
    EXPECT_EQ(VDate::longMonthName(0), text("January"));
    EXPECT_EQ(VDate::shortDayName(8), text("Mon"));
    EXPECT_EQ(VDate::longDayName(0), text("Monday"));
    EXPECT_EQ(warnings.take(), (QStringList{text("VDate::shortMonthName: Parameter out ouf range."),
                                            text("VDate::longMonthName: Parameter out ouf range."),
                                            text("VDate::shortDayName: Parameter out of range."),
                                            text("VDate::longDayName: Parameter out of range.")}));
    EXPECT_EQ(VDate::shortMonthName(12), text("Dec"));
    EXPECT_EQ(VDate::longDayName(7), text("Sunday"));
    EXPECT_TRUE(warnings.isEmpty());
}

TEST(VDate, WritesItsForms)
{
    const VDate date(2026, 3, 5);
    EXPECT_EQ(date.toString(Zyl::ISODate), text("2026-03-05"));
    EXPECT_EQ(date.toString(), text("Thu Mar 5 2026"));
    EXPECT_EQ(date.toString(Zyl::LocalDate), text("03/05/26"));
    EXPECT_EQ(VDate(12026, 12, 31).toString(Zyl::ISODate), text("12026-12-31"));
    EXPECT_TRUE(VDate().toString(Zyl::ISODate).isNull());
}

namespace
{
struct DateFormatCase {
    const char* format;
    const char* result;
};

class DateLetters : public testing::TestWithParam<DateFormatCase>
{
};

TEST_P(DateLetters, AreReplacedAndTheRestIsCopied)
{
    EXPECT_EQ(VDate(2006, 3, 5).toString(text(GetParam().format)), text(GetParam().result));
}

// 2006-03-05 was a Sunday.
INSTANTIATE_TEST_SUITE_P(
    Formats, DateLetters,
    testing::Values(DateFormatCase{"d dd ddd dddd", "5 05 Sun Sunday"},
                    DateFormatCase{"M MM MMM MMMM", "3 03 Mar March"},
                    DateFormatCase{"yy/yyyy", "06/2006"}, DateFormatCase{"y yyy yyyyy", " 06 2006"},
                    DateFormatCase{"ddddddd", "SundaySun"}, DateFormatCase{"MMMMM", "March3"},
                    DateFormatCase{"hh:mm ap'", "hh:mm ap'"}, DateFormatCase{"", ""}));

struct DateTextCase {
    const char* text;
    Zyl::DateFormat format;
    quint32 julianDay;
    const char* warning;
};

class DateText : public testing::TestWithParam<DateTextCase>
{
};

TEST_P(DateText, IsReadByItsPlaces)
{
    WarningCatcher warnings;
    const VDate date = VDate::fromString(text(GetParam().text), GetParam().format);
    EXPECT_EQ(date.julianDay(), GetParam().julianDay);
    EXPECT_EQ(warnings.text(), text(GetParam().warning));
}

constexpr char outOfRange[] = "VDate::fromString: Parameter out of range.";

// 2461366 is the day number of 2026-11-21 in the tables of the Astronomical Almanac's formula.
INSTANTIATE_TEST_SUITE_P(
    Forms, DateText,
    testing::Values(
        DateTextCase{"2026-11-21", Zyl::ISODate, 2461366, ""},
        DateTextCase{"2026x11y21zzz", Zyl::ISODate, 2461366, ""},
        DateTextCase{"2026-11-2", Zyl::ISODate, 2461347, ""},
        DateTextCase{" 99 -11-21", Zyl::ISODate, 2451504, ""},
        DateTextCase{"2026-00-21", Zyl::ISODate, 0, ""},
        DateTextCase{"garbage", Zyl::ISODate, 0, ""},
        DateTextCase{"2026-1x-21", Zyl::ISODate, 0, ""},
        DateTextCase{"2026-13-21", Zyl::ISODate, 0, "VDate::setYMD: Invalid date 2026/13/21"},
        DateTextCase{"", Zyl::ISODate, 0, outOfRange},
        DateTextCase{"2026-11-21", Zyl::LocalDate, 0, outOfRange},
        DateTextCase{"Sat Nov 21 2026", Zyl::TextDate, 2461366, ""},
        DateTextCase{"xxx Nov 2 2026", Zyl::TextDate, 2461347, ""},
        DateTextCase{"Sat nov 21 2026", Zyl::TextDate, 0, outOfRange},
        DateTextCase{"Sat", Zyl::TextDate, 0, outOfRange},
        DateTextCase{"Sat Nov", Zyl::TextDate, 0, "VDate::setYMD: Invalid date 0000/11/00"}));
} // namespace

TEST(VDate, StreamsItsNumberInTheByteOrderOfTheStream)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << VDate(1970, 1, 1);
    out.setByteOrder(QDataStream::LittleEndian);
    out << VDate(1970, 1, 1);
    EXPECT_EQ(bytes.toHex(), QByteArray("00253d8c8c3d2500"));
    QDataStream in(bytes);
    VDate date;
    in >> date;
    EXPECT_EQ(date, VDate(1970, 1, 1));
}
