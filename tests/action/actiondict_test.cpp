#include "action/actiondict.h"

#include "action/actionfactory.h"
#include "action/calculator.h"
#include "action/coloractions.h"
#include "action/complexaction.h"
#include "action/keyframe.h"
#include "action/motionpath.h"
#include "action/nodeinput.h"
#include "action/textactions.h"
#include "action/valuetracker.h"
#include "receivers.h"
#include "support/text.h"
#include "support/warnings.h"

using namespace action;
using testing::ElementsAre;

namespace
{
/// One action in both of its forms, as written by hand.
struct Kind {
    const char* type;
    const char* text; // the statements of its block
    const char* hex;  // its bytes
};
class Kinds : public testing::TestWithParam<Kind>
{
};
TEST_P(Kinds, AreWrittenAsTheyAreRead)
{
    const QByteArray textForm(GetParam().text), bytes = QByteArray::fromHex(GetParam().hex);
    const ActionFactory factory;
    for (const bool binary : {false, true}) {
        const std::unique_ptr<Action> action(factory.getInstance(GetParam().type));
        ASSERT_TRUE(action);
        EXPECT_STREQ(ActionDict::typeName(*action), GetParam().type);
        readAction(*action, binary ? bytes : textForm, binary);
        EXPECT_EQ(written(*action, false).toStdString(), textForm.toStdString());
        EXPECT_EQ(written(*action, true).toHex(), bytes.toHex());
    }
}
INSTANTIATE_TEST_SUITE_P(
    Forms, Kinds,
    testing::Values(
        Kind{"ElapsedTime", "name \"clock\";\n", "1305 636c6f636b"},
        Kind{"MoveAction", "name \"\xE4\";\n", "1301 e4"}, // the bytes of a name stay
        Kind{"RotateAction", "name \"a\";\n", "130161"},
        Kind{"ScaleAction", "name \"a\";\n", "130161"},
        Kind{"ColorAction", "name \"a\";\n", "130161"},
        Kind{"Calculator",
             "name \"c\";\ntype 1;\ndata 2.5;\ninputs { 1, 2 };\nexpression \"x + 1\";\n",
             "130163 80020101 81 0903 80ff05 82 05 02 0101 0102 83 1305 78202b2031"},
        Kind{"Calculator", "name \"c\";\ndata -1;\n", "130163 81 0903 c00001"},
        Kind{"ValueTracker", "name \"v\";\ntype 17;\n", "130176 80020111"},
        Kind{"TextAction", "name \"t\";\nformats { \"%g bar\", \"%.2f\" };\n",
             "130174 80 300e 1306 256720626172 1304 252e3266"},
        Kind{"NodeInput", "name \"n\";\ninputs {\n    { 3, 1 },\n    { 4, 2 }\n};\n",
             "13016e 80 09 04 0103 0101 0104 0102"},
        Kind{
            "SelectColor",
            "name \"s\";\ncolors {\n    0xff000001,\n    0x2\n};\nselector {\n    { 0.5, 1 }\n};\n",
            "130173 80 09 02 0500ff000001 0102 81 09 02 0380ff01 03800001"},
        Kind{"SkinCluster",
             "name \"s\";\njoints { \"a/b\", \"\" };\ninfluences {\n    { 0, 1 }\n};\n"
             "weights { 0.5 };\nrest {\n    { 1, 0, 2 }\n};\n",
             "130173 80 3007 1303 612f62 1300 82 04 02 00 0101 83 05 01 0380ff01 84 0a 03 "
             "03800001 00 03800101"},
        Kind{"ComplexAction", "name \"x\";\nactions { \"a\", \"\", \"b  c\" };\n",
             "130178 80 300b 130161 1300 1304 62202063"},
        Kind{"MotionPath",
             "name \"m\";\nflags 1;\npath \"/objects/a\";\nkeys {\n    { 0, 1 },\n    { 1, 0 "
             "}\n};\n",
             "13016d 80 020101 81 130a 2f6f626a656374732f61"
             " 82 040c 0b 04 00 03800001 03800001 00"},
        Kind{"Keyframe",
             "name \"k\";\nschedule {\n    translateX {\n        { 0, 1 }\n    };\n"
             "    scaleZ {\n        { 1, 0 }\n    };\n};\n",
             "13016b 80 0410 00 06 02 00 03800001 08 06 02 03800001 00"}));

TEST(Actions, KeepTheirFieldsWhereTheFileIsSilent)
{
    Calculator calculator;
    readAction(calculator, "name \"a\";\ntype 2;\ndata 3;\ninputs { 1 };\n", false);
    readAction(calculator, "data 4;\ninputs { 1, oh };\n", false);
    EXPECT_EQ(calculator.type(), Calculator::Module);
    EXPECT_EQ(calculator.data(), 4);
    EXPECT_EQ(calculator.inputs().size(), 1u);
    readAction(calculator, QByteArray::fromHex("80020101"), true); // no name
    EXPECT_STREQ(calculator.name(), "a");
    EXPECT_EQ(calculator.type(), Calculator::Multiply);
}

TEST(Actions, StopAtATagThatTheyDoNotKnow)
{
    Form form(true, QByteArray::fromHex("130161 80020103 99020101"));
    Calculator calculator;
    form.io >> calculator;
    EXPECT_EQ(calculator.type(), Calculator::Expression);
    EXPECT_EQ(form.buffer.pos(), 7);
}

/// Names in the order of the dictionary, with their classes.
std::string shown(const ActionDict& actions)
{
    std::string text;
    for (QAsciiDictIterator<Action> it(actions); it.current(); ++it)
        text += std::string(it.currentKey()) + ' ' + ActionDict::typeName(**it) + '\n';
    return text;
}

std::string read(const QByteArray& bytes, bool binary)
{
    Form form(binary, bytes);
    ActionDict actions;
    form.io >> actions;
    return shown(actions);
}

template <class A>
A* named(const char* name)
{
    auto* action = new A;
    action->setName(name);
    return action;
}

std::vector<Action*> listed(const ActionList& actions)
{
    return std::vector<Action*>(actions.begin(), actions.end());
}

TEST(ActionDict, ReadsWhatItWrites)
{
    ActionDict actions;
    for (int i = 0; i < 100; ++i)
        actions.put(named<Calculator>(QByteArray::number(i)));
    auto* const all = named<ComplexAction>("all");
    actions.put(all);
    all->append(actions["7"]);
    all->append(actions["42"]);
    for (const bool binary : {false, true}) {
        Form form(binary, written(actions, binary));
        ActionDict copy;
        form.io >> copy;
        EXPECT_EQ(copy.count(), 101u);
        const auto& children = static_cast<ComplexAction*>(copy["all"])->actions();
        EXPECT_THAT(listed(children), ElementsAre(copy["7"], copy["42"]));
        EXPECT_EQ(form.io.ioDevice(), &form.buffer);
        EXPECT_EQ(form.data.device(), &form.buffer);
        EXPECT_EQ(form.data.status(), QDataStream::Ok);
    }
}

TEST(ActionDict, IsWrittenInItsOwnOrder)
{
    ActionDict actions;
    auto* calculator = named<Calculator>("b"); // 98 of 17 buckets: 13
    calculator->setData(2);
    actions.put(calculator);
    actions.put(named<ElapsedTime>("f")); // 102: 0
    EXPECT_EQ(written(actions, false).toStdString(),
              "ElapsedTime {\n    name \"f\";\n}\nCalculator {\n    name \"b\";\n    data 2;\n}\n");
    EXPECT_EQ(written(actions, true).toHex(),
              QByteArray::fromHex("312d"
                                  "3012 130b 456c617073656454696d65 0403 130166"
                                  "3017 130a 43616c63756c61746f72 0409 130162 81 0903 800101")
                  .toHex());
}

struct Dictionary {
    const char* content; // hexadecimal for the binary form
    const char* actions;
};
class DictionaryTexts : public testing::TestWithParam<Dictionary>
{
};
TEST_P(DictionaryTexts, AreRead)
{
    EXPECT_EQ(read(GetParam().content, false), GetParam().actions);
}
INSTANTIATE_TEST_SUITE_P(
    Forms, DictionaryTexts,
    testing::Values(Dictionary{"Calculator { name \"a\"; }; ElapsedTime{name \"b\";} /* end */",
                               "a Calculator\nb ElapsedTime\n"},
                    Dictionary{"Pump { name \"a\"; speed { 1; } } ElapsedTime { name \"b\"; }",
                               "b ElapsedTime\n"},
                    Dictionary{"Calculator { } Calculator { type 1; } MoveAction { name \"\"; }",
                               " MoveAction\n"},
                    Dictionary{"Calculator { name \"a\"; } MoveAction { name \"a\"; }",
                               "a MoveAction\n"},
                    Dictionary{"Calculator { name \"a\"; type ", "a Calculator\n"},
                    Dictionary{"Calculator // one\n { name \"a\"; } } MoveAction { name \"b\"; }",
                               "a Calculator\n"},
                    Dictionary{"Calculator; MoveAction { name \"b\"; }", ""}, Dictionary{"", ""},
                    Dictionary{"action::Calculator { name \"a\"; }", ""}));

class DictionaryBytes : public testing::TestWithParam<Dictionary>
{
};
TEST_P(DictionaryBytes, GiveWhatIsWhole)
{
    const WarningCatcher warnings;
    EXPECT_EQ(read(QByteArray::fromHex(GetParam().content), true), GetParam().actions);
    EXPECT_TRUE(warnings.isEmpty());
}
// A NodeInput is 4e6f6465496e707574.
INSTANTIATE_TEST_SUITE_P(
    Forms, DictionaryBytes,
    testing::Values(
        Dictionary{"3112 3010 1309 4e6f6465496e707574 0403 130161", "a NodeInput\n"},
        Dictionary{"3014 3012 1309 4e6f6465496e707574 0403 130161", ""}, // no set
        Dictionary{"3112 3110 1309 4e6f6465496e707574 0403 130161", ""}, // a set inside
        Dictionary{"3114 3012 1309 4e6f6465496e707574 0403 130161 0500", "a NodeInput\n"},
        Dictionary{"311f 300d 1309 4e6f6465496e707574 0400 300e 1309 4e6f6465496e707574 0401 13",
                   ""},                                                  // no name
        Dictionary{"3111 300f 1309 4e6f6465496e707574 0402 1300", ""},   // an empty one
        Dictionary{"3112 3010 1309 4e6f6465496e707578 0403 130161", ""}, // no such class
        Dictionary{"3112 3010 0409 4e6f6465496e707574 0403 130161", ""},
        Dictionary{"3112 3010 1309 4e6f6465496e707574 1303 130161", ""},
        Dictionary{"310d 300b 1309 4e6f6465496e707574", ""},             // one value
        Dictionary{"3120 3010 1309 4e6f6465496e707574 0403 130161", ""}, // cut short
        Dictionary{"3112 3020 1309 4e6f6465496e707574 0403 130161", ""},
        // An array of inputs that says more than is there:
        Dictionary{"3119 3017 1309 4e6f6465496e707574 040a 130161 80 05 84ffffffff",
                   "a NodeInput\n"},
        Dictionary{"3184ffffffff", ""}, Dictionary{"31", ""}, Dictionary{"", ""}));

TEST(ActionDict, DeletesAnActionWhoseNameComesAgain)
{
    ActionDict actions;
    auto* const all = named<ComplexAction>("all");
    auto* const old = named<ElapsedTime>("a");
    EXPECT_TRUE(actions.put(all));
    EXPECT_TRUE(actions.put(old));
    all->append(old);
    EXPECT_TRUE(actions.put(old)); // there already
    auto* const fresh = named<ElapsedTime>("a");
    EXPECT_TRUE(actions.put(fresh));
    EXPECT_EQ(actions.count(), 2u);
    EXPECT_EQ(actions["a"], fresh);
    EXPECT_TRUE(all->actions().isEmpty());
    const ElapsedTime unnamed;
    EXPECT_FALSE(actions.put(const_cast<ElapsedTime*>(&unnamed)));
}

TEST(ActionDict, FindsChildrenThatComeLater)
{
    ActionDict actions;
    auto* const all = named<ComplexAction>("all");
    readAction(*all, "actions { \"b\", \"a\" };\n", false);
    actions.put(all);
    actions.put(named<ElapsedTime>("a"));
    actions.resolve();
    EXPECT_THAT(listed(all->actions()), ElementsAre(actions["a"]));
    EXPECT_EQ(written(*all, false).toStdString(), "name \"all\";\nactions { \"a\", \"b\" };\n");
    actions.put(named<ElapsedTime>("b"));
    actions.resolve();
    EXPECT_THAT(listed(all->actions()), ElementsAre(actions["a"], actions["b"]));
}

TEST(ActionDict, ForgetsReceiversInAllActions)
{
    ActionDict actions;
    Receiver node, other;
    for (const char* name : {"a", "b"}) {
        actions.put(named<ElapsedTime>(name));
        actions[name]->connect(0, &node, 0);
        actions[name]->connect(0, &other, 0);
    }
    actions.put(named<ElapsedTime>("c"));
    actions.forgetReceivers({&node});
    for (const char* name : {"a", "b"})
        actions[name]->evaluate(0, 1);
    EXPECT_TRUE(node.codes.empty());
    EXPECT_EQ(other.codes.size(), 2u);
}

TEST(ActionDict, ExactNumbersComeBackInTheTextForm)
{
    Calculator calculator, copy;
    calculator.setData(1 / 3.0);
    Form form(false);
    form.io.setExact(true);
    form.io << calculator;
    readAction(copy, form.buffer.data(), false);
    EXPECT_EQ(copy.data(), 1 / 3.0);
    readAction(copy, written(calculator, true), true);
    EXPECT_EQ(copy.data(), 1 / 3.0);
}
} // namespace
