#pragma once

#include "kernel/vvariant.h"
#include "tools/vdatetime.h"
#include "tools/vtimestamp.h"

#include <atomic>
#include <cmath>
#include <limits>
#include <type_traits>

/// What `VVariant` and its built-in type objects share.
namespace varianttypes
{
using Value = VVariant::Value;

/// How a number lies in the value. A bool counts as unsigned, so that it widens with zeroes.
enum class NumberKind { None, SignedWord, UnsignedWord, Real, SignedWide, UnsignedWide };

inline NumberKind numberKind(unsigned type)
{
    switch (type) {
    case VVariant::Char:
    case VVariant::Short:
    case VVariant::Int:
    case VVariant::Long:
        return NumberKind::SignedWord;
    case VVariant::Bool:
    case VVariant::UChar:
    case VVariant::UShort:
    case VVariant::UInt:
    case VVariant::ULong:
        return NumberKind::UnsignedWord;
    case VVariant::Float:
    case VVariant::Double:
        return NumberKind::Real;
    case VVariant::LongLong:
        return NumberKind::SignedWide;
    case VVariant::ULongLong:
        return NumberKind::UnsignedWide;
    default:
        return NumberKind::None;
    }
}

/// What a value on the heap lies in. A variant never changes what it holds, so copies share one
/// box; the count is atomic since a posted call may end on another thread than it came from.
template <class T>
struct Box : T {
    Box() = default;
    explicit Box(const T& content) : T(content) {}

