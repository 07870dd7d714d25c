#include "kernel/vformathandler.h"
#include "kernel/vformatio.h"
#include "kernel/vformatmanager.h"
#include "support/warnings.h"
#include "toolkit/qstrlist.h"

#include <qbuffer.h>
#include <qfile.h>
#include <qtemporarydir.h>

namespace
{
struct Request : VFormatIO {
    using VFormatIO::VFormatIO;
    bool read() override { return status() == 0; }
    bool write() override { return status() == 0; }
};

struct Handler : VFormatHandler {
    Handler(const char* format, const char* header, const char* flags = "", bool reads = true,
            bool writes = true)
        : VFormatHandler(format, header, flags)
    {
        setCanRead(reads);
        setCanWrite(writes);
    }
};

/// A device that gives its bytes once and in order.
class Pipe : public QIODevice
{
public:
    explicit Pipe(const QByteArray& bytes) : m_bytes(bytes) { open(ReadOnly); }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 most) override
    {
        const qint64 size = std::min<qint64>(most, m_bytes.size());
        memcpy(data, m_bytes.constData(), std::size_t(size));
        m_bytes.remove(0, size);
        return size;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_bytes;
};

struct Flags {
    const char* text;
    VFormatHandler::TextMode mode;
    bool obsolete;
};

struct Header {
    const char* what;
    QByteArray bytes;
    const char* format;
};

void PrintTo(const Header& header, std::ostream* out)
{
    *out << header.what;
}

struct SceneFormats {
    SceneFormats()
    {
        for (VFormatHandler* handler : {&dxf, &lwo, &studio, &ascii, &binary})
            manager.append(handler);
    }
    Handler binary{"ZYL BINARY", "//\\s+ZYL\\s+BINARY"};
    Handler ascii{"ZYL ASCII", "//\\s+ZYL\\s+ASCII", "T"};
    Handler studio{"3DS", "MM"};
    Handler lwo{"LWO", "FORM"};
    Handler dxf{"DXF", "^\\s*0\\s*SECTION\\s"};
    VFormatManager manager{20};
};

class VFormatHandlerFlags : public testing::TestWithParam<Flags>
{
};
TEST_P(VFormatHandlerFlags, ChooseTheMode)
{
    const VFormatHandler handler("X", "x", GetParam().text);
    EXPECT_EQ(handler.textMode(), GetParam().mode);
    EXPECT_EQ(handler.isObsolete(), GetParam().obsolete);
    EXPECT_TRUE(handler.canRead() && handler.canWrite());
}
INSTANTIATE_TEST_SUITE_P(All, VFormatHandlerFlags,
                         testing::Values(Flags{nullptr, VFormatHandler::Binary, false},
                                         Flags{"", VFormatHandler::Binary, false},
                                         Flags{"t", VFormatHandler::Text, false},
                                         Flags{"T", VFormatHandler::TranslatedText, false},
                                         Flags{"Tt", VFormatHandler::Text, false},
                                         Flags{"OT", VFormatHandler::TranslatedText, true},
                                         Flags{"o", VFormatHandler::Binary, false}));

class SceneHeader : public testing::TestWithParam<Header>
{
};
TEST_P(SceneHeader, IsRecognisedAndThePositionKept)
{
    SceneFormats formats;
    QByteArray bytes = "??" + GetParam().bytes;
    QBuffer buffer(&bytes);
    ASSERT_TRUE(buffer.open(QIODevice::ReadOnly) && buffer.seek(2));
    EXPECT_STREQ(formats.manager.format(&buffer), GetParam().format);
    EXPECT_EQ(buffer.pos(), GetParam().bytes.size() < 20 ? bytes.size() : 2);
}
INSTANTIATE_TEST_SUITE_P(
    Cases, SceneHeader,
    testing::Values(
        Header{"binary with zeros behind", QByteArray("// ZYL BINARY\0\0\0\0\0\0\0\0\0", 22),
               "ZYL BINARY"},
        Header{"text", "// ZYL ASCII V1.0\n\n\n\n", "ZYL ASCII"},
        Header{"no-break space counts as blank", "//\xa0ZYL\xa0 ASCII V1.0\n\n", "ZYL ASCII"},
        Header{"shorter than the header", "MM................", nullptr},
        Header{"match anywhere", "..................MM", nullptr}, // cut by the last byte
        Header{"match just before the last byte", ".................MM.", "3DS"},
        Header{"the longest match wins, not the first", "MM // ZYL ASCII ....", "ZYL ASCII"},
        Header{"nothing", "....................", nullptr},
        Header{"drawing", "  0\r\nSECTION\r\n  2\r\n.", "DXF"},
        Header{"drawing not at the start", ".  0\nSECTION\n  2\n...", nullptr}));

TEST(VFormatManager, GivesTiesToTheFirstAndTakesEmptyMatches)
{
    Handler any("ANY", ""), first("FIRST", "a.b"), second("SECOND", "b.a"), broken("BROKEN", "a(");
    VFormatManager manager(4);
    WarningCatcher warnings;
    for (VFormatHandler* handler : {&broken, &any, &first, &second})
        manager.append(handler);
    char both[] = "a\nb\na.";
    EXPECT_STREQ(manager.analyse(both, 6), "FIRST");
    char none[] = "....";
    EXPECT_STREQ(manager.analyse(none, 4), "ANY");
    EXPECT_EQ(none[3], '\0');
    EXPECT_EQ(manager.analyse(none, 0), nullptr);
    EXPECT_TRUE(warnings.isEmpty());
}

TEST(VFormatManager, LooksAheadOnADeviceWithoutAWayBack)
{
    SceneFormats formats;
    Pipe pipe("// ZYL BINARY V1.0\n and more");
    EXPECT_STREQ(formats.manager.format(&pipe), "ZYL BINARY");
    EXPECT_EQ(pipe.read(6), QByteArray("// ZYL"));
    Pipe empty("");
    EXPECT_EQ(formats.manager.format(&empty), nullptr);
    EXPECT_EQ(VFormatManager(0).format(&pipe), nullptr);
}

TEST(VFormatManager, OpensAFileByName)
{
    SceneFormats formats;
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("scene")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("FORM................");
    file.close();
    EXPECT_STREQ(formats.manager.format(file.fileName()), "LWO");
    EXPECT_EQ(formats.manager.format(file.fileName() + QLatin1Char('x')), nullptr);
}

TEST(VFormatManager, ListsNamesOnceAndSorted)
{
    Handler b1("B", "1"), b2("B", "2"), a("A", "a", "", true, false), c("C", "c", "", false, true),
        old("D", "d", "O"), nameless(nullptr, "e", "O");
    VFormatManager manager(4);
    for (VFormatHandler* handler : {&b1, &c, &a, &b2, &old, &nameless})
        manager.append(handler);
    const auto names = [](const QStrList& list) {
        QByteArray text;
        for (QStrListIterator it(list); it.current(); ++it)
            text.append(it.current()).append(' ');
        return text;
    };
    EXPECT_EQ(names(manager.inputFormats()), QByteArray("A B "));
    EXPECT_EQ(names(manager.outputFormats()), QByteArray("B C "));
    EXPECT_EQ(manager.find("B"), &b1);
    EXPECT_EQ(manager.find("E"), nullptr);
    EXPECT_EQ(manager.find(static_cast<const char*>(nullptr)), &nameless);
    EXPECT_EQ(manager.find(""), &nameless);
}

TEST(VFormatIO, KeepsContainersOfOthers)
{
    Request io(nullptr, nullptr);
    EXPECT_STREQ(io.format(), "");
    int one = 1, two = 2;
    io.setContainer("x", nullptr);
    EXPECT_EQ(io.container("x"), nullptr);
    io.setContainer(nullptr, &one);
    EXPECT_EQ(io.container(nullptr), nullptr);
    io.setContainer("x", &one);
    io.setContainer("X", &two);
    EXPECT_EQ(io.container("x"), &one);
    io.setContainer("x", &two);
    EXPECT_EQ(io.container("x"), &two);
    io.setContainer("x", nullptr);
    EXPECT_EQ(io.container("x"), nullptr); // a replaced entry doesn't come back
    EXPECT_EQ(io.container("X"), &two);
}

TEST(VFormatIO, StopsIndentingAt24Levels)
{
    QBuffer buffer;
    ASSERT_TRUE(buffer.open(QIODevice::WriteOnly));
    Request io(&buffer, "X");
    io.writeIndent();
    EXPECT_EQ(buffer.data(), QByteArray());
    io.setIndent(2);
    io.writeIndent();
    EXPECT_EQ(buffer.data(), QByteArray(8, ' '));
    io.setIndent(1000);
    EXPECT_EQ(io.indentWidth(), 96);
    io.setIndent(-1);
    EXPECT_EQ(io.indentWidth(), 0);
}
} // namespace
