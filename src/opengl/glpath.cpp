#include "opengl/glpath_p.h"

#include "geometry/zylpathdecomposer.h"
#include "geometry/zylvectorarray.h"
#include "opengl/glpoints_p.h"

#include <algorithm>
#include <cmath>

using geometry::GeneralPath;
using geometry::Vector3f;

namespace
{
constexpr int mostSlices = 1000;
constexpr std::size_t mostPoints = 1 << 20; // of all segments
} // namespace

struct GL_Path::Collector {
    /// A point of a segment, by the polygon of its control points.
    Vector3f at(double t)
    {
        work = control;
        for (std::size_t left = count - 1; left > 0; --left)
            for (std::size_t i = 0; i < left * std::size_t(dimension); ++i)
                work[i] += float(t) * (work[i + std::size_t(dimension)] - work[i]);
        return GL_PointView::point(work.data(), dimension, flags);
    }
    void add(const geometry::VectorBuffer& points)
    {
        dimension = points.dimension();
        flags = points.flags();
        count = std::size_t(points.count());
        const auto* const first = reinterpret_cast<const float*>(points.at(0));
        control.assign(first, first + count * std::size_t(dimension));
        const int lines = count == 2 ? 1 : slices;
        if (count < 2 || path.m_points.size() + unsigned(lines) + 1 > mostPoints)
            return;

        const unsigned begin = unsigned(path.m_points.size());
        const Vector3f start = at(0);
        const bool goesOn = begin > 0 && path.m_points.back().at == start;
        if (!goesOn)
            length = 0;
        for (int i = 0; i <= lines; ++i) {
            const double t = double(i) / lines;
            const Vector3f here = at(t);
            if (i > 0)
                length += (here - path.m_points.back().at).length();
            // A little on either side: the end points may have no derivative.
            const Vector3f along = at(std::min(t + 1e-3, 1.0)) - at(std::max(t - 1e-3, 0.0));
            path.m_points.push_back({here, normalize(along), length});
        }
        path.m_segments.push_back({begin, unsigned(path.m_points.size()), !goesOn});
        path.m_length = std::max(path.m_length, length);
    }
    static void segment(const geometry::VectorBuffer& points, const char*, const void*, void* self)
    {
        static_cast<Collector*>(self)->add(points);
    }

    GL_Path& path;
    int slices;
    float length = 0;
    int dimension = 0;
    unsigned flags = 0;
    std::size_t count = 0;
    std::vector<float> control{}, work{};
};

GL_Path::GL_Path(const GeneralPath& path, int slices)
{
    Collector collector{*this, std::clamp(slices, 2, mostSlices)};
    geometry::PathDecomposer::decompose(path, &Collector::segment, &collector);
}

Vector3f GL_Path::area() const
{
    Vector3f sum, first;
    for (const Segment& segment : m_segments) {
        if (segment.startsSubpath)
            first = m_points[segment.begin].at;
        for (unsigned i = segment.begin; i + 1 < segment.end; ++i)
            sum += cross(m_points[i].at - first, m_points[i + 1].at - first);
    }
    return sum;
}
