#include "toolkit/qmemarraydevice.h"

#include <algorithm>
#include <cstring>
#include <limits>

inline namespace toolkit_v1
{
bool QMemArrayDevice::open(OpenMode mode)
{
    if (mode & (Append | Truncate))
        mode |= WriteOnly;
    // The array is the buffer; a second one in the base class would only be copied through.
    if (!QIODevice::open(mode | Unbuffered))
        return false;
    if (mode & Truncate)
        m_array.resize(0);
    if (mode & Append)
        seek(size());
    return true;
}

bool QMemArrayDevice::seek(qint64 position)
{
    if (position < 0 || position > size()) {
        qWarning("QMemArrayDevice::seek: Index %lld out of range", position);
        return false;
    }
    return QIODevice::seek(position);
}

qint64 QMemArrayDevice::readData(char* data, qint64 size)
{
    const qint64 left = m_array.size() - pos();
    const qint64 part = std::min(size, left);
    if (part <= 0)
        return size == 0 ? 0 : -1;
    std::memcpy(data, m_array.data() + pos(), std::size_t(part));
    return part;
}

qint64 QMemArrayDevice::writeData(const char* data, qint64 size)
{
    const qint64 end = pos() + size;
    if (size <= 0)
        return 0;
    if (end > qint64(std::numeric_limits<unsigned>::max()) ||
        (end > m_array.size() && !m_array.growBytes(unsigned(end))))
        return -1;
    std::memcpy(m_array.data() + pos(), data, std::size_t(size));
    return size;
}
} // namespace toolkit_v1
