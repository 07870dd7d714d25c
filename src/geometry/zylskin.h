#pragma once

#include "geometry/zylhmatrix.h"

#include <vector>

namespace physics
{
/// How much of a joint's movement a vertex takes.
struct ZYL_EXPORT Influence {
    int joint;
    float weight;
};

/// The influences on each vertex of a skin, those of one vertex after those of another.
class ZYL_EXPORT WeightBinding
{
public:
    /// Ends with no influence on any vertex.
    void clear(unsigned vertexCount = 0);
    /// Adds an influence. False for a vertex there is none of, a negative joint, or a weight that
    /// isn't positive and finite.
    bool add(unsigned vertex, int joint, float weight);
    /// Orders what was added by vertices, makes one of the influences of one joint, keeps the
    /// `most` strongest of each vertex and brings the sum of its weights to 1.
    void build(unsigned most = 4);

    unsigned vertexCount() const { return m_starts.empty() ? 0 : unsigned(m_starts.size()) - 1; }
    /// One more than the greatest joint.
    unsigned jointCount() const { return m_jointCount; }
    // After `build`.
    const Influence* begin(unsigned vertex) const { return m_influences.data() + m_starts[vertex]; }
    const Influence* end(unsigned vertex) const
    {
        return m_influences.data() + m_starts[vertex + 1];
    }

private:
    struct Added {
        unsigned vertex;
        Influence influence;
    };

    std::vector<Added> m_added;
    std::vector<Influence> m_influences;
    std::vector<unsigned> m_starts{0}; // one more than vertices
    unsigned m_jointCount = 0;
};

ZYL_EXPORT bool isFinite(const geometry::Matrix4f& matrix);
/// Inverts without a warning. False, with nothing written, for a singular matrix or one that isn't
/// finite, or whose inverse isn't.
ZYL_EXPORT bool invert(const geometry::Matrix4f& matrix, geometry::Matrix4f& inverse);

/// A surface that joints move.
///
/// The matrix of a joint maps its space to that of the skin. A vertex moves as the weighted mean of
/// its joints does, each from where it was when it was bound; a vertex without influences stays.
class ZYL_EXPORT Skin
{
public:
    /// Takes the surface as it is now. Normals may be null; else there are as many.
    void setRest(const geometry::Vector3f* positions, const geometry::Vector3f* normals,
                 unsigned count);
    WeightBinding& binding() { return m_binding; }
    const WeightBinding& binding() const { return m_binding; }

    /// Binds the joints where they are. False, and unbound, where a matrix is singular or no
    /// number.
    bool bind(const geometry::Matrix4f* joints, unsigned count);
    /// Binds by matrices that map the skin's space to a joint's.
    void setBindMatrices(const geometry::Matrix4f* matrices, unsigned count);
    unsigned jointCount() const { return unsigned(m_bind.size()); }

    unsigned vertexCount() const { return unsigned(m_positions.size()); }
    /// Where the vertices rest.
    const geometry::Vector3f* positions() const { return m_positions.data(); }
    bool hasNormals() const { return !m_normals.empty(); }

    /// Writes where the surface is when the joints are here. Normals, of length 1, may be null.
    /// False, with nothing written, unless there are as many joints as were bound, and all that the
    /// influences name.
    bool deform(const geometry::Matrix4f* joints, unsigned count, geometry::Vector3f* positions,
                geometry::Vector3f* normals = nullptr) const;

private:
    std::vector<geometry::Vector3f> m_positions, m_normals;
    std::vector<geometry::Matrix4f> m_bind;
    mutable std::vector<geometry::Matrix4f> m_moves; // kept, so that a frame allocates nothing
    WeightBinding m_binding;
};
} // namespace physics
