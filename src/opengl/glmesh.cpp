#include "opengl/glmesh.h"

#include "kernel/vzylfields_p.h"
#include "kernel/vzylrows.h"
#include "opengl/glmeshcache_p.h"
#include "opengl/glpoints_p.h"
#include "opengl/glrenderevent.h"
#include "opengl/gltessellator_p.h"

#include <GL/gl.h>

#include <algorithm>

using geometry::MeshFace;
using geometry::Vector2f;
using geometry::Vector3f;

namespace
{
using zylfields::filled;

constexpr unsigned oneSidedBit = 1u << 2;

/// The values of a mesh as they stand in files.
struct Record {
    geometry::GVectorArray vertices;
    geometry::Vector2fArray textureCoords;
    VZylRows rows;
    VZylRows textureRows;
};

constexpr auto verticesField = filled("vertices", 0x80, &Record::vertices);
constexpr auto textureField = filled("textureCoords", 0x81, &Record::textureCoords);
constexpr std::tuple meshFields(verticesField, textureField, filled("faces", 0x82, &Record::rows));
constexpr std::tuple indexedFields(verticesField, textureField,
                                   filled("shapes", 0x82, &Record::rows));
constexpr std::tuple triangleFields(verticesField, textureField,
                                    filled("faces", 0x82, &Record::rows),
                                    filled("faceUVs", 0x83, &Record::textureRows));

/// Reads what all meshes have; the rows are the caller's to take over.
template <class Mesh, class Fields>
Record readRecord(VFormatIO& io, Mesh& mesh, const Fields& fields)
{
    Record record{mesh.vertices, mesh.textureCoords(), {}, {}};
    zylfields::read(io, record, fields);
    mesh.vertices = record.vertices;
    mesh.setTextureCoords(record.textureCoords);
    if (record.rows.size() > 0)
        mesh.clearFaces();
    mesh.setFlags(GL_Object::Rebuild, true);
    return record;
}

/// A word, for some classes a mode, and indices.
void addRow(VZylRows& rows, std::initializer_list<int> head, const int* corners, unsigned count)
{
    rows.numbers.insert(rows.numbers.end(), head);
    rows.numbers.insert(rows.numbers.end(), corners, corners + count);
    rows.endRow();
}

/// What a polygon is drawn with decides where it stands: opaque ones of a kind together, and behind
/// them the transparent ones, whose order shows.
struct Outline {
    unsigned first, last; // faces: the outline and its holes
    quint64 key;
};
constexpr quint64 transparentKey = quint64(1) << 40;

class Painter
{
public:
    explicit Painter(const GL_MaterialVector& materials) : m_materials(materials) {}

    GL_MeshCache::Look look(unsigned word) const
    {
        GL_MeshCache::Look result;
        result.material = m_materials.isEmpty() ? 0 : word >> MeshFace::materialShift;
        result.offset = word & MeshFace::PolygonOffset;
        return result;
    }
    bool isTransparent(const GL_MeshCache::Look& look) const
    {
        const GL_Material* const material =
            look.material < m_materials.size() ? m_materials[look.material] : nullptr;
        return material && material->isTransparent();
    }
    quint64 key(unsigned word) const
    {
        const GL_MeshCache::Look drawn = look(word);
        return isTransparent(drawn) ? transparentKey : quint64(drawn.material) << 1 | drawn.offset;
    }
    void beginRun(GL_MeshCache& cache, unsigned mode, unsigned word) const
    {
        const GL_MeshCache::Look drawn = look(word);
        cache.beginRun(mode, drawn, isTransparent(drawn));
    }
    static void sort(std::vector<Outline>& polygons)
    {
        const auto before = [](const Outline& a, const Outline& b) { return a.key < b.key; };
        if (!std::is_sorted(polygons.begin(), polygons.end(), before))
            std::stable_sort(polygons.begin(), polygons.end(), before);
    }

private:
    const GL_MaterialVector& m_materials;
};

/// Tells of the first index that leads to no vertex.
class IndexCheck
{
public:
    explicit IndexCheck(unsigned size) : m_size(size) {}
    bool operator()(int index)
    {
        if (Q_LIKELY(unsigned(index) < m_size))
            return true;
        if (!m_warned)
            VGVector::warningIndexRange(unsigned(index));
        m_warned = true;
        return false;
    }

private:
    unsigned m_size;
    bool m_warned = false;
};

Vector2f textureAt(const geometry::Vector2fArray& coords, int index)
{
    return unsigned(index) < coords.size() ? coords.data()[index] : Vector2f();
}

/// Whether a quadrilateral turns the same way at each of its corners.
bool isConvex(const GL_MeshCache& cache, const unsigned (&corners)[4])
{
    Vector3f turn[4];
    for (unsigned i = 0; i < 4; ++i) {
        const Vector3f& p = cache.point(corners[i]);
        turn[i] = cross(cache.point(corners[(i + 1) & 3]) - p,
                        cache.point(corners[(i + 2) & 3]) - cache.point(corners[(i + 1) & 3]));
    }
    return dot(turn[0], turn[1]) > 0 && dot(turn[0], turn[2]) > 0 && dot(turn[0], turn[3]) > 0;
}

/// Polygons of one mesh on their way into triangles.
class PolygonCutter
{
public:
    PolygonCutter(const geometry::Mesh& mesh, GL_MeshCache& cache, unsigned pointCount)
        : m_mesh(mesh), m_cache(cache), m_check(pointCount),
          m_textured(mesh.textureCoords().size() > 0)
    {
    }

