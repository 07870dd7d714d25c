#include "kernel/vimageio.h"

#include "kernel/vglobal.h"
#include "kernel/vimage.h"
#include "kernel/vpngimage.h"
#include "support/text.h"
#include "support/warnings.h"
#include "tools/postroutines.h"

#include <qfile.h>
#include <qtemporarydir.h>

namespace
{
QByteArray little(quint64 value, int bytes)
{
    QByteArray text;
    for (int i = 0; i < bytes; ++i)
        text.append(char(value >> (8 * i)));
    return text;
}

struct Bmp {
    int width = 2;
    int height = 1;
    int bits = 24;
    int compression = 0;
    QByteArray behind; // palette, masks and pixels
    int clrUsed = 0;
    int offset = 0;

    QByteArray bytes() const
    {
        return "BM" + little(0, 8) + little(unsigned(offset), 4) + little(40, 4) +
               little(unsigned(width), 4) + little(unsigned(height), 4) + little(1, 2) +
               little(unsigned(bits), 2) + little(unsigned(compression), 4) + little(0, 4) +
               little(2000, 4) + little(3000, 4) + little(unsigned(clrUsed), 4) + little(0, 4) +
               behind;
    }
};

QByteArray hex(const char* digits)
{
    return QByteArray::fromHex(digits);
}

bool load(VImage& image, const QByteArray& bytes, const char* format = nullptr)
{
    return image.loadFromData(reinterpret_cast<const unsigned char*>(bytes.constData()),
                              unsigned(bytes.size()), format);
}

QByteArray saved(const VImage& image, const char* format, int quality = -1)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    VImageIO io(&buffer, format);
    return image.doImageIO(&io, quality) ? bytes : QByteArray();
}

/// Every pixel as a word or, below 32 bits, as an index, line by line.
std::vector<unsigned> pixels(const VImage& image)
{
    std::vector<unsigned> values;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            values.push_back(image.depth() == 32 ? image.pixel(x, y)
                                                 : unsigned(image.pixelIndex(x, y)));
    return values;
}

using Values = std::vector<unsigned>;

struct Sample {
    const char* name;
    QByteArray bytes;
    const char* format;
    Values pixels; // empty: the file is refused
    int depth = 0;
};

class ImageFile : public testing::TestWithParam<Sample>
{
};

