#include "toolkit/qmemarray.h"

#include "toolkit/qmemarraydevice.h"

#include "support/warnings.h"

#include <cstdlib>

namespace
{
QMemArray<char> bytes(const char* text)
{
    return QMemArray<char>().duplicate(text, unsigned(std::strlen(text)));
}

std::string shown(const QMemArray<char>& array)
{
    return array.isNull() ? "(null)" : std::string(array.data(), array.size());
}
} // namespace

TEST(QMemArray, CopiesShareElementsAndLength)
{
    QMemArray<int> first(2);
    first[0] = 1;
    first[1] = 2;
    QMemArray<int> second = first;
    second[0] = 7;
    EXPECT_EQ(first[0], 7);
    EXPECT_EQ(first.nrefs(), 2u);
    second.resize(3);
    EXPECT_EQ(first.size(), 3u);
    second.fill(4, 5);
    EXPECT_EQ(first.size(), 5u);
    EXPECT_EQ(first[4], 4);
    second.resize(0);
    EXPECT_TRUE(first.isNull());
}

TEST(QMemArray, ANullArrayIsSharedToo)
{
    const QMemArray<int> first;
    QMemArray<int> second = first;
    second.resize(2);
    EXPECT_EQ(first.size(), 2u);
}

TEST(QMemArray, SomeOperationsPart)
{
    const QMemArray<char> original = bytes("abc");
    const auto untouched = [&](auto change) {
        QMemArray<char> copy = original;
        change(copy);
        EXPECT_EQ(original.nrefs(), 1u);
        if (!copy.isNull())
            copy[0] = 'x';
        EXPECT_EQ(shown(original), "abc");
    };
    untouched([](auto& array) { array.detach(); });
    untouched([](auto& array) { array = array.copy(); });
    untouched([](auto& array) { array.duplicate("uvw", 3); });
    untouched([](auto& array) { array.duplicate(array.data() + 1, 2); });
    untouched([](auto& array) { array.duplicate(nullptr, 0); });
    untouched([](auto& array) { array.assign(static_cast<char*>(std::malloc(4)), 4); });
    char raw[] = "raw";
    untouched([&](auto& array) { array.setRawData(raw, 3); });
    EXPECT_STREQ(raw, "xaw");
}

TEST(QMemArray, DuplicateOfTheSameSizeKeepsTheBlock)
{
    QMemArray<char> array = bytes("abc");
    const char* before = array.data();
    array.duplicate("xyz", 3);
    EXPECT_EQ(array.data(), before);
    array.duplicate(array.data() + 1, 2);
    EXPECT_EQ(shown(array), "yz");
}

TEST(QMemArray, BorrowedMemoryComesBackUnchanged)
{
    char raw[] = "abc";
    QMemArray<char> array;
    array.setRawData(raw, 3);
    WarningCatcher catcher;
    array.resetRawData(raw, 2);
    EXPECT_EQ(catcher.text(), QLatin1String("QGArray::resetRawData: Inconsistent arguments"));
    EXPECT_EQ(array.data(), raw);
    array.resetRawData(raw, 3);
    EXPECT_TRUE(array.isNull());
    array.setRawData(raw, 3);
    array.resize(5);
    EXPECT_NE(array.data(), raw);
    EXPECT_EQ(array.data()[2], 'c');
}

TEST(QMemArray, OutOfRangeWarnsInBytesAndUsesTheFirst)
{
    QMemArray<int> array(2);
    array.fill(3);
    WarningCatcher catcher;
    EXPECT_EQ(&array[2], &array[0]);
    EXPECT_EQ(catcher.text(), QLatin1String("QGArray::at: Absolute index 8 out of range"));
    EXPECT_EQ(QMemArray<int>()[0], 0);
    EXPECT_EQ(array.find(3, 2), -1);
    EXPECT_EQ(QMemArray<int>().find(3), -1);
    EXPECT_EQ(catcher.text(),
              QLatin1String("QGArray::at: Absolute index 0 out of range | QGArray::find: Index 2 "
                            "out of range | QGArray::find: Index 0 out of range"));
}

