#include "geometry/zylmesh.h"
#include "geometry/zyltrianglemesh.h"
#include "geometryprinters.h"
#include "support/warnings.h"

#include <cmath>
#include <limits>

using namespace geometry;

namespace
{
GVectorArray arrayOf(const std::vector<Vector3f>& points)
{
    return GVectorArray(&points[0].x, int(points.size()), 3);
}

// The corners of a cube of side 2 about the origin; bit 0 of the number is x, bit 1 y, bit 2 z.
std::vector<Vector3f> cubePoints(float scale = 1)
{
    std::vector<Vector3f> points;
    for (int i = 0; i < 8; ++i)
        points.push_back(Vector3f(i & 1 ? 1 : -1, i & 2 ? 1 : -1, i & 4 ? 1 : -1) * scale);
    return points;
}
constexpr int cubeFaces[6][4] = {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4},
                                 {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}};
const Vector3f cubeNormals[6] = {{-1, 0, 0}, {1, 0, 0},  {0, -1, 0},
                                 {0, 1, 0},  {0, 0, -1}, {0, 0, 1}};

Mesh cube(unsigned word = 0)
{
    Mesh mesh;
    mesh.vertices = arrayOf(cubePoints());
    for (const auto& face : cubeFaces)
        mesh.addFace(word, face, 4);
    return mesh;
}

/// Each square cut along a diagonal, so that some corners have two triangles of a side.
TriangleMesh triangleCube(float scale = 1)
{
    TriangleMesh mesh;
    mesh.vertices = arrayOf(cubePoints(scale));
    for (const auto& f : cubeFaces) {
        mesh.addFace(0, f[0], f[1], f[2]);
        mesh.addFace(0, f[0], f[2], f[3]);
    }
    return mesh;
}

void expectNear(const Vector3f& v, const Vector3f& expected, const char* what, unsigned index)
{
    EXPECT_LT((v - expected).length(), 1e-5f)
        << what << ' ' << index << ": " << v.x << ' ' << v.y << ' ' << v.z;
}

TEST(MeshNormals, OfACubeAreItsSidesBelowTheCreaseAndItsDiagonalsAbove)
{
    for (const float scale : {1.0f, 1e-15f, 1e15f}) {
        Mesh squares = cube();
        squares.vertices = arrayOf(cubePoints(scale));
        TriangleMesh triangles = triangleCube(scale);
        for (const float crease : {89.0f, 91.0f}) {
            squares.setCreaseAngle(crease);
            triangles.setCreaseAngle(crease);
            squares.generateNormalsWithAngle();
            triangles.generateNormalsWithAngle();
            for (unsigned i = 0; i < 24; ++i) {
                const int vertex = squares.corners()[i];
                expectNear(squares.normals()[i],
                           crease < 90 ? cubeNormals[i / 4]
                                       : normalize(cubePoints()[unsigned(vertex)]),
                           "square corner", i);
            }
            for (unsigned i = 0; i < 36; ++i) {
                const int vertex = triangles.corners()[i];
                expectNear(triangles.normals()[i],
                           crease < 90 ? cubeNormals[i / 6]
                                       : normalize(cubePoints()[unsigned(vertex)]),
                           "triangle corner", i);
            }
        }
    }
}

TEST(MeshNormals, OfASphereRunFromItsMiddle)
{
    TriangleMesh mesh;
    std::vector<Vector3f> points;
    const int n = 48;
    for (int i = 0; i <= n; ++i)
        for (int k = 0; k < 2 * n; ++k)
            points.emplace_back(float(std::sin(M_PI * i / n) * std::cos(M_PI * k / n)),
                                float(std::sin(M_PI * i / n) * std::sin(M_PI * k / n)),
                                float(std::cos(M_PI * i / n)));
    mesh.vertices = arrayOf(points);
    for (int i = 0; i < n; ++i)
        for (int k = 0; k < 2 * n; ++k) {
            const int a = i * 2 * n + k, b = i * 2 * n + (k + 1) % (2 * n);
            mesh.addFace(0, a, a + 2 * n, b + 2 * n); // at the poles one of both has no area
            mesh.addFace(0, a, b + 2 * n, b);
        }
    mesh.generateNormalsWithAngle();
    for (unsigned i = 2 * 6 * n; i < mesh.cornerCount() - 2 * 6 * n; ++i) {
        const Vector3f& normal = mesh.normals()[i];
        ASSERT_GT(dot(normal, points[unsigned(mesh.corners()[i])]), 0.9995f) << i;
        ASSERT_NEAR(normal.length(), 1, 1e-5);
    }
    EXPECT_NEAR(mesh.volume(), 4 * M_PI / 3, 0.01);
}

