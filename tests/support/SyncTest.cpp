#include "support/ASSync.h"

#include "LayoutProbe.h"
#include "Wait.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

TEST(Event, ManualResetReleasesEveryWaiterUntilReset) {
    void* event = ASMacCreateEvent(true, false, L"ignored");
    EXPECT_TRUE(ASMacSetEvent(event));
    EXPECT_EQ(ASMacWaitForSingleEvent(event, 0), 0);
    EXPECT_EQ(ASMacWaitForSingleEvent(event, ASWaitForever), 0);
    EXPECT_TRUE(ASMacResetEvent(event));
    EXPECT_EQ(ASMacWaitForSingleEvent(event, 0), -3);
    EXPECT_TRUE(ASMacDeleteEvent(event));
}

TEST(Event, AutoResetReleasesExactlyOneWaitForEachSet) {
    CMacEvent event(false, false, nullptr);
    EXPECT_TRUE(event.SetEvent());
    EXPECT_TRUE(event.SetEvent());
    EXPECT_EQ(event.WaitForEvent(0), 0);
    EXPECT_EQ(event.WaitForEvent(0), -3);
}

TEST(Event, InitialStateIsSignalledWhenAskedFor) {
    CMacEvent automatic(false, true, nullptr);
    EXPECT_EQ(automatic.WaitForEvent(0), 0);
    EXPECT_EQ(automatic.WaitForEvent(0), -3);
    CMacEvent manual(true, true, nullptr);
    EXPECT_EQ(manual.WaitForEvent(0), 0);
    EXPECT_EQ(manual.WaitForEvent(0), 0);
}

TEST(Event, WaitOnUnsignalledEventTimesOut) {
    CMacEvent event(true, false, nullptr);
    EXPECT_EQ(event.WaitForEvent(0), -3);
    EXPECT_EQ(event.WaitForEvent(20), -3);
}

TEST(Event, NullHandlesFail) {
    EXPECT_EQ(ASMacWaitForSingleEvent(nullptr, 5), -2);
    EXPECT_FALSE(ASMacSetEvent(nullptr));
    EXPECT_FALSE(ASMacResetEvent(nullptr));
    EXPECT_TRUE(ASMacDeleteEvent(nullptr));
}

TEST(Event, WaitingForSeveralIsNotSupported) {
    void* event = ASMacCreateEvent(true, true, nullptr);
    void* const handles[] = {event};
    EXPECT_EQ(ASMacWaitForMultipleEvents(1, handles, true, 0), -2);
    EXPECT_EQ(ASMacWaitForMultipleEvents(0, nullptr, false, ASWaitForever), -2);
    EXPECT_TRUE(ASMacDeleteEvent(event));
}

TEST(Event, AutoResetLetsThreadsPassOneByOne) {
    CMacEvent event(false, false, nullptr);
    std::atomic<int> passed{0};
    std::vector<std::thread> threads;
    threads.reserve(3);
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            EXPECT_EQ(event.WaitForEvent(ASWaitForever), 0);
            ++passed;
        });
    }
    for (int i = 1; i <= 3; ++i) {
        event.SetEvent();
        EXPECT_TRUE(WaitUntil([&] { return passed == i; }));
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(event.WaitForEvent(0), -3);
}

