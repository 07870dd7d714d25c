#include "kernel/vconnection.h"

#include "kernel/vobject.h"
#include "kernel/vuobject.h"

#include <cstring>
#include <memory>

namespace
{
/// Most receivers are slots, and need no more than one call.
void deliver(const VConnection* connection, VUObject* o)
{
    if (connection->isDirect())
        connection->object()->slot_invoke(connection->member(), o);
    else
        connection->invoke(o);
}

// Apart, so that the case of one receiver stays a jump into its slot.
[[gnu::noinline]] void deliverToAll(VConnectionList* list, VUObject* o)
{
    VConnectionList::Walk walk(list);
    quint64 called = 0;
    while (const VConnection* connection = walk.next(&called))
        deliver(connection, o);
}
} // namespace

VConnectedCall::~VConnectedCall() = default;

VConnection::VConnection(const VObject* object, int member, const char* memberName, int memberType,
                         int argumentsGiven)
    : m_object(object), m_member(member), m_memberName(memberName), m_memberType(memberType),
      m_numArgs(argumentCount(memberName)), m_argumentsGiven(argumentsGiven),
      m_isDirect(memberType == Slot && m_numArgs <= argumentsGiven)
{
}

VConnection::VConnection(const VObject* object, VConnectedCall* call)
    : m_object(object), m_member(-1), m_memberName("call"), m_memberType(Call), m_numArgs(0),
      m_argumentsGiven(0), m_isDirect(false), m_call(call)
{
    call->ref();
}

VConnection::~VConnection()
{
    if (!m_call)
        return;
    m_call->m_sender = nullptr;
    m_call->deref();
}

int VConnection::argumentCount(const char* signature)
{
    if (std::strstr(signature, "()"))
        return 0;
    int count = 1;
    for (const char* c = signature; *c; ++c)
        count += *c == ',';
    return count;
}

void VConnection::invoke(VUObject* o) const
{
    if (m_numArgs > m_argumentsGiven)
        invokePadded(o);
    else
        deliver(o);
}

/// A member may have been connected although it takes more than the signal gives: what is missing
/// is null, or the member would read past the end of the sender's array.
void VConnection::invokePadded(VUObject* o) const
{
    const int given = m_argumentsGiven;
    const auto padded = std::make_unique<VUObject[]>(std::size_t(m_numArgs) + 1);
    const auto hand = [given](VUObject* from, VUObject* to) {
        for (int i = 0; i <= given; ++i) {
            to[i].type = from[i].type;
            to[i].payload = from[i].payload;
            from[i].type = &static_VUType_Null;
        }
    };
    hand(o, padded.get());
    deliver(padded.get());
    hand(padded.get(), o);
}

void VConnection::deliver(VUObject* o) const
{
    if (m_memberType == Slot) {
        object()->slot_invoke(m_member, o);
    } else if (m_memberType == Signal) {
        object()->signal_emit(m_member, o);
    } else {
        // The call may undo its own connection while it runs.
        const VConnectedCallHold hold(m_call);
        hold.get()->call(o);
    }
}

VConnectionList::~VConnectionList()
{
    clear();
    for (Walk* walk = m_walks; walk; walk = walk->m_outer)
        walk->m_list = nullptr;
}

void VConnectionList::add(VConnection* connection)
{
    connection->m_serial = ++m_serials;
    append(connection);
}

void VConnectionList::deleteItem(Item item)
{
    // The node is unlinked by this time, but not freed yet.
    for (Walk* walk = m_walks; walk; walk = walk->m_outer)
        if (walk->m_node && walk->m_node->item == item)
            walk->m_node = currentNode();
    VPtrList::deleteItem(item);
}

VConnectionList::Walk::Walk(VConnectionList* list)
    : m_list(list), m_outer(list->m_walks), m_node(list->firstNode())
{
    list->m_walks = this;
}

VConnectionList::Walk::~Walk()
{
    if (m_list)
        m_list->m_walks = m_outer;
}

// Here, beside the walk: an emission is little more than this.
void VObject::activate_signal(VConnectionList* list, VUObject* o)
{
    const VLNode* first = list ? list->firstNode() : nullptr;
    if (!first)
        return;
    if (!first->next)
        deliver(static_cast<const VConnection*>(first->item), o);
    else
        deliverToAll(list, o);
}
