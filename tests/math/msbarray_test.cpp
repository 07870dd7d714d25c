#include "math/gmpvalues.h"

#include "math/bigdecimal.h"
#include "math/msbarray.h"

#include <cmath>
#include <limits>

using math::BigDecimal;
using math::BigInteger;
using math::MSBArray;

namespace
{
constexpr double infinity = std::numeric_limits<double>::infinity();

MSBArray fromHex(const std::string& hex)
{
    const QByteArray octets = QByteArray::fromHex(hex.c_str());
    return MSBArray(octets.data(), unsigned(octets.size()));
}

std::string hex(const MSBArray& array)
{
    return QByteArray(array.data(), int(array.size())).toHex(' ').toStdString();
}

template <class T>
std::string hexOf(T value)
{
    uchar octets[MSBArray::MaxEncoded];
    return QByteArray(reinterpret_cast<char*>(octets), int(MSBArray::encode(value, octets)))
        .toHex(' ')
        .toStdString();
}
} // namespace

struct IntegerOctets {
    qint64 value;
    const char* octets;
};
class MSBArrayInteger : public testing::TestWithParam<IntegerOctets>
{
};
TEST_P(MSBArrayInteger, IsLeastTwosComplement)
{
    const auto& [value, octets] = GetParam();
    EXPECT_EQ(hexOf(value), octets);
    EXPECT_EQ(hex(MSBArray(BigInteger(value))), octets);
    const MSBArray array = fromHex(octets);
    EXPECT_EQ(array.toInt64(), value);
    EXPECT_EQ(array.toInteger().toInt64(), value);
    bool isInt = false, isUnsigned = false;
    EXPECT_EQ(array.toInt(&isInt), value == int(value) ? value : 0);
    EXPECT_EQ(array.toUInt(&isUnsigned), value == qint64(unsigned(value)) ? value : 0);
    EXPECT_EQ(isInt, value == int(value));
    EXPECT_EQ(isUnsigned, value == qint64(unsigned(value)));
}
INSTANTIATE_TEST_SUITE_P(
    Edges, MSBArrayInteger,
    testing::Values(IntegerOctets{0, ""}, IntegerOctets{1, "01"}, IntegerOctets{-1, "ff"},
                    IntegerOctets{127, "7f"}, IntegerOctets{128, "00 80"},
                    IntegerOctets{-128, "80"}, IntegerOctets{-129, "ff 7f"},
                    IntegerOctets{256, "01 00"}, IntegerOctets{-32768, "80 00"},
                    IntegerOctets{32768, "00 80 00"}, IntegerOctets{2147483647, "7f ff ff ff"},
                    IntegerOctets{-2147483648ll, "80 00 00 00"},
                    IntegerOctets{2147483648ll, "00 80 00 00 00"},
                    IntegerOctets{4294967295ll, "00 ff ff ff ff"},
                    IntegerOctets{4294967296ll, "01 00 00 00 00"},
                    IntegerOctets{-2147483649ll, "ff 7f ff ff ff"},
                    IntegerOctets{std::numeric_limits<qint64>::max(), "7f ff ff ff ff ff ff ff"},
                    IntegerOctets{std::numeric_limits<qint64>::min(), "80 00 00 00 00 00 00 00"}));

TEST(MSBArray, HoldsIntegersOfAnySize)
{
    Operands operands;
    for (int round = 0; round < 500; ++round) {
        const mpz_class value = operands.next(400);
        const MSBArray array(big(value));
        mpz_class read;
        mpz_import(read.get_mpz_t(), array.size(), 1, 1, 1, 0, array.data());
        if (value < 0)
            read -= mpz_class(1) << (8 * array.size());
        ASSERT_EQ(read, value);
        ASSERT_EQ(gmp(array.toInteger()), value);
        if (array.size() > 1) {
            const unsigned leading = unsigned(array.octets()[0] << 8 | array.octets()[1]) >> 7;
            ASSERT_TRUE(leading != 0 && leading != 0x1ff) << value;
        }
    }
}

TEST(MSBArray, ReadsIntegersWithOctetsToSpare)
{
    EXPECT_EQ(fromHex("0000000000000000000005").toInteger(), 5);
    EXPECT_EQ(fromHex("ffffffffffffffffffffffff").toInteger(), -1);
    EXPECT_EQ(fromHex("0005").toInt(), 5);
    bool ok = true;
    EXPECT_EQ(fromHex("000000000000000005").toInt64(&ok), 0);
    EXPECT_FALSE(ok);
}

TEST(MSBArray, PartsFromItsCopiesWhenSet)
{
    MSBArray array = fromHex("01");
    const MSBArray copy(array);
    array.setInteger(2);
    EXPECT_EQ(hex(copy), "01");
    const MSBArray again(array);
    array.setInteger(BigInteger(3));
    EXPECT_EQ(hex(again), "02");
}

