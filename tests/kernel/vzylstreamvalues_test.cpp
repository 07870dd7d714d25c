#include "kernel/streamrequest.h"

#include "geometry/gvector.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylquaternion.h"
#include "geometry/zylvector.h"
#include "geometry/zylvectorarray.h"

#include <qtextstream.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

using geometry::Matrix4f;
using geometry::Quaternion;
using geometry::Vector3f;

namespace
{
struct NumberCase {
    const char* text;
    double value;
    const char* left;
};

void PrintTo(const NumberCase& number, std::ostream* out)
{
    *out << '"' << number.text << '"';
}

class ZylInteger : public testing::TestWithParam<NumberCase>
{
};
TEST_P(ZylInteger, FollowsTheClassicTextStream)
{
    TextSource source(GetParam().text);
    int value = 99;
    EXPECT_EQ(source.stream.read(value), 1);
    EXPECT_EQ(value, int(GetParam().value));
    EXPECT_EQ(source.left(), GetParam().left);
}
INSTANTIATE_TEST_SUITE_P(Forms, ZylInteger,
                         testing::Values(NumberCase{"  12;", 12, ";"}, NumberCase{"08", 0, "8"},
                                         NumberCase{"018", 1, ""}, NumberCase{"0189x", 1, "x"},
                                         NumberCase{"0x 1F", 31, ""}, NumberCase{"- 5", -5, ""},
                                         NumberCase{"abc", 0, "bc"}, NumberCase{"010", 8, ""},
                                         NumberCase{"0b101", 5, ""}, NumberCase{"0X1f,", 31, ","},
                                         NumberCase{"4294967296", 0, ""},
                                         NumberCase{"-0x10", 0, "x10"}, NumberCase{"-010", -10, ""},
                                         NumberCase{"4294967295", -1, ""},
                                         NumberCase{"-2147483648", -2147483648.0, ""},
                                         NumberCase{"", 0, ""}, NumberCase{"-", 0, ""},
                                         NumberCase{"1.5", 1, ".5"}, NumberCase{"0", 0, ""}));

class ZylReal : public testing::TestWithParam<NumberCase>
{
};
TEST_P(ZylReal, FollowsTheClassicTextStream)
{
    TextSource source(GetParam().text);
    double value = 99;
    EXPECT_EQ(source.stream.read(value), 1);
    EXPECT_EQ(value, GetParam().value);
    EXPECT_EQ(source.left(), GetParam().left);
}
INSTANTIATE_TEST_SUITE_P(
    Forms, ZylReal,
    testing::Values(
        NumberCase{" 1e", 1, ""}, NumberCase{"1e+", 1, ""}, NumberCase{"1e+x", 1, "x"},
        NumberCase{"nan", 0, "nan"}, NumberCase{"inf", 0, "inf"}, NumberCase{"1e400", HUGE_VAL, ""},
        NumberCase{"-1e400", -HUGE_VAL, ""}, NumberCase{"1e-400", 0, ""},
        NumberCase{"0e999999999999999999999", 0, ""},
        NumberCase{"1e999999999999999999999", HUGE_VAL, ""}, NumberCase{"abc", 0, "abc"},
        NumberCase{"5.", 5, ""}, NumberCase{"-.5", -0.5, ""}, NumberCase{"1.5.2", 1.5, ".2"},
        NumberCase{"1.e5", 1, "e5"}, NumberCase{"0x10", 0, "x10"}, NumberCase{"+3E2 ", 300, " "},
        NumberCase{"- 5", 0, " 5"}, NumberCase{".", 0, ""}, NumberCase{"1-2", 1, "-2"},
        NumberCase{"1,5", 1, ",5"}, NumberCase{"9007199254740993", 9007199254740992.0, ""},
        NumberCase{"123456789012345678901234567890.", 123456789012345678901234567890.0, ""},
        NumberCase{"0.00000000000000000000000000000000000000000000000001e51", 10, ""},
        NumberCase{"2.2250738585072011e-308", 2.2250738585072011e-308, ""},
        NumberCase{"4.9406564584124654e-324", 5e-324, ""}));

// Beside each other: what `%.6g` prints, with the one exception of the classic stream.
std::string sixDigits(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.6g", value);
    return value == 0 ? "0" : std::isnan(value) ? "nan" : text;
}

std::vector<double> awkwardNumbers()
{
    std::vector<double> numbers = {0.0,
                                   -0.0,
                                   1,
                                   -1,
                                   0.5,
                                   999999,
                                   999999.5,
                                   1e6,
                                   1234565,
                                   1234575,
                                   0.0001,
                                   0.00009999995,
                                   0.000099999949,
                                   1e-5,
                                   HUGE_VAL,
                                   -HUGE_VAL,
                                   std::nan(""),
                                   -std::nan(""),
                                   5e-324,
                                   1.7976931348623157e308,
                                   2147483648.0,
                                   1e44,
                                   1e-36};
    std::mt19937_64 random(4711);
    const auto bits = [&random](auto value) {
        const quint64 word = random();
        std::memcpy(&value, &word, sizeof value);
        return double(value);
    };
    for (int i = 0; i < 6000; ++i) {
        numbers.push_back(bits(0.0));
        numbers.push_back(bits(0.0f));
        numbers.push_back(double(random() % 20000000) / 10); // many ties
        numbers.push_back(double(qint64(random() % 2000000) - 1000000) / 1e4);
        numbers.push_back(double(random() % 1000000) * std::pow(10.0, int(random() % 60) - 30));
        numbers.push_back(std::nextafter(double(random() % 2000000) * 0.5, 0.0));
    }
    return numbers;
}

template <class T>
std::vector<std::string> written(const std::vector<T>& numbers, bool exact)
{
    TextTarget target;
    target.io.setExact(exact);
    target.stream.write(numbers.data(), unsigned(numbers.size()));
    std::string text = target.take();
    EXPECT_EQ(text.substr(0, 2), "{ ");
    EXPECT_EQ(text.substr(text.size() - 2), " }");
    text = text.substr(2, text.size() - 4);
    std::vector<std::string> parts;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(", ", at), text.size());
        parts.push_back(text.substr(at, end - at));
        at = end + 2;
    }
    return parts;
}

