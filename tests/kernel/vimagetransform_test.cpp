#include "geometry/zylmatrix.h"
#include "kernel/pictures.h"
#include "kernel/vpixmap.h"
#include "support/warnings.h"

#include <array>
#include <cmath>
#include <limits>

using namespace pictures;
using testing::ElementsAre;

namespace
{
geometry::Matrix3d linear(double m00, double m01, double m10, double m11)
{
    return geometry::Matrix3d(m00, m01, 0, m10, m11, 0, 0, 0, 1);
}
geometry::Matrix3d turned(double angle)
{
    return linear(std::cos(angle), std::sin(angle), -std::sin(angle), std::cos(angle));
}

/// The picture as it stands in memory: bits of a transformed image start at the least significant
/// one.
VImage leastBitFirst(const VImage& image)
{
    return VImage(image.bits(), image.width(), image.height(), image.depth(), image.colorTable(),
                  image.numColors(), VImage::LittleEndian);
}

const geometry::Matrix3d matrices[] = {turned(0.5),
                                       turned(-2.2),
                                       turned(1.5707963267948966),
                                       linear(0, 1, -1, 0),
                                       linear(-1, 0, 0, 1),
                                       linear(1, 0, 0, -1),
                                       linear(-1, 0, 0, -1),
                                       linear(0.37, 0, 0, 0.61),
                                       linear(2.5, 0, 0, 1.75),
                                       linear(-1.5, 0, 0, 0.5),
                                       linear(1, 0, 0.3, 1),
                                       linear(0, 2, 0.5, 0),
                                       linear(1, -0.4, 0.7, 1.3)};
struct Transformed {
    Picture source;
    std::array<unsigned, 13>
        digests; // by the matrices above, from a program that tests each position
};

const Transformed transformed[] = {
    {[] { return noise32(37, 21, 1); },
     {0x929B9868, 0xA5F71FD9, 0x33441221, 0x33441221, 0x9BB728E5, 0xFD431009, 0x47FD3F71,
      0x14914FC7, 0xE30D7D12, 0xF442FE57, 0x5958AD7B, 0xF072CC34, 0x6D896FD5}},
    {[] { return noise8(35, 18, 6, 200); },
     {0x60394287, 0xB4B2CCF9, 0xAAAE2FDD, 0xAAAE2FDD, 0xE91B3E5D, 0x1A94B85D, 0x8C9BB13D,
      0x977F863B, 0xC762BEC5, 0x62997708, 0xD75A23E0, 0x861712B7, 0x94F80385}},
    {[] { return noise8(35, 18, 7, 256, true); },
     {0xDD8DF2BD, 0x6E8CE195, 0xD808007D, 0xD808007D, 0x93B247AD, 0xD3540F5D, 0x6D60083D,
      0x0BB9C50E, 0xAED740C6, 0x6D64292F, 0x8D156D3E, 0x1C4B61CA, 0x4526965F}},
    {[] { return noise1(29, 7, 9, VImage::BigEndian); },
     {0xB17E7B12, 0xE37B26C4, 0x17BE3925, 0x17BE3925, 0xE51D4D65, 0x8A007265, 0xEE9B4065,
      0x3247BE78, 0x32AAC6AE, 0xF8EC4753, 0x429695A3, 0xFC437CB9, 0x41701B20}},
    {[] { return noise1(29, 7, 10, VImage::LittleEndian); },
     {0x9682EF53, 0xAC8E0BB5, 0xE8F527E5, 0xE8F527E5, 0x2AC49B85, 0x6220C885, 0x1F090565,
      0x859EAB38, 0xEADD321E, 0xED83EC23, 0x6D5378E3, 0x0A713D99, 0x20CB50B1}},
};
} // namespace

