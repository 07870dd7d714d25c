#pragma once

#include "action/action.h"
#include "action/animationcurve.h"
#include "geometry/zylvector.h"
#include "toolkit/qcstring.h"

#include <memory>

QT_BEGIN_NAMESPACE
class QDataStream;
QT_END_NAMESPACE
class VZylStream;
namespace geometry
{
class NurbsCurve;
}

namespace action
{
class MotionPath;

/// The position and the direction that were reached last; at first those of the path's beginning.
class ZYL_EXPORT MotionConnections : public ChannelConnections<6>
{
public:
    MotionConnections() = default;
    explicit MotionConnections(const MotionPath& path);
};

/// Moves nodes along a curve of the scene; the value is the time, which the keys turn into a
/// parameter of the curve.
///
/// What is sent is the way from the last point. The curve belongs to the scene; it must be a node
/// that is a `geometry::NurbsCurve` too, of two to four dimensions, four of them homogeneous.
class ZYL_EXPORT MotionPath : public Action
{
public:
    enum Flag {
        Orient = 1 ///< turns nodes with the curve's direction
    };

    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;

    using Action::read;
    using Action::write;

    int flags() const { return m_flags; }
    void setFlags(int flags) { m_flags = flags; }
    /// Null if there are none.
    const AnimationCurve* keys() const { return m_keys.get(); }
    void setKeys(const AnimationCurve& keys);
    ZYLObject* target() const { return m_target; }
    /// How the curve is found when a file is read; kept while there is none.
    const QCString& path() const { return m_path; }
    /// False, with no target, for an object that is no such curve. The list of a key starts from
    /// the target that there is when the first connection is made.
    bool setTarget(ZYLObject* object, const char* path);

    bool evaluate(int key, double value) override;
    /// The point at a parameter, which is held to the curve: as many numbers as the curve has
    /// dimensions, at most four. False, with nothing written, without a target or for bad data.
    bool evaluate(double u, float* point) const;

    ConnectionList* newConnections() const override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void forgetReceivers(const ReceiverSet& gone) override;

private:
    struct Meta;
    friend class MotionConnections;

    /// The curve's point in space and, in front of it, its derivative.
    struct Place {
        geometry::Vector3f position, direction;
    };

    static VMetaObject* metaObj;

    bool find(double u, Place& place) const;
    void readKeys(VZylStream& stream);
    void readKeys(QDataStream& data);

    int m_flags = 0;
    QCString m_path;
    std::unique_ptr<AnimationCurve> m_keys;
    ZYLObject* m_target = nullptr;
    const geometry::NurbsCurve* m_curve = nullptr; // the same object
};
} // namespace action
