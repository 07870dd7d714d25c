#include "math/msbarray.h"

#include "math/bigdecimal.h"
#include "math/biginteger_p.h"

#include <limits>
#include <string>

namespace math
{
using Store = BigIntegerStore;

namespace
{
constexpr unsigned limbSize = sizeof(mp_limb_t);

/// Writes the low `length` octets of the magnitude, or of its two's complement.
void writeOctets(const BigInteger& value, uchar* out, unsigned length, bool complement)
{
    const mp_srcptr limbs = Store::limbs(value);
    const mp_size_t count = Store::count(value);
    mp_limb_t carry = complement;
    for (mp_size_t i = 0; length > 0; ++i) {
        mp_limb_t limb = i < count ? limbs[i] : 0;
        if (complement) {
            limb = ~limb + carry;
            carry &= limb == 0;
        }
        const unsigned part = std::min(length, limbSize);
        length -= part;
        uchar whole[limbSize];
        qToBigEndian(limb, whole);
        std::memcpy(out + length, whole + limbSize - part, part);
    }
}

/// Reads a magnitude, or where `complement` is set what is below zero in two's complement.
BigInteger readOctets(const uchar* in, unsigned length, bool complement)
{
    const mp_size_t count = mp_size_t((quint64(length) + limbSize - 1) / limbSize);
    BigInteger value = Store::make(count);
    const mp_ptr limbs = Store::limbs(value);
    if (!limbs)
        return value;
    mp_limb_t carry = complement;
    for (mp_size_t i = 0; i < count; ++i) {
        const unsigned part = std::min(length, limbSize);
        length -= part;
        uchar whole[limbSize];
        std::memset(whole, complement ? 0xff : 0, sizeof whole);
        std::memcpy(whole + limbSize - part, in + length, part);
        mp_limb_t limb = qFromBigEndian<mp_limb_t>(whole);
        if (complement) {
            limb = ~limb + carry;
            carry &= limb == 0;
        }
        limbs[i] = limb;
    }
    Store::finish(value, count, complement);
    return value;
}

/// The magnitude's bits that two's complement needs beside the sign.
unsigned complementBits(const BigInteger& value)
{
    const unsigned bits = value.bits();
    // The negated powers of two need one less.
    return value.isNegative() && value.scan1(0) == bits - 1 ? bits - 1 : bits;
}

/// A REAL that is no special value: mantissa * 2^exponent, or decimal text.
struct RealParts {
    enum Kind { Malformed, Special, Binary, Decimal };

    Kind kind = Malformed;
    double special = 0;
    BigInteger mantissa;
    qint64 exponent = 0;
    BigDecimal decimal;

    RealParts(const uchar* in, unsigned length)
    {
        if (length == 0)
            kind = Special;
        else if (in[0] & 0x80)
            readBinary(in, length);
        else if (in[0] & 0x40)
            readSpecial(in, length);
        else if (in[0] >= 1 && in[0] <= 3)
            readDecimal(in + 1, length - 1);
    }

private:
    void readSpecial(const uchar* in, unsigned length)
    {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        constexpr double values[] = {infinity, -infinity, std::numeric_limits<double>::quiet_NaN(),
                                     -0.0};
        if (length != 1 || in[0] > 0x43)
            return;
        kind = Special;
        special = values[in[0] - 0x40];
    }

    void readBinary(const uchar* in, unsigned length)
    {
        constexpr int bitsOfBase[] = {1, 3, 4, 0}; // base 2, 8, 16
        const int baseBits = bitsOfBase[in[0] >> 4 & 3];
        unsigned start = 1;
        unsigned exponentLength = 1 + (in[0] & 3);
        if (exponentLength == 4) {
            exponentLength = length > 1 ? in[1] : 0;
            start = 2;
        }
        if (baseBits == 0 || exponentLength == 0 || length <= start + exponentLength)
            return;
        // Far beyond every range, and far from overflow.
        constexpr qint64 limit = qint64(1) << 48;
        exponent = in[start] & 0x80 ? -1 : 0;
        for (unsigned i = 0; i < exponentLength; ++i)
            exponent = std::clamp(exponent * 256 + in[start + i], -limit, limit);
        exponent = exponent * baseBits + (in[0] >> 2 & 3);
        start += exponentLength;
        mantissa = readOctets(in + start, length - start, false);
        if (in[0] & 0x40)
            mantissa = -mantissa;
        kind = Binary;
    }

