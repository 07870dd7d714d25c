#pragma once

#include "toolkit/zylexport.h"

#include <climits>
#include <memory>

/// A thread of its own: a subclass says in `run` what it does.
///
///     class Reader : public VThread
///     {
///     protected:
///         void run() override;
///     };
///
/// The object lives on after the thread and may start again. The kernel's other classes belong to
/// one thread: what a thread has found goes back through a `VPostQueue`.
class ZYL_EXPORT VThread
{
public:
    static constexpr unsigned long unlimited = ULONG_MAX;

    enum Priority {
        IdlePriority, // runs only when nothing else wants to
        LowestPriority,
        LowPriority,
        NormalPriority,
        HighPriority,
        HighestPriority,
        TimeCriticalPriority,
        InheritPriority // that of the thread which starts it
    };

    VThread();

    /// The thread must have finished. While it runs this warns and waits for its end.
    virtual ~VThread();
    VThread(const VThread&) = delete;
    VThread& operator=(const VThread&) = delete;

    /// Does nothing while the thread runs. Warns when the system makes no thread; it is not running
    /// then.
    void start(Priority priority = InheritPriority);

    /// Waits until the thread has ended. False when `milliseconds` have passed first; true when it
    /// never started. Warns and returns false when the thread waits for itself.
    bool wait(unsigned long milliseconds = unlimited);

    bool running() const;

    /// Whether the thread has run to its end since the last start.
    bool finished() const;

    /// The system may refuse to raise a priority; the thread then goes on with the one it has.
    void setPriority(Priority priority);
    Priority priority() const;

    /// For the next start; 0 is the system's own size.
    void setStackSize(unsigned bytes);
    unsigned stackSize() const;

    /// The object of the calling thread, null in a thread that was started by other means.
    static VThread* currentThread();

    static void sleep(unsigned long seconds);
    static void msleep(unsigned long milliseconds);
    static void usleep(unsigned long microseconds);

protected:
    virtual void run() = 0;

private:
    struct State;

    std::unique_ptr<State> m_state;
};
