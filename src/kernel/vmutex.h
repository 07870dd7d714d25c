#pragma once

#include "toolkit/zylexport.h"

#include <pthread.h>

#include <atomic>

/// Keeps threads out of each other's way.
///
/// The thread that holds a recursive mutex may lock it again, and unlocks it as often. With a plain
/// one that is a fault, which is warned of instead of stopping the thread for ever.
class ZYL_EXPORT VMutex
{
public:
    explicit VMutex(bool recursive = false);

    /// Warns when the mutex is locked.
    ~VMutex();
    VMutex(const VMutex&) = delete;
    VMutex& operator=(const VMutex&) = delete;

    void lock();

    /// Warns and does nothing when the calling thread does not hold the mutex.
    void unlock();

    /// False when another thread holds the mutex, or this one holds a plain mutex.
    [[nodiscard]] bool tryLock();

    /// Waits for at most `milliseconds`.
    [[nodiscard]] bool tryLock(unsigned long milliseconds);

private:
    friend class VWaitCondition;

    bool isMine() const;
    bool enterAgain();
    void take();
    unsigned leave();

    pthread_mutex_t m_mutex;
    const bool m_recursive;
    std::atomic<const void*> m_holder{nullptr}; // a thread's mark
    unsigned m_depth = 0;                       // how often the holder has locked it
};

/// Holds a mutex to the end of the block.
class ZYL_EXPORT VMutexLocker
{
public:
    explicit VMutexLocker(VMutex* mutex) : m_mutex(mutex) { m_mutex->lock(); }
    ~VMutexLocker() { m_mutex->unlock(); }
    VMutexLocker(const VMutexLocker&) = delete;
    VMutexLocker& operator=(const VMutexLocker&) = delete;

private:
    VMutex* m_mutex;
};
