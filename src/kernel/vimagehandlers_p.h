#pragma once

#include "kernel/vdevicereader_p.h"
#include "kernel/vimageio.h"

#include <memory>

/// Defines one format and keeps its handler until the list goes.
void defineBuiltInHandler(std::unique_ptr<VImageHandler> handler);

/// The list; made, without any format, on the first call.
VImageHandlerList& imageHandlerList();

/// Sets every pixel byte to 0, so that a cut file shows no old memory.
void clearPixels(VImage& image);

/// The colour table of a 1-bit picture: entry 0 white, entry 1 black.
void setMonochromeTable(VImage& image);

/// Entry i of `count` is the grey i * 255 / (count - 1).
void setGrayTable(VImage& image, int count);

/// The brightness by which two-colour tables are told dark from light.
constexpr unsigned quickGray(unsigned rgb)
{
    return ((rgb >> 16 & 255) * 11 + (rgb >> 8 & 255) * 16 + (rgb & 255) * 5) >> 5;
}

/// True for a 1-bit picture of two colours whose entry 0 is the darker one.
bool isDarkFirst(const VImage& image);

/// Exchanges the two entries of such a picture and complements its pixels, so that it looks the
/// same with entry 0 the lighter one. The image must not be shared.
void exchangeColors(VImage& image);

/// The name for a C array: the file's name without folders, from its first letter on, or "dummy".
QByteArray arrayName(const VImageIO& io);

bool readBmp(DeviceReader& in, VImage& image);
bool writeBmp(VImageIO& io);
bool readPnm(DeviceReader& in, VImage& image);
bool writePnm(VImageIO& io);
bool readXbm(DeviceReader& in, VImage& image);
bool writeXbm(VImageIO& io);
bool readXpm(DeviceReader& in, VImage& image);
bool writeXpm(VImageIO& io);

/// A format that is no more than a reader and a writer. The writer's image isn't null.
template <bool (*Read)(DeviceReader&, VImage&), bool (*Write)(VImageIO&)>
class CodecImageHandler : public VImageHandler
{
public:
    using VImageHandler::VImageHandler;

    void read(VImageIO* io) override
    {
        DeviceReader in(io->ioDevice());
        VImage image;
        if (!Read(in, image))
            return;
        io->setImage(image);
        io->setStatus(0);
    }
    void write(VImageIO* io) override
    {
        if (!io->image().isNull() && Write(*io))
            io->setStatus(0);
    }
};

using VBMPImageHandler = CodecImageHandler<readBmp, writeBmp>;
using VPBMImageHandler = CodecImageHandler<readPnm, writePnm>;
using VXBMImageHandler = CodecImageHandler<readXbm, writeXbm>;
using VXPMImageHandler = CodecImageHandler<readXpm, writeXpm>;

class VSgiImageHandler : public VImageHandler
{
public:
    VSgiImageHandler(const char* format, const char* header);
    void read(VImageIO* io) override;
    void write(VImageIO* io) override;
};

/// Reads an XPM that is compiled in as an array of strings.
bool readXpmArray(const char* const* lines, VImage& image);
