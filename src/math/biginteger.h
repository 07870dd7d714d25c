#pragma once

#include "math/integerarray.h"
#include "toolkit/qcstring.h"

namespace math
{
/// An integer of any size: sign and magnitude over 32-bit limbs.
///
/// Values behave as values: copies share their limbs until one of them is written to. No value has
/// more than `MaxBits` bits; an operation whose result would have warns and gives zero. A zero
/// divisor or modulus, and a negative power of what has no inverse, raise the arithmetic signal
/// SIGFPE and end the program: test what comes from outside first. Results may be stored in the
/// operands.
class ZYL_EXPORT BigInteger : public IntegerArray
{
public:
    static constexpr unsigned MaxBits = 1u << 31;

    BigInteger();
    BigInteger(int value);
    BigInteger(unsigned value);
    explicit BigInteger(qint64 value);
    explicit BigInteger(quint64 value);
    /// The value of a text as `setString` reads it; zero where it fails.
    explicit BigInteger(const char* text, int base = 10);

    void assign(const BigInteger& other) { *this = other; }
    /// Takes a copy of the limbs instead of sharing them.
    void duplicate(const BigInteger& other);
    void swap(BigInteger& other);

    bool isZero() const { return sign == 0; }
    bool isNegative() const { return sign < 0; }
    bool isOdd() const { return sign != 0 && (limbs()[0] & 1); }

    /// Number of bits of the magnitude.
    unsigned bits() const;

    /// Number of digits in a base from 2 to 36, or one more. A negative base counts as its absolute
    /// value, 0 as 10.
    unsigned sizeInBase(int base) const;
    /// The value of a digit or of a letter of either case, or -1 where that is not below `base`.
    static int digit_value_in_base(char c, int base);

    /// Reads a whole text, with white space anywhere but after the sign, and "-" in front. Base 0
    /// looks for "0x", "0b" and "0" and takes 10 otherwise. Returns false and is zero on a bad
    /// digit, or on a base but 0 and 2 to 36.
    bool setString(const char* text, int base = 10);
    /// The digits in a base from 2 to 36; the capital letters for a negative base. Empty for any
    /// other base.
    QCString toString(int base = 10) const;

    /// The low limb with the sign; what is above is lost without a word.
    int toInt() const;
    /// The low 64 bits with the sign. `*ok` tells whether that is the whole value.
    qint64 toInt64(bool* ok = nullptr) const;
    quint64 toUInt64(bool* ok = nullptr) const;
    /// The nearest number, ties to even; infinite past the range.
    double toDouble() const;

    /// Negative, zero or positive.
    static int compare(const BigInteger& a, const BigInteger& b);
    static int compare(const BigInteger& a, int b);
    static int compare(const BigInteger& a, unsigned b);

    /// The quotient cut towards zero, and the remainder with the sign of `a`.
    static void divide(BigInteger& q, BigInteger& r, const BigInteger& a, const BigInteger& b);
    static void divide(BigInteger& q, BigInteger& r, const BigInteger& a, unsigned b);
    static void divide(BigInteger& q, BigInteger& r, const BigInteger& a, int b)
    {
        divide(q, r, a, BigInteger(b));
    }
    /// Both return the magnitude of the remainder.
    unsigned divide(BigInteger& q, unsigned divisor) const;
    unsigned remainder(BigInteger& r, unsigned divisor) const;
    /// The quotient rounded up.
    static void ceil(BigInteger& q, BigInteger& r, const BigInteger& a, const BigInteger& b);
    static void ceil(BigInteger& q, BigInteger& r, const BigInteger& a, unsigned b);
    static void ceil(BigInteger& q, BigInteger& r, const BigInteger& a, int b)
    {
        ceil(q, r, a, BigInteger(b));
    }
    /// The quotient rounded down.
    static void floor(BigInteger& q, BigInteger& r, const BigInteger& a, const BigInteger& b);
    static void floor(BigInteger& q, BigInteger& r, const BigInteger& a, unsigned b);
    static void floor(BigInteger& q, BigInteger& r, const BigInteger& a, int b)
    {
        floor(q, r, a, BigInteger(b));
    }
    /// The remainder that is not negative, for either sign of `m`.
    BigInteger mod(const BigInteger& m) const;

    /// The greatest common divisor, never negative; that of a number and zero is the number's
    /// magnitude.
    static BigInteger gcd(const BigInteger& a, const BigInteger& b);
    /// The same, and the least factors with `s * a + t * b` equal to it. `s` and `t` may be null.
    static BigInteger gcdext(BigInteger* s, BigInteger* t, const BigInteger& a,
                             const BigInteger& b);