TEST(ZylNumbers, AreWrittenWithSixDigitsAsPrintfDoes)
{
    const std::vector<double> numbers = awkwardNumbers();
    const std::vector<std::string> texts = written(numbers, false);
    ASSERT_EQ(texts.size(), numbers.size());
    for (std::size_t i = 0; i < numbers.size(); ++i)
        ASSERT_EQ(texts[i], sixDigits(numbers[i])) << i;
    QString byToolkit;
    QTextStream(&byToolkit) << 1e6 << ' ' << 1.0 / 3 << ' ' << -0.0 << ' ' << 1e-7f;
    EXPECT_EQ(byToolkit.toStdString(), "1e+06 0.333333 0 1e-07");
    EXPECT_EQ(written(std::vector<double>{1e6, 1.0 / 3, -0.0, double(1e-7f)}, false),
              (std::vector<std::string>{"1e+06", "0.333333", "0", "1e-07"}));
}

template <class T>
void expectExactRoundTrip()
{
    std::vector<T> numbers;
    for (const double number : awkwardNumbers())
        if (std::isfinite(T(std::clamp<double>(number, -std::numeric_limits<T>::max(),
                                               std::numeric_limits<T>::max()))))
            numbers.push_back(T(std::clamp<double>(number, -std::numeric_limits<T>::max(),
                                                   std::numeric_limits<T>::max())));
    const std::vector<std::string> texts = written(numbers, true);
    ASSERT_EQ(texts.size(), numbers.size());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        TextSource source(QByteArray::fromStdString(texts[i]));
        T value = 1;
        source.stream.read(value);
        ASSERT_EQ(std::memcmp(&value, &numbers[i], sizeof value), 0) << texts[i];
        char shortest[64];
        const auto end = std::to_chars(shortest, shortest + 64, numbers[i]).ptr;
        EXPECT_LE(texts[i].size(), std::size_t(end - shortest) + 8) << shortest;
    }
}

