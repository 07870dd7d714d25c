#include "action/actionfactory.h"

#include "action/actionstream_p.h"
#include "action/calculator.h"
#include "action/coloractions.h"
#include "action/complexaction.h"
#include "action/keyframe.h"
#include "action/motionpath.h"
#include "action/nodeinput.h"
#include "action/skincluster.h"
#include "action/textactions.h"
#include "action/transformactions.h"
#include "action/valuetracker.h"
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
    {"Calculator", &make<Calculator>},       {"ColorAction", &make<ColorAction>},
    {"ComplexAction", &make<ComplexAction>}, {"ElapsedTime", &make<ElapsedTime>},
    {"Keyframe", &make<Keyframe>},           {"MotionPath", &make<MotionPath>},
    {"MoveAction", &make<MoveAction>},       {"NodeInput", &make<NodeInput>},
    {"RotateAction", &make<RotateAction>},   {"ScaleAction", &make<ScaleAction>},
    {"SelectColor", &make<SelectColor>},     {"SkinCluster", &make<SkinCluster>},
    {"TextAction", &make<TextAction>},       {"ValueTracker", &make<ValueTracker>},
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
    makeRoom(*table);
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
