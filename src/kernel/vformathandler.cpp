#include "kernel/vformathandler.h"

#include <qstring.h>

namespace
{
/// White space in a pattern includes the no-break space of Latin-1, which "\s" alone leaves out.
QString withNoBreakSpace(const char* header)
{
    const QString pattern = QString::fromLatin1(header);
    QString result;
    bool inSet = false;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const QChar c = pattern[i];
        if (c == QLatin1Char('\\') && i + 1 < pattern.size()) {
            const QChar escaped = pattern[++i];
            if (escaped != QLatin1Char('s'))
                result += QString(c) + escaped;
            else
                result += inSet ? QLatin1String("\\s\\xA0") : QLatin1String("[\\s\\xA0]");
            continue;
        }
        if (c == QLatin1Char('['))
            inSet = true;
        else if (c == QLatin1Char(']'))
            inSet = false;
        result += c;
    }
    return result;
}
} // namespace

// "." has to match a line end too: the headers of pictures have some.
VFormatHandler::VFormatHandler(const char* format, const char* header, const QCString& flags)
    : m_format(format ? format : ""),
      m_header(withNoBreakSpace(header), QRegularExpression::DotMatchesEverythingOption),
      m_textMode(flags.find('t') >= 0   ? Text
                 : flags.find('T') >= 0 ? TranslatedText
                                        : Binary),
      m_obsolete(flags.find('O') >= 0)
{
}

VFormatHandler::~VFormatHandler() = default;

int VFormatHandler::match(const QString& text) const
{
    if (!m_header.isValid())
        return -1;
    const QRegularExpressionMatch found = m_header.match(text);
    return found.hasMatch() ? int(found.capturedLength()) : -1;
}
