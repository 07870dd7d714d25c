#include "kernel/vdevicereader_p.h"
#include "kernel/vimagehandlers_p.h"

#include <qiodevice.h>
#include <qlogging.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <vector>

#include <jpeglib.h>

#include <jerror.h>

namespace
{
// More scans than any encoder makes: each costs a pass over the whole picture, however little data
// it has.
constexpr int scanLimit = 100;

// A pixel as one native word.
constexpr J_COLOR_SPACE wordColorSpace =
    Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? JCS_EXT_BGRA : JCS_EXT_ARGB;

// The codec writes aligned lines past the cache. That is half the time for a large picture, but a
// quarter more for one that the cache holds, which goes through a line that isn't aligned.
constexpr int cachedSize = 1 << 20;
constexpr std::size_t lineStart = 4;

/// The codec's errors come back here by a long jump. Between its two ends stand only objects
/// without destructors: what owns anything is a member of the reader or writer.
struct ErrorManager : jpeg_error_mgr {
    std::jmp_buf jump;

    ErrorManager()
    {
        jpeg_std_error(this);
        error_exit = [](j_common_ptr codec) {
            std::longjmp(static_cast<ErrorManager*>(codec->err)->jump, 1);
        };
        output_message = [](j_common_ptr) {};
    }
};

/// Feeds the codec from the reader's own window.
struct Source : jpeg_source_mgr {
    DeviceReader* in = nullptr;

    void start(DeviceReader* reader)
    {
        in = reader;
        next_input_byte = nullptr;
        bytes_in_buffer = 0;
        init_source = [](j_decompress_ptr) {};
        term_source = [](j_decompress_ptr codec) { static_cast<Source*>(codec->src)->giveBack(); };
        resync_to_restart = jpeg_resync_to_restart;
        fill_input_buffer = [](j_decompress_ptr codec) -> boolean {
            auto* source = static_cast<Source*>(codec->src);
            if (source->in->fill()) {
                source->next_input_byte = source->in->window();
                source->bytes_in_buffer = std::size_t(source->in->windowSize());
                source->in->advance(source->in->windowSize());
                return TRUE;
            }
            // A cut file ends here, with what it has.
            static const JOCTET endOfImage[2] = {0xFF, JPEG_EOI};
            WARNMS(codec, JWRN_JPEG_EOF);
            source->next_input_byte = endOfImage;
            source->bytes_in_buffer = 2;
            source->ended = true;
            return TRUE;
        };
        skip_input_data = [](j_decompress_ptr codec, long count) {
            auto* source = static_cast<Source*>(codec->src);
            if (count <= 0)
                return;
            if (std::size_t(count) <= source->bytes_in_buffer) {
                source->next_input_byte += count;
                source->bytes_in_buffer -= std::size_t(count);
                return;
            }
            source->in->skip(count - long(source->bytes_in_buffer));
            source->bytes_in_buffer = 0;
        };
    }

    /// Leaves the device behind the picture and not behind the window.
    void giveBack()
    {
        if (!ended)
            in->advance(-qint64(bytes_in_buffer));
        bytes_in_buffer = 0;
    }

    bool ended = false;
};

int dotsPerMeter(int unit, int density)
{
    return int(std::lround(unit == 1 ? density * 100 / 2.54 : density * 100.0));
}

/// The source line or column that each of `target` lines is taken from: the last one that falls on
/// it, or the one it falls into where none does.
std::vector<int> sourceOf(int target, int size)
{
    std::vector<int> source(std::size_t(target), -1);
    for (int i = 0; i < size; ++i)
        source[std::size_t(qint64(i) * target / size)] = i;
    for (int i = 0; i < target; ++i)
        if (source[std::size_t(i)] < 0)
            source[std::size_t(i)] = int(qint64(i) * size / target);
    return source;
}

class JpegReader
{
public:
    JpegReader(QIODevice* device, const QByteArray& parameters)
        : m_in(device), m_parameters(parameters)
    {
        m_codec.err = &m_errors;
        m_codec.client_data = nullptr;
        m_created = setjmp(m_errors.jump) == 0;
        if (m_created)
            jpeg_create_decompress(&m_codec);
    }
    ~JpegReader()
    {
        if (m_created)
            jpeg_destroy_decompress(&m_codec);
    }
    JpegReader(const JpegReader&) = delete;
    JpegReader& operator=(const JpegReader&) = delete;

