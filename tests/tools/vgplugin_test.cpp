#include "tools/vgplugin.h"
#include "tools/plugins/testinterface.h"
#include "tools/postroutines.h"
#include "tools/vdllmanager.h"
#include "support/text.h"
#include "support/warnings.h"

#include <dlfcn.h>
#include <memory>

#include <qdir.h>
#include <qfile.h>
#include <qfileinfo.h>
#include <qtemporarydir.h>

namespace
{
using TestManager = VPluginManager<TestInterface>;

QString pluginPath()
{
    const QFileInfo program(QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget());
    return QFileInfo(program.path() + QStringLiteral("/../lib/plugins")).canonicalFilePath();
}

QString plugin(const char* name)
{
    return pluginPath() + u'/' + text(name) + QStringLiteral(".so");
}

std::unique_ptr<TestManager> makeManager(const QStringList& paths = {}, bool caseSensitive = true)
{
    return std::make_unique<TestManager>(testInterfaceId(), paths, QString(), caseSensitive);
}

bool isLoaded(const QString& file)
{
    void* handle = dlopen(file.toLocal8Bit().constData(), RTLD_LAZY | RTLD_NOLOAD);
    if (handle)
        dlclose(handle);
    return handle != nullptr;
}

/// Keeps a plug-in loaded to read the counters that it exports.
class Counters
{
public:
    explicit Counters(const QString& file) { m_object.open(file, RTLD_LAZY); }

    int references() const { return call("testReferences"); }
    int initializations() const { return call("testInitializations"); }

private:
    int call(const char* name) const
    {
        const auto function = reinterpret_cast<int (*)()>(m_object.symbol(name));
        return function ? function() : -1;
    }

    VDLLoader m_object;
};

/// A directory with plug-ins under names of the test's choice.
class PluginDirectory
{
public:
    void add(const char* name, const char* target) { QFile::link(plugin(target), file(name)); }
    QString path() const { return m_directory.path(); }
    QString file(const char* name) const { return path() + u'/' + text(name); }

private:
    QTemporaryDir m_directory;
};
} // namespace

TEST(VDLLoader, FindsSymbolsOnlyWhileItIsOpen)
{
    VDLLoader loader;
    EXPECT_EQ(loader.symbol("malloc"), nullptr);
    ASSERT_TRUE(loader.open(plugin("colors"), RTLD_LAZY));
    EXPECT_NE(loader.symbol("lib_instantiate"), nullptr);
    EXPECT_EQ(loader.symbol("lib_nothing"), nullptr);
    EXPECT_EQ(loader.symbol(nullptr), nullptr);
    EXPECT_FALSE(loader.open(text("/nowhere/at.all"), RTLD_LAZY));
    EXPECT_TRUE(loader.error().contains(text("/nowhere/at.all")));
    EXPECT_EQ(loader.fileName(), text("/nowhere/at.all"));
    EXPECT_FALSE(isLoaded(plugin("colors")));
    EXPECT_FALSE(loader.open(plugin("colors") + QChar(0) + u'x', RTLD_LAZY));
}

TEST(VDllManager, SharesAModuleUntilItsLastUnload)
{
    const QString file = plugin("colors");
    VDllModule* first = VDllManager::open(file);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(VDllManager::open(file), first);
    EXPECT_EQ(first->references(), 2);
    EXPECT_TRUE(first->unload());
    EXPECT_TRUE(isLoaded(file));
    EXPECT_TRUE(first->unload());
    EXPECT_FALSE(isLoaded(file));
    EXPECT_EQ(VDllManager::open(plugin("nothing")), nullptr);
    EXPECT_EQ(VDllManager::open(QString()), nullptr);
}

TEST(VDllManager, AModuleSurvivesThePostRoutines)
{
    const QString file = plugin("colors");
    VDllModule* old = VDllManager::open(file);
    ASSERT_NE(old, nullptr);
    postroutines::run();
    VDllModule* fresh = VDllManager::open(file);
    EXPECT_NE(fresh, old);
    EXPECT_TRUE(old->unload());
    EXPECT_EQ(VDllManager::open(file), fresh) << "the other module of the name stays";
    EXPECT_TRUE(fresh->unload());
    EXPECT_TRUE(fresh->unload());
    EXPECT_FALSE(isLoaded(file));
}

