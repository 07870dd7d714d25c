#include "tools/vcolor.h"
#include "tools/zyl.h"
#include "support/warnings.h"

#include <cmath>
#include <limits>

namespace
{
struct NamedColour {
    const char* name;
    quint32 pixel;
};

class ColourName : public testing::TestWithParam<NamedColour>
{
};

TEST_P(ColourName, IsReadOverAnEarlierColour)
{
    VColor color(0x12345678);
    color.setNamedColor(QString::fromUtf8(GetParam().name));
    EXPECT_EQ(color.pixel(), GetParam().pixel);
}

constexpr quint32 unchanged = 0x12345678;

INSTANTIATE_TEST_SUITE_P(
    Forms, ColourName,
    testing::Values(NamedColour{"", 0}, NamedColour{"#fff", 0xFFFFFFFF},
                    NamedColour{"#1aF", 0xFF11AAFF}, NamedColour{"#123456", 0xFF123456},
                    NamedColour{"#123456789", 0xFF124578}, NamedColour{"#123456789abc", 0xFF12569A},
                    NamedColour{"#12x", 0xFF112200}, NamedColour{"#@`g/:G", 0xFF000000},
                    NamedColour{"#\u0661\uff11"
                                "a",
                                0xFF0000AA},
                    NamedColour{"#", unchanged}, NamedColour{"#12345", unchanged},
                    NamedColour{"#123456789abcdef", unchanged}, NamedColour{"red", unchanged},
                    NamedColour{" #fff", unchanged}));

struct Hsv {
    int red, green, blue, hue, saturation, value;
};

class ColourHsv : public testing::TestWithParam<Hsv>
{
};

TEST_P(ColourHsv, IsRoundedFromTheExactQuotient)
{
    const Hsv& expected = GetParam();
    int hue, saturation, value;
    VColor(expected.red, expected.green, expected.blue).hsv(&hue, &saturation, &value);
    EXPECT_EQ(hue, expected.hue);
    EXPECT_EQ(saturation, expected.saturation);
    EXPECT_EQ(value, expected.value);
}

// The last hue of the table is 359.76, which rounds to the full circle.
INSTANTIATE_TEST_SUITE_P(
    Values, ColourHsv,
    testing::Values(Hsv{0, 0, 0, -1, 0, 0}, Hsv{77, 77, 77, -1, 0, 77},
                    Hsv{200, 100, 50, 20, 191, 200}, Hsv{10, 200, 30, 126, 242, 200},
                    Hsv{12, 34, 56, 210, 200, 56}, Hsv{1, 2, 3, 210, 170, 3},
                    Hsv{255, 0, 255, 300, 255, 255}, Hsv{255, 255, 0, 60, 255, 255},
                    Hsv{0, 255, 255, 180, 255, 255}, Hsv{128, 255, 0, 90, 255, 255},
                    Hsv{255, 0, 1, 0, 255, 255}));

struct FromHsv {
    int hue, saturation, value;
    quint32 pixel;
};

class ColourFromHsv : public testing::TestWithParam<FromHsv>
{
};

TEST_P(ColourFromHsv, FollowsTheSectors)
{
    VColor color;
    color.setHsv(GetParam().hue, GetParam().saturation, GetParam().value);
    EXPECT_EQ(color.pixel(), GetParam().pixel);
}

INSTANTIATE_TEST_SUITE_P(
    Sectors, ColourFromHsv,
    testing::Values(FromHsv{-1, 100, 50, 0xFF323232}, FromHsv{200, 0, 50, 0xFF323232},
                    FromHsv{0, 255, 255, 0xFFFF0000}, FromHsv{360, 255, 255, 0xFFFF0000},
                    FromHsv{30, 255, 255, 0xFFFF8000}, FromHsv{90, 255, 255, 0xFF80FF00},
                    FromHsv{150, 255, 255, 0xFF00FF80}, FromHsv{210, 255, 255, 0xFF0080FF},
                    FromHsv{270, 255, 255, 0xFF8000FF}, FromHsv{330, 255, 255, 0xFFFF0080},
                    FromHsv{690, 255, 255, 0xFFFF0080}, FromHsv{120, 51, 200, 0xFFA0C8A0},
                    // 2147483647 degrees are 127 beyond whole turns.
                    FromHsv{2147483647, 255, 255, 0xFF00FF1E}));
} // namespace

