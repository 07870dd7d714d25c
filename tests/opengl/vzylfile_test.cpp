#include "opengl/vzylfile.h"

#include "action/actionfactory.h"
#include "action/complexaction.h"
#include "kernel/vconnect.h"
#include "opengl/glcamera.h"
#include "opengl/glcube.h"
#include "opengl/glfont.h"
#include "opengl/glgroup.h"
#include "opengl/gllight.h"
#include "opengl/glreference.h"
#include "opengl/scenefixture.h"
#include "support/warnings.h"

#include <qdatastream.h>
#include <qtextstream.h>

using namespace scenetest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
struct ZylFile : testing::Test {
    ZylFile() { action::ActionFactory().addFactory("TestAction", &TestAction::make); }

    /// Reads statements into the scene.
    bool read(const char* statements) { return load(scene, text(statements), &told); }

    Told told;
    GL_Scene scene;
};

std::vector<std::string> names(const VGList& list)
{
    std::vector<std::string> result;
    for (const VLNode* node = list.firstNode(); node; node = node->next)
        result.push_back(static_cast<GL_NamedObject*>(node->item)->name());
    return result;
}

template <class T>
T* named(VPtrList<T>& list, T* item, const char* name)
{
    item->setName(name);
    return add(list, item);
}

/// One of everything that the scene's own level of a file knows.
void fill(GL_Scene& scene)
{
    scene.setBackground(VColor(0xFF102030u));
    scene.setAmbient(VColor(0xFF405060u));
    scene.setTimeLength(2.5);
    scene.setFlags(GL_Scene::LoopPlay | 0x100);
    named<GL_Texture>(scene.textures(), new GL_Checker, "board");
    GL_Material* const red = named(scene.materials(), new GL_Material, "red");
    named(scene.fonts(), new GL_Font, "sans");
    named<GL_Object>(scene.library(), new GL_Cube, "part");
    auto* const group = new GL_Group;
    named<GL_Object>(scene.objects(), group, "group");
    auto* const cube = new GL_Cube;
    named<GL_Object>(group->children(), cube, "cube");
    cube->setMaterial(red);
    auto* const reference = new GL_Reference;
    named<GL_Object>(scene.objects(), reference, "lights"); // like a first word of paths
    reference->setObject(scene.library().getFirst());
    named<GL_Object>(scene.lights(), new GL_Light, "lamp");
    TestAction* const source = addAction(scene, "source");
    TestAction* const sink = addAction(scene, "sink");
    drive(scene, *source);
    drive(*source, *sink, "2told(int,double)");
    VObject::connect(source, "2valueChanged(Connection*)", sink, "1evaluate(int,double)");
    source->connect(2, cube, -1);
    source->connect(2, red, 3);
    source->connect(1, reference, -1);
    source->connect(1, scene.lights().getFirst(), 0);
    source->connect(1, scene.textures().getFirst(), -7);
    source->connect(-4, scene.library().getFirst(), 1);
}

std::vector<std::string> connectionsOf(GL_Scene& scene, const action::Action& source)
{
    std::vector<std::string> result;
    if (source.connections())
        for (const int key : source.connections()->keys())
            for (const action::Connection* c : *source.connections(key))
                result.push_back(std::to_string(key) + " " + scene.pathOf(c->receiver()).data() +
                                 " " + std::to_string(c->index()));
    return result;
}

