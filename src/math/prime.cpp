#include "math/prime.h"

#include "math/biginteger_p.h"
#include "math/random.h"

#include <qlogging.h>

namespace math
{
namespace
{
__extension__ using Product = unsigned __int128;

quint64 multiply(quint64 a, quint64 b, quint64 modulus)
{
    return quint64(Product(a) * b % modulus);
}

quint64 power(quint64 base, quint64 exponent, quint64 modulus)
{
    quint64 result = 1;
    for (; exponent > 0; exponent >>= 1) {
        if (exponent & 1)
            result = multiply(result, base, modulus);
        base = multiply(base, base, modulus);
    }
    return result;
}

/// Whether odd `n` passes as a prime to one base: base^odd is 1, or one of its squares up to
/// base^(n - 1) is -1.
bool passes(quint64 n, quint64 base)
{
    base %= n;
    if (base == 0)
        return true;
    const int twos = __builtin_ctzll(n - 1);
    quint64 value = power(base, (n - 1) >> twos, n);
    if (value == 1)
        return true;
    for (int i = 1; value != n - 1; ++i) {
        if (i >= twos)
            return false;
        value = multiply(value, value, n);
    }
    return true;
}

/// As many rounds of the random test as its bound of 1/4 each takes to 2^-80, on top of the 24 that
/// stand for the Baillie-PSW test.
constexpr int rounds = 24 + 40;
} // namespace

bool Prime::isPrime(quint64 n)
{
    constexpr unsigned small[] = {2, 3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37};
    for (const unsigned prime : small)
        if (n % prime == 0)
            return n == prime;
    // No composite number below 2^64 passes to all of these bases.
    constexpr quint64 bases[] = {2, 325, 9375, 28178, 450775, 9780504, 1795265022};
    if (n < 2)
        return false;
    for (const quint64 base : bases)
        if (!passes(n, base))
            return false;
    return true;
}

bool Prime::isPrime(const BigInteger& n)
{
    bool isSmall;
    const quint64 value = n.toUInt64(&isSmall);
    if (isSmall || n.isNegative())
        return !n.isNegative() && isPrime(value);
    return mpz_probab_prime_p(GmpView(n), rounds) != 0;
}

BigInteger Prime::next(const BigInteger& n)
{
    if (n < 2)
        return BigInteger(2);
    // Among numbers this long every few hundredth is a prime: the sieve in front of the test pays.
    GmpNumber prime;
    mpz_nextprime(prime, GmpView(n));
    return prime;
}

BigInteger Prime::generate(unsigned bits, Random& random)
{
    if (bits < 2) {
        qWarning("Prime::generate: No prime has %u bits", bits);
        return BigInteger();
    }
    // Each try is drawn anew: walking up from one draw would favour primes behind long gaps.
    for (;;) {
        BigInteger candidate = random.bits(bits);
        candidate.setBit(bits - 1);
        if (bits > 2)
            candidate.setBit(0);
        if (isPrime(candidate))
            return candidate;
    }
}
} // namespace math
