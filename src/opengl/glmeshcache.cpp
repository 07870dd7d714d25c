// For the buffers of OpenGL 1.5.
#define GL_GLEXT_PROTOTYPES

#include "opengl/glmeshcache_p.h"

#include "opengl/glrenderevent.h"
#include "opengl/glshape.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cstdlib>

using geometry::Vector2f;
using geometry::Vector3f;
using geometry::Vector4f;

namespace
{
constexpr unsigned none = ~0u;
// How many corners at a point are compared with a new one. A point of very many flat faces has as
// many normals, and looking through all of them each time would take for ever.
constexpr int mostCompared = 8;

bool hasBuffers()
{
    const auto* const version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    return version && std::atof(version) >= 1.5;
}

template <class T>
unsigned makeBuffer(GLenum target, std::vector<T>& data)
{
    GLuint name = 0;
    glGenBuffers(1, &name);
    glBindBuffer(target, name);
    glBufferData(target, GLsizeiptr(data.size() * sizeof(T)), data.data(), GL_STATIC_DRAW);
    glBindBuffer(target, 0);
    data = std::vector<T>();
    return name;
}

/// Where the arrays of a scope begin: in memory, or in a buffer, as an offset.
const void* place(const void* data, std::size_t offset)
{
    return reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(data) + offset);
}
} // namespace

GL_MeshCache::~GL_MeshCache()
{
    for (const unsigned& buffer : m_buffers)
        if (buffer)
            glDeleteBuffers(1, &buffer);
}

void GL_MeshCache::begin(const Vector3f* points, unsigned count, bool textured, unsigned corners)
{
    m_points = points;
    m_textured = textured;
    m_first.assign(count, none);
    m_vertices.reserve(count);
    m_next.reserve(count);
    m_indices.reserve(corners);
    if (textured)
        m_texture.reserve(count);
}

void GL_MeshCache::setColors(const Vector4f* colors, unsigned count)
{
    m_pointColors = colors;
    m_colorCount = count;
    m_colored = true;
}

void GL_MeshCache::beginRun(unsigned mode, const Look& look, bool transparent)
{
    const bool isList =
        mode == GL_POINTS || mode == GL_LINES || mode == GL_TRIANGLES || mode == GL_QUADS;
    if (!m_runs.empty()) {
        Run& last = m_runs.back();
        last.end = m_indices.size();
        if (isList && last.mode == mode && last.transparent == transparent &&
            last.look.material == look.material && last.look.offset == look.offset &&
            last.look.oneSided == look.oneSided)
            return;
        if (last.begin == last.end)
            m_runs.pop_back();
    }
    m_runs.push_back({mode, look, transparent, m_indices.size(), m_indices.size()});
}

unsigned GL_MeshCache::corner(unsigned point, const Vector3f& normal, const Vector2f& texture)
{
    int compared = 0;
    for (unsigned i = m_first[point]; i != none && compared < mostCompared; i = m_next[i]) {
        if (m_vertices[i].normal == normal && (!m_textured || m_texture[i] == texture))
            return i;
        ++compared;
    }
    const unsigned made = corner(m_points[point], normal, texture);
    if (m_colored && point < m_colorCount)
        m_colors.back() = m_pointColors[point];
    m_next[made] = m_first[point];
    m_first[point] = made;
    return made;
}

unsigned GL_MeshCache::corner(const Vector3f& point, const Vector3f& normal,
                              const Vector2f& texture)
{
    m_vertices.push_back({point, normal});
    m_next.push_back(none);
    if (m_textured)
        m_texture.push_back(texture);
    if (m_colored)
        m_colors.push_back(m_color);
    return unsigned(m_vertices.size() - 1);
}

void GL_MeshCache::end()
{
    if (!m_runs.empty()) {
        m_runs.back().end = m_indices.size();
        if (m_runs.back().begin == m_runs.back().end)
            m_runs.pop_back();
    }
    m_first = m_next = std::vector<unsigned>();
    m_points = nullptr;
}

void GL_MeshCache::upload()
{
    m_uploaded = true;
    if (!hasBuffers())
        return;
    m_buffers[0] = makeBuffer(GL_ARRAY_BUFFER, m_vertices);
    m_buffers[1] = makeBuffer(GL_ELEMENT_ARRAY_BUFFER, m_indices);
    if (m_textured)
        m_buffers[2] = makeBuffer(GL_ARRAY_BUFFER, m_texture);
    if (m_colored)
        m_buffers[3] = makeBuffer(GL_ARRAY_BUFFER, m_colors);
}

void GL_MeshCache::draw(GL_RenderEvent* event, GL_Shape& shape, const GL_MaterialVector& materials)
{
    if (m_runs.empty())
        return;
    if (!m_uploaded)
        upload();
    const bool buffered = m_buffers[0] != 0;

    // The arrays stay set as long as they are bound, so what draws in between may use its own.
    if (buffered) {
        glBindBuffer(GL_ARRAY_BUFFER, m_buffers[0]);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, m_buffers[1]);
    }
    glVertexPointer(3, GL_FLOAT, sizeof(Vertex), place(m_vertices.data(), offsetof(Vertex, point)));
    glNormalPointer(GL_FLOAT, sizeof(Vertex), place(m_vertices.data(), offsetof(Vertex, normal)));
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    if (m_textured) {
        if (buffered)
            glBindBuffer(GL_ARRAY_BUFFER, m_buffers[2]);
        glTexCoordPointer(2, GL_FLOAT, 0, m_texture.data());
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    }
    if (m_colored) {
        if (buffered)
            glBindBuffer(GL_ARRAY_BUFFER, m_buffers[3]);
        glColorPointer(4, GL_FLOAT, 0, m_colors.data());
        glEnableClientState(GL_COLOR_ARRAY);
    }
    if (buffered)
        glBindBuffer(GL_ARRAY_BUFFER, 0);

    const bool plain = event->traversal.isSelecting() || (event->flags & GL_RenderEvent::FillOnly);
    bool offset = false, generating = false;
    for (const Run& run : m_runs) {
        if (!materials.isEmpty() && event->pass >= 0 && run.transparent != (event->pass > 0))
            continue;
        if (!materials.isEmpty() && !plain) {
            GL_Material* const material =
                run.look.material < materials.size() ? materials[run.look.material] : nullptr;
            if (!material) {
                event->material = nullptr;
                event->defaultMaterial.setDiffuse(geometry::Vector4f(shape.color()));
                event->defaultMaterial.draw(event);
            } else if (material != event->material) {
                event->material = material;
                material->draw(event);
            }
        }
        const bool generate = !m_textured && !plain && event->state.isEnabled(GL_State::Texture2D);
        if (generate != generating)
            shape.autoTextureGen(generating = generate);
        if (run.look.offset != offset) {
            offset = run.look.offset;
            (offset ? glEnable : glDisable)(GL_POLYGON_OFFSET_FILL);
        }
        GLint twoSided = 0;
        if (run.look.oneSided) {
            glGetIntegerv(GL_LIGHT_MODEL_TWO_SIDE, &twoSided);
            glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 0);
        }
        glDrawElements(run.mode, GLsizei(run.end - run.begin), GL_UNSIGNED_INT,
                       place(m_indices.data(), run.begin * sizeof(unsigned)));
        if (twoSided)
            glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, twoSided);
    }
    if (generating)
        shape.autoTextureGen(false);
    if (offset)
        glDisable(GL_POLYGON_OFFSET_FILL);
    glDisableClientState(GL_VERTEX_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    if (m_textured)
        glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    if (m_colored)
        glDisableClientState(GL_COLOR_ARRAY);
    if (buffered)
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
}
