#include "tools/vmemarray.h"

#include "support/warnings.h"

namespace
{
template <class T>
VMemArray<T> arrayOf(std::initializer_list<T> values)
{
    VMemArray<T> array;
    array.duplicate(values.begin(), unsigned(values.size()));
    return array;
}

template <class T>
std::vector<T> listed(const VMemArray<T>& array)
{
    return {array.begin(), array.end()};
}
} // namespace

TEST(VMemArray, SortsByTheBytesInMemory)
{
    auto array = arrayOf<int>({1, 256, -1, 2, 512});
    array.sort();
    EXPECT_EQ(listed(array), (std::vector<int>{256, 512, 1, 2, -1}));
    EXPECT_EQ(array.bsearch(512), 1);
    EXPECT_EQ(array.bsearch(3), -1);
}
