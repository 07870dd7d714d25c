#include "kernel/vnamedobject.h"

namespace
{
QByteArray written(const VNamedObject& object)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    object.write(stream);
    return bytes;
}

void readFrom(const QByteArray& bytes, VNamedObject& object)
{
    QDataStream stream(bytes);
    object.read(stream);
}
} // namespace

TEST(VNamedObject, HasANameOrNone)
{
    char text[] = "pump";
    VNamedObject object(text);
    text[0] = 'j';
    EXPECT_STREQ(object.name(), "pump") << "a copy";
    object.setName(object.name() + 1);
    EXPECT_STREQ(object.name(), "ump");
    const VNamedObject copy(object);
    object.setName(nullptr);
    EXPECT_STREQ(object.name(), "unnamed");
    EXPECT_STREQ(object.name("nobody"), "nobody");
    EXPECT_EQ(object.name(nullptr), nullptr);
    EXPECT_STREQ(copy.name(), "ump");
    object.setName("");
    EXPECT_STREQ(object.name(), "") << "empty is a name";
}

TEST(VNamedObject, TravelsAsAPrintableString)
{
    EXPECT_EQ(written(VNamedObject("pump")), QByteArray("\x13\x04pump"));
    EXPECT_EQ(written(VNamedObject()), QByteArray("\x13\x00", 2));
    VNamedObject object("old");
    readFrom(QByteArray("\x13\x05valve"), object);
    EXPECT_STREQ(object.name(), "valve");
    readFrom(QByteArray("\x13\x00", 2), object);
    EXPECT_STREQ(object.name("null"), "");
}

TEST(VNamedObject, KeepsItsNameWhereNoneCanBeRead)
{
    VNamedObject object("old");
    readFrom(QByteArray(), object);
    readFrom(QByteArray("\x04\x03"
                        "abc"),
             object);
    EXPECT_STREQ(object.name(), "old");
    readFrom(QByteArray("\x13\x7f"
                        "cut"),
             object);
    EXPECT_STREQ(object.name(), "") << "a cut value has no content";
}