    bool read()
    {
        if (!m_created || setjmp(m_errors.jump))
            return false;
        m_source.start(&m_in);
        m_codec.src = &m_source;
        m_progress.progress_monitor = [](j_common_ptr codec) {
            if (reinterpret_cast<j_decompress_ptr>(codec)->input_scan_number > scanLimit)
                ERREXIT(codec, JERR_BAD_PROGRESSION);
        };
        m_codec.progress = &m_progress;
        if (jpeg_read_header(&m_codec, TRUE) != JPEG_HEADER_OK || !chooseOutput())
            return false;
        jpeg_calc_output_dimensions(&m_codec);
        if (m_parameters == "GetHeaderInformation") {
            makeHeaderImage();
        } else {
            if (!prepare())
                return false;
            jpeg_start_decompress(&m_codec);
            while (m_codec.output_scanline < m_codec.output_height)
                readLine();
            jpeg_finish_decompress(&m_codec);
        }
        setDensity();
        return true;
    }

    const VImage& image() const { return m_image; }

private:
    bool chooseOutput()
    {
        switch (m_codec.num_components) {
        case 1:
            m_codec.out_color_space = JCS_GRAYSCALE;
            return true;
        case 3:
            m_codec.out_color_space = wordColorSpace;
            return true;
        case 4:
            m_codec.out_color_space = JCS_CMYK;
            return true;
        default:
            return false;
        }
    }

    int depth() const { return m_codec.num_components == 1 ? 8 : 32; }

    void makeHeaderImage()
    {
        m_image = VImage(static_cast<unsigned char*>(nullptr), int(m_codec.output_width),
                         int(m_codec.output_height), depth(), nullptr, 0, VImage::IgnoreEndian);
    }

    /// Makes the image in its final size. False for parameters that make no sense, and for too
    /// large a size.
    bool prepare()
    {
        const int width = int(m_codec.output_width);
        const int height = int(m_codec.output_height);
        VSize size(width, height);
        if (m_parameters.startsWith("Scale") && !scaledSize(size))
            return false;
        // A picture of several scans is held whole by the codec, whatever comes of it.
        if (jpeg_has_multiple_scans(&m_codec) && !VImage::checkAllocation(width, height, depth()))
            return false;
        if (!VImage::checkAllocation(size.width(), size.height(), depth()) ||
            !m_image.create(size, depth(), depth() == 8 ? 256 : 0))
            return false;
        if (depth() == 8)
            setGrayTable(m_image, 256);
        m_isScaled = size.width() != width || size.height() != height;
        if (m_isScaled) {
            m_columns = sourceOf(size.width(), width);
            m_rows = sourceOf(size.height(), height);
        }
        const bool isSmall = m_codec.num_components == 3 && m_image.numBytes() <= cachedSize;
        if (m_isScaled || m_codec.num_components == 4 || isSmall)
            m_line.resize(std::size_t(width) * 4 + lineStart);
        return true;
    }

    bool scaledSize(VSize& size) const
    {
        int width = 0;
        int height = 0;
        char name[1024] = "";
        const int found =
            std::sscanf(m_parameters.constData(), "Scale( %i, %i, %1023s )", &width, &height, name);
        if (found < 2 || width < 1 || height < 1)
            return false;
        constexpr struct {
            const char* name;
            VSize::ScaleMode mode;
        } modes[] = {{"ScaleFree", VSize::ScaleFree},
                     {"ScaleMin", VSize::ScaleMin},
                     {"ScaleMax", VSize::ScaleMax}};
        const auto* mode =
            std::find_if(std::begin(modes), std::end(modes),
                         [&name](const auto& row) { return qstrcmp(row.name, name) == 0; });
        if (mode == std::end(modes)) {
            qDebug(
                "read_jpeg_image: invalid scale mode \"%s\", see VImage::ScaleMode documentation",
                name);
            mode = modes;
        }
        size.scale(width, height, mode->mode);
        return size.width() >= 1 && size.height() >= 1;
    }

