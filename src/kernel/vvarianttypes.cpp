#include "kernel/vvarianttypes_p.h"

#include "math/integerarray.h"
#include "tools/vcolor.h"

#include <qbitarray.h>
#include <qdatastream.h>

#include <cstring>

using namespace varianttypes;

namespace
{
Value& valueOf(VDataValue& value)
{
    return static_cast<Value&>(value);
}

const Value& valueOf(const VDataValue& value)
{
    return static_cast<const Value&>(value);
}

unsigned idOf(const VDataType* type)
{
    return static_cast<const VVariant::ValueType*>(type)->id();
}

/// What text converts to: the numbers but bool and the 64-bit ones.
bool isTextNumber(unsigned id)
{
    return id >= VVariant::Char && id <= VVariant::Double;
}

template <class Number>
int order(Number left, Number right)
{
    return left < right ? -1 : left > right ? 1 : 0;
}

/// Makes `value` a number of type `id`. Words are neither narrowed nor changed among each other:
/// only the id tells a char from an int, and the stream narrows.
void convertNumber(Value& value, NumberKind from, unsigned id)
{
    switch (numberKind(id)) {
    case NumberKind::SignedWord:
    case NumberKind::UnsignedWord:
        if (from == NumberKind::Real)
            value.wide = truncated<int>(value.real);
        break;
    case NumberKind::Real:
        if (from == NumberKind::SignedWord)
            value.real = value.word;
        else if (from == NumberKind::UnsignedWord)
            value.real = value.uword;
        else if (from == NumberKind::SignedWide)
            value.real = double(value.wide);
        else if (from == NumberKind::UnsignedWide)
            value.real = double(value.uwide);
        break;
    case NumberKind::SignedWide:
    case NumberKind::UnsignedWide:
        if (from == NumberKind::SignedWord)
            value.wide = value.word;
        else if (from == NumberKind::UnsignedWord)
            value.uwide = value.uword;
        else if (from == NumberKind::Real && id == VVariant::ULongLong)
            value.uwide = truncated<quint64>(value.real);
        else if (from == NumberKind::Real)
            value.wide = truncated<qint64>(value.real);
        break;
    case NumberKind::None:
        break;
    }
    value.type = id;
}

/// The numbers: their value is complete in the union.
class VariantType_Basic : public VVariant::ValueType
{
public:
    VariantType_Basic(unsigned id, const char* name, NumberKind kind)
        : m_id(id), m_name(name), m_kind(kind)
    {
    }

    const char* name() const override { return m_name; }
    unsigned id() const override { return m_id; }
    bool canConvertTo(const VDataType* target) const override { return isNumber(idOf(target)); }

    bool convertTo(const VDataType* target, VDataValue* value) override
    {
        if (!canConvertTo(target))
            return false;
        convertNumber(valueOf(*value), m_kind, idOf(target));
        return true;
    }

    void assign(const VDataValue& source, VDataValue& target) override
    {
        valueOf(target) = valueOf(source);
    }
    int compare(const VVariant& left, const VVariant& right) override
    {
        return orderNumbers(m_id, left.value(), right.value());
    }

    void load(QDataStream& stream, VDataValue& target) override
    {
        Value& value = valueOf(target);
        switch (m_id) {
        case VVariant::Bool:
        case VVariant::Char:
            loadAs<qint8>(stream, value.word);
            break;
        case VVariant::UChar:
            loadAs<quint8>(stream, value.uword);
            break;
        case VVariant::Short:
            loadAs<qint16>(stream, value.word);
            break;
        case VVariant::UShort:
            loadAs<quint16>(stream, value.uword);
            break;
        case VVariant::Float:
            loadAs<float>(stream, value.real);
            break;
        case VVariant::Double:
            stream >> value.real;
            break;
        case VVariant::LongLong:
        case VVariant::ULongLong: {
            quint32 high = 0;
            quint32 low = 0;
            stream >> high >> low;
            value.uwide = quint64(high) << 32 | low;
            break;
        }
        default:
            stream >> value.word;
        }
    }

    void save(QDataStream& stream, const VDataValue& source) const override
    {
        const Value& value = valueOf(source);
        switch (m_id) {
        case VVariant::Bool:
        case VVariant::Char:
        case VVariant::UChar:
            stream << qint8(value.word);
            break;
        case VVariant::Short:
        case VVariant::UShort:
            stream << qint16(value.word);
            break;
        case VVariant::Float:
            stream << float(value.real);
            break;
        case VVariant::Double:
            stream << value.real;
            break;
        case VVariant::LongLong:
        case VVariant::ULongLong:
            stream << quint32(value.uwide >> 32) << quint32(value.uwide);
            break;
        default:
            stream << value.word;
        }
    }

private:
    template <class Stored, class Target>
    static void loadAs(QDataStream& stream, Target& target)
    {
        Stored stored = 0;
        stream >> stored;
        target = stored;
    }

