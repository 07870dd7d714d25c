#pragma once

#include "toolkit/qmemarray.h"

#include <qbytearrayalgorithms.h>

QT_BEGIN_NAMESPACE
class QTextStream;
QT_END_NAMESPACE

inline namespace toolkit_v1
{
/// Text of 8-bit characters that ends with a zero byte; `size()` counts that byte, `length()`
/// doesn't.
///
/// Null (no array) and empty (one zero byte) differ: `isNull`, comparison and `operator const
/// char*` tell them apart, `isEmpty` doesn't. Copies share. The functions that change the text part
/// a shared copy first; writing through `[]` or `data()`, and calls of the base class's `resize`
/// and `fill`, show in all copies.
class ZYL_EXPORT QCString : public QMemArray<char>
{
public:
    QCString() = default;
    /// `size` bytes, the zero at the end counted, of which the first and the last are set to zero.
    explicit QCString(int size);
    QCString(const char* text);
    /// At most `size - 1` characters of `text`.
    QCString(const char* text, unsigned size);

    QCString& operator=(const char* text);

    bool isEmpty() const { return length() == 0; }
    /// The characters before the first zero byte, counted anew at each call.
    unsigned length() const;
    operator const char*() const { return data(); }
    QCString copy() const { return QCString(data()); }

    /// `size` counts the zero at the end, which is set.
    bool resize(unsigned size);
    bool truncate(unsigned length) { return resize(length + 1); }
    bool fill(char c, int length = -1);

    /// Prints into 256 bytes, or the present size if that is more, and cuts there.
    QCString& sprintf(const char* format, ...) Q_ATTRIBUTE_FORMAT_PRINTF(2, 3);

    // Null for an empty text; otherwise a copy, and "" for no characters. `mid` is null past the
    // end too.
    QCString left(unsigned length) const;
    QCString right(unsigned length) const;
    QCString mid(unsigned index, unsigned length = 0xffffffff) const;
    QCString leftJustify(unsigned width, char fill = ' ', bool truncate = false) const;
    QCString rightJustify(unsigned width, char fill = ' ', bool truncate = false) const;
    QCString lower() const;
    QCString upper() const;
    QCString stripWhiteSpace() const;
    QCString simplifyWhiteSpace() const;

    // -1 when there is none. A start past the end finds nothing; backwards, a negative one means
    // the end.
    int find(char c, int index = 0, bool caseSensitive = true) const;
    int find(const char* text, int index = 0, bool caseSensitive = true) const;
    int findRev(char c, int index = -1, bool caseSensitive = true) const;
    int findRev(const char* text, int index = -1, bool caseSensitive = true) const;
    /// How often it occurs, overlapping places counted.
    int contains(char c, bool caseSensitive = true) const;
    int contains(const char* text, bool caseSensitive = true) const;

    // Past the end, `insert` and `replace` fill up with blanks and `remove` does nothing.
    QCString& insert(unsigned index, const char* text);
    QCString& insert(unsigned index, char c);
    QCString& append(const char* text) { return *this += text; }
    QCString& prepend(const char* text) { return insert(0, text); }
    QCString& remove(unsigned index, unsigned length);
    QCString& replace(unsigned index, unsigned length, const char* text);
    QCString& operator+=(const char* text);
    QCString& operator+=(char c);

    // Decimal only, white space allowed around; anything else and an overflow give 0 and `ok`
    // false.
    short toShort(bool* ok = nullptr) const;
    unsigned short toUShort(bool* ok = nullptr) const;
    int toInt(bool* ok = nullptr) const;
    unsigned toUInt(bool* ok = nullptr) const;
    long toLong(bool* ok = nullptr) const;
    unsigned long toULong(bool* ok = nullptr) const;
    float toFloat(bool* ok = nullptr) const { return float(toDouble(ok)); }
    /// What follows the number makes `ok` false, and the number is returned all the same. "." in
    /// any locale.
    double toDouble(bool* ok = nullptr) const;

    QCString& setStr(const char* text);
    QCString& setNum(long number);
    QCString& setNum(unsigned long number);
    QCString& setNum(int number) { return setNum(long(number)); }
    QCString& setNum(unsigned number) { return setNum(static_cast<unsigned long>(number)); }
    QCString& setNum(double number, char format = 'g', int precision = 6);
    /// Sets one character, with blanks up to it when it lies past the end.
    bool setExpand(unsigned index, char c);

    // By the bytes up to the zero; null equals only null and is less than "".
    friend bool operator==(const QCString& a, const QCString& b) { return compare(a, b) == 0; }
    friend bool operator==(const QCString& a, const char* b) { return compare(a, b) == 0; }
    friend bool operator==(const char* a, const QCString& b) { return compare(a, b) == 0; }
    friend bool operator!=(const QCString& a, const QCString& b) { return compare(a, b) != 0; }
    friend bool operator!=(const QCString& a, const char* b) { return compare(a, b) != 0; }
    friend bool operator!=(const char* a, const QCString& b) { return compare(a, b) != 0; }
    friend bool operator<(const QCString& a, const QCString& b) { return compare(a, b) < 0; }
    friend bool operator<(const QCString& a, const char* b) { return compare(a, b) < 0; }
    friend bool operator<(const char* a, const QCString& b) { return compare(a, b) < 0; }
    friend bool operator>(const QCString& a, const QCString& b) { return compare(a, b) > 0; }
    friend bool operator>(const QCString& a, const char* b) { return compare(a, b) > 0; }
    friend bool operator>(const char* a, const QCString& b) { return compare(a, b) > 0; }
    friend bool operator<=(const QCString& a, const QCString& b) { return compare(a, b) <= 0; }
    friend bool operator<=(const QCString& a, const char* b) { return compare(a, b) <= 0; }
    friend bool operator<=(const char* a, const QCString& b) { return compare(a, b) <= 0; }
    friend bool operator>=(const QCString& a, const QCString& b) { return compare(a, b) >= 0; }
    friend bool operator>=(const QCString& a, const char* b) { return compare(a, b) >= 0; }
    friend bool operator>=(const char* a, const QCString& b) { return compare(a, b) >= 0; }

private:
    static int compare(const char* a, const char* b) { return qstrcmp(a, b); }
    bool resizeOwn(unsigned size);
};

ZYL_EXPORT QCString operator+(const QCString& a, const QCString& b);
ZYL_EXPORT QCString operator+(const QCString& a, const char* b);
ZYL_EXPORT QCString operator+(const char* a, const QCString& b);
ZYL_EXPORT QCString operator+(const QCString& a, char b);
ZYL_EXPORT QCString operator+(char a, const QCString& b);

/// The size as 32 bits and the bytes, the zero at the end counted and written; null is the size 0.
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const QCString& text);
/// Bytes that don't end with a zero get one.
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, QCString& text);
/// Each byte is a Latin-1 character.
ZYL_EXPORT QTextStream& operator<<(QTextStream& stream, const QCString& text);
} // namespace toolkit_v1
