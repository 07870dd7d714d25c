#include "opengl/glmaterial.h"

#include "geometry/geometryprinters.h"
#include "kernel/vevent.h"
#include "opengl/glfont.h"
#include "opengl/keptvalues.h"
#include "opengl/nodestage.h"
#include "support/warnings.h"

#include <GL/gl.h>

#include <limits>
#include <memory>

using geometry::Vector4f;

namespace
{
class GLMaterialFiles : public testing::TestWithParam<Kept>
{
};

INSTANTIATE_TEST_SUITE_P(
    Values, GLMaterialFiles,
    testing::Values(
        Kept{"nothing", &GL_Material::factory, "", "030200"},
        Kept{"name", &GL_Material::factory, "name \"steel\";\n", "1313 05 737465656c 030200"},
        Kept{"colours", &GL_Material::factory,
             "ambient 0xff000000;\ndiffuse 0x80ff0000;\nspecular 0xffffffff;\nemission "
             "0x1020304;\n",
             "030200 800205 00ff000000 81020500 80ff0000 820205 00ffffffff 83020401020304"},
        Kept{"numbers", &GL_Material::factory,
             "shininess 6;\nreflection 0.5;\nrefractive 6;\ntransfalloff 0.5;\n",
             "030200 840903800103 85090380ff01 860903800103 87090380ff01"},
        Kept{"face and blending", &GL_Material::factory,
             "face 2;\nblend ;\nsfactor 4;\ndfactor 5;\n", "03020205 46"},
        Kept{"blending alone", &GL_Material::factory, "blend ;\n", "03020104"}),
    nameOfKept);

TEST_P(GLMaterialFiles, WritesWhatDiffersAndReadsItBack)
{
    expectKept(GetParam());
}

TEST(GLMaterial, ReadsTagsInAnyOrderAndCarriesTheReservedNumber)
{
    GL_Material material;
    EXPECT_EQ(readBytes(material, "88090380ff01 840903800103 800205 00ff102030 03020106 ff"), "ff");
    EXPECT_EQ(VColor(material.ambient()), VColor(0xFF102030u));
    EXPECT_EQ(material.shininess(), 6);
    EXPECT_EQ(material.flags(), 6u);
    EXPECT_THAT(bytesOf(material), testing::HasSubstr("88090380ff01"));
    readBytes(material, "8203020100 840902");
    EXPECT_EQ(material.specular(), GL_Material::defaultSpecular) << "a value of another kind";
    EXPECT_EQ(material.shininess(), 6);
}

TEST(GLMaterial, ChannelsAreCutToAWord)
{
    GL_Material material;
    material.setDiffuse(Vector4f(0.5f, -3, 7, std::numeric_limits<float>::quiet_NaN()));
    EXPECT_EQ(textOf(material), "diffuse 0x7f00ff;\n");
}

TEST(GLMaterial, KeywordsOverruleTheFlagsWord)
{
    GL_Material material;
    readText(material, "sfactor 0x1A;dfactor 3;face 1;flags 0xFF6;ambient { };");
    EXPECT_EQ(material.flags(), 0x3A5u | GL_Material::Blend)
        << "a number too large reaches into no other bits";
    EXPECT_EQ(material.ambient(), GL_Material::defaultAmbient) << "no colour";
}

TEST(GLMaterial, TexturesAreNamed)
{
    GL_Scene scene;
    auto* const wood = new GL_Checker;
    wood->setName("wood");
    scene.textures().append(wood);
    GL_Material material;
    material.textures().resize(2);
    material.textures().insert(1, wood);
    EXPECT_EQ(textOf(material), "textures { \"\", \"wood\" };\n");
    EXPECT_EQ(bytesOf(material), "030200"
                                 "31"
                                 "3008"
                                 "1300"
                                 "1304776f6f64");
    throughFiles(
        material,
        [wood](const GL_Material& copy) {
            ASSERT_EQ(copy.textures().size(), 2u);
            EXPECT_EQ(copy.textures()[0], nullptr);
            EXPECT_EQ(copy.textures()[1], wood);
        },
        &scene);
}

TEST(GLFont, HasANameAndNothingElse)
{
    const std::unique_ptr<ZYLObject> font(VMetaClass::metaClass("GL_Font")->makeInstance());
    ASSERT_TRUE(font->inherits("GL_NamedObject"));
    EXPECT_EQ(readBytes(*font, "131301617f"), "7f");
    EXPECT_EQ(textOf(*font), "name \"a\";\n");
}

// Transparency and passes

struct Look {
    float alpha;
    int textures; ///< slots, of which the last is filled
    bool transparent;
};
class GLMaterialPasses : public testing::TestWithParam<Look>
{
};
INSTANTIATE_TEST_SUITE_P(Looks, GLMaterialPasses,
                         testing::Values(Look{1, 0, false}, Look{0.999f, 0, true},
                                         Look{1, 1, false}, Look{1, 2, true}, Look{1, 3, false},
                                         Look{0, 1, true}));

TEST_P(GLMaterialPasses, AlphaOrATransparencyMapMakesTransparent)
{
    const Look& look = GetParam();
    GL_Scene scene;
    GL_Checker texture;
    GL_Material material;
    material.setFlags(look.transparent ? 0x10 : GL_Material::Transparent | 0x10);
    material.setDiffuse(Vector4f(1, 1, 1, look.alpha));
    material.textures().resize(unsigned(look.textures));
    if (look.textures)
        material.textures().insert(unsigned(look.textures - 1), &texture);
    material.init(&scene);
    EXPECT_EQ(material.isTransparent(), look.transparent);
    EXPECT_EQ(material.flags() & 0xFFu, 0x10u);
    EXPECT_EQ(scene.passes(), look.transparent ? 2 : 1);

    GL_RenderEvent event(nullptr, &scene);
    for (const int pass : {-1, 0, 1, 2}) {
        event.pass = pass;
        EXPECT_EQ(material.shouldRender(&event), pass < 0 || pass == (look.transparent ? 1 : 0))
            << pass;
    }
    material.setDiffuse(Vector4f(1, 1, 1, 1));
    EXPECT_EQ(material.isTransparent(), look.transparent) << "until the next init";
    GL_Material opaque;
    opaque.init(&scene);
    EXPECT_EQ(scene.passes(), look.transparent ? 2 : 1) << "passes never fall";
    opaque.init(nullptr);
}

// Events

TEST(GLMaterial, EventsReachOneChannel)
{
    using Getter = const Vector4f& (GL_Material::*)() const;
    for (const auto& [number, getter] : {std::pair<int, Getter>{0, &GL_Material::ambient},
                                         {1, &GL_Material::diffuse},
                                         {2, &GL_Material::specular},
                                         {3, &GL_Material::emission},
                                         {-1, &GL_Material::diffuse},
                                         {-7, &GL_Material::diffuse}}) {
        GL_Material material;
        VColor value(0xFFFF0000u);
        VActionEvent set(VActionEvent::SetColor, &value, number);
        EXPECT_TRUE(material.event(&set));
        EXPECT_TRUE(set.isAccepted());
        EXPECT_EQ((material.*getter)(), Vector4f(1, 0, 0, 1)) << number;
        Vector4f step(0.5f, 0.25f, 0, 0);
        VActionEvent add(VActionEvent::AddColor, &step, number);
        EXPECT_TRUE(material.event(&add));
        EXPECT_EQ((material.*getter)(), Vector4f(1.5f, 0.25f, 0, 1)) << number;
        VActionEvent get(VActionEvent::GetColor, &value, number);
        EXPECT_TRUE(material.event(&get));
        EXPECT_EQ(value, VColor(0xFFFF3F00u)) << "0.25 of 255 is 63.75";
        int changed = 0;
        for (const auto other : {&GL_Material::ambient, &GL_Material::diffuse,
                                 &GL_Material::specular, &GL_Material::emission})
            changed += (material.*other)() != (GL_Material().*other)();
        EXPECT_EQ(changed, 1);
    }
}

TEST(GLMaterial, RefusesOtherEvents)
{
    GL_Material material;
    VColor value(1u);
    for (const int channel : {4, 1000}) {
        VActionEvent event(VActionEvent::SetColor, &value, channel);
        EXPECT_FALSE(material.event(&event));
        EXPECT_FALSE(event.isAccepted());
    }
    VActionEvent matrix(VActionEvent::SetTransform, &value, 0);
    EXPECT_FALSE(material.event(&matrix));
    VActionEvent empty(VActionEvent::SetColor, nullptr, 0);
    EXPECT_FALSE(material.event(&empty));
    VEvent plain(VActionEvent::SetColor);
    EXPECT_FALSE(material.event(&plain));
    WarningCatcher warnings;
    EXPECT_FALSE(material.event(nullptr));
    EXPECT_FALSE(warnings.isEmpty());
    EXPECT_EQ(textOf(material), "");
}

// Drawing

class GLMaterialDrawing : public NodeStage
{
protected:
    static Vector4f materialOf(GLenum face, GLenum name)
    {
        Vector4f value;
        glGetMaterialfv(face, name, &value.x);
        return value;
    }
    static float shininessOf(GLenum face)
    {
        float value = -1;
        glGetMaterialfv(face, GL_SHININESS, &value);
        return value;
    }
    static GLint integer(GLenum name)
    {
        GLint value = 0;
        glGetIntegerv(name, &value);
        return value;
    }
    void draw(GL_Material& material, int pass = -1)
    {
        GL_RenderEvent event(&viewer, &scene);
        event.pass = pass;
        material.draw(&event);
    }
    void giveTextures(GL_Material& material)
    {
        for (GL_Checker* texture : {&map, &transparency})
            texture->init(&scene);
        material.textures().resize(2);
        material.textures().insert(0, &map);
        material.textures().insert(1, &transparency);
        viewer.setFlags(GL_Viewer::Textures, true);
        glBindTexture(GL_TEXTURE_2D, 0);
    }

