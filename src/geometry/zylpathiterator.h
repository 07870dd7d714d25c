#pragma once

#include "toolkit/zylexport.h"

namespace geometry
{
/// The segment types of a path. A type above `CubicSegment` is a curve of that degree.
enum SegmentType {
    CloseSegment = -1,
    MoveSegment = 0,
    LineSegment = 1,
    QuadSegment = 2,
    CubicSegment = 3
};

/// What is inside a path: an odd number of crossings, or a sum of signed crossings other than 0.
enum WindingRule { EvenOddRule = 0, NonZeroRule = 1 };

/// A cursor over the segments of a shape, which it must not outlive.
class ZYL_EXPORT PathIterator
{
public:
    virtual int windingRule() const = 0;
    virtual bool isDone() const = 0;
    virtual void next() = 0;
    /// The type of the segment under the cursor, -1 past the end.
    virtual int currentType() const = 0;
    /// Writes the points of the segment at a stride of `dimension` floats, of each at most as many
    /// as the shape has coordinates, and returns the type.
    virtual int currentSegment(float* coords, unsigned int dimension) const = 0;
    virtual ~PathIterator();
};
} // namespace geometry
