#include "action/motionpath.h"

#include "action/actionstream_p.h"
#include "action/animationcurve_p.h"
#include "action/channels_p.h"
#include "geometry/zylbspline.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylnurbs.h"
#include "geometry/zylquaternion.h"
#include "kernel/vdeclare.h"
#include "kernel/vevent.h"
#include "kernel/vobjectfinder.h"
#include "kernel/zylobject.h"
#include "security/asnvalue.h"

#include <algorithm>
#include <limits>

namespace action
{
using geometry::GVector;
using geometry::NurbsCurve;
using geometry::Vector3f;

namespace
{
constexpr int mostDimensions = 4;
constexpr int largestOrder = 100; // a point takes quadratic time
constexpr const char* keysKeyword = "keys";
constexpr quint8 keysTag = 0x82;

/// Computes a point and the derivative there, of numbers of the type of the vertices.
template <class S>
bool evaluateAs(const NurbsCurve& curve, const geometry::GVectorArray& vertices, double u, S* point,
                S* slope)
{
    const int dimension = vertices.dimension();
    const S* const knots = curve.knots.isEmpty() ? nullptr : curve.knots.as<S>();
    geometry::BasicNurbsCurveInfo<S> info(int(vertices.size()), knots,
                                          reinterpret_cast<const S*>(vertices.data()),
                                          int(curve.knots.size() / sizeof(S)));
    return info.check(curve.order, dimension * int(sizeof(S)), 0) &&
           geometry::BSpline::evaluate(curve.order, info.count, info.knots, dimension, info.points,
                                       S(u), point, slope);
}

/// The same for vertices of any type.
bool evaluateCurve(const NurbsCurve& curve, double u, double* point, double* slope)
{
    const geometry::GVectorArray& vertices = curve.vertices;
    const int dimension = vertices.dimension();
    if (dimension < 2 || dimension > mostDimensions || curve.order < 2 ||
        curve.order > largestOrder || vertices.type() == GVector::Bytes ||
        vertices.size() < unsigned(curve.order) ||
        vertices.size() > unsigned(std::numeric_limits<int>::max() / 2))
        return false;
    if (vertices.type() == GVector::Double)
        return evaluateAs(curve, vertices, u, point, slope);
    float floats[2][mostDimensions];
    if (!evaluateAs(curve, vertices.toFloatArray(), u, floats[0], floats[1]))
        return false;
    std::copy_n(floats[0], dimension, point);
    std::copy_n(floats[1], dimension, slope);
    return true;
}

bool isFinite(const Vector3f& v)
{
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}
} // namespace

struct MotionPath::Meta {
    static constexpr auto fieldTable =
        std::tuple(zylfields::field("flags", 0x80, &MotionPath::m_flags, 0),
                   zylfields::filled("path", 0x81, &MotionPath::m_path));
};
VMetaObject* MotionPath::metaObj = nullptr;

VMetaObject* MotionPath::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::MotionPath", Action::staticMetaObject());
    return metaObj;
}

VMetaObject* MotionPath::metaObject() const
{
    return staticMetaObject();
}

MotionConnections::MotionConnections(const MotionPath& path)
{
    MotionPath::Place first;
    if (!path.find(std::numeric_limits<float>::lowest(), first))
        return;
    for (int i = 0; i < 3; ++i) {
        last[i] = first.position[i];
        last[3 + i] = first.direction[i];
    }
}

void MotionPath::setKeys(const AnimationCurve& keys)
{
    m_keys = std::make_unique<AnimationCurve>(keys);
    m_keys->detach();
    m_keys->makeSound();
}

bool MotionPath::setTarget(ZYLObject* object, const char* path)
{
    m_path = path;
    m_curve = dynamic_cast<const NurbsCurve*>(object);
    m_target = m_curve ? object : nullptr;
    return m_target;
}

bool MotionPath::evaluate(double u, float* point) const
{
    double numbers[mostDimensions], slope[mostDimensions];
    if (!m_curve || std::isnan(u) || !evaluateCurve(*m_curve, u, numbers, slope))
        return false;
    for (int i = 0; i < m_curve->vertices.dimension(); ++i)
        point[i] = float(numbers[i]);
    return true;
}

