// Every header at once, and without Qt's keywords switched off: a program may use them.
#include <zyl/all/geometry.h>
#include <zyl/all/kernel.h>
#include <zyl/all/math.h>
#include <zyl/all/security.h>
#include <zyl/all/toolkit.h>
#include <zyl/all/tools.h>

#include <cstdio>

int main()
{
    const VGlobal global;
    QDict<int> names;
    names.insert(QLatin1String("answer"), new int(42));
    names.setAutoDelete(true);
    const math::BigInteger number("340282366920938463463374607431768211456");
    asn::DerValue value;
    value.setInteger(number);
    const geometry::Vector3f point(1, 2, 3);
    VObject sender;
    std::printf("%s %d %s %g %u\n", qPrintable(VDate(2026, 11, 21).toString(Zyl::ISODate)),
                *names.find(QLatin1String("answer")), value.getInteger().toString().data(),
                double(point.z), unsigned(VVariant(3.5).toInt()));
    return sender.inherits("VObject") ? 0 : 1;
}
