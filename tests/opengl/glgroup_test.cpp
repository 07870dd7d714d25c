#include "opengl/glgroup.h"

#include "kernel/vevent.h"
#include "opengl/glreference.h"
#include "opengl/nodefiles.h"
#include "opengl/nodestage.h"

using geometry::Box3f;
using geometry::Matrix4f;
using geometry::Vector2i;
using geometry::Vector3f;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
TestBox* addBox(GL_Group& group, float x, float y, float z, float half = 0.1f)
{
    auto* const box = new TestBox(half);
    box->place(x, y, z);
    group.children().append(box);
    return box;
}

Matrix4f translation(float x, float y, float z)
{
    Matrix4f matrix;
    matrix.translate(x, y, z);
    return matrix;
}

void expectBox(const GL_Object& object, const Box3f& expected)
{
    Box3f box(-9, -9, -9, 9, 9, 9);
    object.bounds(box);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(box.min[i], expected.min[i], 1e-5) << i;
        EXPECT_NEAR(box.max[i], expected.max[i], 1e-5) << i;
    }
}
} // namespace

TEST(GL_Group, KeepsItsChildrenInFiles)
{
    GL_Group group;
    auto* const inner = new GL_Block;
    inner->setName("inner");
    auto* const leaf = new GL_Joint;
    leaf->setName("leaf");
    leaf->setSize(2);
    inner->children().append(leaf);
    group.children().append(inner);
    group.children().append(new GL_Reference);
    throughFiles(group, [](const GL_Group& copy) {
        ASSERT_EQ(copy.children().count(), 2u);
        const GL_Object* const first = copy.children().getFirst();
        EXPECT_STREQ(first->className(), "GL_Block");
        EXPECT_EQ(first->parent(), &copy);
        EXPECT_STREQ(copy.children().getLast()->className(), "GL_Reference");
        const GL_Object* const found = copy.children().findPath("inner/leaf");
        ASSERT_TRUE(found);
        EXPECT_STREQ(found->className(), "GL_Joint");
        EXPECT_EQ(static_cast<const GL_Joint*>(found)->size(), 2);
    });
    EXPECT_EQ(bytesOf(group).substr(0, 8), "03020031");
    EXPECT_EQ(textOf(GL_Group()), "");
}

TEST(GL_Group, IdentifiesByPath)
{
    GL_Group group;
    auto* const inner = new GL_Group;
    TestBox* const box = addBox(*inner, 0, 0, 0);
    group.children().append(new TestBox);
    group.children().append(inner);
    unsigned path[] = {1, 0, 5};
    EXPECT_EQ(group.identify(path, 0), &group);
    EXPECT_EQ(group.identify(nullptr, 0), &group);
    EXPECT_EQ(group.identify(path, 1), inner);
    EXPECT_EQ(group.identify(path, 2), box);
    EXPECT_EQ(group.identify(path, 3), box); // what goes on below names a part of it
    unsigned beyond[] = {1, 1};
    EXPECT_EQ(group.identify(beyond, 2), nullptr);
    unsigned negative[] = {0xFFFFFFFFu};
    EXPECT_EQ(group.identify(negative, 1), nullptr);
    EXPECT_EQ(group.identify(nullptr, 1), nullptr);
}

TEST(GL_Group, OffersEventsToEveryChild)
{
    GL_Group group;
    group.children().append(new GL_Group);
    TestBox* const first = addBox(group, 0, 0, 0);
    TestBox* const second = addBox(group, 0, 1, 0);
    Matrix4f move = translation(1, 0, 0);
    VActionEvent event(1002, &move);
    EXPECT_TRUE(group.event(&event));
    EXPECT_EQ(Vector3f() * first->transform(), Vector3f(1, 0, 0));
    EXPECT_EQ(Vector3f() * second->transform(), Vector3f(1, 1, 0));
    VColor color(0xFF123456u);
    VActionEvent paint(1013, &color);
    EXPECT_TRUE(group.event(&paint)); // the group takes it itself
    EXPECT_EQ(group.color(), color);
    EXPECT_NE(first->color(), color);
    VActionEvent text(1015, &color);
    EXPECT_FALSE(group.event(&text));
}