    GL_Viewer viewer;
    GL_Checker map, transparency;
};

TEST_F(GLMaterialDrawing, SendsColoursToItsFace)
{
    GL_Material material;
    material.setAmbient(Vector4f(0.1f, 0.2f, 0.3f, 0.4f));
    material.setDiffuse(Vector4f(0.5f, 0.6f, 0.7f, 0.8f));
    material.setSpecular(Vector4f(0.9f, 0.8f, 0.7f, 0.6f));
    material.setEmission(Vector4f(0.5f, 0.4f, 0.3f, 0.2f));
    material.setShininess(12);
    GL_Material plain;
    struct Face {
        unsigned flags;
        bool front;
        bool back;
    };
    for (const Face& face : {Face{0, true, false}, Face{1, false, true}, Face{2, true, true}}) {
        plain.setFlags(2);
        draw(plain);
        material.setFlags(face.flags);
        draw(material);
        for (const auto& [side, isSet] :
             {std::pair(GL_FRONT, face.front), std::pair(GL_BACK, face.back)}) {
            const GL_Material& expected = isSet ? material : plain;
            EXPECT_EQ(materialOf(side, GL_AMBIENT), expected.ambient()) << face.flags;
            EXPECT_EQ(materialOf(side, GL_DIFFUSE), expected.diffuse());
            EXPECT_EQ(materialOf(side, GL_SPECULAR), expected.specular());
            EXPECT_EQ(materialOf(side, GL_EMISSION), expected.emission());
            EXPECT_EQ(shininessOf(side), expected.shininess());
        }
    }
}

TEST_F(GLMaterialDrawing, SendsInOrderAndOnlyWhatDiffers)
{
    GL_Material material, other;
    other.setSpecular(Vector4f(1, 1, 1, 1));
    GL_RenderEvent event(&viewer, &scene);
    GLRecorder recorder;
    material.draw(&event);
    EXPECT_THAT(recorder.take({"glMaterialfv", "glMaterialf"}),
                testing::ElementsAre("glMaterialfv(GL_FRONT, GL_AMBIENT, {0.2, 0.2, 0.2, 1})",
                                     "glMaterialfv(GL_FRONT, GL_DIFFUSE, {0.8, 0.8, 0.8, 1})",
                                     "glMaterialfv(GL_FRONT, GL_SPECULAR, {0, 0, 0, 1})",
                                     "glMaterialfv(GL_FRONT, GL_EMISSION, {0, 0, 0, 1})",
                                     "glMaterialf(GL_FRONT, GL_SHININESS, 0)"));
    other.draw(&event);
    EXPECT_THAT(recorder.take(),
                testing::ElementsAre("glMaterialfv(GL_FRONT, GL_SPECULAR, {1, 1, 1, 1})"));
}

TEST_F(GLMaterialDrawing, AChangedColourShowsInTheNextFrame)
{
    GL_Material material;
    draw(material);
    VColor red(0xFFFF0000u);
    VActionEvent set(VActionEvent::SetColor, &red, 1);
    material.event(&set);
    draw(material);
    EXPECT_EQ(materialOf(GL_FRONT, GL_DIFFUSE), Vector4f(1, 0, 0, 1));
}

TEST_F(GLMaterialDrawing, ShininessOutOfRangeDoesNotLeaveTheLastOne)
{
    GL_Material before, material;
    before.setShininess(50);
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    for (const auto& [value, set] : {std::pair(500.0f, 128.0f), {-1, 0}, {nan, 0}}) {
        draw(before);
        material.setShininess(value);
        draw(material);
        EXPECT_EQ(shininessOf(GL_FRONT), set);
    }
}

TEST_F(GLMaterialDrawing, BindsTheTextureOfThePass)
{
    GL_Material material;
    giveTextures(material);
    for (const auto& [pass, texture] : {std::pair(-1, &map), {0, &map}, {1, &transparency}}) {
        draw(material, pass);
        EXPECT_EQ(unsigned(integer(GL_TEXTURE_BINDING_2D)), texture->textureId()) << pass;
        EXPECT_TRUE(glIsEnabled(GL_TEXTURE_2D));
    }
    draw(material, 2);
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D)) << "no third texture";
}

