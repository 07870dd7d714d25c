#include "toolkit/qcstring.h"

#include <qdatastream.h>
#include <qtextstream.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale.h>
#include <vector>

inline namespace toolkit_v1
{
namespace
{
unsigned char lowered(char c)
{
    return static_cast<unsigned char>(std::tolower(static_cast<unsigned char>(c)));
}

bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool sameCharacter(char a, char b, bool caseSensitive)
{
    return caseSensitive ? a == b : lowered(a) == lowered(b);
}

bool startsWith(const char* text, const char* start, unsigned length, bool caseSensitive)
{
    return (caseSensitive ? std::strncmp(text, start, length) : qstrnicmp(text, start, length)) ==
           0;
}

/// A number cut into its sign and magnitude; not valid when other text stands there too.
struct Decimal {
    unsigned long magnitude = 0;
    bool isNegative = false;
    bool isValid = false;
};

Decimal parseDecimal(const char* p)
{
    Decimal result;
    if (!p)
        return result;
    while (isBlank(*p))
        ++p;
    if (*p == '-' || *p == '+')
        result.isNegative = *p++ == '-';
    const char* digits = p;
    for (; *p >= '0' && *p <= '9'; ++p) {
        const auto digit = static_cast<unsigned long>(*p - '0');
        if (result.magnitude > (std::numeric_limits<unsigned long>::max() - digit) / 10)
            return result;
        result.magnitude = result.magnitude * 10 + digit;
    }
    const bool hasDigits = p != digits;
    while (isBlank(*p))
        ++p;
    result.isValid = hasDigits && *p == '\0';
    return result;
}

template <class T>
T toNumber(const char* text, bool* ok)
{
    const Decimal decimal = parseDecimal(text);
    constexpr auto most = static_cast<unsigned long>(std::numeric_limits<T>::max());
    bool isValid = decimal.isValid;
    T value = 0;
    if constexpr (std::is_signed_v<T>) {
        isValid = isValid && decimal.magnitude <= most + decimal.isNegative;
        if (isValid)
            value = T(decimal.isNegative ? 0ul - decimal.magnitude : decimal.magnitude);
    } else {
        isValid = isValid && !decimal.isNegative && decimal.magnitude <= most;
        if (isValid)
            value = T(decimal.magnitude);
    }
    if (ok)
        *ok = isValid;
    return value;
}

template <class F>
QCString mapped(const QCString& text, F&& map)
{
    QCString result = text.copy();
    for (char* p = result.data(); p && *p; ++p)
        *p = map(*p);
    return result;
}
} // namespace

QCString::QCString(int size) : QMemArray<char>(size)
{
    if (this->size() > 0) {
        data()[0] = '\0';
        data()[this->size() - 1] = '\0';
    }
}

QCString::QCString(const char* text)
{
    *this = text;
}

QCString::QCString(const char* text, unsigned size)
{
    if (!text || size == 0)
        return;
    const auto characters = unsigned(qstrnlen(text, size - 1));
    if (resizeOwn(characters + 1))
        std::memcpy(data(), text, characters);
}

QCString& QCString::operator=(const char* text)
{
    duplicate(text, text ? unsigned(std::strlen(text)) + 1 : 0);
    return *this;
}

unsigned QCString::length() const
{
    // The base class lets a caller write over the zero at the end.
    return data() ? unsigned(qstrnlen(data(), size())) : 0;
}

bool QCString::resizeOwn(unsigned size)
{
    detach();
    if (!growBytes(size))
        return false;
    if (size > 0)
        data()[size - 1] = '\0';
    return true;
}

bool QCString::resize(unsigned size)
{
    detach();
    if (!QMemArray<char>::resize(size))
        return false;
    if (size > 0)
        data()[size - 1] = '\0';
    return true;
}

bool QCString::fill(char c, int length)
{
    const unsigned size = (length < 0 ? this->length() : unsigned(length)) + 1;
    if (!resizeOwn(size))
        return false;
    std::memset(data(), c, size - 1);
    return true;
}

QCString& QCString::sprintf(const char* format, ...)
{
    // Printed beside the old text, which may be one of the arguments.
    std::vector<char> buffer(std::max(256u, size()));
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    va_end(arguments);
    return *this = buffer.data();
}

QCString QCString::left(unsigned length) const
{
    return mid(0, length);
}

QCString QCString::right(unsigned length) const
{
    const unsigned all = this->length();
    return all ? QCString(data() + (all - std::min(length, all))) : QCString();
}

QCString QCString::mid(unsigned index, unsigned length) const
{
    const unsigned all = this->length();
    if (index >= all)
        return QCString();
    return QCString(data() + index, std::min(length, all - index) + 1);
}

QCString QCString::leftJustify(unsigned width, char fill, bool truncate) const
{
    const unsigned all = length();
    if (width <= all)
        return truncate ? left(width) : copy();
    QCString result{int(width) + 1};
    if (result.isNull())
        return result;
    std::copy_n(data(), all, result.data());
    std::fill_n(result.data() + all, width - all, fill);
    return result;
}

QCString QCString::rightJustify(unsigned width, char fill, bool truncate) const
{
    const unsigned all = length();
    if (width <= all)
        return truncate ? left(width) : copy();
    QCString result{int(width) + 1};
    if (result.isNull())
        return result;
    std::fill_n(result.data(), width - all, fill);
    std::copy_n(data(), all, result.data() + (width - all));
    return result;
}

QCString QCString::lower() const
{
    return mapped(*this, [](char c) { return char(lowered(c)); });
}

QCString QCString::upper() const
{
    return mapped(*this, [](char c) { return char(std::toupper(static_cast<unsigned char>(c))); });
}

QCString QCString::stripWhiteSpace() const
{
    if (isNull())
        return QCString();
    const char* begin = data();
    const char* end = begin + length();
    while (begin < end && isBlank(*begin))
        ++begin;
    while (begin < end && isBlank(end[-1]))
        --end;
    return QCString(begin, unsigned(end - begin) + 1);
}

QCString QCString::simplifyWhiteSpace() const
{
    QCString result = stripWhiteSpace();
    if (result.isEmpty())
        return result;
    char* to = result.data();
    for (const char* from = to; *from; ++from)
        if (!isBlank(*from))
            *to++ = *from;
        else if (!isBlank(from[1]))
            *to++ = ' ';
    result.truncate(unsigned(to - result.data()));
    return result;
}

int QCString::find(char c, int index, bool caseSensitive) const
{
    if (unsigned(index) >= size())
        return -1;
    const unsigned all = length();
    for (unsigned i = unsigned(index); i < all; ++i)
        if (sameCharacter(data()[i], c, caseSensitive))
            return int(i);
    return c == '\0' && unsigned(index) <= all ? int(all) : -1;
}

int QCString::find(const char* text, int index, bool caseSensitive) const
{
    if (unsigned(index) >= size() || !text)
        return -1;
    const auto length = unsigned(std::strlen(text));
    const unsigned all = this->length();
    if (length == 0)
        return index;
    for (unsigned i = unsigned(index); i + length <= all; ++i)
        if (startsWith(data() + i, text, length, caseSensitive))
            return int(i);
    return -1;
}

int QCString::findRev(char c, int index, bool caseSensitive) const
{
    if (isNull())
        return -1;
    const unsigned start = index < 0 ? length() : unsigned(index);
    if (start >= size())
        return -1;
    for (int i = int(start); i >= 0; --i)
        if (sameCharacter(data()[i], c, caseSensitive))
            return i;
    return -1;
}

int QCString::findRev(const char* text, int index, bool caseSensitive) const
{
    if (isNull() || !text)
        return -1;
    const auto length = int(std::strlen(text));
    const auto all = int(this->length());
    if (index > all)
        return -1;
    if (index < 0 || index > all - length)
        index = all - length;
    for (; index >= 0; --index)
        if (startsWith(data() + index, text, unsigned(length), caseSensitive))
            return index;
    return -1;
}

int QCString::contains(char c, bool caseSensitive) const
{
    const char* end = data() + length();
    return int(std::count_if(static_cast<const char*>(data()), end, [&](char candidate) {
        return sameCharacter(candidate, c, caseSensitive);
    }));
}

int QCString::contains(const char* text, bool caseSensitive) const
{
    const auto length = unsigned(qstrlen(text));
    const unsigned all = this->length();
    int count = 0;
    for (unsigned i = 0; i < all && i + length <= all; ++i)
        count += startsWith(data() + i, text, length, caseSensitive);
    return count;
}

QCString& QCString::insert(unsigned index, const char* text)
{
    const auto added = unsigned(qstrlen(text));
    if (added == 0)
        return *this;
    const unsigned all = length();
    const quint64 size = quint64(std::max(index, all)) + added + 1;
    if (size > quint64(std::numeric_limits<int>::max()))
        return *this;
    const std::vector<char> inserted(text, text + added); // it may be a part of this text
    if (!resizeOwn(unsigned(size)))
        return *this;
    char* at = data() + index;
    if (index > all)
        std::fill(data() + all, at, ' ');
    else
        std::memmove(at + added, at, all - index);
    std::memcpy(at, inserted.data(), added);
    return *this;
}

QCString& QCString::insert(unsigned index, char c)
{
    const char text[2] = {c, '\0'};
    return insert(index, text);
}

QCString& QCString::remove(unsigned index, unsigned length)
{
    const unsigned all = this->length();
    if (index >= all || length == 0)
        return *this;
    const unsigned removed = std::min(length, all - index);
    detach();
    std::memmove(data() + index, data() + index + removed, all - index - removed);
    truncate(all - removed);
    return *this;
}

QCString& QCString::replace(unsigned index, unsigned length, const char* text)
{
    const QCString inserted(text); // it may be a part of this text
    remove(index, length);
    return insert(index, inserted.data());
}

QCString& QCString::operator+=(const char* text)
{
    if (!text)
        return *this;
    const auto added = unsigned(std::strlen(text));
    const unsigned all = length();
    if (text >= data() && text <= data() + all) {
        const QCString own(text); // growing may move the bytes that are appended
        return *this += own.data();
    }
    if (resizeOwn(all + added + 1))
        std::memcpy(data() + all, text, added);
    return *this;
}

QCString& QCString::operator+=(char c)
{
    const unsigned all = length();
    if (resizeOwn(all + 2))
        data()[all] = c;
    return *this;
}

short QCString::toShort(bool* ok) const
{
    return toNumber<short>(data(), ok);
}

unsigned short QCString::toUShort(bool* ok) const
{
    return toNumber<unsigned short>(data(), ok);
}

int QCString::toInt(bool* ok) const
{
    return toNumber<int>(data(), ok);
}

unsigned QCString::toUInt(bool* ok) const
{
    return toNumber<unsigned>(data(), ok);
}

long QCString::toLong(bool* ok) const
{
    return toNumber<long>(data(), ok);
}

unsigned long QCString::toULong(bool* ok) const
{
    return toNumber<unsigned long>(data(), ok);
}

double QCString::toDouble(bool* ok) const
{
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    const char* text = data() ? data() : "";
    char* end = nullptr;
    const double value = strtod_l(text, &end, plain);
    if (ok)
        *ok = *text && *end == '\0';
    return value;
}

QCString& QCString::setStr(const char* text)
{
    return *this = text;
}

QCString& QCString::setNum(long number)
{
    return *this = QByteArray::number(qlonglong(number)).constData();
}

QCString& QCString::setNum(unsigned long number)
{
    return *this = QByteArray::number(qulonglong(number)).constData();
}

QCString& QCString::setNum(double number, char format, int precision)
{
    if (!format || !std::strchr("eEfFgG", format)) {
        qWarning("QCString::setNum: Invalid format char '%c'", format);
        format = 'g';
    }
    const char kind = char(lowered(format));
    const auto notation = kind == 'e'   ? std::chars_format::scientific
                          : kind == 'f' ? std::chars_format::fixed
                                        : std::chars_format::general;
    char buffer[512];
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer - 1, number, notation,
                                            std::clamp(precision, 0, 99));
    Q_UNUSED(error); // 99 digits behind the point and 309 before it fit
    *end = '\0';
    *this = buffer;
    return format == kind ? *this : *this = upper();
}

