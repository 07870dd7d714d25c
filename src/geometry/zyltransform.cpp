#include "geometry/zyltransform.h"

#include "geometry/zylhmatrix.h"
#include "geometry/zylnumber.h"

namespace geometry
{
namespace
{
template <class T, int N, bool IsRational, bool IsProjected>
void transform(void* points, int count, const Matrix4d& matrix)
{
    constexpr int width = N + IsRational;
    T* point = static_cast<T*>(points);
    for (int i = 0; i < count; ++i, point += width) {
        Vector4d v(0, 0, 0, 1);
        double* const numbers = &v.x;
        for (int k = 0; k < N; ++k)
            numbers[k] = double(point[k]);
        if (IsRational)
            v.w = double(point[N]);
        v = v * matrix;
        if (IsProjected && v.w != 0)
            v = Vector4d(v.x / v.w, v.y / v.w, v.z / v.w, 1);
        for (int k = 0; k < N; ++k)
            point[k] = toNumber<T>((&v.x)[k]);
        if (IsRational)
            point[N] = toNumber<T>(v.w);
    }
}

template <class T, int N>
TransformFunction chosen(bool rational, bool project)
{
    if (rational)
        return project ? &transform<T, N, true, true> : &transform<T, N, true, false>;
    return project ? &transform<T, N, false, true> : &transform<T, N, false, false>;
}

template <class T>
TransformFunction chosen(int dimension, bool rational, bool project)
{
    return dimension == 2   ? chosen<T, 2>(rational, project)
           : dimension == 3 ? chosen<T, 3>(rational, project)
                            : nullptr;
}
} // namespace

TransformFunction find_transform(int dimension, GVector::ElementType type, bool rational,
                                 bool project)
{
    switch (type) {
    case GVector::Int:
        return chosen<int>(dimension, rational, project);
    case GVector::Float:
        return chosen<float>(dimension, rational, project);
    case GVector::Double:
        return chosen<double>(dimension, rational, project);
    case GVector::Bytes:
        break;
    }
    return nullptr;
}
} // namespace geometry
