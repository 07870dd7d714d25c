#include "kernel/vdevicereader_p.h"
#include "kernel/vimagehandlers_p.h"

#include <qiodevice.h>
#include <qregularexpression.h>

#include <cstdio>

namespace
{
constexpr int lineLimit = 300;
constexpr int sizeLimit = 32767;

QByteArray readLine(DeviceReader& in)
{
    QByteArray line;
    for (int c = 0; line.size() < lineLimit && c != '\n';) {
        c = in.get();
        if (c < 0)
            break;
        line.append(char(c));
    }
    return line;
}

/// The number behind "#define NAME ", or -1.
int definedNumber(DeviceReader& in)
{
    static const QRegularExpression define(QStringLiteral("^#define[ \t]+[a-zA-Z0-9._]+[ \t]+"));
    static const QRegularExpression digits(QStringLiteral("[0-9]+"));
    const QString line = QString::fromLatin1(readLine(in));
    const QRegularExpressionMatch name = define.match(line);
    if (!name.hasMatch())
        return -1;
    const QRegularExpressionMatch number = digits.match(line, name.capturedEnd());
    bool ok = false;
    const int value = number.captured().toInt(&ok);
    return ok ? value : -1;
}

int hexValue(int c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const int lower = c | 0x20;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// The byte behind the next "0x", or -1 at the end of the input.
int nextByte(DeviceReader& in)
{
    for (int before = 0;;) {
        const int c = in.get();
        if (c < 0)
            return -1;
        if (before == '0' && (c == 'x' || c == 'X')) {
            const int high = hexValue(in.peek());
            if (high < 0) {
                before = 0;
                continue;
            }
            in.get();
            const int low = hexValue(in.peek());
            if (low < 0)
                return high;
            in.get();
            return high << 4 | low;
        }
        before = c;
    }
}
} // namespace

bool readXbm(DeviceReader& in, VImage& image)
{
    const int width = definedNumber(in);
    const int height = definedNumber(in);
    if (width < 1 || width > sizeLimit || height < 1 || height > sizeLimit ||
        !VImage::checkAllocation(width, height, 1) ||
        !image.create(width, height, 1, 2, VImage::LittleEndian))
        return false;
    clearPixels(image);
    setMonochromeTable(image);
    // A file that ends early leaves the rest white.
    const int length = (width + 7) / 8;
    bool more = true;
    for (int y = 0; more && y < height; ++y) {
        uchar* line = image.scanLine(y);
        for (int x = 0; more && x < length; ++x) {
            const int byte = nextByte(in);
            more = byte >= 0;
            if (more)
                line[x] = uchar(byte);
        }
    }
    return true;
}

bool writeXbm(VImageIO& io)
{
    VImage image = io.image();
    if (image.depth() != 1)
        image = image.convertDepth(1);
    if (image.bitOrder() != VImage::LittleEndian)
        image = image.convertBitOrder(VImage::LittleEndian);
    const uchar complement = isDarkFirst(image) ? 0xFF : 0;
    const QByteArray name = arrayName(io);
    QByteArray text = "#define " + name + "_width " + QByteArray::number(image.width()) +
                      "\n#define " + name + "_height " + QByteArray::number(image.height()) +
                      "\nstatic char " + name + "_bits[] = {\n ";
    const int length = (image.width() + 7) / 8;
    qint64 written = 0;
    for (int y = 0; y < image.height(); ++y) {
        const uchar* line = image.scanLine(y);
        for (int x = 0; x < length; ++x, ++written) {
            constexpr char digits[] = "0123456789abcdef";
            if (written > 0)
                text += written % 12 == 0 ? ",\n " : ",";
            const uchar byte = line[x] ^ complement;
            const char hex[] = {'0', 'x', digits[byte >> 4], digits[byte & 15]};
            text.append(hex, sizeof hex);
        }
        if (text.size() > 65536) {
            if (io.ioDevice()->write(text) != text.size())
                return false;
            text.clear();
        }
    }
    text += "};\n";
    return io.ioDevice()->write(text) == text.size();
}
