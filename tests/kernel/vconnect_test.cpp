#include "kernel/vconnect.h"

#include "kernel/thermometer.h"
#include "support/warnings.h"

#include <memory>

using testing::ElementsAre;
using testing::IsEmpty;

TEST(VScopedConnection, DeliversInTurnWithConnectionsByText)
{
    Thermometer sender, receiver;
    const auto note = [&receiver](int channel, double) { receiver.pick(100 + channel); };
    VObject::connect(&sender, "2changed(int,double)", &receiver, "1pick(int)");
    const VScopedConnection call(&sender, &Thermometer::changed, note);
    VObject::connect(&sender, "2changed(int,double)", &receiver, "1reset()");
    const VScopedConnection member(&sender, &Thermometer::changed, &receiver, &Thermometer::show);
    sender.changed(1, 2.5);
    EXPECT_THAT(receiver.take(), ElementsAre("pick 1", "pick 101", "reset", "show 1 2.5"));
    EXPECT_THAT(sender.notified, ElementsAre("+2changed(int,double)", "+2changed(int,double)",
                                             "+2changed(int,double)", "+2changed(int,double)"));
}

TEST(VScopedConnection, TakesFewerArgumentsAndAllTypes)
{
    Thermometer sender, receiver;
    int plain = 0;
    QString name;
    const VScopedConnection links[] = {
        VScopedConnection(&sender, &Thermometer::changed, [&plain] { ++plain; }),
        VScopedConnection(&sender, &Thermometer::changed, &receiver, &Thermometer::pick),
        VScopedConnection(&sender, &Thermometer::changed, &receiver, &Thermometer::count),
        VScopedConnection(&sender, &Thermometer::scaled, &receiver, &Thermometer::rescale),
        VScopedConnection(&sender, &Thermometer::seen, &receiver, &Thermometer::look),
        VScopedConnection(&sender, &Thermometer::named, [&name](const QString& n) { name = n; })};
    sender.changed(4, 0);
    sender.scaled(Thermometer::Kelvin);
    sender.seen(&receiver);
    sender.named(QStringLiteral("pump"));
    EXPECT_EQ(plain, 1);
    EXPECT_EQ(receiver.count(0), 4);
    EXPECT_THAT(receiver.take(), ElementsAre("pick 4", "rescale 2", "look self"));
    EXPECT_EQ(name, QLatin1String("pump"));
    EXPECT_TRUE(links[0].isConnected());
}

TEST(VScopedConnection, PicksAnOverloadedSignal)
{
    int died = 0;
    const VObject* who = nullptr;
    auto object = std::make_unique<Thermometer>();
    const VObject* address = object.get();
    VScopedConnection with(object.get(), declare::overload<VObject*>(&VObject::destroyed),
                           [&](VObject* o) { who = o; });
    VScopedConnection without(object.get(), declare::overload<>(&VObject::destroyed),
                              [&] { ++died; });
    object.reset();
    EXPECT_EQ(who, address);
    EXPECT_EQ(died, 1);
    EXPECT_FALSE(with.isConnected() || without.isConnected());
}

TEST(VScopedConnection, EndsWithItsScopeAndCanBeMoved)
{
    Thermometer sender;
    int calls = 0;
    const auto count = [&calls] { ++calls; };
    VScopedConnection outer;
    {
        VScopedConnection inner(&sender, &Thermometer::ticked, count);
        VScopedConnection moved(&sender, &Thermometer::ticked, count);
        sender.ticked();
        EXPECT_EQ(std::exchange(calls, 0), 2);
        outer = std::move(moved);
    }
    sender.ticked();
    EXPECT_EQ(std::exchange(calls, 0), 1);
    outer = VScopedConnection(&sender, &Thermometer::changed, count); // the old one ends
    sender.ticked();
    EXPECT_EQ(calls, 0);
    outer.disconnect();
    EXPECT_FALSE(outer.isConnected());
    sender.changed(0, 0);
    EXPECT_EQ(calls, 0);
    VScopedConnection(&sender, &Thermometer::ticked, count).release();
    sender.ticked();
    EXPECT_EQ(calls, 1) << "left to the sender";
}

