#include "opengl/vsceneio.h"

#include "kernel/vformatmanager.h"
#include "kernel/vglobal.h"
#include "kernel/vreplacedfile_p.h"
#include "opengl/vscenehandlers_p.h"
#include "opengl/vzylfile.h"

#include <qfile.h>

#include <memory>
#include <vector>

namespace
{
// Every known pattern matches within this many bytes.
constexpr int headerLength = 20;

VFormatManager* manager = nullptr;
std::vector<std::unique_ptr<VSceneHandler>>* builtIn = nullptr;

void cleanupSceneHandlers()
{
    delete manager;
    manager = nullptr;
    delete builtIn;
    builtIn = nullptr;
}

VFormatManager& handlers()
{
    zyl_init_scene_handler();
    return *manager;
}

VSceneHandler* findHandler(const char* format)
{
    return static_cast<VSceneHandler*>(handlers().find(format));
}
} // namespace

void zyl_init_scene_handler()
{
    if (manager)
        return;
    manager = new VFormatManager(headerLength);
    builtIn = new std::vector<std::unique_ptr<VSceneHandler>>;
    VGlobal::addPostRoutine(&cleanupSceneHandlers);
    defineSceneHandlers();
}

void defineBuiltInHandler(std::unique_ptr<VSceneHandler> handler)
{
    VSceneIO::defineIOHandler(handler.get());
    builtIn->push_back(std::move(handler));
}

VSceneIO::VSceneIO(QIODevice* device, const char* format) : VFormatIO(device, format) {}

VSceneIO::VSceneIO(const QString& fileName, const char* format) : VFormatIO(fileName, format) {}

bool VSceneIO::read()
{
    QFile file;
    const bool isOwnFile = !ioDevice();
    if (isOwnFile) {
        file.setFileName(fileName());
        if (fileName().isEmpty() || !file.open(QIODevice::ReadOnly))
            return false;
        setIODevice(&file);
    }
    const QCString wanted = format().isEmpty() ? QCString(sceneFormat(ioDevice())) : format();
    if (!wanted.isNull()) {
        if (isOwnFile)
            file.seek(0);
        setStatus(1);
        VSceneHandler* const handler = findHandler(wanted);
        if (handler && handler->canRead())
            handler->read(this);
        else
            VZylHandler::defaultRead(this);
    }
    if (isOwnFile)
        setIODevice(nullptr);
    return !wanted.isNull() && status() == 0;
}

bool VSceneIO::write()
{
    if (format().isEmpty())
        return false;
    VSceneHandler* const handler = findHandler(format());
    if (!handler || !handler->canWrite()) {
        qWarning("VSceneIO::write: No such scene format handler: %s", format().data());
        return false;
    }
    std::unique_ptr<ReplacedFile> file;
    if (!ioDevice()) {
        if (fileName().isEmpty())
            return false;
        file = std::make_unique<ReplacedFile>(fileName(), isTranslated(format()));
        if (!file->isOpen())
            return false;
        setIODevice(file->device());
    }
    setStatus(1);
    handler->write(this);
    if (file) {
        setIODevice(nullptr);
        if (status() == 0 && !file->commit())
            setStatus(1);
    }
    return status() == 0;
}

void VSceneIO::defineIOHandler(const VSceneHandler* handler)
{
    if (handler)
        handlers().prepend(const_cast<VSceneHandler*>(handler));
}

const char* VSceneIO::sceneFormat(const QString& fileName)
{
    return handlers().format(fileName);
}

const char* VSceneIO::sceneFormat(QIODevice* device)
{
    return handlers().format(device);
}

QStrList VSceneIO::inputFormats()
{
    return handlers().inputFormats();
}

QStrList VSceneIO::outputFormats()
{
    return handlers().outputFormats();
}

bool VSceneIO::isTranslated(const char* format)
{
    const VSceneHandler* const handler = findHandler(format);
    return handler && handler->textMode() == VFormatHandler::TranslatedText;
}
