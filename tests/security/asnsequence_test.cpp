#include "security/asnsequence.h"

#include "tools/vexception.h"

using asn::DerValue;

namespace
{
QByteArray toHex(const DerValue& value)
{
    const QMemArray<char> bytes = value.toByteArray();
    return QByteArray(bytes.data(), int(bytes.size())).toHex();
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

/// An element of its own coding.
struct Flag {
    bool isSet = false;
    void encode(DerValue& value) const { value.setBoolean(isSet); }
    void decode(const DerValue& value) { isSet = value.getBoolean(); }
};

template <class List>
List flags()
{
    List list;
    list.append(Flag{true});
    list.append(Flag{false});
    return list;
}
} // namespace

TEST(IntegerSequence, NestsAndChecks)
{
    asn::IntegerSequence one, two;
    one << 1 << 256;
    two << -1;
    asn::IntegerSequences both;
    both << one << two;
    DerValue value;
    both.encode(value);
    EXPECT_EQ(toHex(value), "300e"
                            "3007"
                            "020101"
                            "02020100"
                            "3003"
                            "0201ff");
    asn::IntegerSequences read;
    read << two << two << two;
    read.decode(value);
    ASSERT_EQ(read.size(), 2u);
    EXPECT_TRUE(read == both);
    value.tag = 49;
    EXPECT_EQ(thrown([&] { read.decode(value); }),
              QLatin1String("IntegerSequences, not a sequence."));
    EXPECT_EQ(thrown([&] { one.decode(value); }),
              QLatin1String("IntegerSequence, not a sequence."));
    EXPECT_EQ(one.size(), 2u);
    value.setSequence({DerValue(5, math::MSBArray())});
    EXPECT_EQ(thrown([&] { one.decode(value); }),
              QLatin1String("DerValue.getInteger, not an Integer 5"));
}

TEST(SequenceOf, ElementsCodeThemselves)
{
    DerValue sequence, set;
    flags<asn::SequenceOf<Flag>>().encode(sequence);
    flags<asn::SetOf<Flag>>().encode(set);
    EXPECT_EQ(toHex(sequence), "30060101ff010100");
    EXPECT_EQ(toHex(set), "31060101ff010100");
    asn::SequenceOf<Flag> sequenceRead;
    asn::SetOf<Flag> setRead;
    sequenceRead.decode(sequence);
    setRead.decode(set);
    EXPECT_TRUE(sequenceRead.first().isSet && !sequenceRead.last().isSet);
    EXPECT_EQ(setRead.size(), 2u);
    EXPECT_EQ(thrown([&] { sequenceRead.decode(set); }),
              QLatin1String("DerValue.getSequence, incorrect tag: 49"));
    EXPECT_EQ(thrown([&] { setRead.decode(sequence); }),
              QLatin1String("DerValue.getSet, incorrect tag: 48"));
    set.tag = 0xa0;
    sequenceRead.decode(set, true);
    setRead.decode(set, true);
    EXPECT_EQ(sequenceRead.size() + setRead.size(), 4u);
}
