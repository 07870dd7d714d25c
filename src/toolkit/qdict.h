#pragma once

#include "toolkit/qtypeddict.h"

inline namespace toolkit_v1
{
/// Items under strings.
template <class T>
class ZYL_EXPORT QDict : public QTypedDict<T, QStringKeys>
{
public:
    explicit QDict(int size = 17, bool caseSensitive = true)
        : QTypedDict<T, QStringKeys>(size, QStringKeys{caseSensitive})
    {
    }
};

template <class T>
class ZYL_EXPORT QDictIterator : public QTypedDictIterator<T, QStringKeys>
{
public:
    explicit QDictIterator(const QDict<T>& dictionary)
        : QTypedDictIterator<T, QStringKeys>(dictionary)
    {
    }
};
} // namespace toolkit_v1
