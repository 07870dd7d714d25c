#include "kernel/vpngimage.h"

#include "kernel/vdevicereader_p.h"
#include "kernel/vimagehandlers_p.h"
#include "kernel/vpngsetup_p.h"

#include <qiodevice.h>
#include <qlogging.h>

#include <algorithm>
#include <vector>

namespace
{
void onError(png_structp png, png_const_charp)
{
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp message)
{
    qWarning("libpng warning: %s", message);
}

bool isAllOpaque(const VImage& image)
{
    const auto isOpaque = [](quint32 color) { return color >> 24 == 255; };
    if (image.depth() != 32)
        return std::all_of(image.colorTable(), image.colorTable() + image.numColors(), isOpaque);
    for (int y = 0; y < image.height(); ++y) {
        const auto* line = reinterpret_cast<const quint32*>(image.scanLine(y));
        if (!std::all_of(line, line + image.width(), isOpaque))
            return false;
    }
    return true;
}

bool create(VImage& image, png_uint_32 width, png_uint_32 height, int depth, int colors = 0)
{
    return VImage::checkAllocation(width, height, depth) &&
           image.create(int(width), int(height), depth, colors,
                        depth == 1 ? VImage::BigEndian : VImage::IgnoreEndian);
}

/// Words of 32 bits as this machine keeps them.
void setWords(png_structp png, bool withFiller)
{
    if (VImage::systemByteOrder() == VImage::BigEndian) {
        if (withFiller)
            png_set_filler(png, 255, PNG_FILLER_BEFORE);
        else
            png_set_swap_alpha(png);
    } else {
        if (withFiller)
            png_set_filler(png, 255, PNG_FILLER_AFTER);
        png_set_bgr(png);
    }
}
} // namespace

png_structp pngsetup::createReader()
{
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, onError, onWarning);
    if (png) {
        // Texts are stored compressed: a small file could fill gigabytes with the codec's own
        // limits.
        png_set_chunk_malloc_max(png, 4 << 20);
        png_set_chunk_cache_max(png, 128);
    }
    return png;
}

bool pngsetup::setupImage(png_structp png, png_infop info, float screenGamma, VImage& image)
{
    double fileGamma = 0;
    if (screenGamma > 0 && png_get_gAMA(png, info, &fileGamma))
        png_set_gamma(png, double(screenGamma), fileGamma);

    png_uint_32 width = 0;
    png_uint_32 height = 0;
    int bits = 0;
    int type = 0;
    png_get_IHDR(png, info, &width, &height, &bits, &type, nullptr, nullptr, nullptr);
    png_bytep alphas = nullptr;
    int alphaCount = 0;
    png_color_16p transparent = nullptr;
    const bool hasTransparency = png_get_tRNS(png, info, &alphas, &alphaCount, &transparent) != 0;

    if (type == PNG_COLOR_TYPE_PALETTE) {
        if (bits != 1)
            png_set_packing(png);
        png_set_interlace_handling(png);
        png_read_update_info(png, info);
        png_colorp palette = nullptr;
        int colors = 0;
        png_get_PLTE(png, info, &palette, &colors);
        if (colors > 256 || !create(image, width, height, bits == 1 ? 1 : 8, colors))
            return false;
        for (int i = 0; i < colors; ++i) {
            const unsigned alpha = hasTransparency && i < alphaCount ? alphas[i] : 255;
            image.colorTable()[i] = alpha << 24 | unsigned(palette[i].red) << 16 |
                                    unsigned(palette[i].green) << 8 | palette[i].blue;
        }
        image.setAlphaBuffer(hasTransparency && alphaCount > 0);
        return true;
    }
    if (type == PNG_COLOR_TYPE_GRAY && bits == 1) {
        png_set_invert_mono(png);
        png_set_interlace_handling(png);
        png_read_update_info(png, info);
        if (!create(image, width, height, 1, 2))
            return false;
        setMonochromeTable(image);
        return true;
    }
    if (type == PNG_COLOR_TYPE_GRAY && !(bits == 16 && hasTransparency)) {
        const int shades = bits < 16 ? 1 << bits : 256;
        if (bits == 16)
            png_set_strip_16(png);
        else if (bits < 8)
            png_set_packing(png);
        png_set_interlace_handling(png);
        png_read_update_info(png, info);
        if (!create(image, width, height, 8, shades))
            return false;
        setGrayTable(image, shades);
        if (hasTransparency && transparent->gray < shades) {
            image.setAlphaBuffer(true);
            image.colorTable()[transparent->gray] &= 0x00FFFFFFu;
        }
        return true;
    }
    const bool withAlpha = (type & PNG_COLOR_MASK_ALPHA) != 0 || hasTransparency;
    png_set_expand(png);
    png_set_strip_16(png);
    png_set_gray_to_rgb(png);
    setWords(png, !withAlpha);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    if (!create(image, width, height, 32))
        return false;
    image.setAlphaBuffer(withAlpha);
    return true;
}

