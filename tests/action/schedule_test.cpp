#include "action/keyframe.h"
#include "action/motionpath.h"
#include "geometry/zylnurbs.h"
#include "kernel/vobjectfinder.h"
#include "receivers.h"
#include "support/warnings.h"

#include <cmath>
#include <limits>

using namespace action;
using geometry::Matrix4f;
using geometry::Vector2d;
using geometry::Vector3f;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
AnimationCurve curve(std::initializer_list<Vector2d> keys)
{
    return AnimationCurve(keys.begin(), int(keys.size()));
}

/// Through the keys 0, 1, 4, 9 and so on: a parabola, which the cubic follows exactly.
AnimationCurve squares(int count)
{
    AnimationCurve result(count);
    for (int i = 0; i < count; ++i)
        result[unsigned(i)] = Vector2d(i, i * i);
    return result;
}

double valueAt(const AnimationCurve& keys, double t)
{
    double y = -77;
    return keys.evaluate(t, y) == 0 ? y : -77;
}

struct Place {
    double t;
    double y; // -77 for none
};
class CurvePlaces : public testing::TestWithParam<Place>
{
};
TEST_P(CurvePlaces, HaveAValueBetweenTheInnerKeys)
{
    EXPECT_DOUBLE_EQ(valueAt(squares(6), GetParam().t), GetParam().y);
}
INSTANTIATE_TEST_SUITE_P(Times, CurvePlaces,
                         testing::Values(Place{-1, -77}, Place{0, -77}, Place{0.9, -77},
                                         Place{1, 1}, Place{1.5, 2.25}, Place{2, 4},
                                         Place{3.75, 14.0625}, Place{4, -77}, Place{5, -77},
                                         Place{9, -77}, Place{NAN, -77}, Place{INFINITY, -77}));

TEST(AnimationCurve, NeedsAKeyOnEitherSideOfASpan)
{
    for (int count = 0; count < 4; ++count)
        for (double t = -1; t < 4; t += 0.25)
            EXPECT_EQ(valueAt(squares(count), t), -77) << count << " keys at " << t;
    EXPECT_DOUBLE_EQ(valueAt(squares(4), 1.5), 2.25);
}

TEST(AnimationCurve, LeavesKeysWithHalfTheChordOfTheirNeighbours)
{
    // From 0 to 1 with slopes 0.5 and 0.5: u = 1/4 gives (1/4)^2 (3 - 2/4) + 0.5 * (9 - 3) / 64.
    EXPECT_DOUBLE_EQ(valueAt(curve({{0, 0}, {1, 0}, {2, 1}, {3, 1}}), 1.25), 0.203125);
}

TEST(AnimationCurve, FindsSpansWhateverItLookedForBefore)
{
    AnimationCurve keys;
    EXPECT_EQ(keys.search(1), -1);
    keys = curve({{1, 0}, {2, 0}, {2, 1}, {4, 0}, {8, 0}, {16, 0}});
    const Vector2d expected[] = {{0, -1}, {1, 0}, {1.5, 0}, {2, 1},  {3, 2},  {4, 3},
                                 {7, 3},  {8, 4}, {9, 4},   {16, 5}, {100, 5}};
    for (const Vector2d& before : expected)
        for (const Vector2d& place : expected) {
            keys.search(before.x);
            EXPECT_EQ(keys.search(place.x), int(place.y)) << place.x << " after " << before.x;
        }
    EXPECT_EQ(valueAt(keys, 2), 0); // a jump, without a span to divide by
}

TEST(AnimationCurve, ReadsKeysInAnyOrderAndDropsWhatIsNoNumber)
{
    AnimationCurve keys = curve({{3, 9}, {1, 1}, {0, 0}, {NAN, 3}, {2, 4}, {2.5, INFINITY}});
    const AnimationCurve shared = keys;
    keys.makeSound();
    EXPECT_EQ(keys.size(), 4u);
    EXPECT_DOUBLE_EQ(valueAt(keys, 1.5), 2.25);
    EXPECT_EQ(shared[0], Vector2d(3, 9));
}