TEST(QMemArray, FindsAndSortsByBytes)
{
    const unsigned values[] = {0x0100, 0x00ff, 0x0200, 0x00ff};
    QMemArray<unsigned> array;
    array.duplicate(values, 4);
    EXPECT_EQ(array.find(0xff), 1);
    EXPECT_EQ(array.find(0xff, 2), 3);
    EXPECT_EQ(array.find(7), -1);
    EXPECT_EQ(array.contains(0xff), 2);
    array.sort();
    EXPECT_EQ(array[0], 0x0100u);
    EXPECT_EQ(array[1], 0x0200u);
    EXPECT_EQ(array.bsearch(0xff), 2);
    EXPECT_EQ(array.bsearch(0x0200), 1);
    EXPECT_EQ(array.bsearch(1), -1);
}

TEST(QMemArray, ASizeThatWrapsIsRefused)
{
    QMemArray<double> array(1);
    EXPECT_FALSE(array.resize(0x20000001u));
    EXPECT_FALSE(array.fill(1.0, 0x20000001));
    EXPECT_EQ(array.size(), 1u);
}

TEST(QMemArray, StreamFormOfNullAndEmptyIsZero)
{
    QByteArray stored;
    QDataStream out(&stored, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_3_3);
    out << QMemArray<char>() << bytes("ab");
    EXPECT_EQ(stored.toHex(), "00000000000000026162");
    QDataStream in(stored);
    QMemArray<char> null = bytes("x"), array;
    const QMemArray<char> sharer = null;
    in >> null >> array;
    EXPECT_TRUE(null.isNull() && sharer.isNull());
    EXPECT_EQ(shown(array), "ab");
}

TEST(QMemArray, ALengthBeyondTheStreamLeavesItEmpty)
{
    QDataStream in(QByteArray::fromHex("7fffffff6162"));
    QMemArray<char> array = bytes("x");
    in >> array;
    EXPECT_TRUE(array.isNull());
    EXPECT_EQ(in.status(), QDataStream::ReadPastEnd);
}

TEST(QMemArrayDevice, ReadsWithoutACopyAndWritesIntoTheArray)
{
    QMemArray<char> array = bytes("abcdef");
    QMemArrayDevice device(array);
    EXPECT_EQ(array.nrefs(), 2u);
    ASSERT_TRUE(device.open(QIODevice::ReadWrite));
    EXPECT_EQ(device.read(4), "abcd");
    device.ungetChar('d');
    EXPECT_EQ(device.read(1), "d");
    EXPECT_EQ(device.pos(), 4);
    device.write("123");
    EXPECT_EQ(shown(array), "abcd123");
    EXPECT_TRUE(device.atEnd());
    EXPECT_TRUE(device.seek(1));
    device.write("-");
    EXPECT_EQ(shown(array), "a-cd123");
    WarningCatcher catcher;
    EXPECT_FALSE(device.seek(8));
    EXPECT_EQ(catcher.text(), QLatin1String("QMemArrayDevice::seek: Index 8 out of range"));
    EXPECT_EQ(device.pos(), 2);
    EXPECT_EQ(device.readAll(), "cd123");
}

TEST(QMemArrayDevice, OpenModes)
{
    QMemArray<char> array = bytes("abc");
    QMemArrayDevice device(array);
    device.open(QIODevice::WriteOnly);
    device.putChar('x');
    device.close();
    EXPECT_EQ(shown(array), "xbc");
    device.open(QIODevice::Append);
    device.putChar('y');
    device.close();
    EXPECT_EQ(shown(array), "xbcy");
    device.open(QIODevice::WriteOnly | QIODevice::Truncate);
    EXPECT_TRUE(array.isNull());
    for (int i = 0; i < 1000; ++i)
        device.putChar(char(i));
    EXPECT_EQ(array.size(), 1000u);
    EXPECT_EQ(array[999], char(999));
}
