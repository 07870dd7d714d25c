#pragma once

#include "kernel/vdeclare.h"
#include "kernel/vvariant.h"
#include "tools/vcolor.h"
#include "tools/vdatetime.h"
#include "tools/vtimestamp.h"

/// The property tables of classes; see docs/declaring-classes.md.
namespace declare
{
/// For a type that a property may have: the id and name of its variant, and the reader of that. A
/// type without a specialisation can't be a property.
template <class T>
struct PropertyType;

template <VVariant::Type Id>
struct PropertyId {
    static constexpr unsigned id = Id;
};

template <>
struct PropertyType<bool> : PropertyId<VVariant::Bool> {
    static constexpr const char* name = "bool";
    static bool read(const VVariant& v) { return v.toBool(); }
};
template <>
struct PropertyType<int> : PropertyId<VVariant::Int> {
    static constexpr const char* name = "int";
    static int read(const VVariant& v) { return v.toInt(); }
};
template <>
struct PropertyType<unsigned> : PropertyId<VVariant::UInt> {
    static constexpr const char* name = "uint";
    static unsigned read(const VVariant& v) { return v.toUInt(); }
};
template <>
struct PropertyType<float> : PropertyId<VVariant::Float> {
    static constexpr const char* name = "float";
    static float read(const VVariant& v) { return float(v.toDouble()); }
};
template <>
struct PropertyType<double> : PropertyId<VVariant::Double> {
    static constexpr const char* name = "double";
    static double read(const VVariant& v) { return v.toDouble(); }
};
template <>
struct PropertyType<long long> : PropertyId<VVariant::LongLong> {
    static constexpr const char* name = "long";
    static long long read(const VVariant& v) { return v.toLongInt(); }
};
template <>
struct PropertyType<QCString> : PropertyId<VVariant::CString> {
    static constexpr const char* name = "VCString";
    static QCString read(const VVariant& v) { return v.toCString(); }
};
template <>
struct PropertyType<QString> : PropertyId<VVariant::String> {
    static constexpr const char* name = "VString";
    static QString read(const VVariant& v) { return v.toString(); }
};
template <>
struct PropertyType<VDate> : PropertyId<VVariant::Date> {
    static constexpr const char* name = "VDate";
    static VDate read(const VVariant& v) { return v.toDate(); }
};
template <>
struct PropertyType<VTime> : PropertyId<VVariant::Time> {
    static constexpr const char* name = "VTime";
    static VTime read(const VVariant& v) { return v.toTime(); }
};
template <>
struct PropertyType<VDateTime> : PropertyId<VVariant::DateTime> {
    static constexpr const char* name = "VDateTime";
    static VDateTime read(const VVariant& v) { return v.toDateTime(); }
};
template <>
struct PropertyType<VTimestamp> : PropertyId<VVariant::Timestamp> {
    static constexpr const char* name = "VTimestamp";
    static VTimestamp read(const VVariant& v) { return v.toTimestamp(); }
};
template <>
struct PropertyType<VColor> : PropertyId<VVariant::Color> {
    static constexpr const char* name = "VColor";
    static VColor read(const VVariant& v) { return v.toColor(); }
};

template <class T>
VVariant toVariant(const T& value)
{
    if constexpr (std::is_same_v<T, bool>)
        return VVariant(value, 0);
    else if constexpr (std::is_enum_v<T>)
        return VVariant(int(value));
    else
        return VVariant(value);
}

/// One property: how it is read, and unless these are null how it is written and reset.
template <auto Get, auto Set, auto Reset>
struct Property {
    using Value =
        std::remove_cv_t<std::remove_reference_t<typename MemberTraits<decltype(Get)>::Result>>;
    static constexpr bool isWritable = !std::is_null_pointer_v<decltype(Set)>;
    static constexpr bool isResettable = !std::is_null_pointer_v<decltype(Reset)>;
    static constexpr unsigned accessFlags =
        VMetaProperty::Readable |
        (isWritable ? unsigned(VMetaProperty::Writable) | VMetaProperty::StdSet : 0);

    const char* type;
    const char* name;
    unsigned flags;
    const VMetaEnum* enumerator;

