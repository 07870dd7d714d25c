#include "tools/vsize.h"
#include "support/warnings.h"

#include <limits>

namespace
{
constexpr int largest = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

struct Scaling {
    VSize from, target;
    VSize::ScaleMode mode;
    VSize result;
};

class SizeScale : public testing::TestWithParam<Scaling>
{
};

TEST_P(SizeScale, KeepsTheProportionsAsTheModeAsks)
{
    VSize size = GetParam().from;
    size.scale(GetParam().target, GetParam().mode);
    EXPECT_EQ(size.width(), GetParam().result.width());
    EXPECT_EQ(size.height(), GetParam().result.height());
}

INSTANTIATE_TEST_SUITE_P(
    Modes, SizeScale,
    testing::Values(Scaling{{10, 12}, {60, 60}, VSize::ScaleFree, {60, 60}},
                    Scaling{{10, 12}, {60, 60}, VSize::ScaleMin, {50, 60}},
                    Scaling{{10, 12}, {60, 60}, VSize::ScaleMax, {60, 72}},
                    Scaling{{12, 10}, {60, 60}, VSize::ScaleMin, {60, 50}},
                    Scaling{{12, 10}, {60, 60}, VSize::ScaleMax, {72, 60}},
                    Scaling{{3, 2}, {3, 2}, VSize::ScaleMin, {3, 2}},
                    Scaling{{7, 3}, {5, 100}, VSize::ScaleMin, {5, 2}},
                    Scaling{{0, 10}, {60, 50}, VSize::ScaleMin, {60, 50}},
                    Scaling{{10, 0}, {60, 50}, VSize::ScaleMax, {60, 50}},
                    Scaling{{100000, 1}, {7, 100000}, VSize::ScaleMax, {largest, 100000}}));
} // namespace

TEST(VSize, DivisionByZeroWarnsAndChangesNothing)
{
    WarningCatcher warnings;
    const VSize size(7, -7);
    EXPECT_EQ(size / 0, size);
    EXPECT_EQ(size / 0.0, size);
    const QString text = QStringLiteral("VSize: Division by zero error");
    EXPECT_EQ(warnings.take(), (QStringList{text, text}));
    EXPECT_EQ(size / 2, VSize(3, -3));
    EXPECT_EQ(size / 2.0, VSize(4, -4));
}

TEST(VSize, ArithmeticEndsAtTheLimits)
{
    EXPECT_EQ(VSize(largest, least) + VSize(1, -1), VSize(largest, least));
    EXPECT_EQ(VSize(largest, least) - VSize(-1, 1), VSize(largest, least));
    EXPECT_EQ(VSize(largest, least) * 2, VSize(largest, least));
    EXPECT_EQ(VSize(largest, least) * 1e300, VSize(largest, least));
    EXPECT_EQ(VSize(least, 1) / -1, VSize(largest, -1));
    EXPECT_EQ(VSize(1, 0) * std::numeric_limits<double>::infinity(), VSize(largest, 0));
}