/// Strips of paper along the y axis, each turned further about it, that meet in lines.
Mesh folded(const std::vector<double>& degrees, unsigned word = 0)
{
    Mesh mesh;
    std::vector<Vector3f> points;
    double x = 0, z = 0;
    for (std::size_t i = 0; i <= degrees.size(); ++i) {
        points.emplace_back(float(x), 0.0f, float(z));
        points.emplace_back(float(x), 1.0f, float(z));
        if (i < degrees.size()) {
            x += std::cos(degrees[i] * M_PI / 180);
            z += std::sin(degrees[i] * M_PI / 180);
        }
    }
    mesh.vertices = arrayOf(points);
    for (int i = 0; i < int(degrees.size()); ++i) {
        const int face[] = {2 * i, 2 * i + 2, 2 * i + 3, 2 * i + 1};
        mesh.addFace(word, face, 4);
    }
    return mesh;
}

Vector3f upwards(double degrees)
{
    return Vector3f(float(-std::sin(degrees * M_PI / 180)), 0,
                    float(std::cos(degrees * M_PI / 180)));
}

TEST(MeshNormals, MeetAcrossAnEdgeBelowTheCreaseAngle)
{
    Mesh mesh = folded({0, 29, 60});
    mesh.generateNormalsWithAngle();
    expectNear(mesh.normals()[0], upwards(0), "outer side", 0);
    expectNear(mesh.normals()[1], upwards(14.5), "29 degrees", 1);
    expectNear(mesh.normals()[4], upwards(14.5), "29 degrees", 4);
    expectNear(mesh.normals()[5], upwards(29), "31 degrees", 5);
    expectNear(mesh.normals()[8], upwards(60), "31 degrees", 8);
}

/// Three faces around one edge at these angles, all seen from above.
Mesh fan(const std::vector<double>& degrees)
{
    Mesh mesh;
    std::vector<Vector3f> points = {{0, 0, 0}, {0, 1, 0}};
    for (const double angle : degrees) {
        const float c = float(std::cos(angle * M_PI / 180)),
                    s = float(std::sin(angle * M_PI / 180));
        points.emplace_back(c, 0.0f, s);
        points.emplace_back(c, 1.0f, s);
    }
    mesh.vertices = arrayOf(points);
    for (int i = 0; i < int(degrees.size()); ++i) {
        const int right[] = {0, 2 * i + 2, 2 * i + 3, 1};
        mesh.addFace(0, right, 4);
    }
    return mesh;
}

TEST(MeshNormals, AreJoinedByNoEdgeOfThreeFaces)
{
    Mesh mesh = fan({0, 20, 40});
    mesh.generateNormalsWithAngle();
    for (unsigned i = 0; i < 3; ++i)
        expectNear(mesh.normals()[4 * i], upwards(20.0 * i), "corner", 4 * i);
}

TEST(MeshNormals, GoOnAroundAVertexFromEdgeToEdge)
{
    // The sides of a pyramid of twelve meet at 21 degrees and those of one of forty at 6, opposite
    // ones at 90: all share the tip's normal, which is its axis.
    const std::pair<int, float> pyramids[] = {{12, 20.0f}, {40, 6.0f}};
    for (const auto& [sides, tooLittle] : pyramids) {
        Mesh mesh;
        std::vector<Vector3f> points = {{0, 0, 1}};
        for (int i = 0; i < sides; ++i)
            points.emplace_back(float(std::cos(i * 2 * M_PI / sides)),
                                float(std::sin(i * 2 * M_PI / sides)), 0.0f);
        mesh.vertices = arrayOf(points);
        for (int i = 0; i < sides; ++i) {
            const int side[] = {0, 1 + i, 1 + (i + 1) % sides};
            mesh.addFace(0, side, 3);
        }
        mesh.generateNormalsWithAngle();
        for (unsigned i = 0; i < mesh.cornerCount(); i += 3)
            expectNear(mesh.normals()[i], Vector3f(0, 0, 1), "tip", i);
        mesh.setCreaseAngle(tooLittle);
        mesh.generateNormalsWithAngle();
        EXPECT_LT(mesh.normals()[0].z, 0.8f);
    }
}

