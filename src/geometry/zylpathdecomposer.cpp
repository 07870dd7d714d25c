#include "geometry/zylpathdecomposer.h"

#include "geometry/zylgeneralpath.h"
#include "geometry/zylvectorarray.h"

#include <cstring>
#include <vector>

namespace geometry
{
void PathDecomposer::decompose(const GeneralPath& path, Callback callback, void* data)
{
    const GVectorArray& vertices = path.vertices;
    const unsigned bytes = unsigned(vertices.itemSize()) * unsigned(vertices.dimension());
    const std::vector<char> zero(bytes);
    const char* first = zero.data();
    const char* current = first;
    const char* vertex = vertices.data();
    unsigned left = vertices.size();
    VectorBuffer points(4, vertices.dimension(), vertices.flags());

    for (unsigned i = 0; i < path.types.size(); ++i) {
        const char* const byte = path.types.data() + i;
        const int type = GeneralPath::segmentType(static_cast<unsigned char>(*byte));
        const auto count = unsigned(GeneralPath::pointCount(type));
        if (count > left) {
            VGArray::msg_index(vertices.size() - left + count - 1);
            return;
        }
        const char* const start = current;
        const char* const own = vertex;
        vertex += std::size_t(count) * bytes;
        left -= count;
        current = type == CloseSegment ? first : vertex - bytes;
        if (type == MoveSegment)
            first = current;
        if (type == MoveSegment ||
            (type == CloseSegment && std::memcmp(start, current, bytes) == 0))
            continue;
        points.revoke(points.count());
        bool isComplete = points.append(start);
        for (unsigned k = 0; k < count && isComplete; ++k)
            isComplete = points.append(own + std::size_t(k) * bytes);
        if (type == CloseSegment)
            isComplete = isComplete && points.append(first);
        if (!isComplete)
            return;
        callback(points, byte, own, data);
    }
}
} // namespace geometry
