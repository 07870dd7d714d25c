#include "kernel/pictures.h"
#include "support/warnings.h"

#include <climits>

using namespace pictures;
using testing::ElementsAre;

namespace
{
/// The pixel that a block move leaves at each place, worked out one by one.
VImage movedByPixels(const VImage& before, const VImage& from, int dx, int dy, int sx, int sy,
                     int w, int h)
{
    VImage result = before.copy();
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (result.valid(dx + x, dy + y) && from.valid(sx + x, sy + y))
                result.setPixel(dx + x, dy + y,
                                result.depth() == 32 ? from.pixel(sx + x, sy + y)
                                                     : unsigned(from.pixelIndex(sx + x, sy + y)));
    return result;
}

struct Move {
    int dx, dy, sx, sy, w, h;
};
const Move moves[] = {
    {0, 0, 0, 0, 20, 9},  {3, 2, 5, 1, 6, 4},    {-3, -2, 5, 1, 9, 9},
    {3, 2, -5, -1, 9, 9}, {15, 7, 2, 2, 90, 90}, {4, 0, 4, 0, 3, 3},
};

VImage indexed(const std::vector<unsigned char>& bytes, std::initializer_list<unsigned> colors)
{
    VImage image(int(bytes.size()), 1, 8, int(colors.size()));
    int i = 0;
    for (const unsigned color : colors)
        image.setColor(i++, color);
    std::copy(bytes.begin(), bytes.end(), image.scanLine(0));
    return image;
}
} // namespace

TEST(VImageBlit, MovesWhatLiesInBothImages)
{
    for (const Move& move : moves) {
        VImage words = noise32(20, 9, 1), bytes = noise8(20, 9, 1, 50);
        VImage otherBytes = noise8(20, 9, 2, 50);
        std::copy_n(bytes.colorTable(), 50, otherBytes.colorTable());
        const VImage otherWords = noise32(20, 9, 2);
        for (const auto& [target, source] :
             {std::pair(words, otherWords), std::pair(bytes, otherBytes)}) {
            const VImage expected =
                movedByPixels(target, source, move.dx, move.dy, move.sx, move.sy, move.w, move.h);
            VImage result = target;
            bitBlt(&result, move.dx, move.dy, &source, move.sx, move.sy, move.w, move.h);
            EXPECT_EQ(digest(result), digest(expected)) << move.dx << ' ' << move.sx;
        }
    }
}

TEST(VImageBlit, TakesTheRestForANegativeSize)
{
    VImage target(4, 4, 32);
    target.fill(0);
    const VImage source = noise32(3, 2, 1);
    bitBlt(&target, 2, 1, &source, 1, 0, -1, -7);
    EXPECT_EQ(digest(target), digest(movedByPixels(VImage(withAlpha(target.copy(), false)), source,
                                                   2, 1, 1, 0, 2, 2)));
    EXPECT_EQ(target.pixel(2, 1), source.pixel(1, 0));
    EXPECT_EQ(target.pixel(1, 1), 0u);
    VImage same = target.copy();
    for (const Move& none : {Move{0, 0, 0, 0, 0, 5}, Move{9, 0, 0, 0, 5, 5}, Move{0, 0, 9, 0, 5, 5},
                             Move{INT_MIN, INT_MIN, INT_MAX, INT_MAX, INT_MAX, INT_MAX},
                             Move{INT_MAX, 0, INT_MIN, INT_MIN, INT_MAX, INT_MAX}})
        bitBlt(&target, none.dx, none.dy, &source, none.sx, none.sy, none.w, none.h);
    bitBlt(nullptr, 0, 0, &source);
    bitBlt(&target, 0, 0, nullptr);
    EXPECT_TRUE(target == same);
}

TEST(VImageBlit, MovesWithinAnImageAsIfTheBlockHadBeenCopiedOut)
{
    for (const Move& move :
         {Move{2, 3, 0, 0, 9, 6}, Move{0, 0, 2, 3, 9, 6}, Move{1, 0, 0, 0, 9, 9},
          Move{0, 0, 1, 0, 9, 9}, Move{0, 1, 3, 0, 9, 8}, Move{3, 4, 3, 4, 2, 2}})
        for (const bool alpha : {false, true}) {
            VImage image = noise32(12, 10, 5, alpha);
            VImage expected = image.copy();
            const VImage block = image.copy();
            bitBlt(&expected, move.dx, move.dy, &block, move.sx, move.sy, move.w, move.h);
            if (move.dx == move.sx && move.dy == move.sy)
                expected = block; // nothing is blended with itself
            bitBlt(&image, move.dx, move.dy, &image, move.sx, move.sy, move.w, move.h);
            EXPECT_EQ(digest(image), digest(expected)) << move.dx << ' ' << move.dy << ' ' << alpha;
        }
}

