#pragma once

#include "opengl/glmaterial.h"
#include "opengl/glstate.h"
#include "opengl/gltraversal.h"

class GL_Viewer;

/// What the nodes share during one traversal of a scene.
struct ZYL_EXPORT GL_RenderEvent {
    enum Flag : unsigned {
        KeepCulling = 1u << 2, ///< leave GL_CULL_FACE alone
        FillOnly = 1u << 3     ///< fill, without material, lighting and shading
    };

    GL_RenderEvent(GL_Viewer* viewer, GL_Scene* scene);
    ~GL_RenderEvent();
    GL_RenderEvent(const GL_RenderEvent&) = delete;
    GL_RenderEvent& operator=(const GL_RenderEvent&) = delete;

    GL_Viewer* viewer;
    GL_Scene* scene;
    GL_Material* material = nullptr; ///< applied last; equal ones in a row are sent once
    GL_Material defaultMaterial;     ///< for shapes without one, in their colour
    int pass = -1;                   ///< -1 when there is only one, else 0 opaque, 1 transparent
    unsigned flags = 0;
    float* depthBuffer = nullptr;
    unsigned char* stencilBuffer = nullptr;

    // Keep the viewport's pixels for the life of the event, and put them back. Out of memory, or
    // without such a buffer, they do nothing. `restoreDepth` leaves the colour mask off.
    void saveDepth();
    void saveStencil();
    void restoreDepth();
    void restoreStencil();

    GL_State state;
    GL_Traversal traversal;
};
