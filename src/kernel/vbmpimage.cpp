#include "kernel/vdevicereader_p.h"
#include "kernel/vimagehandlers_p.h"

#include <qdatastream.h>
#include <qendian.h>
#include <qiodevice.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace
{
constexpr int fileHeaderSize = 14;
constexpr int infoHeaderSize = 40;

struct BMP_INFOHDR {
    qint32 biSize;
    qint32 biWidth;
    qint32 biHeight;
    qint16 biPlanes;
    qint16 biBitCount;
    quint32 biCompression;
    quint32 biSizeImage;
    qint32 biXPelsPerMeter;
    qint32 biYPelsPerMeter;
    qint32 biClrUsed;
    qint32 biClrImportant;
};

enum Compression { BI_RGB = 0, BI_RLE8 = 1, BI_RLE4 = 2, BI_BITFIELDS = 3 };

template <class T>
T little(const uchar* bytes)
{
    return qFromLittleEndian<T>(bytes);
}

bool readInfoHeader(DeviceReader& in, BMP_INFOHDR& header)
{
    const uchar* bytes = in.take(4);
    if (!bytes)
        return false;
    header = {};
    header.biSize = little<qint32>(bytes);
    if (header.biSize == infoHeaderSize || header.biSize == 64) {
        bytes = in.take(header.biSize - 4);
        if (!bytes)
            return false;
        header.biWidth = little<qint32>(bytes);
        header.biHeight = little<qint32>(bytes + 4);
        header.biPlanes = little<qint16>(bytes + 8);
        header.biBitCount = little<qint16>(bytes + 10);
        header.biCompression = little<quint32>(bytes + 12);
        header.biSizeImage = little<quint32>(bytes + 16);
        header.biXPelsPerMeter = little<qint32>(bytes + 20);
        header.biYPelsPerMeter = little<qint32>(bytes + 24);
        header.biClrUsed = little<qint32>(bytes + 28);
        header.biClrImportant = little<qint32>(bytes + 32);
        return true;
    }
    // Any other size is the older form, whose fields have 16 bits.
    bytes = in.take(8);
    if (!bytes)
        return false;
    header.biWidth = little<qint16>(bytes);
    header.biHeight = little<qint16>(bytes + 2);
    header.biPlanes = little<qint16>(bytes + 4);
    header.biBitCount = little<qint16>(bytes + 6);
    return true;
}

bool isSupported(const BMP_INFOHDR& header)
{
    const int bits = header.biBitCount;
    if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32)
        return false;
    if (header.biPlanes != 1)
        return false;
    switch (header.biCompression) {
    case BI_RGB:
        return bits != 16;
    case BI_RLE8:
        return bits == 8;
    case BI_RLE4:
        return bits == 4;
    case BI_BITFIELDS:
        return bits == 16 || bits == 32;
    default:
        return false;
    }
}

/// How a channel lies in a pixel: ((pixel & mask) >> shift) * scale is its byte. A mask of more
/// than eight bits has scale 0, which makes the channel black.
struct Channel {
    quint32 mask = 0;
    int shift = 0;
    quint32 scale = 0;

    static Channel fromMask(quint32 mask)
    {
        Channel channel;
        channel.mask = mask;
        while (mask && !(mask >> channel.shift & 1))
            ++channel.shift;
        channel.scale = mask ? quint32(256 / ((quint64(mask) >> channel.shift) + 1)) : 0;
        return channel;
    }
    quint32 of(quint32 pixel) const { return ((pixel & mask) >> shift) * scale & 0xFF; }
};

/// Walks run-length coded pixels. Runs are clipped at the line's end and the walk ends above the
/// last line; a code that is cut off ends it too.
class RunReader
{
public:
    RunReader(DeviceReader& in, VImage& image, bool nibbles)
        : m_in(in), m_image(image), m_nibbles(nibbles)
    {
    }

    void read()
    {
        while (m_y < m_image.height()) {
            const int count = m_in.get();
            const int code = m_in.get();
            if (code < 0)
                return;
            if (count > 0)
                run(count, code);
            else if (!escape(code))
                return;
        }
    }

private:
    uchar* line() const { return m_image.scanLine(m_image.height() - 1 - m_y); }

