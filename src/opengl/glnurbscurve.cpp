#include "opengl/glnurbscurve.h"

#include "geometry/zylbspline.h"
#include "opengl/glcurve_p.h"
#include "opengl/glnurbsfile_p.h"
#include "opengl/glpoints_p.h"
#include "security/asnarray.h"

#include <GL/gl.h>

#include <algorithm>

using geometry::GVector;
using geometry::GVectorArray;
using geometry::Vector3f;
using zylfields::field;
using zylfields::filled;

namespace
{
constexpr int mostOrder = 64;       // a higher one is no curve that anybody meant
constexpr int mostPoints = 1 << 20; // of what is drawn for one curve

/// The values as they stand in files.
struct Record {
    GVectorArray vertices;
    int order;
    VMemArray<float> knots;
    int step;
};

constexpr std::tuple fields(filled("vertices", 0x80, &Record::vertices),
                            field("order", 0x81, &Record::order),
                            filled("knots", 0x82, &Record::knots),
                            field("step", 0x83, &Record::step));

VMemArray<float> floatKnots(const geometry::NurbsCurve& curve)
{
    return nurbsfile::toFloats(curve.knots, curve.vertices.flags());
}

void drawArray(GLenum mode, const Vector3f* points, std::size_t count)
{
    if (count == 0)
        return;
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, points);
    glDrawArrays(mode, 0, GLsizei(count));
    glDisableClientState(GL_VERTEX_ARRAY);
}
} // namespace

const VMetaClass GL_NurbsCurve::metaClass("GL_NurbsCurve", &GL_NurbsCurve::factory,
                                          &GL_Curve::metaClass);

ZYLObject* GL_NurbsCurve::factory()
{
    return new GL_NurbsCurve;
}

const VMetaClass* GL_NurbsCurve::metaObject() const
{
    return &metaClass;
}

GL_NurbsCurve::GL_NurbsCurve()
{
    setExtent(Stale);
    vertices = GVectorArray(0, 3, unsigned(GVector::Float));
    order = 4;
}

GL_NurbsCurve::~GL_NurbsCurve() = default;

void GL_NurbsCurve::setStep(int step)
{
    m_step = step;
    m_isEvaluated = false;
}

void GL_NurbsCurve::rebuild()
{
    m_isEvaluated = false;
    boundsChanged();
}

bool GL_NurbsCurve::event(VEvent* event)
{
    if (GL_Curve::event(event))
        return true;
    const geometry::Matrix4f* const matrix = pointTransform(event);
    if (!matrix)
        return false;
    GL_PointView::transform(vertices, *matrix);
    rebuild();
    static_cast<VActionEvent*>(event)->accept();
    return true;
}

VFormatIO& GL_NurbsCurve::read(VFormatIO& io)
{
    Record record{vertices, order, floatKnots(*this), m_step};
    zylfields::read(GL_Curve::read(io), record, fields);
    vertices = record.vertices;
    order = record.order;
    knots = nurbsfile::toKnots(record.knots, vertices.flags());
    m_step = record.step;
    rebuild();
    return io;
}

VFormatIO& GL_NurbsCurve::write(VFormatIO& io) const
{
    const Record record{vertices, order, floatKnots(*this), m_step};
    return zylfields::write(GL_Curve::write(io), record, fields);
}

void GL_NurbsCurve::init(GL_Scene*)
{
    rebuild();
}

void GL_NurbsCurve::bounds(geometry::Box3f& box) const
{
    box = GL_PointView(vertices).bounds();
}

