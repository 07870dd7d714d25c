#include "tools/vtime.h"
#include "support/text.h"
#include "support/warnings.h"

#include <limits>

namespace
{
constexpr int largest = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

static_assert(std::is_trivially_copyable_v<VTime> && sizeof(VTime) == 4);
static_assert(VTime(23, 59, 59, 999).msecs() == 0x5265bff);
} // namespace

TEST(VTime, ABadTimeWarnsAndIsNull)
{
    const int bad[][4] = {{24, 0, 0, 0},   {0, 60, 0, 0}, {0, 0, 60, 0},
                          {0, 0, 0, 1000}, {-1, 0, 0, 0}, {0, 0, 0, least}};
    for (const auto& fields : bad) {
        WarningCatcher warnings;
        VTime time(1, 2, 3, 4);
        EXPECT_FALSE(time.setHMS(fields[0], fields[1], fields[2], fields[3]));
        EXPECT_FALSE(time.isValid());
        EXPECT_EQ(time, VTime());
        EXPECT_EQ(warnings.text(),
                  QString::asprintf("VTime::setHMS Invalid time %02d:%02d:%02d.%03d", fields[0],
                                    fields[1], fields[2], fields[3]));
    }
}

TEST(VTime, SumsGoRoundAtMidnight)
{
    const VTime midnight(0, 0);
    EXPECT_EQ(midnight.addMSecs(-1), VTime(23, 59, 59, 999));
    EXPECT_EQ(VTime(23, 59, 59, 999).addMSecs(1), midnight);
    EXPECT_EQ(VTime(12, 0).addSecs(-86400 * 3 - 1), VTime(11, 59, 59));
    // 2^31 seconds are 24855 days and 11648 seconds.
    EXPECT_EQ(midnight.addSecs(largest), VTime(3, 14, 7));
    EXPECT_EQ(midnight.addSecs(least), VTime(20, 45, 52));
    // 2^31 milliseconds are 24 days and 73883648.
    EXPECT_EQ(VTime(23, 59, 59, 999).addMSecs(largest), VTime(20, 31, 23, 646));
    EXPECT_EQ(midnight.addMSecs(least), VTime(3, 28, 36, 352));
    EXPECT_EQ(VTime().addMSecs(-1), VTime(23, 59, 59, 999));
    EXPECT_EQ(VTime::fromMSecs(0xffffffff).addSecs(0).isValid(), true);
}

TEST(VTime, DifferencesTruncateTowardsZero)
{
    const VTime early(10, 0, 0, 900), late(10, 0, 2, 800);
    EXPECT_EQ(early.secsTo(late), 1);
    EXPECT_EQ(late.secsTo(early), -1);
    EXPECT_EQ(late.msecsTo(early), -1900);
    EXPECT_EQ(VTime::fromMSecs(0).msecsTo(VTime::fromMSecs(0xffffffff)), largest);
}

TEST(VTime, WritesItsForms)
{
    const VTime time(4, 5, 9, 7);
    EXPECT_EQ(time.toString(), text("04:05:09"));
    EXPECT_EQ(time.toString(Zyl::ISODate), text("04:05:09"));
    EXPECT_EQ(time.toString(Zyl::LocalDate), text("04:05:09"));
    EXPECT_EQ(VTime().toString(), text("24:00:00"));
}

namespace
{
struct TimeFormatCase {
    VTime time;
    const char* format;
    const char* result;
};

class TimeLetters : public testing::TestWithParam<TimeFormatCase>
{
};

TEST_P(TimeLetters, AreReplacedAndTheRestIsCopied)
{
    EXPECT_EQ(GetParam().time.toString(text(GetParam().format)), text(GetParam().result));
}

INSTANTIATE_TEST_SUITE_P(
    Formats, TimeLetters,
    testing::Values(TimeFormatCase{{14, 5, 9, 7}, "h hh m mm s ss z zzz", "14 14 5 05 9 09 7 007"},
                    TimeFormatCase{{14, 5, 9, 7}, "h:mmap", "2:05pm"},
                    TimeFormatCase{{14, 5, 9, 7}, "hh AP", "02 PM"},
                    TimeFormatCase{{0, 5}, "h AP", "12 AM"},
                    TimeFormatCase{{12, 5}, "h ap", "12 pm"},
                    TimeFormatCase{{23, 5}, "h a A p P aP", "23 a A p P aP"},
                    TimeFormatCase{{1, 2, 3, 45}, "hhh mmm sss zz zzzz", "011 022 033 4545 04545"},
                    TimeFormatCase{{1, 2}, "dd.MM.yy", "dd.MM.yy"}));

struct TimeTextCase {
    const char* text;
    Zyl::DateFormat format;
    VTime time;
    const char* warning;
};

class TimeText : public testing::TestWithParam<TimeTextCase>
{
};

TEST_P(TimeText, IsReadByItsPlaces)
{
    WarningCatcher warnings;
    EXPECT_EQ(VTime::fromString(text(GetParam().text), GetParam().format), GetParam().time);
    EXPECT_EQ(warnings.text(), text(GetParam().warning));
}

constexpr char outOfRange[] = "VTime::fromString: Parameter out of range.";

INSTANTIATE_TEST_SUITE_P(
    Forms, TimeText,
    testing::Values(
        TimeTextCase{"14:05:09", Zyl::ISODate, {14, 5, 9}, ""},
        TimeTextCase{"14x05y09z123456", Zyl::TextDate, {14, 5, 9, 123}, ""},
        TimeTextCase{"14:05", Zyl::ISODate, {14, 5}, ""},
        TimeTextCase{"14:05:09.5", Zyl::ISODate, {14, 5, 9, 5}, ""},
        TimeTextCase{"garbage!", Zyl::ISODate, {0, 0}, ""},
        TimeTextCase{"24:00:00", Zyl::ISODate, {}, "VTime::setHMS Invalid time 24:00:00.000"},
        TimeTextCase{"-1:00:00", Zyl::ISODate, {}, "VTime::setHMS Invalid time -1:00:00.000"},
        TimeTextCase{"", Zyl::ISODate, {}, outOfRange},
        TimeTextCase{"14:05:09", Zyl::LocalDate, {}, outOfRange}));
} // namespace

TEST(VTime, CurrentTimeRefusesANullPointer)
{
    WarningCatcher warnings;
    EXPECT_FALSE(VTime::currentTime(nullptr));
    EXPECT_EQ(warnings.text(), text("VTime::currentTime(VTime *): Null pointer not allowed"));
}

TEST(VTime, ElapsedCountsAcrossMidnight)
{
    // An hour ahead of now is 23 hours ago.
    VTime watch = VTime::currentTime().addSecs(3600);
    EXPECT_NEAR(watch.elapsed(), 82800000, 30000);
    EXPECT_NEAR(watch.restart(), 82800000, 30000);
    EXPECT_NEAR(watch.elapsed(), 0, 30000);
}