bool MotionPath::find(double u, Place& place) const
{
    double point[mostDimensions] = {}, slope[mostDimensions] = {};
    if (!m_curve || std::isnan(u) || !evaluateCurve(*m_curve, u, point, slope))
        return false;
    const bool isHomogeneous = m_curve->vertices.dimension() == mostDimensions;
    const double w = isHomogeneous ? point[3] : 1;
    const double dw = isHomogeneous ? slope[3] : 0;
    for (int i = 0; i < 3; ++i) {
        const double p = point[i] / w;
        place.position[i] = float(p);
        place.direction[i] = float((slope[i] - dw * p) / w);
    }
    return isFinite(place.position) && isFinite(place.direction);
}

bool MotionPath::evaluate(int key, double value)
{
    auto* const list = static_cast<MotionConnections*>(connections(key));
    double u;
    Place now;
    if (!m_target || !m_keys || !list || m_keys->evaluate(value, u) != 0 || !find(u, now))
        return false;
    double* const last = list->last;
    const Vector3f before{float(last[3]), float(last[4]), float(last[5])};
    geometry::Matrix4f m;
    Vector3f step;
    for (int i = 0; i < 3; ++i)
        step[i] = float(now.position[i] - last[i]);
    if (!isFinite(step))
        return false;
    m.translate(step);
    // Where a curve stands still it has no direction, and nodes keep the one they have.
    const bool hasDirection = normalize(now.direction) != Vector3f();
    if (m_flags & Orient && hasDirection && normalize(before) != Vector3f())
        m.rotate(geometry::Quaternion().setValue(before, now.direction));
    for (int i = 0; i < 3; ++i) {
        last[i] = now.position[i];
        if (hasDirection)
            last[3 + i] = now.direction[i];
    }
    return send(*list, VActionEvent::TransformBefore, &m);
}

ConnectionList* MotionPath::newConnections() const
{
    return new MotionConnections(*this);
}

VFormatIO& MotionPath::read(VFormatIO& io)
{
    Action::read(io);
    zylfields::read(io, *this, Meta::fieldTable);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QDataStream* const data = stream->dataStream();
    if (!data)
        readValue(*stream, keysKeyword, [&] { readKeys(*stream); });
    else if (peekTag(*data) == keysTag)
        readKeys(*data);
    auto* const finder = static_cast<VObjectFinder*>(io.container("finder"));
    if (!m_path.isEmpty() && finder && !setTarget(finder->findObject(m_path), QCString(m_path)))
        stream->report(VFormatDiagnostics::UnresolvedName, QString::fromLatin1(m_path.data()));
    return io;
}

void MotionPath::readKeys(VZylStream& stream)
{
    AnimationCurve keys;
    if (readCurve(stream, keys))
        m_keys = std::make_unique<AnimationCurve>(keys);
    else
        qWarning("MotionPath::read: Cannot read %s", keysKeyword);
}

void MotionPath::readKeys(QDataStream& data)
{
    data.skipRawData(1);
    QByteArray content;
    if (!zylfields::getContent(data, asn::DerValue::OctetString, content))
        return;
    m_keys = std::make_unique<AnimationCurve>();
    QDataStream keys(content);
    readCurve(keys, *m_keys);
}

VFormatIO& MotionPath::write(VFormatIO& io) const
{
    Action::write(io);
    zylfields::write(io, *this, Meta::fieldTable);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream || !m_keys || m_keys->isEmpty())
        return io;
    if (QDataStream* const data = stream->dataStream()) {
        QByteArray content;
        QDataStream keys(&content, QIODevice::WriteOnly);
        keys << static_cast<const geometry::Vector2dArray&>(*m_keys);
        *data << keysTag;
        zylfields::putContent(*data, asn::DerValue::OctetString, content);
    } else {
        stream->begin(keysKeyword);
        io << *m_keys;
        stream->end();
    }
    return io;
}

void MotionPath::forgetReceivers(const ReceiverSet& gone)
{
    Action::forgetReceivers(gone);
    if (m_target && gone.count(m_target) > 0)
        setTarget(nullptr, nullptr);
}
} // namespace action
