#include "opengl/glnurbspatch_p.h"

#include "geometry/zylbspline.h"
#include "opengl/glnurbsfile_p.h"
#include "opengl/glpoints_p.h"
#include "opengl/glshape.h"
#include "opengl/glviewer.h"

#include <GL/glu.h>

#include <algorithm>
#include <cmath>

using geometry::GVector;
using geometry::GVectorArray;
using geometry::Vector2f;
using geometry::Vector3f;
using geometry::Vector4f;

namespace
{
constexpr int mostOrder = 24;          // that GLU takes
constexpr std::size_t mostEntries = 4; // views kept
// How many steps GLU may take along a patch, and over all of a shape: each makes some ten vertices.
// GLU itself knows no end, so that a surface close to the eye would take minutes.
constexpr double mostSteps = 4096;
constexpr double mostCells = 1 << 15;

/// What GLU's code takes: it fails on much else in ways of its own.
bool isUsable(const float* numbers, std::size_t count)
{
    return std::all_of(numbers, numbers + count, [](float f) { return std::fabs(f) < 1e30f; });
}

/// Given or clamped knots of one direction; false where they don't do.
bool makeKnots(int order, int count, const VMemArray<float>& given, std::vector<float>& knots)
{
    if (order < 2 || order > mostOrder || count < order)
        return false;
    if (given.size() == 0) {
        knots.resize(std::size_t(order) + std::size_t(count));
        geometry::BSpline::initKnot(order, count, false, knots.data());
        return true;
    }
    if (given.size() < std::size_t(order) + std::size_t(count))
        return false;
    knots.assign(given.begin(), given.begin() + (order + count));
    return isUsable(knots.data(), knots.size()) && std::is_sorted(knots.begin(), knots.end()) &&
           knots[std::size_t(order) - 1] < knots[std::size_t(count)];
}

void ignoreError(GLenum) {}
} // namespace

// GL_NurbsView

GL_NurbsView::GL_NurbsView(GL_RenderEvent* event) : modelView(event->traversal.matrix())
{
    // What is known here spares reading GL's state back.
    if (!event->viewer) {
        glGetFloatv(GL_PROJECTION_MATRIX, projection.m[0]);
        glGetIntegerv(GL_VIEWPORT, viewport.data());
        return;
    }
    const GL_Viewport& view = event->viewer->viewport();
    const auto f = [](double value) { return float(value); };
    const bool perspective = event->viewer->testFlags(GL_Viewer::Perspective);
    const auto make = perspective ? &geometry::Matrix4f::frustum : &geometry::Matrix4f::ortho;
    (projection.*make)(f(view.left), f(view.right), f(view.bottom), f(view.top), f(view.near),
                       f(view.far));
    viewport = {view.x, view.y, view.width, view.height};
}

// GL_NurbsPatch

bool GL_NurbsPatch::set(const GVectorArray& vertices, int orderU, int orderV, int countU,
                        int countV, const VMemArray<float>& knotsU, const VMemArray<float>& knotsV)
{
    if (vertices.type() == GVector::Bytes || countU < 1 || countV < 1 ||
        vertices.size() / unsigned(countU) < unsigned(countV) ||
        !makeKnots(orderU, countU, knotsU, m_knotsU) ||
        !makeKnots(orderV, countV, knotsV, m_knotsV))
        return false;
    m_countU = countU;
    m_countV = countV;
    const GVectorArray floats = vertices.toFloatArray();
    const int dimension = floats.dimension();
    const int weight = GL_PointView::weightIndex(dimension, vertices.flags());
    const int given = std::min(weight < 0 ? dimension : weight, 3);
    const std::size_t count = std::size_t(countU) * std::size_t(countV);
    m_width = weight < 0 ? 3 : 4;
    m_points.assign(count * std::size_t(m_width), 0);
    const float* from = reinterpret_cast<const float*>(floats.data());
    for (float* to = m_points.data(); to != m_points.data() + m_points.size(); to += m_width) {
        std::copy_n(from, given, to);
        if (weight >= 0)
            to[3] = from[weight];
        from += dimension;
    }
    return isUsable(m_points.data(), m_points.size());
}

