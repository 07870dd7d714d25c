#pragma once

#include "toolkit/zylexport.h"

#include <qglobal.h>

QT_BEGIN_NAMESPACE
class QString;
QT_END_NAMESPACE

/// Told of what a reader passed over and of what a writer couldn't keep, none of which is a
/// failure.
///
/// A `VFormatIO` may carry one. Without it everything of this kind is silent.
class ZYL_EXPORT VFormatDiagnostics
{
public:
    enum Kind {
        SkippedClass,      ///< no class of this name, or one that the list can't hold
        SkippedKey,        ///< nothing asked for this keyword, or it stands in another's statement
        SkippedEntity,     ///< an element of a foreign format that has no counterpart
        SkippedConnection, ///< an end of a connection that doesn't exist
        UnresolvedName,    ///< a name that nothing answers to
        UnexpectedText,    ///< reading stopped before the end
        LossyText,         ///< written text that reads back as something else
        LossyNumber,       ///< written number that can't be read back
        TooDeep,           ///< beyond the limit of nesting
    };

    /// Where in the file: the line, counted from 1, of a text; the byte of a binary form; 0 and -1
    /// when not known.
    struct Place {
        qint64 line = 0;
        qint64 offset = -1;
    };

    virtual ~VFormatDiagnostics();

    virtual void report(Kind kind, const QString& what, const Place& place) = 0;
};