QString pngsetup::finishImage(png_structp png, png_infop info, VImage& image)
{
    image.setDotsPerMeterX(int(png_get_x_pixels_per_meter(png, info)));
    image.setDotsPerMeterY(int(png_get_y_pixels_per_meter(png, info)));
    png_int_32 x = 0;
    png_int_32 y = 0;
    int unit = PNG_OFFSET_LAST;
    if (png_get_oFFs(png, info, &x, &y, &unit) && unit == PNG_OFFSET_PIXEL)
        image.setOffset(geometry::Vector2i(x, y));
    QString description;
    png_textp texts = nullptr;
    int count = 0;
    png_get_text(png, info, &texts, &count);
    for (int i = 0; i < count; ++i) {
        const bool isUnicode = texts[i].compression >= PNG_ITXT_COMPRESSION_NONE;
        const QString text =
            isUnicode ? QString::fromUtf8(texts[i].text) : QString::fromLatin1(texts[i].text);
        image.setText(texts[i].key, isUnicode ? texts[i].lang : nullptr, text);
        if (!description.isEmpty())
            description += QLatin1Char('\n');
        description += QString::fromLatin1(texts[i].key) + QLatin1String(": ") + text;
    }
    if (image.hasAlphaBuffer() && isAllOpaque(image))
        image.setAlphaBuffer(false);
    return description;
}

namespace
{
class PngReader
{
public:
    PngReader(QIODevice* device, float gamma) : m_in(device), m_gamma(gamma)
    {
        m_png = pngsetup::createReader();
        if (m_png)
            m_info = png_create_info_struct(m_png);
    }
    ~PngReader() { png_destroy_read_struct(&m_png, &m_info, nullptr); }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;

    bool read()
    {
        if (!m_info || !decode())
            return false;
        m_description = pngsetup::finishImage(m_png, m_info, m_image);
        return true;
    }

    const VImage& image() const { return m_image; }
    const QString& description() const { return m_description; }

private:
    bool decode()
    {
        if (setjmp(png_jmpbuf(m_png)))
            return false;
        png_set_read_fn(m_png, this, [](png_structp png, png_bytep bytes, std::size_t count) {
            auto* reader = static_cast<PngReader*>(png_get_io_ptr(png));
            if (reader->m_in.read(bytes, qint64(count)) != qint64(count))
                png_error(png, "Read Error");
        });
        png_read_info(m_png, m_info);
        if (!pngsetup::setupImage(m_png, m_info, m_gamma, m_image))
            return false;
        png_read_image(m_png, m_image.jumpTable());
        png_read_end(m_png, m_info);
        return true;
    }

    DeviceReader m_in;
    float m_gamma;
    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
    VImage m_image;
    QString m_description;
};

/// One of the picture's texts in the form that the codec takes.
struct TextEntry {
    QByteArray key;
    QByteArray lang;
    QByteArray text;
    bool isUnicode = false;
    bool isLong = false;
    bool isCompressed = false;
};

std::vector<TextEntry> textEntries(const VImage& image)
{
    constexpr qsizetype keyLimit = 79;
    constexpr qsizetype longText = 201;
    constexpr qsizetype compressedText = 40;
    std::vector<TextEntry> entries;
    for (const VImageTextKeyLang& keyLang : image.textList()) {
        TextEntry entry;
        entry.key = QByteArray(keyLang.key.data());
        // The codec gives up the whole file over a key that the format can't hold.
        if (entry.key.isEmpty() || entry.key.size() > keyLimit)
            continue;
        const QString text = image.text(keyLang);
        entry.lang = QByteArray(keyLang.lang.data());
        entry.isUnicode = !entry.lang.isEmpty() || QString::fromLatin1(text.toLatin1()) != text;
        entry.text = entry.isUnicode ? text.toUtf8() : text.toLatin1();
        entry.isLong = text.size() >= longText;
        entry.isCompressed = text.size() >= compressedText;
        entries.push_back(entry);
    }
    return entries;
}

class PngWriter
{
public:
    struct Options {
        int level = -1;
        float gamma = 0;
        int x = 0;
        int y = 0;
        bool isFirst = true;
        int looping = -1;
        int frameDelay = -1;
        int disposal = 0;
    };

