#pragma once

#include "geometry/zylhmatrix.h"
#include "opengl/globject.h"

class GL_Material;

/// A node with a matrix, a material and a drawing style of its own; at first lit, filled and
/// smooth.
class ZYL_EXPORT GL_Shape : public GL_Object
{
public:
    static const VMetaClass metaClass;
    const VMetaClass* metaObject() const override;

    enum Style { Points = 0, Lines = 1, Silhouette = 2, Filled = 3 };

    GL_Shape();

    const geometry::Matrix4f& transform() const { return m_transform; }
    void setTransform(const geometry::Matrix4f& transform);
    GL_Material* material() const { return m_material; }
    /// The material stays the scene's. Null means the node's own colour.
    void setMaterial(GL_Material* material) { m_material = material; }
    Style style() const { return Style((flags() & StyleMask) >> styleShift); }
    void setStyle(Style style) { setFlags((flags() & ~StyleMask) | unsigned(style) << styleShift); }
    /// 0 is flat, anything else smooth.
    int shadingModel() const { return int((flags() & ShadingMask) >> shadingShift); }
    void setShadingModel(int model)
    {
        setFlags((flags() & ~ShadingMask) | (unsigned(model) << shadingShift & ShadingMask));
    }
    /// In the shape's own space; empty until `init` of the concrete class has set them.
    const geometry::Box3f& shapeBounds() const { return m_bounds; }

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    void draw(GL_RenderEvent* event) override;
    bool hasTransform(geometry::Matrix4f& matrix) const override;
    void bounds(geometry::Box3f& box) const override;
    bool shouldRender(GL_RenderEvent* event) const override;
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;

    /// Draws the shape alone, in its own space. A lit one gives its own normals: those that stand
    /// may be another shape's. What it changes of GL but the current colour, normal and texture
    /// coordinates it puts back, or tells the event's `state`.
    virtual void drawShape(GL_RenderEvent* event);
    /// Show the current object, and a selected one, in the colour that stands. By the bounds here.
    virtual void drawHandles(GL_RenderEvent* event);
    virtual void drawHull(GL_RenderEvent* event);
    using GL_Object::drawHandles;

    /// Has texture coordinates generated over the bounds, for a shape without any.
    void autoTextureGen(bool on);

protected:
    void setShapeBounds(const geometry::Box3f& bounds);
    /// Marks a shape whose surface is closed and wound consistently: its back faces can't be seen
    /// from outside, and are left out where that makes no difference.
    void setClosed(bool closed) { m_closed = closed; }

private:
    friend class GL_Object;

    bool hidesBackFaces(GL_RenderEvent* event) const;
    void applyLook(GL_RenderEvent* event);
    void drawFilled(GL_RenderEvent* event, bool flip, bool hideBack);

    geometry::Matrix4f m_transform;
    GL_Material* m_material = nullptr; // owned by the scene
    geometry::Box3f m_bounds;
    bool m_closed = false;
};