std::vector<Sample> bmpSamples()
{
    const QByteArray two = hex("00000000ffffff00");
    const QByteArray four = hex("00000000112233004455660077889900");
    const auto make = [](int width, int height, int bits, int compression, const QByteArray& behind,
                         int used = 0, int offset = 0) {
        return Bmp{width, height, bits, compression, behind, used, offset}.bytes();
    };
    const QByteArray masks565 = little(0xF800, 4) + little(0x07E0, 4) + little(0x1F, 4);
    return {
        {"24 bits",
         make(2, 2, 24, 0, hex("0000ff00ff000000ff0000ffffff0000")),
         "BMP",
         {0xFF0000FF, 0xFFFFFFFF, 0xFFFF0000, 0xFF00FF00},
         32},
        {"32 bits, alpha forced", make(1, 1, 32, 0, hex("11223344")), "BMP", {0xFF332211}, 32},
        {"16 bits without masks", make(1, 1, 16, 0, hex("ffff0000")), "BMP", {}},
        {"5-6-5 masks scale by 8, 4, 8",
         make(2, 1, 16, 3, masks565 + hex("ffff00f8")),
         "BMP",
         {0xFFF8FCF8, 0xFFF80000},
         32},
        {"mask 0 is black",
         make(1, 1, 32, 3, little(0, 4) + little(0xFF00, 4) + little(0xFF, 4) + hex("ffffffff")),
         "BMP",
         {0xFF00FFFF},
         32},
        {"mask over 8 bits is black",
         make(1, 1, 32, 3,
              little(0xFFFFFFFF, 4) + little(0xFF00, 4) + little(0x1FF, 4) + hex("ffffffff")),
         "BMP",
         {0xFF00FF00},
         32},
        {"dark first is exchanged", make(3, 1, 1, 0, two + hex("40000000")), "BMP", {1, 0, 1}, 1},
        {"4 bits", make(3, 1, 4, 0, four + hex("12300000"), 4), "BMP", {1, 2, 3}, 8},
        {"4 bits, run alternates and is clipped",
         make(3, 1, 4, 2, four + hex("0912"), 4),
         "BMP",
         {1, 2, 1},
         8},
        {"4 bits, literal",
         make(5, 1, 4, 2, four + hex("000312300001"), 4),
         "BMP",
         {1, 2, 3, 0, 0},
         8},
        {"8 bits, delta and end",
         make(3, 2, 8, 1, four + hex("0101000201010102"), 4),
         "BMP",
         {0, 0, 2, 1, 0, 0},
         8},
        {"8 bits, odd literal is padded",
         make(4, 1, 8, 1,
              four + hex("000301020300"
                         "0103"),
              4),
         "BMP",
         {1, 2, 3, 3},
         8},
        {"8 bits, runs above the picture",
         make(1, 1, 8, 1, four + hex("010100000102000001030000"), 4),
         "BMP",
         {1},
         8},
        {"cut code ends the walk",
         make(3, 1, 8, 1,
              four + hex("0201"
                         "05"),
              4),
         "BMP",
         {1, 1, 0},
         8},
        {"cut pixels are 0", make(1, 2, 24, 0, hex("01020300")), "BMP", {0, 0xFF030201}, 32},
        {"pixels behind the end", make(1, 1, 24, 0, hex("01020300"), 0, 500), "BMP", {0}, 32},
        {"offset beyond the header",
         make(1, 1, 24, 0, hex("aaaa01020300"), 0, 56),
         "BMP",
         {0xFF030201},
         32},
        {"negative colour count", make(1, 1, 8, 0, four, -1), "BMP", {}},
        {"more colours than bytes", make(1, 1, 8, 0, four, 1000000), "BMP", {}},
        {"negative height", make(1, -1, 24, 0, hex("01020300")), "BMP", {}},
        {"runs of 4 in 8 bits", make(1, 1, 8, 2, four + hex("0101"), 4), "BMP", {}},
        {"old header, three bytes a colour",
         "BM" + little(0, 8) + little(0, 4) + little(12, 4) + hex("0200010001000800") +
             hex("010203").repeated(256) + hex("05060000"),
         "BMP",
         {5, 6},
         8},
    };
}

std::vector<Sample> textSamples()
{
    const auto xpm = [](const QByteArray& lines) {
        return "/* XPM */\nstatic char *x[]={\n" + lines + "};\n";
    };
    return {
        {"plain bitmap without blanks", "P1\n5 1\n01011", "PBM", {0, 1, 0, 1, 1}, 1},
        {"comment lines of any length",
         "P2 #" + QByteArray(300, 'x') + "\n2 1 #9\n3#8\n1 3",
         "PGM",
         {1, 3},
         8},
        {"levels are scaled", "P3\n1 1\n10\n5 10 20\n", nullptr, {0xFF7FFFFF}, 32},
        {"raw levels are scaled", "P6 1 1 5 " + hex("010506"), "PPMRAW", {0xFF33FFFF}, 32},
        {"maximum 0", "P5 1 1 0 " + hex("01020304"), "PGM", {}},
        {"maximum of two bytes", "P5 1 1 256 " + hex("01020304"), "PGM", {}},
        {"short raw data", "P6 2 1 255 " + hex("0102030405"), "PPM", {}},
        {"short text", "P2 3 1 255 1 2 x 3 4 5", "PGM", {}},
        {"last number without a newline", "P2 2 1 255 17 4", "PGM", {17, 4}, 8},
        {"huge sizes", "P4 2147483647 2147483647 " + hex("00000000"), "PBM", {}},
        {"bits of a C array",
         "#define a2_width 10\n#define a2_height 1\nstatic char a2_bits[] = {\n 0x81,0x1};\n",
         "XBM",
         {1, 0, 0, 0, 0, 0, 0, 1, 1, 0},
         1},
        {"array that ends early",
         "#define a_width 8\n#define a_height 2\n0xff",
         "XBM",
         {1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0},
         1},
        {"array of width 0", "#define a_width 0\n#define a_height 2\n0xff,0x00 ", "XBM", {}},
        {"array too wide", "#define a_width 32768\n#define a_height 2\n0xff", "XBM", {}},
        {"colour names and none",
         xpm("\"4 1 4 1\",\"a c Red\",\"b m black c None\",\"d s sky g4 light sky blue m x\",\"a c "
             "#010203\",\"adba\""),
         "XPM",
         {3, 2, 1, 3},
         8},
        {"unknown pixel",
         xpm("\"3 1 2 2\",\"aa c blue\",\"bb c gray50\",\"bbxxaa\""),
         "XPM",
         {1, 0, 0},
         8},
        {"names of 16 characters",
         xpm("\"1 1 1 16\",\"0123456789abcdef c red\",\"0123456789abcdef\""),
         "XPM",
         {}},
        {"no colours", xpm("\"1 1 0 1\",\"a\""), "XPM", {}},
        {"more colours than text", xpm("\"1 1 2000000000 1\",\"a c red\""), "XPM", {}},
    };
}

