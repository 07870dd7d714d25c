#pragma once

#include "toolkit/qdict.h"
#include "tools/vdlloader.h"

/// A shared object that several holders use together. `VDllManager::open` hands out one reference,
/// and `unload` gives it up; the last one closes the object and ends the module.
class ZYL_EXPORT VDllModule : public VDLLoader
{
public:
    /// Gives up one reference. True on success.
    bool unload();

    int references() const { return m_references; }

private:
    friend class VDllManager;

    int m_references = 1;
};

/// The open modules under their file names. It doubles its buckets before it is four fifths full.
class ZYL_EXPORT VDllManagerData : public QDict<VDllModule>
{
public:
    VDllManagerData();
    void insert(const QString& file, const VDllModule* module);
};

/// Opens each shared object once.
class ZYL_EXPORT VDllManager
{
public:
    /// A reference to the module of `file`, or null where it can't be opened. The dictionary is
    /// made at the first call and freed by a post routine; modules still held then live until they
    /// are unloaded.
    static VDllModule* open(const QString& file);
};
