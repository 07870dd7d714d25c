#include "opengl/gltexture.h"

#include "geometry/geometryprinters.h"
#include "kernel/vevent.h"
#include "kernel/vglobal.h"
#include "kernel/vimage.h"
#include "opengl/keptvalues.h"
#include "opengl/nodestage.h"
#include "support/text.h"
#include "support/warnings.h"

#include <GL/gl.h>

#include <qdir.h>
#include <qfile.h>
#include <qtemporarydir.h>

#include <sys/stat.h>

#include <array>
#include <memory>

using geometry::Matrix4f;
using geometry::Vector2f;
using geometry::Vector3f;

namespace
{
using Pixel = std::array<int, 4>;

class GLTextureFiles : public testing::TestWithParam<Kept>
{
};

// By hand: an INTEGER is 02, a PrintableString 13, and a REAL 09 with its sign and base, exponent
// and odd mantissa: 03 80 01 03 is 3 * 2, 03 80 FF 01 half of 1.
INSTANTIATE_TEST_SUITE_P(
    Values, GLTextureFiles,
    testing::Values(
        Kept{"plain checker", &GL_Checker::factory, "color1 0xffffffff;\ncolor2 0x0;\n",
             "830205 00ffffffff 840200"},
        Kept{"environment and wraps", &GL_Checker::factory,
             "name \"c\";\nmode 3;\nwrap_s ;\nwrap_t ;\ncolor1 0x80102030;\ncolor2 0xff000000;\n",
             "13130163 03020133 83020500 80102030 84020500ff000000"},
        Kept{"turn", &GL_Map::factory, "rotate 6;\n", "81090380 0103"},
        Kept{"image", &GL_Map::factory,
             "wrap_t ;\nfileName \"a b.png\";\nautoAlpha ;\ntransparency 0xff;\namplitude "
             "0.5;\n",
             "0302 0200e0 83130761 20622e70 6e678402 0200ff85 090380ff 01"},
        Kept{"transparent black", &GL_Map::factory, "transparency 0x0;\n", "03020140"},
        Kept{"reference", &GL_TextureReference::factory, "wrap_s ;\nobject \"wood\";\n",
             "03020110 8013 04 776f6f64"}),
    nameOfKept);

TEST_P(GLTextureFiles, WritesWhatDiffersAndReadsItBack)
{
    expectKept(GetParam());
}

TEST(GLTexture, KeepsPlaceTurnAndSizeInBothForms)
{
    GL_Map map;
    map.setOffset(Vector2f(0.25f, -2));
    map.setScale(Vector2f(3, 0.1f));
    map.setRotate(-30);
    EXPECT_EQ(textOf(map), "offset { 0.25, -2 };\nrotate -30;\nscale { 3, 0.1 };\n");
    throughFiles(map, [](const GL_Map& copy) {
        EXPECT_EQ(copy.offset(), Vector2f(0.25f, -2));
        EXPECT_EQ(copy.scale(), Vector2f(3, 0.1f));
        EXPECT_EQ(copy.rotate(), -30);
    });
}

TEST(GLTexture, BrokenValuesLeaveTheTextureAlone)
{
    GL_Map map;
    readText(map, "transparency { };offset { 1 };mode 0x17;");
    EXPECT_EQ(map.offset(), Vector2f());
    EXPECT_EQ(map.flags() & GL_Texture::ModeMask, 7u);
    EXPECT_FALSE(map.testFlags(GL_Texture::WrapS)) << "a mode reaches into no other bits";
    for (const char* const bytes : {"84", "8402", "840205", "830981", "83138900", "8083", "8185"}) {
        GL_Map torn;
        readBytes(torn, bytes);
        EXPECT_EQ(textOf(torn), "") << bytes;
    }
}

TEST(GLTexture, ConvertsToRowsFromTheBottomOfRedGreenBlueAlpha)
{
    VImage image(2, 2, 32);
    image.setAlphaBuffer(true);
    image.setPixel(0, 0, 0x01020304);
    image.setPixel(1, 0, 0x11121314);
    image.setPixel(0, 1, 0x21222324);
    image.setPixel(1, 1, 0x31323334);
    const VImage converted = GL_Texture::convertToGLFormat(image);
    const std::vector<int> bytes(converted.bits(), converted.bits() + 16);
    EXPECT_THAT(bytes, testing::ElementsAre(0x22, 0x23, 0x24, 0x21, 0x32, 0x33, 0x34, 0x31, 2, 3, 4,
                                            1, 0x12, 0x13, 0x14, 0x11));
    EXPECT_EQ(image.pixel(0, 0), 0x01020304u) << "the image itself stays";
}

class GLTextureDrawing : public NodeStage
{
protected:
    void SetUp() override
    {
        NodeStage::SetUp();
        ASSERT_TRUE(folder.isValid());
    }
    QString file(const char* name, const QByteArray& content)
    {
        const QString path = folder.filePath(text(name));
        QFile out(path);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(content);
        return path;
    }
    /// A pixel of the texture that is bound, counted from the lower left.
    static Pixel texel(int x, int y)
    {
        GLint width = 0, height = 0;
        glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
        glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &height);
        std::vector<GLubyte> bytes(std::size_t(width * height) * 4);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
        if (x >= width || y >= height)
            return {-1, -1, width, height};
        const GLubyte* const p = &bytes[std::size_t(y * width + x) * 4];
        return {p[0], p[1], p[2], p[3]};
    }
    static GLint parameter(GLenum name)
    {
        GLint value = 0;
        glGetTexParameteriv(GL_TEXTURE_2D, name, &value);
        return value;
    }
    static Matrix4f textureMatrix()
    {
        Matrix4f matrix;
        glGetFloatv(GL_TEXTURE_MATRIX, &matrix.m[0][0]);
        return matrix;
    }
    void TearDown() override
    {
        glMatrixMode(GL_TEXTURE);
        glLoadIdentity();
        NodeStage::TearDown();
    }