std::unique_ptr<Schedule> schedule(std::initializer_list<std::pair<int, AnimationCurve>> curves)
{
    auto result = std::make_unique<Schedule>();
    for (const auto& [channel, keys] : curves)
        result->insert(unsigned(channel), new AnimationCurve(keys));
    return result;
}

/// The schedule's curves as "channel: t,y t,y ..." in lines.
std::string shown(const Schedule& schedule)
{
    std::string text;
    for (unsigned i = 0; i < schedule.size(); ++i)
        if (const AnimationCurve* keys = schedule[i]) {
            text += std::to_string(i) + ":";
            for (const Vector2d& key : *keys)
                text += ' ' + QString::number(key.x).toStdString() + ',' +
                        QString::number(key.y).toStdString();
            text += '\n';
        }
    return text;
}

QByteArray bytesOf(const Schedule& schedule, bool binary)
{
    Form form(binary);
    schedule.write(form.io);
    return form.buffer.data();
}

std::string readSchedule(const QByteArray& bytes, bool binary)
{
    Form form(binary, bytes);
    Schedule result;
    result.read(form.io);
    return shown(result);
}

struct ScheduleText {
    const char* text;
    const char* curves;
    const char* warnings;
};
class ScheduleTexts : public testing::TestWithParam<ScheduleText>
{
};
TEST_P(ScheduleTexts, AreRead)
{
    WarningCatcher warnings;
    EXPECT_EQ(readSchedule(GetParam().text, false), GetParam().curves);
    EXPECT_EQ(warnings.text().toStdString(), GetParam().warnings);
}
INSTANTIATE_TEST_SUITE_P(
    Forms, ScheduleTexts,
    testing::Values(
        ScheduleText{"{ translateX { {0, 1}, {2, 3} }; rotateY { {4, 5} }; scaleZ { {6, 7} }; }",
                     "0: 0,1 2,3\n4: 4,5\n8: 6,7\n", ""},
        ScheduleText{"{ translatey{{1,2}};\n// a word\nrotate_z { { 3, 4 } } ; }",
                     "1: 1,2\n5: 3,4\n", ""},
        ScheduleText{"{ scalex { {2, 1}, {1, 2} } }", "6: 1,2 2,1\n", ""},
        ScheduleText{"{ translateX {{1,2}}; translateX {{3,4}}; }", "0: 3,4\n", ""},
        ScheduleText{"{ translate {{1,2}}; rotateW {{1,2}}; turnX { {1,2}; }; scaleY {{5,6}}; }",
                     "7: 5,6\n", ""},
        ScheduleText{
            "{ translateX { {1,2}, oh }; rotateX { 3 }; rotateY {{1,2}}; }", "4: 1,2\n",
            "Schedule::read: Cannot read translateX | Schedule::read: Cannot read rotateX"},
        ScheduleText{"{ rotateX {{1,2}} beyond; scaleX {{3,4}}; }", "3: 1,2\n6: 3,4\n", ""},
        ScheduleText{"{ rotateX {{1,2}", "", "Schedule::read: Cannot read rotateX"},
        ScheduleText{"{ }", "", ""}, ScheduleText{"rotateX {{1,2}};", "", ""},
        ScheduleText{"{ rotateX", "", "Schedule::read: Cannot read rotateX"}));

TEST(Schedule, IsATaggedSequenceOfCurvesInBytes)
{
    const auto one = schedule({{2, curve({{0, 1}})}});
    // An octet string of the channel, the length of the numbers, their count, 0, and 1.
    EXPECT_EQ(bytesOf(*one, true).toHex(), "0408020602000380000"
                                           "1");
    const auto all = schedule({{0, squares(2)}, {5, squares(3)}, {8, squares(1)}});
    EXPECT_EQ(readSchedule(bytesOf(*all, true), true), shown(*all));
    EXPECT_EQ(readSchedule(bytesOf(*all, false), false), shown(*all));
}

