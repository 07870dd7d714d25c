#include "math/biginteger_p.h"

namespace math
{
using Store = BigIntegerStore;

namespace
{
/// From here on GMP's division without the remainder saves more than the copy of its result costs.
constexpr mp_size_t wholeFrom = 16;

void setSmall(BigInteger& a, unsigned magnitude, bool negative)
{
    if (const mp_ptr p = Store::reserve(a, 1)) {
        p[0] = magnitude;
        Store::finish(a, 1, negative);
    }
}

bool isNegative(const BigInteger& b)
{
    return b.isNegative();
}

bool isNegative(unsigned)
{
    return false;
}

/// Divides, and where the cut went the other way than up or down moves the quotient by one.
template <class Divisor>
void divideRounded(BigInteger& q, BigInteger& r, const BigInteger& a, const Divisor& b, bool up)
{
    const Divisor divisor(b);
    const bool isCutDown = a.isNegative() == isNegative(b);
    BigInteger::divide(q, r, a, b);
    if (r.isZero() || isCutDown != up)
        return;
    q = up ? q + 1u : q - 1u;
    r = up ? r - divisor : r + divisor;
}
} // namespace

void BigInteger::divide(BigInteger& q, BigInteger& r, const BigInteger& a, const BigInteger& b)
{
    const mp_size_t countA = Store::count(a);
    const mp_size_t countB = Store::count(b);
    if (countB == 0)
        __gmp_divide_by_zero();
    if (countA < countB) {
        r = a;
        q = BigInteger();
        return;
    }
    const BigInteger dividend(a), divisor(b);
    const mp_size_t countQ = countA - countB + 1;
    const mp_ptr limbsQ = Store::reserve(q, countQ);
    const mp_ptr limbsR = Store::reserve(r, countB);
    if (limbsQ && limbsR) {
        mpn_tdiv_qr(limbsQ, limbsR, 0, Store::limbs(dividend), countA, Store::limbs(divisor),
                    countB);
        Store::finish(q, countQ, dividend.isNegative() != divisor.isNegative());
        Store::finish(r, countB, dividend.isNegative());
    }
}

void BigInteger::divide(BigInteger& q, BigInteger& r, const BigInteger& a, unsigned b)
{
    const bool negative = a.isNegative();
    setSmall(r, a.divide(q, b), negative);
}

unsigned BigInteger::divide(BigInteger& q, unsigned divisor) const
{
    if (divisor == 0)
        __gmp_divide_by_zero();
    const BigInteger dividend(*this);
    const mp_size_t count = Store::count(dividend);
    const mp_ptr p = Store::reserve(q, count);
    if (!p || count == 0)
        return 0;
    const mp_limb_t rest = mpn_divrem_1(p, 0, Store::limbs(dividend), count, divisor);
    Store::finish(q, count, dividend.isNegative());
    return unsigned(rest);
}

unsigned BigInteger::remainder(BigInteger& r, unsigned divisor) const
{
    if (divisor == 0)
        __gmp_divide_by_zero();
    const bool negative = isNegative();
    const unsigned rest =
        sign ? unsigned(mpn_mod_1(Store::limbs(*this), Store::count(*this), divisor)) : 0;
    setSmall(r, rest, negative);
    return rest;
}

void BigInteger::ceil(BigInteger& q, BigInteger& r, const BigInteger& a, const BigInteger& b)
{
    divideRounded(q, r, a, b, true);
}

void BigInteger::ceil(BigInteger& q, BigInteger& r, const BigInteger& a, unsigned b)
{
    divideRounded(q, r, a, b, true);
}

void BigInteger::floor(BigInteger& q, BigInteger& r, const BigInteger& a, const BigInteger& b)
{
    divideRounded(q, r, a, b, false);
}

void BigInteger::floor(BigInteger& q, BigInteger& r, const BigInteger& a, unsigned b)
{
    divideRounded(q, r, a, b, false);
}

BigInteger operator/(const BigInteger& a, const BigInteger& b)
{
    const mp_size_t countA = Store::count(a);
    const mp_size_t countB = Store::count(b);
    if (countB == 0)
        __gmp_divide_by_zero();
    if (countA < countB)
        return BigInteger();
    if (countB >= wholeFrom) {
        GmpNumber quotient;
        mpz_tdiv_q(quotient, GmpView(a), GmpView(b));
        return quotient;
    }
    BigInteger quotient = Store::make(countA - countB + 1);
    if (const mp_ptr q = Store::limbs(quotient)) {
        mp_limb_t rest[wholeFrom];
        if (countB == 1)
            mpn_divrem_1(q, 0, Store::limbs(a), countA, Store::limbs(b)[0]);
        else
            mpn_tdiv_qr(q, rest, 0, Store::limbs(a), countA, Store::limbs(b), countB);
        Store::finish(quotient, countA - countB + 1, a.isNegative() != b.isNegative());
    }
    return quotient;
}

BigInteger operator%(const BigInteger& a, const BigInteger& b)
{
    const mp_size_t countA = Store::count(a);
    const mp_size_t countB = Store::count(b);
    if (countB == 0)
        __gmp_divide_by_zero();
    if (countA < countB)
        return a;
    BigInteger remainder = Store::make(countB);
    if (const mp_ptr r = Store::limbs(remainder)) {
        if (countB == 1) {
            r[0] = mpn_mod_1(Store::limbs(a), countA, Store::limbs(b)[0]);
        } else {
            Scratch<mp_limb_t> quotient(std::size_t(countA - countB + 1));
            mpn_tdiv_qr(quotient, r, 0, Store::limbs(a), countA, Store::limbs(b), countB);
        }
        Store::finish(remainder, countB, a.isNegative());
    }
    return remainder;
}

BigInteger operator/(const BigInteger& a, unsigned b)
{
    BigInteger quotient;
    a.divide(quotient, b);
    return quotient;
}

BigInteger operator%(const BigInteger& a, unsigned b)
{
    BigInteger remainder;
    a.remainder(remainder, b);
    return remainder;
}

BigInteger BigInteger::mod(const BigInteger& m) const
{
    BigInteger rest = *this % m;
    if (!rest.isNegative())
        return rest;
    return m.isNegative() ? rest - m : rest + m;
}
} // namespace math