    QTemporaryDir folder;
};

TEST_F(GLTextureDrawing, CheckerIsSquaresOfEightPixels)
{
    GL_Checker checker;
    checker.setColor1(VColor(10, 20, 30, 40));
    checker.setColor2(VColor(200, 150, 100, 50));
    checker.init(&scene);
    const Pixel first{10, 20, 30, 40}, second{200, 150, 100, 50};
    EXPECT_EQ(texel(0, 0), first);
    EXPECT_EQ(texel(7, 7), first);
    EXPECT_EQ(texel(8, 7), second);
    EXPECT_EQ(texel(7, 8), second);
    EXPECT_EQ(texel(8, 8), first);
    EXPECT_EQ(texel(63, 63), first);
    EXPECT_EQ(texel(63, 0), second);
    EXPECT_EQ(texel(64, 64)[2], 64);

    const unsigned id = checker.textureId();
    checker.setColor2(checker.color1());
    checker.init(&scene);
    EXPECT_EQ(checker.textureId(), id);
    EXPECT_EQ(texel(8, 7), first);
}

TEST_F(GLTextureDrawing, InitSetsWrapsAndFilters)
{
    GL_Checker checker;
    checker.setFlags(GL_Texture::WrapT);
    {
        const GLRecorder recorder;
        checker.init(&scene);
    }
    EXPECT_EQ(parameter(GL_TEXTURE_WRAP_S), GL_CLAMP);
    EXPECT_EQ(parameter(GL_TEXTURE_WRAP_T), GL_REPEAT);
    EXPECT_EQ(parameter(GL_TEXTURE_MIN_FILTER), GL_LINEAR);
    EXPECT_EQ(parameter(GL_TEXTURE_MAG_FILTER), GL_LINEAR);
    checker.setFlags(GL_Texture::WrapS);
    checker.init(&scene);
    EXPECT_EQ(parameter(GL_TEXTURE_WRAP_S), GL_REPEAT);
    EXPECT_EQ(parameter(GL_TEXTURE_WRAP_T), GL_CLAMP);
}