void expectFilled(GL_Scene& scene)
{
    EXPECT_EQ(scene.background(), VColor(0xFF102030u));
    EXPECT_EQ(scene.ambient(), VColor(0xFF405060u));
    EXPECT_EQ(scene.timeLength(), 2.5);
    EXPECT_EQ(scene.flags(), GL_Scene::LoopPlay | 0x100 | GL_Scene::Changed);
    EXPECT_THAT(names(scene.textures()), ElementsAre("board"));
    EXPECT_THAT(names(scene.materials()), ElementsAre("red"));
    EXPECT_THAT(names(scene.fonts()), ElementsAre("sans"));
    EXPECT_THAT(names(scene.library()), ElementsAre("part"));
    EXPECT_THAT(names(scene.objects()), ElementsAre("group", "lights"));
    EXPECT_THAT(names(scene.lights()), ElementsAre("lamp"));
    auto* const cube = dynamic_cast<GL_Cube*>(scene.findObject("group/cube"));
    ASSERT_TRUE(cube);
    EXPECT_EQ(cube->material(), scene.materials().getFirst());
    auto* const reference = dynamic_cast<GL_Reference*>(scene.objects().last());
    ASSERT_TRUE(reference);
    EXPECT_EQ(reference->object(), scene.library().getFirst());
    TestAction* const source = testAction(scene, "source");
    TestAction* const sink = testAction(scene, "sink");
    ASSERT_TRUE(source && sink);
    EXPECT_THAT(connectionsOf(scene, *source),
                ElementsAre("-4 library/part 1", "1 objects/lights -1", "1 lights/lamp 0",
                            "1 textures/board -7", "2 group/cube -1", "2 materials/red 3"));
    scene.evaluate(9, 4.5);
    EXPECT_EQ(source->last, 4.5);
    EXPECT_EQ(sink->last, 4.5);
    EXPECT_EQ(sink->calls, 1);
    const VConnectionList* const list = source->receivers("2valueChanged(Connection*)");
    EXPECT_TRUE(list && list->count() == 1);
}
} // namespace

// Both forms

TEST_F(ZylFile, KeepsAWholeSceneInBothForms)
{
    fill(scene);
    const QByteArray firstText = asText(scene, &told);
    GL_Scene fromText;
    ASSERT_TRUE(load(fromText, firstText, &told)) << firstText.constData();
    expectFilled(fromText);
    const QByteArray binary = asBinary(fromText, &told);
    GL_Scene fromBinary;
    ASSERT_TRUE(load(fromBinary, binary, &told));
    expectFilled(fromBinary);
    EXPECT_EQ(asText(fromBinary).toStdString(), firstText.toStdString());
    EXPECT_EQ(asBinary(scene), binary);
    EXPECT_THAT(told.texts, IsEmpty());
}

TEST_F(ZylFile, ReadsTheFirstLineAsASignature)
{
    const struct {
        const char* bytes;
        bool isRead;
    } rows[] = {
        {"// ZYL ASCII V1.0\n", true},
        {"// ZYL BINARY V1.0\n", true},
        {"//xZYLx", true},       // binary, with nothing in it
        {"//\tZYL ASCII", true}, // text
        {"//\nZYL\n", false},    // the line ends too soon
        {"// ZYL", false},
        {"// zyl ASCII\n", false},
        {" // ZYL ASCII V1.0\n", false},
        {"", false},
    };
    for (const auto& row : rows) {
        GL_Scene fresh;
        add(fresh.objects(), new GL_Group);
        EXPECT_EQ(load(fresh, row.bytes), row.isRead) << row.bytes;
        EXPECT_EQ(fresh.objects().isEmpty(), row.isRead) << row.bytes;
    }
    // A device that is opened for text is text whatever the line says.
    QBuffer buffer;
    buffer.setData("//xZYLx\nGroup { name \"g\"; }");
    buffer.open(QIODevice::ReadOnly | QIODevice::Text);
    VSceneIO io(&buffer, "ZYL BINARY");
    io.setScene(&scene);
    EXPECT_TRUE(io.read());
    EXPECT_THAT(names(scene.objects()), ElementsAre("g"));
}

