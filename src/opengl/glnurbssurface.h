#pragma once

#include "geometry/zylnurbssurface.h"
#include "opengl/glshape.h"

#include <memory>

class GL_NurbsCache;

/// A B-spline surface, sampled by GLU as the view asks. What comes of that is kept while surface
/// and view stay as they are. `init` follows a change of the fields of the geometry class.
class ZYL_EXPORT GL_NurbsSurface : public GL_Shape, public geometry::NurbsSurface
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    /// Of order 4 both ways, without points.
    GL_NurbsSurface();
    ~GL_NurbsSurface() override;

    using GL_Shape::bounds;

    // GLU's measures. Only the first, the longest edge that is drawn, in pixels, counts while it
    // samples by lengths, which is how it starts.
    float samplingTolerance() const { return m_samplingTolerance; }
    void setSamplingTolerance(float pixels) { change(m_samplingTolerance, pixels); }
    float parametricTolerance() const { return m_parametricTolerance; }
    void setParametricTolerance(float pixels) { change(m_parametricTolerance, pixels); }
    int stepU() const { return m_stepU; }
    void setStepU(int step) { change(m_stepU, step); }
    int stepV() const { return m_stepV; }
    void setStepV(int step) { change(m_stepV, step); }

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void drawShape(GL_RenderEvent* event) override;

private:
    template <class T>
    void change(T& value, T to)
    {
        value = to;
        setFlags(Rebuild, true);
    }

    std::unique_ptr<GL_NurbsCache> m_cache;
    float m_samplingTolerance = 50;
    float m_parametricTolerance = 0.5f;
    int m_stepU = 100;
    int m_stepV = 100;
};
