#include "kernel/vmetaclass.h"

#include "kernel/zylobject.h"
#include "support/warnings.h"

#include <memory>
#include <optional>
#include <vector>

namespace
{
class Shape : public ZYLObject
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory() { return new Shape; }
    const VMetaClass* metaObject() const override { return &metaClass; }
};
const VMetaClass Shape::metaClass("test::Shape", &Shape::factory, &ZYLObject::metaClass);
const VMetaClass abstractClass("test::Abstract", &ZYLObject::factory, &Shape::metaClass);
} // namespace

TEST(VMetaClass, MakesObjectsByName)
{
    const VMetaClass* found = VMetaClass::metaClass("test::Shape");
    ASSERT_EQ(found, &Shape::metaClass);
    const std::unique_ptr<ZYLObject> shape(found->makeInstance());
    EXPECT_STREQ(shape->className(), "test::Shape");
    EXPECT_TRUE(shape->inherits("ZYLObject"));
    EXPECT_TRUE(shape->inherits(&ZYLObject::metaClass));
    EXPECT_FALSE(shape->inherits(&abstractClass));
    EXPECT_FALSE(shape->inherits("test::Abstract"));
    EXPECT_FALSE(shape->inherits(static_cast<const char*>(nullptr)));
    EXPECT_TRUE(abstractClass.inherits("test::Shape"));
    const std::unique_ptr<ZYLObject> plain(abstractClass.makeInstance());
    EXPECT_STREQ(plain->className(), "ZYLObject");
    EXPECT_EQ(VMetaClass::metaClass("test::None"), nullptr);
    EXPECT_EQ(VMetaClass::metaClass(nullptr), nullptr);
}

TEST(VMetaClass, TheLatestOfANameIsFoundAndTheOthersComeBack)
{
    std::optional<VMetaClass> classes[3];
    for (auto& entry : classes)
        entry.emplace("test::Same", &ZYLObject::factory, &ZYLObject::metaClass);
    const auto found = [] { return VMetaClass::metaClass("test::Same"); };
    EXPECT_EQ(found(), &*classes[2]);
    classes[1].reset(); // hidden while it lived
    EXPECT_EQ(found(), &*classes[2]);
    classes[2].reset();
    EXPECT_EQ(found(), &*classes[0]);
    classes[0].reset();
    EXPECT_EQ(found(), nullptr);
}

TEST(VMetaClass, TheLatestOfANameStaysInFrontWhileTheTableGrows)
{
    const VMetaClass first("test::Twice", &ZYLObject::factory, nullptr);
    const VMetaClass second("test::Twice", &ZYLObject::factory, nullptr);
    std::vector<std::string> names;
    for (int i = 0; i < 500; ++i)
        names.push_back("test::Many" + std::to_string(i));
    std::vector<std::unique_ptr<VMetaClass>> many;
    for (const std::string& name : names) {
        many.push_back(std::make_unique<VMetaClass>(name.c_str(), &ZYLObject::factory, nullptr));
        ASSERT_EQ(VMetaClass::metaClass("test::Twice"), &second) << "after " << name;
    }
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(VMetaClass::metaClass(names[i].c_str()), many[i].get());
}

TEST(ZYLObject, TakesNoEventAndWarnsOfNone)
{
    ZYLObject object;
    WarningCatcher warnings;
    EXPECT_FALSE(object.event(nullptr));
    EXPECT_EQ(warnings.text(), QLatin1String("ZYLObject::event: Null events are not permitted"));
}
