#pragma once

#include "tools/vgarray.h"

#include <qendian.h>

#include <cstring>

namespace math
{
class BigDecimal;
class BigInteger;

/// The content octets of a DER INTEGER or REAL, most significant first.
///
/// An integer is in two's complement of the fewest octets. A real number is in base 2 with an odd
/// mantissa and the fewest octets of exponent, or as decimal text where base 2 can't hold it;
/// infinities and NaN are one octet. Zero, of either sign, has no octets. The static functions work
/// on a caller's memory and allocate nothing but for a real number in a form that they themselves
/// don't write.
class ZYL_EXPORT MSBArray : public VGArray
{
public:
    /// What the room of `encode` must hold: more than the octets that it tells of may be written
    /// over.
    static constexpr unsigned MaxEncoded = 32;

    MSBArray() = default;
    /// A copy of the octets.
    MSBArray(const char* octets, unsigned length) { VGArray::duplicate(octets, length); }
    explicit MSBArray(const BigInteger& value);

    const uchar* octets() const { return reinterpret_cast<const uchar*>(data()); }
    /// For writing: octets shared with another array by `part` are copied first.
    char* data() { return ownBytes() ? VGArray::data() : nullptr; }
    const char* data() const { return VGArray::data(); }

    /// Lets `part` share these octets. Copies them only if other handles share the record.
    void makeShareable();
    /// `length` octets from `from` on as an array of its own, which shares them until one of the
    /// two is written to if this array is shareable, and otherwise copies them.
    MSBArray part(unsigned from, unsigned length) const;

    void setInteger(int value) { setEncoded(value); }
    void setInteger(unsigned value) { setEncoded(value); }
    void setInteger(qint64 value) { setEncoded(value); }
    void setInteger(const BigInteger& value);
    BigInteger toInteger() const;
    /// These give 0, and `*ok` false, for a value past the range.
    int toInt(bool* ok = nullptr) const { return decoded<qint32>(ok); }
    unsigned toUInt(bool* ok = nullptr) const { return decoded<quint32>(ok); }
    qint64 toInt64(bool* ok = nullptr) const { return decoded<qint64>(ok); }

    void setReal(float value) { setEncoded(value); }
    void setReal(double value) { setEncoded(value); }
    /// In base 2 where the value is an integer times a power of two, and otherwise as decimal text.
    void setReal(const BigDecimal& value);
    /// Reads every form of a REAL, rounded to the nearest number. False, with 0, for what is none
    /// and for exponents in text beyond the limits of `BigDecimal`.
    bool getReal(float& value) const { return decode(octets(), size(), value); }
    bool getReal(double& value) const { return decode(octets(), size(), value); }
    /// The same, exactly; false, with 0, also for infinities, NaN and binary exponents beyond
    /// +-2^20.
    bool getReal(BigDecimal& value) const;

    /// Writes the octets to `out`, which has room for `MaxEncoded`, and returns their number.
    static unsigned encode(qint64 value, uchar* out);
    static unsigned encode(qint32 value, uchar* out) { return encode(qint64(value), out); }
    static unsigned encode(quint32 value, uchar* out) { return encode(qint64(value), out); }
    static unsigned encode(double value, uchar* out);
    static unsigned encode(float value, uchar* out) { return encode(double(value), out); }

    /// What `encode` would return.
    static unsigned encodedLength(qint64 value);
    static unsigned encodedLength(qint32 value) { return encodedLength(qint64(value)); }
    static unsigned encodedLength(quint32 value) { return encodedLength(qint64(value)); }
    static unsigned encodedLength(double value);
    static unsigned encodedLength(float value) { return encodedLength(double(value)); }

