#include "tools/vptrlist.h"
#include "tools/vptrvector.h"

#include "support/warnings.h"

#include <cctype>
#include <functional>
#include <memory>

namespace
{
// One character is one item. A capital equals its small letter but is another item.
char alphabet[128];

char* item(char letter)
{
    alphabet[int(letter)] = letter;
    return alphabet + int(letter);
}

/// Writes its items as letters and notes what it deletes.
class Letters : public VPtrList<char>
{
public:
    explicit Letters(const std::string& letters = std::string())
    {
        for (const char letter : letters)
            append(item(letter));
    }
    ~Letters() override { clear(); }

    std::string text() const
    {
        std::string result;
        for (const char* letter : *this)
            result += *letter;
        return result;
    }
    VLNode* node(unsigned index) const
    {
        VLNode* place = firstNode();
        while (index-- > 0)
            place = place->next;
        return place;
    }

    std::string deleted;

protected:
    void deleteItem(Item old) override { deleted += *static_cast<char*>(old); }
    int compareItems(Item a, Item b) const override
    {
        return std::tolower(*static_cast<char*>(a)) - std::tolower(*static_cast<char*>(b));
    }
    // "!" is an item that can't be read, "0" one that takes no byte.
    QDataStream& read(QDataStream& stream, Item& result) override
    {
        qint8 letter = 0;
        if (stream.device()->peek(1) == "0")
            letter = '0';
        else
            stream >> letter;
        result = letter == '!' ? nullptr : item(char(letter & 0x7f));
        return stream;
    }
    QDataStream& write(QDataStream& stream, Item letter) const override
    {
        return stream << qint8(*static_cast<char*>(letter));
    }
};

char letterOf(const void* letter)
{
    return letter ? *static_cast<const char*>(letter) : '-';
}

struct ListCase {
    const char* name;
    std::function<int(Letters&)> change;
    int result;
    const char* items;
    int currentIndex;
    const char* iterators; // where those that stood on "abcde" stand now
    const char* deleted = "";
    const char* warning = "";
    const char* start = "abcde";
};
} // namespace

class VGListChange : public testing::TestWithParam<ListCase>
{
};

