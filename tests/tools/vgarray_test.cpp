#include "tools/vmemarray.h"

#include "support/warnings.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <numeric>

namespace
{
std::string bytesOf(const VGArray& array)
{
    return {array.data(), array.size()};
}

VGArray arrayOf(const std::string& text)
{
    VGArray array;
    array.duplicate(text.data(), unsigned(text.size()));
    return array;
}

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

char* heapCopy(const char* text)
{
    char* block = static_cast<char*>(std::malloc(std::strlen(text)));
    return static_cast<char*>(std::memcpy(block, text, std::strlen(text)));
}

struct ShareCase {
    const char* name;
    std::function<void(VGArray&)> change;
    const char* changed;
    const char* other;   // what a second handle on "abcd" sees then
    unsigned references; // of the changed one
};
} // namespace

class VGArraySharing : public testing::TestWithParam<ShareCase>
{
};

TEST_P(VGArraySharing, IsBrokenOnlyWhereTold)
{
    VGArray array = arrayOf("abcd");
    const VGArray other(array);
    GetParam().change(array);
    EXPECT_EQ(bytesOf(array), GetParam().changed);
    EXPECT_EQ(bytesOf(other), GetParam().other);
    EXPECT_EQ(array.nrefs(), GetParam().references);
    EXPECT_EQ(array.isNull(), array.isEmpty());
}

// The same on the only handle leaves the same bytes, and no block behind.
TEST_P(VGArraySharing, DoesTheSameUnshared)
{
    VGArray array = arrayOf("abcd");
    GetParam().change(array);
    EXPECT_EQ(bytesOf(array), GetParam().changed);
    EXPECT_EQ(array.nrefs(), 1u);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Operations, VGArraySharing,
    testing::Values(
        ShareCase{"Grow", [](VGArray& a) { a.resize(6); std::memcpy(a.data() + 4, "ef", 2); }, "abcdef", "abcdef", 2},
        ShareCase{"Shrink", [](VGArray& a) { a.resize(2); }, "ab", "ab", 2},
        ShareCase{"ResizeToNone", [](VGArray& a) { a.resize(0); }, "", "", 2},
        ShareCase{"Store", [](VGArray& a) { a.store("xyz", 3); }, "xyz", "xyz", 2},
        ShareCase{"StoreNothing", [](VGArray& a) { a.store(nullptr, 0); }, "", "", 2},
        ShareCase{"Fill", [](VGArray& a) { a.fill("xy", 3, 2); }, "xyxyxy", "xyxyxy", 2},
        ShareCase{"SetExpand", [](VGArray& a) { a.setExpand(1, "xy", 2); }, "abxy", "abxy", 2},
        ShareCase{"SetExpandBeyond", [](VGArray& a) { a.setExpand(2, "xy", 2); }, "abcdxy", "abcdxy", 2},
        ShareCase{"Sort", [](VGArray& a) { std::memcpy(a.data(), "dbca", 4); a.sort(1); }, "abcd", "abcd", 2},
        ShareCase{"AssignItself", [](VGArray& a) { const VGArray& same = a; a = same; }, "abcd", "abcd", 2},
        ShareCase{"AssignBlock", [](VGArray& a) { a.assign(heapCopy("xyz"), 3); }, "xyz", "abcd", 1},
        ShareCase{"AssignNothing", [](VGArray& a) { a.assign(nullptr, 0); }, "", "abcd", 1},
        ShareCase{"DuplicateItself", [](VGArray& a) { a.duplicate(a); }, "abcd", "abcd", 1},
        ShareCase{"DuplicateOther", [](VGArray& a) { a.duplicate(arrayOf("xyz")); }, "xyz", "abcd", 1},
        ShareCase{"DuplicateEmpty", [](VGArray& a) { a.duplicate(VGArray()); }, "", "abcd", 1},
        ShareCase{"DuplicateSameLength", [](VGArray& a) { a.duplicate("wxyz", 4); }, "wxyz", "abcd", 1},
        ShareCase{"DuplicateOwnBytes", [](VGArray& a) { a.duplicate(a.data(), 4); }, "abcd", "abcd", 1},
        ShareCase{"DuplicateOwnMiddle", [](VGArray& a) { a.duplicate(a.data() + 1, 2); }, "bc", "abcd", 1},
        ShareCase{"DuplicateNull", [](VGArray& a) { a.duplicate(nullptr, 4); }, "", "abcd", 1},
        ShareCase{"DuplicateNothing", [](VGArray& a) { a.duplicate("x", 0); }, "", "abcd", 1}),
    [](const auto& test) { return test.param.name; });
// clang-format on

TEST(VGArray, AssignmentLetsGoOfTheOldBytes)
{
    VGArray array = arrayOf("abcd");
    const VGArray old(array), other = arrayOf("xy");
    array = other;
    EXPECT_EQ(old.nrefs(), 1u);
    EXPECT_EQ(other.nrefs(), 2u);
    EXPECT_EQ(bytesOf(array), "xy");
}