TEST_F(GLTextureDrawing, DrawBindsSetsTheModeAndPlacesTheImage)
{
    struct Mode {
        unsigned flags;
        GLint mode;
    };
    GL_Checker checker;
    checker.init(&scene);
    glBindTexture(GL_TEXTURE_2D, 0);
    GL_RenderEvent event(nullptr, &scene);
    for (const Mode& mode : {Mode{0, GL_REPLACE}, Mode{1, GL_MODULATE}, Mode{2, GL_DECAL},
                             Mode{3, GL_BLEND}, Mode{0xF, GL_REPLACE}}) {
        checker.setFlags(mode.flags);
        checker.draw(&event);
        GLint set = 0;
        glGetTexEnviv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, &set);
        EXPECT_EQ(set, mode.mode);
    }
    GLint bound = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    EXPECT_EQ(unsigned(bound), checker.textureId());
    EXPECT_EQ(textureMatrix(), Matrix4f());

    // (1, 0) moves to (1.5, 0), turns to (0, 1.5) and stretches to (0, 4.5).
    checker.setOffset(Vector2f(0.5f, 0));
    checker.setRotate(90);
    checker.setScale(Vector2f(2, 3));
    checker.draw(&event);
    const Vector3f moved = textureMatrix().map(Vector3f(1, 0, 0));
    EXPECT_NEAR(moved.x, 0, 1e-5);
    EXPECT_NEAR(moved.y, 4.5, 1e-5);
    checker.draw(nullptr);
    const Vector3f again = textureMatrix().map(Vector3f(1, 0, 0));
    EXPECT_NEAR(again.x, -9, 1e-5) << "onto the matrix before";
    EXPECT_NEAR(again.y, 1.5, 1e-5);
    GLint mode = 0;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    EXPECT_EQ(mode, GL_MODELVIEW);
}

TEST_F(GLTextureDrawing, WithoutANameNothingHappens)
{
    GL_Checker checker;
    GL_Map map;
    map.init(&scene);
    EXPECT_EQ(map.textureId(), 0u) << "no file name";
    GLRecorder recorder;
    GL_RenderEvent event(nullptr, &scene);
    recorder.take();
    checker.draw(&event);
    map.draw(&event);
    EXPECT_THAT(recorder.take(), testing::IsEmpty());
}

TEST_F(GLTextureDrawing, DeletesItsName)
{
    unsigned id;
    {
        GL_Checker checker;
        checker.init(&scene);
        id = checker.textureId();
        EXPECT_TRUE(glIsTexture(id));
    }
    EXPECT_FALSE(glIsTexture(id));
}

TEST_F(GLTextureDrawing, LoadsLuminanceRowsOfAnyWidth)
{
    const QString path =
        file("gray.pgm", QByteArray("P5\n5 2\n255\n") + QByteArray("\x01\x02\x03\x04\x05"
                                                                   "\x11\x12\x13\x14\x15"));
    GL_Checker texture;
    texture.init(&scene);
    ASSERT_TRUE(texture.loadTexture(path, nullptr, GL_RGBA, false));
    for (int x = 0; x < 5; ++x) {
        const int low = 0x11 + x, high = 1 + x;
        EXPECT_EQ(texel(x, 0), (Pixel{low, low, low, 255}));
        EXPECT_EQ(texel(x, 1), (Pixel{high, high, high, 255}));
    }
    GLint alignment = 0;
    glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
    EXPECT_EQ(alignment, 1);
}

