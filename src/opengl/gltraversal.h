#pragma once

#include "geometry/zylhmatrix.h"
#include "toolkit/zylexport.h"

#include <vector>

class GL_Object;
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

    explicit GL_Traversal(GL_Scene* scene);

    /// The model-view matrix.
    const geometry::Matrix4f& matrix();
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

    /// Whether the node is known to lie wholly outside of the view, or of the pick region.
    bool isOutside(const GL_Object& object);
    /// Whether a sphere in the space of `matrix` reaches the near plane or beyond.
    bool reachesNear(const geometry::Vector3f& center, float radius);

    /// Set while hits are recorded: colours, lights and materials don't matter then.
    bool isSelecting() const { return m_selecting; }
    void setSelecting(bool selecting) { m_selecting = selecting; }
    void pushName(unsigned name);
    void loadName(unsigned name);
    void popName();
    /// Rewrites `hits` selection records of GL's so that each holds its whole path of names.
    std::vector<unsigned> expand(const unsigned* records, int hits) const;
    /// Whether any name was kept here, so that records need `expand`.
    bool hasOwnNames() const { return !m_paths.empty(); }

private:
    struct Plane {
        float x, y, z, w;
    };
    struct Level {
        geometry::Matrix4f matrix;
        Plane planes[6];
        bool hasPlanes = false;
    };

    void begin();
    const Plane* planes();
    void warnOnce(const char* what);

    GL_Scene* m_scene;
    std::vector<Level> m_levels;
    geometry::Matrix4f m_projection;
    int m_depth = 0;
    int m_references = 0;
    int m_budget = referenceBudget;
    bool m_selecting = false;
    std::vector<unsigned> m_names;
    std::vector<std::vector<unsigned>> m_paths; // what each of the own names stands for
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
