#pragma once

#include "math/biginteger.h"

namespace math
{
class Random;

/// Prime numbers.
class ZYL_EXPORT Prime
{
public:
    /// Certain below 2^64. Above, a composite number passes with a chance of less than 2^-80, if it
    /// wasn't made to pass: a Baillie-PSW test and 40 rounds of Miller-Rabin.
    static bool isPrime(const BigInteger& n);
    static bool isPrime(quint64 n);

    /// The least prime above `n`.
    static BigInteger next(const BigInteger& n);

    /// A prime of exactly so many bits, each as likely as any other. Warns and gives zero for less
    /// than 2 bits.
    static BigInteger generate(unsigned bits, Random& random);
};
} // namespace math
