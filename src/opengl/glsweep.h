#pragma once

#include "geometry/zylsweep.h"
#include "opengl/glshape.h"

#include <memory>

class GL_MeshCache;

// The swept solids. What is sent to GL is made at the first drawing in a context. Whoever changes
// the fields of the geometry classes sets the flag `Rebuild`, and calls `init` for the bounds.

/// A path moved along a vector, with both ends covered.
class ZYL_EXPORT GL_Extrude : public GL_Shape, public geometry::Extrude
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Extrude();
    ~GL_Extrude() override;

    using GL_Shape::bounds;
    void setSlices(int count);

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void drawShape(GL_RenderEvent* event) override;

private:
    struct Stored;

    std::unique_ptr<GL_MeshCache> m_cache;
};

/// A path moved along another one.
class ZYL_EXPORT GL_PathExtrude : public GL_Shape, public geometry::PathExtrude
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_PathExtrude();
    ~GL_PathExtrude() override;

    using GL_Shape::bounds;
    void setSlices(int count);
    void setStacks(int count);

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void drawShape(GL_RenderEvent* event) override;

private:
    struct Stored;

    std::unique_ptr<GL_MeshCache> m_cache;
};

/// A path turned about an axis.
class ZYL_EXPORT GL_Lathe : public GL_Shape, public geometry::Lathe
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Lathe();
    ~GL_Lathe() override;

    using GL_Shape::bounds;
    void setSlices(int count);
    void setStacks(int count);

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void drawShape(GL_RenderEvent* event) override;

private:
    struct Stored;

    std::unique_ptr<GL_MeshCache> m_cache;
};
