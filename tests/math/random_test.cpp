#include "math/gmpvalues.h"

#include "math/random.h"

#include "support/warnings.h"

#include <set>

using math::BigInteger;
using math::Random;

TEST(Random, RepeatsTheStandardsSequence)
{
    // The value that the C++ standard gives for the engine's default start.
    Random random(5489);
    for (int i = 1; i < 10000; ++i)
        random.next();
    EXPECT_EQ(random.next(), 9981545732273789042ull);
}

TEST(Random, SpreadsEvenlyBelowAnEnd)
{
    // A range of three quarters of all words: taking the rest of a division would give the first
    // third twice as often.
    constexpr quint64 end = quint64(3) << 62;
    constexpr int draws = 30000;
    Random random(1);
    int counts[3] = {};
    for (int i = 0; i < draws; ++i) {
        const quint64 value = random.below(end);
        ASSERT_LT(value, end);
        ++counts[value >> 62];
    }
    // Six standard deviations of a count.
    for (const int count : counts)
        EXPECT_NEAR(count, draws / 3, 6 * 82);
    EXPECT_EQ(random.below(quint64(1)), 0u);
    EXPECT_EQ(random.below(quint64(0)), 0u);
}

TEST(Random, ReachesEveryBitAndNoMore)
{
    Random random(2);
    for (const unsigned count : {0u, 1u, 31u, 32u, 63u, 64u, 65u, 100u, 128u, 1000u}) {
        BigInteger any, all = (BigInteger(1) << count) - 1;
        for (int i = 0; i < 60; ++i) {
            const BigInteger value = random.bits(count);
            ASSERT_LE(value.bits(), count);
            any = any | value;
            all = all & value;
        }
        EXPECT_EQ(any, (BigInteger(1) << count) - 1) << count;
        EXPECT_EQ(all, 0) << count;
    }
}

TEST(Random, StaysBelowBigEnds)
{
    Random random(3);
    // Just above a power of two nearly every second draw must be thrown away.
    const BigInteger end = (BigInteger(1) << 100) + 3;
    for (int i = 0; i < 200; ++i)
        ASSERT_LT(random.below(end), end);
    std::set<int> seen;
    for (int i = 0; i < 200; ++i)
        seen.insert(random.below(BigInteger(5)).toInt());
    EXPECT_EQ(seen, (std::set<int>{0, 1, 2, 3, 4}));
    WarningCatcher warnings;
    EXPECT_EQ(random.below(BigInteger(-1)), 0);
    EXPECT_EQ(warnings.text(), QLatin1String("Random::below: The range is empty"));
}

TEST(Random, FillsPartsOfWords)
{
    for (Random* random : {new Random, new Random(4)}) {
        const std::unique_ptr<Random> owner(random);
        uchar bytes[13] = {};
        uchar any[13] = {};
        for (int i = 0; i < 40; ++i) {
            random->fill(bytes + 1, 11);
            for (int k = 0; k < 13; ++k)
                any[k] |= bytes[k];
        }
        EXPECT_EQ(any[0], 0);
        EXPECT_EQ(any[12], 0);
        for (int k = 1; k < 12; ++k)
            EXPECT_EQ(any[k], 0xff) << k;
    }
    Random system;
    EXPECT_NE(system.next(), system.next());
    const double real = system.real();
    EXPECT_TRUE(real >= 0 && real < 1);
}
