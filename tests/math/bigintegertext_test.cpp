#include "math/gmpvalues.h"

#include "support/warnings.h"

using math::BigInteger;

struct NumberText {
    const char* text;
    int base;
    bool ok;
    const char* decimal;
};
class BigIntegerText : public testing::TestWithParam<NumberText>
{
};
TEST_P(BigIntegerText, Reads)
{
    BigInteger value(99);
    EXPECT_EQ(value.setString(GetParam().text, GetParam().base), GetParam().ok);
    EXPECT_EQ(value.toString(), GetParam().decimal);
}
INSTANTIATE_TEST_SUITE_P(
    Forms, BigIntegerText,
    testing::Values(NumberText{"12 34", 10, true, "1234"},
                    NumberText{" \t\n\v\f\r-1 2\n", 10, true, "-12"},
                    NumberText{"-0", 10, true, "0"}, NumberText{"0 00 12", 10, true, "12"},
                    NumberText{"00", 0, true, "0"}, NumberText{"0x", 0, true, "0"},
                    NumberText{"0Xff", 0, true, "255"}, NumberText{"-0x 1 0", 0, true, "-16"},
                    NumberText{"0b101", 0, true, "5"}, NumberText{"0B", 0, true, "0"},
                    NumberText{"017", 0, true, "15"}, NumberText{"18", 0, true, "18"},
                    NumberText{"zZ", 36, true, "1295"},
                    NumberText{"100000000000000000000000000000000", 16, true,
                               "340282366920938463463374607431768211456"},
                    NumberText{"98765432109876543210", 10, true, "98765432109876543210"},
                    NumberText{"", 10, false, "0"}, NumberText{"-", 10, false, "0"},
                    NumberText{"- 5", 10, false, "0"}, NumberText{"+5", 10, false, "0"},
                    NumberText{"--5", 10, false, "0"}, NumberText{"08", 0, false, "0"},
                    NumberText{"0b2", 0, false, "0"}, NumberText{"0xg", 0, false, "0"},
                    NumberText{"x10", 0, false, "0"}, NumberText{"a", 0, false, "0"},
                    NumberText{"0x10", 16, false, "0"}, NumberText{"12", 2, false, "0"},
                    NumberText{"123456789012345678901234567890.5", 10, false, "0"},
                    NumberText{"12\xe9", 36, false, "0"}, NumberText{"1", 1, false, "0"},
                    NumberText{"1", 37, false, "0"}, NumberText{"1", -16, false, "0"},
                    NumberText{nullptr, 10, false, "0"}));

TEST(BigIntegerText, GoesThroughEveryBase)
{
    Operands operands;
    for (int base = 2; base <= 36; ++base) {
        for (int round = 0; round < 30; ++round) {
            const mpz_class a = operands.next(round == 0 ? 20000 : 300);
            const std::string expected = a.get_str(base);
            const QCString text = big(a).toString(base);
            ASSERT_EQ(text.data(), expected) << base;
            ASSERT_EQ(big(a).toString(-base).data(), a.get_str(-base)) << base;
            ASSERT_EQ(gmp(BigInteger(text.data(), base)), a) << base;
            const std::size_t digits = expected.size() - (a < 0);
            ASSERT_GE(big(a).sizeInBase(-base), digits) << a << ' ' << base;
            ASSERT_LE(big(a).sizeInBase(base), digits + 2) << a << ' ' << base;
        }
    }
}

TEST(BigIntegerText, WritesInTheLettersAskedFor)
{
    EXPECT_EQ(BigInteger(255).toString(-16), "FF");
    EXPECT_EQ(BigInteger(255).toString(16), "ff");
    EXPECT_EQ(BigInteger(255).toString(0), "255");
    for (const int base : {1, -1, 37, -37, INT_MIN, INT_MAX})
        EXPECT_TRUE(BigInteger(255).toString(base).isEmpty()) << base;
}

TEST(BigIntegerText, KnowsItsDigits)
{
    struct Case {
        char c;
        int base, value;
    };
    for (const Case& c : {Case{'7', 8, 7}, Case{'8', 8, -1}, Case{'f', 16, 15}, Case{'F', 16, 15},
                          Case{'g', 16, -1}, Case{'Z', 36, 35}, Case{'/', 36, -1},
                          Case{':', 36, -1}, Case{'@', 36, -1}, Case{'\xe4', 99, -1}})
        EXPECT_EQ(BigInteger::digit_value_in_base(c.c, c.base), c.value) << c.c;
}

TEST(BigIntegerText, ConvertsHugeTextsFasterThanDigitByDigit)
{
    // Square time would take minutes here.
    const std::string digits(1000000, '7');
    BigInteger value;
    ASSERT_TRUE(value.setString(digits.c_str()));
    EXPECT_EQ(value.toString().data(), digits);
}