    void cut(const Outline& polygon)
    {
        const MeshFace& outline = m_mesh.face(polygon.first);
        collect(outline);
        if (polygon.last == polygon.first + 1) {
            const unsigned* const c = m_corners.data();
            if (m_corners.size() == 3)
                return add({c[0], c[1], c[2]});
            if (m_corners.size() == 4 && isConvex(m_cache, {c[0], c[1], c[2], c[3]}))
                return add({c[0], c[1], c[2], c[0], c[2], c[3]});
        }
        if (!m_tessellator)
            m_tessellator = std::make_unique<GL_Tessellator>(m_cache);
        m_tessellator->beginPolygon();
        m_tessellator->addContour(m_corners.data(), unsigned(m_corners.size()));
        for (unsigned i = polygon.first + 1; i < polygon.last; ++i) {
            if (m_mesh.face(i).isHidden())
                continue;
            collect(m_mesh.face(i));
            m_tessellator->addContour(m_corners.data(), unsigned(m_corners.size()));
        }
        m_tessellator->endPolygon();
    }

private:
    void collect(const MeshFace& face)
    {
        m_corners.clear();
        for (unsigned i = face.begin; i < face.end; ++i) {
            const int index = m_mesh.corners()[i];
            if (!m_check(index))
                continue;
            const Vector2f texture =
                m_textured ? textureAt(m_mesh.textureCoords(), index) : Vector2f();
            m_corners.push_back(m_cache.corner(unsigned(index), m_mesh.normals()[i], texture));
        }
    }
    void add(std::initializer_list<unsigned> corners)
    {
        for (const unsigned corner : corners)
            m_cache.add(corner);
    }

    const geometry::Mesh& m_mesh;
    GL_MeshCache& m_cache;
    IndexCheck m_check;
    bool m_textured;
    std::vector<unsigned> m_corners;
    std::unique_ptr<GL_Tessellator> m_tessellator;
};

/// Draws by the cache of a shape, which is made by `fill` where there is none or it is stale.
template <class Fill>
void drawCached(GL_VertexShape& shape, std::unique_ptr<GL_MeshCache>& cache, GL_RenderEvent* event,
                Fill fill)
{
    if (shape.testFlags(GL_Object::Rebuild))
        cache.reset();
    shape.setFlags(GL_Object::Rebuild, false);
    if (!cache) {
        auto made = std::make_unique<GL_MeshCache>();
        const GL_PointView points(shape.vertices);
        if (points.size() == 0 || !fill(*made, points))
            return;
        made->end();
        cache = std::move(made);
    }
    cache->draw(event, shape, shape.materials());
}
} // namespace

// GL_Mesh

const VMetaClass GL_Mesh::metaClass("GL_Mesh", &GL_Mesh::factory, &GL_VertexShape::metaClass);

ZYLObject* GL_Mesh::factory()
{
    return new GL_Mesh;
}

const VMetaClass* GL_Mesh::metaObject() const
{
    return &metaClass;
}

GL_Mesh::GL_Mesh() = default;

GL_Mesh::~GL_Mesh() = default;

