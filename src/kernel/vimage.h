#pragma once

#include "geometry/zylforward.h"
#include "geometry/zylvector.h"
#include "toolkit/qcstring.h"
#include "toolkit/qmemarray.h"
#include "toolkit/qstrlist.h"
#include "toolkit/qvaluelist.h"
#include "toolkit/zylexport.h"
#include "tools/vsize.h"

#include <qmap.h>
#include <qstring.h>
#include <qstringlist.h>

class QDataStream;
class VImageIO;
class VPixmap;
struct VImageData;

/// What a text annotation is filed under. Ordered by key, then language, byte by byte.
class ZYL_EXPORT VImageTextKeyLang
{
public:
    VImageTextKeyLang() = default;
    VImageTextKeyLang(const char* k, const char* l) : key(k), lang(l) {}

    bool operator<(const VImageTextKeyLang& other) const;
    bool operator==(const VImageTextKeyLang& other) const;

    QCString key;
    QCString lang;
};

/// The text annotations of an image.
struct ZYL_EXPORT VImageMisc {
    QMap<VImageTextKeyLang, QString> texts;
};

/// A raster of `width` by `height` pixels of 1, 8 or 32 bits, of which 1 and 8 are indices into a
/// colour table.
///
/// A colour is `0xAARRGGBB` in one native word; the top byte counts only while `hasAlphaBuffer` is
/// set. Lines fill whole 32-bit words. Copies share pixels, table and all else by an
/// uncounted-for-threads reference count, and what changes an image (`fill`, `setPixel`,
/// `setColor`, `create`, `reset`, ...) changes every copy: `detach` first where that is not wanted.
/// Operations that return an image build another one.
///
/// A null image is one without pixels. It may have a size, when only the header of a file was read.
class ZYL_EXPORT VImage
{
public:
    /// Which bit of a byte is the leftmost pixel of a 1-bit image: the most significant
    /// (`BigEndian`) or the least.
    enum Endian { IgnoreEndian = 0, BigEndian = 1, LittleEndian = 2 };

    /// How a wanted size is met, as `VSize::scale` has it.
    enum ScaleMode {
        ScaleFree = VSize::ScaleFree,
        ScaleMin = VSize::ScaleMin,
        ScaleMax = VSize::ScaleMax
    };

    /// The flags of conversions: one of each group.
    enum ConversionFlags {
        DiffuseDither = 0x00,
        OrderedDither = 0x10,
        ThresholdDither = 0x20,
        DitherMask = 0x30,

        ThresholdAlphaDither = 0x00,
        OrderedAlphaDither = 0x04,
        DiffuseAlphaDither = 0x08,
        AlphaDitherMask = 0x0C,

        AutoDither = 0x00,
        PreferDither = 0x40, ///< to the colour cube, even if the colours would fit
        AvoidDither = 0x80,
        DitherPreferenceMask = 0xC0
    };

    /// The default limit of the pixel bytes of one image.
    static constexpr qint64 DefaultAllocationLimit = qint64(1) << 30;

    VImage();
    VImage(int w, int h, int depth, int numColors = 0, Endian bitOrder = IgnoreEndian);
    VImage(const VSize& size, int depth, int numColors = 0, Endian bitOrder = IgnoreEndian);
    explicit VImage(const QString& fileName, const char* format = nullptr);
    explicit VImage(const char* const* xpm);
    explicit VImage(const QMemArray<char>& bytes);
    VImage(const VImage& other);
    /// Wraps pixels that the caller keeps, their lines one after the other. `colortable` is used in
    /// place too, and without one the image owns a table of zeros. Null `data` gives a null image
    /// with that size.
    VImage(unsigned char* data, int w, int h, int depth, unsigned int* colortable, int numColors,
           Endian bitOrder);
    ~VImage();

    VImage& operator=(const VImage& other);
    VImage& operator=(const VPixmap& pixmap);

    /// Whether both show the same: size and, seen as 32 bits, every word, unused top bytes
    /// included.
    bool operator==(const VImage& other) const;
    bool operator!=(const VImage& other) const { return !(*this == other); }

