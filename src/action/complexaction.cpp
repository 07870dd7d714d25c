#include "action/complexaction.h"

#include "action/actiondict.h"
#include "action/actionstream_p.h"
#include "action/evaluation_p.h"
#include "kernel/vdeclare.h"

namespace action
{
struct ComplexAction::Meta {
    static constexpr auto fieldTable =
        std::tuple(zylfields::filled("actions", 0x80, &ComplexAction::m_names));
};
VMetaObject* ComplexAction::metaObj = nullptr;

VMetaObject* ComplexAction::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::ComplexAction", Action::staticMetaObject());
    return metaObj;
}

VMetaObject* ComplexAction::metaObject() const
{
    return staticMetaObject();
}

ComplexAction::~ComplexAction()
{
    for (Membership& membership : m_members)
        membership.unlink();
}

void ComplexAction::append(Action* action)
{
    if (!action)
        return;
    m_actions.append(action);
    Membership*& chain = action->m_memberships;
    m_members.push_back({this, action, m_actions.lastNode(), &chain, chain});
    if (chain)
        chain->link = &m_members.back().next;
    chain = &m_members.back();
}

void ComplexAction::forget(const Action* action)
{
    for (auto it = m_members.begin(); it != m_members.end();) {
        if (it->member == action) {
            m_actions.takeNode(it->node);
            it->unlink();
        }
        it = it->member ? std::next(it) : m_members.erase(it);
    }
}

bool ComplexAction::evaluate(int key, double value)
{
    const Evaluation evaluation(*this);
    bool isTaken = false;
    if (evaluation)
        for (VPtrListIterator<Action> it(m_actions); Action* const action = it();)
            isTaken = action->evaluate(key, value) || isTaken;
    return isTaken;
}

VFormatIO& ComplexAction::read(VFormatIO& io)
{
    Action::read(io);
    return zylfields::read(io, *this, Meta::fieldTable);
}

VFormatIO& ComplexAction::write(VFormatIO& io) const
{
    Action::write(io);
    QStrList names;
    for (const Action* action : m_actions)
        if (const char* const name = action->name(nullptr))
            names.append(name);
    for (QStrListIterator it(m_names); it.current(); ++it)
        names.append(it.current());
    VZylStream* const stream = VZylStream::get(io);
    if (!stream || names.isEmpty())
        return io;
    constexpr auto row = std::get<0>(Meta::fieldTable);
    if (QDataStream* const data = stream->dataStream()) {
        *data << row.tag;
        zylfields::put(*data, names);
    } else {
        zylfields::writeText(*stream, row.key, names);
    }
    return io;
}

void ComplexAction::resolve(const ActionDict& actions)
{
    QStrList missing;
    for (QStrListIterator it(m_names); it.current(); ++it) {
        Action* const action = actions.find(it.current());
        if (action)
            append(action);
        else
            missing.append(it.current());
    }
    m_names = missing;
}
} // namespace action
