#include "opengl/gllight.h"

#include "geometry/geometryprinters.h"
#include "kernel/vevent.h"
#include "opengl/keptvalues.h"
#include "opengl/nodestage.h"

#include <GL/gl.h>

#include <limits>
#include <memory>

using geometry::Box3f;
using geometry::Matrix4f;
using geometry::Vector3f;
using geometry::Vector4f;

namespace
{
constexpr unsigned on = GL_Light::On;
constexpr unsigned positional = GL_Light::Positional;

class GLLightFiles : public testing::TestWithParam<Kept>
{
};

INSTANTIATE_TEST_SUITE_P(
    Values, GLLightFiles,
    testing::Values(
        Kept{"nothing", &GL_Light::factory, "", "030200"},
        Kept{"colours", &GL_Light::factory,
             "name \"l\";\ncolor 0xff00ff00;\nflags 0x11;\nambient 0x0;\nspecular "
             "0xff0000ff;\n",
             "1313016c 42020500ff00ff00 03020111 800200 81020500ff0000ff"},
        Kept{"cone", &GL_Light::factory, "spotExponent 6;\nspotCutoff 0.5;\n",
             "030200 840903800103 85090380ff01"},
        Kept{"attenuation", &GL_Light::factory,
             "constantAttenuation 0.5;\nlinearAttenuation 6;\nquadraticAttenuation 0.5;\n",
             "030200 86090380ff01 870903800103 88090380ff01"}),
    nameOfKept);

TEST_P(GLLightFiles, WritesWhatDiffersAndReadsItBack)
{
    expectKept(GetParam());
}

TEST(GLLight, KeepsItsPlaceInBothForms)
{
    GL_Light light;
    readText(light, "position { 1, 2, 3 };direction { 0, 0, 0 };");
    EXPECT_EQ(textOf(light), "position { 1, 2, 3 };\ndirection { 0, 0, 0 };\n");
    throughFiles(light, [](const GL_Light& copy) {
        EXPECT_EQ(copy.position(), Vector3f(1, 2, 3));
        EXPECT_EQ(copy.direction(), Vector3f());
    });
}

TEST(GLLight, DiffuseIsTheColourAndWins)
{
    GL_Light light;
    readText(light, "diffuse 0xff112233;color 0xff445566;");
    EXPECT_EQ(textOf(light), "color 0xff112233;\n");
}

TEST(GLLight, TypeFollowsFlagAndCutoff)
{
    GL_Light light;
    light.setSpotCutoff(30);
    EXPECT_EQ(light.type(), GL_Light::Directional);
    light.setFlags(positional);
    EXPECT_EQ(light.type(), GL_Light::Spot);
    light.setSpotCutoff(180);
    EXPECT_EQ(light.type(), GL_Light::Point);
    light.setSpotCutoff(179.99f);
    EXPECT_EQ(light.type(), GL_Light::Spot);
}

TEST(GLLight, BoundsHoldTheDirectionUnlessItIsAPoint)
{
    GL_Light light;
    light.setPosition(Vector3f(1, 2, 3));
    light.setDirection(Vector3f(-4, 5, 0));
    Box3f box(0, 0, 0, 9, 9, 9);
    light.bounds(box);
    EXPECT_EQ(box, Box3f(-4, 2, 0, 1, 5, 3));
    light.setFlags(positional);
    light.bounds(box);
    EXPECT_EQ(box, Box3f(1, 2, 3, 1, 2, 3));
    light.setSpotCutoff(10);
    light.bounds(box);
    EXPECT_EQ(box, Box3f(-4, 2, 0, 1, 5, 3));
}

TEST(GLLight, TakesMatricesAsIfItShoneAlongMinusZ)
{
    GL_Light light;
    light.setPosition(Vector3f(1, 0, 0));
    light.setDirection(Vector3f(0, 0, -2));
    Matrix4f turn;
    turn.yrotate(float(M_PI / 2)); // z goes to x
    VActionEvent after(VActionEvent::TransformAfter, &turn);
    EXPECT_TRUE(light.event(&after));
    EXPECT_NEAR((light.position() - Vector3f(0, 0, -1)).length(), 0, 1e-5);
    EXPECT_NEAR((light.direction() - Vector3f(-2, 0, 0)).length(), 0, 1e-5);

    Matrix4f move;
    move.translate(0, 0, -3); // forward
    VActionEvent before(VActionEvent::TransformBefore, &move);
    EXPECT_TRUE(light.event(&before));
    EXPECT_NEAR((light.position() - Vector3f(-3, 0, -1)).length(), 0, 1e-5);

    Matrix4f matrix;
    VActionEvent get(VActionEvent::GetTransform, &matrix);
    EXPECT_TRUE(light.event(&get));
    EXPECT_NEAR((matrix.map(Vector3f(0, 0, -1)) - Vector3f(-4, 0, -1)).length(), 0, 1e-5);

    Matrix4f scaled;
    scaled.translate(7, 8, 9);
    scaled.scale(5);
    VActionEvent set(VActionEvent::SetTransform, &scaled);
    EXPECT_TRUE(light.event(&set));
    EXPECT_EQ(light.position(), Vector3f(7, 8, 9));
    EXPECT_NEAR((light.direction() - Vector3f(0, 0, -2)).length(), 0, 1e-5);

    VColor red(0xFFFF0000u);
    VActionEvent color(VActionEvent::SetColor, &red);
    EXPECT_TRUE(light.event(&color));
    EXPECT_EQ(light.color(), red);
}

class GLLightDrawing : public NodeStage
{
protected:
    void SetUp() override
    {
        NodeStage::SetUp();
        glDisable(GL_LIGHT0);
    }
    void draw(GL_Light& light)
    {
        GL_RenderEvent event(nullptr, &scene);
        light.draw(&event);
    }
    static Vector4f lightValue(GLenum name, unsigned number = 0)
    {
        Vector4f value;
        glGetLightfv(GL_LIGHT0 + number, name, &value.x);
        return value;
    }
    /// The plane z = 0, grey, in vertices so many that a cone's edge shows. As brightness by pixel.
    static Picture litPlane()
    {
        constexpr int steps = 32;
        const float black[] = {0, 0, 0, 1}, grey[] = {0.5f, 0.5f, 0.5f, 1};
        glLightModelfv(GL_LIGHT_MODEL_AMBIENT, black);
        glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, grey);
        glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, black);
        glEnable(GL_LIGHTING);
        glShadeModel(GL_SMOOTH);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glNormal3f(0, 0, 1);
        for (int y = 0; y < steps; ++y) {
            glBegin(GL_QUAD_STRIP);
            for (int x = 0; x <= steps; ++x)
                for (const int row : {y + 1, y})
                    glVertex2f(2.0f * float(x) / steps - 1, 2.0f * float(row) / steps - 1);
            glEnd();
        }
        Picture pixels(size * size);
        glReadPixels(0, 0, size, size, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        return pixels;
    }
    static bool isLit(const Picture& pixels, int x, int y) { return at(pixels, x, y) != 0; }
};