    static BigInteger power(const BigInteger& a, unsigned exponent);
    /// The power reduced to 0 and up, below the magnitude of `modulus`.
    BigInteger powm(const BigInteger& exponent, const BigInteger& modulus) const;
    BigInteger powm(unsigned exponent, const BigInteger& modulus) const;
    BigInteger powm(int exponent, const BigInteger& modulus) const;
    /// Sets `result` to the number whose product with this one leaves 1, or returns false where
    /// none is. There is none for modulus 1.
    bool invert(BigInteger& result, const BigInteger& modulus) const;

    BigInteger operator-() const;
    BigInteger abs() const { return sign < 0 ? -*this : *this; }
    BigInteger operator<<(unsigned count) const;
    /// Shifts the magnitude: -5 >> 1 is -2.
    BigInteger operator>>(unsigned count) const;

    BigInteger& operator+=(const BigInteger& b);
    BigInteger& operator-=(const BigInteger& b);
    BigInteger& operator*=(const BigInteger& b);
    BigInteger& operator/=(const BigInteger& b);
    BigInteger& operator%=(const BigInteger& b);

    /// The bits of the number in two's complement without end, as all functions from here on see
    /// it. Setting or clearing a bit past `MaxBits` warns and changes nothing.
    bool testBit(unsigned index) const override;
    void setBit(unsigned index) override;
    void clearBit(unsigned index) override;
    void toggleBit(unsigned index) override;
    /// The first 0, or 1, at or above `start`; 0xFFFFFFFF where there is none.
    unsigned scan0(unsigned start) const;
    unsigned scan1(unsigned start) const;

    /// The number of limbs in use, negated for a negative number. To be read only.
    int sign = 0;

private:
    friend struct BigIntegerStore;

    explicit BigInteger(array_data* record) : IntegerArray(record) {}
    void changeBit(unsigned index, bool value);

    // Writing to the limbs past the number's back would leave `sign` wrong.
    using IntegerArray::limbs;
    using IntegerArray::resize;
    using VGArray::fill;
    using VGArray::resetRawData;
    using VGArray::setExpand;
    using VGArray::setRawData;
    using VGArray::sort;
    using VGArray::store;
};

ZYL_EXPORT BigInteger operator+(const BigInteger& a, const BigInteger& b);
ZYL_EXPORT BigInteger operator-(const BigInteger& a, const BigInteger& b);
ZYL_EXPORT BigInteger operator*(const BigInteger& a, const BigInteger& b);
ZYL_EXPORT BigInteger operator/(const BigInteger& a, const BigInteger& b);
ZYL_EXPORT BigInteger operator%(const BigInteger& a, const BigInteger& b);
ZYL_EXPORT BigInteger operator+(const BigInteger& a, unsigned b);
ZYL_EXPORT BigInteger operator-(const BigInteger& a, unsigned b);
ZYL_EXPORT BigInteger operator*(const BigInteger& a, unsigned b);
ZYL_EXPORT BigInteger operator/(const BigInteger& a, unsigned b);
ZYL_EXPORT BigInteger operator%(const BigInteger& a, unsigned b);

// Without these an int would be taken for an unsigned: a + -1 for a + 4294967295.
inline BigInteger operator+(const BigInteger& a, int b)
{
    return a + BigInteger(b);
}
inline BigInteger operator-(const BigInteger& a, int b)
{
    return a - BigInteger(b);
}
inline BigInteger operator*(const BigInteger& a, int b)
{
    return a * BigInteger(b);
}
inline BigInteger operator/(const BigInteger& a, int b)
{
    return a / BigInteger(b);
}
inline BigInteger operator%(const BigInteger& a, int b)
{
    return a % BigInteger(b);
}

ZYL_EXPORT BigInteger operator&(const BigInteger& a, const BigInteger& b);
ZYL_EXPORT BigInteger operator|(const BigInteger& a, const BigInteger& b);
ZYL_EXPORT BigInteger operator^(const BigInteger& a, const BigInteger& b);

// Comparisons with another number, an int or an unsigned.
template <class T>
auto operator==(const BigInteger& a, const T& b) -> decltype(BigInteger::compare(a, b) == 0)
{
    return BigInteger::compare(a, b) == 0;
}
template <class T>
auto operator!=(const BigInteger& a, const T& b) -> decltype(BigInteger::compare(a, b) != 0)
{
    return BigInteger::compare(a, b) != 0;
}
template <class T>
auto operator<(const BigInteger& a, const T& b) -> decltype(BigInteger::compare(a, b) < 0)
{
    return BigInteger::compare(a, b) < 0;
}
template <class T>
auto operator<=(const BigInteger& a, const T& b) -> decltype(BigInteger::compare(a, b) <= 0)
{
    return BigInteger::compare(a, b) <= 0;
}
template <class T>
auto operator>(const BigInteger& a, const T& b) -> decltype(BigInteger::compare(a, b) > 0)
{
    return BigInteger::compare(a, b) > 0;
}
template <class T>
auto operator>=(const BigInteger& a, const T& b) -> decltype(BigInteger::compare(a, b) >= 0)
{
    return BigInteger::compare(a, b) >= 0;
}
} // namespace math
