#pragma once

#include "toolkit/qcstring.h"
#include "toolkit/qmemarray.h"
#include "toolkit/qvaluelist.h"
#include "toolkit/zylexport.h"

#include <qmap.h>
#include <qstring.h>
#include <qstringlist.h>

class QBitArray;
class QDataStream;
class VColor;
class VDate;
class VDateTime;
class VTime;
class VTimestamp;
namespace math
{
class IntegerArray;
}

/// The record that a `VDataType` works on.
class ZYL_EXPORT VDataValue
{
};

/// Describes a kind of value: its name, what it converts to, how it is freed.
class ZYL_EXPORT VDataType
{
public:
    virtual const char* name() const = 0;
    virtual bool canConvertTo(const VDataType* target) const;

    /// Turns the value, which is of this type, into one of `target`. False, with nothing changed,
    /// when that can't be done.
    virtual bool convertTo(const VDataType* target, VDataValue* value);

    /// Frees what the value holds on the heap.
    virtual void clear(VDataValue* value);

protected:
    VDataType() = default;
    ~VDataType() = default;
};

/// A value tagged with its type: property values, scene attributes and database columns travel as
/// this. What a type can do stands in a table of type objects, to which an application may add its
/// own above id 26.
///
/// Numbers lie in the value itself, everything else in a copy on the heap that the value owns. A C
/// `long` counts as one 32-bit word and is cut to that (id 5 or 9); `long long` keeps its 64 bits
/// (id 12 or 13).
///
/// Conversion is decided by the pair of types alone: text that is no number converts to 0 with
/// true. Only the readers with an `ok` argument tell of bad text.
class ZYL_EXPORT VVariant
{
public:
    /// The numbers stand in streams and in the flags of properties.
    enum Type {
        Invalid = 0,
        Bool = 1,
        Char = 2,
        Short = 3,
        Int = 4,
        Long = 5,
        UChar = 6,
        UShort = 7,
        UInt = 8,
        ULong = 9,
        Float = 10,
        Double = 11,
        LongLong = 12,
        ULongLong = 13,
        CString = 14,
        String = 15,
        StringList = 16,
        Map = 17,
        List = 18,
        ByteArray = 19,
        BitArray = 20,
        IntegerArray = 21,
        Date = 22,
        Time = 23,
        DateTime = 24,
        Timestamp = 25,
        Color = 26
    };

    using ValueMap = QMap<QString, VVariant>;
    using ValueList = QValueList<VVariant>;

    /// The id and the value. Whoever keeps one apart from a `VVariant` calls `clear` when done.
    class ZYL_EXPORT Value : public VDataValue
    {
    public:
        unsigned type = Invalid;
        union {
            qint32 word; ///< ids 1 to 9 and 26; a bool takes the whole word
            quint32 uword;
            qint64 wide = 0; ///< ids 12 and 13
            quint64 uwide;
            double real;   ///< ids 10 and 11
            void* pointer; ///< every other id: a copy on the heap
        };

        /// True for ids whose value is complete without the heap.
        bool isPlain() const { return type <= ULongLong || type == Color; }

        /// Replaces this value by a copy of the other.
        void assign(const Value& other);

        /// Frees the value; the type becomes `Invalid`.
        void clear();
    };

    /// The operations of one type. Instances are not owned by the table.
    class ZYL_EXPORT ValueType : public VDataType
    {
    public:
        virtual unsigned id() const = 0;

        /// Makes `target`, which holds nothing, a copy of `source`.
        virtual void assign(const VDataValue& source, VDataValue& target) = 0;

        /// 0 when the two are equal, read as this type.
        virtual int compare(const VVariant& left, const VVariant& right) = 0;

        /// Reads the payload into `value`, which holds nothing. The base reads nothing.
        virtual void load(QDataStream& stream, VDataValue& value);
        virtual void save(QDataStream& stream, const VDataValue& value) const;
        virtual ~ValueType();
    };

    VVariant() = default;
    VVariant(const VVariant& other) { copy(other.m_value); }
    VVariant(VVariant&& other) noexcept : m_value(other.m_value) { other.m_value.type = Invalid; }
    ~VVariant()
    {
        if (!m_value.isPlain())
            m_value.clear();
    }