TEST(VColor, HsvOutOfRangeWarnsAndChangesNothing)
{
    const int bad[][3] = {{-2, 0, 0}, {0, -1, 0}, {0, 256, 0}, {0, 0, -1}, {0, 0, 256}};
    for (const auto& hsv : bad) {
        WarningCatcher warnings;
        VColor color(0x01020304);
        color.setHsv(hsv[0], hsv[1], hsv[2]);
        EXPECT_EQ(color.pixel(), 0x01020304u);
        EXPECT_EQ(warnings.text(), QLatin1String("VColor::setHsv: HSV parameters out of range"));
    }
}

TEST(VColor, LightTakesTheExcessOffTheSaturation)
{
    // Hue 20, saturation 191, value 200: at 150 percent the value passes 255 by 45.
    VColor expected;
    expected.setHsv(20, 146, 255);
    const VColor color(200, 100, 50);
    EXPECT_EQ(color.light(150), expected);
    EXPECT_EQ(color.light(std::numeric_limits<int>::max()), Zyl::white);
    EXPECT_EQ(color.light(50), color.dark(200));
    EXPECT_EQ(color.light(0), color);
    EXPECT_EQ(VColor(0x10FF0000).light(100), Zyl::red);
    EXPECT_EQ(VColor(0x10FF0000).light(-5).pixel(), 0x10FF0000u);
}

TEST(VColor, DarkDividesTheValue)
{
    EXPECT_EQ(Zyl::yellow.dark(200).pixel(), 0xFF7F7F00u);
    EXPECT_EQ(Zyl::yellow.dark(std::numeric_limits<int>::max()), Zyl::black);
    EXPECT_EQ(VColor(100, 50, 50).dark(80), VColor(100, 50, 50).light(125));
    EXPECT_EQ(VColor(0x10FF0000).dark(0).pixel(), 0x10FF0000u);
}

TEST(VColor, FloatHsvComesBackForEveryCoarseColour)
{
    const auto expectNear = [](float red, float green, float blue) {
        float hue, saturation, value, back[3];
        VColor::rgbToHsv(red, green, blue, hue, saturation, value);
        ASSERT_LT(hue, 360);
        VColor::hsvToRgb(hue, saturation, value, back[0], back[1], back[2]);
        // A hue of 360 degrees keeps about 3e-5 degrees, hence 5e-7 of a sector.
        EXPECT_NEAR(back[0], red, 1e-6);
        EXPECT_NEAR(back[1], green, 1e-6);
        EXPECT_NEAR(back[2], blue, 1e-6);
    };
    for (int i = 0; i < 11 * 11 * 11; ++i)
        expectNear(float(i / 121) / 10, float(i / 11 % 11) / 10, float(i % 11) / 10);
    expectNear(1.0f, 0.0f, 1e-9f);
    float red, green, blue;
    VColor::hsvToRgb(-90, 1, 1, red, green, blue);
    EXPECT_NEAR(red, 0.5, 1e-6);
    EXPECT_EQ(green, 0);
    EXPECT_EQ(blue, 1);
    VColor::hsvToRgb(std::nanf(""), 1, 0.25f, red, green, blue);
    EXPECT_EQ(red, 0.25f);
}

TEST(VColor, StreamsAsItsWord)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << VColor(0x12345678);
    EXPECT_EQ(bytes.toHex(), QByteArray("12345678"));
    QDataStream in(bytes);
    VColor color;
    in >> color;
    EXPECT_EQ(color.pixel(), 0x12345678u);
}

TEST(Zyl, ListsItsColoursInTheOrderOfTheirNames)
{
    const quint32 expected[] = {0x000000, 0xffffff, 0x808080, 0xa0a0a4, 0xc0c0c0, 0xff0000,
                                0x00ff00, 0x0000ff, 0x00ffff, 0xff00ff, 0xffff00, 0x800000,
                                0x008000, 0x000080, 0x008080, 0x800080, 0x808000};
    for (int i = 0; i < 17; ++i)
        EXPECT_EQ(Zyl::color[i].pixel(), 0xff000000 | expected[i]) << i;
    EXPECT_EQ(Zyl::color[11], Zyl::darkRed);
}
