#pragma once

#include "kernel/vformathandler.h"
#include "toolkit/qstrlist.h"
#include "tools/vptrlist.h"

#include <qglobal.h>

QT_BEGIN_NAMESPACE
class QIODevice;
class QString;
QT_END_NAMESPACE

/// The handlers of one kind of file, the preferred ones first. They aren't deleted with the list
/// unless `autoDelete` is set.
class ZYL_EXPORT VFormatManager : public VPtrList<VFormatHandler>
{
public:
    /// `headerLength` is how many bytes the patterns get to see, the last of which doesn't count.
    explicit VFormatManager(int headerLength);
    ~VFormatManager() override;

    using VPtrList<VFormatHandler>::find;
    /// The first handler of this format, or null. A null name and an empty one are the same.
    VFormatHandler* find(const char* format) const;

    /// The name of the format that a file begins like, or null: also when there is no file, or
    /// fewer bytes than the header length. The device's position is put back when there were
    /// enough.
    const char* format(const QString& fileName);
    const char* format(QIODevice* device);

    /// Finds the handler with the longest match anywhere in the bytes, which are changed on the
    /// way: zeros become ones, and the last byte becomes zero. Of equal lengths the first handler
    /// in the list wins. Returns its format, or null.
    virtual const char* analyse(char* buffer, int length);

    /// The names of what can be read or written and isn't obsolete, sorted, each once.
    QStrList inputFormats() const;
    QStrList outputFormats() const;

private:
    QStrList names(bool (VFormatHandler::*can)() const) const;

    qint32 m_headerLength;
};