// GL_NurbsTessellator

struct GL_NurbsTessellator::Callbacks {
    using Function = void (*)();

    static GL_NurbsTessellator& self(void* data)
    {
        return *static_cast<GL_NurbsTessellator*>(data);
    }
    static void begin(GLenum mode, void* data)
    {
        self(data).m_mode = mode;
        self(data).m_corners.clear();
    }
    static void normal(GLfloat* n, void* data) { self(data).m_normal = Vector3f(n[0], n[1], n[2]); }
    static void texture(GLfloat* t, void* data) { self(data).m_texture = Vector2f(t[0], t[1]); }
    static void vertex(GLfloat* p, void* data)
    {
        GL_NurbsTessellator& to = self(data);
        to.m_corners.push_back(
            to.m_cache.corner(Vector3f(p[0], p[1], p[2]), to.m_normal, to.m_texture));
    }
    static void end(void* data) { self(data).endFigure(); }
};

void GL_NurbsTessellator::DeleteRenderer::operator()(GLUnurbs* renderer) const
{
    gluDeleteNurbsRenderer(renderer);
}

GL_NurbsTessellator::GL_NurbsTessellator(GL_MeshCache& cache, const GL_NurbsView& view,
                                         const GL_NurbsSampling& sampling, unsigned patches)
    : m_cache(cache), m_renderer(gluNewNurbsRenderer()), m_view(view), m_sampling(sampling),
      m_mostCells(std::max(mostCells / std::max(patches, 1u), 4.0))
{
    GLUnurbs* const renderer = m_renderer.get();
    if (!renderer)
        return;
    gluNurbsProperty(renderer, GLU_NURBS_MODE, GLU_NURBS_TESSELLATOR);
    const auto set = [&](GLenum which, auto function) {
        gluNurbsCallback(renderer, which, reinterpret_cast<Callbacks::Function>(function));
    };
    set(GLU_ERROR, &ignoreError);
    set(GLU_NURBS_BEGIN_DATA, &Callbacks::begin);
    set(GLU_NURBS_NORMAL_DATA, &Callbacks::normal);
    set(GLU_NURBS_TEXTURE_COORD_DATA, &Callbacks::texture);
    set(GLU_NURBS_VERTEX_DATA, &Callbacks::vertex);
    set(GLU_NURBS_END_DATA, &Callbacks::end);
    gluNurbsCallbackData(renderer, this);
    if (sampling.parametricTolerance != 0.5f)
        gluNurbsProperty(renderer, GLU_PARAMETRIC_TOLERANCE, sampling.parametricTolerance);
    gluNurbsProperty(renderer, GLU_AUTO_LOAD_MATRIX, 0);
    gluLoadSamplingMatrices(renderer, view.modelView.m[0], view.projection.m[0],
                            view.viewport.data());
}

GL_NurbsTessellator::~GL_NurbsTessellator() = default;

