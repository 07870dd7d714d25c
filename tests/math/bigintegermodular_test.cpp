#include "math/gmpvalues.h"

using math::BigInteger;

TEST(BigIntegerModular, FindsFactorsOfTheDivisor)
{
    Operands operands;
    for (int round = 0; round < 300; ++round) {
        const mpz_class shared = operands.next(80);
        const mpz_class a = operands.next(300) * shared, b = operands.next(300) * shared;
        mpz_class g, s, t;
        mpz_gcdext(g.get_mpz_t(), s.get_mpz_t(), t.get_mpz_t(), a.get_mpz_t(), b.get_mpz_t());
        BigInteger factorA, factorB;
        ASSERT_EQ(gmp(BigInteger::gcdext(&factorA, &factorB, big(a), big(b))), g) << a << ' ' << b;
        ASSERT_EQ(gmp(factorA), s) << a << ' ' << b;
        ASSERT_EQ(gmp(factorB), t) << a << ' ' << b;
    }
}

TEST(BigIntegerModular, FindsFactorsBesideZero)
{
    struct Case {
        int a, b, g, s, t;
    };
    for (const Case& c : {Case{0, 0, 0, 0, 0}, Case{-4, 0, 4, -1, 0}, Case{0, -4, 4, 0, -1},
                          Case{240, 46, 2, -9, 47}}) {
        BigInteger s, t;
        EXPECT_EQ(BigInteger::gcdext(&s, &t, c.a, c.b), c.g) << c.a << ' ' << c.b;
        EXPECT_EQ(s, c.s) << c.a << ' ' << c.b;
        EXPECT_EQ(t, c.t) << c.a << ' ' << c.b;
        EXPECT_EQ(BigInteger::gcdext(nullptr, nullptr, c.a, c.b), c.g);
    }
}

TEST(BigIntegerModular, RaisesToPowers)
{
    Operands operands;
    for (int round = 0; round < 150; ++round) {
        const mpz_class base = operands.next(400);
        mpz_class exponent = operands.next(120), modulus = operands.next(400);
        if (modulus == 0)
            modulus = 7;
        mpz_class inverse;
        if (exponent < 0 && !mpz_invert(inverse.get_mpz_t(), base.get_mpz_t(), modulus.get_mpz_t()))
            exponent = -exponent;
        mpz_class expected;
        if (abs(modulus) != 1)
            mpz_powm(expected.get_mpz_t(), base.get_mpz_t(), exponent.get_mpz_t(),
                     modulus.get_mpz_t());
        else
            exponent = abs(exponent);
        ASSERT_EQ(gmp(big(base).powm(big(exponent), big(modulus))), expected)
            << base << ' ' << exponent << ' ' << modulus;
        const unsigned small = operands.below(60);
        mpz_powm_ui(expected.get_mpz_t(), base.get_mpz_t(), small, modulus.get_mpz_t());
        ASSERT_EQ(gmp(big(base).powm(small, big(modulus))), expected)
            << base << ' ' << small << ' ' << modulus;
        mpz_pow_ui(expected.get_mpz_t(), base.get_mpz_t(), small);
        ASSERT_EQ(gmp(BigInteger::power(big(base), small)), expected) << base << ' ' << small;
    }
}

TEST(BigIntegerModular, RaisesToPowersAtTheEdges)
{
    EXPECT_EQ(BigInteger(5).powm(0, BigInteger(1)), 0);
    EXPECT_EQ(BigInteger(0).powm(0, BigInteger(5)), 1);
    EXPECT_EQ(BigInteger(5).powm(0, BigInteger(-1)), 0);
    EXPECT_EQ(BigInteger(-3).powm(3, BigInteger(7)), 1);
    EXPECT_EQ(BigInteger(3).powm(-1, BigInteger(-7)), 5);
    // Fermat: 2^(p - 1) leaves 1 for the prime 2^127 - 1.
    const BigInteger prime = (BigInteger(1) << 127) - 1;
    EXPECT_EQ(BigInteger(2).powm(prime - 1, prime), 1);
    // The count of digits of 52!, a product of small numbers, and a value known from print.
    BigInteger factorial(1);
    for (unsigned i = 2; i <= 52; ++i)
        factorial = factorial * i;
    EXPECT_EQ(factorial.toString(),
              "80658175170943878571660636856403766975289505440883277824000000000000");
}

TEST(BigIntegerModular, InvertsWhatHasAnInverse)
{
    Operands operands;
    for (int round = 0; round < 200; ++round) {
        const mpz_class a = operands.next(200), m = operands.next(200);
        BigInteger result(77);
        const bool found = big(a).invert(result, big(m));
        ASSERT_EQ(found, a != 0 && m != 1 && m != -1 && gcd(a, m) == 1) << a << ' ' << m;
        if (found && m != 0) {
            ASSERT_EQ(mpz_class((gmp(result) * a - 1) % m), 0) << a << ' ' << m;
            ASSERT_TRUE(gmp(result) >= 0 && gmp(result) < abs(m)) << a << ' ' << m;
        } else if (!found) {
            ASSERT_EQ(result, 77);
        }
    }
    BigInteger result;
    EXPECT_FALSE(BigInteger(3).invert(result, BigInteger(1)));
    EXPECT_FALSE(BigInteger(3).invert(result, BigInteger(-1)));
    EXPECT_FALSE(BigInteger(0).invert(result, BigInteger(5)));
}