TEST(ZylNumbers, ComeBackBitForBitInExactMode)
{
    expectExactRoundTrip<double>();
    expectExactRoundTrip<float>();
    EXPECT_EQ(written(std::vector<float>{0.1f, -0.0f, 16777216.0f}, true),
              (std::vector<std::string>{"0.1", "-0", "16777216"}));
}

struct ValueCase {
    const char* text;
    int result;
    const char* value;
};

void PrintTo(const ValueCase& value, std::ostream* out)
{
    *out << value.text;
}

class ZylString : public testing::TestWithParam<ValueCase>
{
};
TEST_P(ZylString, IsUnescaped)
{
    TextSource source(GetParam().text);
    QString text = QStringLiteral("kept");
    EXPECT_EQ(source.stream.read(text), GetParam().result);
    EXPECT_EQ(text, QString::fromUtf8(GetParam().value));
}
INSTANTIATE_TEST_SUITE_P(
    Forms, ZylString,
    testing::Values(ValueCase{" \"plain\" rest", 1, "plain"}, ValueCase{"\"\"", 1, ""},
                    ValueCase{"\"a\\\"b\\\\c\"", 1, "a\"b\\c"},
                    ValueCase{"\"\\a\\f\\n\\r\\t\\v\\q\"", 1, "\7\14\n\r\t\13q"},
                    ValueCase{"\"\xc3\xa4\xe2\x82\xac\"", 1, "ä€"},
                    ValueCase{"\"\xe4\"", 1, "ä"}, // not UTF-8, so Latin-1
                    ValueCase{"\"\xc0\xaf\xed\xa0\x80\"", 1,
                              "\xc3\x80\xc2\xaf\xc3\xad\xc2\xa0\xc2\x80"},
                    ValueCase{"\"\\\xc3\xa4\"", 1, "ä"}, ValueCase{"unquoted", -1, "kept"},
                    ValueCase{"\"open", -1, "kept"}, ValueCase{"\"open\\\"", -1, "kept"},
                    ValueCase{"", -1, "kept"}));

TEST(ZylStrings, TurnAnEscapedWideCharacterIntoZero)
{
    TextSource source("\"a\\\xe2\x82\xac\xf0\x9f\x98\x80\\\xf0\x9f\x98\x80z\"");
    QString text;
    EXPECT_EQ(source.stream.read(text), 1);
    const QString expected =
        QStringLiteral("a") + QChar(0) + QString::fromUtf8("😀") + QChar(0) + QStringLiteral("z");
    EXPECT_EQ(text, expected);
}

TEST(ZylStrings, KeepTheirBytesAsCStrings)
{
    TextSource source("\"\xe4\\n\\\\\" x");
    QCString text("kept");
    EXPECT_EQ(source.stream.read(text), 1);
    EXPECT_STREQ(text, "\xe4\n\\");
    EXPECT_EQ(source.stream.read(text), -1);
    EXPECT_STREQ(text, "\xe4\n\\");
}

class ZylStringList : public testing::TestWithParam<ValueCase>
{
};
TEST_P(ZylStringList, SqueezesAndDropsEmptyStrings)
{
    TextSource source(GetParam().text);
    QStringList list(QStringLiteral("old"));
    EXPECT_EQ(source.stream.read(list), GetParam().result);
    EXPECT_EQ(list.join(QLatin1Char('|')), QString::fromUtf8(GetParam().value));
}
INSTANTIATE_TEST_SUITE_P(Forms, ZylStringList,
                         testing::Values(ValueCase{"{ \"a\", \" b  c \" }", 2, "a|b c"},
                                         ValueCase{"{ \"\", \"  \", \"x\" }", 1, "x"},
                                         ValueCase{"{}", 0, ""}, ValueCase{"\"a\"", 0, ""},
                                         ValueCase{"{ \"a\", }", 1, "a"},
                                         ValueCase{"{ \"a\" \"b\" }", -1, "a"},
                                         ValueCase{"{ \"a\"", -1, "a"},
                                         ValueCase{"{ \"a\", b }", -1, "a"}));