    /// Makes the record an image of the given kind, its pixels uninitialised. False, and null, for
    /// a size, depth or order that can't be had; warns for 24 bits, for 1 bit without an order and
    /// above the allocation limit.
    bool create(int w, int h, int depth, int numColors = 0, Endian bitOrder = IgnoreEndian);
    bool create(const VSize& size, int depth, int numColors = 0, Endian bitOrder = IgnoreEndian);
    void reset();
    /// Gives this handle a record of its own.
    void detach();
    VImage copy() const;
    /// The part of the image there, or null for an empty one; outside of the image it is 0.
    ///
    /// A part of a 1-bit image that neither starts nor ends at a multiple of 8 pixels, nor runs to
    /// the right edge, comes back as any `bitBlt` into such an image does: dithered to black and
    /// white, and `BigEndian`. Resolution, offset and texts stay behind.
    VImage copy(int x, int y, int w, int h, int conversionFlags = 0) const;

    bool isNull() const;
    int width() const;
    int height() const;
    VSize size() const;
    int depth() const;
    int numColors() const;
    Endian bitOrder() const;
    int bytesPerLine() const;
    /// Bytes of all lines.
    int numBytes() const;

    /// The first byte of the first line, or null.
    unsigned char* bits() const;
    /// A line's first byte. Warns for a line that isn't there and gives null.
    unsigned char* scanLine(int line) const;
    /// The lines' first bytes, or null.
    unsigned char** jumpTable() const;

    /// The colours, or null.
    unsigned int* colorTable() const;
    /// Warns past the table's end and gives 0xFFFFFFFF.
    unsigned int color(int index) const;
    /// Warns past the table's end and does nothing.
    void setColor(int index, unsigned int color);
    /// Lengthens the table with zeros or cuts it. A table of the caller's is left for one of zeros.
    void setNumColors(int count);

    bool hasAlphaBuffer() const;
    /// Says whether the top bytes count; changes no pixel.
    void setAlphaBuffer(bool alpha);

    int dotsPerMeterX() const;
    int dotsPerMeterY() const;
    void setDotsPerMeterX(int dots);
    void setDotsPerMeterY(int dots);
    geometry::Vector2i offset() const;
    void setOffset(const geometry::Vector2i& offset);

    bool valid(int x, int y) const;
    /// The index at a pixel of a 1- or 8-bit image. Warns elsewhere: -12345 outside, 0 for other
    /// depths.
    int pixelIndex(int x, int y) const;
    /// The colour at a pixel. Warns outside of the image and gives 12345.
    unsigned int pixel(int x, int y) const;
    /// Sets a pixel to an index or colour. Warns for an index above 1 or, with 8 bits, above
    /// `numColors`.
    void setPixel(int x, int y, unsigned int value);

    /// Sets every pixel to an index or colour. With alpha, 32-bit pixels keep their top bytes.
    void fill(unsigned int pixel);
    /// Complements all bits. `keepAlpha` spares the top bytes of 32-bit pixels.
    void invertPixels(bool keepAlpha = true);

    /// Whether red, green and blue are equal in every colour of the table, or in every 32-bit
    /// pixel.
    bool allGray() const;
    /// Whether an index of an 8-bit image is its brightness, or a 32-bit image is `allGray`.
    bool isGrayscale() const;

    /// The image in another depth, or itself. Warns and is null for what isn't supported.
    VImage convertDepth(int depth) const;
    VImage convertDepth(int depth, int conversionFlags) const;
    /// Converts by way of 32 and 8 bits. The 8-bit table starts with the palette as it stands.
    VImage convertDepthWithPalette(int depth, const unsigned int* palette, int paletteCount,
                                   int conversionFlags = 0) const;
    VImage convertBitOrder(Endian bitOrder) const;

