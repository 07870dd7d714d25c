#include "security/asnoid.h"

#include <algorithm>
#include <limits>

namespace asn
{
namespace
{
constexpr quint64 most = std::numeric_limits<quint64>::max();

/// Reads the digits of a component and moves behind them.
bool readComponent(const char*& text, quint64& value)
{
    const char* const start = text;
    value = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
        const unsigned digit = unsigned(*text - '0');
        if (value > (most - digit) / 10)
            return false;
        value = value * 10 + digit;
    }
    return text != start;
}

/// Hands each sub-identifier of a text to `take`; false when the text isn't an identifier.
template <class Take>
bool readText(const char* text, Take&& take)
{
    quint64 first = 0;
    if (!text || !readComponent(text, first) || first > 2)
        return false;
    for (bool isSecond = true; *text || isSecond; isSecond = false) {
        quint64 value = 0;
        if (*text != '.' && *text != ' ')
            return false;
        if (!readComponent(++text, value))
            return false;
        if (isSecond && (first < 2 ? value >= 40 : value > most - 80))
            return false;
        take(isSecond ? first * 40 + value : value);
    }
    return true;
}

unsigned groupCount(quint64 value)
{
    return unsigned(70 - __builtin_clzll(value | 1)) / 7;
}
} // namespace

ObjectIdentifier::ObjectIdentifier(const char* text)
{
    resize(setString(text, false));
    setString(text);
}

unsigned ObjectIdentifier::setString(const char* text, bool store)
{
    quint64 length = 0;
    if (!readText(text, [&](quint64 value) { length += groupCount(value); }))
        return 0;
    if (store && !isEmpty()) {
        char* out = data();
        const char* const end = out + size();
        readText(text, [&](quint64 value) {
            for (unsigned group = groupCount(value); group-- > 0 && out < end;)
                *out++ = char((value >> 7 * group & 0x7f) | (group ? 0x80 : 0));
        });
    }
    return unsigned(length);
}

QCString ObjectIdentifier::toString() const
{
    const uchar* in = octets();
    const uchar* const end = in + size();
    QCString text("");
    bool isFirst = true;
    quint64 value = 0;
    for (; in < end; ++in) {
        value = (isFirst ? value : value << 7) | (*in & 0x7f);
        if (*in & 0x80)
            continue;
        if (isFirst) {
            const quint64 arc = std::min<quint64>(value / 40, 2);
            text += QCString().sprintf("%d", int(arc)).data();
            value -= arc * 40;
        }
        text += QCString().sprintf(".%lu", static_cast<unsigned long>(value)).data();
        isFirst = false;
        value = 0;
    }
    return text;
}
} // namespace asn
