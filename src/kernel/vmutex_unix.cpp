#include "kernel/vmutex.h"

#include "kernel/deadline_p.h"

#include <qlogging.h>

#include <cerrno>

namespace
{
/// Its address tells this thread from the others.
thread_local char mark;
} // namespace

VMutex::VMutex(bool recursive) : m_recursive(recursive)
{
    pthread_mutex_init(&m_mutex, nullptr);
}

VMutex::~VMutex()
{
    if (pthread_mutex_destroy(&m_mutex) == EBUSY)
        qWarning("VMutex::~VMutex: Mutex is locked");
}

void VMutex::lock()
{
    if (isMine()) {
        if (!enterAgain())
            qWarning("VMutex::lock: Mutex is already locked by this thread");
        return;
    }
    pthread_mutex_lock(&m_mutex);
    take();
}

void VMutex::unlock()
{
    if (!isMine()) {
        qWarning("VMutex::unlock: Mutex is not locked by this thread");
        return;
    }
    if (--m_depth > 0)
        return;
    m_holder.store(nullptr, std::memory_order_relaxed);
    pthread_mutex_unlock(&m_mutex);
}

bool VMutex::tryLock()
{
    if (isMine())
        return enterAgain();
    if (pthread_mutex_trylock(&m_mutex) != 0)
        return false;
    take();
    return true;
}

bool VMutex::tryLock(unsigned long milliseconds)
{
    if (isMine())
        return enterAgain();
    const timespec deadline = deadlineIn(milliseconds, CLOCK_REALTIME);
    if (pthread_mutex_timedlock(&m_mutex, &deadline) != 0)
        return false;
    take();
    return true;
}

// Another thread may change the holder meanwhile, but never to or from this one.
bool VMutex::isMine() const
{
    return m_holder.load(std::memory_order_relaxed) == &mark;
}

bool VMutex::enterAgain()
{
    m_depth += m_recursive;
    return m_recursive;
}

void VMutex::take()
{
    m_holder.store(&mark, std::memory_order_relaxed);
    m_depth = 1;
}

/// Makes the mutex nobody's ahead of a wait that unlocks it; the result is how deep it was locked.
unsigned VMutex::leave()
{
    m_holder.store(nullptr, std::memory_order_relaxed);
    return m_depth;
}
