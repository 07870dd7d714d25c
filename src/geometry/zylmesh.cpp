#include "geometry/zylmesh.h"

#include "geometry/zylmeshnormals_p.h"

#include <qlogging.h>

#include <cstring>

namespace geometry
{
namespace
{
/// Polygons and their holes.
class PolygonTopology
{
public:
    PolygonTopology(const Mesh& mesh, const MeshPoints& points) : m_mesh(mesh), m_points(points)
    {
        m_faceOf.resize(mesh.cornerCount());
        m_outerOf.resize(mesh.faceCount());
        m_isTurned.resize(mesh.faceCount());
        unsigned outer = 0;
        for (unsigned i = 0; i < mesh.faceCount(); ++i) {
            const MeshFace& face = mesh.face(i);
            std::fill_n(m_faceOf.begin() + face.begin, face.count(), i);
            if (face.mode == Mesh::Polygon && !face.isHole())
                outer = i;
            m_outerOf[i] = outer;
        }
        eachPolygon([this](unsigned i, const Vector3d& normal) {
            const MeshFace& face = m_mesh.face(i);
            m_isTurned[i] = face.isHole() && dot(newell(face), normal) > 0;
        });
    }

    int next(unsigned corner) const { return beside(corner, false); }
    int previous(unsigned corner) const { return beside(corner, true); }
    unsigned groups(unsigned corner) const
    {
        return groupsOfWord(m_mesh.face(m_outerOf[m_faceOf[corner]]).word);
    }

    template <class Use>
    void eachVertex(Use use) const
    {
        for (unsigned i = 0; i < m_mesh.faceCount(); ++i)
            if (m_mesh.face(i).mode == Mesh::Polygon && isValid(m_mesh.face(i)))
                for (unsigned k = m_mesh.face(i).begin; k < m_mesh.face(i).end; ++k)
                    use(m_mesh.corners()[k]);
    }

    template <class Use>
    void eachShare(Use use) const
    {
        eachPolygon([&](unsigned i, const Vector3d& normal) {
            const MeshFace& face = m_mesh.face(i);
            const int* const corners = m_mesh.corners(face);
            const unsigned n = face.count();
            Vector3d before = at(corners[n - 1]), here = at(corners[0]);
            for (unsigned k = 0; k < n; ++k) {
                const Vector3d after = at(corners[k + 1 < n ? k + 1 : 0]);
                double angle = std::atan2(dot(normal, cross(after - here, before - here)),
                                          dot(after - here, before - here));
                if (m_isTurned[i])
                    angle = -angle;
                if (angle < 0)
                    angle += 2 * 3.14159265358979323846;
                use(corners[k], Vector3f(normal * angle), face.begin + k);
                before = here;
                here = after;
            }
        });
    }

    void flat(std::vector<Vector3f>& normals) const
    {
        eachPolygon([&](unsigned i, const Vector3d& normal) {
            const MeshFace& face = m_mesh.face(i);
            std::fill_n(normals.begin() + face.begin, face.count(), Vector3f(normal));
        });
    }

private:
    int beside(unsigned corner, bool isBefore) const
    {
        const unsigned i = m_faceOf[corner];
        const MeshFace& face = m_mesh.face(i);
        const unsigned before = (corner > face.begin ? corner : face.end) - 1;
        const unsigned after = corner + 1 < face.end ? corner + 1 : face.begin;
        return m_mesh.corners()[isBefore != bool(m_isTurned[i]) ? before : after];
    }

    Vector3d at(int index) const { return Vector3d(m_points[unsigned(index)]); }

    bool isValid(const MeshFace& face) const
    {
        const int* const corners = m_mesh.corners(face);
        return face.count() > 2 && std::all_of(corners, corners + face.count(), [this](int index) {
                   return m_points.contains(index);
               });
    }

    /// Twice the area of a polygon as a vector.
    Vector3d newell(const MeshFace& face) const
    {
        const int* const corners = m_mesh.corners(face);
        const Vector3d origin = at(corners[0]);
        Vector3d sum, last = at(corners[1]) - origin;
        for (unsigned k = 2; k < face.count(); ++k) {
            const Vector3d next = at(corners[k]) - origin;
            sum += cross(last, next);
            last = next;
        }
        return sum;
    }

    /// Tells of each polygon with a direction; a hole has its face's.
    template <class Use>
    void eachPolygon(Use use) const
    {
        Vector3d normal;
        bool hasNormal = false;
        for (unsigned i = 0; i < m_mesh.faceCount(); ++i) {
            const MeshFace& face = m_mesh.face(i);
            if (face.mode != Mesh::Polygon)
                continue;
            const bool valid = isValid(face);
            if (!face.isHole()) {
                normal = valid ? newell(face) : Vector3d();
                const double length = normal.normalize();
                hasNormal = length > 0 && length < std::numeric_limits<double>::infinity();
            }
            if (hasNormal && valid)
                use(i, normal);
        }
    }

