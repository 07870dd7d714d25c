#pragma once

#include "kernel/vformathandler.h"
#include "kernel/vformatio.h"
#include "toolkit/qstrlist.h"

class GL_Scene;
class VSceneIO;

/// Reads and writes one format of scene files.
class ZYL_EXPORT VSceneHandler : public VFormatHandler
{
public:
    using VFormatHandler::VFormatHandler;

    // Both leave the outcome in the request's status.
    virtual void read(VSceneIO* io) = 0;
    virtual void write(VSceneIO* io) = 0;
};

/// One request to read or write a scene.
///
/// A file is written beside the old one, which it replaces when all went well. Without a format,
/// reading goes by how the file begins; a format that nobody knows is read as the native one.
class ZYL_EXPORT VSceneIO : public VFormatIO
{
public:
    VSceneIO() = default;
    VSceneIO(QIODevice* device, const char* format);
    VSceneIO(const QString& fileName, const char* format);

    GL_Scene* scene() const { return m_scene; }
    void setScene(GL_Scene* scene) { m_scene = scene; }

    bool read() override;
    /// Warns when there is no handler for the format that can write.
    bool write() override;

    /// Puts a handler in front of the others; it stays the caller's, and must outlive its use.
    static void defineIOHandler(const VSceneHandler* handler);
    static const char* sceneFormat(const QString& fileName);
    static const char* sceneFormat(QIODevice* device);
    static QStrList inputFormats();
    static QStrList outputFormats();
    /// Whether a format is written to a device that is opened for text.
    static bool isTranslated(const char* format);

private:
    GL_Scene* m_scene = nullptr;
};

/// Registers the library's own formats, once.
ZYL_EXPORT void zyl_init_scene_handler();
