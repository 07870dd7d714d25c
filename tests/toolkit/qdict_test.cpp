#include "toolkit/qasciidict.h"
#include "toolkit/qdict.h"
#include "toolkit/qintdict.h"

#include "support/warnings.h"

#include <functional>
#include <memory>

namespace
{
using Keys = std::vector<std::string>;

template <class Iterator, class Dictionary>
Keys keys(const Dictionary& dictionary)
{
    Keys result;
    for (Iterator it(dictionary); it.current(); ++it)
        result.emplace_back(it.currentKey());
    return result;
}

Keys asciiKeys(const QAsciiDict<int>& dictionary)
{
    return keys<QAsciiDictIterator<int>>(dictionary);
}

QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

/// Counts the items that are alive, and runs something when one dies.
struct Tracked {
    Tracked() { ++alive; }
    ~Tracked()
    {
        --alive;
        if (dying)
            dying();
    }
    inline static int alive = 0;
    std::function<void()> dying;
};
} // namespace

struct Hashed {
    const char* key;
    bool caseSensitive;
    unsigned long ascii;
    unsigned long string;
};
class DictionaryHash : public testing::TestWithParam<Hashed>
{
};
TEST_P(DictionaryHash, IsThatOfTheElfTables)
{
    const Hashed& hashed = GetParam();
    EXPECT_EQ((QAsciiKeys{hashed.caseSensitive, true}.hash(hashed.key)), hashed.ascii);
    EXPECT_EQ(QStringKeys{hashed.caseSensitive}.hash(text(hashed.key)), hashed.string);
}
INSTANTIATE_TEST_SUITE_P(Vectors, DictionaryHash,
                         testing::Values(Hashed{"name", true, 0x74835, 0x74835},
                                         Hashed{"transform", true, 0x859cd0d, 0x859cd0d},
                                         Hashed{"SIZE", false, 0x7a105, 0x7a105},
                                         Hashed{"\xe9", true, 0xfffff19, 0xe9},
                                         Hashed{"\xe9", false, 0xe9, 0xe9}));

TEST(DictionaryHash, TakesTheLowByteOfAStringsUnits)
{
    EXPECT_EQ(QStringKeys{true}.hash(QString(QChar(0x3173))), 0x73ul);
}

TEST(QAsciiDict, IteratesInBucketOrder)
{
    int item = 0;
    QAsciiDict<int> ascii;
    QDict<int> strings;
    for (const char* key : {"name", "transform", "objects", "color", "size", "flags"}) {
        ascii.insert(key, &item);
        strings.insert(text(key), &item);
    }
    const Keys expected{"flags", "size", "objects", "transform", "name", "color"};
    EXPECT_EQ(asciiKeys(ascii), expected);
    Keys found;
    for (QDictIterator<int> it(strings); it.current(); ++it)
        found.push_back(it.currentKey().toStdString());
    EXPECT_EQ(found, expected);
}

TEST(QIntDict, ANewItemStandsAtTheHeadOfItsChain)
{
    int items[4] = {};
    QIntDict<int> dictionary(5);
    dictionary.insert(1, &items[0]);
    dictionary.insert(6, &items[1]);
    dictionary.insert(-1, &items[2]); // 2^64 - 1 is a multiple of 5
    dictionary.insert(11, &items[3]);
    std::vector<long> order;
    for (QIntDictIterator<int> it(dictionary); it.current(); ++it)
        order.push_back(it.currentKey());
    EXPECT_EQ(order, (std::vector<long>{-1, 11, 6, 1}));
    EXPECT_EQ(QIntDict<int>(0).size(), 17u);
}

TEST(QAsciiDict, EqualKeysShadow)
{
    int one = 1, two = 2, three = 3;
    QAsciiDict<int> dictionary;
    dictionary.insert("k", &one);
    dictionary.insert("k", &two);
    EXPECT_EQ(dictionary.count(), 2u);
    EXPECT_EQ(dictionary["k"], &two);
    dictionary.replace("k", &three);
    EXPECT_EQ(dictionary.count(), 2u);
    EXPECT_EQ(dictionary["k"], &three);
    EXPECT_TRUE(dictionary.remove("k"));
    EXPECT_EQ(dictionary.take("k"), &one);
    EXPECT_FALSE(dictionary.remove("k"));
    EXPECT_EQ(dictionary.find("k"), nullptr);
}

