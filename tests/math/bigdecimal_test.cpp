#include "math/bigdecimal.h"
#include "math/gmpvalues.h"

#include "support/warnings.h"

#include <cmath>

using math::BigDecimal;
using math::BigInteger;
using Rounding = BigDecimal::Rounding;

namespace
{
mpq_class fraction(const BigDecimal& value)
{
    mpz_class power;
    mpz_ui_pow_ui(power.get_mpz_t(), 10, unsigned(std::abs(value.scale())));
    mpq_class result(gmp(value.unscaled()));
    return value.scale() < 0 ? mpq_class(result * power) : mpq_class(result / power);
}

BigDecimal nextDecimal(Operands& operands)
{
    return BigDecimal(big(operands.next(150)), int(operands.below(60)) - 20);
}
} // namespace

struct DecimalText {
    const char* text;
    const char* written;
    int scale;
};
class BigDecimalText : public testing::TestWithParam<DecimalText>
{
};
TEST_P(BigDecimalText, KeepsDigitsAndScale)
{
    BigDecimal value(99);
    EXPECT_TRUE(value.setString(GetParam().text));
    EXPECT_EQ(value.toString(), GetParam().written);
    EXPECT_EQ(value.scale(), GetParam().scale);
    BigDecimal again;
    EXPECT_TRUE(again.setString(GetParam().written));
    EXPECT_EQ(again.unscaled(), value.unscaled());
    EXPECT_EQ(again.scale(), value.scale());
}
INSTANTIATE_TEST_SUITE_P(
    Forms, BigDecimalText,
    testing::Values(DecimalText{"0", "0", 0}, DecimalText{"-0.00", "0.00", 2},
                    DecimalText{" 12.50\n", "12.50", 2}, DecimalText{"+.5", "0.5", 1},
                    DecimalText{"5.", "5", 0}, DecimalText{"-0.000123", "-0.000123", 6},
                    DecimalText{"0.000001", "0.000001", 6}, DecimalText{"0.0000001", "1E-7", 7},
                    DecimalText{"-12345e-12", "-1.2345E-8", 12}, DecimalText{"1E3", "1E+3", -3},
                    DecimalText{"-15e+2", "-1.5E+3", -2}, DecimalText{"0e-9", "0E-9", 9},
                    DecimalText{"1.5E1", "15", 0}, DecimalText{"007.10", "7.10", 2},
                    DecimalText{"1e-1048576", "1E-1048576", 1048576},
                    DecimalText{"1e1048576", "1E+1048576", -1048576},
                    DecimalText{"1.0e1048577", "1.0E+1048577", -1048576}));

TEST(BigDecimal, RefusesOtherTexts)
{
    for (const char* text : {"",
                             " ",
                             "-",
                             ".",
                             "e5",
                             "1e",
                             "1e+",
                             "1 2",
                             "1.2.3",
                             "--1",
                             "0x10",
                             "1,5",
                             "nan",
                             "inf",
                             "1e5x",
                             "1\xe9",
                             "1e1048577",
                             "1e-1048577",
                             "1e4294967296",
                             "1e99999999999999999999999999"}) {
        BigDecimal value(99);
        EXPECT_FALSE(value.setString(text)) << text;
        EXPECT_EQ(value, 0) << text;
    }
    EXPECT_FALSE(BigDecimal().setString(nullptr));
    EXPECT_FALSE(BigDecimal().setString("1\0002", 3));
}

TEST(BigDecimal, WritesFixedDecimals)
{
    EXPECT_EQ(BigDecimal("2.345").toFixed(2), "2.34");
    EXPECT_EQ(BigDecimal("-2.345").toFixed(2, Rounding::HalfUp), "-2.35");
    EXPECT_EQ(BigDecimal("1e3").toFixed(1), "1000.0");
    EXPECT_EQ(BigDecimal("1e-9").toFixed(10), "0.0000000010");
    EXPECT_EQ(BigDecimal("-0.4").toFixed(0), "0");
}

