// Pictures written by other programs must decode to the pixels that those programs give.

#include "kernel/vimage.h"
#include "kernel/vimageio.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <qfile.h>
#include <qtemporarydir.h>

namespace
{
struct Raster {
    int width = 0;
    int height = 0;
    std::vector<unsigned> words; // 0x00RRGGBB
};

/// Reads the plain or raw portable formats; apart from the reader under test.
Raster readPnm(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string magic;
    Raster raster;
    int maximum = 1;
    file >> magic >> raster.width >> raster.height;
    if (magic != "P4")
        file >> maximum;
    file.get();
    const auto next = [&file] { return unsigned(file.get()) & 255; };
    for (int y = 0; y < raster.height; ++y) {
        unsigned byte = 0;
        for (int x = 0; x < raster.width; ++x) {
            if (magic == "P4") {
                if (x % 8 == 0)
                    byte = next();
                raster.words.push_back(byte >> (7 - x % 8) & 1 ? 0u : 0xFFFFFFu);
            } else if (magic == "P5") {
                raster.words.push_back(next() * 255 / unsigned(maximum) * 0x010101u);
            } else {
                const unsigned red = next(), green = next();
                raster.words.push_back(red << 16 | green << 8 | next());
            }
        }
    }
    return raster;
}

Raster fromImage(const VImage& image)
{
    const VImage words = image.convertDepth(32);
    Raster raster{words.width(), words.height(), {}};
    for (int y = 0; y < raster.height; ++y)
        for (int x = 0; x < raster.width; ++x)
            raster.words.push_back(words.pixel(x, y) & 0xFFFFFF);
    return raster;
}

/// Colours in smooth steps with a sharp edge, in a size that is no multiple of 8.
void writeSample(const std::string& path)
{
    std::ofstream file(path, std::ios::binary);
    constexpr int width = 37, height = 23;
    file << "P6\n" << width << ' ' << height << "\n255\n";
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            file << char(x * 6) << char(x > 20 && y > 9 ? 250 : y * 11) << char((x + y) * 4);
}

struct Peer {
    const char* name;
    const char* make;   // from in.ppm to a file "out"
    const char* expect; // from "out" to a portable map "expected"
    int depth;
};

void PrintTo(const Peer& peer, std::ostream* out)
{
    *out << peer.name;
}

class PeerFile : public testing::TestWithParam<Peer>
{
};
} // namespace

TEST_P(PeerFile, DecodesToThePixelsOfTheProgram)
{
    const Peer& peer = GetParam();
    vInitSgiIO();
    QTemporaryDir folder;
    const std::string path = folder.path().toStdString();
    writeSample(path + "/in.ppm");
    for (const char* command : {peer.make, peer.expect}) {
        const std::string line =
            "cd " + path + " && export ASAN_OPTIONS= && (" + command + ") 2>log";
        std::stringstream log;
        if (std::system(line.c_str()) != 0) {
            log << std::ifstream(path + "/log").rdbuf();
            FAIL() << command << "\n" << log.str();
        }
    }
    VImage image;
    ASSERT_TRUE(image.load(QString::fromStdString(path + "/out")));
    EXPECT_EQ(image.depth(), peer.depth);
    const Raster found = fromImage(image);
    const Raster expected = readPnm(path + "/expected");
    EXPECT_EQ(found.width, expected.width);
    EXPECT_EQ(found.height, expected.height);
    EXPECT_EQ(found.words, expected.words);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Programs, PeerFile, testing::Values(
    Peer{"bmp24", "ppmtobmp -bpp 24 in.ppm >out", "bmptopnm out >expected", 32},
    Peer{"bmp8", "pnmquant 200 in.ppm | ppmtobmp -bpp 8 >out", "bmptopnm out >expected", 8},
    Peer{"bmp4", "pnmquant 16 in.ppm | ppmtobmp -bpp 4 >out", "bmptopnm out >expected", 8},
    Peer{"bmp1", "ppmtopgm in.ppm | pamditherbw -threshold | pamtopnm | ppmtobmp -bpp 1 >out", "bmptopnm out | ppmtoppm >expected", 1},
    Peer{"os2bmp8", "pnmquant 200 in.ppm | ppmtobmp -os2 -bpp 8 >out", "bmptopnm out >expected", 8},
    Peer{"rlebmp8", "convert-im6.q16 in.ppm -colors 60 -compress RLE bmp3:out", "convert-im6.q16 bmp:out -depth 8 ppm:expected", 8},
    Peer{"ppm", "cp in.ppm out", "cp in.ppm expected", 32},
    Peer{"plainppm", "pnmtoplainpnm in.ppm >out", "cp in.ppm expected", 32},
    Peer{"pgm", "ppmtopgm in.ppm >out", "cp out expected", 8},
    Peer{"plainpgm", "ppmtopgm in.ppm | pnmtoplainpnm >out", "ppmtopgm in.ppm >expected", 8},
    Peer{"pbm", "ppmtopgm in.ppm | pgmtopbm -threshold >out", "cp out expected", 1},
    Peer{"plainpbm", "ppmtopgm in.ppm | pgmtopbm -threshold >expected; pnmtoplainpnm expected >out", "true", 1},
    Peer{"xbm", "ppmtopgm in.ppm | pgmtopbm -fs | pbmtoxbm >out", "xbmtopbm out >expected", 1},
    Peer{"xpm", "pnmquant 100 in.ppm | ppmtoxpm -rgb=/dev/null >out", "xpmtoppm out >expected", 8},
    Peer{"xpmnames", "pnmquant 60 in.ppm | ppmtoxpm >out", "xpmtoppm out >expected", 8},
    Peer{"xpm32", "ppmtoxpm -rgb=/dev/null in.ppm >out", "cp in.ppm expected", 32},
    Peer{"png", "pnmtopng in.ppm >out", "pngtopam out >expected", 32},
    Peer{"interlacedpng", "pnmtopng -interlace in.ppm >out", "pngtopam out >expected", 32},
    Peer{"palettepng", "pnmquant 20 in.ppm | pnmtopng >out", "pngtopam out >expected", 8},
    Peer{"palettepng2", "pnmquant 4 in.ppm | pnmtopng >out", "pngtopam out >expected", 8},
    Peer{"graypng", "ppmtopgm in.ppm | pnmtopng >out", "pngtopam out >expected", 8},
    Peer{"gray16png", "ppmtopgm in.ppm | pamdepth 65535 | pnmtopng >out", "ppmtopgm in.ppm >expected", 8},
    Peer{"bwpng", "ppmtopgm in.ppm | pgmtopbm -threshold | pnmtopng >out", "pngtopam out >expected", 1},
    Peer{"sgi", "pnmtosgi -verbatim in.ppm >out", "sgitopnm out >expected", 32},
    Peer{"rlesgi", "pnmtosgi -rle in.ppm >out", "sgitopnm out >expected", 32},
    Peer{"graysgi", "ppmtopgm in.ppm | pnmtosgi -rle >out", "sgitopnm out >expected", 8},
    Peer{"jpeg", "cjpeg -quality 90 in.ppm >out", "djpeg -pnm out >expected", 32},
    Peer{"grayjpeg", "cjpeg -grayscale -quality 60 in.ppm >out", "djpeg -pnm out >expected", 8},
    Peer{"progressivejpeg", "cjpeg -progressive -quality 70 in.ppm >out", "djpeg -pnm out >expected", 32},
    Peer{"restartjpeg", "cjpeg -restart 1 -sample 1x1 in.ppm >out", "djpeg -pnm out >expected", 32}),
    [](const auto& peer) { return std::string(peer.param.name); });
// clang-format on