TEST_F(ZylFile, ReadsFromWhereTheDeviceStands)
{
    QBuffer buffer;
    buffer.setData("before// ZYL BINARY V1.0\n" + QByteArray::fromHex("87 0903 800005 ee ff"));
    buffer.open(QIODevice::ReadOnly);
    buffer.seek(6);
    VSceneIO io(&buffer, "ZYL BINARY");
    io.setScene(&scene);
    EXPECT_TRUE(io.read());
    EXPECT_EQ(scene.timeLength(), 5);
    EXPECT_EQ(buffer.pos(), 31); // an unknown tag ends it
}

// Text

TEST_F(ZylFile, WritesTextInThisLayout)
{
    scene.setFlags(3);
    scene.setTimeLength(2);
    scene.setBackground(VColor(0xFF000000u));
    GL_Group* const group = new GL_Group;
    named<GL_Object>(scene.library(), group, "g");
    named<GL_Object>(scene.objects(), new GL_Group, "h");
    TestAction* const act = addAction(scene, "act");
    act->connect(1, group, 2);
    act->connect(1, scene.objects().getFirst(), -1);
    drive(scene, *act);
    drive(*act, *act, "2told(int,double)");
    EXPECT_EQ(asText(scene).toStdString(), "// ZYL ASCII V1.0\n"
                                           "background 0xff000000;\n"
                                           "ambient 0xff333333;\n"
                                           "timeLength 2;\n"
                                           "flags 3;\n"
                                           "library {\n"
                                           "    Group {\n"
                                           "        name \"g\";\n"
                                           "    }\n"
                                           "};\n"
                                           "\n"
                                           "Group {\n"
                                           "    name \"h\";\n"
                                           "}\n"
                                           "TestAction {\n"
                                           "    name \"act\";\n"
                                           "}\n"
                                           "connection {\n"
                                           "    action \"act\";\n"
                                           "    input 1;\n"
                                           "    output { \"/library/g\", 2, \"/objects/h\" };\n"
                                           "}\n"
                                           "connection {\n"
                                           "    sender \"act\";\n"
                                           "    signal \"told(int,double)\";\n"
                                           "    receiver \"act\";\n"
                                           "    slot \"evaluate(int,double)\";\n"
                                           "}\n"
                                           "connection {\n"
                                           "    signal \"valueChanged(int,double)\";\n"
                                           "    receiver \"act\";\n"
                                           "    slot \"evaluate(int,double)\";\n"
                                           "}\n");
}

TEST_F(ZylFile, ReadsTopLevelValues)
{
    scene.setFlags(0xFFFF);
    scene.setChanged(false);
    EXPECT_TRUE(read("background { 255, 0, 0 };/* */ambient 0xff010203 // c\n;\n"
                     "flags 0x10002; ; ;timeLength 1.5"));
    EXPECT_EQ(scene.background(), VColor(0xFFFF0000u));
    EXPECT_EQ(scene.ambient(), VColor(0xFF010203u));
    EXPECT_EQ(scene.timeLength(), 1.5);
    EXPECT_EQ(scene.flags(), GL_Scene::LoopPlay | GL_Scene::Changed);
    EXPECT_TRUE(read("timeLength -3;"));
    EXPECT_EQ(scene.timeLength(), -3);
    GL_Scene again;
    EXPECT_TRUE(load(again, asBinary(scene)));
    EXPECT_EQ(again.timeLength(), 0); // only a positive one is in the binary form
    scene.setTimeLength(std::numeric_limits<double>::infinity());
    EXPECT_TRUE(load(again, asText(scene)));
}

TEST_F(ZylFile, FailsAtTheTopLevelAndKeepsWhatCameBefore)
{
    const char* const rows[] = {
        "background 0xff000000 Group { }",
        "background { 1, 2 ;",
        "background 1",
        "timeLength 3 Group { }",
        "flags 1 Group { }",
        "Group ;",
        "Nonsense 5;",
        "library { Group { } }",
        "library { Group 5 };",
        "library ;",
        "connection ;",
        "Group { name \"torn",
        "Group { children { Group { } ",
        "Nonsense { {",
    };
    for (const char* row : rows) {
        EXPECT_FALSE(read((std::string("Group { name \"first\"; }") + row).c_str())) << row;
        ASSERT_GE(scene.objects().count(), 1u) << row;
        EXPECT_STREQ(scene.objects().getFirst()->name(), "first") << row;
        EXPECT_TRUE(scene.isChanged());
    }
}

