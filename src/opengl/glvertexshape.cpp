#include "opengl/glvertexshape.h"

#include "geometry/zylvectorarray.h"
#include "opengl/glactionevent_p.h"
#include "opengl/glcurve_p.h"
#include "opengl/glnamelist_p.h"
#include "opengl/glpoints_p.h"

#include <GL/gl.h>

#include <algorithm>

using geometry::GVector;
using geometry::GVectorArray;
using geometry::Vector3f;

const VMetaClass GL_VertexShape::metaClass("GL_VertexShape", &ZYLObject::factory,
                                           &GL_Shape::metaClass);

const VMetaClass* GL_VertexShape::metaObject() const
{
    return &metaClass;
}

GL_VertexShape::GL_VertexShape()
{
    vertices = GVectorArray(0, 3, unsigned(GVector::Float));
}

void GL_VertexShape::rebuild()
{
    setFlags(Rebuild, true);
    updateBounds();
}

void GL_VertexShape::updateBounds()
{
    geometry::Box3f box;
    for (const GVectorArray& array : pointArrays())
        box.include(GL_PointView(array).bounds());
    setShapeBounds(box);
}

template <class Move>
bool GL_VertexShape::movePoint(int index, Move move)
{
    if (index < 0)
        return false;
    unsigned at = unsigned(index);
    for (GVectorArray& array : pointArrays()) {
        const GL_PointView points(array);
        if (at < points.size()) {
            GL_PointView::replace(array, at, move(Vector3f(points[at])));
            rebuild();
            return true;
        }
        at -= points.size();
    }
    return false;
}

bool GL_VertexShape::event(VEvent* event)
{
    if (const geometry::Matrix4f* const matrix = pointTransform(event)) {
        auto* const action = static_cast<VActionEvent*>(event);
        if (movePoint(action->detail(),
                      [&](const Vector3f& point) { return transformed(point, *matrix); })) {
            action->accept();
            return true;
        }
    }
    return verticesEvent(event) || GL_Shape::event(event);
}

/// Tells all points, or takes as many as there are.
bool GL_VertexShape::verticesEvent(VEvent* event)
{
    VActionEvent* const action =
        actionevent::between(event, VActionEvent::GetVertices, VActionEvent::SetVertices);
    if (!action)
        return false;
    const bool isAsked = action->code() == VActionEvent::GetVertices;
    auto& value = *action->value<geometry::Vector3fArray>();
    std::vector<GVectorArray> arrays = pointArrays();
    unsigned count = 0;
    for (const GVectorArray& array : arrays)
        count += GL_PointView::count(array);
    if (isAsked)
        value = geometry::Vector3fArray(int(count));
    if (value.size() != count)
        return false;
    Vector3f* points = value.data();
    for (GVectorArray& array : arrays) {
        if (isAsked) {
            const GL_PointView view(array);
            std::copy_n(view.data(), view.size(), points);
        } else {
            GL_PointView::replace(array, points);
        }
        points += GL_PointView::count(array);
    }
    if (!isAsked)
        rebuild();
    action->accept();
    return true;
}

VFormatIO& GL_VertexShape::readMaterials(VFormatIO& io, int tag)
{
    VZylStream* const stream = VZylStream::get(io);
    QDataStream* const data = stream ? stream->dataStream() : nullptr;
    if (data) {
        quint8 found;
        if (!zylfields::nextTag(*data, found))
            return io;
        if (found != tag) {
            zylfields::putBack(*data, found);
            return io;
        }
    }
    return namelist::read(io, "materials", &GL_Scene::materials, m_materials);
}

VFormatIO& GL_VertexShape::writeMaterials(VFormatIO& io, int tag) const
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream || m_materials.isEmpty())
        return io;
    if (QDataStream* const data = stream->dataStream()) {
        *data << quint8(tag);
        return namelist::write(io, m_materials);
    }
    stream->begin("materials");
    namelist::write(io, m_materials);
    stream->end();
    return io;
}

void GL_VertexShape::init(GL_Scene*)
{
    updateBounds();
    setFlags(OpaqueFaces | TransparentFaces, false);
    for (const GL_Material* material : m_materials)
        if (material)
            setFlags(material->isTransparent() ? TransparentFaces : OpaqueFaces, true);
}

bool GL_VertexShape::shouldRender(GL_RenderEvent* event) const
{
    if (event->pass < 0)
        return true;
    if (m_materials.isEmpty())
        return GL_Shape::shouldRender(event);
    return event->pass == 0 ? testFlags(OpaqueFaces | Selected) : testFlags(TransparentFaces);
}

void GL_VertexShape::hit(GL_RenderEvent* event)
{
    if (!isSelected()) {
        const unsigned flags = event->flags;
        event->flags |= GL_RenderEvent::FillOnly;
        draw(event);
        event->flags = flags;
        return;
    }
    const GL_MatrixScope scope(event->traversal, transform());
    glEnableClientState(GL_VERTEX_ARRAY);
    glPushName(0);
    GLuint name = 0;
    for (const GVectorArray& array : pointArrays()) {
        const GL_PointView points(array);
        glVertexPointer(3, GL_FLOAT, 0, points.data());
        for (unsigned i = 0; i < points.size(); ++i) {
            glLoadName(name++);
            glDrawArrays(GL_POINTS, GLint(i), 1);
        }
    }
    glPopName();
    glDisableClientState(GL_VERTEX_ARRAY);
}

bool GL_VertexShape::drag(GL_Viewer* viewer, const geometry::Vector2i& from,
                          const geometry::Vector2i& to)
{
    const auto move = [&](const Vector3f& point) {
        return point + viewer->localVector(this, from, to, point);
    };
    return movePoint(pickedPart(this, viewer), move) || GL_Shape::drag(viewer, from, to);
}

void GL_VertexShape::drawHandles(GL_RenderEvent*)
{
    glEnableClientState(GL_VERTEX_ARRAY);
    for (const GVectorArray& array : pointArrays()) {
        const GL_PointView points(array);
        glVertexPointer(3, GL_FLOAT, 0, points.data());
        glDrawArrays(GL_POINTS, 0, GLsizei(points.size()));
    }
    glDisableClientState(GL_VERTEX_ARRAY);
}
