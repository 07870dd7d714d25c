#pragma once

#include "toolkit/qdict.h"
#include "tools/vunknowninterface.h"

#include <qstringlist.h>

class VDllModule;

/// Holds one reference to an interface, which it takes over and gives up at the end of its life.
class ZYL_EXPORT VPlugin
{
public:
    explicit VPlugin(VUnknownInterface* iface = nullptr) : _iface(iface) {}
    virtual ~VPlugin();
    VPlugin(const VPlugin&) = delete;
    VPlugin& operator=(const VPlugin&) = delete;

    VUnknownInterface* iface() const { return _iface; }

    /// The interface with that identifier, with a reference for the caller, or null. Warns and
    /// returns null when there is nothing to ask.
    VUnknownInterface* query(const VUuid& id) const;

private:
    VUnknownInterface* _iface;
};

/// An open plug-in library: a reference to its module, and to the instance that it made.
class ZYL_EXPORT VLibrary
{
public:
    VLibrary() = default;
    virtual ~VLibrary();
    VLibrary(const VLibrary&) = delete;
    VLibrary& operator=(const VLibrary&) = delete;

    /// Asks the instance. Returns -1 as an unsigned number when there is no module or no instance.
    quint32 queryInterface(const VUuid& id, VUnknownInterface** out) const;

    /// The file name; empty when there is no module.
    QString library() const;

private:
    friend class VGPluginManager;

    bool instantiate(VDllModule* module);

    VDllModule* m_module = nullptr;
    VUnknownInterface* m_instance = nullptr;
};

/// Finds, opens and indexes plug-in libraries by the features that they offer.
///
/// A plug-in exports two functions with C linkage: `void lib_initialize()`, and `VUnknownInterface*
/// lib_instantiate()`, which returns the instance with one reference. The instance has to offer the
/// manager's interface, and a VFeatureListInterface or else a VComponentInterface. Features without
/// a name don't count.
class ZYL_EXPORT VGPluginManager
{
public:
    /// Searches every path of `paths` with `suffix` behind it.
    VGPluginManager(const VUuid& id, const QStringList& paths, const QString& suffix,
                    bool caseSensitive = true);
    virtual ~VGPluginManager();
    VGPluginManager(const VGPluginManager&) = delete;
    VGPluginManager& operator=(const VGPluginManager&) = delete;

    /// Opens a library once under the name given, and enters its features. Null where it can't be
    /// opened or has no feature. A feature that another library has already stays there, with a
    /// warning.
    virtual VLibrary* open(const QString& file);

    /// Takes the library's features away and ends it. False for a name that isn't open.
    virtual bool close(const QString& file);

    /// Adds a directory that exists; it is not read yet.
    void addLibraryPath(const QString& path);

    /// Opens every "*.so" of the directory, by name ignoring case.
    void addLibraries(const QString& directory);

    /// Opens every "*.so" of the search paths.
    void addAll();

    /// Opens an absolute name, or another in the first search path that has it, without entering
    /// features. The caller deletes the library.
    [[nodiscard]] VLibrary* openFile(const QString& file) const;

    /// The features in the order of the dictionary.
    QStringList featureList() const;

    /// The manager's interface of the library with that feature, with a reference for the caller,
    /// as `VUnknownInterface::queryInterface` hands it out.
    quint32 queryInterface(const QString& feature, VUnknownInterface** out) const;

    /// Whether "Red" and "red" are two features.
    bool isCaseSensitive() const { return (m_flags & CaseSensitive) != 0; }

private:
    enum Flag : unsigned { CaseSensitive = 1, Constructed = 2 };

    QString findFile(const QString& file) const;
    QStringList featuresOf(const VLibrary& library) const;
    bool enterFeatures(VLibrary* library);

    VUuid m_id;
    QStringList m_paths;
    QDict<VLibrary> m_features;
    QDict<VLibrary> m_libraries;
    unsigned m_flags;
};

/// The manager of the plug-ins that offer `Interface`.
template <class Interface>
class ZYL_EXPORT VPluginManager : public VGPluginManager
{
public:
    using VGPluginManager::queryInterface;
    using VGPluginManager::VGPluginManager;

    quint32 queryInterface(const QString& feature, Interface** out) const
    {
        VUnknownInterface* found = nullptr;
        const quint32 result = queryInterface(feature, &found);
        *out = static_cast<Interface*>(found);
        return result;
    }
};
