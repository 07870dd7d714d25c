#include "zylconv/inventory.h"

#include "support/scenefile.h"

#include <zyl/all/action.h>
#include <zyl/all/opengl.h>

#include <cstdio>
#include <map>
#include <string>

namespace
{
using Counts = std::map<std::string, long>;

template <class T>
void count(Counts& counts, const VPtrList<T>& list)
{
    for (const T* item : list)
        ++counts[item->className()];
}

/// Counts nodes without going down the machine's stack, however deep they are nested.
void countNodes(Counts& counts, const GL_ObjectList& list)
{
    std::vector<const GL_ObjectList*> open = {&list};
    while (!open.empty()) {
        const GL_ObjectList& nodes = *open.back();
        open.pop_back();
        count(counts, nodes);
        for (const GL_Object* node : nodes)
            if (node->inherits(&GL_Group::metaClass))
                open.push_back(&static_cast<const GL_Group*>(node)->children());
    }
}

const char* orUnnamed(const char* name)
{
    return name ? name : "unnamed";
}

/// The connections of an object's signals, under the name that it has in files.
void printSignals(const VObject& sender, const char* name)
{
    const VMetaObject* const meta = sender.metaObject();
    for (int i = 0; i < meta->numSignals(true); ++i) {
        const VConnectionList* const list = sender.receivers(i);
        if (!list)
            continue;
        for (const VConnection* connection : *list) {
            if (connection->isCall() || !connection->object()->inherits("action::Action"))
                continue;
            const auto& receiver = static_cast<const action::Action&>(*connection->object());
            std::printf("connection %s %s -> %s %s\n", name, meta->signal(i, true)->name,
                        orUnnamed(receiver.name(nullptr)), connection->memberName());
        }
    }
}
} // namespace

namespace inventory
{
void printClasses(const GL_Scene& scene)
{
    Counts counts;
    count(counts, scene.textures());
    count(counts, scene.materials());
    count(counts, scene.fonts());
    countNodes(counts, scene.library());
    countNodes(counts, scene.objects());
    countNodes(counts, scene.lights());
    for (QAsciiDictIterator<action::Action> it(scene.actions()); it.current(); ++it)
        ++counts[it.current()->className()];
    for (const auto& [name, number] : counts)
        std::printf("%s %ld\n", name.c_str(), number);
}

void printBounds(const GL_Scene& scene)
{
    geometry::Box3f box;
    scene.bounds(box);
    std::printf("bounds %g %g %g %g %g %g\n", box.min.x, box.min.y, box.min.z, box.max.x, box.max.y,
                box.max.z);
}

void printConnections(const GL_Scene& scene)
{
    printSignals(scene, "scene");
    std::map<std::string, const action::Action*> actions;
    for (QAsciiDictIterator<action::Action> it(scene.actions()); it.current(); ++it)
        actions[it.currentKey()] = it.current();
    for (const auto& [name, action] : actions) {
        printSignals(*action, name.c_str());
        if (!action->connections())
            continue;
        for (const int key : action->connections()->keys()) {
            for (const action::Connection* connection : *action->connections(key)) {
                const QCString path = scene.pathOf(connection->receiver());
                std::printf("connection %s %d -> %s %d\n", name.c_str(), key,
                            path.isNull() ? "unnamed" : path.data(), connection->index());
            }
        }
    }
}

void printImage(const VImageIO& io)
{
    const VImage& image = io.image();
    std::printf("format %s\nsize %dx%d\ndepth %d\n", io.format().data(), image.width(),
                image.height(), image.depth());
    if (image.numColors())
        std::printf("colours %d\n", image.numColors());
    if (image.hasAlphaBuffer())
        std::puts("alpha");
    for (const QString& line : io.description().split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        std::printf("text %s\n", qPrintable(line));
}

void printFormats()
{
    const auto tell = [](const char* kind, const char* name, bool reads, bool writes,
                         const std::string& ending) {
        std::printf("%-8s%-12s%-6s%-7s%s\n", kind, name, reads ? "read" : "", writes ? "write" : "",
                    ending.c_str());
    };
    const QStrList scenesIn = VSceneIO::inputFormats(), scenesOut = VSceneIO::outputFormats();
    for (const files::Row& row : files::sceneEndings())
        if (scenesIn.contains(row.format) || scenesOut.contains(row.format))
            tell("scene", row.format, scenesIn.contains(row.format), scenesOut.contains(row.format),
                 std::string(".") + row.ending);
    const QStringList in = VImage::inputFormatList(), out = VImage::outputFormatList();
    QStringList all = in + out;
    all.removeDuplicates();
    all.sort();
    for (const QString& name : all)
        tell("picture", qPrintable(name), in.contains(name), out.contains(name),
             "." + name.toLower().toStdString());
}

QString pathOf(const GL_Object& object)
{
    QStringList names, classes;
    for (const GL_Object* node = &object; node; node = node->parent()) {
        names.prepend(QString::fromLocal8Bit(node->name()));
        classes.prepend(QLatin1String(node->className()));
    }
    return names.join(QLatin1Char('/')) + QLatin1Char(' ') + classes.join(QLatin1Char('/'));
}
} // namespace inventory
