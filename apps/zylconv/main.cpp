#include "support/scenefile.h"
#include "window/offscreenviewer.h"
#include "zylconv/inventory.h"
#include "zylconv/options.h"

#include <zyl/all/opengl.h>

#include <qfileinfo.h>

#include <cstdio>

namespace
{
int fail(const QString& why)
{
    std::fprintf(stderr, "zylconv: %s\n", qPrintable(why));
    return 1;
}

QString unrecognised(const QString& fileName)
{
    if (!QFileInfo::exists(fileName))
        return QString("%1: there is no such file").arg(fileName);
    return QString("%1: neither the content nor the ending tells the format").arg(fileName);
}

/// A scene as it was read, and drawn in no window.
class LoadedScene
{
public:
    /// Empty, or why there is none.
    QString load(const QString& fileName, const files::Format& format)
    {
        if (format.byEnding)
            std::fprintf(stderr, "%s: taken as %s by its ending\n", qPrintable(fileName),
                         format.name.data());
        report = std::make_unique<Report>(fileName);
        return files::loadScene(scene, fileName, format.name, report.get());
    }

    /// Sets the view and then the values, so that the frame stands still when they move things.
    QString show(const Options& options)
    {
        if (options.hasBackground)
            scene.setBackground(options.background);
        viewer = std::make_unique<OffscreenViewer>(options.width, options.height);
        if (!viewer->isValid())
            return QString("no OpenGL: %1").arg(QLatin1String(viewer->error()));
        viewer->setScene(&scene);
        viewer->setFlags(GL_Viewer::Textures, true);
        viewer->setFlags(GL_Viewer::Antialias, options.antialias);
        viewer->setProjection(options.perspective);
        viewer->initialize();
        static constexpr struct {
            const char* name;
            void (GL_Viewer::*turn)();
        } views[] = {{"top", &GL_Viewer::top},     {"bottom", &GL_Viewer::bottom},
                     {"front", &GL_Viewer::front}, {"back", &GL_Viewer::back},
                     {"left", &GL_Viewer::left},   {"right", &GL_Viewer::right}};
        for (const auto& view : views)
            if (options.view == QLatin1String(view.name))
                (viewer.get()->*view.turn)();
        viewer->setZoom(options.zoom);
        evaluate(options);
        return QString();
    }

    void evaluate(const Options& options)
    {
        for (const auto& [key, value] : options.values)
            scene.evaluate(key, value);
    }

