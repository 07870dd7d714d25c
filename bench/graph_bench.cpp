// The scene graph beside its peers: the same scenes, camera, context and clock as their programs.
// usage: bench_graph [TEST SIZE [FOLDER-OR-FILE]]; without a test, the figures that need no peer.
#include "bench_common.h"
#include "ratio.h"

#include "action/actionfactory.h"
#include "action/transformactions.h"
#include "geometry/zylphysics.h"
#include "kernel/vglobal.h"
#include "opengl/glcamera.h"
#include "opengl/glcube.h"
#include "opengl/gllight.h"
#include "opengl/glgroup.h"
#include "opengl/glmesh.h"
#include "opengl/glnurbssurface.h"
#include "opengl/glquadric.h"
#include "opengl/glscene.h"
#include "opengl/glviewer.h"
#include "opengl/vsceneio.h"

#include <memory>
#include <set>

namespace
{
using namespace bench;
using geometry::Vector3f;

class BenchViewer : public GL_Viewer
{
public:
    BenchViewer(GL_Scene& scene, float extent)
    {
        setScene(&scene);
        reshape(kWidth, kHeight);
        initialize();
        const Camera at = cameraFor(extent);
        const Vector3f eye(at.eye.x, at.eye.y, at.eye.z);
        geometry::Matrix4f look;
        look.look(eye, Vector3f(), Vector3f(at.up.x, at.up.y, at.up.z));
        GL_Camera camera;
        camera.setPosition(eye);
        camera.setOrientation(look.getRotation().invert());
        camera.setFocalDistance(eye.length());
        camera.setFov(kFov);
        camera.setNearDistance(at.nearZ);
        camera.setFarDistance(at.farZ);
        setCamera(&camera);
    }
};

void fillLooks(GL_Scene& scene)
{
    for (int i = 0; i < kMaterials; ++i) {
        const Vec color = materialColor(i);
        auto* const material = new GL_Material;
        material->setName(("m" + std::to_string(i)).c_str());
        material->setFlags(2);
        material->setDiffuse(geometry::Vector4f(color.x, color.y, color.z, 1));
        material->setSpecular(geometry::Vector4f(0.5f, 0.5f, 0.5f, 1));
        material->setShininess(kShininess);
        scene.materials().append(material);
    }
    auto* const light = new GL_Light;
    light->setFlags(GL_Light::On);
    light->setColor(VColor(255, 255, 255));
    light->setDirection(Vector3f(-kLightFrom.x, -kLightFrom.y, -kLightFrom.z));
    scene.lights().append(light);
}

geometry::Matrix4f matrixAt(int i, int n)
{
    const Vec at = nodePosition(i, n);
    geometry::Matrix4f matrix;
    matrix.translate(at.x, at.y, at.z);
    matrix.rotate(Vector3f(1, 1, 1), nodeAngle(i));
    return matrix;
}

GL_Shape* node(GL_Scene& scene, int i, int n, bool sphere)
{
    GL_Shape* shape;
    if (sphere) {
        auto* const ball = new GL_Sphere;
        ball->setSlices(20);
        ball->setStacks(20);
        shape = ball;
    } else {
        shape = new GL_Cube;
    }
    shape->setTransform(matrixAt(i, n));
    shape->setMaterial(scene.materials().at(unsigned(nodeMaterial(i))));
    return shape;
}

struct Many {
    GL_Scene scene;
    std::vector<GL_Shape*> nodes;

