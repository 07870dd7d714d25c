#include "action/action.h"

#include "action/actionstream_p.h"
#include "action/complexaction.h"
#include "action/evaluation_p.h"
#include "kernel/vdeclare.h"
#include "kernel/vevent.h"
#include "kernel/zylobject.h"
#include "security/asnvalue.h"

#include <algorithm>

namespace action
{
Connection::~Connection() = default;

VMemArray<int> SignalDict::keys() const
{
    VMemArray<int> result{int(count())};
    int* next = result.data();
    for (QIntDictIterator<ConnectionList> it(*this); it.current(); ++it)
        *next++ = int(it.currentKey());
    std::sort(result.begin(), result.end());
    return result;
}

struct Action::Meta {
    static constexpr declare::Slots slotTable{
        declare::slot<declare::overload<int, double>(&Action::evaluate)>("evaluate(int,double)")};
    static constexpr declare::Signals signalTable{
        declare::signal<&Action::valueChanged>("valueChanged(Connection*)")};
};
VMetaObject* Action::metaObj = nullptr;

VMetaObject* Action::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::Action", VObject::staticMetaObject(),
                                      Meta::slotTable, Meta::signalTable);
    return metaObj;
}

VMetaObject* Action::metaObject() const
{
    return staticMetaObject();
}

bool Action::slot_invoke(int id, VUObject* o)
{
    return Meta::slotTable.invoke(this, id, o) || VObject::slot_invoke(id, o);
}

bool Action::signal_emit(int id, VUObject* o)
{
    return Meta::signalTable.invoke(this, id, o) || VObject::signal_emit(id, o);
}

void Action::valueChanged(Connection* connection)
{
    Meta::signalTable.send<&Action::valueChanged>(this, connection);
}

Action::Action() = default;

Action::~Action()
{
    while (Membership* membership = m_memberships) {
        membership->holder->m_actions.takeNode(membership->node);
        membership->unlink();
    }
}

void Action::Membership::unlink()
{
    if (!member)
        return;
    *link = next;
    if (next)
        next->link = link;
    member = nullptr;
}

bool Action::evaluate(int, double)
{
    return false;
}

ConnectionList* Action::newConnections() const
{
    return new ConnectionList;
}

Connection* Action::newConnection(const ZYLObject* receiver, int index) const
{
    return new Connection(receiver, index);
}

VFormatIO& Action::read(VFormatIO& io)
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    if (QDataStream* const data = stream->dataStream()) {
        if (peekTag(*data) == asn::DerValue::PrintableString)
            VNamedObject::read(*data);
        return io;
    }
    QCString name;
    if (stream->read("name", name) > 0)
        setName(name);
    return io;
}

VFormatIO& Action::write(VFormatIO& io) const
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    if (QDataStream* const data = stream->dataStream())
        VNamedObject::write(*data);
    else if (const char* const text = name(nullptr))
        zylfields::writeText(*stream, "name", text);
    return io;
}

void Action::resolve(const ActionDict&) {}

void Action::forget(const Action*) {}

void Action::forgetReceivers(const ReceiverSet& gone)
{
    if (!m_signals)
        return;
    for (QIntDictIterator<ConnectionList> it(*m_signals); ConnectionList* list = it.current(); ++it)
        for (VLNode* node = list->firstNode(); node;) {
            const bool isGone = gone.count(static_cast<Connection*>(node->item)->receiver()) > 0;
            node = isGone ? list->erase(node) : node->next;
        }
}

void Action::forgetReceiver(const ZYLObject* gone)
{
    forgetReceivers(ReceiverSet{gone});
}

bool Action::connect(int key, const ZYLObject* receiver, int index)
{
    if (!receiver) {
        qWarning("Action::connect: Cannot connect %d to %s", key, "(null)");
        return false;
    }
    if (!m_signals)
        m_signals = std::make_unique<SignalDict>();
    ConnectionList* list = m_signals->find(key);
    if (!list) {
        list = newConnections();
        list->setAutoDelete(true);
        makeRoom(*m_signals);
        m_signals->insert(key, list);
    }
    if (Connection* const connection = newConnection(receiver, index))
        list->append(connection);
    return true;
}

bool Action::disconnect(int key, const ZYLObject* receiver, int index)
{
    if (!receiver) {
        qWarning("Action::disconnect: Unexpected null parameter");
        return false;
    }
    ConnectionList* const list = connections(key);
    for (VLNode* node = list ? list->firstNode() : nullptr; node;) {
        const auto* const connection = static_cast<Connection*>(node->item);
        const bool isMeant =
            connection->receiver() == receiver && (index < 0 || connection->index() == index);
        node = isMeant ? list->erase(node) : node->next;
    }
    return true;
}

bool Action::send(ConnectionList& list, int code, void* value)
{
    const Evaluation evaluation(*this, list.count());
    if (!evaluation)
        return false;
    VActionEvent event(code, value);
    // A receiver may take its connection out, or delete this action: then the iterator stands
    // elsewhere, or nowhere.
    VPtrListIterator<Connection> it(list);
    while (Connection* const connection = it.current()) {
        event.setDetail(connection->index());
        if (connection->receiver()->event(&event) && it.current() == connection)
            valueChanged(connection);
        if (it.current() == connection)
            ++it;
    }
    return event.isAccepted();
}

bool Action::send(int key, int code, void* value)
{
    ConnectionList* const list = connections(key);
    return list && send(*list, code, value);
}

VFormatIO& operator<<(VFormatIO& io, const Action& action)
{
    return action.write(io);
}

VFormatIO& operator>>(VFormatIO& io, Action& action)
{
    return action.read(io);
}
} // namespace action
