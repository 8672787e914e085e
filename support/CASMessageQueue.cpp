#include "support/CASMessageQueue.h"

#include "support/ASSync.h"
#include "support/detail/KeptMemory.h"
#include "support/detail/MutexLock.h"

namespace {

constexpr uint32_t messagePoolInitialSize = 2048;
constexpr uint32_t messagePoolAlignment = 16;

} // namespace

CASMessageQueue::CASMessageQueue()
    : messageEvent(ASMacCreateEvent(true, false, nullptr)),
      messagePool(sizeof(ASMessageData), messagePoolInitialSize, messagePoolAlignment) {}

CASMessageQueue::~CASMessageQueue() {
    {
        const ASMutexLock lock(consumerMutex);
        closing = true;
        ASMacSetEvent(messageEvent);
        while (waitingConsumers > 0)
            pthread_cond_wait(&consumerLeft, &consumerMutex);
    }
    ClearMessage();
    pthread_cond_destroy(&consumerLeft);
    pthread_mutex_destroy(&consumerMutex);
    ASKeepForever(messageEvent);
}

void CASMessageQueue::PutMessage(const ASMessageData& message) {
    BeginUpdateNode();
    auto* last = static_cast<ASMessageData*>(GetLastNodeData());
    if (last != nullptr && last->message == message.message) {
        *last = message;
        EndUpdateNode();
        return;
    }
    EndUpdateNode();
    auto* copy = static_cast<ASMessageData*>(messagePool.GetMemory(sizeof(ASMessageData)));
    if (copy == nullptr)
        return;
    *copy = message;
    Put(copy);
    ASMacSetEvent(messageEvent);
}

ASMessageData CASMessageQueue::GetMessage() {
    auto* stored = static_cast<ASMessageData*>(Get());
    if (stored == nullptr)
        stored = WaitForMessage();
    if (stored == nullptr)
        return {};
    const ASMessageData message = *stored;
    messagePool.FreeMemory(stored);
    return message;
}

// Null when the queue goes away. The event is reset before the queue is read again, so a message
// put in between is found by that reading.
ASMessageData* CASMessageQueue::WaitForMessage() {
    {
        const ASMutexLock lock(consumerMutex);
        ++waitingConsumers;
    }
    ASMessageData* stored = nullptr;
    while (stored == nullptr && !closing) {
        ASMacWaitForSingleEvent(messageEvent, ASWaitForever);
        ASMacResetEvent(messageEvent);
        stored = static_cast<ASMessageData*>(Get());
    }
    const ASMutexLock lock(consumerMutex);
    --waitingConsumers;
    if (closing) {
        ASMacSetEvent(messageEvent); // the reset above may have taken it from another consumer
        pthread_cond_signal(&consumerLeft);
    }
    return stored;
}

uint32_t CASMessageQueue::GetMessageCount() const {
    return GetLength();
}

void CASMessageQueue::ClearMessage() {
    while (void* message = Get())
        messagePool.FreeMemory(message);
    Clear();
}