TEST(QAsciiDict, ResizeAndCopyTurnChainsOver)
{
    int one = 1, two = 2;
    QAsciiDict<int> dictionary;
    dictionary.insert("k", &one);
    dictionary.insert("k", &two);
    QAsciiDictIterator<int> it(dictionary);
    ++it;
    const QAsciiDict<int> copy = dictionary;
    EXPECT_EQ(copy["k"], &one);
    dictionary.resize(29);
    EXPECT_EQ(dictionary["k"], &one);
    EXPECT_EQ(it.current(), &one);
    EXPECT_EQ(dictionary.size(), 29u);
}

TEST(QAsciiDict, KeysAreCopiedOrKept)
{
    int item = 0;
    char key[] = "AbC";
    QAsciiDict<int> copying(17, false), keeping(17, true, false);
    copying.insert(key, &item);
    keeping.insert(key, &item);
    EXPECT_EQ(QAsciiDictIterator<int>(keeping).currentKey(), key);
    key[0] = 'x';
    EXPECT_EQ(copying["aBc"], &item);
    EXPECT_EQ(asciiKeys(copying), Keys{"AbC"});
    QAsciiDictIterator<int> it(copying);
    copying.replace(it.currentKey(), &item);
    EXPECT_EQ(asciiKeys(copying), Keys{"AbC"});
    EXPECT_TRUE(copying.remove(QAsciiDictIterator<int>(copying).currentKey()));
}

TEST(QDict, NullAndEmptyKeysDiffer)
{
    int one = 1, two = 2;
    QDict<int> dictionary;
    WarningCatcher catcher;
    dictionary.insert(QString(), &one);
    dictionary.insert(text(""), &two);
    EXPECT_EQ(dictionary[text("")], &two);
    EXPECT_EQ(catcher.text(), QLatin1String("QGDict::hashKeyString: Invalid null key"));
    EXPECT_EQ(dictionary[QString()], &one);
}

TEST(Dictionaries, NullItemsWarnAndAreInserted)
{
    WarningCatcher catcher;
    QAsciiDict<int> ascii;
    QDict<void> strings;
    QIntDict<int> numbers;
    ascii.insert("k", nullptr);
    strings.insert(text("k"), nullptr);
    numbers.insert(1, nullptr);
    ascii.insert(nullptr, nullptr);
    EXPECT_EQ(catcher.text(),
              QLatin1String("QAsciiDict: Cannot insert null item | QDict: Cannot insert null item"
                            " | QIntDict: Cannot insert null item"
                            " | QAsciiDict: Cannot insert null item"
                            " | QGDict::hashAsciiKey: Invalid null key"));
    EXPECT_EQ(ascii.count() + strings.count() + numbers.count(), 4u);
}

TEST(QIntDict, AutoDeleteBelongsToTheCollection)
{
    QIntDict<Tracked> dictionary;
    dictionary.setAutoDelete(true);
    for (int i = 0; i < 4; ++i)
        dictionary.insert(i, new Tracked);
    {
        QIntDict<Tracked> copy = dictionary;
        EXPECT_FALSE(copy.autoDelete());
    }
    EXPECT_EQ(Tracked::alive, 4);
    dictionary.remove(0);
    dictionary.replace(1, new Tracked);
    EXPECT_EQ(Tracked::alive, 3);
    delete dictionary.take(2);
    dictionary = QIntDict<Tracked>();
    EXPECT_TRUE(dictionary.autoDelete());
    EXPECT_EQ(Tracked::alive, 0);
    dictionary.insert(0, new Tracked);
    dictionary.clear();
    EXPECT_EQ(Tracked::alive, 0);
}

TEST(QIntDict, AnItemMayLookBackWhileItDies)
{
    QIntDict<Tracked> dictionary;
    dictionary.setAutoDelete(true);
    bool removed = true;
    for (int i = 0; i < 40; ++i) {
        auto* item = new Tracked;
        item->dying = [&] { removed = dictionary.remove(39) || dictionary.find(0); };
        dictionary.insert(i, item);
    }
    dictionary.clear();
    EXPECT_FALSE(removed);
    EXPECT_EQ(Tracked::alive, 0);
}

