#pragma once

#include "geometry/zylhmatrix.h"
#include "opengl/globject.h"

/// Holds other nodes, which it owns. The index of a child is its selection name.
class ZYL_EXPORT GL_Group : public GL_Object
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Group();
    ~GL_Group() override;

    /// A node that is added later must be given to its `init` by whoever adds it.
    GL_ObjectList& children() { return m_children; }
    const GL_ObjectList& children() const { return m_children; }

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    void init(GL_Scene* scene) override;
    void draw(GL_RenderEvent* event) override;
    void bounds(geometry::Box3f& box) const override;
    void hit(GL_RenderEvent* event) override;
    bool shouldRender(GL_RenderEvent* event) const override;
    GL_Object* identify(unsigned* path, unsigned n) override;
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;

private:
    friend class GL_Joint;
    friend class GL_Object;

    explicit GL_Group(Kind kind);

    bool offerToChildren(VEvent* event);
    void measureChildren(geometry::Vector3f& center, float& radius) const;

    GL_ObjectList m_children;
};

/// A group that turns and moves its children, and can show itself as a skeleton: a marker of three
/// circles, and a pyramid to each joint below.
class ZYL_EXPORT GL_Joint : public GL_Group
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Joint();

    const geometry::Matrix4f& transform() const { return m_transform; }
    void setTransform(const geometry::Matrix4f& transform);
    /// Half the size of the marker.
    float size() const { return m_size; }
    void setSize(float size);

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    bool hasTransform(geometry::Matrix4f& matrix) const override;
    void bounds(geometry::Box3f& box) const override;
    void draw(GL_RenderEvent* event) override;
    void hit(GL_RenderEvent* event) override;
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;

    /// Draws the children and, if `Bones` is set, the skeleton; as the current object if `current`.
    void drawShape(GL_RenderEvent* event, bool current);

private:
    friend class GL_Object;

    void drawMarker() const;
    void drawBone(const GL_Joint& child) const;
    void measureJoint() const;

    geometry::Matrix4f m_transform;
    float m_size = 0.5f;
};

/// A group that can give its children its colours.
class ZYL_EXPORT GL_Block : public GL_Group
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Block() = default;

    VColor layerColor() const { return m_layerColor; }
    void setLayerColor(VColor color) { m_layerColor = color; }

    /// Writes the colours into the children that ask for them, where they stay.
    void draw(GL_RenderEvent* event) override;

private:
    VColor m_layerColor = VColor(0u);
};
