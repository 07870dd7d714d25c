// Reads the bytes as the text form of a scene, and draws and picks what came of it.

#include "opengl/glviewer.h"
#include "scenefuzz.h"
#include "window/offscreencontext.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static OffscreenContext context(16, 16);
    if (!context.isValid())
        std::abort();
    qInstallMessageHandler(scenefuzz::discard);
    GL_Viewer viewer;
    GL_Scene scene;
    const QByteArray body(reinterpret_cast<const char*>(data), qsizetype(size));
    scenefuzz::read(scene, "// ZYL ASCII V1.0\n" + body, true);
    viewer.setScene(&scene);
    viewer.reshape(16, 16);
    viewer.initialize();
    viewer.render();
    viewer.select(0, 0, 16, 16);
    for (GL_Object* const object : scene.objects())
        if (object)
            object->setFlags(GL_Object::Selected, true);
    viewer.render();
    return 0;
}
