#pragma once

#include "toolkit/zylexport.h"

#include <qglobal.h>

#include <cstddef>
#include <memory>

namespace math
{
class BigInteger;

/// Random numbers, all values of a range equally likely.
///
/// Without a start value they come from the system's generator for keys, and nothing of them stays
/// here. With one they are a sequence that every machine repeats, for tests; never for keys.
class ZYL_EXPORT Random
{
public:
    Random();
    explicit Random(quint64 start);
    Random(Random&& other) noexcept;
    Random& operator=(Random&& other) noexcept;
    ~Random();

    void fill(void* bytes, std::size_t count);
    quint64 next();
    /// 0 up to, but not including, `end`; 0 where that is 0.
    quint64 below(quint64 end);
    /// A multiple of 2^-53 from 0 up to, but not including, 1.
    double real();

    /// A number of at most so many bits.
    BigInteger bits(unsigned count);
    /// 0 up to, but not including, `end`. Warns and gives zero where that is not positive.
    BigInteger below(const BigInteger& end);

private:
    struct Sequence;

    std::unique_ptr<Sequence> m_sequence; // null for the system's generator
};
} // namespace math