struct ColorCase {
    const char* text;
    int result;
    unsigned pixel;
};
void PrintTo(const ColorCase& color, std::ostream* out)
{
    *out << color.text;
}

class ZylColor : public testing::TestWithParam<ColorCase>
{
};
TEST_P(ZylColor, IsANumberOrATuple)
{
    TextSource source(GetParam().text);
    VColor color(0x12345678u);
    EXPECT_EQ(source.stream.read(color), GetParam().result);
    EXPECT_EQ(color.pixel(), GetParam().result < 0 ? 0x12345678u : GetParam().pixel);
}
INSTANTIATE_TEST_SUITE_P(
    Forms, ZylColor,
    testing::Values(
        ColorCase{"{ 255, 0, 0 }", 1, 0xffff0000}, ColorCase{"{ 1, 0, 0 }", 1, 0xffff0000},
        ColorCase{"{ 0.5, 128, 0 }", 1, 0xff018000}, ColorCase{"{ 1.5, 0 }", 1, 0xff020000},
        ColorCase{"{ 0.5, 0.25, 1, 0.5 }", 1, 0x7f7f3fff},
        ColorCase{"{ 255, 0, 0, 1 }", 1, 0x01ff0000}, ColorCase{"{ 300, -5, 2.4 }", 1, 0xffff0002},
        ColorCase{"{ -1, 0.5 }", 1, 0xff007f00},
        ColorCase{" // why\n /* so */ 0xff8040ff", 1, 0xff8040ff}, ColorCase{"255", 1, 0xff},
        ColorCase{"{ 0.5 }", 1, 0xff7f0000}, ColorCase{"{ 1 2 3 }", -1, 0},
        ColorCase{"{ 1, 2", -1, 0}, ColorCase{"{ }", -1, 0}, ColorCase{"{ 1, }", -1, 0},
        ColorCase{"red", -1, 0}, ColorCase{"", -1, 0}, ColorCase{"// only", -1, 0}));

template <class T>
std::string joined(const T* values, int n)
{
    std::string text;
    for (int i = 0; i < n; ++i)
        text += (i > 0 ? " " : "") + sixDigits(double(values[i]));
    return text;
}

class ZylTuple : public testing::TestWithParam<ValueCase>
{
};
TEST_P(ZylTuple, HoldsAtMostThreeValues)
{
    TextSource source(GetParam().text);
    double values[3] = {};
    EXPECT_EQ(source.stream.read(values, 3), GetParam().result);
    EXPECT_EQ(joined(values, std::max(GetParam().result, 0)), GetParam().value);
}
INSTANTIATE_TEST_SUITE_P(
    Forms, ZylTuple,
    testing::Values(ValueCase{"{1,2,3}", 3, "1 2 3"}, ValueCase{" { -1e3 , .5 } x", 2, "-1000 0.5"},
                    ValueCase{"{ 7 }", 1, "7"}, ValueCase{"{ 1, 2, 3, 4 }", -1, ""},
                    ValueCase{"{ 1, 2 ", -1, ""}, ValueCase{"{ 1 2 }", -1, ""},
                    ValueCase{"{ 1, 2; }", -1, ""}, ValueCase{"{ }", -1, ""},
                    ValueCase{"{ 1, }", -1, ""}, ValueCase{"{ , 1 }", -1, ""},
                    ValueCase{"{ a }", -1, ""}, ValueCase{"1, 2", -1, ""}, ValueCase{"", -1, ""}));

