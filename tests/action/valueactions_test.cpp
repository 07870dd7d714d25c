#include "action/calculator.h"
#include "action/coloractions.h"
#include "action/complexaction.h"
#include "action/nodeinput.h"
#include "action/textactions.h"
#include "action/transformactions.h"
#include "action/valuetracker.h"
#include "geometry/zylquaternion.h"
#include "kernel/vdeclare.h"
#include "kernel/vvariant.h"
#include "receivers.h"
#include "support/text.h"
#include "support/warnings.h"

#include <cmath>
#include <limits>

using namespace action;
using geometry::Matrix4f;
using geometry::Vector2i;
using geometry::Vector3f;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

using Changes = std::vector<std::pair<int, double>>;

/// Keeps what a signal `(int, double)` tells.
template <class A, class Signal>
auto listen(A& action, Signal signal, Changes& changes)
{
    return std::make_unique<VScopedConnection>(
        &action, signal, [&changes](int key, double value) { changes.emplace_back(key, value); });
}

VMemArray<int> ints(std::initializer_list<int> values)
{
    return VMemArray<int>().duplicate(values.begin(), unsigned(values.size()));
}

struct Calculation {
    int type;
    double data, value, result;
};
class CalculatorTypes : public testing::TestWithParam<Calculation>
{
};
TEST_P(CalculatorTypes, Calculates)
{
    const auto [type, data, value, result] = GetParam();
    Calculator calculator;
    calculator.setType(Calculator::Type(type));
    calculator.setData(data);
    calculator.setInputs(ints({7, 5}));
    Changes changes;
    const auto link =
        listen(calculator, declare::overload<int, double>(&Calculator::valueChanged), changes);
    EXPECT_FALSE(calculator.evaluate(1, value)); // an index, not a key
    EXPECT_TRUE(calculator.evaluate(5, value));
    EXPECT_THAT(changes, ElementsAre(testing::Pair(1, testing::NanSensitiveDoubleEq(result))));
}
INSTANTIATE_TEST_SUITE_P(Types, CalculatorTypes,
                         testing::Values(Calculation{0, 2, 1.5, 3.5}, Calculation{1, 2, 1.5, 3},
                                         Calculation{2, 4, 9.5, 1.5}, Calculation{2, 4, -9.5, -1.5},
                                         Calculation{2, -4, 9.5, 1.5}, Calculation{2, 0, 1, nan},
                                         Calculation{3, 2, 1.5, 1.5}, Calculation{-1, 2, 1.5, 1.5},
                                         Calculation{99, 2, 1.5, 1.5}));

TEST(Calculator, IsJoinedToOthersByNameAndEndsARing)
{
    Calculator a, b;
    Relay end;
    Receiver receiver;
    end.connect(0, &receiver, 0);
    for (Calculator* calculator : {&a, &b}) {
        calculator->setData(1);
        calculator->setInputs(ints({0}));
    }
    const auto join = [](const Action& from, const Action& to) {
        EXPECT_TRUE(VObject::connect(&from, SIGNAL(valueChanged(int, double)), &to,
                                     SLOT(evaluate(int, double))));
    };
    join(a, b);
    join(b, end);
    a.evaluate(0, 5);
    EXPECT_THAT(receiver.elapsed, ElementsAre(7.0));
    join(b, a);
    WarningCatcher warnings;
    EXPECT_TRUE(a.evaluate(0, 5));
    EXPECT_EQ(warnings.take().size(), 1);
    EXPECT_EQ(receiver.elapsed.size(), 1u + 31); // from levels 2 to 62
}

TEST(Calculator, HasItsTypeAsAProperty)
{
    Calculator calculator;
    EXPECT_TRUE(calculator.setProperty("type", VVariant(text("Module"))));
    EXPECT_EQ(calculator.type(), Calculator::Module);
    EXPECT_STREQ(calculator.className(), "action::Calculator");
}

