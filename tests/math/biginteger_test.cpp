#include "math/gmpvalues.h"

#include "support/warnings.h"

using math::BigInteger;

namespace
{
/// An operation of two numbers, and GMP's. The second is never zero.
struct Operation {
    const char* name;
    BigInteger (*ours)(const BigInteger& a, const BigInteger& b);
    mpz_class (*theirs)(const mpz_class& a, const mpz_class& b);
};

template <void (*function)(mpz_ptr, mpz_srcptr, mpz_srcptr)>
mpz_class theirs(const mpz_class& a, const mpz_class& b)
{
    mpz_class result;
    function(result.get_mpz_t(), a.get_mpz_t(), b.get_mpz_t());
    return result;
}

using Pair = void (*)(BigInteger& q, BigInteger& r, const BigInteger& a, const BigInteger& b);

template <Pair divide>
BigInteger quotientOf(const BigInteger& a, const BigInteger& b)
{
    BigInteger q, r;
    divide(q, r, a, b);
    return q;
}

template <Pair divide>
BigInteger remainderOf(const BigInteger& a, const BigInteger& b)
{
    BigInteger q, r;
    divide(q, r, a, b);
    return r;
}

constexpr Operation operations[] = {
    {"+", [](const BigInteger& a, const BigInteger& b) { return a + b; }, theirs<mpz_add>},
    {"-", [](const BigInteger& a, const BigInteger& b) { return a - b; }, theirs<mpz_sub>},
    {"*", [](const BigInteger& a, const BigInteger& b) { return a * b; }, theirs<mpz_mul>},
    {"/", [](const BigInteger& a, const BigInteger& b) { return a / b; }, theirs<mpz_tdiv_q>},
    {"%", [](const BigInteger& a, const BigInteger& b) { return a % b; }, theirs<mpz_tdiv_r>},
    {"&", [](const BigInteger& a, const BigInteger& b) { return a & b; }, theirs<mpz_and>},
    {"|", [](const BigInteger& a, const BigInteger& b) { return a | b; }, theirs<mpz_ior>},
    {"^", [](const BigInteger& a, const BigInteger& b) { return a ^ b; }, theirs<mpz_xor>},
    {"mod", [](const BigInteger& a, const BigInteger& b) { return a.mod(b); }, theirs<mpz_mod>},
    {"gcd", BigInteger::gcd, theirs<mpz_gcd>},
    {"divide, quotient", quotientOf<BigInteger::divide>, theirs<mpz_tdiv_q>},
    {"divide, remainder", remainderOf<BigInteger::divide>, theirs<mpz_tdiv_r>},
    {"floor, quotient", quotientOf<BigInteger::floor>, theirs<mpz_fdiv_q>},
    {"floor, remainder", remainderOf<BigInteger::floor>, theirs<mpz_fdiv_r>},
    {"ceil, quotient", quotientOf<BigInteger::ceil>, theirs<mpz_cdiv_q>},
    {"ceil, remainder", remainderOf<BigInteger::ceil>, theirs<mpz_cdiv_r>},
};

/// The same with an unsigned second operand, which has code of its own.
struct SmallOperation {
    const char* name;
    BigInteger (*ours)(const BigInteger& a, unsigned b);
    mpz_class (*theirs)(const mpz_class& a, const mpz_class& b);
};

using SmallPair = void (*)(BigInteger& q, BigInteger& r, const BigInteger& a, unsigned b);

template <SmallPair divide, bool quotient>
BigInteger partOf(const BigInteger& a, unsigned b)
{
    BigInteger q, r;
    divide(q, r, a, b);
    return quotient ? q : r;
}

constexpr SmallOperation smallOperations[] = {
    {"+", [](const BigInteger& a, unsigned b) { return a + b; }, theirs<mpz_add>},
    {"-", [](const BigInteger& a, unsigned b) { return a - b; }, theirs<mpz_sub>},
    {"*", [](const BigInteger& a, unsigned b) { return a * b; }, theirs<mpz_mul>},
    {"/", [](const BigInteger& a, unsigned b) { return a / b; }, theirs<mpz_tdiv_q>},
    {"%", [](const BigInteger& a, unsigned b) { return a % b; }, theirs<mpz_tdiv_r>},
    {"divide, remainder", partOf<BigInteger::divide, false>, theirs<mpz_tdiv_r>},
    {"floor, quotient", partOf<BigInteger::floor, true>, theirs<mpz_fdiv_q>},
    {"floor, remainder", partOf<BigInteger::floor, false>, theirs<mpz_fdiv_r>},
    {"ceil, quotient", partOf<BigInteger::ceil, true>, theirs<mpz_cdiv_q>},
    {"ceil, remainder", partOf<BigInteger::ceil, false>, theirs<mpz_cdiv_r>},
};

/// Fails unless the top limb in use is set and the half limb that may lie above it is not.
void expectNormal(const BigInteger& value)
{
    if (value.sign == 0)
        return;
    const auto limbs = reinterpret_cast<const quint32*>(value.data());
    const unsigned used = unsigned(std::abs(value.sign));
    EXPECT_NE(limbs[used - 1], 0u);
    EXPECT_EQ(used % 2 ? limbs[used] : 0u, 0u);
}
} // namespace

