#include "opengl/gltext2.h"
#include "opengl/gltext3.h"

#include "kernel/vevent.h"
#include "opengl/fontpath.h"
#include "opengl/glfont.h"
#include "opengl/gltextglyph.h"
#include "opengl/keptvalues.h"
#include "opengl/nodestage.h"
#include "opengl/vfontface.h"
#include "support/testdata.h"
#include "support/text.h"
#include "support/warnings.h"

#include <cmath>
#include <limits>

using geometry::Box2f;
using geometry::Box3f;

namespace
{
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

/// A scene with the font of blocks.
class TextStage : public NodeStage
{
protected:
    void SetUp() override
    {
        NodeStage::SetUp();
        font = new GL_Font;
        font->setName("blocks");
        font->setFile(testData("opengl/blocks.ttf"));
        scene.fonts().append(font);
        font->init(&scene);
    }

    template <class T>
    T& add(const char* characters, float em)
    {
        auto* const node = new T;
        node->setFont(font);
        node->setText(QString::fromUtf8(characters));
        node->setSize(em);
        scene.objects().append(node);
        node->init(&scene);
        return *node;
    }

    GL_Font* font = nullptr;
};

std::string toText(const Box3f& box)
{
    return QString::asprintf("%.3f %.3f %.3f, %.3f %.3f %.3f", box.min.x, box.min.y, box.min.z,
                             box.max.x, box.max.y, box.max.z)
        .toStdString();
}
std::string toText(const Box2f& box)
{
    return QString::asprintf("%.3f %.3f, %.3f %.3f", box.min.x, box.min.y, box.max.x, box.max.y)
        .toStdString();
}
} // namespace

// Files

class TextForms : public testing::TestWithParam<Kept>
{
};

