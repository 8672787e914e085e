#pragma once

#include "support/CASMemoryPool.h"
#include "support/CASQueue.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>

/// A message, copied by value.
struct ASMessageData {
    uint32_t message; // identifier; also the key under which repeated messages are merged
    uint32_t param;
    double value1;
    double value2;
};
static_assert(sizeof(ASMessageData) == 24);

// Messages from many producers to one consumer that blocks for them.
//
//     CASMessageQueue queue;
//     queue.PutMessage({progressChanged, 0, 0.5, 0});    // any thread
//     ASMessageData next = queue.GetMessage();           // the consumer
//
// Messages of one kind put one after the other are merged: the last record stays. Put and Get of
// the base class are for CASMessageQueue's own use; its pointers are messages of its pool.
//
// Threads: producers any, one consumer. Destroying the queue while the consumer waits wakes it:
// GetMessage then returns a record of zeros, and the destructor waits until it has left. No other
// call may be under way or follow. Errors: a message without memory is logged and dropped.
class CASMessageQueue : public CASQueue {
public:
    CASMessageQueue();
    /// Drops the messages left. Deliberately never deletes the event they are announced with.
    ~CASMessageQueue() override;
    CASMessageQueue(const CASMessageQueue&) = delete;
    CASMessageQueue& operator=(const CASMessageQueue&) = delete;
    using CASQueue::operator=;

    /// Queues a copy, or overwrites the last queued message when that has the same identifier (the
    /// consumer is not woken again then).
    void PutMessage(const ASMessageData& message);
    /// The oldest message; waits without limit until there is one.
    ASMessageData GetMessage();
    uint32_t GetMessageCount() const;
    void ClearMessage();

private:
    friend struct SupportLayoutProbe;

    ASMessageData* WaitForMessage();

    void* messageEvent;
    CASMemoryPool messagePool;
    // For the destructor: consumers that wait, and the news that the queue goes away.
    std::atomic<bool> closing{false};
    uint32_t waitingConsumers = 0;
    pthread_mutex_t consumerMutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t consumerLeft = PTHREAD_COND_INITIALIZER;
};
