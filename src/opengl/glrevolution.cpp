#include "opengl/glrevolution_p.h"

#include <GL/gl.h>

#include <cmath>
#include <vector>

namespace
{
constexpr double pi = 3.14159265358979323846;
constexpr int mostVertices = 0x10000; // of what one array of short indices can name

struct Vertex {
    float texture[2];
    float normal[3];
    float point[3];
};

/// What is worth keeping from one surface to the next, as they come in runs of equal ones.
struct Scratch {
    struct Turn {
        int columns = 0;
        double start = 0;
        double sweep = 0;
        bool operator==(const Turn& other) const
        {
            return columns == other.columns && start == other.start && sweep == other.sweep;
        }
    };
    struct Grid {
        int columns = 0;
        int rows = 0;
        GL_Revolution::Cells cells = GL_Revolution::Rising;
        bool startsInPoint = false;
        bool endsInPoint = false;
        bool operator==(const Grid& other) const
        {
            return columns == other.columns && rows == other.rows && cells == other.cells &&
                   startsInPoint == other.startsInPoint && endsInPoint == other.endsInPoint;
        }
    };

    void setTurn(const Turn& wanted);
    void setGrid(const Grid& wanted);

    Turn turn;
    std::vector<float> sines, cosines;
    Grid grid;
    std::vector<GLushort> indices;
    std::vector<Vertex> vertices;
};

void Scratch::setTurn(const Turn& wanted)
{
    if (turn == wanted)
        return;
    turn = wanted;
    const int n = turn.columns;
    sines.resize(std::size_t(n) + 1);
    cosines.resize(std::size_t(n) + 1);
    for (int i = 0; i <= n; ++i) {
        const double angle = (turn.start + turn.sweep * i / n) * (pi / 180);
        sines[std::size_t(i)] = float(std::sin(angle));
        cosines[std::size_t(i)] = float(std::cos(angle));
    }
    // A full turn ends exactly where it began, or a gap would show.
    if (turn.sweep == 360) {
        sines.back() = sines.front();
        cosines.back() = cosines.front();
    }
}

void Scratch::setGrid(const Grid& wanted)
{
    if (grid == wanted)
        return;
    grid = wanted;
    indices.clear();
    const int width = grid.columns + 1;
    for (int row = 0; row + 1 < grid.rows; ++row) {
        const bool fromPoint = row == 0 && grid.startsInPoint;
        const bool toPoint = row + 2 == grid.rows && grid.endsInPoint;
        for (int column = 0; column < grid.columns; ++column) {
            const GLushort low = GLushort(row * width + column), lowNext = GLushort(low + 1);
            const GLushort high = GLushort(low + width), highNext = GLushort(high + 1);
            // The last corner of each triangle gives a flat one its colour: all around a point it
            // has to be one of the circle.
            const auto triangle = [this](GLushort a, GLushort b, GLushort c) {
                indices.insert(indices.end(), {a, b, c});
            };
            if (fromPoint && toPoint)
                continue;
            if (fromPoint) {
                triangle(low, high, highNext);
            } else if (toPoint) {
                triangle(highNext, lowNext, low);
            } else if (grid.cells == GL_Revolution::Rising) {
                triangle(lowNext, low, highNext);
                triangle(low, high, highNext);
            } else {
                triangle(highNext, lowNext, high);
                triangle(lowNext, low, high);
            }
        }
    }
}

Scratch& scratch()
{
    static thread_local Scratch kept;
    return kept;
}

/// Sends the vertices from here on until the end of the scope.
class ArrayScope
{
public:
    ArrayScope(const Vertex* vertices, bool textured) : m_textured(textured)
    {
        glEnableClientState(GL_VERTEX_ARRAY);
        glEnableClientState(GL_NORMAL_ARRAY);
        glVertexPointer(3, GL_FLOAT, sizeof(Vertex), vertices->point);
        glNormalPointer(GL_FLOAT, sizeof(Vertex), vertices->normal);
        if (m_textured) {
            glEnableClientState(GL_TEXTURE_COORD_ARRAY);
            glTexCoordPointer(2, GL_FLOAT, sizeof(Vertex), vertices->texture);
        }
    }
    ~ArrayScope()
    {
        glDisableClientState(GL_VERTEX_ARRAY);
        glDisableClientState(GL_NORMAL_ARRAY);
        if (m_textured)
            glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    }
    ArrayScope(const ArrayScope&) = delete;
    ArrayScope& operator=(const ArrayScope&) = delete;

private:
    bool m_textured;
};
} // namespace

