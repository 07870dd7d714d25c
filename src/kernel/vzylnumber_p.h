#pragma once

#include <qglobal.h>

#include <cstddef>
#include <cstring>

/// Numbers as text, by the rules of the classic text stream and whatever the locale. Readers work
/// on a piece of memory: they skip blanks, take what belongs to a number, leave `at` on the
/// character behind it, and return whether there was a digit. Writers put at most `longestNumber`
/// characters and return the place behind them.
namespace zyltext
{
constexpr int longestNumber = 32;

/// White space between tokens: tab to carriage return, and blank.
constexpr bool isBlank(int c)
{
    return c == ' ' || (c >= 9 && c <= 13);
}

inline void skipBlanks(const char*& at, const char* end)
{
    while (at < end && isBlank(*at)) {
        // Mostly one blank, or the indentation of a line.
        ++at;
        for (quint64 eight; end - at >= 8; at += 8) {
            std::memcpy(&eight, at, 8);
            if (eight != 0x2020202020202020u)
                break;
        }
    }
}

/// "0x" starts hexadecimal, "0b" binary, "0" octal digits; behind a sign only decimal ones stand.
/// What doesn't fit wraps, and a negative number is the two's complement. Where no number stands
/// the value is 0, and a character that can't start one is passed over.
bool readInteger(const char*& at, const char* end, quint64& value);

/// The nearest double; past the largest one infinity. There is no hexadecimal, "nan" or "inf".
/// Without a digit the value is 0, and nothing but a sign and a point are taken.
bool readReal(const char*& at, const char* end, double& value);

/// Reads as many as `n` items that a comma stands behind, and takes those commas: numbers, or, with
/// a `width` other than 0, tuples of that many numbers. Stops before what is unusual and near the
/// end, and returns how many items there were. For int, float and double.
template <class T>
std::size_t readRun(const char*& at, const char* end, T* values, std::size_t n, unsigned width);

char* writeInteger(char* to, qint64 value);
char* writeHexadecimal(char* to, quint32 value);

/// Six significant digits as `printf("%.6g")` rounds them, with a plain "0" for negative zero.
char* writeReal(char* to, double value);

/// The fewest digits that `readReal` turns into the same bits; for a float after narrowing.
char* writeExact(char* to, double value);
char* writeExact(char* to, float value);
} // namespace zyltext
