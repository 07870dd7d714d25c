#pragma once

#include "geometry/zylmesh.h"
#include "geometry/zyltrianglemesh.h"
#include "opengl/glvertexshape.h"

#include <memory>

class GL_MeshCache;

/// Polygons with holes. What is sent to GL is made at the first drawing in a context, and again
/// after `rebuild`.
class ZYL_EXPORT GL_Mesh : public GL_VertexShape, public geometry::Mesh
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Mesh();
    ~GL_Mesh() override;

    using GL_VertexShape::bounds;

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void drawShape(GL_RenderEvent* event) override;

private:
    std::unique_ptr<GL_MeshCache> m_cache;
};

/// Runs of vertices, each with a mode of drawing and flat normals. Bit 2 of a run's word has it lit
/// from the front alone.
class ZYL_EXPORT GL_IndexedShape : public GL_VertexShape, public geometry::Mesh
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_IndexedShape();
    ~GL_IndexedShape() override;

    using GL_VertexShape::bounds;

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void drawShape(GL_RenderEvent* event) override;

private:
    std::unique_ptr<GL_MeshCache> m_cache;
};

/// Triangles, with texture coordinates by indices of their own.
class ZYL_EXPORT GL_TriangleMesh : public GL_VertexShape, public geometry::TriangleMesh
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_TriangleMesh();
    ~GL_TriangleMesh() override;

    using GL_VertexShape::bounds;

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void drawShape(GL_RenderEvent* event) override;

private:
    std::unique_ptr<GL_MeshCache> m_cache;
};
