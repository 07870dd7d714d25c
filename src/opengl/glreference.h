#pragma once

#include "geometry/zylhmatrix.h"
#include "opengl/globject.h"
#include "toolkit/qcstring.h"

/// Draws an object of the scene's library at another place.
///
/// Neither owns nor copies its target: the scene does, and must outlive the reference. Until `read`
/// or `init` finds the target by name the node draws nothing. The name is kept, so that a save
/// never loses the target.
class ZYL_EXPORT GL_Reference : public GL_Object
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Reference();

    const geometry::Matrix4f& transform() const { return m_transform; }
    void setTransform(const geometry::Matrix4f& transform);
    /// The target's present name when it is known and has one, else the name it is looked for by.
    QCString objectName() const;
    void setObjectName(const char* name) { m_objectName = name; }
    GL_Object* object() const { return m_object; }
    void setObject(GL_Object* object);
    VColor layerColor() const { return m_layerColor; }
    void setLayerColor(VColor color) { m_layerColor = color; }

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    void init(GL_Scene* scene) override;
    void draw(GL_RenderEvent* event) override;
    bool hasTransform(geometry::Matrix4f& matrix) const override;
    void bounds(geometry::Box3f& box) const override;
    bool shouldRender(GL_RenderEvent* event) const override;
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;

private:
    friend class GL_Object;

    bool isBlockTarget() const;
    void measureTarget() const;

    geometry::Matrix4f m_transform;
    QCString m_objectName;
    GL_Object* m_object = nullptr; // owned by the scene
    VColor m_layerColor = VColor(0u);
};
