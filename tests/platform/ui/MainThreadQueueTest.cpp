#include "platform/ui/MainThreadQueue.h"

#include "platform/ui/OwnedThreads.h"
#include "tests/fakes/WindowLoop.h"

#include <atomic>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>
#include <vector>

namespace quillorn {
namespace {

using tests::WindowLoop;

TEST(MainThreadQueue, ItsOwnThreadRunsWorkAtOnce) {
    MainThreadQueue queue([]() { ADD_FAILURE() << "nobody needs to be woken"; });
    bool ran = false;
    EXPECT_TRUE(queue.isCurrent());
    EXPECT_TRUE(queue.runAndWait([&ran]() { ran = true; }));
    EXPECT_TRUE(ran);
}

TEST(MainThreadQueue, AnotherThreadWaitsForTheWindow) {
    WindowLoop window;
    std::vector<int> order;
    std::atomic<bool> ended = false;
    std::jthread worker([&]() {
        EXPECT_FALSE(window.queue.isCurrent());
        window.queue.post([&order]() { order.push_back(1); });
        EXPECT_TRUE(window.queue.runAndWait([&]() {
            EXPECT_TRUE(window.queue.isCurrent());
            order.push_back(2);
        }));
        EXPECT_EQ(order.size(), 2U) << "both ran before the wait was over";
        window.queue.post([&ended]() { ended = true; });
    });
    EXPECT_TRUE(window.runUntil([&ended]() { return ended.load(); }));
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(MainThreadQueue, WorkOfAModalLoopRunsWithinOtherWork) {
    WindowLoop window;
    bool inner = false;
    window.queue.post([&]() {
        window.queue.post([&inner]() { inner = true; });
        window.queue.runPending();
        EXPECT_TRUE(inner);
    });
    window.queue.runPending();
    EXPECT_TRUE(inner);
}

TEST(MainThreadQueue, ClosingLetsThoseGoWhoWait) {
    WindowLoop window;
    std::atomic<bool> ended = false;
    std::jthread worker([&]() {
        EXPECT_FALSE(window.queue.runAndWait([]() { ADD_FAILURE() << "ran after the end"; }));
        ended = true;
    });
    window.queue.close();
    worker.join();
    EXPECT_TRUE(ended);
    std::jthread([&window]() {
        EXPECT_FALSE(window.queue.runAndWait([]() { ADD_FAILURE() << "ran after the end"; }));
    }).join();
    window.queue.runPending();
}

TEST(OwnedThreads, EndsItsThreadsByAskingThemToStop) {
    std::atomic<int> stopped = 0;
    {
        OwnedThreads threads;
        for (int i = 0; i < 3; ++i) {
            threads.detachNewThread([&stopped](const std::stop_token& stop) {
                std::mutex mutex;
                std::condition_variable_any wakeUp;
                std::unique_lock lock(mutex);
                wakeUp.wait(lock, stop, []() { return false; });
                ++stopped;
            });
        }
    }
    EXPECT_EQ(stopped, 3);
}

TEST(OwnedThreads, RunsWorkOnAThreadOfItsOwn) {
    OwnedThreads threads;
    std::thread::id id;
    threads.detachNewThread([&id](const std::stop_token&) { id = std::this_thread::get_id(); });
    threads.finish();
    EXPECT_NE(id, std::thread::id());
    EXPECT_NE(id, std::this_thread::get_id());
}

} // namespace
} // namespace quillorn
