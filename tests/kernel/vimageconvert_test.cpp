#include "kernel/pictures.h"
#include "support/warnings.h"

#include <array>
#include <numeric>

using namespace pictures;
using testing::ElementsAre;

namespace
{
/// A picture and the digests of what becomes of it, by a program of its own that keeps whole lines
/// of errors.
template <int Results>
struct Converted {
    Picture source;
    std::array<unsigned, Results> digests;
};

struct Conversion {
    int depth, flags;
};

template <std::size_t Pictures, std::size_t Results>
void expectDigests(const Converted<int(Results)> (&pictures)[Pictures],
                   const Conversion (&conversions)[Results])
{
    for (std::size_t i = 0; i < Pictures; ++i)
        for (std::size_t k = 0; k < Results; ++k)
            EXPECT_EQ(digest(pictures[i].source().convertDepth(conversions[k].depth,
                                                               conversions[k].flags)),
                      pictures[i].digests[k])
                << "picture " << i << " to depth " << conversions[k].depth << " with flags "
                << conversions[k].flags;
}

/// A line of 257 pixels with that many colours, all of which the search for an index begins at one
/// place.
VImage manyColors(int colors)
{
    VImage image(257, 1, 32);
    for (int x = 0; x < 257; ++x)
        image.setPixel(x, 0, 0xFF000000 | unsigned(std::min(x, colors - 1)) * 997);
    return image;
}
} // namespace

const Conversion fromWords[] = {{1, VImage::DiffuseDither},
                                {1, VImage::OrderedDither},
                                {1, VImage::ThresholdDither},
                                {8, VImage::AutoDither},
                                {8, VImage::PreferDither | VImage::DiffuseDither},
                                {8, VImage::PreferDither | VImage::OrderedDither},
                                {8, VImage::PreferDither | VImage::ThresholdDither},
                                {8, VImage::PreferDither | VImage::OrderedAlphaDither},
                                {8, VImage::PreferDither | VImage::DiffuseAlphaDither}};
const Converted<9> words[] = {
    {[] { return noise32(37, 21, 1); },
     {0x7C9DD44B, 0xCA0DC9AA, 0x778303FA, 0x72863107, 0x72863107, 0xEC715D42, 0x833953B3,
      0x72863107, 0x72863107}},
    {[] { return noise32(37, 21, 2, true); },
     {0x06939D8B, 0xF1757C9A, 0xCE52753A, 0xB6155DF4, 0xB6155DF4, 0xF9506C7A, 0x67845EEE,
      0x832D9004, 0x0CA5C35D}},
    {[] { return ramp32(64, 33); },
     {0x74ED59BB, 0xF2B696DB, 0xD0E03B9A, 0x2112AF1A, 0x2112AF1A, 0x082151DC, 0xCF44A80B,
      0x2112AF1A, 0x2112AF1A}},
    {[] { return ramp32(40, 19, true); },
     {0xC8AAC9C4, 0x50B57F74, 0x8CE99AE4, 0x855F2863, 0x855F2863, 0x8CB41A69, 0x957E8A9D,
      0x2248A2CC, 0x2EAF1E67}},
    {[] { return noise32(1, 9, 3); },
     {0xEC487A53, 0x6A3A9D63, 0x0F5CCF53, 0x974DAAAC, 0x13045126, 0x5483055F, 0x62BB3402,
      0x13045126, 0x13045126}},
    {[] { return noise32(2, 9, 4); },
     {0x00D1E1D4, 0x5F724BD5, 0xF4E419F4, 0x023CC623, 0xC35A506A, 0x7161B7AA, 0xF6D352C0,
      0xC35A506A, 0xC35A506A}},
    {[] { return noise32(3, 9, 5, true); },
     {0xBA32F094, 0xB15836B5, 0x397CFFB4, 0x44EC8E2B, 0x065AF676, 0xB228E9B4, 0xB3EF7577,
      0xA949F40B, 0xD6E119EE}},
};
const Conversion fromIndices[] = {
    {1, VImage::DiffuseDither}, {1, VImage::OrderedDither}, {1, VImage::ThresholdDither}, {32, 0}};
const Converted<4> indices[] = {
    {[] { return noise8(35, 18, 6, 200); }, {0x62CB3F3A, 0x1EB1F8CB, 0xBF761C3B, 0x7FCF7C7F}},
    {[] { return noise8(35, 18, 7, 256, true); }, {0x7CF9671B, 0x2C66BF2B, 0xED6DBF1B, 0x1F590BEB}},
    {[] { return noise8(19, 5, 8, 3); }, {0xB6CD8E81, 0x5ECEDFB0, 0x17DC77B1, 0xD6800CC2}},
};
const Conversion fromBits[] = {{8, 0}, {32, 0}};
const Converted<2> bits[] = {
    {[] { return noise1(29, 7, 9, VImage::BigEndian); }, {0x4761744C, 0x2E6148CB}},
    {[] { return noise1(29, 7, 10, VImage::LittleEndian); }, {0xC2D50B4C, 0x72AA314B}},
};

