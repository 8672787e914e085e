#pragma once

#include <cstdint>

// The platform semaphore under CASMacSemaphore: a counting semaphore with a maximum and a timed
// wait, made of a POSIX mutex and condition variable. Any thread may call any function.

struct MPOpaqueSemaphore;
using MPSemaphoreID = MPOpaqueSemaphore*;

enum MPStatus : int32_t {
    kMPNoErr = 0,
    kMPTimeoutErr = 1,
    kMPDeletedErr = 2,
    kMPInsufficientResourcesErr = 3,
    kMPParameterErr = 4,
};

/// Waiting time in milliseconds that never ends.
inline constexpr uint32_t kDurationForever = 0xFFFFFFFFU;

/// Makes a semaphore; release it with MPDeleteSemaphore. kMPParameterErr, and a null id, when
/// maximum is less than 1, initial is negative or initial exceeds maximum.
MPStatus MPCreateSemaphore(int32_t maximum, int32_t initial, MPSemaphoreID* semaphore);
/// Adds 1; kMPInsufficientResourcesErr at the maximum, kMPParameterErr for null.
MPStatus MPSignalSemaphore(MPSemaphoreID semaphore);
/// Takes 1, waiting up to `milliseconds`: kMPNoErr, kMPTimeoutErr, kMPDeletedErr when the
/// semaphore is deleted meanwhile, kMPParameterErr for null.
MPStatus MPWaitOnSemaphore(MPSemaphoreID semaphore, uint32_t milliseconds);
/// Threads that wait at this moment; 0 for null.
uint32_t MPGetWaiterCount(MPSemaphoreID semaphore);
/// Wakes every waiter with kMPDeletedErr, waits until they left, then frees the semaphore.
MPStatus MPDeleteSemaphore(MPSemaphoreID semaphore);