    /// The image by nearest pixels in the size that the mode gives. Warns for a null image.
    VImage scale(int w, int h, ScaleMode mode = ScaleFree) const;
    VImage scale(const VSize& size, ScaleMode mode = ScaleFree) const;
    /// The image by averages of pixels. 32 bits, or 8 for a gray image.
    VImage smoothScale(int w, int h, ScaleMode mode = ScaleFree) const;
    VImage smoothScale(const VSize& size, ScaleMode mode = ScaleFree) const;
    /// `scale` to one side's length, keeping the sides' ratio.
    VImage scaleWidth(int w) const;
    VImage scaleHeight(int h) const;
    /// The image moved by the matrix's linear part, in the smallest upright rectangle that holds
    /// it. What the image doesn't cover there is 0, in an 8-bit image an additional colour 0.
    ///
    /// A 1-bit result counts pixels from the least significant bit of a byte, whatever its bit
    /// order says.
    VImage xForm(const geometry::Matrix3d& matrix) const;

    /// The mirrored image, with all that belongs to it.
    VImage mirror() const;
    VImage mirror(bool horizontal, bool vertical) const;
    /// The image with red and blue exchanged, with all that belongs to it.
    VImage swapRGB() const;

    /// A 1-bit image of the pixels that the alpha bytes leave visible, or null without alpha. The
    /// flags' value 1 stands for `DiffuseAlphaDither`.
    VImage createAlphaMask(int conversionFlags = 0) const;
    /// A 1-bit image of all but what looks like background: the pixels of the corners' colour that
    /// hang together with the frame. Unless `clipTight`, the rest is a pixel larger.
    VImage createHeuristicMask(bool clipTight = true) const;

    /// Reads a file of any known format, or of the one named. On failure the image stays and the
    /// result is false.
    bool load(const QString& fileName, const char* format = nullptr);
    bool loadFromData(const unsigned char* bytes, unsigned int count, const char* format = nullptr);
    bool loadFromData(const QMemArray<char>& bytes, const char* format = nullptr);
    /// Writes a file. `quality` is 0 to 100, or -1 for the format's own.
    bool save(const QString& fileName, const char* format, int quality = -1) const;
    bool doImageIO(VImageIO* io, int quality) const;
    static const char* imageFormat(const QString& fileName);
    static QStrList inputFormats();
    static QStrList outputFormats();
    static QStringList inputFormatList();
    static QStringList outputFormatList();

    /// The text there, or an empty one.
    QString text(const char* key, const char* lang = nullptr) const;
    QString text(const VImageTextKeyLang& keyLang) const;
    void setText(const char* key, const char* lang, const QString& text);
    /// The different keys, each where it occurs last in the order of `textList`.
    QStringList textKeys() const;
    QStringList textLanguages() const;
    QValueList<VImageTextKeyLang> textList() const;
    /// The annotations themselves, made on first use.
    VImageMisc& misc() const;

    /// The order of a word's bytes on this machine.
    static Endian systemByteOrder();
    /// The order of a bitmap's bits on the display.
    static Endian systemBitOrder();
    /// Always null: no drag source is known here.
    static VImage fromMimeSource(const QString& name);
    static void warningIndexRange(const char* where, int index);

    /// How many bytes of pixels one image may have, so that the header of a hostile file can't take
    /// all memory. 1 GiB at first; 0 leaves only what the counts can hold.
    static qint64 allocationLimit();
    static void setAllocationLimit(qint64 bytes);
    /// Warns and is false for a size above the limit. A reader asks before it allocates anything
    /// for an image.
    static bool checkAllocation(qint64 w, qint64 h, int depth);

private:
    explicit VImage(VImageData* record) : m_data(record) {}

    void release();
    VImage createLike(int w, int h) const;
    void copyExtras(const VImage& from);
    VImage scaledBy(double x, double y) const;
    bool convert32To8(VImage& dst, int conversionFlags, const unsigned int* palette,
                      int paletteCount) const;
    bool ditherTo1(VImage& dst, int conversionFlags, bool fromAlpha) const;
    VImage smoothScaled(const VSize& size) const;

    VImageData* m_data;
};

