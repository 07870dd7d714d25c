#include "kernel/vimageio.h"

#include "kernel/vglobal.h"
#include "kernel/vimagehandlers_p.h"
#include "kernel/vreplacedfile_p.h"
#include "toolkit/checkpointer.h"
#include "tools/postroutines.h"
#include "tools/vgplugin.h"

#include <qbuffer.h>
#include <qdatastream.h>
#include <qfile.h>

#include <algorithm>
#include <memory>
#include <vector>

const VUuid
    VImageFormatInterface::interfaceId(QLatin1String("{5A3E6F2C-8B1D-4C47-9E0A-2D7C61B0F4E8}"));

namespace
{
// Every known pattern matches within this many bytes.
constexpr int headerLength = 14;

using FormatPlugins = VPluginManager<VImageFormatInterface>;

VImageHandlerList* handlers = nullptr;
std::vector<std::unique_ptr<VImageHandler>>* builtIn = nullptr;
FormatPlugins* plugins = nullptr;
bool builtInDefined = false;

void cleanupImageHandlers()
{
    delete handlers;
    handlers = nullptr;
    delete plugins;
    plugins = nullptr;
    delete builtIn;
    builtIn = nullptr;
    builtInDefined = false;
}

/// The plug-in for a format, null when there is none. The caller releases it.
VImageFormatInterface* formatPlugin(const QString& format)
{
    VImageFormatInterface* plugin = nullptr;
    if (!plugins || plugins->queryInterface(format, &plugin) != 0)
        return nullptr;
    return plugin;
}

void installFormat(const QString& format)
{
    if (VImageFormatInterface* plugin = formatPlugin(format)) {
        plugin->install(format);
        plugin->release();
    }
}

void initPlugins()
{
    if (plugins)
        return;
    const std::unique_ptr<QStringList> paths(VGlobal::libraryPaths());
    plugins = new FormatPlugins(VImageFormatInterface::interfaceId, *paths,
                                QStringLiteral("/imageformats"), false);
    plugins->addAll();
    const QStringList formats = plugins->featureList();
    for (const QString& format : formats)
        installFormat(format);
}

VImageHandler* findHandler(const char* format)
{
    return static_cast<VImageHandler*>(imageHandlerList().find(format));
}
} // namespace

VImageHandlerList& imageHandlerList()
{
    if (!handlers) {
        handlers = new VImageHandlerList(headerLength);
        builtIn = new std::vector<std::unique_ptr<VImageHandler>>;
        postroutines::add(&cleanupImageHandlers);
    }
    return *handlers;
}

void defineBuiltInHandler(std::unique_ptr<VImageHandler> handler)
{
    VImageIO::defineIOHandler(handler.get());
    builtIn->push_back(std::move(handler));
}

void vCleanupPngIO()
{
    if (!builtIn)
        return;
    const auto isPng = [](const std::unique_ptr<VImageHandler>& handler) {
        return qstrcmp(handler->format(), "PNG") == 0;
    };
    const auto found = std::find_if(builtIn->begin(), builtIn->end(), isPng);
    if (found == builtIn->end())
        return;
    handlers->removeRef(found->get());
    builtIn->erase(found);
}

namespace
{
template <class Handler>
std::unique_ptr<VImageHandler> make(const char* name, const char* header, const QCString& flags)
{
    return std::make_unique<Handler>(name, header, flags);
}
} // namespace

void zyl_init_image_handlers()
{
    struct Format {
        const char* name;
        const char* header;
        const char* flags;
        std::unique_ptr<VImageHandler> (*make)(const char*, const char*, const QCString&);
    };
    static constexpr Format formats[] = {
        {"BMP", "^BM", "", make<VBMPImageHandler>},
        {"PBM", "^P1", "t", make<VPBMImageHandler>},
        {"PBMRAW", "^P4", "O", make<VPBMImageHandler>},
        {"PGM", "^P2", "t", make<VPBMImageHandler>},
        {"PGMRAW", "^P5", "O", make<VPBMImageHandler>},
        {"PPM", "^P3", "t", make<VPBMImageHandler>},
        {"PPMRAW", "^P6", "O", make<VPBMImageHandler>},
        {"XBM", "^#define", "T", make<VXBMImageHandler>},
        {"XPM", "/\\*.XPM.\\*/", "T", make<VXPMImageHandler>},
    };
    imageHandlerList();
    if (!builtInDefined) {
        builtInDefined = true;
        for (const Format& format : formats)
            defineBuiltInHandler(format.make(format.name, format.header, format.flags));
        vInitJpegIO();
        vInitPngIO();
    }
    initPlugins();
}

VImageHandler::VImageHandler(const char* format, const char* header, const QCString& flags)
    : VFormatHandler(format, header, flags)
{
}

VImageHandler::~VImageHandler() = default;

VImageHandlerList::VImageHandlerList(int length) : VFormatManager(length) {}

VImageHandlerList::~VImageHandlerList() = default;

const char* VImageHandlerList::analyse(char* buffer, int length)
{
    return VFormatManager::analyse(buffer, length);
}

VImageIO::VImageIO() = default;

VImageIO::VImageIO(QIODevice* device, const char* format) : VFormatIO(device, format) {}

VImageIO::VImageIO(const QString& fileName, const char* format) : VFormatIO(fileName, format) {}

VImageIO::~VImageIO() = default;

