#include "tools/vgplugin.h"

#include "tools/vdllmanager.h"

#include <memory>

#include <qdir.h>
#include <qfileinfo.h>
#include <qlogging.h>

namespace
{
/// The interface, with a reference, or null where the asked one fails or gives nothing.
template <class Source>
VUnknownInterface* ask(Source& source, const VUuid& id)
{
    VUnknownInterface* found = nullptr;
    return source.queryInterface(id, &found) == VUnknownInterface::Done ? found : nullptr;
}

/// Asks the plug-in's own interface first, then its library.
VUnknownInterface* askBoth(const VPlugin& plugin, const VLibrary& library, const VUuid& id)
{
    VUnknownInterface* found = plugin.query(id);
    return found ? found : ask(library, id);
}

bool isAbsolute(const QString& file)
{
    return file[0] == u'/' || file[0] == u'\\' || (file.size() > 1 && file[1] == u':');
}
} // namespace

VPlugin::~VPlugin()
{
    if (_iface)
        _iface->release();
}

VUnknownInterface* VPlugin::query(const VUuid& id) const
{
    if (!_iface) {
        qWarning("ASSERT: \"%s\" in %s (%d)", "_iface", "tools/vgplugin", 41);
        return nullptr;
    }
    return ask(*_iface, id);
}

VLibrary::~VLibrary()
{
    // The instance's code is in the module.
    if (m_instance)
        m_instance->release();
    if (m_module)
        m_module->unload();
}

bool VLibrary::instantiate(VDllModule* module)
{
    m_module = module;
    const auto initialize = reinterpret_cast<void (*)()>(module->symbol("lib_initialize"));
    const auto instantiate =
        reinterpret_cast<VUnknownInterface* (*)()>(module->symbol("lib_instantiate"));
    if (!initialize || !instantiate)
        return false;
    initialize();
    m_instance = instantiate();
    return true;
}

quint32 VLibrary::queryInterface(const VUuid& id, VUnknownInterface** out) const
{
    *out = nullptr;
    return m_module && m_instance ? m_instance->queryInterface(id, out) : quint32(-1);
}

QString VLibrary::library() const
{
    return m_module ? m_module->fileName() : QString();
}

VGPluginManager::VGPluginManager(const VUuid& id, const QStringList& paths, const QString& suffix,
                                 bool caseSensitive)
    : m_id(id), m_features(17, caseSensitive), m_libraries(17),
      m_flags(caseSensitive ? CaseSensitive | Constructed : Constructed)
{
    m_libraries.setAutoDelete(true);
    for (const QString& path : paths)
        addLibraryPath(path + suffix);
}

VGPluginManager::~VGPluginManager()
{
    m_features.clear();
    m_libraries.clear();
}

VLibrary* VGPluginManager::open(const QString& file)
{
    if (file.isEmpty())
        return nullptr;
    if (VLibrary* known = m_libraries.find(file))
        return known;
    std::unique_ptr<VLibrary> library(openFile(file));
    if (!library || !enterFeatures(library.get()))
        return nullptr;
    m_libraries.insert(file, library.get());
    return library.release();
}

bool VGPluginManager::close(const QString& file)
{
    const VLibrary* library = file.isEmpty() ? nullptr : m_libraries.find(file);
    if (!library)
        return false;
    // A plug-in may name other features than it did when it was opened, so that asking it again
    // could leave entries behind that lead to nothing.
    for (QDictIterator<VLibrary> it(m_features); it.current();) {
        if (it.current() == library)
            m_features.remove(it.currentKey());
        else
            ++it;
    }
    return m_libraries.remove(file);
}

void VGPluginManager::addLibraryPath(const QString& path)
{
    if (QDir(path).exists(QStringLiteral(".")))
        m_paths.append(path);
}

void VGPluginManager::addLibraries(const QString& directory)
{
    const QStringList entries = QDir(directory).entryList(
        {QStringLiteral("*.so")}, QDir::Files | QDir::CaseSensitive, QDir::Name | QDir::IgnoreCase);
    for (const QString& entry : entries)
        open(QFileInfo(directory + u'/' + entry).filePath());
}

void VGPluginManager::addAll()
{
    // A copy, since a plug-in may add paths while it is opened.
    const QStringList paths = m_paths;
    for (const QString& path : paths)
        addLibraries(path);
}

VLibrary* VGPluginManager::openFile(const QString& file) const
{
    const QString found = findFile(file);
    VDllModule* module = found.isEmpty() ? nullptr : VDllManager::open(found);
    if (!module)
        return nullptr;
    auto library = std::make_unique<VLibrary>();
    return library->instantiate(module) ? library.release() : nullptr;
}

QStringList VGPluginManager::featureList() const
{
    QStringList features;
    for (QDictIterator<VLibrary> it(m_features); it.current(); ++it)
        features.append(it.currentKey());
    return features;
}

quint32 VGPluginManager::queryInterface(const QString& feature, VUnknownInterface** out) const
{
    *out = nullptr;
    const VLibrary* library = feature.isEmpty() ? nullptr : m_features.find(feature);
    return library ? library->queryInterface(m_id, out) : quint32(VUnknownInterface::NoInterface);
}

QString VGPluginManager::findFile(const QString& file) const
{
    if (file.isEmpty())
        return QString();
    if (isAbsolute(file))
        return QFileInfo::exists(file) ? file : QString();
    for (const QString& path : m_paths) {
        const QString candidate = path + u'/' + file;
        if (QFileInfo::exists(candidate))
            return candidate;
    }
    return QString();
}

QStringList VGPluginManager::featuresOf(const VLibrary& library) const
{
    const VPlugin own(ask(library, m_id));
    if (!own.iface())
        return QStringList();
    const VPlugin list(askBoth(own, library, VFeatureListInterface::interfaceId));
    if (list.iface())
        return static_cast<const VFeatureListInterface*>(list.iface())->featureList();
    const VPlugin component(askBoth(own, library, VComponentInterface::interfaceId));
    if (component.iface())
        return {static_cast<const VComponentInterface*>(component.iface())->name()};
    return QStringList();
}

bool VGPluginManager::enterFeatures(VLibrary* library)
{
    bool hasFeature = false;
    const QStringList features = featuresOf(*library);
    for (const QString& feature : features) {
        if (feature.isEmpty())
            continue;
        hasFeature = true;
        if (const VLibrary* holder = m_features.find(feature))
            qWarning("%s: Feature %s already defined in %s!", qUtf8Printable(library->library()),
                     qUtf8Printable(feature), qUtf8Printable(holder->library()));
        else
            // A deep copy, since a string literal of the plug-in goes with its memory.
            m_features.insert(QString(feature.constData(), feature.size()), library);
    }
    return hasFeature;
}