TEST(VDllManagerData, DoublesItsBucketsBeforeItIsFourFifthsFull)
{
    VDllManagerData modules;
    for (int i = 0; i < 7; ++i)
        modules.insert(QString::number(i), new VDllModule);
    EXPECT_EQ(modules.size(), 8u);
    modules.insert(text("7"), new VDllModule);
    EXPECT_EQ(modules.size(), 16u) << "7 of 8 are more than four fifths";
    EXPECT_NE(modules.find(text("0")), nullptr);
}

TEST(VPlugin, WarnsWhenThereIsNothingToAsk)
{
    WarningCatcher warnings;
    EXPECT_EQ(VPlugin().query(VUnknownInterface::interfaceId), nullptr);
    EXPECT_EQ(warnings.text(), text("ASSERT: \"_iface\" in tools/vgplugin (41)"));
}

TEST(VLibrary, WithoutAModuleAnswersMinusOne)
{
    VUnknownInterface* found;
    EXPECT_EQ(VLibrary().queryInterface(VUnknownInterface::interfaceId, &found), 0xffffffffu);
    EXPECT_EQ(found, nullptr);
    EXPECT_TRUE(VLibrary().library().isEmpty());
}

namespace
{
struct Behaviour {
    const char* name;
    QStringList features;
};

class PluginBehaviour : public testing::TestWithParam<Behaviour>
{
};

TEST_P(PluginBehaviour, ShowsInTheFeaturesAndBalancesTheReferences)
{
    const QString file = plugin(GetParam().name);
    const Counters counters(file);
    const int before = counters.initializations();
    {
        const auto manager = makeManager();
        VLibrary* library = manager->open(file);
        EXPECT_EQ(manager->featureList(), GetParam().features);
        EXPECT_EQ(library != nullptr, !GetParam().features.isEmpty());
        EXPECT_EQ(counters.references(), library ? 1 : 0);
        if (library) {
            EXPECT_EQ(manager->open(file), library);
            EXPECT_EQ(counters.initializations(), before + 1);
            EXPECT_TRUE(manager->close(file));
            EXPECT_EQ(counters.references(), 0);
            EXPECT_TRUE(manager->featureList().isEmpty());
            EXPECT_NE(manager->open(file), nullptr);
        }
        EXPECT_EQ(manager->close(file), library != nullptr);
        EXPECT_NE(manager->open(file) != nullptr, GetParam().features.isEmpty());
    }
    EXPECT_EQ(counters.references(), 0);
}

// In buckets of 17 "red" and "blue" hash to 11, "green" and "amber" to 14, by the hash's
// definition.
INSTANTIATE_TEST_SUITE_P(Kinds, PluginBehaviour,
                         testing::Values(Behaviour{"colors", {text("red"), text("green")}},
                                         Behaviour{"shades", {text("blue"), text("green")}},
                                         Behaviour{"amber", {text("amber")}},
                                         Behaviour{"literal", {text("literal")}},
                                         Behaviour{"nameless", {}}, Behaviour{"silent", {}},
                                         Behaviour{"foreign", {}}, Behaviour{"unborn", {}},
                                         Behaviour{"half", {}}),
                         [](const auto& kind) { return std::string(kind.param.name); });
} // namespace

TEST(VGPluginManager, APluginThatChangesItsFeaturesLeavesNoEntryBehind)
{
    const auto manager = makeManager();
    ASSERT_NE(manager->open(plugin("fickle")), nullptr);
    EXPECT_EQ(manager->featureList().size(), 2);
    EXPECT_TRUE(manager->close(plugin("fickle")));
    TestInterface* found;
    EXPECT_EQ(manager->queryInterface(text("fickle"), &found), VUnknownInterface::NoInterface);
}

TEST(VGPluginManager, AFeatureStaysWithTheFirstLibraryThatHasIt)
{
    WarningCatcher warnings;
    const auto manager = makeManager();
    const QString colors = plugin("colors"), shades = plugin("shades");
    manager->open(colors);
    ASSERT_NE(manager->open(shades), nullptr);
    EXPECT_EQ(warnings.text(),
              QStringLiteral("%1: Feature green already defined in %2!").arg(shades, colors));
    // "blue" came later into the bucket of "red", so that it stands before it.
    EXPECT_EQ(manager->featureList(), (QStringList{text("blue"), text("red"), text("green")}));
    EXPECT_TRUE(manager->close(shades));
    EXPECT_EQ(manager->featureList(), (QStringList{text("red"), text("green")}))
        << "the entry of the other library stays";
    EXPECT_FALSE(manager->close(shades));
    EXPECT_FALSE(manager->close(QString()));
    EXPECT_TRUE(warnings.isEmpty());
}

