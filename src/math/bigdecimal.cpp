#include "math/bigdecimal.h"

#include "math/biginteger_p.h"

#include <qlogging.h>

#include <limits>
#include <string>
#include <vector>

namespace math
{
using Rounding = BigDecimal::Rounding;

namespace
{
BigInteger powerOfTen(qint64 exponent)
{
    if (exponent > 19)
        return BigInteger::power(BigInteger(10), unsigned(exponent));
    quint64 power = 1;
    for (; exponent > 0; --exponent)
        power *= 10;
    return BigInteger(power);
}

BigInteger timesPowerOfTen(const BigInteger& value, qint64 exponent)
{
    return exponent > 0 ? value * powerOfTen(exponent) : value;
}

BigInteger roundedQuotient(const BigInteger& a, const BigInteger& b, Rounding rounding)
{
    BigInteger quotient, rest;
    BigInteger::divide(quotient, rest, a, b);
    if (rest.isZero())
        return quotient;
    const bool negative = a.isNegative() != b.isNegative();
    const auto half = [&] { return BigInteger::compare((rest << 1).abs(), b.abs()); };
    bool away = false;
    switch (rounding) {
    case Rounding::Up:
        away = true;
        break;
    case Rounding::Down:
        break;
    case Rounding::Ceiling:
        away = !negative;
        break;
    case Rounding::Floor:
        away = negative;
        break;
    case Rounding::HalfUp:
        away = half() >= 0;
        break;
    case Rounding::HalfDown:
        away = half() > 0;
        break;
    case Rounding::HalfEven:
        away = half() > -int(quotient.isOdd());
        break;
    }
    if (!away)
        return quotient;
    return negative ? quotient - 1u : quotient + 1u;
}

bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}
} // namespace

BigDecimal::BigDecimal(const BigInteger& unscaled, int scale) : m_unscaled(unscaled), m_scale(scale)
{
    if (scale >= -MaxScale && scale <= MaxScale)
        return;
    qWarning("BigDecimal: Scale %d out of range", scale);
    m_unscaled = BigInteger();
    m_scale = 0;
}

BigDecimal::BigDecimal(double value)
{
    if (!std::isfinite(value)) {
        qWarning("BigDecimal: No value for %g", value);
        return;
    }
    int exponent;
    const qint64 mantissa = qint64(std::ldexp(std::frexp(value, &exponent), 53));
    *this = fromBinary(BigInteger(mantissa), exponent - 53);
}

unsigned BigDecimal::precision() const
{
    // The count of bits leaves at most one power of ten to compare with.
    constexpr double digitsPerBit = 0.30102999566398120;
    constexpr double slack = 1e-6;
    const unsigned bits = m_unscaled.bits();
    if (bits <= 1)
        return 1;
    unsigned digits = unsigned((bits - 1) * digitsPerBit - slack) + 1;
    const unsigned most = unsigned(bits * digitsPerBit + slack) + 1;
    if (digits < most && BigInteger::compare(m_unscaled.abs(), powerOfTen(digits)) >= 0)
        ++digits;
    return digits;
}

bool BigDecimal::setString(const char* text)
{
    const std::size_t length = text ? std::strlen(text) : 0;
    return setString(text,
                     unsigned(std::min<std::size_t>(length, std::numeric_limits<unsigned>::max())));
}

bool BigDecimal::setString(const char* text, unsigned length)
{
    *this = BigDecimal();
    const char* const end = text + length;
    while (text < end && isBlank(*text))
        ++text;
    std::string digits;
    if (text < end && (*text == '-' || *text == '+'))
        digits.assign(*text++ == '-', '-');
    const std::size_t signLength = digits.size();
    qint64 scale = 0;
    for (bool isFraction = false; text < end; ++text) {
        if (isDigit(*text)) {
            digits += *text;
            scale += isFraction;
        } else if (*text == '.' && !isFraction) {
            isFraction = true;
        } else {
            break;
        }
    }
    if (digits.size() == signLength)
        return false;
    if (text < end && (*text == 'e' || *text == 'E')) {
        ++text;
        const bool negative = text < end && *text == '-';
        if (text < end && (*text == '-' || *text == '+'))
            ++text;
        if (text == end || !isDigit(*text))
            return false;
        qint64 exponent = 0;
        for (; text < end && isDigit(*text); ++text)
            exponent =
                std::min<qint64>(exponent * 10 + (*text - '0'), std::numeric_limits<int>::max());
        scale += negative ? exponent : -exponent;
    }
    while (text < end && isBlank(*text))
        ++text;
    if (text < end || scale > MaxScale || scale < -MaxScale)
        return false;
    if (!m_unscaled.setString(digits.c_str()))
        return false;
    m_scale = int(scale);
    return true;
}

