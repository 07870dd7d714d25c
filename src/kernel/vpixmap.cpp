#include "kernel/vpixmap.h"

#include "geometry/zylmatrix.h"

#include <algorithm>

namespace
{
double offsetOf(double least)
{
    return least < 0.0 ? -least - 1.0 / 131072.0 : -least;
}
} // namespace

geometry::Matrix3d VPixmap::trueMatrix(const geometry::Matrix3d& matrix, int w, int h)
{
    geometry::Matrix3d result = matrix;
    for (int axis = 0; axis < 2; ++axis) {
        const double x = matrix.m[0][axis] * w;
        const double y = matrix.m[1][axis] * h;
        result.m[2][axis] = offsetOf(std::min({0.0, x, y, x + y}));
        result.m[axis][2] = 0.0;
    }
    result.m[2][2] = 1.0;
    return result;
}
