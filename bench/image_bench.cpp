#include "ratio.h"
#include "geometry/zylmatrix.h"
#include "kernel/vimage.h"

#include <QtGui/qcolor.h>
#include <QtGui/qimage.h>
#include <QtGui/qpainter.h>
#include <QtGui/qtransform.h>

#include <sched.h>

#include <cmath>
#include <cstdint>
#include <string>

namespace
{
/// What the names of the wanted figures hold; all do for an empty text.
std::string wanted;

template <class Ours, class Theirs>
void compare(const std::string& name, Ours&& ours, Theirs&& theirs)
{
    if (name.find(wanted) != std::string::npos)
        bench::compare("image/" + name, 1.0, ours, theirs);
}

/// The same picture in both classes.
struct Pair {
    VImage ours;
    QImage theirs;
};

unsigned nextRandom(unsigned& state)
{
    state = state * 1664525u + 1013904223u;
    return state >> 8;
}

/// Soft shades with noise over them, as a photograph has.
Pair photo(int side, bool alpha = false)
{
    Pair pair{VImage(side, side, 32),
              QImage(side, side, alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32)};
    pair.ours.setAlphaBuffer(alpha);
    unsigned state = 1;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const unsigned noise = nextRandom(state);
            const unsigned r = (unsigned(x) * 224u / unsigned(side) + (noise & 31)) & 255;
            const unsigned g = (unsigned(y) * 224u / unsigned(side) + (noise >> 5 & 31)) & 255;
            const unsigned b = (unsigned(x + y) * 112u / unsigned(side) + (noise >> 10 & 31)) & 255;
            const unsigned a = alpha ? unsigned(x + 2 * y) & 255 : 255;
            const unsigned word = a << 24 | r << 16 | g << 8 | b;
            reinterpret_cast<unsigned*>(pair.ours.scanLine(y))[x] = word;
            reinterpret_cast<unsigned*>(pair.theirs.scanLine(y))[x] = word;
        }
    return pair;
}

/// Indices with a table of `colors` different colours.
Pair indexed(int side, int colors)
{
    Pair pair{VImage(side, side, 8, colors), QImage(side, side, QImage::Format_Indexed8)};
    QList<QRgb> table;
    for (int i = 0; i < colors; ++i) {
        const unsigned color = 0xFF000000 | (unsigned(i) * 2654435761u >> 8);
        pair.ours.setColor(i, color);
        table.append(color);
    }
    pair.theirs.setColorTable(table);
    unsigned state = 7;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x)
            pair.ours.scanLine(y)[x] = pair.theirs.scanLine(y)[x] =
                (unsigned char)(nextRandom(state) % unsigned(colors));
    return pair;
}

Pair bitmap(int side)
{
    Pair pair{VImage(side, side, 1, 2, VImage::BigEndian), QImage(side, side, QImage::Format_Mono)};
    const unsigned colors[2] = {0xFFFFFFFF, 0xFF000000};
    pair.theirs.setColorTable({colors[0], colors[1]});
    unsigned state = 3;
    for (int i = 0; i < 2; ++i)
        pair.ours.setColor(i, colors[i]);
    for (int y = 0; y < side; ++y)
        for (int i = 0; i < side / 8; ++i)
            pair.ours.scanLine(y)[i] = pair.theirs.scanLine(y)[i] =
                (unsigned char)nextRandom(state);
    return pair;
}

void conversions(int side, const std::string& size)
{
    const Pair color = photo(side), table = indexed(side, 200), bits = bitmap(side);
    const Pair few{table.ours.convertDepth(32), table.theirs.convertToFormat(QImage::Format_RGB32)};
    const auto convert = [&size](const std::string& name, const Pair& pair, int depth, int flags,
                                 QImage::Format format, Qt::ImageConversionFlags theirFlags) {
        compare(
            name + size, [&] { bench::keep(pair.ours.convertDepth(depth, flags).bits()); },
            [&] { bench::keep(pair.theirs.convertToFormat(format, theirFlags).constBits()); });
    };
    convert("1to8", bits, 8, 0, QImage::Format_Indexed8, Qt::AutoColor);
    convert("1to32", bits, 32, 0, QImage::Format_RGB32, Qt::AutoColor);
    convert("8to32", table, 32, 0, QImage::Format_RGB32, Qt::AutoColor);
    convert("8to1", table, 1, 0, QImage::Format_Mono, Qt::DiffuseDither);
    convert("32to1-diffuse", color, 1, 0, QImage::Format_Mono, Qt::DiffuseDither);
    convert("32to1-ordered", color, 1, 0x10, QImage::Format_Mono, Qt::OrderedDither);
    convert("32to1-threshold", color, 1, 0x20, QImage::Format_Mono, Qt::ThresholdDither);
    convert("32to8-diffuse", color, 8, 0x40, QImage::Format_Indexed8,
            Qt::DiffuseDither | Qt::PreferDither);
    convert("32to8-ordered", color, 8, 0x50, QImage::Format_Indexed8,
            Qt::OrderedDither | Qt::PreferDither);
    convert("32to8-threshold", color, 8, 0x60, QImage::Format_Indexed8,
            Qt::ThresholdDither | Qt::PreferDither);
    convert("32to8-collect", few, 8, 0, QImage::Format_Indexed8, Qt::AutoColor);
    if (wanted.empty())
        bench::rate("image/32to8-collect-pixels" + size, 200e6, double(side) * side,
                    [&] { bench::keep(few.ours.convertDepth(8).bits()); });
}

