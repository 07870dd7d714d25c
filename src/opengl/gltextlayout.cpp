#include "opengl/gltextlayout.h"

#include "kernel/vevent.h"
#include "kernel/vformatio.h"
#include "kernel/vzylfields_p.h"
#include "opengl/glactionevent_p.h"
#include "opengl/glfont.h"
#include "opengl/glscene.h"
#include "opengl/gltextglyph.h"
#include "opengl/vfontface.h"

#include <algorithm>
#include <cmath>

using geometry::Box2f;
using geometry::Vector2f;
using zylfields::field;

namespace
{
constexpr quint8 textTag = 0x80;
constexpr quint8 fontTag = 0x81;

// A length that keeps sums and products of it finite.
constexpr float mostLength = 1e12f;

float bounded(float value, float otherwise)
{
    return std::isfinite(value) ? std::clamp(value, -mostLength, mostLength) : otherwise;
}

bool endsLine(char32_t c)
{
    return c == '\n' || c == '\r' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
}

char32_t characterOf(int code)
{
    const bool isOne =
        code >= 0 && code <= QChar::LastValidCodePoint && !QChar::isSurrogate(char32_t(code));
    return isOne ? char32_t(code) : char32_t(QChar::ReplacementCharacter);
}

/// Whether quotes can hold the text: the grammar looks for these marks within strings too, and
/// ends a string of the library's own at a zero.
bool fitsQuotes(const QString& text)
{
    return std::none_of(text.begin(), text.end(), [](QChar c) {
        return c == QLatin1Char(';') || c == QLatin1Char('{') || c == QLatin1Char('}') ||
               c.isNull();
    });
}

QByteArray quoted(const QString& text)
{
    QByteArray result = "\"";
    char last = 0;
    for (const char c : text.toUtf8()) {
        const bool opensComment = last == '/' && (c == '/' || c == '*');
        if (c == '\n')
            result += "\\n";
        else if (c == '\r')
            result += "\\r";
        else if (c == '"' || c == '\\' || opensComment)
            (result += '\\') += c;
        else
            result += c;
        last = c;
    }
    return result += '"';
}
} // namespace

struct GL_TextLayout::Stored {
    static constexpr auto fields = std::tuple(
        field("size", 0x82, &GL_TextLayout::m_size, 1.0f),
        field("alignment", 0x83, &GL_TextLayout::m_alignment, int(Left)),
        field("verticalAlignment", 0x84, &GL_TextLayout::m_verticalAlignment, int(Baseline)),
        field("spacing", 0x85, &GL_TextLayout::m_spacing, 0.0f),
        field("lineSpacing", 0x86, &GL_TextLayout::m_lineSpacing, 1.0f));
};

GL_TextLayout::GL_TextLayout() = default;

GL_TextLayout::~GL_TextLayout() = default;

// Values

template <class T>
void GL_TextLayout::change(T& member, const T& value)
{
    if (member == value)
        return;
    member = value;
    if (m_isReady)
        layOut();
}

void GL_TextLayout::setText(const QString& text)
{
    change(m_text, text);
}

void GL_TextLayout::setFont(GL_Font* font)
{
    m_fontName = QCString();
    if (m_isReady && !font && !m_standard)
        m_standard = GL_Font::standard(nullptr);
    change(m_font, font);
}

void GL_TextLayout::setSize(float size)
{
    change(m_size, size);
}

GL_TextLayout::Alignment GL_TextLayout::alignment() const
{
    return m_alignment == Center || m_alignment == Right ? Alignment(m_alignment) : Left;
}

void GL_TextLayout::setAlignment(Alignment alignment)
{
    change(m_alignment, int(alignment));
}

GL_TextLayout::VerticalAlignment GL_TextLayout::verticalAlignment() const
{
    return m_verticalAlignment >= Top && m_verticalAlignment <= Bottom
               ? VerticalAlignment(m_verticalAlignment)
               : Baseline;
}

void GL_TextLayout::setVerticalAlignment(VerticalAlignment alignment)
{
    change(m_verticalAlignment, int(alignment));
}

