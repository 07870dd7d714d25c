#include "kernel/vpost.h"

#include "kernel/vdeclare.h"
#include "kernel/vobject.h"
#include "kernel/vsemaphore.h"
#include "support/warnings.h"

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

namespace
{
constexpr int producers = 8;
#if defined(__SANITIZE_THREAD__)
constexpr int posts = 1000000;
#else
constexpr int posts = 80000;
#endif

/// Notes what reaches it, and has a signal to post.
class Gauge : public VObject
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override { return staticMetaObject(); }
    bool slot_invoke(int id, VUObject* o) override;

    void measured(int sender, double value);
    void take(int sender, double value) { values.push_back({sender, value}); }

    std::vector<std::pair<int, double>> values;

private:
    struct Meta;
    static VMetaObject* metaObj;
};

struct Gauge::Meta {
    static constexpr declare::Slots slotTable{declare::slot<&Gauge::take>("take(int,double)")};
    static constexpr declare::Signals signalTable{
        declare::signal<&Gauge::measured>("measured(int,double)")};
};
VMetaObject* Gauge::metaObj = nullptr;

VMetaObject* Gauge::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("Gauge", VObject::staticMetaObject(), Meta::slotTable,
                                      Meta::signalTable);
    return metaObj;
}

bool Gauge::slot_invoke(int id, VUObject* o)
{
    return Meta::slotTable.invoke(this, id, o) ||
           VObject::slot_invoke(id, o);
}

void Gauge::measured(int sender, double value)
{
    Meta::signalTable.send<&Gauge::measured>(this, sender, value);
}

/// Runs `work(i)` in `producers` threads to their end, while `meanwhile` runs here again and again.
template <class Work, class Meanwhile>
void inThreads(Work work, Meanwhile meanwhile)
{
    std::atomic<int> busy{producers};
    std::vector<std::thread> threads;
    for (int i = 0; i < producers; ++i)
        threads.emplace_back([&, i] {
            work(i);
            --busy;
        });
    while (busy > 0) {
        meanwhile();
        std::this_thread::yield();
    }
    for (std::thread& thread : threads)
        thread.join();
    meanwhile();
}
} // namespace

TEST(VPostQueue, KeepsTheOrderOfEachSenderAmongManyThreads)
{
    VPostQueue queue;
    std::vector<int> last(producers, -1);
    int made = 0, disorder = 0;
    const std::thread::id owner = std::this_thread::get_id();
    inThreads(
        [&](int sender) {
            for (int i = 0; i < posts / producers; ++i)
                queue.post([&, sender, i] {
                    disorder +=
                        last[std::size_t(sender)] + 1 != i || std::this_thread::get_id() != owner;
                    last[std::size_t(sender)] = i;
                });
        },
        [&] { made += queue.deliver(); });
    EXPECT_EQ(made, posts);
    EXPECT_EQ(disorder, 0);
    EXPECT_TRUE(queue.isEmpty());
}

TEST(VPostQueue, PostsSignalsAndSlotsOfObjects)
{
    VPostQueue queue;
    Gauge source, display;
    VObject::connect(&source, "2measured(int,double)", &display, "1take(int,double)");
    const VPostAddress<Gauge> from(queue, &source), to(queue, &display);
    std::thread([from, to] {
        from.post(&Gauge::measured, 1, 0.5);
        to.post(&Gauge::take, 2, 1.5);
        to.post([](Gauge& gauge) { gauge.values.push_back({3, 2.5}); });
    }).join();
    EXPECT_TRUE(display.values.empty());
    EXPECT_EQ(queue.deliver(), 3);
    EXPECT_EQ(display.values, (std::vector<std::pair<int, double>>{{1, 0.5}, {2, 1.5}, {3, 2.5}}));
}

TEST(VPostQueue, DropsWhatIsPostedToTheDead)
{
    VPostQueue queue;
    auto display = std::make_unique<Gauge>();
    const VPostAddress<Gauge> address(queue, display.get()), second(queue, display.get());
    address.post(&Gauge::take, 1, 1.0);
    display.reset();
    second.post(&Gauge::take, 2, 1.0);
    EXPECT_EQ(queue.deliver(), 0);
    EXPECT_FALSE(VPostAddress<Gauge>().post(&Gauge::take, 3, 1.0));
}

