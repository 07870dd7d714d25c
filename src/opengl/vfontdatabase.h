#pragma once

#include "toolkit/zylexport.h"

#include <qstring.h>
#include <qstringlist.h>

#include <map>
#include <memory>
#include <vector>

struct _FcConfig;
class VFontFace;

/// Finds fonts: first in the folders of the X server's font path, then through fontconfig, which
/// also knows what may stand for a font that isn't there.
class ZYL_EXPORT VFontDatabase
{
public:
    /// A face in a file.
    struct Font {
        QString file;
        int index = 0;
        QString family;
        QString style;
    };

    VFontDatabase();
    ~VFontDatabase();
    VFontDatabase(const VFontDatabase&) = delete;
    VFontDatabase& operator=(const VFontDatabase&) = delete;

    /// The one of the process, made at the first call.
    static VFontDatabase* instance();
    /// Has everything looked for anew, after fonts came or went. Open faces stay.
    static void reload();

    /// The folders of the font path that are there.
    const QStringList& folders();
    /// The fonts in these folders.
    const std::vector<Font>& fonts();
    /// Of all fonts, without doubles.
    QStringList families();

    /// The font of a family, in any case of letters, that has the style, or is the plain one for an
    /// empty style; or what stands for it. False when there is no font at all.
    bool find(const QString& family, const QString& style, Font& font);

    // Open faces, shared by all who ask for them, or null.
    std::shared_ptr<VFontFace> face(const QString& file, int index = 0);
    std::shared_ptr<VFontFace> findFace(const QString& family, const QString& style);
    /// For texts that name no font: the first sans serif one. Warns once, and returns null, when
    /// there is no font at all.
    std::shared_ptr<VFontFace> standardFace();

private:
    const Font* findInPath(const QString& family, const QString& style);
    bool match(const QString& family, const QString& style, Font& font) const;

    _FcConfig* m_config; // null without fontconfig
    bool m_scanned = false;
    bool m_warned = false;
    QStringList m_folders;
    std::vector<Font> m_fonts;
    std::map<std::pair<QString, int>, std::weak_ptr<VFontFace>> m_faces;
    std::shared_ptr<VFontFace> m_standard;
};
