#include "kernel/vdevicereader_p.h"
#include "kernel/vimagehandlers_p.h"

#include <qiodevice.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

namespace
{
bool isBlank(int c)
{
    return c == ' ' || (c >= 9 && c <= 13);
}

bool isDigit(int c)
{
    return c >= '0' && c <= '9';
}

/// Passes over the rest of a line and gives its last character.
int skipLine(DeviceReader& in)
{
    int c = in.get();
    while (c >= 0 && c != '\n' && c != '\r')
        c = in.get();
    return c;
}

/// The next character that is neither blank nor in a comment line, or -1.
int nextCharacter(DeviceReader& in)
{
    for (;;) {
        int c = in.get();
        if (c == '#')
            c = skipLine(in);
        if (c < 0 || !isBlank(c))
            return c;
    }
}

/// The next number, held at the end of its range, with the character after it passed; -1 at the end
/// of the input or at anything else.
int readInteger(DeviceReader& in)
{
    int c = nextCharacter(in);
    if (!isDigit(c))
        return -1;
    qint64 number = 0;
    while (isDigit(c)) {
        number = std::min<qint64>(number * 10 + (c - '0'), std::numeric_limits<int>::max());
        c = in.get();
    }
    // The character after the digits goes with them, and a comment there as well.
    if (c == '#')
        skipLine(in);
    return int(number);
}

/// Reads a byte's worth of levels 0 to `maximum` as a channel.
uchar scaled(int level, int maximum)
{
    return uchar(std::min<qint64>(255, qint64(level) * 255 / maximum));
}

bool readAsciiBits(DeviceReader& in, VImage& image)
{
    for (int y = 0; y < image.height(); ++y) {
        uchar* line = image.scanLine(y);
        std::memset(line, 0, std::size_t(image.bytesPerLine()));
        for (int x = 0; x < image.width(); ++x) {
            // Common tools write the digits without blanks, so each is a pixel of its own.
            const int c = nextCharacter(in);
            if (!isDigit(c))
                return false;
            line[x >> 3] = uchar(line[x >> 3] | (c & 1) << (7 - (x & 7)));
        }
    }
    return true;
}

bool readAsciiGray(DeviceReader& in, VImage& image)
{
    for (int y = 0; y < image.height(); ++y) {
        uchar* line = image.scanLine(y);
        for (int x = 0; x < image.width(); ++x) {
            const int level = readInteger(in);
            if (level < 0)
                return false;
            line[x] = uchar(std::min(level, 255));
        }
    }
    return true;
}

bool readAsciiColors(DeviceReader& in, VImage& image, int maximum)
{
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<quint32*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const int red = readInteger(in);
            const int green = readInteger(in);
            const int blue = readInteger(in);
            if (red < 0 || green < 0 || blue < 0)
                return false;
            line[x] = 0xFF000000u | quint32(scaled(red, maximum)) << 16 |
                      quint32(scaled(green, maximum)) << 8 | scaled(blue, maximum);
        }
    }
    return true;
}

bool readRawLines(DeviceReader& in, VImage& image, int length)
{
    for (int y = 0; y < image.height(); ++y)
        if (in.read(image.scanLine(y), length) != length)
            return false;
    return true;
}

bool readRawColors(DeviceReader& in, VImage& image, int maximum)
{
    uchar levels[256];
    for (int i = 0; i < 256; ++i)
        levels[i] = scaled(i, maximum);
    for (int y = 0; y < image.height(); ++y) {
        const uchar* from = in.take(qint64(image.width()) * 3);
        if (!from)
            return false;
        auto* line = reinterpret_cast<quint32*>(image.scanLine(y));
        if (maximum == 255) {
            for (int x = 0; x < image.width(); ++x, from += 3)
                line[x] = 0xFF000000u | quint32(from[0]) << 16 | quint32(from[1]) << 8 | from[2];
        } else {
            for (int x = 0; x < image.width(); ++x, from += 3)
                line[x] = 0xFF000000u | quint32(levels[from[0]]) << 16 |
                          quint32(levels[from[1]]) << 8 | levels[from[2]];
        }
    }
    return true;
}

bool put(QIODevice* device, const void* bytes, qint64 count)
{
    return device->write(static_cast<const char*>(bytes), count) == count;
}

bool writeHeader(QIODevice* device, char digit, const VImage& image, bool withMaximum)
{
    char header[64];
    const int length = std::snprintf(header, sizeof header, "P%c\n%d %d\n%s", digit, image.width(),
                                     image.height(), withMaximum ? "255\n" : "");
    return put(device, header, length);
}