TEST(ZylTuples, OfCharactersHoldThemAsTheyAre)
{
    TextSource source("{ a, 1 ,;}");
    char values[3] = {};
    EXPECT_EQ(source.stream.read(values, 3), 3);
    EXPECT_EQ(std::string(values, 3), "a1;");
}

TEST(ZylTuples, MustFitAVector)
{
    Vector3f v(7, 7, 7);
    for (const char* text : {"{ 1, 2 }", "{ 1, 2, 3, 4 }", "{ 1, 2, x }", "1"}) {
        TextSource source(text);
        EXPECT_EQ(source.stream.read(v), -1) << text;
        EXPECT_EQ(v, Vector3f(7, 7, 7));
    }
    TextSource source("{ 1, 2, 3 }{ 4, -5 } { 1, 2, 3, 4 }");
    geometry::Vector2i i;
    geometry::Vector4f w;
    EXPECT_EQ(source.stream.read(v), 3);
    EXPECT_GT(source.stream.read(i), 0);
    EXPECT_GT(source.stream.read(w), 0);
    EXPECT_EQ(v, Vector3f(1, 2, 3));
    EXPECT_EQ(i, geometry::Vector2i(4, -5));
    EXPECT_EQ(w, geometry::Vector4f(1, 2, 3, 4));
}

class ZylArray : public testing::TestWithParam<ValueCase>
{
};
TEST_P(ZylArray, KeepsWhatCouldBeRead)
{
    TextSource source(GetParam().text);
    VMemArray<double> array;
    const VMemArray<double> shared = array;
    EXPECT_EQ(source.stream.read(array), GetParam().result);
    EXPECT_EQ(joined(array.data(), int(array.size())), GetParam().value);
    EXPECT_TRUE(shared.isEmpty());
}
INSTANTIATE_TEST_SUITE_P(
    Forms, ZylArray,
    testing::Values(ValueCase{"{ 1 }", 1, "1"}, ValueCase{"{1,2,3,4,5}", 5, "1 2 3 4 5"},
                    ValueCase{"{ }", -1, ""}, ValueCase{"{}", -1, ""}, ValueCase{"5", -1, ""},
                    ValueCase{"{ 1, 2 ", -1, "1 2"}, ValueCase{"{ 1, 2, 3, x", -1, "1 2 3"},
                    ValueCase{"{ 1, 2, }", -1, "1 2"}, ValueCase{"{ 1, 2 ; }", -1, "1 2"},
                    ValueCase{"{ {1}, {2} }", -1, ""}));

// Arrays take the common forms of numbers in bulk, and must see every other one as a single reader
// does.
template <class T>
void expectArraysReadLikeSingleNumbers()
{
    const std::vector<std::string> forms = {"0",
                                            "-0",
                                            "7",
                                            "12345678",
                                            "123456789",
                                            "-1.5",
                                            "0.25",
                                            ".5",
                                            "5.",
                                            "1e3",
                                            "1.25E-2",
                                            "0x1F",
                                            "010",
                                            "0b11",
                                            "-010",
                                            "+4",
                                            "- 5",
                                            "00012",
                                            "4294967295",
                                            "99999999999999999999",
                                            "0.1234567890123456",
                                            "0.12345678901234567890123",
                                            "1234567.87654321",
                                            "9007199254740993",
                                            "1234567.12345678901",
                                            "1e400",
                                            "0.00000001",
                                            "3.14159274",
                                            "1e",
                                            "0018",
                                            "-0.0"};
    std::mt19937 random(99);
    for (int round = 0; round < 60; ++round) {
        std::string text = "{";
        std::vector<T> expected;
        const int count = 1 + int(random() % 30);
        bool fits = true;
        for (int i = 0; i < count; ++i) {
            const std::string& form = forms[random() % (round < 30 ? 7 : forms.size())];
            TextSource one(QByteArray::fromStdString(form + ","));
            T value = 0;
            one.stream.read(value);
            fits &= one.left() == ",";
            expected.push_back(value);
            const char* const blanks[] = {"", " ", "\n  ", "\t"};
            text += (i > 0 ? "," : "") + std::string(blanks[random() % 4]) + form +
                    blanks[random() % 4];
        }
        text += "}";
        TextSource source(QByteArray::fromStdString(text));
        VMemArray<T> array;
        const int result = source.stream.read(array);
        EXPECT_EQ(result, fits ? count : -1) << text;
        ASSERT_LE(array.size(), expected.size());
        for (unsigned i = 0; i < array.size(); ++i)
            EXPECT_EQ(std::memcmp(&array[i], &expected[i], sizeof(T)), 0) << i << text;
    }
}

