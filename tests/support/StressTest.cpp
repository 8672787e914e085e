#include "support/support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace {

// A support thread that runs what it is given.
class Runner : public CASThread {
public:
    explicit Runner(std::function<void()> work) : m_work(std::move(work)) {
        EXPECT_EQ(startThread(nullptr, ASThreadPriorityNormal, 256 * 1024), 0);
    }
    ~Runner() override { WaitForThreadExit(); }
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;
    using CASThread::operator=;
    int32_t Execute(void* /*param*/) override {
        m_work();
        return 0;
    }

private:
    std::function<void()> m_work;
};

using Runners = std::vector<std::unique_ptr<Runner>>;

void RunInThreads(Runners& runners, int count, const std::function<void(int)>& work) {
    for (int i = 0; i < count; ++i)
        runners.push_back(std::make_unique<Runner>([work, i] { work(i); }));
}

} // namespace

TEST(Stress, ManyThreadsShareOneQueue) {
    constexpr int producers = 3;
    constexpr int consumers = 2;
    constexpr int perProducer = 3000;
    CASQueue queue;
    std::vector<int> values(size_t{producers} * perProducer);
    std::atomic<int> taken{0};
    std::vector<std::atomic<int>> seen(values.size());
    {
        Runners runners;
        RunInThreads(runners, producers, [&](int p) {
            for (int i = 0; i < perProducer; ++i)
                queue.Put(&values[static_cast<size_t>(p * perProducer + i)]);
        });
        RunInThreads(runners, consumers, [&](int) {
            while (taken < producers * perProducer) {
                auto* value = static_cast<int*>(queue.Get());
                if (value == nullptr)
                    continue;
                ++seen[static_cast<size_t>(value - values.data())];
                ++taken;
            }
        });
        RunInThreads(runners, 1, [&](int) {
            while (taken < producers * perProducer) {
                EXPECT_LE(queue.GetLength(), values.size());
                (void)queue.GetFirstNodeData();
                (void)queue.GetLastNodeData();
            }
        });
    }
    for (const auto& count : seen)
        EXPECT_EQ(count, 1);
    EXPECT_EQ(queue.GetLength(), 0U);
}

TEST(Stress, MessagesOfManyProducersReachOneConsumer) {
    constexpr uint32_t producers = 4;
    constexpr uint32_t perProducer = 2000;
    constexpr uint32_t last = 0xFFFFFFFF;
    CASMessageQueue queue;
    std::vector<uint32_t> latest(producers, 0);
    uint32_t ends = 0;
    Runner consumer([&] {
        while (ends < producers) {
            const ASMessageData message = queue.GetMessage();
            if (message.message == last) {
                ends += message.param;
                continue;
            }
            // Records of one producer are merged but never reordered.
            EXPECT_GT(message.param, latest[message.message]);
            latest[message.message] = message.param;
        }
    });
    {
        Runners runners;
        RunInThreads(runners, producers, [&](int p) {
            for (uint32_t i = 1; i <= perProducer; ++i)
                queue.PutMessage({static_cast<uint32_t>(p), i, 0, 0});
        });
    }
    queue.PutMessage({last, producers, 0, 0});
    consumer.WaitForThreadExit();
    for (const uint32_t param : latest)
        EXPECT_EQ(param, perProducer);
    EXPECT_EQ(queue.GetMessageCount(), 0U);
}

TEST(Stress, SemaphoreNeverLetsMoreThroughThanItHolds) {
    constexpr int slots = 3;
    CASMacSemaphore semaphore(slots, slots, nullptr);
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    {
        Runners runners;
        RunInThreads(runners, 8, [&](int) {
            for (int i = 0; i < 500; ++i) {
                ASSERT_EQ(semaphore.WaitForSemaphore(60'000), ASWaitObject);
                const int now = ++inside;
                int before = most;
                while (before < now && !most.compare_exchange_weak(before, now)) {
                }
                --inside;
                semaphore.SignalSemaphore(1, nullptr);
                (void)semaphore.GetResourceCount();
            }
        });
    }
    EXPECT_LE(most, slots);
    EXPECT_TRUE(semaphore.GetResourceCount());
}

TEST(Stress, AutoResetEventHandsATokenAround) {
    constexpr int rounds = 4000;
    CMacEvent ping(false, false, nullptr);
    CMacEvent pong(false, false, nullptr);
    int value = 0; // guarded by the token
    Runner other([&] {
        for (int i = 0; i < rounds; ++i) {
            EXPECT_EQ(ping.WaitForEvent(ASWaitForever), ASWaitObject);
            ++value;
            pong.SetEvent();
        }
    });
    for (int i = 0; i < rounds; ++i) {
        ping.SetEvent();
        ASSERT_EQ(pong.WaitForEvent(60'000), ASWaitObject);
        ASSERT_EQ(++value, 2 * (i + 1));
    }
}

TEST(Stress, EventsAreSetResetWaitedForAndDeleted) {
    for (int round = 0; round < 20; ++round) {
        void* event = ASMacCreateEvent(round % 2 == 0, false, nullptr);
        {
            std::atomic<bool> done{false};
            Runners waiters;
            RunInThreads(waiters, 3, [&](int) {
                while (!done)
                    EXPECT_NE(ASMacWaitForSingleEvent(event, 1), ASWaitFailed);
            });
            for (int i = 0; i < 100; ++i) {
                ASMacSetEvent(event);
                ASMacResetEvent(event);
            }
            done = true;
            ASMacSetEvent(event);
        }
        ASMacDeleteEvent(event);
    }
}

TEST(Stress, PoolUnderLoadHandsOutEachBlockOnce) {
    CASMemoryPool pool(48, 4096, 16);
    std::mutex mutex;
    std::set<void*> owned;
    Runners runners;
    RunInThreads(runners, 4, [&](int) {
        std::vector<void*> mine;
        for (int i = 0; i < 2000; ++i) {
            void* memory = pool.GetMemory(48);
            ASSERT_NE(memory, nullptr);
            {
                const std::lock_guard lock(mutex);
                ASSERT_TRUE(owned.insert(memory).second);
            }
            mine.push_back(memory);
            if (mine.size() > 20) {
                {
                    const std::lock_guard lock(mutex);
                    owned.erase(mine.front());
                }
                pool.FreeMemory(mine.front());
                mine.erase(mine.begin());
            }
        }
    });
}
