#ifndef ZKWAITCONDITION_H
#define ZKWAITCONDITION_H

#include "zkglobal.h"

#include <pthread.h>

/// A condition variable with a mutex of its own, whose timed wait runs on the
/// monotonic clock: setting the wall clock neither shortens nor stretches it.
///
/// The object locks, unlocks and wakes nothing by itself. Both sides take the
/// mutex, the waiter loops on a predicate that the mutex guards, and whoever
/// changes the predicate signals the condition:
///
///     // waiter                                    // waker
///     pthread_mutex_lock(c.nativeMutex());         pthread_mutex_lock(c.nativeMutex());
///     while (!ready && c.wait(500)) {}             ready = true;
///     const bool done = ready;                     pthread_cond_signal(c.nativeCondition());
///     pthread_mutex_unlock(c.nativeMutex());       pthread_mutex_unlock(c.nativeMutex());
///
/// The object outlives every thread that uses it, and is not copied.
class ZK_EXPORT ZkWaitCondition
{
public:
    ZkWaitCondition();
    ~ZkWaitCondition();
    ZkWaitCondition(const ZkWaitCondition &) = delete;
    ZkWaitCondition &operator=(const ZkWaitCondition &) = delete;

    /// Waits at most `ms` milliseconds, not at all when that is 0 or negative. The
    /// calling thread must hold the mutex; it is free while the thread waits and
    /// held again afterwards, whatever the result. True when the wait ended before
    /// its time: by a signal or, now and then, for no reason, so the caller tests
    /// its predicate. False after a time-out or an error.
    bool wait(int ms);

    /// The object's mutex and condition, for as long as the object lives.
    pthread_mutex_t *nativeMutex() { return &m_mutex; }
    pthread_cond_t *nativeCondition() { return &m_condition; }

private:
    pthread_mutex_t m_mutex;
    pthread_cond_t m_condition;
};

#endif
