#include "action/actionfactory.h"
#include "action/complexaction.h"
#include "receivers.h"
#include "support/warnings.h"

using namespace action;
using testing::ElementsAre;

namespace
{
/// Counts what comes, and says what it was told to.
struct Counter : Action {
    explicit Counter(bool answer) : result(answer) {}
    bool evaluate(int, double) override
    {
        ++calls;
        return result;
    }
    bool result;
    int calls = 0;
};

TEST(Action, CallsReceiversInTheOrderOfConnectingWithTheirIndexes)
{
    Relay relay;
    Receiver a, b;
    relay.connect(3, &a, 7);
    relay.connect(3, &b, -1);
    relay.connect(3, &a, 2);
    relay.connect(4, &b, 9);
    std::string order;
    a.during = [&] { order += 'a'; };
    b.during = [&] { order += 'b'; };
    EXPECT_TRUE(relay.evaluate(3, 1.5));
    EXPECT_EQ(order, "aba");
    EXPECT_THAT(a.details, ElementsAre(7, 2));
    EXPECT_THAT(b.details, ElementsAre(-1));
    EXPECT_FALSE(relay.evaluate(5, 1));
}

TEST(Action, TellsOfTheConnectionsWhoseReceiversTookTheEvent)
{
    Relay relay;
    Receiver taking, refusing(false);
    relay.connect(0, &refusing, 1);
    std::vector<int> told;
    const VScopedConnection link(&relay, &Action::valueChanged,
                                 [&](Connection* c) { told.push_back(c->index()); });
    EXPECT_FALSE(relay.evaluate(0, 1));
    relay.connect(0, &taking, 2);
    EXPECT_TRUE(relay.evaluate(0, 1));
    EXPECT_THAT(told, ElementsAre(2));
    relay.blockSignals(true);
    relay.evaluate(0, 1);
    EXPECT_EQ(told.size(), 1u);
}

TEST(Action, WarnsOfNullReceivers)
{
    Action action;
    WarningCatcher warnings;
    EXPECT_FALSE(action.connect(5, nullptr, 0));
    EXPECT_FALSE(action.disconnect(5, nullptr, 0));
    EXPECT_EQ(warnings.text().toStdString(), "Action::connect: Cannot connect 5 to (null) | "
                                             "Action::disconnect: Unexpected null parameter");
    EXPECT_EQ(action.connections(), nullptr);
}

TEST(Action, DisconnectsOneIndexOrAll)
{
    Relay relay;
    Receiver a, b;
    for (const int index : {1, 2, 1})
        relay.connect(0, &a, index);
    relay.connect(0, &b, 1);
    EXPECT_TRUE(relay.disconnect(0, &a, 1));
    relay.evaluate(0, 1);
    EXPECT_THAT(a.details, ElementsAre(2));
    EXPECT_TRUE(relay.disconnect(0, &a, -1));
    EXPECT_TRUE(relay.disconnect(17, &a, -1));
    relay.evaluate(0, 1);
    EXPECT_EQ(a.details.size(), 1u);
    EXPECT_THAT(b.details, ElementsAre(1, 1));
}

TEST(Action, TellsItsKeysInAscendingOrder)
{
    Action action;
    Receiver receiver;
    for (const int key : {40, -1, 7, 0, 14, 1000000, 21})
        action.connect(key, &receiver, 0);
    const VMemArray<int> keys = action.connections()->keys();
    EXPECT_THAT(std::vector<int>(keys.begin(), keys.end()),
                ElementsAre(-1, 0, 7, 14, 21, 40, 1000000));
}

TEST(Action, GrowsTheTableOfKeysBeforeItIsFull)
{
    Action action;
    Receiver receiver;
    for (int key = 0; key < 7; ++key)
        action.connect(key, &receiver, 0);
    EXPECT_EQ(action.connections()->size(), 14u); // 6 of 7 are more than four fifths
}

TEST(Action, LetsReceiversChangeConnectionsAndEvenDeleteIt)
{
    auto relay = std::make_unique<Relay>();
    Receiver a, b, c;
    relay->connect(0, &a, 0);
    relay->connect(0, &b, 0);
    relay->connect(0, &c, 0);
    int told = 0;
    VScopedConnection link(relay.get(), &Action::valueChanged, [&](Connection*) { ++told; });
    a.during = [&] { relay->disconnect(0, &a, -1); };
    relay->evaluate(0, 1);
    EXPECT_EQ(told, 2); // not of the connection that is gone
    EXPECT_EQ(b.codes.size() + c.codes.size(), 2u);
    b.during = [&] { relay.reset(); };
    EXPECT_TRUE(relay->evaluate(0, 1));
    EXPECT_EQ(told, 2);
    EXPECT_EQ(c.codes.size(), 1u);
}

TEST(Action, ForgetsReceiversUnderEveryKey)
{
    Relay relay;
    Receiver a, b, c;
    for (int key = 0; key < 3; ++key)
        for (const Receiver* receiver : {&a, &b, &c, &a})
            relay.connect(key, receiver, 0);
    relay.forgetReceivers({&a, &c});
    relay.evaluate(1, 1);
    EXPECT_TRUE(a.codes.empty() && c.codes.empty());
    relay.forgetReceiver(&b);
    EXPECT_FALSE(relay.evaluate(2, 1));
    EXPECT_EQ(b.codes.size(), 1u);
}

TEST(ComplexAction, CallsAllItsActionsWhateverTheyReturn)
{
    Counter yes(true), no(false);
    ComplexAction complex;
    EXPECT_FALSE(complex.evaluate(0, 1));
    complex.append(&no);
    EXPECT_FALSE(complex.evaluate(0, 1));
    complex.append(&yes);
    complex.append(&no);
    EXPECT_TRUE(complex.evaluate(0, 1));
    EXPECT_EQ(yes.calls, 1);
    EXPECT_EQ(no.calls, 3);
}

TEST(ComplexAction, LosesActionsThatAreDeletedOrForgotten)
{
    Counter kept(true);
    auto gone = std::make_unique<Counter>(true);
    auto first = std::make_unique<ComplexAction>();
    ComplexAction second;
    for (ComplexAction* complex : {first.get(), &second}) {
        complex->append(gone.get());
        complex->append(&kept);
        complex->append(gone.get());
    }
    first->forget(&kept);
    EXPECT_EQ(first->actions().count(), 2u);
    first.reset();
    gone.reset();
    EXPECT_EQ(second.actions().count(), 1u);
    EXPECT_TRUE(second.evaluate(0, 1));
    EXPECT_EQ(kept.calls, 1);
}

TEST(ComplexAction, EndsARingAtSixtyFourLevelsWithOneWarning)
{
    ComplexAction a, b;
    Counter inside(true);
    a.setName("pump");
    b.setName("valve");
    a.append(&inside);
    a.append(&b);
    b.append(&a);
    WarningCatcher warnings;
    EXPECT_TRUE(a.evaluate(0, 1));
    EXPECT_EQ(inside.calls, 32); // every other level
    EXPECT_EQ(warnings.text().toStdString(), "Action::evaluate: More than 64 levels at pump");
    a.evaluate(0, 1);
    EXPECT_EQ(warnings.take().size(), 1);
}

TEST(ComplexAction, EndsWhereWaysDoubleAtEachLevel)
{
    std::vector<std::unique_ptr<ComplexAction>> chain;
    for (int i = 0; i < 60; ++i)
        chain.push_back(std::make_unique<ComplexAction>());
    for (int i = 0; i + 1 < 60; ++i)
        for (int twice = 0; twice < 2; ++twice)
            chain[i]->append(chain[i + 1].get());
    WarningCatcher warnings;
    EXPECT_FALSE(chain[0]->evaluate(0, 1));
    EXPECT_EQ(warnings.take().size(), 1);
}

TEST(ActionFactory, MakesWhatItKnows)
{
    ActionFactory factory;
    EXPECT_EQ(factory.getInstance("Complexaction"), nullptr);
    EXPECT_EQ(factory.getInstance(nullptr), nullptr);
    const std::unique_ptr<Action> made(factory.getInstance("ComplexAction"));
    ASSERT_TRUE(made);
    EXPECT_STREQ(made->className(), "action::ComplexAction");
    for (int i = 0; i < 100; ++i)
        factory.addFactory(QByteArray::number(i), [] { return static_cast<Action*>(new Relay); });
    const std::unique_ptr<Action> added(ActionFactory().getInstance("77"));
    EXPECT_TRUE(dynamic_cast<Relay*>(added.get()));
}
} // namespace
