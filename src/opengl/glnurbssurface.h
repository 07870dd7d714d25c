#pragma once

#include "geometry/zylnurbssurface.h"
#include "opengl/glshape.h"

/// A B-spline surface, sampled by GLU as the view asks. `init` follows a change of the fields of
/// the geometry class.
class ZYL_EXPORT GL_NurbsSurface : public GL_Shape, public geometry::NurbsSurface
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    /// Of order 4 both ways, without points.
    GL_NurbsSurface();

    using GL_Shape::bounds;

    // Points a unit of the parameters, for those who sample by them.
    int stepU() const { return m_stepU; }
    void setStepU(int step) { m_stepU = step; }
    int stepV() const { return m_stepV; }
    void setStepV(int step) { m_stepV = step; }

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void drawShape(GL_RenderEvent* event) override;

private:
    int m_stepU = 100;
    int m_stepV = 100;
};
