#include "security/asnobject.h"

#include <memory>

namespace
{
const unsigned char baseOid[] = {0x2a, 0x03};
const unsigned char leafOid[] = {0x2a, 0x03, 0x04};

class Base : public asn::Object
{
public:
    static const asn::MetaObject* staticMetaObject()
    {
        static const asn::MetaObject entry("TestBase", "base", asn::Object::staticMetaObject(),
                                           baseOid, sizeof baseOid, nullptr);
        return &entry;
    }
    const asn::MetaObject* metaObject() const override { return staticMetaObject(); }
};

class Leaf : public Base
{
public:
    static asn::Object* factory() { return new Leaf; }
    static const asn::MetaObject* staticMetaObject()
    {
        static const asn::MetaObject* entry = asn::MetaObject::new_metaobject(
            "TestLeaf", "leaf", Base::staticMetaObject(), leafOid, sizeof leafOid, &Leaf::factory);
        return entry;
    }
    const asn::MetaObject* metaObject() const override { return staticMetaObject(); }
};

using Instance = std::unique_ptr<asn::Object>;
} // namespace

TEST(AsnMetaObject, ClassesAreFoundByNameAndIdentifier)
{
    const asn::MetaObject* leaf = Leaf::staticMetaObject();
    EXPECT_EQ(asn::MetaObject::metaObject("TestLeaf"), leaf);
    EXPECT_EQ(asn::MetaObject::metaObject("testleaf"), nullptr);
    EXPECT_EQ(asn::MetaObject::metaObject(static_cast<const char*>(nullptr)), nullptr);
    const asn::ObjectIdentifier oid("1.2.3.4");
    EXPECT_EQ(asn::MetaObject::metaObject(oid), leaf);
    EXPECT_EQ(asn::MetaObject::metaObject(oid, "TestBase"), leaf);
    EXPECT_EQ(asn::MetaObject::metaObject(oid, "Cipher"), nullptr);
    // An empty identifier is that of no class, though some classes have none.
    Base::staticMetaObject();
    EXPECT_EQ(asn::MetaObject::metaObject(asn::ObjectIdentifier()), nullptr);
}

TEST(AsnMetaObject, InheritsItselfAndItsSupers)
{
    const Leaf leaf;
    EXPECT_STREQ(leaf.className(), "TestLeaf");
    EXPECT_EQ(leaf.oid().toString(), "1.2.3.4");
    EXPECT_TRUE(leaf.inherits("TestLeaf") && leaf.inherits("TestBase"));
    EXPECT_TRUE(leaf.inherits("ASN.1 Object"));
    EXPECT_TRUE(leaf.inherits(Base::staticMetaObject()));
    EXPECT_FALSE(Base().inherits(Leaf::staticMetaObject()));
    EXPECT_FALSE(Base().inherits("TestLeaf"));
}

TEST(AsnMetaObject, LeavesTheTableAlone)
{
    using Meta = asn::MetaObject;
    auto older = std::make_unique<Meta>("TestTwice", "", nullptr, baseOid, 2u, nullptr);
    auto newer = std::make_unique<Meta>("TestTwice", "", nullptr, baseOid, 2u, nullptr);
    EXPECT_EQ(Meta::metaObject("TestTwice"), newer.get());
    older.reset();
    EXPECT_EQ(Meta::metaObject("TestTwice"), newer.get());
    newer.reset();
    EXPECT_EQ(Meta::metaObject("TestTwice"), nullptr);
}

TEST(AsnObjectFactory, HandsOutOnlyItsClass)
{
    Leaf::staticMetaObject();
    const asn::ObjectFactory bases(Base::staticMetaObject());
    const Instance byName(bases.getInstance("TestLeaf"));
    const Instance byOid(bases.getInstance(asn::ObjectIdentifier("1.2.3.4")));
    ASSERT_TRUE(byName && byOid);
    EXPECT_STREQ(byName->className(), "TestLeaf");
    EXPECT_STREQ(byOid->className(), "TestLeaf");
    EXPECT_EQ(bases.getInstance("ASN.1 Object"), nullptr);
    EXPECT_EQ(bases.getInstance("TestBase"), nullptr); // it has no factory
    EXPECT_EQ(bases.getInstance("nothing"), nullptr);
    EXPECT_EQ(bases.getInstance(asn::ObjectIdentifier("1.2.3.5")), nullptr);
}