struct RealOctets {
    double value;
    const char* octets;
};
class MSBArrayReal : public testing::TestWithParam<RealOctets>
{
};
TEST_P(MSBArrayReal, HasAnOddMantissaAndTheLeastExponent)
{
    const auto& [value, octets] = GetParam();
    EXPECT_EQ(hexOf(value), octets);
    double read = 99;
    EXPECT_TRUE(fromHex(octets).getReal(read));
    EXPECT_EQ(read, value);
    if (value == double(float(value))) {
        EXPECT_EQ(hexOf(float(value)), octets);
    }
    if (std::isfinite(value)) {
        MSBArray array;
        array.setReal(BigDecimal(value));
        EXPECT_EQ(hex(array), octets);
        BigDecimal decimal;
        EXPECT_TRUE(array.getReal(decimal));
        EXPECT_EQ(decimal, BigDecimal(value));
    }
}
INSTANTIATE_TEST_SUITE_P(
    Edges, MSBArrayReal,
    testing::Values(RealOctets{0.0, ""}, RealOctets{-0.0, ""}, RealOctets{1.0, "80 00 01"},
                    RealOctets{0.5, "80 ff 01"}, RealOctets{-2.5, "c0 ff 05"},
                    RealOctets{96.0, "80 05 03"}, RealOctets{257.0, "80 00 01 01"},
                    RealOctets{0.1, "80 c9 0c cc cc cc cc cc cd"},
                    RealOctets{double(0.1f), "80 e5 cc cc cd"}, RealOctets{0x1p127, "80 7f 01"},
                    RealOctets{0x1p128, "81 00 80 01"}, RealOctets{0x1p-128, "80 80 01"},
                    RealOctets{-0x1p-129, "c1 ff 7f 01"}, RealOctets{0x1p-1022, "81 fc 02 01"},
                    RealOctets{0x1p-1074, "81 fb ce 01"}, RealOctets{0x3p-1074, "81 fb ce 03"},
                    RealOctets{0x1.fffffffffffffp1023, "81 03 cb 1f ff ff ff ff ff ff"},
                    RealOctets{infinity, "40"}, RealOctets{-infinity, "41"}));

TEST(MSBArray, MarksNaN)
{
    EXPECT_EQ(hexOf(std::nan("")), "42");
    EXPECT_EQ(hexOf(-std::nanf("")), "42");
    double value = 0;
    EXPECT_TRUE(fromHex("42").getReal(value));
    EXPECT_TRUE(std::isnan(value));
    BigDecimal decimal(5);
    EXPECT_FALSE(fromHex("42").getReal(decimal));
    EXPECT_EQ(decimal, 0);
}

TEST(MSBArray, BringsRandomRealsBack)
{
    Operands operands;
    for (int round = 0; round < 2000; ++round) {
        const quint64 bits = mpz_class(abs(operands.next(64)) * 2654435769u).get_ui() ^
                             quint64(operands.below(~0u)) << 32;
        double value, read;
        std::memcpy(&value, &bits, sizeof value);
        uchar octets[MSBArray::MaxEncoded];
        ASSERT_TRUE(MSBArray::decode(octets, MSBArray::encode(value, octets), read));
        ASSERT_TRUE(read == value || (std::isnan(read) && std::isnan(value))) << value;
        float narrow, narrowRead;
        std::memcpy(&narrow, &bits, sizeof narrow);
        ASSERT_TRUE(MSBArray::decode(octets, MSBArray::encode(narrow, octets), narrowRead));
        ASSERT_TRUE(narrowRead == narrow || (std::isnan(narrowRead) && std::isnan(narrow)))
            << narrow;
    }
}

