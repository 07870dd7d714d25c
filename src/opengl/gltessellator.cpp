#include "opengl/gltessellator_p.h"

#include <cmath>
#include <numeric>

using geometry::Vector2f;
using geometry::Vector3f;

void GL_Tessellator::beginPolygon()
{
    m_corners.clear();
    m_points.clear();
    m_ends.clear();
}

void GL_Tessellator::addContour(const unsigned* corners, unsigned count)
{
    if (count < 3)
        return;
    for (unsigned i = 0; i < count; ++i) {
        const Vector3f& p = m_cache.point(corners[i]);
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z))
            return;
    }
    m_corners.insert(m_corners.end(), corners, corners + count);
    for (unsigned i = 0; i < count; ++i)
        m_points.push_back(m_cache.point(corners[i]));
    m_ends.push_back(unsigned(m_corners.size()));
}

void GL_Tessellator::endPolygon()
{
    if (m_ends.empty())
        return;
    // The outline comes first and tells which way the polygon looks.
    geometry::Vector3d area;
    const geometry::Vector3d origin(m_points[0]);
    for (unsigned i = 1; i + 1 < m_ends[0]; ++i)
        area += cross(geometry::Vector3d(m_points[i]) - origin,
                      geometry::Vector3d(m_points[i + 1]) - origin);
    area.normalize();
    m_indices.resize(m_corners.size());
    std::iota(m_indices.begin(), m_indices.end(), 0);
    if (!m_decomposer.decompose(m_points.data(), m_indices.data(), m_ends.data(),
                                unsigned(m_ends.size()), Vector3f(area), m_rule))
        return;
    for (unsigned i = 0; i < m_decomposer.crossingCount(); ++i) {
        const auto& crossing = m_decomposer.crossings()[i];
        Vector3f normal;
        Vector2f texture;
        for (int k = 0; k < 4; ++k) {
            const unsigned source = m_corners[std::size_t(crossing.source[k])];
            normal += m_cache.normal(source) * crossing.weight[k];
            texture += m_cache.texture(source) * crossing.weight[k];
        }
        normal.normalize();
        m_corners.push_back(m_cache.corner(crossing.point, normal, texture));
    }
    for (unsigned i = 0; i < m_decomposer.cornerCount(); ++i)
        m_cache.add(m_corners[std::size_t(m_decomposer.corners()[i])]);
}
