#pragma once

#include "toolkit/qcstring.h"
#include "toolkit/zylexport.h"

#include <qregularexpression.h>

/// One file format: its name, how its files begin, and what can be done with it.
class ZYL_EXPORT VFormatHandler
{
public:
    enum TextMode : quint8 {
        Binary = 0,
        Text = 1,
        TranslatedText = 2, ///< written to a device that is opened for text
    };

    /// `header` is a regular expression over the first bytes of a file as Latin-1. Of the letters
    /// in `flags`, "t" means text and "T" translated text, of which "t" goes first; "O" marks a
    /// format that is no longer offered. The format can be read and written until a subclass says
    /// not.
    VFormatHandler(const char* format, const char* header, const QCString& flags);
    virtual ~VFormatHandler();
    VFormatHandler(const VFormatHandler&) = delete;
    VFormatHandler& operator=(const VFormatHandler&) = delete;

    const QCString& format() const { return m_format; }
    const QRegularExpression& header() const { return m_header; }
    TextMode textMode() const { return m_textMode; }
    bool isObsolete() const { return m_obsolete; }
    bool canRead() const { return m_canRead; }
    bool canWrite() const { return m_canWrite; }

    /// The length of the leftmost match of the pattern in `text`, or -1.
    int match(const QString& text) const;

protected:
    void setCanRead(bool enable) { m_canRead = enable; }
    void setCanWrite(bool enable) { m_canWrite = enable; }

private:
    QCString m_format;
    QRegularExpression m_header;
    TextMode m_textMode = Binary;
    bool m_obsolete = false;
    bool m_canRead = true;
    bool m_canWrite = true;
};