    void readLine()
    {
        const int y = int(m_codec.output_scanline);
        uchar* line = m_line.empty() ? m_image.scanLine(y) : m_line.data() + lineStart;
        jpeg_read_scanlines(&m_codec, &line, 1);
        if (m_codec.num_components == 4)
            convertInks(line);
        if (!m_isScaled) {
            if (!m_line.empty())
                std::copy_n(line, m_image.bytesPerLine(), m_image.scanLine(y));
            return;
        }
        for (; m_row < m_image.height() && m_rows[std::size_t(m_row)] == y; ++m_row) {
            uchar* to = m_image.scanLine(m_row);
            for (int x = 0; x < m_image.width(); ++x) {
                const int from = m_columns[std::size_t(x)];
                if (depth() == 8)
                    to[x] = line[from];
                else
                    reinterpret_cast<quint32*>(to)[x] =
                        reinterpret_cast<const quint32*>(line)[from];
            }
        }
    }

    /// Cyan, magenta, yellow and black to an opaque word in place. One vendor's files hold their
    /// complements.
    void convertInks(uchar* line) const
    {
        const int flip = m_codec.saw_Adobe_marker ? 0 : 255;
        for (unsigned x = 0; x < m_codec.output_width; ++x, line += 4) {
            const int black = line[3] ^ flip;
            const auto channel = [black, flip](int ink) {
                return quint32((ink ^ flip) * black / 255);
            };
            *reinterpret_cast<quint32*>(line) =
                0xFF000000u | channel(line[0]) << 16 | channel(line[1]) << 8 | channel(line[2]);
        }
    }

    void setDensity()
    {
        const int unit = m_codec.density_unit;
        if (unit != 1 && unit != 2)
            return;
        m_image.setDotsPerMeterX(dotsPerMeter(unit, m_codec.X_density));
        m_image.setDotsPerMeterY(dotsPerMeter(unit, m_codec.Y_density));
    }

    DeviceReader m_in;
    QByteArray m_parameters;
    ErrorManager m_errors;
    Source m_source = {};
    jpeg_progress_mgr m_progress = {};
    jpeg_decompress_struct m_codec = {};
    bool m_created = false;
    VImage m_image;
    std::vector<uchar> m_line; // a whole source line, where it isn't read straight into the image
    std::vector<int> m_columns;
    std::vector<int> m_rows;
    int m_row = 0;
    bool m_isScaled = false;
};

/// Takes what the codec writes to the device, block by block.
struct Destination : jpeg_destination_mgr {
    QIODevice* device = nullptr;
    JOCTET block[16384];

    void start(QIODevice* to)
    {
        device = to;
        init_destination = [](j_compress_ptr codec) {
            static_cast<Destination*>(codec->dest)->rewind();
        };
        empty_output_buffer = [](j_compress_ptr codec) -> boolean {
            static_cast<Destination*>(codec->dest)->flush(codec, sizeof block);
            return TRUE;
        };
        term_destination = [](j_compress_ptr codec) {
            auto* destination = static_cast<Destination*>(codec->dest);
            destination->flush(codec, sizeof block - destination->free_in_buffer);
        };
    }
    void rewind()
    {
        next_output_byte = block;
        free_in_buffer = sizeof block;
    }
    void flush(j_compress_ptr codec, std::size_t count)
    {
        if (device->write(reinterpret_cast<const char*>(block), qint64(count)) != qint64(count))
            ERREXIT(codec, JERR_FILE_WRITE);
        rewind();
    }
};

class JpegWriter
{
public:
    explicit JpegWriter(QIODevice* device)
    {
        m_codec.err = &m_errors;
        m_created = setjmp(m_errors.jump) == 0;
        if (m_created)
            jpeg_create_compress(&m_codec);
        m_destination.start(device);
    }
    ~JpegWriter()
    {
        if (m_created)
            jpeg_destroy_compress(&m_codec);
    }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;

