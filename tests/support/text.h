#pragma once

#include <qstring.h>

/// A text from a literal, which a QString takes only with its encoding named.
inline QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}