void GL_TextLayout::setSpacing(float spacing)
{
    change(m_spacing, spacing);
}

void GL_TextLayout::setLineSpacing(float spacing)
{
    change(m_lineSpacing, spacing);
}

QCString GL_TextLayout::fontName() const
{
    const char* const name = m_font ? m_font->name(nullptr) : nullptr;
    return name ? QCString(name) : m_fontName;
}

bool GL_TextLayout::textEvent(VEvent* event)
{
    VActionEvent* const action =
        actionevent::between(event, VActionEvent::SetText, VActionEvent::SetText);
    if (!action)
        return false;
    setText(*action->value<QString>());
    action->accept();
    return true;
}

// Files

void GL_TextLayout::readLayout(VFormatIO& io)
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return;
    if (QDataStream* const data = stream->dataStream()) {
        quint8 tag;
        while (zylfields::nextTag(*data, tag)) {
            if (tag == textTag) {
                zylfields::get(*data, m_text);
            } else if (tag == fontTag) {
                zylfields::get(*data, m_fontName);
            } else if (!zylfields::take(*data, tag, *this, Stored::fields)) {
                zylfields::putBack(*data, tag);
                break;
            }
        }
    } else {
        stream->read("text", m_text);
        VMemArray<int> characters;
        if (stream->read("characters", characters) > 0) {
            m_text.clear();
            for (const int code : characters)
                m_text += QChar::fromUcs4(characterOf(code));
        }
        stream->read("font", m_fontName);
        zylfields::read(io, *this, Stored::fields);
    }
    auto* const scene = static_cast<GL_Scene*>(io.container("scene"));
    m_font = scene ? GL_NamedObject::find(scene->fonts(), m_fontName.data()) : nullptr;
    if (!m_font && !m_fontName.isEmpty())
        stream->report(VFormatDiagnostics::UnresolvedName, QString::fromLatin1(m_fontName.data()));
    m_isReady = false;
}

void GL_TextLayout::writeLayout(VFormatIO& io) const
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return;
    const QCString font = fontName();
    if (QDataStream* const data = stream->dataStream()) {
        if (!m_text.isEmpty()) {
            *data << textTag;
            zylfields::put(*data, m_text);
        }
        if (!font.isEmpty()) {
            *data << fontTag;
            zylfields::put(*data, font);
        }
    } else {
        if (!fitsQuotes(m_text)) {
            const QList<uint> codes = m_text.toUcs4();
            VMemArray<int> characters(unsigned(codes.size()));
            std::copy(codes.begin(), codes.end(), characters.data());
            zylfields::writeText(*stream, "characters", characters);
        } else if (!m_text.isEmpty()) {
            stream->begin("text");
            stream->writeRaw(quoted(m_text).constData());
            stream->end();
        }
        if (!font.isEmpty())
            zylfields::writeText(*stream, "font", font.data());
    }
    zylfields::write(io, *this, Stored::fields);
}

// Layout

void GL_TextLayout::initLayout(GL_Scene* scene)
{
    if (!m_font && scene)
        m_font = GL_NamedObject::find(scene->fonts(), m_fontName.data());
    m_standard = m_font ? nullptr : GL_Font::standard(scene);
    m_isReady = true;
    layOut();
}

float GL_TextLayout::scale() const
{
    return m_size > 0 ? bounded(m_size, 0) : 0;
}

Box2f GL_TextLayout::textBounds() const
{
    const float factor = scale();
    return m_box.isEmpty() ? m_box : Box2f(m_box.min * factor, m_box.max * factor);
}

/// Sets the characters of one line after the other, each line from x = 0 on, and then moves it to
/// where it belongs.
class GL_TextLayout::Setter
{
public:
    explicit Setter(GL_TextLayout& layout)
        : m_layout(layout), m_face(layout.m_face.get()), m_spacing(bounded(layout.m_spacing, 0))
    {
        if (m_face) {
            m_ascent = m_face->ascent();
            m_descent = m_face->descent();
            m_lineHeight = m_face->lineHeight();
            m_blank = m_face->glyph(m_face->glyphIndex(U' ')).advance();
        }
        m_lineHeight *= bounded(layout.m_lineSpacing, 1);
    }