TEST_F(ZylFile, StopsAtStrayTextWithSuccess)
{
    EXPECT_TRUE(read("Group { name \"a\"; };\n}\nGroup { name \"b\"; }"));
    EXPECT_THAT(names(scene.objects()), ElementsAre("a"));
    EXPECT_THAT(told.texts, ElementsAre(std::to_string(VFormatDiagnostics::UnexpectedText) + " "));
}

TEST_F(ZylFile, SortsBlocksByClass)
{
    EXPECT_TRUE(
        read("Camera { name \"eye\"; } Light { name \"lamp\"; flags 1; }\n"
             "Unknown { a { b; }; } GL_Group /* x */ { }\n"
             "NamedObject { name \"n\"; } Font { name \"f\"; }\n"
             "Checker { name \"t\"; } Material { name \"m\"; } TestAction { name \"act\"; }\n"
             "TestAction { } TestAction { name 5; }"));
    EXPECT_THAT(names(scene.objects()), ElementsAre("eye", "unnamed"));
    EXPECT_THAT(names(scene.lights()), ElementsAre("lamp"));
    EXPECT_THAT(names(scene.fonts()), ElementsAre("f"));
    EXPECT_THAT(names(scene.textures()), ElementsAre("t"));
    EXPECT_THAT(names(scene.materials()), ElementsAre("m"));
    EXPECT_EQ(scene.actions().count(), 1u);
    const std::string skipped = std::to_string(VFormatDiagnostics::SkippedClass);
    EXPECT_THAT(told.texts, ElementsAre(skipped + " Unknown", skipped + " NamedObject"));
}

TEST_F(ZylFile, HoldsOnlyNodesInLibrariesAndAddsToThem)
{
    EXPECT_TRUE(read("library { Cube { name \"a\"; } Material { } Reference { object \"a\"; } };\n"
                     "Reference { name \"r\"; object \"a\"; }\n"
                     "library { Cube { name \"b\"; } };"));
    EXPECT_THAT(names(scene.library()), ElementsAre("a", "unnamed", "b"));
    EXPECT_EQ(static_cast<GL_Reference*>(scene.objects().getFirst())->object(),
              scene.library().getFirst());
    EXPECT_EQ(static_cast<GL_Reference*>(scene.library().at(1))->object(),
              scene.library().getFirst());
}

TEST_F(ZylFile, ReplacesAnActionOfTheSameNameWithItsConnections)
{
    EXPECT_TRUE(read("Cube { name \"c\"; } TestAction { name \"a\"; }\n"
                     "connection { action \"a\"; input 1; output { \"c\" }; }\n"
                     "connection { signal \"valueChanged(int,double)\"; receiver \"a\";\n"
                     "             slot \"evaluate(int,double)\"; }\n"
                     "TestAction { name \"a\"; }"));
    EXPECT_EQ(scene.actions().count(), 1u);
    EXPECT_EQ(testAction(scene, "a")->connections(), nullptr);
    EXPECT_FALSE(scene.evaluate(1, 1));
    EXPECT_EQ(testAction(scene, "a")->calls, 0);
}

TEST_F(ZylFile, LetsActionsFindEachOther)
{
    EXPECT_TRUE(read("ComplexAction { name \"all\"; actions { \"later\" }; }\n"
                     "TestAction { name \"later\"; }"));
    scene.actions().find("all")->evaluate(1, 6);
    EXPECT_EQ(testAction(scene, "later")->last, 6);
}

