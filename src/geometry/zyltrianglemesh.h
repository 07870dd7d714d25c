#pragma once

#include "geometry/zylmesh.h"

namespace geometry
{
/// Triangles over shared vertices, with texture coordinates by an index of their own at each
/// corner.
///
/// Words, normals and indices beyond the vertices are as in `Mesh`; there are no holes.
class ZYL_EXPORT TriangleMesh : public virtual VertexShape
{
public:
    TriangleMesh() = default;
    TriangleMesh(const TriangleMesh& other) = default;
    TriangleMesh& operator=(const TriangleMesh& other) = default;
    ~TriangleMesh() override;

    unsigned faceCount() const { return unsigned(m_words.size()); }
    unsigned word(unsigned face) const { return m_words[face]; }
    void setWord(unsigned face, unsigned word);
    unsigned material(unsigned face) const { return m_words[face] >> MeshFace::materialShift; }
    bool isHidden(unsigned face) const { return m_words[face] & MeshFace::Hidden; }
    /// Three for each face.
    const int* corners() const { return m_corners.data(); }
    const int* corners(unsigned face) const { return m_corners.data() + std::size_t(face) * 3; }
    unsigned cornerCount() const { return unsigned(m_corners.size()); }

    void reserve(unsigned faces);
    /// False, with nothing added, where the mesh has as many corners as an `int` can count.
    bool addFace(unsigned word, int a, int b, int c);
    void clearFaces();

    /// Indices into the texture coordinates, three for each face; without them a corner's vertex is
    /// the index.
    const VMemArray<int>& faceUVs() const { return m_faceUVs; }
    void setFaceUVs(const VMemArray<int>& indices) { m_faceUVs = indices; }
    const Vector2fArray& textureCoords() const { return m_textureCoords; }
    void setTextureCoords(const Vector2fArray& coords) { m_textureCoords = coords; }
    /// The texture coordinates of a corner; null where an index leads to none.
    const Vector2f* textureCoord(unsigned corner) const;

    float creaseAngle() const { return m_creaseAngle; }
    void setCreaseAngle(float degrees) { m_creaseAngle = degrees; }
    const Vector3f* normals() const { return m_normals.empty() ? nullptr : m_normals.data(); }
    bool hasNormals() const { return !m_normals.empty(); }
    void generateNormalsWithAngle();
    void generateNormalsWithGroup();
    void generateFlatNormals();
    void clearNormals();

    void bounds(Box3f& box) const;
    double volume() const;

private:
    std::vector<unsigned> m_words;
    std::vector<int> m_corners;
    std::vector<Vector3f> m_normals;
    VMemArray<int> m_faceUVs;
    Vector2fArray m_textureCoords;
    float m_creaseAngle = 30;
};
} // namespace geometry
