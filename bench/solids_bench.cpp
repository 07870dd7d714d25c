// Contours cut into triangles against GLU's tessellator, and the normals of a large mesh.

#include "geometry/zylcontour.h"
#include "geometry/zyltrianglemesh.h"

#include "ratio.h"

#include <GL/glu.h>

#include <array>
#include <cmath>
#include <ctime>

using namespace geometry;

namespace
{
/// A wavy outline of 6000 points, and 40 holes in it of 100 each.
Contour outlineWithHoles()
{
    Contour contour;
    const auto add = [&](double x, double y, double radius, int count) {
        std::vector<Vector2f> points;
        for (int i = 0; i < count; ++i) {
            const double a = i * 2 * M_PI / count;
            const double r = radius * (1 + 0.2 * std::sin(i * 1.7) * std::cos(i * 0.31));
            points.emplace_back(float(x + r * std::cos(a)), float(y + r * std::sin(a)));
        }
        contour.add(points.data(), unsigned(points.size()));
    };
    add(0, 0, 12, 6000);
    for (int i = 0; i < 40; ++i)
        add(1.8 * (i % 7 - 3), 1.8 * (i / 7 - 2.5), 0.6, 100);
    return contour;
}

/// GLU's way: points as doubles, and a callback for each corner.
class GluTriangles
{
public:
    GluTriangles() : m_tess(gluNewTess())
    {
        gluTessProperty(m_tess, GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_ODD);
        gluTessNormal(m_tess, 0, 0, 1);
        set(
            GLU_TESS_BEGIN_DATA, +[](GLenum, void*) {});
        set(
            GLU_TESS_END_DATA, +[](void*) {});
        // Asks for single triangles.
        set(
            GLU_TESS_EDGE_FLAG_DATA, +[](GLboolean, void*) {});
        set(
            GLU_TESS_VERTEX_DATA, +[](void* vertex, void* self) {
                static_cast<GluTriangles*>(self)->corners.push_back(vertex);
            });
    }
    ~GluTriangles() { gluDeleteTess(m_tess); }
    GluTriangles(const GluTriangles&) = delete;
    GluTriangles& operator=(const GluTriangles&) = delete;

    void decompose(const Contour& contour)
    {
        corners.clear();
        const auto* points = reinterpret_cast<const Vector2f*>(contour.vertices.data());
        m_points.resize(contour.vertices.size());
        gluTessBeginPolygon(m_tess, this);
        for (unsigned i = 0; i < contour.outlineCount(); ++i) {
            gluTessBeginContour(m_tess);
            for (unsigned k = contour.begin(i); k < contour.end(i); ++k) {
                m_points[k] = {points[k].x, points[k].y, 0};
                gluTessVertex(m_tess, m_points[k].data(), m_points[k].data());
            }
            gluTessEndContour(m_tess);
        }
        gluTessEndPolygon(m_tess);
    }

    std::vector<void*> corners;

private:
    template <class F>
    void set(GLenum which, F* callback)
    {
        gluTessCallback(m_tess, which, reinterpret_cast<_GLUfuncptr>(callback));
    }

    GLUtesselator* m_tess;
    std::vector<std::array<double, 3>> m_points;
};

/// Hills of 500,000 triangles; every hundredth row has a step. Rough ones have an edge everywhere.
TriangleMesh hills(bool isRough)
{
    constexpr int n = 500;
    std::vector<Vector3f> points;
    TriangleMesh mesh;
    for (int y = 0; y <= n; ++y)
        for (int x = 0; x <= n; ++x)
            points.emplace_back(float(x), float(y),
                                float(8 * std::sin(x * 0.05) * std::cos(y * 0.07) + (y / 100) * 5 +
                                      (isRough ? (x ^ y) & 1 : 0)));
    mesh.vertices = GVectorArray(&points[0].x, int(points.size()), 3);
    mesh.reserve(2 * n * n);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            const int a = y * (n + 1) + x;
            mesh.addFace(0, a, a + 1, a + n + 2);
            mesh.addFace(0, a, a + n + 2, a + n + 1);
        }
    return mesh;
}

/// Reads corners and vertices, and writes a vector for each corner.
void plainPass(const TriangleMesh& mesh, std::vector<Vector3f>& out)
{
    out.assign(mesh.cornerCount(), Vector3f());
    const auto* points = reinterpret_cast<const Vector3f*>(mesh.vertices.data());
    for (unsigned i = 0; i < mesh.cornerCount(); ++i)
        out[i] = points[mesh.corners()[i]];
}
} // namespace

int main()
{
    const Contour contour = outlineWithHoles();
    ContourDecomposer ours;
    GluTriangles theirs;
    theirs.decompose(contour);
    if (!ours.decompose(contour) || ours.cornerCount() != theirs.corners.size()) {
        std::printf("the decompositions differ: %u corners, %zu\n", ours.cornerCount(),
                    theirs.corners.size());
        return 1;
    }
    bench::compare(
        "triangulate_10000", 0.5, [&] { bench::keep(ours.decompose(contour)); },
        [&] { theirs.decompose(contour); });
    bench::compare(
        "strips_10000", 1.0,
        [&] { bench::keep(ours.decompose(contour, ContourDecomposer::Strips)); },
        [&] { theirs.decompose(contour); });

    // In a core's own time, since nothing runs beside it to measure against.
    const auto coreSeconds = [] {
        timespec now;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
    };
    const auto generate = [&](const char* name, TriangleMesh& mesh) {
        std::vector<double> times;
        for (int i = 0; i < 15; ++i) {
            const double start = coreSeconds();
            mesh.generateNormalsWithAngle();
            times.push_back(coreSeconds() - start);
        }
        bench::figure(name, bench::median(times) * 1e3, 40);
    };
    TriangleMesh mesh = hills(false), rough = hills(true);
    generate("normals_angle_500000_ms", mesh);
    generate("normals_angle_rough_500000_ms", rough);
    std::vector<Vector3f> out;
    bench::compare(
        "normals_angle_to_pass", 8.0, [&] { mesh.generateNormalsWithAngle(); },
        [&] { plainPass(mesh, out); });
    return 0;
}
