#include "action/skincluster.h"

#include "action/actiondict.h"
#include "action/transformactions.h"
#include "kernel/vobjectfinder.h"
#include "receivers.h"
#include "support/text.h"
#include "support/warnings.h"

#include <limits>
#include <map>

using namespace action;
using geometry::Matrix4f;
using geometry::Vector2i;
using geometry::Vector3f;
using geometry::Vector3fArray;
using testing::IsEmpty;

namespace
{
using Points = std::vector<Vector3f>;

/// A node with vertices and a matrix.
struct Node : ZYLObject {
    explicit Node(const Points& points = Points()) : vertices(points) {}

    bool event(VEvent* event) override
    {
        auto& action = *static_cast<VActionEvent*>(event);
        switch (action.code()) {
        case VActionEvent::TransformBefore:
            world = *action.value<Matrix4f>() * world;
            break;
        case VActionEvent::GetWorldMatrix:
            *action.value<Matrix4f>() = world;
            break;
        case VActionEvent::GetVertices:
            *action.value<Vector3fArray>() = Vector3fArray(vertices.data(), int(vertices.size()));
            break;
        case VActionEvent::SetVertices: {
            auto& sent = *action.value<Vector3fArray>();
            vertices.assign(sent.begin(), sent.end());
            ++count;
            if (during)
                during(sent);
            break;
        }
        default:
            return false;
        }
        action.accept();
        return true;
    }

    Matrix4f world;
    Points vertices;
    int count = 0; // of the times they were sent
    std::function<void(Vector3fArray&)> during;
};

Matrix4f moved(float x, float y, float z)
{
    Matrix4f m;
    m.translate(x, y, z);
    return m;
}

/// A quarter turn from x to y, without the rounding of sines.
Matrix4f quarterTurn()
{
    Matrix4f m;
    m.zrotate(0.0f, 1.0f);
    return m;
}

void expectPoints(const Points& found, const Points& wanted)
{
    ASSERT_EQ(found.size(), wanted.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        // A product of three matrices of a size of 30 leaves a few millionths.
        EXPECT_NEAR((found[i] - wanted[i]).length(), 0, 2e-5)
            << "vertex " << i << ": " << found[i].x << ' ' << found[i].y << ' ' << found[i].z;
    }
}

constexpr Vector2i influences[] = {{0, 0}, {1, 1}, {2, 0}, {2, 1}, {3, 1}, {3, 0}};
constexpr float influenceWeights[] = {1, 1, 0.5f, 0.5f, 6, 2};

const Points rest = {{1, 0, 0}, {3, 0, 0}, {2, 1, 0}, {3, 0, 0}, {5, 5, 5}};
// With the second joint, at (2, 0, 0), turned from x to y:
const Points bent = {
    {1, 0, 0},         // follows the first, which stands
    {2, 1, 0},         // follows the second
    {1.5f, 0.5f, 0},   // half of each, between (2, 1, 0) and (1, 0, 0)
    {2.25f, 0.75f, 0}, // weights of the sum 8: a quarter at (3, 0, 0), the rest at (2, 1, 0)
    {5, 5, 5}          // follows nothing
};

/// Two joints in the space of a skin that is somewhere itself.
struct Arm {
    explicit Arm(const Matrix4f& place = Matrix4f())
    {
        skin.world = shoulder.world = place;
        elbow.world = moved(2, 0, 0) * place;
        cluster.setName("skin");
        cluster.addJoint(&shoulder, "shoulder");
        cluster.addJoint(&elbow, "elbow");
        cluster.setInfluences(geometry::Vector2iArray(influences, 6),
                              VMemArray<float>().duplicate(influenceWeights, 6));
        cluster.connect(3, &skin, -1);
    }
    void bend() { elbow.world = quarterTurn() * elbow.world; }

