#include "kernel/vwaitcondition.h"

#include "kernel/deadline_p.h"
#include "kernel/vmutex.h"

#include <qlogging.h>

VWaitCondition::VWaitCondition()
{
    // Timed waits go by the clock that nobody sets.
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&m_condition, &attributes);
    pthread_condattr_destroy(&attributes);
}

VWaitCondition::~VWaitCondition()
{
    pthread_cond_destroy(&m_condition);
}

bool VWaitCondition::wait(VMutex* mutex, unsigned long milliseconds)
{
    if (!mutex->isMine()) {
        qWarning("VWaitCondition::wait: Mutex is not locked by this thread");
        return false;
    }
    const unsigned depth = mutex->leave();
    int error;
    if (milliseconds == unlimited) {
        error = pthread_cond_wait(&m_condition, &mutex->m_mutex);
    } else {
        const timespec deadline = deadlineIn(milliseconds, CLOCK_MONOTONIC);
        error = pthread_cond_timedwait(&m_condition, &mutex->m_mutex, &deadline);
    }
    mutex->take();
    mutex->m_depth = depth;
    return error == 0;
}

void VWaitCondition::wakeOne()
{
    pthread_cond_signal(&m_condition);
}

void VWaitCondition::wakeAll()
{
    pthread_cond_broadcast(&m_condition);
}
