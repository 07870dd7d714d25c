#pragma once

#include "math/biginteger.h"

#include <gmpxx.h>

#include <ostream>

/// GMP's own numbers, by which ours are measured. Values pass between the two as text.
inline math::BigInteger big(const mpz_class& value)
{
    return math::BigInteger(value.get_str(16).c_str(), 16);
}

inline math::BigInteger big(const char* text)
{
    return math::BigInteger(text, 0);
}

inline mpz_class gmp(const math::BigInteger& value)
{
    return mpz_class(value.toString(16).data(), 16);
}

/// Operands of many sizes from a fixed start value: long runs of equal bits, which bring out
/// carries, and dense ones.
class Operands
{
public:
    Operands()
    {
        gmp_randinit_default(m_state);
        gmp_randseed_ui(m_state, 20240229);
    }
    ~Operands() { gmp_randclear(m_state); }
    Operands(const Operands&) = delete;
    Operands& operator=(const Operands&) = delete;

    mpz_class next(unsigned maxBits = 700)
    {
        const unsigned bits = below(maxBits + 1);
        const unsigned kind = below(4);
        mpz_class value;
        (kind & 1 ? mpz_rrandomb : mpz_urandomb)(value.get_mpz_t(), m_state, bits);
        return kind & 2 ? mpz_class(-value) : value;
    }
    unsigned below(unsigned end) { return unsigned(gmp_urandomm_ui(m_state, end)); }

private:
    gmp_randstate_t m_state;
};

namespace math
{
inline void PrintTo(const BigInteger& value, std::ostream* out)
{
    *out << value.toString().data();
}
} // namespace math
