#include "kernel/vimage.h"

#include "kernel/pictures.h"
#include "kernel/vpixmap.h"
#include "kernel/vx11.h"
#include "support/warnings.h"

#include <climits>
#include <functional>

using namespace pictures;
using testing::ElementsAre;

namespace
{
struct Kind {
    const char* name;
    int w, h, depth, colors;
    VImage::Endian order;
    const char* warning; // null where the image is made
};

class VImageCreate : public testing::TestWithParam<Kind>
{
};

constexpr VImage::Endian none = VImage::IgnoreEndian;

const Kind refused[] = {
    {"width", 0, 1, 8, 0, none, ""},
    {"height", 1, 0, 8, 0, none, ""},
    {"negative", -5, -5, 32, 0, none, ""},
    {"colors", 1, 1, 8, -1, none, ""},
    {"depth0", 1, 1, 0, 0, none, ""},
    {"depth16", 1, 1, 16, 0, none, ""},
    {"depth24", 1, 1, 24, 0, none,
     "VImage::create: 24-bpp images no longer supported, use 32-bpp instead"},
    {"bits", 8, 8, 1, 2, none, "VImage::create: Bit order is required for 1 bpp images"},
    {"widest", INT_MAX, 1, 32, 0, none, ""},
    {"widest8", INT_MAX, 2, 8, 0, none, ""},
    {"highest", 1, INT_MAX, 32, 0, none, ""},
    {"both", INT_MAX, INT_MAX, 1, 2, VImage::BigEndian, ""},
    {"limit", 20000, 20000, 32, 0, none,
     "VImage::create: 20000 x 20000 pixels of 32 bits are above the limit of 1073741824 bytes"},
};

} // namespace

TEST_P(VImageCreate, RefusesWhatItCannotHold)
{
    const Kind& kind = GetParam();
    WarningCatcher warnings;
    VImage image(4, 4, 8, 7);
    EXPECT_FALSE(image.create(kind.w, kind.h, kind.depth, kind.colors, kind.order));
    EXPECT_EQ(warnings.text(), QLatin1String(kind.warning));
    EXPECT_TRUE(image.isNull());
    EXPECT_EQ(image.width() + image.height() + image.depth() + image.numColors(), 0);
}
INSTANTIATE_TEST_SUITE_P(Kinds, VImageCreate, testing::ValuesIn(refused),
                         [](const auto& test) { return test.param.name; });

TEST(VImage, FillsWordsWithItsLinesAndClearsWhatIsLeft)
{
    struct Line {
        int w, depth, bytes, cleared;
    };
    // Of a 1-bit line all but the whole bytes is cleared.
    for (const Line& line :
         {Line{1, 1, 4, 0}, Line{33, 1, 8, 4}, Line{5, 8, 8, 5}, Line{3, 32, 12, 12}}) {
        VImage image(line.w, 3, line.depth, 2, VImage::LittleEndian);
        ASSERT_EQ(image.bytesPerLine(), line.bytes);
        EXPECT_EQ(image.numBytes(), 3 * line.bytes);
        for (int y = 0; y < 3; ++y) {
            EXPECT_EQ(image.scanLine(y), image.bits() + y * line.bytes);
            for (int i = line.cleared; i < line.bytes; ++i)
                EXPECT_EQ(image.scanLine(y)[i], 0);
        }
    }
}

TEST(VImage, NeedsABitOrderForBitsOnlyAndColorsForTablesOnly)
{
    EXPECT_EQ(VImage(1, 1, 8, 3, VImage::BigEndian).bitOrder(), VImage::IgnoreEndian);
    EXPECT_EQ(VImage(1, 1, 32, 3).numColors(), 0);
    EXPECT_EQ(VImage(VSize(2, 3), 1, 2, VImage::LittleEndian).bitOrder(), VImage::LittleEndian);
}

TEST(VImage, AllocatesUpToTheLimitThatIsSet)
{
    VImage::setAllocationLimit(400);
    WarningCatcher warnings;
    EXPECT_FALSE(VImage(10, 10, 32).isNull());
    EXPECT_TRUE(VImage(10, 11, 32).isNull());
    EXPECT_FALSE(VImage::checkAllocation(INT64_MAX, INT64_MAX, 32));
    VImage::setAllocationLimit(0);
    EXPECT_TRUE(VImage::checkAllocation(INT64_MAX, INT64_MAX, 32));
    VImage::setAllocationLimit(VImage::DefaultAllocationLimit);
    EXPECT_THAT(warnings.take(), testing::SizeIs(2));
}

