#include "tools/vptrlist.h"
#include "tools/vptrvector.h"

#include "support/warnings.h"

#include <cctype>
#include <cstdlib>
#include <functional>

namespace
{
// One character is one item. A capital equals its small letter but is another item.
char alphabet[128];

char* item(char letter)
{
    alphabet[int(letter)] = letter;
    return letter == '.' ? nullptr : alphabet + int(letter);
}

/// Shows its slots as letters, empty ones as ".", and notes what it deletes.
class Slots : public VPtrVector<char>
{
public:
    explicit Slots(const std::string& letters = std::string())
        : VPtrVector(unsigned(letters.size()))
    {
        for (unsigned i = 0; i < size(); ++i)
            insert(i, item(letters[i]));
    }
    ~Slots() override { clear(); }

    std::string text() const
    {
        std::string result;
        for (const char* letter : *this)
            result += letter ? *letter : '.';
        return result;
    }

    std::string deleted;

protected:
    void deleteItem(Item old) override { deleted += *static_cast<char*>(old); }
    int compareItems(Item a, Item b) const override
    {
        EXPECT_TRUE(a && b) << "asked about an empty slot";
        return std::tolower(*static_cast<char*>(a)) - std::tolower(*static_cast<char*>(b));
    }
    // "!" is an item that can't be read.
    QDataStream& read(QDataStream& stream, Item& result) override
    {
        qint8 letter = 0;
        stream >> letter;
        result = letter == '!' ? nullptr : item(char(letter & 0x7f));
        return stream;
    }
    QDataStream& write(QDataStream& stream, Item letter) const override
    {
        return stream << qint8(*static_cast<char*>(letter));
    }
};

struct VectorCase {
    const char* name;
    const char* start;
    std::function<int(Slots&)> change;
    int result;
    const char* expected;
    const char* deleted = "";
    const char* warning = "";
};
} // namespace

class VGVectorChange : public testing::TestWithParam<VectorCase>
{
};