TEST_F(GLLightDrawing, InitSendsWhatItHas)
{
    GL_Light light;
    light.setFlags(positional);
    light.setColor(VColor(255, 0, 0));
    light.setAmbient(VColor(0, 255, 0, 0));
    light.setSpecular(VColor(0, 0, 255));
    light.setPosition(Vector3f(1, 2, 3));
    light.setDirection(Vector3f(0, 1, 0));
    light.setSpotExponent(5);
    light.setSpotCutoff(40);
    light.setConstantAttenuation(2);
    light.setLinearAttenuation(3);
    light.setQuadraticAttenuation(4);
    light.setNumber(2);
    GLRecorder recorder;
    light.init(&scene);
    EXPECT_THAT(recorder.take(),
                testing::ElementsAre("glLightfv(GL_LIGHT2, GL_AMBIENT, {0, 1, 0, 0})",
                                     "glLightfv(GL_LIGHT2, GL_DIFFUSE, {1, 0, 0, 1})",
                                     "glLightfv(GL_LIGHT2, GL_SPECULAR, {0, 0, 1, 1})",
                                     "glLightf(GL_LIGHT2, GL_SPOT_EXPONENT, 5)",
                                     "glLightf(GL_LIGHT2, GL_SPOT_CUTOFF, 40)",
                                     "glLightf(GL_LIGHT2, GL_CONSTANT_ATTENUATION, 2)",
                                     "glLightf(GL_LIGHT2, GL_LINEAR_ATTENUATION, 3)",
                                     "glLightf(GL_LIGHT2, GL_QUADRATIC_ATTENUATION, 4)",
                                     "glLightfv(GL_LIGHT2, GL_POSITION, {1, 2, 3, 1})",
                                     "glLightfv(GL_LIGHT2, GL_SPOT_DIRECTION, {0, 1, 0})"));
}

