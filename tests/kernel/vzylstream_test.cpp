#include "kernel/streamrequest.h"

#include "geometry/zylvector.h"
#include "geometry/zylvectorarray.h"
#include "toolkit/qmemarraydevice.h"

#include <qdatastream.h>
#include <qfile.h>
#include <qtemporarydir.h>
#include <qtextstream.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace
{
std::string text(const QMemArray<char>& array)
{
    return std::string(array.data() ? array.data() : "", array.size());
}

// Raw reading

TEST(ZylRawReading, SkipsOneCommentAtATime)
{
    TextSource source("  \n/ x");
    EXPECT_EQ(source.stream.skip_comments(), 0);
    EXPECT_EQ(source.left(), "/ x");
    TextSource comments(" // a /* b\n /* c \n // ** d */ /**/x");
    EXPECT_EQ(comments.stream.skip_comments(), '\n');
    EXPECT_EQ(comments.stream.skip_comments(), '/');
    EXPECT_EQ(comments.left(), " /**/x");
    EXPECT_GT(comments.stream.skip_comments(), 0);
    EXPECT_EQ(comments.stream.skip_comments(), 0);
    EXPECT_EQ(comments.stream.getch(), 'x');
    for (const char* open : {"", "  ", "// a", "/* a", "/* a *", "/*/"})
        EXPECT_EQ(TextSource(open).stream.skip_comments(), -1) << open;
    EXPECT_EQ(TextSource("/").stream.skip_comments(), 0);
}

TEST(ZylRawReading, CountsBracesToTheEndOfABlock)
{
    TextSource source("a { \"}\" b } c } d");
    EXPECT_EQ(source.stream.skip_block(), '}');
    EXPECT_EQ(source.left(), " c } d"); // the brace in the string counts
    EXPECT_EQ(source.stream.skip_block(), '}');
    EXPECT_EQ(source.left(), " d");
    EXPECT_EQ(source.stream.skip_block(), -1);
}

TEST(ZylRawReading, CopiesBlocksWithoutComments)
{
    QMemArray<char> block;
    TextSource source("key { a { b; } // }\n /* { */ c / d; } rest");
    EXPECT_EQ(source.stream.read_block(block), '}');
    EXPECT_EQ(text(block), "{ a { b; } \n  c / d; }");
    EXPECT_EQ(source.left(), " rest");
    TextSource open("{ a { b }");
    EXPECT_EQ(open.stream.read_block(block), -1);
    EXPECT_EQ(text(block), "{ a { b }");
    EXPECT_EQ(TextSource("none").stream.read_block(block), -1);
}

TEST(ZylRawReading, CopiesExpressionsAsTheyAre)
{
    QMemArray<char> value;
    TextSource source(" 5 // five; \"a;b\"");
    EXPECT_EQ(source.stream.read_expression(value), ';');
    EXPECT_EQ(text(value), " 5 // five");
    EXPECT_EQ(source.stream.getch(), ';');
    EXPECT_EQ(source.stream.read_expression(value), ';');
    EXPECT_EQ(text(value), " \"a");
    EXPECT_EQ(source.stream.getch(), ';');
    EXPECT_EQ(source.stream.read_expression(value), -1);
    EXPECT_EQ(text(value), "b\"");
}

TEST(ZylRawReading, TakesWords)
{
    QCString word("old");
    TextSource source(" // c\n _a1b-c 5 ");
    EXPECT_EQ(source.stream.read_identifier(word), 1);
    EXPECT_STREQ(word, "_a1b");
    EXPECT_EQ(source.stream.read_identifier(word), 0);
    EXPECT_STREQ(word, "");
    EXPECT_EQ(source.stream.getch(), '-');
    EXPECT_EQ(source.stream.read_identifier(word), 1);
    EXPECT_STREQ(word, "c");
    EXPECT_EQ(source.stream.read_identifier(word), 0);
    EXPECT_EQ(source.stream.nextChar(), '5');
    EXPECT_EQ(source.stream.read_identifier(word), -1);
    EXPECT_EQ(TextSource("\xe4").stream.read_identifier(word), 0);
}

TEST(ZylRawReading, SharesOnePositionWithTheValues)
{
    TextSource source("// ZYL ASCII V1.0\n12;x 3.5e,\"a\"z");
    int number;
    double real;
    QString string;
    EXPECT_EQ(source.stream.readLine(200), QByteArray("// ZYL ASCII V1.0\n"));
    source.stream.read(number);
    EXPECT_EQ(source.stream.getch(), ';');
    EXPECT_EQ(source.stream.getch(), 'x');
    source.stream.ungetch();
    EXPECT_EQ(source.stream.nextChar(), 'x');
    source.stream.read(real);
    EXPECT_EQ(source.stream.getch(), ',');
    source.stream.sync();
    EXPECT_EQ(source.buffer.read(3), QByteArray("\"a\""));
    EXPECT_EQ(source.stream.getch(), 'z'); // moved from outside
    source.buffer.seek(18);
    EXPECT_EQ(source.stream.read(number), 1);
    EXPECT_EQ(number, 12);
}

// Devices other than a memory buffer

/// Gives a few bytes at a time, and can't go back when it is a pipe.
class Trickle : public QIODevice
{
public:
    Trickle(const QByteArray& bytes, qint64 piece, bool isPipe)
        : m_bytes(bytes), m_piece(piece), m_isPipe(isPipe)
    {
        open(ReadOnly | Unbuffered);
    }
    bool isSequential() const override { return m_isPipe; }
    qint64 size() const override { return m_isPipe ? bytesAvailable() : m_bytes.size(); }
    bool seek(qint64 position) override
    {
        m_at = position;
        return QIODevice::seek(position);
    }

protected:
    qint64 readData(char* data, qint64 most) override
    {
        const qint64 size = std::min({most, m_piece, m_bytes.size() - m_at});
        if (size > 0)
            memcpy(data, m_bytes.constData() + m_at, std::size_t(size));
        m_at += size;
        return size;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_bytes;
    qint64 m_piece;
    bool m_isPipe;
    qint64 m_at = 0;
};

std::string readSample(QIODevice* device)
{
    StreamRequest io;
    io.setIODevice(device);
    std::string result;
    {
        VZylStream stream(&io);
        QCString word;
        QString string;
        VColor color;
        double real = 0;
        VMemArray<int> numbers;
        stream.read_identifier(word);
        result += word.data();
        result += std::to_string(stream.read(color));
        result += QByteArray::number(color.pixel(), 16).toStdString();
        stream.read(real);
        result += ' ' + std::to_string(real);
        stream.read(string);
        result += string.toStdString();
        result += std::to_string(stream.read(numbers));
        EXPECT_EQ(stream.nextChar(), '{');
        VZylBlock block(stream);
        result += std::to_string(block.read());
        int late = 0;
        geometry::Vector3f v;
        stream.read("late", late);
        stream.read("v", v);
        result += std::to_string(late + v.z);
    }
    // What follows the block is left to whoever owns the device.
    for (char c; device->getChar(&c);)
        result += c;
    return result;
}

TEST(ZylDevices, AllReadAlike)
{
    QByteArray sample = "/* long */ identifier_of_some_length // and a comment\n{ 12.5, 255, 3 }"
                        " 3.14159265358979e+00 \"a string\\n with escapes\" { ";
    for (int i = 0; i < 40000; ++i)
        sample += QByteArray::number(i) + ", ";
    sample += "7 } { skipped { " + QByteArray(100000, 'x') +
              " /* } */ } ; v { 1, 2 /**/, 3 }; late 0x10; }end";
    QBuffer buffer(&sample);
    buffer.open(QIODevice::ReadOnly);
    const std::string expected = readSample(&buffer);
    EXPECT_EQ(expected, "identifier_of_some_length1ff0dff03 3.141593a string\n with escapes40001"
                        "319.000000end");
    for (const qint64 piece : {1, 7, 70000})
        for (const bool isPipe : {false, true}) {
            Trickle device(sample, piece, isPipe);
            EXPECT_EQ(readSample(&device), expected) << piece << isPipe;
        }
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("sample")));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    file.write(sample);
    file.seek(0);
    EXPECT_EQ(readSample(&file), expected);
    QMemArray<char> array;
    array.duplicate(sample.constData(), unsigned(sample.size()));
    QMemArrayDevice memory(array);
    ASSERT_TRUE(memory.open(QIODevice::ReadOnly));
    EXPECT_EQ(readSample(&memory), expected);
}

