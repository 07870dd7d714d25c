// Reading and writing pictures against the bare codecs and Qt's own handlers, on 4096 x 4096 and
// 256 x 256 pixels.

#include "kernel/vimage.h"
#include "kernel/vimageio.h"
#include "ratio.h"

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>

#include <qbuffer.h>
#include <qimage.h>

#include <jpeglib.h>
#include <png.h>

namespace
{
VImage picture(int side)
{
    VImage image(side, side, 32);
    for (int y = 0; y < side; ++y) {
        auto* line = reinterpret_cast<quint32*>(image.scanLine(y));
        for (int x = 0; x < side; ++x)
            line[x] = 0xFF000000u | quint32(x * 255 / side) << 16 | quint32(y * 255 / side) << 8 |
                      quint32((x ^ y) & 63);
    }
    return image;
}

/// At most 200 colours, as icons have.
VImage indexed(int side)
{
    VImage image(side, side, 8, 200);
    for (int i = 0; i < 200; ++i)
        image.setColor(i, 0xFF000000u | quint32(i * 0x010305));
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x)
            image.scanLine(y)[x] = uchar((x / 3 + y / 5) % 200);
    return image;
}

QByteArray saved(const VImage& image, const char* format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    VImageIO io(&buffer, format);
    image.doImageIO(&io, -1);
    return bytes;
}

VImage ours(const QByteArray& bytes, const char* format)
{
    VImage image;
    image.loadFromData(reinterpret_cast<const unsigned char*>(bytes.constData()),
                       unsigned(bytes.size()), format);
    return image;
}

QByteArray plain(const QByteArray& header, const VImage& image, bool color)
{
    QByteArray text = header;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const quint32 rgb = image.pixel(x, y);
            text += QByteArray::number(rgb >> 16 & 255);
            if (color)
                text +=
                    ' ' + QByteArray::number(rgb >> 8 & 255) + ' ' + QByteArray::number(rgb & 255);
            text += x % 8 == 7 ? '\n' : ' ';
        }
    return text;
}

// The bare codecs do what a program would write by hand: straight into words of 32 bits, from and
// to memory.

void jpegError(j_common_ptr)
{
    std::abort();
}

std::unique_ptr<quint32[]> bareJpegLoad(const QByteArray& bytes)
{
    jpeg_decompress_struct codec;
    jpeg_error_mgr errors;
    codec.err = jpeg_std_error(&errors);
    errors.error_exit = jpegError;
    jpeg_create_decompress(&codec);
    jpeg_mem_src(&codec, reinterpret_cast<const unsigned char*>(bytes.constData()),
                 static_cast<unsigned long>(bytes.size()));
    jpeg_read_header(&codec, TRUE);
    codec.out_color_space = JCS_EXT_BGRA;
    jpeg_start_decompress(&codec);
    std::unique_ptr<quint32[]> pixels(
        new quint32[std::size_t(codec.output_width) * codec.output_height]);
    while (codec.output_scanline < codec.output_height) {
        auto* line = reinterpret_cast<JSAMPROW>(pixels.get() + std::size_t(codec.output_scanline) *
                                                                   codec.output_width);
        jpeg_read_scanlines(&codec, &line, 1);
    }
    jpeg_finish_decompress(&codec);
    jpeg_destroy_decompress(&codec);
    return pixels;
}