    /// The second argument only tells this constructor from the one for `int`.
    VVariant(bool value, int) : VVariant(Bool, value) {}
    VVariant(char value) : VVariant(Char, static_cast<signed char>(value)) {}
    VVariant(short value) : VVariant(Short, value) {}
    VVariant(int value) : VVariant(Int, value) {}
    VVariant(long value) : VVariant(Long, static_cast<qint32>(value)) {}
    VVariant(unsigned char value) : VVariant(UChar, value) {}
    VVariant(unsigned short value) : VVariant(UShort, value) {}
    VVariant(unsigned value) : VVariant(UInt, static_cast<qint32>(value)) {}
    VVariant(unsigned long value) : VVariant(ULong, static_cast<qint32>(value)) {}
    VVariant(long long value)
    {
        m_value.type = LongLong;
        m_value.wide = value;
    }
    VVariant(unsigned long long value)
    {
        m_value.type = ULongLong;
        m_value.uwide = value;
    }
    VVariant(float value) : VVariant(Float, double(value)) {}
    VVariant(double value) : VVariant(Double, value) {}
    VVariant(const QCString& value);
    VVariant(const QString& value);

    /// A `String` of the text in the local 8-bit encoding.
    VVariant(const char* text);
    VVariant(const QStringList& value);
    VVariant(const ValueMap& value);
    VVariant(const ValueList& value);
    VVariant(const QMemArray<char>& value);
    VVariant(const QBitArray& value);
    VVariant(const math::IntegerArray& value);
    VVariant(const VDate& value);
    VVariant(const VTime& value);
    VVariant(const VDateTime& value);
    VVariant(const VTimestamp& value);
    VVariant(const VColor& value);

    /// Loads the value.
    explicit VVariant(QDataStream& stream) { load(stream); }

    // Any other pointer would otherwise bind to `bool` and lose its value.
    VVariant(const void*) = delete;
    VVariant(const void*, int) = delete;

    VVariant& operator=(const VVariant& other)
    {
        if (m_value.isPlain() && other.m_value.isPlain())
            m_value = other.m_value;
        else
            m_value.assign(other.m_value);
        return *this;
    }
    VVariant& operator=(VVariant&& other) noexcept
    {
        const Value value = other.m_value;
        other.m_value.type = Invalid;
        clear();
        m_value = value;
        return *this;
    }

    unsigned type() const { return m_value.type; }
    bool isValid() const { return m_value.type != Invalid; }
    const char* typeName() const { return typeToName(m_value.type); }
    void clear() { m_value.clear(); }

    /// The numbers. Text is read in base 10, and `ok` tells whether it was a number; any other type
    /// but the numbers gives 0 with `ok` false. Reals are truncated, held at the ends of the range;
    /// NaN is 0.
    int toInt(bool* ok = nullptr) const;
    unsigned toUInt(bool* ok = nullptr) const;
    qint64 toLongInt(bool* ok = nullptr) const;
    quint64 toULongInt(bool* ok = nullptr) const;
    double toDouble(bool* ok = nullptr) const;
    bool toBool() const;

    /// Numbers as decimal text, dates in ISO form; null for types without a text.
    QCString toCString() const;
    QString toString() const;

    QStringList toStringList() const;
    ValueMap toMap() const;

    /// A `StringList` gives a list of `String`s.
    ValueList toList() const;

    /// The held value, or what the held one converts to; otherwise a null value.
    VDate toDate() const;
    VTime toTime() const;
    VDateTime toDateTime() const;
    VTimestamp toTimestamp() const;

    /// The held value, or an empty one.
    QMemArray<char> toByteArray() const;
    QBitArray toBitArray() const;
    math::IntegerArray toIntegerArray() const;
    VColor toColor() const;

    bool canConvertTo(unsigned id) const;

    /// Changes the value to another type. False when the pair of types doesn't convert; a type
    /// without a type object clears the value as well.
    bool convertTo(unsigned id);

    /// 0 when the other value, read as this one's type, equals this one. Any other result says no
    /// more than that.
    int compare(const VVariant& other) const;

    /// Reads what `save` wrote. A `Timestamp`, `IntegerArray` or `Color` carries no value in a
    /// stream.
    void load(QDataStream& stream);
    void save(QDataStream& stream) const;

    /// Enters a type in the table, which doesn't own it.
    static void addType(unsigned id, const ValueType* type);
    static void removeType(unsigned id);

    /// The type object, null for an id without one.
    static const ValueType* metaType(unsigned id);
    static const char* typeToName(unsigned id);

    /// The first id whose type has that name, 0 when there is none.
    static unsigned nameToType(const char* name);

    const Value& value() const { return m_value; }

private:
    VVariant(Type type, qint32 word)
    {
        m_value.type = type;
        m_value.uwide = 0;
        m_value.word = word;
    }
    VVariant(Type type, double real)
    {
        m_value.type = type;
        m_value.real = real;
    }
    void copy(const Value& other)
    {
        if (other.isPlain())
            m_value = other;
        else
            m_value.assign(other);
    }

    Value m_value;
};

inline bool operator==(const VVariant& left, const VVariant& right)
{
    return left.compare(right) == 0;
}
inline bool operator!=(const VVariant& left, const VVariant& right)
{
    return left.compare(right) != 0;
}

ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const VVariant& value);
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, VVariant& value);