TEST_F(ZylFile, ConnectsWhatItFinds)
{
    WarningCatcher warnings;
    EXPECT_TRUE(
        read("Cube { name \"c\"; } Group { name \"g\"; children { Cube { name \"d\"; } }; }\n"
             "Material { name \"m\"; } TestAction { name \"a\"; } TestAction { name \"b\"; }\n"
             // A string begins a target, a number is the index of the one before.
             "connection { action \"a\"; input 3; output { \"c\", \"/materials/m\", 4, \"g/d\",\n"
             "    /* in between */ \"/objects/g\", -2, \"nobody\", \"/library/c\", 1, \"a\" }; }\n"
             "connection { action \"nobody\"; input 3; output { \"c\" }; }\n"
             "connection { action \"a\"; output { \"c\" \"g\" }; }\n"
             "connection { action \"b\"; input 1; output \"c\"; }\n"
             "connection { action \"b\"; input 1; }\n"
             "connection { signal \"told(int,double)\"; sender \"a\"; receiver \"b\";\n"
             "             slot \"evaluate(int,double)\"; }\n"
             "connection { signal \"told(int,double)\"; sender \"a\"; receiver \"b\";\n"
             "             slot \"told(int,double)\"; }\n"
             "connection { signal \"destroyed()\"; sender \"a\"; receiver \"b\";\n"
             "             slot \"evaluate(int,double)\"; }\n"
             "connection { signal \"told( int, double )\"; sender \"a\"; receiver \"b\";\n"
             "             slot \"cleanupEventFilter(VObject*)\"; }\n"
             "connection { signal \"told(int,double)\"; sender \"x\"; receiver \"b\";\n"
             "             slot \"evaluate(int,double)\"; }\n"
             "connection { signal \"valueChanged(int,double)\"; receiver \"y\"; slot \"z\"; }\n"
             "connection { }"));
    const TestAction* const a = testAction(scene, "a");
    EXPECT_THAT(connectionsOf(scene, *a),
                ElementsAre("0 c -1", "3 c -1", "3 materials/m 4", "3 g/d -1", "3 g -2"));
    EXPECT_EQ(testAction(scene, "b")->connections(), nullptr);
    EXPECT_EQ(warnings.take(),
              QStringList({QStringLiteral("connect: Cannot find nobody"),
                           QStringLiteral("connect: Cannot find /library/c"),
                           QStringLiteral("connect: Cannot find a"),
                           QStringLiteral("VObject::connect: No such slot "
                                          "action::TestAction::told(int,double)")}));
    const VConnectionList* const list = a->receivers("2told(int,double)");
    ASSERT_TRUE(list);
    EXPECT_EQ(list->count(), 1u);
    const std::string skipped = std::to_string(VFormatDiagnostics::SkippedConnection);
    EXPECT_THAT(told.texts, ElementsAre(skipped + " nobody", skipped + " destroyed()",
                                        skipped + " told(int,double)", skipped + " x",
                                        skipped + " y", skipped + " "));
}

TEST_F(ZylFile, LeavesOutConnectionsThatWouldNotComeBack)
{
    TestAction* const act = addAction(scene, "act");
    auto* const twin = new GL_Cube;
    named<GL_Object>(scene.objects(), new GL_Cube, "c");
    named<GL_Object>(scene.objects(), twin, "c");
    TestAction stranger("stranger");
    {
        GL_Cube gone;
        act->connect(1, &gone, 0);
    }
    act->connect(1, twin, 0);
    drive(scene, stranger);
    const VScopedConnection link(&scene, &GL_Scene::valueChanged, act, [](int) {});
    WarningCatcher warnings;
    const std::string skipped = std::to_string(VFormatDiagnostics::SkippedConnection);
    EXPECT_FALSE(asText(scene, &told).contains("connection"));
    EXPECT_THAT(told.texts, ElementsAre(skipped + " stranger", skipped + " function"));
    EXPECT_FALSE(asBinary(scene).contains("connection"));
    EXPECT_EQ(warnings.take(),
              QStringList(4, QStringLiteral("connect: Cannot find a receiver of act")));
}

