#include "opengl/gltextglyph.h"

#include "geometry/zylcontour.h"
#include "opengl/glpath_p.h"

#include <algorithm>
#include <cmath>

using geometry::Vector2f;
using geometry::Vector3f;

namespace
{
constexpr float smoothCosine = 0.8f; // of the angle between two lines of a curve

double doubleArea(const Vector2f* begin, const Vector2f* end)
{
    double sum = 0;
    for (const Vector2f* p = begin; p != end; ++p) {
        const Vector2f& next = p + 1 == end ? *begin : p[1];
        sum += double(p->x) * next.y - double(p->y) * next.x;
    }
    return sum;
}

/// Cuts a path into outlines of lines. Points that repeat the one before are left out.
class Flattener
{
public:
    explicit Flattener(GL_Glyph::Shape& shape) : m_shape(shape) {}

    void run(const geometry::GeneralPath2f& outline, int steps)
    {
        const GL_Path path(outline, steps);
        for (const GL_Path::Segment& segment : path.segments()) {
            if (segment.startsSubpath)
                finish();
            for (unsigned i = segment.begin; i < segment.end; ++i)
                add(Vector2f(path.points()[i].at.x, path.points()[i].at.y));
        }
        finish();
    }

private:
    std::size_t begin() const { return m_shape.ends.empty() ? 0 : m_shape.ends.back(); }

    void add(const Vector2f& point)
    {
        if (m_shape.points.size() == begin() || m_shape.points.back() != point)
            m_shape.points.push_back(point);
    }
    void finish()
    {
        std::vector<Vector2f>& points = m_shape.points;
        while (points.size() > begin() + 1 && points.back() == points[begin()])
            points.pop_back();
        if (points.size() < begin() + 3)
            points.resize(begin());
        else
            m_shape.ends.push_back(unsigned(points.size()));
    }

    GL_Glyph::Shape& m_shape;
};

geometry::GeneralPath2f boxOutline()
{
    // A frame: the inner rectangle runs against the outer one.
    constexpr float corners[][2] = {{0.08f, 0},     {0.08f, 0.7f},  {0.52f, 0.7f},  {0.52f, 0},
                                    {0.14f, 0.06f}, {0.46f, 0.06f}, {0.46f, 0.64f}, {0.14f, 0.64f}};
    geometry::GeneralPath2f path;
    path.setWindingRule(geometry::NonZeroRule);
    for (int i = 0; i < 8; ++i) {
        if (i % 4 == 0)
            path.moveTo(corners[i]);
        else
            path.lineTo(corners[i]);
        if (i % 4 == 3)
            path.closePath();
    }
    return path;
}
} // namespace

GL_Glyph::GL_Glyph(const geometry::GeneralPath2f& outline, float advance, unsigned index)
    : m_outline(outline), m_advance(advance), m_index(index)
{
    if (!isBlank())
        m_outline.bounds(m_bounds);
}

GL_Glyph::~GL_Glyph() = default;

const GL_Glyph& GL_Glyph::box()
{
    static const GL_Glyph glyph(boxOutline(), 0.6f);
    return glyph;
}

template <class T, class Make>
const T& GL_Glyph::kept(Kept<T>& all, int steps, Make make)
{
    for (const auto& [known, one] : all)
        if (known == steps)
            return *one;
    auto made = std::make_unique<T>();
    make(*made);
    all.emplace_back(steps, std::move(made));
    return *all.back().second;
}

const GL_Glyph::Shape& GL_Glyph::shape(int steps) const
{
    steps = std::clamp(steps, 2, mostSteps);
    return kept(m_shapes, steps, [&](Shape& shape) { makeShape(shape, steps); });
}

const GL_Glyph::Solid& GL_Glyph::solid(int steps) const
{
    steps = std::clamp(steps, 2, mostSteps);
    return kept(m_solids, steps, [&](Solid& solid) { makeSolid(solid, steps); });
}

