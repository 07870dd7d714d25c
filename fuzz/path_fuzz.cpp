// A path from a data stream: whatever comes in must stay within its memory and come to an end, and
// what was read must survive being written, turned round and asked for its inside.

#include "geometry/zylbox.h"
#include "geometry/zylgeneralpath.h"
#include "geometry/zylpathdecomposer.h"

#include <qbytearray.h>
#include <qdatastream.h>
#include <qiodevice.h>
#include <qlogging.h>

#include <cstdint>
#include <cstdlib>

using namespace geometry;

namespace
{
bool read(const QByteArray& bytes, GeneralPath& path)
{
    QDataStream stream(bytes);
    stream >> path;
    return stream.status() == QDataStream::Ok;
}

void require(bool holds)
{
    if (!holds)
        std::abort();
}

QByteArray written(const GeneralPath& path)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << path;
    return bytes;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    GeneralPath2f path;
    if (!read(bytes, path)) {
        require(path.types.isEmpty() && path.vertices.isEmpty());
        return 0;
    }
    GeneralPath2f again;
    require(read(written(path), again) && written(again) == written(path));

    const Box2f bounds = path.bounds();
    const Vector2f center = bounds.center();
    path.contains(center);
    path.contains(bounds.min);
    const Box2f box(center, center + (bounds.max - center) * 0.1f);
    require(!path.contains(box) || path.intersects(box));
    path.intersects(bounds);
    PathDecomposer::decompose(
        path,
        [](const auto&, const char*, const void*, void* count) {
            ++*static_cast<std::size_t*>(count);
        },
        &size);
    GeneralPath3f solid;
    solid.append(static_cast<const Shape2f&>(path), true);
    solid.reverse();
    path.append(static_cast<const Shape2f&>(path), true);
    path.reverse();
    return 0;
}
