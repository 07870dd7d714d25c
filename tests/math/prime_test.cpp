#include "math/gmpvalues.h"

#include "math/prime.h"
#include "math/random.h"

#include "support/warnings.h"

using math::BigInteger;
using math::Prime;
using math::Random;

TEST(Prime, AgreesWithTheSieve)
{
    constexpr unsigned end = 20000;
    std::vector<bool> composite(end, false);
    composite[0] = composite[1] = true;
    unsigned last = 0;
    for (unsigned n = 0; n < end; ++n) {
        ASSERT_EQ(Prime::isPrime(quint64(n)), !composite[n]) << n;
        if (composite[n])
            continue;
        if (n < 2000) {
            ASSERT_EQ(Prime::next(BigInteger(last)), n);
        }
        last = n;
        for (unsigned multiple = n * n; multiple < end && n < 200; multiple += n)
            composite[multiple] = true;
    }
}

TEST(Prime, SeesThroughNumbersThatPassForPrimes)
{
    // clang-format off
    constexpr const char* texts[] = {
        // Carmichael numbers.
        "561", "1105", "1729", "2465", "2821", "6601", "8911", "825265", "321197185", "9746347772161",
        // The least that pass the strong test to the first prime base, the first two, and so on up to 13.
        "2047", "1373653", "25326001", "3215031751", "2152302898747", "3474749660383", "341550071728321",
        "3825123056546413051", "318665857834031151167461", "3317044064679887385961981",
        // The seventh Fermat number, and what no prime is.
        "340282366920938463463374607431768211457", "-7", "0", "1", "18446744073709551615",
    };
    // clang-format on
    for (const char* text : texts)
        EXPECT_FALSE(Prime::isPrime(BigInteger(text))) << text;
    const BigInteger prime(4294967291u);
    EXPECT_FALSE(Prime::isPrime(prime * prime));
}

TEST(Prime, KnowsLargePrimes)
{
    for (const char* text :
         {"2147483647", "4294967291", "9223372036854775783", "18446744073709551557",
          "18446744073709551629", "2305843009213693951", "170141183460469231731687303715884105727"})
        EXPECT_TRUE(Prime::isPrime(BigInteger(text))) << text;
    for (const unsigned exponent : {521u, 607u, 1279u})
        EXPECT_TRUE(Prime::isPrime((BigInteger(1) << exponent) - 1)) << exponent;
    EXPECT_FALSE(Prime::isPrime((BigInteger(1) << 523) - 1));
    EXPECT_FALSE(Prime::isPrime(((BigInteger(1) << 89) - 1) * ((BigInteger(1) << 107) - 1)));
}

TEST(Prime, FindsTheNext)
{
    EXPECT_EQ(Prime::next(BigInteger(-100)), 2);
    EXPECT_EQ(Prime::next(BigInteger(2)), 3);
    // Across the word: 2^64 - 59 is the last prime below, 2^64 + 13 the first above.
    EXPECT_EQ(Prime::next(BigInteger("18446744073709551556")).toString(), "18446744073709551557");
    EXPECT_EQ(Prime::next(BigInteger("18446744073709551557")).toString(), "18446744073709551629");
}

TEST(Prime, HasTheBitsAskedFor)
{
    Random random(7);
    for (const unsigned bits : {2u, 3u, 4u, 8u, 31u, 32u, 33u, 64u, 65u, 200u}) {
        const BigInteger prime = Prime::generate(bits, random);
        EXPECT_EQ(prime.bits(), bits);
        EXPECT_NE(mpz_probab_prime_p(gmp(prime).get_mpz_t(), 30), 0) << prime.toString().data();
    }
    std::vector<int> seen(4, 0);
    for (int i = 0; i < 60; ++i)
        ++seen[std::size_t(Prime::generate(2, random).toInt())];
    EXPECT_TRUE(seen[2] > 0 && seen[3] > 0);
    WarningCatcher warnings;
    EXPECT_EQ(Prime::generate(1, random), 0);
    EXPECT_EQ(warnings.text(), QLatin1String("Prime::generate: No prime has 1 bits"));
}