VFormatIO& GL_Mesh::read(VFormatIO& io)
{
    const Record record = readRecord(GL_VertexShape::read(io), *this, meshFields);
    const VZylRows& rows = record.rows;
    reserve(rows.size(), unsigned(rows.numbers.size()));
    for (unsigned row = 0; row < rows.size(); ++row)
        if (const unsigned length = rows.length(row))
            addFace(unsigned(*rows.data(row)), rows.data(row) + 1, length - 1);
    return readMaterials(io, 0x83);
}

VFormatIO& GL_Mesh::write(VFormatIO& io) const
{
    Record record{vertices, textureCoords(), {}, {}};
    record.rows.numbers.reserve(std::size_t(faceCount()) + cornerCount());
    record.rows.ends.reserve(faceCount());
    for (unsigned i = 0; i < faceCount(); ++i)
        addRow(record.rows, {int(face(i).word)}, corners(face(i)), face(i).count());
    zylfields::write(GL_VertexShape::write(io), record, meshFields);
    return writeMaterials(io, 0x83);
}

void GL_Mesh::drawShape(GL_RenderEvent* event)
{
    drawCached(*this, m_cache, event, [this](GL_MeshCache& cache, const GL_PointView& points) {
        if (faceCount() == 0)
            return false;
        const bool ownNormals = !hasNormals();
        if (ownNormals && testFlags(SmoothAngle))
            generateNormalsWithAngle();
        else if (ownNormals)
            generateNormalsWithGroup();

        const Painter painter(materials());
        std::vector<Outline> polygons;
        polygons.reserve(faceCount());
        bool hidden = true;
        for (unsigned i = 0; i < faceCount(); ++i) {
            const MeshFace& one = face(i);
            if (one.isHole()) {
                if (!hidden)
                    polygons.back().last = i + 1;
                continue;
            }
            hidden = one.isHidden();
            if (!hidden)
                polygons.push_back({i, i + 1, painter.key(one.word)});
        }
        Painter::sort(polygons);

        cache.begin(points.data(), points.size(), textureCoords().size() > 0, cornerCount());
        PolygonCutter cutter(*this, cache, points.size());
        for (const Outline& polygon : polygons) {
            painter.beginRun(cache, GL_TRIANGLES, face(polygon.first).word);
            cutter.cut(polygon);
        }
        if (ownNormals)
            clearNormals();
        return true;
    });
}

// GL_IndexedShape

const VMetaClass GL_IndexedShape::metaClass("GL_IndexedShape", &GL_IndexedShape::factory,
                                            &GL_VertexShape::metaClass);

ZYLObject* GL_IndexedShape::factory()
{
    return new GL_IndexedShape;
}

const VMetaClass* GL_IndexedShape::metaObject() const
{
    return &metaClass;
}

GL_IndexedShape::GL_IndexedShape() = default;

GL_IndexedShape::~GL_IndexedShape() = default;

VFormatIO& GL_IndexedShape::read(VFormatIO& io)
{
    const Record record = readRecord(GL_VertexShape::read(io), *this, indexedFields);
    const VZylRows& rows = record.rows;
    reserve(rows.size(), unsigned(rows.numbers.size()));
    for (unsigned row = 0; row < rows.size(); ++row) {
        const int* const number = rows.data(row);
        if (const unsigned length = rows.length(row); length > 1)
            addShape(unsigned(number[0]), number[1], number + 2, length - 2);
    }
    return readMaterials(io, 0x83);
}

VFormatIO& GL_IndexedShape::write(VFormatIO& io) const
{
    Record record{vertices, textureCoords(), {}, {}};
    for (unsigned i = 0; i < faceCount(); ++i)
        addRow(record.rows, {int(face(i).word), face(i).mode}, corners(face(i)), face(i).count());
    zylfields::write(GL_VertexShape::write(io), record, indexedFields);
    return writeMaterials(io, 0x83);
}

