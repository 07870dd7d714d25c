#pragma once

#include "toolkit/zylexport.h"

#include <functional>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

class VObject;
class VPostChannel;

/// Whether an object still lives. Read and written by the thread of the object alone.
class ZYL_EXPORT VPostLife
{
public:
    /// The one record of `object`, which ends in the object's destructor.
    static std::shared_ptr<VPostLife> of(VObject* object);
    static void end(const VObject* object);

    bool isOver() const { return m_over; }

private:
    bool m_over = false;
};

/// The door through which other threads reach the objects of one thread.
///
/// The thread that makes the queue owns it. Every thread may post calls, and the owner makes them
/// when it asks for it with `deliver`, in the order in which they came; those of one thread keep
/// their order. Posting takes no lock.
///
///     VPostQueue queue;                                    // the kernel's thread
///     VPostAddress<Display> display(queue, &widget);
///     ...
///     display.post(&Display::show, channel, value);        // any thread: a slot, or with the
///     emitting
///                                                          // function a signal
///     ...
///     queue.deliver();                                     // the kernel's thread
class ZYL_EXPORT VPostQueue
{
public:
    /// `wake` is called by a posting thread when the queue has stopped being empty, to have the
    /// owner deliver: it may write to a pipe or post to a window's event loop.
    explicit VPostQueue(std::function<void()> wake = {});

    /// Drops what has not been delivered, and what is posted afterwards to its addresses.
    ~VPostQueue();
    VPostQueue(const VPostQueue&) = delete;
    VPostQueue& operator=(const VPostQueue&) = delete;

    /// Has `call()` made by the owner.
    template <class Call>
    void post(Call call);

    /// Makes the calls that are there; those that come meanwhile wait for the next time. Returns
    /// how many were made. A call may deliver too, or destroy the queue. Warns and returns 0 in
    /// another thread.
    int deliver();

    bool isEmpty() const;

private:
    template <class Class>
    friend class VPostAddress;

    std::shared_ptr<VPostChannel> m_channel;
};

/// A call on its way. Returns false when there is nobody left to call.
class ZYL_EXPORT VPostedCall
{
public:
    virtual bool call() = 0;
    virtual ~VPostedCall();

private:
    friend class VPostChannel;

    VPostedCall* m_next = nullptr;
};

/// Takes over a call; deletes it when the queue is gone. Returns whether it is on its way.
ZYL_EXPORT bool vPost(VPostChannel& channel, VPostedCall* call);

/// Names one object to other threads, which hold copies of the address as long as they like: once
/// the object has died, what is posted to it, or was and is not delivered yet, is dropped.
template <class Class>
class VPostAddress
{
public:
    /// Names nobody.
    VPostAddress() = default;

    /// To be made by the owner of the queue, which is also the thread where `object` lives and
    /// dies.
    VPostAddress(const VPostQueue& queue, Class* object)
        : m_channel(queue.m_channel), m_life(VPostLife::of(object)), m_object(object)
    {
    }

    /// Has `call(*object)` made. False when the queue is gone.
    template <class Call>
    bool post(Call call) const;

    /// Has a member function called with copies of the arguments.
    template <class Result, class Owner, class... Parameters, class... Arguments>
    bool post(Result (Owner::*member)(Parameters...), Arguments&&... arguments) const
    {
        static_assert(std::is_invocable_v<decltype(member), Class&, std::decay_t<Arguments>...>,
                      "the arguments are not those of the function");
        return post([member, values = std::make_tuple(std::forward<Arguments>(arguments)...)](
                        Class& object) mutable {
            std::apply([&](auto&... each) { (object.*member)(std::move(each)...); }, values);
        });
    }

private:
    std::shared_ptr<VPostChannel> m_channel;
    std::shared_ptr<const VPostLife> m_life;
    Class* m_object = nullptr;
};

template <class Call>
void VPostQueue::post(Call call)
{
    struct Posted : VPostedCall {
        explicit Posted(Call c) : function(std::move(c)) {}
        bool call() override
        {
            function();
            return true;
        }
        Call function;
    };
    vPost(*m_channel, new Posted(std::move(call)));
}

template <class Class>
template <class Call>
bool VPostAddress<Class>::post(Call call) const
{
    struct Posted : VPostedCall {
        Posted(Class* o, std::shared_ptr<const VPostLife> l, Call c)
            : object(o), life(std::move(l)), function(std::move(c))
        {
        }
        bool call() override
        {
            if (life->isOver())
                return false;
            function(*object);
            return true;
        }
        Class* object;
        std::shared_ptr<const VPostLife> life;
        Call function;
    };
    return m_channel && vPost(*m_channel, new Posted(m_object, m_life, std::move(call)));
}