TEST(ZylDevices, AreReturnedToWhereReadingWas)
{
    TextSource source("1 2 { 3 } 4");
    Trickle other("77 78", 1, false);
    int number = 0;
    source.stream.read(number);
    source.stream.setDevice(&other);
    source.stream.read(number);
    EXPECT_EQ(number, 77);
    source.stream.setDevice(&source.buffer);
    source.stream.read(number);
    EXPECT_EQ(number, 2);
    EXPECT_EQ(other.pos(), 2);
    // The same from inside of a value, and by the request alone.
    EXPECT_EQ(source.stream.nextChar(), '{');
    source.io.setIODevice(&other);
    source.stream.read(number);
    EXPECT_EQ(number, 78);
    source.io.setIODevice(&source.buffer);
    source.stream.read(number);
    EXPECT_EQ(number, 3);
    source.io.setIODevice(nullptr);
    EXPECT_EQ(source.stream.getch(), -1);
}

TEST(ZylDevices, StayWhereSomebodyElseHasTakenThem)
{
    QByteArray text = "1 2 3 4";
    QBuffer buffer(&text);
    Trickle other(text, 2, false);
    buffer.open(QIODevice::ReadOnly);
    for (QIODevice* device : {static_cast<QIODevice*>(&buffer), static_cast<QIODevice*>(&other)}) {
        StreamRequest io;
        io.setIODevice(device);
        {
            VZylStream stream(&io);
            int number = 0;
            stream.read(number);
            stream.sync();
            EXPECT_EQ(device->pos(), 1);
            device->seek(4);
        }
        EXPECT_EQ(device->pos(), 4);
    }
}

TEST(ZylDevices, MayChangeOrDieUnderTheStream)
{
    StreamRequest io;
    VZylStream stream(&io);
    int number = 0;
    {
        QBuffer brief;
        brief.setData("11 12");
        brief.open(QIODevice::ReadWrite);
        io.setIODevice(&brief);
        stream.read(number);
        EXPECT_EQ(number, 11);
        stream.sync();
        brief.write(QByteArray(100000, ' ') + "13");
        brief.seek(3);
        stream.read(number);
        EXPECT_EQ(number, 13);
    }
    QBuffer next;
    next.setData("14");
    next.open(QIODevice::ReadOnly);
    io.setIODevice(&next);
    stream.read(number);
    EXPECT_EQ(number, 14);
    QBuffer closed;
    io.setIODevice(&closed);
    EXPECT_EQ(stream.getch(), -1);
    io.setIODevice(nullptr);
}

// Blocks

