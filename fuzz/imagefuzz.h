#pragma once

#include "kernel/vimageio.h"

#include <cstdint>

#include <qbuffer.h>
#include <qlogging.h>

/// Reads one picture by the named format, and works on what comes out of it.
inline int readImage(const char* format, const std::uint8_t* data, std::size_t size)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    // A header must not take more than a fuzzer has.
    VImage::setAllocationLimit(16 << 20);
    vInitSgiIO();
    QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    VImageIO io(&buffer, format);
    // The first byte also chooses what is asked of the readers that take parameters.
    if (size > 4 && data[size - 1] % 4 == 1)
        io.setParameters("Scale( 20, 30, ScaleMin )");
    if (io.read() && !io.image().isNull()) {
        const VImage image = io.image().convertDepth(32);
        if (!image.valid(0, 0) || image.pixel(0, 0) == 0x12345)
            return 0;
        io.image().allGray();
    }
    return 0;
}
