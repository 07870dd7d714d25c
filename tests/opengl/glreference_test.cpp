#include "opengl/glreference.h"

#include "kernel/vevent.h"
#include "opengl/glgroup.h"
#include "opengl/nodefiles.h"
#include "opengl/nodestage.h"
#include "support/warnings.h"

using geometry::Box3f;
using geometry::Matrix4f;
using geometry::Vector3f;
using testing::ElementsAre;

namespace
{
Matrix4f translation(float x, float y, float z)
{
    Matrix4f matrix;
    matrix.translate(x, y, z);
    return matrix;
}

template <class T>
T* addTo(GL_ObjectList& list, const char* name)
{
    T* const object = new T;
    object->setName(name);
    list.append(object);
    return object;
}

GL_Reference* addReference(GL_Group& group, GL_Object* target, float x)
{
    auto* const reference = new GL_Reference;
    reference->setObject(target);
    reference->setTransform(translation(x, 0, 0));
    group.children().append(reference);
    return reference;
}
} // namespace

TEST(GL_Reference, FindsItsTargetInTheLibrary)
{
    GL_Scene scene;
    auto* const block = addTo<GL_Block>(scene.library(), "block");
    GL_Reference reference;
    readText(reference, "object \"block\"; layerColor 0xff102030;", &scene);
    EXPECT_EQ(reference.object(), block);
    EXPECT_EQ(reference.layerColor(), VColor(0xFF102030u));
    EXPECT_TRUE(reference.testFlags(GL_Object::BlockTarget));
    EXPECT_EQ(textOf(reference), "object \"block\";\nlayerColor 0xff102030;\n");
    EXPECT_EQ(bytesOf(reference), "030200"
                                  "131305626c6f636b"
                                  "80020500ff102030");
    throughFiles(
        reference, [&](const GL_Reference& copy) { EXPECT_EQ(copy.object(), block); }, &scene);
    block->setName("renamed");
    EXPECT_STREQ(reference.objectName(), "renamed"); // or a save would lose the target
}

TEST(GL_Reference, KeepsTheNameOfATargetThatComesLater)
{
    GL_Scene scene;
    GL_Reference reference;
    readText(reference, "object \"late\"; flags 0x40000000;", &scene);
    EXPECT_EQ(reference.object(), nullptr);
    EXPECT_FALSE(reference.testFlags(GL_Object::BlockTarget)); // whatever the file says
    EXPECT_EQ(textOf(reference), "object \"late\";\n");
    reference.init(&scene);
    EXPECT_EQ(reference.object(), nullptr);
    auto* const late = addTo<GL_Group>(scene.library(), "late");
    reference.init(&scene);
    EXPECT_EQ(reference.object(), late);
    addTo<GL_Block>(scene.library(), "late");
    reference.init(&scene); // keeps what it has
    EXPECT_EQ(reference.object(), late);
    EXPECT_FALSE(reference.testFlags(GL_Object::BlockTarget));
}

TEST(GL_Reference, DropsTheNameWithoutAScene)
{
    GL_Reference reference;
    readText(reference, "object \"any\";");
    EXPECT_EQ(textOf(reference), "");
}

TEST(GL_Reference, StoresItsMatrixAsShapesDo)
{
    GL_Reference reference;
    reference.setTransform(translation(1, 2, 3));
    EXPECT_EQ(bytesOf(reference).substr(0, 8), "030200f9");
    const auto isSame = [&](const GL_Reference& copy) {
        for (int i = 0; i < 16; ++i)
            EXPECT_NEAR(copy.transform().m[i / 4][i % 4], reference.transform().m[i / 4][i % 4],
                        1e-5);
    };
    throughFiles(reference, isSame);
    Matrix4f turned;
    turned.xrotate(0.5f);
    reference.setTransform(turned);
    throughFiles(reference, isSame);
}

TEST(GL_Reference, CoversItsTargetWhereItStands)
{
    TestBox target(1);
    GL_Reference reference;
    Box3f box(-7, -7, -7, 7, 7, 7);
    reference.bounds(box);
    EXPECT_EQ(box, Box3f(-7, -7, -7, 7, 7, 7)); // nothing is known of it
    reference.setObject(&target);
    reference.setTransform(translation(5, 0, 0));
    reference.bounds(box);
    EXPECT_EQ(box, Box3f(4, -1, -1, 6, 1, 1));
    target.place(0, 1, 0);
    reference.bounds(box);
    EXPECT_EQ(box, Box3f(4, 0, -1, 6, 2, 1));
    reference.setObject(nullptr);
}

TEST(GL_Reference, FollowsTargetsThatTellNothingOfTheirChanges)
{
    struct Restless : GL_Object {
        void bounds(Box3f& box) const override { box = Box3f(0, 0, 0, width, 1, 1); }
        float width = 1;
    };
    GL_Group target;
    auto* const restless = new Restless;
    target.children().append(restless);
    GL_Reference reference;
    reference.setObject(&target);
    Box3f box;
    reference.bounds(box);
    EXPECT_EQ(box.max.x, 1);
    restless->width = 3;
    reference.bounds(box);
    EXPECT_EQ(box.max.x, 3);
}

