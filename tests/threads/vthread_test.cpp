#include "kernel/vthread.h"

#include "kernel/vmutex.h"
#include "kernel/vsemaphore.h"
#include "kernel/vwaitcondition.h"
#include "support/warnings.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

#include <sched.h>

using Clock = std::chrono::steady_clock;

namespace
{
class Worker : public VThread
{
public:
    explicit Worker(std::function<void()> work) : m_work(std::move(work)) {}
    ~Worker() override { wait(); }

protected:
    void run() override { m_work(); }

private:
    std::function<void()> m_work;
};

template <class Call>
double millisecondsOf(Call call)
{
    const auto start = Clock::now();
    call();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}
} // namespace

TEST(VThread, RunsOnceAStartAndKnowsItsState)
{
    VSemaphore go, seen;
    std::atomic<VThread*> current{nullptr};
    Worker worker([&] {
        current = VThread::currentThread();
        seen.release();
        go.acquire();
    });
    EXPECT_TRUE(worker.wait()) << "never started";
    EXPECT_FALSE(worker.running() || worker.finished());
    for (int round = 0; round < 2; ++round) {
        worker.start();
        worker.start(); // it runs already
        seen.acquire();
        EXPECT_EQ(current, &worker);
        EXPECT_TRUE(worker.running());
        EXPECT_FALSE(worker.finished());
        EXPECT_FALSE(worker.wait(20));
        go.release();
        EXPECT_TRUE(worker.wait());
        EXPECT_FALSE(worker.running());
        EXPECT_TRUE(worker.finished());
        EXPECT_FALSE(seen.tryAcquire());
    }
    EXPECT_EQ(VThread::currentThread(), nullptr);
}

TEST(VThread, DoesNotWaitForItself)
{
    QString warning;
    Worker worker([&] {
        WarningCatcher warnings;
        EXPECT_FALSE(VThread::currentThread()->wait());
        warning = warnings.text();
    });
    worker.start();
    worker.wait();
    EXPECT_EQ(warning, QLatin1String("VThread::wait: Thread waits for itself"));
}

TEST(VThread, MayDeleteItsOwnObject)
{
    VSemaphore done;
    QString warning;
    class Suicide : public VThread
    {
    public:
        Suicide(VSemaphore* d, QString* w) : m_done(d), m_warning(w) {}

    protected:
        void run() override
        {
            VSemaphore* finished = m_done;
            {
                WarningCatcher warnings;
                QString* text = m_warning;
                delete this;
                *text = warnings.text();
            }
            finished->release();
        }

    private:
        VSemaphore* m_done;
        QString* m_warning;
    };
    (new Suicide(&done, &warning))->start();
    done.acquire();
    EXPECT_EQ(warning, QLatin1String("VThread::~VThread: Thread destroys itself"));
}

TEST(VThread, LowersItsPriority)
{
    int policy = -1;
    VSemaphore lowered, read;
    Worker worker([&] {
        lowered.acquire();
        policy = sched_getscheduler(0);
    });
    worker.start();
    worker.setPriority(VThread::IdlePriority);
    lowered.release();
    worker.wait();
    EXPECT_EQ(policy, SCHED_IDLE);
    EXPECT_EQ(worker.priority(), VThread::IdlePriority);
}

TEST(VThread, SleepsAtLeastAsLongAsAsked)
{
    EXPECT_GE(millisecondsOf([] { VThread::msleep(15); }), 15);
    EXPECT_GE(millisecondsOf([] { VThread::usleep(2500); }), 2.5);
    EXPECT_LT(millisecondsOf([] { VThread::sleep(0); }), 1000);
}

TEST(VMutex, KeepsOthersOut)
{
    for (const bool recursive : {false, true}) {
        VMutex mutex(recursive);
        long sum = 0;
        std::vector<std::unique_ptr<Worker>> workers;
        for (int i = 0; i < 4; ++i) {
            workers.push_back(std::make_unique<Worker>([&] {
                for (int n = 0; n < 2000; ++n) {
                    const VMutexLocker locker(&mutex);
                    ++sum;
                }
            }));
            workers.back()->start();
        }
        workers.clear();
        EXPECT_EQ(sum, 8000);
    }
}

TEST(VMutex, IsFreeAfterAsManyUnlocks)
{
    VMutex mutex(true);
    const auto isFree = [&mutex] {
        bool taken = false;
        Worker worker([&] {
            taken = mutex.tryLock();
            if (taken)
                mutex.unlock();
        });
        worker.start();
        worker.wait();
        return taken;
    };
    mutex.lock();
    EXPECT_TRUE(mutex.tryLock());
    EXPECT_TRUE(mutex.tryLock(10));
    mutex.unlock();
    mutex.unlock();
    EXPECT_FALSE(isFree());
    mutex.unlock();
    EXPECT_TRUE(isFree());
}

