#pragma once

#include "math/biginteger.h"

namespace math
{
/// A decimal number of any size: an integer, `unscaled`, divided by ten to the power of `scale`.
///
/// Sums, differences and products are exact. Equal values may differ in scale, as 2.5 and 2.50 do;
/// comparison does not see that. A scale beyond +-`MaxScale` warns and gives zero. A zero divisor
/// ends the program, as in `BigInteger`.
class ZYL_EXPORT BigDecimal
{
public:
    /// Away from zero, towards it, up, down, and to the nearest with halves going away, towards
    /// zero, or to an even digit.
    enum class Rounding { Up, Down, Ceiling, Floor, HalfUp, HalfDown, HalfEven };

    static constexpr int MaxScale = 1 << 20;
    /// The significant digits of a quotient that does not end before.
    static constexpr unsigned QuotientDigits = 34;

    BigDecimal() = default;
    BigDecimal(int value) : m_unscaled(value) {}
    BigDecimal(unsigned value) : m_unscaled(value) {}
    BigDecimal(const BigInteger& unscaled, int scale = 0);
    /// The exact value. Warns and is zero for infinities and NaN.
    explicit BigDecimal(double value);
    /// The value of a text as `setString` reads it; zero where it fails.
    explicit BigDecimal(const char* text) { setString(text); }

    const BigInteger& unscaled() const { return m_unscaled; }
    int scale() const { return m_scale; }
    /// The count of digits in `unscaled`; 1 for zero.
    unsigned precision() const;
    bool isZero() const { return m_unscaled.isZero(); }
    bool isNegative() const { return m_unscaled.isNegative(); }
    BigDecimal abs() const { return BigDecimal(m_unscaled.abs(), m_scale); }

    /// Reads "-12.5", ".5", "5." and "1.25e-7", with blanks around. False, and zero, for anything
    /// else and where the scale would be beyond the limit.
    bool setString(const char* text);
    bool setString(const char* text, unsigned length);
    /// The digits and the scale: "2.50", with an exponent ("1E+3", "1.5E-9") for a negative scale
    /// and below 0.000001.
    QCString toString() const;
    /// A given number of decimals, and never an exponent.
    QCString toFixed(unsigned decimals, Rounding rounding = Rounding::HalfEven) const;
    /// The text of a REAL's form NR3, without trailing zeros: "25.E-1".
    QCString toNR3() const;

    /// The nearest `float` or `double`, ties to even.
    template <class T>
    T toReal() const;
    double toDouble() const { return toReal<double>(); }
    BigInteger toInteger(Rounding rounding = Rounding::Down) const
    {
        return rescaled(0, rounding).m_unscaled;
    }

    /// The odd mantissa and the exponent of two that make this value, 0 and 0 for zero. False where
    /// there are none, or the exponent is beyond +-2^20.
    bool toBinary(BigInteger& mantissa, int& exponent) const;
    static BigDecimal fromBinary(const BigInteger& mantissa, int exponent);

    BigDecimal rescaled(int scale, Rounding rounding = Rounding::HalfEven) const;
    /// At most so many digits, of which there is at least one.
    BigDecimal rounded(unsigned digits, Rounding rounding = Rounding::HalfEven) const;
    /// The same value without trailing zeros in `unscaled`; zero gets scale 0.
    BigDecimal normalized() const;

    /// Negative, zero or positive.
    static int compare(const BigDecimal& a, const BigDecimal& b);
    /// The quotient with a given scale.
    static BigDecimal divide(const BigDecimal& a, const BigDecimal& b, int scale,
                             Rounding rounding);
    /// The quotient with as many digits as given, rounded once.
    static BigDecimal divideTo(const BigDecimal& a, const BigDecimal& b, unsigned precision,
                               Rounding rounding);

    BigDecimal operator-() const { return BigDecimal(-m_unscaled, m_scale); }

private:
    friend BigDecimal operator/(const BigDecimal& a, const BigDecimal& b);

    qint64 magnitude() const { return qint64(precision()) - m_scale; }
    BigDecimal stripped(int minScale) const;
    QCString plainText() const;

    BigInteger m_unscaled;
    int m_scale = 0;
};

ZYL_EXPORT BigDecimal operator+(const BigDecimal& a, const BigDecimal& b);
ZYL_EXPORT BigDecimal operator-(const BigDecimal& a, const BigDecimal& b);
ZYL_EXPORT BigDecimal operator*(const BigDecimal& a, const BigDecimal& b);
/// The exact quotient where it has no more than `QuotientDigits` digits, and otherwise the nearest
/// that has, ties to even.
ZYL_EXPORT BigDecimal operator/(const BigDecimal& a, const BigDecimal& b);

inline bool operator==(const BigDecimal& a, const BigDecimal& b)
{
    return BigDecimal::compare(a, b) == 0;
}
inline bool operator!=(const BigDecimal& a, const BigDecimal& b)
{
    return BigDecimal::compare(a, b) != 0;
}
inline bool operator<(const BigDecimal& a, const BigDecimal& b)
{
    return BigDecimal::compare(a, b) < 0;
}
inline bool operator<=(const BigDecimal& a, const BigDecimal& b)
{
    return BigDecimal::compare(a, b) <= 0;
}
inline bool operator>(const BigDecimal& a, const BigDecimal& b)
{
    return BigDecimal::compare(a, b) > 0;
}
inline bool operator>=(const BigDecimal& a, const BigDecimal& b)
{
    return BigDecimal::compare(a, b) >= 0;
}
} // namespace math