struct ScheduleBytes {
    const char* hex;
    const char* curves;
};
class DamagedSchedules : public testing::TestWithParam<ScheduleBytes>
{
};
TEST_P(DamagedSchedules, GiveWhatIsWhole)
{
    EXPECT_EQ(readSchedule(QByteArray::fromHex(GetParam().hex), true), GetParam().curves);
}
INSTANTIATE_TEST_SUITE_P(Forms, DamagedSchedules,
                         testing::Values(ScheduleBytes{"0408020602000380 0001", "2: 0,1\n"},
                                         ScheduleBytes{"0410090602000380 0001 0106020003800001",
                                                       "1: 0,1\n"},                  // no channel
                                         ScheduleBytes{"0508020602000380 0001", ""}, // another tag
                                         ScheduleBytes{"0418020602000380 0001", ""}, // cut short
                                         ScheduleBytes{"040802ff02000380 0001", ""},
                                         ScheduleBytes{"0401 02", ""}, ScheduleBytes{"0400", ""},
                                         ScheduleBytes{"", ""},
                                         // Four thousand million numbers:
                                         ScheduleBytes{"0408 02 06 84ffffffff00", ""}));

/// A keyframe that plays a schedule on a node.
struct Playing {
    explicit Playing(std::unique_ptr<Schedule> played)
    {
        keyframe.setSchedule(played.release());
        keyframe.connect(3, &node, 0);
    }
    Keyframe keyframe;
    Receiver node;
};

TEST(Keyframe, LeavesChannelsWithoutCurvesAtRest)
{
    Playing p(schedule({{1, squares(8)}}));
    EXPECT_TRUE(p.keyframe.evaluate(3, 2.5));
    Matrix4f expected;
    expected.translate(0, 6.25f, 0);
    EXPECT_EQ(p.node.last, expected);
    EXPECT_TRUE(p.keyframe.evaluate(3, 2.5));
    EXPECT_EQ(p.node.last, Matrix4f());
    EXPECT_TRUE(p.keyframe.evaluate(3, 4));
    expected.translate(0, 16 - 12.5f, 0);
    EXPECT_EQ(p.node.last.m[3][1], 16 - 6.25f);
    EXPECT_FALSE(p.keyframe.evaluate(3, 0.5)); // no curve has a value there
    EXPECT_FALSE(p.keyframe.evaluate(4, 2));
    EXPECT_EQ(p.node.codes.size(), 3u);
}

TEST(Keyframe, TranslatesThenRotatesThenScales)
{
    const auto still = [](double y) { return curve({{0, y}, {1, y}, {2, y}, {3, y}}); };
    Playing p(schedule({{0, still(10)}, {5, still(90)}, {6, still(2)}, {7, still(0)}}));
    EXPECT_TRUE(p.keyframe.evaluate(3, 1));
    // (1, 1, 1): x doubled, y kept for its factor of 0, turned about z, moved along x.
    const Vector3f moved = p.node.last.multVecMatrix(Vector3f(1, 1, 1));
    EXPECT_NEAR(moved.x, 9, 1e-5);
    EXPECT_NEAR(moved.y, 2, 1e-5);
    EXPECT_NEAR(moved.z, 1, 1e-5);
}

TEST(Keyframe, SendsScalesAsRatiosToTheLast)
{
    Playing p(schedule({{8, curve({{0, 1}, {1, 2}, {2, 8}, {3, 20}, {4, 40}})}}));
    p.keyframe.evaluate(3, 1);
    EXPECT_EQ(p.node.last.m[2][2], 2);
    p.keyframe.evaluate(3, 2);
    EXPECT_EQ(p.node.last.m[2][2], 4);
    EXPECT_EQ(p.node.matrix.m[2][2], 8);
}