TEST(VImageConversion, GivesTheSamePixelsAsARendering)
{
    expectDigests(words, fromWords);
    expectDigests(indices, fromIndices);
    expectDigests(bits, fromBits);
}

TEST(VImageConversion, TakesBothDitherBitsForDiffusion)
{
    const VImage image = noise32(37, 21, 1);
    EXPECT_EQ(digest(image.convertDepth(1, 0x30)), words[0].digests[0]);
    EXPECT_EQ(digest(image.convertDepth(8, 0x70)), words[0].digests[4]);
}

// Gray 100 sets the first bit and carries 7/16 of it on: 100 + 43 is 143, a clear bit with an error
// of -112, of which -49 is carried on: 51 sets the bit.
TEST(VImageConversion, CarriesErrorsAlongTheLine)
{
    const VImage image = picture(3, 32, {0x646464, 0x646464, 0x646464});
    const VImage dithered = image.convertDepth(1);
    EXPECT_THAT(pixels(dithered), ElementsAre(1, 0, 1));
    EXPECT_EQ(dithered.scanLine(0)[0], 0xA0);
    EXPECT_EQ(dithered.bitOrder(), VImage::BigEndian);
    EXPECT_THAT(colors(dithered), ElementsAre(0xFFFFFFFF, 0xFF000000));
}

TEST(VImageConversion, KeepsBlackBlackInOrderedBits)
{
    VImage black(16, 16, 32);
    black.fill(0xFF000000);
    EXPECT_THAT(pixels(black.convertDepth(1, VImage::OrderedDither)), testing::Each(1u));
    black.fill(0xFFFFFFFF);
    EXPECT_THAT(pixels(black.convertDepth(1, VImage::OrderedDither)), testing::Each(0u));
}

TEST(VImageConversion, SharesAnImageOfTheWantedDepth)
{
    const VImage image = noise8(4, 4, 1, 4);
    EXPECT_EQ(image.convertDepth(8).bits(), image.bits());
}

TEST(VImageConversion, WarnsOfWhatIsNotSupported)
{
    unsigned char bytes[4] = {};
    const VImage deep(bytes, 1, 1, 16, nullptr, 0, VImage::IgnoreEndian);
    WarningCatcher warnings;
    EXPECT_TRUE(VImage().convertDepth(8).isNull());
    EXPECT_EQ(warnings.text(), QStringLiteral("VImage::convertDepth: Image is a null image"));
    EXPECT_TRUE(noise8(2, 2, 1, 2).convertDepth(16).isNull());
    EXPECT_EQ(warnings.text(), QStringLiteral("VImage::convertDepth: Depth 16 not supported"));
    EXPECT_TRUE(deep.convertDepth(8).isNull());
    EXPECT_EQ(warnings.text(), QStringLiteral("VImage::convertDepth: Depth 8 not supported"));
}

TEST(VImageConversion, GivesColorsThatTheTableLacks)
{
    const auto fromTable = [](std::initializer_list<unsigned> table, int depth) {
        return picture(2, depth, {0, 1}, table);
    };
    EXPECT_THAT(colors(fromTable({}, 1).convertDepth(8)), ElementsAre(0xFFFFFFFF, 0xFF000000));
    EXPECT_THAT(colors(fromTable({5}, 1).convertDepth(8)), ElementsAre(5, 0xFF000000));
    EXPECT_THAT(colors(fromTable({5, 6, 7}, 1).convertDepth(8)), ElementsAre(5, 6));
    EXPECT_THAT(pixels(fromTable({}, 1).convertDepth(32)), ElementsAre(0xFFFFFFFF, 0xFFFFFFFF));
    EXPECT_THAT(pixels(fromTable({5}, 1).convertDepth(32)), ElementsAre(5, 0xFFFFFFFF));
    WarningCatcher warnings;
    EXPECT_THAT(pixels(fromTable({5}, 8).convertDepth(32)), ElementsAre(5, 0xFFFFFFFF));
    EXPECT_THAT(pixels(fromTable({0xFF000000}, 8).convertDepth(1)), ElementsAre(1, 0));
    EXPECT_TRUE(warnings.isEmpty());
}

