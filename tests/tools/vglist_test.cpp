#include "tools/vptrlist.h"
#include "tools/vptrvector.h"

#include "support/warnings.h"

TEST(VPtrList, RemovingTheLastItemMovesCurrentAndIteratorsToTheNewLast)
{
    int values[] = {0, 1, 2};
    VPtrList<int> list;
    for (int& value : values)
        list.append(&value);
    VPtrListIterator<int> it(list);
    it.toLast();
    EXPECT_TRUE(list.removeAt(2));
    EXPECT_EQ(list.current(), &values[1]);
    EXPECT_EQ(list.currentIndex(), 1);
    EXPECT_EQ(it.current(), &values[1]);
}

TEST(VPtrVector, ComparesEmptySlotsWithoutAsking)
{
    int value = 0;
    VPtrVector<int> a(3), b(3);
    a.insert(1, &value);
    b.insert(1, &value);
    EXPECT_TRUE(a == b);
}