QCString BigDecimal::plainText() const
{
    std::string digits = m_unscaled.toString().data();
    const std::size_t signLength = isNegative();
    const std::size_t decimals = std::size_t(std::max(m_scale, 0));
    if (digits.size() - signLength <= decimals)
        digits.insert(signLength, decimals + 1 - (digits.size() - signLength), '0');
    if (decimals > 0)
        digits.insert(digits.size() - decimals, 1, '.');
    if (m_scale < 0 && !isZero())
        digits.append(std::size_t(-m_scale), '0');
    return QCString(digits.c_str());
}

QCString BigDecimal::toString() const
{
    constexpr qint64 leastPlain = -6;
    const qint64 exponent = magnitude() - 1;
    if (m_scale >= 0 && exponent >= leastPlain)
        return plainText();
    std::string text = m_unscaled.toString().data();
    const std::size_t first = 1 + std::size_t(isNegative());
    if (text.size() > first)
        text.insert(first, 1, '.');
    text += exponent < 0 ? "E" : "E+";
    return QCString((text + std::to_string(exponent)).c_str());
}

QCString BigDecimal::toFixed(unsigned decimals, Rounding rounding) const
{
    return rescaled(int(std::min(decimals, unsigned(MaxScale))), rounding).plainText();
}

QCString BigDecimal::toNR3() const
{
    const BigDecimal value = normalized();
    const std::string exponent = value.m_scale == 0 ? "+0" : std::to_string(-value.m_scale);
    return value.m_unscaled.toString() + (".E" + exponent).c_str();
}

template <class T>
T BigDecimal::toReal() const
{
    constexpr qint64 beyond = 400;
    constexpr T least = 0;
    const qint64 size = magnitude();
    if (isZero() || size < -beyond)
        return isNegative() ? -least : least;
    if (size > beyond)
        return isNegative() ? -std::numeric_limits<T>::infinity()
                            : std::numeric_limits<T>::infinity();
    if (m_scale <= 0)
        return nearestReal<T>(timesPowerOfTen(m_unscaled, -m_scale), 0);
    // More bits of the quotient than any type has, and one below them for what is cut off.
    constexpr int bits = 66;
    const BigInteger divisor = powerOfTen(m_scale);
    const int shift = std::max(0, bits + int(divisor.bits()) - int(m_unscaled.bits()));
    BigInteger quotient, rest;
    BigInteger::divide(quotient, rest, m_unscaled.abs() << unsigned(shift), divisor);
    quotient = (quotient << 1) + unsigned(!rest.isZero());
    return nearestReal<T>(isNegative() ? -quotient : quotient, -qint64(shift) - 1);
}

template float BigDecimal::toReal<float>() const;
template double BigDecimal::toReal<double>() const;

bool BigDecimal::toBinary(BigInteger& mantissa, int& exponent) const
{
    constexpr int limit = 1 << 20;
    const BigDecimal value = normalized();
    BigInteger odd = value.m_unscaled;
    qint64 twos = -qint64(value.m_scale);
    if (value.m_scale < 0) {
        odd = odd * BigInteger::power(BigInteger(5), unsigned(-value.m_scale));
    } else if (value.m_scale > 0) {
        // 5 has more than 2.25 bits.
        if (qint64(odd.bits()) * 4 < qint64(value.m_scale) * 9)
            return false;
        BigInteger rest;
        BigInteger::divide(odd, rest, odd,
                           BigInteger::power(BigInteger(5), unsigned(value.m_scale)));
        if (!rest.isZero())
            return false;
    }
    if (!odd.isZero()) {
        const unsigned zeros = odd.scan1(0);
        odd = odd >> zeros;
        twos += zeros;
    }
    if (twos < -limit || twos > limit)
        return false;
    mantissa = odd;
    exponent = int(twos);
    return true;
}

BigDecimal BigDecimal::fromBinary(const BigInteger& mantissa, int exponent)
{
    if (mantissa.isZero() || exponent >= 0)
        return BigDecimal(mantissa << unsigned(std::max(exponent, 0)));
    const unsigned fraction = -unsigned(exponent);
    const unsigned zeros = std::min(mantissa.scan1(0), fraction);
    const unsigned scale = fraction - zeros;
    if (scale > unsigned(MaxScale))
        return BigDecimal(BigInteger(), int(scale));
    return BigDecimal((mantissa >> zeros) * BigInteger::power(BigInteger(5), scale), int(scale));
}

BigDecimal BigDecimal::rescaled(int scale, Rounding rounding) const
{
    if (scale < -MaxScale || scale > MaxScale)
        return BigDecimal(BigInteger(), scale);
    const qint64 more = qint64(scale) - m_scale;
    if (more >= 0)
        return BigDecimal(timesPowerOfTen(m_unscaled, more), scale);
    return BigDecimal(roundedQuotient(m_unscaled, powerOfTen(-more), rounding), scale);
}