TEST(MeshNormals, FollowGroupsThatFacesHaveInCommon)
{
    constexpr unsigned one = 1u << MeshFace::groupShift, two = 2u << MeshFace::groupShift;
    Mesh mesh = folded({0, 40, 80, 120});
    mesh.setWord(0, one);
    mesh.setWord(1, one | two | 0x70000); // the material doesn't matter
    mesh.setWord(2, two | MeshFace::Hidden);
    mesh.generateNormalsWithGroup();
    const double expected[][2] = {{0, 20}, {20, 60}, {60, 80}, {120, 120}}; // left and right
    for (unsigned i = 0; i < 4; ++i) {
        expectNear(mesh.normals()[4 * i], upwards(expected[i][0]), "left", i);
        expectNear(mesh.normals()[4 * i + 1], upwards(expected[i][1]), "right", i);
    }
    EXPECT_EQ(Mesh::groupWord(0x01002001), 0x0030u); // 1, 14 and 25 are 1, 2 and 1 of twelve
    TriangleMesh triangles = triangleCube();
    for (unsigned i = 0; i < 12; ++i)
        triangles.setWord(i, i < 4 ? one : 0); // the sides across x
    triangles.generateNormalsWithGroup();
    for (unsigned i = 0; i < 36; ++i)
        expectNear(triangles.normals()[i], cubeNormals[i / 6], "corner", i);
}

TEST(MeshNormals, OfAHoleAreItsFacesWhicheverWayItRuns)
{
    // A plate with a square hole, and walls down from the hole: at its corners the plate has an
    // angle of 270 degrees, each wall of 90.
    const std::vector<Vector3f> points = {{-3, -3, 0},  {3, -3, 0},  {3, 3, 0},  {-3, 3, 0},
                                          {-1, -1, 0},  {1, -1, 0},  {1, 1, 0},  {-1, 1, 0},
                                          {-1, -1, -1}, {1, -1, -1}, {1, 1, -1}, {-1, 1, -1}};
    const int plate[] = {0, 1, 2, 3}, same[] = {4, 5, 6, 7}, against[] = {7, 6, 5, 4};
    for (const int* hole : {same, against}) {
        Mesh mesh;
        mesh.vertices = arrayOf(points);
        mesh.addFace(0, plate, 4);
        mesh.addFace(MeshFace::Hole, hole, 4);
        for (int i = 0; i < 4; ++i) {
            const int k = (i + 1) % 4, wall[] = {4 + i, 4 + k, 8 + k, 8 + i}; // faces inward
            mesh.addFace(0, wall, 4);
        }
        mesh.generateFlatNormals();
        for (unsigned i = 0; i < 8; ++i)
            expectNear(mesh.normals()[i], Vector3f(0, 0, 1), "flat", i);
        mesh.setCreaseAngle(91);
        mesh.generateNormalsWithAngle();
        for (unsigned i = 4; i < 8; ++i) {
            Vector3f expected = points[unsigned(mesh.corners()[i])] * -90;
            expected.z = 270;
            expectNear(mesh.normals()[i], normalize(expected), "corner", i);
        }
    }
}

TEST(MeshNormals, LeaveBadFacesOutAndTheirNeighboursWhole)
{
    Mesh mesh;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    mesh.vertices = arrayOf({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {nan, 0, 1}});
    const std::vector<int> faces[] = {{0, 1, 2, 3}, {0, 1},    {0},
                                      {},           {0, 1, 5}, {0, -1, 2},
                                      {0, 1, 4},    {0, 1, 1}, {0, 2, 1, 2147483647}};
    for (const std::vector<int>& face : faces)
        mesh.addFace(0, face.data(), unsigned(face.size()));
    const auto generate = {&Mesh::generateNormalsWithAngle, &Mesh::generateNormalsWithGroup,
                           &Mesh::generateFlatNormals};
    for (const auto make : generate) {
        (mesh.*make)();
        for (unsigned i = 0; i < mesh.cornerCount(); ++i)
            EXPECT_EQ(mesh.normals()[i], i < 4 ? Vector3f(0, 0, 1) : Vector3f()) << i;
    }
    TriangleMesh triangles;
    triangles.vertices = mesh.vertices;
    triangles.addFace(0, 0, 1, 2);
    triangles.addFace(0, 0, 1, 4);
    triangles.addFace(0, 2, 1, -1);
    triangles.addFace(0, 2, 1, 1);
    triangles.generateNormalsWithAngle();
    for (unsigned i = 0; i < 12; ++i)
        expectNear(triangles.normals()[i], Vector3f(0, 0, i < 3 ? 1 : 0), "corner", i);
    EXPECT_EQ(mesh.volume(), 0);
    Box3f box;
    mesh.bounds(box);
    EXPECT_EQ(box, Box3f(0, 0, 0, 1, 1, 1));
}

