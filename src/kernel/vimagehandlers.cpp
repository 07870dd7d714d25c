#include "kernel/vimagehandlers_p.h"

#include <cstring>

void clearPixels(VImage& image)
{
    if (image.bits())
        std::memset(image.bits(), 0, std::size_t(image.numBytes()));
}

void setMonochromeTable(VImage& image)
{
    image.setColor(0, 0xFFFFFFFF);
    image.setColor(1, 0xFF000000);
}

void setGrayTable(VImage& image, int count)
{
    for (int i = 0; i < count; ++i)
        image.setColor(i, 0xFF000000u | unsigned(i * 255 / (count - 1)) * 0x010101u);
}

bool isDarkFirst(const VImage& image)
{
    return image.depth() == 1 && image.numColors() == 2 &&
           quickGray(image.color(0)) < quickGray(image.color(1));
}

void exchangeColors(VImage& image)
{
    image.invertPixels();
    const unsigned first = image.color(0);
    image.setColor(0, image.color(1));
    image.setColor(1, first);
}

QByteArray arrayName(const VImageIO& io)
{
    QByteArray name = io.fileName().toLocal8Bit();
    name = name.mid(name.lastIndexOf('/') + 1);
    name = name.mid(name.lastIndexOf('\\') + 1);
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    qsizetype begin = 0;
    while (begin < name.size() && !isLetter(name[begin]))
        ++begin;
    qsizetype end = begin;
    while (end < name.size() &&
           (isLetter(name[end]) || (name[end] >= '0' && name[end] <= '9') || name[end] == '_'))
        ++end;
    return begin < end ? name.mid(begin, end - begin) : QByteArray("dummy");
}
