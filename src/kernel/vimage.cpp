#include "kernel/vimage.h"

#include "kernel/vimagelines_p.h"
#include "kernel/vpixmap.h"
#include "kernel/vx11.h"
#include "toolkit/checkpointer.h"

#include <qsysinfo.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#if defined(__linux__)
#include <sys/mman.h>
#endif

using namespace imagelines;

namespace
{
constexpr char source[] = "kernel/vimage";

qint64 pixelLimit = VImage::DefaultAllocationLimit;

void* checked(void* block, int line)
{
    qt_check_pointer(block == nullptr, source, line);
    return block;
}

/// Memory for the lines. A big picture asks for big pages: taking in 64 MiB page by page costs as
/// much as copying it. Up to 32 MiB `malloc` keeps a freed block, pages and all, for the next one.
void* allocateLines(std::size_t bytes)
{
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    constexpr std::size_t hugePage = std::size_t(1) << 21;
    if (bytes > 16 * hugePage) {
        void* block = std::aligned_alloc(hugePage, (bytes + hugePage - 1) & ~(hugePage - 1));
        if (block)
            madvise(block, bytes, MADV_HUGEPAGE);
        return block;
    }
#endif
    return std::malloc(bytes);
}
} // namespace

VImage::VImage() : m_data(new VImageData) {}

VImage::VImage(int w, int h, int depth, int numColors, Endian bitOrder) : VImage()
{
    create(w, h, depth, numColors, bitOrder);
}

VImage::VImage(const VSize& size, int depth, int numColors, Endian bitOrder)
    : VImage(size.width(), size.height(), depth, numColors, bitOrder)
{
}

VImage::VImage(const VImage& other) : m_data(other.m_data)
{
    ++m_data->ref;
}

VImage::VImage(unsigned char* data, int w, int h, int depth, unsigned int* colortable,
               int numColors, Endian bitOrder)
    : VImage()
{
    if (w < 1 || h < 1 || depth < 1 || numColors < 0)
        return;
    const std::int64_t bytesPerLine = lineBytes(w, depth);
    if (0x7fffffff / depth < w || 0x7fffffff / bytesPerLine < h)
        return;
    if (depth == 32)
        numColors = 0;

    unsigned char** lines = nullptr;
    unsigned int* table = nullptr;
    if (data) {
        lines = static_cast<unsigned char**>(
            checked(std::malloc(std::size_t(h) * sizeof(unsigned char*)), 120));
        if (!lines)
            return;
        // The square is the size that callers count on.
        if (!colortable && numColors > 0) {
            table = static_cast<unsigned int*>(
                checked(std::calloc(std::size_t(numColors) * std::size_t(numColors), 4), 121));
            if (!table) {
                std::free(lines);
                return;
            }
        }
    }
    m_data->w = w;
    m_data->h = h;
    m_data->d = depth;
    m_data->ncols = numColors;
    m_data->bitordr = bitOrder;
    if (!data)
        return;
    m_data->nbytes = int(bytesPerLine * h);
    m_data->ctblMine = table != nullptr;
    m_data->ctbl = table ? table : numColors > 0 ? colortable : nullptr;
    for (int y = 0; y < h; ++y)
        lines[y] = data + y * bytesPerLine;
    m_data->bits = lines;
}

VImage::~VImage()
{
    release();
}

VImage& VImage::operator=(const VImage& other)
{
    ++other.m_data->ref;
    release();
    m_data = other.m_data;
    return *this;
}

VImage& VImage::operator=(const VPixmap& pixmap)
{
    return *this = pixmap.convertToImage();
}

void VImage::release()
{
    if (--m_data->ref == 0) {
        reset();
        delete m_data;
    }
}

bool VImage::operator==(const VImage& other) const
{
    if (m_data == other.m_data || (isNull() && other.isNull()))
        return true;
    if (isNull() != other.isNull() || width() != other.width() || height() != other.height())
        return false;
    const VImage mine = convertDepth(32), theirs = other.convertDepth(32);
    return !mine.isNull() && !theirs.isNull() &&
           std::memcmp(mine.bits(), theirs.bits(), std::size_t(mine.numBytes())) == 0;
}