void movements(int side, const std::string& size)
{
    Pair color = photo(side), clear = photo(side, true), table = indexed(side, 200);
    compare(
        "mirror-horizontal" + size, [&] { bench::keep(color.ours.mirror(true, false).bits()); },
        [&] { bench::keep(color.theirs.mirrored(true, false).constBits()); });
    compare(
        "mirror-vertical" + size, [&] { bench::keep(color.ours.mirror().bits()); },
        [&] { bench::keep(color.theirs.mirrored().constBits()); });
    compare(
        "mirror-both-8" + size, [&] { bench::keep(table.ours.mirror(true, true).bits()); },
        [&] { bench::keep(table.theirs.mirrored(true, true).constBits()); });
    compare(
        "swapRGB" + size, [&] { bench::keep(color.ours.swapRGB().bits()); },
        [&] {
            const QImage& from = color.theirs;
            bench::keep(from.rgbSwapped().constBits());
        });
    compare(
        "copy" + size, [&] { bench::keep(color.ours.copy().bits()); },
        [&] { bench::keep(color.theirs.copy().constBits()); });
    compare(
        "copy-part" + size, [&] { bench::keep(color.ours.copy(3, 5, side / 2, side / 2).bits()); },
        [&] { bench::keep(color.theirs.copy(3, 5, side / 2, side / 2).constBits()); });
    compare(
        "fill" + size, [&] { color.ours.fill(0xFF336699); },
        [&] { color.theirs.fill(0xFF336699u); });
    compare(
        "fill-8" + size, [&] { table.ours.fill(7); }, [&] { table.theirs.fill(7); });

    const Pair from = photo(side);
    QPainter painter(&color.theirs);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    compare(
        "blit" + size, [&] { bitBlt(&color.ours, 4, 4, &from.ours, 0, 0, side - 8, side - 8); },
        [&] { painter.drawImage(4, 4, from.theirs, 0, 0, side - 8, side - 8); });
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    compare(
        "blit-alpha" + size,
        [&] { bitBlt(&color.ours, 4, 4, &clear.ours, 0, 0, side - 8, side - 8); },
        [&] { painter.drawImage(4, 4, clear.theirs, 0, 0, side - 8, side - 8); });
}

void scalings(int side, const std::string& size)
{
    const Pair color = photo(side), clear = photo(side, true);
    const auto smooth = [&](const std::string& name, const Pair& pair, int w, int h) {
        compare(
            "smooth-" + name + size, [&] { bench::keep(pair.ours.smoothScale(w, h).bits()); },
            [&] {
                bench::keep(
                    pair.theirs.scaled(w, h, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                        .constBits());
            });
    };
    smooth("half", color, side / 2, side / 2);
    smooth("down", color, side * 3 / 10, side * 3 / 10);
    smooth("small", color, side / 16, side / 16);
    smooth("up", color, side * 3 / 2, side * 3 / 2);
    smooth("wide", color, side * 3 / 2, side / 2);
    smooth("half-alpha", clear, side / 2, side / 2);
    smooth("up-alpha", clear, side * 3 / 2, side * 3 / 2);

    const auto transform = [&](const std::string& name, const Pair& pair, double m00, double m01,
                               double m10, double m11) {
        geometry::Matrix3d matrix(m00, m01, 0, m10, m11, 0, 0, 0, 1);
        const QTransform theirs(m00, m01, m10, m11, 0, 0);
        compare(
            "xForm-" + name + size, [&] { bench::keep(pair.ours.xForm(matrix).bits()); },
            [&] { bench::keep(pair.theirs.transformed(theirs).constBits()); });
    };
    const Pair table = indexed(side, 200), bits = bitmap(side);
    const double c = std::cos(0.5), s = std::sin(0.5);
    transform("turn", color, c, s, -s, c);
    transform("turn-8", table, c, s, -s, c);
    transform("turn-1", bits, c, s, -s, c);
    transform("quarter", color, 0, 1, -1, 0);
    transform("quarter-8", table, 0, 1, -1, 0);
    transform("half-turn", color, -1, 0, 0, -1);
    transform("scale-down", color, 0.37, 0, 0, 0.37);
    transform("scale-up", color, 1.5, 0, 0, 1.5);
    transform("shear", color, 1, 0, 0.3, 1);
}
} // namespace

int main(int argc, char** argv)
{
    if (argc > 1)
        wanted = argv[1];
    // Pictures are worked on by one thread here; theirs would take all cores for some.
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    sched_setaffinity(0, sizeof one, &one);
    for (const int side : {256, 4096}) {
        const std::string size = "/" + std::to_string(side);
        conversions(side, size);
        movements(side, size);
        scalings(side, size);
    }
}
