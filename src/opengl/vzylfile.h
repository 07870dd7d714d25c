#pragma once

#include "kernel/vconnection.h"
#include "kernel/vzylstream.h"
#include "opengl/vsceneio.h"

class GL_Scene;
namespace action
{
class Action;
}

/// Reads and writes a whole scene in the native format: a line that names the form, then statements
/// and objects as text, or the scene's binary form.
class ZYL_EXPORT VZylFile : public VZylStream
{
public:
    /// Takes the scene from a `VSceneIO`, or from any other request's container "scene".
    explicit VZylFile(VFormatIO* io);

    /// Continue at the device's position; the form is told by the first line, or when writing by
    /// whether the device is open for text. Not negative on success. What was read before an error
    /// stays in the scene.
    int read();
    int write();
    using VZylStream::read;
    using VZylStream::readObject;
    using VZylStream::write;

    int readText();
    int writeText();

    /// Makes the connection that the current dictionary tells. Warns about a target that can't be
    /// found; other missing ends are passed over.
    void read_connection(GL_Scene* scene);
    /// A block for each connection of a signal to an action, in the form that `readText` takes. A
    /// null sender is the scene itself.
    void write_connection(QTextStream& stream, const char* sender, const char* signal,
                          VConnectionList* list);

private:
    int readStatement(const QCString& word);
    int readObject(const QCString& word);
    void writeOutputs(const action::Action& action);

    GL_Scene* m_scene;
    QCString m_lastClass; // no action's, while text is read
};

/// The native format, in one of its forms.
class ZYL_EXPORT VZylHandler : public VSceneHandler
{
public:
    using VSceneHandler::VSceneHandler;

    void read(VSceneIO* io) override { defaultRead(io); }
    void write(VSceneIO* io) override { defaultWrite(io); }

    static void defaultRead(VSceneIO* io);
    static void defaultWrite(VSceneIO* io);
};
