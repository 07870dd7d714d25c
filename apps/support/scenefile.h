#pragma once

#include <zyl/all/kernel.h>

#include <qstring.h>

#include <vector>

class GL_Scene;

/// What a reader or writer passed over, for people: printed to standard error as it comes, and
/// kept.
class Report : public VFormatDiagnostics
{
public:
    struct Entry {
        Kind kind;
        QString what;
        Place place;
    };

    explicit Report(const QString& fileName) : m_fileName(fileName) {}

    void report(Kind kind, const QString& what, const Place& place) override;

    const std::vector<Entry>& entries() const { return m_entries; }
    /// "line 12: skipped class Foo".
    static QString text(const Entry& entry);

private:
    QString m_fileName;
    std::vector<Entry> m_entries;
};

/// Scene and image files as the programs see them: a file is read by its content, or, where that
/// tells nothing, by the ending of its name; it is written by the ending.
namespace files
{
enum class Kind { Unknown, Scene, Image };

struct Format {
    Kind kind = Kind::Unknown;
    QCString name;
    bool byEnding = false; // the content told nothing
};

struct Row {
    const char* format;
    const char* ending;
};

/// The endings of scene files, one row a format.
const std::vector<Row>& sceneEndings();

/// Unknown also for a file that can't be opened.
Format formatOfFile(const QString& fileName);
/// What the ending asks for when writing.
Format formatForWriting(const QString& fileName);

// Both return an empty text on success, else one line that says why not.
QString loadScene(GL_Scene& scene, const QString& fileName, const QCString& format,
                  VFormatDiagnostics* diagnostics);
QString saveScene(const GL_Scene& scene, const QString& fileName, const QCString& format,
                  bool exact, VFormatDiagnostics* diagnostics);
} // namespace files