// Half red over blue: 0 + (255 * 128) / 256 is 127, 255 + (-255 * 128) / 256 is 128, as both round
// toward zero.
TEST(VImageBlit, BlendsByAlphaTowardZero)
{
    struct Blended {
        unsigned over, under, result;
    };
    const Blended cases[] = {
        {0xFF102030, 0x00FFFFFF, 0xFF102030}, {0x00102030, 0x12345678, 0x12345678},
        {0x80FF0000, 0xFF0000FF, 0xFF7F0080}, {0x80FF0000, 0x000000FF, 0x807F0080},
        {0x01FFFFFF, 0x00000000, 0x01000000}, {0x01000000, 0x00FFFFFF, 0x01FFFFFF},
        {0xFE00FF07, 0x20FF0009, 0xFE02FD08}, {0x7F0A0B0C, 0xC00C0B0A, 0xC00C0B0A},
        {0x55645A50, 0x55320A96, 0x5542247F},
    };
    for (const Blended& test : cases) {
        // In a run as well as at the end of one.
        VImage under(7, 1, 32), over(7, 1, 32);
        under.fill(test.under);
        over.fill(test.over);
        over.setAlphaBuffer(true);
        bitBlt(&under, 0, 0, &over);
        EXPECT_THAT(pixels(under), testing::Each(test.result)) << std::hex << test.over;
    }
}

TEST(VImageBlit, CopiesBitsBytewiseAtWholeBytes)
{
    const VImage before = noise1(37, 4, 1, VImage::BigEndian),
                 source = noise1(37, 4, 2, VImage::BigEndian);
    for (const Move& move :
         {Move{8, 1, 16, 0, 8, 3}, Move{0, 0, 0, 0, 37, 4}, Move{8, 0, 8, 0, 29, 4}}) {
        VImage target = before.copy();
        bitBlt(&target, move.dx, move.dy, &source, move.sx, move.sy, move.w, move.h);
        EXPECT_EQ(digest(target), digest(movedByPixels(before, source, move.dx, move.dy, move.sx,
                                                       move.sy, move.w, move.h)));
    }
    VImage target = before.copy();
    const VImage otherOrder = source.convertBitOrder(VImage::LittleEndian);
    bitBlt(&target, 8, 0, &otherOrder, 16, 0, 16, 4);
    EXPECT_EQ(digest(target), digest(movedByPixels(before, source, 8, 0, 16, 0, 16, 4)));
}

// The exception at the right edges frees the width alone.
TEST(VImageBlit, BringsUnalignedBitsBackBlackAndWhite)
{
    for (const Move& move : {Move{3, 0, 8, 0, 8, 1}, Move{8, 0, 3, 0, 8, 1}, Move{8, 0, 8, 0, 5, 1},
                             Move{3, 0, 3, 0, 37, 1}}) {
        VImage target(40, 1, 1, 2, VImage::LittleEndian), source(40, 1, 1, 2, VImage::LittleEndian);
        for (VImage* image : {&target, &source}) {
            image->setColor(0, 0xFF404040); // dark, where 1 is light
            image->setColor(1, 0xFFC0C0C0);
        }
        target.fill(0);
        source.fill(1);
        target.setDotsPerMeterX(5);
        const VImage handle = target;
        bitBlt(&target, move.dx, move.dy, &source, move.sx, move.sy, move.w, move.h);
        EXPECT_EQ(target.bitOrder(), VImage::BigEndian);
        EXPECT_THAT(colors(target), ElementsAre(0xFFFFFFFF, 0xFF000000));
        EXPECT_EQ(target.dotsPerMeterX(), 0);
        EXPECT_EQ(handle.color(0), 0xFF404040);
        EXPECT_EQ(handle.pixelIndex(move.dx, 0), 0);
    }
}