void PrintTo(const Sample& sample, std::ostream* out)
{
    *out << sample.name;
}
} // namespace

TEST_P(ImageFile, IsReadAsTold)
{
    WarningCatcher quiet;
    const Sample& sample = GetParam();
    VImage image(1, 1, 8, 1);
    const VImage before = image;
    ASSERT_EQ(load(image, sample.bytes, sample.format), !sample.pixels.empty());
    if (sample.pixels.empty()) {
        EXPECT_EQ(image, before) << "a failed load keeps the image";
        return;
    }
    EXPECT_EQ(image.depth(), sample.depth);
    EXPECT_EQ(pixels(image), sample.pixels);
}

INSTANTIATE_TEST_SUITE_P(Bmp, ImageFile, testing::ValuesIn(bmpSamples()));
INSTANTIATE_TEST_SUITE_P(Text, ImageFile, testing::ValuesIn(textSamples()));

TEST(ImageFileColors, OfTheFormats)
{
    VImage image;
    ASSERT_TRUE(load(image, Bmp{3, 1, 1, 0, hex("00000000ffffff0040000000")}.bytes()));
    EXPECT_EQ(image.color(0), 0xFFFFFFFFu);
    EXPECT_EQ(image.color(1), 0xFF000000u);
    EXPECT_EQ(image.dotsPerMeterX(), 2000);
    EXPECT_EQ(image.dotsPerMeterY(), 3000);
    ASSERT_TRUE(load(image, "P2\n2 1\n4\n3 4\n", "PGM"));
    EXPECT_EQ(image.color(3), 0xFFBFBFBFu);
    EXPECT_EQ(image.color(200), 0xFFFFFFFFu);
    ASSERT_TRUE(load(
        image, "/* XPM */ \"3 1 3 1\",\"a c none\",\"b c LightSkyBlue\",\"c c nonsense\",\"abc\"",
        "XPM"));
    EXPECT_TRUE(image.hasAlphaBuffer());
    EXPECT_EQ(image.color(0), 0u);
    EXPECT_EQ(image.color(1), 0xFF87CEFAu);
    EXPECT_EQ(image.color(2), 0u);
}

TEST(ImageFileWarnings, SayWhatIsMissing)
{
    struct Row {
        const char* lines;
        const char* warning;
    };
    VImage image;
    for (const Row& row :
         {Row{"\"2 2 2 1\",\"a c red\"", "VImage: XPM color specification missing"},
          Row{"\"1 1 1 1\",\"a  S  sky\",\"a\"",
              "VImage: XPM color specification is missing:  s sky"},
          Row{"\"2 2 1 1\",\"a c red\",\"aa\",\"a\"",
              "VImage: XPM pixels missing on image line 1"}}) {
        WarningCatcher warnings;
        EXPECT_FALSE(load(image, QByteArray("/* XPM */") + row.lines, "XPM"));
        EXPECT_EQ(warnings.text(), text(row.warning));
    }
}

TEST(ImageFileLimit, RefusesWithAWarningBeforeAllocating)
{
    const qint64 limit = VImage::allocationLimit();
    VImage::setAllocationLimit(1 << 20);
    VImage image;
    WarningCatcher warnings;
    EXPECT_FALSE(load(image, Bmp{4096, 4096, 24, 0, "x"}.bytes()));
    EXPECT_EQ(warnings.take().size(), 1);
    EXPECT_FALSE(load(image, "#define a_width 32767\n#define a_height 32767\n0x00", "XBM"));
    EXPECT_EQ(warnings.take().size(), 1);
    VImage::setAllocationLimit(limit);
}

