#pragma once

#include "geometry/zylnurbssurface.h"
#include "opengl/glvertexshape.h"

#include <memory>

class GL_NurbsCache;

/// B-spline patches. Each has control points of its own or, where its vertices are single whole
/// numbers, takes those of the mesh by index, so that patches can share a border.
///
/// Patch i shows in material i, and those beyond the last material in that one. The indices of
/// texture coordinates go to the control points one after another; where they don't reach, the
/// texture covers a patch once. A patch without knots has as many points as its orders ask for.
class ZYL_EXPORT GL_NurbsMesh : public GL_VertexShape, public geometry::NurbsMesh
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_NurbsMesh();
    ~GL_NurbsMesh() override;

    using GL_VertexShape::bounds;

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void drawShape(GL_RenderEvent* event) override;

protected:
    /// The shared points, then those of each patch.
    std::vector<geometry::GVectorArray> pointArrays() const override;

private:
    std::unique_ptr<GL_NurbsCache> m_cache;
};
