#include "support/CASQueue.h"

#include "LayoutProbe.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using Probe = SupportLayoutProbe;

TEST(Queue, ReturnsPointersInTheOrderTheyCameIn) {
    CASQueue queue;
    int values[3] = {};
    for (int& value : values)
        queue.Put(&value);
    EXPECT_EQ(queue.GetLength(), 3U);
    EXPECT_EQ(queue.GetFirstNodeData(), &values[0]);
    EXPECT_EQ(queue.GetLastNodeData(), &values[2]);
    for (int& value : values)
        EXPECT_EQ(queue.Get(), &value);
    EXPECT_EQ(queue.GetLength(), 0U);
}

TEST(Queue, EmptyQueueReturnsNull) {
    CASQueue queue;
    EXPECT_EQ(queue.Get(), nullptr);
    EXPECT_EQ(queue.GetFirstNodeData(), nullptr);
    EXPECT_EQ(queue.GetLastNodeData(), nullptr);
    EXPECT_EQ(queue.GetLength(), 0U);
}

TEST(Queue, ClearingForgetsAllAndIsHarmlessWhenEmpty) {
    CASQueue queue;
    queue.Clear();
    int value = 0;
    for (int i = 0; i < 1000; ++i)
        queue.Put(&value);
    queue.Clear();
    EXPECT_EQ(queue.GetLength(), 0U);
    EXPECT_EQ(queue.Get(), nullptr);
    EXPECT_EQ(queue.GetLastNodeData(), nullptr);
    queue.Put(&value);
    EXPECT_EQ(queue.Get(), &value);
}

TEST(Queue, StoredNullCountsButLooksEmpty) {
    CASQueue queue;
    queue.Put(nullptr);
    EXPECT_EQ(queue.GetLength(), 1U);
    EXPECT_EQ(queue.Get(), nullptr);
    EXPECT_EQ(queue.GetLength(), 0U);
}

TEST(Queue, PutAndGetAreAllowedInsideAnUpdate) {
    CASQueue queue;
    int first = 0;
    int second = 0;
    queue.BeginUpdateNode();
    queue.Put(&first);
    queue.Put(&second);
    EXPECT_EQ(queue.Get(), &first);
    queue.EndUpdateNode();
    EXPECT_EQ(queue.GetLastNodeData(), &second);
}

TEST(Queue, UpdateHoldsOffOtherThreadsButNotTheirPeeks) {
    CASQueue queue;
    int value = 0;
    queue.Put(&value);
    queue.BeginUpdateNode();
    std::atomic<bool> peeked{false};
    std::atomic<bool> taken{false};
    std::thread other([&] {
        EXPECT_EQ(queue.GetLength(), 1U);
        EXPECT_EQ(queue.GetLastNodeData(), &value);
        peeked = true;
        EXPECT_EQ(queue.Get(), &value);
        taken = true;
    });
    while (!peeked)
        std::this_thread::yield();
    EXPECT_FALSE(taken);
    queue.EndUpdateNode();
    other.join();
    EXPECT_TRUE(taken);
}

TEST(Queue, StaysSmallWhileItNeverRunsEmpty) {
    CASQueue queue;
    int value = 0;
    for (int i = 0; i < 10; ++i)
        queue.Put(&value);
    const uint32_t before = Probe::totalSize(Probe::nodePool(queue));
    for (int i = 0; i < 100'000; ++i) {
        queue.Put(&value);
        ASSERT_EQ(queue.Get(), &value);
    }
    EXPECT_EQ(Probe::totalSize(Probe::nodePool(queue)), before);
}
