#pragma once

#include "geometry/zylgeneralpath.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace geometry
{
/// The arrays of a path as the walks below need them. Empty unless the points are floats of at
/// least two coordinates.
struct PathView {
    explicit PathView(const GeneralPath& path)
    {
        if (path.vertices.type() != GVector::Float || path.vertices.dimension() < 2)
            return;
        coords = reinterpret_cast<const float*>(path.vertices.data());
        stride = unsigned(path.vertices.dimension());
        const unsigned numbers = path.vertices.VGArray::size() / sizeof(float);
        points = stride == 2 ? numbers / 2 : numbers / stride; // a division takes as long as a line
        types = reinterpret_cast<const unsigned char*>(path.types.data());
        segments = path.types.size();
    }

    /// How many segments from one on are lines, as far as is worth looking: most walks soon stop.
    unsigned lines(unsigned from) const
    {
        const unsigned end = from + std::min(segments - from, 256u);
        unsigned i = from;
        constexpr std::uint64_t eightLines = 0x0101010101010101;
        for (std::uint64_t eight; i + 8 <= end; i += 8) {
            std::memcpy(&eight, types + i, 8);
            if (eight != eightLines)
                break;
        }
        while (i < end && types[i] == LineSegment)
            ++i;
        return i - from;
    }

    const float* coords = nullptr;
    unsigned points = 0;
    unsigned stride = 2;
    const unsigned char* types = nullptr;
    unsigned segments = 0;
};

/// Follows the segments of a path and tells a visitor of its edges, those that close subpaths too.
///
/// A visitor has `lines(from, to, stride, count)`, for lines from one point through `count` others,
/// and `curve(from, points, stride, degree)`. Both stop the walk by returning true.
template <class Visitor>
class PathWalk
{
public:
    explicit PathWalk(Visitor& visitor) : m_visitor(visitor) {}

    /// Adds a segment, or a run of `count` lines.
    bool add(int type, const float* points, unsigned stride, unsigned count = 1)
    {
        switch (type) {
        case CloseSegment:
            return close();
        case MoveSegment:
            if (close())
                return true;
            std::memcpy(m_first, points, sizeof m_first);
            std::memcpy(m_current, points, sizeof m_current);
            return false;
        case LineSegment:
            return m_visitor.lines(m_current, points, stride, count) ||
                   moveTo(points + std::size_t(count - 1) * stride);
        default:
            return m_visitor.curve(m_current, points, stride, type) ||
                   moveTo(points + std::size_t(type - 1) * stride);
        }
    }

    /// Ends the last subpath. A level closing line is left out.
    bool close()
    {
        if (m_current[1] != m_first[1] && m_visitor.lines(m_current, m_first, 2, 1))
            return true;
        return moveTo(m_first);
    }

private:
    bool moveTo(const float* point)
    {
        m_current[0] = point[0];
        m_current[1] = point[1];
        return false;
    }

    Visitor& m_visitor;
    float m_first[2] = {0, 0}, m_current[2] = {0, 0};
};

enum class WalkEnd { Done, Stopped, Broken };

/// Walks a whole path. Broken where its types ask for more points than there are.
template <class Visitor>
WalkEnd walkPath(const PathView& path, Visitor& visitor)
{
    PathWalk<Visitor> walk(visitor);
    const float* points = path.coords;
    unsigned left = path.points;
    for (unsigned i = 0; i < path.segments;) {
        const int type = GeneralPath::segmentType(path.types[i]);
        const unsigned run = type == LineSegment ? path.lines(i) : 1;
        const unsigned needed = type == LineSegment ? run : unsigned(GeneralPath::pointCount(type));
        if (needed > left)
            return WalkEnd::Broken;
        if (walk.add(type, points, path.stride, run))
            return WalkEnd::Stopped;
        points += std::size_t(needed) * path.stride;
        left -= needed;
        i += run;
    }
    return walk.close() ? WalkEnd::Stopped : WalkEnd::Done;
}

template <class Visitor>
WalkEnd walkPath(PathIterator& path, Visitor& visitor)
{
    constexpr unsigned mostPoints = 256;
    PathWalk<Visitor> walk(visitor);
    float points[2 * mostPoints] = {};
    for (; !path.isDone(); path.next()) {
        const int type = path.currentSegment(points, 2);
        if (walk.add(type, points, 2))
            return WalkEnd::Stopped;
    }
    return walk.close() ? WalkEnd::Stopped : WalkEnd::Done;
}
} // namespace geometry
