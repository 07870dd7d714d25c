#pragma once

#include "toolkit/qtypeddict.h"

inline namespace toolkit_v1
{
/// Items under numbers; the bucket is the key as an unsigned number modulo the size.
template <class T>
class ZYL_EXPORT QIntDict : public QTypedDict<T, QLongKeys>
{
public:
    explicit QIntDict(int size = 17) : QTypedDict<T, QLongKeys>(size, QLongKeys{}) {}
};

template <class T>
class ZYL_EXPORT QIntDictIterator : public QTypedDictIterator<T, QLongKeys>
{
public:
    explicit QIntDictIterator(const QIntDict<T>& dictionary)
        : QTypedDictIterator<T, QLongKeys>(dictionary)
    {
    }
};
} // namespace toolkit_v1
