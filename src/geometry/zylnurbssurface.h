#pragma once

#include "geometry/zylnurbs.h"
#include "geometry/zylvectorarray.h"
#include "tools/vmemarray.h"

namespace geometry
{
/// A B-spline surface over countU x countV control points, those of one row after another.
class ZYL_EXPORT NurbsSurface : public virtual VertexShape
{
public:
    NurbsSurface() = default;
    NurbsSurface(const NurbsSurface& other) = default;
    NurbsSurface& operator=(const NurbsSurface& other) = default;
    ~NurbsSurface() override;

    int orderU = 2;
    int orderV = 2;
    KnotVector knotsU;
    KnotVector knotsV;
    int countU = 0;
    int countV = 0;
    NurbsCurveVector trims; // curves in the plane of the parameters
};

/// A patch of a mesh, with control points of its own. The knots tell how many stand in a row.
struct ZYL_EXPORT NurbsFace {
    GVectorArray vertices;
    int orderU = 2;
    int orderV = 2;
    KnotVector knotsU;
    KnotVector knotsV;
};

ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const NurbsFace& face);
/// Leaves the face as it was, with the stream's status set, where the stream holds no face: also
/// where the knots of both directions don't fit the vertices.
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, NurbsFace& face);

class ZYL_EXPORT NurbsFaceVector : public NurbsVector<NurbsFace>
{
};
extern template class NurbsVector<NurbsFace>;

/// Patches over shared vertices, with texture coordinates by index.
class ZYL_EXPORT NurbsMesh : public virtual VertexShape
{
public:
    NurbsMesh() = default;
    NurbsMesh(const NurbsMesh& other) = default;
    NurbsMesh& operator=(const NurbsMesh& other) = default;
    ~NurbsMesh() override;

    const NurbsFaceVector& faces() const { return m_faces; }
    /// Copies the faces.
    void setFaces(const NurbsFaceVector& faces) { m_faces = faces; }

    /// Indices into the texture coordinates, those of one face after another.
    const VMemArray<int>& faceUVs() const { return m_faceUVs; }
    void setFaceUVs(const VMemArray<int>& indices) { m_faceUVs = indices; }
    void clearFaceUVs() { m_faceUVs = VMemArray<int>(); }

    const Vector2fArray& textureCoords() const { return m_textureCoords; }
    void setTextureCoords(const Vector2fArray& coords) { m_textureCoords = coords; }

private:
    NurbsFaceVector m_faces;
    VMemArray<int> m_faceUVs;
    Vector2fArray m_textureCoords;
};
} // namespace geometry
