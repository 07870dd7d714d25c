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

namespace
{
/// An array whose first bytes stand with its record.
class RoomyArray : public VGArray
{
public:
    explicit RoomyArray(const char* text) : VGArray(newRecord(unsigned(qstrlen(text))))
    {
        std::memcpy(data(), text, size());
    }
    std::string text() const { return {data(), size()}; }
};
} // namespace

TEST(VGArray, LeavesTheRoomBehindItsRecordAndComesBackToIt)
{
    RoomyArray array("abcdef");
    const char* const room = array.data();
    EXPECT_TRUE(array.resize(3) && array.resize(6));
    EXPECT_EQ(array.data(), room);
    EXPECT_TRUE(array.resize(7));
    EXPECT_NE(array.data(), room);
    EXPECT_EQ(array.text().substr(0, 6), "abcdef");
    EXPECT_TRUE(array.resize(0) && array.resize(6));
    EXPECT_EQ(array.data(), room);
}

TEST(VGArray, ReplacesBytesInTheRoomOfARecordByABlockOfItsOwn)
{
    RoomyArray array("abc");
    VGArray sharer(array);
    array.duplicate("other", 5);
    EXPECT_EQ(array.text(), "other");
    EXPECT_EQ(std::string(sharer.data(), sharer.size()), "abc");
    sharer.assign(array);
    EXPECT_EQ(sharer.data(), array.data());
    RoomyArray alone("xyz");
    alone.duplicate(array);
    EXPECT_EQ(alone.text(), "other");
}