    void run(int count, int byte)
    {
        uchar* pixels = line();
        const int end = std::min(m_x + count, m_image.width());
        if (!m_nibbles) {
            std::memset(pixels + m_x, byte, std::size_t(end - m_x));
        } else {
            for (int i = 0; m_x + i < end; ++i)
                pixels[m_x + i] = uchar(i & 1 ? byte & 15 : byte >> 4);
        }
        m_x = end;
    }

    bool escape(int code)
    {
        switch (code) {
        case 0:
            m_x = 0;
            ++m_y;
            return true;
        case 1:
            return false;
        case 2: {
            const int dx = m_in.get();
            const int dy = m_in.get();
            if (dy < 0)
                return false;
            m_x = std::min(m_x + dx, m_image.width() - 1);
            m_y = std::min(m_y + dy, m_image.height());
            return true;
        }
        default:
            return literal(code);
        }
    }

    /// `count` pixels as they are, padded to a whole number of 16-bit words.
    bool literal(int count)
    {
        uchar* pixels = line();
        const int bytes = m_nibbles ? (count + 1) / 2 : count;
        for (int i = 0; i < bytes; ++i) {
            const int byte = m_in.get();
            if (byte < 0)
                return false;
            if (!m_nibbles) {
                put(pixels, byte);
            } else {
                put(pixels, byte >> 4);
                if (2 * i + 1 < count)
                    put(pixels, byte & 15);
            }
        }
        return bytes % 2 == 0 || m_in.get() >= 0;
    }

    void put(uchar* pixels, int index)
    {
        if (m_x < m_image.width())
            pixels[m_x++] = uchar(index);
    }

    DeviceReader& m_in;
    VImage& m_image;
    bool m_nibbles;
    int m_x = 0;
    int m_y = 0; // from the bottom
};

void expandNibbles(const uchar* from, uchar* to, int width)
{
    for (int x = 0; x + 1 < width; x += 2, ++from) {
        to[x] = *from >> 4;
        to[x + 1] = *from & 15;
    }
    if (width % 2)
        to[width - 1] = *from >> 4;
}

void expandBytes(const uchar* from, quint32* to, int width)
{
    for (int x = 0; x < width; ++x, from += 3)
        to[x] = 0xFF000000u | quint32(from[2]) << 16 | quint32(from[1]) << 8 | from[0];
}

template <class Pixel>
void expandPixels(const uchar* from, quint32* to, int width, const Channel (&channels)[3])
{
    for (int x = 0; x < width; ++x, from += sizeof(Pixel)) {
        const quint32 pixel = little<Pixel>(from);
        to[x] = 0xFF000000u | channels[0].of(pixel) << 16 | channels[1].of(pixel) << 8 |
                channels[2].of(pixel);
    }
}

/// Calls `line(target)` for each line from the bottom up until one says that the file ended. The
/// lines above are 0.
template <class Line>
void readLines(VImage& image, Line&& line)
{
    int y = image.height() - 1;
    while (y >= 0 && line(image.scanLine(y)))
        --y;
    if (y >= 0)
        std::memset(image.scanLine(0), 0, std::size_t(y + 1) * std::size_t(image.bytesPerLine()));
}

void readPixels(DeviceReader& in, VImage& image, const BMP_INFOHDR& header,
                const Channel (&channels)[3])
{
    const int width = image.width();
    if (header.biCompression == BI_RLE8 || header.biCompression == BI_RLE4) {
        clearPixels(image);
        RunReader(in, image, header.biCompression == BI_RLE4).read();
        return;
    }
    const int bits = header.biBitCount;
    if (bits == 1 || bits == 8) {
        readLines(image, [&](uchar* to) {
            return in.read(to, image.bytesPerLine()) == image.bytesPerLine();
        });
    } else {
        const qint64 length =
            bits == 4 ? (qint64(width) + 7) / 8 * 4 : (qint64(width) * bits + 31) / 32 * 4;
        readLines(image, [&](uchar* line) {
            const uchar* from = in.take(length);
            if (!from)
                return false;
            auto* to = reinterpret_cast<quint32*>(line);
            if (bits == 4)
                expandNibbles(from, line, width);
            else if (bits == 24)
                expandBytes(from, to, width);
            else if (bits == 16)
                expandPixels<quint16>(from, to, width, channels);
            else
                expandPixels<quint32>(from, to, width, channels);
            return true;
        });
    }
    if (isDarkFirst(image))
        exchangeColors(image);
}