struct BlockCase {
    const char* block; // behind its opening brace
    int result;        // above 0 counts as 1
    const char* values;
    const char* left;
};
void PrintTo(const BlockCase& block, std::ostream* out)
{
    *out << block.block;
}

class ZylBlockText : public testing::TestWithParam<BlockCase>
{
};
TEST_P(ZylBlockText, BecomesADictionary)
{
    TextSource source(GetParam().block);
    QDict<QMemArray<char>> dictionary;
    dictionary.setAutoDelete(true);
    dictionary.insert(QStringLiteral("old"), new QMemArray<char>);
    EXPECT_EQ(std::min(source.stream.read(dictionary), 1), GetParam().result);
    std::vector<std::string> values;
    for (QDictIterator<QMemArray<char>> it(dictionary); it.current(); ++it)
        values.push_back(it.currentKey().toStdString() + '=' + text(*it.current()));
    std::sort(values.begin(), values.end());
    std::string all;
    for (const std::string& value : values)
        all += value + '|';
    EXPECT_EQ(all, GetParam().values);
    EXPECT_EQ(source.left(), GetParam().left);
}
INSTANTIATE_TEST_SUITE_P(
    Forms, ZylBlockText,
    testing::Values(BlockCase{" a 1; b { x { y; } }; c \"t\" ; } rest", 1,
                              "a=1|b={ x { y; } }|c=\"t\" |", " rest"},
                    BlockCase{"}x", 1, "", "x"}, BlockCase{" // none }\n /* } */ }x", 1, "", "x"},
                    BlockCase{"bare; key ;}", 1, "bare=|key=|", ""},
                    BlockCase{"a 1; a 2; b 3; a 4;}", 1, "a=4|b=3|", ""},
                    BlockCase{"a /* one */ // two\n 1;}", 1, "a=1|", ""},
                    BlockCase{"a 1 // one\n;}", 1, "a=1 // one\n|", ""},
                    BlockCase{"a { 1 // one\n };}", 1, "a={ 1 \n }|", ""},
                    BlockCase{"a { x } b 1; c 2;}z", 1, "a={ x }|c=2|", "z"}, // swallows b
                    BlockCase{"a { x } b { y; } ; c 2;}z", 1, "a={ x }|c=2|", "z"},
                    BlockCase{"a { x } } z;", 1, "a={ x }|", " z;"},
                    BlockCase{"a { x } // }\n } z;", 1, "a={ x }|", " z;"},
                    BlockCase{"a 1 } b 2;", -1, "a=1 } b 2|",
                              ""}, // an expression ends at the semicolon only
                    BlockCase{"a \"}\"; b { \"}\"; c; } d", 1, "a=\"}\"|b={ \"}|c=|",
                              " d"}, // strings aren't known
                    BlockCase{"a 1;", -1, "a=1|", ""}, BlockCase{"a { 1", -1, "a={ 1|", ""},
                    BlockCase{"a", -1, "a=|", ""},
                    BlockCase{"a 1; 5; b 2; }", -1, "a=1|", "5; b 2; }"}, BlockCase{"", -1, "", ""},
                    BlockCase{"a { /* open", -1, "a={ |", ""},
                    BlockCase{"A 1; a 2;}", 1, "A=1|a=2|", ""}));

TEST(ZylBlocks, AnswerByKey)
{
    TextSource source(
        "a 5; v { 1, 2, 3 }; w { 1, 2 }; s \"text\"; l { \"p\", \"q\" }; n { 1, 2, x };"
        "c 0x10; f; d 2.5; }");
    VZylBlock block(source.stream);
    EXPECT_FALSE(block.read() < 0);
    int a = 7;
    geometry::Vector3f v(9, 9, 9);
    QString s;
    QStringList l(QStringLiteral("old"));
    VMemArray<int> n(1);
    n[0] = 99;
    unsigned c = 0;
    double d = 0;
    EXPECT_EQ(source.stream.read("x", a), -1);
    EXPECT_EQ(a, 7);
    EXPECT_EQ(source.stream.read("d", d), 1);
    EXPECT_EQ(source.stream.read("a", a), 1);
    EXPECT_EQ(source.stream.read("w", v), -1);
    EXPECT_EQ(v, geometry::Vector3f(9, 9, 9));
    EXPECT_EQ(source.stream.read("v", v), 3);
    EXPECT_EQ(source.stream.read("s", s), 1);
    EXPECT_EQ(source.stream.read("s", l), 0); // no brace: nothing, and an empty list
    EXPECT_TRUE(l.isEmpty());
    EXPECT_EQ(source.stream.read("l", l), 2);
    EXPECT_EQ(source.stream.read("n", n), -1);
    ASSERT_EQ(n.size(), 1u);
    EXPECT_EQ(n[0], 99);
    EXPECT_EQ(source.stream.read("c", c), 1);
    EXPECT_EQ(source.stream.read("s", a), 1); // no number: 0
    EXPECT_EQ(a, 0);
    EXPECT_TRUE(source.stream.contains("f"));
    EXPECT_FALSE(source.stream.contains("F"));
    EXPECT_EQ(d + c, 18.5);
    EXPECT_EQ(v, geometry::Vector3f(1, 2, 3));
    EXPECT_EQ(s + l.join(QLatin1Char('+')), QStringLiteral("textp+q"));
    ASSERT_TRUE(source.stream.find("f"));
    EXPECT_EQ(text(*source.stream.find("v")), "{ 1, 2, 3 }");
    EXPECT_EQ(source.stream.find("v"), source.stream.find("v"));
    EXPECT_EQ(source.stream.find("y"), nullptr);
    EXPECT_EQ(source.stream.find(nullptr), nullptr);
}

