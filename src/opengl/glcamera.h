#pragma once

#include "geometry/zylphysics.h"
#include "opengl/globject.h"

/// A viewpoint that stands in the scene, for `GL_Viewer::setCamera`.
class ZYL_EXPORT GL_Camera : public GL_Object, public physics::Camera
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Camera() = default;

    /// Takes matrices as the one from the camera's space, in which it looks along -z, to its
    /// parent's. Of a change only place and direction are kept.
    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    void draw(GL_RenderEvent* event) override;
    void bounds(geometry::Box3f& box) const override;
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;

private:
    struct Stored;

    geometry::Matrix4f matrix() const;
    void drawGlyph(float size) const;
};