TEST(VImage, SharesChangesUntilDetached)
{
    VImage image = picture(2, 8, {0, 1}, {5, 6});
    VImage copy = image, other = image;
    other.detach();
    image.setPixel(0, 0, 1);
    image.setNumColors(3);
    EXPECT_EQ(copy.pixelIndex(0, 0), 1);
    EXPECT_EQ(copy.numColors(), 3);
    EXPECT_EQ(other.pixelIndex(0, 0), 0);
    image.create(7, 7, 32);
    EXPECT_EQ(copy.width(), 7);
    image.reset();
    EXPECT_TRUE(copy.isNull());
    EXPECT_EQ(other.numColors(), 2);
    image = other;
    EXPECT_EQ(image.bits(), other.bits());
}

TEST(VImage, CopiesAllThatBelongsToIt)
{
    VImage image = noise8(5, 3, 1, 9, true);
    image.setDotsPerMeterX(11);
    image.setDotsPerMeterY(12);
    image.setOffset(geometry::Vector2i(-3, 4));
    image.setText("key", "en", QStringLiteral("value"));
    const auto expectSame = [&image](const VImage& copy) {
        EXPECT_EQ(copy.dotsPerMeterX(), 11);
        EXPECT_EQ(copy.dotsPerMeterY(), 12);
        EXPECT_EQ(copy.offset(), geometry::Vector2i(-3, 4));
        EXPECT_EQ(copy.text("key", "en"), QStringLiteral("value"));
        EXPECT_TRUE(copy.hasAlphaBuffer());
    };
    VImage copy = image.copy();
    expectSame(copy);
    EXPECT_EQ(digest(copy), digest(image));
    copy.setText("key", "en", QString());
    copy.setColor(0, 1);
    expectSame(image);
    EXPECT_NE(image.color(0), 1u);
    expectSame(image.mirror());
    expectSame(image.swapRGB());
    // Conversions and parts take the pixels only.
    EXPECT_EQ(image.convertDepth(32).dotsPerMeterX(), 0);
    EXPECT_EQ(image.copy(0, 0, 2, 2).textKeys(), QStringList());
}

TEST(VImage, KeepsTheSizeOfAHeaderWithoutPixels)
{
    VImage header(nullptr, 30, 20, 8, nullptr, 256, VImage::IgnoreEndian);
    header.setDotsPerMeterX(7);
    header.setText("key", nullptr, QStringLiteral("value"));
    const VImage copy = header.copy();
    EXPECT_TRUE(copy.isNull());
    EXPECT_EQ(copy.size(), VSize(30, 20));
    EXPECT_EQ(copy.numColors(), 256);
    EXPECT_EQ(copy.dotsPerMeterX(), 7);
    EXPECT_EQ(copy.text("key"), QStringLiteral("value"));

    WarningCatcher warnings;
    header.fill(1);
    header.invertPixels();
    header.setPixel(3, 3, 1);
    EXPECT_EQ(header.pixel(3, 3), 12345u);
    EXPECT_EQ(header.pixelIndex(3, 3), -12345);
    EXPECT_EQ(header.scanLine(0), nullptr);
    EXPECT_EQ(header.bits(), nullptr);
    EXPECT_TRUE(header.createHeuristicMask().isNull());
    EXPECT_TRUE(header.mirror(true, true).isNull());
    EXPECT_TRUE(header.swapRGB().isNull());
    EXPECT_TRUE(header.copy(0, 0, 5, 5).isNull());
    EXPECT_TRUE(header.convertBitOrder(VImage::BigEndian).isNull());
    EXPECT_TRUE(header.convertDepthWithPalette(8, nullptr, 0).isNull());
    EXPECT_TRUE(header.allGray());
    EXPECT_FALSE(header.isGrayscale());
    EXPECT_TRUE(header == VImage());
    EXPECT_FALSE(header == VImage(30, 20, 8));
    bitBlt(&header, 0, 0, &header, 1, 1);
    EXPECT_TRUE(warnings.isEmpty());
    EXPECT_TRUE(header.convertDepth(32).isNull());
    EXPECT_EQ(warnings.text(), QStringLiteral("VImage::convertDepth: Image is a null image"));
    EXPECT_EQ(header.color(0), 0xFFFFFFFF);
    EXPECT_EQ(warnings.text(), QStringLiteral("VImage::color: Index 0 out of range"));
}