GL_Revolution::GL_Revolution(int columns, Texture texture, bool inside, double startAngle,
                             double sweepAngle)
    : m_columns(columns), m_texture(texture), m_inside(inside)
{
    scratch().setTurn({columns, startAngle, sweepAngle});
    scratch().vertices.clear();
}

void GL_Revolution::add(const Row& row)
{
    Scratch& s = scratch();
    const std::size_t first = s.vertices.size(), width = std::size_t(m_columns) + 1;
    s.vertices.resize(first + width);
    Vertex* const to = s.vertices.data() + first;
    const float sign = m_inside ? -1 : 1;
    const float radius = float(row.radius), z = float(row.z);
    const float normalRadius = sign * float(row.normalRadius), normalZ = sign * float(row.normalZ);
    const float t = float(row.t);
    for (std::size_t i = 0; i < width; ++i) {
        const float sine = s.sines[i], cosine = s.cosines[i];
        to[i].point[0] = radius * sine;
        to[i].point[1] = radius * cosine;
        to[i].point[2] = z;
        to[i].normal[0] = normalRadius * sine;
        to[i].normal[1] = normalRadius * cosine;
        to[i].normal[2] = normalZ;
    }
    if (m_texture == Around) {
        for (std::size_t i = 0; i < width; ++i) {
            to[i].texture[0] = 1 - float(i) / float(m_columns);
            to[i].texture[1] = t;
        }
    } else if (m_texture == Plane) {
        for (std::size_t i = 0; i < width; ++i) {
            to[i].texture[0] = t * s.sines[i] + 0.5f;
            to[i].texture[1] = t * s.cosines[i] + 0.5f;
        }
    }
    ++m_rows;
}

bool GL_Revolution::isFull() const
{
    return (m_rows + 1) * (m_columns + 1) > mostVertices;
}

void GL_Revolution::flush(Cells cells)
{
    Scratch& s = scratch();
    if (m_rows > 1) {
        const ArrayScope arrays(s.vertices.data(), m_texture != None);
        if (cells == Whole)
            drawStrips();
        else
            drawTriangles(cells);
    }
    s.vertices.clear();
    m_rows = 0;
}

void GL_Revolution::drawTriangles(Cells cells) const
{
    Scratch& s = scratch();
    // Sine and cosine are never both 0, so that one vertex tells of the whole row.
    const auto isPoint = [&s](std::size_t vertex) {
        return s.vertices[vertex].point[0] == 0 && s.vertices[vertex].point[1] == 0;
    };
    const std::size_t lastRow = std::size_t(m_rows - 1) * std::size_t(m_columns + 1);
    s.setGrid({m_columns, m_rows, cells, isPoint(0), isPoint(lastRow)});
    glDrawElements(GL_TRIANGLES, GLsizei(s.indices.size()), GL_UNSIGNED_SHORT, s.indices.data());
}

void GL_Revolution::drawStrips() const
{
    const int width = m_columns + 1;
    for (int column = 0; column < m_columns; ++column) {
        glBegin(GL_QUAD_STRIP);
        for (int row = 0; row < m_rows; ++row) {
            glArrayElement(row * width + column + 1);
            glArrayElement(row * width + column);
        }
        glEnd();
    }
}