/// Sets the measures so that the patch comes to an end.
void GL_NurbsTessellator::limit(const GL_NurbsPatch& patch)
{
    const geometry::Matrix4f toClip = m_view.modelView * m_view.projection;
    const std::size_t countU = std::size_t(patch.m_countU), countV = std::size_t(patch.m_countV);
    std::vector<Vector4f> pixels(countU * countV);
    const float* from = patch.m_points.data();
    for (Vector4f& pixel : pixels) {
        const Vector4f clip =
            Vector4f(from[0], from[1], from[2], patch.m_width == 4 ? from[3] : 1) * toClip;
        pixel = Vector4f(clip.x / clip.w * float(m_view.viewport[2]) / 2,
                         clip.y / clip.w * float(m_view.viewport[3]) / 2, 0, clip.w);
        from += patch.m_width;
    }
    // As GLU, which goes by the longest edge beside a piece, if all of it is before the eye, or
    // behind.
    const auto length = [&](std::size_t steps, std::size_t step, std::size_t lines,
                            std::size_t line) {
        double sum = 0;
        for (std::size_t i = 0; i + 1 < steps; ++i) {
            double longest = 0;
            for (std::size_t k = 0; k < lines; ++k) {
                const Vector4f& a = pixels[i * step + k * line];
                const Vector4f& b = pixels[(i + 1) * step + k * line];
                if ((a.w > 0) == (b.w > 0))
                    longest = std::max(
                        longest, std::hypot(double(a.x) - double(b.x), double(a.y) - double(b.y)));
            }
            sum += longest;
        }
        return std::min(sum, 1e18);
    };
    const double u = length(countU, 1, countV, countU);
    const double v = length(countV, countU, countU, 1);
    const double steps = std::min(mostSteps, m_mostCells);
    const double least = std::max({std::sqrt(u * v / m_mostCells), u / steps, v / steps, 0.01});
    const float tolerance =
        m_sampling.tolerance > float(least) ? m_sampling.tolerance : float(least);
    GLUnurbs* const renderer = m_renderer.get();
    // A renderer that served another patch has its values.
    gluNurbsProperty(renderer, GLU_SAMPLING_TOLERANCE, tolerance);

    // These count where a piece reaches through the plane of the eye.
    const double pieces = double(countU - std::size_t(patch.orderU()) + 1) *
                          double(countV - std::size_t(patch.orderV()) + 1);
    const int most = std::max(2, int(std::sqrt(8 * m_mostCells / pieces)));
    gluNurbsProperty(renderer, GLU_U_STEP, float(qBound(2, m_sampling.stepU, most)));
    gluNurbsProperty(renderer, GLU_V_STEP, float(qBound(2, m_sampling.stepV, most)));
}

void GL_NurbsTessellator::add(GL_NurbsPatch& patch)
{
    GLUnurbs* const renderer = m_renderer.get();
    if (!renderer)
        return;
    limit(patch);
    const int orderU = patch.orderU(), orderV = patch.orderV();
    std::vector<float>& u = patch.m_knotsU;
    std::vector<float>& v = patch.m_knotsV;
    gluBeginSurface(renderer);
    // GLU wants the texture first: what comes with the vertices is drawn.
    if (patch.m_texture.size() == std::size_t(patch.m_countU) * std::size_t(patch.m_countV)) {
        gluNurbsSurface(renderer, GLint(u.size()), u.data(), GLint(v.size()), v.data(), 2,
                        2 * patch.m_countU, &patch.m_texture[0].x, orderU, orderV,
                        GL_MAP2_TEXTURE_COORD_2);
    } else {
        GLfloat corners[2][2][2] = {{{0, 0}, {0, 1}}, {{1, 0}, {1, 1}}};
        const GLfloat fromS = u[std::size_t(orderU) - 1], toS = u[std::size_t(patch.m_countU)];
        const GLfloat fromT = v[std::size_t(orderV) - 1], toT = v[std::size_t(patch.m_countV)];
        GLfloat s[4] = {fromS, fromS, toS, toS};
        GLfloat t[4] = {fromT, fromT, toT, toT};
        gluNurbsSurface(renderer, 4, s, 4, t, 4, 2, corners[0][0], 2, 2, GL_MAP2_TEXTURE_COORD_2);
    }
    gluNurbsSurface(renderer, GLint(u.size()), u.data(), GLint(v.size()), v.data(), patch.m_width,
                    patch.m_width * patch.m_countU, patch.m_points.data(), orderU, orderV,
                    patch.m_width == 4 ? GL_MAP2_VERTEX_4 : GL_MAP2_VERTEX_3);
    if (patch.m_trims) {
        for (const geometry::NurbsCurve* trim : *patch.m_trims)
            if (trim)
                addTrim(*trim);
    }
    gluEndSurface(renderer);
}