class GL_ReferenceDrawing : public NodeStage
{
};

TEST_F(GL_ReferenceDrawing, DrawsItsTargetElsewhere)
{
    TestBox target(0.25f);
    GL_Reference reference;
    EXPECT_EQ(litPixels(pictureOf(reference)), 0);
    reference.setObject(&target);
    reference.setTransform(translation(0.5f, 0, 0));
    const Picture pixels = pictureOf(reference);
    EXPECT_NE(at(pixels, 48, 32), 0u);
    EXPECT_EQ(at(pixels, 30, 32), 0u);
    GL_RenderEvent event(nullptr, &scene);
    EXPECT_TRUE(reference.shouldRender(&event));
    event.pass = 1;
    EXPECT_FALSE(reference.shouldRender(&event));
    event.pass = -1;
    EXPECT_FALSE(GL_Reference().shouldRender(&event));
}

TEST_F(GL_ReferenceDrawing, PassesItsColoursToABlock)
{
    GL_Block block;
    auto* const box = new TestBox;
    box->setFlags(box->flags() | 1);
    block.children().append(box);
    GL_Reference reference;
    reference.setObject(&block);
    reference.setColor(VColor(0xFF112233u));
    reference.setLayerColor(VColor(0xFF445566u));
    pictureOf(reference);
    EXPECT_EQ(block.color(), VColor(0xFF112233u));
    EXPECT_EQ(box->color(), VColor(0xFF445566u));
}

TEST_F(GL_ReferenceDrawing, IsPickedAsOneNode)
{
    GL_Group top, target;
    for (int i = 0; i < 2; ++i)
        target.children().append(new TestBox(0.1f));
    addReference(top, &target, 5); // outside
    addReference(top, &target, 0);
    EXPECT_THAT(hits(top), ElementsAre(std::vector<unsigned>{7, 1}));
}

TEST_F(GL_ReferenceDrawing, FramesTheSelected)
{
    TestBox target(0.25f);
    GL_Reference reference;
    reference.setObject(&target);
    reference.setFlags(GL_Object::Selected, true);
    const auto frame = [&](int pass) {
        GLRecorder gl;
        picture([&](GL_RenderEvent& event) {
            event.pass = pass;
            reference.draw(&event);
        });
        return gl.take({"glPointSize", "glBegin"});
    };
    const std::string target_ = "glBegin(GL_QUADS)", loop = "glBegin(GL_LINE_LOOP)",
                      lines = "glBegin(GL_LINES)";
    EXPECT_THAT(frame(0), ElementsAre(target_, loop, lines));
    scene.setCurrentObject(&reference);
    EXPECT_THAT(frame(-1),
                ElementsAre(target_, loop, lines, "glPointSize(4)", "glBegin(GL_POINTS)"));
    EXPECT_THAT(frame(1), ElementsAre(target_));
    scene.setCurrentObject(nullptr);
}

TEST_F(GL_ReferenceDrawing, EndsInACircle)
{
    GL_Block block;
    TestBox* const box = new TestBox(0.01f);
    block.children().append(box);
    addReference(block, &block, 0.001f);
    WarningCatcher warnings;
    pictureOf(block);
    EXPECT_EQ(box->drawn, 257);
    pictureOf(block);
    EXPECT_EQ(warnings.text(), QLatin1String("GL_Traversal::enterReference: Only 256 references "
                                             "behind one another are drawn")); // once a scene
    EXPECT_EQ(hits(block).size(), 2u);
    Box3f bounds;
    block.bounds(bounds);
    EXPECT_NEAR(bounds.max.x, 0.01f + 0.256f, 1e-4);
    // References to nothing but each other.
    GL_Reference a, b;
    a.setObject(&b);
    b.setObject(&a);
    a.bounds(bounds);
    EXPECT_TRUE(bounds.isEmpty());
    GL_RenderEvent event(nullptr, &scene);
    EXPECT_FALSE(a.shouldRender(&event));
    pictureOf(a);
}

TEST(GL_Reference, MeasuresADoublingLibraryOnce)
{
    constexpr int levels = 60;
    GL_Block blocks[levels];
    TestBox* const box = new TestBox(0.01f);
    blocks[levels - 1].children().append(box);
    for (int i = 0; i + 1 < levels; ++i)
        for (const float x : {-0.001f, 0.001f})
            addReference(blocks[i], &blocks[i + 1], x);
    Box3f bounds;
    blocks[0].bounds(bounds);
    EXPECT_NEAR(bounds.max.x, 0.01f + 0.059f, 1e-4);
    blocks[levels - 1].children().append(new TestBox(0.5f));
    blocks[0].bounds(bounds);
    EXPECT_NEAR(bounds.max.x, 0.5f + 0.059f, 1e-4);
}