    void run()
    {
        const QList<uint> text = m_layout.m_text.toUcs4();
        for (qsizetype i = 0; i < text.size(); ++i) {
            const char32_t c = text[i];
            if (!endsLine(c)) {
                add(c);
                continue;
            }
            if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n')
                ++i;
            endLine();
        }
        endLine();
        alignVertically();
    }

private:
    void add(char32_t c)
    {
        constexpr int tabWidth = 8; // in blanks
        if (c == '\t') {
            const float stop = tabWidth * m_blank;
            if (stop > 0)
                m_x = (std::floor(m_x / stop) + 1) * stop;
            m_before = 0;
            return;
        }
        const QChar::Category category = QChar::category(c);
        if (category == QChar::Other_Control || category == QChar::Other_Format)
            return;
        const unsigned index = m_face ? m_face->glyphIndex(c) : 0;
        if (index == 0 && QChar::isSpace(c)) {
            advance(m_blank);
            m_before = 0;
            return;
        }
        const GL_Glyph* glyph = m_face ? &m_face->glyph(index) : &GL_Glyph::box();
        if (index == 0 && glyph->isBlank())
            glyph = &GL_Glyph::box();
        if (m_before && index)
            m_x += m_face->kerning(m_before, index);
        if (!glyph->isBlank())
            m_layout.m_places.push_back({glyph, Vector2f(m_x, 0)});
        advance(glyph->advance());
        m_before = index;
    }
    void advance(float width)
    {
        m_width = m_x + width;
        m_x = m_width + m_spacing;
    }

    void endLine()
    {
        const Alignment alignment = m_layout.alignment();
        const float shift = alignment == Left ? 0 : alignment == Center ? -m_width / 2 : -m_width;
        std::vector<Place>& places = m_layout.m_places;
        for (; m_lineBegin < places.size(); ++m_lineBegin)
            places[m_lineBegin].at += Vector2f(shift, m_y);
        m_layout.m_lines.push_back(Box2f(shift, m_y + m_descent, shift + m_width, m_y + m_ascent));
        m_y -= m_lineHeight;
        m_x = m_width = 0;
        m_before = 0;
    }

    void alignVertically()
    {
        const float top = m_ascent, bottom = m_y + m_lineHeight + m_descent;
        float shift = 0;
        switch (m_layout.verticalAlignment()) {
        case Baseline:
            break;
        case Top:
            shift = -top;
            break;
        case Middle:
            shift = -(top + bottom) / 2;
            break;
        case Bottom:
            shift = -bottom;
            break;
        }
        const Vector2f up(0, shift);
        Box2f& all = m_layout.m_box;
        for (Box2f& line : m_layout.m_lines) {
            line = Box2f(line.min + up, line.max + up);
            all.include(line);
        }
        for (Place& place : m_layout.m_places) {
            place.at += up;
            const Box2f& glyph = place.glyph->bounds();
            all.include(Box2f(glyph.min + place.at, glyph.max + place.at));
        }
    }

    GL_TextLayout& m_layout;
    VFontFace* m_face;
    float m_ascent = 0.75f, m_descent = -0.25f, m_lineHeight = 1.2f;
    float m_blank = 0.3f;
    float m_spacing;
    float m_x = 0, m_y = 0;
    float m_width = 0; // of the line without the spacing after its last character
    std::size_t m_lineBegin = 0;
    unsigned m_before = 0; // the glyph before, 0 for none
};

void GL_TextLayout::layOut()
{
    m_places.clear();
    m_lines.clear();
    m_box.makeEmpty();
    const GL_Font* const font = usedFont();
    m_face = font ? font->face() : nullptr;
    if (!m_text.isEmpty())
        Setter(*this).run();
    layoutChanged();
}
