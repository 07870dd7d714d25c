// Our numbers against GMP's own class at the same operations, each result made anew. Sizes are in
// 32-bit limbs.

#include "math/biginteger.h"
#include "math/msbarray.h"
#include "ratio.h"

#include <gmpxx.h>

#include <cstdlib>

using math::BigInteger;
using math::MSBArray;

namespace
{
/// Equal operands of both kinds: `a` of twice the limbs, `b` and odd `c` of just as many.
struct Operands {
    explicit Operands(unsigned limbs)
    {
        gmp_randclass random(gmp_randinit_default);
        random.seed(limbs);
        const auto draw = [&](unsigned bits) {
            mpz_class value = random.get_z_bits(bits);
            mpz_setbit(value.get_mpz_t(), bits - 1);
            return value;
        };
        theirs[0] = draw(64 * limbs);
        theirs[1] = draw(32 * limbs);
        theirs[2] = draw(32 * limbs) | 1;
        theirs[3] = draw(std::min(32 * limbs, 512u));
        for (int i = 0; i < 4; ++i)
            ours[i] = BigInteger(theirs[i].get_str(16).c_str(), 16);
    }

    mpz_class theirs[4];
    BigInteger ours[4];
};

using Big = const BigInteger*;
using Gmp = const mpz_class*;

struct Operation {
    const char* name;
    void (*ours)(Big v);
    void (*theirs)(Gmp v);
};

template <void (*function)(mpz_ptr, mpz_srcptr, mpz_srcptr)>
void gmp(Gmp v)
{
    mpz_class result;
    function(result.get_mpz_t(), v[1].get_mpz_t(), v[2].get_mpz_t());
    bench::keep(result);
}

// clang-format off
constexpr Operation sums[] = {
    {"add", [](Big v) { bench::keep(v[1] + v[2]); }, [](Gmp v) { bench::keep(mpz_class(v[1] + v[2])); }},
    {"subtract", [](Big v) { bench::keep(v[1] - v[2]); }, [](Gmp v) { bench::keep(mpz_class(v[1] - v[2])); }},
};

constexpr Operation products[] = {
    {"multiply", [](Big v) { bench::keep(v[1] * v[2]); }, [](Gmp v) { bench::keep(mpz_class(v[1] * v[2])); }},
    {"square", [](Big v) { bench::keep(v[1] * v[1]); }, [](Gmp v) { bench::keep(mpz_class(v[1] * v[1])); }},
    {"divide", [](Big v) { bench::keep(v[0] / v[1]); }, [](Gmp v) { bench::keep(mpz_class(v[0] / v[1])); }},
    {"remainder", [](Big v) { bench::keep(v[0] % v[1]); }, [](Gmp v) { bench::keep(mpz_class(v[0] % v[1])); }},
    {"gcd", [](Big v) { bench::keep(BigInteger::gcd(v[1], v[2])); }, gmp<mpz_gcd>},
    {"powm", [](Big v) { bench::keep(v[1].powm(v[3], v[2])); },
     [](Gmp v) {
         mpz_class result;
         mpz_powm(result.get_mpz_t(), v[1].get_mpz_t(), v[3].get_mpz_t(), v[2].get_mpz_t());
         bench::keep(result);
     }},
};

constexpr Operation others[] = {
    {"copy", [](Big v) { bench::keep(BigInteger(v[1])); }, [](Gmp v) { bench::keep(mpz_class(v[1])); }},
    {"add unsigned", [](Big v) { bench::keep(v[1] + 77u); }, [](Gmp v) { bench::keep(mpz_class(v[1] + 77u)); }},
    {"multiply unsigned", [](Big v) { bench::keep(v[1] * 77u); }, [](Gmp v) { bench::keep(mpz_class(v[1] * 77u)); }},
    {"divide unsigned", [](Big v) { bench::keep(v[1] / 77u); }, [](Gmp v) { bench::keep(mpz_class(v[1] / 77u)); }},
    {"divide and remainder",
     [](Big v) {
         BigInteger q, r;
         BigInteger::divide(q, r, v[0], v[1]);
         bench::keep(q);
     },
     [](Gmp v) {
         mpz_class q, r;
         mpz_tdiv_qr(q.get_mpz_t(), r.get_mpz_t(), v[0].get_mpz_t(), v[1].get_mpz_t());
         bench::keep(q);
     }},
    {"gcdext",
     [](Big v) {
         BigInteger s, t;
         bench::keep(BigInteger::gcdext(&s, &t, v[1], v[2]));
     },
     [](Gmp v) {
         mpz_class g, s, t;
         mpz_gcdext(g.get_mpz_t(), s.get_mpz_t(), t.get_mpz_t(), v[1].get_mpz_t(), v[2].get_mpz_t());
         bench::keep(g);
     }},
    {"invert",
     [](Big v) {
         BigInteger result;
         v[1].invert(result, v[2]);
         bench::keep(result);
     },
     [](Gmp v) {
         mpz_class result;
         mpz_invert(result.get_mpz_t(), v[1].get_mpz_t(), v[2].get_mpz_t());
         bench::keep(result);
     }},
    {"power", [](Big v) { bench::keep(BigInteger::power(v[1], 9)); },
     [](Gmp v) {
         mpz_class result;
         mpz_pow_ui(result.get_mpz_t(), v[1].get_mpz_t(), 9);
         bench::keep(result);
     }},
    {"shift left", [](Big v) { bench::keep(v[1] << 77); }, [](Gmp v) { bench::keep(mpz_class(v[1] << 77)); }},
    {"shift right", [](Big v) { bench::keep(v[1] >> 7); }, [](Gmp v) { bench::keep(mpz_class(v[1] >> 7)); }},
    {"and", [](Big v) { bench::keep(v[1] & v[2]); }, [](Gmp v) { bench::keep(mpz_class(v[1] & v[2])); }},
    {"xor", [](Big v) { bench::keep(v[1] ^ v[2]); }, [](Gmp v) { bench::keep(mpz_class(v[1] ^ v[2])); }},
    {"compare", [](Big v) { bench::keep(BigInteger::compare(v[1], v[2])); },
     [](Gmp v) { bench::keep(cmp(v[1], v[2])); }},
};
// clang-format on

template <std::size_t count>
void compareAll(const Operation (&operations)[count], unsigned limbs, double wanted)
{
    const Operands operands(limbs);
    for (const Operation& operation : operations)
        bench::compare(
            std::string(operation.name) + ", " + std::to_string(limbs) + " limbs", wanted,
            [&] { operation.ours(operands.ours); }, [&] { operation.theirs(operands.theirs); });
}

void compareTexts(unsigned limbs, int base, double wanted)
{
    const Operands operands(limbs);
    const mpz_class& theirs = operands.theirs[1];
    const BigInteger& ours = operands.ours[1];
    const std::string text = theirs.get_str(base);
    const std::string size =
        ", base " + std::to_string(base) + ", " + std::to_string(limbs) + " limbs";
    bench::compare(
        "setString" + size, wanted,
        [&] {
            BigInteger value;
            value.setString(text.c_str(), base);
            bench::keep(value);
        },
        [&] {
            mpz_class value;
            mpz_set_str(value.get_mpz_t(), text.c_str(), base);
            bench::keep(value);
        });
    bench::compare(
        "toString" + size, wanted, [&] { bench::keep(ours.toString(base)); },
        [&] { std::free(mpz_get_str(nullptr, base, theirs.get_mpz_t())); });
}

/// Bytes of numbers turned into content octets and back in a second.
template <class T>
void rateOctets(const char* name, T (*make)(unsigned))
{
    constexpr unsigned count = 100000;
    constexpr double wanted = 500e6;
    std::vector<T> values(count), read(count);
    std::vector<uchar> octets(count * MSBArray::MaxEncoded), lengths(count);
    for (unsigned i = 0; i < count; ++i)
        values[i] = make(i);
    bench::rate(std::string("encode ") + name, wanted, count * sizeof(T), [&] {
        uchar* out = octets.data();
        for (unsigned i = 0; i < count; ++i)
            out += lengths[i] = uchar(MSBArray::encode(values[i], out));
        bench::keep(out);
    });
    bench::rate(std::string("decode ") + name, wanted, count * sizeof(T), [&] {
        const uchar* in = octets.data();
        for (unsigned i = 0; i < count; in += lengths[i++])
            MSBArray::decode(in, lengths[i], read[i]);
        bench::keep(read);
    });
}
} // namespace

int main()
{
    for (const unsigned limbs : {1u, 4u}) {
        compareAll(sums, limbs, 1.5);
        compareAll(products, limbs, 1.5);
        compareAll(others, limbs, 1.5);
    }
    for (const unsigned limbs : {16u, 64u, 255u})
        compareAll(sums, limbs, 1.5);
    for (const unsigned limbs : {32u, 128u, 512u, 1024u})
        compareAll(products, limbs, 1.1);
    for (const unsigned limbs : {1u, 4u, 32u, 1024u, 32768u})
        for (const int base : {10, 16})
            compareTexts(limbs, base, limbs < 32 ? 1.5 : 1.2);
    rateOctets<qint32>("int", [](unsigned i) { return qint32(i * 2654435769u) >> (i % 25); });
    rateOctets<float>("float", [](unsigned i) { return float(i) * 0.37f; });
    rateOctets<double>("double", [](unsigned i) { return double(i) * 0.37; });
    return 0;
}