TEST_P(VGListChange, SetsItemsPositionAndIterators)
{
    const ListCase& test = GetParam();
    Letters list(test.start);
    std::vector<VPtrListIterator<char>> iterators;
    for (unsigned i = 0; i < list.count(); ++i) {
        iterators.emplace_back(list);
        iterators.back() += i;
    }
    list.at(2);
    WarningCatcher warnings;
    EXPECT_EQ(test.change(list), test.result);
    EXPECT_EQ(warnings.text(), QLatin1String(test.warning));
    EXPECT_EQ(list.text(), test.items);
    EXPECT_EQ(list.count(), std::strlen(test.items));
    EXPECT_EQ(list.currentIndex(), test.currentIndex);
    const char* current = test.currentIndex < 0 ? "-" : test.items + test.currentIndex;
    EXPECT_EQ(letterOf(list.current()), *current);
    std::string places;
    for (const auto& iterator : iterators)
        places += letterOf(iterator.current());
    EXPECT_EQ(places, test.iterators);
    EXPECT_EQ(list.deleted, test.deleted);

    // The chain reads the same from its end.
    std::string backward;
    for (const VLNode* node = list.lastNode(); node; node = node->prev)
        backward = std::string(1, letterOf(node->item)) + backward;
    EXPECT_EQ(backward, test.items);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Operations, VGListChange,
    testing::Values(
        ListCase{"Prepend", [](Letters& l) { l.prepend(item('x')); return 0; }, 0, "xabcde", 0, "abcde"},
        ListCase{"Append", [](Letters& l) { l.append(item('x')); return 0; }, 0, "abcdex", 5, "abcde"},
        ListCase{"InsertInside", [](Letters& l) { return l.insertAt(3, item('x')); }, 1, "abcxde", 3, "abcde"},
        ListCase{"InsertAtHead", [](Letters& l) { return l.insertAt(0, item('x')); }, 1, "xabcde", 0, "abcde"},
        ListCase{"InsertAtEnd", [](Letters& l) { return l.insertAt(5, item('x')); }, 1, "abcdex", 5, "abcde"},
        ListCase{"InsertBeyond", [](Letters& l) { return l.insertAt(6, item('x')); }, 0, "abcde", 2, "abcde"},
        ListCase{"InSortBeforeItsEqual", [](Letters& l) { l.inSort(item('D')); return 0; }, 0, "abcDde", 3, "abcde"},
        ListCase{"InSortAtEnd", [](Letters& l) { l.inSort(item('z')); return 0; }, 0, "abcdez", 5, "abcde"},
        ListCase{"RemoveCurrent", [](Letters& l) { return l.remove(); }, 1, "abde", 2, "abdde", "c"},
        ListCase{"RemoveEqual", [](Letters& l) { return l.remove(item('B')); }, 1, "acde", 1, "accde", "b"},
        ListCase{"RemoveUnknown", [](Letters& l) { return l.remove(item('z')); }, 0, "abcde", -1, "abcde"},
        ListCase{"RemoveNothingCurrent", [](Letters& l) { l.find(item('z')); return l.remove(); }, 0, "abcde", -1, "abcde"},
        ListCase{"RemoveRef", [](Letters& l) { return l.removeRef(item('d')); }, 1, "abce", 3, "abcee", "d"},
        ListCase{"RemoveRefOfAnEqual", [](Letters& l) { return l.removeRef(item('D')); }, 0, "abcde", -1, "abcde"},
        ListCase{"RemoveAt", [](Letters& l) { return l.removeAt(1); }, 1, "acde", 1, "accde", "b"},
        ListCase{"RemoveTheLast", [](Letters& l) { return l.removeAt(4); }, 1, "abcd", 3, "abcdd", "e"},
        ListCase{"RemoveTheOnly", [](Letters& l) { return l.removeAt(0); }, 1, "", -1, "-", "a", "", "a"},
        ListCase{"RemoveBeyond", [](Letters& l) { return l.removeAt(5); }, 0, "abcde", 2, "abcde"},
        ListCase{"RemoveLast", [](Letters& l) { return l.removeLast(); }, 1, "abcd", 3, "abcdd", "e"},
        ListCase{"RemoveNode", [](Letters& l) { return l.removeNode(l.node(3)); }, 1, "abce", 0, "abcee", "d"},
        ListCase{"RemoveNoNode", [](Letters& l) { return l.removeNode(nullptr); }, 0, "abcde", 2, "abcde", "", "VGList::removeNode: Corrupted node"},
        ListCase{"RemoveForeignNode", [](Letters& l) { Letters other("x"); return l.removeNode(other.node(0)); }, 0, "abcde", 2, "abcde", "", "VGList::removeNode: Corrupted node"},
        ListCase{"RemoveBentNode", [](Letters& l) { VLNode bent = *l.node(2); return l.removeNode(&bent); }, 0, "abcde", 2, "abcde", "", "VGList::removeNode: Corrupted node"},
        ListCase{"TakeNode", [](Letters& l) { return *l.takeNode(l.node(4)); }, 'e', "abcd", 0, "abcdd"},
        ListCase{"TakeTheOnlyNode", [](Letters& l) { return *l.takeNode(l.node(0)); }, 'a', "", -1, "-", "", "", "a"},
        ListCase{"TakeBentNode", [](Letters& l) { VLNode bent = *l.node(2); return int(!l.takeNode(&bent)); }, 1, "abcde", 2, "abcde", "", "VGList::takeNode: Corrupted node"},
        ListCase{"Erase", [](Letters& l) { return letterOf(l.erase(l.node(2))->item); }, 'd', "abde", 0, "abdde", "c"},
        ListCase{"EraseTheLast", [](Letters& l) { return int(!l.erase(l.node(4))); }, 1, "abcd", 0, "abcdd", "e"},
        ListCase{"RelinkInside", [](Letters& l) { l.relinkNode(l.node(3)); return 0; }, 0, "dabce", 0, "abcee"},
        ListCase{"RelinkTheLast", [](Letters& l) { l.relinkNode(l.node(4)); return 0; }, 0, "eabcd", 0, "abcdd"},
        ListCase{"RelinkTheFirst", [](Letters& l) { l.relinkNode(l.node(0)); return 0; }, 0, "abcde", 2, "abcde"},
        ListCase{"Replace", [](Letters& l) { return l.replaceAt(1, item('x')); }, 1, "axcde", 1, "axcde", "b"},
        ListCase{"ReplaceByItself", [](Letters& l) { return l.replaceAt(1, item('b')); }, 1, "abcde", 1, "abcde"},
        ListCase{"ReplaceBeyond", [](Letters& l) { return l.replaceAt(5, item('x')); }, 0, "abcde", 2, "abcde"},
        ListCase{"Take", [](Letters& l) { return *l.take(); }, 'c', "abde", 2, "abdde"},
        ListCase{"TakeAt", [](Letters& l) { return *l.takeAt(0); }, 'a', "bcde", 0, "bbcde"},
        ListCase{"TakeFirst", [](Letters& l) { return *l.takeFirst(); }, 'a', "bcde", 0, "bbcde"},
        ListCase{"TakeLast", [](Letters& l) { return *l.takeLast(); }, 'e', "abcd", 3, "abcdd"},
        ListCase{"TakeLastOfNone", [](Letters& l) { return int(!l.takeLast() && !l.takeFirst() && !l.take()); }, 1, "", -1, "", "", "", ""},
        ListCase{"FindEqual", [](Letters& l) { return l.find(item('D')); }, 3, "abcde", 3, "abcde"},
        ListCase{"FindAgainFindsTheSame", [](Letters& l) { return l.find(item('C'), false); }, 2, "abcde", 2, "abcde"},
        ListCase{"FindBehindItsBack", [](Letters& l) { return l.find(item('b'), false); }, -1, "abcde", -1, "abcde"},
        ListCase{"FindRef", [](Letters& l) { return l.findRef(item('e'), false); }, 4, "abcde", 4, "abcde"},
        ListCase{"FindRefOfAnEqual", [](Letters& l) { return l.findRef(item('E')); }, -1, "abcde", -1, "abcde"},
        ListCase{"Contains", [](Letters& l) { return int(l.contains(item('A')) * 10 + l.containsRef(item('A'))); }, 31, "aAbac", 2, "aAbac", "", "", "aAbac"},
        ListCase{"NextAtTheEnd", [](Letters& l) { l.last(); return int(!l.next()); }, 1, "abcde", -1, "abcde"},
        ListCase{"PrevAtTheHead", [](Letters& l) { l.first(); return int(!l.prev()); }, 1, "abcde", -1, "abcde"},
        ListCase{"Prev", [](Letters& l) { return *l.prev(); }, 'b', "abcde", 1, "abcde"},
        ListCase{"Sort", [](Letters& l) { l.sort(); return 0; }, 0, "abcde", 2, "abcde", "", "", "ebdac"},
        ListCase{"LocateBeyond", [](Letters& l) { return int(!l.locate(5)); }, 1, "abcde", 2, "abcde"},
        ListCase{"LocateBeyondFromNowhere", [](Letters& l) { l.find(item('z')); return int(!l.locate(5)); }, 1, "abcde", 0, "abcde"},
        ListCase{"Clear", [](Letters& l) { l.clear(); return 0; }, 0, "", -1, "-----", "abcde"},
        ListCase{"AssignToItself", [](Letters& l) { const Letters& same = l; l = same; return 0; }, 0, "abcde", 2, "abcde"},
        ListCase{"Assign", [](Letters& l) { l.VGList::operator=(Letters("xy")); return 0; }, 0, "xy", 0, "-----", "abcde"}),
    [](const auto& test) { return test.param.name; });
