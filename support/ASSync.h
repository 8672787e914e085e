#pragma once

#include "support/MPSemaphore.h"

#include <pthread.h>

#include <cstdint>

// Events and semaphores with the behaviour of the classic kernel objects, as classes and as flat
// ASMac... functions on opaque handles (the object's address).
//
//     void* ready = ASMacCreateEvent(false, false, nullptr);   // auto-reset, not signalled
//     ASMacSetEvent(ready);                                    // one waiter passes
//     if (ASMacWaitForSingleEvent(ready, 1000) == ASWaitTimeout) ...
//     ASMacDeleteEvent(ready);
//
// Waits return ASWaitObject, ASWaitFailed or ASWaitTimeout; time-outs are milliseconds,
// ASWaitForever has no limit. The names given to constructors are ignored. Any thread may call
// anything; deleting releases threads that still wait, but no call may start afterwards.

inline constexpr int32_t ASWaitObject = 0;
inline constexpr int32_t ASWaitFailed = -2;
inline constexpr int32_t ASWaitTimeout = -3;
inline constexpr uint32_t ASWaitForever = 0xFFFFFFFFU;

/// An event: a flag that threads wait for. A manual-reset event stays signalled until reset; an
/// auto-reset event lets one wait pass for each SetEvent.
class CMacEvent {
public:
    CMacEvent(bool manualReset, bool initialState, const wchar_t* name);
    /// Lets every waiter go (their waits return ASWaitObject), then destroys the event.
    virtual ~CMacEvent();
    CMacEvent(const CMacEvent&) = delete;
    CMacEvent& operator=(const CMacEvent&) = delete;

    /// Signals the event and wakes all waiters. Always true.
    bool SetEvent();
    /// Takes the signal back. Always true.
    bool ResetEvent();
    /// ASWaitObject, or ASWaitTimeout after `timeoutMs`. Deliberate: a wait on an auto-reset event
    /// clears the signal also when it times out. A spurious wake-up restarts the whole time-out.
    int32_t WaitForEvent(uint32_t timeoutMs);

private:
    friend struct SupportLayoutProbe;

    pthread_mutex_t mutex;
    pthread_cond_t condition;
    bool signaled = false;
    bool initialState = false;
    bool manualReset = false;
    // The system's condition variable cannot tell that it is busy, so waiters are counted.
    bool closing = false;
    uint32_t waiters = 0;
};

/// A counting semaphore with a maximum. One created with impossible counts (maximum below 1,
/// initial outside 0..maximum) fails every wait.
class CASMacSemaphore {
public:
    CASMacSemaphore(int32_t initialCount, int32_t maximumCount, const wchar_t* name);
    /// Lets every waiter go (their waits return ASWaitFailed), then destroys the semaphore.
    virtual ~CASMacSemaphore();
    CASMacSemaphore(const CASMacSemaphore&) = delete;
    CASMacSemaphore& operator=(const CASMacSemaphore&) = delete;

    /// Adds `releaseCount` (0 counts as 1), stopping at the maximum. Always true. The tally before
    /// the call is stored in `previousCount` when that is given and releaseCount is 0 or 1; a
    /// larger releaseCount deliberately leaves it untouched.
    bool SignalSemaphore(uint32_t releaseCount, uint32_t* previousCount);
    /// Takes one: ASWaitObject, ASWaitTimeout, or ASWaitFailed when the semaphore is deleted.
    int32_t WaitForSemaphore(uint32_t timeoutMs);
    /// Deliberately not the count but whether it differs from zero.
    bool GetResourceCount();

private:
    friend struct SupportLayoutProbe;

    pthread_mutex_t mutex;
    MPSemaphoreID semaphore = nullptr;
    int32_t count = 0; // tally for reporting; the platform semaphore has the real count
};

/// New event; delete it with ASMacDeleteEvent.
void* ASMacCreateEvent(bool manualReset, bool initialState, const wchar_t* name);
/// Always true; null is accepted.
bool ASMacDeleteEvent(void* handle);
/// True; false for null.
bool ASMacSetEvent(void* handle);
/// True; false for null.
bool ASMacResetEvent(void* handle);
/// As CMacEvent::WaitForEvent; ASWaitFailed for null.
int32_t ASMacWaitForSingleEvent(void* handle, unsigned timeoutMs);
/// Not supported: always ASWaitFailed.
int32_t ASMacWaitForMultipleEvents(unsigned count, void* const* handles, bool waitAll,
                                   unsigned timeoutMs);

/// New semaphore; delete it with ASMacDeleteSemaphore.
void* ASMacCreateSemaphore(int32_t initialCount, int32_t maximumCount, const wchar_t* name);
/// Always true; null is accepted.
bool ASMacDeleteSemaphore(void* handle);
/// As CASMacSemaphore::SignalSemaphore; false for null.
bool ASMacSignalSemaphore(void* handle, unsigned releaseCount, unsigned* previousCount);
/// As CASMacSemaphore::WaitForSemaphore; ASWaitFailed for null.
int32_t ASMacWaitForSemaphore(void* handle, unsigned timeoutMs);
/// 1 when the tally differs from zero, else 0 (the narrowing of GetResourceCount is passed on);
/// 0 for null.
int32_t ASMacGetSemaphoreCount(void* handle);