TEST(GL_Joint, TakesMatrixEventsForItself)
{
    GL_Joint joint;
    TestBox* const box = addBox(joint, 0, 0, 0);
    Matrix4f move = translation(1, 0, 0);
    VActionEvent event(1002, &move);
    EXPECT_TRUE(joint.event(&event));
    EXPECT_EQ(Vector3f() * joint.transform(), Vector3f(1, 0, 0));
    EXPECT_TRUE(box->transform().isIdentity());
}

TEST(GL_Joint, WritesMatrixAndSizeUnlessTheyAreTheDefaults)
{
    GL_Joint joint;
    EXPECT_EQ(textOf(joint), "");
    EXPECT_EQ(bytesOf(joint), "030200");
    joint.setSize(0.25f);
    EXPECT_EQ(textOf(joint), "size 0.25;\n");
    EXPECT_EQ(bytesOf(joint).substr(0, 8), "03020080");
    joint.setTransform(translation(1, 2, 3));
    joint.setFlags(GL_Object::Bones, true);
    throughFiles(joint, [](const GL_Joint& copy) {
        EXPECT_EQ(copy.size(), 0.25f);
        EXPECT_EQ(copy.transform(), translation(1, 2, 3));
        EXPECT_TRUE(copy.testFlags(GL_Object::Bones));
    });
}

TEST(GL_Joint, MultipliesMatricesUpToTheRoot)
{
    GL_Joint root;
    Matrix4f turn;
    turn.zrotate(0, 1); // x goes to y
    root.setTransform(turn);
    auto* const group = new GL_Group;
    root.children().append(group);
    TestBox* const box = addBox(*group, 1, 0, 0);
    Matrix4f matrix;
    EXPECT_TRUE(box->hasTransform(matrix));
    const Vector3f corner = Vector3f(0, 1, 0) * matrix;
    EXPECT_NEAR(corner.x, -1, 1e-6);
    EXPECT_NEAR(corner.y, 1, 1e-6);
    Matrix4f untouched;
    EXPECT_TRUE(group->hasTransform(untouched)); // the parent's
    EXPECT_FALSE(GL_Group().hasTransform(untouched));
}

TEST(GL_Group, CoversItsChildren)
{
    GL_Group group;
    expectBox(group, Box3f());
    addBox(group, 1, 2, 3, 1);
    addBox(group, -1, 0, 0, 0.5f);
    group.children().append(new GL_Group);
    expectBox(group, Box3f(-1.5f, -0.5f, -0.5f, 2, 3, 4));

    GL_Joint joint;
    Matrix4f matrix = translation(10, 0, 0);
    matrix.scale(2);
    joint.setTransform(matrix);
    expectBox(joint, Box3f(9.5f, -0.5f, -0.5f, 10.5f, 0.5f, 0.5f)); // the size isn't scaled
    addBox(joint, 1, 0, 0, 1);
    expectBox(joint, Box3f(9.5f, -2, -2, 14, 2, 2));
}

class GL_GroupDrawing : public NodeStage
{
};

TEST_F(GL_GroupDrawing, SetsParentsAndInitialisesAll)
{
    struct Counting : GL_Object {
        void init(GL_Scene*) override { ++calls; }
        int calls = 0;
    };
    GL_Group group;
    auto* const inner = new GL_Group;
    auto* const leaf = new Counting;
    inner->children().append(leaf);
    group.children().append(inner);
    group.init(&scene);
    group.init(&scene);
    EXPECT_EQ(leaf->calls, 2);
    EXPECT_EQ(leaf->parent(), inner);
    EXPECT_EQ(inner->parent(), &group);
}

TEST_F(GL_GroupDrawing, DrawsWhatTakesPartInOrder)
{
    struct Opaque : GL_Object {
        explicit Opaque(std::vector<int>& order, int number) : m_order(order), m_number(number) {}
        void draw(GL_RenderEvent*) override { m_order.push_back(m_number); }
        std::vector<int>& m_order;
        int m_number;
    };
    std::vector<int> order;
    GL_Group group;
    for (int i = 0; i < 3; ++i)
        group.children().append(new Opaque(order, i));
    GL_RenderEvent event(nullptr, &scene);
    group.draw(&event);
    EXPECT_THAT(order, ElementsAre(0, 1, 2));
    event.pass = 1;
    group.draw(&event);
    EXPECT_EQ(order.size(), 3u);
    EXPECT_TRUE(group.shouldRender(&event));
}

