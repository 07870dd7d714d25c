#include "opengl/globject.h"

#include "geometry/zylhmatrix.h"
#include "kernel/vevent.h"
#include "kernel/vzylfields_p.h"
#include "opengl/glactionevent_p.h"
#include "opengl/glgroup.h"
#include "opengl/glreference.h"
#include "opengl/glrenderevent.h"
#include "opengl/glshape.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace
{
constexpr quint8 colorTag = 0x42;
constexpr quint8 flagsTag = 0x03;

// By which a sphere is larger than it need be, for what rounding takes off on its way to the view.
constexpr float slack = 1e-5f;

/// The corners in the order of the loop around a box.
struct Corners {
    explicit Corners(const geometry::Box3f& box)
        : at{{box.min.x, box.min.y, box.min.z}, {box.min.x, box.max.y, box.min.z},
             {box.max.x, box.max.y, box.min.z}, {box.max.x, box.min.y, box.min.z},
             {box.max.x, box.min.y, box.max.z}, {box.max.x, box.max.y, box.max.z},
             {box.min.x, box.max.y, box.max.z}, {box.min.x, box.min.y, box.max.z}}
    {
    }
    void draw(GLenum mode) const
    {
        glBegin(mode);
        for (const GLfloat* corner : at)
            glVertex3fv(corner);
        glEnd();
    }

    GLfloat at[8][3];
};

constexpr float infinite = std::numeric_limits<float>::infinity();

geometry::Vector3f middle(const geometry::Box3f& box)
{
    return box.min + (box.max - box.min) * 0.5f;
}

/// Infinite for an empty box, which is what nodes have before `init`: it says nothing of what they
/// will draw.
float halfDiagonal(const geometry::Box3f& box)
{
    return box.isEmpty() ? infinite : (box.max - box.min).length() * 0.5f;
}

/// The most by which the matrix stretches a vector, or a little more.
float stretch(const geometry::Matrix4f& matrix)
{
    const auto& m = matrix.m;
    const auto product = [&m](int i, int j) {
        return m[i][0] * m[j][0] + m[i][1] * m[j][1] + m[i][2] * m[j][2];
    };
    // No eigenvalue of the rows' products exceeds the largest sum of a row of them; for rows at
    // right angles, which most matrices have, that is exact.
    const float xy = std::abs(product(0, 1)), xz = std::abs(product(0, 2)),
                yz = std::abs(product(1, 2));
    const float sums[] = {product(0, 0) + xy + xz, product(1, 1) + xy + yz,
                          product(2, 2) + xz + yz};
    return std::sqrt(*std::max_element(std::begin(sums), std::end(sums)));
}
} // namespace

const VMetaClass GL_Object::metaClass("GL_Object", &ZYLObject::factory, &GL_NamedObject::metaClass);

const VMetaClass* GL_Object::metaObject() const
{
    return &metaClass;
}

// Lists

GL_ObjectList::GL_ObjectList(const GL_ObjectList& other) : VPtrList<GL_Object>(other) {}

GL_ObjectList& GL_ObjectList::operator=(const GL_ObjectList& other)
{
    VPtrList<GL_Object>::operator=(other);
    return *this;
}

GL_ObjectList::~GL_ObjectList()
{
    clear();
}

VPtrCollection::Item GL_ObjectList::newItem(Item item)
{
    if (m_group && item) {
        static_cast<GL_Object*>(item)->m_parent = m_group;
        m_group->boundsChanged();
    }
    return item;
}

void GL_ObjectList::deleteItem(Item item)
{
    if (m_group)
        m_group->boundsChanged();
    VPtrList<GL_Object>::deleteItem(item);
}

GL_Object* GL_ObjectList::findName(const char* name) const
{
    return name && *name ? GL_NamedObject::find(*this, name) : nullptr;
}

GL_Object* GL_ObjectList::findPath(const char* path) const
{
    if (!path)
        return nullptr;
    const GL_ObjectList* list = this;
    for (;;) {
        while (*path == '/')
            ++path;
        const char* const slash = std::strchr(path, '/');
        if (!slash)
            return list->findName(path);
        GL_Object* const found = list->findName(QByteArray(path, slash - path).constData());
        if (!found || !found->inherits(&GL_Group::metaClass))
            return nullptr;
        list = &static_cast<GL_Group*>(found)->children();
        path = slash;
    }
}

void GL_ObjectList::draw(GL_RenderEvent* event) const
{
    for (GL_Object* object : *this) {
        if (!object->shouldRender(event) || event->traversal.isOutside(*object))
            continue;
        if (object->m_kind != GL_Object::Kind::Shape)
            event->state.settle();
        event->state.setKeepingArrays(object->m_keepsArrays);
        object->draw(event);
    }
    event->state.setKeepingArrays(false);
}

void GL_ObjectList::hit(GL_RenderEvent* event, unsigned first) const
{
    GL_Traversal& traversal = event->traversal;
    for (GL_Object* object : *this) {
        if (!traversal.isOutside(*object)) {
            traversal.loadName(first);
            object->hit(event);
        }
        ++first;
    }
}

// Values

GL_Object::~GL_Object()
{
    ++m_changes;
}

bool GL_Object::event(VEvent* event)
{
    if (ZYLObject::event(event))
        return true;
    VActionEvent* const action =
        actionevent::between(event, VActionEvent::GetWorldMatrix, VActionEvent::SetColor);
    if (!action)
        return false;
    switch (action->code()) {
    case VActionEvent::GetWorldMatrix: {
        geometry::Matrix4f world;
        hasTransform(world);
        *action->value<geometry::Matrix4f>() = world;
        break;
    }
    case VActionEvent::AddColor:
        m_color = geometry::Vector4f(m_color) + *action->value<geometry::Vector4f>();
        break;
    case VActionEvent::GetColor:
        *action->value<VColor>() = m_color;
        break;
    case VActionEvent::SetColor:
        m_color = *action->value<VColor>();
        break;
    default:
        return false;
    }
    action->accept();
    return true;
}