TEST_F(GLMaterialDrawing, WithoutATextureTurnsThemOff)
{
    GL_Material material;
    giveTextures(material);
    const auto isTextured = [&](int pass) {
        glEnable(GL_TEXTURE_2D);
        draw(material, pass);
        return bool(glIsEnabled(GL_TEXTURE_2D));
    };
    EXPECT_TRUE(isTextured(-1));
    viewer.setFlags(GL_Viewer::Textures, false);
    glBindTexture(GL_TEXTURE_2D, 0);
    EXPECT_FALSE(isTextured(-1));
    EXPECT_FALSE(isTextured(1));
    EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), 0);
    viewer.setFlags(GL_Viewer::Textures, true);
    material.textures().insert(0, nullptr);
    EXPECT_FALSE(isTextured(0));
    EXPECT_TRUE(isTextured(1));

    GL_Map missing;
    missing.setName("missing");
    material.textures().insert(0, &missing);
    EXPECT_FALSE(isTextured(-1)) << "nothing must show in the place of a missing image";
    GL_TextureReference reference;
    material.textures().insert(0, &reference);
    EXPECT_FALSE(isTextured(-1));
    reference.setObject(&map);
    EXPECT_TRUE(isTextured(-1));
    material.textures().clear();
    EXPECT_FALSE(isTextured(-1));
}

