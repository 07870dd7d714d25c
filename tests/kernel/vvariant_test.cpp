#include "kernel/vvariant.h"

#include "math/integerarray.h"
#include "support/warnings.h"
#include "tools/postroutines.h"
#include "tools/vcolor.h"
#include "tools/vdatetime.h"
#include "tools/vtimestamp.h"

#include <qbitarray.h>

#include <cmath>
#include <limits>

namespace
{
QByteArray saved(const VVariant& value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_3_3);
    stream << value;
    return bytes.toHex();
}

void load(VVariant& value, const char* hex)
{
    QDataStream stream(QByteArray::fromHex(hex));
    stream.setVersion(QDataStream::Qt_3_3);
    stream >> value;
}

QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

VVariant converted(VVariant value, unsigned id)
{
    EXPECT_TRUE(value.convertTo(id)) << id;
    return value;
}

const VDate someDate(2026, 11, 21);
const VDateTime someMoment(someDate, VTime(12, 34, 56, 0));

/// One value of each type that has one, by id.
std::vector<VVariant> oneOfEach()
{
    QBitArray bits(10);
    bits.setBit(9);
    QMemArray<char> bytes(2);
    bytes.fill('x');
    VVariant::ValueMap map;
    map.insert(text("key"), VVariant(7));
    VVariant::ValueList list;
    list.append(VVariant(1));
    return {VVariant(),
            VVariant(true, 0),
            VVariant('c'),
            VVariant(short(-2)),
            VVariant(-3),
            VVariant(-4L),
            VVariant(static_cast<unsigned char>(200)),
            VVariant(static_cast<unsigned short>(60000)),
            VVariant(7u),
            VVariant(8ul),
            VVariant(1.5f),
            VVariant(2.5),
            VVariant(-5LL),
            VVariant(5ULL),
            VVariant(QCString("12")),
            VVariant("13"),
            VVariant(QStringList{text("a"), text("b")}),
            VVariant(map),
            VVariant(list),
            VVariant(bytes),
            VVariant(bits),
            VVariant(math::IntegerArray()),
            VVariant(someDate),
            VVariant(someMoment.time()),
            VVariant(someMoment),
            VVariant(VTimestamp(someDate, someMoment.time(), 9)),
            VVariant(VColor(0xff102030))};
}
} // namespace

TEST(VVariant, EveryConstructorSetsItsTypeAndName)
{
    const char* const names[] = {
        nullptr,         "bool",    "char",  "short",     "int",        "int",        "uchar",
        "ushort",        "uint",    "uint",  "float",     "double",     "long",       "ulong",
        "VCString",      "VString", nullptr, nullptr,     nullptr,      "VByteArray", "QBitArray",
        "VIntegerArray", "VDate",   "VTime", "VDateTime", "VTimestamp", "VColor"};
    const std::vector<VVariant> values = oneOfEach();
    ASSERT_EQ(values.size(), std::size(names));
    for (unsigned id = 0; id < values.size(); ++id) {
        EXPECT_EQ(values[id].type(), id);
        EXPECT_STREQ(values[id].typeName(), names[id]) << id;
        EXPECT_EQ(values[id].compare(VVariant(values[id])), 0) << id;
    }
    EXPECT_EQ(VVariant::nameToType("long"), 12u);
    EXPECT_EQ(VVariant::nameToType("int"), 4u);
    EXPECT_EQ(VVariant::nameToType("QBitArray"), 20u);
    EXPECT_EQ(VVariant::nameToType("VByteArray"), 19u);
    EXPECT_EQ(VVariant::nameToType("nothing"), 0u);
    EXPECT_EQ(VVariant::nameToType(nullptr), 0u);
    EXPECT_EQ(VVariant(0x100000007L).toLongInt(), 7) << "a long is one word";
}