struct OtherReal {
    const char* octets;
    double value;
    float narrow;
};
class MSBArrayOtherReal : public testing::TestWithParam<OtherReal>
{
};
TEST_P(MSBArrayOtherReal, IsReadAndRoundedOnce)
{
    double value = 99;
    EXPECT_TRUE(fromHex(GetParam().octets).getReal(value));
    EXPECT_EQ(value, GetParam().value);
    float narrow = 99;
    EXPECT_TRUE(fromHex(GetParam().octets).getReal(narrow));
    EXPECT_EQ(narrow, GetParam().narrow);
}
INSTANTIATE_TEST_SUITE_P(
    BaseTwoAndItsPowers, MSBArrayOtherReal,
    testing::Values(
        OtherReal{"80 00 06", 6, 6}, OtherReal{"90 01 03", 24, 24}, OtherReal{"a0 01 03", 48, 48},
        OtherReal{"ec ff 03", -1.5, -1.5f}, OtherReal{"83 01 05 03", 96, 96},
        OtherReal{"83 04 ff ff ff ff 03", 1.5, 1.5f}, OtherReal{"80 00 00", 0, 0},
        OtherReal{"43", 0, 0}, OtherReal{"82 7f ff ff 01", infinity, HUGE_VALF},
        OtherReal{"c2 80 00 00 01", 0, 0},
        OtherReal{"83 09 7f ff ff ff ff ff ff ff ff 01", infinity, HUGE_VALF},
        // Ties, and what lies a little above one, in the double and in the float.
        OtherReal{"80 00 20 00 00 00 00 00 01", 0x1p53, 0x1p53f},
        OtherReal{"80 00 20 00 00 00 00 00 01 00 00 00 00 00 01", 0x1.0000000000001p101, 0x1p101f},
        OtherReal{"80 00 01 00 00 01 00 00 00 00 01", 0x1.000001p64, 0x1.000002p64f},
        OtherReal{"80 00 01 00 00 01", 0x1.000001p24, 0x1p24f},
        // Below the normal range.
        OtherReal{"81 fb cd 01", 0, 0}, OtherReal{"81 fb cd 03", 0x1p-1073, 0},
        OtherReal{"81 fb 91 10 00 00 00 00 00 00 01", 0x1p-1074, 0},
        OtherReal{"81 ff 6a 01", 0x1p-150, 0}, OtherReal{"81 ff 6a 03", 0x3p-150, 0x1p-148f}));
INSTANTIATE_TEST_SUITE_P(
    Decimal, MSBArrayOtherReal,
    testing::Values(OtherReal{"03 31 35 2e 45 2d 31", 1.5, 1.5f},        // 15.E-1
                    OtherReal{"01 20 20 2d 34 39", -49, -49},            // two blanks, -49
                    OtherReal{"02 2b 34 2c 35", 4.5, 4.5f},              // +4,5
                    OtherReal{"03 31 2e 45 2d 31", 0.1, 0.1f},           // 1.E-1
                    OtherReal{"03 31 45 34 30 30", infinity, HUGE_VALF}, // 1E400
                    OtherReal{"03 31 45 2d 34 30 30", 0, 0}));           // 1E-400

TEST(MSBArray, RefusesWhatIsNoReal)
{
    for (const char* octets : {"80",          "80 00",
                               "81 00",       "81 00 00",
                               "83",          "83 00",
                               "83 00 01",    "83 02 00 01",
                               "83 ff 00 01", "b0 00 01",
                               "44",          "7f",
                               "40 00",       "00 31",
                               "04 31",       "3f 31",
                               "01",          "03 2e",
                               "03 31 45",    "03 31 00",
                               "02 31 2e 2e", "03 31 45 39 39 39 39 39 39 39"}) {
        double value = 99;
        BigDecimal decimal(99);
        EXPECT_FALSE(fromHex(octets).getReal(value)) << octets;
        EXPECT_EQ(value, 0) << octets;
        EXPECT_FALSE(fromHex(octets).getReal(decimal)) << octets;
        EXPECT_EQ(decimal, 0) << octets;
    }
}

TEST(MSBArray, BoundsTheExponentsOfDecimals)
{
    BigDecimal value;
    EXPECT_TRUE(fromHex("82 10 00 00 01").getReal(value));
    EXPECT_EQ(value.unscaled().bits(), (1u << 20) + 1);
    EXPECT_FALSE(fromHex("82 10 00 01 01").getReal(value));
    EXPECT_TRUE(fromHex("82 f0 00 00 03").getReal(value));
    EXPECT_EQ(value.scale(), 1 << 20);
    EXPECT_FALSE(fromHex("82 ef ff ff 03").getReal(value));
    EXPECT_FALSE(fromHex("a2 04 00 01 01").getReal(value));
}

TEST(MSBArray, WritesDecimalTextWhereBaseTwoEnds)
{
    struct Case {
        const char* decimal;
        const char* octets;
    };
    for (const Case& c :
         {Case{"0.1", "03 31 2e 45 2d 31"}, Case{"-12.30", "03 2d 31 32 33 2e 45 2d 31"},
          Case{"1E+10", "80 0a 95 02 f9"}, Case{"-0.750", "c0 fe 03"}, Case{"0.00", ""}}) {
        MSBArray array;
        array.setReal(BigDecimal(c.decimal));
        EXPECT_EQ(hex(array), c.octets) << c.decimal;
        BigDecimal read(7);
        EXPECT_TRUE(array.getReal(read));
        EXPECT_EQ(read, BigDecimal(c.decimal));
    }
    // An exponent of two that would not be read again.
    const BigDecimal huge((BigInteger(1) << 30), -BigDecimal::MaxScale);
    MSBArray array;
    array.setReal(huge);
    EXPECT_EQ(array.octets()[0], 3);
    BigDecimal read;
    EXPECT_TRUE(array.getReal(read));
    EXPECT_EQ(read, huge);
}
