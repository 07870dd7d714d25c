#pragma once

#include "geometry/zylgeneralpath.h"
#include "geometry/zylvector.h"

#include <vector>

/// A path as lines: each of its segments, moves left out, as points with the directions in which it
/// passes them. Straight segments have one line, others as many as they are told.
class GL_Path
{
public:
    struct Point {
        geometry::Vector3f at;
        geometry::Vector3f along; // of length 1, or zero where there is no direction
        float length;             // from the start of the subpath
    };
    struct Segment {
        unsigned begin, end; // among the points
        bool startsSubpath;
    };

    GL_Path(const geometry::GeneralPath& path, int slices);

    const std::vector<Point>& points() const { return m_points; }
    const std::vector<Segment>& segments() const { return m_segments; }
    /// Of the longest subpath.
    float length() const { return m_length; }
    /// Twice the area that the subpaths enclose, as a vector that stands on it.
    geometry::Vector3f area() const;

private:
    struct Collector;

    std::vector<Point> m_points;
    std::vector<Segment> m_segments;
    float m_length = 0;
};