TEST_F(ZylFile, WritesConnectionsToAnyTextStream)
{
    TestAction* const act = addAction(scene, "a\xE9");
    drive(scene, *act);
    QBuffer own;
    own.open(QIODevice::WriteOnly | QIODevice::Text);
    VSceneIO io(&own, "ZYL ASCII");
    io.setScene(&scene);
    VZylFile file(&io);
    VConnectionList* const list = scene.receivers("2valueChanged(int,double)");
    QBuffer other;
    other.open(QIODevice::WriteOnly);
    QTextStream onOther(&other), onOwn(&own);
    file.write_connection(onOther, "from", "sig()", list);
    EXPECT_EQ(other.data().toStdString(), "connection {\n    sender \"from\";\n"
                                          "    signal \"sig()\";\n    receiver \"a\xE9\";\n"
                                          "    slot \"evaluate(int,double)\";\n}\n");
    EXPECT_TRUE(own.data().isEmpty());
    onOwn << "// before\n";
    file.write_connection(onOwn, nullptr, "sig()", list);
    EXPECT_TRUE(own.data().startsWith("// before\nconnection {\n    signal"));
    file.write_connection(onOther, "from", nullptr, list);
    file.write_connection(onOther, "from", "sig()", nullptr);
    EXPECT_EQ(other.data().count("connection"), 1);
}

TEST_F(ZylFile, TakesTheSelectionFromTheTopLevel)
{
    const char* const statements =
        "Cube { name \"a\"; flags 0x7c; }\n"
        "Group { children { Cube { name \"b\"; flags 0x7c; } }; }\n"
        "library { Cube { flags 0x7c; } };\n"
        "Light { name \"l\"; flags 8; } Cube { name \"c\"; flags 0x7c; }";
    for (const bool viaBinary : {false, true}) {
        GL_Scene fresh;
        ASSERT_TRUE(load(fresh, text(statements)));
        ASSERT_TRUE(!viaBinary || load(scene, asBinary(fresh)));
        GL_Scene& read = viaBinary ? scene : fresh;
        EXPECT_THAT(names(read.selection()), ElementsAre("a", "c", "l"));
        EXPECT_EQ(read.currentObject(), read.objects().getFirst());
        EXPECT_FALSE(
            static_cast<GL_Group*>(read.objects().at(1))->children().getFirst()->isSelected());
        EXPECT_FALSE(read.library().getFirst()->isSelected());
    }
}

// Binary

TEST_F(ZylFile, WritesTheseBytes)
{
    scene.setFlags(0xF0000002);
    scene.setTimeLength(0.5);
    scene.setBackground(VColor(0x01020304u));
    scene.setAmbient(VColor(0u));
    named<GL_Object>(scene.objects(), new GL_Group, "g");
    TestAction* const act = addAction(scene, "a");
    act->connect(5, scene.objects().getFirst(), -1);
    drive(scene, *act);
    const QByteArray bytes = asBinary(scene);
    const QByteArray begin =
        "// ZYL BINARY V1.0\n" + QByteArray::fromHex("03 020102"
                                                     "84 3012 3010 1305 47726f7570"
                                                     "04 07 13 130167 03 0200"
                                                     "86 31");
    EXPECT_EQ(bytes.left(begin.size()).toHex().toStdString(), begin.toHex().toStdString());
    const QByteArray word = "130a" + QByteArray("connection").toHex();
    const QByteArray end = QByteArray::fromHex(
        "3165"
        "301e" +
        word +
        "3010 130161 020105 3008 3006 130167 0201ff"
        "3043" +
        word + "3035 1300 1318" + QByteArray("valueChanged(int,double)").toHex() + "130161 1314" +
        QByteArray("evaluate(int,double)").toHex() +
        "87 0903 80ff01"
        "88 0204 01020304"
        "89 0200");
    EXPECT_EQ(bytes.right(end.size()).toHex().toStdString(), end.toHex().toStdString());
}

