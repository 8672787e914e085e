#pragma once

#include <pthread.h>

// Holds a mutex for the length of a scope.
class ASMutexLock {
public:
    explicit ASMutexLock(pthread_mutex_t& mutex) : m_mutex(mutex) { pthread_mutex_lock(&m_mutex); }
    ~ASMutexLock() { pthread_mutex_unlock(&m_mutex); }
    ASMutexLock(const ASMutexLock&) = delete;
    ASMutexLock& operator=(const ASMutexLock&) = delete;

private:
    pthread_mutex_t& m_mutex;
};

/// Creates `mutex` with the recursive type.
inline void ASCreateRecursiveMutex(pthread_mutex_t& mutex) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}
