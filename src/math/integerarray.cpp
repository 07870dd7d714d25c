#include "math/integerarray.h"

#include <qlogging.h>

namespace math
{
namespace
{
constexpr quint32 mask(unsigned index)
{
    return quint32(1) << (index % IntegerArray::LimbBits);
}
} // namespace

bool IntegerArray::holdsBit(unsigned index, const char* function) const
{
    if (index / LimbBits < count())
        return true;
    qWarning("IntegerArray::%s: Index %d out of range", function, index);
    return false;
}

bool IntegerArray::testBit(unsigned index) const
{
    return holdsBit(index, "testBit") && (limbs()[index / LimbBits] & mask(index));
}

void IntegerArray::setBit(unsigned index)
{
    if (holdsBit(index, "setBit"))
        limbs()[index / LimbBits] |= mask(index);
}

void IntegerArray::clearBit(unsigned index)
{
    if (holdsBit(index, "clearBit"))
        limbs()[index / LimbBits] &= ~mask(index);
}

void IntegerArray::toggleBit(unsigned index)
{
    if (holdsBit(index, "toggleBit"))
        limbs()[index / LimbBits] ^= mask(index);
}
} // namespace math
