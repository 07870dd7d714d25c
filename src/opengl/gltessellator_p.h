#pragma once

#include "geometry/zylcontour.h"
#include "opengl/glmeshcache_p.h"

/// Cuts polygons into triangles and adds them to a run of a cache. What isn't wholly finite is left
/// out, and so is a polygon that crosses itself without end.
class GL_Tessellator
{
public:
    explicit GL_Tessellator(GL_MeshCache& cache) : m_cache(cache) {}
    GL_Tessellator(const GL_Tessellator&) = delete;
    GL_Tessellator& operator=(const GL_Tessellator&) = delete;

    /// Odd at first.
    void setWindingRule(geometry::WindingRule rule) { m_rule = rule; }

    void beginPolygon();
    /// Corners of the cache, in order; two or fewer are no contour.
    void addContour(const unsigned* corners, unsigned count);
    /// The triangles run as the outlines do.
    void endPolygon();

private:
    GL_MeshCache& m_cache;
    geometry::ContourDecomposer m_decomposer;
    geometry::WindingRule m_rule = geometry::EvenOddRule;
    // Of the open polygon
    std::vector<unsigned> m_corners;
    std::vector<geometry::Vector3f> m_points;
    std::vector<int> m_indices;
    std::vector<unsigned> m_ends;
};