    PngWriter(QIODevice* device, const VImage& image, const Options& options)
        : m_device(device), m_image(image), m_options(options), m_texts(textEntries(image))
    {
        m_png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, onError, onWarning);
        if (m_png)
            m_info = png_create_info_struct(m_png);
    }
    ~PngWriter() { png_destroy_write_struct(&m_png, &m_info); }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    bool write()
    {
        if (!m_info || setjmp(png_jmpbuf(m_png)))
            return false;
        png_set_write_fn(
            m_png, this,
            [](png_structp png, png_bytep bytes, std::size_t count) {
                auto* writer = static_cast<PngWriter*>(png_get_io_ptr(png));
                if (writer->m_device->write(reinterpret_cast<const char*>(bytes), qint64(count)) !=
                    qint64(count))
                    png_error(png, "Write Error");
            },
            [](png_structp) {});
        if (!m_options.isFirst)
            png_set_sig_bytes(m_png, 8);
        if (m_options.level >= 0)
            png_set_compression_level(m_png, m_options.level);
        if (m_options.gamma > 0)
            png_set_gAMA(m_png, m_info, 1.0 / double(m_options.gamma));
        setHeader();
        setPlace();
        setTexts(false);
        png_write_info(m_png, m_info);
        writeAnimation();
        if (m_image.depth() == 32) {
            if (VImage::systemByteOrder() == VImage::BigEndian)
                m_image.hasAlphaBuffer() ? png_set_swap_alpha(m_png)
                                         : png_set_filler(m_png, 0, PNG_FILLER_BEFORE);
            else if (!m_image.hasAlphaBuffer())
                png_set_filler(m_png, 0, PNG_FILLER_AFTER);
        }
        if (m_image.bitOrder() == VImage::LittleEndian)
            png_set_packswap(m_png);
        png_write_image(m_png, m_image.jumpTable());
        setTexts(true);
        png_write_end(m_png, m_info);
        return true;
    }

private:
    void setHeader()
    {
        const bool isWords = m_image.depth() == 32;
        const int type = !isWords                   ? PNG_COLOR_TYPE_PALETTE
                         : m_image.hasAlphaBuffer() ? PNG_COLOR_TYPE_RGB_ALPHA
                                                    : PNG_COLOR_TYPE_RGB;
        png_set_IHDR(m_png, m_info, png_uint_32(m_image.width()), png_uint_32(m_image.height()),
                     m_image.depth() == 1 ? 1 : 8, type, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        if (isWords) {
            if (VImage::systemByteOrder() != VImage::BigEndian)
                png_set_bgr(m_png);
            return;
        }
        int alphaCount = 0;
        for (int i = 0; i < m_image.numColors(); ++i) {
            const unsigned color = m_image.colorTable()[i];
            m_palette[i] = {png_byte(color >> 16), png_byte(color >> 8), png_byte(color)};
            m_alphas[i] = png_byte(color >> 24);
            if (m_alphas[i] != 255)
                alphaCount = i + 1;
        }
        png_set_PLTE(m_png, m_info, m_palette, m_image.numColors());
        if (m_image.hasAlphaBuffer() && alphaCount > 0)
            png_set_tRNS(m_png, m_info, m_alphas, alphaCount, nullptr);
    }

    void setPlace()
    {
        if (m_image.dotsPerMeterX() > 0 || m_image.dotsPerMeterY() > 0)
            png_set_pHYs(m_png, m_info, png_uint_32(std::max(0, m_image.dotsPerMeterX())),
                         png_uint_32(std::max(0, m_image.dotsPerMeterY())), PNG_RESOLUTION_METER);
        if (m_options.x || m_options.y)
            png_set_oFFs(m_png, m_info, m_options.x, m_options.y, PNG_OFFSET_PIXEL);
    }

    /// Short texts stand before the pixels, long ones after them.
    void setTexts(bool ofLong)
    {
        for (TextEntry& entry : m_texts) {
            if (entry.isLong != ofLong)
                continue;
            png_text text = {};
            if (entry.isUnicode)
                text.compression =
                    entry.isCompressed ? PNG_ITXT_COMPRESSION_zTXt : PNG_ITXT_COMPRESSION_NONE;
            else
                text.compression =
                    entry.isCompressed ? PNG_TEXT_COMPRESSION_zTXt : PNG_TEXT_COMPRESSION_NONE;
            text.key = entry.key.data();
            text.text = entry.text.data();
            text.lang = entry.isUnicode ? entry.lang.data() : nullptr;
            (entry.isUnicode ? text.itxt_length : text.text_length) =
                std::size_t(entry.text.size());
            png_set_text(m_png, m_info, &text, 1);
        }
    }

    void writeAnimation()
    {
        if (m_options.looping >= 0 && m_options.isFirst) {
            // The count stands low byte first, as in the block of the other format that the chunk
            // carries over.
            png_byte data[13] = {'N', 'E', 'T', 'S', 'C', 'A', 'P', 'E', '2', '.', '0'};
            data[11] = png_byte(m_options.looping);
            data[12] = png_byte(m_options.looping >> 8);
            png_write_chunk(m_png, reinterpret_cast<png_const_bytep>("gIFx"), data, sizeof data);
        }
        if (m_options.frameDelay >= 0 || m_options.disposal != 0) {
            const int delay = std::clamp(m_options.frameDelay / 10, 0, 65535);
            const png_byte data[4] = {png_byte(m_options.disposal), 0, png_byte(delay >> 8),
                                      png_byte(delay)};
            png_write_chunk(m_png, reinterpret_cast<png_const_bytep>("gIFg"), data, sizeof data);
        }
    }

    QIODevice* m_device;
    VImage m_image;
    Options m_options;
    std::vector<TextEntry> m_texts;
    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
    png_color m_palette[256];
    png_byte m_alphas[256];
};

bool isWritable(const VImage& image)
{
    if (image.isNull())
        return false;
    if (image.depth() == 32)
        return true;
    return (image.depth() == 1 || image.depth() == 8) && image.numColors() >= 1 &&
           image.numColors() <= (image.depth() == 1 ? 2 : 256);
}
} // namespace

