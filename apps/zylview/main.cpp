#include "zylview/mainwindow.h"

#include <zyl/all/kernel.h>

#include <qapplication.h>
#include <qmessagebox.h>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::puts("usage: zylview [FILE]\n\nShows a scene file, and lets you change it.");
            return 0;
        }
    }
    // The library's view is a native OpenGL 2.1 window.
    QApplication application(argc, argv);
    if (argc > 2) {
        std::fputs("usage: zylview [FILE]\n", stderr);
        return 2;
    }
    const VGlobal global;
    MainWindow window;
    window.show();
    if (argc == 2) {
        const QString problem = window.open(QString::fromLocal8Bit(argv[1]));
        if (!problem.isEmpty())
            QMessageBox::warning(&window, "zylview", problem);
    }
    return application.exec();
}