// clang-format on

TEST(VGList, LocatesEveryItemFromEveryOther)
{
    Letters list("abcdefghijk");
    for (unsigned from = 0; from < list.count(); ++from) {
        for (unsigned to = 0; to < list.count(); ++to) {
            list.at(from);
            EXPECT_EQ(list.locate(to), list.node(to)) << from << " to " << to;
            EXPECT_EQ(list.currentIndex(), int(to));
        }
    }
}

TEST(VGList, CopyEndsOnItsLastItemAndOwnsNothing)
{
    Letters list("abc");
    list.setAutoDelete(true);
    list.at(0);
    const VPtrList<char> copy(list);
    EXPECT_TRUE(copy != VPtrList<char>());
    EXPECT_EQ(copy.currentIndex(), 2);
    EXPECT_FALSE(copy.autoDelete());
}

TEST(VGList, EqualityAsksTheItemsInOrder)
{
    EXPECT_TRUE(Letters("abc") == Letters("aBc"));
    EXPECT_FALSE(Letters("abc") == Letters("acb"));
    EXPECT_FALSE(Letters("abc") == Letters("abcd"));
    EXPECT_TRUE(Letters() == Letters());
}

TEST(VGListIterator, StepsAndStopsAtTheEnds)
{
    const Letters list("abcde");
    VPtrListIterator<char> it(list);
    EXPECT_EQ(letterOf(it()), 'a');
    EXPECT_EQ(letterOf(it.current()), 'b');
    EXPECT_EQ(letterOf(++it), 'c');
    EXPECT_EQ(letterOf(it += 2), 'e');
    EXPECT_TRUE(it.atLast());
    EXPECT_EQ(letterOf(it -= 3), 'b');
    EXPECT_EQ(letterOf(--it), 'a');
    EXPECT_TRUE(it.atFirst());
    EXPECT_EQ(it -= 4000000000u, nullptr);
    EXPECT_EQ(++it, nullptr);
    EXPECT_EQ(it(), nullptr);
    EXPECT_FALSE(it.atFirst() || it.atLast());
    EXPECT_EQ(letterOf(it.toLast()), 'e');
    EXPECT_EQ(++it, nullptr);
}

