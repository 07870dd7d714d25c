#pragma once

#include "toolkit/zylexport.h"

class ZYLObject;

/// Finds objects by their path, for readers that don't know the scene they belong to.
///
/// A request carries one as its side container "finder", as a `VObjectFinder*`.
class ZYL_EXPORT VObjectFinder
{
public:
    virtual ~VObjectFinder() = default;

    /// Null when nothing stands there. The object belongs to the finder.
    virtual ZYLObject* findObject(const char* path) = 0;
};