TEST(ZylArrays, ReadLikeSingleNumbers)
{
    expectArraysReadLikeSingleNumbers<int>();
    expectArraysReadLikeSingleNumbers<unsigned>();
    expectArraysReadLikeSingleNumbers<float>();
    expectArraysReadLikeSingleNumbers<double>();
}

TEST(ZylArrays, OfTuplesStopAtTheFirstOddOne)
{
    for (const char* odd : {"{1,2}", "{1,2,3,4}", "{1,2,x}", "1", "{1 2,3}", "{1,2,3;"}) {
        const std::string whole = "{ 1, 2.5, 3 },\n  ";
        TextSource source(
            QByteArray::fromStdString("{ " + whole + whole + whole + odd + ", " + whole + whole));
        geometry::Vector3fArray points;
        EXPECT_EQ(source.stream.read(points), -1);
        EXPECT_EQ(joined(&points.data()->x, 3 * int(points.size())), "1 2.5 3 1 2.5 3 1 2.5 3")
            << odd;
    }
}

TEST(ZylArrays, OfVectorsAndColours)
{
    TextSource source("{ { 1, 2, 3 }, {4,5,6} } { {1,2}, {3} } { 0xff000001, { 1, 1, 1 }, 7 }");
    geometry::Vector3fArray points;
    EXPECT_EQ(source.stream.read(points), 2);
    EXPECT_EQ(joined(&points.data()->x, 6), "1 2 3 4 5 6");
    geometry::Vector2iArray pairs;
    EXPECT_EQ(source.stream.read(pairs), -1);
    ASSERT_EQ(pairs.size(), 1u);
    EXPECT_EQ(pairs[0], geometry::Vector2i(1, 2));
    source.stream.skip_block();
    VMemArray<VColor> colors;
    EXPECT_EQ(source.stream.read(colors), 3);
    EXPECT_EQ(colors[0].pixel(), 0xff000001);
    EXPECT_EQ(colors[1].pixel(), 0xffffffff);
    EXPECT_EQ(colors[2].pixel(), 7u);
}

TEST(ZylQuaternions, AreDegreesOrComponents)
{
    TextSource source("{ 0, 90, 0 } { 0.1, 0.2, 0.3, 0.4 } { 1, 2 }");
    Quaternion q;
    EXPECT_EQ(source.stream.read(q), 3);
    EXPECT_NEAR(q.y, std::sqrt(0.5), 1e-6);
    EXPECT_NEAR(q.w, std::sqrt(0.5), 1e-6);
    EXPECT_EQ(source.stream.read(q), 4);
    EXPECT_EQ(q, Quaternion(0.1f, 0.2f, 0.3f, 0.4f));
    EXPECT_EQ(source.stream.read(q), -1);
    EXPECT_EQ(q, Quaternion(0.1f, 0.2f, 0.3f, 0.4f));
    TextTarget target;
    target.stream.write(Quaternion(0, 0, 0, 1));
    EXPECT_EQ(target.take(), "{ 0, 0, 0 }");
}

void expectNear(const Matrix4f& a, const Matrix4f& b, float tolerance)
{
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            EXPECT_NEAR(a.m[i][j], b.m[i][j], tolerance) << i << ' ' << j;
}

