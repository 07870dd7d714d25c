#pragma once

#include "geometry/zylhmatrix.h"
#include "kernel/vzylfields_p.h"

/// How shapes and references keep their matrix in files: not at all when it is the identity, and in
/// the binary form as a translation alone where it is no more.
namespace gltransform
{
constexpr quint8 translationTag = 0xF9;
constexpr quint8 matrixTag = 0x79;

inline void write(VZylStream& stream, const geometry::Matrix4f& transform)
{
    const int flags = transform.flags();
    if (flags == 0)
        return;
    QDataStream* const data = stream.dataStream();
    if (!data) {
        zylfields::writeText(stream, "transform", transform);
    } else if (flags == 1 && transform.m[3][3] == 1) {
        const float(&last)[4] = transform.m[3];
        *data << translationTag << geometry::Vector3f(last[0], last[1], last[2]);
    } else {
        *data << matrixTag << transform;
    }
}

/// Takes the value of a tag, if it is one of a matrix.
inline bool read(QDataStream& data, quint8 tag, geometry::Matrix4f& transform)
{
    if (tag == matrixTag) {
        data >> transform;
        return true;
    }
    if (tag != translationTag)
        return false;
    geometry::Vector3f translation(transform.m[3][0], transform.m[3][1], transform.m[3][2]);
    data >> translation;
    for (int i = 0; i < 3; ++i)
        transform.m[3][i] = translation[i];
    return true;
}
} // namespace gltransform
