#include "action/actionfactory.h"

#include "action/actionfields_p.h"
#include "action/complexaction.h"
#include "kernel/vglobal.h"
#include "toolkit/qasciidict.h"

namespace action
{
namespace
{
struct Entry {
    const char* name;
    ActionFactory::Maker make;
};

template <class A>
Action* make()
{
    return new A;
}

constexpr Entry entries[] = {
    {"ComplexAction", &make<ComplexAction>},
};

using Table = QAsciiDict<ActionFactory::Maker>;
Table* table = nullptr;

void deleteTable()
{
    delete table;
    table = nullptr;
}

void insert(const char* name, ActionFactory::Maker maker)
{
    fields::makeRoom(*table);
    table->replace(name, new ActionFactory::Maker(maker));
}

/// The table, filled; again after a clean-up.
Table& factories()
{
    if (!table) {
        table = new Table(17);
        table->setAutoDelete(true);
        for (const Entry& entry : entries)
            insert(entry.name, entry.make);
        VGlobal::addPostRoutine(&deleteTable);
    }
    return *table;
}
} // namespace

ActionFactory::ActionFactory()
{
    factories();
}

void ActionFactory::addFactory(const char* name, Maker maker)
{
    factories();
    if (name && maker)
        insert(name, maker);
}

Action* ActionFactory::getInstance(const char* name) const
{
    const Maker* const maker = name ? factories().find(name) : nullptr;
    return maker ? (*maker)() : nullptr;
}
} // namespace action
