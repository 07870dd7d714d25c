#include "security/asnoid.h"

using asn::ObjectIdentifier;

namespace
{
QByteArray octets(const ObjectIdentifier& oid)
{
    return QByteArray(oid.data(), int(oid.size())).toHex();
}
} // namespace

struct Identifier {
    const char* text;
    const char* hex; // empty: the text is none
    const char* shown;
};
class Oid : public testing::TestWithParam<Identifier>
{
};
TEST_P(Oid, TextAndOctets)
{
    const ObjectIdentifier oid(GetParam().text);
    EXPECT_EQ(octets(oid), GetParam().hex);
    EXPECT_EQ(oid.toString(), GetParam().shown);
}
// clang-format off
INSTANTIATE_TEST_SUITE_P(Forms, Oid, testing::Values(
    Identifier{"1.2.840.113549.1.9.1", "2a864886f70d010901", "1.2.840.113549.1.9.1"},
    Identifier{"2 5 4.3", "550403", "2.5.4.3"},
    Identifier{"0.9.2342.19200300.100.1.25", "0992268993f22c640119", "0.9.2342.19200300.100.1.25"},
    Identifier{"0.39", "27", "0.39"},
    Identifier{"1.39", "4f", "1.39"},
    Identifier{"2.47", "7f", "2.47"},
    Identifier{"2.999", "8837", "1.23"},
    Identifier{"2.48.128", "81008100", "0.1.128"},
    Identifier{"1.0.18446744073709551615", "2881ffffffffffffffff7f", "1.0.18446744073709551615"},
    Identifier{"2.18446744073709551535", "81ffffffffffffffff7f", "2.47"},
    Identifier{"1.0.18446744073709551616", "", ""},
    Identifier{"2.18446744073709551536", "", ""},
    Identifier{"3.1", "", ""},
    Identifier{"10.5", "", ""},
    Identifier{"1.40", "", ""},
    Identifier{"0.40", "", ""},
    Identifier{"1", "", ""},
    Identifier{"1.", "", ""},
    Identifier{"1..2", "", ""},
    Identifier{"1.2.", "", ""},
    Identifier{"1.2,3", "", ""},
    Identifier{"1.2.-3", "", ""},
    Identifier{".1.2", "", ""},
    Identifier{"", "", ""},
    Identifier{nullptr, "", ""}));
// clang-format on

TEST(ObjectIdentifier, StoresNoMoreThanItsArrayHolds)
{
    ObjectIdentifier oid("1.2.3");
    EXPECT_EQ(oid.setString("1.2.840.113549", false), 6u);
    EXPECT_EQ(octets(oid), "2a03");
    EXPECT_EQ(oid.setString("1.2.840.113549"), 6u);
    EXPECT_EQ(octets(oid), "2a86");
    EXPECT_EQ(oid.setString("1.2.x"), 0u);
    EXPECT_EQ(octets(oid), "2a86");
}

struct Cut {
    const char* hex;
    const char* shown;
};
class CutOid : public testing::TestWithParam<Cut>
{
};
TEST_P(CutOid, LeavesTheCutComponentOut)
{
    const QByteArray bytes = QByteArray::fromHex(GetParam().hex);
    const ObjectIdentifier oid = math::MSBArray(bytes.data(), unsigned(bytes.size()));
    EXPECT_EQ(oid.toString(), GetParam().shown);
}
INSTANTIATE_TEST_SUITE_P(Forms, CutOid,
                         testing::Values(Cut{"", ""}, Cut{"88", ""}, Cut{"2a", "1.2"},
                                         Cut{"2a86", "1.2"}, Cut{"2a038648", "1.2.3.840"},
                                         Cut{"2a8003", "1.2.3"}));