TEST(VScopedConnection, EndsWithEitherEnd)
{
    const auto token = std::make_shared<int>();
    auto sender = std::make_unique<Thermometer>();
    auto receiver = std::make_unique<Thermometer>();
    int calls = 0;
    VScopedConnection link(sender.get(), &Thermometer::ticked, receiver.get(),
                           [token, &calls] { ++calls; });
    VScopedConnection stays(sender.get(), &Thermometer::ticked, [token] {});
    receiver.reset();
    EXPECT_FALSE(link.isConnected());
    sender->ticked();
    EXPECT_EQ(calls, 0);
    sender.reset();
    EXPECT_FALSE(stays.isConnected());
    stays.disconnect();
    link = VScopedConnection();
    EXPECT_EQ(token.use_count(), 1) << "the functions are freed with the last who knew them";
}

TEST(VScopedConnection, IsCoveredByWiderDisconnects)
{
    Thermometer sender, receiver;
    VScopedConnection one(&sender, &Thermometer::ticked, &receiver, &Thermometer::reset);
    EXPECT_TRUE(VObject::disconnect(&sender, nullptr, &receiver, nullptr));
    EXPECT_FALSE(one.isConnected());
    VScopedConnection two(&sender, &Thermometer::ticked, [] {});
    EXPECT_TRUE(VObject::disconnect(&sender, "2ticked()", nullptr, nullptr));
    EXPECT_FALSE(two.isConnected());
}

TEST(VScopedConnection, MayEndWhileItIsCalled)
{
    Thermometer sender;
    std::string log;
    auto token = std::make_shared<std::string>("kept");
    VScopedConnection self, later;
    self = VScopedConnection(&sender, &Thermometer::ticked, [&, token] {
        self.disconnect();
        later.disconnect();
        log += *token; // what it captured is still there
    });
    later = VScopedConnection(&sender, &Thermometer::ticked, [&] { log += "later"; });
    sender.ticked();
    sender.ticked();
    EXPECT_EQ(log, "kept");
    EXPECT_EQ(token.use_count(), 1);
}

TEST(VScopedConnection, TheFunctionMayOwnTheObjects)
{
    // Freeing what a function has captured takes objects and connections with it.
    auto sender = std::make_shared<Thermometer>();
    auto receiver = std::make_shared<Thermometer>();
    Thermometer other;
    VObject::connect(&other, "2ticked()", receiver.get(), "1reset()");
    VScopedConnection link(&other, &Thermometer::ticked, [receiver] {});
    VObject::connect(&other, "2ticked()", receiver.get(), "1reset()");
    receiver.reset();
    link.release();
    EXPECT_TRUE(VObject::disconnect(&other, "2ticked()", nullptr, nullptr));
    other.ticked();

    VScopedConnection(&*sender, &Thermometer::ticked, &other, [sender] {}).release();
    Thermometer* raw = sender.get();
    sender.reset();
    VScopedConnection watch(raw, declare::overload<>(&VObject::destroyed), [] {});
    VObject::disconnect(raw, "2ticked()", nullptr, nullptr);
    EXPECT_FALSE(watch.isConnected());
}

TEST(VScopedConnection, WarnsOfWhatIsNoSignal)
{
    Thermometer sender;
    WarningCatcher warnings;
    VScopedConnection slot(&sender, &Thermometer::reset, [] {});
    EXPECT_EQ(warnings.text(), QLatin1String("VScopedConnection: The function is not a signal of "
                                             "plant::Thermometer"));
    VScopedConnection null(static_cast<Thermometer*>(nullptr), &Thermometer::ticked, [] {});
    VScopedConnection nobody(&sender, &Thermometer::ticked, static_cast<Thermometer*>(nullptr),
                             &Thermometer::reset);
    EXPECT_EQ(warnings.text(),
              QLatin1String("VScopedConnection: Cannot connect (null) to (null) | "
                            "VScopedConnection: Cannot connect plant::Thermometer to (null)"));
    EXPECT_FALSE(slot.isConnected() || null.isConnected() || nobody.isConnected());
}
