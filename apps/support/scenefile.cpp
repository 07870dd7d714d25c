#include "support/scenefile.h"

#include <zyl/all/opengl.h>

#include <qfile.h>
#include <qfileinfo.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace
{
const char* kindText(VFormatDiagnostics::Kind kind)
{
    switch (kind) {
    case VFormatDiagnostics::SkippedClass:
        return "skipped class";
    case VFormatDiagnostics::SkippedKey:
        return "skipped keyword";
    case VFormatDiagnostics::SkippedEntity:
        return "skipped entity";
    case VFormatDiagnostics::SkippedConnection:
        return "skipped connection";
    case VFormatDiagnostics::UnresolvedName:
        return "nothing is named";
    case VFormatDiagnostics::UnexpectedText:
        return "reading stopped at";
    case VFormatDiagnostics::LossyText:
        return "text that doesn't read back";
    case VFormatDiagnostics::LossyNumber:
        return "number that doesn't read back";
    case VFormatDiagnostics::TooDeep:
        return "nested too deep";
    }
    return "passed over";
}

/// Why a file can't be read, as the system says it.
QString cannotOpen(const QString& fileName)
{
    const QFileInfo info(fileName);
    if (info.isDir())
        return QString("%1: is a folder").arg(fileName);
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return QString("%1: %2").arg(fileName, file.errorString());
    return QString();
}

bool hasEnding(const QString& fileName, const char* ending)
{
    return fileName.endsWith(QLatin1Char('.') + QLatin1String(ending), Qt::CaseInsensitive);
}

/// The image format of an ending: its name, or one of the usual other ones.
QCString imageFormatOfEnding(const QString& fileName)
{
    static constexpr files::Row others[] = {{"JPEG", "jpg"}, {"PNG", "png"}, {"SGI", "rgb"}};
    for (const files::Row& row : others)
        if (hasEnding(fileName, row.ending))
            return row.format;
    for (const QString& name : VImage::inputFormatList())
        if (hasEnding(fileName, name.toLatin1().constData()))
            return QCString(name.toLatin1().constData());
    return QCString();
}
} // namespace

void Report::report(Kind kind, const QString& what, const Place& place)
{
    m_entries.push_back({kind, what, place});
    std::fprintf(stderr, "%s: %s\n", qPrintable(m_fileName), qPrintable(text(m_entries.back())));
}

QString Report::text(const Entry& entry)
{
    QString place;
    if (entry.place.line > 0)
        place = QString("line %1: ").arg(entry.place.line);
    else if (entry.place.offset >= 0)
        place = QString("byte %1: ").arg(entry.place.offset);
    return place + QLatin1String(kindText(entry.kind)) + QLatin1Char(' ') + entry.what;
}

namespace files
{
const std::vector<Row>& sceneEndings()
{
    static const std::vector<Row> rows = {{"ZYL ASCII", "zyl"},
                                          {"ZYL BINARY", "zylb"},
                                          {"DXF", "dxf"},
                                          {"3DS", "3ds"},
                                          {"LWO", "lwo"}};
    return rows;
}

Format formatOfFile(const QString& fileName)
{
    if (!cannotOpen(fileName).isEmpty())
        return Format();
    if (const char* const name = VSceneIO::sceneFormat(fileName))
        return {Kind::Scene, name, false};
    if (const char* const name = VImageIO::imageFormat(fileName))
        return {Kind::Image, name, false};
    Format format = formatForWriting(fileName);
    format.byEnding = true;
    return format;
}

Format formatForWriting(const QString& fileName)
{
    for (const Row& row : sceneEndings())
        if (hasEnding(fileName, row.ending))
            return {Kind::Scene, row.format, false};
    const QCString image = imageFormatOfEnding(fileName);
    return image.isEmpty() ? Format() : Format{Kind::Image, image, false};
}

QString loadScene(GL_Scene& scene, const QString& fileName, const QCString& format,
                  VFormatDiagnostics* diagnostics)
{
    const QString problem = cannotOpen(fileName);
    if (!problem.isEmpty())
        return problem;
    if (!VSceneIO::inputFormats().contains(format.data()))
        return QString("%1: the format %2 can't be read").arg(fileName, QString(format));
    VSceneIO io(fileName, format.data());
    io.setScene(&scene);
    io.setDiagnostics(diagnostics);
    return io.read() ? QString()
                     : QString("%1: can't be read to its end as %2").arg(fileName, QString(format));
}

QString saveScene(const GL_Scene& scene, const QString& fileName, const QCString& format,
                  bool exact, VFormatDiagnostics* diagnostics)
{
    if (!VSceneIO::outputFormats().contains(format.data()))
        return QString("%1: the format %2 can't be written").arg(fileName, QString(format));
    VSceneIO io(fileName, format.data());
    io.setScene(const_cast<GL_Scene*>(&scene));
    io.setDiagnostics(diagnostics);
    io.setExact(exact);
    errno = 0;
    if (io.write())
        return QString();
    const QLatin1String reason(errno ? std::strerror(errno) : "the scene can't be written whole");
    return QString("%1: can't be written: %2").arg(fileName, reason);
}
} // namespace files
