#include "geometry/zylassert.h"
#include "opengl/glviewer.h"

#include <qlogging.h>

#include <algorithm>
#include <cmath>

using geometry::Matrix4f;
using geometry::Quaternion;
using geometry::Vector2i;
using geometry::Vector3f;

namespace
{
Vector3f rowOf(const Matrix4f& matrix, int row)
{
    return Vector3f(matrix.m[row][0], matrix.m[row][1], matrix.m[row][2]);
}

/// A difference of two points under the matrix, which its translation doesn't touch.
Vector3f mapDifference(const Vector3f& v, const Matrix4f& matrix)
{
    return v.x * rowOf(matrix, 0) + v.y * rowOf(matrix, 1) + v.z * rowOf(matrix, 2);
}

int nearestPixel(double position)
{
    return int(std::lround(std::clamp(position, -1e9, 1e9)));
}
} // namespace

Vector3f GL_Viewer::worldToEye(const Vector3f& v) const
{
    return v * m_modelView;
}

float GL_Viewer::worldToEyeZ(const Vector3f& v) const
{
    const auto& m = m_modelView.m;
    return v.x * m[0][2] + v.y * m[1][2] + v.z * m[2][2] + m[3][2];
}

Vector3f GL_Viewer::eyeToWorld(const Vector3f& v) const
{
    // Without a test of the last column, which an inverse meets but for rounding.
    return m_inverse.map(v);
}

Vector3f GL_Viewer::eyeVector() const
{
    return rowOf(m_inverse, 2);
}

Vector3f GL_Viewer::eyePosition() const
{
    return rowOf(m_inverse, 3);
}

/// How much larger things are in the plane of depth `z` than in the plane of the centre, for equal
/// numbers of pixels.
double GL_Viewer::depthScale(double z) const
{
    // By the absolute value: in front of the eye z is negative, and must not mirror the picture.
    return testFlags(Perspective) ? std::fabs(z) / m_distance : 1;
}

Vector3f GL_Viewer::screenToTarget(int x, int y) const
{
    return Vector3f(float(x * m_pixelSize + m_originX), float(y * m_pixelSize + m_originY),
                    float(m_distance));
}

Vector3f GL_Viewer::screenToEye(int x, int y, float z) const
{
    const double scale = depthScale(z);
    return Vector3f(float((x * m_pixelSize + m_originX) * scale),
                    float((y * m_pixelSize + m_originY) * scale), z);
}

void GL_Viewer::eyeToScreen(int& x, int& y, const Vector3f& v) const
{
    if (testFlags(Perspective) && v.z == 0)
        qFatal("eyeToScreen: cannot transform point.\n");
    const double scale = depthScale(v.z);
    x = nearestPixel((v.x / scale - m_originX) / m_pixelSize);
    y = nearestPixel((v.y / scale - m_originY) / m_pixelSize);
}

Vector3f GL_Viewer::eyeDifference(const Vector2i& from, const Vector2i& to, double scale) const
{
    const double size = m_pixelSize * scale;
    return Vector3f(float((double(to.x) - from.x) * size), float((double(to.y) - from.y) * size),
                    0);
}

Vector3f GL_Viewer::worldVector(const Vector2i& from, const Vector2i& to) const
{
    return mapDifference(eyeDifference(from, to, 1), m_inverse);
}

Vector3f GL_Viewer::worldVector(const Vector2i& from, const Vector2i& to,
                                const Vector3f& point) const
{
    return mapDifference(eyeDifference(from, to, depthScale(worldToEyeZ(point))), m_inverse);
}

Vector3f GL_Viewer::localVector(const GL_Object* object, const Vector2i& from, const Vector2i& to,
                                const Vector3f& point) const
{
    Matrix4f toEye;
    if (object)
        object->hasTransform(toEye);
    toEye = toEye * m_modelView;
    if (toEye.det3(0, 1, 2, 0, 1, 2) == 0)
        return Vector3f();
    const double scale = depthScale(toEye.map(point).z);
    return mapDifference(eyeDifference(from, to, scale), toEye.invert());
}

void GL_Viewer::boreVector(int x, int y, Vector3f& origin, Vector3f& direction) const
{
    const Vector3f target = screenToEye(x, y, float(-m_distance));
    const Vector3f start =
        testFlags(Perspective) ? Vector3f() : Vector3f(target.x, target.y, float(-m_viewport.near));
    origin = eyeToWorld(start);
    direction = geometry::normalize(mapDifference(target - start, m_inverse));
}

Vector3f GL_Viewer::spherePoint(const Vector2i& position) const
{
    const double screenmin = std::min(m_viewport.width, m_viewport.height);
    geometry::check(screenmin > 0.0, "screenmin > 0.0", "opengl/glviewer");
    if (screenmin <= 0)
        return Vector3f(0, 0, 1);
    const double a = (2.0 * position.x - m_viewport.width) / screenmin;
    const double b = (2.0 * position.y - m_viewport.height) / screenmin;
    const double r2 = a * a + b * b;
    double z = 0;
    if (r2 < 0.75) {
        z = std::sqrt(1 - r2);
    } else if (r2 < 3) {
        const double d = 1.7320508008 - std::sqrt(r2);
        z = 1 - std::sqrt(std::max(0.0, 1 - d * d));
    }
    return geometry::normalize(Vector3f(float(a), float(b), float(z)));
}

Quaternion GL_Viewer::turn(const Vector2i& from, const Vector2i& to) const
{
    const Vector3f v = cross(spherePoint(from), spherePoint(to)) * 0.5f;
    return Quaternion(v, std::sqrt(std::max(0.0f, 1 - dot(v, v))));
}
