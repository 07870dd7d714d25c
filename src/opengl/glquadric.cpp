#include "opengl/glquadric.h"

#include "kernel/vzylfields_p.h"
#include "opengl/glrevolution_p.h"

#include <GL/glu.h>

#include <cmath>
#include <memory>

namespace
{
using Row = GL_Revolution::Row;
using zylfields::field;

constexpr double pi = 3.14159265358979323846;
constexpr double leastCap = 1e-10; // radius of a cap that is drawn

struct Word {
    const char* key;
    unsigned flag;
};

constexpr Word quadricWords[] = {{"inside", GL_Quadric::Inside},
                                 {"textureCoords", GL_Quadric::TextureCoords}};
constexpr Word capWords[] = {{"baseCap", GL_Quadric::BaseCap}, {"topCap", GL_Quadric::TopCap}};

// Words stand for flags, which the binary form carries as a whole.

template <std::size_t n>
VFormatIO& readWords(VFormatIO& io, GL_Object& object, const Word (&words)[n])
{
    VZylStream* const stream = VZylStream::get(io);
    if (stream && !stream->dataStream())
        for (const Word& word : words)
            if (stream->contains(word.key))
                object.setFlags(word.flag, true);
    return io;
}

template <std::size_t n>
VFormatIO& writeWords(VFormatIO& io, const GL_Object& object, const Word (&words)[n])
{
    VZylStream* const stream = VZylStream::get(io);
    if (stream && !stream->dataStream())
        for (const Word& word : words)
            if (object.testFlags(word.flag))
                zylfields::writeWord(*stream, word.key);
    return io;
}

template <class Solid>
geometry::Box3f boundsOf(const Solid& solid)
{
    geometry::Box3f box;
    solid.bounds(box);
    return box;
}

struct DeleteQuadric {
    void operator()(GLUquadric* quadric) const { gluDeleteQuadric(quadric); }
};
using QuadricPointer = std::unique_ptr<GLUquadric, DeleteQuadric>;

/// One of GLU's quadrics in the way that a shape asks for, for styles other than filled; it may be
/// null.
QuadricPointer makeQuadric(const GL_Quadric& shape)
{
    QuadricPointer quadric(gluNewQuadric());
    if (quadric)
        shape.begin(quadric.get());
    return quadric;
}

GL_Revolution::Texture textureOf(const GL_Quadric& shape, GL_Revolution::Texture kind)
{
    return shape.hasTextureCoords() ? kind : GL_Revolution::None;
}

/// A disk that faces up, or down if `inside`.
void drawDisk(const GL_Quadric& shape, bool inside, double inner, double outer, int slices,
              int rings, double z, double start = 0, double sweep = 360)
{
    // As GLU, which draws nothing else.
    if (!(outer > 0 && inner >= 0 && inner <= outer))
        return;
    GL_Revolution disk(slices, textureOf(shape, GL_Revolution::Plane), inside, start, sweep);
    disk.draw(rings + 1, [=](int i) {
        const double radius = i == rings ? inner : outer - (outer - inner) * i / rings;
        return Row{radius, z, 0, 1, radius / outer / 2};
    });
}

/// The side of a cone or cylinder, and its caps.
struct Tube {
    const GL_Quadric& shape;
    double base, top, height;
    int slices, stacks, rings;
    bool baseCap, topCap;