TEST(ZylBlocks, GiveWayToADictionaryAndToEachOther)
{
    TextSource source("a 1; } a 2; }");
    int a = 0;
    QDict<QMemArray<char>> dictionary;
    dictionary.setAutoDelete(true);
    EXPECT_EQ(source.stream.read("a", a), -1);
    source.stream.read(dictionary);
    EXPECT_EQ(source.stream.find("a"), nullptr);
    source.stream.setDictionary(&dictionary);
    {
        VZylBlock block(source.stream);
        EXPECT_TRUE(block.isEmpty());
        EXPECT_EQ(source.stream.find("a"), nullptr);
        block.read();
        source.stream.read("a", a);
        EXPECT_EQ(a, 2);
    }
    EXPECT_EQ(source.stream.read("a", a), 1);
    EXPECT_EQ(a, 1);
}

// Objects

struct StreamNode : ZYLObject {
    static const VMetaClass metaClass;
    static ZYLObject* factory() { return new StreamNode; }
    const VMetaClass* metaObject() const override { return &metaClass; }

    StreamNode()
    {
        children.setAutoDelete(true);
        others.setAutoDelete(true);
    }

    VFormatIO& read(VFormatIO& io) override
    {
        VZylStream* stream = VZylStream::get(io);
        ++reads;
        if (QDataStream* data = stream->dataStream()) {
            qint32 stored = 0;
            *data >> stored;
            number = stored;
            if (!data->atEnd())
                io >> children;
            return io;
        }
        stream->read("children", children);
        stream->read("others", others);
        stream->read("number", number);
        stream->read("name", name);
        return io;
    }

    VFormatIO& write(VFormatIO& io) const override
    {
        VZylStream* stream = VZylStream::get(io);
        if (QDataStream* data = stream->dataStream()) {
            *data << qint32(number);
            if (!children.isEmpty())
                io << children;
            return io;
        }
        stream->begin("number");
        stream->write(number);
        stream->end();
        if (!children.isEmpty()) {
            stream->begin("children");
            stream->write(children, VZylStream::Braces);
            stream->end();
        }
        return io;
    }

    /// "number(children)", and "!" where nothing was read.
    std::string describe() const
    {
        std::string result = std::to_string(number) + name.toStdString();
        if (reads == 0)
            result += '!';
        if (!children.isEmpty()) {
            result += '(';
            for (const StreamNode* child : children)
                result += child->describe() + ' ';
            result.back() = ')';
        }
        return result;
    }

    int number = 0;
    int reads = 0;
    QString name;
    VPtrList<StreamNode> children, others;
};
const VMetaClass StreamNode::metaClass("GLT_Node", &StreamNode::factory, &ZYLObject::metaClass);

struct OtherNode : ZYLObject {
    static const VMetaClass metaClass;
    static int alive;
    static ZYLObject* factory() { return new OtherNode; }
    const VMetaClass* metaObject() const override { return &metaClass; }
    OtherNode() { ++alive; }
    ~OtherNode() override { --alive; }
};
int OtherNode::alive = 0;
const VMetaClass OtherNode::metaClass("VStreamOther", &OtherNode::factory, &ZYLObject::metaClass);
const VMetaClass abstractClass("VStreamAbstract", &ZYLObject::factory, &ZYLObject::metaClass);

struct ObjectsCase {
    const char* text;
    int result; // above 0 counts as 1
    const char* objects;
    const char* left;
};
void PrintTo(const ObjectsCase& objects, std::ostream* out)
{
    *out << objects.text;
}

class ZylObjects : public testing::TestWithParam<ObjectsCase>
{
};
TEST_P(ZylObjects, AreMadeByName)
{
    TextSource source(GetParam().text);
    source.stream.prefixes().append("GLT_");
    StreamNode root;
    root.children.append(new StreamNode);
    EXPECT_EQ(std::min(source.stream.read(root.children), 1), GetParam().result);
    EXPECT_EQ(root.describe(), GetParam().objects);
    EXPECT_EQ(source.left(), GetParam().left);
    EXPECT_EQ(OtherNode::alive, 0);
}
INSTANTIATE_TEST_SUITE_P(
    Forms, ZylObjects,
    testing::Values(
        ObjectsCase{"{ Node { number 1; } GLT_Node { number 2; name \"b\"; } } x", 1, "0!(1 2b)",
                    " x"},
        ObjectsCase{"{ }", 0, "0!", ""},
        ObjectsCase{"{ Node { } Node { ; } }", -1, "0!(0! 0!)", "; } }"},
        ObjectsCase{"{ Node { number 1; children { Node { number 2; }; Node { } ; } ; }; }", 1,
                    "0!(1(2 0!))", ""},
        ObjectsCase{
            "{ Node { number 1; children { Node { number 2; } Node { children { Node { a; } "
            "}; number 3; } }; } }",
            1, "0!(1(2 3(0)))", ""},
        ObjectsCase{"{ Unknown { a { b; } number 5; } Node { number 1; } }", 1, "0!(1)", ""},
        ObjectsCase{"{ StreamOther { a; } Node { number 1; } StreamAbstract { a; } }", 1, "0!(1)",
                    ""},
        ObjectsCase{"{ Node /* c */ // d\n { number 1; } /* e */ }", 1, "0!(1)", ""},
        ObjectsCase{"{ Node { number 1; children { /* { */ Node { number 2; // }\n } } ; } }", 1,
                    "0!(1(2))", ""},
        ObjectsCase{"{ Node { name \"x\" } ; } }", 1, "0!(0x)", ""},
        ObjectsCase{"{ Node 5; }", -1, "0!(0!)", "5; }"},
        ObjectsCase{"Node { }", -1, "0!(0!)", "Node { }"},
        ObjectsCase{"{ Node { number 1;", -1, "0!(1)", ""},
        ObjectsCase{"{ Node { number 1; }", -1, "0!(1)", ""},
        ObjectsCase{"{ Unknown { a", -1, "0!", ""}, ObjectsCase{"{ 5 }", -1, "0!", "5 }"},
        ObjectsCase{
            "{ Node { children { Node { number 1; } }; children { Node { number 2; } }; } }", 1,
            "0!(0(2))", ""}));

