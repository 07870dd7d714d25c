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

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    void draw(GL_RenderEvent* event) override;
    void bounds(geometry::Box3f& box) const override;
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;
};
