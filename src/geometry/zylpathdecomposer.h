#pragma once

#include "toolkit/zylexport.h"

namespace geometry
{
class GeneralPath;
class VectorBuffer;

class ZYL_EXPORT PathDecomposer
{
public:
    /// Gets a segment with its start point in front; `type` points to its byte and `vertex` to its
    /// first vertex in the path.
    using Callback = void (*)(const VectorBuffer& points, const char* type, const void* vertex,
                              void* data);

    /// Calls back for every segment but moves. A close that has a way to go is a line of two points
    /// to the start of the subpath, and its vertex the next one after it. A path that doesn't begin
    /// with a move starts at zero. Warns and ends where the points do.
    static void decompose(const GeneralPath& path, Callback callback, void* data);
};
} // namespace geometry