void GL_Glyph::makeShape(Shape& shape, int steps) const
{
    Flattener(shape).run(m_outline, steps);
    if (shape.ends.empty())
        return;

    // Fonts of one kind have the inside at the left of their outlines, those of the other at the
    // right.
    const Vector2f* const data = shape.points.data();
    double area = doubleArea(data, data + shape.ends[0]);
    for (std::size_t i = 1; i < shape.ends.size(); ++i)
        area += doubleArea(data + shape.ends[i - 1], data + shape.ends[i]);
    if (area < 0) {
        area = -area;
        unsigned begin = 0;
        for (const unsigned end : shape.ends) {
            std::reverse(shape.points.begin() + begin, shape.points.begin() + end);
            begin = end;
        }
    }

    geometry::ContourDecomposer decomposer;
    const auto rule = geometry::WindingRule(m_outline.windingRule());
    if (!decomposer.decompose(shape.points.data(), shape.ends.data(), unsigned(shape.ends.size()),
                              rule))
        return;
    for (unsigned i = 0; i < decomposer.crossingCount(); ++i) {
        const geometry::Vector3f& crossing = decomposer.crossings()[i].point;
        shape.points.push_back(Vector2f(crossing.x, crossing.y));
    }
    shape.triangles.assign(decomposer.corners(), decomposer.corners() + decomposer.cornerCount());

    // An outline that runs the wrong way round takes from the sum what the triangles cover.
    double covered = 0;
    for (std::size_t i = 0; i < shape.triangles.size(); i += 3) {
        const Vector2f corners[3] = {shape.points[shape.triangles[i]],
                                     shape.points[shape.triangles[i + 1]],
                                     shape.points[shape.triangles[i + 2]]};
        covered += doubleArea(corners, corners + 3);
    }
    shape.isOriented = std::abs(covered - area) <= 1e-3 * area;
}

void GL_Glyph::makeSolid(Solid& solid, int steps) const
{
    const Shape& flat = shape(steps);
    solid.isClosed = flat.isOriented;
    const auto addVertex = [&solid](const Vector2f& p, float z, const Vector3f& normal) {
        solid.vertices.push_back({Vector3f(p.x, p.y, z), normal});
        return unsigned(solid.vertices.size() - 1);
    };
    const unsigned count = unsigned(flat.points.size());
    for (const float z : {1.0f, 0.0f})
        for (const Vector2f& p : flat.points)
            addVertex(p, z, Vector3f(0, 0, z > 0 ? 1 : -1));
    solid.triangles = flat.triangles;
    solid.frontCount = unsigned(solid.triangles.size());
    for (auto it = flat.triangles.rbegin(); it != flat.triangles.rend(); ++it)
        solid.triangles.push_back(count + *it);

    unsigned begin = 0;
    for (const unsigned end : flat.ends) {
        const unsigned lines = end - begin;
        const auto at = [&](unsigned i) { return flat.points[begin + i % lines]; };
        const auto outward = [&](unsigned i) {
            const Vector2f along = at(i + 1) - at(i);
            return normalize(Vector2f(along.y, -along.x));
        };
        for (unsigned i = 0; i < lines; ++i) {
            const Vector2f normal = outward(i);
            // A curve is smooth, and a corner isn't.
            const auto towards = [&normal](const Vector2f& other) {
                const Vector2f n =
                    dot(normal, other) > smoothCosine ? normalize(normal + other) : normal;
                return Vector3f(n.x, n.y, 0);
            };
            const Vector3f first = towards(outward(i + lines - 1)), last = towards(outward(i + 1));
            const unsigned corners[4] = {addVertex(at(i), 0, first), addVertex(at(i + 1), 0, last),
                                         addVertex(at(i + 1), 1, last), addVertex(at(i), 1, first)};
            for (const int corner : {0, 1, 2, 0, 2, 3})
                solid.triangles.push_back(corners[corner]);
        }
        begin = end;
    }
}
