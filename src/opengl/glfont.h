#pragma once

#include "opengl/glnamedobject.h"

#include <qstring.h>

#include <memory>

class GL_Font;
class GL_Glyph;
class GL_GlyphAtlas;
class VFontFace;

using GL_FontList = VPtrList<GL_Font>;

/// A font of a scene, by which its texts name it: a face of a file, or one that is found by its
/// family and style. Where neither is given its name counts as the family.
class ZYL_EXPORT GL_Font : public GL_NamedObject
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    GL_Font();
    ~GL_Font() override;

    // What is changed counts after the next `init`, of the font and of the texts.
    const QString& file() const { return m_file; }
    /// Looked for as it stands, then from the folder of the scene's file.
    void setFile(const QString& file, int index = 0);
    int index() const { return m_index; }
    const QString& family() const { return m_family; }
    const QString& style() const { return m_style; }
    void setFamily(const QString& family, const QString& style = QString());

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    /// Opens the face, or the standard one where it can't, with a warning about a file.
    void init(GL_Scene* scene) override;

    /// Null before `init`, and where there is no font at all.
    const std::shared_ptr<VFontFace>& face() const { return m_face; }
    /// The face's glyphs as a texture of the context that is current; null without a face.
    GL_GlyphAtlas* atlas();

    /// The font of texts that name none: one for all of a scene, as long as any of them lives.
    static std::shared_ptr<GL_Font> standard(const GL_Scene* scene);

private:
    struct Stored;

    std::shared_ptr<VFontFace> openFace() const;

    QString m_file;
    QString m_family;
    QString m_style;
    int m_index = 0;
    QString m_folder; // of the scene's file
    bool m_isOpen = false;
    std::shared_ptr<VFontFace> m_face;
    std::unique_ptr<GL_GlyphAtlas> m_atlas;
};
