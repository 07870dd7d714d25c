#include "opengl/vfontdatabase.h"

#include "kernel/vx11.h"
#include "opengl/vfontface.h"
#include "tools/postroutines.h"

#include <qdir.h>
#include <qfile.h>
#include <qfileinfo.h>

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <iterator>

namespace
{
constexpr std::size_t mostFonts = 10000; // of the font path
constexpr int mostFaces = 64;            // of one file

VFontDatabase* database = nullptr;

void deleteDatabase()
{
    delete database;
    database = nullptr;
}

bool isSame(const QString& a, const QString& b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

/// What the style of an upright font of medium weight may be called.
bool isPlain(const QString& style)
{
    for (const char* const name : {"", "Regular", "Book", "Roman", "Normal", "Medium"})
        if (isSame(style, QLatin1String(name)))
            return true;
    return false;
}

bool isSans(const QString& family)
{
    for (const char* const part : {"sans", "helvetica", "arial"})
        if (family.contains(QLatin1String(part), Qt::CaseInsensitive))
            return true;
    return false;
}

struct DeletePattern {
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
    void operator()(FcFontSet* set) const { FcFontSetDestroy(set); }
    void operator()(FcObjectSet* set) const { FcObjectSetDestroy(set); }
};
using Pattern = std::unique_ptr<FcPattern, DeletePattern>;

QString textOf(FcPattern* pattern, const char* key)
{
    FcChar8* text = nullptr;
    if (FcPatternGetString(pattern, key, 0, &text) != FcResultMatch)
        return QString();
    return QString::fromUtf8(reinterpret_cast<const char*>(text));
}

void addText(FcPattern* pattern, const char* key, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    FcPatternAddString(pattern, key, reinterpret_cast<const FcChar8*>(bytes.constData()));
}

/// Fontconfig weighs numbers; by the style's name alone it finds the plain font.
void addStyle(FcPattern* pattern, const QString& style)
{
    static constexpr struct {
        const char* word;
        const char* key;
        int value;
    } words[] = {
        {"bold", FC_WEIGHT, FC_WEIGHT_BOLD},     {"black", FC_WEIGHT, FC_WEIGHT_BLACK},
        {"light", FC_WEIGHT, FC_WEIGHT_LIGHT},   {"italic", FC_SLANT, FC_SLANT_ITALIC},
        {"oblique", FC_SLANT, FC_SLANT_OBLIQUE}, {"condensed", FC_WIDTH, FC_WIDTH_CONDENSED}};
    if (!style.isEmpty())
        addText(pattern, FC_STYLE, style);
    for (const auto& word : words)
        if (style.contains(QLatin1String(word.word), Qt::CaseInsensitive))
            FcPatternAddInteger(pattern, word.key, word.value);
}

/// The folders that an entry of the font path stands for: one, followed perhaps by marks such as
/// ":unscaled"; the links in a catalogue; or none, as for "built-ins" or a font server.
QStringList foldersOf(QString entry)
{
    constexpr QLatin1String catalogue("catalogue:");
    const bool isCatalogue = entry.startsWith(catalogue);
    if (isCatalogue)
        entry.remove(0, catalogue.size());
    entry = entry.section(QLatin1Char(':'), 0, 0);
    if (!entry.startsWith(QLatin1Char('/')) || !QFileInfo(entry).isDir())
        return QStringList();
    if (!isCatalogue)
        return QStringList(entry);
    QStringList folders;
    const QFileInfoList links = QDir(entry).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QFileInfo& link : links)
        folders.append(link.filePath());
    return folders;
}
} // namespace

VFontDatabase::VFontDatabase() : m_config(FcInitLoadConfigAndFonts()) {}

VFontDatabase::~VFontDatabase()
{
    if (m_config)
        FcConfigDestroy(m_config);
}

VFontDatabase* VFontDatabase::instance()
{
    if (!database) {
        database = new VFontDatabase;
        postroutines::remove(&deleteDatabase);
        postroutines::add(&deleteDatabase);
    }
    return database;
}

void VFontDatabase::reload()
{
    deleteDatabase();
}

const QStringList& VFontDatabase::folders()
{
    fonts();
    return m_folders;
}

