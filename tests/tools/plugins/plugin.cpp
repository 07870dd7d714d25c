// A plug-in that definitions of the build make friendly or hostile:
//   FEATURES  the text of its feature list, split at ","; without it there is no list
//   NAME      the name of its single component; without it there is none
//   FOREIGN   it does not offer the interface of the tests
//   FICKLE    it has no features any more when it is asked again
//   UNBORN    it makes no instance
//   HALF      it lacks "lib_instantiate"

#include "tools/plugins/testinterface.h"

#include <qstringlist.h>

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace
{
int references = 0; // to all instances
int initializations = 0;

#ifdef FEATURES
constexpr bool hasFeatures = true;
QString features()
{
    return QStringLiteral(FEATURES);
}
#else
constexpr bool hasFeatures = false;
QString features()
{
    return QString();
}
#endif

#ifdef NAME
constexpr bool hasName = true;
QString componentName()
{
    return QStringLiteral(NAME);
}
#else
constexpr bool hasName = false;
QString componentName()
{
    return QString();
}
#endif

#ifdef FOREIGN
constexpr bool isForeign = true;
#else
constexpr bool isForeign = false;
#endif

class Component final : public VComponentInterface
{
public:
    explicit Component(VUnknownInterface* owner) : m_owner(owner) {}

    quint32 queryInterface(const VUuid& id, VUnknownInterface** out) override
    {
        return m_owner->queryInterface(id, out);
    }
    quint32 addRef() override { return m_owner->addRef(); }
    quint32 release() override { return m_owner->release(); }
    QString name() const override { return componentName(); }

private:
    VUnknownInterface* m_owner;
};

class Plugin final : public TestInterface
{
public:
    quint32 queryInterface(const VUuid& id, VUnknownInterface** out) override
    {
        *out = nullptr;
        if (id == VUnknownInterface::interfaceId || (!isForeign && id == testInterfaceId()) ||
            (hasFeatures && id == VFeatureListInterface::interfaceId))
            *out = this;
        else if (hasName && id == VComponentInterface::interfaceId)
            *out = &m_component;
        if (!*out)
            return NoInterface;
        (*out)->addRef();
        return Done;
    }
    quint32 addRef() override
    {
        ++references;
        return ++m_references;
    }
    quint32 release() override
    {
        --references;
        const quint32 left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }
    QStringList featureList() const override
    {
#ifdef FICKLE
        if (++m_calls > 1)
            return QStringList();
#endif
        // Literals, whose characters stay in the memory of the plug-in.
        return features().contains(u',') ? features().split(u',')
                                         : QStringList{features(), QString()};
    }
    quint32 ask() const override
    {
        return answer;
    }

private:
    Component m_component{this};
    quint32 m_references = 0;
#ifdef FICKLE
    mutable int m_calls = 0;
#endif
};
} // namespace

EXPORT int testReferences()
{
    return references;
}

EXPORT int testInitializations()
{
    return initializations;
}

EXPORT void lib_initialize()
{
    ++initializations;
}

#ifndef HALF
EXPORT VUnknownInterface* lib_instantiate()
{
#ifdef UNBORN
    return nullptr;
#else
    auto* plugin = new Plugin;
    plugin->addRef();
    return plugin;
#endif
}
#endif