TEST(VGArray, AssigningItsOwnBlockKeepsIt)
{
    VGArray array = arrayOf("abcd");
    array.assign(array.data(), 3);
    EXPECT_EQ(bytesOf(array), "abc");
}

TEST(VGArray, WarnsOfANegativeLength)
{
    WarningCatcher warnings;
    const VGArray array(-1);
    EXPECT_EQ(warnings.text(),
              QLatin1String("VGArray: Cannot allocate array with negative length"));
    const VMemArray<double> numbers(-5);
    EXPECT_EQ(warnings.text(),
              QLatin1String("VGArray: Cannot allocate array with negative length"));
    EXPECT_TRUE(array.isNull() && numbers.isNull());
}

TEST(VGArray, ALengthBeyond32BitsFailsAsLackOfMemory)
{
    auto array = arrayOf<double>({1, 2});
    const VMemArray<double> other(array);
    WarningCatcher warnings;
    const double value = 3;
    const std::vector<std::function<bool()>> growths = {
        [&] { return array.resize(0x20000000); },
        [&] { return array.fill(value, 0x7fffffff); },
        [&] { return array.setExpand(0x1fffffff, value); },
        [&] { return array.setExpand(0xffffffff, value); },
    };
    for (const auto& grow : growths) {
        array.fill(value, 2);
        EXPECT_FALSE(grow());
        EXPECT_TRUE(array.isNull() && array.isEmpty() && other.isEmpty());
        const QStringList texts = warnings.take();
        ASSERT_EQ(texts.size(), 1);
        EXPECT_TRUE(texts[0].endsWith(QLatin1String("Out of memory")));
    }
    EXPECT_TRUE(VMemArray<double>(0x7fffffff).isNull());
}

TEST(VGArray, BorrowsForeignMemory)
{
    char foreign[] = "abcd";
    VGArray array = arrayOf("old");
    const VGArray other(array);
    array.setRawData(foreign, 4);
    EXPECT_EQ(bytesOf(other), "old");
    array.data()[0] = 'x';
    EXPECT_STREQ(foreign, "xbcd");
    WarningCatcher warnings;
    array.resetRawData(foreign, 3);
    EXPECT_EQ(warnings.text(), QLatin1String("VGArray::resetRawData: Inconsistent arguments"));
    EXPECT_EQ(array.size(), 4u);
    array.resetRawData(foreign, 4);
    EXPECT_TRUE(warnings.isEmpty() && array.isNull() && array.isEmpty());
}

TEST(VGArray, FillsWithElementsOfAnySize)
{
    std::string element(5000, '-');
    std::iota(element.begin(), element.end(), char(0));
    for (const unsigned size : {1u, 2u, 3u, 4u, 8u, 12u, 100u, 4096u, 5000u}) {
        for (const int count : {1, 2, 3, 7, 1000}) {
            VGArray array;
            ASSERT_TRUE(array.fill(element.data(), count, size));
            ASSERT_EQ(array.size(), unsigned(count) * size);
            for (int i = 0; i < count; ++i)
                ASSERT_EQ(std::memcmp(array.data() + unsigned(i) * size, element.data(), size), 0)
                    << "element " << i << " of size " << size;
        }
    }
}

TEST(VGArray, FillsThePresentWholeElementsWithANegativeCount)
{
    VGArray array = arrayOf("abcdefg"), empty;
    EXPECT_TRUE(array.fill("xyz", -1, 3));
    EXPECT_EQ(bytesOf(array), "xyzxyzg");
    EXPECT_TRUE(empty.fill("xyz", -1, 3));
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_TRUE(array.fill("xyz", 0, 3));
    EXPECT_TRUE(array.isNull());
}

struct FindCase {
    const char* bytes;
    std::string element;
    unsigned index;
    int found;
    unsigned matches;
};

class VGArrayFind : public testing::TestWithParam<FindCase>
{
};

TEST_P(VGArrayFind, SeesWholeElementsOnly)
{
    const FindCase& test = GetParam();
    const VGArray array = arrayOf(test.bytes);
    const auto size = unsigned(test.element.size());
    EXPECT_EQ(array.find(test.element.data(), test.index, size), test.found);
    EXPECT_EQ(array.contains(test.element.data(), size), test.matches);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, VGArrayFind,
    testing::Values(FindCase{"abcab", "b", 0, 1, 2}, FindCase{"abcab", "b", 2, 4, 2},
                    FindCase{"abcab", "x", 0, -1, 0}, FindCase{"aababa", "ab", 0, -1, 0},
                    FindCase{"xxabab", "ab", 2, 2, 2}, FindCase{"xxxabcabc", "abc", 0, 1, 2},
                    FindCase{"abcdabcx", "abcx", 0, 1, 1}, FindCase{"abcdabc", "abcd", 1, -1, 1},
                    FindCase{"12345678abcdefgh", "abcdefgh", 0, 1, 1},
                    FindCase{"ababa", "ab", 2, -1, 2}));

