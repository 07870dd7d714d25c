#pragma once

#include "kernel/varguments.h"
#include "kernel/vmetaobject.h"
#include "kernel/vobject.h"

#include <cstddef>
#include <cstdlib>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>

/// Builds the tables of a class from its member functions, checked while they are compiled; see
/// docs/declaring-classes.md for a whole class. All tables are constants without code at start.
namespace declare
{
/// What can be wrong with a row; the first one found counts.
enum class Fault {
    None,
    NotNormalised, // blanks that normalising takes away
    NotASignature, // something else than name(types)
    ParameterCount,
    ParameterType // a text that does not name the parameter's type
};

constexpr bool isIdentifierCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

constexpr bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Whether normalising leaves the text as it is: only single blanks, each between two letters,
/// digits or underscores.
constexpr bool isNormalised(std::string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i)
        if (isSpace(text[i]) &&
            (text[i] != ' ' || i == 0 || i + 1 == text.size() ||
             !isIdentifierCharacter(text[i - 1]) || !isIdentifierCharacter(text[i + 1])))
            return false;
    return true;
}

template <class Function>
struct MemberTraits;

template <class C, class R, class... As>
struct MemberTraits<R (C::*)(As...)> {
    using Class = C;
    using Result = R;
    using Arguments = std::tuple<std::remove_cv_t<std::remove_reference_t<As>>...>;
    static constexpr int count = sizeof...(As);
    static constexpr bool hasResult = !std::is_void_v<R>;
};

template <class C, class R, class... As>
struct MemberTraits<R (C::*)(As...) const> : MemberTraits<R (C::*)(As...)> {
};

/// Picks one of several overloaded functions by its parameters: `overload<int>(&Clock::ticked)`.
template <class... As>
struct Overload {
    template <class C, class R>
    constexpr auto operator()(R (C::*member)(As...)) const
    {
        return member;
    }
};
template <class... As>
inline constexpr Overload<As...> overload{};

/// Calls `next` with each text between the commas of a signature's parameter list, in order.
template <class Next>
constexpr void eachParameter(std::string_view signature, Next next)
{
    const auto open = signature.find('(');
    std::string_view list = signature.substr(open + 1, signature.size() - open - 2);
    while (!list.empty()) {
        const auto comma = list.find(',');
        next(list.substr(0, comma));
        list.remove_prefix(comma == list.npos ? list.size() : comma + 1);
    }
}

constexpr bool isSignature(std::string_view text)
{
    const auto open = text.find('(');
    if (open == text.npos || open == 0 || text.find(')') != text.size() - 1 ||
        text[open - 1] == ' ' || (text[0] >= '0' && text[0] <= '9'))
        return false;
    for (const char c : text.substr(0, open))
        if (!isIdentifierCharacter(c))
            return false;
    const std::string_view list = text.substr(open + 1, text.size() - open - 2);
    return list.empty() ||
           (list.front() != ',' && list.back() != ',' && list.find(",,") == list.npos);
}

/// Whether each text in a parameter list names the type that stands there.
template <class... As>
constexpr bool acceptsTexts(std::string_view signature, std::tuple<As...>*)
{
    constexpr bool (*accepts[])(std::string_view) = {&Argument<As>::accepts..., nullptr};
    bool fits = true;
    int i = 0;
    eachParameter(signature, [&](std::string_view text) { fits = accepts[i++](text) && fits; });
    return fits;
}

template <class Function>
constexpr Fault fault(std::string_view signature)
{
    using Traits = MemberTraits<Function>;
    if (!isNormalised(signature))
        return Fault::NotNormalised;
    if (!isSignature(signature))
        return Fault::NotASignature;
    int count = 0;
    eachParameter(signature, [&count](std::string_view) { ++count; });
    if (count != Traits::count)
        return Fault::ParameterCount;
    const bool fits = acceptsTexts(signature, static_cast<typename Traits::Arguments*>(nullptr));
    return fits ? Fault::None : Fault::ParameterType;
}

// Not constants: a table with a fault does not compile, and the name of the function tells why.
[[noreturn]] inline void signatureIsNotNormalised()
{
    std::abort();
}
[[noreturn]] inline void textIsNotASignature()
{
    std::abort();
}
[[noreturn]] inline void parameterCountDiffersFromFunction()
{
    std::abort();
}
[[noreturn]] inline void parameterTextDiffersFromFunction()
{
    std::abort();
}
[[noreturn]] inline void signatureStandsTwice()
{
    std::abort();
}

