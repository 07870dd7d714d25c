#include "toolkit/qcstring.h"

#include "support/warnings.h"

#include <qtextstream.h>

namespace
{
std::string shown(const QCString& text)
{
    return text.isNull() ? "(null)" : text.data();
}

QByteArray streamed(const QCString& text)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_3_3);
    stream << text;
    return bytes.toHex();
}
} // namespace

TEST(QCString, NullAndEmptyDiffer)
{
    const QCString null, empty("");
    EXPECT_TRUE(null.isNull() && null.isEmpty() && !empty.isNull() && empty.isEmpty());
    EXPECT_EQ(null.size(), 0u);
    EXPECT_EQ(empty.size(), 1u);
    EXPECT_TRUE(null == QCString() && null == static_cast<const char*>(nullptr));
    EXPECT_TRUE(null != empty && null < empty && null != "");
    EXPECT_FALSE(static_cast<const char*>(null));
    EXPECT_TRUE(static_cast<const char*>(empty));
    EXPECT_TRUE(QCString(static_cast<const char*>(nullptr)).isNull());
    QCString text("x");
    text = static_cast<const char*>(nullptr);
    EXPECT_TRUE(text.isNull());
}

TEST(QCString, SizeCountsTheZero)
{
    EXPECT_EQ(QCString("abc").size(), 4u);
    const QCString room(5);
    EXPECT_EQ(room.size(), 5u);
    EXPECT_EQ(room.length(), 0u);
    EXPECT_EQ(room.data()[4], '\0');
    EXPECT_EQ(shown(QCString("abcdef", 4)), "abc");
    EXPECT_EQ(QCString("ab", 10).size(), 3u);
    QCString text("abcdef");
    text.truncate(2);
    EXPECT_EQ(shown(text), "ab");
    text.data()[1] = '\0';
    EXPECT_EQ(text.length(), 1u);
    EXPECT_EQ(text.size(), 3u);
}

TEST(QCString, ALostZeroDoesNotLetLengthRunOn)
{
    QCString text("abc");
    text.QMemArray<char>::fill('x');
    EXPECT_EQ(text.length(), 4u);
}

TEST(QCString, ChangingFunctionsPartACopyAndElementWritesDoNot)
{
    const QCString original("banana");
    const auto changed = [&](auto change) {
        QCString copy = original;
        change(copy);
        EXPECT_EQ(shown(original), "banana");
        return shown(copy);
    };
    EXPECT_EQ(changed([](QCString& s) { s.truncate(3); }), "ban");
    EXPECT_EQ(changed([](QCString& s) { s.fill('-'); }), "------");
    EXPECT_EQ(changed([](QCString& s) { s.fill('-', 2); }), "--");
    EXPECT_EQ(changed([](QCString& s) { s.sprintf("%d%s", 4, s.data()); }), "4banana");
    EXPECT_EQ(changed([](QCString& s) { s.insert(2, "__"); }), "ba__nana");
    EXPECT_EQ(changed([](QCString& s) { s.insert(8, "x"); }), "banana  x");
    EXPECT_EQ(changed([](QCString& s) { s.remove(1, 2); }), "bana");
    EXPECT_EQ(changed([](QCString& s) { s.remove(4, 99); }), "bana");
    EXPECT_EQ(changed([](QCString& s) { s.remove(6, 1); }), "banana");
    EXPECT_EQ(changed([](QCString& s) { s.replace(1, 2, "o"); }), "boana");
    EXPECT_EQ(changed([](QCString& s) { s.replace(7, 2, "o"); }), "banana o");
    EXPECT_EQ(changed([](QCString& s) { s.setStr("x"); }), "x");
    EXPECT_EQ(changed([](QCString& s) { s.setNum(-12); }), "-12");
    EXPECT_EQ(changed([](QCString& s) { s.setExpand(7, '!'); }), "banana !");
    EXPECT_EQ(changed([](QCString& s) { s.setExpand(0, 'B'); }), "Banana");
    EXPECT_EQ(changed([](QCString& s) { s += "s"; }), "bananas");
    EXPECT_EQ(changed([](QCString& s) { s += 's'; }), "bananas");
    EXPECT_EQ(changed([](QCString& s) { s += s.data() + 4; }), "bananana");
    EXPECT_EQ(changed([](QCString& s) { s.insert(0, s.data() + 4); }), "nabanana");
    EXPECT_EQ(changed([](QCString& s) { s = s.data() + 4; }), "na");

    QCString first("abc");
    const QCString second = first;
    first[0] = 'x';
    first.data()[1] = 'y';
    EXPECT_EQ(shown(second), "xyc");
    first.QMemArray<char>::resize(2);
    EXPECT_EQ(second.size(), 2u);
}