bool VImage::create(int w, int h, int depth, int numColors, Endian bitOrder)
{
    reset();
    if (w < 1 || h < 1 || depth < 1 || numColors < 0)
        return false;
    if (depth != 1) {
        bitOrder = IgnoreEndian;
    } else if (bitOrder == IgnoreEndian) {
        qWarning("VImage::create: Bit order is required for 1 bpp images");
        return false;
    }
    if (depth == 24)
        qWarning("VImage::create: 24-bpp images no longer supported, use 32-bpp instead");
    if (depth != 1 && depth != 8 && depth != 32)
        return false;
    if (depth == 32)
        numColors = 0;

    const std::int64_t bytesPerLine = lineBytes(w, depth);
    if (0x7fffffff / depth < w || 0x7fffffff / bytesPerLine < h || !checkAllocation(w, h, depth))
        return false;
    setNumColors(numColors);
    if (m_data->ncols != numColors)
        return false;

    const std::size_t tableBytes = std::size_t(h) * sizeof(unsigned char*);
    const std::size_t pixelBytes = std::size_t(h) * std::size_t(bytesPerLine);
    constexpr std::size_t cacheLine = 64;
    void* block = checked(allocateLines(tableBytes + pixelBytes + cacheLine), 220);
    if (!block) {
        setNumColors(0);
        return false;
    }
    auto lines = static_cast<unsigned char**>(block);
    auto line = static_cast<unsigned char*>(block) + tableBytes;
    line += -reinterpret_cast<std::uintptr_t>(line) % cacheLine;
    const std::size_t filled = std::size_t(std::int64_t(w) * depth / 8);
    for (int y = 0; y < h; ++y, line += bytesPerLine) {
        lines[y] = line;
        for (std::size_t i = filled; i < std::size_t(bytesPerLine); ++i)
            line[i] = 0;
    }
    m_data->w = w;
    m_data->h = h;
    m_data->d = depth;
    m_data->nbytes = int(pixelBytes);
    m_data->bitordr = bitOrder;
    m_data->bits = lines;
    return true;
}

bool VImage::create(const VSize& size, int depth, int numColors, Endian bitOrder)
{
    return create(size.width(), size.height(), depth, numColors, bitOrder);
}

void VImage::reset()
{
    std::free(m_data->bits);
    if (m_data->ctblMine)
        std::free(m_data->ctbl);
    delete m_data->misc;
    const unsigned int ref = m_data->ref;
    *m_data = VImageData();
    m_data->ref = ref;
}

void VImage::detach()
{
    if (m_data->ref != 1)
        *this = copy();
}

VImage VImage::copy() const
{
    if (isNull()) {
        VImage image(nullptr, width(), height(), depth(), nullptr, numColors(), bitOrder());
        image.copyExtras(*this);
        return image;
    }
    VImage image = createLike(width(), height());
    if (!image.isNull()) {
        std::memcpy(image.bits(), bits(), std::size_t(numBytes()));
        image.copyExtras(*this);
    }
    return image;
}

/// An image of this one's kind and colours in another size.
VImage VImage::createLike(int w, int h) const
{
    VImage image(w, h, depth(), numColors(), bitOrder());
    if (image.colorTable() && colorTable())
        std::copy_n(colorTable(), numColors(), image.colorTable());
    return image;
}

/// Takes over what doesn't belong to pixels and colours.
void VImage::copyExtras(const VImage& from)
{
    m_data->alpha = from.m_data->alpha;
    m_data->dpmx = from.m_data->dpmx;
    m_data->dpmy = from.m_data->dpmy;
    m_data->offset = from.m_data->offset;
    if (from.m_data->misc)
        misc() = *from.m_data->misc;
}

unsigned int VImage::color(int index) const
{
    if (unsigned(index) >= unsigned(m_data->ncols) || !m_data->ctbl) {
        warningIndexRange("color", index);
        return White;
    }
    return m_data->ctbl[index];
}

void VImage::setColor(int index, unsigned int color)
{
    if (unsigned(index) >= unsigned(m_data->ncols) || !m_data->ctbl)
        warningIndexRange("setColor", index);
    else
        m_data->ctbl[index] = color;
}

void VImage::setNumColors(int count)
{
    if (count == m_data->ncols || count < 0)
        return;
    if (count == 0) {
        if (m_data->ctblMine)
            std::free(m_data->ctbl);
        m_data->ctblMine = true;
        m_data->ctbl = nullptr;
        m_data->ncols = 0;
        return;
    }
    const bool owned = m_data->ctbl && m_data->ctblMine;
    void* block = checked(
        std::realloc(owned ? m_data->ctbl : nullptr, std::size_t(count) * sizeof(Word)), 300);
    if (!block) {
        if (owned)
            std::free(m_data->ctbl);
        m_data->ctbl = nullptr;
        m_data->ncols = 0;
        return;
    }
    m_data->ctbl = static_cast<Word*>(block);
    // The entries of a caller's table aren't taken over.
    const int kept = owned ? std::min(m_data->ncols, count) : 0;
    std::fill(m_data->ctbl + kept, m_data->ctbl + count, 0);
    m_data->ctblMine = true;
    m_data->ncols = count;
}

void VImage::setAlphaBuffer(bool alpha)
{
    m_data->alpha = alpha;
}

void VImage::setDotsPerMeterX(int dots)
{
    m_data->dpmx = dots;
}

void VImage::setDotsPerMeterY(int dots)
{
    m_data->dpmy = dots;
}

void VImage::setOffset(const geometry::Vector2i& offset)
{
    m_data->offset = offset;
}