    const Mesh& m_mesh;
    const MeshPoints& m_points;
    std::vector<unsigned> m_faceOf;  // by corner
    std::vector<unsigned> m_outerOf; // by face
    // Holes that run the way of their face, and so have it on their other side.
    std::vector<char> m_isTurned;
};

/// How a draw mode makes figures of a run of corners: each takes `size` of them, `step` after the
/// one before. The last of a figure's corners has its normal, as OpenGL takes it, and the first
/// figure's stands for those before; where `size` is `step` all have.
struct DrawFigures {
    unsigned size, step;
    bool isFan;
};
constexpr DrawFigures drawFigures[] = {
    {0, 1, false}, {0, 1, false}, {0, 1, false}, {0, 1, false}, // points and lines face nowhere
    {3, 3, false},                                              // Triangles
    {3, 1, false},                                              // TriangleStrip
    {3, 1, true},                                               // TriangleFan
    {4, 4, false},                                              // Quads
    {4, 2, false},                                              // QuadStrip
};

/// Flat normals of a run in any mode but `Polygon`.
void flatRun(const MeshPoints& points, const MeshFace& face, const int* corners, Vector3f* normals)
{
    const DrawFigures& figures = drawFigures[face.mode];
    if (figures.size == 0)
        return;
    for (unsigned first = 0; first + figures.size <= face.count(); first += figures.step) {
        int c[4] = {corners[figures.isFan ? 0 : first], corners[first + 1], corners[first + 2],
                    corners[first + figures.size - 1]};
        if (figures.size == 3 && !figures.isFan && figures.step == 1 && first % 2 == 1)
            std::swap(c[0], c[1]); // every second triangle of a strip runs the other way round
        if (figures.size == 4 && figures.step == 2)
            std::swap(c[2], c[3]); // 0, 1, 3, 2 is the way round
        if (!std::all_of(c, c + 4, [&](int index) { return points.contains(index); }))
            continue;
        const auto at = [&](int i) { return Vector3d(points[unsigned(c[i])]); };
        Vector3d exact = figures.size == 4 ? cross(at(2) - at(0), at(3) - at(1))
                                           : cross(at(1) - at(0), at(2) - at(0));
        const double length = exact.normalize();
        if (!(length > 0) || !(length < std::numeric_limits<double>::infinity()))
            continue;
        const unsigned from = first == 0 ? 0 : first + figures.size - figures.step;
        std::fill(normals + from, normals + first + figures.size, Vector3f(exact));
    }
}

/// Has `use` work on the polygons of a mesh, with room for the normals; runs in other modes are
/// flat.
template <class Use>
void withTopology(const Mesh& mesh, std::vector<Vector3f>& normals, Use use)
{
    const MeshPoints points(mesh.vertices);
    normals.assign(mesh.cornerCount(), Vector3f());
    const MeshFace* const faces = mesh.faces();
    bool isTriangles = true;
    for (unsigned i = 0; i < mesh.faceCount(); ++i) {
        if (faces[i].mode == Mesh::Polygon) {
            isTriangles &= faces[i].count() == 3 && !faces[i].isHole();
        } else {
            isTriangles = false;
            flatRun(points, faces[i], mesh.corners(faces[i]), normals.data() + faces[i].begin);
        }
    }
    if (isTriangles) {
        const auto wordOf = [faces](unsigned face) { return faces[face].word; };
        TriangleTopology<decltype(wordOf)> topology{points, mesh.corners(), mesh.cornerCount(),
                                                    wordOf};
        use(topology, points);
    } else {
        PolygonTopology topology(mesh, points);
        use(topology, points);
    }
}
} // namespace

MeshPoints::MeshPoints(const GVectorArray& vertices)
{
    const int d = vertices.dimension();
    const bool isWeighted = vertices.flags() & GVector::homogeneous;
    if (vertices.type() == GVector::Bytes)
        return;
    m_floats = vertices.toFloatArray();
    m_count = m_floats.size();
    const float* numbers = reinterpret_cast<const float*>(m_floats.data());
    if (d == 3 && !isWeighted) {
        m_data = reinterpret_cast<const Vector3f*>(numbers);
        return;
    }
    m_converted.resize(m_count);
    const int coordinates = std::min(isWeighted ? d - 1 : d, 3);
    for (Vector3f& point : m_converted) {
        for (int i = 0; i < coordinates; ++i)
            point[i] = numbers[i];
        if (isWeighted && numbers[d - 1] != 0)
            point /= numbers[d - 1];
        numbers += d;
    }
    m_data = m_converted.data();
}

void MeshPoints::bounds(Box3f& box) const
{
    Vector3fArray::boundingBox(box, m_data, int(m_count));
}

Mesh::~Mesh() = default;

void Mesh::reserve(unsigned faces, unsigned corners)
{
    m_faces.reserve(faces);
    m_corners.reserve(corners);
}

bool Mesh::addShape(unsigned word, int mode, const int* indices, unsigned count)
{
    if (mode < Points || mode > Polygon) {
        qWarning("Mesh::addShape: Unknown mode %d", mode);
        return false;
    }
    if (count > std::size_t(std::numeric_limits<int>::max()) - m_corners.size())
        return false;
    const unsigned begin = cornerCount();
    m_normals.clear();
    m_corners.insert(m_corners.end(), indices, indices + count);
    m_faces.push_back({word, mode, begin, begin + count});
    return true;
}

void Mesh::setWord(unsigned face, unsigned word)
{
    if (face >= m_faces.size()) {
        qWarning("Mesh::setWord: Index %u out of range", face);
        return;
    }
    m_faces[face].word = word;
}

void Mesh::clearFaces()
{
    m_faces.clear();
    m_corners.clear();
    clearNormals();
}

void Mesh::generateNormalsWithAngle()
{
    withTopology(*this, m_normals, [this](const auto& topology, const MeshPoints& points) {
        shareNormals(topology, points.count(), CreaseRule(m_creaseAngle), m_normals);
    });
}

void Mesh::generateNormalsWithGroup()
{
    withTopology(*this, m_normals, [this](const auto& topology, const MeshPoints& points) {
        shareNormals(topology, points.count(), GroupRule(), m_normals);
    });
}

void Mesh::generateFlatNormals()
{
    withTopology(*this, m_normals,
                 [this](const auto& topology, const auto&) { topology.flat(m_normals); });
}

void Mesh::clearNormals()
{
    m_normals = std::vector<Vector3f>();
}

unsigned Mesh::weld()
{
    const unsigned count = vertices.size();
    const std::size_t width = count > 0 ? vertices.VGArray::size() / count : 0;
    const bool hasCoords = m_textureCoords.size() == count, hasColors = m_colors.size() == count;
    const auto compare = [&](unsigned a, unsigned b) {
        int order = std::memcmp(vertices.data() + a * width, vertices.data() + b * width, width);
        if (order == 0 && hasCoords)
            order = std::memcmp(m_textureCoords.data() + a, m_textureCoords.data() + b,
                                sizeof(Vector2f));
        if (order == 0 && hasColors)
            order = std::memcmp(m_colors.data() + a, m_colors.data() + b, sizeof(Vector4f));
        return order;
    };
    std::vector<unsigned> sorted(count);
    std::iota(sorted.begin(), sorted.end(), 0u);
    std::sort(sorted.begin(), sorted.end(), [&](unsigned a, unsigned b) {
        const int order = compare(a, b);
        return order != 0 ? order < 0 : a < b;
    });
    std::vector<unsigned> firstOf(count); // of those alike
    for (unsigned i = 0; i < count; ++i)
        firstOf[sorted[i]] =
            i > 0 && compare(sorted[i - 1], sorted[i]) == 0 ? firstOf[sorted[i - 1]] : sorted[i];
    std::vector<int> moved(count);
    std::vector<unsigned> kept;
    for (unsigned i = 0; i < count; ++i) {
        if (firstOf[i] == i)
            kept.push_back(i);
        moved[i] = firstOf[i] == i ? int(kept.size()) - 1 : moved[firstOf[i]];
    }
    const unsigned gone = count - unsigned(kept.size());
    if (gone == 0)
        return 0;
    const auto keep = [&kept](auto& array, std::size_t bytes) {
        auto packed = array;
        packed.duplicate(array);
        for (std::size_t i = 0; i < kept.size(); ++i)
            std::memmove(reinterpret_cast<char*>(packed.data()) + i * bytes,
                         reinterpret_cast<const char*>(array.data()) + kept[i] * bytes, bytes);
        packed.resize(unsigned(kept.size()));
        array = packed;
    };
    keep(vertices, width);
    if (hasCoords)
        keep(m_textureCoords, sizeof(Vector2f));
    if (hasColors)
        keep(m_colors, sizeof(Vector4f));
    for (int& corner : m_corners)
        if (unsigned(corner) < count)
            corner = moved[unsigned(corner)];
    clearNormals();
    return gone;
}

void Mesh::bounds(Box3f& box) const
{
    MeshPoints(vertices).bounds(box);
}

double Mesh::volume() const
{
    return enclosedVolume(MeshPoints(vertices), [this](auto use) {
        for (const MeshFace& face : m_faces) {
            const int* const c = corners(face);
            // Fans of any outline add up to what it encloses, those of holes take away.
            for (unsigned k = 2; face.mode == Polygon && k < face.count(); ++k)
                use(c[0], c[k - 1], c[k]);
        }
    });
}
} // namespace geometry
