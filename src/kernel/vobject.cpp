#include "kernel/vobject.h"

#include "kernel/vdeclare.h"
#include "kernel/vpost.h"
#include "toolkit/checkpointer.h"

#include <qbytearray.h>
#include <qlogging.h>
#include <qvarlengtharray.h>

#include <cstring>
#include <new>
#include <vector>

// Of the two signals the one with the object comes first in the destructor, and the clean-up of
// filters hangs on it.
struct VObject::Meta {
    static constexpr auto destroyedWithObject = declare::overload<VObject*>(&VObject::destroyed);
    static constexpr auto destroyed = declare::overload<>(&VObject::destroyed);

    static constexpr declare::Slots slotTable{
        declare::privateSlot<&VObject::cleanupEventFilter>("cleanupEventFilter(VObject*)")};
    static constexpr declare::Signals signalTable{
        declare::signal<destroyed>("destroyed()"),
        declare::signal<destroyedWithObject>("destroyed(VObject*)")};
};

VMetaObject* VObject::metaObj = nullptr;

namespace
{
constexpr const char* sourceName = "kernel/vobject";
constexpr const char* destroyedSignal = "2destroyed(VObject*)";
constexpr const char* cleanupSlot = "1cleanupEventFilter(VObject*)";
constexpr unsigned firstVectorSize = 7;

enum Code : char { SlotCode = '1', SignalCode = '2' };

template <class T>
T* checked(T* made, int line)
{
    qt_check_pointer(!made, sourceName, line);
    return made;
}

/// A signature in normal form, which mostly is the caller's text itself.
class NormalText
{
public:
    explicit NormalText(const char* text) : m_text(text)
    {
        if (!text || declare::isNormalised(text))
            return;
        m_copy = VObject::normalizeSignalSlot(text);
        m_text = m_copy.data();
    }

    const char* text() const { return m_text; }
    char code() const { return m_text[0]; }

    /// Without the code, where there is one.
    const char* name() const { return hasCode() ? m_text + 1 : m_text; }
    bool hasCode() const { return code() == SlotCode || code() == SignalCode; }

private:
    QCString m_copy;
    const char* m_text;
};

const char* shown(const char* text)
{
    return text ? text : "(null)";
}

const char* shownClass(const VObject* object)
{
    return object ? object->className() : "(null)";
}

const char* withoutCode(const char* text)
{
    return text && *text ? text + 1 : text;
}

int findMember(const VObject* object, char code, const char* name)
{
    const VMetaObject* meta = object->metaObject();
    return code == SignalCode ? meta->findSignal(name, true) : meta->findSlot(name, true);
}

/// Tells that a member can't be found, and of the one that stands there in the spelling of the
/// tables.
void warnNotFound(const char* function, const VObject* object, char code, const char* name)
{
    if (std::strchr(name, ')'))
        qWarning("VObject::%s: No such %s %s::%s", function, code == SignalCode ? "signal" : "slot",
                 object->className(), name);
    else
        qWarning("VObject::%s: Parentheses expected, %s %s::%s", function,
                 code == SignalCode ? "signal" : "slot", object->className(), name);
    QByteArray candidate(name);
    if (!candidate.contains("const char*"))
        return;
    candidate.replace("const char*", "const VString&");
    if (findMember(object, code, candidate.constData()) >= 0)
        qWarning("VObject::connect:  Candidate: %s", candidate.constData());
}

/// Warns unless the text has the code of a signal.
bool checkSignal(const NormalText& signal, const VObject* sender, const char* function,
                 const char* operation)
{
    if (signal.code() == SignalCode)
        return true;
    if (signal.code() == SlotCode)
        qWarning("VObject::%s: Attempt to %s non-signal %s::%s", function, operation,
                 sender->className(), signal.name());
    else
        qWarning("VObject::%s: Use the SIGNAL macro to %s %s::%s", function, operation,
                 sender->className(), signal.text());
    return false;
}

/// The global index of a receiver's member, or -1 with a warning.
int checkMember(const NormalText& member, const VObject* receiver, const char* function)
{
    if (!member.hasCode()) {
        qWarning("VObject::%s: Use the SLOT or SIGNAL macro to %s %s::%s", function, function,
                 receiver->className(), member.text());
        return -1;
    }
    const int index = findMember(receiver, member.code(), member.name());
    if (index < 0)
        warnNotFound(function, receiver, member.code(), member.name());
    return index;
}
} // namespace