TEST(ZylObjectLists, OfTheRootHoldPlainObjectsForAbstractClasses)
{
    TextSource source("{ StreamAbstract { a; } StreamOther { } VStreamOther { } }");
    ZYLObjectList list;
    list.setAutoDelete(true);
    EXPECT_EQ(source.stream.read(list), 3);
    EXPECT_STREQ(list.at(0)->className(), "ZYLObject");
    EXPECT_STREQ(list.at(1)->className(), "VStreamOther");
    EXPECT_EQ(OtherNode::alive, 2);
}

TEST(ZylClasses, AreFoundBehindPrefixes)
{
    StreamRequest io;
    VZylStream stream(&io);
    EXPECT_EQ(io.container("zylio"), &stream);
    EXPECT_EQ(io.container("prefix"), &stream.prefixes());
    EXPECT_EQ(stream.createObject(QStringLiteral("Node")), nullptr);
    stream.prefixes().append("GLT_");
    const std::unique_ptr<ZYLObject> node(stream.createObject(QStringLiteral("Node")));
    ASSERT_TRUE(node);
    EXPECT_STREQ(node->className(), "GLT_Node");
    const std::unique_ptr<ZYLObject> plain(stream.createObject(QStringLiteral("ZYLObject")));
    EXPECT_TRUE(plain);
    QStrList prefixes;
    for (const char* prefix : {"V", "GL_", "GL_X", "action::"})
        prefixes.append(prefix);
    for (const auto& [name, rest] : {std::pair("GL_Cube", "Cube"),
                                     {"GL_Xy", "Xy"},
                                     {"VValue", "Value"},
                                     {"VGL_A", "GL_A"},
                                     {"V", "V"},
                                     {"GL_", "GL_"},
                                     {"Plain", "Plain"},
                                     {"action::Move", "Move"},
                                     {"", ""}})
        EXPECT_STREQ(VZylStream::prefix_detach(name, prefixes), rest);
}

TEST(ZylClasses, LeaveTheRequestWithTheStream)
{
    StreamRequest io;
    {
        VZylStream stream(&io);
    }
    EXPECT_EQ(VZylStream::get(io), nullptr);
    EXPECT_EQ(io.container("prefix"), nullptr);
    VZylStream none(nullptr);
    EXPECT_EQ(none.getch(), -1);
    none.write(5);
}

// Depth and size

QByteArray nested(int depth)
{
    QByteArray text = "{ ";
    for (int i = 1; i < depth; ++i)
        text += "Node { number 1; children { ";
    text += "Node { number 2; } ";
    for (int i = 1; i < depth; ++i)
        text += "}; } ";
    return text + "}";
}

int depthOf(const StreamNode& node)
{
    int depth = 0;
    for (const StreamNode* at = &node; !at->children.isEmpty(); at = at->children.getFirst())
        ++depth;
    return depth;
}

TEST(ZylDepth, IsLimited)
{
    for (const auto& [depth, made] : {std::pair(4096, 4096), {4097, 4096}, {200000, 4096}}) {
        TextSource source(nested(depth));
        source.stream.prefixes().append("GLT_");
        Reports reports;
        source.io.setDiagnostics(&reports);
        StreamNode root;
        const int result = source.stream.read(root.children);
        EXPECT_EQ(result, depth == made ? 1 : -1);
        EXPECT_EQ(depthOf(root), made);
        EXPECT_EQ(reports.text.empty(), depth == made) << reports.text;
        // The stream is none the worse for it.
        QBuffer small;
        small.setData("{ Node { number 3; } }");
        small.open(QIODevice::ReadOnly);
        source.stream.setDevice(&small);
        EXPECT_EQ(source.stream.read(root.children), 1);
    }
    TextSource source(nested(5));
    source.stream.prefixes().append("GLT_");
    source.stream.setDepthLimit(3);
    StreamNode root;
    EXPECT_EQ(source.stream.read(root.children), -1);
    EXPECT_EQ(depthOf(root), 3);
}

TEST(ZylDepth, FailsAWholeObjectThoughItsOtherListsAreShallow)
{
    TextSource source("number 1; children " + nested(10) +
                      "; others { Node { number 2; } }; } number 3; }");
    source.stream.prefixes().append("GLT_");
    source.stream.setDepthLimit(9);
    StreamNode root;
    EXPECT_EQ(source.stream.readObject(root), -1);
    EXPECT_EQ(source.stream.readObject(root), 1);
    EXPECT_EQ(root.number, 3);
}

