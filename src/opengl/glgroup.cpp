#include "opengl/glgroup.h"

#include "geometry/zylquaternion.h"
#include "opengl/glframe_p.h"
#include "opengl/glreference.h"
#include "opengl/glscene.h"
#include "opengl/gltransform_p.h"
#include "opengl/glviewer.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{
constexpr quint8 childrenTag = 0x31;
constexpr quint8 sizeTag = 0x80;

constexpr int markerSegments = 16;

/// A level of nested nodes, until the end of the scope; false when that is too deep.
class LevelScope
{
public:
    explicit LevelScope(GL_Traversal& traversal)
        : m_traversal(traversal), m_entered(traversal.enter())
    {
    }
    ~LevelScope()
    {
        if (m_entered)
            m_traversal.leave();
    }
    LevelScope(const LevelScope&) = delete;
    LevelScope& operator=(const LevelScope&) = delete;
    explicit operator bool() const { return m_entered; }

private:
    GL_Traversal& m_traversal;
    bool m_entered;
};

/// Nodes are bounded as deep as they are drawn: references can lead on for ever.
class BoundsScope
{
public:
    BoundsScope() { ++depth; }
    ~BoundsScope() { --depth; }
    BoundsScope(const BoundsScope&) = delete;
    BoundsScope& operator=(const BoundsScope&) = delete;
    explicit operator bool() const { return depth <= GL_Traversal::depthLimit; }

private:
    static int depth;
};
int BoundsScope::depth = 0;
} // namespace

// GL_Group

const VMetaClass GL_Group::metaClass("GL_Group", &GL_Group::factory, &GL_Object::metaClass);

ZYLObject* GL_Group::factory()
{
    return new GL_Group;
}

const VMetaClass* GL_Group::metaObject() const
{
    return &metaClass;
}

GL_Group::GL_Group() : GL_Group(Kind::Group) {}

GL_Group::GL_Group(Kind kind) : GL_Object(kind, Stale)
{
    m_children.setAutoDelete(true);
    m_children.m_group = this;
}

GL_Group::~GL_Group()
{
    m_children.m_group = nullptr;
}

bool GL_Group::event(VEvent* event)
{
    return GL_Object::event(event) || offerToChildren(event);
}

/// Every child is asked, whether or not one took the event.
bool GL_Group::offerToChildren(VEvent* event)
{
    bool taken = false;
    for (GL_Object* child : m_children)
        taken |= child->event(event);
    return taken;
}

