#include "kernel/vmetaobject.h"

#include "kernel/thermometer.h"
#include "support/warnings.h"

#include <memory>

using testing::ElementsAre;

namespace
{
std::vector<std::string> texts(const QStrList& list)
{
    std::vector<std::string> result;
    for (QStrListIterator it(list); it.current(); ++it)
        result.push_back(it.current());
    return result;
}

/// Describes some of the thermometer's properties anew, and has an enum of its own.
class Probe : public Thermometer
{
public:
    enum Depth { Shallow, Deep };

    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override { return staticMetaObject(); }
    bool property_op(int id, int op, VVariant* value) override;

    void probed();
    Depth depth() const { return m_depth; }
    void setDepth(Depth depth) { m_depth = depth; }

private:
    struct Meta;
    static VMetaObject* metaObj;

    Depth m_depth = Shallow;
};

struct Probe::Meta {
    static constexpr declare::Signals signalTable{declare::signal<&Probe::probed>("probed()")};
    static constexpr VMetaEnum::Item depthItems[] = {{"Shallow", 0}, {"Deep", 1}, {"Bottom", 1}};
    static constexpr VMetaEnum enumTable[] = {VMetaEnum("Depth", depthItems)};
    static constexpr declare::Properties propertyTable{
        &metaObj,
        declare::property<&Probe::depth, &Probe::setDepth>("depth", enumTable[0]),
        declare::overriding("double", "limit",
                            VMetaProperty::StoredAsSuper | VMetaProperty::NotScriptable),
        declare::overriding("bool", "hot", VMetaProperty::NotStored),
        declare::overriding("int", "nowhere", 0),
        declare::enumProperty<&Probe::depth>("unknown", "NoSuchEnum"),
        declare::enumProperty<&Probe::scale, &Probe::setScale>("unit", "Scale",
                                                               VMetaProperty::NotDesignable)};
    static constexpr VClassInfo infoTable[] = {{"maker", "plant"}};
};
VMetaObject* Probe::metaObj = nullptr;

VMetaObject* Probe::staticMetaObject()
{
    if (!metaObj)
        metaObj =
            declare::metaObject("plant::Probe", Thermometer::staticMetaObject(), Meta::signalTable,
                                Meta::propertyTable, Meta::enumTable, Meta::infoTable);
    return metaObj;
}

bool Probe::property_op(int id, int op, VVariant* value)
{
    return Meta::propertyTable.operate(this, id, op, value) ||
           Thermometer::property_op(id, op, value);
}

void Probe::probed()
{
    Meta::signalTable.send<&Probe::probed>(this);
}

const VMetaObject& probe()
{
    return *Probe::staticMetaObject();
}

const VMetaProperty& own(const char* name)
{
    for (int row = 0;; ++row)
        if (qstrcmp(probe().property(row)->name(), name) == 0)
            return *probe().property(row);
}
} // namespace

TEST(VMetaObject, NumbersMembersAlongTheChain)
{
    const VMetaObject& base = *VObject::staticMetaObject();
    const VMetaObject& middle = *Thermometer::staticMetaObject();
    EXPECT_EQ(base.numSlots(true), 1);
    EXPECT_EQ(base.numSignals(true), 2);
    EXPECT_EQ(middle.slotOffset(), 1);
    EXPECT_EQ(middle.signalOffset(), 2);
    EXPECT_EQ(probe().slotOffset(), 12);
    EXPECT_EQ(probe().numSlots(), 0);
    EXPECT_EQ(probe().numSlots(true), 12);
    EXPECT_EQ(probe().signalOffset(), 8);
    EXPECT_EQ(probe().numSignals(true), 9);
    EXPECT_EQ(probe().propertyOffset(), 6);
    EXPECT_EQ(probe().numProperties(true), 12);
    EXPECT_EQ(probe().numClassInfo(), 1);
    EXPECT_EQ(probe().numClassInfo(true), 3);
}

