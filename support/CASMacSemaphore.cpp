#include "support/ASSync.h"

#include "support/detail/MutexLock.h"

#include <pthread.h>

#include <limits>
#include <memory>

namespace {

void AddOne(int32_t& count) {
    if (count < std::numeric_limits<int32_t>::max())
        ++count;
}

} // namespace

CASMacSemaphore::CASMacSemaphore(int32_t initialCount, int32_t maximumCount,
                                 const wchar_t* /*name*/) {
    count = initialCount;
    pthread_mutex_init(&mutex, nullptr);
    MPCreateSemaphore(maximumCount, initialCount, &semaphore);
}

CASMacSemaphore::~CASMacSemaphore() {
    MPDeleteSemaphore(semaphore);
    pthread_mutex_destroy(&mutex);
}

bool CASMacSemaphore::SignalSemaphore(uint32_t releaseCount, uint32_t* previousCount) {
    const ASMutexLock lock(mutex);
    if (releaseCount > 1) {
        // Deliberate: previousCount is left alone here.
        for (uint32_t i = 0; i < releaseCount && MPSignalSemaphore(semaphore) == kMPNoErr; ++i)
            AddOne(count);
        return true;
    }
    if (previousCount != nullptr)
        *previousCount = static_cast<uint32_t>(count);
    if (MPSignalSemaphore(semaphore) != kMPInsufficientResourcesErr)
        AddOne(count);
    return true;
}

int32_t CASMacSemaphore::WaitForSemaphore(uint32_t timeoutMs) {
    const MPStatus status = MPWaitOnSemaphore(semaphore, timeoutMs);
    if (status == kMPNoErr) {
        const ASMutexLock lock(mutex);
        if (count > 0)
            --count;
        return ASWaitObject;
    }
    // From here on the object may be gone: a deleted semaphore sends its waiters this way.
    if (timeoutMs == kDurationForever || status == kMPDeletedErr)
        return ASWaitFailed;
    return ASWaitTimeout;
}

bool CASMacSemaphore::GetResourceCount() {
    const ASMutexLock lock(mutex);
    // Deliberately narrowed to whether there are any.
    return count != 0;
}

void* ASMacCreateSemaphore(int32_t initialCount, int32_t maximumCount, const wchar_t* name) {
    return std::make_unique<CASMacSemaphore>(initialCount, maximumCount, name).release();
}

bool ASMacDeleteSemaphore(void* handle) {
    const std::unique_ptr<CASMacSemaphore> owned(static_cast<CASMacSemaphore*>(handle));
    return true;
}

bool ASMacSignalSemaphore(void* handle, unsigned releaseCount, unsigned* previousCount) {
    return handle != nullptr &&
           static_cast<CASMacSemaphore*>(handle)->SignalSemaphore(releaseCount, previousCount);
}

int32_t ASMacWaitForSemaphore(void* handle, unsigned timeoutMs) {
    return handle == nullptr ? ASWaitFailed
                             : static_cast<CASMacSemaphore*>(handle)->WaitForSemaphore(timeoutMs);
}

int32_t ASMacGetSemaphoreCount(void* handle) {
    return handle != nullptr && static_cast<CASMacSemaphore*>(handle)->GetResourceCount() ? 1 : 0;
}