    bool isClosed() const
    {
        return !shape.isInside() && height > 0 && base >= 0 && top >= 0 && base + top > 0 &&
               (baseCap || base == 0) && (topCap || top == 0);
    }
    void draw() const
    {
        if (shape.style() == GL_Shape::Filled)
            fill();
        else
            outline();
    }

private:
    void fill() const
    {
        const double length = std::hypot(base - top, height);
        if (base >= 0 && top >= 0 && height >= 0 && length > 0) {
            GL_Revolution side(slices, textureOf(shape, GL_Revolution::Around), shape.isInside());
            // Turning the surface over, GLU leaves this part of the normals as it is.
            const double normalZ = (shape.isInside() ? top - base : base - top) / length;
            side.draw(stacks + 1, [&](int i) {
                const double part = double(i) / stacks;
                return Row{base - (base - top) * part, height * part, height / length, normalZ,
                           part};
            });
        }
        if (baseCap)
            drawDisk(shape, !shape.isInside(), 0, base, slices, rings, 0);
        if (topCap)
            drawDisk(shape, shape.isInside(), 0, top, slices, rings, height);
    }
    void outline() const
    {
        const QuadricPointer quadric = makeQuadric(shape);
        if (!quadric)
            return;
        gluCylinder(quadric.get(), base, top, height, slices, stacks);
        const GLenum out = shape.isInside() ? GLU_INSIDE : GLU_OUTSIDE;
        const GLenum in = shape.isInside() ? GLU_OUTSIDE : GLU_INSIDE;
        if (baseCap) {
            gluQuadricOrientation(quadric.get(), in);
            gluDisk(quadric.get(), 0, base, slices, rings);
        }
        if (topCap) {
            glPushMatrix();
            glTranslatef(0, 0, float(height));
            gluQuadricOrientation(quadric.get(), out);
            gluDisk(quadric.get(), 0, top, slices, rings);
            glPopMatrix();
        }
    }
};

Tube tubeOf(const GL_Cone& cone)
{
    return {cone,
            cone.baseRadius,
            cone.topRadius,
            cone.height,
            GL_Revolution::around(cone.slices),
            GL_Revolution::along(cone.stacks, 1),
            GL_Revolution::along(cone.rings, 1),
            cone.testFlags(GL_Quadric::BaseCap) && cone.baseRadius > leastCap,
            cone.testFlags(GL_Quadric::TopCap) && cone.topRadius > leastCap};
}

Tube tubeOf(const GL_Cylinder& cylinder)
{
    return {cylinder,
            cylinder.radius,
            cylinder.radius,
            cylinder.height,
            GL_Revolution::around(cylinder.slices),
            GL_Revolution::along(cylinder.stacks, 1),
            GL_Revolution::along(cylinder.rings, 1),
            cylinder.testFlags(GL_Quadric::BaseCap),
            cylinder.testFlags(GL_Quadric::TopCap)};
}
} // namespace

const VMetaClass GL_Quadric::metaClass("GL_Quadric", &ZYLObject::factory, &GL_Shape::metaClass);

const VMetaClass* GL_Quadric::metaObject() const
{
    return &metaClass;
}

GL_Quadric::GL_Quadric()
{
    setExtent(Stale);
}

VFormatIO& GL_Quadric::read(VFormatIO& io)
{
    return readWords(GL_Shape::read(io), *this, quadricWords);
}

VFormatIO& GL_Quadric::write(VFormatIO& io) const
{
    return writeWords(GL_Shape::write(io), *this, quadricWords);
}

void GL_Quadric::begin(GLUquadric* quadric) const
{
    static constexpr GLenum styles[] = {GLU_POINT, GLU_LINE, GLU_SILHOUETTE, GLU_FILL};
    gluQuadricDrawStyle(quadric, styles[style()]);
    if (isInside())
        gluQuadricOrientation(quadric, GLU_INSIDE);
    gluQuadricNormals(quadric, GLU_SMOOTH);
    if (hasTextureCoords())
        gluQuadricTexture(quadric, GL_TRUE);
}

struct GL_Sphere::Stored {
    static constexpr auto fields = std::tuple(field("radius", 0x80, &Sphere::radius),
                                              field("slices", 0x81, &Sphere::slices, 20),
                                              field("stacks", 0x82, &Sphere::stacks, 20));
};

const VMetaClass GL_Sphere::metaClass("GL_Sphere", &GL_Sphere::factory, &GL_Quadric::metaClass);

ZYLObject* GL_Sphere::factory()
{
    return new GL_Sphere;
}

