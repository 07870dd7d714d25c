#pragma once

#include "kernel/vformatdiagnostics.h"
#include "opengl/glscene.h"
#include "opengl/vsceneio.h"

#include <qbuffer.h>
#include <qlogging.h>

#include <cstdint>
#include <cstdlib>

/// What the targets for scene files share.
namespace scenefuzz
{
inline void discard(QtMsgType, const QMessageLogContext&, const QString&) {}

struct Sink : VFormatDiagnostics {
    void report(Kind, const QString& what, const Place& place) override
    {
        if (place.line < 0 || what.size() > (1 << 24))
            std::abort();
    }
};

inline bool read(GL_Scene& scene, const QByteArray& bytes, bool inText)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(inText ? QIODevice::ReadOnly | QIODevice::Text : QIODevice::ReadOnly);
    Sink sink;
    VSceneIO io(&buffer, "ZYL BINARY");
    io.setScene(&scene);
    io.setDiagnostics(&sink);
    return io.read();
}

inline QByteArray written(GL_Scene& scene, bool inText)
{
    QBuffer buffer;
    buffer.open(inText ? QIODevice::WriteOnly | QIODevice::Text : QIODevice::WriteOnly);
    VSceneIO io(&buffer, inText ? "ZYL ASCII" : "ZYL BINARY");
    io.setScene(&scene);
    return io.write() ? buffer.data() : QByteArray();
}

/// Reads the bytes behind a first line, uses what came of them, and takes it through both forms.
inline int run(const std::uint8_t* data, std::size_t size, bool inText)
{
    qInstallMessageHandler(discard);
    const QByteArray body(reinterpret_cast<const char*>(data), qsizetype(size));
    GL_Scene scene;
    read(scene, (inText ? "// ZYL ASCII V1.0\n" : "// ZYL BINARY V1.0\n") + body, inText);
    scene.evaluate(1, 0.5);
    geometry::Box3f box;
    scene.bounds(box);
    const QByteArray binary = written(scene, false);
    written(scene, true);
    if (!binary.isEmpty()) {
        GL_Scene again;
        if (!read(again, binary, false) || again.objects().count() != scene.objects().count() ||
            again.actions().count() > scene.actions().count())
            std::abort();
    }
    scene.deleteObjects();
    while (GL_Object* const object = scene.objects().getFirst())
        scene.removeModel(object);
    scene.evaluate(1, 0.5);
    return 0;
}
} // namespace scenefuzz
