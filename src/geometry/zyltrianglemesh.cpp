#include "geometry/zyltrianglemesh.h"

#include "geometry/zylmeshnormals_p.h"

namespace geometry
{
namespace
{
/// Has `use` work on the triangles, with room for their normals.
template <class Use>
void withTopology(const TriangleMesh& mesh, std::vector<Vector3f>& normals, Use use)
{
    const MeshPoints points(mesh.vertices);
    normals.assign(mesh.cornerCount(), Vector3f());
    const auto wordOf = [&mesh](unsigned face) { return mesh.word(face); };
    use(TriangleTopology<decltype(wordOf)>{points, mesh.corners(), mesh.cornerCount(), wordOf});
}
} // namespace

TriangleMesh::~TriangleMesh() = default;

void TriangleMesh::setWord(unsigned face, unsigned word)
{
    if (face >= m_words.size()) {
        qWarning("TriangleMesh::setWord: Index %u out of range", face);
        return;
    }
    m_words[face] = word;
}

void TriangleMesh::reserve(unsigned faces)
{
    m_words.reserve(faces);
    m_corners.reserve(std::size_t(faces) * 3);
}

bool TriangleMesh::addFace(unsigned word, int a, int b, int c)
{
    if (m_corners.size() > std::size_t(std::numeric_limits<int>::max()) - 3)
        return false;
    m_normals.clear();
    m_words.push_back(word);
    m_corners.insert(m_corners.end(), {a, b, c});
    return true;
}

void TriangleMesh::clearFaces()
{
    m_words.clear();
    m_corners.clear();
    clearNormals();
}

const Vector2f* TriangleMesh::textureCoord(unsigned corner) const
{
    if (corner >= m_corners.size())
        return nullptr;
    const bool hasOwn = !m_faceUVs.isEmpty();
    if (hasOwn && corner >= m_faceUVs.size())
        return nullptr;
    const unsigned index = unsigned(hasOwn ? m_faceUVs.data()[corner] : m_corners[corner]);
    return index < m_textureCoords.size() ? m_textureCoords.data() + index : nullptr;
}

void TriangleMesh::generateNormalsWithAngle()
{
    withTopology(*this, m_normals, [this](const auto& topology) {
        shareNormals(topology, topology.points.count(), CreaseRule(m_creaseAngle), m_normals);
    });
}

void TriangleMesh::generateNormalsWithGroup()
{
    withTopology(*this, m_normals, [this](const auto& topology) {
        shareNormals(topology, topology.points.count(), GroupRule(), m_normals);
    });
}

void TriangleMesh::generateFlatNormals()
{
    withTopology(*this, m_normals, [this](const auto& topology) { topology.flat(m_normals); });
}

void TriangleMesh::clearNormals()
{
    m_normals = std::vector<Vector3f>();
}

void TriangleMesh::bounds(Box3f& box) const
{
    MeshPoints(vertices).bounds(box);
}

double TriangleMesh::volume() const
{
    return enclosedVolume(MeshPoints(vertices), [this](auto use) {
        for (std::size_t i = 0; i < m_corners.size(); i += 3)
            use(m_corners[i], m_corners[i + 1], m_corners[i + 2]);
    });
}
} // namespace geometry