/// The removal of connections. What the connections call is kept to its end, since a function that
/// is freed may run anything, and the lists must be in order by then.
struct VObject::Removal {
    const VObject* sender;
    const VObject* receiver; // null for any
    const char* member;      // null for any
    std::vector<VConnectedCallHold> calls = {};

    /// Frees the receiver of one entry for this sender.
    void leave(VConnection* connection)
    {
        if (connection->m_call)
            calls.emplace_back(connection->m_call);
        VObject* object = connection->object();
        if (object->m_senderObjects)
            object->m_senderObjects->removeRef(const_cast<VObject*>(sender));
        // A filter is told from by this connection alone: without it, a dead one would stay
        // installed.
        if (connection->m_memberName == Meta::slotTable.rows()[0].name)
            object->dropEventFilter(sender);
    }

    bool matches(const VConnection* connection) const
    {
        return connection->m_object == receiver &&
               (!member || std::strcmp(connection->m_memberName, member) == 0);
    }

    /// Takes the matching connections out of one list, or the whole list away.
    void from(VSignalVector* vector, unsigned index)
    {
        VConnectionList* list = index < vector->size() ? vector->at(index) : nullptr;
        if (!receiver) {
            for (VConnection* c = list ? list->first() : nullptr; c; c = list->next())
                leave(c);
            if (index >= vector->size())
                vector->resize(2 * index + 1);
            vector->insert(index, nullptr);
            return;
        }
        for (VConnection* c = list ? list->first() : nullptr; c;) {
            if (matches(c)) {
                leave(c);
                list->remove();
                c = list->current(); // at the end the one before, which did not match
            } else {
                c = list->next();
            }
        }
    }
};

VMetaObject* VObject::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("VObject", nullptr, Meta::slotTable, Meta::signalTable);
    return metaObj;
}

VObject::VObject()
{
    staticMetaObject();
}

VMetaObject* VObject::metaObject() const
{
    return staticMetaObject();
}

bool VObject::slot_invoke(int id, VUObject* o)
{
    return Meta::slotTable.invoke(this, id, o);
}

bool VObject::signal_emit(int id, VUObject* o)
{
    return Meta::signalTable.invoke(this, id, o);
}

bool VObject::property_op(int, int, VVariant*)
{
    return false;
}

VObject::~VObject()
{
    if (m_flags & Dying) {
        qWarning("Double VObject deletion detected.");
        return;
    }
    m_flags |= Dying;
    if (m_flags & Addressed)
        VPostLife::end(this);
    destroyed(this);
    destroyed();
    m_flags |= Closed;

    // Being told of it, a sender may delete others, which then leave this list by themselves.
    while (m_senderObjects && !m_senderObjects->isEmpty()) {
        const VObject* sender = m_senderObjects->first();
        disconnect(sender, nullptr, this, nullptr);
        if (m_senderObjects->getFirst() == sender)
            m_senderObjects->removeFirst();
    }
    delete m_senderObjects;
    m_senderObjects = nullptr;

    if (VSignalVector* vector = m_connections) {
        m_connections = nullptr;
        Removal removal{this, nullptr, nullptr};
        for (VConnectionList* list : *vector)
            if (list)
                for (VConnection* connection : *list)
                    removal.leave(connection);
        delete vector;
    }
    delete m_eventFilters;
}

bool VObject::event(VEvent* event)
{
    if (!event) {
        qWarning("VObject::event: Null events are not permitted");
        return false;
    }
    return m_eventFilters && activate_filters(event);
}

bool VObject::eventFilter(VObject*, VEvent*)
{
    return false;
}

const char* VObject::className() const
{
    const VMetaObject* meta = metaObject();
    return meta ? meta->className() : nullptr;
}

bool VObject::inherits(const char* className) const
{
    return metaObject()->inherits(className);
}

bool VObject::inherits(const VMetaObject* metaObject) const
{
    return this->metaObject()->inherits(metaObject);
}

VConnectionList* VObject::receivers(const char* signal) const
{
    if (!m_connections || !signal)
        return nullptr;
    if (signal[0] != SignalCode)
        return receivers(metaObject()->findSignal(signal, true));
    return receivers(metaObject()->findSignal(NormalText(signal).name(), true));
}

