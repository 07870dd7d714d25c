#include "math/biginteger_p.h"

#include <array>
#include <cstring>

namespace math
{
using Store = BigIntegerStore;

namespace
{
constexpr int maxBase = 36;

/// log(2) / log(base): digits for each bit.
constexpr double digitsPerBit[maxBase + 1] = {
    0,
    0,
    1,
    0.63092975357145742,
    0.5,
    0.43067655807339306,
    0.38685280723454157,
    0.35620718710802218,
    0.33333333333333331,
    0.31546487678572871,
    0.3010299956639812,
    0.28906482631788788,
    0.27894294565112987,
    0.27023815442731974,
    0.26264953503719357,
    0.2559580248098155,
    0.25,
    0.24465054211822604,
    0.23981246656813143,
    0.23540891336663824,
    0.23137821315975918,
    0.22767024869695299,
    0.22424382421757544,
    0.22106472945750374,
    0.21810429198553155,
    0.21533827903669653,
    0.21274605355336315,
    0.21030991785715247,
    0.20801459767650946,
    0.20584683246043445,
    0.20379504709050619,
    0.20184908658209985,
    0.20000000000000001,
    0.19823986317056053,
    0.19656163223282261,
    0.19495902189378631,
    0.19342640361727079,
};

constexpr uchar space = 254;

/// The value of each digit and letter, that mark for white space, and 255 for everything else.
constexpr std::array<uchar, 256> digitValues()
{
    std::array<uchar, 256> values{};
    for (int c = 0; c < 256; ++c)
        values[std::size_t(c)] = uchar(c >= '0' && c <= '9'                   ? c - '0'
                                       : c >= 'a' && c <= 'z'                 ? c - 'a' + 10
                                       : c >= 'A' && c <= 'Z'                 ? c - 'A' + 10
                                       : c == ' ' || (c >= '\t' && c <= '\r') ? space
                                                                              : 255);
    return values;
}

constexpr std::array<uchar, 256> digitValue = digitValues();

bool isSpace(char c)
{
    return digitValue[uchar(c)] == space;
}

/// The absolute value of a base, 10 for 0, and 0 for what is none.
int usableBase(int base)
{
    if (base == 0)
        return 10;
    return base >= -maxBase && base <= maxBase && std::abs(base) > 1 ? std::abs(base) : 0;
}

bool isPowerOfTwo(int base)
{
    return (base & (base - 1)) == 0;
}

unsigned digitBitsOf(int powerOfTwo)
{
    return unsigned(__builtin_ctz(unsigned(powerOfTwo)));
}

/// The text's own base behind a leading zero, which `text` then stands on unless a letter told the
/// base.
int prefixedBase(const char*& text)
{
    if (*text != '0')
        return 10;
    const int base = (text[1] | 0x20) == 'x' ? 16 : (text[1] | 0x20) == 'b' ? 2 : 8;
    if (base != 8)
        text += 2;
    return base;
}
} // namespace

unsigned BigInteger::sizeInBase(int base) const
{
    base = usableBase(base);
    if (sign == 0 || base == 0)
        return 1;
    const unsigned n = bits();
    if (isPowerOfTwo(base)) {
        const unsigned digitBits = digitBitsOf(base);
        return unsigned((quint64(n) + digitBits - 1) / digitBits);
    }
    return unsigned(std::lround(digitsPerBit[base] * n)) + 1;
}

int BigInteger::digit_value_in_base(char c, int base)
{
    const int value = digitValue[uchar(c)];
    return value < base && value < maxBase ? value : -1;
}

bool BigInteger::setString(const char* text, int base)
{
    Store::reserve(*this, 1);
    if (!text || base < 0 || base == 1 || base > maxBase)
        return false;
    while (isSpace(*text))
        ++text;
    const bool negative = *text == '-';
    text += negative;
    if (digit_value_in_base(*text, base ? base : 10) < 0)
        return false;
    if (base == 0)
        base = prefixedBase(text);
    while (*text == '0' || isSpace(*text))
        ++text;

    Scratch<uchar> digits(std::strlen(text));
    uchar* end = digits;
    for (;; ++text) {
        uchar value;
        while ((value = digitValue[uchar(*text)]) < base) {
            *end++ = value;
            ++text;
        }
        if (*text == '\0')
            break;
        if (value != space)
            return false;
    }
    const std::size_t count = std::size_t(end - digits);
    // So few digits of any base fit into one limb.
    constexpr std::size_t limbDigits = 12;
    if (count <= limbDigits) {
        mp_limb_t value = 0;
        for (const uchar* digit = digits; digit < end; ++digit)
            value = value * mp_limb_t(base) + *digit;
        Store::assign(*this, &value, 1, negative);
        return true;
    }
    const double bitCount = double(count) / digitsPerBit[base];
    if (bitCount > MaxBits + 64.0) {
        Store::tooLarge();
        return false;
    }
    const mp_ptr p = Store::reserve(*this, mp_size_t(bitCount) / 64 + 2);
    if (!p)
        return false;
    Store::finish(*this, mp_size_t(mpn_set_str(p, digits, count, base)), negative);
    return true;
}

namespace
{
/// The digits of a base whose digits end where limbs do, from the lowest up. Returns the first.
uchar* cutDigits(uchar* end, mp_srcptr limbs, unsigned size, unsigned digitBits)
{
    const unsigned mask = (1u << digitBits) - 1;
    uchar* const begin = end - size;
    while (end > begin) {
        mp_limb_t limb = *limbs++;
        for (uchar* const stop = end - std::min<std::ptrdiff_t>(end - begin, 64 / digitBits);
             end > stop;) {
            *--end = uchar(unsigned(limb) & mask);
            limb >>= digitBits;
        }
    }
    return end;
}

/// The decimal digits of one limb, of which there is at least one. Returns the first.
uchar* divideDigits(uchar* end, mp_limb_t limb)
{
    do {
        *--end = uchar(limb % 10);
        limb /= 10;
    } while (limb);
    return end;
}
} // namespace

QCString BigInteger::toString(int base) const
{
    const char* const alphabet =
        base < 0 ? "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ" : "0123456789abcdefghijklmnopqrstuvwxyz";
    base = usableBase(base);
    if (base == 0)
        return QCString();
    if (sign == 0)
        return QCString("0");

    const mp_srcptr limbs = Store::limbs(*this);
    const mp_size_t count = Store::count(*this);
    const unsigned size = base == 10 && count == 1 ? 20 : sizeInBase(base);
    Scratch<uchar> digits(size + 2);
    const uchar* first = digits;
    const uchar* last = first + size;
    if (base == 2 || base == 4 || base == 16) {
        first = cutDigits(digits + size, limbs, size, digitBitsOf(base));
    } else if (base == 10 && count == 1) {
        first = divideDigits(digits + size, limbs[0]);
    } else {
        // The conversion eats what it reads.
        Scratch<mp_limb_t> copy(std::size_t(count + 1));
        mpn_copyi(copy, limbs, count);
        last = first + mpn_get_str(digits, base, copy, count);
        while (*first == 0)
            ++first;
    }

    QCString text(int(last - first) + (sign < 0) + 1);
    char* out = text.data();
    if (sign < 0)
        *out++ = '-';
    while (first < last)
        *out++ = alphabet[*first++];
    return text;
}
} // namespace math
