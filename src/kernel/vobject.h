#pragma once

#include "kernel/vconnection.h"
#include "toolkit/qcstring.h"
#include "toolkit/zylexport.h"

// Brings the macros SIGNAL and SLOT, which put the code characters "2" and "1" in front of a
// signature.
#include <qobjectdefs.h>
#include <qstring.h>

class VEvent;
class VMetaObject;
class VUObject;
class VVariant;

/// The root of everything that sends or receives signals.
///
/// Signals are joined to slots, or to other signals, at run time by their signatures, and delivered
/// at once in the order of connecting. There is no tree of objects: whoever makes an object deletes
/// it, and when either end of a connection dies the connection goes. Slots may do anything to the
/// objects that take part in a delivery, deleting them included.
///
/// How a class declares its slots, signals and properties is told in docs/declaring-classes.md;
/// connecting functions and lambdas, checked by the compiler, in `kernel/vconnect.h`.
class ZYL_EXPORT VObject
{
public:
    static VMetaObject* staticMetaObject();

    VObject();
    VObject(const VObject&) = delete;
    VObject& operator=(const VObject&) = delete;

    virtual VMetaObject* metaObject() const;

    /// Call a slot or send a signal by its global index: arguments from `o[1]` on, a result in
    /// `o[0]`. False when the class has no such member.
    virtual bool slot_invoke(int id, VUObject* o);
    virtual bool signal_emit(int id, VUObject* o);

    /// Sets (`op` 0), gets (1) or resets (2) a property by its global index.
    virtual bool property_op(int id, int op, VVariant* value);

    /// Emits `destroyed`, unless signals are blocked, then undoes all connections.
    virtual ~VObject();

    /// Shows the event to the filters; true when one took it. A null event warns.
    virtual bool event(VEvent* event);

    /// Sees an event on its way to `object`; true keeps it from going on.
    virtual bool eventFilter(VObject* object, VEvent* event);

    const char* className() const;
    bool inherits(const char* className) const;
    bool inherits(const VMetaObject* metaObject) const;

    /// A blocked object emits nothing, not even when it dies.
    void blockSignals(bool block) { m_flags = block ? m_flags | Blocked : m_flags & ~Blocked; }
    bool signalsBlocked() const { return m_flags & Blocked; }

    /// The connections of a signal, null when there has been none. The list may be empty.
    VConnectionList* receivers(int signal) const;

    /// By signature, with or without the code "2" in front. Only with it is the text normalised.
    VConnectionList* receivers(const char* signal) const;

    /// Joins a signal, "2name(types)", to a slot, "1name(types)", or to a signal of the receiver.
    /// Warns and returns false when one of them can't be found. Arguments that don't fit draw a
    /// warning too, but are connected all the same: what can't be converted arrives as a default
    /// value. Connecting twice delivers twice.
    static bool connect(const VObject* sender, const char* signal, const VObject* receiver,
                        const char* member);

    /// Undoes connections. Each of `signal`, `receiver` and `member` may be null and then stands
    /// for any; a member needs its receiver. True also when nothing matched.
    static bool disconnect(const VObject* sender, const char* signal, const VObject* receiver,
                           const char* member);

    /// Joins by index and asks nothing; `memberType` is `VConnection::Slot` or
    /// `VConnection::Signal`.
    static void connectInternal(const VObject* sender, int signalIndex, const VObject* receiver,
                                int memberType, int memberIndex);

    /// Adds a call that lives as long as `receiver` does, and tells `connectNotify`.
    static void connectCall(const VObject* sender, int signalIndex, const VObject* receiver,
                            VConnectedCall* call);

    /// Undoes that connection alone, and tells `disconnectNotify`. Does nothing when it is gone.
    static void disconnectCall(VConnectedCall* call);

    /// The form in which signatures are compared: without white space, but for one blank where it
    /// parts two words, as in "const char*".
    static QCString normalizeSignalSlot(const char* signature);

    // Emit the signal of a global index.
    void activate_signal(int signal);
    void activate_signal(int signal, int value);
    void activate_signal(int signal, double value);
    void activate_signal(int signal, QString value);
    void activate_signal_bool(int signal, bool value);

    /// Delivers to each connection of the list, the same arguments to all. Neither the list nor its
    /// sender need outlive the call.
    void activate_signal(VConnectionList* list, VUObject* o);

    /// Puts a filter in front of the others; one that is there already moves.
    void installEventFilter(const VObject* filter);
    void removeEventFilter(const VObject* filter);

    /// Sets a property from a value that converts to its type, or for an enum from a key, and for a
    /// set from keys parted by "|". Warns and returns false when there is no such writable
    /// property; returns false without a word for an invalid value or one that doesn't convert.
    bool setProperty(const char* name, const VVariant& value);

    /// Invalid when there is no such property.
    VVariant property(const char* name) const;
    bool resetProperty(const char* name);

    // Signals. The first carries the object, whose derived parts are gone by then.
    void destroyed(VObject* object);
    void destroyed();

protected:
    /// The filters' answer to an event: true as soon as one takes it.
    bool activate_filters(VEvent* event);

    /// Told of the connections of this object's signals, with the code and normalised; null for all
    /// signals.
    virtual void connectNotify(const char* signal);
    virtual void disconnectNotify(const char* signal);

    /// Whether the member's parameters are the first ones of the signal's.
    virtual bool checkConnectArgs(const char* signal, const VObject* receiver, const char* member);

private:
    struct Meta;
    struct Removal;
    friend class VPostLife;

    enum Flag : unsigned {
        Blocked = 1,
        Dying = 2,
        Closed = 4,   // the tables are being taken down: no more connections
        Addressed = 8 // a `VPostLife` must be told of the end
    };

    void cleanupEventFilter(VObject* filter);

    static VMetaObject* metaObj;

    bool dropEventFilter(const VObject* filter);
    VConnectionList* listFor(int signalIndex);
    static bool link(const VObject* sender, int signalIndex, VConnection* connection);

    unsigned m_flags = 0;
    VSignalVector* m_connections = nullptr;
    VObjectList* m_senderObjects = nullptr; // a sender once for each of its connections
    VObjectList* m_eventFilters = nullptr;
};

inline VConnectionList* VObject::receivers(int signal) const
{
    if (!m_connections || unsigned(signal) >= m_connections->size())
        return nullptr;
    return static_cast<VConnectionList*>(m_connections->data()[signal]);
}
