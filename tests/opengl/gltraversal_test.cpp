#include "opengl/gltraversal.h"

#include "opengl/glreference.h"
#include "opengl/nodestage.h"
#include "support/warnings.h"

#include <random>

using geometry::Box3f;
using geometry::Matrix4f;
using geometry::Vector3f;
using testing::IsEmpty;

namespace
{
using Path = std::vector<unsigned>;

/// A chain of groups of this depth, each with one box and, before it, the next group.
struct Chain {
    explicit Chain(int depth)
    {
        GL_Group* group = &root;
        for (int i = 1; i < depth; ++i) {
            auto* const next = new GL_Group;
            group->children().append(next);
            boxes.push_back(new TestBox(0.1f));
            group->children().append(boxes.back());
            group = next;
        }
        boxes.push_back(new TestBox(0.1f));
        group->children().append(boxes.back());
    }
    int drawn() const
    {
        int count = 0;
        for (const TestBox* box : boxes)
            count += box->drawn;
        return count;
    }
    GL_Group root;
    std::vector<TestBox*> boxes;
};

/// Boxes that nothing is known of, so that none is passed over.
class Opaque : public TestBox
{
public:
    Opaque() : TestBox(0.3f, false) { setExtent(Unknown); }
};

Matrix4f randomMatrix(std::mt19937& random, float reach)
{
    std::uniform_real_distribution<float> unit(-1, 1);
    Matrix4f matrix;
    matrix.translate(reach * unit(random), reach * unit(random), reach * unit(random));
    matrix.xrotate(3 * unit(random));
    matrix.yrotate(3 * unit(random));
    matrix.scale(unit(random) < -0.5f ? -1.0f : 1.0f, 1 + unit(random) * 0.8f, 1);
    return matrix;
}

/// The same nodes from the same start value: joints, groups and boxes.
template <class B>
void grow(GL_Group& group, std::mt19937& random, int levels)
{
    for (int i = 0; i < 5; ++i) {
        const unsigned kind = random() % 4;
        if (levels > 0 && kind == 0) {
            auto* const joint = new GL_Joint;
            joint->setTransform(randomMatrix(random, 1.5f));
            joint->setFlags(GL_Object::Bones, random() % 2);
            group.children().append(joint);
            grow<B>(*joint, random, levels - 1);
        } else if (levels > 0 && kind == 1) {
            auto* const inner = new GL_Group;
            group.children().append(inner);
            grow<B>(*inner, random, levels - 1);
        } else {
            auto* const box = new B;
            box->resize(0.3f, false);
            box->setTransform(randomMatrix(random, 3));
            box->setColor(VColor(0xFF000000u | (random() & 0xFFFFFF)));
            box->setFlags(GL_Object::Selected, random() % 5 == 0);
            group.children().append(box);
        }
    }
}

template <class F>
void forEachBox(GL_Group& group, F call)
{
    for (GL_Object* child : group.children()) {
        if (auto* const inner = dynamic_cast<GL_Group*>(child))
            forEachBox(*inner, call);
        else
            call(*static_cast<TestBox*>(child));
    }
}
} // namespace

class GL_TraversalTest : public NodeStage
{
};

TEST_F(GL_TraversalTest, KeepsTheMatrixBesideGl)
{
    glTranslatef(1, 2, 3);
    GL_Traversal traversal(&scene);
    const Matrix4f start = traversal.matrix();
    EXPECT_EQ(start.m[3][1], 2);
    Matrix4f mirror;
    mirror.scale(1, 1, -1);
    for (int i = 0; i < 100; ++i) // GL has 32
        traversal.push(mirror);
    Matrix4f inGl;
    glGetFloatv(GL_MODELVIEW_MATRIX, inGl.m[0]);
    EXPECT_EQ(inGl, traversal.matrix());
    EXPECT_FALSE(traversal.isMirrored());
    traversal.pop();
    EXPECT_TRUE(traversal.isMirrored());
    for (int i = 0; i < 99; ++i)
        traversal.pop();
    glGetFloatv(GL_MODELVIEW_MATRIX, inGl.m[0]);
    EXPECT_EQ(inGl, start);
}