TEST_F(GL_GroupDrawing, ShowsOtherNodesTheStateFromBeforeTheShapes)
{
    struct Watcher : GL_Object {
        void draw(GL_RenderEvent*) override
        {
            ++calls;
            culled = glIsEnabled(GL_CULL_FACE);
            glGetFloatv(GL_CURRENT_NORMAL, normal);
            glGetFloatv(GL_CURRENT_COLOR, color);
            glColor4f(0, 1, 0, 1); // and leaves this, for the shapes to put back
        }
        int calls = 0;
        bool culled = true;
        GLfloat normal[4] = {}, color[4] = {};
    };
    GL_Group group;
    for (int i = 0; i < 2; ++i) {
        TestBox* const box = addBox(group, 0, 0, 0);
        box->setFlags(GL_Shape::Lit, i == 0);
        box->setColor(VColor(0xFFFF0000u));
        group.children().append(new Watcher);
    }
    glNormal3f(0, 1, 0);
    glColor4f(0, 0, 1, 1);
    pictureOf(group);
    for (unsigned i = 0; i < 2; ++i) {
        const auto& watcher = *static_cast<Watcher*>(group.children().at(2 * i + 1));
        EXPECT_EQ(watcher.calls, 1);
        EXPECT_FALSE(watcher.culled) << i;
        EXPECT_EQ(watcher.normal[1], 1) << i;
        EXPECT_EQ(watcher.color[0], 0) << i;
        EXPECT_EQ(watcher.color[1], float(i)) << i;
        EXPECT_EQ(watcher.color[2], float(1 - i)) << i;
    }
}

TEST_F(GL_GroupDrawing, NamesChildrenByIndex)
{
    struct Hidden : GL_Object {
        bool shouldRender(GL_RenderEvent*) const override { return false; }
    };
    GL_Group group;
    addBox(group, 5, 0, 0); // outside, but it counts
    group.children().append(new Hidden);
    auto* const inner = new GL_Group;
    addBox(*inner, 0, 0.5f, 0);
    addBox(*inner, 0, -3, 0);
    addBox(*inner, 0, -0.5f, 0);
    group.children().append(inner);
    addBox(group, 0.5f, 0, 0);
    using Path = std::vector<unsigned>;
    EXPECT_THAT(hits(group), ElementsAre(Path{7, 2, 0}, Path{7, 2, 2}, Path{7, 3}));
    GLRecorder gl;
    hits(group);
    EXPECT_EQ(gl.count("glPushName"), 3); // with the one of the top level
    EXPECT_EQ(gl.count("glPopName"), 3);
}

TEST_F(GL_GroupDrawing, HandsColoursDownFromABlock)
{
    const VColor own(0xFF000001u), layer(0xFF000002u), block(0xFF000003u);
    for (unsigned source = 0; source < 4; ++source) {
        GL_Block group;
        group.setColor(block);
        group.setLayerColor(layer);
        auto* const box = new TestBox;
        auto* const target = new TestBox;
        auto* const reference = new GL_Reference;
        scene.library().append(target);
        reference->setObject(target);
        for (GL_Object* child :
             {static_cast<GL_Object*>(box), static_cast<GL_Object*>(reference)}) {
            child->setColor(own);
            child->setFlags((child->flags() & ~3u) | source);
            group.children().append(child);
        }
        pictureOf(group);
        const VColor expected[] = {own, layer, block, own};
        EXPECT_EQ(box->color(), expected[source]) << source;
        EXPECT_EQ(reference->color(), expected[source]) << source;
        EXPECT_EQ(reference->layerColor(), source ? layer : VColor(0u)) << source;
    }
}

