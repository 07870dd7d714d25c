#pragma once

#include "tools/vgarray.h"

#include <qglobal.h>

#include <utility>

namespace math
{
/// An explicitly shared array of 32-bit limbs, least significant first.
///
/// Bits are counted through the whole array: bit 0 is the lowest bit of limb 0. An index past the
/// array's size in bits warns and does nothing.
class ZYL_EXPORT IntegerArray : public VGArray
{
public:
    static constexpr unsigned LimbBits = 32;

    IntegerArray() = default;
    /// Makes `count` limbs with no set value.
    explicit IntegerArray(int count) : VGArray(count, sizeof(quint32)) {}

    /// Number of limbs.
    unsigned count() const { return size() / sizeof(quint32); }
    bool resize(unsigned count) { return resizeTo(quint64(count) * sizeof(quint32)); }
    quint32* limbs() const { return reinterpret_cast<quint32*>(data()); }
    void swap(IntegerArray& other) { std::swap(m_data, other.m_data); }

    virtual bool testBit(unsigned index) const;
    virtual void setBit(unsigned index);
    virtual void clearBit(unsigned index);
    virtual void toggleBit(unsigned index);

protected:
    explicit IntegerArray(array_data* record) : VGArray(record) {}

private:
    bool holdsBit(unsigned index, const char* function) const;
};
} // namespace math
