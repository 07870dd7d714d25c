#include "opengl/glcube.h"

#include "kernel/vzylfields_p.h"
#include "opengl/glrenderevent.h"

#include <GL/gl.h>

using zylfields::field;

namespace
{
struct Vertex {
    GLfloat texture[2];
    GLfloat normal[3];
    GLfloat point[3];
};

/// The corners of the faces, counterclockwise from outside. They stand from one cube to the next,
/// which mostly is of the same size.
struct Faces {
    void setSize(float width, float height, float depth)
    {
        if (size[0] == width && size[1] == height && size[2] == depth)
            return;
        size[0] = width;
        size[1] = height;
        size[2] = depth;
        Vertex* to = vertices;
        for (int axis = 0; axis < 3; ++axis) {
            const int along = (axis + 1) % 3, up = (axis + 2) % 3;
            for (const float side : {-0.5f, 0.5f}) {
                static constexpr GLfloat corners[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
                for (const GLfloat(&corner)[2] : corners) {
                    *to = Vertex();
                    to->texture[0] = corner[0];
                    to->texture[1] = corner[1];
                    to->normal[axis] = 2 * side;
                    to->point[axis] = side * size[axis];
                    // Seen from below the corners would go round the other way.
                    to->point[along] = 2 * side * (corner[0] - 0.5f) * size[along];
                    to->point[up] = (corner[1] - 0.5f) * size[up];
                    ++to;
                }
            }
        }
    }

    float size[3] = {};
    Vertex vertices[24] = {};
};

Faces& facesOf(float width, float height, float depth)
{
    static thread_local Faces faces;
    faces.setSize(width, height, depth);
    return faces;
}
} // namespace

struct GL_Cube::Stored {
    static constexpr auto fields =
        std::tuple(field("width", 0x80, &Cube::width), field("height", 0x81, &Cube::height),
                   field("depth", 0x82, &Cube::depth));
};

const VMetaClass GL_Cube::metaClass("GL_Cube", &GL_Cube::factory, &GL_Shape::metaClass);

ZYLObject* GL_Cube::factory()
{
    return new GL_Cube;
}

const VMetaClass* GL_Cube::metaObject() const
{
    return &metaClass;
}

GL_Cube::GL_Cube()
{
    setExtent(Stale);
    setKeepsArrays(true);
}

VFormatIO& GL_Cube::read(VFormatIO& io)
{
    return zylfields::read(GL_Shape::read(io), *this, Stored::fields);
}

VFormatIO& GL_Cube::write(VFormatIO& io) const
{
    return zylfields::write(GL_Shape::write(io), *this, Stored::fields);
}

void GL_Cube::init(GL_Scene*)
{
    geometry::Box3f box;
    Cube::bounds(box);
    setShapeBounds(box);
}

void GL_Cube::draw(GL_RenderEvent* event)
{
    setClosed(width > 0 && height > 0 && depth > 0);
    GL_Shape::draw(event);
}

void GL_Cube::drawShape(GL_RenderEvent* event)
{
    if (!event->state.keepsArrays()) {
        drawCube(float(width), float(height), float(depth));
        return;
    }
    event->state.setArrays(facesOf(float(width), float(height), float(depth)).vertices);
    glDrawArrays(GL_QUADS, 0, 24);
}

void GL_Cube::drawCube(float width, float height, float depth)
{
    glInterleavedArrays(GL_T2F_N3F_V3F, 0, facesOf(width, height, depth).vertices);
    glDrawArrays(GL_QUADS, 0, 24);
    for (const GLenum array : {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_TEXTURE_COORD_ARRAY})
        glDisableClientState(array);
}
