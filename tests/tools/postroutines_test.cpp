#include "tools/postroutines.h"

namespace
{
std::vector<int> calls;

void first()
{
    calls.push_back(1);
}

void second()
{
    calls.push_back(2);
}

void third()
{
    calls.push_back(3);
    postroutines::add(first);
}
} // namespace

TEST(PostRoutines, RunLastAddedFirstAndOnce)
{
    calls.clear();
    postroutines::run();
    postroutines::add(first);
    postroutines::add(second);
    postroutines::add(first);
    postroutines::remove(first);
    postroutines::add(first);
    postroutines::run();
    postroutines::run();
    EXPECT_EQ(calls, (std::vector<int>{1, 2}));
}

TEST(PostRoutines, ARoutineAddedByARoutineStillRuns)
{
    calls.clear();
    postroutines::add(second);
    postroutines::add(third);
    postroutines::run();
    EXPECT_EQ(calls, (std::vector<int>{3, 1, 2}));
}