    Many(int n, bool sphere)
    {
        fillLooks(scene);
        for (int i = 0; i < n; ++i) {
            nodes.push_back(node(scene, i, n, sphere));
            scene.objects().append(nodes.back());
        }
    }
};

void fillDeep(GL_Scene& scene, int depth)
{
    fillLooks(scene);
    GL_ObjectList* list = &scene.objects();
    for (int d = 0, i = 0; d < depth; ++d) {
        auto* const group = new GL_Group;
        list->append(group);
        list = &group->children();
        for (int k = 0; k < 10; ++k, ++i)
            list->append(node(scene, i, depth * 10, false));
    }
}

/// One mesh whose normals the library makes.
void fillMesh(GL_Scene& scene, int triangles)
{
    fillLooks(scene);
    const Mesh content = makeMesh(triangles);
    auto* const mesh = new GL_TriangleMesh;
    mesh->vertices = geometry::GVectorArray(&content.vertex[0].x, int(content.vertex.size()), 3);
    mesh->reserve(unsigned(content.index.size() / 3));
    for (std::size_t i = 0; i < content.index.size(); i += 3)
        mesh->addFace(0, int(content.index[i]), int(content.index[i + 1]),
                      int(content.index[i + 2]));
    mesh->setFlags(GL_Object::SmoothAngle, true);
    mesh->setMaterial(scene.materials().at(3));
    scene.objects().append(mesh);
}

void drawTest(const std::string& name, GL_Scene& scene, float extent)
{
    Context context;
    BenchViewer viewer(scene, extent);
    report(name, frames([&] { viewer.render(); }));
    report((name + ".coverage").c_str(), coverage(), "%");
}

void oneMoves(Many& many, const std::string& name)
{
    Context context;
    const int n = int(many.nodes.size());
    BenchViewer viewer(many.scene, extentFor(n));
    int k = 0;
    report(name, frames([&] {
               const int i = ++k * 37 % n;
               many.nodes[std::size_t(i)]->setTransform(matrixAt(i, n));
               viewer.render();
           }));
}

void pickTest(int n)
{
    const std::string size = std::to_string(n);
    Context context;
    Many many(n, false);
    BenchViewer viewer(many.scene, extentFor(n));
    viewer.render();
    std::vector<double> times;
    int hits = 0;
    for (int round = 0; round < 3; ++round) {
        for (const auto& [x, y] : pickPoints()) {
            const GL_Object* found = nullptr;
            const double time = timeMs([&, x = x, y = y] { found = viewer.pick(x, y); });
            if (round)
                times.push_back(time);
            hits += round == 2 && found;
        }
    }
    report(("pick." + size).c_str(), times, "ms");
    report(("pick." + size + ".rate").c_str(), 1000 / median(times), "picks/s");
    report(("pick." + size + ".hits").c_str(), hits, "of100");
    times.clear();
    std::size_t found = 0;
    for (int i = 0; i < 7; ++i)
        times.push_back(timeMs([&] {
            const GL_ObjectList list =
                viewer.select(kRect[0], kRect[1], kRect[2] - kRect[0], kRect[3] - kRect[1]);
            found = std::set<GL_Object*>(list.begin(), list.end()).size();
        }));
    report(("rect." + size).c_str(), times, "ms");
    report(("rect." + size + ".found").c_str(), double(found), "nodes");
}

/// One action whose connections move every node.
void connectAll(Many& many)
{
    auto* const move = new action::MoveAction;
    move->setName("move");
    many.scene.actions().put(move);
    VObject::connect(&many.scene, "2valueChanged(int,double)", move, "1evaluate(int,double)");
    for (const GL_Shape* shape : many.nodes)
        move->connect(0, shape, -1);
}

double slide(double t)
{
    return 0.3 * std::sin(t);
}

std::vector<double> animateTimes(int n)
{
    Many many(n, false);
    connectAll(many);
    std::vector<double> times;
    for (int k = 0; k < 25; ++k) {
        const double time = timeMs([&] { many.scene.evaluate(0, slide(0.05 * k)); });
        if (k >= 5)
            times.push_back(time);
    }
    return times;
}

void animateDrawTest(int n)
{
    const std::string name = "animate." + std::to_string(n) + ".drawn";
    Context context;
    Many many(n, false);
    connectAll(many);
    BenchViewer viewer(many.scene, extentFor(n));
    double t = 0;
    report(name, frames([&] {
               many.scene.evaluate(0, slide(t += 0.05));
               viewer.render();
           }));
    report((name + ".coverage").c_str(), coverage(), "%");
}

struct Memory {
    double built = 0;
    double caches = 0; // and what the driver needs for a first scene of that size
    double kept = 0;   // for a second one, beside what it was built of
};

/// Growth over the first frames of a scene, in bytes a node.
double growth(BenchViewer& viewer, int n)
{
    const double before = rssKiB();
    for (int i = 0; i < 15; ++i)
        viewer.render();
    glFinish();
    return (rssKiB() - before) * 1024 / n;
}

Memory memory(int n)
{
    Memory result;
    const double before = rssKiB();
    Many many(n, false);
    result.built = (rssKiB() - before) * 1024 / n;
    Context context;
    {
        Many tiny(1, false);
        BenchViewer viewer(tiny.scene, 2);
        growth(viewer, 1);
    }
    BenchViewer viewer(many.scene, extentFor(n));
    result.caches = growth(viewer, n);
    Many second(n, false);
    BenchViewer secondViewer(second.scene, extentFor(n));
    result.kept = growth(secondViewer, n);
    return result;
}

void saveTest(GL_Scene& scene, const std::string& prefix, const std::string& tag)
{
    for (const bool binary : {false, true}) {
        const std::string path = prefix + (binary ? ".binary.zylb" : ".text.zyl");
        const std::string key = "save." + tag + (binary ? ".binary" : ".text");
        std::vector<double> times;
        for (int i = 0; i < 5; ++i)
            times.push_back(timeMs([&] {
                VSceneIO io(QString::fromStdString(path), binary ? "ZYL BINARY" : "ZYL ASCII");
                io.setScene(&scene);
                if (!io.write())
                    Context::fail("write");
            }));
        report(key.c_str(), times, "ms");
        report((key + ".bytes").c_str(), fileBytes(path), "B");
        report((key + ".rate").c_str(), fileBytes(path) / 1e3 / median(times), "MB/s");
    }
}

void loadTest(const std::string& path)
{
    const char* const given = std::getenv("BENCH_KEY");
    const std::string key = std::string("load.") + (given ? given : "file");
    const double base = peakRssMiB();
    auto* const scene = new GL_Scene; // its end isn't timed
    const double time = timeMs([&] {
        VSceneIO io(QString::fromStdString(path), nullptr);
        io.setScene(scene);
        if (!io.read())
            Context::fail("read");
    });
    report(key.c_str(), time, "ms");
    report((key + ".rate").c_str(), fileBytes(path) / 1e3 / time, "MB/s");
    report((key + ".peak").c_str(), peakRssMiB() - base, "MiB");
}

void surfaceFigure()
{
    constexpr int side = 100;
    std::vector<float> points;
    for (int i = 0; i < side * side; ++i)
        for (const float x : {float(i % side) * 0.1f - 5, float(i / side) * 0.1f - 5,
                              std::sin(float(i % 17)) * 0.3f})
            points.push_back(x);
    GL_Scene scene;
    fillLooks(scene);
    auto* const surface = new GL_NurbsSurface;
    surface->vertices = geometry::GVectorArray(points.data(), side * side, 3);
    surface->countU = surface->countV = side;
    surface->init(&scene);
    scene.objects().append(surface);
    BenchViewer viewer(scene, 5);
    const auto redraw = [&] {
        viewer.render();
        glFinish();
    };
    compare("nurbs_surface_redraw_to_first", 0.2, redraw, [&] {
        surface->init(&scene);
        redraw();
    });
    std::printf("# the surface covers %.0f%% of the picture\n", coverage());
}

/// What can be told without a peer.
void figures()
{
    const int n = 10000;
    print("scene: 10000 transforms animated, ms", median(animateTimes(n)), 1.0);
    const Memory bytes = memory(n);
    print("scene: bytes a node / 500", bytes.built / 500, 1.0);
    print("scene: bytes a drawn node keeps / 10", bytes.kept / 10, 1.0);
    Context context;
    surfaceFigure();
    Many many(n, false);
    BenchViewer viewer(many.scene, extentFor(n));
    for (int i = 0; i < 12; ++i)
        viewer.render();
    int k = 0;
    compare(
        "scene: a frame with one node moved / a still one", 1.0,
        [&] {
            const int i = ++k * 37 % n;
            many.nodes[std::size_t(i)]->setTransform(matrixAt(i, n));
            viewer.render();
            glFinish();
        },
        [&] {
            viewer.render();
            glFinish();
        });
}

int run(const std::string& test, int n, const std::string& where)
{
    const std::string size = std::to_string(n);
    if (test == "many") {
        Many many(n, false);
        drawTest("draw.many." + size, many.scene, extentFor(n));
    } else if (test == "many-one-moves") {
        Many many(n, false);
        oneMoves(many, "draw.many." + size + ".onemoves");
    } else if (test == "spheres") {
        Many many(n, true);
        drawTest("draw.spheres." + size, many.scene, extentFor(n));
    } else if (test == "deep") {
        GL_Scene scene;
        fillDeep(scene, n);
        drawTest("draw.deep." + size, scene, extentFor(n * 10));
    } else if (test == "mesh") {
        GL_Scene scene;
        fillMesh(scene, n);
        drawTest("draw.mesh." + size, scene, 1);
    } else if (test == "pick") {
        pickTest(n);
    } else if (test == "animate") {
        report(("animate." + size).c_str(), animateTimes(n), "ms/update");
    } else if (test == "animate-draw") {
        animateDrawTest(n);
    } else if (test == "mem") {
        const Memory bytes = memory(n);
        report(("mem." + size + ".built").c_str(), bytes.built, "B/node");
        report(("mem." + size + ".caches").c_str(), bytes.caches, "B/node");
        report(("mem." + size + ".kept").c_str(), bytes.kept, "B/node");
    } else if (test == "save") {
        Many many(n, false);
        saveTest(many.scene, where + "/ours_many" + size, "many" + size);
    } else if (test == "save-mesh") {
        GL_Scene scene;
        fillMesh(scene, n);
        saveTest(scene, where + "/ours_mesh" + size, "mesh" + size);
    } else if (test == "save-deep") {
        GL_Scene scene;
        fillDeep(scene, n);
        saveTest(scene, where + "/ours_deep" + size, "deep" + size);
    } else if (test == "load") {
        loadTest(where);
    } else {
        std::fprintf(stderr, "unknown test %s\n", test.c_str());
        return 2;
    }
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    const VGlobal global;
    int status = 0;
    if (argc > 1)
        status = run(argv[1], argc > 2 ? std::atoi(argv[2]) : 10000, argc > 3 ? argv[3] : ".");
    else
        figures();
    std::fflush(stdout);
    _exit(status); // the driver's end isn't timed, and takes its time
}
