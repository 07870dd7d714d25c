#pragma once

#include "toolkit/zylexport.h"

#include <qstring.h>

/// One shared object opened through the system's loader, closed at the end of its life.
class ZYL_EXPORT VDLLoader
{
public:
    VDLLoader() = default;
    ~VDLLoader() { close(); }
    VDLLoader(const VDLLoader&) = delete;
    VDLLoader& operator=(const VDLLoader&) = delete;

    /// Closes what is open and opens `file` with a mode of `dlopen`. The name is kept also where
    /// that fails.
    bool open(const QString& file, int mode);
    void close();

    bool isOpen() const { return m_handle != nullptr; }
    const QString& fileName() const { return m_fileName; }

    /// The address under that name, or null; always null while closed.
    void* symbol(const char* name) const;

    /// The loader's text for its last failure in the process, told once, or null.
    QString error() const;

private:
    void* m_handle = nullptr;
    QString m_fileName;
};