TEST(VMutex, WarnsInsteadOfStoppingForEver)
{
    WarningCatcher warnings;
    {
        VMutex mutex;
        mutex.unlock();
        EXPECT_EQ(warnings.text(),
                  QLatin1String("VMutex::unlock: Mutex is not locked by this thread"));
        mutex.lock();
        mutex.lock();
        EXPECT_EQ(warnings.text(),
                  QLatin1String("VMutex::lock: Mutex is already locked by this thread"));
        EXPECT_FALSE(mutex.tryLock());
        EXPECT_FALSE(mutex.tryLock(5));
        Worker other([&] { mutex.unlock(); });
        other.start();
        other.wait();
        EXPECT_EQ(warnings.text(),
                  QLatin1String("VMutex::unlock: Mutex is not locked by this thread"));
        mutex.unlock();
        EXPECT_TRUE(mutex.tryLock());
        mutex.unlock();
    }
    EXPECT_TRUE(warnings.isEmpty());
}

TEST(VMutex, GivesUpAfterTheTime)
{
    VMutex mutex;
    VSemaphore held, go;
    Worker holder([&] {
        const VMutexLocker locker(&mutex);
        held.release();
        go.acquire();
    });
    holder.start();
    held.acquire();
    EXPECT_FALSE(mutex.tryLock());
    EXPECT_GE(millisecondsOf([&] { EXPECT_FALSE(mutex.tryLock(20)); }), 19);
    go.release();
    EXPECT_TRUE(mutex.tryLock(10000));
    mutex.unlock();
}

TEST(VSemaphore, CountsAndWaits)
{
    VSemaphore semaphore(3);
    EXPECT_TRUE(semaphore.tryAcquire(2));
    EXPECT_FALSE(semaphore.tryAcquire(2)) << "all or nothing";
    EXPECT_EQ(semaphore.available(), 1);
    EXPECT_GE(millisecondsOf([&] { EXPECT_FALSE(semaphore.tryAcquire(2, 20)); }), 20);
    Worker giver([&] {
        VThread::msleep(5);
        semaphore.release();
        VThread::msleep(5);
        semaphore.release(2);
    });
    giver.start();
    EXPECT_TRUE(semaphore.tryAcquire(4, VWaitCondition::unlimited));
    EXPECT_EQ(semaphore.available(), 0);
}

TEST(VSemaphore, StaysWithinItsNumbers)
{
    WarningCatcher warnings;
    VSemaphore semaphore(-5);
    EXPECT_EQ(semaphore.available(), 0);
    semaphore.release(-1);
    EXPECT_EQ(warnings.text(), QLatin1String("VSemaphore::release: Amount -1 is negative"));
    EXPECT_FALSE(semaphore.tryAcquire(-2));
    EXPECT_EQ(warnings.text(), QLatin1String("VSemaphore::tryAcquire: Amount -2 is negative"));
    semaphore.release(2147483647);
    semaphore.release(1);
    EXPECT_EQ(semaphore.available(), 2147483647);
}

TEST(VWaitCondition, WakesOneOrAll)
{
    VMutex mutex;
    VWaitCondition changed;
    VSemaphore waiting;
    int tickets = 0, through = 0;
    std::vector<std::unique_ptr<Worker>> workers;
    for (int i = 0; i < 3; ++i) {
        workers.push_back(std::make_unique<Worker>([&] {
            const VMutexLocker locker(&mutex);
            waiting.release();
            while (tickets == 0)
                changed.wait(&mutex);
            --tickets;
            ++through;
        }));
        workers.back()->start();
    }
    waiting.acquire(3);
    const auto sell = [&](int count) {
        const VMutexLocker locker(&mutex);
        tickets += count;
        count == 1 ? changed.wakeOne() : changed.wakeAll();
    };
    const auto countThrough = [&] {
        const VMutexLocker locker(&mutex);
        return through;
    };
    sell(1);
    while (countThrough() < 1)
        VThread::usleep(200);
    EXPECT_EQ(countThrough(), 1);
    sell(2);
    workers.clear();
    EXPECT_EQ(through, 3);
}

TEST(VWaitCondition, TimesOutAndHoldsTheMutexAsBefore)
{
    VMutex mutex(true);
    VWaitCondition never;
    mutex.lock();
    mutex.lock();
    EXPECT_GE(millisecondsOf([&] { EXPECT_FALSE(never.wait(&mutex, 20)); }), 20);
    mutex.unlock();
    mutex.unlock();
    WarningCatcher warnings;
    EXPECT_FALSE(never.wait(&mutex, 1));
    EXPECT_EQ(warnings.text(),
              QLatin1String("VWaitCondition::wait: Mutex is not locked by this thread"));
}

TEST(VWaitCondition, LetsOthersInWhileARecursiveMutexWaits)
{
    VMutex mutex(true);
    VWaitCondition changed;
    bool done = false;
    mutex.lock();
    mutex.lock();
    Worker worker([&] {
        const VMutexLocker locker(&mutex);
        done = true;
        changed.wakeOne();
    });
    worker.start();
    while (!done)
        ASSERT_TRUE(changed.wait(&mutex, 10000));
    mutex.unlock();
    mutex.unlock();
}