TEST(VMetaObject, FindsMembersByGlobalIndex)
{
    EXPECT_EQ(probe().findSignal("probed()"), 8);
    EXPECT_EQ(probe().findSignal("ticked()"), -1);
    EXPECT_EQ(probe().findSignal("ticked()", true), 6);
    EXPECT_EQ(probe().findSignal("destroyed()", true), 0);
    EXPECT_EQ(probe().findSlot("cleanupEventFilter(VObject*)", true), 0);
    EXPECT_EQ(probe().findSlot("pick( int )", true), -1) << "texts are compared as they stand";
    EXPECT_EQ(probe().findSlot(nullptr, true), -1);
    for (int i = 0; i < probe().numSignals(true); ++i)
        EXPECT_EQ(probe().findSignal(probe().signal(i, true)->name, true), i);
    EXPECT_STREQ(probe().signal(0)->name, "probed()") << "without super it is a row";
    EXPECT_EQ(probe().signal(1), nullptr);
    EXPECT_EQ(probe().signal(9, true), nullptr);
    EXPECT_EQ(probe().signal(-1, true), nullptr);
    EXPECT_EQ(probe().slot(0), nullptr);
}

TEST(VMetaObject, ListsMembersSuperclassFirst)
{
    EXPECT_THAT(texts(probe().signalNames()), ElementsAre("probed()"));
    EXPECT_THAT(texts(probe().signalNames(true)),
                ElementsAre("destroyed()", "destroyed(VObject*)", "changed(int,double)",
                            "named(const VString&)", "scaled(Scale)", "seen(const VObject*)",
                            "ticked()", "spelled(const char*,bool)", "probed()"));
    EXPECT_THAT(texts(probe().propertyNames()), ElementsAre("depth", "limit", "hot", "unit"))
        << "what is not valid does not show";
    EXPECT_THAT(texts(probe().propertyNames(true)),
                ElementsAre("limit", "label", "color", "hot", "scale", "alarms", "depth", "limit",
                            "hot", "unit"));
}

TEST(VMetaObject, FindsPropertiesByRowOrGlobalIndex)
{
    EXPECT_EQ(probe().findProperty("depth"), 0);
    EXPECT_EQ(probe().findProperty("depth", true), 6);
    EXPECT_EQ(probe().findProperty("limit", true), 7) << "the subclass's";
    EXPECT_EQ(probe().findProperty("color"), -1);
    EXPECT_EQ(probe().findProperty("color", true), 2);
    EXPECT_EQ(probe().findProperty("nowhere", true), -1) << "overrides nothing";
    EXPECT_EQ(probe().findProperty("unknown", true), -1) << "its enum can't be found";
    EXPECT_EQ(probe().findProperty(nullptr, true), -1);
    const VMetaProperty* color = probe().property(2, true);
    EXPECT_EQ(color->id(), 2);
    EXPECT_EQ(probe().indexOfProperty(color), -1);
    EXPECT_EQ(own("limit").id(), 7);
    EXPECT_EQ(probe().resolveProperty(&own("limit")), probe().property(0, true));
    EXPECT_EQ(probe().resolveProperty(7), 0);
    EXPECT_EQ(probe().resolveProperty(0), -1);
    EXPECT_EQ(probe().resolveProperty(99), -1);
    EXPECT_EQ(probe().property(-1, true), nullptr);
    EXPECT_EQ(probe().property(12, true), nullptr);
}

TEST(VMetaObject, GivesClassInformationLastRowFirst)
{
    EXPECT_STREQ(probe().classInfo("maker"), "plant");
    EXPECT_EQ(probe().classInfo("unit"), nullptr);
    EXPECT_STREQ(probe().classInfo("unit", true), "rankine");
    EXPECT_STREQ(probe().classInfo(0, true)->name, "maker");
    EXPECT_STREQ(probe().classInfo(1, true)->value, "kelvin");
    EXPECT_EQ(probe().classInfo(3, true), nullptr);
    EXPECT_EQ(probe().classInfo(-1, true), nullptr);
    EXPECT_EQ(probe().classInfo(1), nullptr);
}