    template <class Class>
    static bool operate(Class* self, int, int operation, VVariant* value)
    {
        if (operation == 1) {
            *value = toVariant<Value>((self->*Get)());
            return true;
        }
        if constexpr (isWritable)
            if (operation == 0)
                return set(self, value);
        if constexpr (isResettable)
            if (operation == 2) {
                (self->*Reset)();
                return true;
            }
        return false;
    }

private:
    template <class Class>
    static bool set(Class* self, VVariant* value)
    {
        if constexpr (std::is_enum_v<Value>) {
            (self->*Set)(static_cast<Value>(value->toInt()));
        } else {
            constexpr unsigned id = PropertyType<Value>::id;
            if (value->type() != id && !value->convertTo(id))
                return false;
            (self->*Set)(PropertyType<Value>::read(*value));
        }
        return true;
    }
};

/// A property of a superclass that this class describes anew; reading and writing stay there.
struct OverridingProperty {
    const char* type;
    const char* name;
    unsigned flags;
    const VMetaEnum* enumerator;

    template <class Class>
    static bool operate(Class* self, int id, int operation, VVariant* value)
    {
        const int resolved = Class::staticMetaObject()->resolveProperty(id);
        return resolved >= 0 && self->property_op(resolved, operation, value);
    }
};

/// A property; its type is that of the getter's result. `flags` adds bits of `VMetaProperty::Flag`.
template <auto Get, auto Set = nullptr, auto Reset = nullptr>
constexpr auto property(const char* name, unsigned flags = 0)
{
    using Row = Property<Get, Set, Reset>;
    using Type = PropertyType<typename Row::Value>;
    return Row{Type::name, name, flags | Row::accessFlags | Type::id << 16, nullptr};
}

/// A property whose values have the keys of an enum or set; the getter gives the enum or an `int`.
template <auto Get, auto Set = nullptr, auto Reset = nullptr>
constexpr auto property(const char* name, const VMetaEnum& enumerator, unsigned flags = 0)
{
    using Row = Property<Get, Set, Reset>;
    return Row{enumerator.name, name, flags | Row::accessFlags | VMetaProperty::EnumOrSet,
               &enumerator};
}

/// The same, with an enum that stands in another table of this class or its superclasses.
template <auto Get, auto Set = nullptr, auto Reset = nullptr>
constexpr auto enumProperty(const char* name, const char* enumName, unsigned flags = 0)
{
    using Row = Property<Get, Set, Reset>;
    return Row{enumName, name,
               flags | Row::accessFlags | VMetaProperty::EnumOrSet | VMetaProperty::UnresolvedEnum,
               nullptr};
}

/// Describes a superclass's property anew, with the type name that it has there.
constexpr OverridingProperty overriding(const char* type, const char* name, unsigned flags)
{
    return {type, name, flags | VMetaProperty::Override, nullptr};
}

[[noreturn]] inline void propertyStandsTwice()
{
    std::abort();
}

/// A class's constant table of properties. `owner` is the address of the class's meta-object
/// pointer.
template <class... Rows>
class Properties
{
public:
    static constexpr int count = sizeof...(Rows);

    constexpr explicit Properties(VMetaObject* const* owner, Rows... rows)
        : m_rows{VMetaProperty{rows.type, rows.name, rows.flags, owner, rows.enumerator}...}
    {
        for (int i = 0; i < count; ++i)
            for (int j = 0; j < i; ++j)
                if (std::string_view(m_rows[i].propertyName) == m_rows[j].propertyName)
                    propertyStandsTwice();
    }

    constexpr const VMetaProperty* rows() const { return m_rows; }

    /// Sets, gets or resets the property of a global index. False when it is none of this table, or
    /// when it can't be.
    template <class Class>
    bool operate(Class* self, int id, int operation, VVariant* value) const
    {
        constexpr bool (*operations[])(Class*, int, int,
                                       VVariant*) = {&Rows::template operate<Class>...};
        const int row = id - Class::staticMetaObject()->propertyOffset();
        return unsigned(row) < unsigned(count) && operations[row](self, id, operation, value);
    }

private:
    VMetaProperty m_rows[count];
};
template <class... Rows>
Properties(VMetaObject* const*, Rows...) -> Properties<Rows...>;
} // namespace declare