TEST(VGPluginManager, ALibraryOfDuplicatesStaysOpen)
{
    PluginDirectory directory;
    directory.add("copy.so", "colors");
    WarningCatcher warnings;
    const auto manager = makeManager();
    manager->open(plugin("colors"));
    EXPECT_NE(manager->open(directory.file("copy.so")), nullptr);
    EXPECT_EQ(warnings.take().size(), 2);
    EXPECT_TRUE(manager->close(directory.file("copy.so")));
    EXPECT_EQ(manager->featureList().size(), 2);
}

TEST(VGPluginManager, HandsOutTheInterfaceWithAReference)
{
    const Counters counters(plugin("colors"));
    const auto manager = makeManager({}, false);
    manager->open(plugin("colors"));
    TestInterface* found;
    ASSERT_EQ(manager->queryInterface(text("RED"), &found), VUnknownInterface::Done);
    EXPECT_EQ(found->ask(), TestInterface::answer);
    EXPECT_EQ(counters.references(), 2);
    found->release();
    for (const QString& missing : {text("mauve"), QString()}) {
        EXPECT_EQ(manager->queryInterface(missing, &found), 0x80000004u);
        EXPECT_EQ(found, nullptr);
    }
    EXPECT_NE(makeManager()->queryInterface(text("RED"), &found), VUnknownInterface::Done);
}

TEST(VGPluginManager, TwoManagersShareOneModule)
{
    const QString file = plugin("colors");
    auto first = makeManager();
    const auto second = makeManager();
    first->open(file);
    second->open(file);
    VDllModule* module = VDllManager::open(file);
    EXPECT_EQ(module->references(), 3);
    module->unload();
    first.reset();
    EXPECT_TRUE(isLoaded(file));
    EXPECT_EQ(module->references(), 1);
    EXPECT_TRUE(second->close(file));
    EXPECT_FALSE(isLoaded(file));
}

TEST(VGPluginManager, FeatureNamesOutliveTheirPlugin)
{
    const auto manager = makeManager();
    manager->open(plugin("literal"));
    const QStringList features = manager->featureList();
    manager->close(plugin("literal"));
    ASSERT_FALSE(isLoaded(plugin("literal")));
    EXPECT_EQ(features, QStringList{text("literal")});
}

TEST(VGPluginManager, SearchesThePathsInOrderAndADirectoryByName)
{
    PluginDirectory first, second, late;
    second.add("b.so", "shades");
    first.add("B.so", "shades");
    first.add("a.so", "colors");
    first.add("c.so.1", "amber");
    first.add("d.SO", "amber");
    late.add("amber.so", "amber");
    const QString latePath = late.path() + QStringLiteral("/sub");
    const auto manager = makeManager({first.path(), second.path(), latePath, first.file("a.so")});
    QDir().mkdir(latePath);
    QFile::copy(plugin("amber"), latePath + QStringLiteral("/amber.so"));

    WarningCatcher warnings;
    VLibrary* library = manager->open(text("b.so"));
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(library->library(), second.file("b.so"));
    EXPECT_EQ(manager->open(text("amber.so")), nullptr) << "the path was not there in time";
    EXPECT_EQ(manager->open(text("\\b.so")), nullptr);
    EXPECT_EQ(manager->open(text("x:/b.so")), nullptr);
    EXPECT_TRUE(manager->close(text("b.so")));

    manager->addAll();
    const QString duplicate = QStringLiteral("%1: Feature %2 already defined in %3!");
    EXPECT_EQ(warnings.take(),
              (QStringList{duplicate.arg(first.file("B.so"), text("green"), first.file("a.so")),
                           duplicate.arg(second.file("b.so"), text("green"), first.file("a.so")),
                           duplicate.arg(second.file("b.so"), text("blue"), first.file("B.so"))}));
    EXPECT_TRUE(manager->close(first.file("B.so")));
    EXPECT_EQ(manager->featureList(), (QStringList{text("red"), text("green")}));
}

TEST(VGPluginManager, AFileThatIsNoLibraryIsRefused)
{
    PluginDirectory directory;
    QFile file(directory.file("text.so"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("not an object");
    file.close();
    WarningCatcher warnings;
    const auto manager = makeManager();
    manager->addLibraries(directory.path());
    EXPECT_EQ(manager->open(file.fileName()), nullptr);
    EXPECT_EQ(manager->openFile(directory.path()), nullptr);
    EXPECT_EQ(manager->open(plugin("nothing")), nullptr);
    EXPECT_TRUE(warnings.isEmpty());
}
