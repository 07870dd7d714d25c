#include "kernel/vimagedecoder.h"
#include "kernel/vpngimage.h"
#include "pictures.h"
#include "support/warnings.h"

#include <cstdlib>
#include <fstream>

#include <qbuffer.h>
#include <qfile.h>
#include <qpoint.h>
#include <qrect.h>
#include <qtemporarydir.h>

namespace
{
using Words = std::vector<unsigned>;

/// A picture's words; all that can't be seen is equal.
Words visible(const VImage& image)
{
    Words words = pictures::pixels(image.convertDepth(32));
    for (unsigned& word : words) {
        if (!image.hasAlphaBuffer())
            word |= 0xFF000000u;
        if (word >> 24 == 0)
            word = 0;
    }
    return words;
}

/// Keeps each frame, and a picture of its own that follows only the areas told of.
class Recorder : public VImageConsumer
{
public:
    void end() override { ++ends; }
    void setLooping(int loops) override { loopings.push_back(loops); }
    void setFramePeriod(int milliseconds) override { periods.push_back(milliseconds); }
    void setSize(int width, int height) override
    {
        size = VSize(width, height);
        m_followed.assign(std::size_t(width) * std::size_t(height), 0);
    }
    void changed(const QRect& area) override
    {
        ++changes;
        const Words now = visible(decoder->image());
        for (int y = area.top(); y <= area.bottom(); ++y)
            for (int x = area.left(); x <= area.right(); ++x) {
                const auto at = std::size_t(y * size.width() + x);
                m_followed.at(at) = now.at(at);
            }
    }
    void frameDone() override
    {
        frames.push_back(visible(decoder->image()));
        followed.push_back(m_followed);
    }
    void frameDone(const QPoint& offset, const QRect& area) override
    {
        offsets.push_back(offset);
        areas.push_back(area);
        frameDone();
    }

    VImageDecoder* decoder = nullptr;
    int ends = 0, changes = 0;
    VSize size;
    std::vector<int> loopings, periods;
    std::vector<Words> frames, followed;
    std::vector<QPoint> offsets;
    std::vector<QRect> areas;

private:
    Words m_followed;
};

struct Result {
    Recorder heard;
    int taken = 0;
    bool failed = false;
    Words picture;
};

void decode(const QByteArray& data, int piece, Result& result)
{
    VImageDecoder decoder(&result.heard);
    result.heard.decoder = &decoder;
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.constData());
    while (result.taken < data.size()) {
        const int length = std::min(piece, int(data.size()) - result.taken);
        const int count = decoder.decode(bytes + result.taken, length);
        if (count < 0) {
            result.failed = true;
            // Once failed, good data doesn't help.
            EXPECT_EQ(decoder.decode(bytes, int(data.size())), -1);
            break;
        }
        result.taken += count;
        if (count < length)
            break;
    }
    if (!decoder.image().isNull())
        result.picture = visible(decoder.image());
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

/// Two by two on a screen of two by two with the colours black, red, green and blue.
const char* const screen = "474946383961 0200 0200 81 00 00 000000 FF0000 00FF00 0000FF";

/// A frame of the indices 1, 2, 3, 0: clear and the first three in 3 bits, the rest in 4.
const char* const fullFrame = "2C 0000 0000 0200 0200 00 02 03 8C0605 00";

constexpr unsigned black = 0xFF000000u, red = 0xFFFF0000u, green = 0xFF00FF00u, blue = 0xFF0000FFu;

struct Animation {
    const char* name;
    const char* options; // from four frames of noise to "a.gif"
    int frames;
};

void PrintTo(const Animation& animation, std::ostream* out)
{
    *out << animation.name;
}

class GifOfProgram : public testing::TestWithParam<Animation>
{
};

VImage stripes(int shift)
{
    VImage image(23, 17, 32);
    for (int y = 0; y < 17; ++y)
        for (int x = 0; x < 23; ++x)
            image.setPixel(x, y, 0xFF000000u | unsigned(x > 4 && x < 9 + shift ? 200 : x * 9));
    return image;
}

QByteArray packed(VPNGImageWriter::DisposalMethod disposal, const std::vector<VImage>& images)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    VPNGImagePacker packer(&buffer, 32, 0);
    packer.setLooping(0x102);
    packer.setFrameDelay(2570);
    packer.setDisposalMethod(disposal);
    for (const VImage& image : images)
        EXPECT_TRUE(packer.packImage(image));
    return bytes;
}
} // namespace