TEST_F(GLMaterialDrawing, BlendingBelongsToTheTexturedMaterial)
{
    GL_Material blended, plain;
    giveTextures(blended);
    blended.setFlags(GL_Material::Blend | 4u << GL_Material::sourceShift |
                     5u << GL_Material::destinationShift);
    draw(blended);
    EXPECT_TRUE(glIsEnabled(GL_BLEND));
    EXPECT_TRUE(glIsEnabled(GL_ALPHA_TEST));
    EXPECT_EQ(integer(GL_BLEND_SRC), GL_SRC_ALPHA);
    EXPECT_EQ(integer(GL_BLEND_DST), GL_ONE_MINUS_SRC_ALPHA);
    EXPECT_EQ(integer(GL_ALPHA_TEST_FUNC), GL_GEQUAL);
    float reference = 0;
    glGetFloatv(GL_ALPHA_TEST_REF, &reference);
    EXPECT_NEAR(reference, 0.9f, 1e-6);

    draw(plain);
    EXPECT_FALSE(glIsEnabled(GL_BLEND)) << "an untextured one after it";
    EXPECT_FALSE(glIsEnabled(GL_ALPHA_TEST));

    draw(blended);
    blended.setFlags(0);
    draw(blended);
    EXPECT_FALSE(glIsEnabled(GL_BLEND)) << "a textured one without blending";
    EXPECT_FALSE(glIsEnabled(GL_ALPHA_TEST));
}

