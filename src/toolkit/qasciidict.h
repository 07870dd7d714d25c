#pragma once

#include "toolkit/qtypeddict.h"

inline namespace toolkit_v1
{
/// Items under byte strings. With `copyKeys` off the caller's strings are kept and must outlive
/// their entries.
template <class T>
class ZYL_EXPORT QAsciiDict : public QTypedDict<T, QAsciiKeys>
{
public:
    explicit QAsciiDict(int size = 17, bool caseSensitive = true, bool copyKeys = true)
        : QTypedDict<T, QAsciiKeys>(size, QAsciiKeys{caseSensitive, copyKeys})
    {
    }
};

template <class T>
class ZYL_EXPORT QAsciiDictIterator : public QTypedDictIterator<T, QAsciiKeys>
{
public:
    explicit QAsciiDictIterator(const QAsciiDict<T>& dictionary)
        : QTypedDictIterator<T, QAsciiKeys>(dictionary)
    {
    }
};
} // namespace toolkit_v1