// Each of these took minutes if it were quadratic.
TEST(ZylHostileText, TakesLinearTime)
{
    const int n = 100000;
    std::vector<QByteArray> texts;
    texts.push_back("{ Node { a " + QByteArray(2 * n, '{'));
    texts.push_back("{ Node { a " + QByteArray(n, '{') + QByteArray(n, '}'));
    texts.push_back("{ Node { " + QByteArray("a;b;").repeated(n) + "} }");
    texts.push_back("{ Node { " + QByteArray("a{/**/};").repeated(n / 2) + "} }");
    texts.push_back("{ " + QByteArray("Nope{").repeated(n));
    texts.push_back("{ Node { " + QByteArray("children { Node { ").repeated(n / 4));
    texts.push_back("{ Node { " + QByteArray("a { ").repeated(n) + QByteArray("}; ").repeated(n));
    texts.push_back("{ Node { name \"" + QByteArray(2 * n, '\\') + "\"; number " +
                    QByteArray(2 * n, '9') + "; } }");
    texts.push_back(QByteArray("/*").repeated(n));
    texts.push_back("{ Node { " + QByteArray("/ ").repeated(n) + "}}");
    texts.push_back("{ " + QByteArray("Node{}").repeated(n / 4) + "}");
    QByteArray keys = "{ Node { ";
    for (int i = 0; i < n / 3; ++i)
        keys += 'k' + QByteArray::number(i) + ';';
    texts.push_back(keys + "number 5; } }");
    for (const QByteArray& text : texts) {
        TextSource source(text);
        source.stream.prefixes().append("GLT_");
        Reports reports;
        source.io.setDiagnostics(&reports);
        StreamNode root;
        const int result = source.stream.read(root.children);
        EXPECT_EQ(result < 0, !text.endsWith("} }") && !text.endsWith("{}}"))
            << text.left(20).toStdString();
    }
    TextSource source(keys + "number 5; }");
    QDict<QMemArray<char>> dictionary;
    dictionary.setAutoDelete(true);
    source.stream.getch();
    source.stream.skip_comments();
    QCString word;
    source.stream.read_identifier(word);
    EXPECT_EQ(source.stream.nextChar(), '{');
    EXPECT_GT(source.stream.read(dictionary), 0);
    EXPECT_EQ(dictionary.count(), unsigned(n / 3 + 1));
}

TEST(ZylHostileText, NeverHidesTheLastOfManyEqualKeys)
{
    QByteArray text;
    for (int i = 0; i < 20000; ++i)
        text += "k" + QByteArray::number(i % 7000) + " " + QByteArray::number(i) + ";";
    TextSource source(text + "}");
    VZylBlock block(source.stream);
    block.read();
    int value = 0;
    for (const auto& [key, last] : {std::pair("k0", 14000), {"k5999", 19999}, {"k6999", 13999}}) {
        EXPECT_EQ(source.stream.read(key, value), 1);
        EXPECT_EQ(value, last);
    }
    EXPECT_EQ(source.stream.read("k7000", value), -1);
}

// Diagnostics

TEST(ZylDiagnostics, NameWhatIsPassedOverWithItsLine)
{
    TextSource source("// first\n{\n  Unknown { }\n  Node {\n    number 1; /* \n */ colour 2;\n"
                      "    children { /* \n */\n Odd { } Node { size 3;\n size 4; } } stray\n 5;\n"
                      "  }\n}");
    source.stream.prefixes().append("GLT_");
    Reports reports;
    source.io.setDiagnostics(&reports);
    StreamNode root;
    EXPECT_EQ(source.stream.read(root.children), -1); // comments don't stand before a value
    EXPECT_EQ(source.stream.readLine(100), QByteArray("// first\n"));
    EXPECT_EQ(source.stream.read(root.children), 1);
    const auto line = [](VFormatDiagnostics::Kind kind, const char* what, int number) {
        return std::to_string(kind) + ' ' + what + ' ' + std::to_string(number) + '\n';
    };
    EXPECT_EQ(reports.text, line(VFormatDiagnostics::SkippedClass, "Unknown", 3) +
                                line(VFormatDiagnostics::SkippedKey, "stray\n 5", 10) +
                                line(VFormatDiagnostics::SkippedClass, "Odd", 9) +
                                line(VFormatDiagnostics::SkippedKey, "size", 9) +
                                line(VFormatDiagnostics::SkippedKey, "size", 10) +
                                line(VFormatDiagnostics::SkippedKey, "colour", 6));
}

TEST(ZylDiagnostics, NameTextThatDoesNotComeBack)
{
    TextTarget target;
    Reports reports;
    target.io.setDiagnostics(&reports);
    for (const char* fine : {"", "plain", "a / b * c", "it's"})
        target.stream.write(fine);
    EXPECT_EQ(reports.text, "");
    int count = 0;
    for (const char* lossy : {"\"", "\\", "{", "}", ";", "http://x", "/*"}) {
        target.stream.write(QString::fromLatin1(lossy));
        EXPECT_EQ(std::count(reports.text.begin(), reports.text.end(), '\n'), ++count) << lossy;
    }
}

TEST(ZylDiagnostics, NameNumbersThatCanNotBeReadBack)
{
    TextTarget target;
    Reports reports;
    target.io.setDiagnostics(&reports);
    const float numbers[] = {1, HUGE_VALF, 2};
    target.stream.write(numbers, 1);
    EXPECT_EQ(reports.text, "");
    target.stream.write(numbers, 3);
    target.stream.write(std::nan(""));
    EXPECT_EQ(std::count(reports.text.begin(), reports.text.end(), '\n'), 2);
    EXPECT_EQ(target.take(), "{ 1 }{ 1, inf, 2 }nan");
}

// Writing