const VMetaClass* GL_Sphere::metaObject() const
{
    return &metaClass;
}

VFormatIO& GL_Sphere::read(VFormatIO& io)
{
    return zylfields::read(GL_Quadric::read(io), *this, Stored::fields);
}

VFormatIO& GL_Sphere::write(VFormatIO& io) const
{
    return zylfields::write(GL_Quadric::write(io), *this, Stored::fields);
}

void GL_Sphere::init(GL_Scene*)
{
    setShapeBounds(boundsOf<Sphere>(*this));
}

void GL_Sphere::draw(GL_RenderEvent* event)
{
    setClosed(!isInside() && radius > 0);
    GL_Quadric::draw(event);
}

void GL_Sphere::drawShape(GL_RenderEvent*)
{
    const int columns = GL_Revolution::around(slices), rows = GL_Revolution::along(stacks, 2);
    if (style() != Filled) {
        if (const QuadricPointer quadric = makeQuadric(*this))
            gluSphere(quadric.get(), radius, columns, rows);
        return;
    }
    if (!(radius >= 0))
        return;
    GL_Revolution sphere(columns, textureOf(*this, GL_Revolution::Around), isInside());
    sphere.draw(rows + 1, [=](int i) {
        const bool isPole = i == 0 || i == rows;
        const double angle = pi * (rows - i) / rows;
        const double sine = isPole ? 0 : std::sin(angle), cosine = std::cos(angle);
        return Row{radius * sine, radius * cosine, sine, cosine, double(i) / rows};
    });
}

struct GL_Cone::Stored {
    static constexpr auto fields = std::tuple(
        field("baseRadius", 0x80, &Cone::baseRadius), field("topRadius", 0x81, &Cone::topRadius),
        field("height", 0x82, &Cone::height), field("slices", 0x83, &Cone::slices, 20),
        field("stacks", 0x84, &Cone::stacks, 1), field("rings", 0x85, &Cone::rings, 1));
};

const VMetaClass GL_Cone::metaClass("GL_Cone", &GL_Cone::factory, &GL_Quadric::metaClass);

ZYLObject* GL_Cone::factory()
{
    return new GL_Cone;
}

const VMetaClass* GL_Cone::metaObject() const
{
    return &metaClass;
}

VFormatIO& GL_Cone::read(VFormatIO& io)
{
    return readWords(zylfields::read(GL_Quadric::read(io), *this, Stored::fields), *this, capWords);
}

VFormatIO& GL_Cone::write(VFormatIO& io) const
{
    return writeWords(zylfields::write(GL_Quadric::write(io), *this, Stored::fields), *this,
                      capWords);
}

void GL_Cone::init(GL_Scene*)
{
    setShapeBounds(boundsOf<Cone>(*this));
}

void GL_Cone::draw(GL_RenderEvent* event)
{
    setClosed(tubeOf(*this).isClosed());
    GL_Quadric::draw(event);
}

void GL_Cone::drawShape(GL_RenderEvent*)
{
    tubeOf(*this).draw();
}

struct GL_Cylinder::Stored {
    static constexpr auto fields = std::tuple(
        field("radius", 0x80, &Cylinder::radius), field("height", 0x81, &Cylinder::height),
        field("slices", 0x82, &Cylinder::slices, 20), field("stacks", 0x83, &Cylinder::stacks, 1),
        field("rings", 0x84, &Cylinder::rings, 1));
};

const VMetaClass GL_Cylinder::metaClass("GL_Cylinder", &GL_Cylinder::factory,
                                        &GL_Quadric::metaClass);

ZYLObject* GL_Cylinder::factory()
{
    return new GL_Cylinder;
}

const VMetaClass* GL_Cylinder::metaObject() const
{
    return &metaClass;
}

VFormatIO& GL_Cylinder::read(VFormatIO& io)
{
    return readWords(zylfields::read(GL_Quadric::read(io), *this, Stored::fields), *this, capWords);
}

