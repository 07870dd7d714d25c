#include "kernel/vimage.h"

namespace
{
const char* bytes(const QCString& text)
{
    return text.data() ? text.data() : "";
}

/// Adds a text that may be there already, so that it stands where it was met last.
void moveToEnd(QStringList& list, const QCString& text)
{
    const QString value = QString::fromLatin1(bytes(text));
    list.removeOne(value);
    list.append(value);
}
} // namespace

bool VImageTextKeyLang::operator<(const VImageTextKeyLang& other) const
{
    const int order = qstrcmp(bytes(key), bytes(other.key));
    return order < 0 || (order == 0 && qstrcmp(bytes(lang), bytes(other.lang)) < 0);
}

bool VImageTextKeyLang::operator==(const VImageTextKeyLang& other) const
{
    return !(*this < other) && !(other < *this);
}

VImageMisc& VImage::misc() const
{
    if (!m_data->misc)
        m_data->misc = new VImageMisc;
    return *m_data->misc;
}

QString VImage::text(const char* key, const char* lang) const
{
    return text(VImageTextKeyLang(key, lang));
}

QString VImage::text(const VImageTextKeyLang& keyLang) const
{
    return m_data->misc ? m_data->misc->texts.value(keyLang) : QString();
}

void VImage::setText(const char* key, const char* lang, const QString& text)
{
    misc().texts.insert(VImageTextKeyLang(key, lang), text);
}

QStringList VImage::textKeys() const
{
    QStringList keys;
    for (const VImageTextKeyLang& entry : textList())
        moveToEnd(keys, entry.key);
    return keys;
}

QStringList VImage::textLanguages() const
{
    QStringList languages;
    for (const VImageTextKeyLang& entry : textList())
        moveToEnd(languages, entry.lang);
    return languages;
}

QValueList<VImageTextKeyLang> VImage::textList() const
{
    QValueList<VImageTextKeyLang> list;
    if (m_data->misc)
        for (auto entry = m_data->misc->texts.cbegin(); entry != m_data->misc->texts.cend();
             ++entry)
            list.append(entry.key());
    return list;
}
