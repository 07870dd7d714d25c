#include "opengl/glnurbsmesh.h"

#include "kernel/vzylrows.h"
#include "opengl/glnurbsfile_p.h"
#include "opengl/glnurbspatch_p.h"
#include "security/asnarray.h"

#include <algorithm>

using geometry::GVector;
using geometry::GVectorArray;
using geometry::NurbsFace;
using geometry::Vector2f;
using nurbsfile::toFloats;
using nurbsfile::toKnots;
using zylfields::filled;

namespace
{
/// The values as they stand in files, but for the patches between the pairs.
struct Record {
    GVectorArray vertices;
    geometry::Vector2fArray textureCoords;
    VZylRows textureRows;
};
constexpr std::tuple vertexFields(filled("vertices", 0x80, &Record::vertices),
                                  filled("textureCoords", 0x81, &Record::textureCoords));
constexpr std::tuple textureFields(filled("faceUVs", 0x83, &Record::textureRows));
constexpr quint8 facesTag = 0x82;
constexpr float tolerance = 12; // pixels; what GLU starts with shows as corners in the outline
constexpr unsigned indexFlags = GVector::Int | 1u << GVector::dimensionShift;

bool hasIndices(const NurbsFace& face)
{
    return face.vertices.type() == GVector::Int && face.vertices.dimension() == 1;
}

/// How many control points the patch has each way; false where vertices and knots don't fit.
bool countPoints(const NurbsFace& face, int& countU, int& countV)
{
    const unsigned bytes = geometry::KnotVector::itemSize(face.vertices.flags());
    const qint64 knotsU = face.knotsU.size() / bytes, knotsV = face.knotsV.size() / bytes;
    const bool isBare = knotsU == 0 && knotsV == 0;
    const qint64 u = isBare ? face.orderU : knotsU - face.orderU;
    const qint64 v = isBare ? face.orderV : knotsV - face.orderV;
    if (u < 1 || v < 1 || u * v != qint64(face.vertices.size()))
        return false;
    countU = int(u);
    countV = int(v);
    return true;
}

/// One that doesn't fit, and so couldn't be stored in both forms, leaves its place to an empty one.
std::unique_ptr<NurbsFace> readFace(VZylStream& stream)
{
    auto face = std::make_unique<NurbsFace>();
    face->vertices = GVectorArray(0, 3, unsigned(GVector::Float));
    VMemArray<int> indices;
    VMemArray<float> knotsU, knotsV;
    stream.read("vertices", face->vertices);
    if (stream.read("indices", indices) > 0)
        face->vertices.duplicate(indices.data(), indices.size(), indexFlags);
    stream.read("orderU", face->orderU);
    stream.read("orderV", face->orderV);
    stream.read("knotsU", knotsU);
    stream.read("knotsV", knotsV);
    face->orderU = std::max(face->orderU, 0);
    face->orderV = std::max(face->orderV, 0);
    face->knotsU = toKnots(knotsU, face->vertices.flags());
    face->knotsV = toKnots(knotsV, face->vertices.flags());
    int u, v;
    if ((knotsU.isEmpty() && knotsV.isEmpty()) || countPoints(*face, u, v))
        return face;
    return std::make_unique<NurbsFace>();
}

void writeFace(VZylStream& stream, const NurbsFace& face)
{
    if (hasIndices(face)) {
        VMemArray<int> indices;
        indices.duplicate(reinterpret_cast<const int*>(face.vertices.data()), face.vertices.size());
        nurbsfile::writeFilled(stream, "indices", indices);
    } else {
        nurbsfile::writeFilled(stream, "vertices", face.vertices);
    }
    zylfields::writeText(stream, "orderU", face.orderU);
    zylfields::writeText(stream, "orderV", face.orderV);
    nurbsfile::writeFilled(stream, "knotsU", toFloats(face.knotsU, face.vertices.flags()));
    nurbsfile::writeFilled(stream, "knotsV", toFloats(face.knotsV, face.vertices.flags()));
}

/// The control points of a patch, also of one that has them by index; empty where one is missing.
GVectorArray points(const NurbsFace& face, const GVectorArray& shared)
{
    if (!hasIndices(face))
        return face.vertices;
    GVectorArray result(int(face.vertices.size()), shared.dimension(), shared.flags());
    const std::size_t bytes = std::size_t(shared.itemSize()) * std::size_t(shared.dimension());
    const int* const indices = reinterpret_cast<const int*>(face.vertices.data());
    for (unsigned i = 0; i < result.size(); ++i) {
        if (unsigned(indices[i]) >= shared.size()) {
            VGVector::warningIndexRange(unsigned(indices[i]));
            return GVectorArray();
        }
        std::copy_n(shared.data() + std::size_t(indices[i]) * bytes, bytes,
                    result.data() + i * bytes);
    }
    return result;
}
} // namespace