/// `headerPos` is the place of the info header, `pixelPos` that of the pixels or 0 when they just
/// follow.
bool readDib(DeviceReader& in, qint64 headerPos, qint64 pixelPos, VImage& result)
{
    BMP_INFOHDR header;
    if (!readInfoHeader(in, header) || !isSupported(header))
        return false;
    const int bits = header.biBitCount;
    const int depth = bits == 1 ? 1 : bits <= 8 ? 8 : 32;
    if (header.biClrUsed < 0 || header.biWidth < 1 || header.biHeight < 1 ||
        !VImage::checkAllocation(header.biWidth, header.biHeight, depth))
        return false;
    if (!in.seek(headerPos + header.biSize))
        return false;
    const int colors = depth == 32 ? 0 : header.biClrUsed ? header.biClrUsed : 1 << bits;
    const int entrySize = header.biSize == 12 ? 3 : 4;
    if (qint64(colors) * entrySize > in.remaining())
        return false;
    const uchar* palette = in.take(qint64(colors) * entrySize);
    VImage image;
    if (!palette || !image.create(header.biWidth, header.biHeight, depth, colors,
                                  depth == 1 ? VImage::BigEndian : VImage::IgnoreEndian))
        return false;
    image.setDotsPerMeterX(header.biXPelsPerMeter);
    image.setDotsPerMeterY(header.biYPelsPerMeter);
    for (int i = 0; i < colors; ++i, palette += entrySize)
        image.colorTable()[i] =
            0xFF000000u | quint32(palette[2]) << 16 | quint32(palette[1]) << 8 | palette[0];

    Channel channels[3] = {{0xFF0000, 16, 1}, {0xFF00, 8, 1}, {0xFF, 0, 1}};
    if (header.biCompression == BI_BITFIELDS) {
        const uchar* masks = in.take(12);
        if (!masks)
            return false;
        for (int i = 0; i < 3; ++i)
            channels[i] = Channel::fromMask(little<quint32>(masks + 4 * i));
    }
    // A place behind the end is a picture without pixels.
    if (pixelPos <= in.pos() || in.seek(pixelPos))
        readPixels(in, image, header, channels);
    else
        clearPixels(image);
    result = image;
    return true;
}

class Writer
{
public:
    explicit Writer(QDataStream& stream) : m_stream(stream)
    {
        stream.setByteOrder(QDataStream::LittleEndian);
    }

    /// The bits of a pixel in the file: 16 colours fit in four bits if no pixel uses more.
    static int bitCount(const VImage& image)
    {
        if (image.depth() != 8)
            return image.depth() == 32 ? 24 : 1;
        if (image.numColors() < 1 || image.numColors() > 16)
            return 8;
        for (int y = 0; y < image.height(); ++y) {
            const uchar* line = image.scanLine(y);
            if (*std::max_element(line, line + image.width()) > 15)
                return 8;
        }
        return 4;
    }

    /// The colours that the file gets: readers expect a full table where ours has none.
    static int colorCount(const VImage& image)
    {
        if (image.depth() == 32)
            return 0;
        if (image.depth() == 1)
            return std::max(2, image.numColors());
        return image.numColors() ? image.numColors() : 256;
    }

    static qint64 lineSize(const VImage& image, int bits)
    {
        if (bits == 4)
            return (((image.bytesPerLine() + 1) / 2) + 3) & ~3;
        return bits == 24 ? (qint64(image.width()) * 24 + 31) / 32 * 4 : image.bytesPerLine();
    }