TEST(VPostQueue, NeverReachesAReceiverThatDiesWhileOthersPost)
{
    VPostQueue queue;
    int reached = 0;
    for (int round = 0; round < 20; ++round) {
        auto display = std::make_unique<Gauge>();
        const VPostAddress<Gauge> address(queue, display.get());
        const auto* raw = display.get();
        bool alive = true;
        inThreads(
            [&](int sender) {
                for (int i = 0; i < 50; ++i)
                    address.post([&, sender](Gauge& gauge) {
                        EXPECT_TRUE(alive && &gauge == raw);
                        gauge.take(sender, 0);
                        ++reached;
                    });
            },
            [&] {
                queue.deliver();
                if (display && display->values.size() > std::size_t(round)) {
                    display.reset();
                    alive = false;
                }
            });
    }
    EXPECT_GT(reached, 0);
}

TEST(VPostQueue, LeavesCallsPostedMeanwhileForTheNextTime)
{
    VPostQueue queue;
    int calls = 0;
    std::function<void()> again = [&] {
        ++calls;
        queue.post(again);
    };
    queue.post(again);
    EXPECT_EQ(queue.deliver(), 1);
    EXPECT_EQ(queue.deliver(), 1);
    EXPECT_EQ(calls, 2);
}

TEST(VPostQueue, DeliversTheRestInOrderWhenACallDelivers)
{
    VPostQueue queue;
    std::string order;
    queue.post([&] {
        order += "a(";
        queue.deliver();
        order += ")";
    });
    queue.post([&] { order += "b"; });
    queue.post([&] { order += "c"; });
    EXPECT_EQ(queue.deliver(), 1);
    EXPECT_EQ(order, "a(bc)");
}

TEST(VPostQueue, MayDieInACallAndUnderItsAddresses)
{
    auto queue = std::make_unique<VPostQueue>();
    Gauge display;
    const VPostAddress<Gauge> address(*queue, &display);
    const auto token = std::make_shared<int>();
    queue->post([&] { queue.reset(); });
    queue->post([token, &display] { display.take(1, 0); });
    EXPECT_EQ(queue->deliver(), 1);
    EXPECT_TRUE(display.values.empty());
    EXPECT_EQ(token.use_count(), 1) << "what was dropped is freed";
    EXPECT_FALSE(address.post(&Gauge::take, 1, 0.0));
}

TEST(VPostQueue, IsFreedWhileOthersPost)
{
    const auto token = std::make_shared<int>();
    Gauge display;
    auto queue = std::make_unique<VPostQueue>([] {});
    auto address = std::make_unique<VPostAddress<Gauge>>(*queue, &display);
    VSemaphore started;
    std::vector<std::thread> threads;
    for (int i = 0; i < producers; ++i)
        threads.emplace_back([own = *address, token, &started] {
            started.release();
            while (own.post([token](Gauge&) {})) {
            }
        });
    address.reset();
    started.acquire(producers);
    queue->deliver();
    queue.reset();
    for (std::thread& thread : threads)
        thread.join();
    threads.clear();
    EXPECT_EQ(token.use_count(), 1);
}

TEST(VPostQueue, WakesTheOwnerOnceForARunOfPosts)
{
    int woken = 0;
    VPostQueue queue([&woken] { ++woken; });
    std::thread([&] {
        for (int i = 0; i < 5; ++i)
            queue.post([] {});
    }).join();
    EXPECT_EQ(woken, 1);
    queue.deliver();
    queue.post([] {});
    EXPECT_EQ(woken, 2);
}

TEST(VPostQueue, IsDeliveredByItsOwnerOnly)
{
    VPostQueue queue;
    queue.post([] {});
    QString warning;
    std::thread([&] {
        WarningCatcher warnings;
        EXPECT_EQ(queue.deliver(), 0);
        warning = warnings.text();
    }).join();
    EXPECT_EQ(warning,
              QLatin1String("VPostQueue::deliver: Called by a thread that does not own the queue"));
    EXPECT_EQ(queue.deliver(), 1);
}