bool QCString::setExpand(unsigned index, char c)
{
    const unsigned all = length();
    if (index >= all) {
        if (index > unsigned(std::numeric_limits<int>::max() - 2) || !resizeOwn(index + 2))
            return false;
        std::fill(data() + all, data() + index, ' ');
    } else {
        detach();
    }
    data()[index] = c;
    return true;
}

QCString operator+(const QCString& a, const QCString& b)
{
    return a + b.data();
}

QCString operator+(const QCString& a, const char* b)
{
    QCString result = a.copy();
    return result += b;
}

QCString operator+(const char* a, const QCString& b)
{
    return QCString(a) + b.data();
}

QCString operator+(const QCString& a, char b)
{
    QCString result = a.copy();
    return result += b;
}

QCString operator+(char a, const QCString& b)
{
    const char text[2] = {a, '\0'};
    return QCString(text) + b.data();
}

QDataStream& operator<<(QDataStream& stream, const QCString& text)
{
    return stream << static_cast<const QMemArray<char>&>(text);
}

QDataStream& operator>>(QDataStream& stream, QCString& text)
{
    text = QCString();
    stream >> static_cast<QMemArray<char>&>(text);
    const unsigned size = text.size();
    if (size > 0 && text.data()[size - 1] != '\0')
        text.resize(size + 1);
    return stream;
}

QTextStream& operator<<(QTextStream& stream, const QCString& text)
{
    return stream << QLatin1String(text.data(), int(text.length()));
}
} // namespace toolkit_v1
