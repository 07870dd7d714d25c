#pragma once

#include "geometry/zylparticles.h"
#include "opengl/globject.h"

/// Drops that fall through a box, moved on by events with the code `VActionEvent::Elapsed`.
class ZYL_EXPORT GL_Rain : public GL_Object, public physics::Raining
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    /// The volume; drops reach out of it by their length.
    void bounds(geometry::Box3f& box) const override;
    void draw(GL_RenderEvent* event) override;

private:
    struct Stored;
};
