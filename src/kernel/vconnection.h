#pragma once

#include "tools/vptrlist.h"
#include "tools/vptrvector.h"
#include "toolkit/zylexport.h"

#include <qglobal.h>

class VObject;
class VUObject;

/// A function that stands in the place of a slot. The connection and whoever holds a
/// `VScopedConnection` on it share it by count, and so does a delivery while it runs.
class ZYL_EXPORT VConnectedCall
{
public:
    virtual void call(VUObject* o) = 0;

    /// Null once the connection is gone.
    const VObject* sender() const { return m_sender; }
    int signal() const { return m_signal; }

    void ref() { ++m_references; }
    void deref()
    {
        if (--m_references == 0)
            delete this;
    }

protected:
    VConnectedCall() = default;
    VConnectedCall(const VConnectedCall&) = delete;
    VConnectedCall& operator=(const VConnectedCall&) = delete;
    virtual ~VConnectedCall();

private:
    friend class VObject;
    friend class VConnection;

    unsigned m_references = 0;
    int m_signal = -1;
    const VObject* m_sender = nullptr;
};

/// Keeps a `VConnectedCall` alive.
class ZYL_EXPORT VConnectedCallHold
{
public:
    explicit VConnectedCallHold(VConnectedCall* call = nullptr) : m_call(call)
    {
        if (m_call)
            m_call->ref();
    }
    VConnectedCallHold(const VConnectedCallHold& other) : VConnectedCallHold(other.m_call) {}
    VConnectedCallHold(VConnectedCallHold&& other) noexcept : m_call(other.m_call)
    {
        other.m_call = nullptr;
    }
    VConnectedCallHold& operator=(VConnectedCallHold other) noexcept
    {
        VConnectedCall* old = m_call;
        m_call = other.m_call;
        other.m_call = old;
        return *this;
    }
    ~VConnectedCallHold()
    {
        if (m_call)
            m_call->deref();
    }

    VConnectedCall* get() const { return m_call; }

private:
    VConnectedCall* m_call;
};

/// One receiver of a signal.
class ZYL_EXPORT VConnection
{
public:
    enum MemberType { Slot = 1, Signal = 2, Call = 3 };

    /// `memberName` is the signature in the receiver's table and is not copied. `argumentsGiven` is
    /// the number of arguments that the signal delivers.
    VConnection(const VObject* object, int member, const char* memberName, int memberType,
                int argumentsGiven);

    /// Calls `call` for as long as `object` lives.
    VConnection(const VObject* object, VConnectedCall* call);

    ~VConnection();
    VConnection(const VConnection&) = delete;
    VConnection& operator=(const VConnection&) = delete;

    /// The receiver. For a call it is the object that the call depends on.
    VObject* object() const { return const_cast<VObject*>(m_object); }

    /// The global index of the slot or signal; -1 for a call.
    int member() const { return m_member; }

    /// The signature; "call" for a call.
    const char* memberName() const { return m_memberName; }
    int memberType() const { return m_memberType; }
    bool isCall() const { return m_call; }

    /// A slot that takes no more than the signal gives: a call of `slot_invoke` delivers it.
    bool isDirect() const { return m_isDirect; }
    int numArgs() const { return m_numArgs; }

    /// Delivers. The connection may be gone afterwards, and both its ends.
    void invoke(VUObject* o) const;

    /// The number of arguments that a signature takes.
    static int argumentCount(const char* signature);

private:
    friend class VConnectionList;
    friend class VObject;

    void invokePadded(VUObject* o) const;
    void deliver(VUObject* o) const;

    const VObject* m_object;
    int m_member;
    const char* m_memberName;
    int m_memberType;
    int m_numArgs;
    int m_argumentsGiven;
    bool m_isDirect;
    quint64 m_serial = 0; // grows along a list
    VConnectedCall* m_call = nullptr;
};

/// The receivers of one signal, in the order of connecting. Owns the connections.
class ZYL_EXPORT VConnectionList : public VPtrList<VConnection>
{
public:
    class Walk;

    VConnectionList() { setAutoDelete(true); }
    VConnectionList(const VConnectionList&) = delete;
    VConnectionList& operator=(const VConnectionList&) = delete;
    ~VConnectionList() override;

    /// Adds a connection at the end.
    void add(VConnection* connection);

    /// Walks tell this of the connection that was added last, and more of later ones.
    quint64 lastSerial() const { return m_serials; }

protected:
    void deleteItem(Item item) override;

private:
    Walk* m_walks = nullptr; // those in progress, the innermost first
    quint64 m_serials = 0;
};

/// A delivery's way along a list, on the stack, which survives what receivers do to the list.
///
/// It steps ahead of the call. When the connection that it stands on goes, it moves as every
/// iterator does: to the next one, or at the end back to the last. Serial numbers show such a step
/// back, and end the walk: no connection is called twice.
class ZYL_EXPORT VConnectionList::Walk
{
public:
    explicit Walk(VConnectionList* list);
    ~Walk();
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    /// The next connection to call, or null. `called` is 0 at first and the caller's to keep.
    const VConnection* next(quint64* called)
    {
        if (!m_node)
            return nullptr;
        const auto* connection = static_cast<const VConnection*>(m_node->item);
        if (connection->m_serial <= *called)
            return nullptr;
        *called = connection->m_serial;
        m_node = m_node->next;
        return connection;
    }

private:
    friend class VConnectionList;

    VConnectionList* m_list; // null once it is gone
    Walk* m_outer;
    const VLNode* m_node;
};

/// A sender's lists by signal index. Owns them.
class ZYL_EXPORT VSignalVector : public VPtrVector<VConnectionList>
{
public:
    explicit VSignalVector(unsigned size) : VPtrVector(size) { setAutoDelete(true); }
};

/// Objects that belong to others.
using VObjectList = VPtrList<VObject>;
