#pragma once

#include "kernel/vnamedobject.h"
#include "kernel/vobject.h"
#include "toolkit/qintdict.h"
#include "tools/vmemarray.h"
#include "tools/vptrlist.h"

#include <memory>
#include <unordered_set>

class VFormatIO;
class ZYLObject;

namespace action
{
class ActionDict;
class ComplexAction;

/// Objects that are about to go, or stand for others in a question.
using ReceiverSet = std::unordered_set<const ZYLObject*>;

/// A receiver of an action's events. The receiver isn't owned, and must be forgotten by the action
/// before it is deleted; see `Action::forgetReceivers`.
class ZYL_EXPORT Connection
{
public:
    Connection(const ZYLObject* receiver, int index) : m_receiver(receiver), m_index(index) {}
    virtual ~Connection();

    ZYLObject* receiver() const { return const_cast<ZYLObject*>(m_receiver); }
    /// What is told to the receiver with each event: which channel, vertex or other part is meant.
    int index() const { return m_index; }

private:
    const ZYLObject* m_receiver;
    int m_index;
};

/// The connections of one key, in the order of connecting. Owns them.
class ZYL_EXPORT ConnectionList : public VPtrList<Connection>
{
public:
    ConnectionList() { setAutoDelete(true); }
};

/// A list that remembers the last value of each of its channels.
template <int N>
class ZYL_EXPORT ChannelConnections : public ConnectionList
{
public:
    static constexpr int channels = N;
    double last[N] = {};
};

/// The connections of an action by their keys. Owns the lists.
class ZYL_EXPORT SignalDict : public QIntDict<ConnectionList>
{
public:
    SignalDict() : QIntDict<ConnectionList>(7) { setAutoDelete(true); }

    /// The keys in ascending order.
    VMemArray<int> keys() const;
};

/// A step on the way of values into a scene.
///
/// Numbers come in by `evaluate`, and leave as events for the objects connected under the key, or
/// by signals to other actions. All of it happens before `evaluate` returns, depth first and in the
/// order of connecting; there is no schedule. Receivers may connect, disconnect and delete actions
/// while they are called, the one that calls them included.
///
/// Actions may be joined to a ring. Beyond 64 levels, and after some millions of steps, `evaluate`
/// gives up with a warning and returns false.
class ZYL_EXPORT Action : public VObject, public VNamedObject
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;
    bool slot_invoke(int id, VUObject* o) override;
    bool signal_emit(int id, VUObject* o) override;

    Action();
    ~Action() override;

    using VNamedObject::read;
    using VNamedObject::write;
    using VObject::connect;
    using VObject::disconnect;

    /// Takes a value. True if something that it led to took it.
    virtual bool evaluate(int key, double value);

    /// A new list for a key, and a new connection for it; they become the action's.
    virtual ConnectionList* newConnections() const;
    virtual Connection* newConnection(const ZYLObject* receiver, int index) const;

    /// Read and write what the file says of the action. Both return `io`.
    virtual VFormatIO& read(VFormatIO& io);
    virtual VFormatIO& write(VFormatIO& io) const;

    /// Finds the actions that have been read by name. To be called for every action once all are
    /// there; names that aren't found are kept for the next call.
    virtual void resolve(const ActionDict& actions);

    /// Takes an action out, wherever this one holds it. A deleted action has been forgotten by all.
    virtual void forget(const Action* action);

    /// Drops every connection to one of these objects, and every other use of them.
    virtual void forgetReceivers(const ReceiverSet& gone);
    void forgetReceiver(const ZYLObject* gone);

    /// Adds a connection at the end of a key's list. Warns and returns false for a null receiver.
    bool connect(int key, const ZYLObject* receiver, int index);
    /// Removes the receiver's connections under a key that have this index, or all of them if it is
    /// negative. Warns and returns false for a null receiver.
    bool disconnect(int key, const ZYLObject* receiver, int index);

    /// Null until something is connected. A list may be empty.
    const SignalDict* connections() const { return m_signals.get(); }
    ConnectionList* connections(int key) const
    {
        return m_signals ? m_signals->find(key) : nullptr;
    }

    // Signals.
    /// An object took an event; the connection that led to it.
    void valueChanged(Connection* connection);

protected:
    /// Sends a value to each receiver, and emits `valueChanged` for those that take it. Returns
    /// whether one did. The action and the list may be gone afterwards.
    bool send(ConnectionList& list, int code, void* value);
    bool send(int key, int code, void* value);

private:
    struct Meta;
    friend class ComplexAction;

    /// An action's place in the list of another.
    struct Membership {
        ComplexAction* holder;
        Action* member;
        VLNode* node;
        Membership** link; // what points here in the member's chain
        Membership* next;

        void unlink();
    };

    static VMetaObject* metaObj;

    std::unique_ptr<SignalDict> m_signals;
    Membership* m_memberships = nullptr;
};

class ZYL_EXPORT ActionList : public VPtrList<Action>
{
};

ZYL_EXPORT VFormatIO& operator<<(VFormatIO& io, const Action& action);
ZYL_EXPORT VFormatIO& operator>>(VFormatIO& io, Action& action);
} // namespace action
