#include "opengl/glnurbssurface.h"

#include "geometry/zylbspline.h"
#include "kernel/vformatio.h"
#include "kernel/vzylfields_p.h"
#include "opengl/glpoints_p.h"
#include "opengl/glrenderevent.h"
#include "opengl/glviewer.h"
#include "security/asnarray.h"

#include <qbuffer.h>

#include <GL/glu.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

using geometry::GVector;
using geometry::GVectorArray;
using geometry::KnotVector;
using zylfields::field;
using zylfields::filled;

namespace
{
constexpr int mostOrder = 24; // that GLU takes
constexpr quint8 trimsTag = 0x86;

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

VMemArray<float> toFloats(const KnotVector& knots, unsigned flags)
{
    VMemArray<float> result;
    const unsigned count = knots.size() / KnotVector::itemSize(flags);
    const bool isDouble = (flags & GVector::typeMask) == GVector::Double;
    if (count == 0 || !result.resize(count))
        return result;
    for (unsigned i = 0; i < count; ++i)
        result.data()[i] = isDouble ? float(knots.as<double>()[i]) : knots.as<float>()[i];
    return result;
}

KnotVector toKnots(const VMemArray<float>& floats, unsigned flags)
{
    if ((flags & GVector::typeMask) != GVector::Double)
        return KnotVector(floats.data(), unsigned(floats.size() * sizeof(float)));
    const std::vector<double> wide(floats.begin(), floats.end());
    return KnotVector(wide.data(), unsigned(wide.size() * sizeof(double)));
}

/// Reads the text of one value by a stream of its own.
class ValueText : public VFormatIO
{
public:
    explicit ValueText(const QMemArray<char>& text)
        : m_bytes(QByteArray::fromRawData(text.data(), qsizetype(text.size()))), m_buffer(&m_bytes)
    {
        m_buffer.open(QIODevice::ReadOnly);
        setIODevice(&m_buffer);
    }
    bool read() override { return false; }
    bool write() override { return false; }

private:
    QByteArray m_bytes;
    QBuffer m_buffer;
};

struct TrimRecord {
    GVectorArray vertices{0, 2, unsigned(GVector::Float)};
    int order = 2;
    VMemArray<float> knots;
};

/// False, with the trims as they were, where the text is none.
bool readTrims(const QMemArray<char>& text, geometry::NurbsCurveVector& trims)
{
    ValueText io(text);
    VZylStream stream(&io);
    geometry::NurbsCurveVector fresh;
    if (stream.nextChar() != '{')
        return false;
    int c = stream.nextChar();
    while (c == '{') {
        TrimRecord record;
        VZylBlock block(stream);
        if (block.read() < 0)
            return false;
        stream.read("vertices", record.vertices);
        stream.read("order", record.order);
        stream.read("knots", record.knots);
        auto curve = std::make_unique<geometry::NurbsCurve>(record.order, record.vertices);
        curve->knots = toKnots(record.knots, record.vertices.flags());
        const unsigned index = fresh.size();
        if (!fresh.resize(index + 1))
            return false;
        fresh.insert(index, curve.release());
        c = stream.nextChar();
        if (c == ',')
            c = stream.nextChar();
    }
    if (c != '}')
        return false;
    trims = fresh;
    return true;
}

void writeTrims(VZylStream& stream, const geometry::NurbsCurveVector& trims)
{
    stream.begin("trims");
    stream.writeRaw("{");
    bool isFirst = true;
    for (const geometry::NurbsCurve* trim : trims) {
        if (!trim)
            continue;
        stream.writeRaw(isFirst ? " {\n" : ", {\n");
        isFirst = false;
        zylfields::writeText(stream, "vertices", trim->vertices);
        zylfields::writeText(stream, "order", trim->order);
        if (const VMemArray<float> knots = toFloats(trim->knots, trim->vertices.flags());
            knots.size() > 0)
            zylfields::writeText(stream, "knots", knots);
        stream.writeRaw("}");
    }
    stream.writeRaw(" }");
    stream.end();
}

/// What GLU's code takes: it fails on much else in ways of its own.
bool isUsable(const float* numbers, std::size_t count)
{
    return std::all_of(numbers, numbers + count, [](float f) { return std::fabs(f) < 1e30f; });
}

/// Given or clamped knots of one direction; false where they don't do.
bool makeKnots(int order, int count, const VMemArray<float>& given, std::vector<float>& knots)
{
    if (order < 2 || order > mostOrder || count < order)
        return false;
    if (given.size() == 0) {
        knots.resize(std::size_t(order) + std::size_t(count));
        geometry::BSpline::initKnot(order, count, false, knots.data());
        return true;
    }
    if (given.size() < std::size_t(order) + std::size_t(count))
        return false;
    knots.assign(given.begin(), given.begin() + (order + count));
    return isUsable(knots.data(), knots.size()) && std::is_sorted(knots.begin(), knots.end()) &&
           knots[std::size_t(order) - 1] < knots[std::size_t(count)];
}

struct DeleteRenderer {
    void operator()(GLUnurbs* renderer) const { gluDeleteNurbsRenderer(renderer); }
};

void ignoreError(GLenum) {}
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

GL_NurbsSurface::GL_NurbsSurface()
{
    vertices = GVectorArray(0, 3, unsigned(GVector::Float));
    orderU = orderV = 4;
}

VFormatIO& GL_NurbsSurface::read(VFormatIO& io)
{
    GL_Shape::read(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    Record record{vertices,
                  countU,
                  orderU,
                  orderV,
                  toFloats(knotsU, vertices.flags()),
                  toFloats(knotsV, vertices.flags()),
                  m_stepU,
                  m_stepV};
    zylfields::read(io, record, surfaceFields);
    if (QDataStream* const data = stream->dataStream()) {
        quint8 tag;
        if (zylfields::nextTag(*data, tag)) {
            if (tag == trimsTag)
                *data >> trims;
            else
                zylfields::putBack(*data, tag);
        }
    } else if (const QMemArray<char>* const text = stream->find("trims")) {
        readTrims(*text, trims);
    }
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
    return io;
}

VFormatIO& GL_NurbsSurface::write(VFormatIO& io) const
{
    GL_Shape::write(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    const Record record{vertices,
                        countU,
                        orderU,
                        orderV,
                        toFloats(knotsU, vertices.flags()),
                        toFloats(knotsV, vertices.flags()),
                        m_stepU,
                        m_stepV};
    zylfields::write(io, record, surfaceFields);
    if (!trims.isEmpty()) {
        if (QDataStream* const data = stream->dataStream())
            *data << trimsTag << trims;
        else
            writeTrims(*stream, trims);
    }
    return zylfields::write(io, record, stepFields);
}

void GL_NurbsSurface::init(GL_Scene*)
{
    setShapeBounds(GL_PointView(vertices).bounds());
}

void GL_NurbsSurface::drawShape(GL_RenderEvent* event)
{
    const GVectorArray points = vertices.toFloatArray();
    const int dimension = points.dimension();
    const bool isRational = dimension == 4;
    const int rows = countU > 0 ? int(points.size()) / countU : 0;
    std::vector<float> u, v;
    if (points.type() != GVector::Float || (dimension != 3 && !isRational) ||
        !makeKnots(orderU, countU, toFloats(knotsU, vertices.flags()), u) ||
        !makeKnots(orderV, rows, toFloats(knotsV, vertices.flags()), v) ||
        !isUsable(reinterpret_cast<const float*>(points.data()),
                  std::size_t(points.size()) * std::size_t(dimension)))
        return;
    const std::unique_ptr<GLUnurbs, DeleteRenderer> owner(gluNewNurbsRenderer());
    GLUnurbs* const renderer = owner.get();
    if (!renderer)
        return;
    if (style() != Filled)
        gluNurbsProperty(renderer, GLU_DISPLAY_MODE, GLU_OUTLINE_POLYGON);
    if (m_stepU != 100)
        gluNurbsProperty(renderer, GLU_U_STEP, float(qBound(1, m_stepU, 1000)));
    if (m_stepV != 100)
        gluNurbsProperty(renderer, GLU_V_STEP, float(qBound(1, m_stepV, 1000)));
    gluNurbsCallback(renderer, GLU_ERROR, reinterpret_cast<void (*)()>(&ignoreError));

    // Sampling by what is known here spares GLU reading the state back.
    geometry::Matrix4f projection;
    GLint viewport[4] = {0, 0, 100, 100};
    if (event->viewer) {
        const GL_Viewport& view = event->viewer->viewport();
        const auto f = [](double value) { return float(value); };
        if (event->viewer->testFlags(GL_Viewer::Perspective))
            projection.frustum(f(view.left), f(view.right), f(view.bottom), f(view.top),
                               f(view.near), f(view.far));
        else
            projection.ortho(f(view.left), f(view.right), f(view.bottom), f(view.top), f(view.near),
                             f(view.far));
        const GLint shown[4] = {view.x, view.y, view.width, view.height};
        std::copy(shown, shown + 4, viewport);
    } else {
        glGetFloatv(GL_PROJECTION_MATRIX, projection.m[0]);
        glGetIntegerv(GL_VIEWPORT, viewport);
    }
    gluNurbsProperty(renderer, GLU_AUTO_LOAD_MATRIX, 0);
    gluLoadSamplingMatrices(renderer, event->traversal.matrix().m[0], projection.m[0], viewport);

    gluBeginSurface(renderer);
    // GLU wants the texture first: what comes with the vertices is drawn.
    GLfloat corners[2][2][2] = {{{0, 0}, {0, 1}}, {{1, 0}, {1, 1}}};
    GLfloat s[4] = {u[std::size_t(orderU) - 1], u[std::size_t(orderU) - 1], u[std::size_t(countU)],
                    u[std::size_t(countU)]};
    GLfloat t[4] = {v[std::size_t(orderV) - 1], v[std::size_t(orderV) - 1], v[std::size_t(rows)],
                    v[std::size_t(rows)]};
    gluNurbsSurface(renderer, 4, s, 4, t, 4, 2, corners[0][0], 2, 2, GL_MAP2_TEXTURE_COORD_2);
    gluNurbsSurface(renderer, GLint(u.size()), u.data(), GLint(v.size()), v.data(), dimension,
                    dimension * countU, reinterpret_cast<GLfloat*>(points.data()), orderU, orderV,
                    isRational ? GL_MAP2_VERTEX_4 : GL_MAP2_VERTEX_3);
    for (const geometry::NurbsCurve* trim : trims) {
        if (!trim)
            continue;
        const GVectorArray plane = trim->vertices.toFloatArray();
        const int width = plane.dimension();
        auto* const numbers = reinterpret_cast<GLfloat*>(plane.data());
        if (plane.type() != GVector::Float || (width != 2 && width != 3) ||
            !isUsable(numbers, std::size_t(plane.size()) * std::size_t(width)))
            continue;
        if (trim->order <= 2 && width == 2 && plane.size() > 1) {
            gluBeginTrim(renderer);
            gluPwlCurve(renderer, GLint(plane.size()), numbers, 2, GLU_MAP1_TRIM_2);
            gluEndTrim(renderer);
            continue;
        }
        std::vector<float> knots;
        if (!makeKnots(trim->order, int(plane.size()),
                       toFloats(trim->knots, trim->vertices.flags()), knots))
            continue;
        gluBeginTrim(renderer);
        gluNurbsCurve(renderer, GLint(knots.size()), knots.data(), width, numbers, trim->order,
                      width == 3 ? GLU_MAP1_TRIM_3 : GLU_MAP1_TRIM_2);
        gluEndTrim(renderer);
    }
    gluEndSurface(renderer);
}
