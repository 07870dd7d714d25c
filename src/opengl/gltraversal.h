#pragma once

#include "geometry/zylhmatrix.h"
#include "opengl/globject.h"

#include <vector>

class GL_Scene;

/// Where a traversal stands: the matrix, the selection names and the part of the view, kept beside
/// GL, whose stacks are shallow (32 matrices, 64 names).
///
/// The current GL matrix is always the one that `matrix` tells, and after each `pop` the one from
/// before its `push`. Names beyond GL's stack are kept here, and one name of GL's stands for all of
/// them until `expand` puts them back into the hit records.
class ZYL_EXPORT GL_Traversal
{
public:
    /// How deep nodes may be nested, and references follow one another. What lies deeper isn't
    /// drawn, with one warning a scene.
    static constexpr int depthLimit = 4096;
    static constexpr int referenceLimit = 256;
    /// How many references one traversal follows.
    static constexpr int referenceBudget = 1 << 20;
    /// How many names are left to GL, which must have room for one more and for a node's own.
    static constexpr int nameLimit = 48;

    explicit GL_Traversal(GL_Scene* scene);

    /// The model-view matrix. The result stands until the next `push`.
    const geometry::Matrix4f& matrix() { return level().matrix; }
    /// Multiplies `local` onto the matrix, for GL too.
    void push(const geometry::Matrix4f& local);
    void pop();
    /// Whether the matrix mirrors, and so turns the winding of polygons over.
    bool isMirrored();

    // Going down into a group, or through a reference; false when that is too deep. Each true one
    // is undone by its `leave`.
    bool enter();
    void leave() { --m_depth; }
    bool enterReference();
    void leaveReference();

    /// Whether the node, placed in the space of `matrix`, is known to lie wholly outside of the
    /// view, or of the pick region.
    bool isOutside(const GL_Object& object);
    /// Whether the node, placed likewise, may reach the near plane or beyond.
    bool reachesNear(const GL_Object& object);

    /// Set while hits are recorded: colours, lights and materials don't matter then.
    bool isSelecting() const { return m_selecting; }
    void setSelecting(bool selecting) { m_selecting = selecting; }
    void pushName(unsigned name);
    void loadName(unsigned name);
    void popName();
    /// Rewrites `hits` selection records of GL's so that each holds its whole path of names.
    std::vector<unsigned> expand(const unsigned* records, int hits) const;
    /// Whether any name was kept here, so that records need `expand`.
    bool hasOwnNames() const { return !m_ownNames.empty(); }

private:
    using Row = geometry::Row4<float>;

    /// The planes of the view volume in the space of a level, with unit normals that point inward:
    /// the four sides, one a lane, then near and far.
    struct Planes {
        Row x, y, z, w;
        geometry::Vector4f near, far;
    };
    struct Level {
        geometry::Matrix4f matrix;
        Planes planes;
        bool hasPlanes = false;
    };
    /// A name beyond GL's stack, and the one that stands before it.
    struct OwnName {
        unsigned name;
        int before; // -1 for none
    };

    Level& level()
    {
        if (m_levels.empty())
            begin();
        return m_levels[m_top];
    }
    const Planes& planes()
    {
        Level& current = level();
        if (!current.hasPlanes)
            makePlanes(current);
        return current.planes;
    }
    static float distance(const geometry::Vector4f& plane, const geometry::Vector3f& point)
    {
        return plane.x * point.x + plane.y * point.y + plane.z * point.z + plane.w;
    }

    void begin();
    void makePlanes(Level& level) const;
    void beginNames();
    int addOwnName(unsigned name, int before);
    void warnOnce(const char* function, const char* what, int limit);

    GL_Scene* m_scene;
    std::vector<Level> m_levels; // what was popped stays for reuse
    std::size_t m_top = 0;
    geometry::Matrix4f m_projection;
    geometry::Vector2f m_border; // widens the view by the breadth of lines and points
    int m_depth = 0;
    int m_references = 0;
    int m_budget = referenceBudget;
    bool m_warned = false;
    bool m_selecting = false;
    int m_nameCount = -1; // -1 until GL's stack has been asked for its depth
    int m_ownName = -1;   // the deepest that stands
    std::vector<OwnName> m_ownNames;
};

/// A push of a traversal's matrix until the end of the scope.
class GL_MatrixScope
{
public:
    GL_MatrixScope(GL_Traversal& traversal, const geometry::Matrix4f& local)
        : m_traversal(traversal)
    {
        m_traversal.push(local);
    }
    ~GL_MatrixScope() { m_traversal.pop(); }
    GL_MatrixScope(const GL_MatrixScope&) = delete;
    GL_MatrixScope& operator=(const GL_MatrixScope&) = delete;

private:
    GL_Traversal& m_traversal;
};

inline bool GL_Traversal::isOutside(const GL_Object& object)
{
    if (object.m_extent != GL_Object::Measured) {
        if (object.m_extent == GL_Object::Unknown)
            return false;
        object.measure();
    }
    const Planes& side = planes();
    const geometry::Vector3f& c = object.m_center;
    const float reach = -object.m_radius;
    // What isn't a number compares false, and so is never outside.
    const Row d = c.x * side.x + c.y * side.y + c.z * side.z + side.w;
    return d[0] < reach || d[1] < reach || d[2] < reach || d[3] < reach ||
           distance(side.near, c) < reach || distance(side.far, c) < reach;
}

inline bool GL_Traversal::reachesNear(const GL_Object& object)
{
    if (object.m_extent != GL_Object::Measured) {
        if (object.m_extent == GL_Object::Unknown)
            return true;
        object.measure();
    }
    return !(distance(planes().near, object.m_center) > object.m_radius);
}
