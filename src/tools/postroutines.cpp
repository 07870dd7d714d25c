#include "tools/postroutines.h"

#include "toolkit/checkpointer.h"

#include <list>
#include <new>

namespace
{
using RoutineList = std::list<postroutines::Routine>;

// A plain pointer: it needs no constructor, so routines may register during static initialisation.
RoutineList* routineList = nullptr;
} // namespace

void postroutines::add(Routine routine)
{
    if (!routineList) {
        routineList = new (std::nothrow) RoutineList;
        qt_check_pointer(!routineList, "kernel/zylglobal", 69);
        if (!routineList)
            return;
    }
    routineList->push_front(routine);
}

void postroutines::remove(Routine routine)
{
    if (routineList)
        routineList->remove(routine);
}

void postroutines::run()
{
    if (!routineList)
        return;
    while (!routineList->empty()) {
        const Routine routine = routineList->front();
        routineList->pop_front();
        routine();
    }
    delete routineList;
    routineList = nullptr;
}
