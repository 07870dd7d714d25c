#pragma once

#include "tools/vunknowninterface.h"

/// What the plug-ins of these tests offer.
class TestInterface : public VFeatureListInterface
{
public:
    static constexpr quint32 answer = 4711;

    virtual quint32 ask() const = 0;

protected:
    ~TestInterface() = default;
};

/// A function, since a variable would be a unique symbol of the plug-ins and keep them from being
/// unloaded.
inline VUuid testInterfaceId()
{
    return VUuid(0xB2C6A1D4, 0x0F35, 0x4E0B, 0x9C, 0x11, 0x52, 0x7D, 0x38, 0xE6, 0x04, 0x9A);
}