TEST(ZylWriting, LaysValuesOut)
{
    TextTarget target;
    VZylStream& stream = target.stream;
    target.io.setIndent(1);
    const int ints[] = {1, -2, 3};
    const unsigned words[] = {4000000000u};
    const double reals[] = {0.5, 1e10, -0.0, 1.0 / 3};
    const float floats[] = {1, 2, 3, 4};
    const std::pair<std::string, std::string> cases[] = {
        (stream.begin("key"), stream.write(5), stream.end(),
         std::pair(target.take(), "    key 5;\n")),
        (stream.write(VColor(0xff8040ffu)), std::pair(target.take(), "0xff8040ff")),
        (stream.write(VColor(0x00000fu)), std::pair(target.take(), "0xf")),
        (stream.write(ints, 3), std::pair(target.take(), "{ 1, -2, 3 }")),
        (stream.write(words, 1), std::pair(target.take(), "{ 4000000000 }")),
        (stream.write(reals, 4), std::pair(target.take(), "{ 0.5, 1e+10, 0, 0.333333 }")),
        (stream.write(ints, 0), std::pair(target.take(), "{}")),
        (stream.write(floats, 2, 2),
         std::pair(target.take(), "{\n        { 1, 2 },\n        { 3, 4 }\n    }")),
        (stream.write("ab", 2, 1), std::pair(target.take(), "{\n        { a, b }\n    }")),
        (stream.write("a\"b"), std::pair(target.take(), "\"a\"b\"")),
        (stream.write("\xe4"), std::pair(target.take(), "\"\xe4\"")), // the bytes as they are
        (stream.write(QString::fromUtf8("ä\\")), std::pair(target.take(), "\"ä\\\"")),
        (stream.write(QStringList{QStringLiteral("a"), QStringLiteral("b")}),
         std::pair(target.take(), "{ \"a\", \"b\" }")),
        (stream.write(QStringList()), std::pair(target.take(), "{}")),
        (stream.write(geometry::Vector3f(1, 2.5f, -3)), std::pair(target.take(), "{ 1, 2.5, -3 }")),
        (target.io.writeIndent(), std::pair(target.take(), "    ")),
    };
    for (const auto& [written, expected] : cases)
        EXPECT_EQ(written, expected);
    VMemArray<VColor> colors(2);
    colors.fill(VColor(0xffu));
    stream.write(colors);
    EXPECT_EQ(target.take(), "{\n        0xff,\n        0xff\n    }");
    geometry::Vector2iArray pairs(1);
    pairs[0] = geometry::Vector2i(3, 4);
    stream.write(pairs);
    EXPECT_EQ(target.take(), "{\n        { 3, 4 }\n    }");
    VMemArray<double> empty;
    stream.write(empty);
    EXPECT_EQ(target.take(), "{}");
    EXPECT_EQ(target.io.indent(), 1);
}

TEST(ZylWriting, LaysObjectsOut)
{
    TextTarget target;
    target.stream.prefixes().append("GLT_");
    StreamNode root;
    root.children.append(new StreamNode);
    root.children.append(new StreamNode);
    root.children.getFirst()->children.append(new StreamNode);
    target.stream.write(root.children, 0);
    EXPECT_EQ(target.take(),
              "\nNode {\n    number 0;\n    children {\n        Node {\n            number 0;\n"
              "        }\n    };\n}\n\nNode {\n    number 0;\n}\n");
    target.io.setIndent(1);
    target.stream.write(root.children.getFirst()->children,
                        VZylStream::Braces | VZylStream::Define);
    EXPECT_EQ(target.take(), "{\n        #define Node {\n            number 0;\n        }\n    }");
    EXPECT_EQ(target.io.indent(), 1);
}

TEST(ZylWriting, KeepsTheOrderWithATextStreamOnTheSameDevice)
{
    TextTarget target;
    QTextStream text(&target.buffer);
    target.stream.setTextStream(&text);
    target.stream.write(1);
    *target.stream.textStream() << " two ";
    target.stream.write(3);
    target.stream.setTextStream(nullptr);
    EXPECT_EQ(target.take(), "1 two 3");
}