TEST(NodeInput, TakesValuesOfAddresses)
{
    NodeInput input;
    const Vector2i addresses[] = {{3, 1}, {3, 2}, {4, 1}, {-4, 9}, {3, 2}};
    input.setInputs(geometry::Vector2iArray(addresses, 5));
    EXPECT_FALSE(input.evaluate(Vector2i(3, 2), 2.5)); // nobody listens
    Changes values, states;
    const auto valueLink =
        listen(input, declare::overload<int, double>(&NodeInput::valueChanged), values);
    EXPECT_FALSE(input.evaluate(Vector2i(3, 2), 4));
    const auto stateLink = listen(input, &NodeInput::stateChanged, states);
    Receiver receiver;
    input.connect(2, &receiver, 6);

    EXPECT_TRUE(input.evaluate(Vector2i(3, 2), 2.5));
    EXPECT_TRUE(input.evaluate(Vector2i(3, 1), 4));
    EXPECT_TRUE(input.evaluate(Vector2i(4, 1), text("open")));
    EXPECT_TRUE(input.evaluate(Vector2i(-4, 9), 0));
    for (const Vector2i& other : {Vector2i(1, 3), Vector2i(3, 0), Vector2i(3, 3), Vector2i(9, 9)})
        EXPECT_FALSE(input.evaluate(other, 2.5));
    EXPECT_TRUE(input.evaluate(17, 1.5)); // no address, so as it is
    EXPECT_THAT(values, ElementsAre(testing::Pair(1, 2.5), testing::Pair(17, 1.5)));
    EXPECT_THAT(states, ElementsAre(testing::Pair(0, 4.0), testing::Pair(3, 0.0)));
    EXPECT_THAT(receiver.texts, ElementsAre("open"));
    EXPECT_THAT(receiver.details, ElementsAre(6));
}

TEST(MoveAction, SendsTheWayFromTheLastCoordinateOfEachAxis)
{
    MoveAction move;
    Receiver node, other;
    move.connect(2, &node, 0);
    move.connect(2, &other, 0);
    move.connect(1, &other, 0);
    EXPECT_TRUE(move.evaluate(6, 1));
    EXPECT_TRUE(move.evaluate(8, 5));
    EXPECT_TRUE(move.evaluate(8, 3));
    EXPECT_EQ(node.last.multVecMatrix(Vector3f()), Vector3f(0, 0, -2));
    EXPECT_EQ(node.matrix.multVecMatrix(Vector3f()), Vector3f(1, 0, 3));
    EXPECT_FALSE(move.evaluate(8, 3));
    EXPECT_FALSE(move.evaluate(7, 0)); // where it stands at first
    EXPECT_EQ(node.codes.size(), 3u);
    EXPECT_TRUE(move.evaluate(3, 8)); // another group has its own coordinates
    EXPECT_EQ(other.last.multVecMatrix(Vector3f()), Vector3f(8, 0, 0));
    EXPECT_FALSE(move.evaluate(0, 8));
}

TEST(MoveAction, RefusesWhatWouldSpoilANode)
{
    MoveAction move;
    Receiver node;
    for (const int key : {-1, 0})
        move.connect(key, &node, 0);
    for (const double value : {nan, infinity, 1e300})
        EXPECT_FALSE(move.evaluate(0, value)) << value;
    for (const int key : {-1, -2, -3})
        EXPECT_FALSE(move.evaluate(key, 1)) << key;
    EXPECT_TRUE(move.evaluate(0, 3e38));
    EXPECT_FALSE(move.evaluate(0, -3e38)); // too far a way
    EXPECT_EQ(node.codes.size(), 1u);
}

TEST(MoveAction, HoldsStillWhenItsOwnValueComesBack)
{
    MoveAction move;
    ValueTracker tracker;
    Receiver node;
    move.connect(0, &node, 0);
    tracker.connect(-1, &node, 0);
    tracker.setType(ValueTracker::TranslateX);
    ASSERT_TRUE(VObject::connect(&move, SIGNAL(valueChanged(Connection*)), &tracker,
                                 SLOT(transform(Connection*))));
    ASSERT_TRUE(VObject::connect(&tracker, SIGNAL(valueChanged(int, double)), &move,
                                 SLOT(evaluate(int, double))));
    EXPECT_TRUE(move.evaluate(0, 5));
    EXPECT_EQ(node.codes, (std::vector<int>{1001, 1003}));
    EXPECT_EQ(node.matrix.m[3][0], 5);
}

