#include "math/integerarray.h"

#include "support/warnings.h"

using math::IntegerArray;

namespace
{
IntegerArray zeros(int count)
{
    IntegerArray array(count);
    std::fill_n(array.limbs(), count, 0);
    return array;
}
} // namespace

TEST(IntegerArray, CountsBitsThroughItsLimbs)
{
    IntegerArray array = zeros(3);
    array.setBit(0);
    array.setBit(31);
    array.setBit(64);
    array.toggleBit(95);
    EXPECT_EQ(array.limbs()[0], 0x80000001u);
    EXPECT_EQ(array.limbs()[1], 0u);
    EXPECT_EQ(array.limbs()[2], 0x80000001u);
    array.toggleBit(31);
    array.clearBit(64);
    array.clearBit(33);
    EXPECT_EQ(array.limbs()[0], 1u);
    EXPECT_EQ(array.limbs()[2], 0x80000000u);
    EXPECT_TRUE(array.testBit(95));
    EXPECT_FALSE(array.testBit(94));
}

TEST(IntegerArray, WarnsOfBitsPastItsEnd)
{
    // An odd count of limbs has no bits in the spare half of the last pair.
    IntegerArray array = zeros(3);
    WarningCatcher warnings;
    EXPECT_FALSE(array.testBit(96));
    EXPECT_EQ(warnings.text(), QLatin1String("IntegerArray::testBit: Index 96 out of range"));
    array.setBit(96);
    EXPECT_EQ(warnings.text(), QLatin1String("IntegerArray::setBit: Index 96 out of range"));
    array.clearBit(97);
    EXPECT_EQ(warnings.text(), QLatin1String("IntegerArray::clearBit: Index 97 out of range"));
    IntegerArray().toggleBit(0);
    EXPECT_EQ(warnings.text(), QLatin1String("IntegerArray::toggleBit: Index 0 out of range"));
}

TEST(IntegerArray, SharesItsLimbs)
{
    IntegerArray array = zeros(1);
    const IntegerArray copy(array);
    array.setBit(5);
    EXPECT_TRUE(copy.testBit(5));
}
