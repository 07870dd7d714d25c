#include "opengl/vsceneio.h"

#include "kernel/vglobal.h"
#include "opengl/glgroup.h"
#include "opengl/scenefixture.h"
#include "support/warnings.h"

#include <qfile.h>
#include <qtemporarydir.h>

using namespace scenetest;
using testing::ElementsAre;

namespace
{
std::vector<std::string> texts(QStrList list)
{
    std::vector<std::string> result;
    for (const char* text = list.first(); text; text = list.next())
        result.push_back(text);
    return result;
}

/// Notes what it is asked for, and puts the status it is told.
struct Handler : VSceneHandler {
    using VSceneHandler::VSceneHandler;
    void read(VSceneIO* io) override
    {
        ++calls;
        statusBefore = io->status();
        position = io->ioDevice()->pos();
        io->setStatus(result);
    }
    void write(VSceneIO* io) override
    {
        ++calls;
        isTranslated = io->ioDevice()->isTextModeEnabled();
        io->ioDevice()->write("new");
        io->setStatus(result);
    }
    using VFormatHandler::setCanRead;
    using VFormatHandler::setCanWrite;

    int calls = 0;
    int result = 0;
    int statusBefore = -1;
    qint64 position = -1;
    bool isTranslated = false;
};

struct SceneIO : testing::Test {
    SceneIO() { VSceneIO::defineIOHandler(&handler); }
    // The list forgets the handler when it is made anew.
    ~SceneIO() override { VGlobal::cleanup(); }

    QString file(const char* name, const QByteArray& bytes)
    {
        const QString path = folder.filePath(QString::fromLatin1(name));
        QFile out(path);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly) && out.write(bytes) == bytes.size());
        return path;
    }
    static QByteArray content(const QString& path)
    {
        QFile in(path);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
    }

    QTemporaryDir folder;
    Handler handler{"TEST", "^TEST", "T"};
    GL_Scene scene;
};
} // namespace

TEST_F(SceneIO, KnowsItsFormatsAndThoseThatAreAdded)
{
    EXPECT_THAT(texts(VSceneIO::inputFormats()),
                testing::IsSupersetOf({"TEST", "ZYL ASCII", "ZYL BINARY"}));
    Handler second("TEST", "^TEST", "");
    second.setCanWrite(false);
    VSceneIO::defineIOHandler(&second);
    VSceneIO::defineIOHandler(nullptr);
    const std::vector<std::string> names = texts(VSceneIO::inputFormats());
    EXPECT_EQ(std::count(names.begin(), names.end(), "TEST"), 1);
    EXPECT_FALSE(VSceneIO::isTranslated("TEST")); // the newest goes first
    EXPECT_TRUE(VSceneIO::isTranslated("ZYL ASCII"));
    VGlobal::cleanup();
    EXPECT_EQ(VSceneIO::sceneFormat(file("x", "TEST................")), nullptr);
}

TEST_F(SceneIO, TellsFormatsByTheFirstTwentyBytes)
{
    const struct {
        QByteArray bytes;
        const char* format;
    } rows[] = {
        {"// ZYL BINARY V1.0\n", nullptr}, // 19 bytes
        {"// ZYL BINARY V1.0\n.", "ZYL BINARY"},
        {QByteArray("// ZYL BINARY\0\0\0\0\0\0\0", 20), "ZYL BINARY"},
        {"....//\tZYL  ASCII...", "ZYL ASCII"},
        {"// ZYL NOTHING......", nullptr},
    };
    for (const auto& row : rows) {
        const QString path = file("x", row.bytes);
        EXPECT_STREQ(VSceneIO::sceneFormat(path), row.format) << row.bytes.constData();
        QFile device(path);
        ASSERT_TRUE(device.open(QIODevice::ReadOnly));
        EXPECT_STREQ(VSceneIO::sceneFormat(&device), row.format);
    }
    EXPECT_EQ(VSceneIO::sceneFormat(folder.filePath(QStringLiteral("none"))), nullptr);
}

TEST_F(SceneIO, ReadsByHandlerOrAsTheNativeFormat)
{
    const QString own = file("own", "TEST................");
    VSceneIO io(own, nullptr);
    io.setScene(&scene);
    EXPECT_TRUE(io.read());
    EXPECT_EQ(handler.statusBefore, 1);
    EXPECT_EQ(handler.position, 0);
    EXPECT_EQ(io.ioDevice(), nullptr);
    handler.result = 3;
    EXPECT_FALSE(io.read());

    const QString native = file("native", text("Group { }"));
    VSceneIO unknown(native, "NO SUCH FORMAT");
    unknown.setScene(&scene);
    EXPECT_TRUE(unknown.read());
    EXPECT_EQ(scene.objects().count(), 1u);
    handler.setCanRead(false);
    VSceneIO unreadable(native, "TEST");
    unreadable.setScene(&scene);
    EXPECT_TRUE(unreadable.read());
    VSceneIO none(file("none", "twenty bytes of this"), nullptr);
    none.setScene(&scene);
    EXPECT_FALSE(none.read());
    VSceneIO nowhere;
    nowhere.setScene(&scene);
    EXPECT_FALSE(nowhere.read());
    VSceneIO noScene(native, nullptr);
    EXPECT_FALSE(noScene.read());
}

