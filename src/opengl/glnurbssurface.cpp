#include "opengl/glnurbssurface.h"

#include "opengl/glnurbsfile_p.h"
#include "opengl/glnurbspatch_p.h"
#include "opengl/glpoints_p.h"
#include "security/asnarray.h"

using geometry::GVector;
using geometry::GVectorArray;
using nurbsfile::toFloats;
using nurbsfile::toKnots;
using zylfields::field;
using zylfields::filled;

namespace
{
/// The values as they stand in files; the trims stand in between the last two pairs.
struct Record {
    GVectorArray vertices;
    int countU, orderU, orderV;
    VMemArray<float> knotsU, knotsV;
    int stepU, stepV;
};
constexpr std::tuple surfaceFields(filled("vertices", 0x80, &Record::vertices),
                                   field("countU", 0x81, &Record::countU),
                                   field("orderU", 0x82, &Record::orderU),
                                   field("orderV", 0x83, &Record::orderV),
                                   filled("knotsU", 0x84, &Record::knotsU),
                                   filled("knotsV", 0x85, &Record::knotsV));
constexpr std::tuple stepFields(field("stepU", 0x87, &Record::stepU, 100),
                                field("stepV", 0x88, &Record::stepV, 100));
constexpr quint8 trimsTag = 0x86;

std::unique_ptr<geometry::NurbsCurve> readTrim(VZylStream& stream)
{
    GVectorArray vertices(0, 2, unsigned(GVector::Float));
    int order = 2;
    VMemArray<float> knots;
    stream.read("vertices", vertices);
    stream.read("order", order);
    stream.read("knots", knots);
    auto curve = std::make_unique<geometry::NurbsCurve>(order, vertices);
    curve->knots = toKnots(knots, vertices.flags());
    return curve;
}

Record recordOf(const GL_NurbsSurface& surface)
{
    const unsigned flags = surface.vertices.flags();
    return {surface.vertices,
            surface.countU,
            surface.orderU,
            surface.orderV,
            toFloats(surface.knotsU, flags),
            toFloats(surface.knotsV, flags),
            surface.stepU(),
            surface.stepV()};
}

void writeTrim(VZylStream& stream, const geometry::NurbsCurve& trim)
{
    zylfields::writeText(stream, "vertices", trim.vertices);
    zylfields::writeText(stream, "order", trim.order);
    nurbsfile::writeFilled(stream, "knots", toFloats(trim.knots, trim.vertices.flags()));
}
} // namespace

const VMetaClass GL_NurbsSurface::metaClass("GL_NurbsSurface", &GL_NurbsSurface::factory,
                                            &GL_Shape::metaClass);

ZYLObject* GL_NurbsSurface::factory()
{
    return new GL_NurbsSurface;
}

const VMetaClass* GL_NurbsSurface::metaObject() const
{
    return &metaClass;
}

GL_NurbsSurface::GL_NurbsSurface() : m_cache(std::make_unique<GL_NurbsCache>())
{
    vertices = GVectorArray(0, 3, unsigned(GVector::Float));
    orderU = orderV = 4;
}

GL_NurbsSurface::~GL_NurbsSurface() = default;

VFormatIO& GL_NurbsSurface::read(VFormatIO& io)
{
    GL_Shape::read(io);
    Record record = recordOf(*this);
    zylfields::read(io, record, surfaceFields);
    nurbsfile::readList<geometry::NurbsCurve>(io, "trims", trimsTag, trims, &readTrim);
    zylfields::read(io, record, stepFields);
    vertices = record.vertices;
    countU = record.countU;
    countV = countU > 0 ? int(vertices.size()) / countU : 0;
    orderU = record.orderU;
    orderV = record.orderV;
    knotsU = toKnots(record.knotsU, vertices.flags());
    knotsV = toKnots(record.knotsV, vertices.flags());
    m_stepU = record.stepU;
    m_stepV = record.stepV;
    setFlags(Rebuild, true);
    return io;
}

VFormatIO& GL_NurbsSurface::write(VFormatIO& io) const
{
    const Record record = recordOf(*this);
    zylfields::write(GL_Shape::write(io), record, surfaceFields);
    nurbsfile::writeList(io, "trims", trimsTag, trims, &writeTrim);
    return zylfields::write(io, record, stepFields);
}

void GL_NurbsSurface::init(GL_Scene*)
{
    setFlags(Rebuild, true);
    setShapeBounds(GL_PointView(vertices).bounds());
}

void GL_NurbsSurface::drawShape(GL_RenderEvent* event)
{
    if (testFlags(Rebuild))
        m_cache->clear();
    setFlags(Rebuild, false);
    const GL_NurbsSampling sampling{m_samplingTolerance, m_parametricTolerance, m_stepU, m_stepV};
    m_cache->draw(event, *this, {}, sampling, 1, [this](GL_NurbsTessellator& tessellator) {
        GL_NurbsPatch patch;
        const int rows = countU > 0 ? int(vertices.size() / unsigned(countU)) : 0;
        if (!patch.set(vertices, orderU, orderV, countU, rows, toFloats(knotsU, vertices.flags()),
                       toFloats(knotsV, vertices.flags())))
            return;
        patch.setTrims(&trims);
        tessellator.add(patch);
        tessellator.endRun({}, false);
    });
}
