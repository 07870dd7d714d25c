#pragma once

#include "toolkit/zylexport.h"

#include <qstring.h>
#include <qstringlist.h>

/// The library's process object. An application keeps one for the life of its `main`: construction
/// sets the data path, destruction frees every lazily built table. A program without one has no
/// data path and gets no clean-up, but may use everything else. Belongs to the main thread.
class ZYL_EXPORT VGlobal
{
public:
    VGlobal();
    ~VGlobal();
    VGlobal(const VGlobal&) = delete;
    VGlobal& operator=(const VGlobal&) = delete;

    /// Sets the data path to the user's home directory and registers the image formats that must be
    /// there.
    static void initialize();

    /// Runs the post routines, last added first, until none is left.
    static void cleanup();

    static void addPostRoutine(void (*routine)());
    static void removePostRoutine(void (*routine)());

    /// The root of all data look-ups.
    static const QString& dataPath() { return m_dataPath; }
    static void setDataPath(const QString& path);

    /// Where plug-ins are looked for: "/lib" and "/plugins" under the data path. The caller deletes
    /// the list.
    static QStringList* libraryPaths();

private:
    static QString m_dataPath;
};
