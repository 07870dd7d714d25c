#pragma once

#include "kernel/vuobject.h"

#include <qstring.h>

#include <new>
#include <string_view>
#include <type_traits>

/// How C++ types travel as arguments of signals and slots.
namespace declare
{
/// The name of a class or enum without its namespaces, empty for a template.
template <class T>
constexpr std::string_view unqualifiedName()
{
    std::string_view text = __PRETTY_FUNCTION__; // ends "... T = name]", with GCC "; more]"
    text.remove_prefix(text.find("T = ") + 4);
    text = text.substr(0, text.find_first_of(";]"));
    if (text.find('<') != text.npos)
        return {};
    const auto scope = text.rfind(':');
    return scope == text.npos ? text : text.substr(scope + 1);
}

template <class T>
constexpr bool isNameOf(std::string_view text)
{
    return unqualifiedName<T>().empty() || text == unqualifiedName<T>();
}

/// The class in a pointer's text, "VObject" in "const VObject*".
constexpr std::string_view pointee(std::string_view text)
{
    constexpr std::string_view qualifier = "const ";
    if (text.substr(0, qualifier.size()) == qualifier)
        text.remove_prefix(qualifier.size());
    if (!text.empty() && text.back() == '*')
        text.remove_suffix(1);
    return text;
}

/// Says for an argument type (without reference and const) its `VUType`, how a signature spells it,
/// whether the spelling names a class or enum, whether a value may have something to free, and how
/// it enters and leaves a `VUObject`. A type without a specialisation can't be an argument.
template <class T, class = void>
struct Argument;

/// An argument kept as `Stored` by the type object `Type`.
template <auto* Type, class T, class Stored = T>
struct PlainArgument {
    static constexpr VUType* type = Type;
    static constexpr bool isNamed = false;
    static constexpr bool owns = false;
    static void set(VUObject* o, T value) { Type->set(o, static_cast<Stored>(value)); }
    static T get(VUObject* o) { return static_cast<T>(Type->get(o)); }
};

template <>
struct Argument<bool> : PlainArgument<&static_VUType_bool, bool> {
    static constexpr bool accepts(std::string_view text) { return text == "bool"; }
};

template <>
struct Argument<int> : PlainArgument<&static_VUType_int, int> {
    static constexpr bool accepts(std::string_view text) { return text == "int"; }
};

template <>
struct Argument<double> : PlainArgument<&static_VUType_double, double> {
    static constexpr bool accepts(std::string_view text) { return text == "double"; }
};

template <class T>
struct Argument<T, std::enable_if_t<std::is_enum_v<T>>>
    : PlainArgument<&static_VUType_enum, T, int> {
    static constexpr bool isNamed = true;
    static constexpr bool accepts(std::string_view text) { return isNameOf<T>(text); }
};

template <>
struct Argument<const char*> : PlainArgument<&static_VUType_charstar, const char*> {
    static constexpr bool owns = true;
    static constexpr bool accepts(std::string_view text) { return text == "const char*"; }
};

template <>
struct Argument<VUnknownInterface*> : PlainArgument<&static_VUType_iface, VUnknownInterface*> {
    static constexpr bool accepts(std::string_view text) { return text == "VUnknownInterface*"; }
};

template <>
struct Argument<VDispatchInterface*> : PlainArgument<&static_VUType_idisp, VDispatchInterface*> {
    static constexpr bool accepts(std::string_view text) { return text == "VDispatchInterface*"; }
};

template <class T>
struct Argument<T*> {
    static constexpr VUType* type = &static_VUType_ptr;
    static constexpr bool isNamed = true;
    static constexpr bool owns = false;
    static constexpr bool accepts(std::string_view text)
    {
        return !text.empty() && text.back() == '*' &&
               isNameOf<std::remove_const_t<T>>(pointee(text)) &&
               std::is_const_v<T> == (text.substr(0, 6) == "const ");
    }
    static void set(VUObject* o, T* value) { static_VUType_ptr.set(o, value); }
    static T* get(VUObject* o)
    {
        return static_cast<T*>(const_cast<void*>(static_VUType_ptr.get(o)));
    }
};

/// An argument kept as a copy on the heap.
template <auto* Type, class T>
struct CopiedArgument {
    static constexpr VUType* type = Type;
    static constexpr bool isNamed = false;
    static constexpr bool owns = true;
    static void set(VUObject* o, const T& value) { Type->set(o, value); }
    static const T& get(VUObject* o) { return Type->get(o); }
};

template <>
struct Argument<QString> : CopiedArgument<&static_VUType_VString, QString> {
    static constexpr bool accepts(std::string_view text)
    {
        return text == "const VString&" || text == "VString";
    }
};

template <>
struct Argument<VVariant> : CopiedArgument<&static_VUType_VVariant, VVariant> {
    static constexpr bool accepts(std::string_view text)
    {
        return text == "const VVariant&" || text == "VVariant";
    }
};

template <class T>
using ArgumentOf = Argument<std::remove_cv_t<std::remove_reference_t<T>>>;

/// The array of one call: a place for the result, and the arguments. An argument that is a number
/// or pointer as it was given costs a comparison in the end, and no look at its type.
template <class... As>
class CallFrame
{
public:
    explicit CallFrame(const As&... arguments)
    {
        VUObject* o = new (m_objects) VUObject;
        (ArgumentOf<As>::set(new (++o) VUObject, arguments), ...);
    }
    ~CallFrame()
    {
        VUObject* o = m_objects;
        o->drop();
        (leave<ArgumentOf<As>>(++o), ...);
    }
    CallFrame(const CallFrame&) = delete;
    CallFrame& operator=(const CallFrame&) = delete;

    VUObject* objects() { return m_objects; }

private:
    template <class A>
    static void leave(VUObject* o)
    {
        if (A::owns || o->type != A::type)
            o->drop();
    }

    union {
        VUObject m_objects[sizeof...(As) + 1];
    };
};

/// Makes a value of `Value` from an argument of another type, a default one where the types don't
/// convert.
template <class Value>
[[gnu::cold]] Value convertedArgument(const VUObject* o)
{
    // The array is shared with the receivers that follow, so the conversion works on a copy.
    VUObject copy;
    copy.copyFrom(*o);
    VUType* type = Argument<Value>::type;
    return type->convertFrom(&copy, copy.type) ? Value(Argument<Value>::get(&copy)) : Value();
}

/// Reads an argument of a call, which may be of another type: a connection may join members that
/// don't fit.
template <class T>
inline auto argument(VUObject* o)
{
    using Value = std::remove_cv_t<std::remove_reference_t<T>>;
    if (o->type == Argument<Value>::type)
        return Value(Argument<Value>::get(o));
    return convertedArgument<Value>(o);
}
} // namespace declare