    void readDecimal(const uchar* in, unsigned length)
    {
        // Blanks may stand in front, and the mark may be a comma.
        std::string text(reinterpret_cast<const char*>(in), length);
        std::replace(text.begin(), text.end(), ',', '.');
        if (decimal.setString(text.data(), unsigned(text.size())))
            kind = Decimal;
    }
};
} // namespace

MSBArray::MSBArray(const BigInteger& value)
{
    setInteger(value);
}

void MSBArray::makeShareable()
{
    if (ownerOfView() || isEmpty())
        return;
    if (nrefs() > 1)
        VGArray::duplicate(*this);
    m_data = newView(m_data, VGArray::data(), size());
}

MSBArray MSBArray::part(unsigned from, unsigned length) const
{
    char* start = VGArray::data() + from;
    array_data* owner = ownerOfView();
    if (!owner)
        return MSBArray(start, length);
    ++owner->count;
    return MSBArray(newView(owner, start, length));
}

void MSBArray::setInteger(const BigInteger& value)
{
    const unsigned length = value.isZero() ? 0 : complementBits(value) / 8 + 1;
    MSBArray content(newRecord(length));
    if (content.size() > 0)
        writeOctets(value, reinterpret_cast<uchar*>(content.data()), length, value.isNegative());
    VGArray::assign(content);
}

BigInteger MSBArray::toInteger() const
{
    return readOctets(octets(), size(), size() > 0 && (octets()[0] & 0x80));
}

void MSBArray::setReal(const BigDecimal& value)
{
    BigInteger mantissa;
    int exponent;
    if (!value.toBinary(mantissa, exponent)) {
        const QCString text = value.toNR3();
        MSBArray content(newRecord(1 + text.length()));
        if (content.size() > 0) {
            content.data()[0] = 3;
            std::memcpy(content.data() + 1, text.data(), text.length());
        }
        VGArray::assign(content);
        return;
    }
    const unsigned mantissaLength = (mantissa.bits() + 7) / 8;
    uchar exponentOctets[MaxEncoded];
    // Exponent 0 has an octet too.
    exponentOctets[0] = 0;
    const unsigned exponentLength = std::max(encode(exponent, exponentOctets), 1u);
    MSBArray content(newRecord(mantissaLength ? 1 + exponentLength + mantissaLength : 0));
    if (content.size() > 0) {
        uchar* out = reinterpret_cast<uchar*>(content.data());
        out[0] = uchar(0x80 | (mantissa.isNegative() ? 0x40 : 0) | (exponentLength - 1));
        std::memcpy(out + 1, exponentOctets, exponentLength);
        writeOctets(mantissa, out + 1 + exponentLength, mantissaLength, false);
    }
    VGArray::assign(content);
}

bool MSBArray::getReal(BigDecimal& value) const
{
    constexpr qint64 limit = 1 << 20;
    const RealParts parts(octets(), size());
    switch (parts.kind) {
    case RealParts::Special:
        value = BigDecimal();
        return parts.special == 0;
    case RealParts::Binary:
        if (parts.exponent < -limit || parts.exponent > limit)
            break;
        value = BigDecimal::fromBinary(parts.mantissa, int(parts.exponent));
        return true;
    case RealParts::Decimal:
        value = parts.decimal;
        return true;
    case RealParts::Malformed:
        break;
    }
    value = BigDecimal();
    return false;
}

template <class T>
bool MSBArray::decodeAny(const uchar* in, unsigned length, T& value)
{
    const RealParts parts(in, length);
    switch (parts.kind) {
    case RealParts::Special:
        value = T(parts.special);
        break;
    case RealParts::Binary:
        value = nearestReal<T>(parts.mantissa, parts.exponent);
        break;
    case RealParts::Decimal:
        value = parts.decimal.toReal<T>();
        break;
    case RealParts::Malformed:
        value = 0;
    }
    return parts.kind != RealParts::Malformed;
}

template bool MSBArray::decodeAny(const uchar* in, unsigned length, float& value);
template bool MSBArray::decodeAny(const uchar* in, unsigned length, double& value);
} // namespace math
