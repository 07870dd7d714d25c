#include "tools/vtimestamp.h"
#include "support/text.h"
#include "support/warnings.h"

#include <limits>

namespace
{
constexpr int largest = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

static_assert(std::is_trivially_copyable_v<VTimestamp>);

constexpr VTimestamp sample(2026, 11, 2, 14, 5, 9, 250000000);
} // namespace

TEST(VTimestamp, OneEqualFieldIsEnoughForNotUnequal)
{
    const VTimestamp all(2027, 12, 3, 15, 6, 10, 5);
    EXPECT_TRUE(sample != all);
    const VTimestamp near[] = {{2026, 12, 3, 15, 6, 10, 5},
                               {2027, 11, 3, 15, 6, 10, 5},
                               {2027, 12, 2, 15, 6, 10, 5},
                               {2027, 12, 3, 14, 5, 9, 5},
                               {2027, 12, 3, 15, 6, 10, 250000000}};
    for (const VTimestamp& other : near)
        EXPECT_FALSE(sample != other || sample == other) << other.toString().toStdString();
    EXPECT_TRUE(sample == VTimestamp(sample));
}

TEST(VTimestamp, OrdersFieldByField)
{
    const VTimestamp ascending[] = {{-5, 12, 31, 0, 0, 0, 0},  {2026, -1, 9, 9, 9, 9, 9},
                                    {2026, 1, 31, 9, 9, 9, 9}, {2026, 2, 1, 9, 9, 9, 9},
                                    {2026, 2, 1, 9, 9, 9, 10}, {2026, 2, 1, 9, 9, 10, 0},
                                    {2026, 2, 2, 0, 0, 0, 0},  {2027, 1, 1, 0, 0, 0, 0}};
    for (std::size_t i = 0; i < std::size(ascending); ++i) {
        for (std::size_t j = 0; j < std::size(ascending); ++j) {
            EXPECT_EQ(ascending[i] < ascending[j], i < j) << i << ' ' << j;
            EXPECT_EQ(ascending[i] <= ascending[j], i <= j) << i << ' ' << j;
            EXPECT_EQ(ascending[i] > ascending[j], i > j) << i << ' ' << j;
            EXPECT_EQ(ascending[i] >= ascending[j], i >= j) << i << ' ' << j;
        }
    }
}

TEST(VTimestamp, IsValidFieldByField)
{
    EXPECT_TRUE(VTimestamp(2026, 2, 31, 23, 59, 59, 999999999).isValid());
    const VTimestamp bad[] = {{2026, 0, 1, 0, 0, 0, 0},  {2026, 13, 1, 0, 0, 0, 0},
                              {2026, 1, 0, 0, 0, 0, 0},  {2026, 1, 32, 0, 0, 0, 0},
                              {2026, 1, 1, 24, 0, 0, 0}, {2026, 1, 1, 0, 0, 0, 1000000000},
                              {2026, 1, 1, 0, 0, -1, 0}, {2026, 1, 1, 0, 0, 0, -1}};
    for (const VTimestamp& timestamp : bad)
        EXPECT_FALSE(timestamp.isValid()) << timestamp.toString().toStdString();
}

TEST(VTimestamp, TakesTheDateAndTheTimeApart)
{
    const VDate date(2026, 11, 2);
    const VTime time(14, 5, 9, 250);
    EXPECT_TRUE(VTimestamp(date, time) == sample);
    EXPECT_TRUE(VTimestamp(date, time, 7) == VTimestamp(2026, 11, 2, 14, 5, 9, 7));
    EXPECT_TRUE(VTimestamp(VDate(), time, 7).isNull());
    EXPECT_EQ(sample.date(), date);
    EXPECT_EQ(sample.time(), time);
    WarningCatcher warnings;
    EXPECT_TRUE(VTimestamp().date().isNull());
    EXPECT_TRUE(warnings.isEmpty());
    EXPECT_TRUE(VTimestamp(2026, 2, 31, 24, 0, 0, 0).date().isNull());
    EXPECT_EQ(warnings.text(), text("VDate::setYMD: Invalid date 2026/02/31"));
}

TEST(VTimestamp, WritesZeroFilledFields)
{
    EXPECT_EQ(sample.toString(), text("2026-11-02 14:05:09.250000000"));
    EXPECT_EQ(VTimestamp(26, 1, 2, 3, 4, 5, 0).toString(), text("0026-01-02 03:04:05"));
    EXPECT_EQ(VTimestamp(26, 1, 2, 3, 4, 5, 6).toString(), text("0026-01-02 03:04:05.000000006"));
    EXPECT_EQ(VTimestamp(least, -128, -128, 0, 0, least, least).toString(),
              text("-2147483648--128--128 -596523:-14:-8.-2147483648"));
}

namespace
{
struct Reading {
    const char* text;
    VTimestamp result;
    const char* warning;
};

class TimestampText : public testing::TestWithParam<Reading>
{
};

TEST_P(TimestampText, IsReadByItsPlaces)
{
    WarningCatcher warnings;
    EXPECT_TRUE(VTimestamp::fromString(text(GetParam().text)) == GetParam().result);
    EXPECT_EQ(warnings.text(), text(GetParam().warning));
}

INSTANTIATE_TEST_SUITE_P(
    Forms, TimestampText,
    testing::Values(
        Reading{"2026-11-02 14:05:09.250000000", sample, ""},
        Reading{"2026-11-02 14:05:09", {2026, 11, 2, 14, 5, 9, 0}, ""},
        Reading{"2026-11-02 14:05:09.5", {2026, 11, 2, 14, 5, 9, 5}, ""},
        // Not a number as a whole, so that the milliseconds of the time count.
        Reading{"2026-11-02 14:05:09.250 Z", {2026, 11, 2, 14, 5, 9, 250000000}, ""},
        Reading{"2026-11-02 14:05:09.99999999999", {2026, 11, 2, 14, 5, 9, 999000000}, ""},
        Reading{
            "2026-11-02", {2026, 11, 2, 24, 0, 0, 0}, "VTime::fromString: Parameter out of range."},
        Reading{"garbage, but long", {}, ""},
        Reading{"", {}, "VTimestamp::valueOf: Parameter out of range."}));
} // namespace

TEST(VTimestamp, ConvertsToAndFromTheSystemsClock)
{
    VTimestamp timestamp(1, 1, 1, 1, 1, 1, 1);
    timestamp.setTime(86400 * 366);
    EXPECT_EQ(timestamp.year(), 1971);
    EXPECT_EQ(timestamp.nanoseconds(), 0);
    EXPECT_EQ(timestamp.getTime(), 86400 * 366);
    timestamp.setTime(std::numeric_limits<long>::min());
    EXPECT_TRUE(timestamp.isNull());
    for (const VTimestamp& hostile :
         {VTimestamp(least, least, least, least, least, least, least),
          VTimestamp(largest, largest, largest, largest, largest, largest, largest)})
        hostile.getTime();
}

TEST(VTimestamp, StreamsItsFields)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << VTimestamp(2026, 11, -2, 0, 0, 258, 3);
    EXPECT_EQ(bytes.toHex(), QByteArray("000007ea0bfe0000010200000003"));
    QDataStream in(bytes);
    VTimestamp timestamp;
    in >> timestamp;
    EXPECT_TRUE(timestamp == VTimestamp(2026, 11, -2, 0, 0, 258, 3));
}