TEST(BigInteger, CalculatesWhatGmpDoes)
{
    Operands operands;
    for (int round = 0; round < 400; ++round) {
        // Now and then operands long enough for the fast methods.
        const unsigned size = round % 40 == 0 ? 6000 : 300;
        const mpz_class a = operands.next(size);
        mpz_class b = operands.next(size * (1 + unsigned(round) % 2));
        if (b == 0)
            b = 1;
        const BigInteger x = big(a);
        const BigInteger y = big(b);
        for (const Operation& operation : operations) {
            const BigInteger result = operation.ours(x, y);
            ASSERT_EQ(gmp(result), operation.theirs(a, b))
                << a << ' ' << operation.name << ' ' << b;
            expectNormal(result);
        }
        const unsigned small = operands.below(4) ? operands.below(~0u) + 1 : operands.below(9) + 1;
        for (const SmallOperation& operation : smallOperations)
            ASSERT_EQ(gmp(operation.ours(x, small)), operation.theirs(a, small))
                << a << ' ' << operation.name << ' ' << small;
        const unsigned count = operands.below(200);
        ASSERT_EQ(gmp(x << count), mpz_class(a << count)) << a << ' ' << count;
        ASSERT_EQ(gmp(x >> count), mpz_class(a / (mpz_class(1) << count))) << a << ' ' << count;
        ASSERT_EQ(BigInteger::compare(x, y) < 0, a < b) << a << ' ' << b;
        ASSERT_EQ(x.bits(), a == 0 ? 0 : mpz_sizeinbase(a.get_mpz_t(), 2));
    }
}

TEST(BigInteger, ComparesWithSmallNumbers)
{
    const BigInteger values[] = {BigInteger(-2) - BigInteger(~0u),
                                 BigInteger(-5),
                                 BigInteger(-4),
                                 BigInteger(),
                                 BigInteger(4),
                                 BigInteger(5),
                                 BigInteger(2147483647),
                                 BigInteger(2147483648u),
                                 BigInteger(~0u) + 2u};
    for (const BigInteger& value : values) {
        for (const int small : {-5, 0, 5, INT_MAX, INT_MIN})
            EXPECT_EQ(value < small, gmp(value) < small) << value.toString().data() << ' ' << small;
        for (const int small : {-5, 0, 5, INT_MAX, INT_MIN})
            EXPECT_EQ(value == small, gmp(value) == small)
                << value.toString().data() << ' ' << small;
        for (const unsigned small : {0u, 5u, 2147483648u, ~0u})
            EXPECT_EQ(value > small, gmp(value) > small) << value.toString().data() << ' ' << small;
    }
}

TEST(BigInteger, TakesIntsAsSigned)
{
    const BigInteger ten(10);
    EXPECT_EQ(ten + -3, 7);
    EXPECT_EQ(ten * -3, -30);
    EXPECT_EQ(ten / -3, -3);
    BigInteger q, r;
    BigInteger::floor(q, r, ten, -3);
    EXPECT_EQ(q, -4);
    EXPECT_EQ(r, -2);
    EXPECT_EQ(BigInteger(INT_MIN).toInt(), INT_MIN);
}

TEST(BigInteger, StoresResultsInOperands)
{
    BigInteger a = big("0x123456789abcdef0123456789abcdef");
    BigInteger b = big("0xfedcba987654321");
    const mpz_class x = gmp(a), y = gmp(b);
    BigInteger::floor(b, a, a, b);
    EXPECT_EQ(gmp(b), x / y);
    EXPECT_EQ(gmp(a), x % y);
    b = big(x);
    b *= b;
    b -= b;
    EXPECT_EQ(b, 0);
}

TEST(BigInteger, CopiesPartWhenOneIsWritten)
{
    const BigInteger original = big("0xffffffffffffffffffff");
    BigInteger set(original), cleared(original), toggled;
    toggled = original;
    set.setBit(200);
    cleared.clearBit(3);
    toggled.toggleBit(0);
    EXPECT_EQ(original.toString(16), "ffffffffffffffffffff");
    EXPECT_EQ(cleared.toString(16), "fffffffffffffffffff7");
    EXPECT_EQ(toggled.toString(16), "fffffffffffffffffffe");
    EXPECT_EQ(set.bits(), 201u);
}