TEST(QIntDictIterator, StandsOnTheNextAfterARemoval)
{
    int items[6] = {};
    QIntDict<int> dictionary;
    for (int i = 0; i < 6; ++i)
        dictionary.insert(i, &items[i]);
    QIntDictIterator<int> it(dictionary), copy(it), assigned(it);
    std::vector<long> met;
    while (it.current())
        if (it.currentKey() % 2) {
            dictionary.remove(it.currentKey());
        } else {
            met.push_back(it.currentKey());
            ++it;
        }
    EXPECT_EQ(met, (std::vector<long>{0, 2, 4}));
    dictionary.remove(0);
    EXPECT_EQ(copy.currentKey(), 2);
    assigned = copy;
    dictionary.take(2);
    EXPECT_EQ(assigned.currentKey(), 4);
    dictionary.replace(4, &items[0]);
    EXPECT_EQ(assigned.current(), nullptr);
}

TEST(QIntDictIterator, Walks)
{
    int items[3] = {};
    QIntDict<int> dictionary;
    for (int i = 0; i < 3; ++i)
        dictionary.insert(i, &items[i]);
    QIntDictIterator<int> it(dictionary);
    EXPECT_EQ(it(), &items[0]);
    EXPECT_EQ(*it, &items[1]);
    EXPECT_EQ(it += 1, &items[2]);
    EXPECT_EQ(++it, nullptr);
    EXPECT_EQ(++it, nullptr);
    EXPECT_EQ(it.toFirst(), &items[0]);
    dictionary.clear();
    EXPECT_EQ(it.current(), nullptr);
}

TEST(QIntDictIterator, OutlivesItsDictionary)
{
    int item = 0;
    auto dictionary = std::make_unique<QIntDict<int>>();
    dictionary->insert(1, &item);
    QIntDictIterator<int> it(*dictionary);
    dictionary.reset();
    EXPECT_EQ(it.current(), nullptr);
    WarningCatcher catcher;
    it.toFirst();
    ++it;
    it();
    EXPECT_EQ(catcher.text(),
              QLatin1String("QGDictIterator::toFirst: Dictionary has been deleted"
                            " | QGDictIterator::operator++: Dictionary has been deleted"
                            " | QGDictIterator::operator(): Dictionary has been deleted"));
}

namespace
{
/// Holds numbers of its own and streams them.
class Numbers : public QAsciiDict<int>
{
public:
    ~Numbers() override { clear(); }
    int deleted = 0;

protected:
    Item newItem(Item item) override { return new int(*static_cast<int*>(item)); }
    void deleteItem(Item item) override
    {
        ++deleted;
        delete static_cast<int*>(item);
    }
    QDataStream& read(QDataStream& stream, Item& item) override
    {
        stream >> m_read;
        item = &m_read;
        return stream;
    }
    QDataStream& write(QDataStream& stream, Item item) const override
    {
        return stream << qint32(*static_cast<int*>(item));
    }

private:
    qint32 m_read = 0;
};

QByteArray written(const Numbers& numbers)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << numbers;
    return bytes.toHex();
}
} // namespace

TEST(QAsciiDict, HooksAndStreamForm)
{
    int five = 5, six = 6;
    Numbers numbers;
    numbers.insert("b", &five); // 'b' is 98, bucket 13
    numbers.insert("a", &six);  // 'a' is 97, bucket 12
    const QByteArray form = "00000002"
                            "00000002610000000006"
                            "00000002620000000005";
    EXPECT_EQ(written(numbers), form);
    Numbers read;
    QDataStream stream(QByteArray::fromHex(form));
    stream >> read;
    EXPECT_EQ(*read["a"], 6);
    EXPECT_EQ(written(read), form);
    read.clear();
    EXPECT_EQ(read.deleted, 2);
}

TEST(QDict, StreamOfKeysAloneEndsWithTheStream)
{
    WarningCatcher catcher;
    QDict<void> dictionary;
    QDataStream stream(QByteArray::fromHex("ffffffff"
                                           "00000002"
                                           "0061"
                                           "00000004"
                                           "0062"));
    stream >> dictionary;
    EXPECT_EQ(dictionary.count(), 1u);
    EXPECT_EQ(catcher.text(), QLatin1String("QDict: Cannot insert null item"));
}
