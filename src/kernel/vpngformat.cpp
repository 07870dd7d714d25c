#include "kernel/vpngformat.h"

#include "kernel/vpngimage.h"
#include "kernel/vpngsetup_p.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace
{
constexpr std::size_t headLength = 8; // of a chunk: its length and its name

/// How each frame after the first one starts.
constexpr unsigned char frameHead[headLength] = {0, 0, 0, 13, 'I', 'H', 'D', 'R'};

/// The codec gets compressed pixels in blocks of this size, counted from the chunk's start. How far
/// it comes with data that ends or breaks depends on the blocks, which therefore must not depend on
/// the pieces in which the data arrives.
constexpr std::size_t blockLength = 256;

/// Other chunks are kept until they are whole, if they aren't longer.
constexpr std::size_t chunkLimit = std::size_t(4) << 20;
} // namespace

/// What the codec calls. It leaves by a jump, so nothing here may hold an object with a destructor.
struct VPNGFormat::Callbacks {
    static VPNGFormat* format(png_structp png)
    {
        return static_cast<VPNGFormat*>(png_get_progressive_ptr(png));
    }

    static int readChunk(png_structp png, png_unknown_chunkp chunk)
    {
        auto* self = static_cast<VPNGFormat*>(png_get_user_chunk_ptr(png));
        const png_bytep data = chunk->data;
        if (std::memcmp(chunk->name, "gIFx", 4) == 0 && chunk->size == 13 &&
            std::memcmp(data, "NETSCAPE2.0", 11) == 0) {
            self->m_looping = data[11] | data[12] << 8;
            return 1;
        }
        if (std::memcmp(chunk->name, "gIFg", 4) == 0 && chunk->size == 4) {
            self->m_disposal = data[0];
            self->m_period = (data[2] << 8 | data[3]) * 10;
            return 1;
        }
        return 0;
    }

    static void readInfo(png_structp png, png_infop info)
    {
        VPNGFormat* self = format(png);
        if (!pngsetup::setupImage(png, info, 0, self->m_frame))
            png_error(png, "Image too large");
        self->m_lastPass = png_get_interlace_type(png, info) == PNG_INTERLACE_ADAM7 ? 6 : 0;
        self->m_hasHeader = true;
    }

    static void readRow(png_structp png, png_bytep bytes, png_uint_32 row, int pass)
    {
        VPNGFormat* self = format(png);
        const int height = self->m_frame.height();
        if (row >= png_uint_32(height))
            return;
        if (int(row) == height - 1 && pass == self->m_lastPass)
            self->m_hasAllRows = true;
        // A pass of an interlaced picture may have nothing for a row.
        if (!bytes)
            return;
        png_progressive_combine_row(png, self->m_frame.jumpTable()[row], bytes);
        if (self->m_frames == 0)
            self->m_dirty |= QRect(0, int(row), self->m_frame.width(), 1);
    }
};

VPNGFormat::VPNGFormat() = default;

VPNGFormat::~VPNGFormat()
{
    release();
}

void VPNGFormat::release()
{
    png_destroy_read_struct(&m_png, &m_info, nullptr);
}

int VPNGFormat::decode(VImage& image, VImageConsumer& consumer, const unsigned char* bytes,
                       int length)
{
    m_image = &image;
    m_consumer = &consumer;
    const unsigned char *at = bytes, *const end = bytes + length;
    while (at != end) {
        std::size_t count = 1;
        if (m_part != Part::NextFrame)
            count = std::min(std::size_t(end - at), m_expected - m_block.size());
        else if (*at != frameHead[m_block.size()])
            break;
        m_block.insert(m_block.end(), at, at + count);
        at += count;
        if (m_block.size() == m_expected && !handlePart()) {
            flushChanges();
            return -1;
        }
    }
    flushChanges();
    return int(at - bytes);
}

void VPNGFormat::expect(Part part, std::size_t count)
{
    m_part = part;
    m_expected = count;
    m_block.clear();
}

bool VPNGFormat::handlePart()
{
    if ((m_part == Part::Signature || m_part == Part::NextFrame) && !start())
        return false;
    if (m_part == Part::Signature) {
        expect(Part::ChunkHead, headLength);
        return true;
    }
    if (m_part != Part::Chunk && !handleChunkHead())
        return false;
    if (!m_isSkipped && !process(m_block.data(), m_block.size()))
        return false;
    if (m_part == Part::Chunk)
        m_left -= m_block.size();
    if (m_hasHeader)
        tellHeader();
    if (m_left > 0) {
        // The codec copies what it has of any other chunk each time that it gets more.
        const bool isCut = m_isPixels || m_isSkipped;
        expect(Part::Chunk, isCut ? std::min(m_left, blockLength) : m_left);
        return true;
    }
    expect(m_isLastChunk ? Part::NextFrame : Part::ChunkHead, headLength);
    return !m_isLastChunk || finishFrame();
}

bool VPNGFormat::handleChunkHead()
{
    const auto isNamed = [this](const char* name) {
        return std::memcmp(&m_block[4], name, 4) == 0;
    };
    const std::size_t length = std::size_t(m_block[0]) << 24 | std::size_t(m_block[1]) << 16 |
                               std::size_t(m_block[2]) << 8 | m_block[3];
    m_left = length + 4;
    m_isPixels = isNamed("IDAT");
    m_isLastChunk = isNamed("IEND");
    // A chunk whose name starts with a small letter may be missed.
    m_isSkipped = !m_isPixels && length > chunkLimit && (m_block[4] & 0x20);
    return length <= PNG_UINT_31_MAX && (m_isPixels || m_isSkipped || length <= chunkLimit);
}