TEST(VMetaObject, IsFoundByNameWhileItLives)
{
    EXPECT_EQ(VMetaObject::metaObject("plant::Probe"), Probe::staticMetaObject());
    EXPECT_EQ(VMetaObject::metaObject("Probe"), nullptr);
    EXPECT_EQ(VMetaObject::metaObject(nullptr), nullptr);
    {
        const std::unique_ptr<VMetaObject> passing(
            declare::metaObject("Passing", VObject::staticMetaObject()));
        EXPECT_EQ(VMetaObject::metaObject("Passing"), passing.get());
        EXPECT_TRUE(passing->inherits("VObject"));
        EXPECT_FALSE(passing->inherits(Thermometer::staticMetaObject()));
        EXPECT_EQ(passing->slotOffset(), 1);
    }
    EXPECT_EQ(VMetaObject::metaObject("Passing"), nullptr);
}

TEST(VMetaProperty, TakesFromTheSuperclassWhatItOverrides)
{
    EXPECT_TRUE(own("limit").isValid());
    EXPECT_TRUE(own("limit").writable());
    EXPECT_TRUE(own("limit").stdSet());
    EXPECT_TRUE(own("limit").designable());
    EXPECT_FALSE(own("limit").stored()) << "as in the superclass";
    EXPECT_FALSE(own("limit").scriptable());
    EXPECT_TRUE(own("hot").isValid());
    EXPECT_FALSE(own("hot").writable());
    EXPECT_FALSE(own("hot").designable()) << "needs to be writable";
    EXPECT_FALSE(own("hot").stored());
    EXPECT_TRUE(own("hot").scriptable());
    EXPECT_FALSE(own("nowhere").isValid());
    EXPECT_FALSE(own("nowhere").writable());
    EXPECT_FALSE(own("unknown").isValid());
    EXPECT_TRUE(own("unit").stored());
    EXPECT_FALSE(own("unit").designable());
}

TEST(VMetaProperty, CarriesTheFlagsOfItsAccessors)
{
    EXPECT_EQ(own("depth").flags, 0x17u);
    EXPECT_STREQ(own("depth").type(), "Depth");
    EXPECT_EQ(own("unit").flags, 0x11fu);
    EXPECT_EQ(probe().property(2, true)->flags, 0x1a0013u);
    EXPECT_STREQ(probe().property(2, true)->type(), "VColor");
    EXPECT_EQ(probe().property(3, true)->flags, 0x10001u);
    EXPECT_EQ(own("limit").flags, 0x2420u);
}

TEST(VMetaProperty, KnowsTheKeysOfItsEnum)
{
    EXPECT_TRUE(own("depth").isEnumType());
    EXPECT_FALSE(own("depth").isSetType());
    EXPECT_THAT(texts(own("depth").enumKeys()), ElementsAre("Shallow", "Deep", "Bottom"));
    EXPECT_EQ(own("depth").keyToValue("Deep"), 1);
    EXPECT_EQ(own("depth").keyToValue("deep"), -1);
    EXPECT_EQ(own("depth").keyToValue(nullptr), -1);
    EXPECT_STREQ(own("depth").valueToKey(1), "Bottom") << "the last of several";
    EXPECT_EQ(own("depth").valueToKey(2), nullptr);
    EXPECT_EQ(own("unit").keyToValue("Kelvin"), 2) << "found by name in the superclass";
    EXPECT_EQ(own("limit").keyToValue("Deep"), -1);
    EXPECT_TRUE(own("limit").enumKeys().isEmpty());
}

struct Keys {
    int value;
    std::vector<std::string> keys; // of None 0, Light 1, Horn 2, Call 4, All 7
};
class VMetaPropertySet : public testing::TestWithParam<Keys>
{
};
TEST_P(VMetaPropertySet, TakesKeysFromTheEndOfTheTable)
{
    const VMetaProperty& alarms = *probe().property(5, true);
    EXPECT_TRUE(alarms.isSetType());
    EXPECT_EQ(texts(alarms.valueToKeys(GetParam().value)), GetParam().keys);
}
INSTANTIATE_TEST_SUITE_P(Values, VMetaPropertySet,
                         testing::Values(Keys{0, {"None"}}, Keys{1, {"Light"}},
                                         Keys{5, {"Call", "Light"}}, Keys{7, {"All"}},
                                         Keys{15, {"All"}}, Keys{8, {}}));

