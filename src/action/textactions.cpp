#include "action/textactions.h"

#include "action/actionstream_p.h"
#include "kernel/vdeclare.h"
#include "kernel/vevent.h"

#include <cstring>

namespace action
{
namespace
{
constexpr const char* plainFormat = "%g";

const char* skipDigits(const char* p, int most)
{
    while (most-- > 0 && *p >= '0' && *p <= '9')
        ++p;
    return p;
}

/// Whether a format asks for at most one argument, and that a real number: it comes from a file,
/// and others would read what isn't there, or write to it.
bool isSafe(const char* format)
{
    int numbers = 0;
    while (const char* p = std::strchr(format, '%')) {
        format = p + 2;
        if (p[1] == '%')
            continue;
        p += 1 + std::strspn(p + 1, "-+ #0");
        p = skipDigits(p, 2);
        if (*p == '.')
            p = skipDigits(p + 1, 2);
        if (*p == 'l')
            ++p;
        if (!*p || !std::strchr("eEfFgG", *p) || ++numbers > 1)
            return false;
        format = p + 1;
    }
    return true;
}
} // namespace

struct TextAction::Meta {
    static constexpr auto fieldTable =
        std::tuple(zylfields::filled("formats", 0x80, &TextAction::m_formats));
};
VMetaObject* ElapsedTime::metaObj = nullptr;
VMetaObject* TextAction::metaObj = nullptr;

VMetaObject* ElapsedTime::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::ElapsedTime", Action::staticMetaObject());
    return metaObj;
}

VMetaObject* ElapsedTime::metaObject() const
{
    return staticMetaObject();
}

VMetaObject* TextAction::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::TextAction", Action::staticMetaObject());
    return metaObj;
}

VMetaObject* TextAction::metaObject() const
{
    return staticMetaObject();
}

bool ElapsedTime::evaluate(int key, double value)
{
    return send(key, VActionEvent::Elapsed, &value);
}

void TextAction::setFormats(const QStringList& formats)
{
    m_formats = formats;
    m_checkedFormats.clear();
    for (const QString& format : formats) {
        const QByteArray text = format.toUtf8();
        m_checkedFormats.push_back(isSafe(text) ? text : QByteArray(plainFormat));
    }
}

bool TextAction::evaluate(int key, double value)
{
    ConnectionList* const list = connections(key);
    if (!list)
        return false;
    const bool hasFormat = key >= 0 && unsigned(key) < m_checkedFormats.size();
    const char* const format =
        hasFormat ? m_checkedFormats[unsigned(key)].constData() : plainFormat;
    QString text = QString::asprintf(format, value);
    return send(*list, VActionEvent::SetText, &text);
}

VFormatIO& TextAction::read(VFormatIO& io)
{
    Action::read(io);
    zylfields::read(io, *this, Meta::fieldTable);
    setFormats(QStringList(m_formats));
    return io;
}

VFormatIO& TextAction::write(VFormatIO& io) const
{
    Action::write(io);
    return zylfields::write(io, *this, Meta::fieldTable);
}
} // namespace action