bool VPNGFormat::start()
{
    m_hasAllRows = false;
    m_disposal = 0;
    m_png = pngsetup::createReader();
    if (m_png)
        m_info = png_create_info_struct(m_png);
    if (!m_info)
        return false;
    png_set_read_user_chunk_fn(m_png, this, &Callbacks::readChunk);
    png_set_progressive_read_fn(m_png, this, &Callbacks::readInfo, &Callbacks::readRow, nullptr);
    // Unlike the other reader, the progressive one can't be told that there is no signature.
    constexpr unsigned char signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    return process(signature, sizeof signature);
}

bool VPNGFormat::process(const unsigned char* bytes, std::size_t length)
{
    if (setjmp(png_jmpbuf(m_png)))
        return false;
    png_process_data(m_png, m_info, const_cast<png_bytep>(bytes), length);
    return true;
}

void VPNGFormat::tellHeader()
{
    m_hasHeader = false;
    if (m_frames == 0) {
        // Its rows are seen as they come, and may never come.
        std::memset(m_frame.bits(), 0, std::size_t(m_frame.numBytes()));
        *m_image = m_frame;
        m_consumer->setSize(m_frame.width(), m_frame.height());
    }
    tellTimes();
}

void VPNGFormat::tellTimes()
{
    if (m_looping >= 0)
        m_consumer->setLooping(m_looping);
    if (m_period >= 0)
        m_consumer->setFramePeriod(m_period);
    m_looping = m_period = -1;
}

void VPNGFormat::flushChanges()
{
    if (!m_dirty.isEmpty())
        m_consumer->changed(m_dirty);
    m_dirty = QRect();
}

bool VPNGFormat::finishFrame()
{
    // The codec only warns of pixels that it can't decompress.
    if (!m_hasAllRows)
        return false;
    flushChanges();
    tellTimes();
    pngsetup::finishImage(m_png, m_info, m_frame);
    release();
    if (!placeFrame())
        return false;
    m_frame = VImage();
    ++m_frames;
    m_lastDisposal = m_disposal;
    return true;
}

/// Undoes the frame that stands.
void VPNGFormat::dispose()
{
    const bool toImage = m_lastDisposal == VPNGImageWriter::RestoreImage && !m_covered.isNull();
    if (m_area.isEmpty() || (m_lastDisposal != VPNGImageWriter::RestoreBackground &&
                             m_lastDisposal != VPNGImageWriter::RestoreImage))
        return;
    // Nothing stands before the first frame, so that it gives way to the background either way.
    if (!toImage)
        m_image->setAlphaBuffer(true);
    const std::size_t count = std::size_t(m_area.width()) * sizeof(quint32);
    for (int y = 0; y < m_area.height(); ++y) {
        unsigned char* line =
            m_image->jumpTable()[m_area.y() + y] + std::size_t(m_area.x()) * sizeof(quint32);
        if (toImage)
            std::memcpy(line, m_covered.jumpTable()[y], count);
        else
            std::memset(line, 0, count);
    }
    m_consumer->changed(m_area);
}

bool VPNGFormat::placeFrame()
{
    const QPoint offset(m_frame.offset().x, m_frame.offset().y);
    if (m_frames == 0) {
        m_origin = offset;
        m_area = QRect(0, 0, m_frame.width(), m_frame.height());
        m_consumer->frameDone(QPoint(), m_area);
        m_consumer->end();
        return true;
    }
    if (m_image->depth() != 32) {
        if (!VImage::checkAllocation(m_image->width(), m_image->height(), 32))
            return false;
        *m_image = m_image->convertDepth(32);
    }
    if (m_frame.depth() != 32 && !VImage::checkAllocation(m_frame.width(), m_frame.height(), 32))
        return false;
    const VImage frame = m_frame.convertDepth(32);
    if (m_image->isNull() || frame.isNull())
        return false;
    dispose();
    const qint64 left = qint64(offset.x()) - m_origin.x();
    const qint64 top = qint64(offset.y()) - m_origin.y();
    const auto clipped = [](qint64 at, int limit) { return int(std::clamp<qint64>(at, 0, limit)); };
    const int x = clipped(left, m_image->width());
    const int y = clipped(top, m_image->height());
    m_area = QRect(x, y, clipped(left + frame.width(), m_image->width()) - x,
                   clipped(top + frame.height(), m_image->height()) - y);
    m_covered = VImage();
    if (!m_area.isEmpty()) {
        if (m_disposal == VPNGImageWriter::RestoreImage)
            m_covered = m_image->copy(x, y, m_area.width(), m_area.height());
        for (int row = 0; row < m_area.height(); ++row)
            std::memcpy(m_image->jumpTable()[y + row] + std::size_t(x) * sizeof(quint32),
                        frame.jumpTable()[y - top + row] + std::size_t(x - left) * sizeof(quint32),
                        std::size_t(m_area.width()) * sizeof(quint32));
        if (frame.hasAlphaBuffer())
            m_image->setAlphaBuffer(true);
        m_consumer->changed(m_area);
    }
    const auto place = [](qint64 at) { return int(std::clamp<qint64>(at, INT_MIN, INT_MAX)); };
    m_consumer->frameDone(QPoint(place(left), place(top)), m_area);
    m_consumer->end();
    return true;
}

VImageFormat* VPNGFormatType::decoderFor(const unsigned char* bytes, int length)
{
    return length >= 8 && png_sig_cmp(bytes, 0, 8) == 0 ? new VPNGFormat : nullptr;
}

const char* VPNGFormatType::formatName() const
{
    return "PNG";
}