TEST(ZylMatrices, AccumulateInTheOrderOfTheFile)
{
    TextSource source(
        "{ scale { 2, 3, 4 }; /* x */ translate { 1, 1, 1 }; spin 4; translate {0,0,1}; }");
    Matrix4f m;
    EXPECT_GT(source.stream.read(m), 0);
    // From the left: the last statement acts first on a point, so the scale acts on both moves.
    expectNear(m, Matrix4f(2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 2, 3, 8, 1), 0);
    for (const char* bad :
         {"{ translate { 1, 2 }; }", "{ rotate { 1 }; }", "{ translate { 1, 1, 1 };",
          "translate { 1, 1, 1 };", "{ translate { 1, 1, 1 } }", "{ 5 }"}) {
        TextSource broken(bad);
        EXPECT_EQ(broken.stream.read(m), -1) << bad;
    }
    expectNear(m, Matrix4f(2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 2, 3, 8, 1), 0);
    TextSource none("{ }");
    EXPECT_GT(none.stream.read(m), 0);
    EXPECT_TRUE(m.isIdentity());
}

struct MatrixCase {
    const char* name;
    const char* text;
    const char* expected; // what is written again, or null where only the matrix counts
};
void PrintTo(const MatrixCase& matrix, std::ostream* out)
{
    *out << matrix.name;
}

class ZylMatrix : public testing::TestWithParam<MatrixCase>
{
};
TEST_P(ZylMatrix, SurvivesBeingWritten)
{
    TextSource source(GetParam().text);
    Matrix4f m;
    ASSERT_GT(source.stream.read(m), 0);
    TextTarget target;
    target.io.setIndent(1);
    target.stream.write(m);
    const std::string text = target.take();
    if (GetParam().expected) {
        EXPECT_EQ(text, GetParam().expected);
    }
    TextSource again(QByteArray::fromStdString(text));
    Matrix4f back;
    ASSERT_GT(again.stream.read(back), 0) << text;
    // Six digits of degrees and single precision on the way.
    expectNear(back, m, 4e-5f * std::max(1.0f, std::fabs(m.m[3][0])));
    EXPECT_EQ(target.io.indent(), 1);
}
INSTANTIATE_TEST_SUITE_P(
    Shapes, ZylMatrix,
    testing::Values(
        MatrixCase{"identity", "{ }", "{\n        translate { 0, 0, 0 };\n    }"},
        MatrixCase{"parts", "{ translate { 0, 1.5, 0 }; rotate { 0, 90, 0 }; scale { 2, 3, 4 }; }",
                   "{\n        translate { 0, 1.5, 0 };\n        rotate { 0, 90, 0 };\n"
                   "        scale { 2, 3, 4 };\n    }"},
        MatrixCase{"turned", "{ translate { 5, 0, 0 }; rotate { 10, 20, 30 }; }", nullptr},
        MatrixCase{"scaled before it is turned", "{ scale { 4, 1, 1 }; rotate { 0, 0, 45 }; }",
                   nullptr},
        MatrixCase{"sheared",
                   "{ rotate { 10, 20, 30 }; scale { 4, 1, 0.5 }; rotate { 50, 10, 70 }; }",
                   nullptr},
        MatrixCase{"mirrored", "{ scale { -1, 1, 1 }; rotate { 0, 30, 0 }; }", nullptr},
        MatrixCase{"mirrored and sheared", "{ scale { -4, 1, 2 }; rotate { 40, 30, 20 }; }",
                   nullptr},
        MatrixCase{"flat", "{ rotate { 10, 20, 30 }; scale { 2, 0, 3 }; }", nullptr},
        MatrixCase{"a line", "{ rotate { 10, 20, 30 }; scale { 0, 0, 3 }; }", nullptr},
        MatrixCase{"a point", "{ translate { 1, 2, 3 }; scale { 0, 0, 0 }; }", nullptr},
        MatrixCase{"tiny", "{ rotate { 10, 20, 30 }; scale { 1e-05, 1e-05, -1e-05 }; }", nullptr}));

