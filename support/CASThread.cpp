#include "support/CASThread.h"

#include <pthread.h>
#include <sched.h>

#include <cerrno>
#include <memory>
#include <new>

namespace {

struct StartRecord {
    CASThread* thread;
    void* param;
};

int SchedulingPriority(ASThreadPriority priority) {
    switch (priority) {
    case ASThreadPriorityLowest:
        return 1;
    case ASThreadPriorityLow:
        return 10;
    case ASThreadPriorityHigh:
        return 40;
    case ASThreadPriorityHighest:
        return 70;
    default:
        return 20;
    }
}

void SetPriority(pthread_attr_t& attributes, ASThreadPriority priority) {
    pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(&attributes, SCHED_RR);
    sched_param parameters = {};
    pthread_attr_getschedparam(&attributes, &parameters);
    parameters.sched_priority = SchedulingPriority(priority);
    pthread_attr_setschedparam(&attributes, &parameters);
}

} // namespace

CASThread::~CASThread() = default;

int32_t CASThread::Execute(void* /*param*/) {
    return 0;
}

int32_t CASThread::startThread(void* param, ASThreadPriority priority, uint32_t stackSize) {
    std::unique_ptr<StartRecord> record(new (std::nothrow) StartRecord{this, param});
    if (record == nullptr)
        return ENOMEM;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    if (stackSize != 0)
        pthread_attr_setstacksize(&attributes, stackSize);
    if (priority != ASThreadPriorityNormal)
        SetPriority(attributes, priority);
    pthread_t started = 0;
    int error = pthread_create(&started, &attributes, threadProc, record.get());
    if (error == EPERM && priority != ASThreadPriorityNormal) {
        pthread_attr_setinheritsched(&attributes, PTHREAD_INHERIT_SCHED);
        error = pthread_create(&started, &attributes, threadProc, record.get());
    }
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        errno = error;
        return error;
    }
    (void)record.release(); // the thread's now
    if (handle != 0)
        pthread_detach(handle);
    handle = started;
    return 0;
}

void* CASThread::threadProc(void* startRecord) {
    const std::unique_ptr<StartRecord> record(static_cast<StartRecord*>(startRecord));
    if (record != nullptr && record->thread != nullptr)
        record->thread->Execute(record->param);
    else
        LogMessage(ASLogTypeError, "thread function param is NULL.");
    return nullptr;
}

pthread_t CASThread::GetThreadHandle() const {
    return handle;
}

void CASThread::WaitForThreadExit() {
    if (handle == 0)
        return;
    pthread_join(handle, nullptr);
    handle = 0;
}