TEST_F(GLLightDrawing, EachFrameSetsSwitchAndPlace)
{
    GL_Light light;
    light.init(&scene);
    GL_RenderEvent event(nullptr, &scene);
    GLRecorder recorder;
    light.draw(&event);
    EXPECT_THAT(recorder.take(), testing::ElementsAre("glDisable(GL_LIGHT0)"));
    light.setFlags(on);
    light.setDirection(Vector3f(1, 2, 3));
    light.draw(&event);
    EXPECT_THAT(recorder.take(),
                testing::ElementsAre("glEnable(GL_LIGHT0)",
                                     "glLightfv(GL_LIGHT0, GL_POSITION, {-1, -2, -3, 0})"));
    light.setFlags(on | positional);
    light.setPosition(Vector3f(4, 5, 6));
    light.draw(&event);
    EXPECT_THAT(recorder.take(),
                testing::ElementsAre("glEnable(GL_LIGHT0)",
                                     "glLightfv(GL_LIGHT0, GL_POSITION, {4, 5, 6, 1})"));
}

TEST_F(GLLightDrawing, ChangesShowInTheNextFrame)
{
    GL_Light light;
    light.setFlags(on | positional);
    light.init(&scene);
    VColor red(0xFFFF0000u);
    VActionEvent set(VActionEvent::SetColor, &red);
    light.event(&set);
    draw(light);
    EXPECT_EQ(lightValue(GL_DIFFUSE), Vector4f(1, 0, 0, 1));
    light.setAmbient(VColor(0xFF00FF00u));
    light.setSpecular(VColor(0xFF0000FFu));
    light.setSpotCutoff(25);
    draw(light);
    EXPECT_EQ(lightValue(GL_AMBIENT), Vector4f(0, 1, 0, 1));
    EXPECT_EQ(lightValue(GL_SPECULAR), Vector4f(0, 0, 1, 1));
    EXPECT_EQ(lightValue(GL_SPOT_CUTOFF).x, 25);
}

TEST_F(GLLightDrawing, ValuesOutOfRangeDoNotLeaveTheLastOnes)
{
    GL_Light before, light;
    before.setFlags(positional);
    before.setSpotCutoff(10);
    before.setSpotExponent(10);
    before.setLinearAttenuation(10);
    light.setFlags(positional);
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    struct Case {
        float value;
        float cutoff;
        float exponent;
        float attenuation;
    };
    for (const Case& c : {Case{120, 90, 120, 120}, Case{-5, 0, 0, 0}, Case{nan, 0, 0, 0},
                          Case{500, 90, 128, 500}}) {
        before.init(&scene);
        light.setSpotCutoff(c.value);
        light.setSpotExponent(c.value);
        light.setLinearAttenuation(c.value);
        light.init(&scene);
        EXPECT_EQ(lightValue(GL_SPOT_CUTOFF).x, c.cutoff);
        EXPECT_EQ(lightValue(GL_SPOT_EXPONENT).x, c.exponent);
        EXPECT_EQ(lightValue(GL_LINEAR_ATTENUATION).x, c.attenuation);
    }
}

TEST_F(GLLightDrawing, NumbersBeyondTheLimitNeverReachGL)
{
    GLRecorder recorder;
    for (const unsigned beyond : {0u, 1u, 0xFFFFFFFFu - GL_Light::numberLimit}) {
        {
            GL_Light light;
            light.setFlags(on);
            light.setNumber(GL_Light::numberLimit + beyond);
            light.init(&scene);
            light.draw(nullptr);
        }
        EXPECT_EQ(recorder.take().empty(), beyond != 0) << beyond;
    }
    while (glGetError() != GL_NO_ERROR) // GL has fewer lights
        continue;
}

TEST_F(GLLightDrawing, TheDestructorTurnsItOff)
{
    {
        GL_Light light;
        light.setFlags(on);
        light.setNumber(3);
        draw(light);
        EXPECT_TRUE(glIsEnabled(GL_LIGHT3));
    }
    EXPECT_FALSE(glIsEnabled(GL_LIGHT3));
}

