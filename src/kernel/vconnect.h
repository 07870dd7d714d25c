#pragma once

#include "kernel/varguments.h"
#include "kernel/vmetaobject.h"
#include "kernel/vobject.h"

#include <functional>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>

/// A connection that the compiler has checked, and that ends with this object.
///
///     VScopedConnection link(&clock, &Clock::ticked, &display, &Display::show);
///     VScopedConnection log(&clock, &Clock::ticked, [](int second) { ... });
///
/// The function may take fewer arguments than the signal gives: the leading ones. It stands in the
/// signal's list with the slots connected by text, and is called in its turn. The connection also
/// ends with the sender, with the receiver, and with a `VObject::disconnect` that covers them.
class ZYL_EXPORT VScopedConnection
{
public:
    VScopedConnection() = default;

    /// Calls `function`, anything that can be called, for as long as the sender lives.
    template <class Sender, class Class, class... Parameters, class Function>
    VScopedConnection(const Sender* sender, void (Class::*signal)(Parameters...), Function function)
        : VScopedConnection(sender, signal, sender, std::move(function))
    {
    }

    /// Calls `function` for as long as `receiver` lives too, which is where it works.
    template <class Sender, class Class, class... Parameters, class Function>
    VScopedConnection(const Sender* sender, void (Class::*signal)(Parameters...),
                      const VObject* receiver, Function function)
    {
        static_assert(std::is_base_of_v<Class, Sender>, "the sender has no such signal");
        connect(sender, sender ? Class::staticMetaObject() : nullptr, typeid(signal), &signal,
                receiver, new Call<Function, Parameters...>(std::move(function)));
    }

    /// Calls a member function of the receiver.
    template <class Sender, class Class, class... Parameters, class Receiver, class Result,
              class ReceiverClass, class... Taken>
    VScopedConnection(const Sender* sender, void (Class::*signal)(Parameters...),
                      Receiver* receiver, Result (ReceiverClass::*member)(Taken...))
        : VScopedConnection(sender, signal, static_cast<const VObject*>(receiver),
                            [receiver, member](Taken... arguments) {
                                (receiver->*member)(std::forward<Taken>(arguments)...);
                            })
    {
    }

    VScopedConnection(VScopedConnection&& other) noexcept = default;
    VScopedConnection& operator=(VScopedConnection&& other) noexcept
    {
        disconnect();
        m_call = std::move(other.m_call);
        return *this;
    }
    ~VScopedConnection() { disconnect(); }

    bool isConnected() const { return m_call.get() && m_call.get()->sender(); }

    void disconnect();

    /// Leaves the connection to its two ends.
    void release() { m_call = VConnectedCallHold(); }

private:
    template <class Function, class... Parameters>
    class Call;

    void connect(const VObject* sender, const VMetaObject* senderClass, const std::type_info& type,
                 const void* signal, const VObject* receiver, VConnectedCall* call);

    VConnectedCallHold m_call;
};

template <class Function, class... Parameters>
class VScopedConnection::Call : public VConnectedCall
{
public:
    explicit Call(Function function) : m_function(std::move(function)) {}

    void call(VUObject* o) override { callLeading(o, std::make_index_sequence<taken()>()); }

private:
    using Values = std::tuple<std::remove_cv_t<std::remove_reference_t<Parameters>>...>;

    template <std::size_t... Is>
    static constexpr bool takes(std::index_sequence<Is...>)
    {
        return std::is_invocable_v<Function&, std::tuple_element_t<Is, Values>...>;
    }

    /// How many of the leading arguments the function takes: as many as it can.
    template <std::size_t N = sizeof...(Parameters)>
    static constexpr std::size_t taken()
    {
        if constexpr (takes(std::make_index_sequence<N>())) {
            return N;
        } else {
            static_assert(N > 0, "the function takes no leading part of the signal's arguments");
            return taken<N - 1>();
        }
    }

    template <std::size_t... Is>
    void callLeading([[maybe_unused]] VUObject* o, std::index_sequence<Is...>)
    {
        std::invoke(m_function, declare::argument<std::tuple_element_t<Is, Values>>(o + 1 + Is)...);
    }

    Function m_function;
};