TEST(VGArray, FindWarnsOfAStartPastTheEnd)
{
    const VGArray array = arrayOf("abcd"), empty;
    WarningCatcher warnings;
    EXPECT_EQ(array.find("ab", 2, 2), -1);
    EXPECT_EQ(warnings.text(), QLatin1String("VGArray::find: Index 2 out of range"));
    EXPECT_EQ(empty.find("a", 0, 1), -1);
    EXPECT_EQ(warnings.text(), QLatin1String("VGArray::find: Index 0 out of range"));
    // 2^31 elements of two bytes are 2^32 bytes, not none.
    EXPECT_EQ(array.find("ab", 0x80000000, 2), -1);
    EXPECT_FALSE(warnings.isEmpty());
}

TEST(VGArray, SortsElementsAsUnsignedBytes)
{
    VGArray array = arrayOf("b\xff"
                            "a\x01"
                            "b\x01"
                            "a\xff"
                            "\x80z");
    array.sort(2);
    EXPECT_EQ(bytesOf(array), "a\x01"
                              "a\xff"
                              "b\x01"
                              "b\xff"
                              "\x80z");
    EXPECT_EQ(array.bsearch("b\x01", 2), 2);
    EXPECT_EQ(array.bsearch("b\x02", 2), -1);
    EXPECT_EQ(VGArray().bsearch("b", 1), -1);
}

TEST(VGArray, BsearchFindsTheFirstOfEqualElements)
{
    EXPECT_EQ(arrayOf("abbbbbbb").bsearch("b", 1), 1);
    EXPECT_EQ(arrayOf("aaaaaaab").bsearch("a", 1), 0);
}

TEST(VGArray, EqualityComparesBytes)
{
    EXPECT_TRUE(arrayOf("ab") == arrayOf("ab"));
    EXPECT_TRUE(arrayOf("ab") != arrayOf("ac"));
    EXPECT_TRUE(arrayOf("ab") != arrayOf("abc"));
    EXPECT_TRUE(VGArray() == VGArray());
}

namespace
{
/// An array with a word more in its record, as subclasses have it.
class Flagged : public VGArray
{
public:
    struct flagged_data : array_data {
        quint32 flags = 7;
    };

    Flagged() : VGArray(new flagged_data) { ++records; }
    Flagged(const Flagged&) = default;
    Flagged& operator=(const Flagged&) = default;
    ~Flagged() override { release(); }
    unsigned flags() const { return static_cast<flagged_data*>(m_data)->flags; }

    static int records;

protected:
    array_data* newData() override
    {
        ++records;
        return new flagged_data;
    }
    void deleteData(array_data* record) override
    {
        --records;
        delete static_cast<flagged_data*>(record);
    }
};
int Flagged::records = 0;
} // namespace

TEST(VGArray, ASubclassKeepsItsLargerRecords)
{
    {
        Flagged array;
        array.resize(4);
        const Flagged other(array);
        array.duplicate(array);
        EXPECT_EQ(Flagged::records, 2);
        EXPECT_EQ(array.flags(), 7u);
        array = other;
        EXPECT_EQ(Flagged::records, 1);
    }
    EXPECT_EQ(Flagged::records, 0);
}

TEST(VMemArray, SortsByTheBytesInMemory)
{
    auto array = arrayOf<int>({1, 256, -1, 2, 512});
    array.sort();
    EXPECT_EQ(listed(array), (std::vector<int>{256, 512, 1, 2, -1}));
    EXPECT_EQ(array.bsearch(512), 1);
    EXPECT_EQ(array.bsearch(3), -1);
    EXPECT_EQ(array.find(-1, 1), 4);
    EXPECT_EQ(array.contains(2), 1u);
}

TEST(VMemArray, AnIndexPastTheEndWarnsInBytesAndGivesTheFirst)
{
    auto array = arrayOf<int>({10, 11, 12});
    const auto& same = array;
    WarningCatcher warnings;
    EXPECT_EQ(array[2], 12);
    EXPECT_TRUE(warnings.isEmpty());
    EXPECT_EQ(&array[3], array.data());
    EXPECT_EQ(warnings.text(), QLatin1String("VGArray::at: Absolute index 12 out of range"));
    EXPECT_EQ(&same.at(unsigned(-1)), same.data());
    EXPECT_EQ(warnings.text(), QLatin1String("VGArray::at: Absolute index -4 out of range"));
    // An index whose byte offset would wrap to 0.
    EXPECT_EQ(&array[0x40000000], array.data());
    EXPECT_FALSE(warnings.isEmpty());
}