TEST(VVariant, ConversionMatrix)
{
    // Source by row, target by column, both by id.
    const char* const matrix[27] = {"+..........................", ".+++++++++++++.............",
                                    ".+++++++++++++.............", ".+++++++++++++.............",
                                    ".+++++++++++++.............", ".+++++++++++++.............",
                                    ".+++++++++++++............+", ".+++++++++++++............+",
                                    ".+++++++++++++............+", ".+++++++++++++............+",
                                    ".+++++++++++++.............", ".+++++++++++++.............",
                                    ".+++++++++++++.............", ".+++++++++++++.............",
                                    "..++++++++++..++...........", "..++++++++++..++......++++.",
                                    "................+..........", ".................+.........",
                                    "..................+........", "...................+.......",
                                    "....................+......", ".....................+.....",
                                    "...............+......+.++.", "...............+.......+...",
                                    "...............+......++++.", "...............+......++++.",
                                    ".+++++++++++++............+"};
    WarningCatcher quiet;
    const std::vector<VVariant> values = oneOfEach();
    for (unsigned from = 0; from < values.size(); ++from) {
        for (unsigned to = 0; to < values.size(); ++to) {
            const bool wanted = matrix[from][to] == '+';
            EXPECT_EQ(values[from].canConvertTo(to), wanted) << from << " to " << to;
            VVariant value = values[from];
            EXPECT_EQ(value.convertTo(to), wanted) << from << " to " << to;
            if (wanted)
                EXPECT_EQ(value.type(), to);
            else if (VVariant::metaType(from) && VVariant::metaType(to))
                EXPECT_EQ(value.type(), from) << "a refused conversion keeps the value";
            else
                EXPECT_FALSE(value.isValid());
        }
    }
}

TEST(VVariant, NumbersConvertByTheirWord)
{
    EXPECT_EQ(VVariant(1.9).toInt(), 1);
    EXPECT_EQ(VVariant(-1.9).toInt(), -1);
    EXPECT_EQ(VVariant(1e30).toInt(), std::numeric_limits<int>::max());
    EXPECT_EQ(VVariant(-1e30).toInt(), std::numeric_limits<int>::min());
    EXPECT_EQ(VVariant(std::nan("")).toInt(), 0);
    EXPECT_EQ(VVariant(3e9).toUInt(), 3000000000u);
    EXPECT_EQ(VVariant(-2.5).toUInt(), 0xfffffffeu);
    EXPECT_EQ(VVariant(1e30).toULongInt(), std::numeric_limits<quint64>::max());
    EXPECT_EQ(VVariant(9223372036854775808.0).toLongInt(), std::numeric_limits<qint64>::max());
    EXPECT_EQ(VVariant(0x1ffffffffLL).toInt(), -1) << "the low word";
    EXPECT_EQ(converted(VVariant(-1), VVariant::LongLong).toLongInt(), -1);
    EXPECT_EQ(converted(VVariant(-1), VVariant::ULong).toULongInt(), 0xffffffffu);
    EXPECT_EQ(converted(VVariant(true, 0), VVariant::LongLong).toLongInt(), 1);
    EXPECT_EQ(converted(VVariant(0xffffffffu), VVariant::Double).toDouble(), 4294967295.0);
    EXPECT_EQ(converted(VVariant(-1), VVariant::Double).toDouble(), -1.0);
    EXPECT_EQ(converted(VVariant(~0ULL), VVariant::Double).toDouble(), 18446744073709551616.0);
    EXPECT_EQ(converted(VVariant(300), VVariant::UChar).toInt(), 300) << "words are not narrowed";
    EXPECT_EQ(converted(VVariant(0.1), VVariant::Float).toDouble(), 0.1);
    EXPECT_FALSE(converted(VVariant(0.5), VVariant::Bool).toBool());
    const VVariant wide = converted(VVariant(256), VVariant::Bool);
    EXPECT_TRUE(wide.toBool());
    EXPECT_EQ(saved(wide), "0000000100");
    EXPECT_EQ(converted(VVariant(5), VVariant::Long).type(), 5u) << "the id asked for";
    EXPECT_EQ(converted(VVariant(0xff102030u), VVariant::Color).toColor().pixel(), 0xff102030u);
}

TEST(VVariant, TextConvertsEvenWhenItIsNoNumber)
{
    bool ok = true;
    EXPECT_EQ(VVariant("12x").toInt(&ok), 0);
    EXPECT_FALSE(ok);
    EXPECT_EQ(converted(VVariant("12x"), VVariant::Int).toInt(), 0);
    EXPECT_EQ(VVariant(QCString(" 42 ")).toInt(&ok), 42);
    EXPECT_TRUE(ok);
    EXPECT_EQ(VVariant("0x10").toInt(&ok), 0) << "base 10 only";
    EXPECT_EQ(VVariant("2.5").toDouble(), 2.5);
    EXPECT_EQ(VVariant(someDate).toInt(&ok), 0);
    EXPECT_FALSE(ok);
    EXPECT_EQ(VVariant(QCString("M\303\274ll")).toString(), QString::fromUtf8("M\303\274ll"));
    EXPECT_TRUE(VVariant(QString()).toCString().isNull());
}

