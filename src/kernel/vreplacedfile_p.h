#pragma once

#include <qfile.h>
#include <qfileinfo.h>
#include <qsavefile.h>

/// A file opened for writing whose old content stays until `commit`. A failed or abandoned save
/// leaves the old file whole. What isn't a plain file (a device, a pipe) is written in place.
class ReplacedFile
{
public:
    explicit ReplacedFile(const QString& name, bool translated)
    {
        const QIODevice::OpenMode mode =
            translated ? QIODevice::WriteOnly | QIODevice::Text : QIODevice::WriteOnly;
        const QFileInfo info(name);
        if (info.exists() && !info.isFile()) {
            m_special.setFileName(name);
            m_open = m_special.open(mode);
            m_device = &m_special;
        } else {
            m_file.setFileName(name);
            m_open = m_file.open(mode);
            m_device = &m_file;
        }
    }

    bool isOpen() const { return m_open; }
    QFileDevice* device() const { return m_device; }

    /// Puts what was written in place of the old file. False when it could not all be written.
    bool commit()
    {
        if (m_device == &m_file)
            return m_file.commit();
        return m_special.flush() && m_special.error() == QFileDevice::NoError;
    }

private:
    QSaveFile m_file;
    QFile m_special;
    QFileDevice* m_device = nullptr;
    bool m_open = false;
};