VFormatIO& GL_Cylinder::write(VFormatIO& io) const
{
    return writeWords(zylfields::write(GL_Quadric::write(io), *this, Stored::fields), *this,
                      capWords);
}

void GL_Cylinder::init(GL_Scene*)
{
    setShapeBounds(boundsOf<Cylinder>(*this));
}

void GL_Cylinder::draw(GL_RenderEvent* event)
{
    setClosed(tubeOf(*this).isClosed());
    GL_Quadric::draw(event);
}

void GL_Cylinder::drawShape(GL_RenderEvent*)
{
    tubeOf(*this).draw();
}

struct GL_Disk::Stored {
    static constexpr auto fields =
        std::tuple(field("innerRadius", 0x80, &Disk::innerRadius),
                   field("outerRadius", 0x81, &Disk::outerRadius),
                   field("slices", 0x82, &Disk::slices, 20), field("rings", 0x83, &Disk::rings, 1));
};

const VMetaClass GL_Disk::metaClass("GL_Disk", &GL_Disk::factory, &GL_Quadric::metaClass);

ZYLObject* GL_Disk::factory()
{
    return new GL_Disk;
}

const VMetaClass* GL_Disk::metaObject() const
{
    return &metaClass;
}

VFormatIO& GL_Disk::read(VFormatIO& io)
{
    return zylfields::read(GL_Quadric::read(io), *this, Stored::fields);
}

VFormatIO& GL_Disk::write(VFormatIO& io) const
{
    return zylfields::write(GL_Quadric::write(io), *this, Stored::fields);
}

void GL_Disk::init(GL_Scene*)
{
    setShapeBounds(boundsOf<Disk>(*this));
}

void GL_Disk::drawShape(GL_RenderEvent*)
{
    const int columns = GL_Revolution::around(slices), rows = GL_Revolution::along(rings, 1);
    if (style() == Filled)
        drawDisk(*this, isInside(), innerRadius, outerRadius, columns, rows, 0);
    else if (const QuadricPointer quadric = makeQuadric(*this))
        gluDisk(quadric.get(), innerRadius, outerRadius, columns, rows);
}

struct GL_PartialDisk::Stored {
    static constexpr auto fields = std::tuple(field("startAngle", 0x84, &PartialDisk::startAngle),
                                              field("sweepAngle", 0x85, &PartialDisk::sweepAngle));
};

const VMetaClass GL_PartialDisk::metaClass("GL_PartialDisk", &GL_PartialDisk::factory,
                                           &GL_Disk::metaClass);

ZYLObject* GL_PartialDisk::factory()
{
    return new GL_PartialDisk;
}

const VMetaClass* GL_PartialDisk::metaObject() const
{
    return &metaClass;
}

VFormatIO& GL_PartialDisk::read(VFormatIO& io)
{
    return zylfields::read(GL_Disk::read(io), *this, Stored::fields);
}

VFormatIO& GL_PartialDisk::write(VFormatIO& io) const
{
    return zylfields::write(GL_Disk::write(io), *this, Stored::fields);
}

void GL_PartialDisk::drawShape(GL_RenderEvent*)
{
    const int columns = GL_Revolution::around(slices), rows = GL_Revolution::along(rings, 1);
    if (style() != Filled) {
        if (const QuadricPointer quadric = makeQuadric(*this))
            gluPartialDisk(quadric.get(), innerRadius, outerRadius, columns, rows, startAngle,
                           sweepAngle);
        return;
    }
    // As GLU: more than a turn is a full one, and a sweep back starts at its end.
    double start = startAngle, sweep = sweepAngle;
    if (sweep < -360 || sweep > 360)
        sweep = 360;
    if (sweep < 0) {
        start += sweep;
        sweep = -sweep;
    }
    drawDisk(*this, isInside(), innerRadius, outerRadius, columns, rows, 0, start, sweep);
}