int VImage::pixelIndex(int x, int y) const
{
    if (unsigned(x) >= unsigned(width())) {
        qWarning("VImage::pixel: x=%d out of range", x);
        return -12345;
    }
    const unsigned char* line = scanLine(y);
    if (!line)
        return -12345;
    switch (depth()) {
    case 1:
        return testBit(line, x, bitOrder());
    case 8:
        return line[x];
    default:
        qWarning("VImage::pixelIndex: Not applicable for %d-bpp images (no palette)", depth());
        return 0;
    }
}

unsigned int VImage::pixel(int x, int y) const
{
    if (unsigned(x) >= unsigned(width())) {
        qWarning("VImage::pixel: x=%d out of range", x);
        return 12345;
    }
    const unsigned char* line = scanLine(y);
    if (!line)
        return 12345;
    switch (depth()) {
    case 1:
        return colorTable() ? color(testBit(line, x, bitOrder())) : White;
    case 8:
        return colorTable() ? color(line[x]) : White;
    case 32: {
        Word value;
        std::memcpy(&value, line + std::size_t(x) * 4, 4); // a caller's lines may start anywhere
        return value;
    }
    default:
        return 100367;
    }
}

void VImage::setPixel(int x, int y, unsigned int value)
{
    if (unsigned(x) >= unsigned(width())) {
        qWarning("VImage::setPixel: x=%d out of range", x);
        return;
    }
    unsigned char* line = scanLine(y);
    if (!line)
        return;
    // With 8 bits one past the table is let through: writers set the pixel before they add its
    // colour.
    const unsigned int limit = depth() == 1 ? 1 : depth() == 8 ? unsigned(numColors()) : UINT_MAX;
    if (value > limit) {
        qWarning("VImage::setPixel: index=%d out of range", int(value));
        return;
    }
    switch (depth()) {
    case 1: {
        const Byte mask = bitMask(x, bitOrder());
        line[x >> 3] = Byte(value ? line[x >> 3] | mask : line[x >> 3] & ~mask);
        break;
    }
    case 8:
        line[x] = Byte(value);
        break;
    case 32:
        std::memcpy(line + std::size_t(x) * 4, &value, 4);
        break;
    default:
        break;
    }
}

void VImage::fill(unsigned int pixel)
{
    if (isNull())
        return;
    switch (depth()) {
    case 1:
        std::memset(bits(), pixel & 1 ? 0xFF : 0, std::size_t(numBytes()));
        break;
    case 8:
        std::memset(bits(), int(pixel & 0xFF), std::size_t(numBytes()));
        break;
    case 32:
        fillWords(bits(), std::size_t(numBytes()) / 4, pixel, hasAlphaBuffer() ? Opaque : 0);
        break;
    default:
        break;
    }
}

void VImage::invertPixels(bool keepAlpha)
{
    if (isNull())
        return;
    invertWords(bits(), std::size_t(numBytes()) / 4,
                keepAlpha && depth() == 32 ? ColorMask : White);
}

bool VImage::allGray() const
{
    if (isNull())
        return true;
    if (depth() == 32)
        return areGray(bits(), std::size_t(width()) * std::size_t(height()));
    return !colorTable() || std::all_of(colorTable(), colorTable() + numColors(), &isGray);
}

bool VImage::isGrayscale() const
{
    if (isNull())
        return false;
    if (depth() == 32)
        return allGray();
    if (depth() != 8)
        return false;
    for (int i = 0; i < numColors(); ++i)
        if (!colorTable() || colorTable()[i] != (Opaque | unsigned(i) * 0x010101u))
            return false;
    return true;
}

void VImage::warningIndexRange(const char* where, int index)
{
    qWarning("VImage::%s: Index %d out of range", where, index);
}

VImage::Endian VImage::systemByteOrder()
{
    static Endian order = IgnoreEndian;
    if (order == IgnoreEndian)
        order = QSysInfo::ByteOrder == QSysInfo::BigEndian ? BigEndian : LittleEndian;
    return order;
}

VImage::Endian VImage::systemBitOrder()
{
    return VX11::instance()->bitmapBitOrder() == 1 ? BigEndian : LittleEndian;
}

VImage VImage::fromMimeSource(const QString&)
{
    return VImage();
}

qint64 VImage::allocationLimit()
{
    return pixelLimit;
}

void VImage::setAllocationLimit(qint64 bytes)
{
    pixelLimit = bytes;
}

bool VImage::checkAllocation(qint64 w, qint64 h, int depth)
{
    if (pixelLimit <= 0 || w < 1 || h < 1 || depth < 1)
        return true;
    // Divided, so that no product passes 64 bits.
    if (w <= (LLONG_MAX - 31) / depth && lineBytes(w, depth) <= pixelLimit / h)
        return true;
    qWarning("VImage::create: %lld x %lld pixels of %d bits are above the limit of %lld bytes", w,
             h, depth, pixelLimit);
    return false;
}