    bool write(const VImage& image, int quality)
    {
        m_image = image;
        m_isGray = image.depth() != 32 && image.allGray();
        for (int i = 0; i < 256; ++i)
            m_table[i] =
                image.depth() != 32 && i < image.numColors() ? image.colorTable()[i] : 0xFFFFFFFFu;
        m_line.resize(std::size_t(image.width()) * (m_isGray ? 1 : 3));
        if (!m_created || setjmp(m_errors.jump))
            return false;
        m_codec.dest = &m_destination;
        m_codec.image_width = JDIMENSION(image.width());
        m_codec.image_height = JDIMENSION(image.height());
        if (image.depth() == 32) {
            m_codec.input_components = 4;
            m_codec.in_color_space = wordColorSpace;
        } else {
            m_codec.input_components = m_isGray ? 1 : 3;
            m_codec.in_color_space = m_isGray ? JCS_GRAYSCALE : JCS_RGB;
        }
        jpeg_set_defaults(&m_codec);
        setDensity();
        jpeg_set_quality(&m_codec, quality < 0 ? 75 : std::min(quality, 100), TRUE);
        jpeg_start_compress(&m_codec, TRUE);
        while (m_codec.next_scanline < m_codec.image_height) {
            uchar* line = lineOf(int(m_codec.next_scanline));
            jpeg_write_scanlines(&m_codec, &line, 1);
        }
        jpeg_finish_compress(&m_codec);
        return true;
    }

private:
    void setDensity()
    {
        const int x = int(std::lround(m_image.dotsPerMeterX() / 100.0));
        const int y = int(std::lround(m_image.dotsPerMeterY() / 100.0));
        if (x < 1 || y < 1 || x > 65535 || y > 65535)
            return;
        m_codec.density_unit = 2;
        m_codec.X_density = UINT16(x);
        m_codec.Y_density = UINT16(y);
    }

    uchar* lineOf(int y)
    {
        uchar* from = m_image.scanLine(y);
        if (m_image.depth() == 32)
            return from;
        uchar* to = m_line.data();
        for (int x = 0; x < m_image.width(); ++x) {
            int index = 0;
            if (m_image.depth() == 8)
                index = from[x];
            else
                index = from[x >> 3] >>
                            (m_image.bitOrder() == VImage::LittleEndian ? x & 7 : 7 - (x & 7)) &
                        1;
            const quint32 color = m_table[index];
            if (!m_isGray) {
                *to++ = uchar(color >> 16);
                *to++ = uchar(color >> 8);
            }
            *to++ = uchar(color);
        }
        return m_line.data();
    }

    ErrorManager m_errors;
    Destination m_destination;
    jpeg_compress_struct m_codec = {};
    bool m_created = false;
    VImage m_image;
    quint32 m_table[256];
    bool m_isGray = false;
    std::vector<uchar> m_line;
};

class VJpegHandler : public VImageHandler
{
public:
    using VImageHandler::VImageHandler;

    void read(VImageIO* io) override
    {
        JpegReader reader(io->ioDevice(),
                          QString::fromLatin1(io->parameters()).simplified().toLatin1());
        if (!reader.read())
            return;
        io->setImage(reader.image());
        io->setStatus(0);
    }

    void write(VImageIO* io) override
    {
        const VImage& image = io->image();
        if (image.isNull() || (image.depth() != 1 && image.depth() != 8 && image.depth() != 32))
            return;
        JpegWriter writer(io->ioDevice());
        if (writer.write(image, io->quality()))
            io->setStatus(0);
    }
};
} // namespace

void vInitJpegIO()
{
    if (!imageHandlerList().find("JPEG"))
        defineBuiltInHandler(
            std::make_unique<VJpegHandler>("JPEG", "^\\xFF\\xD8\\xFF", QCString()));
}