TEST_P(VGVectorChange, SetsSlotsAndCount)
{
    const VectorCase& test = GetParam();
    Slots vector(test.start);
    WarningCatcher warnings;
    EXPECT_EQ(test.change(vector), test.result);
    EXPECT_EQ(warnings.text(), QLatin1String(test.warning));
    const std::string expected = test.expected;
    EXPECT_EQ(vector.text(), expected);
    EXPECT_EQ(vector.size(), expected.size());
    EXPECT_EQ(vector.count(),
              expected.size() - std::size_t(std::count(expected.begin(), expected.end(), '.')));
    EXPECT_EQ(vector.deleted, test.deleted);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Operations, VGVectorChange,
    testing::Values(
        VectorCase{"InsertIntoEmpty", "a.c", [](Slots& v) { return v.insert(1, item('b')); }, 1, "abc"},
        VectorCase{"InsertOverItem", "abc", [](Slots& v) { return v.insert(1, item('x')); }, 1, "axc", "b"},
        VectorCase{"InsertNull", "abc", [](Slots& v) { return v.insert(1, nullptr); }, 1, "a.c", "b"},
        VectorCase{"InsertAtSize", "abc", [](Slots& v) { return v.insert(3, item('x')); }, 0, "abc", "", "VGVector::insert: Index 3 out of range"},
        VectorCase{"InsertExpand", "ab", [](Slots& v) { return v.insertExpand(4, item('x')); }, 1, "ab..x"},
        VectorCase{"InsertExpandInside", "abc", [](Slots& v) { return v.insertExpand(1, item('x')); }, 1, "axc", "b"},
        VectorCase{"InsertExpandBeyondAll", "ab", [](Slots& v) { return v.insertExpand(0xffffffff, item('x')); }, 0, "ab"},
        VectorCase{"Remove", "abc", [](Slots& v) { return v.remove(2); }, 1, "ab.", "c"},
        VectorCase{"RemoveEmptySlot", "a.c", [](Slots& v) { return v.remove(1); }, 1, "a.c"},
        VectorCase{"RemoveAtSize", "abc", [](Slots& v) { return v.remove(3); }, 0, "abc", "", "VGVector::remove: Index 3 out of range"},
        VectorCase{"Take", "abc", [](Slots& v) { return *v.take(0); }, 'a', ".bc"},
        VectorCase{"TakeEmptySlot", "a.c", [](Slots& v) { return int(!v.take(1)); }, 1, "a.c"},
        VectorCase{"TakeAtSize", "abc", [](Slots& v) { return int(!v.take(3)); }, 1, "abc", "", "VGVector::take: Index 3 out of range"},
        VectorCase{"Clear", "a.c", [](Slots& v) { v.clear(); return 0; }, 0, "", "ac"},
        VectorCase{"Shrink", "ab.de", [](Slots& v) { return v.resize(2); }, 1, "ab", "de"},
        VectorCase{"Grow", "ab", [](Slots& v) { return v.resize(4); }, 1, "ab.."},
        VectorCase{"ResizeToNone", "a.c", [](Slots& v) { return v.resize(0); }, 1, "", "ac"},
        VectorCase{"FillAll", "a.c", [](Slots& v) { return v.fill(item('x')); }, 1, "xxx", "ac"},
        VectorCase{"FillMore", "ab", [](Slots& v) { return v.fill(item('x'), 3); }, 1, "xxx", "ab"},
        VectorCase{"FillFewer", "abc", [](Slots& v) { return v.fill(item('x'), 1); }, 1, "x", "bca"},
        VectorCase{"FillNothing", "", [](Slots& v) { return v.fill(item('x')); }, 1, ""},
        VectorCase{"Sort", ".d.ba..c", [](Slots& v) { v.sort(); return 0; }, 0, "abcd...."},
        VectorCase{"SortNothing", "...", [](Slots& v) { v.sort(); return 0; }, 0, "..."},
        VectorCase{"SortFull", "cab", [](Slots& v) { v.sort(); return 0; }, 0, "abc"},
        VectorCase{"Bsearch", "aBbbcde.", [](Slots& v) { return v.bsearch(item('b')); }, 1, "aBbbcde."},
        VectorCase{"BsearchMiss", "abde.", [](Slots& v) { return v.bsearch(item('c')); }, -1, "abde."},
        VectorCase{"BsearchUnsorted", ".d.", [](Slots& v) { return v.bsearch(item('c')); }, -1, ".d."},
        VectorCase{"BsearchNull", "ab", [](Slots& v) { return v.bsearch(nullptr); }, -1, "ab", "", "VGVector::bsearch: Cannot search for null object"},
        VectorCase{"BsearchNullInNone", "", [](Slots& v) { return v.bsearch(nullptr); }, -1, ""},
        VectorCase{"Find", "a.cb", [](Slots& v) { return v.find(item('B')); }, 3, "a.cb"},
        VectorCase{"FindBehind", "abc", [](Slots& v) { return v.find(item('a'), 1); }, -1, "abc"},
        VectorCase{"FindEmptySlot", "ab.d.", [](Slots& v) { return v.find(nullptr, 3); }, 4, "ab.d."},
        VectorCase{"FindAtSize", "abc", [](Slots& v) { return v.find(item('a'), 3); }, -1, "abc", "", "VGVector::find: Index 3 out of range"},
        VectorCase{"FindRef", "aBb", [](Slots& v) { return v.findRef(item('b')); }, 2, "aBb"},
        VectorCase{"FindRefEmptySlot", "ab.", [](Slots& v) { return v.findRef(nullptr); }, 2, "ab."},
        VectorCase{"FindRefAtSize", "abc", [](Slots& v) { return v.findRef(item('a'), 3); }, -1, "abc"},
        VectorCase{"FindRefPastSize", "abc", [](Slots& v) { return v.findRef(item('a'), 4); }, -1, "abc", "", "VGVector::findRef: Index 4 out of range"},
        VectorCase{"Contains", "aA.b.a", [](Slots& v) { return int(v.contains(item('a')) * 10 + v.containsRef(item('a'))); }, 32, "aA.b.a"},
        VectorCase{"ContainsEmptySlots", "a..b", [](Slots& v) { return int(v.contains(nullptr) * 10 + v.containsRef(nullptr)); }, 22, "a..b"},
        VectorCase{"At", "abc", [](Slots& v) { return *v.at(1); }, 'b', "abc"},
        VectorCase{"AtSize", "abc", [](Slots& v) { return int(!v[3]); }, 1, "abc", "", "VGVector::operator[]: Index 3 out of range"},
        VectorCase{"AssignToItself", "a.c", [](Slots& v) { const Slots& same = v; v = same; return 0; }, 0, "a.c"},
        VectorCase{"Assign", "a.c", [](Slots& v) { v.VGVector::operator=(Slots("x.")); return 0; }, 0, "x.", "ac"}),
    [](const auto& test) { return test.param.name; });
// clang-format on

TEST(VGVector, EqualityMatchesEmptySlotsWithEmptySlotsOnly)
{
    EXPECT_TRUE(Slots("a.c") == Slots("A.C"));
    EXPECT_FALSE(Slots("a.c") == Slots("ac."));
    EXPECT_FALSE(Slots("a.c") == Slots("a.c."));
    EXPECT_FALSE(Slots("a.c") == Slots("abc"));
    EXPECT_TRUE(Slots() == Slots());
}