void VImageIO::setParameters(const char* parameters)
{
    m_parameters = QCString(parameters).copy();
}

void VImageIO::defineIOHandler(VImageHandler* handler)
{
    if (handler)
        imageHandlerList().insertAt(0, handler);
}

const char* VImageIO::imageFormat(const QString& fileName)
{
    zyl_init_image_handlers();
    return imageHandlerList().format(fileName);
}

const char* VImageIO::imageFormat(QIODevice* device)
{
    zyl_init_image_handlers();
    return imageHandlerList().format(device);
}

QStrList VImageIO::inputFormats()
{
    zyl_init_image_handlers();
    return imageHandlerList().inputFormats();
}

QStrList VImageIO::outputFormats()
{
    zyl_init_image_handlers();
    return imageHandlerList().outputFormats();
}

bool VImageIO::read()
{
    zyl_init_image_handlers();
    QFile file;
    const bool ownFile = !ioDevice();
    if (ownFile) {
        file.setFileName(fileName());
        if (fileName().isEmpty() || !file.open(QIODevice::ReadOnly))
            return false;
        setIODevice(&file);
    }
    QCString wanted = format();
    if (wanted.isEmpty())
        wanted = imageFormat(ioDevice());
    setStatus(1);
    if (!wanted.isEmpty()) {
        if (ownFile)
            file.seek(0);
        VImageHandler* handler = findHandler(wanted);
        if (!handler) {
            installFormat(QString::fromLatin1(wanted.data()));
            handler = findHandler(wanted);
        }
        if (handler && handler->canRead())
            handler->read(this);
    }
    if (ownFile)
        setIODevice(nullptr);
    return status() == 0;
}

bool VImageIO::write()
{
    if (format().isEmpty())
        return false;
    zyl_init_image_handlers();
    VImageHandler* handler = findHandler(format());
    if (!handler || !handler->canWrite()) {
        qWarning("VImageIO::write: No such image format handler: %s", format().data());
        return false;
    }
    std::unique_ptr<ReplacedFile> file;
    if (!ioDevice()) {
        if (fileName().isEmpty())
            return false;
        file = std::make_unique<ReplacedFile>(fileName(), handler->textMode() ==
                                                              VFormatHandler::TranslatedText);
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

VImage::VImage(const QString& fileName, const char* format) : VImage()
{
    load(fileName, format);
}

VImage::VImage(const char* const* xpm) : VImage()
{
    VImage image;
    if (readXpmArray(xpm, image))
        *this = image;
}

VImage::VImage(const QMemArray<char>& bytes) : VImage()
{
    loadFromData(bytes);
}

bool VImage::load(const QString& fileName, const char* format)
{
    VImageIO io(fileName, format);
    if (!io.read())
        return false;
    *this = io.image();
    return true;
}

bool VImage::loadFromData(const unsigned char* bytes, unsigned int count, const char* format)
{
    QByteArray view =
        QByteArray::fromRawData(reinterpret_cast<const char*>(bytes), qsizetype(count));
    QBuffer buffer(&view);
    buffer.open(QIODevice::ReadOnly);
    VImageIO io(&buffer, format);
    if (!io.read())
        return false;
    *this = io.image();
    return true;
}

bool VImage::loadFromData(const QMemArray<char>& bytes, const char* format)
{
    return loadFromData(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), format);
}

bool VImage::save(const QString& fileName, const char* format, int quality) const
{
    if (isNull())
        return false;
    VImageIO io(fileName, format);
    return doImageIO(&io, quality);
}

bool VImage::doImageIO(VImageIO* io, int quality) const
{
    if (!io)
        return false;
    io->setImage(*this);
    if (quality < -1 || quality > 100)
        qWarning("VPixmap::save: quality out of range [-1,100]");
    if (quality >= 0)
        io->setQuality(std::min(quality, 100));
    return io->write();
}

const char* VImage::imageFormat(const QString& fileName)
{
    return VImageIO::imageFormat(fileName);
}

QStrList VImage::inputFormats()
{
    return VImageIO::inputFormats();
}

QStrList VImage::outputFormats()
{
    return VImageIO::outputFormats();
}

namespace
{
QStringList toStringList(QStrList names)
{
    QStringList list;
    for (const char* name = names.first(); name; name = names.next())
        list.append(QString::fromLatin1(name));
    return list;
}
} // namespace

QStringList VImage::inputFormatList()
{
    return toStringList(inputFormats());
}

QStringList VImage::outputFormatList()
{
    return toStringList(outputFormats());
}

QDataStream& operator<<(QDataStream& stream, const VImage& image)
{
    if (stream.version() > 4) {
        stream << qint32(image.isNull() ? 0 : 1);
        if (image.isNull())
            return stream;
    }
    VImageIO io(stream.device(), stream.version() == 1 ? "BMP" : "PNG");
    io.setImage(image);
    if (!io.write())
        stream.setStatus(QDataStream::WriteFailed);
    return stream;
}

QDataStream& operator>>(QDataStream& stream, VImage& image)
{
    if (stream.version() > 4) {
        qint32 present = 0;
        stream >> present;
        if (!present) {
            image = VImage();
            return stream;
        }
    }
    VImageIO io(stream.device(), nullptr);
    if (io.read())
        image = io.image();
    else
        stream.setStatus(QDataStream::ReadCorruptData);
    return stream;
}