TEST(VImageTransform, TakesTheSamePixelsAsARendering)
{
    for (const Transformed& test : transformed)
        for (std::size_t i = 0; i < std::size(matrices); ++i) {
            const VImage image = test.source().xForm(matrices[i]);
            EXPECT_EQ(digest(image.depth() == 1 ? leastBitFirst(image) : image), test.digests[i])
                << "by matrix " << i;
        }
    // More than a tile of the sampler each way.
    EXPECT_EQ(digest(noise32(130, 140, 20).xForm(turned(0.3))), 0x21882764);
}

// These widths' inverse matrices have a step of -0.99999999999999989.
TEST(VImageTransform, FlipsEveryWidthPixelByPixel)
{
    for (const int w : {1, 2, 93, 99, 161, 400}) {
        const VImage image = noise32(w, 3, unsigned(w));
        EXPECT_TRUE(image.xForm(linear(-1, 0, 0, 1)) == image.mirror(true, false)) << w;
        EXPECT_TRUE(image.xForm(linear(-1, 0, 0, -1)) == image.mirror(true, true)) << w;
    }
}

TEST(VImageTransform, TurnsByQuartersWithoutLoss)
{
    const VImage image = picture(3, 32, {1, 2, 3, 4, 5, 6});
    const VImage quarter = image.xForm(linear(0, 1, -1, 0));
    EXPECT_EQ(quarter.size(), VSize(2, 3));
    EXPECT_THAT(pixels(quarter), ElementsAre(4, 1, 5, 2, 6, 3));
    EXPECT_THAT(
        pixels(quarter.xForm(turned(M_PI / 2)).xForm(turned(M_PI / 2)).xForm(turned(M_PI / 2))),
        ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST(VImageTransform, StartsAtTheOriginWhateverTheTranslation)
{
    const VImage image = picture(2, 32, {1, 2});
    geometry::Matrix3d away = linear(2, 0, 0, 1);
    away.m[2][0] = 500;
    EXPECT_THAT(pixels(image.xForm(away)), ElementsAre(1, 1, 2, 2));
    const geometry::Matrix3d flip = VPixmap::trueMatrix(linear(-2, 0, 0, 3), 10, 20);
    EXPECT_EQ(flip.m[0][0], -2.0);
    EXPECT_EQ(flip.m[2][0], 20.0 - 1.0 / 131072);
    EXPECT_EQ(flip.m[2][1], 0.0);
}

TEST(VImageTransform, FillsWhatIsNotCovered)
{
    const geometry::Matrix3d turn = turned(M_PI / 4);
    EXPECT_EQ(noise32(9, 9, 1).xForm(turn).pixel(0, 0), 0u);
    const VImage bytes = noise8(9, 9, 1, 40).xForm(turn);
    EXPECT_EQ(bytes.numColors(), 41);
    EXPECT_EQ(bytes.pixelIndex(0, 0), 40);
    EXPECT_EQ(bytes.color(40), 0u);
    const VImage full = noise8(9, 9, 1, 256).xForm(turn);
    EXPECT_EQ(full.numColors(), 256);
    EXPECT_EQ(full.pixelIndex(0, 0), 0);
}

TEST(VImageTransform, TakesOverColorsAlphaAndResolution)
{
    VImage image = noise8(6, 4, 1, 5, true);
    image.setDotsPerMeterX(3);
    image.setOffset(geometry::Vector2i(1, 1));
    const VImage half = image.scale(3, 2);
    EXPECT_EQ(half.numColors(), 6);
    EXPECT_EQ(half.color(4), image.color(4));
    EXPECT_TRUE(half.hasAlphaBuffer());
    EXPECT_EQ(half.dotsPerMeterX(), 3);
    EXPECT_EQ(half.offset(), geometry::Vector2i());
}

TEST(VImageTransform, CountsBitsFromTheLeastWhateverTheOrder)
{
    const VImage image = picture(8, 1, {1, 1, 0, 1, 0, 0, 0, 0}, {0, 1}, VImage::BigEndian);
    const VImage doubled = image.scale(16, 1);
    EXPECT_EQ(doubled.bitOrder(), VImage::BigEndian);
    EXPECT_EQ(doubled.scanLine(0)[0], 0xCF);
    EXPECT_EQ(doubled.scanLine(0)[1], 0x00);
}

TEST(VImageTransform, GivesNothingForAMatrixThatLeavesNothing)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const VImage image = noise32(8, 8, 1);
    WarningCatcher warnings;
    const VImage identity = image.xForm(linear(1, 0, 0, 1));
    EXPECT_TRUE(identity == image);
    EXPECT_NE(identity.bits(), image.bits());
    for (const geometry::Matrix3d& matrix :
         {linear(0.05, 0, 0, 1), linear(infinity, 0, 0, 1), linear(std::nan(""), 1, 1, 0),
          linear(1e300, 0, 0, 1e300), linear(1e9, 1, 0, 1)})
        EXPECT_TRUE(image.xForm(matrix).isNull());
    EXPECT_TRUE(warnings.isEmpty());
    EXPECT_TRUE(image.xForm(linear(1, 1, 1, 1)).isNull());
    EXPECT_TRUE(
        warnings.take().join(QString()).startsWith(QStringLiteral("ASSERT: \"pvv != 0.0f\" in ")));
    EXPECT_TRUE(image.scale(0, 4).isNull());
    EXPECT_THAT(warnings.take(), testing::SizeIs(1));
    EXPECT_TRUE(VImage().xForm(linear(2, 0, 0, 2)).isNull());
    EXPECT_TRUE(warnings.isEmpty());
}

TEST(VImageTransform, ScalesInTheModeAsked)
{
    const VImage image = noise32(6, 4, 1);
    EXPECT_EQ(image.scale(3, 9).size(), VSize(3, 9));
    EXPECT_EQ(image.scale(3, 9, VImage::ScaleMin).size(), VSize(3, 2));
    EXPECT_EQ(image.scale(VSize(3, 9), VImage::ScaleMax).size(), VSize(13, 9));
    EXPECT_EQ(image.scaleWidth(9).size(), VSize(9, 6));
    EXPECT_EQ(image.scaleHeight(2).size(), VSize(3, 2));
    EXPECT_TRUE(image.scale(6, 4) == image);
    EXPECT_TRUE(image.scale(-1, 4).isNull());
    EXPECT_TRUE(image.scaleWidth(0).isNull());
    EXPECT_TRUE(image.scaleHeight(-3).isNull());
    WarningCatcher warnings;
    EXPECT_TRUE(VImage().scale(1, 1).isNull());
    EXPECT_TRUE(VImage().scaleWidth(1).isNull());
    EXPECT_TRUE(VImage().scaleHeight(1).isNull());
    EXPECT_THAT(warnings.take(),
                ElementsAre(QStringLiteral("VImage::scale: Image is a null image"),
                            QStringLiteral("VImage::scaleWidth: Image is a null image"),
                            QStringLiteral("VImage::scaleHeight: Image is a null image")));
}

TEST(VImageTransform, SamplesAnyPixelSizeIntoTheCallersLines)
{
    for (const int bytes : {1, 2, 3, 4}) {
        const unsigned char source[] = {1, 2, 3, 4,  5,  6,
                                        7, 8, 9, 10, 11, 12}; // pixels in one line
        std::vector<unsigned char> target(std::size_t(bytes) * 6 + 4, 99);
        const int w = 12 / bytes;
        // Two lines of three pixels with two bytes between, one pixel to the right; past the end
        // all stays.
        geometry::Matrix3d matrix = linear(1, 0, 0, 1);
        EXPECT_TRUE(zyl_xForm_helper(matrix, w - 2, 0, bytes * 8, target.data(), bytes * 3, 2, 2,
                                     source, 12, w, 1));
        for (int i = 0; i < int(target.size()); ++i)
            EXPECT_EQ(target[std::size_t(i)], i < 2 * bytes ? 12 - 2 * bytes + i + 1 : 99)
                << bytes << ' ' << i;
    }
    unsigned char bit[4] = {0};
    const unsigned char bits[] = {0xA0};
    for (const int type : {0, 1}) {
        bit[0] = 0x10;
        EXPECT_TRUE(zyl_xForm_helper(linear(1, 0, 0, 1), 0, type, 1, bit, 4, 0, 1, bits, 1, 8, 1));
        EXPECT_EQ(bit[0], type == 0 ? 0x15 : 0xB0);
    }
    EXPECT_FALSE(zyl_xForm_helper(linear(1, 0, 0, 1), 0, 0, 4, bit, 4, 0, 1, bits, 1, 8, 1));
    EXPECT_FALSE(zyl_xForm_helper(linear(1, 0, 0, 1), 0, 0, 0, bit, 4, 0, 1, bits, 1, 8, 1));
    EXPECT_FALSE(
        zyl_xForm_helper(linear(std::nan(""), 0, 0, 1), 0, 0, 8, bit, 4, 0, 1, bits, 1, 8, 1));
}

// 65536 pixels and more have positions beyond 32 bits of fixed point.
TEST(VImageTransform, ReachesTheEndOfVeryLongLines)
{
    VImage image(70000, 1, 8);
    image.fill(0);
    image.setPixel(69999, 0, 0);
    image.scanLine(0)[69999] = 5;
    const VImage flipped = image.xForm(linear(-1, 0, 0, 1));
    EXPECT_EQ(flipped.pixelIndex(0, 0), 5);
    EXPECT_EQ(flipped.pixelIndex(1, 0), 0);
    // A step of 2^40 pixels, and positions far outside.
    unsigned char target[8] = {7, 7, 7, 7, 7, 7, 7, 7};
    for (const double far : {1e12, -1e12, 1e300}) {
        EXPECT_TRUE(zyl_xForm_helper(linear(far, far, far, far), 1, 0, 8, target, 4, 0, 2,
                                     image.bits(), 70000, 70000, 1));
        EXPECT_EQ(target[1], 7);
    }
}

TEST(VImageMirror, TurnsPixelsInPlaceOfBytes)
{
    for (const int w : {1, 5, 8, 13, 16, 29})
        for (const VImage& image :
             {noise1(w, 3, 1, VImage::BigEndian), noise1(w, 3, 1, VImage::LittleEndian),
              noise8(w, 3, 2, 77), noise32(w, 3, 3)})
            for (const bool horizontal : {false, true})
                for (const bool vertical : {false, true}) {
                    const VImage mirrored = image.mirror(horizontal, vertical);
                    for (int y = 0; y < 3; ++y)
                        for (int x = 0; x < w; ++x)
                            ASSERT_EQ(mirrored.pixel(x, y),
                                      image.pixel(horizontal ? w - 1 - x : x, vertical ? 2 - y : y))
                                << w << ' ' << image.depth() << ' ' << x << ' ' << y;
                    EXPECT_EQ(mirrored.bitOrder(), image.bitOrder());
                }
    VImage padded(5, 2, 1, 2,
                  VImage::BigEndian); // bits past the end come first in the reversed line
    padded.fill(1);
    EXPECT_EQ(padded.mirror(true, false).scanLine(0)[0], 0xF8);
    EXPECT_THAT(pixels(picture(1, 32, {1, 2}).mirror()), ElementsAre(2, 1));
}

TEST(VImageSwap, ExchangesRedAndBlueInPixelsOrTable)
{
    EXPECT_THAT(pixels(picture(3, 32, {0x11223344, 0xFF0000AA, 0x01020304}).swapRGB()),
                ElementsAre(0x11443322, 0xFFAA0000, 0x01040302));
    const VImage bytes = picture(1, 8, {1}, {0x11223344, 0x80FF0102});
    EXPECT_THAT(colors(bytes.swapRGB()), ElementsAre(0x11443322, 0x800201FF));
    EXPECT_THAT(colors(bytes), ElementsAre(0x11223344, 0x80FF0102));
    EXPECT_TRUE(VImage().swapRGB().isNull());
}
