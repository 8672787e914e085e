#include "support/CASQueue.h"

#include "support/detail/MutexLock.h"

namespace {

constexpr uint32_t nodePoolInitialSize = 1024;
constexpr uint32_t nodePoolAlignment = 8;

} // namespace

// A chunk is one node: two pointers. (Chunks of half a node would let every search of the pool
// that reaches its end add a block instead of starting over, and the pool would never stop
// growing.)
CASQueue::CASQueue() : nodePool(sizeof(Node), nodePoolInitialSize, nodePoolAlignment) {
    ASCreateRecursiveMutex(mutex);
}

CASQueue::~CASQueue() {
    CASQueue::Clear();
    pthread_mutex_destroy(&mutex);
}

void CASQueue::PublishEnds() {
    firstData.store(head == nullptr ? nullptr : head->data, std::memory_order_release);
    lastData.store(tail == nullptr ? nullptr : tail->data, std::memory_order_release);
}

// Under the mutex: only readers are without it, so no atomic addition is needed.
void CASQueue::SetLength(uint32_t count) {
    length.store(count, std::memory_order_relaxed);
}

void CASQueue::Put(void* data) {
    const ASMutexLock lock(mutex);
    auto* node = static_cast<Node*>(nodePool.GetMemory(sizeof(Node)));
    if (node == nullptr)
        return;
    if (tail == nullptr)
        head = node;
    else
        tail->next = node;
    tail = node;
    node->next = nullptr;
    node->data = data;
    SetLength(GetLength() + 1);
    PublishEnds();
}

void* CASQueue::Get() {
    const ASMutexLock lock(mutex);
    Node* node = head;
    if (node == nullptr)
        return nullptr;
    void* data = node->data;
    head = node->next;
    if (head == nullptr)
        tail = nullptr;
    nodePool.FreeMemory(node);
    SetLength(GetLength() - 1);
    PublishEnds();
    return data;
}

void CASQueue::Clear() {
    const ASMutexLock lock(mutex);
    while (head != nullptr) {
        Node* node = head;
        head = node->next;
        nodePool.FreeMemory(node);
    }
    SetLength(0);
    tail = nullptr;
    PublishEnds();
}

uint32_t CASQueue::GetLength() const {
    return length.load(std::memory_order_relaxed);
}

void* CASQueue::GetFirstNodeData() const {
    return firstData.load(std::memory_order_acquire);
}

void* CASQueue::GetLastNodeData() const {
    return lastData.load(std::memory_order_acquire);
}

void CASQueue::BeginUpdateNode() {
    pthread_mutex_lock(&mutex);
}

void CASQueue::EndUpdateNode() {
    pthread_mutex_unlock(&mutex);
}
