#include "kernel/vglobal.h"

#include "kernel/vimageio.h"
#include "tools/postroutines.h"

#include <qdir.h>

QString VGlobal::m_dataPath;

VGlobal::VGlobal()
{
    initialize();
}

VGlobal::~VGlobal()
{
    cleanup();
}

void VGlobal::initialize()
{
    setDataPath(QDir::homePath());
    vInitSgiIO();
}

void VGlobal::cleanup()
{
    postroutines::run();
}

void VGlobal::addPostRoutine(void (*routine)())
{
    postroutines::add(routine);
}

void VGlobal::removePostRoutine(void (*routine)())
{
    postroutines::remove(routine);
}

void VGlobal::setDataPath(const QString& path)
{
    m_dataPath = path;
}

QStringList* VGlobal::libraryPaths()
{
    return new QStringList{m_dataPath + QLatin1String("/lib"),
                           m_dataPath + QLatin1String("/plugins")};
}
