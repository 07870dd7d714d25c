#pragma once

#include "math/biginteger.h"

#include <gmp.h>

#include <cmath>
#include <cstdlib>
#include <memory>

extern "C" [[noreturn]] void __gmp_divide_by_zero(void);

namespace math
{
/// The limbs of numbers as GMP has them, 64 bits each. A number's allocation is rounded up to whole
/// ones, and the half that an odd count of 32-bit limbs leaves over is zero, so that GMP works in
/// place.
struct BigIntegerStore {
    static_assert(sizeof(mp_limb_t) == 8 && GMP_NAIL_BITS == 0, "32-bit limbs are taken in pairs");
    static constexpr mp_size_t MaxCount = BigInteger::MaxBits / 64;

    static mp_size_t count(const BigInteger& a) { return (mp_size_t(std::abs(a.sign)) + 1) / 2; }
    static mp_srcptr limbs(const BigInteger& a) { return reinterpret_cast<mp_srcptr>(a.data()); }
    static mp_ptr limbs(BigInteger& a) { return reinterpret_cast<mp_ptr>(a.VGArray::data()); }

    /// Zero with unset room for `count` limbs. Where that is more than a number may have, warns and
    /// gives no room.
    static BigInteger make(mp_size_t count);
    /// Warns and gives zero.
    static BigInteger tooLarge();
    /// Unset room in a number whose value is lost, its own if that is enough and no other number
    /// shares it. Keep a copy of what is still to be read: it makes `a` let go of the limbs instead
    /// of writing over them.
    static mp_ptr reserve(BigInteger& a, mp_size_t count);
    /// Makes the lowest `count` limbs of the room the value.
    static void finish(BigInteger& a, mp_size_t count, bool negative);
    /// Takes the limbs out of what other numbers share.
    static void detach(BigInteger& a);
    static void assign(BigInteger& a, mp_srcptr limbs, mp_size_t count, bool negative);
};

/// A number lent to GMP, which only reads it.
class GmpView
{
public:
    GmpView(const BigInteger& a)
        : m_value
          MPZ_ROINIT_N(const_cast<mp_ptr>(BigIntegerStore::limbs(a)),
                       int(a.isNegative() ? -BigIntegerStore::count(a) : BigIntegerStore::count(a)))
    {
    }
    operator mpz_srcptr() const { return m_value; }

private:
    mpz_t m_value;
};

/// A number of GMP's own.
class GmpNumber
{
public:
    GmpNumber() { mpz_init(m_value); }
    ~GmpNumber() { mpz_clear(m_value); }
    GmpNumber(const GmpNumber&) = delete;
    GmpNumber& operator=(const GmpNumber&) = delete;

    operator mpz_ptr() { return m_value; }
    operator BigInteger() const
    {
        const mp_size_t count = mp_size_t(mpz_size(m_value));
        BigInteger copy = BigIntegerStore::make(count);
        BigIntegerStore::assign(copy, mpz_limbs_read(m_value), count, mpz_sgn(m_value) < 0);
        return copy;
    }

private:
    mpz_t m_value;
};

/// Room for a while: on the stack as long as it is small.
template <class T, int Small = 512 / sizeof(T)>
class Scratch
{
public:
    explicit Scratch(std::size_t count) : m_large(count > Small ? new T[count] : nullptr) {}
    operator T*() { return m_large ? m_large.get() : m_small; }

private:
    std::unique_ptr<T[]> m_large;
    T m_small[Small];
};

/// The real number nearest to a * 2^exponent, ties to even, rounded once however small it is.
template <class T>
T nearestReal(const BigInteger& a, qint64 exponent);
} // namespace math
