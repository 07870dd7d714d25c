#include "opengl/glglyph_p.h"

#include "geometry/zylquaternion.h"
#include "opengl/glviewer.h"

#include <GL/gl.h>

#include <cmath>

using geometry::Matrix4f;
using geometry::Vector3f;
using geometry::Vector4f;

namespace glyph
{
float pixelSize(const GL_Viewer* viewer, const Vector3f& point)
{
    return pixelSizeAt(viewer, viewer ? viewer->worldToEyeZ(point) : 0);
}

float pixelSizeAt(const GL_Viewer* viewer, float eyeZ)
{
    if (!viewer)
        return 0.01f;
    const double size = viewer->pixelSize();
    if (!viewer->testFlags(GL_Viewer::Perspective))
        return float(size);
    return float(size * std::fabs(eyeZ) / viewer->distance());
}

Matrix4f frame(const Vector3f& x, const Vector3f& y, const Vector3f& z, const Vector3f& origin)
{
    return Matrix4f(Vector4f(x, 0), Vector4f(y, 0), Vector4f(z, 0), Vector4f(origin, 1));
}

Matrix4f along(const Vector3f& direction, const Vector3f& origin)
{
    Matrix4f matrix;
    matrix.translate(origin);
    if (direction != Vector3f()) {
        geometry::Quaternion turn;
        matrix.rotate(turn.setValue(Vector3f(0, 0, 1), direction));
    }
    return matrix;
}

Vector3f row(const Matrix4f& matrix, int row)
{
    return Vector3f(matrix.m[row][0], matrix.m[row][1], matrix.m[row][2]);
}

void vertex(const Vector3f& point)
{
    glVertex3fv(&point.x);
}

void line(const Vector3f& from, const Vector3f& to)
{
    glBegin(GL_LINES);
    vertex(from);
    vertex(to);
    glEnd();
}

void arrow(float length)
{
    const float back = 0.75f * length;
    const float half = 0.08f * length;
    glBegin(GL_LINES);
    glVertex3f(0, 0, 0);
    glVertex3f(0, 0, length);
    for (const float side : {-half, half}) {
        glVertex3f(side, 0, back);
        glVertex3f(0, 0, length);
        glVertex3f(0, side, back);
        glVertex3f(0, 0, length);
    }
    glEnd();
}

Space::Space(const Vector3f& origin)
{
    glPushMatrix();
    glTranslatef(origin.x, origin.y, origin.z);
}

Space::Space(const Matrix4f& matrix)
{
    glPushMatrix();
    glMultMatrixf(&matrix.m[0][0]);
}

Space::~Space()
{
    glPopMatrix();
}
} // namespace glyph
