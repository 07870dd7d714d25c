// Curves and patches from a data stream. Whatever comes in must stay within its memory, be written
// and read again as it was, and be evaluated, raised and cut into segments without end or harm.

#include "geometry/zylbezier.h"
#include "geometry/zylbspline.h"
#include "geometry/zylnurbsknot.h"
#include "geometry/zylnurbssurface.h"
#include "support.h"

#include <qbytearray.h>
#include <qdatastream.h>
#include <qiodevice.h>

#include <vector>

using namespace geometry;

namespace
{
template <class T>
bool read(const QByteArray& bytes, T& value)
{
    QDataStream stream(bytes);
    stream >> value;
    return stream.status() == QDataStream::Ok;
}

template <class T>
QByteArray written(const T& value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << value;
    return bytes;
}

/// What was read is written, and that is read and written the same.
template <class T>
void requireStable(const T& value)
{
    const QByteArray bytes = written(value);
    T again;
    fuzz::require(read(bytes, again) && written(again) == bytes);
}

void draw(const NurbsCurve& curve, unsigned flags)
{
    const GVectorArray vertices = curve.vertices.toFloatArray();
    const int dim = vertices.dimension(), order = curve.order;
    // As a drawing would refuse it; larger orders take quadratic time by their nature.
    if (order > 40 || dim > 8 || vertices.size() > 500)
        return;
    const float* knots =
        curve.vertices.type() == GVector::Double ? nullptr : curve.knots.as<float>();
    NurbsCurveInfo info(int(vertices.size()), knots,
                        reinterpret_cast<const float*>(vertices.data()),
                        int(knots ? curve.knots.size() / sizeof(float) : 0));
    if (!info.check(order, dim * int(sizeof(float)), flags))
        return;
    std::vector<float> out(std::size_t(dim) * 4);
    for (const float t : {-1.0f, 0.0f, 0.5f, 3.0f, 1e30f})
        fuzz::require(BSpline::evaluate(order, info.count, info.knots, dim, info.points, t,
                                        out.data(), 3, out.data() + dim));
    float t;
    BSpline::project(order, info.count, info.knots, dim, info.points, out.data(), 0, &t,
                     out.data());

    const NurbsKnot knot(order, info.count + order, info.knots);
    std::vector<float> segments(std::size_t(std::max(info.count, knot.bezierCount()) * dim));
    std::copy_n(info.points, info.count * dim, segments.begin());
    knot.insert(dim, segments.data());
    if (knot.spanCount() > 0) {
        BezierCurve::length(order, dim, segments.data(), dim > 2, 1e-3f);
        std::vector<float> roots(std::size_t(order), 0.0f);
        fuzz::require(BezierCurve::solve(order, segments.data(), 1e-6f, roots.data()) < order);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::silence();
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    NurbsCurve curve;
    if (read(bytes, curve)) {
        requireStable(curve);
        draw(curve, 0);
        draw(curve, 3);
        if (curve.order <= 40 && curve.vertices.size() <= 500 && curve.vertices.dimension() <= 8)
            curve.elevate(2);
    }
    NurbsFace face;
    if (read(bytes, face))
        requireStable(face);
    NurbsCurveVector curves;
    if (read(bytes, static_cast<VGVector&>(curves)))
        requireStable(static_cast<const VGVector&>(curves).count() > 0 ? *curves[0] : NurbsCurve());
    return 0;
}