TEST(VMemArray, AnEmptyArrayLendsAZeroedElement)
{
    VMemArray<double> array;
    WarningCatcher warnings;
    array[0] = 5;
    EXPECT_EQ(array[0], 0);
    EXPECT_EQ(warnings.take().size(), 2);
    VGArray bytes;
    EXPECT_EQ(bytes.at(0), nullptr);
    EXPECT_EQ(warnings.text(), QLatin1String("VGArray::at: Absolute index 0 out of range"));
}

TEST(VMemArray, APartOfAnElementIsNoElement)
{
    auto array = arrayOf<int>({1, 2});
    array.VGArray::resize(7);
    WarningCatcher warnings;
    EXPECT_EQ(array.size(), 1u);
    EXPECT_EQ(array[1], 1);
    EXPECT_EQ(warnings.text(), QLatin1String("VGArray::at: Absolute index 4 out of range"));
}

TEST(VMemArray, DetachAndCopySeparate)
{
    auto array = arrayOf<int>({1, 2});
    VMemArray<int> shared(array), copy = array.copy();
    array[0] = 5;
    EXPECT_EQ(shared[0], 5);
    EXPECT_EQ(copy[0], 1);
    shared.detach();
    array[0] = 6;
    EXPECT_EQ(shared[0], 5);
}

TEST(VMemArray, TakesItsOwnElementsAsValues)
{
    auto array = arrayOf<int>({1, 2, 3});
    array.fill(array[2], 1000);
    EXPECT_EQ(array[999], 3);
    array.setExpand(100000, array[5]);
    EXPECT_EQ(array[100000], 3);
}

static_assert(sizeof(VGArray) == 16 && sizeof(VMemArray<int>) == 16);
static_assert(offsetof(VGArray::array_data, count) == 0 &&
              offsetof(VGArray::array_data, data) == 8 && offsetof(VGArray::array_data, len) == 16);

namespace
{
/// An array whose bytes can be viewed by others.
class ViewedArray : public VGArray
{
public:
    explicit ViewedArray(const char* text) : VGArray(newRecord(unsigned(qstrlen(text))))
    {
        std::memcpy(data(), text, size());
        m_data = newView(m_data, data(), size());
    }
    ViewedArray(const ViewedArray& whole, unsigned from, unsigned len)
        : VGArray(viewOf(whole.ownerOfView(), whole.data() + from, len))
    {
    }
    std::string text() const { return {data(), size()}; }

private:
    static array_data* viewOf(array_data* owner, char* data, unsigned len)
    {
        ++owner->count;
        return newView(owner, data, len);
    }
};
} // namespace

TEST(VGArray, AViewGetsBytesOfItsOwnWhenWrittenTo)
{
    const ViewedArray whole("badcfe");
    const char other[] = "xyz";
    const auto changed = [&](auto change) {
        ViewedArray view(whole, 1, 3);
        EXPECT_EQ(view.data(), whole.data() + 1);
        change(view);
        EXPECT_EQ(whole.text(), "badcfe");
        return view.text();
    };
    EXPECT_EQ(changed([&](VGArray& view) { view.store(other, 3); }), "xyz");
    EXPECT_EQ(changed([&](VGArray& view) { view.duplicate(other, 3); }), "xyz");
    EXPECT_EQ(changed([&](VGArray& view) { view.fill(other, -1, 1); }), "xxx");
    EXPECT_EQ(changed([&](VGArray& view) { view.fill(other, 2, 1); }), "xx");
    EXPECT_EQ(changed([&](VGArray& view) { view.setExpand(1, other, 1); }), "axc");
    EXPECT_EQ(changed([&](VGArray& view) { view.setExpand(3, other, 1); }), "adcx");
    EXPECT_EQ(changed([&](VGArray& view) { view.resize(2); }), "ad");
    EXPECT_EQ(changed([&](VGArray& view) { view.resize(0); }), "");
    EXPECT_EQ(changed([&](VGArray& view) { view.sort(1); }), "acd");
    EXPECT_EQ(changed([&](VGArray& view) { view.duplicate(view).data()[0] = 'x'; }), "xdc");
    EXPECT_EQ(changed([&](VGArray& view) { view.resetRawData(view.data(), 3); }), "");
}

TEST(VGArray, AViewOutlivesWhatItViews)
{
    auto whole = std::make_unique<ViewedArray>("abcdef");
    const ViewedArray part(*whole, 2, 3);
    const VGArray sharer(part);
    whole->fill("x", -1, 1);
    EXPECT_EQ(part.text(), "cde");
    whole.reset();
    EXPECT_EQ(part.text(), "cde");
    EXPECT_EQ(sharer.nrefs(), 2u);
    EXPECT_TRUE(ViewedArray(part, 0, 0) == VGArray());
}