TEST_F(GLLightDrawing, ASpotLightsWhatItPointsAt)
{
    GL_Light light;
    light.setFlags(on | positional);
    light.setPosition(Vector3f(0, 0, 1));
    light.setDirection(Vector3f(0.5f, 0, -1));
    light.setSpotCutoff(20); // a spot of about 0.3 to 0.5 around (0.5, 0)
    light.init(&scene);
    draw(light);
    Picture pixels = litPlane();
    EXPECT_TRUE(isLit(pixels, 48, 32));
    EXPECT_TRUE(isLit(pixels, 44, 32));
    EXPECT_FALSE(isLit(pixels, 24, 32));
    EXPECT_FALSE(isLit(pixels, 48, 56));
    EXPECT_FALSE(isLit(pixels, 48, 8));

    // It stays fixed in the world when the view turns: x goes up.
    glRotatef(90, 0, 0, 1);
    draw(light);
    pixels = litPlane();
    EXPECT_TRUE(isLit(pixels, 32, 48));
    EXPECT_FALSE(isLit(pixels, 48, 32));
    EXPECT_FALSE(isLit(pixels, 32, 24));
}

TEST_F(GLLightDrawing, APointLightsAllAround)
{
    GL_Light light;
    light.setFlags(on | positional);
    light.setPosition(Vector3f(0.5f, 0, 0.5f));
    light.setDirection(Vector3f(0, 0, 1)); // has no meaning
    draw(light);
    const Picture pixels = litPlane();
    EXPECT_TRUE(isLit(pixels, 2, 2));
    // 0.5 of the surface's grey by the cosine.
    EXPECT_NEAR(double(at(pixels, 48, 32) & 255), 127.5, 3);
    const double cosine = 0.5 / std::hypot(0.5, 1.0);
    EXPECT_NEAR(double(at(pixels, 16, 32) & 255), 127.5 * cosine, 3);
}

TEST_F(GLLightDrawing, ADirectionalLightShinesAlongItsDirectionWhateverItsCone)
{
    GL_Light light;
    light.setFlags(on);
    light.setPosition(Vector3f(0, 0, -5));
    light.setDirection(Vector3f(3, 0, -4));
    light.setSpotCutoff(5);
    light.init(&scene);
    draw(light);
    const Picture pixels = litPlane();
    EXPECT_NEAR(double(at(pixels, 2, 2) & 255), 127.5 * 0.8, 2);
    EXPECT_NEAR(double(at(pixels, 60, 60) & 255), 127.5 * 0.8, 2);
    light.setDirection(Vector3f(0, 0, 1));
    draw(light);
    EXPECT_FALSE(isLit(litPlane(), 32, 32)) << "from behind";
}

TEST_F(GLLightDrawing, TheGlyphShowsPlaceAndDirection)
{
    GL_Light light;
    light.setPosition(Vector3f(0.5f, 0.5f, 0));
    light.setDirection(Vector3f(-8, 0, 0));
    const auto glyph = [&] {
        return picture([&](GL_RenderEvent& event) {
            glDisable(GL_LIGHTING);
            light.drawShape(&event);
        });
    };
    struct Case {
        unsigned flags;
        float cutoff;
        bool points; ///< along its direction
    };
    for (const Case& c :
         {Case{0, 180, true}, Case{positional, 180, false}, Case{positional, 30, true}}) {
        light.setFlags(c.flags);
        light.setSpotCutoff(c.cutoff);
        const Picture pixels = glyph();
        int left = 0, right = 0;
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < 44; ++x) // 48 is the place, less the radius
                left += isLit(pixels, x, y);
            for (int x = 52; x < size; ++x)
                right += isLit(pixels, x, y);
        }
        EXPECT_EQ(left > 3, c.points) << c.flags;
        EXPECT_LT(right, 3);
    }
    Matrix4f matrix;
    glGetFloatv(GL_MODELVIEW_MATRIX, &matrix.m[0][0]);
    EXPECT_EQ(matrix, Matrix4f()) << "the matrix is put back";
    scene.setCurrentObject(&light);
    const Picture current = glyph();
    EXPECT_NE(std::find(current.begin(), current.end(), 0xFF00FF00u), current.end());
    scene.setCurrentObject(nullptr);
    const Picture other = glyph();
    EXPECT_NE(std::find(other.begin(), other.end(), 0xFFFFFFFFu), other.end());
    EXPECT_EQ(std::find(other.begin(), other.end(), 0xFF00FF00u), other.end());
}

TEST_F(GLLightDrawing, TheGlyphCanBePicked)
{
    GL_Light light;
    EXPECT_EQ(hits(light), (std::vector<std::vector<unsigned>>{{7}}));
    light.setPosition(Vector3f(30, 0, 0));
    EXPECT_TRUE(hits(light).empty());
}
} // namespace