TEST_F(GLMaterialDrawing, TheTransparentPassKeepsItsBlending)
{
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    GL_Material material;
    material.setFlags(GL_Material::Blend | 1u << GL_Material::sourceShift);
    draw(material, 1);
    giveTextures(material);
    draw(material, 1);
    EXPECT_TRUE(glIsEnabled(GL_BLEND));
    EXPECT_FALSE(glIsEnabled(GL_ALPHA_TEST));
    EXPECT_EQ(integer(GL_BLEND_SRC), GL_SRC_ALPHA);
}

TEST_F(GLMaterialDrawing, BlendFactorsByIndex)
{
    constexpr GLint factors[] = {
        GL_ZERO,
        GL_ONE,
        GL_SRC_COLOR,
        GL_ONE_MINUS_SRC_COLOR,
        GL_SRC_ALPHA,
        GL_ONE_MINUS_SRC_ALPHA,
        GL_DST_ALPHA,
        GL_ONE_MINUS_DST_ALPHA,
        GL_DST_COLOR,
        GL_ONE_MINUS_DST_COLOR,
        GL_SRC_ALPHA_SATURATE,
    };
    GL_Material material;
    giveTextures(material);
    for (unsigned i = 0; i < 16; ++i) {
        const unsigned other = i % 10;
        material.setFlags(GL_Material::Blend | i << GL_Material::sourceShift |
                          other << GL_Material::destinationShift);
        draw(material);
        EXPECT_EQ(integer(GL_BLEND_SRC), factors[std::min(i, 10u)]) << i;
        EXPECT_EQ(integer(GL_BLEND_DST), factors[other]) << i;
    }
}

TEST_F(GLMaterialDrawing, TheTexturesColoursReachThePicture)
{
    map.setColor1(VColor(0xFFFF0000u));
    map.setColor2(VColor(0xFF0000FFu));
    GL_Material material;
    giveTextures(material);
    const Picture pixels = picture([&](GL_RenderEvent&) {
        GL_RenderEvent event(&viewer, &scene);
        glDisable(GL_LIGHTING);
        material.draw(&event);
        glBegin(GL_QUADS);
        for (const auto& [x, y] : {std::pair(0, 0), {1, 0}, {1, 1}, {0, 1}}) {
            glTexCoord2i(x, y);
            glVertex2i(2 * x - 1, 2 * y - 1);
        }
        glEnd();
    });
    // Texels and pixels fall together, but for the linear filter at the edges of squares.
    EXPECT_EQ(at(pixels, 4, 4), 0xFF0000u);
    EXPECT_EQ(at(pixels, 12, 4), 0x0000FFu);
    EXPECT_EQ(at(pixels, 4, 12), 0x0000FFu);
    EXPECT_EQ(at(pixels, 60, 60), 0xFF0000u);
}
} // namespace
