#pragma once

#include "geometry/zylvectorarray.h"
#include "geometry/zylvertexshape.h"

#include <vector>

namespace geometry
{
/// One outline of a mesh, or one run of vertices for a draw mode.
///
/// The word goes with it into files. Two faces of a common smoothing group share the normals of the
/// vertices they share, by `Mesh::generateNormalsWithGroup`.
struct ZYL_EXPORT MeshFace {
    enum Flag : unsigned {
        Hole = 1u << 0, ///< of the face before it that is none
        PolygonOffset = 1u << 1,
        Hidden = 1u << 3
    };
    static constexpr unsigned groupShift = 4; // bits 4 to 15 each stand for a smoothing group
    static constexpr unsigned groupMask = 0xfffu << groupShift;
    static constexpr unsigned materialShift = 16;

    unsigned word;
    int mode;            // a `Mesh::DrawMode`
    unsigned begin, end; // its part of the corners

    unsigned count() const { return end - begin; }
    bool isHole() const { return word & Hole; }
    bool isHidden() const { return word & Hidden; }
    unsigned groups() const { return (word & groupMask) >> groupShift; }
    unsigned material() const { return word >> materialShift; }
};

/// Polygons with holes over shared vertices.
///
/// The corners, indices into the vertices, stand in one array face after face. Normals are kept for
/// each corner, so that an edge may be sharp; texture coordinates belong to the vertices. A face
/// with an index beyond the vertices is kept, and whoever draws passes it over; its normals are
/// zero.
class ZYL_EXPORT Mesh : public virtual VertexShape
{
public:
    /// Numbered as OpenGL's.
    enum DrawMode {
        Points,
        Lines,
        LineLoop,
        LineStrip,
        Triangles,
        TriangleStrip,
        TriangleFan,
        Quads,
        QuadStrip,
        Polygon
    };

    Mesh() = default;
    Mesh(const Mesh& other) = default;
    Mesh& operator=(const Mesh& other) = default;
    ~Mesh() override;

    unsigned faceCount() const { return unsigned(m_faces.size()); }
    /// Isn't checked.
    const MeshFace& face(unsigned index) const { return m_faces[index]; }
    const MeshFace* faces() const { return m_faces.data(); }
    /// The corners of all faces.
    const int* corners() const { return m_corners.data(); }
    unsigned cornerCount() const { return unsigned(m_corners.size()); }
    /// The corners of one face; as many as its `count`.
    const int* corners(const MeshFace& face) const { return m_corners.data() + face.begin; }

    /// Makes room beforehand.
    void reserve(unsigned faces, unsigned corners);
    /// Adds a polygon, or with bit 0 of the word a hole. False, with nothing added, where the mesh
    /// has as many corners as an `int` can count.
    bool addFace(unsigned word, const int* indices, unsigned count)
    {
        return addShape(word, Polygon, indices, count);
    }
    /// Adds a run of vertices to be drawn in a mode. Warns and returns false for an unknown one.
    bool addShape(unsigned word, int mode, const int* indices, unsigned count);
    void setWord(unsigned face, unsigned word);
    void clearFaces();

    /// Folds the 32 smoothing groups of other forms into the groups of a word.
    static constexpr unsigned groupWord(quint32 groups)
    {
        return (((groups >> 24) | (groups >> 12) | groups) << MeshFace::groupShift) &
               MeshFace::groupMask;
    }

    /// By vertex; none, or as many as there are vertices.
    const Vector2fArray& textureCoords() const { return m_textureCoords; }
    void setTextureCoords(const Vector2fArray& coords) { m_textureCoords = coords; }
    /// By vertex, red, green, blue and alpha; none, or as many as there are vertices.
    const Vector4fArray& colors() const { return m_colors; }
    void setColors(const Vector4fArray& colors) { m_colors = colors; }

    /// In degrees. Faces that meet at less share their normals.
    float creaseAngle() const { return m_creaseAngle; }
    void setCreaseAngle(float degrees) { m_creaseAngle = degrees; }

    /// One normal a corner, in the order of the corners; null before they are generated.
    const Vector3f* normals() const { return m_normals.empty() ? nullptr : m_normals.data(); }
    bool hasNormals() const { return !m_normals.empty(); }

    // A shared normal is the sum of the faces' normals, each weighted by the angle of the face at
    // the vertex, brought to length 1: so the way that a surface is cut into faces doesn't show.
    // The corners of a hole take part with the normal of its face. Faces of less than three corners
    // or without an area have no direction and take no part; their normals are zero. Runs in other
    // modes than `Polygon` get flat normals. Hidden faces count, so that hiding one changes no
    // shading.

    /// Corners at one vertex share a normal where their faces are joined by edges at which
    /// neighbours meet at less than the crease angle; an edge of more than two faces joins none.
    /// Also where all faces at the vertex lie within half that angle of their sum.
    void generateNormalsWithAngle();
    /// Corners at one vertex share a normal where their faces have a smoothing group in common;
    /// faces of no group are flat.
    void generateNormalsWithGroup();
    /// Each face has the one normal of its plane. In the modes that draw several figures, the
    /// corner that completes a figure has the figure's normal.
    void generateFlatNormals();
    void clearNormals();

    /// Makes one vertex of those whose coordinates, texture coordinates and colour are the same
    /// bytes. Keeps the order of the first of each, and takes arrays of its own. Returns how many
    /// vertices went.
    unsigned weld();

    /// The box of all vertices, used or not. Those that are no numbers count nowhere.
    void bounds(Box3f& box) const;
    /// The volume that closed faces enclose, positive where they face outward. Holes have to run
    /// against their face.
    double volume() const;

private:
    std::vector<MeshFace> m_faces;
    std::vector<int> m_corners;
    std::vector<Vector3f> m_normals;
    Vector2fArray m_textureCoords;
    Vector4fArray m_colors;
    float m_creaseAngle = 30;
};
} // namespace geometry