TEST_P(GifOfProgram, GivesItsCoalescedFrames)
{
    QTemporaryDir folder;
    const std::string path = folder.path().toStdString();
    const std::string line =
        "cd " + path + " && export ASAN_OPTIONS= && convert-im6.q16 -seed 7 " + GetParam().options +
        " a.gif && convert-im6.q16 a.gif -coalesce +adjoin -depth 8 rgba:out-%d 2>log";
    ASSERT_EQ(std::system(line.c_str()), 0) << line;
    const QByteArray gif = contents(folder.filePath(QStringLiteral("a.gif")));
    Result whole, single;
    decode(gif, int(gif.size()), whole);
    decode(gif, 1, single);
    EXPECT_FALSE(whole.failed);
    EXPECT_EQ(whole.heard.ends, 1);
    ASSERT_EQ(int(whole.heard.frames.size()), GetParam().frames);
    EXPECT_EQ(whole.heard.frames, single.heard.frames);
    EXPECT_EQ(whole.heard.frames, whole.heard.followed);
    EXPECT_EQ(single.heard.frames, single.heard.followed);
    for (int i = 0; i < GetParam().frames; ++i) {
        const QByteArray raw = contents(folder.filePath(
            GetParam().frames == 1 ? QStringLiteral("out-0") : QStringLiteral("out-%1").arg(i)));
        Words expected;
        for (qsizetype at = 0; at + 3 < raw.size(); at += 4) {
            const auto byte = [&](qsizetype k) { return unsigned(raw[at + k]) & 255; };
            expected.push_back(
                byte(3) == 0 ? 0 : byte(3) << 24 | byte(0) << 16 | byte(1) << 8 | byte(2));
        }
        EXPECT_EQ(whole.heard.frames[std::size_t(i)], expected) << "frame " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Peers, GifOfProgram,
    testing::Values(
        Animation{"plain", "-size 37x23 plasma:red-blue", 1},
        Animation{"long codes", "-size 150x140 xc:gray +noise Random", 1},
        Animation{"interlaced", "-size 37x23 plasma:red-blue -interlace GIF", 1},
        Animation{"interlaced, three rows", "-size 9x3 plasma:red-blue -interlace GIF", 1},
        Animation{"two colours", "-size 40x9 pattern:checkerboard -monochrome", 1},
        Animation{"transparent",
                  "-size 30x20 xc:none -fill red -draw 'circle 15,10 10,5' +antialias", 1},
        Animation{"kept",
                  "-dispose none -size 30x20 xc:red '(' -size 9x7 plasma: -repage +4+5 ')' "
                  "'(' -size 9x7 plasma: -repage +8+9 ')'",
                  3},
        Animation{"to the background",
                  "-dispose background -size 30x20 xc:red '(' -size 9x7 plasma: -repage +4+5 ')' "
                  "'(' -size 9x7 plasma: -repage +8+9 ')'",
                  3},
        Animation{"to the image",
                  "-dispose none -size 30x20 plasma: -dispose previous "
                  "'(' -size 9x7 plasma: -repage +4+5 -interlace GIF ')' "
                  "'(' -size 9x7 plasma: -repage +8+9 ')' '(' -size 3x3 xc:blue ')'",
                  4}));

TEST(VGIFFormat, TellsLoopsDelaysAndTheEnd)
{
    const QByteArray gif = hex(screen) +
                           hex("21FF0B 4E45545343415045322E30 03 01 0201 00"
                               "21F904 00 0A01 00 00") +
                           hex(fullFrame) + hex("21FE 02 4142 00") + hex(fullFrame) + hex("3B") +
                           QByteArray("after");
    for (const int piece : {1, 2, 7, 1000}) {
        Result result;
        decode(gif, piece, result);
        EXPECT_EQ(result.heard.size, VSize(2, 2));
        EXPECT_EQ(result.heard.loopings, std::vector<int>{0x102});
        EXPECT_EQ(result.heard.periods, std::vector<int>{2660}); // 0x10A hundredths
        EXPECT_EQ(result.heard.frames.size(), 2u);
        EXPECT_EQ(result.heard.ends, 1);
        EXPECT_EQ(result.picture, (Words{red, green, blue, black}));
        EXPECT_FALSE(result.failed);
        EXPECT_EQ(result.taken, int(gif.size()) - 5) << piece;
    }
}

TEST(VGIFFormat, ClipsAndKeepsWhatIsTransparent)
{
    struct Case {
        const char* frames;
        Words picture;
    };
    const Case cases[] = {
        // Index 3 is transparent, over nothing.
        {"21F904 01 0000 03 00 2C 0000 0000 0200 0200 00 02 03 8C0605 00", {red, green, 0, black}},
        // One to the right and down: only the first pixel is on the screen.
        {"2C 0100 0100 0200 0200 00 02 03 8C0605 00", {0, 0, 0, red}},
        {"2C FFFF FFFF FFFF FFFF 00 02 03 8C0605 00", {0, 0, 0, 0}},
        // A table of its own, and an index beyond its two colours.
        {"2C 0000 0000 0200 0200 80 111111 222222 02 03 8C0605 00",
         {0xFF222222u, black, black, 0xFF111111u}},
        // Codes of two bits up to the first pixel, of three from there.
        {"2C 0000 0000 0200 0200 00 01 02 460C 00", {red, red, red, black}},
        // What follows the last pixel doesn't matter.
        {"2C 0000 0000 0100 0100 00 02 02 CC01 00", {red, 0, 0, 0}},
        // No pixels at all.
        {"2C 0000 0000 0000 0200 00 02 03 8C0605 00", {0, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        Result result;
        decode(hex(screen) + hex(c.frames) + ";", 5, result);
        EXPECT_FALSE(result.failed) << c.frames;
        EXPECT_EQ(result.picture, c.picture) << c.frames;
    }
}

TEST(VGIFFormat, RefusesBrokenData)
{
    const char* const cases[] = {
        "474946383961 0000 0200 00 00 00 2C",                           // no width
        "474946383961 0200 0200 00 00 00 2C 0000 0000 0200 0200 00 02", // no colours
        "474946383961 0200 0200 80 00 00 000000 FFFFFF 41",             // no such block
        "474946383961 0200 0200 80 00 00 000000 FFFFFF 2C 0000 0000 0200 0200 00 00",
        "474946383961 0200 0200 80 00 00 000000 FFFFFF 2C 0000 0000 0200 0200 00 09",
        // Clear, then 7, which no code stands for yet.
        "474946383961 0200 0200 80 00 00 000000 FFFFFF 2C 0000 0000 0200 0200 00 02 01 3C",
        // Clear, 1, then 7, one beyond the next.
        "474946383961 0200 0200 80 00 00 000000 FFFFFF 2C 0000 0000 0200 0200 00 02 02 CC01",
    };
    for (const char* data : cases)
        for (const int piece : {1, 1000}) {
            Result result;
            decode(hex(data), piece, result);
            EXPECT_TRUE(result.failed) << data;
        }
    const qint64 limit = VImage::allocationLimit();
    VImage::setAllocationLimit(1 << 20);
    WarningCatcher warnings;
    Result result;
    decode(hex("474946383961 FFFF FFFF 00 00 00"), 1000, result);
    VImage::setAllocationLimit(limit);
    EXPECT_TRUE(result.failed);
    EXPECT_FALSE(warnings.isEmpty());
}

TEST(VPNGFormat, PutsTheFramesOfAPackerTogether)
{
    const std::vector<VImage> images = {stripes(0), stripes(3), stripes(3), stripes(9)};
    const QByteArray data = packed(VPNGImageWriter::NoDisposal, images);
    for (const int piece : {1, 13, 100000}) {
        Result result;
        decode(data, piece, result);
        EXPECT_FALSE(result.failed);
        EXPECT_EQ(result.taken, int(data.size()));
        ASSERT_EQ(result.heard.frames.size(), images.size());
        for (std::size_t i = 0; i < images.size(); ++i)
            EXPECT_EQ(result.heard.frames[i], visible(images[i])) << i;
        EXPECT_EQ(result.heard.frames, result.heard.followed);
        EXPECT_EQ(result.heard.loopings, std::vector<int>{0x102});
        EXPECT_EQ(result.heard.periods, (std::vector<int>{2570, 2570, 2570, 2570}));
        // The stripe grows from column 9 by 3.
        EXPECT_EQ(result.heard.areas[1], QRect(9, 0, 3, 17));
        EXPECT_EQ(result.heard.offsets[1], QPoint(9, 0));
    }
}

TEST(VPNGFormat, DisposesOfFrames)
{
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    VPNGImageWriter writer(&buffer);
    const auto dot = [](unsigned color) { return pictures::picture(1, 32, {color}); };
    ASSERT_TRUE(writer.writeImage(pictures::picture(2, 8, {0, 1, 1, 0}, {red, green}), 5, 5));
    writer.setDisposalMethod(VPNGImageWriter::RestoreImage);
    ASSERT_TRUE(writer.writeImage(dot(blue), 5, 5));
    writer.setDisposalMethod(VPNGImageWriter::RestoreBackground);
    ASSERT_TRUE(writer.writeImage(dot(black), 6, 6));
    ASSERT_TRUE(writer.writeImage(dot(blue), 6, 5));
    // Wholly and partly outside of the first frame.
    ASSERT_TRUE(writer.writeImage(dot(blue), -3, 2000000000));
    ASSERT_TRUE(writer.writeImage(pictures::picture(2, 32, {red, blue, black, green}), 4, 4));
    Result result;
    decode(data, 3, result);
    const std::vector<Words> expected = {{red, green, green, red},   {blue, green, green, red},
                                         {red, green, green, black}, {red, blue, green, 0},
                                         {red, 0, green, 0},         {green, 0, green, 0}};
    EXPECT_EQ(result.heard.frames, expected);
    EXPECT_EQ(result.heard.followed, expected);
}

TEST(VPNGFormat, GivesWhatTheWholeReaderGives)
{
    QTemporaryDir folder;
    std::string line = "cd " + folder.path().toStdString() +
                       " && export ASAN_OPTIONS= && convert-im6.q16 -seed 7 -size 9x9 plasma: "
                       "-depth 8 -write PNG8:a0.png -write PNG24:a1.png -write PNG48:a2.png "
                       "-interlace PNG -write PNG8:a3.png -write PNG32:a4.png";
    int count = 5;
    // Passes of an interlaced picture may have no columns, or no rows.
    for (const char* size : {"1x1", "1x9", "9x1", "2x3", "4x4", "5x5", "3x8"})
        line += " '(' +clone -crop " + std::string(size) + "+0+0 +repage -write a" +
                std::to_string(count++) + ".png +delete ')'";
    line += " -colorspace gray -write a" + std::to_string(count++) + ".png";
    line += " -monochrome a" + std::to_string(count++) + ".png";
    ASSERT_EQ(std::system(line.c_str()), 0) << line;
    for (int i = 0; i < count; ++i) {
        const QString path = folder.filePath(QStringLiteral("a%1.png").arg(i));
        VImage expected;
        ASSERT_TRUE(expected.load(path)) << i;
        const QByteArray data = contents(path);
        for (const int piece : {1, int(data.size())}) {
            Result result;
            decode(data, piece, result);
            EXPECT_FALSE(result.failed) << i;
            EXPECT_EQ(result.heard.ends, 1) << i;
            EXPECT_EQ(result.picture, visible(expected)) << i;
            EXPECT_EQ(result.heard.followed, result.heard.frames) << i;
            // Once a piece, however many rows it brings.
            if (piece > 1) {
                EXPECT_EQ(result.heard.changes, 1) << i;
            }
        }
    }
}

TEST(VPNGFormat, EndsWhereNoFrameFollows)
{
    const QByteArray data = packed(VPNGImageWriter::NoDisposal, {stripes(0), stripes(3)});
    struct Case {
        QByteArray tail;
        int taken;
    };
    const Case cases[] = {{"after", 0}, {QByteArray::fromHex("0000000D 494844 53 00"), 7}};
    for (const Case& c : cases)
        for (const int piece : {1, 13, 100000}) {
            Result result;
            decode(data + c.tail, piece, result);
            EXPECT_FALSE(result.failed);
            EXPECT_EQ(result.heard.frames.size(), 2u);
            EXPECT_EQ(result.taken, int(data.size()) + c.taken) << piece;
        }
}

TEST(VPNGFormat, SkipsChunksThatAreTooLong)
{
    QByteArray data = packed(VPNGImageWriter::NoDisposal, {stripes(0)});
    // Behind the header: a text of five megabytes, whose checksum isn't looked at.
    data.insert(33, hex("00500000 74455874") + QByteArray((5 << 20) + 4, 'a'));
    Result result;
    decode(data, 100000, result);
    EXPECT_FALSE(result.failed);
    EXPECT_EQ(result.picture, visible(stripes(0)));
}

TEST(VPNGFormat, RefusesBrokenData)
{
    const char* const cases[] = {
        // Checksums are right, but the data can't be decompressed.
        "89504e470d0a1a0a0000000d494844520000000200000002080000000057dd52f8"
        "00000003494441547801072457d3a80000000049454e44ae426082",
        // Of two rows one is there.
        "89504e470d0a1a0a0000000d494844520000000200000002080000000057dd52f8"
        "0000000b49444154789c6360640200000700047649e3280000000049454e44ae426082",
        // A palette of two gigabytes, and a text of four.
        "89504e470d0a1a0a7fffffff504c5445", "89504e470d0a1a0affffffff74455874"};
    WarningCatcher warnings;
    for (const char* data : cases)
        for (const int piece : {1, 1000}) {
            Result result;
            decode(hex(data), piece, result);
            EXPECT_TRUE(result.failed) << data;
            EXPECT_EQ(result.heard.frames.size(), 0u) << data;
        }
}

TEST(VImageDecoder, StandsBrokenStreams)
{
    QTemporaryDir folder;
    const std::string path = folder.path().toStdString();
    ASSERT_EQ(
        std::system(("cd " + path +
                     " && export ASAN_OPTIONS= && convert-im6.q16 -seed 7 -size 20x14 plasma: "
                     "-interlace GIF a.gif && convert-im6.q16 -seed 7 -size 4x70 plasma: "
                     "-depth 8 +set date:create a.png")
                        .c_str()),
        0);
    const QByteArray streams[] = {contents(folder.filePath(QStringLiteral("a.gif"))),
                                  contents(folder.filePath(QStringLiteral("a.png")))};
    WarningCatcher warnings;
    for (const QByteArray& good : streams) {
        Result part;
        decode(good.left(good.size() * 2 / 3), 9, part);
        EXPECT_FALSE(part.failed);
        EXPECT_EQ(part.heard.ends, 0);
        EXPECT_EQ(part.picture.size(), 280u);
        pictures::Numbers next(5);
        for (int i = 0; i < 150; ++i) {
            QByteArray bad = good;
            for (int k = 0; k < 3; ++k)
                bad[qsizetype(next() % unsigned(bad.size()))] = char(next());
            Result whole, single;
            decode(bad, int(bad.size()), whole);
            decode(bad, 1, single);
            EXPECT_EQ(whole.failed, single.failed);
            // Also what a stream shows that breaks in the middle.
            EXPECT_EQ(whole.picture, single.picture) << i;
        }
    }
}

TEST(VImageDecoder, KnowsTypesByTheirFirstBytes)
{
    class Format : public VImageFormat
    {
    public:
        int decode(VImage&, VImageConsumer& consumer, const unsigned char*, int) override
        {
            consumer.end();
            return 1;
        }
    };
    class Type : public VImageFormatType
    {
    public:
        VImageFormat* decoderFor(const unsigned char* bytes, int length) override
        {
            return length >= 3 && bytes[0] == 'G' ? new Format : nullptr;
        }
        const char* formatName() const override { return "ABC"; }
    };
    const auto name = [](const char* text, int length) {
        const char* found =
            VImageDecoder::formatName(reinterpret_cast<const unsigned char*>(text), length);
        return std::string(found ? found : "");
    };
    EXPECT_EQ(name("GIF89a", 6), "GIF");
    EXPECT_EQ(name("GIF89a", 5), "");
    EXPECT_EQ(name("GIF88a", 6), "");
    EXPECT_EQ(name("\x89PNG\r\n\x1A\n", 8), "PNG");
    Result unknown;
    decode("BM0123456789012345", 3, unknown);
    EXPECT_TRUE(unknown.failed);

    Type type;
    VImageDecoder::registerType(&type);
    EXPECT_EQ(name("GIF89a", 6), "ABC");
    EXPECT_EQ(VImageDecoder::inputFormats().count(), 3u);
    EXPECT_STREQ(VImageDecoder::inputFormats().first(), "ABC");
    Result result;
    decode("GIF89a", 1, result);
    EXPECT_EQ(result.heard.ends, 1);
    VImageDecoder::unregisterType(&type);
    EXPECT_EQ(name("GIF89a", 6), "GIF");
    EXPECT_EQ(VImageDecoder::inputFormats().count(), 2u);
}
