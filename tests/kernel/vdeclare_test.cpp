#include "kernel/vdeclare.h"

#include "kernel/thermometer.h"

namespace plant
{
class Valve;
template <class T>
class Box;
enum class Mode { Auto, Manual };
} // namespace plant

namespace
{
using declare::Fault;

/// What is wrong with a signature for a function with these parameters.
template <class... Parameters>
constexpr Fault faultOf(std::string_view signature)
{
    return declare::fault<void (VObject::*)(Parameters...)>(signature);
}

// The tables of a class are checked while they compile, and so are these.
static_assert(faultOf<>("run()") == Fault::None);
static_assert(faultOf<int, double>("run(int,double)") == Fault::None);
static_assert(faultOf<const QString&>("run(const VString&)") == Fault::None);
static_assert(faultOf<const VVariant&, bool>("run(const VVariant&,bool)") == Fault::None);
static_assert(faultOf<plant::Valve*>("run(Valve*)") == Fault::None);
static_assert(faultOf<const plant::Valve*>("run(const Valve*)") == Fault::None);
static_assert(faultOf<plant::Mode, void*>("run(Mode,void*)") == Fault::None);
static_assert(faultOf<plant::Box<int>*>("run(IntBox*)") == Fault::None, "a template has any name");

static_assert(faultOf<int>("run( int)") == Fault::NotNormalised);
static_assert(faultOf<int>(" run(int)") == Fault::NotNormalised);
static_assert(faultOf<const plant::Valve*>("run(const  Valve*)") == Fault::NotNormalised);
static_assert(faultOf<const plant::Valve*>("run(const\tValve*)") == Fault::NotNormalised);
static_assert(faultOf<>("run") == Fault::NotASignature);
static_assert(faultOf<>("run()x") == Fault::NotASignature);
static_assert(faultOf<>("(int)") == Fault::NotASignature);
static_assert(faultOf<>("1run()") == Fault::NotASignature);
static_assert(faultOf<>("my run()") == Fault::NotASignature);
static_assert(faultOf<int, int>("run(int,,int)") == Fault::NotASignature);
static_assert(faultOf<int>("run(int,)") == Fault::NotASignature);
static_assert(faultOf<int>("run()") == Fault::ParameterCount);
static_assert(faultOf<int>("run(int,int)") == Fault::ParameterCount);
static_assert(faultOf<int>("run(double)") == Fault::ParameterType);
static_assert(faultOf<int, double>("run(double,int)") == Fault::ParameterType);
static_assert(faultOf<plant::Valve*>("run(plant::Valve*)") == Fault::ParameterType);
static_assert(faultOf<plant::Valve*>("run(const Valve*)") == Fault::ParameterType);
static_assert(faultOf<plant::Valve*>("run(Pump*)") == Fault::ParameterType);
static_assert(faultOf<plant::Mode>("run(int)") == Fault::ParameterType);
static_assert(faultOf<const char*>("run(char*)") == Fault::ParameterType);

struct Expected {
    const VUType* type;
    const char* extra;
    int direction;
};
struct Described {
    const char* signature;
    bool isSlot;
    const char* name;
    std::vector<Expected> parameters;
};
} // namespace

class DeclaredMethod : public testing::TestWithParam<Described>
{
};
TEST_P(DeclaredMethod, IsDescribedFromItsFunction)
{
    const VMetaObject& meta = *Thermometer::staticMetaObject();
    const VMetaData* row = GetParam().isSlot
                               ? meta.slot(meta.findSlot(GetParam().signature, true), true)
                               : meta.signal(meta.findSignal(GetParam().signature, true), true);
    ASSERT_TRUE(row);
    EXPECT_STREQ(row->name, GetParam().signature);
    EXPECT_STREQ(row->method->name, GetParam().name);
    ASSERT_EQ(std::size_t(row->method->count), GetParam().parameters.size());
    for (int i = 0; i < row->method->count; ++i) {
        const VUParameter& parameter = row->method->parameters[i];
        const Expected& expected = GetParam().parameters[std::size_t(i)];
        EXPECT_EQ(parameter.type, expected.type);
        EXPECT_STREQ(parameter.typeExtra, expected.extra);
        EXPECT_EQ(parameter.direction, expected.direction);
        EXPECT_EQ(parameter.name, nullptr);
    }
}
INSTANTIATE_TEST_SUITE_P(
    Rows, DeclaredMethod,
    testing::Values(
        Described{"reset()", true, "reset", {}},
        Described{"show(int,double)",
                  true,
                  "show",
                  {{&static_VUType_int, nullptr, 1}, {&static_VUType_double, nullptr, 1}}},
        Described{"count(int)",
                  true,
                  "count",
                  {{&static_VUType_int, nullptr, 2}, {&static_VUType_int, nullptr, 1}}},
        Described{"look(const VObject*)", true, "look", {{&static_VUType_ptr, "VObject", 1}}},
        Described{"cleanupEventFilter(VObject*)",
                  true,
                  "cleanupEventFilter",
                  {{&static_VUType_ptr, "VObject", 1}}},
        Described{"scaled(Scale)", false, "scaled", {{&static_VUType_enum, "Scale", 1}}},
        Described{"spelled(const char*,bool)",
                  false,
                  "spelled",
                  {{&static_VUType_charstar, nullptr, 1}, {&static_VUType_bool, nullptr, 1}}},
        Described{
            "named(const VString&)", false, "named", {{&static_VUType_VString, nullptr, 1}}}));

TEST(DeclaredMethod, TellsItsAccess)
{
    const VMetaObject& meta = *Thermometer::staticMetaObject();
    EXPECT_EQ(meta.slot(meta.findSlot("secret()"), true)->access, 0);
    EXPECT_EQ(meta.slot(meta.findSlot("reset()"), true)->access, 2);
    EXPECT_EQ(meta.slot(0, true)->access, 0) << "VObject's only slot";
    EXPECT_EQ(meta.signal(0, true)->access, 2);
}

TEST(DeclaredMethod, IsCalledByItsGlobalIndexAndLeavesAResult)
{
    Thermometer object;
    const int id = Thermometer::staticMetaObject()->findSlot("count(int)");
    VUObject o[2];
    static_VUType_int.set(o + 1, 5);
    EXPECT_TRUE(object.slot_invoke(id, o));
    EXPECT_TRUE(object.slot_invoke(id, o));
    EXPECT_EQ(static_VUType_int.get(o), 10);
    EXPECT_FALSE(object.slot_invoke(id + 100, o));
    EXPECT_FALSE(object.slot_invoke(-1, o));
    EXPECT_FALSE(object.signal_emit(100, o));
}
