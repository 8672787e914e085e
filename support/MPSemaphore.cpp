#include "support/MPSemaphore.h"

#include "support/detail/Deadline.h"
#include "support/detail/MutexLock.h"

#include <pthread.h>

#include <cerrno>
#include <ctime>
#include <memory>

struct MPOpaqueSemaphore {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    pthread_cond_t waiterLeft = PTHREAD_COND_INITIALIZER;
    int32_t value = 0;
    int32_t maximum = 0;
    uint32_t waiters = 0;
    bool deleted = false;

    ~MPOpaqueSemaphore() {
        pthread_cond_destroy(&waiterLeft);
        pthread_cond_destroy(&condition);
        pthread_mutex_destroy(&mutex);
    }
};

MPStatus MPCreateSemaphore(int32_t maximum, int32_t initial, MPSemaphoreID* semaphore) {
    if (semaphore == nullptr)
        return kMPParameterErr;
    *semaphore = nullptr;
    if (maximum < 1 || initial < 0 || initial > maximum)
        return kMPParameterErr;
    auto created = std::make_unique<MPOpaqueSemaphore>();
    created->value = initial;
    created->maximum = maximum;
    *semaphore = created.release();
    return kMPNoErr;
}

MPStatus MPSignalSemaphore(MPSemaphoreID semaphore) {
    if (semaphore == nullptr)
        return kMPParameterErr;
    const ASMutexLock lock(semaphore->mutex);
    if (semaphore->value >= semaphore->maximum)
        return kMPInsufficientResourcesErr;
    ++semaphore->value;
    pthread_cond_signal(&semaphore->condition);
    return kMPNoErr;
}

MPStatus MPWaitOnSemaphore(MPSemaphoreID semaphore, uint32_t milliseconds) {
    if (semaphore == nullptr)
        return kMPParameterErr;
    const ASMutexLock lock(semaphore->mutex);
    const timespec deadline = ASDeadlineFromNow(milliseconds);
    ++semaphore->waiters;
    int waited = 0;
    while (semaphore->value == 0 && !semaphore->deleted && waited != ETIMEDOUT) {
        waited = milliseconds == kDurationForever
                     ? pthread_cond_wait(&semaphore->condition, &semaphore->mutex)
                     : pthread_cond_timedwait(&semaphore->condition, &semaphore->mutex, &deadline);
    }
    --semaphore->waiters;
    if (semaphore->deleted) {
        pthread_cond_signal(&semaphore->waiterLeft);
        return kMPDeletedErr;
    }
    if (semaphore->value == 0)
        return kMPTimeoutErr;
    --semaphore->value;
    return kMPNoErr;
}

uint32_t MPGetWaiterCount(MPSemaphoreID semaphore) {
    if (semaphore == nullptr)
        return 0;
    const ASMutexLock lock(semaphore->mutex);
    return semaphore->waiters;
}

MPStatus MPDeleteSemaphore(MPSemaphoreID semaphore) {
    if (semaphore == nullptr)
        return kMPParameterErr;
    const std::unique_ptr<MPOpaqueSemaphore> owned(semaphore);
    const ASMutexLock lock(owned->mutex);
    owned->deleted = true;
    pthread_cond_broadcast(&owned->condition);
    while (owned->waiters > 0)
        pthread_cond_wait(&owned->waiterLeft, &owned->mutex);
    return kMPNoErr;
}
