#include "kernel/vglobal.h"

#include <memory>

#include <qdir.h>

namespace
{
int runs = 0;

void count()
{
    ++runs;
}
} // namespace

TEST(VGlobal, FramesTheProcess)
{
    runs = 0;
    {
        const VGlobal global;
        EXPECT_EQ(VGlobal::dataPath(), QDir::homePath());
        VGlobal::addPostRoutine(&count);
    }
    EXPECT_EQ(runs, 1);
}

TEST(VGlobal, LibraryPathsFollowTheDataPath)
{
    for (const char* root : {"", "/opt/plant"}) {
        const QString path = QString::fromLatin1(root);
        VGlobal::setDataPath(path);
        const std::unique_ptr<QStringList> paths(VGlobal::libraryPaths());
        EXPECT_EQ(*paths,
                  (QStringList{path + QLatin1String("/lib"), path + QLatin1String("/plugins")}));
    }
    VGlobal::setDataPath(QString());
}
