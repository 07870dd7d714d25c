// A vector of run-time type, and arrays of vectors, from a data stream: whatever comes in must stay
// within its memory, and what was read must survive being written and read again.

#include "geometry/gvector.h"
#include "geometry/zylbox.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylvectorarray.h"

#include <qbytearray.h>
#include <qdatastream.h>
#include <qiodevice.h>
#include <qlogging.h>

#include <cstdint>
#include <cstdlib>

namespace
{
template <class T>
T read(const QByteArray& bytes)
{
    T value;
    QDataStream stream(bytes);
    stream >> value;
    return value;
}

template <class T>
T again(const T& value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << value;
    return read<T>(bytes);
}

void require(bool holds)
{
    if (!holds)
        std::abort();
}

void useVector(const QByteArray& bytes)
{
    geometry::GVectorArray vector = read<geometry::GVectorArray>(bytes);
    const geometry::GVectorArray copy = again(vector);
    require(copy.flags() == vector.flags() && copy.size() == vector.size());
    require(again(copy) == copy);
    vector.toIntArray().reverse();
    vector.toFloatArray().reverse();
    const float offset[] = {1, 2, 3};
    vector.translate(offset, 3);
    vector *= 1.5;
    vector /= vector.toVector4d().x;
    vector += vector.toIntArray();
    require(vector.size() == copy.size());
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    useVector(bytes);
    const auto points = read<geometry::Vector3fArray>(bytes);
    const auto copy = again(points);
    require(copy.size() == points.size() && again(copy) == copy);
    points.boundingBox();
    geometry::Vector2iArray whole = read<geometry::Vector2iArray>(bytes);
    whole.project(read<geometry::Matrix3d>(bytes));
    read<geometry::Box3d>(bytes).transform(read<geometry::Matrix4d>(bytes));
    return 0;
}