TEST_F(GLTextureDrawing, CutsOutTheTransparentColour)
{
    const QString path =
        file("two.ppm", QByteArray("P6\n2 2\n255\n") + QByteArray("\xFF\x00\x00\x00\xFF\x00"
                                                                  "\x00\x00\xFF\xFE\x00\x00",
                                                                  12));
    GL_Map map;
    map.setFileName(path);
    map.init(&scene);
    EXPECT_EQ(texel(0, 1), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(texel(0, 0), (Pixel{0, 0, 255, 255}));

    map.setTransparency(VColor(0x12FF0000u));
    map.init(&scene);
    EXPECT_EQ(texel(0, 1)[3], 255) << "the flag decides";
    map.setFlags(GL_Texture::UseTransparency);
    map.init(&scene);
    EXPECT_EQ(texel(0, 1), (Pixel{255, 0, 0, 0})) << "the colour's own alpha doesn't matter";
    EXPECT_EQ(texel(1, 0), (Pixel{254, 0, 0, 255}));
    EXPECT_EQ(texel(1, 1), (Pixel{0, 255, 0, 255}));
}

TEST_F(GLTextureDrawing, AnImageWithAlphaKeepsIt)
{
    VImage image(2, 1, 32);
    image.setAlphaBuffer(true);
    image.setPixel(0, 0, 0x40FF0000);
    image.setPixel(1, 0, 0xFF00FF00);
    const QString path = folder.filePath(text("alpha.png"));
    ASSERT_TRUE(image.save(path, "PNG"));
    GL_Map map;
    map.setFileName(path);
    map.setFlags(GL_Texture::UseTransparency);
    map.setTransparency(VColor(0xFFFF0000u));
    map.init(&scene);
    EXPECT_EQ(texel(0, 0), (Pixel{255, 0, 0, 0x40}));
    EXPECT_EQ(texel(1, 0), (Pixel{0, 255, 0, 255}));
}

TEST_F(GLTextureDrawing, AnImageWithoutAlphaIsOpaque)
{
    // 32 bits a pixel, the fourth byte of each being unused and 0.
    const QByteArray bmp = QByteArray::fromHex("424d3a000000000000003600000028000000"
                                               "010000000100000001002000000000000400"
                                               "000000000000000000000000000000000000"
                                               "0a141e00");
    GL_Map map;
    map.setFileName(file("unused.bmp", bmp));
    map.init(&scene);
    EXPECT_EQ(texel(0, 0), (Pixel{30, 20, 10, 255}));
}

TEST_F(GLTextureDrawing, LooksForRelativeNamesInThreePlaces)
{
    const auto ppm = [](char red) {
        return QByteArray("P6\n1 1\n255\n") + QByteArray(1, red) + QByteArray(2, '\0');
    };
    QDir(folder.path()).mkpath(text("here"));
    QDir(folder.path()).mkpath(text("data/images"));
    QDir(folder.path()).mkpath(text("scenes/a.ppm")); // a folder of that name is no file
    file("here/a.ppm", ppm(1));
    file("data/images/a.ppm", ppm(2));
    file("data/images/b.ppm", ppm(3));
    file("scenes/b.ppm", ppm(4));
    file("scenes/c.ppm", ppm(5));
    const QString oldPath = VGlobal::dataPath(), oldFolder = QDir::currentPath();
    VGlobal::setDataPath(folder.filePath(text("data")));
    QDir::setCurrent(folder.filePath(text("here")));

    for (const auto& [name, red] : {std::pair("a", 1), std::pair("b", 3), std::pair("c", 5)}) {
        TextSource source(QByteArray("fileName \"") + name + ".ppm\";}");
        source.io.setFileName(folder.filePath(text("scenes/scene.zyl")));
        GL_Map map;
        source.stream.readObject(map);
        map.init(&scene);
        EXPECT_EQ(texel(0, 0)[0], red) << name;
    }
    QDir::setCurrent(oldFolder);
    VGlobal::setDataPath(oldPath);
}

TEST_F(GLTextureDrawing, WhatCannotBeLoadedWarnsOnceAndDrawsNothing)
{
    const QString pipe = folder.filePath(text("pipe"));
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    GL_Map map;
    map.setFileName(file("good.ppm", "P6\n1 1\n255\nabc"));
    map.init(&scene);
    const unsigned id = map.textureId();
    ASSERT_NE(id, 0u);
    for (const QString& name :
         {text("/nowhere/at/all.png"), text("nowhere.png"), folder.path(), pipe, text("/dev/zero"),
          file("empty.png", ""), file("text.png", "no image"),
          file("short.ppm", "P6\n9 9\n255\nab"), file("none.ppm", "P6\n0 0\n255\n")}) {
        WarningCatcher warnings;
        map.setFileName(name);
        map.init(&scene);
        EXPECT_EQ(warnings.text(), text("Failed to load image file.")) << name.toStdString();
        EXPECT_EQ(map.textureId(), 0u);
    }
    EXPECT_FALSE(glIsTexture(id));
    {
        WarningCatcher warnings;
        map.setFileName(file("huge.ppm", "P6\n100000 100000\n255\nab"));
        map.init(&scene);
        EXPECT_TRUE(warnings.take().contains(text("Failed to load image file.")));
        EXPECT_EQ(map.textureId(), 0u);
    }
}

TEST_F(GLTextureDrawing, ReferenceShowsItsTargetUnderItsOwnMatrix)
{
    auto* const target = new GL_Checker;
    target->setName("wood");
    target->setScale(Vector2f(7, 7));
    scene.textures().append(target);
    target->init(&scene);
    glBindTexture(GL_TEXTURE_2D, 0);

    GL_TextureReference reference;
    readText(reference, "object \"wood\";transform { translate { 1, 2, 3 }; };");
    EXPECT_EQ(reference.object(), nullptr);
    reference.init(&scene);
    ASSERT_EQ(reference.object(), target);
    GL_RenderEvent event(nullptr, &scene);
    reference.draw(&event);
    GLint bound = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    EXPECT_EQ(unsigned(bound), target->textureId());
    Matrix4f moved;
    moved.translate(1, 2, 3);
    EXPECT_EQ(textureMatrix(), moved);

    target->setName("oak");
    EXPECT_EQ(reference.objectName(), "oak");
    reference.init(nullptr);
    EXPECT_EQ(reference.object(), target) << "what is found stays";
    throughFiles(reference, [&](const GL_TextureReference& copy) {
        EXPECT_EQ(copy.objectName(), "oak");
        EXPECT_EQ(copy.transform(), moved);
    });

    Matrix4f step;
    step.scale(2);
    VActionEvent after(VActionEvent::TransformAfter, &step);
    EXPECT_TRUE(reference.event(&after));
    EXPECT_TRUE(after.isAccepted());
    EXPECT_EQ(reference.transform().map(Vector3f()), Vector3f(2, 4, 6));
    VActionEvent before(VActionEvent::TransformBefore, &step);
    EXPECT_TRUE(reference.event(&before));
    EXPECT_EQ(reference.transform().map(Vector3f(1, 0, 0)), Vector3f(6, 4, 6));
    Matrix4f read;
    VActionEvent get(VActionEvent::GetTransform, &read);
    EXPECT_TRUE(reference.event(&get));
    EXPECT_EQ(read, reference.transform());
    VActionEvent set(VActionEvent::SetTransform, &step);
    EXPECT_TRUE(reference.event(&set));
    EXPECT_EQ(reference.transform(), step);
    VActionEvent color(VActionEvent::SetColor, &step);
    EXPECT_FALSE(reference.event(&color));
}

TEST_F(GLTextureDrawing, ReferencesInARingOrALongChainEnd)
{
    std::vector<std::unique_ptr<GL_TextureReference>> chain;
    for (int i = 0; i < 100000; ++i) {
        chain.push_back(std::make_unique<GL_TextureReference>());
        if (i)
            chain[std::size_t(i)]->setObject(chain[std::size_t(i - 1)].get());
    }
    chain[0]->setObject(chain[1].get());
    EXPECT_EQ(chain[5]->source(), nullptr);
    GL_RenderEvent event(nullptr, &scene);
    chain.back()->draw(&event);
    GL_Checker end;
    chain[0]->setObject(&end);
    EXPECT_EQ(chain[9]->source(), &end);
    chain[0]->setObject(chain[0].get());
    EXPECT_EQ(chain[0]->source(), nullptr);
}

// Lists of names

class GLTextureNames : public testing::Test
{
protected:
    GLTextureNames()
    {
        for (const char* const name : {"a", "b  c", "a", ""}) {
            auto* const texture = new GL_Checker;
            texture->setName(name);
            scene.textures().append(texture);
        }
        scene.textures().append(new GL_Checker);
    }
    /// The indices in the scene of what a list gives, -1 for an empty slot.
    std::vector<int> indices(const GL_TextureVector& textures)
    {
        std::vector<int> found;
        for (const GL_Texture* texture : textures)
            found.push_back(texture ? scene.textures().findRef(texture) : -1);
        return found;
    }
    std::vector<int> read(const std::string& text, void* container)
    {
        TextSource source(QByteArray::fromStdString(text));
        source.io.setContainer("scene", container);
        source.io.setDiagnostics(&reports);
        source.io >> vector;
        return indices(vector);
    }

    GL_Scene scene;
    GL_TextureVector vector;
    Reports reports;
};

TEST_F(GLTextureNames, EveryPlaceCounts)
{
    EXPECT_EQ(read("{ \"\", \"a\", \"b  c\", \"\", \"x\" }", &scene),
              (std::vector<int>{-1, 0, 1, -1, -1}));
    EXPECT_THAT(reports.text, testing::HasSubstr(" x ")) << "an unknown name is told";
    EXPECT_EQ(read("{ }", &scene), std::vector<int>());
    EXPECT_EQ(read("{ \"a\", \"b c\" }", nullptr), (std::vector<int>{-1, -1}));
}

TEST_F(GLTextureNames, ABrokenListLeavesTheVectorAlone)
{
    const std::vector<int> whole = read("{ \"b  c\", \"a\" }", &scene);
    EXPECT_EQ(whole, (std::vector<int>{1, 0}));
    for (const char* const text : {"", "\"a\"", "{ \"a\"", "{ \"a\" \"a\" }", "{ \"a }", "{ a }"})
        EXPECT_EQ(read(text, &scene), whole) << text;
}

TEST_F(GLTextureNames, LongListsFindTheSame)
{
    std::string list = "{ ";
    std::vector<int> expected;
    for (int i = 0; i < 30; ++i) {
        list += i % 3 == 0 ? "\"a\", " : i % 3 == 1 ? "\"b  c\", " : "\"nobody\", ";
        expected.push_back(i % 3 == 0 ? 0 : i % 3 == 1 ? 1 : -1);
    }
    EXPECT_EQ(read(list + "\"\" }", &scene).size(), 31u);
    expected.push_back(-1);
    EXPECT_EQ(indices(vector), expected);
}

TEST_F(GLTextureNames, AreWrittenInBothForms)
{
    vector.resize(4);
    vector.insert(1, scene.textures().at(1));
    vector.insert(2, scene.textures().at(4)); // has no name
    vector.insert(3, scene.textures().at(0));
    TextTarget target;
    target.io << vector;
    EXPECT_EQ(target.take(), "{ \"\", \"b  c\", \"\", \"a\" }");

    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    target.stream.setDataStream(&out);
    target.io << vector;
    EXPECT_EQ(bytes.toHex(), QByteArray("300d1300130462202063"
                                        "1300"
                                        "130161"));

    TextSource source(bytes);
    QDataStream in(&source.buffer);
    source.stream.setDataStream(&in);
    source.io.setContainer("scene", &scene);
    GL_TextureVector read;
    source.io >> read;
    EXPECT_EQ(indices(read), (std::vector<int>{-1, 1, -1, 0}));
}
} // namespace