/// The record that the copies of an image share.
struct ZYL_EXPORT VImageData {
    unsigned int ref = 1;
    int w = 0;
    int h = 0;
    int d = 0;
    int ncols = 0;
    int nbytes = 0; // of the lines, without the table of them
    VImage::Endian bitordr = VImage::IgnoreEndian;
    unsigned int* ctbl = nullptr;
    unsigned char** bits = nullptr;
    bool alpha = false;
    int dpmx = 0;
    int dpmy = 0;
    geometry::Vector2i offset;
    VImageMisc* misc = nullptr;
    bool ctblMine = false;
};

// clang-format off
inline bool VImage::isNull() const { return m_data->bits == nullptr; }
inline int VImage::width() const { return m_data->w; }
inline int VImage::height() const { return m_data->h; }
inline VSize VImage::size() const { return VSize(m_data->w, m_data->h); }
inline int VImage::depth() const { return m_data->d; }
inline int VImage::numColors() const { return m_data->ncols; }
inline VImage::Endian VImage::bitOrder() const { return m_data->bitordr; }
inline int VImage::bytesPerLine() const { return m_data->h ? m_data->nbytes / m_data->h : 0; }
inline int VImage::numBytes() const { return m_data->nbytes; }
inline unsigned char* VImage::bits() const { return m_data->bits ? m_data->bits[0] : nullptr; }
inline unsigned char** VImage::jumpTable() const { return m_data->bits; }
inline unsigned int* VImage::colorTable() const { return m_data->ctbl; }
inline bool VImage::hasAlphaBuffer() const { return m_data->alpha; }
inline int VImage::dotsPerMeterX() const { return m_data->dpmx; }
inline int VImage::dotsPerMeterY() const { return m_data->dpmy; }
inline geometry::Vector2i VImage::offset() const { return m_data->offset; }
// clang-format on

inline bool VImage::valid(int x, int y) const
{
    return unsigned(x) < unsigned(m_data->w) && unsigned(y) < unsigned(m_data->h);
}

inline unsigned char* VImage::scanLine(int line) const
{
    if (unsigned(line) >= unsigned(m_data->h)) {
        warningIndexRange("scanLine", line);
        return nullptr;
    }
    return m_data->bits ? m_data->bits[line] : nullptr;
}

ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const VImage& image);
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, VImage& image);

/// Copies a block into another image, converting it to that one's depth. A negative `sw` or `sh`
/// means all of the source's width or height; what lies outside of either image is left out. A
/// source with alpha is blended into a 32-bit destination. Blocks may overlap.
///
/// A destination of 1 or 8 bits takes only a block of equal colours byte by byte, and in 1 bit only
/// one that starts and ends at multiples of 8 pixels (or ends at both right edges). Any other way
/// it is converted to 32 bits and back: 1 bit then comes out dithered to black and white and
/// `BigEndian`, 8 bits may fall to the colour cube, resolution, offset and texts are lost, and
/// other copies of the destination don't see the block.
ZYL_EXPORT void bitBlt(VImage* dst, int dx, int dy, const VImage* src, int sx = 0, int sy = 0,
                       int sw = -1, int sh = -1, int conversionFlags = 0);

/// Samples `sWidth` by `sHeight` pixels at `src` into `dHeight` lines at `dst`, by the matrix that
/// maps a target position to a source position. A line has `dbpl` * 8 / `depth` pixels, then `pInc`
/// bytes are passed over; what lies outside of the source leaves the target. `type` 0 says that
/// 1-bit sources start at the most significant bit; targets start at the least significant one.
/// False for a depth other than 1, 8, 16, 24, 32.
ZYL_EXPORT bool zyl_xForm_helper(const geometry::Matrix3d& matrix, int xoffset, int type, int depth,
                                 unsigned char* dst, int dbpl, int pInc, int dHeight,
                                 const unsigned char* src, int sbpl, int sWidth, int sHeight);

/// The bytes from 0 to 255, each with its bits in reverse.
ZYL_EXPORT const unsigned char* zyl_get_bitflip_array();
