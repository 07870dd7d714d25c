#pragma once

#include "opengl/globject.h"

/// Handles to move a node with the mouse.
class ZYL_EXPORT GL_Manipulator : public GL_Object
{
public:
    static const VMetaClass metaClass;
    const VMetaClass* metaObject() const override;

    GL_Manipulator() = default;

    /// The node that is moved, which stays the scene's; null without.
    GL_Object* target() const { return m_target; }
    /// Sets `Rebuild`, too.
    void setTarget(GL_Object* target);
    /// The handle that was picked, or -1.
    int handle() const { return m_handle; }
    void setHandle(int handle) { m_handle = handle; }

    /// Draws the axes of the world in the lower left corner of the view.
    static void drawAxis(GL_Viewer* viewer);

private:
    GL_Object* m_target = nullptr;
    int m_handle = -1;
};