TEST(RotateAction, TurnsByTheDifferenceInDegrees)
{
    RotateAction rotate;
    EXPECT_TRUE(rotate.inherits("action::MoveAction"));
    Receiver node;
    rotate.connect(0, &node, 0);
    rotate.evaluate(2, 30);
    rotate.evaluate(2, 120);
    const Vector3f turned = node.last.multVecMatrix(Vector3f(1, 0, 0)); // by 90 degrees about z
    EXPECT_NEAR(turned.x, 0, 1e-6);
    EXPECT_NEAR(turned.y, 1, 1e-6);
    rotate.evaluate(0, 90);
    EXPECT_NEAR(node.last.multVecMatrix(Vector3f(0, 1, 0)).z, 1, 1e-6);
}

TEST(ScaleAction, SendsRatiosOnceAnAxisHasItsMark)
{
    ScaleAction scale;
    Receiver node;
    scale.connect(0, &node, 0);
    EXPECT_TRUE(scale.evaluate(1, 4)); // the mark
    EXPECT_EQ(node.last, Matrix4f());
    scale.evaluate(1, 6);
    EXPECT_EQ(node.last.multVecMatrix(Vector3f(1, 1, 1)), Vector3f(1, 1.5f, 1));
    scale.evaluate(1, 0); // counts as 1
    EXPECT_FLOAT_EQ(node.last.m[1][1], 1 / 6.0f);
    EXPECT_FALSE(scale.evaluate(1, 1));
    EXPECT_TRUE(scale.evaluate(0, 2));
    EXPECT_EQ(node.last, Matrix4f());
    EXPECT_TRUE(scale.evaluate(2, 1e-40));
    EXPECT_FALSE(scale.evaluate(2, 1e38)); // the ratio is beyond a float
}

TEST(ColorAction, SendsTheDifferenceInOneChannel)
{
    ColorAction action;
    Receiver first, second;
    action.connect(0, &first, 3);
    action.connect(1, &second, 0);
    EXPECT_TRUE(action.evaluate(6, 0.75));
    EXPECT_TRUE(action.evaluate(6, 0.5));
    EXPECT_EQ(second.added, geometry::Vector4f(0, 0, -0.25f, 0));
    EXPECT_FALSE(action.evaluate(6, 0.5));
    EXPECT_TRUE(action.evaluate(-5, 0.125)); // as key 0
    EXPECT_EQ(first.added, geometry::Vector4f(0.125f, 0, 0, 0));
    EXPECT_FALSE(action.evaluate(0, 0.125));
    EXPECT_FALSE(action.evaluate(8, 1));
}

TEST(ElapsedTime, PassesTheValueOn)
{
    ElapsedTime time;
    Receiver node;
    time.connect(4, &node, 0);
    EXPECT_TRUE(time.evaluate(4, 0.25));
    EXPECT_TRUE(time.evaluate(4, 0.25)); // equal ones too
    EXPECT_THAT(node.elapsed, ElementsAre(0.25, 0.25));
}

struct Format {
    const char* format;
    const char* result; // of 3.14159
};
class TextFormats : public testing::TestWithParam<Format>
{
};
TEST_P(TextFormats, AreHeldToOneNumber)
{
    TextAction action;
    Receiver node;
    action.connect(0, &node, 0);
    action.setFormats({QString::fromUtf8(GetParam().format)});
    EXPECT_TRUE(action.evaluate(0, 3.14159));
    EXPECT_THAT(node.texts, ElementsAre(GetParam().result));
}
INSTANTIATE_TEST_SUITE_P(
    Forms, TextFormats,
    testing::Values(Format{"%.2f bar", "3.14 bar"}, Format{"%8.3f|", "   3.142|"},
                    Format{"%-8.1e|", "3.1e+00 |"}, Format{"%+lf", "+3.141590"},
                    Format{"%05.1f", "003.1"}, Format{"%g %%", "3.14159 %"}, Format{"open", "open"},
                    Format{"100 %%", "100 %"}, Format{"%.1f \xC2\xB0", "3.1 \xC2\xB0"},
                    // What isn't passed on:
                    Format{"%s", "3.14159"}, Format{"%n", "3.14159"}, Format{"x %d", "3.14159"},
                    Format{"%*f", "3.14159"}, Format{"%.*f", "3.14159"}, Format{"%Lf", "3.14159"},
                    Format{"%100f", "3.14159"}, Format{"%.100f", "3.14159"},
                    Format{"%f %f", "3.14159"}, Format{"%1$f", "3.14159"}, Format{"%", "3.14159"},
                    Format{"%%%", "3.14159"}, Format{"%l", "3.14159"}, Format{"%hf", "3.14159"}));

