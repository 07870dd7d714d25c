#pragma once

#include "action/action.h"
#include "geometry/zylskin.h"
#include "geometry/zylvectorarray.h"
#include "toolkit/qcstring.h"

#include <vector>

namespace action
{
/// Bends surfaces as joints move.
///
/// The receivers of a key are nodes with vertices, and one surface to the cluster: each `evaluate`
/// takes the joints where they are, moves the vertices from their rest by the weighted mean of
/// what the joints did since theirs, and sends them to all receivers, in the space of the key's
/// first one. The number that comes in says only that it is time, so a cluster stands behind the
/// actions that move its joints: later in a `ComplexAction` or among the receivers of a signal.
///
/// The weights of a vertex are brought to the sum 1. Where it has none it rests; of more than four
/// the strongest count. A joint that is gone, or can't be found or inverted, stands still.
class ZYL_EXPORT SkinCluster : public Action
{
public:
    static constexpr unsigned mostJoints = 1u << 16;

    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;

    using Action::read;
    using Action::write;

    /// Adds a joint, which isn't owned and may be null. The path is how it is found when a file is
    /// read. False beyond `mostJoints`.
    bool addJoint(const ZYLObject* joint, const char* path);
    unsigned jointCount() const { return unsigned(m_joints.size()); }
    ZYLObject* joint(unsigned index) const { return m_joints[index].object; }
    const QCString& jointPath(unsigned index) const { return m_joints[index].path; }

    /// Pairs of a vertex and a joint, and how much the one follows the other: 1 where the weights
    /// are fewer. Pairs of what there is none of are passed over, with a warning.
    void setInfluences(const geometry::Vector2iArray& pairs,
                       const VMemArray<float>& weights = VMemArray<float>());

    /// Takes joints and vertices where they are for their rest: the vertices of the first receiver
    /// of the lowest key. False, with nothing changed, if it has none.
    ///
    /// Files bind what they don't tell as soon as they are read, and `evaluate` what isn't bound.
    bool bind();

    bool evaluate(int key, double value) override;

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    void resolve(const ActionDict& actions) override;
    void forgetReceivers(const ReceiverSet& gone) override;

private:
    struct Record;
    struct Meta;

    struct Joint {
        QCString path;
        ZYLObject* object;
        bool isBound = false;
        geometry::Matrix4f rest; // from the joint's space to the skin's
    };

    static VMetaObject* metaObj;

    ZYLObject* firstReceiver() const;
    bool bindMissing();
    bool prepare();
    bool takeVertices(ZYLObject* skin);
    bool deform(ZYLObject* skin);
    bool areJointsAtRest(ZYLObject* skin) const;
    bool areVerticesAtRest(ZYLObject* skin) const;

    std::vector<Joint> m_joints;
    geometry::Vector2iArray m_pairs;
    VMemArray<float> m_weights;
    physics::Skin m_skin; // made of the joints and pairs by `prepare`
    bool m_isPrepared = false;
    std::vector<geometry::Matrix4f> m_now;
    geometry::Vector3fArray m_vertices;
};
} // namespace action