    unsigned m_id;
    const char* m_name;
    NumberKind m_kind;
};

class VariantType_bool : public VariantType_Basic
{
public:
    VariantType_bool() : VariantType_Basic(VVariant::Bool, "bool", NumberKind::UnsignedWord) {}
};

class VariantType_int : public VariantType_Basic
{
public:
    explicit VariantType_int(unsigned id = VVariant::Int, const char* name = "int",
                             NumberKind kind = NumberKind::SignedWord)
        : VariantType_Basic(id, name, kind)
    {
    }
};

class VariantType_char : public VariantType_int
{
public:
    VariantType_char() : VariantType_int(VVariant::Char, "char") {}
};

class VariantType_short : public VariantType_int
{
public:
    VariantType_short() : VariantType_int(VVariant::Short, "short") {}
};

class VariantType_uint : public VariantType_int
{
public:
    explicit VariantType_uint(unsigned id = VVariant::UInt, const char* name = "uint")
        : VariantType_int(id, name, NumberKind::UnsignedWord)
    {
    }
    bool canConvertTo(const VDataType* target) const override
    {
        return idOf(target) == VVariant::Color || VariantType_int::canConvertTo(target);
    }
};

class VariantType_uchar : public VariantType_uint
{
public:
    VariantType_uchar() : VariantType_uint(VVariant::UChar, "uchar") {}
};

class VariantType_ushort : public VariantType_uint
{
public:
    VariantType_ushort() : VariantType_uint(VVariant::UShort, "ushort") {}
};

class VariantType_Color : public VariantType_uint
{
public:
    VariantType_Color() : VariantType_uint(VVariant::Color, "VColor") {}
    int compare(const VVariant& left, const VVariant& right) override
    {
        return left.toColor().pixel() == right.toColor().pixel() ? 0 : 1;
    }
    // A colour comes back from a stream with its id alone.
    void load(QDataStream&, VDataValue&) override {}
    void save(QDataStream&, const VDataValue&) const override {}
};

class VariantType_double : public VariantType_Basic
{
public:
    explicit VariantType_double(unsigned id = VVariant::Double, const char* name = "double")
        : VariantType_Basic(id, name, NumberKind::Real)
    {
    }
};

class VariantType_float : public VariantType_double
{
public:
    VariantType_float() : VariantType_double(VVariant::Float, "float") {}
};

class VariantType_long : public VariantType_Basic
{
public:
    explicit VariantType_long(unsigned id = VVariant::LongLong, const char* name = "long",
                              NumberKind kind = NumberKind::SignedWide)
        : VariantType_Basic(id, name, kind)
    {
    }
};

class VariantType_ulong : public VariantType_long
{
public:
    VariantType_ulong() : VariantType_long(VVariant::ULongLong, "ulong", NumberKind::UnsignedWide)
    {
    }
};

/// Values that own a copy on the heap. Converts to nothing and has no stream form until a subclass
/// says so.
template <class T, unsigned Id>
class VariantType_Heap : public VVariant::ValueType
{
public:
    explicit VariantType_Heap(const char* name) : m_name(name) {}

    const char* name() const override { return m_name; }
    unsigned id() const override { return Id; }
    void assign(const VDataValue& source, VDataValue& target) override
    {
        shareHeap<T>(valueOf(source), valueOf(target));
    }
    void clear(VDataValue* value) override { releaseHeap<T>(valueOf(*value)); }
    void load(QDataStream&, VDataValue& value) override { makeHeap<T>(valueOf(value)); }

protected:
    /// Puts `content` in place of what the value held.
    template <class Content>
    void replace(VDataValue* value, unsigned id, const Content& content)
    {
        clear(value);
        setHeap(valueOf(*value), id, content);
    }

private:
    const char* m_name;
};

template <class T, unsigned Id>
class VariantType_Streamed : public VariantType_Heap<T, Id>
{
public:
    using VariantType_Heap<T, Id>::VariantType_Heap;

    void load(QDataStream& stream, VDataValue& value) override
    {
        stream >> makeHeap<T>(valueOf(value));
    }
    void save(QDataStream& stream, const VDataValue& value) const override
    {
        stream << held<T>(valueOf(value));
    }
};

/// The two kinds of text.
template <class T, unsigned Id>
class VariantType_Text : public VariantType_Streamed<T, Id>
{
public:
    using VariantType_Streamed<T, Id>::VariantType_Streamed;