TEST(TextAction, HasNoFormatForOtherKeys)
{
    TextAction action;
    Receiver node;
    action.setFormats({text("%.1f")});
    for (const int key : {-1, 0, 1})
        action.connect(key, &node, 0);
    for (const int key : {-1, 0, 1})
        action.evaluate(key, 0.26);
    EXPECT_THAT(node.texts, ElementsAre("0.26", "0.3", "0.26"));
    EXPECT_FALSE(action.evaluate(2, 1));
}

ColorScheme* makeScheme(std::initializer_list<unsigned> pixels,
                        std::initializer_list<geometry::Vector2f> pairs)
{
    VMemArray<VColor> colors;
    for (const unsigned pixel : pixels)
        colors.setExpand(colors.size(), VColor(pixel));
    colors.truncate(unsigned(pixels.size()));
    auto* scheme = new ColorScheme;
    scheme->set(colors, geometry::Vector2fArray(pairs.begin(), int(pairs.size())));
    return scheme;
}

struct Selection {
    double value;
    unsigned pixel; // 0 for none
};
class ColorSelection : public testing::TestWithParam<Selection>
{
};
TEST_P(ColorSelection, LooksTheValueUp)
{
    const auto [value, pixel] = GetParam();
    SelectColor select;
    select.setScheme(makeScheme({0xff000010, 0xff000011, 0xff000012}, {{0, 1},
                                                                       {1, 2.9f},
                                                                       {2, 0},
                                                                       {3, 3},
                                                                       {4, -1},
                                                                       {-5.5f, 1},
                                                                       {6, 1},
                                                                       {6, 2},
                                                                       {7, 0.5f},
                                                                       {9e9f, 2}}));
    Receiver node;
    select.connect(0, &node, 0);
    EXPECT_EQ(select.evaluate(0, value), pixel != 0);
    EXPECT_EQ(node.color.pixel(), pixel);
}
INSTANTIATE_TEST_SUITE_P(Values, ColorSelection,
                         testing::Values(Selection{0, 0xff000011}, Selection{0.9, 0xff000011},
                                         Selection{-0.9, 0xff000011}, Selection{1.5, 0xff000012},
                                         Selection{2, 0}, Selection{3, 0}, Selection{4, 0},
                                         Selection{-5, 0xff000011}, Selection{6, 0xff000012},
                                         Selection{7, 0}, Selection{1e300, 0xff000012},
                                         Selection{nan, 0}, Selection{-infinity, 0}));

TEST(SelectColor, KeepsTheColourOfReceiversAndNeedsAScheme)
{
    SelectColor select;
    Receiver node, plain(false);
    node.color = VColor(0xff123456);
    select.connect(3, &node, 8);
    select.connect(3, &plain, 0);
    EXPECT_THAT(node.details, ElementsAre(8));
    ConnectionList& list = *select.connections(3);
    EXPECT_EQ(static_cast<ColorConnection*>(list.first())->color().pixel(), 0xff123456);
    EXPECT_FALSE(static_cast<ColorConnection*>(list.last())->color().isValid());
    EXPECT_FALSE(select.evaluate(3, 1));
}

/// A tracker whose second watched object is `node`.
struct Tracking {
    Tracking()
    {
        tracker.connect(-1, &first, 0);
        tracker.connect(-1, &node, 4);
        link =
            listen(tracker, declare::overload<int, double>(&ValueTracker::valueChanged), changes);
    }
    ValueTracker tracker;
    Receiver first, node;
    Connection change{&node, 4};
    Changes changes;
    std::unique_ptr<VScopedConnection> link;
};

