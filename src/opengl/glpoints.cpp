#include "opengl/glpoints_p.h"

#include <algorithm>
#include <cmath>

using geometry::GVector;
using geometry::GVectorArray;
using geometry::Vector3f;

namespace
{
/// Whether the vertices stand in memory as points do.
bool isPlain(const GVectorArray& vertices)
{
    return vertices.type() == GVector::Float && vertices.dimension() == 3 &&
           !(vertices.flags() & GVector::homogeneous);
}
} // namespace

int GL_PointView::weightIndex(int dimension, unsigned flags)
{
    if (dimension > 3)
        return 3;
    return (flags & GVector::homogeneous) && dimension > 1 ? dimension - 1 : -1;
}

GL_PointView::GL_PointView(const GVectorArray& vertices)
{
    const int dimension = vertices.dimension();
    if (vertices.type() == GVector::Bytes)
        return;
    if (isPlain(vertices)) {
        m_data = reinterpret_cast<const Vector3f*>(vertices.data());
        m_size = vertices.size();
        return;
    }
    const GVectorArray floats = vertices.toFloatArray();
    m_size = std::min(vertices.size(), floats.size());
    m_own.reserve(m_size);
    const float* from = reinterpret_cast<const float*>(floats.data());
    for (unsigned i = 0; i < m_size; ++i, from += dimension)
        m_own.push_back(point(from, dimension, vertices.flags()));
    m_data = m_own.data();
}

Vector3f GL_PointView::point(const float* numbers, int dimension, unsigned flags)
{
    const int weight = weightIndex(dimension, flags);
    Vector3f result;
    for (int i = 0; i < (weight < 0 ? dimension : weight); ++i)
        result[i] = numbers[i];
    return weight >= 0 && numbers[weight] != 0 ? result / numbers[weight] : result;
}

geometry::Box3f GL_PointView::bounds() const
{
    geometry::Box3f box;
    for (unsigned i = 0; i < m_size; ++i) {
        const Vector3f& p = m_data[i];
        if (std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z))
            box.include(p);
    }
    return box;
}

void GL_PointView::replace(GVectorArray& vertices, unsigned index, const Vector3f& point)
{
    const auto write = [&](auto* to) {
        using S = std::remove_reference_t<decltype(*to)>;
        const int dimension = vertices.dimension();
        const int at = weightIndex(dimension, vertices.flags());
        to += std::size_t(index) * unsigned(dimension);
        const double weight = at >= 0 && to[at] != 0 ? double(to[at]) : 1.0;
        for (int i = 0; i < (at < 0 ? dimension : at); ++i)
            to[i] = geometry::toNumber<S>(double(point[i]) * weight);
    };
    switch (vertices.type()) {
    case GVector::Int:
        return write(reinterpret_cast<int*>(vertices.data()));
    case GVector::Float:
        return write(reinterpret_cast<float*>(vertices.data()));
    case GVector::Double:
        return write(reinterpret_cast<double*>(vertices.data()));
    case GVector::Bytes:
        return;
    }
}

void GL_PointView::replace(GVectorArray& vertices, const Vector3f* points)
{
    if (isPlain(vertices))
        std::copy_n(points, vertices.size(), reinterpret_cast<Vector3f*>(vertices.data()));
    else
        for (unsigned i = 0; i < count(vertices); ++i)
            replace(vertices, i, points[i]);
}

void GL_PointView::transform(GVectorArray& vertices, const geometry::Matrix4f& matrix)
{
    const GL_PointView points(vertices);
    for (unsigned i = 0; i < points.size(); ++i)
        replace(vertices, i,
                matrix.isAffine() ? matrix.map(points[i]) : matrix.multVecMatrix(points[i]));
}
