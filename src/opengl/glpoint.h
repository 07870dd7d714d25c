#pragma once

#include "geometry/zylvector.h"
#include "opengl/globject.h"

/// A dot of the same size at any distance.
class ZYL_EXPORT GL_Point : public GL_Object
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Point();

    const geometry::Vector3f& position() const { return m_position; }
    void setPosition(const geometry::Vector3f& position);

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void init(GL_Scene* scene) override;
    void bounds(geometry::Box3f& box) const override;
    void draw(GL_RenderEvent* event) override;
    void hit(GL_RenderEvent* event) override;
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;

private:
    struct Stored;

    geometry::Vector3f m_position;
};
