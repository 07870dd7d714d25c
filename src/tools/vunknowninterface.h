#pragma once

#include "tools/vuuid.h"

#include <qstringlist.h>

// The identifiers are defined in the library's sources and not here: as inline variables they would
// become unique symbols of every plug-in that names them, and the loader never unloads an object
// that has one.

/// The root of what plug-ins offer. An interface counts its references and ends itself with the
/// last one; nobody deletes it.
///
/// The order of the virtual operations is what separately built plug-ins rely on.
class ZYL_EXPORT VUnknownInterface
{
public:
    enum Result : quint32 { Done = 0, NoInterface = 0x80000004 };

    static const VUuid interfaceId;

    /// Sets `*out` to the interface with that identifier, with a reference that the caller
    /// releases, and returns `Done`; otherwise sets it to null and returns `NoInterface`.
    virtual quint32 queryInterface(const VUuid& id, VUnknownInterface** out) = 0;

    /// Both return the references that there are then.
    virtual quint32 addRef() = 0;
    virtual quint32 release() = 0;

protected:
    VUnknownInterface() = default;
    VUnknownInterface(const VUnknownInterface&) = default;
    VUnknownInterface& operator=(const VUnknownInterface&) = default;
    ~VUnknownInterface() = default;
};

/// What a plug-in offers when it has several features.
class ZYL_EXPORT VFeatureListInterface : public VUnknownInterface
{
public:
    static const VUuid interfaceId;

    virtual QStringList featureList() const = 0;

protected:
    ~VFeatureListInterface() = default;
};

/// What a plug-in offers when it is itself the one feature.
class ZYL_EXPORT VComponentInterface : public VUnknownInterface
{
public:
    static const VUuid interfaceId;

    virtual QString name() const = 0;

protected:
    ~VComponentInterface() = default;
};
