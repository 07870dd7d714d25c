#pragma once

#include "toolkit/zylexport.h"

#include <exception>

#include <qbytearray.h>
#include <qstring.h>

/// What the coding and certificate classes throw, and what the curve engine throws on a curve that
/// it can't follow: a message for people.
class ZYL_EXPORT VException : public std::exception
{
public:
    explicit VException(const QString& message) : m_message(message), m_bytes(message.toUtf8()) {}
    explicit VException(const char* message) : VException(QString::fromLatin1(message)) {}
    ~VException() override;

    const QString& message() const { return m_message; }

    /// The message in UTF-8.
    const char* what() const noexcept override;

private:
    QString m_message;
    QByteArray m_bytes;
};
