#pragma once

#include "geometry/zylbox.h"
#include "toolkit/qcstring.h"
#include "toolkit/zylexport.h"

#include <qstring.h>

#include <memory>
#include <vector>

class GL_Font;
class GL_Glyph;
class GL_NamedObject;
class GL_Scene;
class VEvent;
class VFontFace;
class VFormatIO;

/// What texts in two and in three dimensions have in common: characters, a font, and where in a
/// plane each character stands.
///
/// Characters follow one another from left to right, a pair of them closer where the font says so.
/// A line ends at a line feed, a carriage return or both, or at Unicode's separators of lines and
/// paragraphs; a tab leads to the next of stops that are eight blanks apart. What controls text
/// otherwise isn't shown. A character that the font doesn't have shows as what the font has for
/// that, or as a box.
class ZYL_EXPORT GL_TextLayout
{
public:
    enum Alignment { Left, Center, Right };
    /// What of the text is at y = 0: the baseline of the first line, or the top, the middle or the
    /// bottom of all lines.
    enum VerticalAlignment { Baseline, Top, Middle, Bottom };

    /// Where a character stands, in ems.
    struct Place {
        const GL_Glyph* glyph;
        geometry::Vector2f at;
    };

    virtual ~GL_TextLayout();

    const QString& text() const { return m_text; }
    void setText(const QString& text);
    GL_Font* font() const { return m_font; }
    /// The font stays the scene's. Null means the standard one.
    void setFont(GL_Font* font);
    /// Of an em, in the unit of the space around. Nothing shows unless it is above 0.
    float size() const { return m_size; }
    void setSize(float size);
    Alignment alignment() const;
    void setAlignment(Alignment alignment);
    VerticalAlignment verticalAlignment() const;
    void setVerticalAlignment(VerticalAlignment alignment);
    /// What is added between characters, in ems.
    float spacing() const { return m_spacing; }
    void setSpacing(float spacing);
    /// The distance of lines as a multiple of the font's own.
    float lineSpacing() const { return m_lineSpacing; }
    void setLineSpacing(float spacing);

    // Known after `init`.
    /// The characters that show.
    const std::vector<Place>& places() const { return m_places; }
    /// What each line takes, from ascent to descent, in ems.
    const std::vector<geometry::Box2f>& lines() const { return m_lines; }
    /// Of all that shows, in the unit of the space around.
    geometry::Box2f textBounds() const;
    /// The size, or 0 where nothing shows.
    float scale() const;

protected:
    GL_TextLayout();
    GL_TextLayout(const GL_TextLayout&) = delete;
    GL_TextLayout& operator=(const GL_TextLayout&) = delete;

    bool textEvent(VEvent* event);
    void readLayout(VFormatIO& io);
    void writeLayout(VFormatIO& io) const;
    void initLayout(GL_Scene* scene);
    /// Called when places and bounds have changed.
    virtual void layoutChanged() = 0;
    /// The scene's font, or the standard one; null before `init`.
    GL_Font* usedFont() const { return m_font ? m_font : m_standard.get(); }

private:
    struct Stored;
    class Setter;

    template <class T>
    void change(T& member, const T& value);
    void layOut();
    QCString fontName() const;

    QString m_text;
    QCString m_fontName;       // kept until the font is found
    GL_Font* m_font = nullptr; // owned by the scene
    float m_size = 1;
    int m_alignment = Left;
    int m_verticalAlignment = Baseline;
    float m_spacing = 0;
    float m_lineSpacing = 1;

    bool m_isReady = false;
    std::shared_ptr<GL_Font> m_standard;
    std::shared_ptr<VFontFace> m_face; // keeps the glyphs
    std::vector<Place> m_places;
    std::vector<geometry::Box2f> m_lines;
    geometry::Box2f m_box; // in ems
};
