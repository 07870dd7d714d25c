#include "kernel/vsemaphore.h"

#include "kernel/deadline_p.h"

#include <qlogging.h>

#include <algorithm>
#include <limits>

namespace
{
bool isAmount(const char* function, int count)
{
    if (count < 0)
        qWarning("VSemaphore::%s: Amount %d is negative", function, count);
    return count >= 0;
}
} // namespace

VSemaphore::VSemaphore(int available) : m_available(std::max(available, 0)) {}

void VSemaphore::acquire(int count)
{
    take("acquire", count, [this] { return m_released.wait(&m_mutex); });
}

bool VSemaphore::tryAcquire(int count)
{
    return take("tryAcquire", count, [] { return false; });
}

bool VSemaphore::tryAcquire(int count, unsigned long milliseconds)
{
    // Others may take what was released, so the time counts over all waits.
    const timespec deadline = deadlineIn(milliseconds, CLOCK_MONOTONIC);
    return take("tryAcquire", count, [&] {
        const unsigned long left = millisecondsUntil(deadline);
        if (left > 0)
            m_released.wait(&m_mutex, left); // in vain or not, the loop looks again
        return left > 0;
    });
}

void VSemaphore::release(int count)
{
    if (!isAmount("release", count))
        return;
    const VMutexLocker locker(&m_mutex);
    m_available += std::min(count, std::numeric_limits<int>::max() - m_available);
    m_released.wakeAll();
}

int VSemaphore::available() const
{
    const VMutexLocker locker(&m_mutex);
    return m_available;
}

/// Takes `count` as soon as they are there; `wait` says whether to look again.
template <class Wait>
bool VSemaphore::take(const char* function, int count, Wait wait)
{
    if (!isAmount(function, count))
        return false;
    const VMutexLocker locker(&m_mutex);
    while (m_available < count)
        if (!wait())
            return false;
    m_available -= count;
    return true;
}
