// Numbers from outside: texts in every base, decimal texts, and the content octets of DER numbers.
// The first byte says which. What was read must come back the same.

#include "math/bigdecimal.h"
#include "math/msbarray.h"

#include <qlogging.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

using math::BigDecimal;
using math::BigInteger;
using math::MSBArray;

namespace
{
void require(bool condition)
{
    if (!condition)
        std::abort();
}

void readInteger(int base, const std::string& text)
{
    BigInteger value, again;
    if (!value.setString(text.c_str(), base)) {
        require(value.isZero());
        return;
    }
    const int written = base ? base : 10;
    require(again.setString(value.toString(-written), written) && again == value);
    require(MSBArray(value).toInteger() == value);
}

void readDecimal(const std::string& text)
{
    BigDecimal value, again;
    if (!value.setString(text.data(), unsigned(text.size())))
        return;
    require(again.setString(value.toString()) && again.unscaled() == value.unscaled() &&
            again.scale() == value.scale());
    require(value.normalized() == value);
    value.toDouble();
    // Beyond this the conversions to base two are right but slow.
    if (std::abs(value.scale()) > 5000)
        return;
    MSBArray octets;
    octets.setReal(value);
    require(octets.getReal(again) && again == value);
}

void readOctets(const std::string& octets)
{
    const MSBArray array(octets.data(), unsigned(octets.size()));
    const MSBArray shortest(array.toInteger());
    require(shortest.size() <= array.size() && shortest.toInteger() == array.toInteger());
    bool isInt = false;
    const qint64 number = array.toInt64(&isInt);
    require(!isInt || shortest.toInt64() == number);

    double real = 0, again = 0;
    if (array.getReal(real)) {
        MSBArray written;
        written.setReal(real);
        require(written.getReal(again) &&
                (again == real || (std::isnan(again) && std::isnan(real))));
    }
    float narrow = 0;
    array.getReal(narrow);
    // The widest exponents cost a million digits each.
    BigDecimal decimal;
    if (octets.size() > 3 && (octets[0] & 0x83) == 0x82)
        return;
    if (array.getReal(decimal))
        require(decimal.toDouble() == real);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool isQuiet = [] {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        return true;
    }();
    if (size == 0 || !isQuiet)
        return 0;
    const std::string rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    const int kind = data[0];
    if (kind == 'd')
        readDecimal(rest);
    else if (kind == 'o')
        readOctets(rest);
    else
        readInteger(kind % 38, rest);
    return 0;
}
