#include "action/skincluster.h"

#include "action/actionstream_p.h"
#include "action/evaluation_p.h"
#include "kernel/vdeclare.h"
#include "kernel/vevent.h"
#include "kernel/vobjectfinder.h"
#include "kernel/zylobject.h"
#include "security/asnarray.h"

#include <algorithm>
#include <cstring>

namespace action
{
using geometry::Matrix4f;
using geometry::Vector3f;
using geometry::Vector3fArray;
using geometry::Vector4f;

namespace
{
constexpr unsigned rows = 4; // of a matrix

/// Lets an object fill in a value; false if it doesn't.
template <class T>
bool ask(ZYLObject* object, int code, T& value)
{
    VActionEvent event(code, &value);
    return object->event(&event) && event.isAccepted();
}

/// From the space of the root to that of an object, which is the same for one without a matrix.
bool findInverse(ZYLObject* object, Matrix4f& inverse)
{
    Matrix4f world;
    inverse = Matrix4f();
    return !ask(object, VActionEvent::GetWorldMatrix, world) || physics::invert(world, inverse);
}
} // namespace

/// The values as they stand in files.
struct SkinCluster::Record {
    QStrList joints;
    geometry::Vector4fArray bind; // four rows of each joint's matrix
    geometry::Vector2iArray influences;
    VMemArray<float> weights;
    Vector3fArray rest;
};

struct SkinCluster::Meta {
    static constexpr auto fieldTable =
        std::tuple(zylfields::filled("joints", 0x80, &Record::joints),
                   zylfields::filled("bind", 0x81, &Record::bind),
                   zylfields::filled("influences", 0x82, &Record::influences),
                   zylfields::filled("weights", 0x83, &Record::weights),
                   zylfields::filled("rest", 0x84, &Record::rest));
};
VMetaObject* SkinCluster::metaObj = nullptr;

VMetaObject* SkinCluster::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::SkinCluster", Action::staticMetaObject());
    return metaObj;
}

VMetaObject* SkinCluster::metaObject() const
{
    return staticMetaObject();
}

bool SkinCluster::addJoint(const ZYLObject* joint, const char* path)
{
    if (m_joints.size() >= mostJoints)
        return false;
    m_joints.push_back({path, const_cast<ZYLObject*>(joint), false, Matrix4f()});
    m_isPrepared = false;
    return true;
}

void SkinCluster::setInfluences(const geometry::Vector2iArray& pairs,
                                const VMemArray<float>& weights)
{
    m_pairs = pairs;
    m_pairs.detach();
    m_weights = weights;
    m_weights.detach();
    m_isPrepared = false;
}

ZYLObject* SkinCluster::firstReceiver() const
{
    if (!connections())
        return nullptr;
    const VMemArray<int> keys = connections()->keys();
    for (const int key : keys)
        if (const Connection* const first = connections(key)->getFirst())
            return first->receiver();
    return nullptr;
}

bool SkinCluster::bind()
{
    ZYLObject* const skin = firstReceiver();
    if (!skin || !takeVertices(skin))
        return false;
    for (Joint& joint : m_joints)
        joint.isBound = false;
    return bindMissing();
}

/// Binds what isn't bound. False as long as there are no vertices.
bool SkinCluster::bindMissing()
{
    ZYLObject* const skin = firstReceiver();
    if (!skin)
        return false;
    m_isPrepared = false;
    if (m_skin.vertexCount() == 0 && !takeVertices(skin))
        return false;
    Matrix4f toSkin, world;
    if (findInverse(skin, toSkin))
        for (Joint& joint : m_joints) {
            if (joint.isBound || !joint.object ||
                !ask(joint.object, VActionEvent::GetWorldMatrix, world))
                continue;
            joint.rest = world * toSkin;
            joint.isBound = true;
        }
    return true;
}

bool SkinCluster::takeVertices(ZYLObject* skin)
{
    Vector3fArray rest;
    if (!ask(skin, VActionEvent::GetVertices, rest) || rest.isEmpty())
        return false;
    m_skin.setRest(rest.data(), nullptr, rest.size());
    return true;
}

/// Makes the skin fit for `deform`.
bool SkinCluster::prepare()
{
    if (m_isPrepared)
        return true;
    if (!bindMissing())
        return false;
    std::vector<Matrix4f> inverses(m_joints.size());
    for (std::size_t i = 0; i < m_joints.size(); ++i) {
        Joint& joint = m_joints[i];
        joint.isBound = joint.isBound && physics::invert(joint.rest, inverses[i]);
        if (!joint.isBound)
            joint.rest = Matrix4f();
    }
    m_skin.setBindMatrices(inverses.data(), unsigned(inverses.size()));
    m_now.resize(m_joints.size());

    physics::WeightBinding& binding = m_skin.binding();
    binding.clear(m_skin.vertexCount());
    unsigned ignored = 0;
    for (unsigned i = 0; i < m_pairs.size(); ++i) {
        const geometry::Vector2i& pair = m_pairs.data()[i];
        const float weight = i < m_weights.size() ? m_weights.data()[i] : 1;
        const bool isUsed = pair.y < int(m_joints.size()) &&
                            (weight == 0 || binding.add(unsigned(pair.x), pair.y, weight));
        ignored += !isUsed;
    }
    binding.build();
    if (ignored > 0)
        qWarning("SkinCluster::evaluate: Ignored %u of %u influences of %s", ignored,
                 m_pairs.size(), name());
    m_isPrepared = true;
    return true;
}