template <class Function>
constexpr void check(std::string_view signature)
{
    switch (fault<Function>(signature)) {
    case Fault::None:
        break;
    case Fault::NotNormalised:
        signatureIsNotNormalised();
    case Fault::NotASignature:
        textIsNotASignature();
    case Fault::ParameterCount:
        parameterCountDiffersFromFunction();
    case Fault::ParameterType:
        parameterTextDiffersFromFunction();
    }
}

/// One member function and its signature.
template <auto Function, std::size_t N>
struct Member {
    using Traits = MemberTraits<decltype(Function)>;
    static constexpr auto function = Function;
    static constexpr std::size_t textSize = N;
    static constexpr int parameterCount = Traits::count + Traits::hasResult;

    const char (&signature)[N];
    int access;
    bool (*isMember)(const std::type_info&, const void*);
};

template <auto Function>
bool isMember(const std::type_info& type, const void* member)
{
    return type == typeid(Function) && *static_cast<const decltype(Function)*>(member) == Function;
}

template <auto Function, std::size_t N>
constexpr Member<Function, N> slot(const char (&signature)[N])
{
    return {signature, VMetaData::Public, nullptr};
}

template <auto Function, std::size_t N>
constexpr Member<Function, N> privateSlot(const char (&signature)[N])
{
    return {signature, VMetaData::Private, nullptr};
}

template <auto Function, std::size_t N>
constexpr Member<Function, N> signal(const char (&signature)[N])
{
    return {signature, VMetaData::Public, &isMember<Function>};
}

/// Emits a signal of `sender`, by its global index.
template <class... As>
void send(VObject* sender, int signal, const As&... arguments)
{
    if (sender->signalsBlocked())
        return;
    VConnectionList* list = sender->receivers(signal);
    if (!list)
        return;
    CallFrame<As...> frame(arguments...);
    sender->activate_signal(list, frame.objects());
}

/// The constant tables of a class's slots, or of its signals, built from `slot` and `signal` rows.
template <class... Members>
class Methods
{
public:
    static constexpr int count = sizeof...(Members);

    constexpr explicit Methods(Members... members) { (add(members), ...); }

    constexpr const VMetaData* rows() const { return m_rows; }

    /// The row of a function.
    template <auto Function>
    static constexpr int rowOf()
    {
        int row = 0;
        bool found = false;
        ((found = found || isSame<Function, Members::function>(), row += !found), ...);
        return row;
    }

protected:
    /// Calls the function of a row. False when there is no such row.
    template <class Class>
    bool callRow(Class* self, int row, VUObject* o) const
    {
        constexpr void (*calls[])(Class*, VUObject*) = {&call<Class, Members::function>...};
        if (unsigned(row) >= unsigned(count))
            return false;
        calls[row](self, o);
        return true;
    }

private:
    template <auto A, auto B>
    static constexpr bool isSame()
    {
        return std::is_same_v<std::integral_constant<decltype(A), A>,
                              std::integral_constant<decltype(B), B>>;
    }

    template <class Class, auto Function>
    static void call(Class* self, VUObject* o)
    {
        using Traits = MemberTraits<decltype(Function)>;
        callUnpacked<Function>(self, o, static_cast<typename Traits::Arguments*>(nullptr),
                               std::make_index_sequence<std::size_t(Traits::count)>());
    }

    template <auto Function, class Class, class... As, std::size_t... Is>
    static void callUnpacked(Class* self, VUObject* o, std::tuple<As...>*,
                             std::index_sequence<Is...>)
    {
        using Result = typename MemberTraits<decltype(Function)>::Result;
        if constexpr (std::is_void_v<Result>)
            (self->*Function)(argument<As>(o + 1 + Is)...);
        else
            ArgumentOf<Result>::set(o, (self->*Function)(argument<As>(o + 1 + Is)...));
    }

    template <auto Function, std::size_t N>
    constexpr void add(const Member<Function, N>& member)
    {
        using Traits = MemberTraits<decltype(Function)>;
        const std::string_view signature(member.signature, N - 1);
        check<decltype(Function)>(signature);
        for (int i = 0; i < m_row; ++i)
            if (signature == m_rows[i].name)
                signatureStandsTwice();

        const char* text = cut(signature);
        m_methods[m_row] = {text, Traits::count + Traits::hasResult, m_parameters + m_parameter};
        if constexpr (Traits::hasResult)
            addParameter<typename Traits::Result>(nullptr, VUParameter::Out);
        addParameters(signature, text, static_cast<typename Traits::Arguments*>(nullptr));
        m_rows[m_row] = {member.signature, &m_methods[m_row], member.access, member.isMember};
        ++m_row;
    }

