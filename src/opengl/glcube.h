#pragma once

#include "geometry/zylsolids.h"
#include "opengl/glshape.h"

/// A box around the origin.
class ZYL_EXPORT GL_Cube : public GL_Shape, public geometry::Cube
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Cube();

    using GL_Shape::bounds;

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void draw(GL_RenderEvent* event) override;
    void drawShape(GL_RenderEvent* event) override;

    /// Six faces that look outward, each with the whole of a texture.
    static void drawCube(float width, float height, float depth);

private:
    struct Stored;
};
