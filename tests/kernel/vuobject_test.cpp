#include "kernel/vuobject.h"

#include "kernel/vvariant.h"
#include "tools/vuuid.h"

#include <cmath>
#include <functional>
#include <limits>

namespace
{
struct Named {
    VUType* type;
    const char* desc;
    const char* uuid;
};
const Named types[] = {
    {&static_VUType_Null, "null", "{DE56510E-4E9F-4B76-A3C2-D1E2EF42F1AC}"},
    {&static_VUType_enum, "enum", "{7EE17B08-5419-47E2-9776-8EEA112DCAEC}"},
    {&static_VUType_ptr, "ptr", "{8AC26448-5AB4-49EB-968C-8F30AB13D732}"},
    {&static_VUType_iface, "UnknownInterface", "{97A2594D-6496-4402-A11E-55AEF2D4D25C}"},
    {&static_VUType_idisp, "DispatchInterface", "{2F358164-E28F-4BF4-9FA9-4E0CDCABA50B}"},
    {&static_VUType_bool, "bool", "{CA42115D-13D0-456C-82B5-FC10187F313E}"},
    {&static_VUType_int, "int", "{53C1F3BE-73C3-4C7D-9E05-CCF09EB676B5}"},
    {&static_VUType_double, "double", "{2D0974E5-0BA6-4EC2-8837-C198972CB48C}"},
    {&static_VUType_charstar, "char*", "{EFCDD1D4-77A3-4B8E-8D46-DC14B8D393E9}"},
    {&static_VUType_VString, "VString", "{44C2A547-01E7-4E56-8559-35AF9D2F42B7}"},
    {&static_VUType_VVariant, "VVariant", "{6DC75D58-A1D9-4417-B591-D45C63A3A4EA}"},
    {&static_VUType_varptr, "varptr", "{8D48B3A8-BD7F-11D5-8D74-00C0F03BC0F3}"},
};
} // namespace

TEST(VUType, HasNamesAndIdentifiers)
{
    for (const Named& named : types) {
        EXPECT_STREQ(named.type->desc(), named.desc);
        EXPECT_EQ(*named.type->uuid(), VUuid(QString::fromLatin1(named.uuid))) << named.desc;
        for (const Named& other : types)
            EXPECT_EQ(VUType::isEqual(named.type, other.type), &named == &other);
        VUObject o;
        EXPECT_FALSE(named.type->serializeTo(&o, nullptr));
        EXPECT_FALSE(named.type->serializeFrom(&o, nullptr));
    }
    VUType_int another;
    EXPECT_TRUE(VUType::isEqual(&another, &static_VUType_int)) << "by the identifier";
}

TEST(VUType, ConvertsThePairsThatOneOfThemNames)
{
    // From each type to those in its string, by first letters; all other pairs are refused.
    const auto letter = [](const VUType* type) {
        return VUType::isEqual(type, &static_VUType_ptr) ? 'p' : *type->desc();
    };
    const std::pair<VUType*, const char*> rules[] = {
        {&static_VUType_Null, ""},       {&static_VUType_enum, "i"},
        {&static_VUType_ptr, "v"},       {&static_VUType_iface, ""},
        {&static_VUType_idisp, "U"},     {&static_VUType_bool, "*"},
        {&static_VUType_int, "deV*"},    {&static_VUType_double, "iV*"},
        {&static_VUType_charstar, "V*"}, {&static_VUType_VString, "cid*"},
        {&static_VUType_VVariant, ""},   {&static_VUType_varptr, "p"}};
    for (const auto& [from, targets] : rules) {
        for (const Named& named : types) {
            const char to = named.type == &static_VUType_VVariant ? '*' : letter(named.type);
            VUObject o;
            EXPECT_EQ(named.type->canConvertFrom(&o, from),
                      std::string(targets).find(to) != std::string::npos)
                << from->desc() << " to " << named.desc;
        }
    }
}