    template <class... As>
    constexpr void addParameters(std::string_view signature, const char* text, std::tuple<As...>*)
    {
        const char* names[sizeof...(As) + 1] = {};
        int i = 0;
        eachParameter(signature, [&](std::string_view parameter) {
            names[i++] = text + (pointee(parameter).data() - signature.data());
        });
        i = 0;
        (addParameter<As>(names[i++], VUParameter::In), ...);
    }

    template <class A>
    constexpr void addParameter(const char* text, int direction)
    {
        m_parameters[m_parameter++] = {nullptr, ArgumentOf<A>::type,
                                       ArgumentOf<A>::isNamed ? text : nullptr, direction};
    }

    /// Copies a signature with a zero in place of each "(", ",", "*" and ")", so that it reads as a
    /// run of names.
    constexpr const char* cut(std::string_view signature)
    {
        const char* const text = m_text + m_textSize;
        for (const char c : signature)
            m_text[m_textSize++] = c == '(' || c == ',' || c == '*' || c == ')' ? '\0' : c;
        m_text[m_textSize++] = '\0';
        return text;
    }

    // The rows point into these arrays, so a table stays where it was made.
    Methods(const Methods&) = delete;
    Methods& operator=(const Methods&) = delete;

    VMetaData m_rows[count] = {};
    VUMethod m_methods[count] = {};
    VUParameter m_parameters[(Members::parameterCount + ... + 1)] = {};
    char m_text[(Members::textSize + ... + 0)] = {};
    int m_row = 0;
    int m_parameter = 0;
    std::size_t m_textSize = 0;
};

template <class... Members>
class Slots : public Methods<Members...>
{
public:
    using Methods<Members...>::Methods;

    /// Calls the slot of a global index. False when it is none of this table.
    template <class Class>
    bool invoke(Class* self, int id, VUObject* o) const
    {
        return this->callRow(self, id - Class::staticMetaObject()->slotOffset(), o);
    }
};
template <class... Members>
Slots(Members...) -> Slots<Members...>;

template <class... Members>
class Signals : public Methods<Members...>
{
public:
    using Methods<Members...>::Methods;

    /// Emits the signal of a global index with the arguments in `o`. False when it is none of this
    /// table.
    template <class Class>
    bool invoke(Class* self, int id, VUObject* o) const
    {
        return this->callRow(self, id - Class::staticMetaObject()->signalOffset(), o);
    }

    /// Emits the signal whose emitting function this is.
    template <auto Function, class Class, class... As>
    void send(Class* self, const As&... arguments) const
    {
        static_assert(
            std::is_same_v<typename MemberTraits<decltype(Function)>::Arguments, std::tuple<As...>>,
            "the arguments are not those of the signal");
        constexpr int row = Methods<Members...>::template rowOf<Function>();
        static_assert(row < Methods<Members...>::count, "the signal is not in the table");
        declare::send(self, Class::staticMetaObject()->signalOffset() + row, arguments...);
    }
};
template <class... Members>
Signals(Members...) -> Signals<Members...>;

template <class... Rows>
class Properties; // kernel/vproperties.h

/// The tables given to a meta-object, each of them optional.
struct Tables {
    const VMetaData* slotTable = nullptr;
    int nSlots = 0;
    const VMetaData* signalTable = nullptr;
    int nSignals = 0;
    const VMetaProperty* properties = nullptr;
    int nProperties = 0;
    const VMetaEnum* enums = nullptr;
    int nEnums = 0;
    const VClassInfo* info = nullptr;
    int nInfo = 0;

    template <class... Members>
    void add(const Slots<Members...>& table)
    {
        slotTable = table.rows();
        nSlots = table.count;
    }
    template <class... Members>
    void add(const Signals<Members...>& table)
    {
        signalTable = table.rows();
        nSignals = table.count;
    }
    template <class... Rows>
    void add(const Properties<Rows...>& table)
    {
        properties = table.rows();
        nProperties = table.count;
    }
    template <std::size_t N>
    void add(const VMetaEnum (&table)[N])
    {
        enums = table;
        nEnums = int(N);
    }
    template <std::size_t N>
    void add(const VClassInfo (&table)[N])
    {
        info = table;
        nInfo = int(N);
    }
};

/// Makes a class's meta-object from whichever tables it has, in any order.
template <class... Given>
[[gnu::cold]] VMetaObject* metaObject(const char* className, const VMetaObject* superclass,
                                      const Given&... given)
{
    Tables t;
    (t.add(given), ...);
    return VMetaObject::new_metaobject(className, superclass, t.slotTable, t.nSlots, t.signalTable,
                                       t.nSignals, t.properties, t.nProperties, t.enums, t.nEnums,
                                       t.info, t.nInfo);
}
} // namespace declare