TEST(VGListIterator, OutlivesItsList)
{
    auto list = std::make_unique<Letters>("abc");
    VPtrListIterator<char> it(*list), assigned(*list);
    list.reset();
    const VPtrListIterator<char> copy(it);
    assigned = it;
    WarningCatcher warnings;
    EXPECT_FALSE(it.current() || it() || ++it || --it || it.count() || it.atFirst() ||
                 copy.current());
    EXPECT_TRUE(warnings.isEmpty());
    EXPECT_EQ(it.toFirst(), nullptr);
    EXPECT_EQ(warnings.text(), QLatin1String("VGListIterator::toFirst: List has been deleted"));
    EXPECT_EQ(assigned.toLast(), nullptr);
    EXPECT_EQ(warnings.text(), QLatin1String("VGListIterator::toLast: List has been deleted"));
}

TEST(VGListIterator, ReturnsToAClearedList)
{
    Letters list("abc");
    VPtrListIterator<char> it(list);
    list.clear();
    list.append(item('x'));
    EXPECT_EQ(it.current(), nullptr);
    EXPECT_EQ(letterOf(it.toFirst()), 'x');
}

TEST(VGListIterator, MovesToAnotherListAndLeavesInAnyOrder)
{
    Letters first("abc"), second("xyz");
    auto single = std::make_unique<VPtrListIterator<char>>(first);
    auto middle = std::make_unique<VPtrListIterator<char>>(first);
    VPtrListIterator<char> last(first);
    single.reset();
    middle.reset();
    const VPtrListIterator<char> again(first);
    last = VPtrListIterator<char>(second);
    first.removeAt(0);
    second.removeAt(0);
    EXPECT_EQ(letterOf(again.current()), 'b');
    EXPECT_EQ(letterOf(last.current()), 'y');
}

namespace
{
/// Acts on its list when it is deleted.
struct Actor {
    explicit Actor(std::function<void()> action = nullptr) : atEnd(std::move(action)) {}
    ~Actor()
    {
        if (atEnd)
            atEnd();
    }
    std::function<void()> atEnd;
};
} // namespace

TEST(VPtrList, AnItemDeletedByClearSeesTheListEmpty)
{
    VPtrList<Actor> list;
    list.setAutoDelete(true);
    VPtrListIterator<Actor> it(list);
    WarningCatcher warnings;
    for (int i = 0; i < 3; ++i) {
        list.append(new Actor([&] {
            EXPECT_EQ(list.count(), 0u);
            EXPECT_EQ(list.first(), nullptr);
            EXPECT_EQ(it.toFirst(), nullptr);
        }));
        VLNode* node = list.currentNode();
        list.current()->atEnd = [&list, node, action = list.current()->atEnd] {
            action();
            EXPECT_FALSE(list.removeNode(node));
        };
    }
    list.clear();
    EXPECT_EQ(warnings.take().size(), 3);
}

TEST(VPtrList, AWalkSurvivesItemsThatTakeOthersAlong)
{
    VPtrList<Actor> list;
    list.setAutoDelete(true);
    std::vector<Actor*> actors;
    for (int i = 0; i < 6; ++i)
        list.append(actors.emplace_back(new Actor));
    // 1 takes 2 with it, 3 the last.
    actors[1]->atEnd = [&] { list.removeRef(actors[2]); };
    actors[3]->atEnd = [&] { list.removeLast(); };
    std::vector<Actor*> visited;
    VPtrListIterator<Actor> it(list);
    while (Actor* actor = it()) {
        visited.push_back(actor);
        list.removeRef(actor);
    }
    EXPECT_EQ(visited, (std::vector<Actor*>{actors[0], actors[1], actors[3], actors[4]}));
    EXPECT_TRUE(list.isEmpty());
}

