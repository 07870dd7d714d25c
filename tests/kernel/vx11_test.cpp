#include "kernel/vx11.h"

#include "support/warnings.h"

namespace
{
class MostSignificantFirst : public VX11
{
public:
    int bitmapBitOrder() override { return 1; }
};
} // namespace

TEST(VX11, AnswersThroughTheSubstituteUntilItIsTakenAway)
{
    MostSignificantFirst server;
    VX11* const before = VX11::setSubstitute(&server);
    EXPECT_EQ(VX11::instance(), &server);
    EXPECT_EQ(VX11::instance()->bitmapBitOrder(), 1);
    EXPECT_EQ(VX11::setSubstitute(before), &server);
    EXPECT_NE(VX11::instance(), &server);
}

TEST(VX11, SubstitutesOnlyWhatATestCaresFor)
{
    VX11 none;
    EXPECT_EQ(none.bitmapBitOrder(), 0);
}

TEST(VX11, StandsInForAMissingDisplayWithoutAWord)
{
    WarningCatcher warnings;
    qunsetenv("DISPLAY");
    EXPECT_EQ(VX11::instance()->bitmapBitOrder(), 0);
    EXPECT_TRUE(VX11::instance()->fontPath().isEmpty());
    EXPECT_EQ(VX11::instance(), VX11::instance());
    EXPECT_TRUE(warnings.isEmpty());
}
