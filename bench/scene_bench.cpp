// Scenes in files and under animation. Figures are times over what they may be on the machine of
// the other programs' figures.

#include "action/action.h"
#include "geometry/zylhmatrix.h"
#include "opengl/glcube.h"
#include "opengl/glgroup.h"
#include "opengl/glmaterial.h"
#include "opengl/glscene.h"
#include "opengl/vsceneio.h"
#include "ratio.h"

#include <qstring.h>
#include <qtemporarydir.h>

#include <cstdlib>

namespace
{
constexpr int materialCount = 16;

/// Cubes in the places of a grid, each turned and of another material than its neighbours.
class Content
{
public:
    Content()
    {
        for (int i = 0; i < materialCount; ++i) {
            auto* const material = new GL_Material;
            material->setName(qPrintable(QStringLiteral("material%1").arg(i)));
            const float part = float(i) / materialCount;
            material->setDiffuse({0.3f + 0.7f * part, 1 - 0.6f * part, 0.4f, 1});
            material->setShininess(32);
            scene.materials().append(material);
        }
    }

    void addCube(GL_ObjectList& list, int i)
    {
        constexpr int side = 22;
        auto* const cube = new GL_Cube;
        cube->setName(qPrintable(QStringLiteral("node%1").arg(i)));
        geometry::Matrix4f matrix;
        matrix.translate(geometry::Vector3f(float(2 * (i % side)), float(2 * (i / side % side)),
                                            float(2 * (i / (side * side)))));
        matrix.rotate(normalize(geometry::Vector3f(1, 1, 1)), 0.1f * float(i % 31));
        cube->setTransform(matrix);
        cube->setMaterial(scene.materials().at(unsigned(i % materialCount)));
        list.append(cube);
    }

    void addMany(int count)
    {
        for (int i = 0; i < count; ++i)
            addCube(scene.objects(), i);
    }

    void addDeep(int depth, int each)
    {
        GL_ObjectList* list = &scene.objects();
        for (int level = 0; level < depth; ++level) {
            auto* const joint = new GL_Joint;
            joint->setName(qPrintable(QStringLiteral("group%1").arg(level)));
            list->append(joint);
            list = &joint->children();
            for (int i = 0; i < each; ++i)
                addCube(*list, level * each + i);
        }
    }

    GL_Scene scene;
};

void check(bool done, int line = __builtin_LINE())
{
    if (!done)
        std::fprintf(stderr, "line %d\n", line), std::abort();
}

struct Limits {
    const char* format;
    const char* name;
    double load;
    double save;
};

void measureFiles(const char* name, GL_Scene& scene, const QTemporaryDir& folder)
{
    constexpr Limits limits[] = {{"ZYL ASCII", "text", 23e-3, 21e-3},
                                 {"ZYL BINARY", "binary", 18e-3, 39e-3}};
    for (const Limits& limit : limits) {
        const QString file = folder.filePath(QString::fromLatin1(limit.name));
        std::vector<double> saves, loads;
        for (int i = 0; i < 9; ++i) {
            saves.push_back(bench::seconds(
                [&] {
                    VSceneIO io(file, limit.format);
                    io.setScene(&scene);
                    check(io.write());
                },
                0));
            auto* const read = new GL_Scene;
            loads.push_back(bench::seconds(
                [&] {
                    VSceneIO io(file, nullptr);
                    io.setScene(read);
                    check(io.read());
                },
                0));
            check(read->objects().count() == scene.objects().count());
            delete read;
        }
        const auto tell = [&](const char* what, const std::vector<double>& times, double most) {
            const std::string whole = std::string("scene.") + what + "." + name + "." + limit.name;
            std::printf("# %s: %.2f ms\n", whole.c_str(), bench::median(times) * 1e3);
            bench::figure(whole, bench::median(times), most);
        };
        tell("save", saves, limit.save);
        tell("load", loads, limit.load);
    }
}

struct Sink : ZYLObject {
    bool event(VEvent*) override { return false; }
};

struct Sender : action::Action {
    bool evaluate(int key, double value) override { return send(key, 1000, &value); }
};

void connect(GL_Scene& scene, const action::Action& to)
{
    check(VObject::connect(&scene, SIGNAL(valueChanged(int, double)), &to,
                           SLOT(evaluate(int, double))));
}

void measureValues()
{
    constexpr int count = 10000;
    constexpr double limit = 0.1e-6 * count;
    GL_Scene scene;
    std::vector<action::Action> actions(count);
    for (const action::Action& action : actions)
        connect(scene, action);
    bench::figure("scene.evaluate.actions",
                  bench::seconds([&] { bench::keep(scene.evaluate(1, 0.5)); }), limit);

    GL_Scene other;
    std::vector<Sink> receivers(count);
    Sender sender;
    for (const Sink& receiver : receivers)
        sender.connect(1, &receiver, -1);
    connect(other, sender);
    bench::figure("scene.evaluate.receivers",
                  bench::seconds([&] { bench::keep(other.evaluate(1, 0.5)); }), limit);
}
} // namespace

int main()
{
    const QTemporaryDir folder;
    {
        Content many;
        many.addMany(10000);
        measureFiles("many", many.scene, folder);
    }
    {
        Content deep;
        deep.addDeep(1000, 10);
        measureFiles("deep", deep.scene, folder);
    }
    measureValues();
}