/// The colours of the picture's indices; those without an entry are white.
std::vector<quint32> fullTable(const VImage& image)
{
    std::vector<quint32> table(256, 0xFFFFFFFFu);
    for (int i = 0; i < std::min(image.numColors(), 256); ++i)
        table[std::size_t(i)] = image.colorTable()[i];
    return table;
}

uchar gray(quint32 rgb)
{
    return uchar(quickGray(rgb));
}

bool writeImage(QIODevice* device, VImage image, const QByteArray& format)
{
    const bool asBitmap = format == "PBM";
    if (asBitmap && image.depth() != 1)
        image = image.convertDepth(1);
    if (!asBitmap && image.depth() == 1)
        image = image.convertDepth(8);
    if (image.depth() == 1) {
        image = image.bitOrder() == VImage::LittleEndian ? image.convertBitOrder(VImage::BigEndian)
                                                         : image.copy();
        if (isDarkFirst(image))
            exchangeColors(image);
        const int length = (image.width() + 7) / 8;
        if (!writeHeader(device, '4', image, false))
            return false;
        for (int y = 0; y < image.height(); ++y)
            if (!put(device, image.scanLine(y), length))
                return false;
        return true;
    }
    if (image.depth() != 8 && image.depth() != 32)
        return false;
    const bool asGray = format == "PGM";
    const std::vector<quint32> table = fullTable(image);
    std::vector<uchar> line(std::size_t(image.width()) * (asGray ? 1 : 3));
    if (!writeHeader(device, asGray ? '5' : '6', image, true))
        return false;
    for (int y = 0; y < image.height(); ++y) {
        const uchar* indices = image.scanLine(y);
        const auto* words = reinterpret_cast<const quint32*>(indices);
        uchar* to = line.data();
        for (int x = 0; x < image.width(); ++x) {
            const quint32 rgb = image.depth() == 8 ? table[indices[x]] : words[x];
            if (asGray) {
                *to++ = gray(rgb);
            } else {
                *to++ = uchar(rgb >> 16);
                *to++ = uchar(rgb >> 8);
                *to++ = uchar(rgb);
            }
        }
        if (!put(device, line.data(), qint64(line.size())))
            return false;
    }
    return true;
}
} // namespace

bool readPnm(DeviceReader& in, VImage& image)
{
    if (in.get() != 'P')
        return false;
    const int type = in.get() - '0';
    if (type < 1 || type > 6 || !isBlank(in.get()))
        return false;
    const int width = readInteger(in);
    const int height = readInteger(in);
    const bool isBitmap = type == 1 || type == 4;
    const int maximum = isBitmap ? 1 : readInteger(in);
    const int depth = isBitmap ? 1 : type == 2 || type == 5 ? 8 : 32;
    if (width < 1 || height < 1 || maximum < 1 || maximum > 255)
        return false;
    // Nothing is set aside for a picture whose pixels can't be there: text takes a byte a bit, or
    // two a number.
    const qint64 pixels = qint64(width) * height;
    const qint64 least = type == 4     ? (qint64(width) + 7) / 8 * height
                         : depth == 32 ? pixels * (type == 3 ? 6 : 3) - (type == 3)
                                       : pixels * (type == 2 ? 2 : 1) - (type == 2);
    if (least > in.remaining() || !VImage::checkAllocation(width, height, depth) ||
        !image.create(width, height, depth,
                      depth == 1   ? 2
                      : depth == 8 ? 256
                                   : 0,
                      depth == 1 ? VImage::BigEndian : VImage::IgnoreEndian))
        return false;
    if (depth == 1)
        setMonochromeTable(image);
    for (int i = 0; depth == 8 && i < 256; ++i)
        image.setColor(i, 0xFF000000u | scaled(i, maximum) * 0x010101u);
    switch (type) {
    case 1:
        return readAsciiBits(in, image);
    case 2:
        return readAsciiGray(in, image);
    case 3:
        return readAsciiColors(in, image, maximum);
    case 4:
        return readRawLines(in, image, (width + 7) / 8);
    case 5:
        return readRawLines(in, image, width);
    default:
        return readRawColors(in, image, maximum);
    }
}

bool writePnm(VImageIO& io)
{
    // "PBMRAW" and its like are the same formats under their old names.
    return writeImage(io.ioDevice(), io.image(), QByteArray(io.format().data()).left(3));
}