bool VObject::connect(const VObject* sender, const char* signal, const VObject* receiver,
                      const char* member)
{
    if (!sender || !signal || !receiver || !member) {
        qWarning("VObject::connect: Cannot connect %s::%s to %s::%s", shownClass(sender),
                 shown(withoutCode(signal)), shownClass(receiver), shown(withoutCode(member)));
        return false;
    }
    const NormalText from(signal), to(member);
    if (!checkSignal(from, sender, "connect", "bind"))
        return false;
    const VMetaObject* meta = sender->metaObject();
    const int signalIndex = meta->findSignal(from.name(), true);
    if (signalIndex < 0) {
        warnNotFound("connect", sender, SignalCode, from.name());
        return false;
    }
    const char* signalName = meta->signal(signalIndex, true)->name;
    const int memberIndex = checkMember(to, receiver, "connect");
    if (memberIndex < 0)
        return false;
    auto* source = const_cast<VObject*>(sender);
    if (!source->checkConnectArgs(signalName, receiver, to.name()))
        qWarning("VObject::connect: Incompatible sender/receiver arguments\n\t%s::%s --> %s::%s",
                 sender->className(), signalName, receiver->className(), to.name());
    connectInternal(sender, signalIndex, receiver,
                    to.code() == SignalCode ? VConnection::Signal : VConnection::Slot, memberIndex);
    source->connectNotify(from.text());
    return true;
}

bool VObject::disconnect(const VObject* sender, const char* signal, const VObject* receiver,
                         const char* member)
{
    if (!sender || (!receiver && member)) {
        qWarning("VObject::disconnect: Unexpected null parameter");
        return false;
    }
    VSignalVector* vector = sender->m_connections;
    if (!vector)
        return false;
    const NormalText from(signal), to(member);
    if (member && checkMember(to, receiver, "disconnect") < 0)
        return false;
    Removal removal{sender, receiver, member ? to.name() : nullptr};
    if (signal) {
        if (!checkSignal(from, sender, "disconnect", "unbind"))
            return false;
        const int index = sender->metaObject()->findSignal(from.name(), true);
        if (index < 0) {
            qWarning("VObject::disconnect: No such signal %s::%s", sender->className(),
                     from.name());
            return false;
        }
        removal.from(vector, unsigned(index));
    } else {
        for (unsigned index = 0; index < vector->size(); ++index)
            removal.from(vector, index);
    }
    const_cast<VObject*>(sender)->disconnectNotify(from.text());
    return true;
}

void VObject::connectInternal(const VObject* sender, int signalIndex, const VObject* receiver,
                              int memberType, int memberIndex)
{
    const VMetaObject* meta = receiver->metaObject();
    const VMetaData* member = memberType == VConnection::Signal ? meta->signal(memberIndex, true)
                                                                : meta->slot(memberIndex, true);
    const VMetaData* signal = sender->metaObject()->signal(signalIndex, true);
    const int given = signal ? VConnection::argumentCount(signal->name) : 0;
    link(sender, signalIndex,
         checked(new (std::nothrow)
                     VConnection(receiver, memberIndex, member ? member->name : "slot_invoke",
                                 memberType, given),
                 __LINE__));
}

void VObject::connectCall(const VObject* sender, int signalIndex, const VObject* receiver,
                          VConnectedCall* call)
{
    const VConnectedCallHold hold(call);
    auto* connection = checked(new (std::nothrow) VConnection(receiver, call), __LINE__);
    if (!link(sender, signalIndex, connection))
        return;
    call->m_sender = sender;
    call->m_signal = signalIndex;
    const QByteArray signal =
        QByteArray(1, SignalCode) + sender->metaObject()->signal(signalIndex, true)->name;
    const_cast<VObject*>(sender)->connectNotify(signal.constData());
}

void VObject::disconnectCall(VConnectedCall* call)
{
    const VObject* sender = call->m_sender;
    VConnectionList* list = sender ? sender->receivers(call->m_signal) : nullptr;
    for (VConnection* c = list ? list->first() : nullptr; c; c = list->next()) {
        if (c->m_call != call)
            continue;
        Removal removal{sender, c->object(), nullptr};
        removal.leave(c);
        list->remove();
        const QByteArray signal =
            QByteArray(1, SignalCode) + sender->metaObject()->signal(call->m_signal, true)->name;
        const_cast<VObject*>(sender)->disconnectNotify(signal.constData());
        return;
    }
}