    bool convertTo(const VDataType* target, VDataValue* value) override
    {
        if (!this->canConvertTo(target))
            return false;
        const unsigned id = idOf(target);
        Value& own = valueOf(*value);
        if (!isTextNumber(id))
            return convertOther(id, value);
        Value number;
        if (numberKind(id) == NumberKind::Real)
            number.real = readNumber<double>(own, nullptr);
        else if (numberKind(id) == NumberKind::SignedWord)
            number.word = readNumber<int>(own, nullptr);
        else
            number.uword = readNumber<unsigned>(own, nullptr);
        this->clear(value);
        own = number;
        own.type = id;
        return true;
    }

protected:
    virtual bool convertOther(unsigned id, VDataValue* value) = 0;
};

QString textOf(const Value& value)
{
    return QString::fromLocal8Bit(held<QCString>(value).data());
}

class VariantType_CString : public VariantType_Text<QCString, VVariant::CString>
{
public:
    VariantType_CString() : VariantType_Text("VCString") {}

    bool canConvertTo(const VDataType* target) const override
    {
        return isTextNumber(idOf(target)) || idOf(target) == VVariant::String;
    }
    int compare(const VVariant& left, const VVariant& right) override
    {
        const QCString first = left.toCString();
        const QCString second = right.toCString();
        return std::strcmp(first.data() ? first.data() : "", second.data() ? second.data() : "");
    }

protected:
    bool convertOther(unsigned id, VDataValue* value) override
    {
        replace(value, id, textOf(valueOf(*value)));
        return true;
    }
};

class VariantType_String : public VariantType_Text<QString, VVariant::String>
{
public:
    VariantType_String() : VariantType_Text("VString") {}

    bool canConvertTo(const VDataType* target) const override
    {
        const unsigned id = idOf(target);
        return isTextNumber(id) || id == VVariant::CString ||
               (id >= VVariant::Date && id <= VVariant::Timestamp);
    }
    int compare(const VVariant& left, const VVariant& right) override
    {
        return left.toString() == right.toString() ? 0 : 1;
    }

protected:
    bool convertOther(unsigned id, VDataValue* value) override
    {
        const Value& own = valueOf(*value);
        if (id == VVariant::CString) {
            const QString& text = held<QString>(own);
            replace(value, id,
                    text.isNull() ? QCString() : QCString(text.toLocal8Bit().constData()));
        } else if (id == VVariant::Date) {
            replace(value, id, readDate<VDate>(own));
        } else if (id == VVariant::Time) {
            replace(value, id, readDate<VTime>(own));
        } else if (id == VVariant::DateTime) {
            replace(value, id, readDate<VDateTime>(own));
        } else {
            replace(value, id, readDate<VTimestamp>(own));
        }
        return true;
    }
};

QString isoText(const VTimestamp& moment)
{
    return moment.toString();
}

template <class Moment>
QString isoText(const Moment& moment)
{
    return moment.toString(Zyl::ISODate);
}

/// Dates and times, which convert to text and among each other where `moment` has the pair.
template <class T, unsigned Id>
class VariantType_Moment : public VariantType_Streamed<T, Id>
{
public:
    using VariantType_Streamed<T, Id>::VariantType_Streamed;

    bool canConvertTo(const VDataType* target) const override
    {
        switch (idOf(target)) {
        case VVariant::String:
            return true;
        case VVariant::Date:
            return Converts<T, VDate>::value;
        case VVariant::Time:
            return Converts<T, VTime>::value;
        case VVariant::DateTime:
            return Converts<T, VDateTime>::value;
        case VVariant::Timestamp:
            return Converts<T, VTimestamp>::value;
        default:
            return false;
        }
    }

    bool convertTo(const VDataType* target, VDataValue* value) override
    {
        if (!canConvertTo(target))
            return false;
        const unsigned id = idOf(target);
        const Value& own = valueOf(*value);
        if (id == VVariant::String)
            this->replace(value, id, isoText(held<T>(own)));
        else if (id == VVariant::Date)
            this->replace(value, id, readDate<VDate>(own));
        else if (id == VVariant::Time)
            this->replace(value, id, readDate<VTime>(own));
        else if (id == VVariant::DateTime)
            this->replace(value, id, readDate<VDateTime>(own));
        else
            this->replace(value, id, readDate<VTimestamp>(own));
        return true;
    }

