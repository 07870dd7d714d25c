#include "kernel/vzylnumber_p.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace
{
constexpr bool isDigit(int c)
{
    return c >= '0' && c <= '9';
}

constexpr int hexadecimalDigit(int c)
{
    if (isDigit(c))
        return c - '0';
    const int letter = c | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

/// Takes digits of a base of at most 16 and returns whether there was one.
bool takeDigits(const char*& at, const char* end, int base, quint64& value)
{
    const char* const first = at;
    for (; at < end; ++at) {
        const int digit = hexadecimalDigit(*at);
        if (digit < 0 || digit >= base)
            break;
        value = value * unsigned(base) + unsigned(digit);
    }
    return at > first;
}

__extension__ using Wide = unsigned __int128;

// Powers of ten from 10^-40 to 10^40 as 64 bits with the top one set, cut off, and their exponents:
// value = bits * 2^exponent. Numbers outside go the slow way.
constexpr int powerLimit = 40;

struct Power {
    quint64 bits = 0;
    int exponent = 0;
};

constexpr std::array<Power, 2 * powerLimit + 1> makePowers()
{
    std::array<Power, 2 * powerLimit + 1> powers{};
    const Wide top = Wide(1) << 127;
    Wide up = top; // 10^n as up * 2^exponent, exact as long as it fits in 128 bits
    int exponent = -127;
    for (int n = 0; n <= powerLimit; ++n) {
        powers[std::size_t(powerLimit + n)] = {quint64(up >> 64), exponent + 64};
        // times 10 = times 1.25, then 2^3
        Wide next = up + (up >> 2);
        exponent += 3;
        if (next < up) { // the carry is the 129th bit
            next = next >> 1 | top;
            ++exponent;
        }
        up = next;
    }
    Wide down = top;
    exponent = -127;
    for (int n = 0; n <= powerLimit; ++n) {
        powers[std::size_t(powerLimit - n)] = {quint64(down >> 64), exponent + 64};
        // by 10 = times 0.8, by 2^3: with the top bit set the quotient loses at most one bit
        Wide next = down / 5;
        exponent -= 1;
        while (next < top) {
            next <<= 1;
            --exponent;
        }
        down = next;
    }
    return powers;
}

constexpr auto powers = makePowers();

constexpr double exactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                  1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

constexpr char digitPairs[] = "00010203040506070809101112131415161718192021222324252627282930313233"
                              "34353637383940414243444546474849505152535455565758596061626364656667"
                              "6869707172737475767778798081828384858687888990919293949596979899";

/// Reads what the short way can't do exactly; `point` is where the digits before the point end.
[[gnu::noinline]] double slowReal(const char* start, const char* point, const char* end,
                                  qint64 exponent)
{
    double value = 0;
    if (std::from_chars(start, end, value).ec == std::errc())
        return value;
    // Too large or too small, which the place of the first digit other than 0 tells.
    const char* digit = start;
    while (digit < end && (*digit == '0' || *digit == '.'))
        ++digit;
    const qint64 place = digit < point ? point - digit : point + 1 - digit;
    return digit < end && isDigit(*digit) && place + exponent > 0
               ? std::numeric_limits<double>::infinity()
               : 0.0;
}

/// A finite number other than 0, without its sign, where the short way can't decide a rounding.
[[gnu::noinline]] char* slowSixDigits(char* to, double magnitude)
{
    return std::to_chars(to, to + zyltext::longestNumber, magnitude, std::chars_format::general, 6)
        .ptr;
}

// Digits, eight at a time. A plain number lies within `plainLength` bytes.
constexpr std::ptrdiff_t plainLength = 48;

#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
/// Takes up to eight digits and adds them to the value; returns how many there were.
inline unsigned takeEight(const char*& at, quint64& value)
{
    constexpr quint32 tens[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
    quint64 bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    bytes ^= 0x3030303030303030;
    const quint64 others = ((bytes + 0x7676767676767676) | bytes) & 0x8080808080808080;
    const unsigned count = others ? unsigned(__builtin_ctzll(others)) / 8 : 8;
    bytes = bytes << 8 * (7 - (count ? count - 1 : 0)) << (count ? 0 : 8);
    bytes = bytes * 10 + (bytes >> 8);
    bytes = ((bytes & 0x000000FF000000FF) * 0x000F424000000064 +
             (bytes >> 16 & 0x000000FF000000FF) * 0x0000271000000001) >>
            32;
    value = value * tens[count] + bytes;
    at += count;
    return count;
}
#else
inline unsigned takeEight(const char*& at, quint64& value)
{
    unsigned count = 0;
    for (; count < 8 && isDigit(*at); ++count)
        value = value * 10 + unsigned(*at++ - '0');
    return count;
}
#endif

// The common forms of a number, with at least `plainLength` bytes to look at. False, with nothing
// taken, for any other.

inline bool readPlain(const char*& at, double& value)
{
    const char* p = at;
    const bool negative = *p == '-';
    p += negative;
    quint64 mantissa = 0;
    const unsigned whole = takeEight(p, mantissa);
    if (whole == 0 || whole == 8)
        return false;
    unsigned fraction = 0;
    if (*p == '.') {
        ++p;
        fraction = takeEight(p, mantissa);
        if (fraction == 0)
            return false;
        if (fraction == 8)
            fraction += takeEight(p, mantissa);
    }
    if ((*p | 0x20) == 'e' || whole + fraction > 18 || mantissa > quint64(1) << 53 ||
        (fraction == 16 && isDigit(*p)))
        return false;
    const double magnitude = double(mantissa) / exactPowers[fraction];
    value = negative ? -magnitude : magnitude;
    at = p;
    return true;
}

inline bool readPlain(const char*& at, float& value)
{
    double wide;
    const bool found = readPlain(at, wide);
    if (found)
        value = float(wide);
    return found;
}

inline bool readPlain(const char*& at, int& value)
{
    const char* p = at;
    const bool negative = *p == '-';
    p += negative;
    quint64 magnitude = 0;
    const bool isOctal = *p == '0' && !negative;
    const unsigned digits = takeEight(p, magnitude);
    if (digits == 0 || digits == 8 ||
        (isOctal && (digits > 1 || (*p | 0x20) == 'x' || (*p | 0x20) == 'b')))
        return false;
    value = negative ? -int(magnitude) : int(magnitude);
    at = p;
    return true;
}

inline bool readAny(const char*& at, const char* end, double& value)
{
    return zyltext::readReal(at, end, value);
}

inline bool readAny(const char*& at, const char* end, float& value)
{
    double wide;
    const bool found = zyltext::readReal(at, end, wide);
    value = float(wide);
    return found;
}

inline bool readAny(const char*& at, const char* end, int& value)
{
    quint64 wide;
    const bool found = zyltext::readInteger(at, end, wide);
    value = int(quint32(wide));
    return found;
}

template <class T>
inline bool readItem(const char*& at, const char* end, T& value)
{
    zyltext::skipBlanks(at, end);
    return (end - at >= plainLength && readPlain(at, value)) || readAny(at, end, value);
}

inline bool takeSign(const char*& at, const char* end, char sign)
{
    zyltext::skipBlanks(at, end);
    if (at == end || *at != sign)
        return false;
    ++at;
    return true;
}

template <class T>
char* writeNonFinite(char* to, T value)
{
    const char* const text = std::isnan(value) ? "nan" : value < 0 ? "-inf" : "inf";
    const std::size_t length = std::strlen(text);
    std::memcpy(to, text, length);
    return to + length;
}

inline void putPair(char* to, unsigned value)
{
    std::memcpy(to, digitPairs + 2 * value, 2);
}
} // namespace

namespace zyltext
{
bool readInteger(const char*& at, const char* end, quint64& value)
{
    value = 0;
    skipBlanks(at, end);
    if (at == end)
        return false;
    const char first = *at;
    if (first == '0') {
        ++at;
        const int letter = at < end ? *at | 0x20 : 0;
        if (letter == 'x' || letter == 'b') {
            ++at;
            skipBlanks(at, end);
            takeDigits(at, end, letter == 'x' ? 16 : 2, value);
        } else if (takeDigits(at, end, 8, value)) {
            while (at < end && (*at == '8' || *at == '9'))
                ++at; // belong to an octal number but add nothing
        }
        return true;
    }
    if (isDigit(first))
        return takeDigits(at, end, 10, value);
    ++at;
    if (first != '-' && first != '+')
        return false;
    skipBlanks(at, end);
    const bool found = takeDigits(at, end, 10, value);
    if (first == '-')
        value = ~value + 1;
    return found;
}

bool readReal(const char*& at, const char* end, double& value)
{
    skipBlanks(at, end);
    value = 0;
    const char* p = at;
    const bool negative = p < end && *p == '-';
    if (p < end && (*p == '-' || *p == '+'))
        ++p;

    // Up to 19 digits behind leading zeros fit in the mantissa. With more of them it is nonsense,
    // and the text is read again by the slow way.
    const char* const start = p;
    quint64 mantissa = 0;
    while (p < end && isDigit(*p))
        mantissa = mantissa * 10 + unsigned(*p++ - '0');
    const char* const point = p;
    std::ptrdiff_t digits = p - start;
    std::ptrdiff_t fraction = 0;
    bool mayHaveExponent = digits > 0;
    if (p < end && *p == '.') {
        ++p;
        while (p < end && isDigit(*p))
            mantissa = mantissa * 10 + unsigned(*p++ - '0');
        fraction = p - point - 1;
        digits += fraction;
        mayHaveExponent = fraction > 0;
    }
    const char* numberEnd = p;
    qint64 exponent = 0;
    if (mayHaveExponent && p < end && (*p | 0x20) == 'e') {
        ++p;
        const bool down = p < end && *p == '-';
        if (p < end && (*p == '-' || *p == '+'))
            ++p;
        while (p < end && isDigit(*p)) {
            exponent = std::min<qint64>(exponent * 10 + (*p++ - '0'), 1'000'000'000'000);
            numberEnd = p;
        }
        if (down)
            exponent = -exponent;
    }
    at = p;
    if (digits == 0)
        return false;

    const qint64 scale = exponent - fraction;
    if (Q_LIKELY(digits <= 19 && mantissa <= quint64(1) << 53 && scale >= -22 && scale <= 22)) {
        // Both factors are exact, so that the one rounding is the right one.
        value = double(mantissa);
        if (scale < 0)
            value /= exactPowers[-scale];
        else
            value *= exactPowers[scale];
    } else {
        value = slowReal(start, point, numberEnd, exponent);
    }
    if (negative)
        value = -value;
    return true;
}

template <class T>
std::size_t readRun(const char*& at, const char* end, T* values, std::size_t n, unsigned width)
{
    std::size_t count = 0;
    for (; count < n; ++count) {
        const char* p = at;
        if (width == 0) {
            if (!readItem(p, end, values[count]))
                break;
        } else {
            T* const tuple = values + count * width;
            bool found = takeSign(p, end, '{');
            for (unsigned i = 0; found && i < width; ++i)
                found = readItem(p, end, tuple[i]) && takeSign(p, end, i + 1 < width ? ',' : '}');
            if (!found)
                break;
        }
        if (!takeSign(p, end, ','))
            break;
        at = p;
    }
    return count;
}

template std::size_t readRun(const char*&, const char*, int*, std::size_t, unsigned);
template std::size_t readRun(const char*&, const char*, float*, std::size_t, unsigned);
template std::size_t readRun(const char*&, const char*, double*, std::size_t, unsigned);

char* writeInteger(char* to, qint64 value)
{
    return std::to_chars(to, to + longestNumber, value).ptr;
}

char* writeHexadecimal(char* to, quint32 value)
{
    return std::to_chars(to, to + longestNumber, value, 16).ptr;
}
char* writeReal(char* to, double value)
{
    quint64 bits;
    std::memcpy(&bits, &value, sizeof bits);
    const int exponent = int(bits >> 52 & 0x7FF) - 1023;
    if (Q_UNLIKELY(exponent == 1024))
        return writeNonFinite(to, value);
    const double magnitude = std::fabs(value);
    if (magnitude == 0) {
        *to = '0';
        return to + 1;
    }
    *to = '-';
    to += bits >> 63;

    // The decimal exponent: that of the power of two below, or one more.
    int tens = exponent * 315653 >> 20;
    if (Q_UNLIKELY(tens < 5 - powerLimit || tens >= powerLimit))
        return slowSixDigits(to, magnitude);
    const quint64 mantissa = (bits & 0xF'FFFF'FFFF'FFFF) << 11 | quint64(1) << 63;
    const Power& next = powers[std::size_t(powerLimit + tens + 1)];
    tens += next.exponent + 63 == exponent && mantissa >= next.bits;

    // Six digits before the point; the rest is known to within 4 units of its last place.
    const Power& scale = powers[std::size_t(powerLimit + 5 - tens)];
    const quint64 product = quint64(Wide(mantissa) * scale.bits >> 64);
    const int shift = -(exponent + 1 + scale.exponent);
    const quint64 rest = product & ((quint64(1) << shift) - 1);
    const quint64 half = quint64(1) << (shift - 1);
    if (Q_UNLIKELY(half - rest <= 4))
        return slowSixDigits(to, magnitude); // near a tie
    unsigned six = unsigned(product >> shift) + (rest > half);
    if (six >= 1000000) {
        six = 100000;
        ++tens;
    }

    char digits[16] = {};
    putPair(digits, six / 10000);
    putPair(digits + 2, six / 100 % 100);
    putPair(digits + 4, six % 100);
    int count = 6;
    while (digits[count - 1] == '0')
        --count;

    if (tens >= 0 && tens < 6) {
        std::memcpy(to, digits, 6);
        const int whole = tens + 1;
        if (count <= whole)
            return to + whole;
        to[whole] = '.';
        std::memcpy(to + whole + 1, digits + whole, 6);
        return to + count + 1;
    }
    if (tens < 0 && tens >= -4) {
        std::memcpy(to, "0.000", 5);
        std::memcpy(to + 1 - tens, digits, 6);
        return to + 1 - tens + count;
    }
    *to++ = digits[0];
    if (count > 1) {
        *to = '.';
        std::memcpy(to + 1, digits + 1, 5);
        to += count;
    }
    *to++ = 'e';
    *to++ = tens < 0 ? '-' : '+';
    putPair(to, unsigned(std::abs(tens)));
    return to + 2;
}

char* writeExact(char* to, double value)
{
    if (!std::isfinite(value))
        return writeNonFinite(to, value);
    return std::to_chars(to, to + longestNumber, value).ptr;
}

char* writeExact(char* to, float value)
{
    if (!std::isfinite(value))
        return writeNonFinite(to, value);
    char* const end = std::to_chars(to, to + longestNumber, value).ptr;
    // The reader goes through a double, whose rounding can end on the far side of a midpoint.
    double back = 0;
    const char* at = to;
    readReal(at, end, back);
    return float(back) == value ? end : writeExact(to, double(value));
}
} // namespace zyltext
