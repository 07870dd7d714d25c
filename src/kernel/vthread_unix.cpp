#include "kernel/vthread.h"

#include "kernel/deadline_p.h"
#include "kernel/vmutex.h"
#include "kernel/vwaitcondition.h"

#include <qlogging.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

struct VThread::State {
    enum Phase { Idle, Running, Finished };

    VMutex mutex;
    VWaitCondition changed;
    Phase phase = Idle;
    Priority priority = InheritPriority;
    unsigned stackSize = 0;
    pthread_t handle{};
    bool joinable = false;
    pid_t id = 0;          // 0 unless the thread runs
    bool orphaned = false; // the object is gone, and the thread frees this

    static void* enter(void* thread);
    bool create(VThread* thread);
    void grant();
    void join();
};

namespace
{
thread_local VThread* current = nullptr;

/// The nice value of a priority. Raising one takes a privilege.
int niceness(VThread::Priority priority)
{
    constexpr int values[] = {19, 15, 8, 0, -5, -10, -15};
    return values[priority];
}

void sleepFor(timespec time)
{
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &time, &time) == EINTR) {
    }
}
} // namespace

/// Where a thread starts.
void* VThread::State::enter(void* argument)
{
    auto* thread = static_cast<VThread*>(argument);
    State* state = thread->m_state.get();
    current = thread;
    {
        const VMutexLocker locker(&state->mutex);
        state->id = gettid();
        state->grant();
    }
    thread->run();
    if (state->orphaned) {
        delete state;
        return nullptr;
    }
    const VMutexLocker locker(&state->mutex);
    state->id = 0;
    state->phase = Finished;
    state->changed.wakeAll();
    return nullptr;
}

bool VThread::State::create(VThread* thread)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    int error = stackSize > 0 ? pthread_attr_setstacksize(&attributes, stackSize) : 0;
    if (error == 0)
        error = pthread_create(&handle, &attributes, &State::enter, thread);
    pthread_attr_destroy(&attributes);
    if (error != 0)
        qWarning("VThread::start: Cannot make a thread: %s", std::strerror(error));
    return error == 0;
}

/// Gives the running thread its priority, as far as the system allows.
void VThread::State::grant()
{
    if (id == 0 || priority == InheritPriority)
        return;
    const sched_param none{};
    sched_setscheduler(id, priority == IdlePriority ? SCHED_IDLE : SCHED_OTHER, &none);
    setpriority(PRIO_PROCESS, id_t(id), niceness(priority));
}

/// Frees what the system keeps of a thread that has finished.
void VThread::State::join()
{
    if (!joinable)
        return;
    joinable = false;
    pthread_join(handle, nullptr);
}

VThread::VThread() : m_state(std::make_unique<State>()) {}

VThread::~VThread()
{
    if (currentThread() == this) {
        qWarning("VThread::~VThread: Thread destroys itself");
        pthread_detach(m_state->handle);
        current = nullptr;
        m_state.release()->orphaned = true;
        return;
    }
    if (running())
        qWarning("VThread::~VThread: Thread is still running");
    wait();
}

void VThread::start(Priority priority)
{
    const VMutexLocker locker(&m_state->mutex);
    if (m_state->phase == State::Running)
        return;
    m_state->join();
    m_state->priority = priority;
    m_state->joinable = m_state->create(this);
    m_state->phase = m_state->joinable ? State::Running : State::Idle;
}

bool VThread::wait(unsigned long milliseconds)
{
    if (currentThread() == this) {
        qWarning("VThread::wait: Thread waits for itself");
        return false;
    }
    const timespec deadline = deadlineIn(milliseconds, CLOCK_MONOTONIC);
    const VMutexLocker locker(&m_state->mutex);
    while (m_state->phase == State::Running) {
        const unsigned long left = millisecondsUntil(deadline);
        if (left == 0)
            return false;
        m_state->changed.wait(&m_state->mutex, milliseconds == unlimited ? unlimited : left);
    }
    m_state->join();
    return true;
}

bool VThread::running() const
{
    const VMutexLocker locker(&m_state->mutex);
    return m_state->phase == State::Running;
}

bool VThread::finished() const
{
    const VMutexLocker locker(&m_state->mutex);
    return m_state->phase == State::Finished;
}

void VThread::setPriority(Priority priority)
{
    const VMutexLocker locker(&m_state->mutex);
    m_state->priority = priority;
    m_state->grant();
}

VThread::Priority VThread::priority() const
{
    const VMutexLocker locker(&m_state->mutex);
    return m_state->priority;
}

void VThread::setStackSize(unsigned bytes)
{
    const VMutexLocker locker(&m_state->mutex);
    m_state->stackSize = bytes;
}

unsigned VThread::stackSize() const
{
    const VMutexLocker locker(&m_state->mutex);
    return m_state->stackSize;
}

VThread* VThread::currentThread()
{
    return current;
}

void VThread::sleep(unsigned long seconds)
{
    sleepFor({time_t(std::min(seconds, unlimited / 2)), 0});
}

void VThread::msleep(unsigned long milliseconds)
{
    sleepFor({time_t(milliseconds / 1000), long(milliseconds % 1000) * 1000000});
}

void VThread::usleep(unsigned long microseconds)
{
    sleepFor({time_t(microseconds / 1000000), long(microseconds % 1000000) * 1000});
}