TEST(VVariant, WritesNumbersAndDatesAsText)
{
    EXPECT_EQ(VVariant(-7).toString(), text("-7"));
    EXPECT_EQ(VVariant(0xffffffffu).toString(), text("4294967295"));
    EXPECT_EQ(VVariant(true, 0).toString(), text("1"));
    EXPECT_EQ(VVariant(0.1f).toString(), text("0.1"));
    EXPECT_EQ(VVariant(someDate).toString(), text("2026-11-21"));
    EXPECT_EQ(VVariant(someMoment).toString(), text("2026-11-21T12:34:56"));
    EXPECT_EQ(VVariant(VTimestamp(someMoment.date(), someMoment.time(), 5)).toString(),
              text("2026-11-21 12:34:56.000000005"));
    EXPECT_TRUE(VVariant(VColor(1)).toString().isNull());
    EXPECT_EQ(converted(VVariant(someMoment), VVariant::String).toString(),
              text("2026-11-21T12:34:56"));
    EXPECT_STREQ(VVariant(12.5).toCString().data(), "12.5");
}

TEST(VVariant, ReadsMomentsAlongTheMatrix)
{
    const VTimestamp stamp(someDate, someMoment.time(), 0);
    EXPECT_EQ(VVariant(stamp).toDateTime(), someMoment);
    EXPECT_EQ(VVariant(someDate).toDateTime(), VDateTime(someDate));
    EXPECT_EQ(VVariant("2026-11-21T12:34:56").toTimestamp(), stamp);
    EXPECT_EQ(VVariant(someMoment).toTime(), someMoment.time());
    EXPECT_FALSE(VVariant(someDate).toTime().isValid());
    EXPECT_FALSE(VVariant(QCString("2026-11-21")).toDate().isValid())
        << "only a String is read as a date";
    EXPECT_EQ(VVariant(someDate).compare(VVariant(VDateTime(someDate))), 0);
    EXPECT_EQ(VVariant(VDateTime(someDate)).compare(VVariant(someDate)), 0);
    EXPECT_EQ(VVariant(someDate).compare(VVariant(VDate(2027, 1, 1))), 1);
    EXPECT_EQ(VVariant(VDate(2027, 1, 1)).compare(VVariant(someDate)), 1);
}

TEST(VVariant, ComparesByItsOwnType)
{
    EXPECT_EQ(VVariant(3).compare(VVariant(3.9)), 0) << "read as int";
    EXPECT_EQ(VVariant(3.9).compare(VVariant(3)), -1) << "the other one is smaller";
    EXPECT_EQ(VVariant(3.5).compare(VVariant("x")), -1);
    EXPECT_EQ(VVariant(3.5).compare(VVariant("3.5")), 0);
    EXPECT_EQ(VVariant("3.5").compare(VVariant(3.5)), 1) << "a double doesn't convert to text";
    EXPECT_EQ(VVariant(QCString()).compare(VVariant(QCString(""))), 0);
    EXPECT_EQ(VVariant().compare(VVariant()), 0);
    EXPECT_EQ(VVariant(QStringList{text("a")}).compare(VVariant(QStringList{text("b")})), 1);
    EXPECT_EQ(VVariant(QStringList{text("a")}).compare(VVariant(QStringList())), 1);
    VVariant::ValueMap one;
    one.insert(text("a"), VVariant(1));
    VVariant::ValueMap other = one;
    EXPECT_EQ(VVariant(one).compare(VVariant(other)), 0);
    other.insert(text("a"), VVariant(2));
    EXPECT_NE(VVariant(one).compare(VVariant(other)), 0);
    other.insert(text("b"), VVariant(2));
    EXPECT_EQ(VVariant(one).compare(VVariant(other)), 1);
}

