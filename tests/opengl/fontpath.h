#pragma once

#include "kernel/vx11.h"
#include "opengl/vfontdatabase.h"

#include <qdir.h>
#include <qfile.h>
#include <qtemporarydir.h>

/// A machine with a font path and nothing else, until the end of the scope.
class FontPath : public VX11
{
public:
    explicit FontPath(const QStringList& path = QStringList()) : m_path(path)
    {
        QFile file(m_folder.filePath(QStringLiteral("fonts.conf")));
        file.open(QIODevice::WriteOnly);
        file.write("<?xml version=\"1.0\"?><!DOCTYPE fontconfig SYSTEM \"fonts.dtd\">"
                   "<fontconfig></fontconfig>");
        file.close();
        m_config = qgetenv("FONTCONFIG_FILE");
        qputenv("FONTCONFIG_FILE", file.fileName().toLocal8Bit());
        m_before = setSubstitute(this);
        VFontDatabase::reload();
    }
    ~FontPath() override
    {
        setSubstitute(m_before);
        if (m_config.isEmpty())
            qunsetenv("FONTCONFIG_FILE");
        else
            qputenv("FONTCONFIG_FILE", m_config);
        VFontDatabase::reload();
    }

    QStringList fontPath() override { return m_path; }

private:
    QStringList m_path;
    QTemporaryDir m_folder;
    QByteArray m_config;
    VX11* m_before;
};
