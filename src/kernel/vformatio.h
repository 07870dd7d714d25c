#pragma once

#include "toolkit/qasciidict.h"
#include "toolkit/qcstring.h"

#include <qstring.h>

#include <memory>

QT_BEGIN_NAMESPACE
class QIODevice;
QT_END_NAMESPACE
class VFormatDiagnostics;

/// The side containers of a request. The items belong to others.
class ZYL_EXPORT VFormatIOData : public QAsciiDict<void>
{
public:
    VFormatIOData();
    ~VFormatIOData() override;
};

/// One request to read or write: a device or a file name, a format, and what became of it.
///
/// Side containers hand a reader what it needs through code that doesn't know it, such as the scene
/// that is being read. The device and the containers belong to the caller.
class ZYL_EXPORT VFormatIO
{
public:
    VFormatIO();
    VFormatIO(QIODevice* device, const char* format);
    VFormatIO(const QString& fileName, const char* format);
    VFormatIO(const VFormatIO&) = delete;
    VFormatIO& operator=(const VFormatIO&) = delete;
    virtual ~VFormatIO();

    /// Both return whether the status is 0 afterwards.
    virtual bool read() = 0;
    virtual bool write() = 0;

    /// 0 is success; anything else is failure, or work under way.
    int status() const { return m_status; }
    void setStatus(int status) { m_status = status; }
    /// Empty, never null, when it is not known.
    const QCString& format() const { return m_format; }
    void setFormat(const char* format);
    QIODevice* ioDevice() const { return m_device; }
    void setIODevice(QIODevice* device) { m_device = device; }
    const QString& fileName() const { return m_fileName; }
    void setFileName(const QString& fileName) { m_fileName = fileName; }

    /// The levels of indentation of what is written, four blanks each.
    int indent() const { return m_indent; }
    void setIndent(int indent) { m_indent = indent; }
    /// Writes the indentation of the current level. It stops growing at 24 levels, which keeps the
    /// size of deeply nested files in proportion to their content.
    void writeIndent();
    /// How many blanks `writeIndent` writes.
    int indentWidth() const;

    /// A null value removes the entry, and a null key is passed over.
    void setContainer(const char* key, void* value);
    void* container(const char* key) const;

    /// Null unless somebody wants to know; it belongs to the caller.
    VFormatDiagnostics* diagnostics() const { return m_diagnostics; }
    void setDiagnostics(VFormatDiagnostics* diagnostics) { m_diagnostics = diagnostics; }

    /// Writes real numbers with the fewest digits that read back to the same bits, instead of six.
    bool isExact() const { return m_exact; }
    void setExact(bool exact) { m_exact = exact; }

private:
    qint32 m_status = 0;
    QCString m_format;
    QIODevice* m_device = nullptr;
    QString m_fileName;
    qint32 m_indent = 0;
    std::unique_ptr<VFormatIOData> m_containers; // made for the first one
    VFormatDiagnostics* m_diagnostics = nullptr;
    bool m_exact = false;
};