void GL_NurbsCurve::evaluate()
{
    m_isEvaluated = true;
    m_evaluatedFlags = flags();
    m_points.clear();
    const GVectorArray points = vertices.toFloatArray();
    const int dimension = points.dimension();
    if (points.type() != GVector::Float || order > mostOrder || dimension > 64)
        return;
    const VMemArray<float> knotArray = floatKnots(*this);
    geometry::NurbsCurveInfo info(int(points.size()), knotArray.data(),
                                  reinterpret_cast<const float*>(points.data()),
                                  int(knotArray.size()));
    if (!info.check(order, dimension * int(sizeof(float)), flags() >> 16 & 3))
        return;
    const int spans = info.count - order + 1;
    const int step = std::max(1, std::min(qBound(2, m_step, 1000), mostPoints / spans));
    const auto add = [&](float t) {
        float out[64] = {};
        if (!geometry::BSpline::evaluate(order, info.count, info.knots, dimension, info.points, t,
                                         out))
            return;
        m_points.push_back(GL_PointView::point(out, dimension, points.flags()));
    };
    for (int span = order - 1; span < info.count; ++span) {
        const float from = info.knots[span], to = info.knots[span + 1];
        for (int i = 0; from < to && i < step; ++i)
            add(from + (to - from) * float(i) / float(step));
    }
    add(info.knots[info.count]);
}

void GL_NurbsCurve::drawShape(GL_RenderEvent*)
{
    if (testFlags(Rebuild) || m_evaluatedFlags != flags())
        m_isEvaluated = false;
    setFlags(Rebuild, false);
    // Where it is periodic it ends where it began by itself.
    const bool joins = isClosed() && !(isPeriodic() && order > 2);
    const GLenum mode = joins ? GL_LINE_LOOP : GL_LINE_STRIP;
    if (order <= 2) {
        const GL_PointView points(vertices);
        drawArray(mode, points.data(), points.size());
        return;
    }
    if (!m_isEvaluated)
        evaluate();
    drawArray(mode, m_points.data(), m_points.size());
}

void GL_NurbsCurve::drawHandles(GL_RenderEvent*)
{
    const GL_PointView points(vertices);
    drawArray(GL_POINTS, points.data(), points.size());
}

void GL_NurbsCurve::drawHull(GL_RenderEvent*)
{
    const GL_PointView points(vertices);
    drawArray(GL_LINE_STRIP, points.data(), points.size());
}

void GL_NurbsCurve::hit(GL_RenderEvent* event)
{
    drawShape(event);
    const GL_PointView points(vertices);
    glPushName(0);
    for (unsigned i = 0; i < points.size(); ++i) {
        glLoadName(i);
        glBegin(GL_POINTS);
        glVertex3fv(&points[i].x);
        glEnd();
    }
    glPopName();
}

bool GL_NurbsCurve::drag(GL_Viewer* viewer, const geometry::Vector2i& from,
                         const geometry::Vector2i& to)
{
    const int part = pickedPart(this, viewer);
    const GL_PointView points(vertices);
    if (part >= 0 && unsigned(part) < points.size()) {
        const Vector3f point = points[unsigned(part)];
        const Vector3f offset = viewer->localVector(this, from, to, point);
        GL_PointView::replace(vertices, unsigned(part), point + offset);
    } else {
        const geometry::Box3f box = points.bounds();
        const Vector3f middle = box.isEmpty() ? Vector3f() : box.center();
        geometry::Matrix4f matrix;
        matrix.translate(viewer->localVector(this, from, to, middle));
        GL_PointView::transform(vertices, matrix);
    }
    rebuild();
    return true;
}

// GL_Polyline

struct GL_Polyline::Stored {
    static constexpr auto fields = std::tuple(filled("width", 0x84, &GL_Polyline::m_widths));
};

const VMetaClass GL_Polyline::metaClass("GL_Polyline", &GL_Polyline::factory,
                                        &GL_NurbsCurve::metaClass);

ZYLObject* GL_Polyline::factory()
{
    return new GL_Polyline;
}

const VMetaClass* GL_Polyline::metaObject() const
{
    return &metaClass;
}

GL_Polyline::GL_Polyline()
{
    order = 2;
}

VFormatIO& GL_Polyline::read(VFormatIO& io)
{
    return zylfields::read(GL_NurbsCurve::read(io), *this, Stored::fields);
}

VFormatIO& GL_Polyline::write(VFormatIO& io) const
{
    return zylfields::write(GL_NurbsCurve::write(io), *this, Stored::fields);
}
