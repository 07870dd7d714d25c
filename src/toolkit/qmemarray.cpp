#include "toolkit/qmemarray.h"

#include <qdatastream.h>

#include <algorithm>

inline namespace toolkit_v1
{
QDataStream& operator<<(QDataStream& stream, const QMemArray<char>& array)
{
    stream << quint32(array.size());
    stream.writeRawData(array.data(), int(array.size()));
    return stream;
}

QDataStream& operator>>(QDataStream& stream, QMemArray<char>& array)
{
    quint32 size = 0;
    stream >> size;
    // A length that the data can't back must not cost its memory, so the array grows as bytes
    // arrive.
    unsigned done = 0;
    unsigned step = 64 * 1024;
    while (done < size) {
        const unsigned part = std::min(size - done, step);
        if (!array.resize(done + part) ||
            stream.readRawData(array.data() + done, int(part)) != int(part)) {
            stream.setStatus(QDataStream::ReadPastEnd);
            done = 0;
            break;
        }
        done += part;
        step = std::min(step * 2, 1u << 30);
    }
    array.resize(done);
    return stream;
}
} // namespace toolkit_v1
