#include "tools/vanalogvalue.h"
#include "tools/vexception.h"
#include "tools/vmeasure.h"
#include "tools/vswitchvalue.h"
#include "support/warnings.h"

#include <cmath>

TEST(VTimeMeasure, NamesItsUnits)
{
    const char* const names[] = {"Second", "Minute", "Quarter hour", "Hour", "Day",
                                 "Week",   "Month",  "Quarter",      "Year", "Century"};
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(VTimeMeasure(i).name(), QLatin1String(names[i]));
    EXPECT_TRUE(VTimeMeasure(-1).name().isNull());
    EXPECT_TRUE(VTimeMeasure(10).name().isNull());
}

TEST(VTimeMeasure, ConvertsThroughSeconds)
{
    using M = VTimeMeasure;
    EXPECT_EQ(M(M::Day).toTarget(2, M(M::Hour)), 48);
    EXPECT_EQ(M(M::QuarterHour).toTarget(3, M(M::Minute)), 45);
    EXPECT_EQ(M(M::Year).toTarget(1, M(M::Month)), 12);
    EXPECT_EQ(M(M::Century).toTarget(1, M(M::Quarter)), 400);
    // The Gregorian calendar has 146097 days in 400 years.
    EXPECT_EQ(M(M::Century).toTarget(4, M(M::Day)), 146097);
    EXPECT_EQ(M(M::Week).toTarget(1, M(M::Second, 3)), 604.8);
    EXPECT_EQ(M(M::Second, 3).toTarget(1.5, M(M::Minute)), 25);
    EXPECT_EQ(M(M::Hour).fromAnglo(M(M::Minute).toAnglo(90)), 1.5);
    EXPECT_EQ(M(99).toTarget(7, M(M::Second)), 7);
    EXPECT_EQ(M(M::Day, 100000).exponent(), 32767);
    EXPECT_FALSE(M(M::Day) == M(M::Day, 1));
    EXPECT_EQ(VMeasure().toTarget(5, VMeasure()), 5);
}

TEST(VAnalogValue, HoldsTheValueToTheRange)
{
    VAnalogValue reading;
    reading.setValue(3);
    EXPECT_EQ(reading.value(), 1);
    reading.setMax(10);
    EXPECT_EQ(reading.value(), 1);
    reading.setValue(20);
    EXPECT_EQ(reading.value(), 10);
    reading.setValue(-20);
    EXPECT_EQ(reading.value(), -1);
    reading.setMin(30);
    reading.setValue(20);
    EXPECT_EQ(reading.value(), 10) << "the maximum is tested last";
    reading.setValue(std::nan(""));
    reading.setMax(std::nan(""));
    EXPECT_EQ(reading.value(), 10);
    EXPECT_EQ(reading.max(), 10);
}

TEST(VSwitchValue, IgnoresAStateThatDoesNotExist)
{
    VSwitchValue reading;
    reading.setValue(1);
    reading.setValue(2);
    EXPECT_EQ(reading.value(), 1u);
    reading.setNumber(1);
    EXPECT_EQ(reading.value(), 1u);
    reading.setValue(0);
    EXPECT_EQ(reading.value(), 0u);
}

TEST(VException, IsCaughtAsAStandardExceptionWithItsText)
{
    try {
        throw VException(QStringLiteral("DER \u20ac"));
    } catch (const std::exception& exception) {
        EXPECT_STREQ(exception.what(), "DER \xe2\x82\xac");
    }
}