bool GL_Object::transformEvent(VEvent* event, geometry::Matrix4f& transform)
{
    if (!actionevent::changeMatrix(event, transform))
        return false;
    if (event->type() != VActionEvent::GetTransform)
        boundsChanged();
    return true;
}

VFormatIO& GL_Object::read(VFormatIO& io)
{
    GL_NamedObject::read(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QDataStream* const data = stream->dataStream();
    if (!data) {
        stream->read("color", m_color);
        stream->read("flags", m_flags);
        return io;
    }
    quint8 tag;
    while (zylfields::nextTag(*data, tag)) {
        if (tag == flagsTag) {
            zylfields::get(*data, m_flags);
            break;
        }
        if (tag != colorTag) {
            zylfields::putBack(*data, tag);
            break;
        }
        zylfields::get(*data, m_color);
    }
    return io;
}

VFormatIO& GL_Object::write(VFormatIO& io) const
{
    GL_NamedObject::write(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    const bool hasColor = m_color != VColor(0xFFFFFFFFu);
    const unsigned stored = m_flags & StoredMask;
    if (QDataStream* const data = stream->dataStream()) {
        if (hasColor) {
            *data << colorTag;
            zylfields::put(*data, m_color);
        }
        *data << flagsTag;
        zylfields::put(*data, stored);
        return io;
    }
    if (hasColor)
        zylfields::writeText(*stream, "color", m_color);
    // A shape doesn't start with the word 0, so without it would come back lit and filled.
    if (stored != 0 || m_kind == Kind::Shape)
        zylfields::writeText(*stream, "flags", VColor(stored)); // in hexadecimal, as a colour is
    return io;
}

// The tree

bool GL_Object::hasTransform(geometry::Matrix4f& matrix) const
{
    return m_parent && m_parent->hasTransform(matrix);
}

void GL_Object::bounds(geometry::Box3f& box) const
{
    box.makeEmpty();
}

void GL_Object::hit(GL_RenderEvent* event)
{
    draw(event);
}

bool GL_Object::shouldRender(GL_RenderEvent* event) const
{
    return event->pass <= 0;
}

GL_Object* GL_Object::identify(unsigned*, unsigned)
{
    return this;
}

bool GL_Object::drag(GL_Viewer*, const geometry::Vector2i&, const geometry::Vector2i&)
{
    return false;
}

// Drawing

void GL_Object::drawCircle(float radius, float z, int n)
{
    constexpr double turn = 2 * 3.14159265358979323846;
    glBegin(GL_LINE_LOOP);
    for (int i = 0; i < n; ++i) {
        const double t = i * turn / n;
        glVertex3f(radius * float(std::sin(t)), radius * float(std::cos(t)), z);
    }
    glEnd();
}

void GL_Object::drawBox(const geometry::Box3f& box)
{
    const Corners corners(box);
    corners.draw(GL_LINE_LOOP);
    glBegin(GL_LINES);
    for (const int end : {0, 3, 4, 7, 1, 6, 2, 5}) // the edges that the loop missed
        glVertex3fv(corners.at[end]);
    glEnd();
}

void GL_Object::drawHandles(const geometry::Box3f& box)
{
    Corners(box).draw(GL_POINTS);
}

// Extent

unsigned GL_Object::m_changes = 0;

void GL_Object::boundsChanged()
{
    ++m_changes;
    for (GL_Object* node = this; node && node->m_extent != Stale; node = node->m_parent)
        if (node->m_extent == Measured)
            node->m_extent = Stale;
}

/// Finds the sphere. What isn't `Stale` afterwards needs no other until `boundsChanged`.
void GL_Object::measure() const
{
    m_extent = Measured;
    switch (m_kind) {
    case Kind::Plain: {
        geometry::Box3f box;
        bounds(box);
        setSphere(middle(box), halfDiagonal(box));
        break;
    }
    case Kind::Shape: {
        const auto* const shape = static_cast<const GL_Shape*>(this);
        setSphere(middle(shape->m_bounds), halfDiagonal(shape->m_bounds), shape->m_transform);
        break;
    }
    case Kind::Group: {
        geometry::Vector3f center;
        float radius = 0;
        static_cast<const GL_Group*>(this)->measureChildren(center, radius);
        setSphere(center, radius);
        break;
    }
    case Kind::Joint:
        static_cast<const GL_Joint*>(this)->measureJoint();
        break;
    case Kind::Reference:
        // The target's changes don't reach here.
        static_cast<const GL_Reference*>(this)->measureTarget();
        m_extent = Stale;
        break;
    }
}

void GL_Object::setSphere(geometry::Vector3f center, float radius) const
{
    const float size = std::abs(center.x) + std::abs(center.y) + std::abs(center.z);
    radius += slack * (radius + size);
    const bool isFinite = radius < infinite; // which is false for what isn't a number
    m_center = isFinite ? center : geometry::Vector3f();
    m_radius = isFinite ? radius : infinite;
}

void GL_Object::setSphere(const geometry::Vector3f& center, float radius,
                          const geometry::Matrix4f& transform) const
{
    // What a perspective does to a sphere is none.
    setSphere(transform.map(center), transform.isAffine() ? radius * stretch(transform) : infinite);
}