TEST(MeshNormals, AreGoneAfterAChangeOfFaces)
{
    Mesh mesh = cube();
    mesh.generateFlatNormals();
    const int face[] = {0, 1, 2};
    mesh.addFace(0, face, 3);
    EXPECT_EQ(mesh.normals(), nullptr); // too few for the corners that are there
}

struct DrawnRun {
    int mode;
    std::vector<int> corners;
    std::string facing; // of each corner: u up, r right, - nowhere
};

class FlatRuns : public testing::TestWithParam<DrawnRun>
{
};

TEST_P(FlatRuns, HaveTheNormalOfAFigureAtItsLastCorner)
{
    Mesh mesh;
    // A step: 0 to 3 on the ground, counterclockwise, then 4 and 5 above 1 and 2.
    mesh.vertices = arrayOf({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {1, 0, -1}, {1, 1, -1}});
    const DrawnRun& run = GetParam();
    ASSERT_TRUE(mesh.addShape(0, run.mode, run.corners.data(), unsigned(run.corners.size())));
    mesh.generateFlatNormals();
    std::string facing;
    for (unsigned i = 0; i < mesh.cornerCount(); ++i) {
        const Vector3f n = mesh.normals()[i];
        facing += n == Vector3f(0, 0, 1)   ? 'u'
                  : n == Vector3f(1, 0, 0) ? 'r'
                  : n == Vector3f()        ? '-'
                                           : '?';
    }
    EXPECT_EQ(facing, run.facing);
}

INSTANTIATE_TEST_SUITE_P(
    Modes, FlatRuns,
    testing::Values(DrawnRun{Mesh::Points, {0, 1, 2}, "---"},
                    DrawnRun{Mesh::LineLoop, {0, 1, 2}, "---"},
                    DrawnRun{Mesh::Triangles, {0, 1, 2, 1, 4, 5, 0}, "uuurrr-"},
                    DrawnRun{Mesh::TriangleStrip, {3, 0, 2, 1, 5, 4}, "uuuurr"},
                    DrawnRun{Mesh::TriangleFan, {1, 4, 5, 2, 3}, "rrrru"},
                    DrawnRun{Mesh::Quads, {0, 1, 2, 3, 1, 4, 5, 2}, "uuuurrrr"},
                    DrawnRun{Mesh::QuadStrip, {3, 0, 2, 1, 5, 4, 0}, "uuuurr-"},
                    DrawnRun{Mesh::QuadStrip, {0, 3, 7, 2}, "----"},
                    DrawnRun{Mesh::Polygon, {0, 1, 2, 3}, "uuuu"},
                    DrawnRun{Mesh::TriangleStrip, {0, 1}, "--"}));

TEST(Mesh, RefusesAnUnknownMode)
{
    Mesh mesh;
    WarningCatcher warnings;
    const int corner = 0;
    EXPECT_FALSE(mesh.addShape(0, 10, &corner, 1));
    EXPECT_FALSE(mesh.addShape(0, -1, &corner, 1));
    EXPECT_EQ(warnings.text(),
              QLatin1String("Mesh::addShape: Unknown mode 10 | Mesh::addShape: Unknown mode -1"));
    EXPECT_EQ(mesh.faceCount(), 0u);
}

TEST(Mesh, EnclosesItsVolumeWhereverItStands)
{
    EXPECT_DOUBLE_EQ(cube().volume(), 8);
    Mesh inward = cube();
    std::vector<Vector3f> points = cubePoints();
    for (Vector3f& point : points)
        point = Vector3f(-point.x, point.y, point.z) + Vector3f(1e6f, 1e6f, 0);
    inward.vertices = arrayOf(points);
    EXPECT_DOUBLE_EQ(inward.volume(), -8);
    EXPECT_DOUBLE_EQ(triangleCube().volume(), 8);
}