TEST_F(ZylFile, SaysWhereABinaryFileIsTorn)
{
    fill(scene);
    const QByteArray whole = asBinary(scene);
    // Where a statement of the scene ends, the rest is missing unnoticed.
    int unnoticed = 0;
    for (int size = 19; size < whole.size(); ++size) {
        GL_Scene read;
        WarningCatcher warnings;
        unnoticed += load(read, whole.left(size));
        EXPECT_TRUE(read.isChanged());
    }
    EXPECT_EQ(unnoticed, 11); // before each of the eleven tags
    GL_Scene read;
    EXPECT_FALSE(load(read, whole.left(whole.size() - 1)));
    EXPECT_THAT(names(read.objects()), ElementsAre("group", "lights"));
    EXPECT_EQ(testAction(read, "source")->connections()->count(), 3u);
}

TEST_F(ZylFile, SurvivesTornText)
{
    fill(scene);
    const QByteArray whole = asText(scene);
    int failed = 0;
    for (int size = 18; size < whole.size(); ++size) {
        GL_Scene read;
        WarningCatcher warnings;
        failed += !load(read, whole.left(size));
    }
    EXPECT_GT(failed, whole.size() / 2);
}

TEST_F(ZylFile, PassesOverWhatALightListCannotHold)
{
    GL_Scene mixed;
    add(mixed.lights(), static_cast<GL_Object*>(new GL_Cube));
    named<GL_Object>(mixed.lights(), new GL_Light, "l");
    EXPECT_TRUE(load(scene, asBinary(mixed), &told));
    EXPECT_THAT(names(scene.lights()), ElementsAre("l"));
}

TEST_F(ZylFile, RefusesHostileLengths)
{
    const char* const rows[] = {
        "8430 84 7FFFFFFF 3000",      // a list longer than the file
        "8430 84 FFFFFFFF",           // a negative one
        "87 0909 80",                 // a real number
        "88 02 7F 01",                // an integer
        "86 3100 31 84 7FFFFFFF 30",  // connections
        "86 31 84 7FFFFFFF 30",       // actions
        "86 3100 3004 0102 0304",     // no SET
        "86 3100 3102 3055",          // a connection longer than its SET
    };
    for (const char* row : rows) {
        GL_Scene fresh;
        EXPECT_FALSE(load(fresh, "// ZYL BINARY V1.0\n" + QByteArray::fromHex(row))) << row;
    }
}

// Depth

namespace
{
QByteArray nested(int depth, bool inText)
{
    GL_Scene scene;
    GL_ObjectList* list = &scene.objects();
    for (int i = 0; i < depth; ++i) {
        auto* const group = new GL_Group;
        list->append(group);
        list = &group->children();
    }
    return inText ? asText(scene) : asBinary(scene);
}

int depthOf(const GL_ObjectList* list)
{
    int depth = 0;
    for (; !list->isEmpty(); ++depth)
        list = &static_cast<GL_Group*>(list->getFirst())->children();
    return depth;
}
} // namespace

TEST_F(ZylFile, NestsAsDeepAsTheLimit)
{
    for (const bool inText : {true, false}) {
        const QByteArray deep = nested(4000, inText);
        ASSERT_FALSE(deep.isEmpty());
        EXPECT_TRUE(load(scene, deep));
        EXPECT_EQ(depthOf(&scene.objects()), 4000);
        EXPECT_TRUE(nested(4200, inText).isEmpty()); // isn't written
    }
    EXPECT_FALSE(read((QByteArray("Group { children { ").repeated(5000) + "Cube { }" +
                       QByteArray("}; }").repeated(5000))
                          .constData()));
    EXPECT_LE(depthOf(&scene.objects()), 4097);
}