TEST(VImage, WorksOnPixelsThatTheCallerKeeps)
{
    unsigned char bytes[] = {9, 1, 0, 1, 0, 1, 1, 0, 0}; // two lines of three, at an odd address
    unsigned int table[] = {0xFF102030, 0xFF405060};
    {
        VImage image(bytes + 1, 3, 2, 8, table, 2, VImage::IgnoreEndian);
        EXPECT_THAT(pixels(image), ElementsAre(1, 0, 1, 1, 1, 0));
        EXPECT_EQ(image.pixel(1, 0), 0xFF102030);
        image.setPixel(1, 0, 1);
        image.setColor(1, 0xFF778899);
        EXPECT_EQ(image.convertDepth(32).pixel(1, 0), 0xFF778899);
        image.setNumColors(3); // the caller's entries stay behind
        EXPECT_THAT(colors(image), ElementsAre(0, 0, 0));
    }
    EXPECT_EQ(bytes[2], 1);
    EXPECT_EQ(table[1], 0xFF778899);

    alignas(4) unsigned char words[] = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    const VImage odd(words + 1, 2, 1, 32, nullptr, 5, VImage::IgnoreEndian);
    EXPECT_EQ(odd.numColors(), 0);
    EXPECT_THAT(pixels(odd.mirror(true, false)), ElementsAre(0x08070605, 0x04030201));
    EXPECT_THAT(pixels(odd.convertDepth(8)), ElementsAre(0, 1));

    unsigned char bits[] = {0x05, 0, 0, 0};
    const VImage own(bits, 3, 1, 1, nullptr, 2, VImage::LittleEndian);
    EXPECT_THAT(colors(own), ElementsAre(0, 0));
    EXPECT_THAT(pixels(own), ElementsAre(1, 0, 1));

    for (const VSize size : {VSize(0, 1), VSize(1, 0), VSize(INT_MAX, 1), VSize(INT_MAX / 8, 50)})
        EXPECT_TRUE(VImage(bits, size.width(), size.height(), 8, nullptr, 0, none).isNull());
    EXPECT_EQ(VImage(bits, 1, 1, 0, nullptr, 0, none).width(), 0);
    EXPECT_EQ(VImage(bits, 1, 1, 8, nullptr, -1, none).width(), 0);
}

TEST(VImage, LengthensItsTableWithZeros)
{
    VImage image = picture(1, 8, {0}, {1, 2, 3});
    image.setNumColors(2);
    image.setNumColors(4);
    EXPECT_THAT(colors(image), ElementsAre(1, 2, 0, 0));
    image.setNumColors(-1);
    EXPECT_EQ(image.numColors(), 4);
    image.setNumColors(0);
    EXPECT_EQ(image.colorTable(), nullptr);
}

TEST(VImage, WarnsOfPlacesThatAreNotThere)
{
    VImage image = picture(2, 8, {0, 3}, {0xFF000001, 0xFF000002});
    const VImage words = picture(1, 32, {0xFF00FF00});
    const auto unsignedIndex = [](int index) { return unsigned(index); };
    struct Case {
        std::function<unsigned()> access;
        unsigned result;
        const char* warning;
    };
    const Case cases[] = {
        {[&] { return image.pixel(2, 0); }, 12345, "VImage::pixel: x=2 out of range"},
        {[&] { return image.pixel(-1, 0); }, 12345, "VImage::pixel: x=-1 out of range"},
        {[&] { return image.pixel(0, 1); }, 12345, "VImage::scanLine: Index 1 out of range"},
        {[&] { return image.pixel(0, -1); }, 12345, "VImage::scanLine: Index -1 out of range"},
        {[&] { return image.pixel(1, 0); }, 0xFFFFFFFF, "VImage::color: Index 3 out of range"},
        {[&] { return unsignedIndex(image.pixelIndex(2, 0)); }, unsigned(-12345),
         "VImage::pixel: x=2 out of range"},
        {[&] { return unsignedIndex(image.pixelIndex(0, 9)); }, unsigned(-12345),
         "VImage::scanLine: Index 9 out of range"},
        {[&] { return unsignedIndex(words.pixelIndex(0, 0)); }, 0,
         "VImage::pixelIndex: Not applicable for 32-bpp images (no palette)"},
        {[&] { return image.color(2); }, 0xFFFFFFFF, "VImage::color: Index 2 out of range"},
        {[&] { return image.color(-1); }, 0xFFFFFFFF, "VImage::color: Index -1 out of range"},
        {[&] { return image.setColor(2, 0), 0u; }, 0, "VImage::setColor: Index 2 out of range"},
        {[&] { return image.setPixel(2, 0, 0), 0u; }, 0, "VImage::setPixel: x=2 out of range"},
        {[&] { return image.setPixel(0, 1, 0), 0u; }, 0, "VImage::scanLine: Index 1 out of range"},
        {[&] { return image.setPixel(0, 0, 3), 0u; }, 0, "VImage::setPixel: index=3 out of range"},
    };
    for (const Case& test : cases) {
        WarningCatcher warnings;
        EXPECT_EQ(test.access(), test.result);
        EXPECT_EQ(warnings.text(), QLatin1String(test.warning));
    }
    EXPECT_THAT(pixels(image), ElementsAre(0, 3));
}