    bool write(const VImage& image)
    {
        const int bits = bitCount(image);
        const qint64 length = lineSize(image, bits);
        const int colors = colorCount(image);
        m_stream << qint32(infoHeaderSize) << qint32(image.width()) << qint32(image.height())
                 << qint16(1) << qint16(bits) << qint32(BI_RGB) << qint32(length * image.height())
                 << qint32(image.dotsPerMeterX() ? image.dotsPerMeterX() : 2834)
                 << qint32(image.dotsPerMeterY() ? image.dotsPerMeterY() : 2834) << qint32(colors)
                 << qint32(colors);
        for (int i = 0; i < colors; ++i) {
            const quint32 color = i < image.numColors() ? image.colorTable()[i] : 0xFFFFFFFFu;
            m_stream << quint32(color & 0xFFFFFF);
        }
        if (bits == 1 || bits == 8)
            return writeLines(image, length,
                              [](const uchar* from, uchar*, qint64) { return from; });
        const int width = image.width();
        if (bits == 4)
            return writeLines(image, length, [width](const uchar* from, uchar* to, qint64) {
                for (int x = 0; x < width; x += 2)
                    to[x / 2] = uchar(from[x] << 4 | (x + 1 < width ? from[x + 1] : 0));
                return to;
            });
        return writeLines(image, length, [width](const uchar* line, uchar* to, qint64) {
            const auto* from = reinterpret_cast<const quint32*>(line);
            for (int x = 0; x < width; ++x) {
                to[3 * x] = uchar(from[x]);
                to[3 * x + 1] = uchar(from[x] >> 8);
                to[3 * x + 2] = uchar(from[x] >> 16);
            }
            return to;
        });
    }

private:
    template <class Line>
    bool writeLines(const VImage& image, qint64 length, Line&& line)
    {
        std::vector<uchar> buffer(std::size_t(length), 0);
        for (int y = image.height() - 1; y >= 0; --y) {
            const uchar* bytes = line(image.scanLine(y), buffer.data(), length);
            if (m_stream.device()->write(reinterpret_cast<const char*>(bytes), length) != length)
                return false;
        }
        return m_stream.status() == QDataStream::Ok;
    }

    QDataStream& m_stream;
};

/// The picture in a form that the file has, null where there is none.
VImage writable(const VImage& image)
{
    if (image.depth() != 1 && image.depth() != 8 && image.depth() != 32)
        return VImage();
    return image.bitOrder() == VImage::LittleEndian ? image.convertBitOrder(VImage::BigEndian)
                                                    : image;
}
} // namespace

bool zyl_read_dib(QDataStream& stream, VImage& image)
{
    if (!stream.device())
        return false;
    DeviceReader in(stream.device());
    return readDib(in, 0, 0, image);
}

bool zyl_write_dib(QDataStream& stream, VImage image)
{
    image = writable(image);
    if (!stream.device() || image.isNull())
        return false;
    const QDataStream::ByteOrder order = stream.byteOrder();
    const bool written = Writer(stream).write(image);
    stream.setByteOrder(order);
    return written;
}

bool readBmp(DeviceReader& in, VImage& image)
{
    const uchar* bytes = in.take(fileHeaderSize);
    if (!bytes || bytes[0] != 'B' || bytes[1] != 'M')
        return false;
    const quint32 pixelPos = little<quint32>(bytes + 10);
    return readDib(in, fileHeaderSize, pixelPos, image);
}

bool writeBmp(VImageIO& io)
{
    const VImage image = writable(io.image());
    if (image.isNull())
        return false;
    QDataStream stream(io.ioDevice());
    Writer writer(stream);
    const qint64 data = Writer::lineSize(image, Writer::bitCount(image)) * image.height();
    const int front = fileHeaderSize + infoHeaderSize + 4 * Writer::colorCount(image);
    stream.writeRawData("BM", 2);
    stream << quint32(front + data) << qint16(0) << qint16(0) << quint32(front);
    return writer.write(image);
}
