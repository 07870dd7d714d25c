#include "opengl/glreference.h"

#include "kernel/vformatio.h"
#include "opengl/glframe_p.h"
#include "opengl/glgroup.h"
#include "opengl/glscene.h"
#include "opengl/gltransform_p.h"
#include "opengl/glviewer.h"

#include <limits>
#include <map>
#include <utility>

namespace
{
constexpr quint8 nameTag = 0x13;
constexpr quint8 layerColorTag = 0x80;

/// The boxes of targets while nothing changes, by how many references lead to them: in a library
/// whose blocks refer to each other, following every path would take for ever.
struct TargetBoxes {
    std::map<std::pair<const GL_Object*, int>, geometry::Box3f> known;
    unsigned changes = 0; // of all nodes, when the first of the boxes was computed
    int depth = 0;        // of references under way
};
TargetBoxes targetBoxes;
} // namespace

const VMetaClass GL_Reference::metaClass("GL_Reference", &GL_Reference::factory,
                                         &GL_Object::metaClass);

ZYLObject* GL_Reference::factory()
{
    return new GL_Reference;
}

const VMetaClass* GL_Reference::metaObject() const
{
    return &metaClass;
}

GL_Reference::GL_Reference() : GL_Object(Kind::Reference, Stale) {}

void GL_Reference::setTransform(const geometry::Matrix4f& transform)
{
    m_transform = transform;
    boundsChanged();
}

QCString GL_Reference::objectName() const
{
    const char* const name = m_object ? m_object->name(nullptr) : nullptr;
    return name ? QCString(name) : m_objectName;
}

void GL_Reference::setObject(GL_Object* object)
{
    // The name goes with the target, so that neither is saved in place of the other.
    if (object)
        m_objectName = object->name(nullptr);
    m_object = object;
    setFlags(BlockTarget, isBlockTarget());
    boundsChanged();
}

bool GL_Reference::isBlockTarget() const
{
    return m_object && m_object->inherits(&GL_Block::metaClass);
}

bool GL_Reference::event(VEvent* event)
{
    return GL_Object::event(event) || transformEvent(event, m_transform);
}

VFormatIO& GL_Reference::read(VFormatIO& io)
{
    GL_Object::read(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    if (QDataStream* const data = stream->dataStream()) {
        quint8 tag;
        while (zylfields::nextTag(*data, tag)) {
            if (tag == nameTag) {
                zylfields::get(*data, m_objectName);
            } else if (tag == layerColorTag) {
                zylfields::get(*data, m_layerColor);
            } else if (!gltransform::read(*data, tag, m_transform)) {
                zylfields::putBack(*data, tag);
                break;
            }
        }
    } else {
        stream->read("transform", m_transform);
        stream->read("object", m_objectName);
        stream->read("layerColor", m_layerColor);
    }
    m_object = nullptr;
    auto* const scene = static_cast<GL_Scene*>(io.container("scene"));
    if (scene)
        m_object = scene->findLibObj(m_objectName);
    else
        m_objectName = QCString();
    setFlags(BlockTarget, isBlockTarget());
    boundsChanged();
    return io;
}

VFormatIO& GL_Reference::write(VFormatIO& io) const
{
    GL_Object::write(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QDataStream* const data = stream->dataStream();
    gltransform::write(*stream, m_transform);
    const QCString object = objectName();
    if (!object.isEmpty()) {
        if (data) {
            *data << nameTag;
            zylfields::put(*data, object);
        } else {
            zylfields::writeText(*stream, "object", object.data());
        }
    }
    if (m_layerColor != VColor(0u)) {
        if (data) {
            *data << layerColorTag;
            zylfields::put(*data, m_layerColor);
        } else {
            zylfields::writeText(*stream, "layerColor", m_layerColor);
        }
    }
    return io;
}

void GL_Reference::init(GL_Scene* scene)
{
    if (!m_object && scene)
        m_object = scene->library().findName(m_objectName);
    if (!m_object)
        return;
    setFlags(BlockTarget, isBlockTarget());
    boundsChanged();
}

void GL_Reference::draw(GL_RenderEvent* event)
{
    if (!m_object)
        return;
    GL_Traversal& traversal = event->traversal;
    const GL_MatrixScope matrix(traversal, m_transform);
    if (traversal.enterReference()) {
        if (testFlags(BlockTarget) && isBlockTarget()) {
            auto* const block = static_cast<GL_Block*>(m_object);
            block->setColor(color());
            block->setLayerColor(m_layerColor);
        }
        m_object->draw(event);
        traversal.leaveReference();
    }
    if (event->pass >= 1 || !isSelected())
        return;
    event->state.settle();
    geometry::Box3f box;
    m_object->bounds(box);
    const bool current = event->scene && event->scene->currentObject() == this;
    const GL_FrameScope frame(event);
    glColor(current ? GL_Viewer::m_selectColor : GL_Viewer::m_boundColor);
    drawBox(box);
    if (current) {
        glPointSize(4);
        drawHandles(box);
    }
}

bool GL_Reference::hasTransform(geometry::Matrix4f& matrix) const
{
    matrix *= m_transform;
    GL_Object::hasTransform(matrix);
    return true;
}

void GL_Reference::bounds(geometry::Box3f& box) const
{
    TargetBoxes& boxes = targetBoxes;
    if (!m_object)
        return;
    box.makeEmpty();
    if (boxes.depth == GL_Traversal::referenceLimit)
        return;
    if (boxes.depth == 0 && boxes.changes != m_changes) {
        boxes.known.clear();
        boxes.changes = m_changes;
    }
    if (m_object->m_extent == Unknown)
        ++m_changes;
    const auto key = std::make_pair(static_cast<const GL_Object*>(m_object), boxes.depth);
    const auto found = boxes.known.find(key);
    if (found != boxes.known.end()) {
        box = found->second;
    } else {
        ++boxes.depth;
        m_object->bounds(box);
        --boxes.depth;
        boxes.known[key] = box;
    }
    box.transform(m_transform);
}

bool GL_Reference::shouldRender(GL_RenderEvent* event) const
{
    const GL_Object* target = m_object;
    for (int i = 0; target && target->m_kind == Kind::Reference; ++i) {
        if (i == GL_Traversal::referenceLimit)
            return false;
        target = static_cast<const GL_Reference*>(target)->m_object;
    }
    return target && target->shouldRender(event);
}

bool GL_Reference::drag(GL_Viewer* viewer, const geometry::Vector2i& from,
                        const geometry::Vector2i& to)
{
    m_transform.translate(viewer->localVector(this, from, to, geometry::Vector3f()));
    boundsChanged();
    return true;
}

/// The target's sphere, which the target keeps itself.
void GL_Reference::measureTarget() const
{
    if (!m_object || m_object->m_extent == Unknown || m_object->m_kind == Kind::Reference) {
        setSphere(geometry::Vector3f(), std::numeric_limits<float>::infinity());
        return;
    }
    if (m_object->m_extent == Stale)
        m_object->measure();
    setSphere(m_object->m_center, m_object->m_radius, m_transform);
}
