#pragma once

#include "geometry/zylvector.h"
#include "opengl/glmaterial.h"

#include <vector>

class GL_Shape;
struct GL_RenderEvent;

/// What a mesh sends to GL: vertices with one normal each, and runs of figures over them, each with
/// its material.
///
/// It is filled once, by a run after the other, and kept in buffers of the GL context that is
/// current at the first drawing; where the context has none, here. The context has to be current
/// at the end too.
class GL_MeshCache
{
public:
    struct Look {
        unsigned material = 0;
        bool offset = false;
        bool oneSided = false; // lit from the front alone
    };

    GL_MeshCache() = default;
    ~GL_MeshCache();
    GL_MeshCache(const GL_MeshCache&) = delete;
    GL_MeshCache& operator=(const GL_MeshCache&) = delete;

    // `points` and `texture` stay the caller's, until the end of filling.
    void begin(const geometry::Vector3f* points, unsigned count, bool textured, unsigned corners);
    /// Gives each point a colour, which shows where there is no light; points beyond are white.
    void setColors(const geometry::Vector4f* colors, unsigned count);
    /// What comes next is drawn by this mode of GL. Lists of figures of one look are drawn at once.
    void beginRun(unsigned mode, const Look& look, bool transparent);
    /// The number of a corner, which must be at one of the points; equal corners share one.
    unsigned corner(unsigned point, const geometry::Vector3f& normal,
                    const geometry::Vector2f& texture = geometry::Vector2f());
    /// A corner at a point of its own, in the colour that stands, if there are colours.
    void setColor(const geometry::Vector4f& color) { m_color = color; }
    unsigned corner(const geometry::Vector3f& point, const geometry::Vector3f& normal,
                    const geometry::Vector2f& texture);
    const geometry::Vector3f& point(unsigned corner) const { return m_vertices[corner].point; }
    const geometry::Vector3f& normal(unsigned corner) const { return m_vertices[corner].normal; }
    geometry::Vector2f texture(unsigned corner) const
    {
        return m_textured ? m_texture[corner] : geometry::Vector2f();
    }
    void add(unsigned corner) { m_indices.push_back(corner); }
    void end();

    bool isEmpty() const { return m_runs.empty(); }
    /// Draws what takes part in the event's pass. An empty vector of materials leaves the material
    /// of the shape to all.
    void draw(GL_RenderEvent* event, GL_Shape& shape, const GL_MaterialVector& materials);

private:
    struct Vertex {
        geometry::Vector3f point, normal;
    };
    struct Run {
        unsigned mode;
        Look look;
        bool transparent;
        std::size_t begin, end; // among the indices
    };

    void upload();

    std::vector<Vertex> m_vertices;
    std::vector<geometry::Vector2f> m_texture; // of each vertex
    std::vector<geometry::Vector4f> m_colors;  // likewise
    std::vector<unsigned> m_indices;
    std::vector<Run> m_runs;
    bool m_textured = false;
    bool m_uploaded = false;
    bool m_colored = false;
    unsigned m_buffers[4] = {}; // vertices, indices, texture coordinates, colours; 0 without

    // While it is filled
    const geometry::Vector3f* m_points = nullptr;
    const geometry::Vector4f* m_pointColors = nullptr;
    unsigned m_colorCount = 0;
    geometry::Vector4f m_color{1, 1, 1, 1};
    std::vector<unsigned> m_first; // corner at a point
    std::vector<unsigned> m_next;  // at the same point as a corner
};
