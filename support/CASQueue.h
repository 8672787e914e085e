#pragma once

#include "support/CASMemoryPool.h"
#include "support/CASObject.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>

// Thread-safe first-in-first-out list of untyped pointers; its nodes come from a memory pool.
//
//     CASQueue queue;
//     queue.Put(&job);
//     auto* next = static_cast<Job*>(queue.Get());   // null when empty
//
// Ownership: the queue never touches what the pointers point to. A stored null pointer cannot be
// told from an empty queue. Threads: any; changes hold a recursive mutex, the length and the two
// peeks read without it. Errors: a Put that finds no memory is logged by the pool and dropped.
class CASQueue : public CASObject {
public:
    CASQueue();
    ~CASQueue() override;
    CASQueue(const CASQueue&) = delete;
    CASQueue& operator=(const CASQueue&) = delete;
    using CASObject::operator=;

    void Put(void* data);
    void* Get();
    /// Forgets all pointers.
    void Clear();

    /// Number of pointers stored.
    uint32_t GetLength() const;
    /// The pointer that Get would return; null when empty.
    void* GetFirstNodeData() const;
    /// The pointer stored last; null when empty.
    void* GetLastNodeData() const;

    /// Lock and unlock the queue, so that what the last pointer points to can be looked at and
    /// changed as one step. Put and Get may be called in between.
    void BeginUpdateNode();
    void EndUpdateNode();

private:
    friend struct SupportLayoutProbe;

    struct Node {
        void* data;
        Node* next;
    };

    void SetLength(uint32_t count);
    void PublishEnds();

    std::atomic<uint32_t> length{0};
    pthread_mutex_t mutex;
    Node* head = nullptr;
    Node* tail = nullptr;
    CASMemoryPool nodePool;
    // What the peeks read: head and tail may be taken away by another thread.
    std::atomic<void*> firstData{nullptr};
    std::atomic<void*> lastData{nullptr};
};
