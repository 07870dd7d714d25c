#pragma once

#include "kernel/vformathandler.h"
#include "kernel/vformatio.h"
#include "kernel/vformatmanager.h"
#include "kernel/vimage.h"
#include "tools/vunknowninterface.h"

class QDataStream;
class VImageIO;

/// One image format. Handlers leave the request's status at 0 when they are done, and at anything
/// else on failure.
class ZYL_EXPORT VImageHandler : public VFormatHandler
{
public:
    VImageHandler(const char* format, const char* header, const QCString& flags = QCString());
    ~VImageHandler() override;

    virtual void read(VImageIO* io) = 0;
    virtual void write(VImageIO* io) = 0;
};

/// The image formats, newest first.
class ZYL_EXPORT VImageHandlerList : public VFormatManager
{
public:
    explicit VImageHandlerList(int headerLength);
    ~VImageHandlerList() override;

    const char* analyse(char* buffer, int length) override;
};

/// What a plug-in under "/imageformats" offers: a list of formats, each of which it can define.
class ZYL_EXPORT VImageFormatInterface : public VFeatureListInterface
{
public:
    /// {5A3E6F2C-8B1D-4C47-9E0A-2D7C61B0F4E8}
    static const VUuid interfaceId;

    /// Defines the named format through `VImageIO::defineIOHandler`. The plug-in keeps the handler.
    virtual void install(const QString& format) = 0;

protected:
    ~VImageFormatInterface() = default;
};

/// One reading or writing of an image. Set a file name or device, and a format where it is to be
/// written or isn't to be detected; the result is that of `read` or `write`, and the status is 0 on
/// success.
class ZYL_EXPORT VImageIO : public VFormatIO
{
public:
    VImageIO();
    VImageIO(QIODevice* device, const char* format);
    VImageIO(const QString& fileName, const char* format);
    ~VImageIO() override;

    /// Reads by the named or detected format. A device is read from where it stands. False for an
    /// unknown format, a file that can't be opened, or data that the format refuses; the image is
    /// then null or what could be read.
    bool read() override;

    /// Writes in the named format; warns when there is none that writes. A file is replaced only
    /// when all of it could be written.
    bool write() override;

    const VImage& image() const { return m_image; }
    void setImage(const VImage& image) { m_image = image; }

    /// A text about the picture: where a format has named texts, lines "KEY: TEXT".
    const QString& description() const { return m_description; }
    void setDescription(const QString& description) { m_description = description; }

    /// What a reader is asked to do, in words of its format: "GetHeaderInformation" or "Scale( W,
    /// H, MODE )" for JPEG. Null at first; the text is copied.
    const char* parameters() const { return m_parameters.data(); }
    void setParameters(const char* parameters);

    /// 0 to 100, or -1 for the format's own.
    int quality() const { return m_quality; }
    void setQuality(int quality) { m_quality = quality; }

    /// The gamma of the screen (reading) or of the picture (writing), 0 for none.
    float gamma() const { return m_gamma; }
    void setGamma(float gamma) { m_gamma = gamma; }

    /// Puts a handler in front of all others; null is ignored. The handler isn't owned.
    static void defineIOHandler(VImageHandler* handler);

    /// The format of a file or of what stands next on a device, or null.
    static const char* imageFormat(const QString& fileName);
    static const char* imageFormat(QIODevice* device);

    /// Names, sorted and each once. Obsolete names are found but not listed.
    static QStrList inputFormats();
    static QStrList outputFormats();

private:
    VImage m_image;
    QString m_description;
    QCString m_parameters;
    int m_quality = -1;
    float m_gamma = 0;
};

/// Makes the list of formats with all built-in ones on the first call, and the plug-in manager.
ZYL_EXPORT void zyl_init_image_handlers();

/// Reads and writes the body of a BMP: what follows the file header.
ZYL_EXPORT bool zyl_read_dib(QDataStream& stream, VImage& image);
ZYL_EXPORT bool zyl_write_dib(QDataStream& stream, VImage image);

/// Define the formats of one codec. Each acts once in the life of the list.
ZYL_EXPORT void vInitJpegIO();
ZYL_EXPORT void vInitPngIO();
ZYL_EXPORT void vInitSgiIO();

/// Takes PNG out of the list again.
ZYL_EXPORT void vCleanupPngIO();