QCString VObject::normalizeSignalSlot(const char* signature)
{
    if (!signature)
        return QCString("");
    QCString result(int(qstrlen(signature)) + 1);
    char* to = result.data();
    for (const char* from = signature; *from;) {
        if (!declare::isSpace(*from)) {
            *to++ = *from++;
            continue;
        }
        while (declare::isSpace(*from))
            ++from;
        if (to != result.data() && declare::isIdentifierCharacter(to[-1]) &&
            declare::isIdentifierCharacter(*from))
            *to++ = ' ';
    }
    result.truncate(unsigned(to - result.data()));
    return result;
}

void VObject::activate_signal(int signal)
{
    declare::send(this, signal);
}

void VObject::activate_signal(int signal, int value)
{
    declare::send(this, signal, value);
}

void VObject::activate_signal(int signal, double value)
{
    declare::send(this, signal, value);
}

void VObject::activate_signal(int signal, QString value)
{
    declare::send(this, signal, value);
}

void VObject::activate_signal_bool(int signal, bool value)
{
    declare::send(this, signal, value);
}

void VObject::installEventFilter(const VObject* filter)
{
    if (!filter || (m_flags | filter->m_flags) & Closed)
        return;
    removeEventFilter(filter);
    if (!m_eventFilters)
        m_eventFilters = checked(new (std::nothrow) VObjectList, __LINE__);
    m_eventFilters->prepend(const_cast<VObject*>(filter));
    connect(filter, destroyedSignal, this, cleanupSlot);
}

void VObject::removeEventFilter(const VObject* filter)
{
    if (dropEventFilter(filter))
        disconnect(filter, destroyedSignal, this, cleanupSlot);
}

void VObject::destroyed(VObject* object)
{
    Meta::signalTable.send<Meta::destroyedWithObject>(this, object);
}

void VObject::destroyed()
{
    Meta::signalTable.send<Meta::destroyed>(this);
}

bool VObject::activate_filters(VEvent* event)
{
    VPtrListIterator<VObject> it(*m_eventFilters);
    QVarLengthArray<const VObject*, 16> asked;
    while (VObject* filter = it()) {
        // At the end of the list an iterator falls back to a filter that has been asked.
        if (asked.contains(filter))
            return false;
        asked.append(filter);
        if (filter->eventFilter(this, event))
            return true;
    }
    return false;
}

void VObject::connectNotify(const char*) {}

void VObject::disconnectNotify(const char*) {}

bool VObject::checkConnectArgs(const char* signal, const VObject*, const char* member)
{
    const char* given = std::strchr(signal, '(');
    const char* taken = std::strchr(member, '(');
    if (!given || !taken)
        return false;
    const std::string_view from(given + 1), to(taken + 1);
    if (to == ")" || to == from)
        return true;
    if (to.empty() || to.size() >= from.size())
        return false;
    const std::size_t common = to.size() - 1;
    return from.substr(0, common) == to.substr(0, common) && from[common] == ',';
}

void VObject::cleanupEventFilter(VObject* filter)
{
    removeEventFilter(filter);
}

/// Takes a filter out of the list, which goes with its last one. False when it is not there.
bool VObject::dropEventFilter(const VObject* filter)
{
    if (!m_eventFilters || !m_eventFilters->removeRef(const_cast<VObject*>(filter)))
        return false;
    if (m_eventFilters->isEmpty()) {
        delete m_eventFilters;
        m_eventFilters = nullptr;
    }
    return true;
}

VConnectionList* VObject::listFor(int signalIndex)
{
    const unsigned index = unsigned(signalIndex);
    if (!m_connections)
        m_connections = checked(new (std::nothrow) VSignalVector(firstVectorSize), __LINE__);
    if (VConnectionList* list = receivers(signalIndex))
        return list;
    auto* list = checked(new (std::nothrow) VConnectionList, __LINE__);
    if (index >= m_connections->size())
        m_connections->resize(2 * index + 1);
    m_connections->insert(index, list);
    return list;
}

/// Takes the connection over. False when an end is past connecting.
bool VObject::link(const VObject* sender, int signalIndex, VConnection* connection)
{
    auto* source = const_cast<VObject*>(sender);
    VObject* receiver = connection->object();
    if (signalIndex < 0 || (source->m_flags | receiver->m_flags) & Closed) {
        delete connection;
        return false;
    }
    source->listFor(signalIndex)->add(connection);
    if (!receiver->m_senderObjects)
        receiver->m_senderObjects = checked(new (std::nothrow) VObjectList, __LINE__);
    receiver->m_senderObjects->append(source);
    return true;
}