VPNGImageWriter::VPNGImageWriter(QIODevice* device) : m_device(device) {}

VPNGImageWriter::~VPNGImageWriter() = default;

bool VPNGImageWriter::writeImage(const VImage& image, int quality, int x, int y)
{
    if (!m_device || !isWritable(image))
        return false;
    if (quality > 9) {
        qWarning("PNG: Quality %d out of range", quality);
        quality = 9;
    }
    PngWriter::Options options;
    options.level = quality;
    options.gamma = m_gamma;
    options.x = x + image.offset().x;
    options.y = y + image.offset().y;
    options.isFirst = m_frames == 0;
    options.looping = m_looping;
    options.frameDelay = m_frameDelay;
    options.disposal = m_disposal;
    if (!PngWriter(m_device, image, options).write())
        return false;
    ++m_frames;
    return true;
}

VPNGImagePacker::VPNGImagePacker(QIODevice* device, int storageDepth, int conversionFlags)
    : VPNGImageWriter(device), m_depth(storageDepth), m_conversionFlags(conversionFlags)
{
}

VPNGImagePacker::~VPNGImagePacker() = default;

void VPNGImagePacker::setPixelAlignment(int pixels)
{
    m_alignment = std::max(1, pixels);
}

bool VPNGImagePacker::packImage(const VImage& source)
{
    const VImage image = source.convertDepth(32);
    if (image.isNull())
        return false;
    int left = 0, top = 0, right = image.width(), bottom = image.height();
    if (m_previous.width() == image.width() && m_previous.height() == image.height()) {
        left = image.width();
        top = image.height();
        right = bottom = 0;
        for (int y = 0; y < image.height(); ++y) {
            const auto* now = reinterpret_cast<const quint32*>(image.scanLine(y));
            const auto* before = reinterpret_cast<const quint32*>(m_previous.scanLine(y));
            const auto* const end = now + image.width();
            const auto first = std::mismatch(now, end, before).first;
            if (first == end)
                continue;
            int last = image.width();
            while (now[last - 1] == before[last - 1])
                --last;
            left = std::min(left, int(first - now));
            right = std::max(right, last);
            top = std::min(top, y);
            bottom = y + 1;
        }
        if (right == 0) {
            left = top = 0;
            right = bottom = 1;
        }
        const auto alignedUp = [this](int at, int limit) {
            return int(std::min<qint64>((qint64(at) + m_alignment - 1) / m_alignment * m_alignment,
                                        limit));
        };
        left -= left % m_alignment;
        top -= top % m_alignment;
        right = alignedUp(right, image.width());
        bottom = alignedUp(bottom, image.height());
    }
    VImage frame = image.copy(left, top, right - left, bottom - top);
    if (m_depth != 32)
        frame = frame.convertDepth(m_depth, m_conversionFlags);
    frame.setOffset(image.offset());
    if (!writeImage(frame, left, top))
        return false;
    m_previous = image.copy();
    return true;
}

namespace
{
class VPNGHandler : public VImageHandler
{
public:
    using VImageHandler::VImageHandler;

    void read(VImageIO* io) override
    {
        PngReader reader(io->ioDevice(), io->gamma());
        if (!reader.read())
            return;
        io->setImage(reader.image());
        io->setDescription(reader.description());
        io->setStatus(0);
    }

    void write(VImageIO* io) override
    {
        VPNGImageWriter writer(io->ioDevice());
        writer.setGamma(io->gamma());
        const int quality = std::min(io->quality(), 100);
        if (writer.writeImage(io->image(), quality < 0 ? -1 : (100 - quality) * 9 / 91, 0, 0))
            io->setStatus(0);
    }
};
} // namespace

void vInitPngIO()
{
    if (!imageHandlerList().find("PNG"))
        defineBuiltInHandler(std::make_unique<VPNGHandler>("PNG", "^.PNG\r", QCString()));
}