struct Cut {
    const char* text;
    const char* left2;
    const char* right2;
    const char* mid1;
    const char* stripped;
    const char* simplified;
};
class QCStringParts : public testing::TestWithParam<Cut>
{
};
TEST_P(QCStringParts, AreNullOrEmptyAsTold)
{
    const Cut& cut = GetParam();
    const QCString text(cut.text);
    EXPECT_EQ(shown(text.left(2)), cut.left2);
    EXPECT_EQ(shown(text.right(2)), cut.right2);
    EXPECT_EQ(shown(text.mid(1)), cut.mid1);
    EXPECT_EQ(shown(text.stripWhiteSpace()), cut.stripped);
    EXPECT_EQ(shown(text.simplifyWhiteSpace()), cut.simplified);
}
// clang-format off
INSTANTIATE_TEST_SUITE_P(Forms, QCStringParts, testing::Values(
    Cut{nullptr, "(null)", "(null)", "(null)", "(null)", "(null)"},
    Cut{"", "(null)", "(null)", "(null)", "", ""},
    Cut{"a", "a", "a", "(null)", "a", "a"},
    Cut{"abc", "ab", "bc", "bc", "abc", "abc"},
    Cut{" \t\n ", " \t", "\n ", "\t\n ", "", ""},
    Cut{"\v a \r\f b\n", "\v ", "b\n", " a \r\f b\n", "a \r\f b", "a b"}));
// clang-format on

TEST(QCString, PartsOfNoLengthAreEmptyNotNull)
{
    const QCString text("abc");
    EXPECT_EQ(shown(text.left(0)), "");
    EXPECT_EQ(shown(text.right(0)), "");
    EXPECT_EQ(shown(text.mid(2, 0)), "");
    EXPECT_EQ(shown(text.mid(3, 0)), "(null)");
    EXPECT_EQ(shown(text.leftJustify(5, '.')), "abc..");
    EXPECT_EQ(shown(text.rightJustify(5, '.')), "..abc");
    EXPECT_EQ(shown(text.rightJustify(2, '.', true)), "ab");
}

TEST(QCString, Finds)
{
    const QCString text("banana");
    EXPECT_EQ(text.find("ana"), 1);
    EXPECT_EQ(text.find("ana", 2), 3);
    EXPECT_EQ(text.find("ANA", 2, false), 3);
    EXPECT_EQ(text.find("ANA"), -1);
    EXPECT_EQ(text.find("", 4), 4);
    EXPECT_EQ(text.find("", 7), -1);
    EXPECT_EQ(text.find("a", -1), -1);
    EXPECT_EQ(text.find('\0'), 6);
    EXPECT_EQ(text.find('N', 3, false), 4);
    EXPECT_EQ(text.findRev("ana"), 3);
    EXPECT_EQ(text.findRev("ana", 2), 1);
    EXPECT_EQ(text.findRev('b', 5), 0);
    EXPECT_EQ(text.findRev('x'), -1);
    EXPECT_EQ(text.contains("ana"), 2);
    EXPECT_EQ(text.contains('A', false), 3);
    EXPECT_EQ(QCString().find('a'), -1);
    EXPECT_EQ(QCString().contains("a"), 0);
}

