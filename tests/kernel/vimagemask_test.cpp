#include "kernel/pictures.h"

using namespace pictures;
using testing::ElementsAre;

namespace
{
/// Patches of blue and one more colour, both with any alpha.
VImage patches(int w, int h)
{
    VImage image(w, h, 32);
    Numbers next(30);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            image.setPixel(x, y, next() % 3 ? 0xFF0000FF : 0x00112233);
    return image;
}

struct Masked {
    Picture source;
    unsigned threshold, ordered, diffuse;
};

const Masked masked[] = {
    {[] { return noise32(37, 21, 2, true); }, 0xE24DED7B, 0x2EDCF53A, 0xD683495A},
    {[] { return ramp32(40, 19, true); }, 0xD35AAA14, 0xBE5B76D5, 0x0279E705},
    {[] { return noise8(35, 18, 7, 256, true); }, 0x3C00885A, 0xC5946F9B, 0x302E1BFB},
};
} // namespace

TEST(VImageMask, GivesTheSameBitsAsARendering)
{
    for (const Masked& test : masked) {
        const VImage image = test.source();
        EXPECT_EQ(digest(image.createAlphaMask()), test.threshold);
        EXPECT_EQ(digest(image.createAlphaMask(VImage::OrderedAlphaDither)), test.ordered);
        EXPECT_EQ(digest(image.createAlphaMask(VImage::DiffuseAlphaDither)), test.diffuse);
        EXPECT_EQ(digest(image.createAlphaMask(1)), test.diffuse);
        EXPECT_EQ(digest(image.createAlphaMask(0x0C)), test.threshold);
    }
}

TEST(VImageMask, SetsTheBitsOfWhatIsMoreThanHalfOpaque)
{
    const VImage words = withAlpha(picture(4, 32, {0, 0x7F000000, 0x80000000, 0xFF000000}), true);
    EXPECT_THAT(pixels(words.createAlphaMask()), ElementsAre(0, 0, 1, 1));
    const VImage bytes =
        withAlpha(picture(3, 8, {0, 1, 9}, {0x7F000000, 0x80000000}), true); // 9 is opaque white
    EXPECT_THAT(pixels(bytes.createAlphaMask()), ElementsAre(0, 1, 1));
    const VImage bits = withAlpha(picture(2, 1, {0, 1}, {0x7F000000, 0x80000000}), true);
    EXPECT_THAT(pixels(bits.createAlphaMask()), ElementsAre(0, 1));
    EXPECT_TRUE(noise32(2, 2, 1).createAlphaMask().isNull());
    EXPECT_TRUE(withAlpha(VImage(), true).createAlphaMask().isNull());
}

// Nine pixels: the mask has a second byte of one bit, whose rest must not write past the line.
TEST(VImageMask, GivesClearPixelsAnEntryOfTheirOwnInTheCube)
{
    VImage image(9, 1, 32);
    image.fill(0xFFFF0000);
    image.setPixel(8, 0, 0x00FF0000);
    image.setPixel(1, 0, 0x10FF0000);
    image.setAlphaBuffer(true);
    const VImage cube = image.convertDepth(8, VImage::PreferDither);
    EXPECT_THAT(pixels(cube), ElementsAre(180, 216, 180, 180, 180, 180, 180, 180, 216));
    EXPECT_EQ(cube.color(216), 0u);
    EXPECT_EQ(cube.scanLine(0)[9], 0);
}

TEST(VImageMask, FindsTheSameBackgroundAsManyPasses)
{
    struct Case {
        int w, h;
        bool tight;
        unsigned digest;
    };
    const Case cases[] = {
        {23, 17, true, 0x377333F1}, {23, 17, false, 0xA9A726E0}, {40, 3, true, 0x442C7AD4},
        {40, 3, false, 0x8E2930D4}, {1, 5, true, 0x956E94EF},    {1, 5, false, 0x9D9573DF},
        {2, 2, true, 0x6985FC4B},   {2, 2, false, 0x08B6EA3B},
    };
    for (const Case& test : cases)
        EXPECT_EQ(digest(patches(test.w, test.h).createHeuristicMask(test.tight)), test.digest)
            << test.w << " x " << test.h << (test.tight ? " tight" : "");
}

TEST(VImageMask, LeavesBackgroundThatIsShutIn)
{
    // A ring of 1 on 0: the pixel inside stays, the corners of the loose mask don't.
    const VImage ring = picture(5, 8, {0, 0, 0, 0, 0, //
                                       0, 1, 1, 1, 0, //
                                       0, 1, 0, 1, 0, //
                                       0, 1, 1, 1, 0, //
                                       0, 0, 0, 0, 0},
                                {0xFFFFFFFF, 0xFF000000});
    const VImage tight = ring.createHeuristicMask();
    EXPECT_THAT(pixels(tight), ElementsAre(0, 0, 0, 0, 0, //
                                           0, 1, 1, 1, 0, //
                                           0, 1, 1, 1, 0, //
                                           0, 1, 1, 1, 0, //
                                           0, 0, 0, 0, 0));
    EXPECT_THAT(pixels(ring.createHeuristicMask(false)), ElementsAre(0, 1, 1, 1, 0, //
                                                                     1, 1, 1, 1, 1, //
                                                                     1, 1, 1, 1, 1, //
                                                                     1, 1, 1, 1, 1, //
                                                                     0, 1, 1, 1, 0));
    EXPECT_EQ(tight.bitOrder(), VImage::LittleEndian);
    EXPECT_THAT(colors(tight), ElementsAre(0x00FFFFFF, 0));
    VImage plain(4, 4, 8, 1);
    plain.fill(0);
    EXPECT_THAT(pixels(plain.createHeuristicMask()), testing::Each(0u));
}

TEST(VImageMask, TakesTheBackgroundFromTheCorners)
{
    struct Case {
        std::vector<unsigned> corners; // top left, top right, bottom left, bottom right
        std::vector<unsigned> mask;
    };
    const Case cases[] = {
        {{1, 2, 3, 1}, {0, 1, 1, 0}}, {{1, 2, 1, 2}, {0, 1, 0, 1}}, {{1, 2, 2, 3}, {1, 0, 0, 1}},
        {{1, 2, 3, 2}, {1, 0, 1, 0}}, {{1, 2, 3, 3}, {1, 1, 0, 0}}, {{1, 2, 3, 4}, {1, 0, 1, 1}},
    };
    for (const Case& test : cases) {
        VImage image(2, 2, 32);
        for (int i = 0; i < 4; ++i) // the top byte doesn't count
            image.setPixel(i % 2, i / 2, test.corners[std::size_t(i)] | unsigned(i) << 24);
        EXPECT_EQ(pixels(image.createHeuristicMask()), test.mask);
    }
}