TEST(Event, DeletingReleasesWaiters) {
    for (const bool manual : {true, false}) {
        void* event = ASMacCreateEvent(manual, false, nullptr);
        std::vector<std::thread> threads;
        threads.reserve(3);
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([&, i] {
                EXPECT_EQ(ASMacWaitForSingleEvent(event, i == 0 ? 60'000 : ASWaitForever), 0);
            });
        }
        auto* object = static_cast<CMacEvent*>(event);
        ASSERT_TRUE(WaitUntil([&] { return SupportLayoutProbe::waiters(*object) == 3; }));
        EXPECT_TRUE(ASMacDeleteEvent(event));
        for (auto& thread : threads)
            thread.join();
    }
}

TEST(Semaphore, CountsDownToTimeOut) {
    void* semaphore = ASMacCreateSemaphore(2, 5, L"ignored");
    EXPECT_EQ(ASMacWaitForSemaphore(semaphore, 0), 0);
    EXPECT_EQ(ASMacWaitForSemaphore(semaphore, ASWaitForever), 0);
    EXPECT_EQ(ASMacWaitForSemaphore(semaphore, 0), -3);
    EXPECT_EQ(ASMacWaitForSemaphore(semaphore, 15), -3);
    EXPECT_TRUE(ASMacDeleteSemaphore(semaphore));
}

TEST(Semaphore, CountIsNarrowedToWhetherThereAreAny) {
    void* semaphore = ASMacCreateSemaphore(0, 10, nullptr);
    EXPECT_EQ(ASMacGetSemaphoreCount(semaphore), 0);
    EXPECT_TRUE(ASMacSignalSemaphore(semaphore, 1, nullptr));
    EXPECT_EQ(ASMacGetSemaphoreCount(semaphore), 1);
    EXPECT_TRUE(ASMacSignalSemaphore(semaphore, 2, nullptr));
    EXPECT_EQ(ASMacGetSemaphoreCount(semaphore), 1);
    EXPECT_TRUE(ASMacDeleteSemaphore(semaphore));
}

TEST(Semaphore, SignallingAtTheMaximumLeavesTheCount) {
    CASMacSemaphore semaphore(2, 2, nullptr);
    uint32_t previous = 99;
    EXPECT_TRUE(semaphore.SignalSemaphore(1, nullptr));
    EXPECT_TRUE(semaphore.SignalSemaphore(7, nullptr));
    EXPECT_TRUE(semaphore.SignalSemaphore(1, &previous));
    EXPECT_EQ(previous, 2U);
    EXPECT_EQ(semaphore.WaitForSemaphore(0), 0);
    EXPECT_EQ(semaphore.WaitForSemaphore(0), 0);
    EXPECT_EQ(semaphore.WaitForSemaphore(0), -3);
    EXPECT_FALSE(semaphore.GetResourceCount());
}

TEST(Semaphore, ReleasingSeveralStopsAtTheMaximum) {
    CASMacSemaphore semaphore(0, 3, nullptr);
    uint32_t previous = 99;
    EXPECT_TRUE(semaphore.SignalSemaphore(0xFFFFFFFFU, &previous));
    EXPECT_EQ(previous, 99U);
    EXPECT_TRUE(semaphore.SignalSemaphore(0, &previous));
    EXPECT_EQ(previous, 3U);
}

TEST(Semaphore, NullHandlesFail) {
    EXPECT_EQ(ASMacWaitForSemaphore(nullptr, 5), -2);
    EXPECT_FALSE(ASMacSignalSemaphore(nullptr, 1, nullptr));
    EXPECT_EQ(ASMacGetSemaphoreCount(nullptr), 0);
    EXPECT_TRUE(ASMacDeleteSemaphore(nullptr));
}

TEST(Semaphore, ImpossibleCountsFailEveryWait) {
    for (const auto& [initial, maximum] : {std::pair{3, 2}, {-1, 2}, {0, 0}, {0, -5}}) {
        CASMacSemaphore semaphore(initial, maximum, nullptr);
        EXPECT_TRUE(semaphore.SignalSemaphore(0xFFFFFFFFU, nullptr));
        EXPECT_EQ(semaphore.WaitForSemaphore(ASWaitForever), -2);
        EXPECT_EQ(semaphore.WaitForSemaphore(0), -3);
    }
}

TEST(Semaphore, DeletingFailsWaiters) {
    void* semaphore = ASMacCreateSemaphore(0, 1, nullptr);
    auto* platform = SupportLayoutProbe::semaphore(*static_cast<CASMacSemaphore*>(semaphore));
    std::thread forever([&] { EXPECT_EQ(ASMacWaitForSemaphore(semaphore, ASWaitForever), -2); });
    std::thread limited([&] { EXPECT_EQ(ASMacWaitForSemaphore(semaphore, 60'000), -2); });
    ASSERT_TRUE(WaitUntil([&] { return MPGetWaiterCount(platform) == 2; }));
    EXPECT_TRUE(ASMacDeleteSemaphore(semaphore));
    forever.join();
    limited.join();
}