    std::atomic<int> references{1};
};

template <class T>
Box<T>* boxOf(const Value& value)
{
    return static_cast<Box<T>*>(static_cast<T*>(value.pointer));
}

template <class T>
void setHeap(Value& value, unsigned type, const T& content)
{
    value.pointer = static_cast<T*>(new Box<T>(content));
    value.type = type;
}

/// Gives the value an empty content of its own, to be read into.
template <class T>
T& makeHeap(Value& value)
{
    T* content = new Box<T>;
    value.pointer = content;
    return *content;
}

template <class T>
void shareHeap(const Value& source, Value& target)
{
    boxOf<T>(source)->references.fetch_add(1, std::memory_order_relaxed);
    target = source;
}

template <class T>
void releaseHeap(const Value& value)
{
    Box<T>* box = boxOf<T>(value);
    if (box->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete box;
}

inline bool isNumber(unsigned id)
{
    return id >= VVariant::Bool && id <= VVariant::ULongLong;
}

/// False for all but the numbers.
inline bool readBool(const Value& value)
{
    switch (numberKind(value.type)) {
    case NumberKind::SignedWord:
    case NumberKind::UnsignedWord:
        return value.word != 0;
    case NumberKind::Real:
        return value.real != 0.0;
    case NumberKind::SignedWide:
    case NumberKind::UnsignedWide:
        return value.wide != 0;
    case NumberKind::None:
        break;
    }
    return false;
}

template <class T>
const T& held(const Value& value)
{
    return *static_cast<const T*>(value.pointer);
}

/// The number truncated towards zero and held at the ends of the range; NaN is 0.
template <class Integer>
Integer truncated(double number)
{
    if constexpr (std::is_unsigned_v<Integer>)
        if (number < 0)
            return static_cast<Integer>(truncated<std::make_signed_t<Integer>>(number));
    if (std::isnan(number))
        return 0;
    // The upper end itself may not be a double; one past it, a power of two, always is.
    constexpr double past = 2.0 * double(Integer(1) << (std::numeric_limits<Integer>::digits - 1));
    if (number >= past)
        return std::numeric_limits<Integer>::max();
    if (number <= double(std::numeric_limits<Integer>::min()))
        return std::numeric_limits<Integer>::min();
    return static_cast<Integer>(number);
}

inline int textNumber(const QString& text, bool* ok, int)
{
    return text.toInt(ok);
}
inline unsigned textNumber(const QString& text, bool* ok, unsigned)
{
    return text.toUInt(ok);
}
inline qint64 textNumber(const QString& text, bool* ok, qint64)
{
    return text.toLongLong(ok);
}
inline quint64 textNumber(const QString& text, bool* ok, quint64)
{
    return text.toULongLong(ok);
}
inline double textNumber(const QString& text, bool* ok, double)
{
    return text.toDouble(ok);
}

/// The held number or text as a number; see `VVariant::toInt`.
template <class Number>
Number readNumber(const Value& value, bool* ok)
{
    if (ok)
        *ok = true;
    switch (numberKind(value.type)) {
    case NumberKind::SignedWord:
        return static_cast<Number>(value.word);
    case NumberKind::UnsignedWord:
        return static_cast<Number>(value.uword);
    case NumberKind::Real:
        if constexpr (std::is_floating_point_v<Number>)
            return value.real;
        else
            return truncated<Number>(value.real);
    case NumberKind::SignedWide:
        return static_cast<Number>(value.wide);
    case NumberKind::UnsignedWide:
        return static_cast<Number>(value.uwide);
    case NumberKind::None:
        break;
    }
    if (value.type == VVariant::CString)
        return textNumber(QString::fromLatin1(held<QCString>(value).data()), ok, Number());
    if (value.type == VVariant::String)
        return textNumber(held<QString>(value), ok, Number());
    if (ok)
        *ok = false;
    return 0;
}

// From one kind of moment to another; a pair that is not here has no conversion.
inline void moment(const VDate& from, VDate& to)
{
    to = from;
}
inline void moment(const VDate& from, VDateTime& to)
{
    to = VDateTime(from);
}
inline void moment(const VDate& from, VTimestamp& to)
{
    to = VTimestamp(from);
}
inline void moment(const VTime& from, VTime& to)
{
    to = from;
}
inline void moment(const VDateTime& from, VDate& to)
{
    to = from.date();
}
inline void moment(const VDateTime& from, VTime& to)
{
    to = from.time();
}
inline void moment(const VDateTime& from, VDateTime& to)
{
    to = from;
}
inline void moment(const VDateTime& from, VTimestamp& to)
{
    to = VTimestamp(from.date(), from.time(), 0);
}
inline void moment(const VTimestamp& from, VDate& to)
{
    to = from.date();
}
inline void moment(const VTimestamp& from, VTime& to)
{
    to = from.time();
}
inline void moment(const VTimestamp& from, VDateTime& to)
{
    to = VDateTime(from.date(), from.time());
}
inline void moment(const VTimestamp& from, VTimestamp& to)
{
    to = from;
}
inline void moment(const QString& from, VTimestamp& to)
{
    to = VTimestamp::fromString(from);
}
template <class Moment>
void moment(const QString& from, Moment& to)
{
    to = Moment::fromString(from, Zyl::ISODate);
}

template <class From, class To, class = void>
struct Converts : std::false_type {
};
template <class From, class To>
struct Converts<From, To,
                std::void_t<decltype(moment(std::declval<const From&>(), std::declval<To&>()))>>
    : std::true_type {
};

template <class To, class From>
void readMoment(const Value& value, To& to)
{
    if constexpr (Converts<From, To>::value)
        moment(held<From>(value), to);
}

/// The held moment or text as a `Moment`, which is null when the pair has no conversion.
template <class Moment>
Moment readDate(const Value& value)
{
    Moment result;
    switch (value.type) {
    case VVariant::String:
        readMoment<Moment, QString>(value, result);
        break;
    case VVariant::Date:
        readMoment<Moment, VDate>(value, result);
        break;
    case VVariant::Time:
        readMoment<Moment, VTime>(value, result);
        break;
    case VVariant::DateTime:
        readMoment<Moment, VDateTime>(value, result);
        break;
    case VVariant::Timestamp:
        readMoment<Moment, VTimestamp>(value, result);
        break;
    default:
        break;
    }
    return result;
}

/// The order of two numbers read as the number type `id`: -1, 0 or 1.
int orderNumbers(unsigned id, const Value& left, const Value& right);

/// The built-in type object for an id, null for one without.
const VVariant::ValueType* builtInType(unsigned id);
} // namespace varianttypes
