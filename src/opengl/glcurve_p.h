#pragma once

#include "geometry/zylhmatrix.h"
#include "kernel/vevent.h"
#include "opengl/glrenderevent.h"
#include "opengl/glscene.h"
#include "opengl/glviewer.h"

// What nodes without a matrix and a material of their own have in common.

/// Turns off what the last material may have left on; the next shape applies its own whole.
inline void leaveMaterial(GL_RenderEvent* event)
{
    for (const GL_State::Switch which :
         {GL_State::Blend, GL_State::AlphaTest, GL_State::Texture2D}) {
        if (!event->state.isEnabled(which))
            continue;
        event->state.setEnabled(which, false);
        event->material = nullptr;
    }
}

/// The matrix of an event that moves points, or null. Before or after a matrix are the same to
/// them.
inline const geometry::Matrix4f* pointTransform(VEvent* event)
{
    if (!event || (event->type() != VActionEvent::TransformBefore &&
                   event->type() != VActionEvent::TransformAfter))
        return nullptr;
    return static_cast<VActionEvent*>(event)->value<geometry::Matrix4f>();
}

inline geometry::Vector3f transformed(const geometry::Vector3f& point,
                                      const geometry::Matrix4f& matrix)
{
    return matrix.isAffine() ? matrix.map(point) : matrix.multVecMatrix(point);
}

/// The part of a node that was picked, such as an end, or -1. Other selected nodes are moved as a
/// whole.
inline int pickedPart(const GL_Object* object, const GL_Viewer* viewer)
{
    const GL_Scene* const scene = viewer->scene();
    return scene && scene->currentObject() == object ? scene->currentPart() : -1;
}