TEST(BigDecimal, CalculatesExactly)
{
    Operands operands;
    for (int round = 0; round < 300; ++round) {
        const BigDecimal a = nextDecimal(operands), b = nextDecimal(operands);
        ASSERT_EQ(fraction(a + b), fraction(a) + fraction(b));
        ASSERT_EQ(fraction(a - b), fraction(a) - fraction(b));
        ASSERT_EQ(fraction(a * b), fraction(a) * fraction(b));
        ASSERT_EQ(BigDecimal::compare(a, b) < 0, fraction(a) < fraction(b));
        ASSERT_EQ(fraction(-a), -fraction(a));
        const BigDecimal normal = a.normalized();
        ASSERT_EQ(fraction(normal), fraction(a));
        ASSERT_NE(normal.isZero() ? 1 : (normal.unscaled() % 10u).toInt(), 0);
        ASSERT_EQ(a.precision(), gmp(a.unscaled().abs()).get_str().size());
    }
}

TEST(BigDecimal, DividesToTheNearest)
{
    Operands operands;
    for (int round = 0; round < 300; ++round) {
        const BigDecimal a = nextDecimal(operands), b = nextDecimal(operands);
        if (b.isZero())
            continue;
        const unsigned digits = 1 + operands.below(50);
        const BigDecimal quotient = BigDecimal::divideTo(a, b, digits, Rounding::HalfEven);
        ASSERT_EQ(quotient.isZero() ? digits : quotient.precision(), digits);
        const mpq_class error = fraction(quotient) - fraction(a) / fraction(b);
        ASSERT_LE(abs(error) * 2, fraction(BigDecimal(1, quotient.scale())));
        ASSERT_LE(abs(fraction(a / b) - fraction(a) / fraction(b)) * 2,
                  abs(fraction(a / b)) /
                      fraction(BigDecimal(1, 1 - int(BigDecimal::QuotientDigits))));
    }
}

TEST(BigDecimal, EndsQuotientsWhereTheyEnd)
{
    EXPECT_EQ((BigDecimal(1) / BigDecimal(4)).toString(), "0.25");
    EXPECT_EQ((BigDecimal(100) / BigDecimal(1)).toString(), "100");
    EXPECT_EQ((BigDecimal("1.00") / BigDecimal("2")).toString(), "0.50");
    EXPECT_EQ((BigDecimal(2) / BigDecimal(3)).toString(), "0.6666666666666666666666666666666667");
    EXPECT_EQ((BigDecimal(0) / BigDecimal("0.5")).toString(), "0E+1");
}

struct RoundedTexts {
    const char* value;
    int up, down, ceiling, floor, halfUp, halfDown, halfEven;
};
class BigDecimalRounding : public testing::TestWithParam<RoundedTexts>
{
};
TEST_P(BigDecimalRounding, GoesTheWayOfItsMode)
{
    const RoundedTexts& p = GetParam();
    const BigDecimal value(p.value);
    EXPECT_EQ(value.rescaled(0, Rounding::Up), p.up);
    EXPECT_EQ(value.rescaled(0, Rounding::Down), p.down);
    EXPECT_EQ(value.rescaled(0, Rounding::Ceiling), p.ceiling);
    EXPECT_EQ(value.rescaled(0, Rounding::Floor), p.floor);
    EXPECT_EQ(value.rescaled(0, Rounding::HalfUp), p.halfUp);
    EXPECT_EQ(value.rescaled(0, Rounding::HalfDown), p.halfDown);
    EXPECT_EQ(value.rescaled(0, Rounding::HalfEven), p.halfEven);
}
INSTANTIATE_TEST_SUITE_P(Modes, BigDecimalRounding,
                         testing::Values(RoundedTexts{"5.5", 6, 5, 6, 5, 6, 5, 6},
                                         RoundedTexts{"2.5", 3, 2, 3, 2, 3, 2, 2},
                                         RoundedTexts{"1.6", 2, 1, 2, 1, 2, 2, 2},
                                         RoundedTexts{"1.1", 2, 1, 2, 1, 1, 1, 1},
                                         RoundedTexts{"1.0", 1, 1, 1, 1, 1, 1, 1},
                                         RoundedTexts{"0.3", 1, 0, 1, 0, 0, 0, 0},
                                         RoundedTexts{"-1.1", -2, -1, -1, -2, -1, -1, -1},
                                         RoundedTexts{"-1.6", -2, -1, -1, -2, -2, -2, -2},
                                         RoundedTexts{"-2.5", -3, -2, -2, -3, -3, -2, -2},
                                         RoundedTexts{"-5.5", -6, -5, -5, -6, -6, -5, -6}));