TEST(VImageConversion, CollectsUpTo256ColorsInOrderOfFirstSight)
{
    const VImage few = picture(4, 32, {0x80000005, 0x01000003, 0x00000005, 0xFF000001});
    const VImage opaque = few.convertDepth(8);
    EXPECT_THAT(colors(opaque), ElementsAre(0xFF000005, 0xFF000003, 0xFF000001));
    EXPECT_THAT(pixels(opaque), ElementsAre(0, 1, 0, 2));
    const VImage clear = withAlpha(few.copy(), true).convertDepth(8);
    EXPECT_THAT(colors(clear), ElementsAre(0x80000005, 0x01000003, 0x00000005, 0xFF000001));
    EXPECT_TRUE(clear.hasAlphaBuffer());

    const VImage full = manyColors(256).convertDepth(8);
    EXPECT_EQ(full.numColors(), 256);
    EXPECT_EQ(full.pixelIndex(255, 0), 255);
    EXPECT_EQ(full.pixelIndex(256, 0), 255);
    EXPECT_TRUE(full.convertDepth(32) == manyColors(256));
}

TEST(VImageConversion, FallsToTheCubeAtThe257thColor)
{
    for (const VImage& cube :
         {manyColors(257).convertDepth(8), manyColors(3).convertDepth(8, VImage::PreferDither)}) {
        EXPECT_EQ(cube.numColors(), 256);
        EXPECT_EQ(cube.color(0), 0xFF000000);
        EXPECT_EQ(cube.color(1 * 36 + 2 * 6 + 3), 0xFF336699);
        EXPECT_EQ(cube.color(215), 0xFFFFFFFF);
        EXPECT_EQ(cube.color(216), 0u);
        EXPECT_EQ(cube.color(255), 0u);
    }
    EXPECT_EQ(manyColors(257).convertDepth(8, VImage::AvoidDither).color(215), 0xFFFFFFFF);
}

TEST(VImageConversion, StartsTheTableWithThePalette)
{
    const unsigned palette[] = {0x12000007, 0xFF000009, 0xFF000007};
    const VImage image = picture(3, 32, {0xFF000007, 0xFF000001, 0xFF000009});
    const VImage result = image.convertDepthWithPalette(8, palette, 3);
    EXPECT_THAT(colors(result), ElementsAre(0x12000007, 0xFF000009, 0xFF000007, 0xFF000001));
    EXPECT_THAT(pixels(result), ElementsAre(0, 3, 1));
    // With alpha whole words are found.
    const VImage clear = withAlpha(image.copy(), true).convertDepthWithPalette(8, palette, 3);
    EXPECT_THAT(pixels(clear), ElementsAre(2, 3, 1));
    EXPECT_EQ(image.convertDepthWithPalette(32, palette, 3).pixel(0, 0), 0x12000007u);
    EXPECT_THAT(
        pixels(
            picture(2, 1, {1, 0}, {0xFF000009, 0xFF000007}).convertDepthWithPalette(8, palette, 3)),
        ElementsAre(0, 1));
    EXPECT_EQ(image.convertDepthWithPalette(1, palette, 3).depth(), 1);
}

TEST(VImageConversion, DropsPaletteEntriesPast256)
{
    std::vector<unsigned> palette(300);
    std::iota(palette.begin(), palette.end(), 0xFF000000);
    WarningCatcher warnings;
    const VImage result =
        picture(2, 32, {0xFF0000FF, 0xFF000000}).convertDepthWithPalette(8, palette.data(), 300);
    EXPECT_THAT(warnings.take(), ElementsAre(QString::asprintf(
                                     "ASSERT: \"pix != 256\" in kernel/vimage (%d)", 400)));
    EXPECT_THAT(pixels(result), ElementsAre(255, 0));
    // A full palette has no place for another colour.
    EXPECT_EQ(
        picture(1, 32, {0xFF123456}).convertDepthWithPalette(8, palette.data(), 256).color(215),
        0xFFFFFFFF);
    EXPECT_TRUE(warnings.isEmpty());
}

TEST(VImageConversion, ReversesBitOrder)
{
    const VImage image = noise1(29, 7, 9, VImage::BigEndian);
    const VImage other = image.convertBitOrder(VImage::LittleEndian);
    EXPECT_EQ(other.bitOrder(), VImage::LittleEndian);
    EXPECT_NE(other.scanLine(0)[0], image.scanLine(0)[0]);
    EXPECT_EQ(digest(other), digest(image));
    const VImage same = image.convertBitOrder(VImage::BigEndian);
    EXPECT_EQ(digest(same), digest(image));
    EXPECT_NE(same.bits(), image.bits());
    EXPECT_TRUE(image.convertBitOrder(VImage::IgnoreEndian).isNull());
    EXPECT_TRUE(noise8(2, 2, 1, 2).convertBitOrder(VImage::BigEndian).isNull());
}
