// Outlines from bytes: whatever comes in must come to an end, and what is cut must cover once what
// the winding rule says.
//
// The first byte has the winding rule in bit 0, strips in bit 1, points in space in bit 2, and in
// bit 3 points as bytes instead of floats, which touch and overlap much. A byte 255 where a point
// would begin ends an outline.

#include "geometry/zylcontour.h"

#include <qlogging.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

using namespace geometry;

namespace
{
constexpr unsigned mostPoints = 96; // crossings grow with the square

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Takes the numbers of points from bytes; false at an end of an outline or of the bytes.
struct Numbers {
    const std::uint8_t* data;
    std::size_t left;
    bool isCoarse;

    bool take(float* numbers, unsigned count)
    {
        const std::size_t width = isCoarse ? 1 : sizeof(float);
        if (left < count * width)
            return left = 0, false;
        if (data[0] == 255) {
            ++data, --left;
            return false;
        }
        for (unsigned i = 0; i < count; ++i, data += width, left -= width) {
            if (isCoarse)
                numbers[i] = float(data[0] % 16);
            else
                std::memcpy(numbers + i, data, sizeof(float));
        }
        return true;
    }
};

/// Twice the area of the triangles of a whole decomposition in the plane; each has to run
/// counterclockwise on a grid of whole numbers.
double coveredArea(const Contour& contour, const ContourDecomposer& decomposer)
{
    const auto* points = reinterpret_cast<const Vector2f*>(contour.vertices.data());
    const unsigned count = contour.vertices.size();
    const auto at = [&](unsigned i) {
        const unsigned corner = unsigned(decomposer.corners()[i]);
        if (corner < count)
            return Vector2d(points[corner]);
        const Vector3f& p = decomposer.crossings()[corner - count].point;
        return Vector2d(p.x, p.y);
    };
    double sum = 0;
    for (unsigned i = 0; i < decomposer.cornerCount(); i += 3) {
        const Vector2d a = at(i), b = at(i + 1) - a, c = at(i + 2) - a;
        const double area = b.x * c.y - b.y * c.x;
        require(area > -1e-4);
        sum += area;
    }
    return sum;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    if (size < 1)
        return 0;
    const bool isSolid = data[0] & 4, isCoarse = data[0] & 8;
    const unsigned dimension = isSolid ? 3 : 2;
    Numbers numbers = {data + 1, size - 1, isCoarse};
    Contour contour(isSolid ? 3 : 2);
    contour.setWindingRule(data[0] & 1);
    while (numbers.left > 0 && contour.vertices.size() < mostPoints) {
        Vector3f outline[mostPoints];
        Vector2f flat[mostPoints];
        unsigned count = 0;
        while (count < mostPoints && numbers.take(&outline[count].x, dimension)) {
            flat[count] = Vector2f(outline[count].x, outline[count].y);
            ++count;
        }
        require(isSolid ? contour.add(outline, count) : contour.add(flat, count));
    }

    ContourDecomposer decomposer;
    const bool isDone = decomposer.decompose(contour, data[0] & 2 ? ContourDecomposer::Strips
                                                                  : ContourDecomposer::Triangles);
    require(isDone || !isCoarse);
    const int end = int(contour.vertices.size() + decomposer.crossingCount());
    for (unsigned i = 0; i < decomposer.cornerCount(); ++i)
        require(decomposer.corners()[i] >= 0 && decomposer.corners()[i] < end);
    for (unsigned i = 0; i < decomposer.crossingCount(); ++i)
        for (const int source : decomposer.crossings()[i].source)
            require(source >= 0 && source < int(contour.vertices.size() + i));
    if (!isDone || !isCoarse || isSolid || (data[0] & 2))
        return 0;

    // What is covered doesn't hang on which way round the outlines run, nor which comes first.
    Contour turned;
    turned.setWindingRule(contour.windingRule());
    auto* points = reinterpret_cast<Vector2f*>(contour.vertices.data());
    const double area = coveredArea(contour, decomposer);
    for (unsigned i = contour.outlineCount(); i-- > 0;) {
        Vector2fArray::reverse(points + contour.begin(i), int(contour.end(i) - contour.begin(i)));
        turned.add(points + contour.begin(i), contour.end(i) - contour.begin(i));
    }
    require(decomposer.decompose(turned));
    require(std::abs(coveredArea(turned, decomposer) - area) < 1e-2);
    return 0;
}
