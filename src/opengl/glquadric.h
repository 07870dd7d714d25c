#pragma once

#include "geometry/zylsolids.h"
#include "opengl/glshape.h"

class GLUquadric;

/// The base of the solids that turn about the z axis.
///
/// Each is a figure of `geometry` too, whose fields may be set at any time; `init` has to follow,
/// for the bounds. Counts of any size are kept, and drawn as far as they make sense.
class ZYL_EXPORT GL_Quadric : public GL_Shape
{
public:
    static const VMetaClass metaClass;
    const VMetaClass* metaObject() const override;

    enum QuadricFlag : unsigned {
        Inside = 1u << 12, ///< the surface faces inward
        TextureCoords = 1u << 13,
        BaseCap = 1u << 14, ///< of cones and cylinders
        TopCap = 1u << 15
    };

    GL_Quadric();

    bool isInside() const { return testFlags(Inside); }
    void setInside(bool on) { setFlags(Inside, on); }
    bool hasTextureCoords() const { return testFlags(TextureCoords); }
    void setTextureCoords(bool on) { setFlags(TextureCoords, on); }

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    /// Has GLU draw in this style, to this side.
    void begin(GLUquadric* quadric) const;
};

class ZYL_EXPORT GL_Sphere : public GL_Quadric, public geometry::Sphere
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    using GL_Quadric::bounds;
    void setSlices(int count) { slices = count; }
    void setStacks(int count) { stacks = count; }

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void draw(GL_RenderEvent* event) override;
    void drawShape(GL_RenderEvent* event) override;

private:
    struct Stored;
};

/// Stands on the plane z = 0.
class ZYL_EXPORT GL_Cone : public GL_Quadric, public geometry::Cone
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    using GL_Quadric::bounds;
    void setSlices(int count) { slices = count; }
    void setStacks(int count) { stacks = count; }
    /// Of the caps.
    void setRings(int count) { rings = count; }

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void draw(GL_RenderEvent* event) override;
    void drawShape(GL_RenderEvent* event) override;

private:
    struct Stored;
};

/// Stands on the plane z = 0.
class ZYL_EXPORT GL_Cylinder : public GL_Quadric, public geometry::Cylinder
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    using GL_Quadric::bounds;
    void setSlices(int count) { slices = count; }
    void setStacks(int count) { stacks = count; }
    /// Of the caps.
    void setRings(int count) { rings = count; }

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void draw(GL_RenderEvent* event) override;
    void drawShape(GL_RenderEvent* event) override;

private:
    struct Stored;
};

/// Lies in the plane z = 0 and faces up.
class ZYL_EXPORT GL_Disk : public GL_Quadric, public virtual geometry::Disk
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    using GL_Quadric::bounds;
    void setSlices(int count) { slices = count; }
    void setRings(int count) { rings = count; }

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    /// The bounds are those of the full disk for a part of one too.
    void init(GL_Scene* scene) override;
    void drawShape(GL_RenderEvent* event) override;

private:
    struct Stored;
};

/// Angles are degrees from the y axis on, towards growing x.
class ZYL_EXPORT GL_PartialDisk : public GL_Disk, public geometry::PartialDisk
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    using GL_Disk::bounds;

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void drawShape(GL_RenderEvent* event) override;

private:
    struct Stored;
};
