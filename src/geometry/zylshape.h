#pragma once

#include "geometry/zylforward.h"
#include "toolkit/zylexport.h"

namespace geometry
{
class PathIterator;

/// A figure in the plane that can be read as a path.
class ZYL_EXPORT Shape2f
{
public:
    virtual Box2f bounds() const = 0;
    virtual bool contains(const Vector2f& p) const = 0;
    virtual bool contains(const Box2f& box) const = 0;
    virtual bool intersects(const Box2f& box) const = 0;
    /// A new cursor at the first segment; the caller deletes it.
    virtual PathIterator* getPathIterator() const = 0;
    virtual ~Shape2f();
};

/// A figure in space.
class ZYL_EXPORT Shape3f
{
public:
    virtual Box3f bounds() const = 0;
    virtual bool contains(const Vector3f& p) const = 0;
    virtual bool contains(const Box3f& box) const = 0;
    virtual bool intersects(const Box3f& box) const = 0;
    /// A new cursor at the first segment; the caller deletes it.
    virtual PathIterator* getPathIterator() const = 0;
    virtual ~Shape3f();
};
} // namespace geometry