TEST_F(GL_GroupDrawing, DrawsASkeleton)
{
    GL_Joint root;
    root.setSize(0.25f);
    root.setColor(VColor(0xFF00FF00u));
    root.setFlags(GL_Object::Bones, true);
    auto* const far = new GL_Joint;
    far->setTransform(translation(0, 0, 2));
    far->setColor(VColor(0xFF0000FFu));
    far->setFlags(GL_Object::Bones, true);
    auto* const near = new GL_Joint; // too near for a bone
    near->setTransform(translation(0.5f, 0, 0));
    near->setFlags(GL_Object::Bones, true);
    near->setColor(VColor(0xFFFF0000u));
    root.children().append(far);
    root.children().append(near);
    setProjection([] { glOrtho(-4, 4, -4, 4, -4, 4); });
    const auto calls = [&](int pass) {
        GLRecorder gl;
        picture([&](GL_RenderEvent& event) {
            event.pass = pass;
            root.draw(&event);
        });
        return gl.take({"glBegin", "glColor4fv", "glVertex3fv"});
    };
    const std::string loop = "glBegin(GL_LINE_LOOP)", lines = "glBegin(GL_LINES)";
    const std::string green = "glColor4fv({0, 1, 0, 1})", blue = "glColor4fv({0, 0, 1, 1})",
                      red = "glColor4fv({1, 0, 0, 1})";
    const std::string a = "glVertex3fv({-0.25, 0, 0})", b = "glVertex3fv({0, 0.25, 0})",
                      c = "glVertex3fv({0.25, 0, 0})", d = "glVertex3fv({0, -0.25, 0})";
    EXPECT_THAT(calls(-1), ElementsAre(blue, loop, loop, loop,                     // the far joint
                                       green, loop, a, b, c, d, lines, a, b, c, d, // its bone
                                       red, loop, loop, loop, green, green, loop, loop, loop));
    EXPECT_THAT(calls(1), IsEmpty()); // the transparent pass shows no skeleton
    EXPECT_TRUE(root.testFlags(GL_Object::Bones));
    far->setFlags(GL_Object::Bones, false);
    root.setFlags(GL_Object::Bones, false);
    near->setFlags(GL_Object::Bones, false);
    EXPECT_THAT(calls(-1), IsEmpty());
}

TEST_F(GL_GroupDrawing, PointsBonesAtTheirJoints)
{
    // Seen along z: the tip ends before the child's marker at (2, 0), in the direction of x.
    GL_Joint root;
    root.setSize(0.25f);
    root.setFlags(GL_Object::Bones, true);
    auto* const child = new GL_Joint;
    child->setSize(0);
    child->setTransform(translation(2, 0, 0));
    root.children().append(child);
    setProjection([] { glOrtho(-0.5, 3.5, -2, 2, -4, 4); });
    const Picture pixels = pictureOf(root);
    EXPECT_EQ(at(pixels, 0, 31), 0u);
    int last = 0;
    for (int x = 0; x < size; ++x)
        for (int y = 24; y < 40; ++y)
            if (at(pixels, x, y))
                last = x;
    EXPECT_NEAR(last, (1.75 + 0.5) * 16, 1.5); // 0.25 + 2 - 2 * 0.25
}

TEST_F(GL_GroupDrawing, PicksSkeletonsThatDoNotShow)
{
    GL_Group top;
    auto* const joint = new GL_Joint;
    joint->setTransform(translation(0.5f, 0, 0));
    joint->setSize(0.1f);
    addBox(*joint, 0, 0, 0, 0.05f);
    top.children().append(joint);
    using Path = std::vector<unsigned>;
    EXPECT_THAT(hits(top), ElementsAre(Path{7, 0}, Path{7, 0, 0}));
}

TEST_F(GL_GroupDrawing, DragsEveryChild)
{
    GL_Viewer viewer;
    viewer.setScene(&scene);
    viewer.setProjection(0);
    viewer.reshape(100, 100);
    GL_Group group;
    EXPECT_FALSE(group.drag(&viewer, Vector2i(0, 0), Vector2i(50, 0)));
    TestBox* const box = addBox(group, 0, 0, 0);
    group.children().append(new GL_Object);
    auto* const joint = new GL_Joint;
    joint->setTransform(translation(0, 1, 0));
    TestBox* const held = addBox(*joint, 0, 0, 0);
    group.children().append(joint);
    EXPECT_TRUE(group.drag(&viewer, Vector2i(0, 0), Vector2i(50, 0)));
    EXPECT_NEAR((Vector3f() * box->transform()).x, 1, 1e-4);
    EXPECT_NEAR((Vector3f() * joint->transform()).x, 1, 1e-4);
    EXPECT_TRUE(held->transform().isIdentity());
}