TEST(VUType, TheSourceAnswersOnlyWhereItNamesTheTarget)
{
    VUObject o;
    EXPECT_TRUE(static_VUType_int.canConvertTo(&o, &static_VUType_double));
    EXPECT_FALSE(static_VUType_int.canConvertTo(&o, &static_VUType_enum));
    EXPECT_FALSE(static_VUType_bool.canConvertTo(&o, &static_VUType_VVariant));
    EXPECT_TRUE(static_VUType_VString.canConvertTo(&o, &static_VUType_int));
    EXPECT_FALSE(static_VUType_int.canConvertTo(&o, &static_VUType_VString));
    EXPECT_FALSE(static_VUType_int.convertTo(&o, &static_VUType_VString));
}

TEST(VUType, ConvertsValues)
{
    VUObject o;
    const auto to = [&o](VUType& type) { return type.convertFrom(&o, o.type); };
    for (const auto& [real, whole] : {std::pair<double, int>{1.9, 1},
                                      {-1.9, -1},
                                      {1e300, std::numeric_limits<int>::max()},
                                      {-1e300, std::numeric_limits<int>::min()},
                                      {NAN, 0}}) {
        static_VUType_double.set(&o, real);
        EXPECT_TRUE(to(static_VUType_int));
        EXPECT_EQ(static_VUType_int.get(&o), whole);
    }
    static_VUType_charstar.set(&o, "12", true);
    EXPECT_TRUE(to(static_VUType_VString));
    EXPECT_EQ(static_VUType_VString.get(&o), QLatin1String("12"));
    EXPECT_TRUE(to(static_VUType_double));
    EXPECT_EQ(static_VUType_double.get(&o), 12);
    EXPECT_TRUE(to(static_VUType_VString));
    EXPECT_TRUE(to(static_VUType_charstar));
    EXPECT_STREQ(static_VUType_charstar.get(&o), "12");
    EXPECT_TRUE(to(static_VUType_VVariant));
    EXPECT_EQ(static_VUType_VVariant.get(&o).type(), unsigned(VVariant::String));
    EXPECT_FALSE(to(static_VUType_int));
    EXPECT_EQ(o.type, &static_VUType_VVariant) << "what can't be converted stays";
    static_VUType_bool.set(&o, true);
    EXPECT_TRUE(to(static_VUType_VVariant));
    EXPECT_EQ(static_VUType_VVariant.get(&o).type(), unsigned(VVariant::Bool));
}

TEST(VUObject, KeepsItsOwnTextOrTheCallers)
{
    char text[] = "abc";
    VUObject kept, borrowed;
    static_VUType_charstar.set(&kept, text, true);
    static_VUType_charstar.set(&borrowed, text);
    text[0] = 'x';
    EXPECT_STREQ(static_VUType_charstar.get(&kept), "abc");
    EXPECT_STREQ(static_VUType_charstar.get(&borrowed), "xbc");
    VUObject copy;
    copy.copyFrom(borrowed);
    text[0] = 'y';
    EXPECT_STREQ(static_VUType_charstar.get(&copy), "xbc");
    static_VUType_charstar.clear(&kept);
    EXPECT_EQ(static_VUType_charstar.get(&kept), nullptr);
}

TEST(VUObject, FreesTheOldValueForANewOne)
{
    VUObject o;
    static_VUType_VString.set(&o, QStringLiteral("one"));
    static_VUType_VString.set(&o, static_VUType_VString.get(&o) + QLatin1Char('!'));
    static_VUType_VString.set(&o, static_VUType_VString.get(&o));
    EXPECT_EQ(static_VUType_VString.get(&o), QLatin1String("one!"));
    static_VUType_VVariant.set(&o, VVariant(QStringLiteral("two")));
    static_VUType_int.set(&o, 3);
    static_VUType_charstar.set(&o, "four", true);
    static_VUType_charstar.set(&o, static_VUType_charstar.get(&o), true);
    EXPECT_STREQ(static_VUType_charstar.get(&o), "four");
}