    int compare(const VVariant& left, const VVariant& right) override
    {
        return readDate<T>(left.value()) == readDate<T>(right.value()) ? 0 : 1;
    }
};

class VariantType_Date : public VariantType_Moment<VDate, VVariant::Date>
{
public:
    VariantType_Date() : VariantType_Moment("VDate") {}
};

class VariantType_Time : public VariantType_Moment<VTime, VVariant::Time>
{
public:
    VariantType_Time() : VariantType_Moment("VTime") {}
};

class VariantType_DateTime : public VariantType_Moment<VDateTime, VVariant::DateTime>
{
public:
    VariantType_DateTime() : VariantType_Moment("VDateTime") {}
};

class VariantType_Timestamp : public VariantType_Moment<VTimestamp, VVariant::Timestamp>
{
public:
    VariantType_Timestamp() : VariantType_Moment("VTimestamp") {}

    // A timestamp comes back from a stream with its id alone.
    void load(QDataStream&, VDataValue& value) override { makeHeap<VTimestamp>(valueOf(value)); }
    void save(QDataStream&, const VDataValue&) const override {}
};

class VariantType_ByteArray : public VariantType_Streamed<QMemArray<char>, VVariant::ByteArray>
{
public:
    VariantType_ByteArray() : VariantType_Streamed("VByteArray") {}
    int compare(const VVariant& left, const VVariant& right) override
    {
        return left.toByteArray() == right.toByteArray() ? 0 : 1;
    }
};

class VariantType_BitArray : public VariantType_Streamed<QBitArray, VVariant::BitArray>
{
public:
    VariantType_BitArray() : VariantType_Streamed("QBitArray") {}
    int compare(const VVariant& left, const VVariant& right) override
    {
        return left.toBitArray() == right.toBitArray() ? 0 : 1;
    }
};

class VariantType_IntegerArray : public VariantType_Heap<math::IntegerArray, VVariant::IntegerArray>
{
public:
    VariantType_IntegerArray() : VariantType_Heap("VIntegerArray") {}
    int compare(const VVariant& left, const VVariant& right) override
    {
        return left.toIntegerArray().isEqual(right.toIntegerArray()) ? 0 : 1;
    }
};

struct BuiltInTypes {
    VariantType_bool boolType;
    VariantType_char charType;
    VariantType_short shortType;
    VariantType_int intType;
    VariantType_uchar ucharType;
    VariantType_ushort ushortType;
    VariantType_uint uintType;
    VariantType_float floatType;
    VariantType_double doubleType;
    VariantType_long longType;
    VariantType_ulong ulongType;
    VariantType_CString cstringType;
    VariantType_String stringType;
    VariantType_ByteArray byteArrayType;
    VariantType_BitArray bitArrayType;
    VariantType_IntegerArray integerArrayType;
    VariantType_Date dateType;
    VariantType_Time timeType;
    VariantType_DateTime dateTimeType;
    VariantType_Timestamp timestampType;
    VariantType_Color colorType;

    // In the order of the ids. The long types share the objects of the int types; the three
    // containers have none.
    const VVariant::ValueType* const byId[VVariant::Color + 1] = {
        nullptr,       &boolType,      &charType,     &shortType,        &intType,   &intType,
        &ucharType,    &ushortType,    &uintType,     &uintType,         &floatType, &doubleType,
        &longType,     &ulongType,     &cstringType,  &stringType,       nullptr,    nullptr,
        nullptr,       &byteArrayType, &bitArrayType, &integerArrayType, &dateType,  &timeType,
        &dateTimeType, &timestampType, &colorType};
};
} // namespace

int varianttypes::orderNumbers(unsigned id, const Value& left, const Value& right)
{
    // The common case: two numbers of this very type.
    if (left.type == id && right.type == id) {
        const NumberKind kind = numberKind(id);
        if (kind == NumberKind::SignedWord)
            return order(left.word, right.word);
        if (kind == NumberKind::Real)
            return order(left.real, right.real);
    }
    switch (id) {
    case VVariant::Bool:
        return order(readBool(left), readBool(right));
    case VVariant::UChar:
    case VVariant::UShort:
    case VVariant::UInt:
    case VVariant::ULong:
        return order(readNumber<unsigned>(left, nullptr), readNumber<unsigned>(right, nullptr));
    case VVariant::Float:
    case VVariant::Double:
        return order(readNumber<double>(left, nullptr), readNumber<double>(right, nullptr));
    case VVariant::LongLong:
        return order(readNumber<qint64>(left, nullptr), readNumber<qint64>(right, nullptr));
    case VVariant::ULongLong:
        return order(readNumber<quint64>(left, nullptr), readNumber<quint64>(right, nullptr));
    default:
        return order(readNumber<int>(left, nullptr), readNumber<int>(right, nullptr));
    }
}

const VVariant::ValueType* varianttypes::builtInType(unsigned id)
{
    // Never destroyed: a variant with static lifetime may go after everything else.
    static const BuiltInTypes& types = *new BuiltInTypes;
    return types.byId[id];
}