/// Computes the vertices in the space of an object.
bool SkinCluster::deform(ZYLObject* skin)
{
    Matrix4f toSkin;
    if (!findInverse(skin, toSkin))
        return false;
    for (std::size_t i = 0; i < m_now.size(); ++i) {
        const Joint& joint = m_joints[i];
        Matrix4f world;
        if (!joint.isBound || !joint.object ||
            !ask(joint.object, VActionEvent::GetWorldMatrix, world)) {
            m_now[i] = joint.rest;
            continue;
        }
        m_now[i] = world * toSkin;
        if (!physics::isFinite(m_now[i]))
            return false;
    }
    // What was sent is shared, and may have been resized by whom it was sent to.
    if (m_vertices.size() != m_skin.vertexCount())
        m_vertices = Vector3fArray(int(m_skin.vertexCount()));
    return m_skin.deform(m_now.data(), unsigned(m_now.size()), m_vertices.data());
}

bool SkinCluster::evaluate(int key, double)
{
    ConnectionList* const list = connections(key);
    if (!list || list->isEmpty() || !prepare())
        return false;
    {
        const Evaluation evaluation(*this, m_skin.vertexCount() + jointCount());
        if (!evaluation || !deform(list->getFirst()->receiver()))
            return false;
    }
    Vector3fArray vertices(m_vertices); // a receiver may delete this action
    return send(*list, VActionEvent::SetVertices, &vertices);
}

void SkinCluster::resolve(const ActionDict&)
{
    bindMissing();
}

void SkinCluster::forgetReceivers(const ReceiverSet& gone)
{
    Action::forgetReceivers(gone);
    for (Joint& joint : m_joints)
        if (joint.object && gone.count(joint.object) > 0) {
            joint.object = nullptr;
            joint.path = QCString();
        }
}

// Files

VFormatIO& SkinCluster::read(VFormatIO& io)
{
    Action::read(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    Record record;
    zylfields::read(io, record, Meta::fieldTable);

    m_joints.clear();
    auto* const finder = static_cast<VObjectFinder*>(io.container("finder"));
    for (QStrListIterator it(record.joints); const char* const path = it.current(); ++it) {
        ZYLObject* const object = finder && *path ? finder->findObject(path) : nullptr;
        if (!object && *path)
            stream->report(VFormatDiagnostics::UnresolvedName, QString::fromLocal8Bit(path));
        if (!addJoint(object, path)) {
            qWarning("SkinCluster::read: More than %u joints", mostJoints);
            break;
        }
    }
    const Vector4f* row = record.bind.data();
    for (std::size_t i = 0; i < m_joints.size() && rows * (i + 1) <= record.bind.size(); ++i) {
        Joint& joint = m_joints[i];
        const Matrix4f matrix(row[0], row[1], row[2], row[3]);
        row += rows;
        Matrix4f inverse;
        joint.isBound = physics::invert(matrix, inverse);
        if (joint.isBound)
            joint.rest = matrix;
    }
    setInfluences(record.influences, record.weights);
    m_skin.setRest(record.rest.data(), nullptr, record.rest.size());
    return io;
}

VFormatIO& SkinCluster::write(VFormatIO& io) const
{
    Action::write(io);
    Record record;
    for (const Joint& joint : m_joints)
        record.joints.append(joint.path.isNull() ? "" : joint.path.data());
    record.influences = m_pairs;
    record.weights = m_weights;

    // What isn't told a reader binds to what it finds, so it is left out only where that is right.
    ZYLObject* const skin = firstReceiver();
    if (!areJointsAtRest(skin)) {
        record.bind.fill(Vector4f(), int(rows * m_joints.size())); // zeros are no place to rest at
        Vector4f* row = record.bind.data();
        for (const Joint& joint : m_joints) {
            if (joint.isBound)
                std::memcpy(row, joint.rest.m, sizeof(joint.rest.m));
            row += rows;
        }
    }
    if (!areVerticesAtRest(skin))
        record.rest = Vector3fArray(m_skin.positions(), int(m_skin.vertexCount()));
    return zylfields::write(io, record, Meta::fieldTable);
}

bool SkinCluster::areJointsAtRest(ZYLObject* skin) const
{
    Matrix4f toSkin, world;
    const bool isSkinKnown = skin && findInverse(skin, toSkin);
    return std::all_of(m_joints.begin(), m_joints.end(), [&](const Joint& joint) {
        return !joint.isBound || joint.path.isEmpty() ||
               (isSkinKnown && joint.object &&
                ask(joint.object, VActionEvent::GetWorldMatrix, world) &&
                world * toSkin == joint.rest);
    });
}

bool SkinCluster::areVerticesAtRest(ZYLObject* skin) const
{
    Vector3fArray present;
    if (m_skin.vertexCount() == 0)
        return true;
    return skin && ask(skin, VActionEvent::GetVertices, present) &&
           std::equal(present.begin(), present.end(), m_skin.positions(),
                      m_skin.positions() + m_skin.vertexCount());
}
} // namespace action