BigDecimal BigDecimal::rounded(unsigned digits, Rounding rounding) const
{
    digits = std::max(digits, 1u);
    const qint64 excess = qint64(precision()) - digits;
    if (excess <= 0)
        return *this;
    const BigDecimal result = rescaled(int(m_scale - excess), rounding);
    // 9.99 may have become 10.0, whose last digit goes without loss.
    return result.precision() > digits ? result.rescaled(result.m_scale - 1) : result;
}

BigDecimal BigDecimal::stripped(int minScale) const
{
    // A power of ten takes along as many factors of two, and its exponent is found bit by bit from
    // the top.
    qint64 most = std::min<qint64>(qint64(m_scale) - minScale, m_unscaled.scan1(0));
    std::vector<BigInteger> powers;
    for (BigInteger power(10);
         (qint64(1) << powers.size()) <= most && power.bits() <= m_unscaled.bits();
         power = power * power)
        powers.push_back(power);
    BigDecimal result(*this);
    for (std::size_t i = powers.size(); i-- > 0;) {
        const int digits = 1 << i;
        BigInteger quotient, rest;
        if (digits <= most)
            BigInteger::divide(quotient, rest, result.m_unscaled, powers[i]);
        if (digits > most || !rest.isZero())
            continue;
        result.m_unscaled = quotient;
        result.m_scale -= digits;
        most -= digits;
    }
    return result;
}

BigDecimal BigDecimal::normalized() const
{
    return isZero() ? BigDecimal() : stripped(-MaxScale);
}

int BigDecimal::compare(const BigDecimal& a, const BigDecimal& b)
{
    const int sign = (a.m_unscaled.sign > 0) - (a.m_unscaled.sign < 0);
    const int other = (b.m_unscaled.sign > 0) - (b.m_unscaled.sign < 0);
    if (sign != other || sign == 0)
        return sign - other;
    // Different magnitudes decide without a common scale, which could be millions of digits away.
    if (a.m_scale != b.m_scale && a.magnitude() != b.magnitude())
        return a.magnitude() < b.magnitude() ? -sign : sign;
    const qint64 more = qint64(b.m_scale) - a.m_scale;
    return BigInteger::compare(timesPowerOfTen(a.m_unscaled, more),
                               timesPowerOfTen(b.m_unscaled, -more));
}

BigDecimal BigDecimal::divide(const BigDecimal& a, const BigDecimal& b, int scale,
                              Rounding rounding)
{
    if (scale < -MaxScale || scale > MaxScale)
        return BigDecimal(BigInteger(), scale);
    const qint64 more = qint64(scale) - a.m_scale + b.m_scale;
    return BigDecimal(roundedQuotient(timesPowerOfTen(a.m_unscaled, more),
                                      timesPowerOfTen(b.m_unscaled, -more), rounding),
                      scale);
}

BigDecimal BigDecimal::divideTo(const BigDecimal& a, const BigDecimal& b, unsigned digits,
                                Rounding rounding)
{
    digits = std::max(digits, 1u);
    // That many digits, or one more, which only the division itself can round away.
    const qint64 exact = qint64(digits) - (a.magnitude() - b.magnitude());
    const int scale = int(std::clamp<qint64>(exact, -MaxScale - 1, MaxScale + 1));
    const BigDecimal quotient = divide(a, b, scale, rounding);
    return quotient.precision() > digits ? divide(a, b, scale - 1, rounding) : quotient;
}

BigDecimal operator+(const BigDecimal& a, const BigDecimal& b)
{
    const int scale = std::max(a.scale(), b.scale());
    return BigDecimal(timesPowerOfTen(a.unscaled(), scale - a.scale()) +
                          timesPowerOfTen(b.unscaled(), scale - b.scale()),
                      scale);
}

BigDecimal operator-(const BigDecimal& a, const BigDecimal& b)
{
    return a + -b;
}

BigDecimal operator*(const BigDecimal& a, const BigDecimal& b)
{
    return BigDecimal(a.unscaled() * b.unscaled(), a.scale() + b.scale());
}

BigDecimal operator/(const BigDecimal& a, const BigDecimal& b)
{
    const int least =
        std::clamp(a.scale() - b.scale(), -BigDecimal::MaxScale, BigDecimal::MaxScale);
    const BigDecimal quotient =
        BigDecimal::divideTo(a, b, BigDecimal::QuotientDigits, Rounding::HalfEven);
    return quotient.isZero() ? BigDecimal(BigInteger(), least) : quotient.stripped(least);
}
} // namespace math
