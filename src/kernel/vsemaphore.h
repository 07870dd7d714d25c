#pragma once

#include "kernel/vmutex.h"
#include "kernel/vwaitcondition.h"

/// Counts a resource out to threads. Negative amounts warn and do nothing.
class ZYL_EXPORT VSemaphore
{
public:
    explicit VSemaphore(int available = 0);

    /// Waits until `count` are there, and takes them all at once.
    void acquire(int count = 1);

    [[nodiscard]] bool tryAcquire(int count = 1);

    /// Waits for at most `milliseconds`.
    [[nodiscard]] bool tryAcquire(int count, unsigned long milliseconds);

    /// Gives back, or adds, `count`. The number stays at the greatest `int`.
    void release(int count = 1);

    int available() const;

private:
    template <class Wait>
    bool take(const char* function, int count, Wait wait);

    mutable VMutex m_mutex;
    VWaitCondition m_released;
    int m_available;
};
