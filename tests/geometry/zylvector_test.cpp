#include "geometryprinters.h"

#include "tools/vcolor.h"

using namespace geometry;

TEST(Vector, CrossFollowsTheRightHand)
{
    static_assert(cross(Vector3f(1, 0, 0), Vector3f(0, 1, 0)) == Vector3f(0, 0, 1));
    static_assert(cross(Vector3d(1, 2, 3), Vector3d(4, 5, 6)) == Vector3d(-3, 6, -3));
    static_assert(dot(Vector4f(1, 2, 3, 4), Vector4f(5, 6, 7, 8)) == 70);
    static_assert(sizeof(Vector2i[2]) == 16 && sizeof(Vector3f[2]) == 24);
}

TEST(Vector, NormalizeReturnsTheLengthItMeasured)
{
    Vector3f v(2, -3, 6);
    EXPECT_EQ(v.normalize(), 7);
    EXPECT_CLOSE(v, Vector3f(2 / 7.f, -3 / 7.f, 6 / 7.f), 1e-7f);
    Vector4d zero;
    EXPECT_EQ(zero.normalize(), 0);
    EXPECT_EQ(zero, Vector4d());
    EXPECT_EQ(normalize(Vector2f(-0.f, 0)), Vector2f());
}

TEST(Vector, LowAndHighTakeComponentsApart)
{
    EXPECT_EQ(lo(Vector2i(3, -4), Vector2i(-1, 7)), Vector2i(-1, -4));
    EXPECT_EQ(hi(Vector3d(3, -4, 0), Vector3d(-1, 7, 0.5)), Vector3d(3, 7, 0.5));
}

TEST(Vector, NumbersThatAnIntCannotHoldStopAtItsLimits)
{
    constexpr double huge = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Vector2i(Vector2d(2147483647.5, -2147483649.0)),
              Vector2i(2147483647, -2147483647 - 1));
    EXPECT_EQ(Vector2i(Vector2f(2147483648.f, -float(huge))),
              Vector2i(2147483647, -2147483647 - 1));
    EXPECT_EQ(Vector2i(Vector2d(std::nan(""), -1.9)), Vector2i(0, -1));
}

struct PackedColor {
    Vector4f components;
    unsigned pixel;
};
class VectorColor : public testing::TestWithParam<PackedColor>
{
};
TEST_P(VectorColor, TruncatesAndHoldsEachChannel)
{
    const Vector4f& v = GetParam().components;
    EXPECT_EQ(VColor(v).pixel(), GetParam().pixel);
    EXPECT_EQ(VColor(Vector4d(v)).pixel(), GetParam().pixel);
    EXPECT_EQ(VColor(Vector3f(v.x, v.y, v.z)).pixel(), GetParam().pixel | 0xFF000000);
}
INSTANTIATE_TEST_SUITE_P(Components, VectorColor,
                         testing::Values(PackedColor{{0, 0.5f, 1, 0.25f}, 0x3F007FFF},
                                         PackedColor{{0.999f, 0.0039f, 0.9961f, 1}, 0xFFFE00FE},
                                         PackedColor{{-0.5f, 2, 1e30f, -1e30f}, 0x0000FFFF},
                                         PackedColor{{std::nanf(""), INFINITY, -INFINITY, 0.5f},
                                                     0x7F00FF00}));

TEST(VectorColor, ComesBackAtMostOneStepDarker)
{
    for (int channel = 0; channel < 256; ++channel) {
        const VColor color(channel, 255 - channel, 128, channel);
        const VColor back = Vector4f(color);
        for (const auto part : {&VColor::red, &VColor::green, &VColor::blue, &VColor::alpha}) {
            EXPECT_LE((back.*part)(), (color.*part)());
            EXPECT_GE((back.*part)(), (color.*part)() - 1);
        }
        EXPECT_NEAR(Vector3d(color).x, channel / 255.0, 1e-7);
    }
}
