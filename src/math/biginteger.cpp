#include "math/biginteger_p.h"

#include <qlogging.h>

#include <cstring>

namespace math
{
using Store = BigIntegerStore;

// ---- storage

BigInteger Store::tooLarge()
{
    qWarning("BigInteger: Result exceeds %u bits", BigInteger::MaxBits);
    return BigInteger(BigInteger::newRecord(0));
}

BigInteger Store::make(mp_size_t count)
{
    // A few limbs above the limit may turn out to be zero.
    if (count > MaxCount + 5)
        return tooLarge();
    // The largest block that the C library keeps at hand for each thread; what is above it costs
    // three times as much.
    constexpr std::size_t cheapest = 1032;
    const std::size_t bytes = std::size_t(count) * sizeof(mp_limb_t);
    if (bytes > cheapest - sizeof(VGArray::array_data) && bytes <= cheapest) {
        BigInteger a(BigInteger::newRecord(0));
        a.resizeTo(bytes);
        return a;
    }
    return BigInteger(BigInteger::newRecord(unsigned(bytes)));
}

mp_ptr Store::reserve(BigInteger& a, mp_size_t count)
{
    if (a.nrefs() > 1 || a.size() < std::size_t(count) * sizeof(mp_limb_t))
        make(count).swap(a);
    a.sign = 0;
    return limbs(a);
}

void Store::finish(BigInteger& a, mp_size_t count, bool negative)
{
    const mp_srcptr p = limbs(a);
    while (count > 0 && p[count - 1] == 0)
        --count;
    if (count > MaxCount) {
        tooLarge();
        count = 0;
    }
    const int used = count ? int(2 * count) - (p[count - 1] >> 32 == 0) : 0;
    a.sign = negative ? -used : used;
}

void Store::detach(BigInteger& a)
{
    if (a.nrefs() > 1)
        a.duplicate(BigInteger(a));
}

void Store::assign(BigInteger& a, mp_srcptr from, mp_size_t count, bool negative)
{
    if (const mp_ptr p = reserve(a, count)) {
        mpn_copyi(p, from, count);
        finish(a, count, negative);
    }
}

// ---- values

// Results of up to six 64-bit limbs are stored in a number that stands ready for them at no further
// cost.
BigInteger::BigInteger() : IntegerArray(newRecord(6 * sizeof(mp_limb_t))) {}

BigInteger::BigInteger(quint64 value) : IntegerArray(newRecord(sizeof value))
{
    Store::limbs(*this)[0] = value;
    sign = (value != 0) + (value >> 32 != 0);
}

BigInteger::BigInteger(qint64 value) : BigInteger(value < 0 ? -quint64(value) : quint64(value))
{
    if (value < 0)
        sign = -sign;
}

BigInteger::BigInteger(int value) : BigInteger(qint64(value)) {}

BigInteger::BigInteger(unsigned value) : BigInteger(quint64(value)) {}

BigInteger::BigInteger(const char* text, int base)
{
    setString(text, base);
}

void BigInteger::duplicate(const BigInteger& other)
{
    const BigInteger source(other);
    Store::assign(*this, Store::limbs(source), Store::count(source), source.isNegative());
}

void BigInteger::swap(BigInteger& other)
{
    IntegerArray::swap(other);
    std::swap(sign, other.sign);
}

unsigned BigInteger::bits() const
{
    const mp_size_t count = Store::count(*this);
    return count ? unsigned(64 * count - __builtin_clzll(Store::limbs(*this)[count - 1])) : 0;
}

int BigInteger::toInt() const
{
    const unsigned magnitude = sign ? unsigned(Store::limbs(*this)[0]) : 0;
    return int(sign < 0 ? -magnitude : magnitude);
}

quint64 BigInteger::toUInt64(bool* ok) const
{
    if (ok)
        *ok = sign >= 0 && sign <= 2;
    const quint64 magnitude = sign ? Store::limbs(*this)[0] : 0;
    return sign < 0 ? -magnitude : magnitude;
}

qint64 BigInteger::toInt64(bool* ok) const
{
    const qint64 value = qint64(toUInt64());
    if (ok)
        *ok = std::abs(sign) <= 2 && (value < 0) == (sign < 0);
    return value;
}

template <class T>
T nearestReal(const BigInteger& a, qint64 exponent)
{
    // 64 leading bits, the last of which stands for all that follow, are enough to round on: a long
    // double takes them as they are, and the step to T is the only one that rounds.
    static_assert(std::numeric_limits<long double>::digits >= 64);
    const mp_size_t count = Store::count(a);
    if (count == 0)
        return 0;
    const mp_srcptr p = Store::limbs(a);
    quint64 leading = p[count - 1];
    const int free = __builtin_clzll(leading);
    exponent += 64 * qint64(count - 1) - free;
    leading <<= free;
    if (count > 1) {
        leading |= p[count - 2] >> 1 >> (63 - free);
        if (mpn_scan1(p, 0) < 64 * mp_bitcnt_t(count - 1) - mp_bitcnt_t(free))
            leading |= 1;
    }
    constexpr qint64 beyond = 1 << 16;
    const T value = T(
        std::ldexp(static_cast<long double>(leading), int(std::clamp(exponent, -beyond, beyond))));
    return a.isNegative() ? -value : value;
}

template float nearestReal<float>(const BigInteger& a, qint64 exponent);
template double nearestReal<double>(const BigInteger& a, qint64 exponent);

double BigInteger::toDouble() const
{
    return nearestReal<double>(*this, 0);
}

int BigInteger::compare(const BigInteger& a, const BigInteger& b)
{
    if (a.sign != b.sign)
        return a.sign - b.sign;
    const mp_srcptr p = Store::limbs(a);
    const mp_srcptr q = Store::limbs(b);
    if (p == q || a.sign == 0)
        return 0;
    const int order = mpn_cmp(p, q, Store::count(a));
    return a.sign < 0 ? -order : order;
}

int BigInteger::compare(const BigInteger& a, int b)
{
    const int size = (b > 0) - (b < 0);
    if (a.sign != size || size == 0)
        return a.sign - size;
    const unsigned magnitude = size < 0 ? -unsigned(b) : unsigned(b);
    const quint64 limb = Store::limbs(a)[0];
    return limb == magnitude ? 0 : (limb < magnitude ? -size : size);
}

int BigInteger::compare(const BigInteger& a, unsigned b)
{
    const int size = b != 0;
    if (a.sign != size || size == 0)
        return a.sign - size;
    const quint64 limb = Store::limbs(a)[0];
    return limb == b ? 0 : (limb < b ? -1 : 1);
}

// ---- sums and products

namespace
{
/// The sum of magnitudes, with `a` at least as long as `b`.
BigInteger addMagnitudes(mp_srcptr a, mp_size_t countA, mp_srcptr b, mp_size_t countB,
                         bool negative)
{
    BigInteger sum = Store::make(countA + 1);
    if (mp_ptr p = Store::limbs(sum)) {
        p[countA] = mpn_add(p, a, countA, b, countB);
        Store::finish(sum, countA + 1, negative);
    }
    return sum;
}

/// The difference of magnitudes, with the sign turned round where `b` is the larger.
BigInteger subtractMagnitudes(mp_srcptr a, mp_size_t countA, mp_srcptr b, mp_size_t countB,
                              bool negative)
{
    if (countA < countB || (countA == countB && mpn_cmp(a, b, countA) < 0)) {
        std::swap(a, b);
        std::swap(countA, countB);
        negative = !negative;
    }
    BigInteger difference = Store::make(countA);
    if (mp_ptr p = Store::limbs(difference)) {
        mpn_sub(p, a, countA, b, countB);
        Store::finish(difference, countA, negative);
    }
    return difference;
}

/// The sum of `a` and the number of the sign and limbs given.
BigInteger sum(const BigInteger& a, mp_srcptr q, mp_size_t countB, bool negativeB)
{
    const mp_srcptr p = Store::limbs(a);
    const mp_size_t countA = Store::count(a);
    if (a.isNegative() != negativeB)
        return subtractMagnitudes(p, countA, q, countB, a.isNegative());
    if (countA < countB)
        return addMagnitudes(q, countB, p, countA, negativeB);
    return addMagnitudes(p, countA, q, countB, negativeB);
}

BigInteger sum(const BigInteger& a, const BigInteger& b, bool negate)
{
    if (b.isZero())
        return a;
    if (a.isZero())
        return negate ? -b : b;
    return sum(a, Store::limbs(b), Store::count(b), b.isNegative() != negate);
}

BigInteger sum(const BigInteger& a, unsigned b, bool negate)
{
    if (b == 0)
        return a;
    const mp_limb_t limb = b;
    return sum(a, &limb, 1, negate);
}
} // namespace

BigInteger operator+(const BigInteger& a, const BigInteger& b)
{
    return sum(a, b, false);
}

BigInteger operator-(const BigInteger& a, const BigInteger& b)
{
    return sum(a, b, true);
}

BigInteger operator+(const BigInteger& a, unsigned b)
{
    return sum(a, b, false);
}

BigInteger operator-(const BigInteger& a, unsigned b)
{
    return sum(a, b, true);
}

BigInteger BigInteger::operator-() const
{
    BigInteger negated(*this);
    negated.sign = -sign;
    return negated;
}

BigInteger operator*(const BigInteger& a, const BigInteger& b)
{
    const BigInteger& longer = std::abs(a.sign) < std::abs(b.sign) ? b : a;
    const BigInteger& shorter = &longer == &a ? b : a;
    if (shorter.isZero())
        return BigInteger();
    const mp_srcptr p = Store::limbs(longer);
    const mp_srcptr q = Store::limbs(shorter);
    const mp_size_t countP = Store::count(longer);
    const mp_size_t countQ = Store::count(shorter);
    BigInteger product = Store::make(countP + countQ);
    const mp_ptr out = Store::limbs(product);
    if (!out)
        return product;
    if (p == q && countP == countQ)
        mpn_sqr(out, p, countP);
    else if (countQ == 1)
        out[countP] = mpn_mul_1(out, p, countP, q[0]);
    else
        mpn_mul(out, p, countP, q, countQ);
    Store::finish(product, countP + countQ, a.isNegative() != b.isNegative());
    return product;
}

BigInteger operator*(const BigInteger& a, unsigned b)
{
    const mp_size_t count = Store::count(a);
    if (count == 0 || b == 0)
        return BigInteger();
    BigInteger product = Store::make(count + 1);
    if (mp_ptr out = Store::limbs(product)) {
        out[count] = mpn_mul_1(out, Store::limbs(a), count, b);
        Store::finish(product, count + 1, a.isNegative());
    }
    return product;
}

BigInteger& BigInteger::operator+=(const BigInteger& b)
{
    return *this = *this + b;
}

BigInteger& BigInteger::operator-=(const BigInteger& b)
{
    return *this = *this - b;
}

BigInteger& BigInteger::operator*=(const BigInteger& b)
{
    return *this = *this * b;
}

BigInteger& BigInteger::operator/=(const BigInteger& b)
{
    return *this = *this / b;
}

BigInteger& BigInteger::operator%=(const BigInteger& b)
{
    return *this = *this % b;
}

// ---- shifts and bits

BigInteger BigInteger::operator<<(unsigned shift) const
{
    const mp_size_t count = Store::count(*this);
    if (count == 0 || shift == 0)
        return *this;
    const mp_size_t whole = shift / 64;
    BigInteger shifted = Store::make(whole + count + 1);
    const mp_ptr p = Store::limbs(shifted);
    if (!p)
        return shifted;
    mpn_zero(p, whole);
    if (shift % 64) {
        p[whole + count] = mpn_lshift(p + whole, Store::limbs(*this), count, shift % 64);
    } else {
        mpn_copyi(p + whole, Store::limbs(*this), count);
        p[whole + count] = 0;
    }
    Store::finish(shifted, whole + count + 1, isNegative());
    return shifted;
}

BigInteger BigInteger::operator>>(unsigned shift) const
{
    const mp_size_t count = Store::count(*this) - mp_size_t(shift / 64);
    if (count <= 0)
        return BigInteger();
    if (shift == 0)
        return *this;
    const mp_srcptr from = Store::limbs(*this) + shift / 64;
    BigInteger shifted = Store::make(count);
    const mp_ptr p = Store::limbs(shifted);
    if (!p)
        return shifted;
    if (shift % 64)
        mpn_rshift(p, from, count, shift % 64);
    else
        mpn_copyi(p, from, count);
    Store::finish(shifted, count, isNegative());
    return shifted;
}

bool BigInteger::testBit(unsigned index) const
{
    return mpz_tstbit(GmpView(*this), index);
}

// GMP's mark of a search without end is cut to the 32 bits of an index.
unsigned BigInteger::scan0(unsigned start) const
{
    return unsigned(mpz_scan0(GmpView(*this), start));
}

unsigned BigInteger::scan1(unsigned start) const
{
    return unsigned(mpz_scan1(GmpView(*this), start));
}

void BigInteger::changeBit(unsigned index, bool value)
{
    if (testBit(index) == value)
        return;
    if (index >= MaxBits) {
        Store::tooLarge();
        return;
    }
    // The number changes by 2^index, and its magnitude with or against it. Only a negative one can
    // carry past its top.
    const bool grows = value != isNegative();
    const mp_size_t limb = index / 64;
    mp_size_t count = Store::count(*this);
    if (limb >= count || (grows && isNegative())) {
        const mp_size_t room = std::max(count, limb + 1) + isNegative();
        BigInteger longer = Store::make(room);
        const mp_ptr p = Store::limbs(longer);
        if (!p)
            return;
        mpn_copyi(p, Store::limbs(*this), count);
        mpn_zero(p + count, room - count);
        longer.sign = sign;
        swap(longer);
        count = room;
    } else {
        Store::detach(*this);
    }
    const mp_ptr p = Store::limbs(*this);
    const mp_limb_t bit = mp_limb_t(1) << (index % 64);
    if (grows)
        mpn_add_1(p + limb, p + limb, count - limb, bit);
    else
        mpn_sub_1(p + limb, p + limb, count - limb, bit);
    Store::finish(*this, count, isNegative());
}

void BigInteger::setBit(unsigned index)
{
    changeBit(index, true);
}

void BigInteger::clearBit(unsigned index)
{
    changeBit(index, false);
}

void BigInteger::toggleBit(unsigned index)
{
    changeBit(index, !testBit(index));
}

namespace
{
/// Turns limbs, lowest first, from magnitude to two's complement or back.
class Complement
{
public:
    explicit Complement(bool negative) : m_flip(negative ? ~mp_limb_t(0) : 0), m_carry(negative) {}
    mp_limb_t operator()(mp_limb_t limb)
    {
        limb = (limb ^ m_flip) + m_carry;
        m_carry &= limb == 0;
        return limb;
    }

private:
    mp_limb_t m_flip;
    mp_limb_t m_carry;
};

template <class Operation>
BigInteger bitwise(const BigInteger& a, const BigInteger& b, Operation operation)
{
    const mp_srcptr p = Store::limbs(a);
    const mp_srcptr q = Store::limbs(b);
    const mp_size_t countA = Store::count(a);
    const mp_size_t countB = Store::count(b);
    const bool negative = operation(int(a.isNegative()), int(b.isNegative()));
    Complement readA(a.isNegative()), readB(b.isNegative()), write(negative);
    // A negative result may need one limb more: -2^64 from two numbers above it.
    const mp_size_t count = std::max(countA, countB) + negative;
    BigInteger result = Store::make(count);
    if (mp_ptr out = Store::limbs(result)) {
        for (mp_size_t i = 0; i < count; ++i)
            out[i] = write(operation(readA(i < countA ? p[i] : 0), readB(i < countB ? q[i] : 0)));
        Store::finish(result, count, negative);
    }
    return result;
}
} // namespace

BigInteger operator&(const BigInteger& a, const BigInteger& b)
{
    return bitwise(a, b, [](auto x, auto y) { return x & y; });
}

BigInteger operator|(const BigInteger& a, const BigInteger& b)
{
    return bitwise(a, b, [](auto x, auto y) { return x | y; });
}

BigInteger operator^(const BigInteger& a, const BigInteger& b)
{
    return bitwise(a, b, [](auto x, auto y) { return x ^ y; });
}
} // namespace math