const std::vector<VFontDatabase::Font>& VFontDatabase::fonts()
{
    if (m_scanned)
        return m_fonts;
    m_scanned = true;
    for (const QString& entry : VX11::instance()->fontPath())
        m_folders += foldersOf(entry);
    m_folders.removeDuplicates();
    static const QStringList patterns{QStringLiteral("*.ttf"), QStringLiteral("*.ttc"),
                                      QStringLiteral("*.otf"), QStringLiteral("*.otc"),
                                      QStringLiteral("*.pfa"), QStringLiteral("*.pfb")};
    for (const QString& folder : m_folders) {
        const QFileInfoList files = QDir(folder).entryInfoList(patterns, QDir::Files, QDir::Name);
        for (const QFileInfo& file : files) {
            int count = 1;
            for (int index = 0; index < count && m_fonts.size() < mostFonts; ++index) {
                const auto face = VFontFace::open(file.filePath(), index);
                if (!face)
                    break;
                count = std::min(face->count(), mostFaces);
                m_fonts.push_back({file.filePath(), index, face->family(), face->style()});
            }
        }
    }
    return m_fonts;
}

QStringList VFontDatabase::families()
{
    QStringList names;
    for (const Font& font : fonts())
        names.append(font.family);
    if (m_config) {
        const Pattern all(FcPatternCreate());
        FcPatternAddBool(all.get(), FC_SCALABLE, FcTrue);
        const std::unique_ptr<FcObjectSet, DeletePattern> keys(
            FcObjectSetBuild(FC_FAMILY, nullptr));
        const std::unique_ptr<FcFontSet, DeletePattern> set(
            FcFontList(m_config, all.get(), keys.get()));
        for (int i = 0; set && i < set->nfont; ++i)
            names.append(textOf(set->fonts[i], FC_FAMILY));
    }
    names.sort(Qt::CaseInsensitive);
    names.removeDuplicates();
    return names;
}

const VFontDatabase::Font* VFontDatabase::findInPath(const QString& family, const QString& style)
{
    const Font* other = nullptr;
    for (const Font& font : fonts()) {
        if (!isSame(font.family, family))
            continue;
        if (style.isEmpty() ? isPlain(font.style) : isSame(font.style, style))
            return &font;
        if (style.isEmpty() && !other)
            other = &font;
    }
    return other;
}

bool VFontDatabase::match(const QString& family, const QString& style, Font& font) const
{
    if (!m_config)
        return false;
    const Pattern wanted(FcPatternCreate());
    addText(wanted.get(), FC_FAMILY, family);
    addStyle(wanted.get(), style);
    FcPatternAddBool(wanted.get(), FC_SCALABLE, FcTrue);
    FcConfigSubstitute(m_config, wanted.get(), FcMatchPattern);
    FcDefaultSubstitute(wanted.get());
    FcResult result;
    const Pattern found(FcFontMatch(m_config, wanted.get(), &result));
    if (!found)
        return false;
    font = Font{textOf(found.get(), FC_FILE), 0, textOf(found.get(), FC_FAMILY),
                textOf(found.get(), FC_STYLE)};
    FcPatternGetInteger(found.get(), FC_INDEX, 0, &font.index);
    return !font.file.isEmpty();
}

bool VFontDatabase::find(const QString& family, const QString& style, Font& font)
{
    if (const Font* const known = findInPath(family, style)) {
        font = *known;
        return true;
    }
    if (match(family, style, font))
        return true;
    if (fonts().empty())
        return false;
    const auto sans = std::find_if(m_fonts.begin(), m_fonts.end(), [](const Font& one) {
        return isSans(one.family) && isPlain(one.style);
    });
    font = sans != m_fonts.end() ? *sans : m_fonts.front();
    return true;
}

std::shared_ptr<VFontFace> VFontDatabase::face(const QString& file, int index)
{
    std::weak_ptr<VFontFace>& known = m_faces[{file, index}];
    std::shared_ptr<VFontFace> face = known.lock();
    if (!face)
        known = face = VFontFace::open(file, index);
    return face;
}

std::shared_ptr<VFontFace> VFontDatabase::findFace(const QString& family, const QString& style)
{
    Font font;
    return find(family, style, font) ? face(font.file, font.index) : nullptr;
}

std::shared_ptr<VFontFace> VFontDatabase::standardFace()
{
    if (m_standard || m_warned)
        return m_standard;
    for (const Font& font : fonts())
        if (!m_standard && isSans(font.family) && isPlain(font.style))
            m_standard = face(font.file, font.index);
    if (!m_standard)
        m_standard = findFace(QStringLiteral("sans-serif"), QString());
    if (!m_standard) {
        m_warned = true;
        qWarning("VFontDatabase::standardFace: No font found");
    }
    return m_standard;
}
