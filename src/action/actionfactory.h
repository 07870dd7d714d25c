#pragma once

#include "toolkit/zylexport.h"

namespace action
{
class Action;

/// Makes actions by the names that their classes have in files.
///
/// Every factory works on one table of the process, which is filled when the first one is made.
class ZYL_EXPORT ActionFactory
{
public:
    using Maker = Action* (*)();

    ActionFactory();

    /// In place of a class that had the name.
    void addFactory(const char* name, Maker maker);

    /// A new action, which is the caller's; null for an unknown name.
    Action* getInstance(const char* name) const;
};
} // namespace action