    Node shoulder, elbow, skin{rest};
    SkinCluster cluster;
};

Matrix4f somewhere()
{
    Matrix4f m = moved(10, -3, 4) * quarterTurn();
    m.scale(2);
    return m;
}

class SkinPlaces : public testing::TestWithParam<Matrix4f>
{
};
TEST_P(SkinPlaces, FollowTheirJointsByTheWeights)
{
    Arm arm(GetParam());
    ASSERT_TRUE(arm.cluster.bind());
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    expectPoints(arm.skin.vertices, rest);
    arm.bend();
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    expectPoints(arm.skin.vertices, bent);
    EXPECT_TRUE(arm.cluster.evaluate(3, 0)); // from their rest, so they don't drift
    expectPoints(arm.skin.vertices, bent);

    // All of it is carried elsewhere, which is no bend.
    const Matrix4f carry = moved(0, 7, 0) * quarterTurn();
    for (Node* node : {&arm.shoulder, &arm.elbow, &arm.skin})
        node->world = node->world * carry;
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    expectPoints(arm.skin.vertices, bent);
}
INSTANTIATE_TEST_SUITE_P(Spaces, SkinPlaces,
                         testing::Values(Matrix4f(), moved(1, 2, 3), somewhere()));

TEST(SkinCluster, BindsByItselfWhatIsNotBound)
{
    Arm arm;
    arm.bend(); // so this is the rest
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    expectPoints(arm.skin.vertices, rest);
    Node late;
    arm.cluster.addJoint(&late, "late");
    const Vector2i pair(4, 2);
    arm.cluster.setInfluences(geometry::Vector2iArray(&pair, 1));
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    late.world = moved(0, 0, 1);
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    expectPoints(arm.skin.vertices, {rest[0], rest[1], rest[2], rest[3], {5, 5, 6}});
}

TEST(SkinCluster, TakesItsPlaceBehindWhatMovesItsJoints)
{
    Arm arm;
    auto* const turn = new RotateAction;
    turn->connect(1, &arm.elbow, -1);
    ASSERT_TRUE(arm.cluster.bind());
    const VScopedConnection turns(turn, &Action::valueChanged,
                                  [&](Connection*) { arm.cluster.evaluate(3, 0); });
    EXPECT_TRUE(turn->evaluate(5, 90)); // about z
    expectPoints(arm.skin.vertices, bent);
    delete turn;
}

TEST(SkinCluster, SendsTheSameVerticesToAllReceiversOfAKey)
{
    Arm arm;
    Node twin(rest), other(rest);
    twin.world = moved(9, 9, 9);
    other.world = moved(0, 0, -1);
    arm.cluster.connect(3, &twin, -1);
    arm.cluster.connect(4, &other, -1); // in a space of its own
    ASSERT_TRUE(arm.cluster.bind());
    arm.bend();
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    expectPoints(twin.vertices, bent);
    EXPECT_EQ(other.count, 0);
    EXPECT_TRUE(arm.cluster.evaluate(4, 0));
    EXPECT_NEAR((other.vertices[1] - Vector3f(2, 1, 1)).length(), 0, 1e-6);
}

TEST(SkinCluster, LetsWhatIsGoneStandStill)
{
    Arm arm;
    ASSERT_TRUE(arm.cluster.bind());
    arm.bend();
    arm.shoulder.world = moved(0, 0, 1);
    arm.cluster.forgetReceiver(&arm.elbow);
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    expectPoints(arm.skin.vertices, {{1, 0, 1}, rest[1], {2, 1, 0.5f}, {3, 0, 0.25f}, rest[4]});
    arm.cluster.forgetReceiver(&arm.skin);
    EXPECT_FALSE(arm.cluster.evaluate(3, 0));
    EXPECT_EQ(arm.skin.count, 1);
}

TEST(SkinCluster, SendsNothingWhereThereIsNoPlace)
{
    Matrix4f flat, broken;
    flat.scale(1, 1, 0);
    broken.m[1][1] = std::numeric_limits<float>::quiet_NaN();
    const struct {
        Matrix4f elbow, skin;
    } cases[] = {{broken, Matrix4f()}, {Matrix4f(), flat}, {Matrix4f(), broken}};
    WarningCatcher warnings;
    for (const auto& one : cases) {
        Arm arm;
        EXPECT_FALSE(arm.cluster.evaluate(2, 0)); // no such key
        ASSERT_TRUE(arm.cluster.bind());
        arm.elbow.world = one.elbow;
        arm.skin.world = one.skin;
        EXPECT_FALSE(arm.cluster.evaluate(3, 0));
        EXPECT_EQ(arm.skin.count, 0);
    }
    // Bound where it has no inverse, a joint stands still; without vertices there is no skin.
    Arm arm;
    arm.elbow.world = flat;
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    arm.elbow.world = moved(5, 5, 5);
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    expectPoints(arm.skin.vertices, rest);
    arm.skin.vertices.clear();
    EXPECT_FALSE(arm.cluster.bind());
    EXPECT_THAT(warnings.take(), IsEmpty());
}

TEST(SkinCluster, PassesOverInfluencesOfWhatThereIsNot)
{
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const Vector2i pairs[] = {{1, 1}, {5, 0}, {-1, 0}, {0, 2}, {0, -1},
                              {2, 1}, {3, 1}, {4, 1},  {0, 0}};
    const float weights[] = {1, 1, 1, 1, 1, -1, nan, 0};
    Arm arm;
    arm.cluster.setInfluences(geometry::Vector2iArray(pairs, 9),
                              VMemArray<float>().duplicate(weights, 8));
    ASSERT_TRUE(arm.cluster.bind());
    arm.bend();
    WarningCatcher warnings;
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    EXPECT_THAT(warnings.take(), testing::ElementsAre(text(
                                     "SkinCluster::evaluate: Ignored 6 of 9 influences of skin")));
    expectPoints(arm.skin.vertices, {rest[0], bent[1], rest[2], rest[3], rest[4]});
}

TEST(SkinCluster, OutlivesWhatItsReceiversDo)
{
    Arm arm;
    Node late(rest);
    arm.skin.during = [&](Vector3fArray& sent) { sent.resize(1); };
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    EXPECT_TRUE(arm.cluster.evaluate(3, 0));
    EXPECT_EQ(arm.skin.vertices.size(), rest.size());

    auto* const cluster = new SkinCluster;
    cluster->connect(0, &arm.skin, -1);
    cluster->connect(0, &late, -1);
    arm.skin.during = [&](Vector3fArray& sent) {
        delete cluster;
        EXPECT_EQ(sent.size(), rest.size());
    };
    EXPECT_TRUE(cluster->evaluate(0, 0));
    EXPECT_EQ(late.count, 0);
}

// Files

struct Finder : VObjectFinder {
    explicit Finder(Arm& arm) : objects{{"shoulder", &arm.shoulder}, {"elbow", &arm.elbow}} {}
    ZYLObject* findObject(const char* path) override
    {
        const auto found = objects.find(path);
        return found == objects.end() ? nullptr : found->second;
    }
    std::map<std::string, ZYLObject*> objects;
};

/// Reads a cluster of an arm's joints and skin, as a scene does.
void load(SkinCluster& cluster, const QByteArray& bytes, bool binary, Arm& arm)
{
    Finder finder(arm);
    Form form(binary, binary ? bytes : bytes + '}');
    form.io.setContainer("finder", static_cast<VObjectFinder*>(&finder));
    if (binary) {
        form.io >> cluster;
    } else {
        VZylBlock block(form.stream);
        ASSERT_GT(block.read(), 0);
        form.io >> cluster;
    }
    cluster.connect(3, &arm.skin, -1);
    cluster.resolve(ActionDict());
}

TEST(SkinClusterFiles, TellTheRestOnlyWhereItIsNotThere)
{
    for (const bool binary : {false, true}) {
        Arm arm(somewhere());
        ASSERT_TRUE(arm.cluster.bind());
        const QByteArray straight = written(arm.cluster, binary);
        if (!binary) {
            EXPECT_EQ(straight.toStdString(),
                      "name \"skin\";\njoints { \"shoulder\", \"elbow\" };\ninfluences {\n"
                      "    { 0, 0 },\n    { 1, 1 },\n    { 2, 0 },\n    { 2, 1 },\n"
                      "    { 3, 1 },\n    { 3, 0 }\n};\nweights { 1, 1, 0.5, 0.5, 6, 2 };\n");
        }
        {
            Arm other(somewhere()); // as it was when it was written
            SkinCluster copy;
            load(copy, straight, binary, other);
            other.bend(); // before anything was evaluated
            EXPECT_TRUE(copy.evaluate(3, 0));
            expectPoints(other.skin.vertices, bent);
        }
        arm.bend();
        ASSERT_TRUE(arm.cluster.evaluate(3, 0));
        const QByteArray curved = written(arm.cluster, binary);
        SkinCluster copy;
        load(copy, curved, binary, arm); // while bent
        EXPECT_TRUE(copy.evaluate(3, 0));
        expectPoints(arm.skin.vertices, bent);
        EXPECT_EQ(written(copy, binary).toHex(), curved.toHex());
        arm.elbow.world = moved(2, 0, 0) * somewhere();
        EXPECT_TRUE(copy.evaluate(3, 0));
        expectPoints(arm.skin.vertices, rest);
    }
}

TEST(SkinClusterFiles, KeepThePlacesOfJointsThatAreNotFound)
{
    Arm arm;
    SkinCluster cluster;
    load(cluster,
         "joints { \"nobody\", \"\", \"elbow\" }; influences { { 1, 2 }, { 0, 0 } };"
         "bind { { 1, 0, 0, 0 }, { 0, 1, 0, 0 }, { 0, 0, 1, 0 }, { 0, 4, 0, 1 }, { 9, 9, 9, 9 } };",
         false, arm);
    arm.bend();
    EXPECT_TRUE(cluster.evaluate(3, 0));
    EXPECT_NEAR((arm.skin.vertices[1] - bent[1]).length(), 0, 1e-6);
    EXPECT_EQ(arm.skin.vertices[0], rest[0]);
    const std::string text = written(cluster, false).toStdString();
    EXPECT_NE(text.find("joints { \"nobody\", \"\", \"elbow\" };"), std::string::npos) << text;
    EXPECT_NE(text.find("{ 0, 4, 0, 1 }"), std::string::npos) << text;
}
} // namespace