TEST(Keyframe, DoesNothingWithoutItsParts)
{
    Keyframe keyframe;
    Receiver node;
    EXPECT_FALSE(keyframe.evaluate(0, 1));
    keyframe.connect(0, &node, 0);
    EXPECT_FALSE(keyframe.evaluate(0, 1));
    keyframe.setSchedule(new Schedule);
    EXPECT_FALSE(keyframe.evaluate(0, 1));
    keyframe.setSchedule(
        schedule({{0, curve({{0, 0}, {1, 1e300}, {2, 1e300}, {3, 0}})}}).release());
    EXPECT_FALSE(keyframe.evaluate(0, 1)); // beyond a float
    EXPECT_THAT(node.codes, IsEmpty());
}

/// A curve as a node of a scene.
struct CurveNode : ZYLObject, geometry::NurbsCurve {
    CurveNode(int curveOrder, std::initializer_list<float> numbers, int dimension)
    {
        order = curveOrder;
        vertices =
            geometry::GVectorArray(numbers.begin(), int(numbers.size()) / dimension, dimension);
    }
};

struct Finder : VObjectFinder {
    ZYLObject* findObject(const char* path) override
    {
        asked.push_back(path);
        return found;
    }
    ZYLObject* found = nullptr;
    std::vector<std::string> asked;
};

/// From (1, 1, 0) along x, then along y; parameters 0 to 2.
CurveNode corner()
{
    return CurveNode(2, {1, 1, 0, 5, 1, 0, 5, 9, 0}, 3);
}

AnimationCurve identityKeys()
{
    return curve({{-1, -1}, {0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}});
}

TEST(MotionPath, MovesFromTheFirstPointOfItsCurve)
{
    CurveNode track = corner();
    MotionPath path;
    Receiver node;
    EXPECT_TRUE(path.setTarget(&track, "track"));
    path.setKeys(identityKeys());
    path.connect(0, &node, 0);
    EXPECT_TRUE(path.evaluate(0, 0.5));
    EXPECT_EQ(node.last.multVecMatrix(Vector3f()), Vector3f(2, 0, 0));
    EXPECT_TRUE(path.evaluate(0, 1.5));
    EXPECT_EQ(node.last.multVecMatrix(Vector3f()), Vector3f(2, 4, 0));
    EXPECT_EQ(node.last.m[0][0], 1); // not turned
    EXPECT_FALSE(path.evaluate(0, -5));
    EXPECT_FALSE(path.evaluate(1, 1));
}

TEST(MotionPath, TurnsNodesWithTheCurve)
{
    CurveNode track = corner();
    MotionPath path;
    Receiver node;
    path.setFlags(MotionPath::Orient);
    path.setTarget(&track, "track");
    path.setKeys(identityKeys());
    path.connect(0, &node, 0);
    path.evaluate(0, 0.5);
    EXPECT_EQ(node.last.m[0][0], 1); // as at the beginning
    path.evaluate(0, 1.5);
    // What pointed along x points along y.
    EXPECT_NEAR(node.last.m[0][0], 0, 1e-6);
    EXPECT_NEAR(node.last.m[0][1], 1, 1e-6);
    path.evaluate(0, 1.75);
    EXPECT_EQ(node.last.m[0][0], 1);
}

TEST(MotionPath, DividesHomogeneousPoints)
{
    // A quarter of a circle, (0, 0) weighing as the rational form has it.
    const float w = float(std::sqrt(0.5));
    CurveNode arc(3, {1, 0, 0, 1, w, w, 0, w, 0, 1, 0, 1}, 4);
    MotionPath path;
    Receiver node;
    path.setFlags(MotionPath::Orient);
    path.setTarget(&arc, "arc");
    path.setKeys(identityKeys());
    path.connect(0, &node, 0);
    ASSERT_TRUE(path.evaluate(0, 0.5));
    const Vector3f at = node.last.multVecMatrix(Vector3f());
    EXPECT_NEAR(at.x, std::sqrt(0.5) - 1, 1e-6);
    EXPECT_NEAR(at.y, std::sqrt(0.5), 1e-6);
    // From along y the direction has turned by 45 degrees.
    EXPECT_NEAR(node.last.m[0][0], std::sqrt(0.5), 1e-6);
    float point[4];
    ASSERT_TRUE(path.evaluate(0.5, point));
    EXPECT_NEAR(point[3], (2 + 2 * w) / 4, 1e-6); // not divided
}