TEST(Mesh, WeldsOnlyVerticesThatAreAlikeInAll)
{
    Mesh mesh;
    std::vector<Vector3f> points;
    for (int face = 0; face < 6; ++face) {
        int corners[4];
        for (int k = 0; k < 4; ++k) {
            corners[k] = int(points.size());
            points.push_back(cubePoints()[unsigned(cubeFaces[face][k])]);
        }
        mesh.addFace(0, corners, 4);
    }
    const int beyond[] = {0, 1, 24};
    mesh.addFace(0, beyond, 3);
    mesh.vertices = arrayOf(points);
    const GVectorArray before = mesh.vertices;
    Vector2fArray coords(24);
    for (unsigned i = 0; i < 24; ++i)
        coords[i] = Vector2f(i == 23 ? 1 : 0, 0); // one of a corner's three stays apart
    mesh.setTextureCoords(coords);
    EXPECT_EQ(mesh.weld(), 15u);
    EXPECT_EQ(mesh.vertices.size(), 9u);
    EXPECT_EQ(mesh.textureCoords().size(), 9u);
    EXPECT_EQ(before.size(), 24u);
    const auto* welded = reinterpret_cast<const Vector3f*>(mesh.vertices.data());
    for (unsigned i = 0; i < 24; ++i) {
        const unsigned vertex = unsigned(mesh.corners()[i]);
        ASSERT_LT(vertex, 9u);
        EXPECT_EQ(welded[vertex], points[i]) << i;
        EXPECT_EQ(mesh.textureCoords()[vertex], coords[i]) << i;
    }
    EXPECT_EQ(mesh.corners()[26], 24);
    EXPECT_EQ(mesh.weld(), 0u);
}

TEST(Mesh, TakesVerticesOfAnyKind)
{
    const double weighted[] = {0, 0, 0, 1, 4, 0, 0, 2, 0, 6, 3, 3, 5, 5, 5, 0};
    Mesh mesh;
    mesh.vertices = GVectorArray(weighted, 4, 4);
    mesh.vertices.setFlags(mesh.vertices.flags() | GVector::homogeneous);
    const int face[] = {0, 1, 2};
    mesh.addFace(0, face, 3);
    mesh.generateFlatNormals();
    // (0, 0, 0), (2, 0, 0), (0, 2, 1), and a point at infinity, of which the direction counts.
    expectNear(mesh.normals()[0], normalize(Vector3f(0, -1, 2)), "corner", 0);
    Box3f box;
    mesh.bounds(box);
    EXPECT_EQ(box, Box3f(0, 0, 0, 5, 5, 5));
    const int flat[] = {0, 0, 2, 0, 0, 1};
    mesh.vertices = GVectorArray(flat, 3, 2);
    mesh.generateFlatNormals();
    EXPECT_EQ(mesh.normals()[2], Vector3f(0, 0, 1));
    mesh.vertices = GVectorArray();
    mesh.generateNormalsWithAngle();
    EXPECT_EQ(mesh.normals()[0], Vector3f());
    mesh.bounds(box);
    EXPECT_TRUE(box.isEmpty());
}

TEST(TriangleMesh, FindsTextureCoordinatesByItsOwnIndicesIfThereAreAny)
{
    TriangleMesh mesh = triangleCube();
    Vector2fArray coords(3);
    for (unsigned i = 0; i < 3; ++i)
        coords[i] = Vector2f(float(i), 0);
    mesh.setTextureCoords(coords);
    EXPECT_EQ(mesh.textureCoord(0)->x, 0);    // vertex 0
    EXPECT_EQ(mesh.textureCoord(1), nullptr); // vertex 4
    const int indices[] = {2, -1, 3};
    VMemArray<int> uvs;
    uvs.duplicate(indices, 3);
    mesh.setFaceUVs(uvs);
    EXPECT_EQ(mesh.textureCoord(0)->x, 2);
    for (const unsigned corner : {1u, 2u, 3u, 36u})
        EXPECT_EQ(mesh.textureCoord(corner), nullptr) << corner;
}
} // namespace