TEST(ZylWriting, SaysWhenTheDeviceIsFull)
{
    QFile full(QStringLiteral("/dev/full"));
    ASSERT_TRUE(full.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    StreamRequest io;
    io.setIODevice(&full);
    VZylStream stream(&io);
    EXPECT_FALSE(stream.hasFailed());
    stream.write(1);
    EXPECT_TRUE(stream.hasFailed());
}

TEST(ZylWriting, WritesMoreThanABufferful)
{
    TextTarget target;
    const std::vector<double> numbers(40000, 0.25);
    target.stream.write(numbers.data(), unsigned(numbers.size()));
    const QByteArray name(200000, 'n');
    target.stream.write(name.constData());
    const std::string text = target.take();
    TextSource source(QByteArray::fromStdString(text));
    VMemArray<double> back;
    QCString word;
    EXPECT_EQ(source.stream.read(back), 40000);
    EXPECT_EQ(source.stream.read(word), 1);
    EXPECT_EQ(word.length(), 200000u);
}

// Binary

struct BinaryFile {
    explicit BinaryFile(const QByteArray& bytes = QByteArray()) : contents(bytes), buffer(&contents)
    {
        buffer.open(QIODevice::ReadWrite);
        io.setIODevice(&buffer);
        data.setDevice(&buffer);
        data.setVersion(QDataStream::Qt_3_3);
        stream.setDataStream(&data);
        stream.prefixes().append("GLT_");
    }
    QByteArray contents;
    QBuffer buffer;
    QDataStream data;
    StreamRequest io;
    VZylStream stream{&io};
};

const QByteArray oneNode = QByteArray::fromHex("3010 300e 1304 4e6f6465 0406 00000007 aabb");

TEST(ZylBinary, IsASequenceOfPairs)
{
    BinaryFile file;
    StreamNode root;
    root.children.append(new StreamNode);
    root.children.getFirst()->number = 7;
    file.io << root.children;
    EXPECT_EQ(file.contents.toHex(), QByteArray("300e300c13044e6f6465040400000007"));
    EXPECT_EQ(file.io.ioDevice(), &file.buffer);
    EXPECT_EQ(file.data.device(), &file.buffer);
}

TEST(ZylBinary, ComesBackAndLeavesTheDeviceBehindTheList)
{
    BinaryFile file;
    StreamNode root;
    StreamNode* at = &root;
    for (int i = 0; i < 60; ++i) { // beyond lengths of one and two octets
        for (int j = 0; j < 40; ++j) {
            at->children.append(new StreamNode);
            at->children.getLast()->number = i * 100 + j;
        }
        at = at->children.getFirst();
    }
    file.io << root.children;
    file.data << qint32(0x12345678);
    QByteArray stored = file.contents;
    EXPECT_EQ(stored.left(2).toHex(), QByteArray("3082"));
    QTemporaryDir folder;
    QFile onDisk(folder.filePath(QStringLiteral("list")));
    onDisk.open(QIODevice::ReadWrite);
    onDisk.write(stored);
    onDisk.seek(0);
    for (QIODevice* device : {static_cast<QIODevice*>(nullptr), static_cast<QIODevice*>(&onDisk)}) {
        BinaryFile back(stored);
        if (device)
            back.stream.setDevice(device);
        StreamNode copy;
        back.io >> copy.children;
        EXPECT_EQ(copy.children.count(), 40u);
        EXPECT_EQ(depthOf(copy), 60);
        EXPECT_EQ(copy.children.getLast()->number, 39);
        qint32 behind = 0;
        back.data >> behind;
        EXPECT_EQ(behind, 0x12345678);
        EXPECT_EQ(back.data.status(), QDataStream::Ok);
    }
}

TEST(ZylBinary, IgnoresBytesLeftInAValue)
{
    BinaryFile file(oneNode);
    StreamNode root;
    root.children.append(new StreamNode); // reading adds to what is there
    // Two bytes are left, which read as the head of a list that isn't one.
    file.io >> root.children;
    EXPECT_EQ(root.describe(), "0!(0! 7)");
    EXPECT_EQ(file.data.status(), QDataStream::Ok);
}

struct BinaryCase {
    const char* what;
    const char* hex;
    const char* objects;
    bool isTorn;
};
void PrintTo(const BinaryCase& binary, std::ostream* out)
{
    *out << binary.what;
}

class ZylBinaryList : public testing::TestWithParam<BinaryCase>
{
};
TEST_P(ZylBinaryList, KeepsWhatIsWhole)
{
    BinaryFile file(QByteArray::fromHex(GetParam().hex));
    StreamNode root;
    file.io >> root.children;
    EXPECT_EQ(root.describe(), GetParam().objects);
    EXPECT_EQ(file.data.status() != QDataStream::Ok, GetParam().isTorn);
    EXPECT_EQ(OtherNode::alive, 0);
}
INSTANTIATE_TEST_SUITE_P(
    Cases, ZylBinaryList,
    testing::Values(
        BinaryCase{"empty", "3000", "0!", false}, BinaryCase{"nothing", "", "0!", true},
        BinaryCase{"another tag", "3102 0500", "0!", false},
        BinaryCase{"unknown class", "3016 3008 1302 5151 0402 0000 300a 1304 4e6f6465 0402 0001",
                   "0!(0)", false},
        BinaryCase{"wrong class", "3013 3011 130b 53747265616d4f74686572 0402 0000", "0!", false},
        BinaryCase{"three values", "300e 300c 1304 4e6f6465 0400 0400 0500", "0!", false},
        BinaryCase{"one value", "3008 3006 1304 4e6f6465", "0!", false},
        BinaryCase{"second cut short", "301c 300c 1304 4e6f6465 0404 00000007 300c 1304 4e6f",
                   "0!(7)", true},
        BinaryCase{"length beyond the end", "3084ffffffff 300c 1304 4e6f6465 0404 00000007",
                   "0!(7)", true},
        BinaryCase{"length of five octets", "3085 0000000000", "0!", false},
        BinaryCase{"inner length beyond", "300e 300c 1304 4e6f6465 047f 00000007", "0!", false}));

TEST(ZylBinary, HasTheSameLimitOfDepth)
{
    BinaryFile file;
    file.stream.setDepthLimit(5);
    StreamNode root;
    StreamNode* at = &root;
    for (int i = 0; i < 8; ++i) {
        at->children.append(new StreamNode);
        at = at->children.getFirst();
    }
    Reports reports;
    file.io.setDiagnostics(&reports);
    file.io << root.children;
    EXPECT_FALSE(reports.text.empty());
    EXPECT_TRUE(file.stream.hasFailed());
    BinaryFile back(file.contents);
    StreamNode copy;
    back.io >> copy.children;
    EXPECT_EQ(depthOf(copy), 5);
}

TEST(ZylBinary, NeedsADataStream)
{
    TextTarget target;
    StreamNode root;
    root.children.append(new StreamNode);
    target.io << root.children;
    target.io >> root.children;
    EXPECT_EQ(target.take(), "");
    StreamRequest io;
    io << root.children;
    EXPECT_EQ(root.children.count(), 1u);
}
} // namespace
