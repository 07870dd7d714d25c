#include "math/biginteger_p.h"

namespace math
{
using Store = BigIntegerStore;

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
    GmpNumber divisor, factorA, factorB;
    mpz_gcdext(divisor, factorA, t ? mpz_ptr(factorB) : nullptr, GmpView(a), GmpView(b));
    if (s)
        *s = factorA;
    if (t)
        *t = factorB;
    return divisor;
}

BigInteger BigInteger::power(const BigInteger& a, unsigned exponent)
{
    if (exponent == 0)
        return BigInteger(1u);
    if (exponent == 1 || a.isZero())
        return a;
    // A number of n bits is at least 2^(n - 1).
    if (quint64(a.bits() - 1) * exponent >= MaxBits)
        return Store::tooLarge();
    GmpNumber result;
    mpz_pow_ui(result, GmpView(a), exponent);
    return result;
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