struct Component {
    int type;
    double value;
};
class TrackedComponents : public testing::TestWithParam<Component>
{
};
TEST_P(TrackedComponents, AreTakenFromTheObject)
{
    Tracking t;
    t.tracker.setType(ValueTracker::Type(GetParam().type));
    t.node.matrix.translate(1, 2, 3);
    t.node.matrix.zrotate(0.5f);
    t.node.matrix.scale(4);
    t.node.color = VColor(255, 51, 0, 102);
    t.tracker.transform(&t.change);
    t.tracker.changeColor(&t.change);
    EXPECT_THAT(t.changes,
                ElementsAre(testing::Pair(1, testing::DoubleNear(GetParam().value, 1e-5))));
}
INSTANTIATE_TEST_SUITE_P(Types, TrackedComponents,
                         testing::Values(Component{3, 1}, Component{4, 2}, Component{5, 3},
                                         Component{6, 0}, Component{7, 0}, Component{8, 0.5},
                                         Component{9, 4}, Component{10, 4}, Component{11, 4},
                                         Component{13, 1}, Component{14, 0.2}, Component{15, 0},
                                         Component{16, 0.4}, Component{17, 1}));

TEST(ValueTracker, EmitsWholeValuesAsPointers)
{
    Tracking t;
    t.node.matrix.translate(1, 2, 3);
    t.node.matrix.scale(2);
    t.node.color = VColor(0xff00ff00);
    Vector3f vector;
    geometry::Quaternion rotation(1, 1, 1, 1);
    VColor color;
    const VScopedConnection link(&t.tracker,
                                 declare::overload<int, void*>(&ValueTracker::valueChanged),
                                 [&](int position, void* value) {
                                     EXPECT_EQ(position, 1);
                                     if (t.tracker.type() == ValueTracker::Rotate)
                                         rotation = *static_cast<geometry::Quaternion*>(value);
                                     else if (t.tracker.type() == ValueTracker::Color)
                                         color = *static_cast<VColor*>(value);
                                     else
                                         vector = *static_cast<Vector3f*>(value);
                                 });
    t.tracker.transform(&t.change);
    EXPECT_EQ(vector, Vector3f(1, 2, 3));
    t.tracker.setType(ValueTracker::Scale);
    t.tracker.transform(&t.change);
    EXPECT_NEAR(vector.z, 2, 1e-5);
    t.tracker.setType(ValueTracker::Rotate);
    t.tracker.transform(&t.change);
    EXPECT_NEAR(rotation.w, 1, 1e-5);
    t.tracker.setType(ValueTracker::Color);
    t.tracker.changeColor(&t.change);
    EXPECT_EQ(color.pixel(), 0xff00ff00u);
    EXPECT_THAT(t.changes, IsEmpty());
}

TEST(ValueTracker, PointsReceiversToTheObject)
{
    Tracking t;
    Receiver viewer;
    t.tracker.connect(1, &viewer, 0);
    t.tracker.setType(ValueTracker::Color); // nothing for a transformation
    t.tracker.transform(&t.change);
    EXPECT_THAT(t.changes, IsEmpty());
    EXPECT_EQ(viewer.camera, &t.node);

    t.tracker.connect(0, &viewer, 0);
    EXPECT_TRUE(t.tracker.evaluate(0, 99));
    EXPECT_EQ(viewer.camera, &t.first);
    EXPECT_FALSE(t.tracker.evaluate(2, 1));
    EXPECT_FALSE(t.tracker.evaluate(-1, 1));
}

TEST(ValueTracker, PassesOverWhatItDoesNotWatch)
{
    Tracking t;
    t.tracker.setType(ValueTracker::TranslateX);
    Receiver stranger;
    Connection otherPart(&t.node, 5), other(&stranger, 4);
    t.tracker.transform(&otherPart);
    t.tracker.transform(&other);
    t.tracker.transform(nullptr);
    EXPECT_THAT(t.changes, IsEmpty());
    EXPECT_THAT(t.node.codes, IsEmpty());
}

TEST(ValueTracker, MayBeDeletedByWhatItTells)
{
    auto tracker = std::make_unique<ValueTracker>();
    Receiver node, viewer;
    tracker->setType(ValueTracker::ScaleX);
    tracker->connect(-1, &node, 0);
    tracker->connect(0, &viewer, 0);
    const VScopedConnection link(tracker.get(),
                                 declare::overload<int, double>(&ValueTracker::valueChanged),
                                 [&](int, double) { tracker.reset(); });
    Connection change(&node, 0);
    tracker->transform(&change);
    EXPECT_EQ(tracker, nullptr);
    EXPECT_THAT(viewer.codes, IsEmpty());
}
} // namespace
