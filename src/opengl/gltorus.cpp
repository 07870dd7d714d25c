#include "opengl/gltorus.h"

#include "kernel/vzylfields_p.h"
#include "opengl/glrevolution_p.h"

#include <GL/gl.h>

#include <cmath>

using zylfields::field;

struct GL_Torus::Stored {
    static constexpr auto fields = std::tuple(field("majorRadius", 0x80, &Torus::majorRadius),
                                              field("minorRadius", 0x81, &Torus::minorRadius),
                                              field("sides", 0x82, &Torus::sides, 10),
                                              field("rings", 0x83, &Torus::rings, 20));
};

const VMetaClass GL_Torus::metaClass("GL_Torus", &GL_Torus::factory, &GL_Quadric::metaClass);

ZYLObject* GL_Torus::factory()
{
    return new GL_Torus;
}

const VMetaClass* GL_Torus::metaObject() const
{
    return &metaClass;
}

VFormatIO& GL_Torus::read(VFormatIO& io)
{
    return zylfields::read(GL_Quadric::read(io), *this, Stored::fields);
}

VFormatIO& GL_Torus::write(VFormatIO& io) const
{
    return zylfields::write(GL_Quadric::write(io), *this, Stored::fields);
}

void GL_Torus::init(GL_Scene*)
{
    geometry::Box3f box;
    Torus::bounds(box);
    setShapeBounds(box);
}

void GL_Torus::draw(GL_RenderEvent* event)
{
    setClosed(minorRadius > 0 && majorRadius >= 0);
    GL_Quadric::draw(event);
}

void GL_Torus::drawShape(GL_RenderEvent*)
{
    constexpr double turn = 2 * 3.14159265358979323846;
    const int columns = GL_Revolution::around(rings), rows = GL_Revolution::around(sides);
    const auto rowAt = [=](int i) {
        const double angle = i == rows ? 0 : turn * i / rows;
        const double sine = std::sin(angle), cosine = std::cos(angle);
        return GL_Revolution::Row{majorRadius + minorRadius * cosine, minorRadius * sine, cosine,
                                  sine, 0};
    };
    // It begins on the x axis.
    GL_Revolution torus(columns, GL_Revolution::None, false, 90, 360);
    if (style() == Lines || style() == Silhouette) {
        glPushAttrib(GL_POLYGON_BIT);
        glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
        torus.draw(rows + 1, rowAt, GL_Revolution::Whole);
        glPopAttrib();
    } else {
        torus.draw(rows + 1, rowAt, GL_Revolution::Falling);
    }
}