std::size_t bareJpegSave(const VImage& image)
{
    jpeg_compress_struct codec;
    jpeg_error_mgr errors;
    codec.err = jpeg_std_error(&errors);
    errors.error_exit = jpegError;
    jpeg_create_compress(&codec);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&codec, &bytes, &size);
    codec.image_width = JDIMENSION(image.width());
    codec.image_height = JDIMENSION(image.height());
    codec.input_components = 4;
    codec.in_color_space = JCS_EXT_BGRA;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, 75, TRUE);
    jpeg_start_compress(&codec, TRUE);
    while (codec.next_scanline < codec.image_height) {
        JSAMPROW line = image.scanLine(int(codec.next_scanline));
        jpeg_write_scanlines(&codec, &line, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    std::free(bytes);
    return size;
}

std::unique_ptr<quint32[]> barePngLoad(const QByteArray& bytes)
{
    struct Source {
        const char* at;
    } source{bytes.constData()};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_read_fn(png, &source, [](png_structp p, png_bytep to, std::size_t count) {
        auto* from = static_cast<Source*>(png_get_io_ptr(p));
        std::memcpy(to, from->at, count);
        from->at += count;
    });
    png_read_info(png, info);
    png_set_filler(png, 255, PNG_FILLER_AFTER);
    png_set_bgr(png);
    png_read_update_info(png, info);
    const std::size_t width = png_get_image_width(png, info),
                      height = png_get_image_height(png, info);
    std::unique_ptr<quint32[]> pixels(new quint32[width * height]);
    std::vector<png_bytep> lines;
    for (std::size_t y = 0; y < height; ++y)
        lines.push_back(reinterpret_cast<png_bytep>(pixels.get() + y * width));
    png_read_image(png, lines.data());
    png_read_end(png, info);
    png_destroy_read_struct(&png, &info, nullptr);
    return pixels;
}

std::size_t barePngSave(const VImage& image)
{
    std::vector<char> bytes;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &bytes,
        [](png_structp p, png_bytep from, std::size_t count) {
            auto* to = static_cast<std::vector<char>*>(png_get_io_ptr(p));
            to->insert(to->end(), from, from + count);
        },
        nullptr);
    png_set_IHDR(png, info, png_uint_32(image.width()), png_uint_32(image.height()), 8,
                 PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_set_bgr(png);
    png_set_filler(png, 0, PNG_FILLER_AFTER);
    png_write_image(png, image.jumpTable());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return bytes.size();
}

void compareWithQt(const std::string& name, double wanted, const QByteArray& bytes,
                   const char* format, int pairs)
{
    const char* qtFormat = std::strncmp(format, "SGI", 3) == 0 ? nullptr : format;
    if (QImage::fromData(bytes, qtFormat).isNull() || ours(bytes, format).isNull()) {
        std::fprintf(stderr, "%s can't be read\n", name.c_str());
        std::exit(1);
    }
    bench::compare(
        name, wanted, [&] { bench::keep(ours(bytes, format).bits()); },
        [&] { bench::keep(QImage::fromData(bytes, qtFormat).constBits()); }, pairs);
}
} // namespace

int main()
{
    for (const int side : {256, 4096}) {
        const std::string size = " " + std::to_string(side);
        const int pairs = side == 256 ? 11 : 3;
        const VImage image = picture(side);
        const VImage icon = indexed(side);
        const QByteArray jpeg = saved(image, "JPEG");
        const QByteArray png = saved(image, "PNG");
        bench::compare(
            "JPEG load" + size, 1.1, [&] { bench::keep(ours(jpeg, "JPEG").bits()); },
            [&] { bench::keep(bareJpegLoad(jpeg).get()); }, pairs);
        bench::compare(
            "JPEG save" + size, 1.1, [&] { bench::keep(saved(image, "JPEG").size()); },
            [&] { bench::keep(bareJpegSave(image)); }, pairs);
        bench::compare(
            "PNG load" + size, 1.1, [&] { bench::keep(ours(png, "PNG").bits()); },
            [&] { bench::keep(barePngLoad(png).get()); }, pairs);
        bench::compare(
            "PNG save" + size, 1.1, [&] { bench::keep(saved(image, "PNG").size()); },
            [&] { bench::keep(barePngSave(image)); }, pairs);
        compareWithQt("BMP 24 load" + size, 0.9, saved(image, "BMP"), "BMP", pairs);
        compareWithQt("BMP 8 load" + size, 0.9, saved(icon, "BMP"), "BMP", pairs);
        compareWithQt("PPM raw load" + size, 0.9, saved(image, "PPM"), "PPM", pairs);
        compareWithQt("PGM raw load" + size, 0.9, saved(icon, "PGM"), "PGM", pairs);
        compareWithQt("PBM raw load" + size, 0.9, saved(icon, "PBM"), "PBM", pairs);
        const QByteArray head =
            QByteArray::number(side) + ' ' + QByteArray::number(side) + "\n255\n";
        compareWithQt("PPM text load" + size, 0.33, plain("P3\n" + head, image, true), "PPM",
                      side == 256 ? 11 : 1);
        compareWithQt("PGM text load" + size, 0.33, plain("P2\n" + head, image, false), "PGM",
                      side == 256 ? 11 : 1);
        compareWithQt("XPM load" + size, 0.33, saved(icon, "XPM"), "XPM", pairs);
    }
    return 0;
}
