// Makes a small RSA key, and signs and checks a number with it.

#include <zyl/all/math.h>

#include <cstdio>

using math::BigInteger;

int main()
{
    // A start value makes the run repeatable; a real key takes `math::Random random;`.
    math::Random random(2026);
    const BigInteger p = math::Prime::generate(256, random);
    const BigInteger q = math::Prime::generate(256, random);
    const BigInteger modulus = p * q;
    const BigInteger totient = (p - 1u) * (q - 1u);
    const BigInteger publicExponent(65537u);
    BigInteger privateExponent;
    if (!publicExponent.invert(privateExponent, totient)) {
        std::puts("The exponent has no inverse.");
        return 1;
    }
    std::printf("modulus of %u bits\n%s\n", modulus.bits(), modulus.toString(16).data());

    const BigInteger message("271828182845904523536028747135266249775724709369995");
    const BigInteger signature = message.powm(privateExponent, modulus);
    const bool genuine = BigInteger::compare(signature.powm(publicExponent, modulus), message) == 0;
    std::printf("the signature is %s\n", genuine ? "genuine" : "forged");
    return genuine ? 0 : 1;
}