TEST(VPtrList, DeletesItsItemsOnlyWhenTold)
{
    int deleted = 0;
    Actor kept([&] { ++deleted; });
    {
        VPtrList<Actor> keeping, deleting;
        keeping.append(&kept);
        keeping.append(nullptr);
        deleting.setAutoDelete(true);
        deleting.append(new Actor([&] { ++deleted; }));
        deleting.append(nullptr);
        deleting.append(new Actor([&] { ++deleted; }));
        delete deleting.takeLast();
        EXPECT_EQ(deleted, 1);
    }
    EXPECT_EQ(deleted, 2);
    kept.atEnd = nullptr;
}

TEST(VGList, KeepsWhatNewItemMakes)
{
    class Copies : public VPtrList<std::string>
    {
    public:
        Copies() { setAutoDelete(true); }

    private:
        Item newItem(Item text) override
        {
            return new std::string(*static_cast<std::string*>(text));
        }
    };
    std::string text = "before";
    Copies list, other;
    list.append(&text);
    list.insertAt(0, &text);
    list.replaceAt(1, &text);
    other = list;
    text = "after";
    EXPECT_EQ(*other.at(0) + *other.at(1), "beforebefore");
    EXPECT_NE(other.at(0), list.at(0));
}

TEST(VGList, FillsAVectorAndBack)
{
    const Letters list("abc");
    VPtrVector<char> vector(5);
    vector.insert(4, item('x'));
    EXPECT_TRUE(list.toVector(&vector));
    EXPECT_EQ(vector.size(), 3u);
    EXPECT_EQ(letterOf(vector[2]), 'c');
    vector.remove(1);
    Letters back("xyz");
    EXPECT_TRUE(vector.toList(&back));
    EXPECT_EQ(back.text(), "ac");
}

struct StoredList {
    const char* name;
    QByteArray bytes;
    const char* items;
    qint64 consumed;
};

class VGListStream : public testing::TestWithParam<StoredList>
{
};

TEST_P(VGListStream, ReadsItemsUntilCountOrStreamEnds)
{
    QBuffer buffer;
    buffer.setData(GetParam().bytes);
    buffer.open(QIODevice::ReadOnly);
    QDataStream stream(&buffer);
    Letters list("old");
    stream >> list;
    EXPECT_EQ(list.text(), GetParam().items);
    EXPECT_EQ(list.deleted, "old");
    EXPECT_EQ(list.currentIndex(), *GetParam().items ? 0 : -1);
    EXPECT_EQ(buffer.pos(), GetParam().consumed);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, VGListStream,
    testing::Values(StoredList{"Three", QByteArray("\0\0\0\3abcd", 8), "abc", 7},
                    StoredList{"None", QByteArray("\0\0\0\0abcd", 8), "", 4},
                    StoredList{"Negative",
                               QByteArray("\xff\xff\xff\xff"
                                          "abcd",
                                          8),
                               "", 4},
                    StoredList{"NullItem", QByteArray("\0\0\0\3a!c", 7), "a", 6},
                    StoredList{"TooMany",
                               QByteArray("\x7f\xff\xff\xff"
                                          "ab",
                                          6),
                               "ab", 6},
                    StoredList{"ItemsWithoutBytes",
                               QByteArray("\x7f\xff\xff\xff"
                                          "00",
                                          6),
                               "00", 4},
                    StoredList{"CutCount", QByteArray("\0\0", 2), "", 2},
                    StoredList{"Empty", {}, "", 0}),
    [](const auto& test) { return test.param.name; });

TEST(VGListStream, WritesCountAndItems)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << Letters("ab");
    EXPECT_EQ(bytes, QByteArray("\0\0\0\2ab", 6));
}

// The records and bases of the interface keep their shape.
static_assert(offsetof(VLNode, item) == 0 && offsetof(VLNode, prev) == 8 &&
              offsetof(VLNode, next) == 16);
static_assert(sizeof(VGListIterator) == 16 && sizeof(VPtrListIterator<int>) == 16);
static_assert(sizeof(VGList) == 56 && sizeof(VPtrList<int>) == 56);
static_assert(sizeof(VGVector) == 32 && sizeof(VPtrVector<int>) == 32);