void GL_IndexedShape::drawShape(GL_RenderEvent* event)
{
    drawCached(*this, m_cache, event, [this](GL_MeshCache& cache, const GL_PointView& points) {
        if (faceCount() == 0)
            return false;
        const bool ownNormals = !hasNormals();
        if (ownNormals)
            generateFlatNormals();
        const Painter painter(materials());
        IndexCheck check(points.size());
        const bool textured = textureCoords().size() > 0;
        cache.begin(points.data(), points.size(), textured, cornerCount());
        if (colors().size() > 0)
            cache.setColors(colors().data(), colors().size());
        for (unsigned i = 0; i < faceCount(); ++i) {
            const MeshFace& one = face(i);
            if (one.isHidden())
                continue;
            // Small polygons go together with others.
            int mode = one.mode;
            if (mode == Polygon && one.count() == 3)
                mode = Triangles;
            else if (mode == Polygon && one.count() == 4)
                mode = Quads;
            GL_MeshCache::Look look = painter.look(one.word);
            look.oneSided = one.word & oneSidedBit;
            cache.beginRun(unsigned(mode), look, painter.isTransparent(look));
            const bool isWhole = std::all_of(corners() + one.begin, corners() + one.end, check);
            for (unsigned at = one.begin; isWhole && at < one.end; ++at) {
                const int index = corners()[at];
                cache.add(cache.corner(unsigned(index), normals()[at],
                                       textured ? textureAt(textureCoords(), index) : Vector2f()));
            }
        }
        if (ownNormals)
            clearNormals();
        return true;
    });
}

// GL_TriangleMesh

const VMetaClass GL_TriangleMesh::metaClass("GL_TriangleMesh", &GL_TriangleMesh::factory,
                                            &GL_VertexShape::metaClass);

ZYLObject* GL_TriangleMesh::factory()
{
    return new GL_TriangleMesh;
}

const VMetaClass* GL_TriangleMesh::metaObject() const
{
    return &metaClass;
}

GL_TriangleMesh::GL_TriangleMesh() = default;

GL_TriangleMesh::~GL_TriangleMesh() = default;

VFormatIO& GL_TriangleMesh::read(VFormatIO& io)
{
    const Record record = readRecord(GL_VertexShape::read(io), *this, triangleFields);
    const VZylRows& rows = record.rows;
    reserve(rows.size());
    for (unsigned row = 0; row < rows.size(); ++row) {
        const int* const number = rows.data(row);
        if (rows.length(row) == 4)
            addFace(unsigned(number[0]), number[1], number[2], number[3]);
    }
    if (record.textureRows.size() > 0) {
        const std::vector<int>& numbers = record.textureRows.numbers;
        VMemArray<int> indices;
        indices.duplicate(numbers.data(), unsigned(numbers.size()));
        setFaceUVs(indices);
    }
    return readMaterials(io, 0x84);
}

VFormatIO& GL_TriangleMesh::write(VFormatIO& io) const
{
    Record record{vertices, textureCoords(), {}, {}};
    record.rows.numbers.reserve(4 * std::size_t(faceCount()));
    record.rows.ends.reserve(faceCount());
    for (unsigned i = 0; i < faceCount(); ++i)
        addRow(record.rows, {int(word(i))}, corners(i), 3);
    for (unsigned at = 0; at < faceUVs().size(); at += 3)
        addRow(record.textureRows, {}, faceUVs().data() + at, qMin(3u, faceUVs().size() - at));
    zylfields::write(GL_VertexShape::write(io), record, triangleFields);
    return writeMaterials(io, 0x84);
}

void GL_TriangleMesh::drawShape(GL_RenderEvent* event)
{
    drawCached(*this, m_cache, event, [this](GL_MeshCache& cache, const GL_PointView& points) {
        if (faceCount() == 0)
            return false;
        const bool ownNormals = !hasNormals();
        if (ownNormals && testFlags(SmoothAngle))
            generateNormalsWithAngle();
        else if (ownNormals)
            generateNormalsWithGroup();

        const Painter painter(materials());
        std::vector<Outline> order;
        order.reserve(faceCount());
        for (unsigned i = 0; i < faceCount(); ++i)
            if (!isHidden(i))
                order.push_back({i, i + 1, painter.key(word(i))});
        Painter::sort(order);

        const bool textured = textureCoords().size() > 0;
        IndexCheck check(points.size());
        cache.begin(points.data(), points.size(), textured, cornerCount());
        for (const Outline& triangle : order) {
            const int* const c = corners(triangle.first);
            if (!check(c[0]) || !check(c[1]) || !check(c[2]))
                continue;
            painter.beginRun(cache, GL_TRIANGLES, word(triangle.first));
            for (unsigned k = 0; k < 3; ++k) {
                const unsigned corner = 3 * triangle.first + k;
                const Vector2f* const texture = textured ? textureCoord(corner) : nullptr;
                cache.add(cache.corner(unsigned(c[k]), normals()[corner],
                                       texture ? *texture : Vector2f()));
            }
        }
        if (ownNormals)
            clearNormals();
        return true;
    });
}
