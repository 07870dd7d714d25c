#pragma once

#include "toolkit/zylexport.h"

#include <pthread.h>

#include <climits>

class VMutex;

/// Lets threads wait until another one says that something has changed.
///
/// The change is made, and asked for in a loop around `wait`, under the mutex.
class ZYL_EXPORT VWaitCondition
{
public:
    static constexpr unsigned long unlimited = ULONG_MAX;

    VWaitCondition();
    ~VWaitCondition();
    VWaitCondition(const VWaitCondition&) = delete;
    VWaitCondition& operator=(const VWaitCondition&) = delete;

    /// Unlocks `mutex`, however often it is locked, waits, and locks it as before. False when
    /// `milliseconds` have passed. Warns and returns false when the calling thread does not hold
    /// the mutex.
    bool wait(VMutex* mutex, unsigned long milliseconds = unlimited);

    void wakeOne();
    void wakeAll();

private:
    pthread_cond_t m_condition;
};