TEST(BigInteger, SeesBitsInTwosComplement)
{
    Operands operands;
    for (int round = 0; round < 600; ++round) {
        mpz_class a = operands.next(200);
        BigInteger x = big(a);
        const unsigned index = operands.below(260);
        ASSERT_EQ(x.testBit(index), bool(mpz_tstbit(a.get_mpz_t(), index))) << a << ' ' << index;
        ASSERT_EQ(x.scan0(index), unsigned(mpz_scan0(a.get_mpz_t(), index))) << a << ' ' << index;
        ASSERT_EQ(x.scan1(index), unsigned(mpz_scan1(a.get_mpz_t(), index))) << a << ' ' << index;
        BigInteger set(x), cleared(x);
        set.setBit(index);
        cleared.clearBit(index);
        x.toggleBit(index);
        expectNormal(x);
        mpz_class b = a;
        mpz_setbit(b.get_mpz_t(), index);
        ASSERT_EQ(gmp(set), b) << a << ' ' << index;
        b = a;
        mpz_clrbit(b.get_mpz_t(), index);
        ASSERT_EQ(gmp(cleared), b) << a << ' ' << index;
        mpz_combit(a.get_mpz_t(), index);
        ASSERT_EQ(gmp(x), a) << index;
    }
}

TEST(BigInteger, SearchesPastTheTop)
{
    EXPECT_EQ(BigInteger(5).scan0(100), 100u);
    EXPECT_EQ(BigInteger(5).scan1(100), 0xffffffffu);
    EXPECT_EQ(BigInteger(-5).scan0(100), 0xffffffffu);
    EXPECT_EQ(BigInteger(-5).scan1(100), 100u);
}

TEST(BigInteger, ShiftsTheMagnitude)
{
    EXPECT_EQ(BigInteger(-5) >> 1, -2);
    BigInteger q, r;
    BigInteger::floor(q, r, BigInteger(-5), 2);
    EXPECT_EQ(q, -3);
}

TEST(BigInteger, CutsToWords)
{
    bool ok = false;
    EXPECT_EQ(big("-0x123456789").toInt(), -0x23456789);
    EXPECT_EQ(big("-0x8000000000000000").toInt64(&ok), std::numeric_limits<qint64>::min());
    EXPECT_TRUE(ok);
    big("0x8000000000000000").toInt64(&ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(big("0xffffffffffffffff").toUInt64(&ok), ~quint64(0));
    EXPECT_TRUE(ok);
    big("0x10000000000000000").toUInt64(&ok);
    EXPECT_FALSE(ok);
}

struct NearestDouble {
    const char* integer;
    double value;
};
class BigIntegerToDouble : public testing::TestWithParam<NearestDouble>
{
};
TEST_P(BigIntegerToDouble, RoundsToNearestEven)
{
    EXPECT_EQ(big(GetParam().integer).toDouble(), GetParam().value);
}
INSTANTIATE_TEST_SUITE_P(
    Edges, BigIntegerToDouble,
    testing::Values(NearestDouble{"0x20000000000001", 0x1p53}, // a tie goes to even
                    NearestDouble{"0x20000000000003", 0x1.0000000000002p53},
                    NearestDouble{"-0x20000000000001000000000000000000000000000000001",
                                  -0x1.0000000000001p185},
                    NearestDouble{"0x20000000000001000000000000000000000000000000000", 0x1p185},
                    NearestDouble{"0xfffffffffffffbff", 0x1.fffffffffffffp63},
                    NearestDouble{"0xfffffffffffffc00", 0x1p64}));

TEST(BigInteger, PassesTheRangeOfADouble)
{
    EXPECT_EQ((BigInteger(1) << 1024).toDouble(), std::numeric_limits<double>::infinity());
    EXPECT_EQ((BigInteger(-1) << 70000).toDouble(), -std::numeric_limits<double>::infinity());
}

TEST(BigInteger, FailsSafelyPastItsLimit)
{
    const QLatin1String text("BigInteger: Result exceeds 2147483648 bits");
    WarningCatcher warnings;
    EXPECT_EQ(BigInteger(1) << 0xffffffffu, 0);
    EXPECT_EQ(warnings.text(), text);
    EXPECT_EQ(BigInteger::power(BigInteger(10), 0xffffffffu), 0);
    EXPECT_EQ(warnings.text(), text);
    BigInteger value(-7);
    for (const unsigned index : {0x80000000u, 0xfffffff0u}) {
        value.clearBit(index);
        EXPECT_EQ(value, -7);
        EXPECT_EQ(warnings.text(), text);
    }
    EXPECT_EQ(BigInteger::power(BigInteger(-1), 0xffffffffu), -1);
    EXPECT_TRUE(warnings.isEmpty());
}

TEST(BigIntegerDeathTest, DividesByNoZero)
{
    BigInteger q, r;
    EXPECT_DEATH(BigInteger(1) / BigInteger(), "");
    EXPECT_DEATH(BigInteger() % 0u, "");
    EXPECT_DEATH(BigInteger::divide(q, r, BigInteger(), BigInteger()), "");
    EXPECT_DEATH(BigInteger(2).powm(3, BigInteger()), "");
    EXPECT_DEATH(BigInteger(2).powm(-1, BigInteger(1)), "");
    EXPECT_DEATH(BigInteger(2).powm(-1, BigInteger(4)), "");
}
