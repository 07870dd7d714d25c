#pragma once

#include "opengl/glnamedobject.h"

class GL_Font;

using GL_FontList = VPtrList<GL_Font>;

/// A font of a scene, by name.
class ZYL_EXPORT GL_Font : public GL_NamedObject
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;
};