TEST(VGVector, AnItemBeingDeletedMayChangeTheVector)
{
    struct Actor {
        std::function<void()> atEnd;
        ~Actor() { atEnd(); }
    };
    VPtrVector<Actor> vector(3);
    vector.setAutoDelete(true);
    int calls = 0;
    const auto shrink = [&] {
        ++calls;
        vector.resize(1);
    };
    for (unsigned i = 0; i < 3; ++i)
        vector.insert(i, new Actor{shrink});
    vector.remove(2);
    EXPECT_EQ(calls, 2); // slot 2, and slot 1 by the shrinking
    EXPECT_EQ(vector.size(), 1u);
    vector[0]->atEnd = [&] {
        ++calls;
        EXPECT_EQ(vector.size(), 0u);
    };
    vector.clear();
    EXPECT_EQ(calls, 3);
}

TEST(VGVector, KeepsWhatNewItemMakes)
{
    class Copies : public VPtrVector<std::string>
    {
    public:
        Copies() : VPtrVector(2) { setAutoDelete(true); }

    private:
        Item newItem(Item text) override
        {
            return new std::string(*static_cast<std::string*>(text));
        }
    };
    std::string text = "before";
    Copies vector, other;
    vector.fill(&text);
    other = vector;
    text = "after";
    EXPECT_EQ(*vector[0] + *other[1], "beforebefore");
    EXPECT_NE(vector[0], other[0]);
}

struct StoredVector {
    const char* name;
    QByteArray bytes;
    const char* expected;
};

class VGVectorStream : public testing::TestWithParam<StoredVector>
{
};

TEST_P(VGVectorStream, ReadsItemsUntilCountOrStreamEnds)
{
    QBuffer buffer;
    buffer.setData(GetParam().bytes);
    buffer.open(QIODevice::ReadOnly);
    QDataStream stream(&buffer);
    Slots vector("old");
    stream >> vector;
    EXPECT_EQ(vector.text(), GetParam().expected);
    EXPECT_EQ(vector.deleted, "old");
}

INSTANTIATE_TEST_SUITE_P(
    Forms, VGVectorStream,
    testing::Values(StoredVector{"Three", QByteArray("\0\0\0\3abcd", 8), "abc"},
                    StoredVector{"None", QByteArray("\0\0\0\0abcd", 8), ""},
                    StoredVector{"Negative", QByteArray("\x80\0\0\0abcd", 8), ""},
                    StoredVector{"NullItem", QByteArray("\0\0\0\3a!c", 7), "a.."},
                    StoredVector{"TooMany",
                                 QByteArray("\x7f\xff\xff\xff"
                                            "ab",
                                            6),
                                 "ab"},
                    StoredVector{"CutCount", QByteArray("\0\0\0", 3), ""}),
    [](const auto& test) { return test.param.name; });

TEST(VGVectorStream, EmptySlotsAreLostOnARoundTrip)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << Slots(".b.d.");
    EXPECT_EQ(bytes, QByteArray("\0\0\0\2bd", 6));
    QDataStream in(bytes);
    Slots back;
    in >> back;
    EXPECT_EQ(back.text(), "bd");
    EXPECT_EQ(back.count(), 2u);
}

namespace
{
/// Bytes as from a pipe: nobody knows how many will come.
class Pipe : public QIODevice
{
public:
    explicit Pipe(QByteArray bytes) : m_bytes(std::move(bytes)) { open(ReadOnly | Unbuffered); }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* to, qint64 most) override
    {
        const qint64 size = std::min<qint64>(most, m_bytes.size());
        std::copy_n(m_bytes.constData(), size, to);
        m_bytes.remove(0, size);
        return size;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_bytes;
};
} // namespace

TEST(VGVectorStream, APipeGrowsTheSlotsOnlyWithItsItems)
{
    Pipe lying(QByteArray("\x7f\xff\xff\xff", 4) + QByteArray(1000, 'a'));
    QDataStream stream(&lying);
    Slots vector;
    stream >> vector;
    EXPECT_LE(vector.size(), 4096u);
    EXPECT_GE(vector.count(), 1000u);
    EXPECT_NE(stream.status(), QDataStream::Ok);

    Pipe honest(QByteArray("\0\0\3\xe8", 4) + QByteArray(1000, 'a'));
    QDataStream again(&honest);
    again >> vector;
    EXPECT_EQ(vector.text(), std::string(1000, 'a'));
}
