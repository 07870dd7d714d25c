#include "tools/vdlloader.h"

#include <dlfcn.h>

bool VDLLoader::open(const QString& file, int mode)
{
    close();
    m_fileName = file;
    // The loader would stop at a zero and open another file than the one that was asked for.
    if (!file.contains(QChar(0)))
        m_handle = dlopen(file.toLocal8Bit().constData(), mode);
    return isOpen();
}

void VDLLoader::close()
{
    if (m_handle)
        dlclose(m_handle);
    m_handle = nullptr;
}

void* VDLLoader::symbol(const char* name) const
{
    // A null handle would search the whole process.
    return m_handle && name ? dlsym(m_handle, name) : nullptr;
}

QString VDLLoader::error() const
{
    return QString::fromLocal8Bit(dlerror());
}
