#pragma once

#include "geometry/zylline.h"
#include "opengl/globject.h"

/// The base of what is drawn as a line: it has a colour but no matrix and no material.
class ZYL_EXPORT GL_Curve : public GL_Object
{
public:
    static const VMetaClass metaClass;
    const VMetaClass* metaObject() const override;

    enum CurveFlag : unsigned {
        Closed = 1u << 16, ///< the ends are joined
        Periodic = 1u << 17
    };

    bool isClosed() const { return testFlags(Closed); }
    void setClosed(bool on) { setFlags(Closed, on); }
    bool isPeriodic() const { return testFlags(Periodic); }
    void setPeriodic(bool on) { setFlags(Periodic, on); }

    void draw(GL_RenderEvent* event) override;
    void hit(GL_RenderEvent* event) override;

    /// Draws the curve alone.
    virtual void drawShape(GL_RenderEvent* event);
    /// Show the current object, and a selected one, in the colour that stands.
    virtual void drawHandles(GL_RenderEvent* event);
    virtual void drawHull(GL_RenderEvent* event);
    using GL_Object::drawHandles;
};

/// A straight segment, whose ends have the selection names 0 and 1. They may be set at any time,
/// with `boundsChanged` after it.
class ZYL_EXPORT GL_Line : public GL_Curve, public geometry::Line3f
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    /// From the origin to (1, 0, 0).
    GL_Line();

    using geometry::Line3f::bounds;

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void bounds(geometry::Box3f& box) const override;
    void hit(GL_RenderEvent* event) override;
    /// Moves the end that was picked, or both.
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;
    void drawShape(GL_RenderEvent* event) override;
    void drawHandles(GL_RenderEvent* event) override;

private:
    struct Stored;
};
