#pragma once

#include "geometry/zylhmatrix.h"
#include "opengl/globject.h"

/// Handles that move, turn or scale a node with the mouse, along the axes of its own space or
/// freely.
///
/// Drawn over everything, of one size on the screen whatever the view. Each handle is picked by its
/// number as a selection name. A node that takes no matrix of its own, such as a group, is changed
/// through its children, around the middle of its bounds.
class ZYL_EXPORT GL_Manipulator : public GL_Object
{
public:
    static const VMetaClass metaClass;
    const VMetaClass* metaObject() const override;

    enum Kind { Translate, Rotate, Scale };
    enum Handle { None = -1, X, Y, Z, Free, HandleCount };

    explicit GL_Manipulator(Kind kind = Translate) : m_kind(kind) {}

    Kind kind() const { return m_kind; }
    void setKind(Kind kind) { m_kind = kind; }
    /// The node that is moved, which stays the scene's; null without.
    GL_Object* target() const { return m_target; }
    /// Sets `Rebuild`, too.
    void setTarget(GL_Object* target);
    /// The handle that was picked, or `None`: a drag moves the whole selection then.
    int handle() const { return m_handle; }
    void setHandle(int handle) { m_handle = handle; }

    // Without a target, nothing is drawn or hit.
    void draw(GL_RenderEvent* event) override;
    void hit(GL_RenderEvent* event) override;
    /// A handle belongs to the node it changes: that is what a pick finds.
    GL_Object* identify(unsigned* path, unsigned n) override;
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;

    /// Draws the axes of the world in the lower left corner of the view.
    static void drawAxis(GL_Viewer* viewer);

protected:
    /// Where the handles stand: three axes of length 1 and an origin, in the world. False when
    /// that can't be told.
    virtual bool frame(geometry::Matrix4f& matrix) const;
    /// Draws one handle along z, for a frame of size 1.
    virtual void drawHandle(int handle) const;
    /// What a move of the pointer with the picked handle does to the world around `frame`, as a
    /// matrix. False when it does nothing.
    virtual bool change(GL_Viewer* viewer, const geometry::Vector2i& from,
                        const geometry::Vector2i& to, const geometry::Matrix4f& frame,
                        geometry::Matrix4f& matrix) const;

private:
    void drawAll(GL_RenderEvent* event, bool named);

    Kind m_kind;
    GL_Object* m_target = nullptr;
    int m_handle = None;
};
