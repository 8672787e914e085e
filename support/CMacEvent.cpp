#include "support/ASSync.h"

#include "support/detail/Deadline.h"
#include "support/detail/MutexLock.h"

#include <pthread.h>

#include <cerrno>
#include <memory>

CMacEvent::CMacEvent(bool manual, bool initial, const wchar_t* /*name*/) {
    pthread_mutex_init(&mutex, nullptr);
    pthread_cond_init(&condition, nullptr);
    const ASMutexLock lock(mutex);
    signaled = initial;
    initialState = initial;
    manualReset = manual;
    if (initial)
        pthread_cond_signal(&condition);
}

CMacEvent::~CMacEvent() {
    {
        const ASMutexLock lock(mutex);
        closing = true;
        signaled = true;
        pthread_cond_broadcast(&condition);
        while (waiters > 0)
            pthread_cond_wait(&condition, &mutex);
    }
    pthread_cond_destroy(&condition);
    pthread_mutex_destroy(&mutex);
}

bool CMacEvent::SetEvent() {
    const ASMutexLock lock(mutex);
    signaled = true;
    pthread_cond_broadcast(&condition);
    return true;
}

bool CMacEvent::ResetEvent() {
    const ASMutexLock lock(mutex);
    signaled = false;
    return true;
}

int32_t CMacEvent::WaitForEvent(uint32_t timeoutMs) {
    const ASMutexLock lock(mutex);
    int32_t result = ASWaitObject;
    ++waiters;
    while (!signaled && !closing) {
        if (timeoutMs == ASWaitForever) {
            pthread_cond_wait(&condition, &mutex);
            continue;
        }
        const timespec deadline = ASDeadlineFromNow(timeoutMs);
        if (pthread_cond_timedwait(&condition, &mutex, &deadline) == ETIMEDOUT) {
            result = ASWaitTimeout;
            break;
        }
    }
    // Deliberate: the flag goes down after a time-out too, so a signal that arrives together with
    // the time-out is lost.
    if (!manualReset)
        signaled = false;
    --waiters;
    if (closing)
        pthread_cond_broadcast(&condition);
    return result;
}

void* ASMacCreateEvent(bool manualReset, bool initialState, const wchar_t* name) {
    return std::make_unique<CMacEvent>(manualReset, initialState, name).release();
}

bool ASMacDeleteEvent(void* handle) {
    const std::unique_ptr<CMacEvent> owned(static_cast<CMacEvent*>(handle));
    return true;
}

bool ASMacSetEvent(void* handle) {
    return handle != nullptr && static_cast<CMacEvent*>(handle)->SetEvent();
}

bool ASMacResetEvent(void* handle) {
    return handle != nullptr && static_cast<CMacEvent*>(handle)->ResetEvent();
}

int32_t ASMacWaitForSingleEvent(void* handle, unsigned timeoutMs) {
    return handle == nullptr ? ASWaitFailed
                             : static_cast<CMacEvent*>(handle)->WaitForEvent(timeoutMs);
}

int32_t ASMacWaitForMultipleEvents(unsigned /*count*/, void* const* /*handles*/, bool /*waitAll*/,
                                   unsigned /*timeoutMs*/) {
    return ASWaitFailed;
}
