#pragma once

#include "support/CASObject.h"

#include <pthread.h>

#include <cstdint>

/// -2 (lowest) to 2 (highest); 0 is normal.
enum ASThreadPriority : int32_t {
    ASThreadPriorityLowest = -2,
    ASThreadPriorityLow = -1,
    ASThreadPriorityNormal = 0,
    ASThreadPriorityHigh = 1,
    ASThreadPriorityHighest = 2,
};

// A thread whose work is the subclass's Execute.
//
//     class Worker : public CASThread {
//         int32_t Execute(void* param) override { ...; return 0; }
//     };
//     Worker worker;
//     if (worker.startThread(&input, ASThreadPriorityNormal, 0) == 0)
//         worker.WaitForThreadExit();
//
// Ownership: the object must outlive its running thread; the destructor deliberately neither stops
// nor joins it. `param` stays the caller's. Threads: one thread at a time may call startThread and
// WaitForThreadExit on an object. A thread started over one that was not waited for takes the
// object's handle; the older thread runs on, detached.
//
// A priority other than 0 asks for real-time round-robin scheduling (-2: 1, -1: 10, 1: 40, 2: 70,
// any other value: 20 of 1..99) where the system grants it to the user, and is dropped where not.
// Even the lowest of these runs before every thread of priority 0.
class CASThread : public CASObject {
public:
    CASThread() = default;
    ~CASThread() override;
    CASThread(const CASThread&) = delete;
    CASThread& operator=(const CASThread&) = delete;
    using CASObject::operator=;

    /// The thread's work; the result is not used. The base version does nothing and returns 0.
    virtual int32_t Execute(void* param);

    /// Starts the thread; 0, or the error number of the system. `stackSize` is in bytes, 0 or a
    /// size the system refuses mean its default.
    int32_t startThread(void* param, ASThreadPriority priority, uint32_t stackSize);
    /// Null (0) when no thread was started or it was waited for.
    pthread_t GetThreadHandle() const;
    /// Waits until the thread ends; returns at once when there is none.
    void WaitForThreadExit();

private:
    friend struct SupportLayoutProbe;

    static void* threadProc(void* startRecord);

    pthread_t handle = 0;
};
