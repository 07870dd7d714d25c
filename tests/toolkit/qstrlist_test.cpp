#include "toolkit/qstrlist.h"

#include <memory>

namespace
{
using Texts = std::vector<std::string>;

Texts texts(const QStrList& list)
{
    Texts result;
    for (QStrListIterator it(list); it.current(); ++it)
        result.emplace_back(it.current());
    return result;
}

void fill(QStrList& list, std::initializer_list<const char*> items)
{
    for (const char* item : items)
        list.append(item);
}
} // namespace

TEST(QStrList, DeepAndShallow)
{
    char text[] = "one";
    QStrList deep, shallow(false);
    deep.append(text);
    shallow.append(text);
    EXPECT_TRUE(deep.autoDelete());
    EXPECT_FALSE(shallow.autoDelete());
    EXPECT_EQ(shallow.first(), text);
    EXPECT_EQ(deep.findRef(text), -1);
    QStrList copy(shallow);
    EXPECT_EQ(copy.first(), text);
    EXPECT_FALSE(copy.autoDelete());
    copy = deep;
    EXPECT_TRUE(copy.autoDelete());
    EXPECT_NE(copy.first(), deep.first());
    EXPECT_TRUE(copy == deep);
    char* taken = copy.take();
    EXPECT_STREQ(taken, "one");
    delete[] taken;
    EXPECT_TRUE(copy.isEmpty());
}

TEST(QStrList, WhatIsPutInBecomesCurrent)
{
    QStrList list;
    list.append("b");
    EXPECT_EQ(list.at(), 0);
    list.prepend("a");
    EXPECT_STREQ(list.current(), "a");
    EXPECT_TRUE(list.insert(2, "d"));
    EXPECT_EQ(list.at(), 2);
    EXPECT_TRUE(list.insert(2, "c"));
    EXPECT_STREQ(list.current(), "c");
    EXPECT_FALSE(list.insert(5, "x"));
    EXPECT_EQ(texts(list), (Texts{"a", "b", "c", "d"}));
    EXPECT_STREQ(list.prev(), "b");
    EXPECT_STREQ(list.at(3), "d");
    EXPECT_EQ(list.next(), nullptr);
    EXPECT_EQ(list.at(), -1);
    EXPECT_EQ(list.next(), nullptr);
    EXPECT_EQ(list.at(4), nullptr);
}

TEST(QStrList, SortsByBytesAndPutsEqualsInFront)
{
    QStrList list(false);
    fill(list, {"b", "a", "c", "B"});
    list.sort();
    EXPECT_EQ(texts(list), (Texts{"B", "a", "b", "c"}));
    const char another[] = "b";
    list.inSort(another);
    EXPECT_EQ(list.at(), 2);
    EXPECT_EQ(list.find("b"), 2);
    EXPECT_EQ(list.findRef(another), 2);
    EXPECT_EQ(list.contains("b"), 2u);
    list.inSort("z");
    EXPECT_EQ(list.at(), 5);
}

TEST(QStrList, FindMovesTheCurrentItem)
{
    QStrList list;
    fill(list, {"a", "b", "a"});
    EXPECT_EQ(list.find("a"), 0);
    EXPECT_EQ(list.findNext("a"), 0);
    list.next();
    EXPECT_EQ(list.findNext("a"), 2);
    EXPECT_EQ(list.find("x"), -1);
    EXPECT_EQ(list.current(), nullptr);
}

TEST(QStrList, RemovalLeavesTheNextOrThePreviousCurrent)
{
    QStrList list;
    fill(list, {"a", "b", "c"});
    EXPECT_TRUE(list.remove("b"));
    EXPECT_STREQ(list.current(), "c");
    EXPECT_EQ(list.at(), 1);
    EXPECT_TRUE(list.remove());
    EXPECT_STREQ(list.current(), "a");
    EXPECT_EQ(list.at(), 0);
    EXPECT_FALSE(list.remove("x"));
    EXPECT_FALSE(list.remove());
    EXPECT_TRUE(list.remove(0));
    EXPECT_EQ(list.at(), -1);
    EXPECT_FALSE(list.removeLast());
}

TEST(QStrListIterator, FollowsTheListsCurrentItemWhenItsOwnGoes)
{
    QStrList list;
    fill(list, {"a", "b", "c", "d"});
    QStrListIterator it(list), other(list);
    ++it;
    list.remove("a");
    EXPECT_STREQ(it.current(), "b");
    EXPECT_STREQ(other.current(), "b");
    list.remove("b");
    EXPECT_STREQ(it.current(), "c");
    EXPECT_STREQ(it.toLast(), "d");
    EXPECT_TRUE(it.atLast());
    list.remove("d");
    EXPECT_STREQ(it.current(), "c");
    EXPECT_TRUE(it.atFirst());
    other = it;
    EXPECT_STREQ(other(), "c");
    EXPECT_EQ(other.current(), nullptr);
    list.clear();
    EXPECT_EQ(it.current(), nullptr);
}

TEST(QStrListIterator, StepsAndOutlivesItsList)
{
    auto list = std::make_unique<QStrList>();
    fill(*list, {"a", "b", "c"});
    QStrListIterator it(*list);
    EXPECT_STREQ(it += 2, "c");
    EXPECT_STREQ(it -= 1, "b");
    EXPECT_STREQ(--it, "a");
    EXPECT_EQ(it += 9, nullptr);
    QStrListIterator copy(it);
    it.toFirst();
    list.reset();
    EXPECT_EQ(it.current(), nullptr);
    EXPECT_EQ(copy.toFirst(), nullptr);
    EXPECT_EQ(it.count(), 0u);
}

TEST(QStrList, StreamForm)
{
    QStrList list;
    fill(list, {"ab", ""});
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << list;
    EXPECT_EQ(bytes.toHex(), "0000000200000003616200"
                             "0000000100");
    QDataStream in(bytes);
    QStrList read;
    read.append("before");
    in >> read;
    EXPECT_TRUE(read == list);
    EXPECT_EQ(read.at(), 0);
    QDataStream cut(bytes.left(11));
    cut >> read;
    EXPECT_EQ(texts(read), Texts{"ab"});
}