struct Number {
    const char* text;
    int asInt;
    bool intOk;
    unsigned asUnsigned;
    bool unsignedOk;
    double asDouble;
    bool doubleOk;
};
class QCStringNumber : public testing::TestWithParam<Number>
{
};
TEST_P(QCStringNumber, Reads)
{
    const Number& number = GetParam();
    const QCString text(number.text);
    bool ok = false;
    EXPECT_EQ(text.toInt(&ok), number.asInt);
    EXPECT_EQ(ok, number.intOk);
    EXPECT_EQ(text.toUInt(&ok), number.asUnsigned);
    EXPECT_EQ(ok, number.unsignedOk);
    EXPECT_EQ(text.toDouble(&ok), number.asDouble);
    EXPECT_EQ(ok, number.doubleOk);
}
// clang-format off
INSTANTIATE_TEST_SUITE_P(Forms, QCStringNumber, testing::Values(
    Number{" 12 ", 12, true, 12u, true, 12, false},
    Number{"-12", -12, true, 0u, false, -12, true},
    Number{"+12", 12, true, 12u, true, 12, true},
    Number{"0x10", 0, false, 0u, false, 16, true},
    Number{"010", 10, true, 10u, true, 10, true},
    Number{"1.5x", 0, false, 0u, false, 1.5, false},
    Number{"", 0, false, 0u, false, 0, false},
    Number{nullptr, 0, false, 0u, false, 0, false},
    Number{"-", 0, false, 0u, false, 0, false},
    Number{"-2147483648", -2147483647 - 1, true, 0u, false, -2147483648.0, true},
    Number{"2147483648", 0, false, 2147483648u, true, 2147483648.0, true},
    Number{"4294967296", 0, false, 0u, false, 4294967296.0, true},
    Number{"99999999999999999999", 0, false, 0u, false, 1e20, true}));
// clang-format on

TEST(QCString, WritesRealsAsPrintfDoes)
{
    EXPECT_EQ(shown(QCString().setNum(1e6)), "1e+06");
    EXPECT_EQ(shown(QCString().setNum(0.1234567)), "0.123457");
    EXPECT_EQ(shown(QCString().setNum(2.5, 'f', 2)), "2.50");
    EXPECT_EQ(shown(QCString().setNum(2.5, 'E', 1)), "2.5E+00");
    EXPECT_EQ(QCString().setNum(1e308, 'f', 200).length(), 309u + 1 + 99);
    WarningCatcher catcher;
    EXPECT_EQ(shown(QCString().setNum(2.5, 'q', 3)), "2.5");
    EXPECT_EQ(catcher.text(), QLatin1String("QCString::setNum: Invalid format char 'q'"));
}

TEST(QCString, SprintfCutsAtTheLargerOf256AndItsSize)
{
    const std::string wide(400, 'w');
    EXPECT_EQ(QCString().sprintf("%s", wide.c_str()).length(), 255u);
    EXPECT_EQ(QCString(300).sprintf("%s", wide.c_str()).length(), 299u);
}

TEST(QCString, StreamFormCountsTheZero)
{
    EXPECT_EQ(streamed("ab"), "00000003616200");
    EXPECT_EQ(streamed(""), "0000000100");
    EXPECT_EQ(streamed(QCString()), "00000000");
}

struct Stored {
    const char* hex;
    const char* text;
    QDataStream::Status status;
};
class QCStringStream : public testing::TestWithParam<Stored>
{
};
TEST_P(QCStringStream, Reads)
{
    QDataStream stream(QByteArray::fromHex(GetParam().hex));
    QCString text("before");
    const QCString sharer = text;
    stream >> text;
    EXPECT_EQ(shown(text), GetParam().text);
    EXPECT_EQ(stream.status(), GetParam().status);
    EXPECT_EQ(shown(sharer), "before");
}
INSTANTIATE_TEST_SUITE_P(Forms, QCStringStream,
                         testing::Values(Stored{"00000003616200", "ab", QDataStream::Ok},
                                         Stored{"00000000", "(null)", QDataStream::Ok},
                                         Stored{"000000026162", "ab", QDataStream::Ok},
                                         Stored{"00000004616200", "(null)",
                                                QDataStream::ReadPastEnd},
                                         Stored{"fffffff061", "(null)", QDataStream::ReadPastEnd},
                                         Stored{"0000", "(null)", QDataStream::ReadPastEnd}));

TEST(QCString, TextStreamTakesTheBytesAsLatin1)
{
    QString written;
    QTextStream stream(&written);
    stream << QCString("\xe9") << QCString();
    stream.flush();
    EXPECT_EQ(written, QString(QChar(0xe9)));
}