TEST(VMetaProperty, CombinesKeysAndStaysAtMinusOne)
{
    const VMetaProperty& alarms = *probe().property(5, true);
    QStrList keys;
    EXPECT_EQ(alarms.keysToValue(keys), 0);
    keys.append("Light");
    keys.append("Call");
    EXPECT_EQ(alarms.keysToValue(keys), 5);
    keys.append("Bell");
    keys.append("Horn");
    EXPECT_EQ(alarms.keysToValue(keys), -1);
}

TEST(VMetaProperty, ClearsACopy)
{
    VMetaProperty copy = own("depth");
    copy.clear();
    EXPECT_EQ(copy.name(), nullptr);
    EXPECT_EQ(copy.flags, 0u);
    EXPECT_FALSE(copy.isValid());
    EXPECT_STREQ(own("depth").name(), "depth");
}

struct Setting {
    const char* property;
    VVariant value;
    bool accepted;
    const char* then; // as text
};
class VObjectProperty : public testing::TestWithParam<Setting>
{
};
TEST_P(VObjectProperty, TakesWhatConverts)
{
    Probe object;
    EXPECT_EQ(object.setProperty(GetParam().property, GetParam().value), GetParam().accepted);
    EXPECT_EQ(object.property(GetParam().property).toString().toStdString(), GetParam().then);
}
INSTANTIATE_TEST_SUITE_P(Values, VObjectProperty,
                         testing::Values(Setting{"limit", VVariant(12.5), true, "12.5"},
                                         Setting{"limit", VVariant("7.25"), true, "7.25"},
                                         Setting{"limit", VVariant(3), true, "3"},
                                         Setting{"limit", VVariant(VDate(2026, 1, 1)), false, "100"},
                                         Setting{"limit", VVariant(), false, "100"},
                                         Setting{"label", VVariant("boiler"), true, "boiler"},
                                         Setting{"label", VVariant(3), false, ""},
                                         Setting{"scale", VVariant("Kelvin"), true, "2"},
                                         Setting{"scale", VVariant(QCString("Fahrenheit")), true,
                                                 "1"},
                                         Setting{"scale", VVariant(2), true, "2"},
                                         Setting{"unit", VVariant("Kelvin"), true, "2"},
                                         Setting{"alarms", VVariant("Light| Call "), true, "5"},
                                         Setting{"alarms", VVariant("All"), true, "7"},
                                         Setting{"alarms", VVariant("Light|Bell"), true, "-1"},
                                         Setting{"depth", VVariant("Deep"), true, "1"}));

TEST(VObject, PropertiesOfWordTypeTakeAnyNumberThatConverts)
{
    Probe object;
    EXPECT_TRUE(object.setProperty("color", VVariant(0xff010203u)));
    EXPECT_EQ(object.color(), VColor(1, 2, 3));
    EXPECT_EQ(object.property("color").type(), unsigned(VVariant::Color));
    EXPECT_EQ(object.property("hot").type(), unsigned(VVariant::Bool));
}

TEST(VObject, PropertiesThatCantBeSetWarn)
{
    Probe object;
    for (const char* name : {"hot", "nothing", "unknown"}) {
        WarningCatcher warnings;
        EXPECT_FALSE(object.setProperty(name, VVariant(1)));
        EXPECT_EQ(warnings.text().toStdString(),
                  std::string("plant::Probe::setProperty( \"") + name +
                      "\", value ) failed: property invalid, read-only or does not exist");
        EXPECT_FALSE(object.setProperty(name, VVariant())) << "an invalid value is silent";
        EXPECT_TRUE(warnings.isEmpty());
    }
    EXPECT_FALSE(object.property("nothing").isValid());
}

TEST(VObject, ResetsWhatHasAReset)
{
    Probe object;
    object.setLimit(3);
    EXPECT_TRUE(object.resetProperty("limit"));
    EXPECT_EQ(object.limit(), 100);
    EXPECT_FALSE(object.resetProperty("label"));
    EXPECT_FALSE(object.resetProperty("nothing"));
}