namespace
{
VImage indexed(int depth, const std::vector<unsigned>& colors, int width = 5, int height = 3)
{
    VImage image(width, height, depth, int(colors.size()),
                 depth == 1 ? VImage::LittleEndian : VImage::IgnoreEndian);
    for (int i = 0; i < int(colors.size()); ++i)
        image.setColor(i, colors[std::size_t(i)]);
    image.fill(0);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, unsigned(x + y) % std::max(1u, unsigned(colors.size())));
    return image;
}

VImage words(bool alpha, int width = 5, int height = 3)
{
    VImage image(width, height, 32);
    image.setAlphaBuffer(alpha);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y,
                           unsigned(alpha ? x * 60 : 255) << 24 | unsigned(x * 50) << 16 |
                               unsigned(y * 90) << 8 | 7);
    return image;
}
} // namespace

TEST(ImageFormats, RoundTrips)
{
    const VImage mono = indexed(1, {0xFF000000, 0xFFFFFFFF});
    const VImage few = indexed(8, {0xFF102030, 0xFF405060, 0xFF708090});
    const VImage many = indexed(8, Values(40, 0xFF202020));
    struct Row {
        const char* format;
        const VImage* image;
    };
    const VImage opaque = words(false);
    const VImage clear = words(true);
    for (const Row& row :
         {Row{"BMP", &mono}, Row{"BMP", &few}, Row{"BMP", &many}, Row{"BMP", &opaque},
          Row{"PBM", &mono}, Row{"PPM", &few}, Row{"PPM", &opaque}, Row{"PPMRAW", &opaque},
          Row{"XBM", &mono}, Row{"XPM", &few}, Row{"XPM", &opaque}, Row{"PNG", &mono},
          Row{"PNG", &few}, Row{"PNG", &many}, Row{"PNG", &opaque}, Row{"PNG", &clear}}) {
        VImage back;
        const QByteArray bytes = saved(*row.image, row.format);
        ASSERT_TRUE(load(back, bytes, row.format)) << row.format;
        EXPECT_EQ(back, *row.image) << row.format << ' ' << row.image->depth();
    }
}

TEST(ImageFormats, BmpChoosesTheBits)
{
    const auto bits = [](const VImage& image) { return int(saved(image, "BMP").at(28)); };
    EXPECT_EQ(bits(indexed(8, Values(16, 0xFF000001))), 4);
    EXPECT_EQ(bits(indexed(8, Values(17, 0xFF000001))), 8);
    EXPECT_EQ(bits(words(false)), 24);
    VImage wild = indexed(8, Values(3, 0xFF000001));
    wild.scanLine(1)[2] = 16;
    EXPECT_EQ(bits(wild), 8) << "an index that four bits can't hold";
    const VImage noTable = indexed(8, {});
    const QByteArray bytes = saved(noTable, "BMP");
    EXPECT_EQ(bytes.size(), 54 + 256 * 4 + 8 * 3);
    VImage back;
    ASSERT_TRUE(load(back, bytes));
    EXPECT_EQ(back.color(255), 0xFFFFFFFFu);
}

TEST(ImageFormats, PortableMapsByTheFirstThreeLetters)
{
    const VImage color = indexed(8, {0xFFFF0000, 0xFF00FF00});
    EXPECT_EQ(saved(color, "PGMRAW").left(11), QByteArray("P5\n5 3\n255\n"));
    EXPECT_EQ(saved(color, "PGM").mid(11, 2), hex("577f"));
    EXPECT_EQ(saved(color, "PBMRAW").left(7), QByteArray("P4\n5 3\n"));
    EXPECT_EQ(saved(indexed(1, {0xFF000000, 0xFFFFFFFF}), "PPM").left(3), QByteArray("P6\n"));
    // Entry 0 is the dark one, so its pixels become the 1s that the format has for black.
    EXPECT_EQ(saved(indexed(1, {0xFF000000, 0xFFFFFFFF}, 5, 1), "PBM"), "P4\n5 1\n" + hex("af"));
}

