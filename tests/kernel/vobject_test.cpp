#include "kernel/vobject.h"

#include "kernel/thermometer.h"
#include "support/warnings.h"

#include <functional>
#include <memory>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
/// Does in its slot, and as a filter, what a test asks for.
class Hook : public VObject
{
public:
    Hook(std::string* log, char name, std::function<void()> work = {})
        : m_log(log), m_name(name), m_work(std::move(work))
    {
    }

    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;
    bool slot_invoke(int id, VUObject* o) override;
    bool eventFilter(VObject*, VEvent*) override
    {
        const bool taken = takesEvents; // this may be deleted by the call
        call();
        return taken;
    }

    void call()
    {
        *m_log += m_name;
        const auto work = m_work;
        if (work)
            work();
    }

    using VObject::checkConnectArgs;

    bool takesEvents = false;

private:
    struct Meta;
    static VMetaObject* metaObj;

    std::string* m_log;
    char m_name;
    std::function<void()> m_work;
};

struct Hook::Meta {
    static constexpr declare::Slots slotTable{declare::slot<&Hook::call>("call()")};
};
VMetaObject* Hook::metaObj = nullptr;

VMetaObject* Hook::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("Hook", VObject::staticMetaObject(), Meta::slotTable);
    return metaObj;
}

VMetaObject* Hook::metaObject() const
{
    return staticMetaObject();
}

bool Hook::slot_invoke(int id, VUObject* o)
{
    return Meta::slotTable.invoke(this, id, o) || VObject::slot_invoke(id, o);
}

QString latin1(const char* text)
{
    return QString::fromLatin1(text);
}

VEvent* someEvent()
{
    static char place;
    return reinterpret_cast<VEvent*>(&place); // nobody looks into it
}
} // namespace

struct Signature {
    const char* text;
    const char* normal;
};
class VObjectNormalize : public testing::TestWithParam<Signature>
{
};
TEST_P(VObjectNormalize, KeepsBlanksBetweenWordsOnly)
{
    EXPECT_STREQ(VObject::normalizeSignalSlot(GetParam().text).data(), GetParam().normal);
    EXPECT_TRUE(declare::isNormalised(GetParam().normal));
}
INSTANTIATE_TEST_SUITE_P(
    Texts, VObjectNormalize,
    testing::Values(Signature{"2valueChanged( int , double )", "2valueChanged(int,double)"},
                    Signature{"  1f ( const char * )\t", "1f(const char*)"},
                    Signature{"1f(unsigned \n\v int,A_1   b)", "1f(unsigned int,A_1 b)"},
                    Signature{"1f(const VString &)", "1f(const VString&)"}, Signature{"   ", ""},
                    Signature{"", ""}));

TEST(VObject, NormalizesNullToEmpty)
{
    EXPECT_TRUE(VObject::normalizeSignalSlot(nullptr) == "");
}

struct Fit {
    const char* signal;
    const char* member;
    bool fits;
};
class VObjectArguments : public testing::TestWithParam<Fit>
{
};
TEST_P(VObjectArguments, TakeTheLeadingOnesOfTheSignal)
{
    std::string log;
    Hook hook(&log, 'h');
    EXPECT_EQ(hook.checkConnectArgs(GetParam().signal, &hook, GetParam().member), GetParam().fits);
}
INSTANTIATE_TEST_SUITE_P(
    Pairs, VObjectArguments,
    testing::Values(Fit{"a(int,double)", "b(int,double)", true},
                    Fit{"a(int,double)", "b(int)", true}, Fit{"a(int,double)", "b()", true},
                    Fit{"a()", "b()", true}, Fit{"a(int,double)", "b(double)", false},
                    Fit{"a(int)", "b(int,double)", false}, Fit{"a()", "b(int)", false},
                    Fit{"a(int*)", "b(int)", false}, Fit{"a(interval)", "b(int)", false}));

