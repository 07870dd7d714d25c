#include "tools/vtimerange.h"
#include "tools/vtimestamp.h"
#include "support/text.h"
#include "support/warnings.h"

#include <limits>

namespace
{
using Unit = VTimeMeasure;
constexpr int largest = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

struct Range {
    int span;
    int unit;
    int exponent;
    const char* end;
    const char* timestamp;
};

class TimeRange : public testing::TestWithParam<Range>
{
};

TEST_P(TimeRange, MovesTheBase)
{
    WarningCatcher warnings;
    const Range& range = GetParam();
    const VDateTime base(VDate(2024, 2, 29), VTime(22, 0));
    const VTimeRange moved(base, range.span, VTimeMeasure(range.unit, range.exponent));
    EXPECT_EQ(moved.end().toString(Zyl::ISODate), text(range.end));
    EXPECT_EQ(moved.timestamp().toString(), text(range.timestamp));
}

// The timestamp carries nothing from the time to the date, and rounds the days by themselves.
INSTANTIATE_TEST_SUITE_P(
    Units, TimeRange,
    testing::Values(
        Range{3, Unit::Hour, 0, "2024-03-01T01:00:00", "2024-02-29 01:00:00"},
        Range{-3, Unit::Hour, 1, "2024-02-28T16:00:00", "2024-02-28 16:00:00"},
        Range{80000, Unit::Second, 0, "2024-03-01T20:13:20", "2024-03-01 20:13:20"},
        Range{40000, Unit::Second, 0, "2024-03-01T09:06:40", "2024-02-29 09:06:40"},
        Range{1, Unit::Second, -1, "2024-02-29T22:00:00", "2024-02-29 22:00:00.100000000"},
        Range{7, Unit::Minute, -1, "2024-02-29T22:00:42", "2024-02-29 22:00:42"},
        Range{5, Unit::QuarterHour, 0, "2024-02-29T23:15:00", "2024-02-29 23:15:00"},
        Range{5, Unit::Day, -1, "2024-03-01T10:00:00", "2024-03-01 22:00:00"},
        Range{-5, Unit::Day, -1, "2024-02-29T10:00:00", "2024-02-28 22:00:00"},
        Range{-2, Unit::Week, 0, "2024-02-15T22:00:00", "2024-02-15 22:00:00"},
        Range{5, Unit::Week, -1, "2024-03-04T10:00:00", "2024-03-07 22:00:00"},
        Range{12, Unit::Month, 0, "2025-02-28T22:00:00", "2025-02-28 22:00:00"},
        Range{-1, Unit::Quarter, 0, "2023-11-29T22:00:00", "2023-11-29 22:00:00"},
        Range{4, Unit::Year, 0, "2028-02-29T22:00:00", "2028-02-29 22:00:00"},
        Range{1, Unit::Year, 0, "2025-02-28T22:00:00", "0000-00-00 00:00:00"},
        Range{4, Unit::Century, 0, "2424-02-29T22:00:00", "2424-02-29 22:00:00"},
        Range{-3, Unit::Century, 0, "", "0000-00-00 00:00:00"},
        // 2147483647 hours are 89478485 days and 7 hours; the rounded seconds of 245 000 years stay
        // exact.
        Range{largest, Unit::Hour, 0, "247007-12-09T05:00:00", "247007-12-08 05:00:00"}));

TEST(VTimeRange, HostileSpansEndAtTheLimits)
{
    WarningCatcher warnings;
    for (int unit = -1; unit <= 10; ++unit) {
        for (const int exponent : {-32768, -5, 0, 5, 300, 32767}) {
            for (const int span : {largest, least, 0}) {
                VTimeRange range(VDate(2024, 2, 29), span, VTimeMeasure(unit, exponent));
                range.timestamp();
                const VDateTime end = range.end();
                EXPECT_TRUE(end.isNull() || end.isValid());
                if (end.isValid()) {
                    EXPECT_EQ(end.date() < VDate(2024, 2, 29), span < 0 && end != range.base());
                }
                range.setUnit(VTimeMeasure(unit + 1, -exponent));
                range.setBase(VDateTime());
                EXPECT_TRUE(range.end().isNull());
                range.timestamp();
            }
        }
    }
}

TEST(VTimeRange, ANewUnitConvertsTheSpan)
{
    VTimeRange range(VDate(2024, 1, 1), 90, VTimeMeasure(Unit::Minute));
    range.setUnit(VTimeMeasure(Unit::Hour));
    EXPECT_EQ(range.span(), 2) << "halves go away from zero";
    range.setUnit(VTimeMeasure(Unit::Second, 3));
    EXPECT_EQ(range.span(), 7);
    range.setSpan(largest);
    range.setUnit(VTimeMeasure(Unit::Second));
    EXPECT_EQ(range.span(), largest);
    range.setSpan(-3);
    range.setUnit(VTimeMeasure(Unit::Second, 1));
    EXPECT_EQ(range.span(), 0);
}
} // namespace