TEST_P(TextForms, AreKept)
{
    expectKept(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    All, TextForms,
    testing::Values(
        Kept{"text2", &GL_Text2::factory, "text \"Pump 1\";\n", "030200 80 130650756d702031"},
        Kept{"label", &GL_Text2::factory,
             "flags 0x1000;\nlabel ;\ntext \"A\";\nfont \"f\";\nsize 16;\nalignment 1;\n"
             "verticalAlignment 2;\nspacing 0.5;\nlineSpacing 2;\n",
             "03 02021000 80 130141 81 130166 82 0903800401 83 020101 84 020102 85 090380ff01 86 "
             "0903800101"},
        Kept{"text3", &GL_Text3::factory,
             "flags 0x74;\nshadingModel 1;\ntext \"A\";\ndepth 0.5;\nstep 8;\n",
             "03020174 80 130141 87 090380ff01 88 020108"},
        Kept{"font", &GL_Font::factory,
             "name \"f\";\nfile \"a.ttc\";\nfamily \"Sans\";\nstyle \"Bold\";\nindex 2;\n",
             "13 130166 80 1305612e747463 81 130453616e73 82 1304426f6c64 83 020102"}),
    nameOfKept);

TEST(TextForms, KeepEveryCharacter)
{
    const QString texts[] = {
        text("a \"quoted\" back\\slash"),
        text("two\nlines\r\nand a\ttab"),
        text("a; {b} // c /* d */ e /// f"),
        text("ends in a backslash\\"),
        QString::fromUtf8("Größe αβγ 中文 \U0001F600"),
        QString(QChar(0)) + text("a"),
        QString(),
    };
    for (const QString& one : texts) {
        GL_Text3 node;
        node.setText(one);
        throughFiles(node, [&](const GL_Text3& copy) { EXPECT_EQ(copy.text(), one); });
    }
}

TEST(TextForms, TakeTextInUtf8AndInLatin1)
{
    GL_Text2 node;
    readText(node, "text \"\xC3\x84\";");
    EXPECT_EQ(node.text(), QString(QChar(0xC4)));
    readText(node, "text \"\xC4\";");
    EXPECT_EQ(node.text(), QString(QChar(0xC4)));
    readText(node, "characters { 0x41, 128512 };");
    EXPECT_EQ(node.text(), QString::fromUtf8("A\U0001F600"));
    readText(node, "characters { -1, 0x7fffffff };");
    EXPECT_EQ(node.text(), QString::fromUtf8("\uFFFD\uFFFD"));
}

TEST(TextForms, FindTheirFontByName)
{
    GL_Scene scene;
    auto* const font = new GL_Font;
    font->setName("f");
    scene.fonts().append(font);
    GL_Text3 text;
    readText(text, "font \"f\";", &scene);
    EXPECT_EQ(text.font(), font);
    font->setName("g");
    EXPECT_NE(textOf(text).find("font \"g\";"), std::string::npos);
    readText(text, "font \"missing\";", &scene);
    EXPECT_EQ(text.font(), nullptr);
    EXPECT_NE(textOf(text).find("font \"missing\";"), std::string::npos);
}

// Fonts

TEST(GLFont, OpensAFileFromTheFolderOfItsScene)
{
    GL_Font font;
    TextSource source("name \"x\"; file \"blocks.ttf\"; }");
    source.io.setFileName(testData("opengl/scene.zyl"));
    source.stream.readObject(font);
    font.init(nullptr);
    ASSERT_TRUE(font.face());
    EXPECT_EQ(font.face()->family(), text("Blocks"));
}

TEST(GLFont, TakesTheStandardOneWithAWordWhereItCannotOpenItsOwn)
{
    GL_Font font;
    font.setFile(text("/missing.ttf"));
    WarningCatcher warnings;
    font.init(nullptr);
    font.init(nullptr);
    EXPECT_EQ(warnings.text(), text("GL_Font::init: Cannot open /missing.ttf"));
    EXPECT_EQ(font.face(), VFontDatabase::instance()->standardFace());
}

TEST(GLFont, IsFoundByItsNameAloneToo)
{
    const FontPath path({testData("opengl")});
    GL_Font font;
    font.setName("blocks");
    font.init(nullptr);
    ASSERT_TRUE(font.face());
    EXPECT_EQ(font.face()->family(), text("Blocks"));
}

// Layout

struct LayoutCase {
    const char* characters;
    GL_TextLayout::Alignment alignment;
    GL_TextLayout::VerticalAlignment verticalAlignment;
    float spacing;
    float lineSpacing;
    const char* places; // in ems
    const char* bounds; // at size 2
};

TEST_F(TextStage, StandsWhereItsAlignmentTells)
{
    using T = GL_TextLayout;
    // A is 0.6 wide, i 0.3, and the pair 0.05 closer; lines are 1.1 apart, from 0.8 to -0.2.
    const LayoutCase cases[] = {
        {"Ai", T::Left, T::Baseline, 0, 1, "0,0 0.55,0", "0.000 -0.400, 1.700 1.600"},
        {"iA", T::Left, T::Baseline, 0, 1, "0,0 0.3,0", "0.000 -0.400, 1.800 1.600"},
        {"A A", T::Left, T::Baseline, 0, 1, "0,0 1.2,0", "0.000 -0.400, 3.600 1.600"},
        {"AO", T::Right, T::Baseline, 0, 1, "-1.2,0 -0.6,0", "-2.400 -0.400, 0.000 1.600"},
        {"AO", T::Center, T::Baseline, 0.2f, 1, "-0.7,0 0.1,0", "-1.400 -0.400, 1.400 1.600"},
        {"A\nO", T::Left, T::Baseline, 0, 1, "0,0 0,-1.1", "0.000 -2.600, 1.200 1.600"},
        {"A\r\nO", T::Left, T::Baseline, 0, 2, "0,0 0,-2.2", "0.000 -4.800, 1.200 1.600"},
        {"A\rO\n", T::Left, T::Top, 0, 1, "0,-0.8 0,-1.9", "0.000 -6.400, 1.200 0.000"},
        {"A\u2028O", T::Left, T::Bottom, 0, 1, "0,1.3 0,0.2", "0.000 0.000, 1.200 4.200"},
        {"AA\nO", T::Right, T::Middle, 0, 1, "-1.2,0.25 -0.6,0.25 -0.6,-0.85",
         "-2.400 -2.100, 0.000 2.100"},
        {"\tA", T::Left, T::Baseline, 0, 1, "4.8,0", "0.000 -0.400, 10.800 1.600"},
        {"AAA\tA", T::Left, T::Baseline, 0, 1, "0,0 0.6,0 1.2,0 4.8,0",
         "0.000 -0.400, 10.800 1.600"},
        {"A\x01\u200B\u00ADO", T::Left, T::Baseline, 0, 1, "0,0 0.6,0",
         "0.000 -0.400, 2.400 1.600"},
        {"\U0001F600O", T::Left, T::Baseline, 0, 1, "0,0 1,0", "0.000 -0.400, 3.200 2.000"},
        {"B\u3000O", T::Left, T::Baseline, 0, 1, "0,0 1.2,0", "0.000 -0.400, 3.600 1.600"},
    };
    auto& node = add<GL_Text2>("", 2);
    for (const LayoutCase& one : cases) {
        node.setAlignment(one.alignment);
        node.setVerticalAlignment(one.verticalAlignment);
        node.setSpacing(one.spacing);
        node.setLineSpacing(one.lineSpacing);
        node.setText(QString::fromUtf8(one.characters));
        QStringList places;
        for (const GL_TextLayout::Place& place : node.places())
            places.append(QString::asprintf("%.4g,%.4g", place.at.x + 0.0, place.at.y + 0.0));
        EXPECT_EQ(places.join(u' '), text(one.places)) << one.characters;
        EXPECT_EQ(toText(node.textBounds()), one.bounds) << one.characters;
    }
}

TEST_F(TextStage, TakesValuesThatAreNoneForTheirDefaults)
{
    auto& node = add<GL_Text2>("", 1);
    readText(node, "alignment 7; verticalAlignment -1;");
    node.setFont(font);
    node.init(&scene);
    node.setSpacing(notANumber);
    node.setLineSpacing(infinity);
    node.setText(text("AO\nA"));
    EXPECT_EQ(toText(node.textBounds()), "0.000 -1.300, 1.200 0.800");
}

TEST_F(TextStage, WithoutAnyFontIsMadeOfBoxes)
{
    WarningCatcher warnings;
    const FontPath none;
    font->setFamily(text("Blocks"));
    font->setFile(QString());
    font->init(&scene);
    for (const char* const characters : {"Hi there", "again"}) {
        GL_Text2 node;
        node.setText(text(characters));
        node.setSize(0.5f);
        node.setFont(characters[0] == 'H' ? font : nullptr);
        node.init(nullptr);
        for (const GL_TextLayout::Place& place : node.places())
            EXPECT_EQ(place.glyph, &GL_Glyph::box());
        EXPECT_GT(litPixels(pictureOf(node)), 30);
    }
    EXPECT_EQ(warnings.text(), text("VFontDatabase::standardFace: No font found"));
}

TEST_F(TextStage, OfASizeThatIsNoneShowsNothing)
{
    auto& flat = add<GL_Text2>("A", 1);
    auto& solid = add<GL_Text3>("A", 1);
    for (const float em : {0.0f, -1.0f, notANumber, infinity}) {
        flat.setSize(em);
        solid.setSize(em);
        EXPECT_EQ(litPixels(pictureOf(flat)), 0) << em;
        EXPECT_EQ(litPixels(pictureOf(solid)), 0) << em;
    }
    for (const float em : {1e-30f, 1e30f}) {
        flat.setSize(em);
        solid.setSize(em);
        solid.setDepth(-em);
        pictureOf(flat);
        pictureOf(solid);
        Box3f box;
        scene.bounds(box);
        EXPECT_TRUE(std::isfinite((box.max - box.min).length()));
    }
}

// Bounds

TEST_F(TextStage, BoundsAreThoseOfTheTextInItsParent)
{
    auto& flat = add<GL_Text2>("A", 1);
    auto& solid = add<GL_Text3>("A", 1);
    geometry::Matrix4f matrix;
    matrix.translate(geometry::Vector3f(1, 2, 3));
    flat.setTransform(matrix);
    solid.setTransform(matrix);
    Box3f box;
    flat.bounds(box);
    EXPECT_EQ(toText(box), "1.000 1.800 3.000, 1.600 2.800 3.000");
    flat.setLabel(true);
    flat.bounds(box);
    EXPECT_EQ(toText(box), "1.000 2.000 3.000, 1.000 2.000 3.000");
    solid.bounds(box);
    EXPECT_EQ(toText(box), "1.000 1.800 3.000, 1.600 2.800 3.250");
    solid.setDepth(-2);
    solid.bounds(box);
    EXPECT_EQ(toText(box), "1.000 1.800 1.000, 1.600 2.800 3.000");
}

// Pictures

/// The view is 2 wide and 64 pixels, so a square of A at size 1 is 12.8 pixels wide.
TEST_F(TextStage, FlatTextCoversItsLettersInItsColour)
{
    auto& node = add<GL_Text2>("A", 1);
    node.setColor(VColor(255, 128, 0));
    for (const float em : {0.5f, 1.0f}) { // from a texture, and by its outline
        node.setSize(em);
        const Picture pixels = pictureOf(node);
        const int inside = 32 + int(0.3f * em * 32), above = 32 + int(0.2f * em * 32);
        EXPECT_EQ(at(pixels, inside, above), 0xFF8000u) << em;
        EXPECT_EQ(at(pixels, 31, above), 0u) << em;
        EXPECT_NEAR(litPixels(pixels), 0.16 * em * em * 1024, 30) << em;
    }
}

TEST_F(TextStage, AHoleStaysOpen)
{
    auto& flat = add<GL_Text2>("O", 0.6f);
    auto& solid = add<GL_Text3>("O", 1);
    EXPECT_EQ(at(pictureOf(flat), 32 + 5, 32 + 5), 0u);
    EXPECT_NE(at(pictureOf(flat), 32 + 2, 32 + 5), 0u);
    EXPECT_EQ(at(pictureOf(solid), 32 + 9, 32 + 9), 0u);
    EXPECT_NE(at(pictureOf(solid), 32 + 3, 32 + 9), 0u);
}

TEST_F(TextStage, FlatTextIsDrawnWithWhatIsTransparent)
{
    auto& node = add<GL_Text2>("A", 0.5f);
    EXPECT_EQ(scene.passes(), 2);
    const struct {
        int pass;
        bool drawn;
    } passes[] = {{-1, true}, {0, false}, {1, true}};
    for (const auto& [pass, drawn] : passes) {
        GL_RenderEvent event(nullptr, &scene);
        event.pass = pass;
        EXPECT_EQ(node.shouldRender(&event), drawn) << pass;
    }
    node.setColor(VColor(255, 255, 255, 128));
    const Picture pixels = picture([&](GL_RenderEvent&) { scene.draw(nullptr); });
    EXPECT_NEAR(int(at(pixels, 37, 35) & 255), 128, 2);
}

TEST_F(TextStage, FlatTextLeavesSwitchesAsTheyWere)
{
    auto& node = add<GL_Text2>("AO", 0.5f);
    picture([&](GL_RenderEvent& event) {
        for (const bool on : {true, true, false, false}) {
            event.state.setEnabled(GL_State::Blend, on);
            event.state.setEnabled(GL_State::Texture2D, on);
            node.setFlags(GL_Object::Selected, !node.isSelected());
            node.draw(&event);
            EXPECT_EQ(glIsEnabled(GL_BLEND), GLboolean(on));
            EXPECT_EQ(glIsEnabled(GL_TEXTURE_2D), GLboolean(on));
            EXPECT_EQ(event.material, nullptr);
        }
    });
}

TEST_F(TextStage, ALabelKeepsItsSizeAndFacesTheViewer)
{
    auto& node = add<GL_Text2>("A", 100);
    node.setLabel(true);
    const int plain = litPixels(pictureOf(node));
    // Without a viewer a pixel counts 0.01, so that this is as large as a text of size 1.
    EXPECT_NEAR(plain, 0.16 * 1024, 30);
    geometry::Matrix4f matrix;
    matrix.rotate(geometry::Vector3f(0, 1, 0), 1.5f);
    matrix.scale(geometry::Vector3f(9, 9, 9));
    node.setTransform(matrix);
    EXPECT_EQ(litPixels(pictureOf(node)), plain);
}

TEST_F(TextStage, SolidTextIsLitAndHasWalls)
{
    auto& node = add<GL_Text3>("A", 1);
    node.setDepth(0.5f);
    const Picture front = pictureOf(node);
    EXPECT_NEAR(litPixels(front), 0.16 * 1024, 30);
    geometry::Matrix4f matrix;
    matrix.rotate(geometry::Vector3f(0, 1, 0), -1.5707963f); // the face goes to the left
    node.setTransform(matrix);
    const Picture side = pictureOf(node);
    // A wall of 0.5 by 0.4.
    EXPECT_NEAR(litPixels(side), 0.2 * 1024, 30);
    node.setDepth(0);
    EXPECT_EQ(litPixels(pictureOf(node)), 0);
    node.setTransform(geometry::Matrix4f());
    EXPECT_NEAR(litPixels(pictureOf(node)), 0.16 * 1024, 30);
}

TEST_F(TextStage, ATextureCoversSolidTextOnce)
{
    auto* const material = new GL_Material;
    auto* const checker = new GL_Checker;
    readText(*checker, "color1 { 1, 1, 1 }; color2 { 0, 0, 0.2 };");
    scene.textures().append(checker);
    scene.materials().append(material);
    material->textures().resize(1);
    material->textures().insert(0, checker);
    checker->init(&scene);
    material->init(&scene);
    auto& node = add<GL_Text3>("\U0001F600", 1); // a square of one em
    node.setMaterial(material);
    node.setFlags(GL_Object::Lit, false);
    node.setDepth(0);
    GL_Viewer viewer;
    viewer.setFlags(GL_Viewer::Textures, true);
    const Picture pixels = picture([&](GL_RenderEvent& event) {
        event.viewer = &viewer;
        node.draw(&event);
    });
    // The text is 1 wide and 1.2 high from -0.2, and the checker has eight squares each way.
    const auto isLight = [&](float x, float y) {
        return (at(pixels, int(32 + x * 32), int(32 + y * 32)) & 255) > 127;
    };
    const auto column = [](int i) { return (float(i) + 0.5f) / 8; };
    for (int i = 0; i < 7; ++i)
        EXPECT_NE(isLight(column(i), 0.5f), isLight(column(i + 1), 0.5f)) << i;
    for (int i = 2; i < 6; ++i)
        EXPECT_NE(isLight(0.45f, column(i) * 1.2f - 0.2f),
                  isLight(0.45f, column(i + 1) * 1.2f - 0.2f))
            << i;
}

// Picking and events

TEST_F(TextStage, APickMeetsFlatTextBetweenItsLettersAndSolidTextOnItsLetters)
{
    auto& flat = add<GL_Text2>("OO", 0.4f);
    auto& solid = add<GL_Text3>("OO", 0.4f);
    const std::vector<std::vector<unsigned>> one = {{7}};
    const auto pickAt = [](float x, float y) {
        setProjection([] {});
        glMatrixMode(GL_PROJECTION);
        glOrtho(x - 0.01f, x + 0.01f, y - 0.01f, y + 0.01f, -2, 2);
        glMatrixMode(GL_MODELVIEW);
    };
    pickAt(0.12f, 0.12f); // the hole of the first letter
    EXPECT_EQ(hits(flat), one);
    EXPECT_TRUE(hits(solid).empty());
    pickAt(0.04f, 0.04f);
    EXPECT_EQ(hits(flat), one);
    EXPECT_EQ(hits(solid), one);
    pickAt(0.6f, 0.1f); // behind the text
    EXPECT_TRUE(hits(flat).empty());
    EXPECT_TRUE(hits(solid).empty());
}

template <class T>
class TextEvents : public TextStage
{
};
using BothTexts = testing::Types<GL_Text2, GL_Text3>;
TYPED_TEST_SUITE(TextEvents, BothTexts);

TYPED_TEST(TextEvents, SetTextMatrixAndColour)
{
    auto& node = this->template add<TypeParam>("A", 1);
    QString characters = text("AO");
    VActionEvent setText(VActionEvent::SetText, &characters);
    EXPECT_TRUE(node.event(&setText));
    EXPECT_TRUE(setText.isAccepted());
    EXPECT_EQ(node.places().size(), 2u);
    EXPECT_EQ(toText(node.textBounds()), "0.000 -0.200, 1.200 0.800");

    geometry::Matrix4f matrix;
    matrix.translate(geometry::Vector3f(0, 0, 1));
    VActionEvent move(VActionEvent::TransformAfter, &matrix);
    EXPECT_TRUE(node.event(&move));
    EXPECT_EQ(node.transform().m[3][2], 1);

    VColor color(1, 2, 3);
    VActionEvent setColor(VActionEvent::SetColor, &color);
    EXPECT_TRUE(node.event(&setColor));
    EXPECT_EQ(node.color(), color);

    VActionEvent nothing(VActionEvent::SetText, nullptr);
    EXPECT_FALSE(node.event(&nothing));
}

TYPED_TEST(TextEvents, GrowInViewWhenTheirTextDoes)
{
    auto& node = this->template add<TypeParam>("i", 0.5f);
    geometry::Matrix4f matrix;
    matrix.translate(geometry::Vector3f(-2, 0, 0));
    node.setTransform(matrix);
    const auto lit = [&] {
        return this->litPixels(this->picture([&](GL_RenderEvent&) { this->scene.draw(nullptr); }));
    };
    EXPECT_EQ(lit(), 0);
    node.setText(text("AAAAAAAAAAAA"));
    EXPECT_GT(lit(), 50);
}

TYPED_TEST(TextEvents, ShowThatTheyAreSelected)
{
    auto& node = this->template add<TypeParam>("i", 0.5f);
    const int plain = this->litPixels(this->pictureOf(node));
    this->scene.setSelection(&node);
    EXPECT_GT(this->litPixels(this->pictureOf(node)), plain + 20);
}
