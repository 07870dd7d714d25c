#include "math/random.h"

#include "math/biginteger_p.h"

#include <qlogging.h>

#include <cerrno>
#include <cstring>
#include <random>

#include <sys/random.h>

namespace math
{
using Store = BigIntegerStore;

/// The standard fixes this generator's numbers, so that they are the same everywhere.
struct Random::Sequence {
    std::mt19937_64 engine;
};

Random::Random() = default;
Random::Random(quint64 start) : m_sequence(new Sequence{std::mt19937_64(start)}) {}
Random::Random(Random&& other) noexcept = default;
Random& Random::operator=(Random&& other) noexcept = default;
Random::~Random() = default;

void Random::fill(void* bytes, std::size_t count)
{
    uchar* out = static_cast<uchar*>(bytes);
    while (count > 0) {
        std::size_t part = std::min(count, sizeof(quint64));
        if (m_sequence) {
            const quint64 value = m_sequence->engine();
            std::memcpy(out, &value, part);
        } else {
            const ssize_t got = getrandom(out, count, 0);
            if (got < 0 && errno != EINTR)
                qFatal("Random::fill: No random numbers: %s", std::strerror(errno));
            part = got > 0 ? std::size_t(got) : 0;
        }
        out += part;
        count -= part;
    }
}

quint64 Random::next()
{
    quint64 value;
    fill(&value, sizeof value);
    return value;
}

quint64 Random::below(quint64 end)
{
    if (end == 0)
        return 0;
    // The high half of end * value is the result. The first 2^64 mod end low halves would be one
    // too many for some results, and are drawn again.
    __extension__ using Product = unsigned __int128;
    Product product = Product(next()) * end;
    if (quint64(product) < end) {
        const quint64 excess = -end % end;
        while (quint64(product) < excess)
            product = Product(next()) * end;
    }
    return quint64(product >> 64);
}

double Random::real()
{
    return double(next() >> 11) * 0x1p-53;
}

BigInteger Random::bits(unsigned count)
{
    const mp_size_t limbCount = mp_size_t((quint64(count) + 63) / 64);
    BigInteger value = Store::make(limbCount);
    if (const mp_ptr limbs = Store::limbs(value)) {
        fill(limbs, std::size_t(limbCount) * sizeof(mp_limb_t));
        if (count % 64)
            limbs[limbCount - 1] >>= 64 - count % 64;
        Store::finish(value, limbCount, false);
    }
    return value;
}

BigInteger Random::below(const BigInteger& end)
{
    if (end.sign <= 0) {
        qWarning("Random::below: The range is empty");
        return BigInteger();
    }
    // More than every second draw is below the end.
    const unsigned count = end.bits();
    for (;;) {
        const BigInteger value = bits(count);
        if (value < end)
            return value;
    }
}
} // namespace math