void GL_NurbsTessellator::addTrim(const geometry::NurbsCurve& trim)
{
    GLUnurbs* const renderer = m_renderer.get();
    const GVectorArray plane = trim.vertices.toFloatArray();
    const int width = plane.dimension();
    auto* const numbers = reinterpret_cast<GLfloat*>(plane.data());
    if (plane.type() != GVector::Float || (width != 2 && width != 3) ||
        !isUsable(numbers, std::size_t(plane.size()) * std::size_t(width)))
        return;
    const bool isPolyline = trim.order <= 2 && width == 2 && plane.size() > 1;
    std::vector<float> knots;
    if (!isPolyline && !makeKnots(trim.order, int(plane.size()),
                                  nurbsfile::toFloats(trim.knots, trim.vertices.flags()), knots))
        return;
    gluBeginTrim(renderer);
    if (isPolyline)
        gluPwlCurve(renderer, GLint(plane.size()), numbers, 2, GLU_MAP1_TRIM_2);
    else
        gluNurbsCurve(renderer, GLint(knots.size()), knots.data(), width, numbers, trim.order,
                      width == 3 ? GLU_MAP1_TRIM_3 : GLU_MAP1_TRIM_2);
    gluEndTrim(renderer);
}

/// Takes the figure apart, each part with the last corner that it had, whose light a flat one
/// shows.
void GL_NurbsTessellator::endFigure()
{
    const std::vector<unsigned>& c = m_corners;
    const auto triangle = [&](std::size_t i, std::size_t j, std::size_t k) {
        m_triangles.insert(m_triangles.end(), {c[i], c[j], c[k]});
    };
    const auto quad = [&](std::size_t i, std::size_t j, std::size_t k, std::size_t l) {
        m_quads.insert(m_quads.end(), {c[i], c[j], c[k], c[l]});
    };
    const std::size_t size = c.size();
    switch (m_mode) {
    case GL_TRIANGLES:
        for (std::size_t i = 0; i + 2 < size; i += 3)
            triangle(i, i + 1, i + 2);
        break;
    case GL_TRIANGLE_STRIP:
        for (std::size_t i = 0; i + 2 < size; ++i)
            triangle(i + (i & 1), i + 1 - (i & 1), i + 2);
        break;
    case GL_TRIANGLE_FAN:
    case GL_POLYGON:
        for (std::size_t i = 0; i + 2 < size; ++i)
            triangle(0, i + 1, i + 2);
        break;
    case GL_QUADS:
        for (std::size_t i = 0; i + 3 < size; i += 4)
            quad(i, i + 1, i + 2, i + 3);
        break;
    case GL_QUAD_STRIP:
        for (std::size_t i = 0; i + 3 < size; i += 2)
            quad(i + 2, i, i + 1, i + 3);
        break;
    }
}

void GL_NurbsTessellator::endRun(const GL_MeshCache::Look& look, bool transparent)
{
    const auto add = [&](unsigned mode, std::vector<unsigned>& corners) {
        if (corners.empty())
            return;
        m_cache.beginRun(mode, look, transparent);
        for (const unsigned corner : corners)
            m_cache.add(corner);
        corners.clear();
    };
    add(GL_TRIANGLES, m_triangles);
    add(GL_QUADS, m_quads);
}

// GL_NurbsCache

bool GL_NurbsCache::find(const GL_NurbsView& view)
{
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](const Entry& entry) { return entry.view == view; });
    if (found == m_entries.end())
        return false;
    std::rotate(m_entries.begin(), found, found + 1);
    return true;
}

void GL_NurbsCache::insert(Entry entry)
{
    if (m_entries.size() == mostEntries)
        m_entries.pop_back();
    m_entries.insert(m_entries.begin(), std::move(entry));
}

void GL_NurbsCache::drawFirst(GL_RenderEvent* event, GL_Shape& shape,
                              const GL_MaterialVector& materials)
{
    // A surface is shown by outlines where it isn't filled, also where others show points.
    if (shape.style() == GL_Shape::Points && !(event->flags & GL_RenderEvent::FillOnly))
        event->state.setPolygonMode(GL_LINE);
    m_entries.front().cache->draw(event, shape, materials);
}