TEST_F(SceneIO, LeavesADeviceWhereItStands)
{
    QBuffer buffer;
    buffer.setData("xxTEST................");
    buffer.open(QIODevice::ReadOnly);
    buffer.seek(2);
    VSceneIO io(&buffer, nullptr);
    io.setScene(&scene);
    EXPECT_TRUE(io.read());
    EXPECT_EQ(handler.position, 2);
    EXPECT_EQ(io.ioDevice(), &buffer);
    EXPECT_TRUE(buffer.isOpen());
}

TEST_F(SceneIO, ReplacesAFileOnlyByAWholeOne)
{
    const QString path = file("x", "old");
    VSceneIO io(path, "TEST");
    io.setScene(&scene);
    handler.result = 1;
    EXPECT_FALSE(io.write());
    EXPECT_EQ(content(path), "old");
    handler.result = 0;
    EXPECT_TRUE(io.write());
    EXPECT_EQ(content(path), "new");
    EXPECT_TRUE(handler.isTranslated);
    EXPECT_EQ(io.ioDevice(), nullptr);

    // The native format keeps it too, when a scene can't be written to its end.
    file("x", "old");
    GL_ObjectList* list = &scene.objects();
    for (int i = 0; i < 5000; ++i) {
        auto* const group = new GL_Group;
        list->append(group);
        list = &group->children();
    }
    for (const char* format : {"ZYL ASCII", "ZYL BINARY"}) {
        VSceneIO native(path, format);
        native.setScene(&scene);
        EXPECT_FALSE(native.write());
        EXPECT_EQ(content(path), "old");
    }
    EXPECT_EQ(folder.path().isEmpty(), false);
}

TEST_F(SceneIO, RefusesToWriteWithoutAHandler)
{
    const QString path = file("x", "old");
    WarningCatcher warnings;
    VSceneIO io(path, "NONE");
    EXPECT_FALSE(io.write());
    EXPECT_EQ(warnings.text().toStdString(), "VSceneIO::write: No such scene format handler: NONE");
    handler.setCanWrite(false);
    io.setFormat("TEST");
    EXPECT_FALSE(io.write());
    EXPECT_EQ(warnings.text().toStdString(), "VSceneIO::write: No such scene format handler: TEST");
    io.setFormat(nullptr);
    EXPECT_FALSE(io.write());
    VSceneIO nameless;
    nameless.setFormat("ZYL BINARY");
    EXPECT_FALSE(nameless.write());
    EXPECT_TRUE(warnings.isEmpty());
    EXPECT_EQ(content(path), "old");
}

TEST_F(SceneIO, KeepsAFileInEachNativeForm)
{
    scene.setTimeLength(7);
    for (const char* format : {"ZYL ASCII", "ZYL BINARY"}) {
        const QString path = folder.filePath(QString::fromLatin1(format));
        VSceneIO out(path, format);
        out.setScene(&scene);
        ASSERT_TRUE(out.write());
        EXPECT_STREQ(VSceneIO::sceneFormat(path), format);
        GL_Scene read;
        VSceneIO in(path, nullptr);
        in.setScene(&read);
        EXPECT_TRUE(in.read());
        EXPECT_EQ(read.timeLength(), 7);
    }
}

TEST_F(SceneIO, ReadsAndWritesArrays)
{
    scene.setTimeLength(7);
    for (const char* format : {"ZYL ASCII", "ZYL BINARY"}) {
        QMemArray<char> bytes(1000);
        ASSERT_TRUE(scene.write(bytes, format));
        EXPECT_LT(bytes.size(), 100u);
        EXPECT_EQ(QByteArray(bytes.data(), 18).contains("ASCII"),
                  QByteArray(format) == "ZYL ASCII");
        GL_Scene read;
        EXPECT_TRUE(read.read(bytes, format));
        EXPECT_EQ(read.timeLength(), 7);
    }
    WarningCatcher warnings;
    EXPECT_FALSE(scene.write(QMemArray<char>(), "NONE"));
    EXPECT_FALSE(scene.read(QMemArray<char>(), "ZYL BINARY"));
}

TEST_F(SceneIO, NeedsADeviceForTheBinaryBody)
{
    VSceneIO io;
    EXPECT_EQ(scene.write(io), -1);
    EXPECT_EQ(scene.read(io), -1);
    QBuffer buffer;
    io.setIODevice(&buffer);
    EXPECT_EQ(scene.read(io), -1); // isn't open
    buffer.open(QIODevice::ReadWrite);
    scene.setTimeLength(2);
    add(scene.objects(), new GL_Group);
    EXPECT_EQ(scene.write(io), 0);
    buffer.seek(0);
    GL_Scene read;
    EXPECT_EQ(read.read(io), 0);
    EXPECT_EQ(read.timeLength(), 2);
    EXPECT_EQ(read.objects().count(), 1u);
    EXPECT_EQ(io.container("scene"), &read);
}
