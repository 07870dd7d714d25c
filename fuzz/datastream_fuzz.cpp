// The stored forms of the classes below the kernel, one after the other from the same bytes. What
// is read is written, and reads the same again.

#include "support.h"

#include "tools/vcolor.h"
#include "tools/vptrlist.h"
#include "tools/vptrvector.h"
#include "tools/vtimestamp.h"
#include "toolkit/qasciidict.h"
#include "toolkit/qcstring.h"
#include "toolkit/qdict.h"
#include "toolkit/qintdict.h"
#include "toolkit/qstrlist.h"
#include "toolkit/qvaluelist.h"

#include <qdatastream.h>
#include <qiodevice.h>

namespace
{
template <class Base>
class Stored : public Base
{
public:
    ~Stored() override { Base::clear(); }

protected:
    using Item = typename Base::Item;

    void deleteItem(Item item) override { delete static_cast<quint16*>(item); }
    QDataStream& read(QDataStream& stream, Item& item) override
    {
        quint16 value = 0;
        stream >> value;
        item = stream.status() == QDataStream::Ok ? new quint16(value) : nullptr;
        return stream;
    }
    QDataStream& write(QDataStream& stream, Item item) const override
    {
        return stream << (item ? *static_cast<quint16*>(item) : quint16(0));
    }
};

template <class T>
QByteArray written(const T& value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_3_3);
    stream << value;
    return bytes;
}

template <class T>
T& readFrom(const QByteArray& bytes, T& value)
{
    QDataStream stream(bytes);
    stream.setVersion(QDataStream::Qt_3_3);
    stream >> value;
    return value;
}

template <class T>
void roundTrip(const QByteArray& bytes)
{
    T first, second, third;
    const QByteArray once = written(readFrom(bytes, first));
    // Chains of a dictionary turn over with each reading.
    const QByteArray twice = written(readFrom(once, second));
    fuzz::require(twice.size() == once.size());
    fuzz::require(written(readFrom(twice, third)) == once);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::silence();
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    roundTrip<QCString>(bytes);
    roundTrip<QMemArray<char>>(bytes);
    roundTrip<QStrList>(bytes);
    roundTrip<QValueList<quint16>>(bytes);
    roundTrip<QValueList<QCString>>(bytes);
    roundTrip<Stored<QAsciiDict<void>>>(bytes);
    roundTrip<Stored<QDict<void>>>(bytes);
    roundTrip<Stored<QIntDict<void>>>(bytes);
    roundTrip<Stored<VGVector>>(bytes);
    roundTrip<Stored<VGList>>(bytes);
    roundTrip<VColor>(bytes);
    roundTrip<VDate>(bytes);
    roundTrip<VTime>(bytes);
    roundTrip<VDateTime>(bytes);
    roundTrip<VTimestamp>(bytes);
    return 0;
}
