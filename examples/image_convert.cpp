// Draws a picture, saves it, loads it again, scales it and converts it to other formats and depths.
// With arguments: image_convert IN OUT FORMAT [WIDTH HEIGHT]

#include <zyl/all/kernel.h>

#include <cstdio>
#include <cstdlib>

#include <qdir.h>

namespace
{
VImage drawn()
{
    VImage image(320, 200, 32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, VColor(x * 255 / 319, y * 255 / 199, (x ^ y) & 255).pixel());
    return image;
}

void tell(const char* name, const VImage& image)
{
    std::printf("%-12s %4d x %-4d %2d bits, %3d colours\n", name, image.width(), image.height(),
                image.depth(), image.numColors());
}
} // namespace

int main(int argc, char** argv)
{
    const VGlobal global;
    if (argc == 4 || argc == 6) {
        VImage image;
        if (!image.load(QString::fromLocal8Bit(argv[1]))) {
            std::fprintf(stderr, "%s can't be read as a picture\n", argv[1]);
            return 1;
        }
        if (argc == 6)
            image = image.smoothScale(std::atoi(argv[4]), std::atoi(argv[5]), VImage::ScaleMin);
        return image.save(QString::fromLocal8Bit(argv[2]), argv[3]) ? 0 : 1;
    }
    const QString name = QDir::tempPath() + QLatin1String("/zyl_example.png");
    VImage image;
    if (!drawn().save(name, "PNG") || !image.load(name))
        return 1;
    tell("loaded", image);
    tell("thumbnail", image.smoothScale(64, 64, VImage::ScaleMin));
    tell("8 bits", image.convertDepth(8));
    tell("1 bit", image.convertDepth(1));
    for (const QString& format : VImage::outputFormatList())
        std::printf("%s%s: %s", format == QLatin1String("BMP") ? "" : ", ", qPrintable(format),
                    image.save(name, format.toLatin1().constData()) ? "saved" : "failed");
    std::puts("");
    return QFile::remove(name) ? 0 : 1;
}
