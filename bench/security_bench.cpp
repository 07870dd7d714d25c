#include "ratio.h"
#include "security/asnarray.h"
#include "security/asnvalue.h"

#include <cmath>
#include <cstring>
#include <random>

#include <qdatastream.h>
#include <qiodevice.h>

using asn::DerValue;

namespace
{
constexpr unsigned numberCount = 1000000;

/// The time of an array's stored form, out and in, in bytes of the array.
template <class T, class Make>
void numbers(const std::string& name, Make make)
{
    VMemArray<T> array{int(numberCount)};
    std::mt19937 random(20210417);
    for (T& value : array)
        value = make(random);
    QByteArray bytes;
    const double amount = double(numberCount) * sizeof(T);
    bench::rate("security/write " + name, 500e6, amount, [&] {
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream << array;
    });
    VMemArray<T> read;
    bench::rate("security/read " + name, 400e6, amount, [&] {
        QDataStream stream(bytes);
        stream >> read;
    });
    if (!(read == array))
        std::printf("# %s: read other numbers than written\n", name.c_str());
}

/// A value of 2 MB whose octets stand `depth` sequences deep.
QMemArray<char> nested(int depth)
{
    QMemArray<char> octets(2 * 1000 * 1000);
    octets.fill('x');
    DerValue value;
    value.setOctetString(octets);
    for (int level = 0; level < depth; ++level) {
        QValueList<DerValue> list;
        list << value;
        value.setSequence(list);
    }
    return value.toByteArray();
}

/// A value of 2 MB in 33825: 32 lists of 32 lists of 32 octet strings of 60 bytes.
QMemArray<char> broad()
{
    QMemArray<char> octets(60);
    octets.fill('x');
    DerValue value;
    value.setOctetString(octets);
    for (int level = 0; level < 3; ++level) {
        QValueList<DerValue> list;
        for (int i = 0; i < 32; ++i)
            list << value;
        value.setSequence(list);
    }
    return value.toByteArray();
}

struct Walk {
    const char* begin;
    const char* end;
    unsigned values = 0;
    double copied = 0;

    /// Counts the bytes that a value doesn't share with the outermost one.
    void visit(const DerValue& value)
    {
        ++values;
        const char* data = value.data.data();
        if (data < begin || data + value.data.size() > end)
            copied += value.data.size();
        if (value.tag == DerValue::Sequence)
            for (const DerValue& item : std::as_const(value).getList())
                visit(item);
    }
};

Walk decode(const QMemArray<char>& bytes)
{
    const DerValue value(bytes.data(), bytes.size());
    Walk walk{value.data.data(), value.data.data() + value.data.size()};
    walk.visit(value);
    return walk;
}

double copiedTwice(const QMemArray<char>& bytes)
{
    return decode(bytes).copied / bytes.size();
}
} // namespace

int main()
{
    numbers<int>("ints", [](auto& random) { return int(random() >> (random() % 32)); });
    numbers<float>("floats", [](auto& random) { return float(random()) / 65536 - 32768; });
    numbers<float>("short floats", [](auto& random) { return float(random() % 2000) / 4; });
    numbers<double>("doubles", [](auto& random) {
        return std::ldexp(double(random()), int(random() % 64)) / 3;
    });

    const QMemArray<char> deep = nested(64);
    QMemArray<char> copy(int(deep.size()));
    bench::compare(
        "security/decode 64 levels over a memcpy", 2, [&] { bench::keep(decode(deep).values); },
        [&] {
            std::memcpy(copy.data(), deep.data(), deep.size());
            bench::keep(copy.data());
        });
    bench::figure("security/share copied again, 64 levels", copiedTwice(deep), 0.01);
    const QMemArray<char> many = broad();
    const double count = decode(many).values;
    bench::rate("security/decode small values", 10e6, count,
                [&] { bench::keep(decode(many).values); });
    bench::figure("security/share copied again, small values", copiedTwice(many), 0.01);
}