    /// Reads `length` octets. Returns false, with 0, where they are no such number or past its
    /// range.
    static bool decode(const uchar* in, unsigned length, qint64& value);
    static bool decode(const uchar* in, unsigned length, qint32& value)
    {
        return narrow(in, length, value);
    }
    static bool decode(const uchar* in, unsigned length, quint32& value)
    {
        return narrow(in, length, value);
    }
    static bool decode(const uchar* in, unsigned length, double& value);
    static bool decode(const uchar* in, unsigned length, float& value);

private:
    explicit MSBArray(array_data* record) : VGArray(record) {}
    template <class T>
    void setEncoded(T value)
    {
        uchar octets[MaxEncoded];
        VGArray::duplicate(reinterpret_cast<const char*>(octets), encode(value, octets));
    }
    template <class T>
    T decoded(bool* ok) const
    {
        T value;
        const bool fits = decode(octets(), size(), value);
        if (ok)
            *ok = fits;
        return value;
    }
    template <class T>
    static bool narrow(const uchar* in, unsigned length, T& value)
    {
        qint64 wide;
        const bool fits = decode(in, length, wide) && qint64(T(wide)) == wide;
        value = fits ? T(wide) : 0;
        return fits;
    }
    static bool decodeShort(const uchar* in, unsigned length, double& value);
    template <class T>
    static bool decodeAny(const uchar* in, unsigned length, T& value);
};

inline unsigned MSBArray::encodedLength(qint64 value)
{
    if (value == 0)
        return 0;
    // Bits that differ from the sign; one more octet begins where the sign no longer fits in.
    const quint64 folded = quint64(value ^ (value >> 63));
    return (64 - unsigned(__builtin_clzll(folded | 1))) / 8 + 1;
}

inline unsigned MSBArray::encode(qint64 value, uchar* out)
{
    const unsigned length = encodedLength(value);
    if (length == 0)
        return 0;
    qToBigEndian(quint64(value) << (64 - 8 * length), out);
    return length;
}

inline unsigned MSBArray::encodedLength(double value)
{
    constexpr int mantissaBits = 52;
    quint64 bits;
    std::memcpy(&bits, &value, sizeof bits);
    const int exponent = int(bits >> mantissaBits & 0x7ff);
    if (exponent == 0 || exponent == 0x7ff) {
        uchar octets[MaxEncoded];
        return encode(value, octets);
    }
    const int zeros = __builtin_ctzll(bits | quint64(1) << mantissaBits);
    const int last = exponent + zeros - (1023 + mantissaBits);
    return 2 + unsigned(last != qint8(last)) + unsigned(mantissaBits + 8 - zeros) / 8;
}

inline bool MSBArray::decode(const uchar* in, unsigned length, qint64& value)
{
    quint64 bits = length > 0 && (in[0] & 0x80) ? ~quint64(0) : 0;
    const bool fits = length <= sizeof bits;
    if (fits)
        for (unsigned i = 0; i < length; ++i)
            bits = bits << 8 | in[i];
    value = fits ? qint64(bits) : 0;
    return fits;
}

inline unsigned MSBArray::encode(double value, uchar* out)
{
    constexpr int mantissaBits = 52;
    constexpr int bias = 1023 + mantissaBits;
    quint64 bits;
    std::memcpy(&bits, &value, sizeof bits);
    const unsigned negative = unsigned(bits >> 63);
    int exponent = int(bits >> mantissaBits & 0x7ff);
    quint64 mantissa = bits & ((quint64(1) << mantissaBits) - 1);
    if (exponent == 0x7ff) {
        *out = uchar(mantissa ? 0x42 : 0x40 | negative);
        return 1;
    }
    if (exponent > 0)
        mantissa |= quint64(1) << mantissaBits;
    else if (mantissa > 0)
        exponent = 1;
    else
        return 0;
    const int zeros = __builtin_ctzll(mantissa);
    mantissa >>= zeros;
    exponent += zeros - bias;
    const unsigned wide = exponent != qint8(exponent);
    out[0] = uchar(0x80 | negative << 6 | wide);
    out[1] = uchar(wide ? exponent >> 8 : exponent);
    out[2] = uchar(exponent);
    const unsigned length = unsigned(71 - __builtin_clzll(mantissa)) / 8;
    qToBigEndian(mantissa << (64 - 8 * length), out + 2 + wide);
    return 2 + wide + length;
}

/// Reads what `encode` writes for a number whose last bit a double can show without leaving the
/// normal range.
inline bool MSBArray::decodeShort(const uchar* in, unsigned length, double& value)
{
    // Base 2, no scale, one or two octets of exponent.
    if (length < 3 || (in[0] & 0xbe) != 0x80)
        return false;
    const unsigned start = 2 + (in[0] & 1);
    if (length <= start || length > start + 7)
        return false;
    const int exponent = start == 2 ? qint8(in[1]) : qint16(in[1] << 8 | in[2]);
    quint64 mantissa = 0;
    for (unsigned i = start; i < length; ++i)
        mantissa = mantissa << 8 | in[i];
    if (exponent < -1022 || exponent > 1023 || mantissa >> 53)
        return false;
    const quint64 bits = quint64(exponent + 1023) << 52 | quint64(in[0] & 0x40) << 57;
    double power;
    std::memcpy(&power, &bits, sizeof power);
    value = double(mantissa) * power;
    return true;
}

inline bool MSBArray::decode(const uchar* in, unsigned length, double& value)
{
    return decodeShort(in, length, value) || decodeAny(in, length, value);
}

inline bool MSBArray::decode(const uchar* in, unsigned length, float& value)
{
    // The short form is exact as a double, so that this rounds once.
    double wide;
    if (!decodeShort(in, length, wide))
        return decodeAny(in, length, value);
    value = float(wide);
    return true;
}
} // namespace math