struct VectorCase {
    const char* text;
    unsigned flags; // of the array before
    int result;
    const char* values;
    unsigned flagsAfter;
};
void PrintTo(const VectorCase& vector, std::ostream* out)
{
    *out << vector.text;
}

class ZylControlPoints : public testing::TestWithParam<VectorCase>
{
};
TEST_P(ZylControlPoints, HaveALongAndAShortForm)
{
    TextSource source(GetParam().text);
    geometry::GVectorArray array;
    array.setFlags(GetParam().flags);
    EXPECT_EQ(source.stream.read(array), GetParam().result);
    EXPECT_EQ(array.flags(), GetParam().flagsAfter);
    std::vector<double> values(array.size() * unsigned(array.dimension()));
    EXPECT_EQ(array.toDouble(values.data(), int(values.size())), int(values.size()));
    EXPECT_EQ(joined(values.data(), int(values.size())), GetParam().values);
}
INSTANTIATE_TEST_SUITE_P(
    Forms, ZylControlPoints,
    testing::Values(VectorCase{"{ {1,2,3}, {4,5,6} }", 0x30002, 2, "1 2 3 4 5 6", 0x30002},
                    VectorCase{"{ 1, 2, 3 }", 0x2, 3, "1 2 3", 0x2},
                    VectorCase{"{ 1, 2, 3 }", 0x10001, 3, "1 2 3", 0x10001},
                    VectorCase{"{ flags 0x40003; data { {1,2,3,4} }; }", 0x30002, 1, "1 2 3 4",
                               0x40003},
                    VectorCase{"{ flags 0x20001; /* pairs */ data { {1,2}, {3,4} } ; }", 0, 2,
                               "1 2 3 4", 0x20001},
                    VectorCase{"{ flags 0x20001; }", 0, 0, "", 0x20001},
                    VectorCase{"{ flags 0x410001; data { {1} }; }", 0, -1, "", 0x410001},
                    VectorCase{"{ {1,2,3}, {4,5,6}", 0x30002, -1, "1 2 3 4 5 6", 0x30002},
                    VectorCase{"{ {1,2,3,4} }", 0x30002, -1, "", 0x30002},
                    VectorCase{"{}", 0x30002, -1, "", 0x30002},
                    VectorCase{"{ flags 0x20001; data { {1,2} }", 0, -1, "1 2", 0x20001},
                    VectorCase{"1", 0x30002, -1, "", 0x30002}));

TEST(ZylControlPointArrays, AreWrittenLongWhenTheyHaveFlags)
{
    TextTarget target;
    const float numbers[] = {1, 2, 3, 4.5f};
    target.stream.write(geometry::GVectorArray(numbers, 2, 2));
    EXPECT_EQ(target.take(), "{\n    flags 0x20002;\n    data {\n        { 1, 2 },\n"
                             "        { 3, 4.5 }\n    };\n}");
    target.stream.write(geometry::GVectorArray(numbers, 4, 0));
    EXPECT_EQ(target.take(), "{ 1, 2, 3, 4.5 }");
    geometry::GVectorArray bytes(2, 0, 0);
    std::memcpy(bytes.data(), "AB", 2);
    target.stream.write(bytes);
    EXPECT_EQ(target.take(), "{ A, B }");
}

TEST(ZylControlPointArrays, LeaveOtherHandlesAlone)
{
    const float numbers[] = {1, 2, 3, 4};
    geometry::GVectorArray array(numbers, 2, 2);
    const geometry::GVectorArray shared(array);
    TextSource source("{ { 9, 9 } }");
    EXPECT_EQ(source.stream.read(array), 1);
    EXPECT_EQ(shared.size(), 2u);
}
} // namespace