struct BadConnect {
    const char* signal;
    const char* member;
    const char* warning;
};
class VObjectConnect : public testing::TestWithParam<BadConnect>
{
};
TEST_P(VObjectConnect, SaysWhatIsWrong)
{
    Thermometer sender, receiver;
    WarningCatcher warnings;
    EXPECT_FALSE(VObject::connect(&sender, GetParam().signal, &receiver, GetParam().member));
    EXPECT_EQ(warnings.text(), latin1(GetParam().warning));
    EXPECT_THAT(sender.notified, IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(
    Texts, VObjectConnect,
    testing::Values(
        BadConnect{nullptr, "1reset()",
                   "VObject::connect: Cannot connect plant::Thermometer::(null) to "
                   "plant::Thermometer::reset()"},
        BadConnect{"2ticked()", nullptr,
                   "VObject::connect: Cannot connect plant::Thermometer::ticked() to "
                   "plant::Thermometer::(null)"},
        BadConnect{"1reset( )", "1reset()",
                   "VObject::connect: Attempt to bind non-signal plant::Thermometer::reset()"},
        BadConnect{"ticked( )", "1reset()",
                   "VObject::connect: Use the SIGNAL macro to bind plant::Thermometer::ticked()"},
        BadConnect{"2tocked( )", "1reset()",
                   "VObject::connect: No such signal plant::Thermometer::tocked()"},
        BadConnect{"2ticked", "1reset()",
                   "VObject::connect: Parentheses expected, signal plant::Thermometer::ticked"},
        BadConnect{"2named(const char*)", "1reset()",
                   "VObject::connect: No such signal plant::Thermometer::named(const char*) | "
                   "VObject::connect:  Candidate: named(const VString&)"},
        BadConnect{"2ticked()", "reset( )",
                   "VObject::connect: Use the SLOT or SIGNAL macro to connect "
                   "plant::Thermometer::reset()"},
        BadConnect{"2ticked()", "1ticked()",
                   "VObject::connect: No such slot plant::Thermometer::ticked()"},
        BadConnect{"2ticked()", "2reset()",
                   "VObject::connect: No such signal plant::Thermometer::reset()"},
        BadConnect{"2ticked()", "1reset",
                   "VObject::connect: Parentheses expected, slot plant::Thermometer::reset"},
        BadConnect{"2ticked()", "1rename(const char*)",
                   "VObject::connect: No such slot plant::Thermometer::rename(const char*) | "
                   "VObject::connect:  Candidate: rename(const VString&)"}));

TEST(VObject, ConnectNamesMissingObjects)
{
    Thermometer object;
    WarningCatcher warnings;
    EXPECT_FALSE(VObject::connect(nullptr, "2ticked()", &object, "1reset()"));
    EXPECT_FALSE(VObject::connect(&object, "2ticked()", nullptr, ""));
    EXPECT_EQ(warnings.text(),
              latin1("VObject::connect: Cannot connect (null)::ticked() to "
                     "plant::Thermometer::reset() | VObject::connect: Cannot connect "
                     "plant::Thermometer::ticked() to (null)::"));
}

TEST(VObject, DeliversEveryTypeInTheOrderOfConnecting)
{
    Thermometer sender, receiver;
    const char* pairs[][2] = {{"2changed(int,double)", "1show(int,double)"},
                              {"2changed(int,double)", "1pick(int)"},
                              {"2changed(int,double)", "1reset()"},
                              {"2named(const VString&)", "1rename(const VString&)"},
                              {"2scaled(Scale)", "1rescale(Scale)"},
                              {"2seen(const VObject*)", "1look(const VObject*)"},
                              {"2spelled(const char*,bool)", "1spell(const char*,bool)"}};
    WarningCatcher warnings;
    for (const auto& pair : pairs)
        ASSERT_TRUE(VObject::connect(&sender, pair[0], &receiver, pair[1])) << pair[0];
    EXPECT_TRUE(warnings.isEmpty());
    sender.changed(3, 1.5);
    sender.named(QStringLiteral("boiler"));
    sender.scaled(Thermometer::Kelvin);
    sender.seen(&receiver);
    sender.spelled("hot", true);
    EXPECT_THAT(receiver.take(), ElementsAre("show 3 1.5", "pick 3", "reset", "rename boiler",
                                             "rescale 2", "look self", "spell hot."));
}

TEST(VObject, PassesSignalsOnToSignals)
{
    Thermometer sender, relay, receiver;
    VObject::connect(&sender, "2changed(int,double)", &relay, "2changed(int,double)");
    VObject::connect(&relay, "2changed(int,double)", &receiver, "1show(int,double)");
    sender.changed(1, 2);
    EXPECT_THAT(receiver.take(), ElementsAre("show 1 2"));
    relay.blockSignals(true);
    sender.changed(1, 2);
    EXPECT_THAT(receiver.take(), IsEmpty());
}

TEST(VObject, BlockedSendsNothingButStillReceives)
{
    Thermometer sender, receiver;
    VObject::connect(&sender, "2ticked()", &receiver, "1reset()");
    receiver.blockSignals(true);
    sender.ticked();
    EXPECT_THAT(receiver.take(), ElementsAre("reset"));
    sender.blockSignals(true);
    sender.ticked();
    EXPECT_THAT(receiver.take(), IsEmpty());
    sender.blockSignals(false);
    sender.ticked();
    EXPECT_THAT(receiver.take(), ElementsAre("reset"));
}

struct Misfit {
    const char* signal;
    const char* slot;
    const char* note; // what the slot sees of 7 and 2.5
};
class VObjectMisfit : public testing::TestWithParam<Misfit>
{
};
TEST_P(VObjectMisfit, WarnsAndConvertsWhatItCan)
{
    Thermometer sender, receiver;
    WarningCatcher warnings;
    const std::string signal = std::string("2") + GetParam().signal;
    const std::string slot = std::string("1") + GetParam().slot;
    EXPECT_TRUE(VObject::connect(&sender, signal.c_str(), &receiver, slot.c_str()));
    EXPECT_EQ(warnings.text(), latin1("VObject::connect: Incompatible sender/receiver arguments\n"
                                      "\tplant::Thermometer::%1 --> plant::Thermometer::%2")
                                   .arg(latin1(GetParam().signal), latin1(GetParam().slot)));
    // A second receiver sees the arguments unchanged.
    VObject::connect(&sender, "2changed(int,double)", &receiver, "1pick(int)");
    sender.changed(7, 2.5);
    sender.ticked();
    sender.named(QStringLiteral("11"));
    EXPECT_THAT(receiver.take(), testing::Contains(GetParam().note));
}
INSTANTIATE_TEST_SUITE_P(
    Pairs, VObjectMisfit,
    testing::Values(Misfit{"changed(int,double)", "warm(double)", "warm 7"},
                    Misfit{"changed(int,double)", "rename(const VString&)", "rename 7"},
                    Misfit{"changed(int,double)", "look(const VObject*)", "look other"},
                    Misfit{"changed(int,double)", "flag(bool)", "flag off"},
                    Misfit{"named(const VString&)", "pick(int)", "pick 11"},
                    Misfit{"named(const VString&)", "show(int,double)", "show 11 0"},
                    Misfit{"ticked()", "show(int,double)", "show 0 0"},
                    Misfit{"ticked()", "pick(int)", "pick 0"}));

TEST(VObject, HandsAResultFromOneReceiverToTheNext)
{
    Thermometer sender, first, second;
    WarningCatcher warnings;
    VObject::connect(&sender, "2ticked()", &first, "1reset()");
    VObject::connect(&sender, "2ticked()", &second, "1count(int)");
    VConnectionList* list = sender.receivers("2ticked()");
    VUObject o[2];
    static_VUType_VString.set(o, QStringLiteral("left by somebody"));
    sender.activate_signal(list, o);
    EXPECT_EQ(o[0].type, &static_VUType_int) << "the text was freed and replaced";
    EXPECT_EQ(static_VUType_int.get(o), 0) << "the missing argument counts as 0";
}

TEST(VObject, ConnectingTwiceDeliversTwiceAndOneDisconnectEndsBoth)
{
    Thermometer sender, receiver;
    for (int i = 0; i < 2; ++i)
        VObject::connect(&sender, "2ticked()", &receiver, "1reset()");
    sender.ticked();
    EXPECT_THAT(receiver.take(), ElementsAre("reset", "reset"));
    EXPECT_TRUE(VObject::disconnect(&sender, "2ticked()", &receiver, "1reset()"));
    sender.ticked();
    EXPECT_THAT(receiver.take(), IsEmpty());
    ASSERT_TRUE(sender.receivers("2ticked()")) << "the empty list stays";
    EXPECT_TRUE(sender.receivers("2ticked()")->isEmpty());
}

struct Cut {
    const char* signal;
    bool receiver;
    const char* member;
    std::vector<std::string> rest; // of the calls that changed and ticked make in two receivers
    const char* told;
};
class VObjectDisconnect : public testing::TestWithParam<Cut>
{
};
TEST_P(VObjectDisconnect, WidensWithEveryNull)
{
    Thermometer sender, one, two;
    for (Thermometer* receiver : {&one, &two})
        for (const char* signal : {"2changed(int,double)", "2ticked()"})
            for (const char* slot : {"1reset()", "2ticked()"})
                VObject::connect(&sender, signal, receiver, slot);
    sender.notified.clear();
    EXPECT_TRUE(VObject::disconnect(&sender, GetParam().signal,
                                    GetParam().receiver ? &one : nullptr, GetParam().member));
    EXPECT_THAT(sender.notified, ElementsAre(GetParam().told));
    std::vector<std::string> rest;
    const auto list = [&](const char* signal, const char* letter) {
        if (VConnectionList* connections = sender.receivers(signal))
            for (const VConnection* c : *connections)
                rest.push_back(std::string(letter) + (c->object() == &one ? "1" : "2") +
                               (c->memberType() == VConnection::Slot ? "s" : "e"));
    };
    list("changed(int,double)", "c");
    list("ticked()", "t");
    EXPECT_EQ(rest, GetParam().rest);
    // The receivers know as many connections as there are: none is left behind when all die.
}
INSTANTIATE_TEST_SUITE_P(
    Forms, VObjectDisconnect,
    testing::Values(
        Cut{"2ticked()",
            true,
            "1reset()",
            {"c1s", "c1e", "c2s", "c2e", "t1e", "t2s", "t2e"},
            "-2ticked()"},
        Cut{"2ticked( )", true, nullptr, {"c1s", "c1e", "c2s", "c2e", "t2s", "t2e"}, "-2ticked()"},
        Cut{"2ticked()", false, nullptr, {"c1s", "c1e", "c2s", "c2e"}, "-2ticked()"},
        Cut{nullptr, true, "1reset()", {"c1e", "c2s", "c2e", "t1e", "t2s", "t2e"}, "-all"},
        Cut{nullptr, true, nullptr, {"c2s", "c2e", "t2s", "t2e"}, "-all"},
        Cut{nullptr, false, nullptr, {}, "-all"},
        Cut{"2named(const VString&)",
            false,
            nullptr,
            {"c1s", "c1e", "c2s", "c2e", "t1s", "t1e", "t2s", "t2e"},
            "-2named(const VString&)"},
        Cut{"2destroyed()",
            true,
            nullptr,
            {"c1s", "c1e", "c2s", "c2e", "t1s", "t1e", "t2s", "t2e"},
            "-2destroyed()"}));

struct BadCut {
    const char* signal;
    const char* member;
    const char* warning;
};
class VObjectBadDisconnect : public testing::TestWithParam<BadCut>
{
};
TEST_P(VObjectBadDisconnect, SaysWhatIsWrongAndKeepsTheConnection)
{
    Thermometer sender, receiver;
    VObject::connect(&sender, "2ticked()", &receiver, "1reset()");
    WarningCatcher warnings;
    EXPECT_FALSE(VObject::disconnect(&sender, GetParam().signal, &receiver, GetParam().member));
    EXPECT_EQ(warnings.text(), latin1(GetParam().warning));
    sender.ticked();
    EXPECT_THAT(receiver.take(), ElementsAre("reset"));
}
INSTANTIATE_TEST_SUITE_P(
    Texts, VObjectBadDisconnect,
    testing::Values(
        BadCut{"ticked()", "1reset()",
               "VObject::disconnect: Use the SIGNAL macro to unbind plant::Thermometer::ticked()"},
        BadCut{"1ticked()", "1reset()",
               "VObject::disconnect: Attempt to unbind non-signal plant::Thermometer::ticked()"},
        BadCut{"2named(const char*)", nullptr,
               "VObject::disconnect: No such signal plant::Thermometer::named(const char*)"},
        BadCut{"2ticked()", "reset()",
               "VObject::disconnect: Use the SLOT or SIGNAL macro to disconnect "
               "plant::Thermometer::reset()"},
        BadCut{"2ticked()", "1rename(const char*)",
               "VObject::disconnect: No such slot plant::Thermometer::rename(const char*) | "
               "VObject::connect:  Candidate: rename(const VString&)"}));

TEST(VObject, DisconnectRefusesNulls)
{
    Thermometer object;
    {
        WarningCatcher warnings;
        EXPECT_FALSE(VObject::disconnect(nullptr, nullptr, nullptr, nullptr));
        EXPECT_FALSE(VObject::disconnect(&object, nullptr, nullptr, "1reset()"));
        EXPECT_EQ(warnings.text(), latin1("VObject::disconnect: Unexpected null parameter | "
                                          "VObject::disconnect: Unexpected null parameter"));
    }
    EXPECT_FALSE(VObject::disconnect(&object, nullptr, nullptr, nullptr)) << "never connected";
    EXPECT_THAT(object.notified, IsEmpty());
}

TEST(VObject, TellsOfConnectionsWithTheNormalText)
{
    Thermometer sender, receiver;
    VObject::connect(&sender, "2changed( int, double )", &receiver, "1reset( )");
    EXPECT_THAT(sender.notified, ElementsAre("+2changed(int,double)"));
}

TEST(VObject, FindsReceiversByIndexAndText)
{
    Thermometer sender, receiver;
    EXPECT_EQ(sender.receivers("2ticked()"), nullptr);
    VObject::connect(&sender, "2ticked()", &receiver, "1reset()");
    const int index = Thermometer::staticMetaObject()->findSignal("ticked()");
    VConnectionList* list = sender.receivers(index);
    ASSERT_TRUE(list);
    EXPECT_EQ(sender.receivers("2 ticked ( ) "), nullptr) << "the code is part of the first word";
    EXPECT_EQ(sender.receivers("2ticked ( ) "), list);
    EXPECT_EQ(sender.receivers("ticked()"), list);
    EXPECT_EQ(sender.receivers("ticked( )"), nullptr) << "looked up as it stands";
    EXPECT_EQ(sender.receivers(-1), nullptr);
    EXPECT_EQ(sender.receivers(1000), nullptr);
    EXPECT_EQ(sender.receivers(static_cast<const char*>(nullptr)), nullptr);
    const VConnection* connection = list->first();
    EXPECT_EQ(connection->object(), &receiver);
    EXPECT_STREQ(connection->memberName(), "reset()");
    EXPECT_EQ(connection->member(), Thermometer::staticMetaObject()->findSlot("reset()"));
}

TEST(VObject, ConnectsByIndexWithoutAsking)
{
    Thermometer sender, receiver;
    const VMetaObject* meta = Thermometer::staticMetaObject();
    VObject::connectInternal(&sender, meta->findSignal("ticked()"), &receiver, VConnection::Slot,
                             meta->findSlot("reset()"));
    VObject::connectInternal(&sender, 40, &receiver, VConnection::Slot, 999);
    EXPECT_THAT(sender.notified, IsEmpty());
    sender.ticked();
    EXPECT_THAT(receiver.take(), ElementsAre("reset"));
    ASSERT_TRUE(sender.receivers(40)) << "an index past the end makes the vector grow";
    EXPECT_STREQ(sender.receivers(40)->first()->memberName(), "slot_invoke");
    sender.activate_signal(40);
    EXPECT_THAT(receiver.take(), IsEmpty());
}

TEST(VObject, ShortFormsSendOneArgument)
{
    Thermometer sender, receiver;
    const VMetaObject* meta = Thermometer::staticMetaObject();
    const int signal = meta->findSignal("ticked()");
    const auto deliver = [&](const char* slot, auto send) {
        VObject::disconnect(&sender, nullptr, nullptr, nullptr);
        // The short forms take any signal, so one serves all of them.
        VObject::connectInternal(&sender, meta->findSignal("named(const VString&)"), &receiver,
                                 VConnection::Slot, meta->findSlot(slot));
        send(meta->findSignal("named(const VString&)"));
        return receiver.take();
    };
    EXPECT_THAT(deliver("reset()", [&](int s) { sender.activate_signal(s); }),
                ElementsAre("reset"));
    EXPECT_THAT(deliver("pick(int)", [&](int s) { sender.activate_signal(s, 4); }),
                ElementsAre("pick 4"));
    EXPECT_THAT(deliver("warm(double)", [&](int s) { sender.activate_signal(s, 0.5); }),
                ElementsAre("warm 0.5"));
    EXPECT_THAT(deliver("rename(const VString&)",
                        [&](int s) { sender.activate_signal(s, QStringLiteral("x")); }),
                ElementsAre("rename x"));
    EXPECT_THAT(deliver("flag(bool)", [&](int s) { sender.activate_signal_bool(s, true); }),
                ElementsAre("flag on"));
    sender.activate_signal(-1, 1);
    sender.activate_signal(signal, 1);
    EXPECT_THAT(receiver.take(), IsEmpty());
}

// What slots do to the delivery that calls them. Letters are hooks, in the order of their calls;
// "x" in a name tells who acts.
class VObjectDelivery : public testing::Test
{
protected:
    /// Connects a hook that appends its name and then does `work`.
    Hook* add(char name, std::function<void()> work = {})
    {
        auto hook = std::make_unique<Hook>(&log, name, std::move(work));
        VObject::connect(sender.get(), "2ticked()", hook.get(), "1call()");
        Hook* raw = hook.get();
        hooks[name] = std::move(hook);
        return raw;
    }

    void cut(char name)
    {
        VObject::disconnect(sender.get(), "2ticked()", hooks[name].get(), "1call()");
    }
    void join(char name)
    {
        VObject::connect(sender.get(), "2ticked()", hooks[name].get(), "1call()");
    }

    std::string emitted()
    {
        log.clear();
        sender->ticked();
        return log;
    }

    std::string log;
    std::map<char, std::unique_ptr<Hook>> hooks;
    std::unique_ptr<Thermometer> sender = std::make_unique<Thermometer>();
};

TEST_F(VObjectDelivery, ASlotMayDisconnectItself)
{
    add('a');
    add('b', [this] { cut('b'); });
    add('c');
    EXPECT_EQ(emitted(), "abc");
    EXPECT_EQ(emitted(), "ac");
}

TEST_F(VObjectDelivery, TheOnlySlotMayDisconnectItself)
{
    add('a', [this] { cut('a'); });
    EXPECT_EQ(emitted(), "a");
    EXPECT_EQ(emitted(), "");
}

TEST_F(VObjectDelivery, ALaterSlotThatIsDisconnectedIsNotCalled)
{
    add('a', [this] { cut('b'); });
    add('b');
    add('c');
    EXPECT_EQ(emitted(), "ac");
}

TEST_F(VObjectDelivery, NobodyIsCalledTwiceWhenTheLastOneGoes)
{
    add('a', [this] { cut('b'); });
    add('b');
    EXPECT_EQ(emitted(), "a");
}

TEST_F(VObjectDelivery, TheWalkEndsWhereTheLastOneWasTakenAndPutBack)
{
    add('a', [this] {
        cut('b');
        join('b');
    });
    add('b');
    EXPECT_EQ(emitted(), "a");
    EXPECT_EQ(emitted(), "a");
}

TEST_F(VObjectDelivery, AReceiverConnectedMeanwhileIsReachedUnlessTheWalkIsAtItsEnd)
{
    add('a', [this] {
        if (!hooks.count('c'))
            add('c');
    });
    add('b', [this] {
        if (!hooks.count('d'))
            add('d');
    });
    EXPECT_EQ(emitted(), "abcd");
    sender = std::make_unique<Thermometer>();
    hooks.clear();
    add('a', [this] { join('a'); });
    EXPECT_EQ(emitted(), "a");
}

TEST_F(VObjectDelivery, ReceiversMayDie)
{
    add('a', [this] { hooks.erase('a'); });
    add('b', [this] { hooks.erase('c'); });
    add('c');
    add('d');
    EXPECT_EQ(emitted(), "abd");
    EXPECT_EQ(emitted(), "bd");
}

TEST_F(VObjectDelivery, AllReceiversMayDieAtOnce)
{
    add('a');
    add('b', [this] { hooks.clear(); });
    add('c');
    EXPECT_EQ(emitted(), "ab");
    EXPECT_EQ(emitted(), "");
}

TEST_F(VObjectDelivery, EndsWhenTheSenderDies)
{
    add('a');
    add('b', [this] { sender.reset(); });
    add('c');
    EXPECT_EQ(emitted(), "ab");
}

TEST_F(VObjectDelivery, TheOnlyReceiverMayDeleteTheSender)
{
    add('a', [this] { sender.reset(); });
    EXPECT_EQ(emitted(), "a");
}

TEST_F(VObjectDelivery, SenderAndReceiversMayAllDieInANestedDelivery)
{
    int depth = 0;
    add('a', [&] {
        if (++depth < 4)
            sender->ticked();
    });
    add('b', [this] {
        sender.reset();
        hooks.clear();
    });
    add('c');
    EXPECT_EQ(emitted(), "aaaab");
}

TEST_F(VObjectDelivery, NestsAndKeepsEachWalksPlace)
{
    bool nested = false;
    add('a');
    add('b', [&] {
        if (!std::exchange(nested, true)) {
            sender->ticked();
            cut('a');
        }
    });
    add('c');
    EXPECT_EQ(emitted(), "ababcc");
    EXPECT_EQ(emitted(), "bc");
}

TEST_F(VObjectDelivery, EndsWhenTheSignalIsCleared)
{
    for (const char* signal : {"2ticked()", static_cast<const char*>(nullptr)}) {
        hooks.clear();
        add('a', [&] { VObject::disconnect(sender.get(), signal, nullptr, nullptr); });
        add('b');
        EXPECT_EQ(emitted(), "a");
        EXPECT_EQ(emitted(), "");
    }
}

TEST_F(VObjectDelivery, ASenderMayBeItsOwnReceiver)
{
    VObject::connect(sender.get(), "2ticked()", sender.get(), "1reset()");
    sender->ticked();
    EXPECT_THAT(sender->take(), ElementsAre("reset"));
    VObject::disconnect(sender.get(), nullptr, sender.get(), nullptr);
    sender->ticked();
    EXPECT_THAT(sender->take(), IsEmpty());
    VObject::connect(sender.get(), "2ticked()", sender.get(), "1reset()");
    sender.reset();
}

TEST(VObject, ReceiversThatKeepOneOfTwoConnectionsStillLeaveAtTheirDeath)
{
    Thermometer sender;
    {
        Thermometer receiver;
        VObject::connect(&sender, "2ticked()", &receiver, "1reset()");
        VObject::connect(&sender, "2ticked()", &receiver, "2ticked()");
        VObject::disconnect(&sender, nullptr, &receiver, "1reset()");
    }
    EXPECT_TRUE(sender.receivers("ticked()")->isEmpty());
    sender.ticked();
}

TEST(VObject, SaysGoodbyeWithTheObjectFirst)
{
    std::string log;
    Hook first(&log, 'o'), hook(&log, 'd');
    {
        Thermometer object;
        VObject::connect(&object, "2destroyed()", &hook, "1call()");
        VObject::connect(&object, "2destroyed(VObject*)", &first, "1call()");
    }
    EXPECT_EQ(log, "od");
    {
        Thermometer object;
        VObject::connect(&object, "2destroyed()", &hook, "1call()");
        object.blockSignals(true);
    }
    EXPECT_EQ(log, "od") << "a blocked object dies silently";
}

TEST(VObject, ADeathMayBringOthersWithIt)
{
    // The dying receiver tells its senders, and the first one's answer is to delete the second.
    class Avenger : public Thermometer
    {
    public:
        std::unique_ptr<Thermometer> victim = std::make_unique<Thermometer>();

    protected:
        void disconnectNotify(const char*) override { victim.reset(); }
    };
    Avenger sender;
    auto receiver = std::make_unique<Thermometer>();
    VObject::connect(&sender, "2ticked()", receiver.get(), "1reset()");
    VObject::connect(sender.victim.get(), "2ticked()", receiver.get(), "1reset()");
    receiver.reset();
    EXPECT_EQ(sender.victim, nullptr);
}

TEST(VObject, NothingConnectsToAnObjectWhoseTablesAreGone)
{
    class Clinging : public Thermometer
    {
    public:
        Thermometer* dying = nullptr;

    protected:
        void disconnectNotify(const char*) override
        {
            VObject::connect(this, "2ticked()", dying, "1reset()");
            VObject::connect(dying, "2ticked()", this, "1reset()");
            dying->installEventFilter(this);
        }
    };
    Clinging sender;
    auto dying = std::make_unique<Thermometer>();
    sender.dying = dying.get();
    VObject::connect(&sender, "2ticked()", dying.get(), "1reset()");
    WarningCatcher warnings; // it is no Thermometer any more
    dying.reset();
    EXPECT_TRUE(sender.receivers("ticked()")->isEmpty());
}

TEST(VObject, FiltersSeeEventsNewestFirst)
{
    std::string log;
    Hook a(&log, 'a'), b(&log, 'b');
    VObject object;
    EXPECT_FALSE(object.event(someEvent()));
    object.installEventFilter(&a);
    object.installEventFilter(&b);
    EXPECT_FALSE(object.event(someEvent()));
    EXPECT_EQ(std::exchange(log, {}), "ba");
    object.installEventFilter(&a); // moves to the front
    b.takesEvents = true;
    EXPECT_TRUE(object.event(someEvent()));
    EXPECT_EQ(std::exchange(log, {}), "ab");
    a.takesEvents = true;
    EXPECT_TRUE(object.event(someEvent()));
    EXPECT_EQ(std::exchange(log, {}), "a");
    object.removeEventFilter(&a);
    object.removeEventFilter(&b);
    object.removeEventFilter(&b);
    EXPECT_FALSE(object.event(someEvent()));
    EXPECT_EQ(log, "");
    EXPECT_TRUE(a.receivers("destroyed(VObject*)")->isEmpty());
    WarningCatcher warnings;
    EXPECT_FALSE(object.event(nullptr));
    EXPECT_EQ(warnings.text(), latin1("VObject::event: Null events are not permitted"));
}

TEST(VObject, ADeadFilterIsNotAsked)
{
    std::string log;
    VObject object;
    for (const bool blocked : {false, true}) {
        auto filter = std::make_unique<Hook>(&log, 'f');
        object.installEventFilter(filter.get());
        filter->blockSignals(blocked);
        filter.reset();
        EXPECT_FALSE(object.event(someEvent()));
    }
    auto filter = std::make_unique<Hook>(&log, 'f');
    object.installEventFilter(filter.get());
    VObject::disconnect(filter.get(), nullptr, &object, nullptr);
    filter.reset();
    EXPECT_FALSE(object.event(someEvent()));
    EXPECT_EQ(log, "");
}

TEST(VObject, FiltersMayChangeTheFilters)
{
    std::string log;
    auto object = std::make_unique<VObject>();
    Hook last(&log, 'l');
    std::unique_ptr<Hook> dying = std::make_unique<Hook>(&log, 'd', [&] { dying.reset(); });
    Hook second(&log, 's', [&] { object->removeEventFilter(&last); });
    object->installEventFilter(&last);
    object->installEventFilter(&second);
    object->installEventFilter(dying.get());
    EXPECT_FALSE(object->event(someEvent()));
    EXPECT_EQ(std::exchange(log, {}), "ds") << "none is asked twice when the last one goes";
    Hook killer(&log, 'k', [&] { object.reset(); });
    object->installEventFilter(&killer);
    EXPECT_FALSE(object->event(someEvent()));
    EXPECT_EQ(log, "k");
}
