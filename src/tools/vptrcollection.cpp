#include "tools/vptrcollection.h"

#include <qdatastream.h>
#include <qiodevice.h>

#include <algorithm>

VPtrCollection::~VPtrCollection() = default;

VPtrCollection::Item VPtrCollection::newItem(Item item)
{
    return item;
}

unsigned VPtrCollection::readCount(QDataStream& stream)
{
    qint32 count = 0;
    stream >> count;
    if (stream.status() != QDataStream::Ok || count <= 0)
        return 0;
    const QIODevice* device = stream.device();
    if (device->isSequential())
        return unsigned(count);
    return unsigned(std::min<qint64>(count, device->bytesAvailable()));
}
