#include "geometry/zylskin.h"

#include <algorithm>
#include <cmath>

namespace physics
{
using geometry::Matrix4f;
using geometry::Vector3f;

namespace
{
/// Turns a normal as the surface turns, whatever the matrix does to lengths: by the cofactors of
/// its upper block, which are there for a flat one too.
Vector3f mapNormal(const Matrix4f& a, const Vector3f& n)
{
    const Vector3f x(a.m[0][0], a.m[0][1], a.m[0][2]), y(a.m[1][0], a.m[1][1], a.m[1][2]),
        z(a.m[2][0], a.m[2][1], a.m[2][2]);
    const Vector3f yz = cross(y, z);
    Vector3f mapped = n.x * yz + n.y * cross(z, x) + n.z * cross(x, y);
    if (dot(x, yz) < 0)
        mapped = -mapped; // a mirrored surface keeps its outside
    return normalize(mapped);
}

/// The weighted mean of matrices, in registers all the way.
class Blend
{
    using Row = Matrix4f::Row;

public:
    Blend(const Matrix4f* moves, const Influence* begin, const Influence* end)
    {
        const Matrix4f& first = moves[begin->joint];
        for (int i = 0; i < 4; ++i)
            m_rows[i] = first.row(i);
        if (end - begin == 1)
            return; // to the bit
        for (Row& row : m_rows)
            row = begin->weight * row;
        for (const Influence* influence = begin + 1; influence != end; ++influence)
            for (int i = 0; i < 4; ++i)
                m_rows[i] = m_rows[i] + influence->weight * moves[influence->joint].row(i);
    }

    Vector3f map(const Vector3f& v) const
    {
        const Row mapped = v.x * m_rows[0] + v.y * m_rows[1] + v.z * m_rows[2] + m_rows[3];
        return Vector3f(mapped[0], mapped[1], mapped[2]);
    }
    Matrix4f matrix() const
    {
        Matrix4f result;
        for (int i = 0; i < 4; ++i)
            result.setRow(i, m_rows[i]);
        return result;
    }

private:
    Row m_rows[4];
};
} // namespace

bool isFinite(const Matrix4f& matrix)
{
    return std::all_of(&matrix.m[0][0], &matrix.m[0][0] + 16,
                       [](float number) { return std::isfinite(number); });
}

bool invert(const Matrix4f& matrix, Matrix4f& inverse)
{
    // Asked first, since inverting warns.
    if (!isFinite(matrix) || matrix.det4() == 0)
        return false;
    const Matrix4f result = matrix.invert();
    if (!isFinite(result))
        return false;
    inverse = result;
    return true;
}

void WeightBinding::clear(unsigned vertexCount)
{
    m_added.clear();
    m_influences.clear();
    m_starts.assign(std::size_t(vertexCount) + 1, 0);
    m_jointCount = 0;
}

bool WeightBinding::add(unsigned vertex, int joint, float weight)
{
    if (vertex >= vertexCount() || joint < 0 || !(weight > 0) || !std::isfinite(weight))
        return false;
    m_added.push_back({vertex, {joint, weight}});
    return true;
}

void WeightBinding::build(unsigned most)
{
    for (unsigned vertex = 0; vertex < vertexCount(); ++vertex)
        for (const Influence* i = begin(vertex); i != end(vertex); ++i)
            m_added.push_back({vertex, *i}); // of an earlier build
    std::stable_sort(m_added.begin(), m_added.end(), [](const Added& a, const Added& b) {
        return a.vertex != b.vertex ? a.vertex < b.vertex : a.influence.joint < b.influence.joint;
    });
    m_influences.clear();
    m_jointCount = 0;
    std::size_t next = 0;
    for (unsigned vertex = 0; vertex < vertexCount(); ++vertex) {
        const std::size_t first = m_influences.size();
        m_starts[vertex] = unsigned(first);
        for (; next < m_added.size() && m_added[next].vertex == vertex; ++next) {
            const Influence& added = m_added[next].influence;
            if (m_influences.size() > first && m_influences.back().joint == added.joint)
                m_influences.back().weight += added.weight;
            else
                m_influences.push_back(added);
        }
        const auto begins = m_influences.begin() + std::ptrdiff_t(first);
        std::stable_sort(begins, m_influences.end(), [](const Influence& a, const Influence& b) {
            return a.weight > b.weight;
        });
        if (m_influences.size() - first > most)
            m_influences.resize(first + most);
        double sum = 0;
        for (std::size_t i = first; i < m_influences.size(); ++i)
            sum += m_influences[i].weight;
        for (std::size_t i = first; i < m_influences.size(); ++i) {
            m_influences[i].weight = float(m_influences[i].weight / sum);
            m_jointCount = std::max(m_jointCount, unsigned(m_influences[i].joint) + 1);
        }
    }
    m_starts.back() = unsigned(m_influences.size());
    m_added = std::vector<Added>();
}

void Skin::setRest(const Vector3f* positions, const Vector3f* normals, unsigned count)
{
    m_positions.assign(positions, positions + count);
    m_normals.clear();
    if (normals)
        m_normals.assign(normals, normals + count);
}

bool Skin::bind(const Matrix4f* joints, unsigned count)
{
    std::vector<Matrix4f> inverses;
    inverses.reserve(count);
    Matrix4f inverse;
    while (inverses.size() < count && invert(joints[inverses.size()], inverse))
        inverses.push_back(inverse);
    m_bind.clear();
    if (inverses.size() != count)
        return false;
    m_bind.swap(inverses);
    return true;
}

void Skin::setBindMatrices(const Matrix4f* matrices, unsigned count)
{
    m_bind.assign(matrices, matrices + count);
}

bool Skin::deform(const Matrix4f* joints, unsigned count, Vector3f* positions,
                  Vector3f* normals) const
{
    if (count != m_bind.size() || m_binding.jointCount() > count)
        return false;
    m_moves.resize(count);
    for (unsigned i = 0; i < count; ++i)
        m_moves[i] = m_bind[i] * joints[i];
    const bool withNormals = normals && hasNormals();
    for (unsigned vertex = 0; vertex < vertexCount(); ++vertex) {
        const Influence *begin = nullptr, *end = nullptr;
        if (vertex < m_binding.vertexCount()) {
            begin = m_binding.begin(vertex);
            end = m_binding.end(vertex);
        }
        if (begin == end) {
            positions[vertex] = m_positions[vertex];
            if (withNormals)
                normals[vertex] = m_normals[vertex];
            continue;
        }
        const Blend blend(m_moves.data(), begin, end);
        positions[vertex] = blend.map(m_positions[vertex]);
        if (withNormals)
            normals[vertex] = mapNormal(blend.matrix(), m_normals[vertex]);
    }
    return true;
}
} // namespace physics
