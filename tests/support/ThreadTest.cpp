#include "support/CASThread.h"

#include "LayoutProbe.h"
#include "LogCapture.h"
#include "Wait.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <cerrno>
#include <memory>

namespace {

// Notes what it was given and how it is scheduled, then waits to be let go.
class Worker : public CASThread {
public:
    using CASThread::operator=;
    int32_t Execute(void* param) override {
        given = param;
        sched_param parameters = {};
        pthread_getschedparam(pthread_self(), &policy, &parameters);
        priority = parameters.sched_priority;
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstacksize(&attributes, &stackSize);
        pthread_attr_destroy(&attributes);
        running = true;
        WaitUntil([this] { return letGo.load(); });
        return 5;
    }
    void* given = nullptr;
    int policy = -1;
    int priority = -1;
    size_t stackSize = 0;
    std::atomic<bool> running{false};
    std::atomic<bool> letGo{true};
};

void* Nothing(void* /*param*/) {
    return nullptr;
}

// Whether the system grants this user real-time scheduling.
bool RealTimeIsGranted() {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(&attributes, SCHED_RR);
    sched_param parameters = {};
    parameters.sched_priority = 20;
    pthread_attr_setschedparam(&attributes, &parameters);
    pthread_t thread = 0;
    const bool granted = pthread_create(&thread, &attributes, Nothing, nullptr) == 0;
    if (granted)
        pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return granted;
}

} // namespace

TEST(Thread, RunsExecuteWithItsParameter) {
    Worker worker;
    int value = 0;
    EXPECT_EQ(worker.GetThreadHandle(), 0U);
    ASSERT_EQ(worker.startThread(&value, ASThreadPriorityNormal, 0), 0);
    EXPECT_NE(worker.GetThreadHandle(), 0U);
    worker.WaitForThreadExit();
    EXPECT_EQ(worker.GetThreadHandle(), 0U);
    EXPECT_EQ(worker.given, &value);
}

TEST(Thread, NormalPriorityUsesDefaultAttributes) {
    int policy = -1;
    sched_param parameters = {};
    pthread_getschedparam(pthread_self(), &policy, &parameters);
    Worker worker;
    ASSERT_EQ(worker.startThread(nullptr, ASThreadPriorityNormal, 0), 0);
    worker.WaitForThreadExit();
    EXPECT_EQ(worker.policy, policy);
    EXPECT_EQ(worker.priority, parameters.sched_priority);
}

TEST(Thread, PrioritiesFollowTheirTableWhereTheSystemGrantsThem) {
    const bool granted = RealTimeIsGranted();
    for (const auto& [priority, scheduled] :
         {std::pair{-2, 1}, {-1, 10}, {1, 40}, {2, 70}, {5, 20}, {-9, 20}}) {
        Worker worker;
        ASSERT_EQ(worker.startThread(nullptr, static_cast<ASThreadPriority>(priority), 0), 0);
        worker.WaitForThreadExit();
        EXPECT_EQ(worker.policy, granted ? SCHED_RR : SCHED_OTHER);
        EXPECT_EQ(worker.priority, granted ? scheduled : 0);
    }
}

TEST(Thread, StackSizeIsUsedAndAnImpossibleOneIgnored) {
    Worker worker;
    ASSERT_EQ(worker.startThread(nullptr, ASThreadPriorityNormal, 1024 * 1024), 0);
    worker.WaitForThreadExit();
    EXPECT_GE(worker.stackSize, 1024U * 1024U);
    EXPECT_LT(worker.stackSize, 2 * 1024U * 1024U);
    ASSERT_EQ(worker.startThread(nullptr, ASThreadPriorityNormal, 1), 0);
    worker.WaitForThreadExit();
    EXPECT_GT(worker.stackSize, 16'384U);
}

TEST(Thread, WaitingWithoutAThreadReturnsAtOnce) {
    CASThread thread;
    thread.WaitForThreadExit();
    EXPECT_EQ(thread.Execute(nullptr), 0);
    ASSERT_EQ(thread.startThread(nullptr, ASThreadPriorityNormal, 0), 0);
    thread.WaitForThreadExit();
    thread.WaitForThreadExit();
}

TEST(Thread, MayBeStartedAgainAfterItsEnd) {
    Worker worker;
    for (int round = 0; round < 3; ++round) {
        worker.given = nullptr;
        ASSERT_EQ(worker.startThread(&worker, ASThreadPriorityNormal, 0), 0);
        worker.WaitForThreadExit();
        EXPECT_EQ(worker.given, &worker);
    }
}

TEST(Thread, SecondStartLetsTheFirstThreadRunOn) {
    static std::atomic<int> ended{0};
    class Counter : public CASThread {
        using CASThread::operator=;
        int32_t Execute(void* /*param*/) override {
            ++ended;
            return 0;
        }
    };
    ended = 0;
    Counter counter;
    ASSERT_EQ(counter.startThread(nullptr, ASThreadPriorityNormal, 0), 0);
    ASSERT_EQ(counter.startThread(nullptr, ASThreadPriorityNormal, 0), 0);
    counter.WaitForThreadExit();
    EXPECT_TRUE(WaitUntil([] { return ended == 2; }));
}

TEST(Thread, DestructionNeitherStopsNorJoins) {
    static std::atomic<bool> letGo{false};
    static std::atomic<bool> started{false};
    static std::atomic<bool> finished{false};
    letGo = started = finished = false;
    class Holder : public CASThread {
        using CASThread::operator=;
        int32_t Execute(void* /*param*/) override {
            started = true;
            WaitUntil([] { return letGo.load(); });
            finished = true;
            return 0;
        }
    };
    auto holder = std::make_unique<Holder>();
    ASSERT_EQ(holder->startThread(nullptr, ASThreadPriorityNormal, 0), 0);
    const pthread_t handle = holder->GetThreadHandle();
    ASSERT_TRUE(WaitUntil([] { return started.load(); }));
    holder.reset();
    EXPECT_FALSE(finished);
    letGo = true;
    EXPECT_EQ(pthread_join(handle, nullptr), 0);
    EXPECT_TRUE(finished);
}

TEST(Thread, StartRecordWithoutAThreadIsReported) {
    const LogCapture log;
    EXPECT_EQ(SupportLayoutProbe::threadProc(nullptr), nullptr);
    EXPECT_EQ(log.lines(), LogLines{"ERR:thread function param is NULL."});
}
