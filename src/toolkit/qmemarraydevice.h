#pragma once

#include "toolkit/qmemarray.h"

#include <qiodevice.h>

inline namespace toolkit_v1
{
/// Random-access device over the shared block of an array: reading copies no array, and what is
/// written shows in the caller's array, which grows as needed.
class ZYL_EXPORT QMemArrayDevice : public QIODevice
{
public:
    explicit QMemArrayDevice(const QMemArray<char>& array) : m_array(array) {}

    const QMemArray<char>& array() const { return m_array; }

    /// `Truncate` empties the array; `WriteOnly` alone keeps what is there.
    bool open(OpenMode mode) override;
    qint64 size() const override { return m_array.size(); }
    /// Warns and returns false past the end.
    bool seek(qint64 position) override;

protected:
    qint64 readData(char* data, qint64 size) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    class Array : public QMemArray<char>
    {
    public:
        explicit Array(const QMemArray<char>& array) : QMemArray<char>(array) {}
        using QMemArray<char>::growBytes;
    };

    Array m_array;
};
} // namespace toolkit_v1
