// Puts pictures side by side on one sheet.
//   contact_sheet OUT.png IN.png...

#include <zyl/all/kernel.h>

#include <cmath>
#include <cstdio>

int main(int argc, char** argv)
{
    const VGlobal global;
    if (argc < 3) {
        std::fputs("usage: contact_sheet OUT.png IN.png...\n", stderr);
        return 2;
    }
    const int width = 400, height = 300, gap = 8;
    const int count = argc - 2;
    const int columns = int(std::ceil(std::sqrt(double(count))));
    const int rows = (count + columns - 1) / columns;
    VImage sheet(columns * (width + gap) + gap, rows * (height + gap) + gap, 32);
    sheet.fill(VColor(32, 34, 38).pixel());
    for (int i = 0; i < count; ++i) {
        VImage picture;
        if (!picture.load(QString::fromLocal8Bit(argv[i + 2]))) {
            std::fprintf(stderr, "%s can't be read as a picture\n", argv[i + 2]);
            return 1;
        }
        picture = picture.convertDepth(32).smoothScale(width, height, VImage::ScaleMin);
        const int x = gap + i % columns * (width + gap) + (width - picture.width()) / 2;
        const int y = gap + i / columns * (height + gap) + (height - picture.height()) / 2;
        bitBlt(&sheet, x, y, &picture);
    }
    if (!sheet.save(QString::fromLocal8Bit(argv[1]), "PNG"))
        return 1;
    std::printf("%d pictures on %s\n", count, argv[1]);
    return 0;
}
