#include "support/CASMessageQueue.h"

#include "LayoutProbe.h"
#include "Wait.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

ASMessageData Message(uint32_t message, uint32_t param) {
    return {message, param, 0.5, -1.5};
}

} // namespace

using Probe = SupportLayoutProbe;

TEST(MessageQueue, RepeatedMessagesAreMergedIntoTheLast) {
    CASMessageQueue queue;
    for (uint32_t param = 1; param <= 3; ++param)
        queue.PutMessage(Message(7, param));
    EXPECT_EQ(queue.GetMessageCount(), 1U);
    const ASMessageData message = queue.GetMessage();
    EXPECT_EQ(message.message, 7U);
    EXPECT_EQ(message.param, 3U);
    EXPECT_EQ(message.value1, 0.5);
    EXPECT_EQ(message.value2, -1.5);
}

TEST(MessageQueue, MessagesWithAnotherInBetweenAreNotMerged) {
    CASMessageQueue queue;
    for (const uint32_t message : {7U, 8U, 7U})
        queue.PutMessage(Message(message, 0));
    EXPECT_EQ(queue.GetMessageCount(), 3U);
    for (const uint32_t message : {7U, 8U, 7U})
        EXPECT_EQ(queue.GetMessage().message, message);
    EXPECT_EQ(queue.GetMessageCount(), 0U);
}

TEST(MessageQueue, ReceivingWaitsForAMessage) {
    CASMessageQueue queue;
    std::thread producer;
    {
        auto* event = static_cast<CMacEvent*>(Probe::messageEvent(queue));
        producer = std::thread([&queue, event] {
            EXPECT_TRUE(WaitUntil([event] { return Probe::waiters(*event) == 1; }));
            queue.PutMessage(Message(42, 1));
        });
    }
    EXPECT_EQ(queue.GetMessage().message, 42U);
    producer.join();
}

TEST(MessageQueue, ClearingDropsTheMessagesAndTheirMemory) {
    CASMessageQueue queue;
    queue.ClearMessage();
    for (uint32_t i = 0; i < 500; ++i)
        queue.PutMessage(Message(i, i));
    queue.ClearMessage();
    EXPECT_EQ(queue.GetMessageCount(), 0U);
    EXPECT_EQ(Probe::objectCount(Probe::messagePool(queue)), 0U);
    queue.PutMessage(Message(1, 2));
    EXPECT_EQ(queue.GetMessage().param, 2U);
}

TEST(MessageQueue, DestructionWakesAWaitingConsumerWithAnEmptyMessage) {
    for (const int consumers : {1, 3}) {
        auto queue = std::make_unique<CASMessageQueue>();
        auto* event = static_cast<CMacEvent*>(Probe::messageEvent(*queue));
        std::vector<std::thread> threads;
        threads.reserve(static_cast<size_t>(consumers));
        for (int i = 0; i < consumers; ++i) {
            threads.emplace_back([raw = queue.get()] {
                const ASMessageData message = raw->GetMessage();
                EXPECT_EQ(message.message, 0U);
                EXPECT_EQ(message.value1, 0);
            });
        }
        EXPECT_TRUE(
            WaitUntil([&] { return Probe::waiters(*event) == static_cast<uint32_t>(consumers); }));
        queue.reset();
        for (auto& thread : threads)
            thread.join();
    }
}

TEST(MessageQueue, EventOutlivesTheQueue) {
    void* event = nullptr;
    {
        CASMessageQueue queue;
        event = Probe::messageEvent(queue);
    }
    EXPECT_TRUE(ASMacResetEvent(event));
    EXPECT_EQ(ASMacWaitForSingleEvent(event, 0), -3);
}

TEST(MessageQueue, PoolsHaveTheirSizes) {
    const CASMessageQueue queue;
    EXPECT_EQ(Probe::chunkSize(Probe::messagePool(queue)), 32U);
    EXPECT_EQ(Probe::totalSize(Probe::messagePool(queue)), 2048U);
    EXPECT_EQ(Probe::alignment(Probe::messagePool(queue)), 16U);
    EXPECT_EQ(Probe::chunkSize(Probe::nodePool(queue)), 2 * sizeof(void*));
    EXPECT_EQ(Probe::totalSize(Probe::nodePool(queue)), 1024U);
    EXPECT_EQ(Probe::alignment(Probe::nodePool(queue)), 8U);
}