TEST(BigDecimal, RoundsToDigits)
{
    EXPECT_EQ(BigDecimal("9.996").rounded(3).toString(), "10.0");
    EXPECT_EQ(BigDecimal("12345").rounded(2).toString(), "1.2E+4");
    EXPECT_EQ(BigDecimal("99").rounded(1).toString(), "1E+2");
    EXPECT_EQ(BigDecimal("1.50").rounded(5).toString(), "1.50");
}

TEST(BigDecimal, TakesDoublesExactly)
{
    EXPECT_EQ(BigDecimal(0.1).toString(),
              "0.1000000000000000055511151231257827021181583404541015625");
    EXPECT_EQ(BigDecimal(-0x1p70).toString(), "-1180591620717411303424");
    EXPECT_EQ(BigDecimal(-0.0), 0);
    // The least double has 751 digits, which end in 5.
    const BigDecimal least(0x1p-1074);
    EXPECT_EQ(least.scale(), 1074);
    EXPECT_EQ(least.precision(), 751u);
    EXPECT_EQ(least.toDouble(), 0x1p-1074);
    WarningCatcher warnings;
    EXPECT_EQ(BigDecimal(std::nan("")), 0);
    EXPECT_EQ(warnings.text(), QLatin1String("BigDecimal: No value for nan"));
}

TEST(BigDecimal, GivesTheDoubleThatTheTextMeans)
{
    Operands operands;
    for (int round = 0; round < 500; ++round) {
        const BigDecimal value(big(operands.next(round % 50 ? 120 : 3000)),
                               int(operands.below(700)) - 350);
        ASSERT_EQ(value.toDouble(), std::strtod(value.toString(), nullptr))
            << value.toString().data();
        ASSERT_EQ(value.toReal<float>(), std::strtof(value.toString(), nullptr))
            << value.toString().data();
    }
    // Half way between two doubles, and a digit above it.
    const std::string half = "1.00000000000000011102230246251565404236316680908203125";
    EXPECT_EQ(BigDecimal(half.c_str()).toDouble(), 1.0);
    EXPECT_EQ(BigDecimal((half + std::string(1000, '0') + "1").c_str()).toDouble(),
              0x1.0000000000001p0);
}

TEST(BigDecimal, KnowsItsMantissaOfTwo)
{
    BigInteger mantissa;
    int exponent = 0;
    EXPECT_TRUE(BigDecimal("-12.50").toBinary(mantissa, exponent));
    EXPECT_EQ(mantissa, -25);
    EXPECT_EQ(exponent, -1);
    EXPECT_FALSE(BigDecimal("0.3").toBinary(mantissa, exponent));
    EXPECT_FALSE(BigDecimal("1e-1000000").toBinary(mantissa, exponent));
    EXPECT_EQ(BigDecimal::fromBinary(BigInteger(-25), -1).toString(), "-12.5");
    EXPECT_EQ(BigDecimal::fromBinary(BigInteger(8), -2).toString(), "2");
}

TEST(BigDecimal, StaysQuickAtTheEndsOfItsScale)
{
    const BigDecimal huge("9e1048576"), tiny("-1e-1048576");
    EXPECT_LT(tiny, huge);
    EXPECT_EQ(huge.toDouble(), HUGE_VAL);
    EXPECT_EQ(tiny.toDouble(), 0);
    EXPECT_EQ((huge + tiny - huge), tiny);
    EXPECT_EQ(BigDecimal(BigInteger::power(10, 100000)).normalized().scale(), -100000);
}

TEST(BigDecimal, WarnsPastItsScale)
{
    WarningCatcher warnings;
    EXPECT_EQ(BigDecimal("1e-1048576") * BigDecimal("0.1"), 0);
    EXPECT_EQ(warnings.text(), QLatin1String("BigDecimal: Scale 1048577 out of range"));
    EXPECT_EQ(BigDecimal(1).rescaled(-1048577), 0);
    EXPECT_EQ(warnings.text(), QLatin1String("BigDecimal: Scale -1048577 out of range"));
    EXPECT_EQ(BigDecimal("1e1048576") / BigDecimal("3e-1048576"), 0);
    EXPECT_FALSE(warnings.isEmpty());
}

TEST(BigDecimalDeathTest, DividesByNoZero)
{
    EXPECT_DEATH(BigDecimal(1) / BigDecimal("0.00"), "");
}