TEST(VVariant, StreamForm)
{
    const std::vector<VVariant> values = oneOfEach();
    const char* const hex[27] = {"00000000",
                                 "0000000101",
                                 "0000000263",
                                 "00000003fffe",
                                 "00000004fffffffd",
                                 "00000005fffffffc",
                                 "00000006c8",
                                 "00000007ea60",
                                 "0000000800000007",
                                 "0000000900000008",
                                 "0000000a3fc00000",
                                 "0000000b4004000000000000",
                                 "0000000cfffffffffffffffb",
                                 "0000000d0000000000000005",
                                 "0000000e00000003313200",
                                 "0000000f0000000400310033",
                                 "0000001000000002000000020061000000020062",
                                 "000000110000000100000006006b006500790000000400000007",
                                 "00000012000000010000000400000001",
                                 "00000013000000027878",
                                 "000000140000000a0002",
                                 "00000015",
                                 "0000001600258eb6",
                                 "0000001702b32980",
                                 "0000001800258eb602b32980",
                                 "00000019",
                                 "0000001a"};
    for (unsigned id = 0; id < values.size(); ++id) {
        EXPECT_EQ(saved(values[id]).toStdString(), hex[id]) << id;
        VVariant back;
        load(back, hex[id]);
        EXPECT_EQ(back.type(), id);
        if (id != VVariant::Timestamp && id != VVariant::Color) {
            EXPECT_EQ(back.compare(values[id]), 0) << id;
        }
    }
}

TEST(VVariant, LoadingWithoutPayloadKeepsOnlyWords)
{
    VVariant value(0x1234);
    load(value, "0000001a");
    EXPECT_EQ(value.toColor().pixel(), 0x1234u);
    value = VVariant("text");
    load(value, "0000001a");
    EXPECT_EQ(value.toColor().pixel(), 0u) << "a pointer must not become a colour";
    value = VVariant("text");
    load(value, "00000019");
    EXPECT_TRUE(value.toTimestamp().isNull());
    for (const char* unknown : {"0000001b00000000", "ffffffff", "7fffffff"}) {
        load(value, unknown);
        EXPECT_FALSE(value.isValid());
    }
}

TEST(VVariant, HostileStreamsEnd)
{
    WarningCatcher warnings;
    VVariant value;
    for (const char* hex :
         {"00000012ffffffff", "00000010ffffffff00000002", "00000011ffffffff", "00000013ffffffff",
          "00000014ffffffff00", "0000000effffffff", "0000000f7ffffffe", "0000"})
        load(value, hex);
    QByteArray nested;
    for (int i = 0; i < 100000; ++i)
        nested += QByteArray::fromHex("0000001200000001");
    QDataStream stream(nested);
    stream >> value;
    EXPECT_EQ(stream.status(), QDataStream::ReadCorruptData);
    EXPECT_EQ(warnings.text(), text("VVariant::load: Values are nested too deeply"));
}

namespace
{
/// A type above the built-in ones: a counted word that knows how many copies live.
class CountedType : public VVariant::ValueType
{
public:
    const char* name() const override { return "Counted"; }
    unsigned id() const override { return 40; }
    void assign(const VDataValue&, VDataValue& target) override
    {
        ++alive;
        static_cast<VVariant::Value&>(target).type = 40;
    }
    int compare(const VVariant&, const VVariant&) override { return 0; }
    void clear(VDataValue*) override { --alive; }
    void load(QDataStream&, VDataValue&) override { ++alive; }

    int alive = 0;
};
} // namespace

TEST(VVariant, ApplicationsAddTypes)
{
    CountedType type;
    VVariant::addType(40, &type);
    EXPECT_EQ(VVariant::nameToType("Counted"), 40u);
    {
        VVariant value;
        load(value, "00000028");
        VVariant copy(value);
        copy = value;
        VVariant moved(std::move(copy));
        EXPECT_EQ(type.alive, 2);
        EXPECT_EQ(moved.compare(value), 0);
    }
    EXPECT_EQ(type.alive, 0);
    VVariant::removeType(40);
    EXPECT_EQ(VVariant::metaType(40), nullptr);
    WarningCatcher warnings;
    VVariant::addType(0xffffffffu, &type);
    EXPECT_EQ(warnings.text(), text("VVariant::addType: Index 4294967295 out of range"));
}

TEST(VVariant, TheTableComesBackAfterItsPostRoutine)
{
    VVariant value("text");
    postroutines::run();
    VVariant copy = value;
    EXPECT_EQ(copy.toString(), text("text"));
}

TEST(VVariant, AssignsFromInsideItself)
{
    VVariant::ValueList inner;
    inner.append(VVariant("leaf"));
    VVariant value(inner);
    const auto* held = static_cast<const VVariant::ValueList*>(value.value().pointer);
    value = *held->begin();
    EXPECT_EQ(value.toString(), text("leaf"));
}
