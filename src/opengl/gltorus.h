#pragma once

#include "opengl/glquadric.h"

/// A ring around the z axis.
class ZYL_EXPORT GL_Torus : public GL_Quadric, public geometry::Torus
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    using GL_Quadric::bounds;
    /// Around the tube, and around the axis.
    void setSides(int count) { sides = count; }
    void setRings(int count) { rings = count; }

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void draw(GL_RenderEvent* event) override;
    void drawShape(GL_RenderEvent* event) override;

private:
    struct Stored;
};