TEST(VImageBlit, ConvertsIntoWords)
{
    VImage target(12, 3, 32);
    target.fill(7);
    const VImage bytes = noise8(12, 3, 1, 30), bits = noise1(12, 3, 1, VImage::BigEndian);
    for (const VImage& source : {bytes, bits}) {
        const VImage expected = movedByPixels(target, source.convertDepth(32), 2, 1, 9, 0, 3, 2);
        bitBlt(&target, 2, 1, &source, 9, 0, 3, 2);
        EXPECT_TRUE(target == expected);
    }
    VImage blended(1, 1, 32);
    blended.fill(0xFF0000FF);
    const VImage half = withAlpha(picture(1, 8, {0}, {0x80FF0000}), true);
    bitBlt(&blended, 0, 0, &half);
    EXPECT_EQ(blended.pixel(0, 0), 0xFF7F0080);
}

TEST(VImageBlit, AddsColorsToATableThatLacksThem)
{
    VImage target = indexed({0, 1, 2}, {0xFF000001, 0xFF000002, 0xFF000003, 0xFF000004});
    const VImage source = picture(1, 32, {0xFF000009});
    bitBlt(&target, 1, 0, &source);
    EXPECT_THAT(colors(target),
                ElementsAre(0xFF000001, 0xFF000002, 0xFF000003, 0xFF000004, 0xFF000009));
    EXPECT_THAT(pixels(target), ElementsAre(0, 4, 2));
    const VImage bytes = indexed({0}, {0xFF000004});
    bitBlt(&target, 0, 0, &bytes, 0, 0, -1, -1, VImage::PreferDither);
    EXPECT_THAT(pixels(target), ElementsAre(3, 4, 2)); // the wish to dither isn't heard
}

TEST(VImageBlit, LeavesATargetThatCannotBeConverted)
{
    VImage::setAllocationLimit(1000);
    VImage target(20, 20, 8, 2);
    target.fill(1);
    const VImage source = noise32(2, 2, 1);
    WarningCatcher warnings;
    bitBlt(&target, 0, 0, &source);
    EXPECT_EQ(target.pixelIndex(0, 0), 1);
    EXPECT_THAT(warnings.take(), testing::SizeIs(1));
    VImage::setAllocationLimit(VImage::DefaultAllocationLimit);
}

TEST(VImagePart, IsZeroOutsideOfTheImage)
{
    const VImage words = picture(2, 32, {1, 2, 3, 4});
    EXPECT_THAT(pixels(words.copy(-1, 1, 3, 2)), ElementsAre(0, 3, 4, 0, 0, 0));
    EXPECT_THAT(pixels(words.copy(1, 0, 1, 2)), ElementsAre(2, 4));
    EXPECT_THAT(pixels(words.copy(INT_MAX, INT_MIN, 1, 1)), ElementsAre(0));
    EXPECT_TRUE(words.copy(0, 0, 0, 1).isNull());
    EXPECT_TRUE(words.copy(0, 0, 1, -1).isNull());
    WarningCatcher warnings;
    EXPECT_TRUE(words.copy(0, 0, INT_MAX, INT_MAX).isNull());
    const VImage bytes = noise8(9, 4, 1, 30).copy(3, 1, 4, 2);
    EXPECT_EQ(bytes.numColors(), 30);
    EXPECT_EQ(pixels(bytes)[5], unsigned(noise8(9, 4, 1, 30).pixelIndex(4, 2)));
}

TEST(VImagePart, CopiesAlphaInsteadOfBlending)
{
    const VImage image = withAlpha(picture(2, 32, {0x40112233, 0x00445566}), true);
    const VImage part = image.copy(-1, 0, 3, 1);
    EXPECT_TRUE(part.hasAlphaBuffer());
    EXPECT_TRUE(image.hasAlphaBuffer());
    EXPECT_THAT(pixels(part), ElementsAre(0, 0x40112233, 0x00445566));
}

// The blit into a 1-bit image from an odd place converts by way of dithered black and white.
TEST(VImagePart, OfBitsFromAnOddPlaceIsDithered)
{
    const VImage image = picture(16, 1, {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1},
                                 {0xFF000000, 0xFFFFFFFF}, VImage::LittleEndian);
    const VImage aligned = image.copy(8, 0, 8, 1);
    EXPECT_EQ(aligned.bitOrder(), VImage::LittleEndian);
    EXPECT_THAT(colors(aligned), ElementsAre(0xFF000000, 0xFFFFFFFF));
    const VImage odd = image.copy(6, 0, 4, 1);
    EXPECT_EQ(odd.bitOrder(), VImage::BigEndian);
    EXPECT_THAT(colors(odd), ElementsAre(0xFFFFFFFF, 0xFF000000));
    EXPECT_THAT(pixels(odd), ElementsAre(1, 1, 0, 0));
}
