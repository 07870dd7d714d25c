#include "kernel/vdevicereader_p.h"
#include "kernel/vimagehandlers_p.h"

#include <qendian.h>
#include <qiodevice.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace
{
constexpr quint16 magic = 474;
constexpr int headerSize = 512;

struct rawImageRec {
    quint16 imagic = 0;
    quint16 type = 0;
    quint16 dim = 0;
    quint16 xsize = 0;
    quint16 ysize = 0;
    quint16 zsize = 0;
    std::vector<quint32> rowStart; // both empty for a file without run lengths
    std::vector<quint32> rowSize;
    std::vector<uchar> row;

    bool isRle() const { return type >> 8 == 1; }
};

class SgiReader
{
public:
    explicit SgiReader(QIODevice* device) : m_in(device) {}

    bool read(VImage& result)
    {
        if (!readHeader() || !readTables())
            return false;
        const int depth = m_raw.zsize < 2 ? 8 : 32;
        const qint64 channels = std::min<int>(m_raw.zsize, 4);
        // A verbatim file holds every pixel; a run-length row takes at least its end mark.
        const qint64 least = m_raw.isRle() ? 0 : channels * m_raw.xsize * m_raw.ysize;
        VImage image;
        if (least > m_in.remaining() || !VImage::checkAllocation(m_raw.xsize, m_raw.ysize, depth) ||
            !image.create(m_raw.xsize, m_raw.ysize, depth, depth == 8 ? 256 : 0))
            return false;
        if (depth == 8)
            setGrayTable(image, 256);
        if (!(depth == 8 ? readGray(image) : readColors(image)))
            return false;
        result = image;
        return true;
    }

private:
    bool readHeader()
    {
        const uchar* bytes = m_in.take(12);
        if (!bytes)
            return false;
        quint16* const fields[] = {&m_raw.imagic, &m_raw.type,  &m_raw.dim,
                                   &m_raw.xsize,  &m_raw.ysize, &m_raw.zsize};
        for (quint16* field : fields) {
            *field = qFromBigEndian<quint16>(bytes);
            bytes += 2;
        }
        m_raw.zsize = std::max<quint16>(m_raw.zsize, 1);
        // Only one byte a channel is read; the low byte of the type counts them.
        return m_raw.imagic == magic && (m_raw.type & 255) == 1 && m_raw.xsize > 0 &&
               m_raw.ysize > 0;
    }

    bool readTables()
    {
        if (!m_in.seek(headerSize))
            return false;
        if (!m_raw.isRle())
            return true;
        const qint64 entries = qint64(m_raw.ysize) * m_raw.zsize;
        for (std::vector<quint32>* table : {&m_raw.rowStart, &m_raw.rowSize}) {
            const uchar* bytes = m_in.take(entries * 4);
            if (!bytes)
                return false;
            table->resize(std::size_t(entries));
            qFromBigEndian<quint32>(bytes, entries, table->data());
        }
        return true;
    }

    /// Fills `buffer` with one row of a channel, counted from the bottom. Missing pixels are 0.
    bool readRow(uchar* buffer, int y, int z)
    {
        if (!m_raw.isRle())
            return m_in.seek(headerSize + (qint64(z) * m_raw.ysize + y) * m_raw.xsize) &&
                   m_in.read(buffer, m_raw.xsize) == m_raw.xsize;
        const std::size_t entry = std::size_t(z) * m_raw.ysize + std::size_t(y);
        const quint32 size = m_raw.rowSize[entry];
        if (size > quint32(m_raw.xsize) * 256 || !m_in.seek(m_raw.rowStart[entry]))
            return false;
        const uchar* code = m_in.take(size);
        if (!code)
            return false;
        std::memset(buffer, 0, m_raw.xsize);
        const uchar* const end = code + size;
        for (int x = 0; code < end && (*code & 0x7F) != 0;) {
            const bool literal = *code & 0x80;
            const int count = *code++ & 0x7F;
            const int clipped = std::min<int>(count, m_raw.xsize - x);
            const std::ptrdiff_t bytes = literal ? count : 1;
            if (end - code < bytes)
                return false;
            if (literal)
                std::memcpy(buffer + x, code, std::size_t(clipped));
            else
                std::memset(buffer + x, *code, std::size_t(clipped));
            code += bytes;
            x += clipped;
        }
        return true;
    }

    bool readGray(VImage& image)
    {
        for (int y = 0; y < m_raw.ysize; ++y)
            if (!readRow(image.scanLine(m_raw.ysize - 1 - y), y, 0))
                return false;
        return true;
    }

    bool readColors(VImage& image)
    {
        // Which channel of the file each of red, green, blue and alpha comes from; -1 is opaque.
        const bool withAlpha = m_raw.zsize % 2 == 0;
        const int channels[4] = {0, m_raw.zsize == 2 ? 0 : 1, m_raw.zsize == 2 ? 0 : 2,
                                 m_raw.zsize == 2   ? 1
                                 : m_raw.zsize >= 4 ? 3
                                                    : -1};
        std::vector<uchar> rows[4];
        for (auto& row : rows)
            row.assign(m_raw.xsize, 255);
        image.setAlphaBuffer(withAlpha);
        bool uniform = true;
        int firstAlpha = -1;
        for (int y = 0; y < m_raw.ysize; ++y) {
            for (int c = 0; c < 4; ++c) {
                if (c > 0 && channels[c] >= 0 && channels[c] == channels[c - 1])
                    rows[c] = rows[c - 1];
                else if (channels[c] >= 0 && !readRow(rows[c].data(), y, channels[c]))
                    return false;
            }
            auto* line = reinterpret_cast<quint32*>(image.scanLine(m_raw.ysize - 1 - y));
            for (std::size_t x = 0; x < m_raw.xsize; ++x) {
                line[x] = quint32(rows[3][x]) << 24 | quint32(rows[0][x]) << 16 |
                          quint32(rows[1][x]) << 8 | rows[2][x];
                if (firstAlpha < 0)
                    firstAlpha = rows[3][x];
                uniform = uniform && rows[3][x] == firstAlpha;
            }
        }
        if (uniform)
            image.setAlphaBuffer(false);
        return true;
    }

    DeviceReader m_in;
    rawImageRec m_raw;
};
} // namespace

void vInitSgiIO()
{
    // The name tells a second global object that the formats are there.
    if (imageHandlerList().find("SGI VERBATIM"))
        return;
    struct Format {
        const char* name;
        const char* header;
    };
    // Detection sees zero bytes as ones, so both kinds of file match the first pattern; the type
    // field decides how they are read. The second is there for its name: it would match only what
    // can't stand in a file's head.
    constexpr Format formats[] = {{"SGI VERBATIM", "\\x01\\xDA\\x01\\x01"},
                                  {"SGI RLE", "\\x01\\xDA\\x00\\x01"}};
    for (const Format& format : formats)
        defineBuiltInHandler(std::make_unique<VSgiImageHandler>(format.name, format.header));
}

VSgiImageHandler::VSgiImageHandler(const char* format, const char* header)
    : VImageHandler(format, header)
{
    setCanWrite(false);
}

void VSgiImageHandler::read(VImageIO* io)
{
    VImage image;
    if (!SgiReader(io->ioDevice()).read(image))
        return;
    io->setImage(image);
    io->setStatus(0);
}

void VSgiImageHandler::write(VImageIO*) {}