TEST(ImageFormats, ArraysInC)
{
    QTemporaryDir folder;
    const QString path = folder.path() + text("/9my\\_Icon2.v1.xbm");
    ASSERT_TRUE(indexed(1, {0xFFFFFFFF, 0xFF000000}, 10, 7).save(path, "XBM"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray xbm = file.readAll();
    EXPECT_TRUE(xbm.startsWith("#define Icon2_width 10\n#define Icon2_height 7\nstatic char "
                               "Icon2_bits[] = {\n 0xaa,0x02,0x55"))
        << xbm.constData();
    EXPECT_EQ(xbm.count(",\n "), 1);
    EXPECT_TRUE(xbm.endsWith("};\n"));
    EXPECT_EQ(saved(indexed(8, {0xFF010203, 0xFF0A0B0C}, 2, 1), "XPM"),
              QByteArray("/* XPM */\nstatic char *dummy[]={\n\"2 1 2 1\",\n\". c #010203\",\n\"# c "
                         "#0a0b0c\",\n\".#\"};\n"));
}

TEST(ImageFormats, XpmExchangesTwoIndices)
{
    VImage image(2838, 1, 32);
    for (int x = 0; x < 2838; ++x)
        image.setPixel(x, 0, 0xFF000000u | unsigned(x));
    const QByteArray bytes = saved(image, "XPM");
    // 2837 is 44 * 64 + 21: "Q" is the letter 44, "t" the letter 21.
    EXPECT_TRUE(bytes.contains("\"Qt c #000000\"")) << bytes.left(120).constData();
    EXPECT_TRUE(bytes.contains("\".. c #000b15\""));
    VImage back;
    ASSERT_TRUE(load(back, bytes));
    EXPECT_EQ(back.pixel(2837, 0), 0xFF000B15u);
}

TEST(JpegFormat, ScalesWhileItDecodes)
{
    const QByteArray bytes = saved(words(false, 64, 48), "JPEG", 100);
    struct Row {
        const char* parameters;
        int width, height;
        bool warns;
    };
    for (const Row& row :
         {Row{" Scale(  32, 24, ScaleFree )", 32, 24, false},
          Row{"Scale( 32, 32, ScaleMin )", 32, 24, false},
          Row{"Scale( 32, 32, ScaleMax )", 42, 32, false},
          Row{"Scale( 10, 20, ScaleMin)", 10, 20, true},
          Row{"Scale( 100, 7, Sideways )", 100, 7, true},
          Row{"Scale( 0, 7, ScaleFree )", 0, 0, false}, Row{"Scale( wide )", 0, 0, false},
          Row{"something else", 64, 48, false}}) {
        QBuffer buffer;
        buffer.setData(bytes);
        buffer.open(QIODevice::ReadOnly);
        VImageIO io(&buffer, nullptr);
        io.setParameters(row.parameters);
        WarningCatcher messages;
        EXPECT_EQ(io.read(), row.width > 0) << row.parameters;
        EXPECT_EQ(io.image().width(), row.width) << row.parameters;
        EXPECT_EQ(io.image().height(), row.height) << row.parameters;
        EXPECT_EQ(!messages.isEmpty(), row.warns) << row.parameters;
    }
}

TEST(JpegFormat, TakesTheLastSourcePixelThatFallsOnATarget)
{
    VImage whole;
    const QByteArray bytes = saved(words(false, 64, 48), "JPEG", 100);
    ASSERT_TRUE(load(whole, bytes));
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    VImageIO io(&buffer, "JPEG");
    io.setParameters("Scale( 10, 100, ScaleFree )");
    ASSERT_TRUE(io.read());
    for (int y = 0; y < 100; ++y) {
        // Upwards a line that none falls on is the one it falls into.
        int from = y * 48 / 100;
        for (int line = 0; line < 48; ++line)
            if (line * 100 / 48 == y)
                from = line;
        for (int x = 0; x < 10; ++x) {
            int column = 0;
            for (int c = 0; c < 64; ++c)
                if (c * 10 / 64 == x)
                    column = c;
            ASSERT_EQ(io.image().pixel(x, y), whole.pixel(column, from)) << x << ' ' << y;
        }
    }
}

TEST(JpegFormat, ReadsOnlyTheHeaderWhenAsked)
{
    VImage image = words(false, 64, 48);
    image.setDotsPerMeterX(3000);
    image.setDotsPerMeterY(2000);
    QBuffer buffer;
    buffer.setData(saved(image, "JPEG"));
    buffer.open(QIODevice::ReadOnly);
    VImageIO io(&buffer, nullptr);
    io.setParameters("GetHeaderInformation");
    ASSERT_TRUE(io.read());
    EXPECT_TRUE(io.image().isNull());
    EXPECT_EQ(io.image().width(), 64);
    EXPECT_EQ(io.image().depth(), 32);
    EXPECT_EQ(io.image().dotsPerMeterX(), 3000);
    EXPECT_EQ(io.image().dotsPerMeterY(), 2000);
}

TEST(JpegFormat, GrayTablesMakeOneComponent)
{
    const auto components = [](const QByteArray& bytes) {
        return int(bytes.at(bytes.indexOf(hex("ffc0")) + 9));
    };
    EXPECT_EQ(components(saved(indexed(8, {0xFF111111, 0xFF222222}), "JPEG")), 1);
    EXPECT_EQ(components(saved(indexed(8, {0xFF111111, 0xFF222223}), "JPEG")), 3);
    EXPECT_EQ(components(saved(words(false), "JPEG")), 3);
}

TEST(PngFormat, CarriesTextsOffsetAndResolution)
{
    VImage image = words(true);
    image.setOffset(geometry::Vector2i(-3, 9));
    image.setDotsPerMeterX(3000);
    image.setDotsPerMeterY(2000);
    image.setText("Title", nullptr, text("short"));
    image.setText("Long", nullptr, QString(300, QLatin1Char('x')));
    image.setText("Comment", "de", QString::fromUtf8("Größe ∞"));
    const QByteArray bytes = saved(image, "PNG");
    EXPECT_LT(bytes.indexOf("tEXtTitle"), bytes.indexOf("IDAT"));
    EXPECT_GT(bytes.indexOf("zTXtLong"), bytes.indexOf("IDAT"));
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    VImageIO io(&buffer, nullptr);
    ASSERT_TRUE(io.read());
    EXPECT_EQ(io.image(), image);
    EXPECT_EQ(io.image().offset(), geometry::Vector2i(-3, 9));
    EXPECT_EQ(io.image().dotsPerMeterX(), 3000);
    EXPECT_EQ(io.image().text("Title"), text("short"));
    EXPECT_EQ(io.image().text("Long").size(), 300);
    EXPECT_EQ(io.image().text("Comment", "de"), QString::fromUtf8("Größe ∞"));
    EXPECT_TRUE(io.description().contains(text("Title: short")));
}

TEST(PngFormat, DropsAnAlphaFlagThatNothingNeeds)
{
    VImage image = words(false);
    image.setAlphaBuffer(true);
    VImage back;
    ASSERT_TRUE(load(back, saved(image, "PNG")));
    EXPECT_FALSE(back.hasAlphaBuffer());
    const VImage table = indexed(8, {0xFF010101, 0x80020202, 0xFF030303});
    VImage clear = table.copy();
    clear.setAlphaBuffer(true);
    ASSERT_TRUE(load(back, saved(clear, "PNG")));
    EXPECT_TRUE(back.hasAlphaBuffer());
    EXPECT_EQ(back.color(1), 0x80020202u);
    EXPECT_TRUE(saved(clear, "PNG").contains(little(0x02000000, 4) + "tRNS"))
        << "entries up to the last clear one";
}

TEST(PngFormat, RefusesWhatItCannotHold)
{
    EXPECT_TRUE(saved(indexed(8, {}), "PNG").isEmpty());
    EXPECT_TRUE(saved(indexed(8, Values(257, 1)), "PNG").isEmpty());
}

TEST(PngWriter, WritesAnimationChunks)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    VPNGImagePacker packer(&buffer, 32, 0);
    packer.setLooping(0x0102);
    packer.setFrameDelay(70);
    packer.setDisposalMethod(VPNGImageWriter::RestoreBackground);
    VImage frame = words(false, 20, 10);
    ASSERT_TRUE(packer.packImage(frame));
    frame.setPixel(7, 3, 0xFF123456);
    frame.setPixel(9, 4, 0xFF123456);
    packer.setPixelAlignment(4);
    ASSERT_TRUE(packer.packImage(frame));
    ASSERT_TRUE(packer.packImage(frame));
    EXPECT_EQ(bytes.count("gIFx"), 1);
    EXPECT_EQ(bytes.mid(bytes.indexOf("gIFx") + 4, 13), "NETSCAPE2.0" + hex("0201"));
    EXPECT_EQ(bytes.count("gIFg"), 3);
    EXPECT_EQ(bytes.mid(bytes.indexOf("gIFg") + 4, 4), hex("02000007"));
    EXPECT_EQ(bytes.count("\x89PNG"), 1) << "later frames have no signature";
    const qsizetype second = bytes.indexOf("IHDR", bytes.indexOf("IEND"));
    EXPECT_EQ(bytes.mid(second + 4, 8), hex("0000000800000008")) << "columns 4 to 12, lines 0 to 8";
    EXPECT_EQ(bytes.mid(bytes.indexOf("oFFs") + 4, 8), hex("0000000400000000"));
    const qsizetype third = bytes.indexOf("IHDR", second + 4);
    EXPECT_EQ(bytes.mid(third + 4, 8), hex("0000000400000004"))
        << "an equal frame is the least rectangle";
}

TEST(PngWriter, QualityIsALevel)
{
    const VImage image = words(false, 200, 100);
    EXPECT_GT(saved(image, "PNG", 100).size(), 200 * 100 * 3) << "100 is level 0";
    EXPECT_LT(saved(image, "PNG", 0).size(), 2000);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    VPNGImageWriter writer(&buffer);
    WarningCatcher warnings;
    EXPECT_TRUE(writer.writeImage(image, 10, 0, 0));
    EXPECT_EQ(warnings.text(), text("PNG: Quality 10 out of range"));
}

TEST(VImageIO, ListsAndFindsFormats)
{
    QStringList formats = VImage::outputFormatList();
    EXPECT_EQ(formats.join(text(" ")), text("BMP JPEG PBM PGM PNG PPM XBM XPM"));
    vInitSgiIO();
    vInitSgiIO();
    EXPECT_EQ(VImage::inputFormatList().join(text(" ")),
              text("BMP JPEG PBM PGM PNG PPM SGI RLE SGI VERBATIM XBM XPM"));
    EXPECT_FALSE(VImage::outputFormatList().contains(text("SGI RLE")));
    WarningCatcher warnings;
    EXPECT_TRUE(saved(words(false), "SGI RLE").isEmpty());
    EXPECT_EQ(warnings.text(), text("VImageIO::write: No such image format handler: SGI RLE"));
    EXPECT_TRUE(saved(words(false), "nothing").isEmpty());
    EXPECT_EQ(warnings.text(), text("VImageIO::write: No such image format handler: nothing"));
    EXPECT_TRUE(saved(words(false), "").isEmpty());
    EXPECT_TRUE(warnings.isEmpty());
    saved(words(false), "PNG", 101);
    EXPECT_EQ(warnings.text(), text("VPixmap::save: quality out of range [-1,100]"));
}

TEST(VImageIO, NewerHandlersComeFirst)
{
    class Fake : public VImageHandler
    {
    public:
        Fake() : VImageHandler("BMP", "^BM") {}
        void read(VImageIO* io) override
        {
            io->setImage(VImage(7, 7, 32));
            io->setStatus(0);
        }
        void write(VImageIO*) override {}
    } fake;
    VImageIO::inputFormats();
    VImageIO::defineIOHandler(&fake);
    VImageIO::defineIOHandler(nullptr);
    VImage image;
    EXPECT_TRUE(load(image, Bmp{1, 1, 24, 0, "x"}.bytes()));
    EXPECT_EQ(image.width(), 7);
    // The routine drops the list; the next use makes another.
    postroutines::run();
    EXPECT_TRUE(load(image, Bmp{1, 1, 24, 0, "x"}.bytes()));
    EXPECT_EQ(image.width(), 1);
}

TEST(VImageIO, ReadsFromWhereTheDeviceStandsAndLeavesItBehindThePicture)
{
    for (const int version : {int(QDataStream::Qt_1_0), int(QDataStream::Qt_3_3)}) {
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out.setVersion(version);
        out << qint32(42) << words(false) << VImage(words(true)) << qint32(43);
        QDataStream in(bytes);
        in.setVersion(version);
        VImage first, second;
        qint32 before = 0, after = 0;
        in >> before >> first >> second >> after;
        EXPECT_EQ(before, 42);
        EXPECT_EQ(first, words(false)) << version;
        EXPECT_EQ(second.pixel(3, 2) & 0xFFFFFF, words(true).pixel(3, 2) & 0xFFFFFF) << version;
        EXPECT_EQ(after, 43) << version;
    }
    QByteArray null;
    QDataStream out(&null, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_3_3);
    out << VImage();
    EXPECT_EQ(null, hex("00000000"));
}

TEST(VImageIO, AFailedSaveLeavesTheOldFileWhole)
{
    QTemporaryDir folder;
    const QString path = folder.path() + text("/picture.png");
    ASSERT_TRUE(words(false).save(path, "PNG"));
    EXPECT_FALSE(indexed(8, {}).save(path, "PNG"));
    VImage back;
    ASSERT_TRUE(back.load(path));
    EXPECT_EQ(back, words(false));
    EXPECT_FALSE(words(false).save(folder.path() + text("/none/picture.png"), "PNG"));
    EXPECT_FALSE(VImage().save(path, "PNG"));
    EXPECT_FALSE(back.load(folder.path()));
    EXPECT_EQ(back, words(false));
}

TEST(VImage, ReadsACompiledInPicture)
{
    const char* const xpm[] = {"2 1 2 1", "a c #ff0000", "b c None", "ab", nullptr};
    const VImage image(xpm);
    EXPECT_EQ(pixels(image), (Values{0, 1}));
    EXPECT_EQ(image.color(0), 0xFFFF0000u);
    const char* const cut[] = {"2 2 2 1", "a c #ff0000", nullptr};
    WarningCatcher quiet;
    EXPECT_TRUE(VImage(cut).isNull());
}

TEST(SgiFormat, ReadsBothKinds)
{
    vInitSgiIO();
    const auto header = [](const char* type, int zsize) {
        QByteArray bytes = hex("01da") + hex(type) +
                           hex("0003"
                               "0002"
                               "0002") +
                           char(0) + char(zsize);
        return bytes + QByteArray(512 - bytes.size(), '\0');
    };
    VImage image;
    ASSERT_TRUE(load(image, header("0001", 1) + hex("01020304")));
    EXPECT_EQ(pixels(image), (Values{3, 4, 1, 2})) << "rows from the bottom";
    ASSERT_TRUE(load(image, header("0001", 2) + hex("01020304"
                                                    "ff80ffff")));
    EXPECT_TRUE(image.hasAlphaBuffer());
    EXPECT_EQ(pixels(image), (Values{0xFF030303, 0xFF040404, 0xFF010101, 0x80020202}));
    ASSERT_TRUE(load(image, header("0001", 4) + hex("01020304"
                                                    "05060708"
                                                    "090a0b0c"
                                                    "07070707")));
    EXPECT_FALSE(image.hasAlphaBuffer()) << "uniform";
    EXPECT_EQ(image.pixel(0, 1), 0x07010509u);
    const QByteArray tables = hex("00000210"
                                  "00000213") +
                              hex("00000003"
                                  "00000005");
    ASSERT_TRUE(load(image, header("0101", 1) + tables +
                                hex("020900"
                                    "8401020304")));
    EXPECT_EQ(pixels(image), (Values{1, 2, 9, 9})) << "a run, and literals past the row";
    EXPECT_FALSE(load(image, header("0101", 1) +
                                 hex("00000210"
                                     "00000213"
                                     "7fffffff"
                                     "00000005") +
                                 hex("020900")));
    EXPECT_FALSE(load(image, header("0002", 1) + hex("0102030405060708"))) << "two bytes a channel";
    EXPECT_FALSE(load(image, header("0001", 1) + hex("010203")));
}

TEST(VImageIO, FindsFormatsOfPlugIns)
{
    postroutines::run();
    // The test's folder of libraries is the data path's "/plugins" here.
    VGlobal::setDataPath(QString::fromLocal8Bit(ZYL_LIBRARY_FOLDER));
    const QByteArray bytes = "DOTS..x.x.xx..\n";
    VImage image;
    EXPECT_TRUE(load(image, bytes));
    EXPECT_EQ(pixels(image), (Values{0, 0, 1, 0, 1, 0, 1, 1, 0, 0}));
    EXPECT_TRUE(VImage::inputFormatList().contains(text("DOTS")));
    postroutines::run();
    VGlobal::setDataPath(QString());
    EXPECT_FALSE(load(image, bytes)) << "gone with its library";
}
