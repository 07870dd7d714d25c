#include "security/asnvalue.h"

#include "math/bigdecimal.h"
#include "security/asnoid.h"
#include "tools/vdatetime.h"
#include "tools/vexception.h"

#include "support/testdata.h"
#include "support/warnings.h"

#include <qbitarray.h>
#include <qfile.h>

#include <algorithm>

using asn::DerValue;

namespace
{
QByteArray octets(const math::MSBArray& array)
{
    return QByteArray(array.data(), int(array.size()));
}

DerValue fromHex(const char* hex)
{
    const QByteArray bytes = QByteArray::fromHex(hex);
    return DerValue(QMemArray<char>().duplicate(bytes.data(), unsigned(bytes.size())));
}

QByteArray toHex(const DerValue& value)
{
    const QMemArray<char> bytes = value.toByteArray();
    return QByteArray(bytes.data(), int(bytes.size())).toHex();
}

QByteArray fixture()
{
    QFile file(testData("security/values.der"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

template <class F>
QString thrown(F&& call)
{
    try {
        call();
    } catch (const VException& exception) {
        return exception.message();
    }
    return QStringLiteral("nothing");
}

const QString german = QString::fromUtf8("Gr\xc3\xbc\xc3\x9f"
                                         "e");
const QString large = QString::fromUtf8("Gr\xc3\xb6\xc3\x9f"
                                        "e");
} // namespace

TEST(DerValue, ReadsWhatOpensslWrote)
{
    const QByteArray bytes = fixture();
    const QValueList<DerValue> values =
        DerValue(bytes.data(), unsigned(bytes.size())).getSequence();
    ASSERT_EQ(values.size(), 19u);
    EXPECT_TRUE(values[0].getBoolean());
    EXPECT_EQ(values[1].getInteger().toInt(), -129);
    EXPECT_EQ(values[2].getInteger().toString(16), "80000000000000000000000000000001");
    EXPECT_EQ(values[3].getEnumerated().toInt(), 300);
    EXPECT_EQ(values[4].tag, DerValue::Null);
    EXPECT_EQ(values[5].getOID().toString(), "1.2.840.113549.1.9.1");
    EXPECT_EQ(values[6].getOctetString(), QMemArray<char>().duplicate("\x01\x02\xff", 4));
    const QBitArray bits = values[7].getBitString();
    EXPECT_EQ(bits.size(), 16);
    EXPECT_EQ(QByteArray(bits.bits(), 2).toHex(), "a501");
    EXPECT_TRUE(bits.testBit(0) && !bits.testBit(1) && bits.testBit(7) && bits.testBit(8));
    EXPECT_EQ(values[8].getUTF8String(), german);
    EXPECT_EQ(values[9].getPrintableString(), "Plant 7");
    EXPECT_EQ(values[10].getT61String(), "old");
    EXPECT_EQ(values[11].getIA5String(), "a@b.example");
    EXPECT_EQ(values[12].getGeneralString(), "any");
    EXPECT_EQ(values[13].getBMPString(), large);
    EXPECT_TRUE(values[14].getUTCTime() == VDateTime(VDate(2050, 11, 12), VTime(14, 5, 9)));
    EXPECT_EQ(values[16].getSet().size(), 2u);
    EXPECT_EQ(values[16].getSet().last().getInteger().toInt(), 255);
    EXPECT_TRUE(values[17].getSequence().isEmpty());
    EXPECT_EQ(values[18].data.size(), 145u);
}

TEST(DerValue, WritesWhatOpensslWrites)
{
    QValueList<DerValue> list;
    const auto add = [&](auto set) {
        DerValue value;
        set(value);
        list.append(value);
    };
    QBitArray bits = QBitArray::fromBits("\xa5\x01", 16);
    QMemArray<char> zeros(145);
    zeros.fill(0);
    zeros[144] = 1;
    add([](DerValue& v) { v.setBoolean(true); });
    add([](DerValue& v) { v.setInteger(-129); });
    add([](DerValue& v) {
        v.setInteger(math::BigInteger("80000000000000000000000000000001", 16));
    });
    add([](DerValue& v) { v.setEnumerated(300); });
    add([](DerValue& v) { v.setNull(); });
    add([](DerValue& v) { v.setOID(asn::ObjectIdentifier("1.2.840.113549.1.9.1")); });
    add([](DerValue& v) { v.setOctetString(QMemArray<char>().duplicate("\x01\x02\xff", 4)); });
    add([&](DerValue& v) { v.setBitString(bits); });
    add([](DerValue& v) { v.setUTF8String(german); });
    add([](DerValue& v) { v.setPrintableString("Plant 7"); });
    add([](DerValue& v) { v.setT61String("old"); });
    add([](DerValue& v) { v.setIA5String("a@b.example"); });
    add([](DerValue& v) { v.setGeneralString("any"); });
    add([](DerValue& v) { v.setBMPString(large); });
    const VDateTime time(VDate(2026, 11, 12), VTime(14, 5, 9));
    add([&](DerValue& v) { v.setUTCTime(time.addYears(24)); });
    add([&](DerValue& v) { v.setGeneralizedTime(time); });
    add([](DerValue& v) {
        DerValue first, second;
        first.setInteger(0);
        second.setInteger(255);
        v.setSet({first, second});
    });
    add([](DerValue& v) { v.setSequence({}); });
    add([&](DerValue& v) { v.setOctetString(zeros); });
    DerValue whole;
    whole.setSequence(list);
    EXPECT_EQ(toHex(whole), fixture().toHex());
    QByteArray written;
    QDataStream stream(&written, QIODevice::WriteOnly);
    whole.encode(stream);
    EXPECT_EQ(written.toHex(), fixture().toHex());
}

struct Length {
    unsigned length;
    const char* header;
};
class DerLength : public testing::TestWithParam<Length>
{
};
TEST_P(DerLength, TakesTheFewestOctets)
{
    math::MSBArray content;
    content.resize(GetParam().length);
    content.fill("x", -1, 1);
    const DerValue value(4, content);
    const QByteArray header = QByteArray::fromHex(GetParam().header);
    const QMemArray<char> bytes = value.toByteArray();
    EXPECT_EQ(QByteArray(bytes.data(), header.size()).toHex(), header.toHex());
    EXPECT_EQ(bytes.size(), unsigned(header.size()) + GetParam().length);
    EXPECT_TRUE(DerValue(bytes.data(), bytes.size()) == value);
    QDataStream stream(QByteArray(bytes.data(), int(bytes.size())));
    DerValue read;
    read.decode(stream);
    EXPECT_TRUE(read == value && stream.atEnd());
}
INSTANTIATE_TEST_SUITE_P(Forms, DerLength,
                         testing::Values(Length{0, "0400"}, Length{127, "047f"},
                                         Length{128, "048180"}, Length{255, "0481ff"},
                                         Length{256, "04820100"}, Length{65536, "0483010000"},
                                         Length{16777216, "048401000000"}));

struct Bytes {
    const char* hex;
    int tag;
    const char* loose;
    const char* strictText;
    const char* streamed; // null: its status is bad
};
class DerBytes : public testing::TestWithParam<Bytes>
{
};
TEST_P(DerBytes, AreNeverReadPastTheirEnd)
{
    const QByteArray bytes = QByteArray::fromHex(GetParam().hex);
    const std::vector<char> exact(bytes.begin(), bytes.end());
    const auto length = unsigned(exact.size());
    const QString strictText = QLatin1String(GetParam().strictText);
    EXPECT_EQ(thrown([&] { DerValue(exact.data(), length); }), strictText);
    if (GetParam().loose) {
        const DerValue loose = fromHex(GetParam().hex);
        EXPECT_EQ(loose.tag, GetParam().tag);
        EXPECT_EQ(octets(loose.data).toHex(), GetParam().loose);
    } else {
        EXPECT_EQ(thrown([&] { fromHex(GetParam().hex); }), strictText);
    }
    QDataStream stream(bytes);
    DerValue streamed;
    streamed.decode(stream);
    EXPECT_EQ(octets(streamed.data).toHex(), GetParam().streamed ? GetParam().streamed : "");
    EXPECT_EQ(stream.status() != QDataStream::Ok, !GetParam().streamed);
    EXPECT_TRUE(GetParam().streamed || stream.atEnd());
}
// clang-format off
INSTANTIATE_TEST_SUITE_P(Forms, DerBytes, testing::Values(
    Bytes{"", 0, "", "nothing", nullptr},
    Bytes{"04", 4, "", "nothing", nullptr},
    Bytes{"0400", 4, "", "nothing", ""},
    Bytes{"0500ff", 5, "", "nothing", ""},
    Bytes{"0402abcd", 4, "abcd", "nothing", "abcd"},
    Bytes{"0402abcdef", 4, "abcd", "extra data given to DerValue constructor", "abcd"},
    Bytes{"0403abcd", 4, "abcd", "extra data given to DerValue constructor", nullptr},
    Bytes{"0484ffffffffab", 4, "ab", "extra data given to DerValue constructor", nullptr},
    Bytes{"048200", 4, "", "extra data given to DerValue constructor", nullptr},
    Bytes{"04840000000201", 4, "01", "extra data given to DerValue constructor", nullptr},
    Bytes{"0480ab0000", 4, nullptr, "Indefinite length encoding not supported", ""},
    Bytes{"04850000000001", 4, nullptr, "DerValue::init(): lengthTag=5, too big.", ""},
    Bytes{"04ff01", 4, nullptr, "DerValue::init(): lengthTag=127, too big.", ""}));
// clang-format on

TEST(DerValue, AListEndsBeforeAValueThatIsCut)
{
    EXPECT_EQ(fromHex("3006020105040300").getList().size(), 1u);
    EXPECT_EQ(fromHex("300402010504").getList().size(), 1u);
    EXPECT_EQ(fromHex("30070201050484ffffffff").getList().size(), 1u);
    EXPECT_EQ(fromHex("300405800500").getList().size(), 2u);
    EXPECT_TRUE(DerValue().getList().isEmpty());
}

TEST(DerValue, ValuesOfAListViewItsOctetsUntilWrittenTo)
{
    const DerValue whole = fromHex("3007"
                                   "3005"
                                   "0403616263");
    DerValue middle = whole.getSequence().first();
    DerValue inner = middle.getSequence().first();
    EXPECT_EQ(middle.data.octets(), whole.data.octets() + 2);
    EXPECT_EQ(inner.data.octets(), whole.data.octets() + 4);
    const DerValue copy = inner;
    inner.setOctetString(QMemArray<char>().duplicate("xyz", 3));
    EXPECT_EQ(octets(copy.data), "abc");
    middle.data.data()[0] = 'x';
    middle.data.resize(3);
    EXPECT_EQ(octets(whole.data).toHex(), "30050403616263");
    EXPECT_EQ(octets(middle.data).toHex(), "780361");
    DerValue kept;
    kept = fromHex("3005"
                   "0403616263")
               .getSequence()
               .first();
    EXPECT_EQ(octets(kept.data), "abc");
}

TEST(DerValue, AListThatIsSetLeavesCopiesOfTheOldValueAlone)
{
    DerValue value = fromHex("3003020105");
    const DerValue copy = value;
    value.setSequence({copy, copy});
    EXPECT_EQ(toHex(value), "300a30030201053003020105");
    EXPECT_EQ(toHex(copy), "3003020105");
    value.data.fill("\x05", -1, 1);
    EXPECT_EQ(toHex(copy), "3003020105");
}

TEST(DerValue, DeepNestingCostsNeitherStackNorCopies)
{
    constexpr int depth = 100000;
    QByteArray reversed;
    for (int level = 0; level < depth; ++level) {
        auto length = unsigned(reversed.size());
        int octetsOfLength = 0;
        const bool isShort = length < 128;
        for (; !isShort && length > 0; length >>= 8, ++octetsOfLength)
            reversed.append(char(length));
        reversed.append(char(isShort ? length : 0x80 | octetsOfLength));
        reversed.append(char(48));
    }
    std::reverse(reversed.begin(), reversed.end());
    DerValue value(reversed.data(), unsigned(reversed.size()));
    const uchar* const begin = value.data.octets();
    const uchar* const end = begin + value.data.size();
    int levels = 1;
    for (; !value.data.isEmpty(); ++levels) {
        ASSERT_TRUE(value.data.octets() >= begin && value.data.octets() < end);
        const QValueList<DerValue> list = value.getSequence();
        ASSERT_EQ(list.size(), 1u);
        value = list.first();
    }
    EXPECT_EQ(levels, depth);
}

struct Getter {
    const char* text;
    void (*call)(const DerValue&);
};
class DerGetter : public testing::TestWithParam<Getter>
{
};
TEST_P(DerGetter, ThrowsItsTextAndTheTag)
{
    const DerValue value(7, math::MSBArray("x", 1));
    EXPECT_EQ(thrown([&] { GetParam().call(value); }),
              QLatin1String(GetParam().text) + QLatin1Char('7'));
}
// clang-format off
INSTANTIATE_TEST_SUITE_P(Texts, DerGetter, testing::Values(
    Getter{"DerValue.getBoolean, not a Boolean ", [](const DerValue& v) { v.getBoolean(); }},
    Getter{"DerValue.getInteger, not an Integer ", [](const DerValue& v) { v.getInteger(); }},
    Getter{"DerValue.getBitString, not a bit string ", [](const DerValue& v) { v.getBitString(); }},
    Getter{"DerValue.getOctetString, not an Octet String: ", [](const DerValue& v) { v.getOctetString(); }},
    Getter{"DerValue.getOID, not an OID ", [](const DerValue& v) { v.getOID(); }},
    Getter{"DerValue.getReal, incorrect tag: ", [](const DerValue& v) { v.getReal(); }},
    Getter{"DerValue.getEnumerated, incorrect tag: ", [](const DerValue& v) { v.getEnumerated(); }},
    Getter{"DerValue.getPrintableString, not a string ", [](const DerValue& v) { v.getPrintableString(); }},
    Getter{"DerValue.getT61String, not T61 ", [](const DerValue& v) { v.getT61String(); }},
    Getter{"DerValue.getIA5String, not IA5 ", [](const DerValue& v) { v.getIA5String(); }},
    Getter{"DerValue.getGeneralString, not GeneralString ", [](const DerValue& v) { v.getGeneralString(); }},
    Getter{"DerValue.getBMPString, not BMP ", [](const DerValue& v) { v.getBMPString(); }},
    Getter{"DerValue.getUTF8String, not UTF-8 ", [](const DerValue& v) { v.getUTF8String(); }},
    Getter{"DerValue.getUTCTime, not an UTC Time ", [](const DerValue& v) { v.getUTCTime(); }},
    Getter{"DerValue.getGeneralizedTime, not an Generalized Time ", [](const DerValue& v) { v.getGeneralizedTime(); }},
    Getter{"DerValue.getSequence, incorrect tag: ", [](const DerValue& v) { v.getSequence(); }},
    Getter{"DerValue.getSet, incorrect tag: ", [](const DerValue& v) { v.getSet(); }}));
// clang-format on

TEST(DerValue, ImplicitTagsAreNotLookedAt)
{
    EXPECT_EQ(fromHex("8001ff").getInteger(true).toInt(), -1);
    EXPECT_EQ(fromHex("8102ff01").getBitString(true).size(), 8);
    EXPECT_EQ(fromHex("a203020105").getSet(true).size(), 1u);
}

TEST(DerValue, EdgesOfPrimitives)
{
    EXPECT_EQ(thrown([] { fromHex("01020000").getBoolean(); }),
              QLatin1String("DerValue.getBoolean, invalid length 2"));
    EXPECT_EQ(thrown([] { fromHex("0100").getBoolean(); }),
              QLatin1String("DerValue.getBoolean, invalid length 0"));
    EXPECT_TRUE(fromHex("010101").getBoolean());
    DerValue value;
    value.setBoolean(false);
    EXPECT_EQ(toHex(value), "010100");
    value.setInteger(0);
    EXPECT_EQ(toHex(value), "020100");
    value.setReal(math::BigDecimal("-0.75"));
    EXPECT_EQ(toHex(value), "0903c0fe03");
    EXPECT_TRUE(value.getReal() == math::BigDecimal("-0.75"));
    value.setBitString(QBitArray(9));
    EXPECT_EQ(toHex(value), "0303000000");
    EXPECT_TRUE(fromHex("0300").getBitString().isEmpty());
    EXPECT_TRUE(fromHex("030100").getBitString().isEmpty());
    EXPECT_EQ(fromHex("1e03004100").getBMPString(), QLatin1String("A"));
    EXPECT_EQ(fromHex("1303610062").getPrintableString(), "a");
    EXPECT_FALSE(fromHex("1300").getPrintableString().isNull());
    EXPECT_EQ(fromHex("0200").getInteger().toInt(), 0);
}

TEST(DerValue, TextsForPeople)
{
    EXPECT_EQ(DerValue(QCString("a\xe9")).tag, 19);
    EXPECT_EQ(DerValue(QCString("a\xe9")).toString(), QString::fromUtf8("\"a\xc3\xa9\""));
    EXPECT_EQ(DerValue(german).tag, 12);
    EXPECT_EQ(DerValue(german).toString(), QLatin1Char('"') + german + QLatin1Char('"'));
    EXPECT_EQ(fromHex("1e0400480069").toString(), QLatin1String("\"Hi\""));
    EXPECT_EQ(fromHex("0500").toString(), QLatin1String("[DerValue, null]"));
    EXPECT_EQ(fromHex("06022a03").toString(), QLatin1String("OID.1.2.3"));
    EXPECT_EQ(fromHex("0402abcd").toString(), QLatin1String("[DerValue, tag = 4, length = 2"));
    EXPECT_EQ(fromHex("1300").toString(), QLatin1String("[DerValue, tag = 19, length = 0"));
}

struct Time {
    const char* text;
    const char* utc;
    const char* generalized;
};
class DerTime : public testing::TestWithParam<Time>
{
};
TEST_P(DerTime, ReadsOrThrows)
{
    const DerValue value(23, math::MSBArray(GetParam().text, qstrlen(GetParam().text)));
    const auto read = [&](VDateTime (DerValue::*get)() const) {
        WarningCatcher catcher;
        try {
            return (value.*get)().toString(Zyl::ISODate);
        } catch (const VException& exception) {
            return exception.message();
        }
    };
    EXPECT_EQ(read(&DerValue::getUTCTime), QLatin1String(GetParam().utc));
    EXPECT_EQ(read(&DerValue::getGeneralizedTime), QLatin1String(GetParam().generalized));
}
#define UTC_LENGTH "DER getUTCTime length error"
#define UTC_OFFSET "Parse UTC time, invalid offset"
#define GEN_LENGTH "DER getGeneralizedTime length error"
#define GEN_OFFSET "Parse Generalized time, invalid offset"
// clang-format off
INSTANTIATE_TEST_SUITE_P(Forms, DerTime, testing::Values(
    Time{"501112140509Z", "2050-11-12T14:05:09", "5011-12-14T05:09:00"},
    Time{"511112140509Z", "1951-11-12T14:05:09", "5111-12-14T05:09:00"},
    Time{"2611121405Z", "2026-11-12T14:05:00", GEN_OFFSET},
    Time{"2611121405?", "2026-11-12T14:05:00", GEN_OFFSET},
    Time{"26111214050Z", UTC_OFFSET, GEN_OFFSET},
    Time{"2611121405+0100", "2026-11-12T15:05:00", "2611-12-14T05:00:10"},
    Time{"261112140509+0130", "2026-11-12T15:35:09", "2611-12-14T06:39:00"},
    Time{"261112140509-1430", "2026-11-11T23:35:09", "2611-12-13T14:39:00"},
    Time{"261112140509*0130", "2026-11-12T14:05:09", "2611-12-14T05:09:00"},
    Time{"20261112140509Z", "", "2026-11-12T14:05:09"}, // a month 26 in two digits of year
    Time{"202611121405Z", "", "2026-11-12T14:05:00"},
    Time{"202611121405+0100", "", "2026-11-12T15:05:00"},
    Time{"261112140Z", UTC_LENGTH, GEN_LENGTH},
    Time{"20261112140509+0100", UTC_LENGTH, GEN_LENGTH},
    Time{"", UTC_LENGTH, GEN_LENGTH}));
// clang-format on

TEST(DerValue, GeneralizedTimesOfItsOwnAreRefused)
{
    DerValue value;
    value.setGeneralizedTime(VDateTime(VDate(2026, 11, 12), VTime(14, 5, 9)));
    EXPECT_EQ(thrown([&] { value.getGeneralizedTime(); }),
              QLatin1String("DerValue.getGeneralizedTime, not an Generalized Time 24"));
}