TEST(MotionPath, TakesCurvesOfDoublesAndOfThePlane)
{
    CurveNode track(2, {}, 2);
    const double numbers[] = {0, 0, 8, 4};
    track.vertices = geometry::GVectorArray(numbers, 2, 2);
    const double knots[] = {0, 0, 1, 1};
    track.knots.duplicate(knots, sizeof knots);
    MotionPath path;
    path.setTarget(&track, "track");
    float point[2];
    ASSERT_TRUE(path.evaluate(0.25, point));
    EXPECT_THAT(point, ElementsAre(2, 1));
}

struct BadCurve {
    const char* fault;
    void (*spoil)(CurveNode&);
};
class BadCurves : public testing::TestWithParam<BadCurve>
{
};
TEST_P(BadCurves, MoveNothing)
{
    CurveNode track = corner();
    GetParam().spoil(track);
    MotionPath path;
    Receiver node;
    path.setTarget(&track, "track");
    path.setKeys(identityKeys());
    WarningCatcher warnings;
    path.connect(0, &node, 0);
    EXPECT_FALSE(path.evaluate(0, 0.5));
    EXPECT_TRUE(warnings.isEmpty());
    EXPECT_THAT(node.codes, IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(
    Faults, BadCurves,
    testing::Values(BadCurve{"order", [](CurveNode& c) { c.order = 4; }},
                    BadCurve{"no order", [](CurveNode& c) { c.order = 0; }},
                    BadCurve{"dimension", [](CurveNode& c) { c.vertices.setDimension(9); }},
                    BadCurve{"one dimension", [](CurveNode& c) { c.vertices.setDimension(1); }},
                    BadCurve{"few knots",
                             [](CurveNode& c) {
                                 const float knots[] = {0, 0, 1, 2};
                                 c.knots.duplicate(knots, sizeof knots);
                             }},
                    BadCurve{"no knots",
                             [](CurveNode& c) {
                                 const float knots[] = {0, NAN, NAN, 1, 1};
                                 c.knots.duplicate(knots, sizeof knots);
                             }},
                    BadCurve{"bytes", [](CurveNode& c) { c.vertices.setFlags(3 << 16); }}));

TEST(MotionPath, FindsItsCurveWhenItIsRead)
{
    CurveNode track = corner();
    Receiver noCurve;
    for (const bool binary : {false, true}) {
        MotionPath source;
        source.setName("ride");
        source.setTarget(&track, "library/track");
        source.setKeys(identityKeys());
        Form form(binary, written(source, binary) + (binary ? "" : "}"));
        Finder finder;
        form.io.setContainer("finder", static_cast<VObjectFinder*>(&finder));
        finder.found = binary ? static_cast<ZYLObject*>(&noCurve) : &track;
        MotionPath path;
        if (binary) {
            form.io >> path;
        } else {
            VZylBlock block(form.stream);
            block.read();
            form.io >> path;
        }
        EXPECT_THAT(finder.asked, ElementsAre("library/track"));
        EXPECT_EQ(path.target(), binary ? nullptr : &track);
        EXPECT_STREQ(path.path(), "library/track");
        ASSERT_TRUE(path.keys());
        EXPECT_EQ(path.keys()->size(), 6u);
    }
}

TEST(MotionPath, ForgetsACurveThatGoes)
{
    CurveNode track = corner();
    MotionPath path;
    Receiver node;
    path.setTarget(&track, "track");
    path.setKeys(identityKeys());
    path.connect(0, &node, 0);
    path.forgetReceiver(&node);
    EXPECT_EQ(path.target(), &track);
    path.forgetReceiver(&track);
    EXPECT_EQ(path.target(), nullptr);
    EXPECT_FALSE(path.evaluate(0, 0.5));
}
} // namespace
