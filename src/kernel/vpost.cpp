#include "kernel/vpost.h"

#include "kernel/vobject.h"

#include <qlogging.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <unordered_map>

namespace
{
using LifeTable = std::unordered_map<const VObject*, std::shared_ptr<VPostLife>>;

// Several threads may own queues and objects of their own. The table is there only while it holds
// an entry, so that an object may die after the static destructors.
std::mutex lifeMutex;
LifeTable* lifeTable = nullptr;
} // namespace

/// What a queue and the addresses on it share.
///
/// Posting threads push on a stack without a lock; the owner takes the whole stack at once and
/// turns it over.
class VPostChannel
{
public:
    explicit VPostChannel(std::function<void()> wake) : m_wake(std::move(wake)) {}

    /// With the last address; a call that came while the queue died is still here.
    ~VPostChannel() { drop(m_pushed.load(std::memory_order_acquire)); }

    bool isOwner() const { return std::this_thread::get_id() == m_owner; }
    bool isOpen() const { return m_open.load(std::memory_order_acquire); }
    bool isEmpty() const { return !m_ready && !m_pushed.load(std::memory_order_acquire); }

    bool push(VPostedCall* call)
    {
        if (!isOpen()) {
            delete call;
            return false;
        }
        VPostedCall* top = m_pushed.load(std::memory_order_relaxed);
        do
            call->m_next = top;
        while (!m_pushed.compare_exchange_weak(top, call, std::memory_order_release,
                                               std::memory_order_relaxed));
        if (!top && m_wakes) {
            // The queue does not die while it is being woken.
            const std::lock_guard<std::recursive_mutex> lock(m_wakeMutex);
            if (isOpen())
                m_wake();
        }
        return true;
    }

    /// Moves what was pushed behind what is ready, the oldest first.
    void take()
    {
        VPostedCall* call = m_pushed.exchange(nullptr, std::memory_order_acquire);
        VPostedCall* const newest = call;
        VPostedCall* oldest = nullptr;
        for (; call; ++m_readyCount) {
            VPostedCall* const next = call->m_next;
            call->m_next = oldest;
            oldest = call;
            call = next;
        }
        if (!newest)
            return;
        (m_ready ? m_lastReady->m_next : m_ready) = oldest;
        m_lastReady = newest;
    }

    int deliver()
    {
        take();
        int made = 0;
        // A call that delivers makes the rest of these calls itself.
        for (const quint64 end = m_started + m_readyCount; m_started < end && m_ready;) {
            const std::unique_ptr<VPostedCall> call(m_ready);
            m_ready = call->m_next;
            --m_readyCount;
            ++m_started;
            made += call->call();
        }
        return made;
    }

    void close()
    {
        {
            const std::lock_guard<std::recursive_mutex> lock(m_wakeMutex);
            m_open.store(false, std::memory_order_release);
        }
        take();
        VPostedCall* const rest = m_ready;
        m_ready = nullptr;
        m_readyCount = 0;
        drop(rest);
    }

private:
    static void drop(VPostedCall* call)
    {
        while (call) {
            const std::unique_ptr<VPostedCall> dropped(call);
            call = call->m_next;
        }
    }

    std::atomic<VPostedCall*> m_pushed{nullptr}; // the newest first
    std::atomic<bool> m_open{true};
    std::recursive_mutex m_wakeMutex;
    const std::function<void()> m_wake;
    const bool m_wakes = bool(m_wake);

    // The owner's.
    const std::thread::id m_owner = std::this_thread::get_id();
    VPostedCall* m_ready = nullptr; // the oldest first
    VPostedCall* m_lastReady = nullptr;
    quint64 m_readyCount = 0;
    quint64 m_started = 0; // calls begun since ever
};

VPostedCall::~VPostedCall() = default;

std::shared_ptr<VPostLife> VPostLife::of(VObject* object)
{
    object->m_flags |= VObject::Addressed;
    const std::lock_guard<std::mutex> lock(lifeMutex);
    if (!lifeTable)
        lifeTable = new LifeTable;
    std::shared_ptr<VPostLife>& life = (*lifeTable)[object];
    if (!life)
        life = std::make_shared<VPostLife>();
    return life;
}

void VPostLife::end(const VObject* object)
{
    const std::lock_guard<std::mutex> lock(lifeMutex);
    const auto entry = lifeTable->find(object);
    entry->second->m_over = true;
    lifeTable->erase(entry);
    if (!lifeTable->empty())
        return;
    delete lifeTable;
    lifeTable = nullptr;
}

VPostQueue::VPostQueue(std::function<void()> wake)
    : m_channel(std::make_shared<VPostChannel>(std::move(wake)))
{
}

VPostQueue::~VPostQueue()
{
    m_channel->close();
}

int VPostQueue::deliver()
{
    if (!m_channel->isOwner()) {
        qWarning("VPostQueue::deliver: Called by a thread that does not own the queue");
        return 0;
    }
    // A call may destroy the queue.
    const std::shared_ptr<VPostChannel> channel = m_channel;
    return channel->deliver();
}

bool VPostQueue::isEmpty() const
{
    return m_channel->isEmpty();
}

bool vPost(VPostChannel& channel, VPostedCall* call)
{
    return channel.push(call);
}