TEST(VImage, LetsThroughTheIndexOnePastTheTable)
{
    WarningCatcher warnings;
    VImage image = picture(1, 8, {0}, {1, 2});
    image.setPixel(0, 0, 2);
    EXPECT_EQ(image.pixelIndex(0, 0), 2);
    EXPECT_TRUE(warnings.isEmpty());
}

TEST(VImage, CountsBitsFromTheEndThatItsOrderSays)
{
    for (const VImage::Endian order : {VImage::BigEndian, VImage::LittleEndian}) {
        VImage image = picture(10, 1, {1, 0, 0, 0, 0, 0, 0, 0, 0, 1}, {7, 8}, order);
        EXPECT_EQ(image.scanLine(0)[0], order == VImage::BigEndian ? 0x80 : 0x01);
        EXPECT_EQ(image.scanLine(0)[1], order == VImage::BigEndian ? 0x40 : 0x02);
        EXPECT_EQ(image.pixel(9, 0), 8u);
        image.setPixel(0, 0, 0);
        EXPECT_EQ(image.pixelIndex(0, 0), 0);
        WarningCatcher warnings;
        image.setPixel(0, 0, 2);
        EXPECT_EQ(warnings.text(), QStringLiteral("VImage::setPixel: index=2 out of range"));
    }
}

TEST(VImage, FillsPaddingTooAndSparesAlpha)
{
    VImage bits(3, 2, 1, 2, VImage::BigEndian);
    bits.fill(3);
    EXPECT_EQ(bits.scanLine(1)[3], 0xFF);
    bits.fill(2);
    EXPECT_EQ(bits.scanLine(0)[0], 0);
    VImage bytes(3, 1, 8);
    bytes.fill(0x1234);
    EXPECT_EQ(bytes.scanLine(0)[3], 0x34);
    VImage words = picture(2, 32, {0x11223344, 0x55667788});
    words.setAlphaBuffer(true);
    words.fill(0xAABBCCDD);
    EXPECT_THAT(pixels(words), ElementsAre(0x11BBCCDD, 0x55BBCCDD));
    words.setAlphaBuffer(false);
    words.fill(0xAABBCCDD);
    EXPECT_THAT(pixels(words), ElementsAre(0xAABBCCDD, 0xAABBCCDD));
}

TEST(VImage, InvertsBitsButForAlphaIfWanted)
{
    VImage words = picture(1, 32, {0x11223344});
    words.invertPixels(true);
    EXPECT_EQ(words.pixel(0, 0), 0x11DDCCBB);
    words.invertPixels(false);
    EXPECT_EQ(words.pixel(0, 0), 0xEE223344);
    VImage bytes = picture(2, 8, {0x12, 0xFE});
    bytes.invertPixels(true);
    EXPECT_THAT(pixels(bytes), ElementsAre(0xED, 0x01));
}

TEST(VImage, KnowsGrayFromGrayscale)
{
    struct Case {
        VImage image;
        bool allGray, grayscale;
    };
    VImage levels(1, 1, 8, 256), reversed(1, 1, 8, 256);
    for (int i = 0; i < 256; ++i) {
        levels.setColor(i, 0xFF000000 | unsigned(i) * 0x010101);
        reversed.setColor(255 - i, 0xFF000000 | unsigned(i) * 0x010101);
    }
    const Case cases[] = {
        {levels, true, true},
        {reversed, true, false},
        {picture(1, 8, {0}), true, true},
        {picture(1, 8, {0}, {0xFF000000, 0xFF010102}), false, false},
        {picture(1, 1, {0}, {0xFF000000, 0xFFFFFFFF}), true, false},
        {picture(2, 32, {0x00777777, 0xFF010101}), true, true},
        {picture(2, 32, {0xFF777777, 0xFF010201}), false, false},
        {picture(2, 32, {0xFF777777, 0xFF020101}), false, false},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(test.image.allGray(), test.allGray);
        EXPECT_EQ(test.image.isGrayscale(), test.grayscale);
    }
}

