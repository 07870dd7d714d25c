#include "toolkit/qvaluelist.h"

namespace
{
std::vector<int> items(const QValueList<int>& list)
{
    return std::vector<int>(list.begin(), list.end());
}
using Items = std::vector<int>;
} // namespace

TEST(QValueList, SharesUntilWrittenTo)
{
    QValueList<int> first{1, 2, 3};
    QValueList<int> second = first;
    EXPECT_EQ(&*first.constBegin(), &*second.constBegin());
    second[0] = 9;
    second << 4;
    EXPECT_EQ(items(first), (Items{1, 2, 3}));
    EXPECT_EQ(items(second), (Items{9, 2, 3, 4}));
    second = first;
    second.clear();
    EXPECT_EQ(first.count(), 3u);
}

TEST(QValueList, IteratorsOutliveChangesElsewhere)
{
    QValueList<int> list{1, 2, 3};
    auto it = list.at(1);
    list.prepend(0);
    list.append(4);
    list.remove(list.at(1));
    EXPECT_EQ(*it, 2);
    EXPECT_EQ(*list.insert(it, 7), 7);
    EXPECT_EQ(*list.remove(it), 3);
    EXPECT_EQ(items(list), (Items{0, 7, 3, 4}));
}

TEST(QValueList, APlaceInASharedListBecomesTheSamePlaceInTheCopy)
{
    QValueList<int> list{1, 2, 3};
    auto it = list.at(1);
    const QValueList<int> sharer = list;
    EXPECT_EQ(*list.remove(it), 3);
    EXPECT_EQ(items(list), (Items{1, 3}));
    EXPECT_EQ(items(sharer), (Items{1, 2, 3}));
}

TEST(QValueList, RemoveTakesAllEqualItems)
{
    QValueList<int> list{5, 1, 5, 2, 5};
    EXPECT_EQ(list.contains(5), 3u);
    EXPECT_EQ(list.remove(list.first()), 3u);
    EXPECT_EQ(items(list), (Items{1, 2}));
    EXPECT_EQ(list.remove(9), 0u);
    EXPECT_EQ(list.findIndex(2), 1);
    EXPECT_EQ(list.findIndex(9), -1);
    EXPECT_TRUE(list.find(9) == list.end());
    list += list;
    EXPECT_EQ(items(list), (Items{1, 2, 1, 2}));
}

TEST(QValueList, StreamFormIsCountAndItems)
{
    QByteArray stored;
    QDataStream out(&stored, QIODevice::WriteOnly);
    out << QValueList<qint16>{1, -1};
    EXPECT_EQ(stored.toHex(), "000000020001ffff");
    QDataStream in(stored);
    QValueList<qint16> list{7};
    in >> list;
    EXPECT_TRUE(list == (QValueList<qint16>{1, -1}));
}

TEST(QValueList, ACountBeyondTheStreamEndsWithIt)
{
    QDataStream in(QByteArray::fromHex("ffffffff00010002"));
    QValueList<qint16> list;
    in >> list;
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(in.status(), QDataStream::ReadPastEnd);
}
