#pragma once

#include "geometry/zylvertexshape.h"
#include "opengl/glmaterial.h"
#include "opengl/glshape.h"

#include <vector>

/// The base of shapes over an array of vertices, which can be moved one by one while the shape is
/// selected. A vertex has its index as selection name.
///
/// Whoever changes the figure by the functions of its geometry class calls `rebuild` then.
class ZYL_EXPORT GL_VertexShape : public GL_Shape, public virtual geometry::VertexShape
{
public:
    static const VMetaClass metaClass;
    const VMetaClass* metaObject() const override;

    enum VertexFlag : unsigned {
        OpaqueFaces = 1u << 28, ///< by `init`, of the materials
        TransparentFaces = 1u << 29
    };

    GL_VertexShape();

    /// By index, as faces name them; none of them leaves all to the shape's own material. They stay
    /// the scene's.
    GL_MaterialVector& materials() { return m_materials; }
    const GL_MaterialVector& materials() const { return m_materials; }

    /// Has the drawing made anew, and the bounds.
    void rebuild();

    /// With a vertex in the detail of the event, moves that alone.
    bool event(VEvent* event) override;
    void init(GL_Scene* scene) override;
    bool shouldRender(GL_RenderEvent* event) const override;
    void hit(GL_RenderEvent* event) override;
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;
    void drawHandles(GL_RenderEvent* event) override;
    using GL_Shape::drawHandles;

protected:
    /// The arrays of points that can be moved, which are numbered one array after another.
    virtual std::vector<geometry::GVectorArray> pointArrays() const { return {vertices}; }

    /// The materials by their names, which come last in either form.
    VFormatIO& readMaterials(VFormatIO& io, int tag);
    VFormatIO& writeMaterials(VFormatIO& io, int tag) const;

private:
    bool verticesEvent(VEvent* event);
    void updateBounds();
    /// Moves a point by what `move` makes of it; false without such a point.
    template <class Move>
    bool movePoint(int index, Move move);

    GL_MaterialVector m_materials;
};