TEST_F(GL_TraversalTest, DrawsAThousandGroupsAndPicksInThem)
{
    constexpr int depth = 1000;
    Chain chain(depth);
    WarningCatcher warnings;
    pictureOf(chain.root);
    EXPECT_EQ(chain.drawn(), depth);
    const auto paths = hits(chain.root);
    EXPECT_TRUE(warnings.isEmpty());
    ASSERT_EQ(paths.size(), std::size_t(depth));
    // The deepest comes first: its path leads by the first child all the way, and the one above has
    // the box as the second child.
    for (int i = 0; i < depth; ++i) {
        Path path(std::size_t(depth - i + 1), 0);
        path.front() = 7;
        path.back() = i == 0 ? 0 : 1;
        ASSERT_EQ(paths[std::size_t(i)], path) << i;
        Path below(path.begin() + 1, path.end());
        ASSERT_EQ(chain.root.identify(below.data(), unsigned(below.size())),
                  chain.boxes[std::size_t(depth - 1 - i)]);
    }
}

TEST_F(GL_TraversalTest, WarnsOnceASceneOfWhatLiesTooDeep)
{
    Chain chain(5000);
    WarningCatcher warnings;
    for (int i = 0; i < 2; ++i)
        pictureOf(chain.root);
    EXPECT_EQ(hits(chain.root).size(), 4096u); // a box a level
    EXPECT_EQ(chain.drawn(), 3 * 4096);
    EXPECT_EQ(warnings.text(),
              QLatin1String("GL_Traversal::enter: Only 4096 levels of nodes are drawn"));
    Box3f box;
    chain.root.bounds(box);
    EXPECT_FALSE(box.isEmpty());
}

TEST_F(GL_TraversalTest, FollowsOnlySoManyReferences)
{
    // Blocks that refer to the next one twice would be drawn for ever.
    GL_Traversal traversal(&scene);
    WarningCatcher warnings;
    for (int i = 0; i < GL_Traversal::referenceBudget; ++i) {
        ASSERT_TRUE(traversal.enterReference()) << i;
        traversal.leaveReference();
    }
    EXPECT_TRUE(warnings.isEmpty());
    EXPECT_FALSE(traversal.enterReference());
    EXPECT_TRUE(traversal.enter());
    EXPECT_EQ(warnings.text(),
              QLatin1String("GL_Traversal::enterReference: Only 1048576 references at a time are "
                            "drawn"));
}

TEST_F(GL_TraversalTest, GivesThePathsOfAnEndlessNameStack)
{
    // Nodes with names of their own at every depth around the one where GL's stack ends.
    struct Parts : TestBox {
        void hit(GL_RenderEvent* event) override
        {
            glPushName(0x80000000u);
            TestBox::hit(event);
            glLoadName(1);
            TestBox::hit(event);
            glPopName();
        }
    };
    for (int depth = 44; depth < 68; depth += depth < 50 ? 1 : 4) {
        GL_Group root;
        GL_Group* group = &root;
        for (int i = 1; i < depth; ++i) {
            auto* const next = new GL_Group;
            group->children().append(new GL_Group);
            group->children().append(next);
            group = next;
        }
        group->children().append(new Parts);
        group->children().append(new TestBox);
        Path path(std::size_t(depth), 1);
        path.front() = 7;
        Path first = path, second = path, third = path;
        first.insert(first.end(), {0, 0x80000000u});
        second.insert(second.end(), {0, 1});
        third.push_back(1);
        EXPECT_THAT(hits(root), testing::ElementsAre(first, second, third)) << depth;
    }
}

