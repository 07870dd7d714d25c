#include "kernel/pictures.h"
#include "support/warnings.h"

#include <array>

using namespace pictures;
using testing::ElementsAre;

namespace
{
const VSize sizes[] = {{10, 7},   {18, 10}, {37, 10}, {64, 5},  {64, 66},
                       {100, 33}, {90, 50}, {1, 1},   {41, 19}, {3, 200}};
struct Scaled {
    Picture source;
    std::array<unsigned, 10>
        digests; // in the sizes above, by a program that scales columns, then rows
};
struct ScaledOnce {
    Picture source;
    int w, h;
    unsigned digest;
};

const Scaled scaled[] = {
    {[] { return noise32(37, 21, 1); },
     {0x5EC770A5, 0x8F42E459, 0x0DE247C9, 0xD1CB8F4B, 0x0FFD3DF1, 0x300CA133, 0x25FFFAE9,
      0x2E70BCCC, 0x794220C2, 0xD0A363F8}},
    {[] { return ramp32(64, 33); },
     {0xCCFA9478, 0xC5440AF7, 0x31C40C5D, 0x5C224656, 0x558A67BF, 0x2555728F, 0xFFE5DB55,
      0x59F80026, 0x83624063, 0x1992CEEB}},
    {[] { return noise32(37, 21, 2, true); },
     {0xD6950DCA, 0x6844069B, 0x785EC6D6, 0xEB257948, 0xEB76ADDE, 0x929775F5, 0x99D994E8,
      0xF2F04980, 0x92D6B4ED, 0xB3EFCCD2}},
    {[] { return ramp32(40, 19, true); },
     {0xF728810C, 0x496AB67E, 0x48BF9DFE, 0x4A57F0D9, 0x789AA708, 0x0F1BA923, 0xB76E6028,
      0x5AEC81B2, 0x679DAC98, 0xF089F73D}},
};
// Wider than the base of the weights, with a base that is no power of two, and with steps cut to 1.
const ScaledOnce extreme[] = {
    {[] { return noise32(4100, 3, 11); }, 1000, 2, 0xE6BC0901},
    {[] { return noise32(3000, 2, 12, true); }, 777, 5, 0x8C365A05},
    {[] { return noise32(2, 9000, 13); }, 3, 2, 0x32D293DC},
    {[] { return noise32(2, 9000, 13, true); }, 3, 1, 0xD6B35A05},
};
} // namespace

TEST(VImageSmoothScale, GivesTheSamePixelsAsARendering)
{
    for (const Scaled& test : scaled)
        for (std::size_t i = 0; i < std::size(sizes); ++i)
            EXPECT_EQ(digest(test.source().smoothScale(sizes[i])), test.digests[i])
                << "to " << sizes[i].width() << " x " << sizes[i].height();
    for (const ScaledOnce& test : extreme)
        EXPECT_EQ(digest(test.source().smoothScale(test.w, test.h)), test.digest);
}

TEST(VImageSmoothScale, RoundsAveragesOfOpaquePixelsToTheNearest)
{
    const VImage image = picture(4, 32, {0x00000000, 0x00FF0201, 0x000A0A0A, 0x000B0B0B});
    EXPECT_THAT(pixels(image.smoothScale(2, 1)), ElementsAre(0xFF800101, 0xFF0B0B0B));
    EXPECT_THAT(pixels(image.smoothScale(8, 1)),
                ElementsAre(0xFF000000, 0xFF000000, 0xFFFF0201, 0xFFFF0201, 0xFF0A0A0A, 0xFF0A0A0A,
                            0xFF0B0B0B, 0xFF0B0B0B));
    // The second line comes from the only one there is, and opaque without a step of its own.
    EXPECT_THAT(pixels(image.copy(2, 0, 2, 1).smoothScale(2, 2)),
                ElementsAre(0xFF0A0A0A, 0xFF0B0B0B, 0xFF0A0A0A, 0xFF0B0B0B));
}

TEST(VImageSmoothScale, WeighsColorsByAlphaAndLeavesWhiteWhereAllIsClear)
{
    const VImage clear =
        withAlpha(picture(4, 32, {0x00123456, 0x00654321, 0xFF0000C8, 0x00C80000}), true);
    const VImage half = clear.smoothScale(2, 1);
    EXPECT_TRUE(half.hasAlphaBuffer());
    EXPECT_EQ(half.pixel(0, 0), 0x00FFFFFFu);
    // Half of 255 and a rounding half: 128. The clear red has no weight; the sums start at half a
    // pixel of white.
    EXPECT_EQ(half.pixel(1, 0), 0x800000C8);
}

TEST(VImageSmoothScale, KeepsGrayTablesAtEightBits)
{
    const VImage gray = picture(2, 8, {0, 1}, {0xFF101010, 0xFF303030});
    const VImage scaledGray = gray.smoothScale(1, 1);
    EXPECT_EQ(scaledGray.depth(), 8);
    EXPECT_EQ(scaledGray.pixel(0, 0), 0xFF202020);
    EXPECT_EQ(withAlpha(gray.copy(), true).smoothScale(1, 1).depth(), 32);
    EXPECT_EQ(picture(2, 8, {0, 1}, {0xFF101010, 0xFF303031}).smoothScale(1, 1).depth(), 32);
    EXPECT_EQ(noise1(9, 9, 1, VImage::BigEndian).smoothScale(3, 3).depth(), 8);
}

TEST(VImageSmoothScale, IsNullForNoSizeAndCopiesForItsOwn)
{
    WarningCatcher warnings;
    const VImage image = noise32(6, 4, 1);
    for (const VSize& size : {VSize(0, 3), VSize(3, 0), VSize(-1, 3), VSize(20000, 20000)})
        EXPECT_TRUE(image.smoothScale(size).isNull());
    EXPECT_THAT(warnings.take(), testing::SizeIs(1)); // of the last, above the limit
    EXPECT_TRUE(image.smoothScale(6, 4) == image);
    EXPECT_EQ(image.smoothScale(3, 9, VImage::ScaleMin).size(), VSize(3, 2));
    EXPECT_EQ(image.smoothScale(3, 9, VImage::ScaleMax).size(), VSize(13, 9));
    EXPECT_TRUE(VImage().smoothScale(1, 1).isNull());
    EXPECT_EQ(warnings.text(), QStringLiteral("VImage::smoothScale: Image is a null image"));
}
