// DER values from bytes and from a stream, walked through all their levels, and arrays of numbers.

#include "support.h"

#include "math/bigdecimal.h"
#include "security/asnarray.h"
#include "security/asnoid.h"
#include "security/asnsequence.h"
#include "tools/vdatetime.h"
#include "tools/vexception.h"

#include <qbitarray.h>
#include <qdatastream.h>
#include <qstring.h>

#include <vector>

namespace
{
using asn::DerValue;
using fuzz::require;

template <class F>
void attempt(F&& call)
{
    try {
        call();
    } catch (const VException&) {
    }
}

void callGetters(const DerValue& value)
{
    value.toString();
    attempt([&] { value.getBoolean(); });
    attempt([&] { value.getOID().toString(); });
    attempt([&] { value.getReal(); });
    attempt([&] { value.getUTCTime(); });
    attempt([&] { value.getGeneralizedTime(); });
    attempt([&] { value.getOctetString(); });
    attempt([&] { asn::IntegerSequence().decode(value); });
    value.getBitString(true);
    if (!value.data.isEmpty())
        require(math::MSBArray(value.getInteger(true)).size() <= value.data.size());
}

/// What is written reads the same, and what is listed again lists the same.
void walk(const DerValue& root)
{
    std::vector<DerValue> open{root};
    for (int visited = 0; !open.empty() && visited < 10000; ++visited) {
        const DerValue value = open.back();
        open.pop_back();
        callGetters(value);
        const QMemArray<char> bytes = value.toByteArray();
        require(DerValue(bytes.data(), bytes.size()) == value);
        const QValueList<DerValue> list = value.getList();
        DerValue listed;
        listed.setList(list);
        require(listed.getList() == list && listed.data.size() <= value.data.size());
        open.insert(open.end(), list.begin(), list.end());
    }
}

template <class T>
void readArray(const QByteArray& bytes)
{
    QDataStream stream(bytes);
    VMemArray<T> array;
    stream >> array;
    require(array.size() <= unsigned(bytes.size()));
    T values[16];
    QDataStream elements(bytes);
    require(asn::Array::decode(elements, values, 16) <= 16);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::silence();
    const char* bytes = reinterpret_cast<const char*>(data);
    attempt([&] { DerValue(bytes, unsigned(size)); });
    attempt([&] { walk(DerValue(QMemArray<char>().duplicate(bytes, unsigned(size)))); });
    const QByteArray array(bytes, qsizetype(size));
    QDataStream stream(array);
    DerValue value;
    value.decode(stream);
    require(value.data.size() <= size);
    callGetters(value);
    readArray<int>(array);
    readArray<unsigned>(array);
    readArray<float>(array);
    readArray<double>(array);
    return 0;
}
