#pragma once

#include "geometry/zylnurbs.h"
#include "opengl/glcurve.h"
#include "tools/vmemarray.h"

#include <vector>

/// A B-spline curve, or with an order of 2 or less the lines between its control points. Those have
/// their indices as selection names.
///
/// Whoever changes the fields of the geometry class calls `rebuild` then. `Closed` joins the ends;
/// with `Periodic` too the curve runs round smoothly.
class ZYL_EXPORT GL_NurbsCurve : public GL_Curve, public geometry::NurbsCurve
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    /// Of order 4.
    GL_NurbsCurve();
    ~GL_NurbsCurve() override;

    /// How many lines stand for each span between knots.
    int step() const { return m_step; }
    void setStep(int step);
    /// Has the drawing made anew, and the bounds.
    void rebuild();

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    /// The box of the control points, which a curve doesn't leave.
    void bounds(geometry::Box3f& box) const override;
    void hit(GL_RenderEvent* event) override;
    /// Moves the control point that was picked, or all.
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;
    void drawShape(GL_RenderEvent* event) override;
    void drawHandles(GL_RenderEvent* event) override;
    void drawHull(GL_RenderEvent* event) override;
    using GL_Curve::drawHandles;

private:
    void evaluate();

    int m_step = 10;
    bool m_isEvaluated = false;
    unsigned m_evaluatedFlags = 0;
    std::vector<geometry::Vector3f> m_points; // of the curve
};

/// A curve of order 2 at first, with a width at each vertex that is kept for other programs.
class ZYL_EXPORT GL_Polyline : public GL_NurbsCurve
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Polyline();

    const VMemArray<float>& widths() const { return m_widths; }
    void setWidths(const VMemArray<float>& widths) { m_widths = widths; }

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

private:
    struct Stored;

    VMemArray<float> m_widths;
};