VFormatIO& GL_Group::read(VFormatIO& io)
{
    GL_Object::read(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QDataStream* const data = stream->dataStream();
    if (!data) {
        stream->read("children", m_children);
        return io;
    }
    quint8 tag;
    while (zylfields::nextTag(*data, tag)) {
        if (tag != childrenTag) {
            zylfields::putBack(*data, tag);
            break;
        }
        io >> m_children;
    }
    return io;
}

VFormatIO& GL_Group::write(VFormatIO& io) const
{
    GL_Object::write(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream || m_children.isEmpty())
        return io;
    if (QDataStream* const data = stream->dataStream()) {
        *data << childrenTag;
        io << m_children;
    } else {
        stream->begin("children");
        stream->write(m_children, VZylStream::Braces);
        stream->end();
    }
    return io;
}

void GL_Group::init(GL_Scene* scene)
{
    for (GL_Object* child : m_children) {
        child->m_parent = this;
        child->init(scene);
    }
    boundsChanged();
}

void GL_Group::draw(GL_RenderEvent* event)
{
    if (const LevelScope level(event->traversal); level)
        m_children.draw(event);
}

void GL_Group::bounds(geometry::Box3f& box) const
{
    box.makeEmpty();
    const BoundsScope scope;
    if (!scope)
        return;
    for (const GL_Object* child : m_children) {
        if (child->m_extent == Unknown)
            ++m_changes; // it may tell other bounds next time
        geometry::Box3f part;
        child->bounds(part);
        box.include(part);
    }
}

void GL_Group::hit(GL_RenderEvent* event)
{
    const LevelScope level(event->traversal);
    if (!level)
        return;
    event->traversal.pushName(0);
    m_children.hit(event, 0);
    event->traversal.popName();
}

bool GL_Group::shouldRender(GL_RenderEvent*) const
{
    return true;
}

GL_Object* GL_Group::identify(unsigned* path, unsigned n)
{
    if (n == 0)
        return this;
    GL_Object* const child = path ? m_children.at(path[0]) : nullptr;
    return child ? child->identify(path + 1, n - 1) : nullptr;
}

bool GL_Group::drag(GL_Viewer* viewer, const geometry::Vector2i& from, const geometry::Vector2i& to)
{
    bool moved = false;
    for (GL_Object* child : m_children)
        moved |= child->drag(viewer, from, to);
    return moved;
}

/// A sphere around the children's; infinite if one of them may be anywhere, or has not said where
/// it is.
void GL_Group::measureChildren(geometry::Vector3f& center, float& radius) const
{
    geometry::Box3f box;
    for (const GL_Object* child : m_children) {
        // A reference's target can change without word, and a child with another parent likewise.
        if (child->m_extent == Unknown || child->m_kind == Kind::Reference ||
            child->m_parent != this) {
            radius = std::numeric_limits<float>::infinity();
            return;
        }
        if (child->m_extent == Stale)
            child->measure();
        const geometry::Vector3f reach(child->m_radius, child->m_radius, child->m_radius);
        box.include(geometry::Box3f(child->m_center - reach, child->m_center + reach));
    }
    if (m_children.isEmpty()) {
        radius = std::numeric_limits<float>::infinity();
        return;
    }
    center = box.center();
    radius = 0;
    for (const GL_Object* child : m_children)
        radius = std::max(radius, (child->m_center - center).length() + child->m_radius);
}

// GL_Joint

const VMetaClass GL_Joint::metaClass("GL_Joint", &GL_Joint::factory, &GL_Group::metaClass);

ZYLObject* GL_Joint::factory()
{
    return new GL_Joint;
}

const VMetaClass* GL_Joint::metaObject() const
{
    return &metaClass;
}

GL_Joint::GL_Joint() : GL_Group(Kind::Joint) {}

void GL_Joint::setTransform(const geometry::Matrix4f& transform)
{
    m_transform = transform;
    boundsChanged();
}

void GL_Joint::setSize(float size)
{
    m_size = size;
    boundsChanged();
}

bool GL_Joint::event(VEvent* event)
{
    return GL_Object::event(event) || transformEvent(event, m_transform) || offerToChildren(event);
}

VFormatIO& GL_Joint::read(VFormatIO& io)
{
    GL_Group::read(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    if (QDataStream* const data = stream->dataStream()) {
        quint8 tag;
        while (zylfields::nextTag(*data, tag)) {
            if (tag == gltransform::matrixTag) {
                *data >> m_transform;
            } else if (tag == sizeTag) {
                zylfields::get(*data, m_size);
            } else {
                zylfields::putBack(*data, tag);
                break;
            }
        }
    } else {
        stream->read("transform", m_transform);
        stream->read("size", m_size);
    }
    boundsChanged();
    return io;
}

VFormatIO& GL_Joint::write(VFormatIO& io) const
{
    GL_Group::write(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QDataStream* const data = stream->dataStream();
    if (!m_transform.isIdentity()) {
        if (data)
            *data << gltransform::matrixTag << m_transform;
        else
            zylfields::writeText(*stream, "transform", m_transform);
    }
    if (m_size != 0.5f) {
        if (data) {
            *data << sizeTag;
            zylfields::put(*data, m_size);
        } else {
            zylfields::writeText(*stream, "size", m_size);
        }
    }
    return io;
}

bool GL_Joint::hasTransform(geometry::Matrix4f& matrix) const
{
    matrix *= m_transform;
    GL_Object::hasTransform(matrix);
    return true;
}

void GL_Joint::bounds(geometry::Box3f& box) const
{
    const geometry::Vector3f position(m_transform.m[3][0], m_transform.m[3][1],
                                      m_transform.m[3][2]);
    const geometry::Vector3f half(m_size, m_size, m_size);
    box = geometry::Box3f(position - half, position + half);
    const BoundsScope scope;
    if (!scope)
        return;
    for (const GL_Object* child : children()) {
        if (child->m_extent == Unknown)
            ++m_changes;
        geometry::Box3f part;
        child->bounds(part);
        part.transform(m_transform);
        box.include(part);
    }
}

void GL_Joint::draw(GL_RenderEvent* event)
{
    const bool bones = testFlags(Bones);
    setFlags(Bones, bones && event->pass < 1);
    drawShape(event, isSelected() && event->scene && event->scene->currentObject() == this);
    setFlags(Bones, bones);
}

void GL_Joint::drawShape(GL_RenderEvent* event, bool current)
{
    const LevelScope level(event->traversal);
    if (!level)
        return;
    const GL_MatrixScope matrix(event->traversal, m_transform);
    VColor shown = color();
    if (current || (isSelected() && event->scene && event->scene->currentObject() == this))
        shown = GL_Viewer::m_selectColor;
    else if (isSelected())
        shown = GL_Viewer::m_boundColor;

    const bool bones = testFlags(Bones);
    for (GL_Object* child : children()) {
        const bool isBone = bones && child->m_kind == Kind::Joint;
        if ((isBone || child->shouldRender(event)) && !event->traversal.isOutside(*child)) {
            if (child->m_kind != Kind::Shape)
                event->state.settle();
            if (isBone)
                static_cast<GL_Joint*>(child)->drawShape(event, current);
            else
                child->draw(event);
        }
        if (isBone) {
            event->state.settle();
            glColor(shown);
            drawBone(*static_cast<GL_Joint*>(child));
        }
    }
    event->state.settle();
    event->state.setEnabled(GL_State::Lighting, false);
    if (bones) {
        glColor(shown);
        drawMarker();
    }
}

/// Three circles, and the matrix as it was.
void GL_Joint::drawMarker() const
{
    glPushMatrix();
    drawCircle(m_size, 0, markerSegments);
    glRotatef(90, 1, 0, 0);
    drawCircle(m_size, 0, markerSegments);
    glRotatef(90, 0, 1, 0);
    drawCircle(m_size, 0, markerSegments);
    glPopMatrix();
}

/// A pyramid from this joint's marker to the child's.
void GL_Joint::drawBone(const GL_Joint& child) const
{
    const auto& m = child.m_transform.m;
    const geometry::Vector3f position(m[3][0], m[3][1], m[3][2]);
    const float length = position.length() - 2 * m_size;
    if (!(length > 0))
        return;
    geometry::Matrix4f matrix;
    matrix.rotate(geometry::Quaternion().setValue(geometry::Vector3f(0, 0, 1), position));
    matrix.translate(0, 0, m_size);
    const float s = m_size;
    const GLfloat base[4][3] = {{-s, 0, 0}, {0, s, 0}, {s, 0, 0}, {0, -s, 0}};
    glPushMatrix();
    glMultMatrixf(matrix.m[0]);
    glBegin(GL_LINE_LOOP);
    for (const GLfloat* corner : base)
        glVertex3fv(corner);
    glEnd();
    glBegin(GL_LINES);
    for (const GLfloat* corner : base) {
        glVertex3fv(corner);
        glVertex3f(0, 0, length);
    }
    glEnd();
    glPopMatrix();
}

void GL_Joint::hit(GL_RenderEvent* event)
{
    const GL_MatrixScope matrix(event->traversal, m_transform);
    for (GL_Object* child : children())
        if (child->m_kind == Kind::Joint)
            drawBone(*static_cast<GL_Joint*>(child));
    drawMarker();
    GL_Group::hit(event);
}

bool GL_Joint::drag(GL_Viewer* viewer, const geometry::Vector2i& from, const geometry::Vector2i& to)
{
    m_transform.translate(viewer->localVector(this, from, to, geometry::Vector3f()));
    boundsChanged();
    return true;
}

/// The children, and the skeleton, which reaches no farther than to the children's markers.
void GL_Joint::measureJoint() const
{
    geometry::Vector3f center;
    float radius = 0;
    const float own = 2 * std::abs(m_size);
    if (children().isEmpty()) {
        radius = own;
    } else {
        measureChildren(center, radius);
        // The least sphere around both.
        const float distance = center.length();
        if (own >= distance + radius) {
            center = geometry::Vector3f();
            radius = own;
        } else if (!(radius >= distance + own)) {
            const float both = (distance + radius + own) / 2;
            center *= (both - own) / distance;
            radius = both;
        }
    }
    setSphere(center, radius, m_transform);
}

// GL_Block

const VMetaClass GL_Block::metaClass("GL_Block", &GL_Block::factory, &GL_Group::metaClass);

ZYLObject* GL_Block::factory()
{
    return new GL_Block;
}

const VMetaClass* GL_Block::metaObject() const
{
    return &metaClass;
}

void GL_Block::draw(GL_RenderEvent* event)
{
    for (GL_Object* child : children()) {
        const unsigned source = child->flags() & ColorSourceMask;
        if (source == 0 || !child->shouldRender(event))
            continue;
        if (source == 1)
            child->setColor(m_layerColor);
        else if (source == 2)
            child->setColor(color());
        if (child->m_kind == Kind::Reference)
            static_cast<GL_Reference*>(child)->setLayerColor(m_layerColor);
    }
    GL_Group::draw(event);
}