TEST_F(GL_TraversalTest, PassesOverWhatIsOutside)
{
    TestBox box(0.5f);
    GL_Traversal traversal(&scene);
    const auto isOutside = [&](float x, float y, float z) {
        box.place(x, y, z);
        return traversal.isOutside(box);
    };
    EXPECT_FALSE(isOutside(0, 0, 0));
    for (const float side : {-1.0f, 1.0f}) {
        EXPECT_FALSE(isOutside(1.4f * side, 0, 0));
        EXPECT_TRUE(isOutside(3 * side, 0, 0));
        EXPECT_TRUE(isOutside(0, 3 * side, 0));
        EXPECT_TRUE(isOutside(0, 0, 3 * side));
        EXPECT_FALSE(isOutside(0, 0, 2.4f * side));
    }
    Matrix4f matrix;
    matrix.translate(-3, 0, 0);
    traversal.push(matrix);
    EXPECT_FALSE(isOutside(3, 0, 0));
    EXPECT_TRUE(isOutside(0, 0, 0));
    traversal.pop();
    matrix.m[2][2] = std::numeric_limits<float>::quiet_NaN();
    matrix.m[3][0] = 50;
    box.setTransform(matrix);
    EXPECT_FALSE(traversal.isOutside(box)); // nobody knows
    box.place(3, 0, 0);
    box.resize(std::numeric_limits<float>::infinity(), true);
    EXPECT_FALSE(traversal.isOutside(box));
    GL_Group empty;
    EXPECT_FALSE(traversal.isOutside(empty));
    GL_Object unknown;
    EXPECT_FALSE(traversal.isOutside(unknown));
}

TEST_F(GL_TraversalTest, NoticesEveryChangeBelow)
{
    GL_Group top;
    auto* const joint = new GL_Joint;
    auto* const inner = new GL_Group;
    auto* box = new TestBox(0.1f);
    top.children().append(joint);
    joint->children().append(inner);
    const auto isOutside = [&] { return GL_Traversal(&scene).isOutside(top); };
    Matrix4f away;
    away.translate(5, 0, 0);
    joint->setTransform(away);
    inner->children().append(box);
    EXPECT_TRUE(isOutside());
    box->place(-5, 0, 0);
    EXPECT_FALSE(isOutside());
    box->place(0, 0, 0);
    EXPECT_TRUE(isOutside());
    joint->setSize(5);
    EXPECT_FALSE(isOutside());
    joint->setSize(0.1f);
    EXPECT_TRUE(isOutside());
    box->resize(5, false);
    EXPECT_FALSE(isOutside());
    inner->children().removeRef(box);
    box = new TestBox(0.1f);
    inner->children().append(box);
    EXPECT_TRUE(isOutside());
    inner->children().append(new GL_Object); // may be anywhere
    EXPECT_FALSE(isOutside());
    inner->children().removeLast();
    EXPECT_TRUE(isOutside());
    auto* const reference = new GL_Reference;
    inner->children().append(reference);
    TestBox target(0.1f);
    reference->setObject(&target);
    EXPECT_FALSE(isOutside()); // the target could move without word
    EXPECT_FALSE(GL_Traversal(&scene).isOutside(*reference));
    target.place(5, 0, 0);
    EXPECT_TRUE(GL_Traversal(&scene).isOutside(*reference));
}

TEST_F(GL_TraversalTest, ChangesNoPictureAndNoHit)
{
    void (*const projections[])() = {
        [] { glOrtho(-1, 1, -1, 1, -1, 3); },
        [] { glFrustum(-0.5, 0.5, -0.5, 0.5, 0.5, 5); },
        [] { // a pick region of a few pixels
            glScalef(20, 20, 1);
            glTranslatef(0.3f, 0.2f, 0);
            glFrustum(-0.5, 0.5, -0.5, 0.5, 0.5, 50);
        },
    };
    int shown = 0, passedOver = 0;
    for (unsigned round = 0; round < 30; ++round) {
        setProjection(projections[round % 3]);
        glLoadMatrixf([&] {
            std::mt19937 random(round);
            return randomMatrix(random, 2);
        }()
                          .m[0]);
        GL_Group known, unknown;
        std::mt19937 random(round + 100), again(round + 100);
        grow<TestBox>(known, random, 3);
        grow<Opaque>(unknown, again, 3);
        const Picture picture = pictureOf(known);
        EXPECT_EQ(picture, pictureOf(unknown)) << "round " << round;
        forEachBox(known, [&](TestBox& box) { passedOver += box.drawn == 0; });
        EXPECT_EQ(hits(known), hits(unknown)) << "round " << round;
        shown += litPixels(picture) > 0;
    }
    EXPECT_GT(shown, 15);
    EXPECT_GT(passedOver, 300);
}