    // The viewer's context goes last: what the scene holds of GL's ends in it.
    std::unique_ptr<OffscreenViewer> viewer;
    GL_Scene scene;
    std::unique_ptr<Report> report;
};

int info(const Options& options)
{
    const QString& fileName = options.arguments[0];
    const files::Format format = files::formatOfFile(fileName);
    if (format.kind == files::Kind::Unknown)
        return fail(unrecognised(fileName));
    if (format.kind == files::Kind::Image) {
        VImageIO io(fileName, format.name.data());
        if (!io.read())
            return fail(QString("%1: can't be read as %2").arg(fileName, QString(format.name)));
        inventory::printImage(io);
        return 0;
    }
    LoadedScene loaded;
    const QString problem = loaded.load(fileName, format);
    std::printf("format %s\n", format.name.data());
    inventory::printClasses(loaded.scene);
    const QString noView = loaded.show(options);
    if (noView.isEmpty()) {
        inventory::printBounds(loaded.scene);
    } else {
        std::fprintf(stderr, "zylconv: bounds unknown: %s\n", qPrintable(noView));
        loaded.evaluate(options);
    }
    inventory::printConnections(loaded.scene);
    for (const Report::Entry& entry : loaded.report->entries())
        std::printf("skipped %s\n", qPrintable(Report::text(entry)));
    return problem.isEmpty() ? 0 : fail(problem);
}

int convertImage(const QString& in, const QString& out, const QCString& inFormat,
                 const QCString& outFormat)
{
    VImage image;
    if (!image.load(in, inFormat.data()))
        return fail(QString("%1: can't be read as %2").arg(in, QString(inFormat)));
    if (!VImage::outputFormats().contains(outFormat.data()))
        return fail(QString("%1: the format %2 can't be written").arg(out, QString(outFormat)));
    if (!image.save(out, outFormat.data()))
        return fail(QString("%1: can't be written as %2").arg(out, QString(outFormat)));
    return 0;
}

int convert(const Options& options)
{
    const QString& in = options.arguments[0];
    const QString& out = options.arguments[1];
    const files::Format from = files::formatOfFile(in), to = files::formatForWriting(out);
    if (from.kind == files::Kind::Unknown)
        return fail(unrecognised(in));
    if (to.kind != from.kind)
        return fail(
            QString("%1: the ending doesn't name a format for a %2")
                .arg(out, QLatin1String(from.kind == files::Kind::Scene ? "scene" : "picture")));
    if (from.kind == files::Kind::Image)
        return convertImage(in, out, from.name, to.name);
    LoadedScene loaded;
    const QString problem = loaded.load(in, from);
    if (!problem.isEmpty())
        return fail(problem);
    // Only values that move something need the bounds and joints of a scene made ready.
    if (!options.values.empty())
        loaded.evaluate(options);
    Report written(out);
    const QString failure = files::saveScene(loaded.scene, out, to.name, options.exact, &written);
    return failure.isEmpty() ? 0 : fail(failure);
}

/// Loads a scene and sets its view; 0 or the exit status.
int prepare(const Options& options, LoadedScene& loaded)
{
    const QString& fileName = options.arguments[0];
    const files::Format format = files::formatOfFile(fileName);
    if (format.kind == files::Kind::Unknown)
        return fail(unrecognised(fileName));
    if (format.kind != files::Kind::Scene)
        return fail(QString("%1: is a picture, not a scene").arg(fileName));
    for (const QString& problem : {loaded.load(fileName, format), loaded.show(options)})
        if (!problem.isEmpty())
            return fail(problem);
    return 0;
}

int render(const Options& options)
{
    LoadedScene loaded;
    if (const int status = prepare(options, loaded))
        return status;
    const QString& out = options.arguments[1];
    const VImage picture = loaded.viewer->picture();
    if (picture.isNull() || !picture.save(out, "PNG"))
        return fail(QString("%1: can't be written").arg(out));
    return 0;
}

int pick(const Options& options)
{
    bool isX = false, isY = false;
    const int x = options.arguments[1].toInt(&isX), y = options.arguments[2].toInt(&isY);
    if (!isX || !isY || x < 0 || y < 0 || x >= options.width || y >= options.height) {
        std::fprintf(stderr, "zylconv: X and Y are a pixel of the picture, from 0 0 to %d %d\n",
                     options.width - 1, options.height - 1);
        return 2;
    }
    LoadedScene loaded;
    if (const int status = prepare(options, loaded))
        return status;
    loaded.viewer->makeCurrent();
    const GL_Object* const hit = loaded.viewer->pick(x, options.height - 1 - y);
    std::puts(hit ? qPrintable(inventory::pathOf(*hit)) : "nothing");
    return hit ? 0 : 1;
}

int formats(const Options&)
{
    inventory::printFormats();
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    const VGlobal global;
    Options options;
    const QString problem = parseOptions(argc, argv, options);
    if (!problem.isEmpty()) {
        std::fprintf(stderr, "zylconv: %s\n", qPrintable(problem));
        std::fputs("Try zylconv --help.\n", stderr);
        return 2;
    }
    if (options.help) {
        std::fputs(helpText(), stdout);
        return 0;
    }
    static constexpr struct {
        const char* name;
        int (*run)(const Options&);
    } commands[] = {{"info", info},
                    {"convert", convert},
                    {"render", render},
                    {"pick", pick},
                    {"formats", formats}};
    for (const auto& command : commands)
        if (options.command == QLatin1String(command.name))
            return command.run(options);
    return 2;
}
