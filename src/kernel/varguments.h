#pragma once

#include "kernel/vuobject.h"

#include <qstring.h>

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
/// which part of the spelling names a class or enum, and how it enters and leaves a `VUObject`. A
/// type without a specialisation can't be an argument.
template <class T, class = void>
struct Argument;

/// An argument kept as `Stored` by the type object `Type`.
template <auto* Type, class T, class Stored = T>
struct PlainArgument {
    static constexpr VUType* type = Type;
    static constexpr bool isNamed = false;
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

/// Reads an argument of a call. A connection may join members that don't fit: what the sender gave
/// is then converted where the types know how, and a default stands in where they don't.
template <class T>
auto argument(VUObject* o)
{
    using Value = std::remove_cv_t<std::remove_reference_t<T>>;
    using As = Argument<Value>;
    if (o->type == As::type)
        return Value(As::get(o));
    // The array is shared with the receivers that follow, so the conversion works on a copy.
    VUObject copy;
    copy.copyFrom(*o);
    return As::type->convertFrom(&copy, copy.type) ? Value(As::get(&copy)) : Value();
}
} // namespace declare