const VMetaClass GL_NurbsMesh::metaClass("GL_NurbsMesh", &GL_NurbsMesh::factory,
                                         &GL_VertexShape::metaClass);

ZYLObject* GL_NurbsMesh::factory()
{
    return new GL_NurbsMesh;
}

const VMetaClass* GL_NurbsMesh::metaObject() const
{
    return &metaClass;
}

GL_NurbsMesh::GL_NurbsMesh() : m_cache(std::make_unique<GL_NurbsCache>()) {}

GL_NurbsMesh::~GL_NurbsMesh() = default;

VFormatIO& GL_NurbsMesh::read(VFormatIO& io)
{
    Record record{vertices, textureCoords(), {}};
    zylfields::read(GL_VertexShape::read(io), record, vertexFields);
    geometry::NurbsFaceVector patches;
    nurbsfile::readList<NurbsFace>(io, "faces", facesTag, patches, &readFace);
    zylfields::read(io, record, textureFields);
    vertices = record.vertices;
    setTextureCoords(record.textureCoords);
    if (!patches.isEmpty())
        setFaces(patches);
    if (!record.textureRows.isEmpty()) {
        const std::vector<int>& numbers = record.textureRows.numbers;
        VMemArray<int> indices;
        indices.duplicate(numbers.data(), unsigned(numbers.size()));
        setFaceUVs(indices);
    }
    setFlags(Rebuild, true);
    return readMaterials(io, 0x84);
}

VFormatIO& GL_NurbsMesh::write(VFormatIO& io) const
{
    Record record{vertices, textureCoords(), {}};
    // A row for each patch; what is over stands in one more.
    record.textureRows.numbers.assign(faceUVs().begin(), faceUVs().end());
    const unsigned all = faceUVs().size();
    unsigned end = 0;
    for (const NurbsFace* face : faces()) {
        const unsigned count = face ? std::min(face->vertices.size(), all - end) : 0;
        if (count > 0)
            record.textureRows.ends.push_back(end += count);
    }
    if (end < all)
        record.textureRows.ends.push_back(all);
    zylfields::write(GL_VertexShape::write(io), record, vertexFields);
    nurbsfile::writeList(io, "faces", facesTag, faces(), &writeFace);
    zylfields::write(io, record, textureFields);
    return writeMaterials(io, 0x84);
}

std::vector<GVectorArray> GL_NurbsMesh::pointArrays() const
{
    std::vector<GVectorArray> arrays{vertices};
    for (const NurbsFace* face : faces())
        if (face && !hasIndices(*face))
            arrays.push_back(face->vertices);
    return arrays;
}

void GL_NurbsMesh::drawShape(GL_RenderEvent* event)
{
    if (testFlags(Rebuild))
        m_cache->clear();
    setFlags(Rebuild, false);
    GL_NurbsSampling sampling;
    sampling.tolerance = tolerance;
    m_cache->draw(event, *this, materials(), sampling, faces().size(),
                  [this](GL_NurbsTessellator& tessellator) {
                      GL_NurbsPatch patch;
                      unsigned material = 0, firstUV = 0;
                      for (const NurbsFace* face : faces()) {
                          int countU, countV;
                          const unsigned size = face ? face->vertices.size() : 0;
                          if (face && countPoints(*face, countU, countV) &&
                              patch.set(points(*face, vertices), face->orderU, face->orderV, countU,
                                        countV, toFloats(face->knotsU, face->vertices.flags()),
                                        toFloats(face->knotsV, face->vertices.flags()))) {
                              std::vector<Vector2f> texture;
                              for (unsigned i = firstUV; i < firstUV + size && i < faceUVs().size();
                                   ++i) {
                                  const unsigned index = unsigned(faceUVs().data()[i]);
                                  texture.push_back(index < textureCoords().size()
                                                        ? textureCoords().data()[index]
                                                        : Vector2f());
                              }
                              patch.setTexture(std::move(texture));
                              tessellator.add(patch);
                              const GL_Material* const look =
                                  material < materials().size() ? materials()[material] : nullptr;
                              tessellator.endRun({material}, look && look->isTransparent());
                          }
                          firstUV += size;
                          if (material + 1 < materials().size())
                              ++material;
                      }
                  });
}
