#pragma once

#include "action/action.h"
#include "toolkit/qstrlist.h"

#include <list>

namespace action
{
/// Hands each value on to a list of actions, to all of them, whatever they return.
///
/// The actions belong to others. In files they stand as names, which `resolve` looks up.
class ZYL_EXPORT ComplexAction : public Action
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;

    ~ComplexAction() override;

    using Action::read;
    using Action::write;

    const ActionList& actions() const { return m_actions; }
    /// Null is passed over.
    void append(Action* action);

    bool evaluate(int key, double value) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void resolve(const ActionDict& actions) override;
    void forget(const Action* action) override;

private:
    struct Meta;
    friend class Action;

    static VMetaObject* metaObj;

    ActionList m_actions;
    std::list<Membership> m_members; // some of them gone
    QStrList m_names;                // of actions that are still to be found
};
} // namespace action
