#include "kernel/vpngformat.h"

#include "kernel/vpngimage.h"
#include "kernel/vpngsetup_p.h"

#include <algorithm>
#include <climits>
#include <cstring>

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
        // Rows may never come.
        std::memset(self->m_frame.bits(), 0, std::size_t(self->m_frame.numBytes()));
        if (self->m_frames == 0) {
            *self->m_image = self->m_frame;
            self->m_consumer->setSize(self->m_frame.width(), self->m_frame.height());
        }
        if (self->m_looping >= 0)
            self->m_consumer->setLooping(self->m_looping);
        if (self->m_period >= 0)
            self->m_consumer->setFramePeriod(self->m_period);
        self->m_looping = self->m_period = -1;
    }

    static void readRow(png_structp png, png_bytep bytes, png_uint_32 row, int)
    {
        VPNGFormat* self = format(png);
        // A pass of an interlaced picture may have nothing for a row.
        if (!bytes || row >= png_uint_32(self->m_frame.height()))
            return;
        png_progressive_combine_row(png, self->m_frame.jumpTable()[row], bytes);
        if (self->m_frames == 0)
            self->m_consumer->changed(QRect(0, int(row), self->m_frame.width(), 1));
    }

    static void readEnd(png_structp png, png_infop)
    {
        VPNGFormat* self = format(png);
        self->m_isWhole = true;
        self->m_unread = int(png_process_data_pause(png, 0));
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
    for (int taken = 0; taken < length;) {
        if ((!m_png && !start()) || !process(bytes + taken, length - taken))
            return -1;
        taken = length - m_unread;
        if (m_isWhole && !finishFrame())
            return -1;
    }
    return length;
}

bool VPNGFormat::start()
{
    m_isWhole = false;
    m_disposal = 0;
    m_png = pngsetup::createReader();
    if (m_png)
        m_info = png_create_info_struct(m_png);
    return m_info != nullptr;
}

bool VPNGFormat::process(const unsigned char* bytes, int length)
{
    m_unread = 0;
    if (setjmp(png_jmpbuf(m_png)))
        return false;
    if (!png_get_progressive_ptr(m_png)) {
        png_set_read_user_chunk_fn(m_png, this, &Callbacks::readChunk);
        png_set_progressive_read_fn(m_png, this, &Callbacks::readInfo, &Callbacks::readRow,
                                    &Callbacks::readEnd);
        // The progressive reader can't be told, as the other one can, that the signature was read.
        png_byte signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
        if (m_frames > 0)
            png_process_data(m_png, m_info, signature, sizeof signature);
    }
    png_process_data(m_png, m_info, const_cast<png_bytep>(bytes), std::size_t(length));
    return true;
}

bool VPNGFormat::finishFrame()
{
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
    const bool toImage = m_lastDisposal == VPNGImageWriter::RestoreImage;
    if (!toImage && m_lastDisposal != VPNGImageWriter::RestoreBackground)
        return;
    if (!toImage)
        m_image->setAlphaBuffer(true);
    const std::size_t count = std::size_t(m_area.width()) * sizeof(quint32);
    for (int y = 0; y < m_area.height(); ++y) {
        unsigned char* line =
            m_image->jumpTable()[m_area.y() + y] + std::size_t(m_area.x()) * sizeof(quint32);
        if (toImage && !m_covered.isNull())
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
        // Nothing stands before the first frame.
        m_covered = VImage();
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
