#pragma once

#include "toolkit/zylexport.h"

#include <qglobal.h>

class QString;

/// A universally unique identifier, as interfaces carry it. Constants of this type need no code at
/// start:
///
///     constexpr VUuid identifier(0x3F8FDC44, 0x3015, 0x4F3E, 0xB6, 0xD6, 0xE4, 0xAA, 0xAA, 0xBD,
///     0xEA, 0xAD);
class ZYL_EXPORT VUuid
{
public:
    constexpr VUuid() = default;
    constexpr VUuid(quint32 word, quint16 half1, quint16 half2, quint8 b1, quint8 b2, quint8 b3,
                    quint8 b4, quint8 b5, quint8 b6, quint8 b7, quint8 b8)
        : data1(word), data2(half1), data3(half2), data4{b1, b2, b3, b4, b5, b6, b7, b8}
    {
    }

    /// Reads "{3F8FDC44-3015-4F3E-B6D6-E4AAAABDEAAD}", digits in either case. Anything but the
    /// whole form gives the null identifier.
    explicit VUuid(const QString& text);

    /// The form with braces, in upper case.
    QString toString() const;

    constexpr bool isNull() const { return *this == VUuid(); }

    constexpr bool operator==(const VUuid& other) const
    {
        if (data1 != other.data1 || data2 != other.data2 || data3 != other.data3)
            return false;
        for (int i = 0; i < 8; ++i)
            if (data4[i] != other.data4[i])
                return false;
        return true;
    }
    constexpr bool operator!=(const VUuid& other) const { return !(*this == other); }

    quint32 data1 = 0;
    quint16 data2 = 0;
    quint16 data3 = 0;
    quint8 data4[8] = {};
};
