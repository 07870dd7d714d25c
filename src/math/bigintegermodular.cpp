#include "math/biginteger_p.h"

namespace math
{
using Store = BigIntegerStore;

namespace
{
/// Sets `t` to what makes factor * |a| + t * b equal to the divisor.
void otherFactor(BigInteger& t, const BigInteger& divisor, mp_srcptr factor, mp_size_t factorCount,
                 bool negative, const BigInteger& a, const BigInteger& b)
{
    const mp_size_t countA = Store::count(a);
    const mp_size_t countB = Store::count(b);
    mp_size_t count = countA + factorCount;
    Scratch<mp_limb_t> product(std::size_t(count + 1));
    if (factorCount == 0)
        mpn_zero(product, count);
    else
        mpn_mul(product, Store::limbs(a), countA, factor, factorCount);
    // The product is the larger where it is to be taken off.
    const bool takesOff = !negative && factorCount > 0;
    if (takesOff)
        mpn_sub(product, product, count, Store::limbs(divisor), Store::count(divisor));
    else if (const mp_limb_t carry =
                 mpn_add(product, product, count, Store::limbs(divisor), Store::count(divisor)))
        product[count++] = carry;
    if (const mp_ptr q = Store::reserve(t, count)) {
        mpn_zero(q, count);
        Scratch<mp_limb_t> rest{std::size_t(countB)};
        if (count >= countB)
            mpn_tdiv_qr(q, rest, 0, product, count, Store::limbs(b), countB);
        Store::finish(t, count, takesOff != b.isNegative());
    }
}
} // namespace

BigInteger BigInteger::gcd(const BigInteger& a, const BigInteger& b)
{
    if (a.isZero())
        return b.abs();
    if (b.isZero())
        return a.abs();
    const mp_size_t countA = Store::count(a);
    const mp_size_t countB = Store::count(b);
    if (countA == 1 || countB == 1) {
        const BigInteger& shorter = countA == 1 ? a : b;
        const BigInteger& longer = countA == 1 ? b : a;
        const mp_limb_t limb = Store::limbs(shorter)[0];
        return BigInteger(quint64(mpn_gcd_1(Store::limbs(longer), Store::count(longer), limb)));
    }
    GmpNumber divisor;
    mpz_gcd(divisor, GmpView(a), GmpView(b));
    return divisor;
}

BigInteger BigInteger::gcdext(BigInteger* s, BigInteger* t, const BigInteger& a,
                              const BigInteger& b)
{
    mp_size_t countA = Store::count(a);
    mp_size_t countB = Store::count(b);
    if (countA < countB)
        return gcdext(t, s, b, a);
    if (countB == 0) {
        BigInteger divisor = a.abs();
        const int factor = (a.sign > 0) - (a.sign < 0);
        if (s)
            *s = BigInteger(factor);
        if (t)
            *t = BigInteger();
        return divisor;
    }
    // The operands are eaten up, and one limb above each of them.
    const BigInteger operandA(a), operandB(b);
    Scratch<mp_limb_t> copyA(std::size_t(countA + 1)), copyB(std::size_t(countB + 1));
    mpn_copyi(copyA, Store::limbs(a), countA);
    mpn_copyi(copyB, Store::limbs(b), countB);
    Scratch<mp_limb_t> factor(std::size_t(countB + 1));
    mp_size_t factorCount;
    BigInteger divisor = Store::make(countB + 1);
    const mp_ptr limbs = Store::limbs(divisor);
    if (!limbs)
        return divisor;
    Store::finish(divisor, mpn_gcdext(limbs, factor, &factorCount, copyA, countA, copyB, countB),
                  false);
    const bool isFactorNegative = factorCount < 0;
    factorCount = std::abs(factorCount);
    if (s)
        Store::assign(*s, factor, factorCount, isFactorNegative != operandA.isNegative());
    if (t)
        otherFactor(*t, divisor, factor, factorCount, isFactorNegative, operandA, operandB);
    return divisor;
}

BigInteger BigInteger::power(const BigInteger& a, unsigned exponent)
{
    if (exponent == 0)
        return BigInteger(1u);
    if (exponent == 1 || a.isZero())
        return a;
    // Trailing zeros are shifted back in at the end, where that saves whole limbs.
    const unsigned zeros = Store::limbs(a)[0] == 0 ? a.scan1(0) : 0;
    const BigInteger base = zeros ? a >> zeros : a;
    const mp_srcptr factor = Store::limbs(base);
    const mp_size_t factorCount = Store::count(base);
    const unsigned baseBits = base.bits();
    double bits = double(baseBits) * exponent;
    if (bits + double(zeros) * exponent > MaxBits) {
        // Up to half of that may be rounding up to whole bits.
        bits +=
            exponent * (std::log2(std::abs(nearestReal<double>(base, -qint64(baseBits)))) + 1e-9);
        if (bits + double(zeros) * exponent > MaxBits + 64.0)
            return Store::tooLarge();
    }
    const mp_size_t room = mp_size_t(bits) / 64 + 4;

    BigInteger result = Store::make(room);
    mp_ptr from = Store::limbs(result);
    if (!from)
        return result;
    Scratch<mp_limb_t> scratch{std::size_t(room)};
    mp_ptr to = scratch;
    mp_size_t count = factorCount;
    mpn_copyi(from, factor, count);
    int steps = 31 - __builtin_clz(exponent);
    while (steps-- > 0) {
        mpn_sqr(to, from, count);
        count = 2 * count - (to[2 * count - 1] == 0);
        std::swap(from, to);
        if (!(exponent >> steps & 1))
            continue;
        const mp_limb_t top = mpn_mul(to, from, count, factor, factorCount);
        count += factorCount - (top == 0);
        std::swap(from, to);
    }
    if (from == scratch)
        mpn_copyi(to, from, count);
    Store::finish(result, count, a.isNegative() && (exponent & 1));
    return zeros ? result << (zeros * exponent) : result;
}

BigInteger BigInteger::powm(const BigInteger& exponent, const BigInteger& modulus) const
{
    if (modulus.isZero())
        __gmp_divide_by_zero();
    if (exponent.isNegative()) {
        BigInteger inverse;
        if (!invert(inverse, modulus))
            __gmp_divide_by_zero();
        return inverse.powm(-exponent, modulus);
    }
    GmpNumber result;
    mpz_powm(result, GmpView(*this), GmpView(exponent), GmpView(modulus));
    return result;
}

BigInteger BigInteger::powm(unsigned exponent, const BigInteger& modulus) const
{
    GmpNumber result;
    mpz_powm_ui(result, GmpView(*this), exponent, GmpView(modulus));
    return result;
}

BigInteger BigInteger::powm(int exponent, const BigInteger& modulus) const
{
    return exponent < 0 ? powm(BigInteger(exponent), modulus) : powm(unsigned(exponent), modulus);
}

bool BigInteger::invert(BigInteger& result, const BigInteger& modulus) const
{
    if (isZero() || (std::abs(modulus.sign) == 1 && Store::limbs(modulus)[0] == 1))
        return false;
    BigInteger factor;
    if (compare(gcdext(&factor, nullptr, *this, modulus), 1) != 0)
        return false;
    result = factor.isNegative() ? factor + modulus.abs() : factor;
    return true;
}
} // namespace math