TEST(VImage, ComparesWhatIsSeen)
{
    const VImage image = picture(2, 8, {0, 1}, {0xFF000000, 0xFF112233});
    EXPECT_TRUE(image == picture(2, 8, {1, 0}, {0xFF112233, 0xFF000000}));
    EXPECT_TRUE(image == picture(2, 32, {0xFF000000, 0xFF112233}));
    EXPECT_TRUE(image != picture(2, 32, {0x00000000, 0xFF112233})); // alpha counts, used or not
    EXPECT_TRUE(image != picture(1, 32, {0xFF000000, 0xFF112233}));
    WarningCatcher warnings;
    EXPECT_TRUE(VImage() == VImage());
    EXPECT_TRUE(image != VImage());
    EXPECT_TRUE(warnings.isEmpty());
}

TEST(VImage, FilesTextsUnderKeyAndLanguage)
{
    VImage image(1, 1, 8);
    EXPECT_EQ(image.textKeys(), QStringList());
    image.setText("b", "en", QStringLiteral("1"));
    image.setText("a", "fr", QStringLiteral("2"));
    image.setText("b", nullptr, QStringLiteral("3"));
    image.setText("a", "en", QStringLiteral("4"));
    image.setText("b", "en", QStringLiteral("5"));
    EXPECT_EQ(image.text("b", "en"), QStringLiteral("5"));
    EXPECT_EQ(image.text("b", ""), QStringLiteral("3"));
    EXPECT_EQ(image.text("c"), QString());
    EXPECT_EQ(image.text(VImageTextKeyLang("a", "fr")), QStringLiteral("2"));
    // Sorted: (a, en), (a, fr), (b, ), (b, en); each name stands where it comes last.
    EXPECT_EQ(image.textKeys(), QStringList({QStringLiteral("a"), QStringLiteral("b")}));
    EXPECT_EQ(image.textLanguages(), QStringList({QStringLiteral("fr"), QString(QLatin1String("")),
                                                  QStringLiteral("en")}));
    std::vector<VImageTextKeyLang> list;
    for (const VImageTextKeyLang& entry : image.textList())
        list.push_back(entry);
    EXPECT_THAT(list, ElementsAre(VImageTextKeyLang("a", "en"), VImageTextKeyLang("a", "fr"),
                                  VImageTextKeyLang("b", ""), VImageTextKeyLang("b", "en")));
}

TEST(VImage, AsksTheDisplayForItsBitOrder)
{
    struct Server : VX11 {
        int order = 0;
        int bitmapBitOrder() override { return order; }
    } server;
    VX11* const before = VX11::setSubstitute(&server);
    EXPECT_EQ(VImage::systemBitOrder(), VImage::LittleEndian);
    server.order = 1;
    EXPECT_EQ(VImage::systemBitOrder(), VImage::BigEndian);
    VX11::setSubstitute(before);
    const unsigned one = 1;
    EXPECT_EQ(VImage::systemByteOrder(), reinterpret_cast<const unsigned char&>(one)
                                             ? VImage::LittleEndian
                                             : VImage::BigEndian);
    EXPECT_TRUE(VImage::fromMimeSource(QStringLiteral("picture.png")).isNull());
}

TEST(VImage, PassesThroughAPixmap)
{
    const VImage image = noise32(3, 3, 1);
    const VPixmap pixmap = image;
    VImage back;
    back = pixmap;
    EXPECT_TRUE(back == image);
    const VImage converted = pixmap;
    EXPECT_EQ(converted.bits(), image.bits());
}

TEST(VImage, ReversesBitsByTable)
{
    const unsigned char* flipped = zyl_get_bitflip_array();
    EXPECT_EQ(flipped[0x01], 0x80);
    EXPECT_EQ(flipped[0xB0], 0x0D);
    EXPECT_EQ(flipped[0xFF], 0xFF);
}
