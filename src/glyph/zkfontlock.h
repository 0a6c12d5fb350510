#ifndef ZKFONTLOCK_H
#define ZKFONTLOCK_H

#include "zkglobal.h"

#include <pthread.h>

/// The one reader/writer lock of the process that guards the glyph store and the
/// rasteriser. It is made of several: a reader takes the one of its thread, a writer
/// all of them in order. So threads that only look glyphs up do not wait for each
/// other's cache line, and a writer, who renders a glyph, can afford the rest.
/// While the process has one thread nothing is locked: no thread is started under the
/// lock, so a thread that starts later finds none held.
/// Constant-initialised, never destroyed.
struct ZkFontLock {
    static constexpr unsigned kStripes = 8; // threads that read at once undisturbed

    // Processors fetch cache lines in pairs: 128 bytes.
    struct alignas(128) Stripe {
        pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
    };

    Stripe stripes[kStripes];
    unsigned threads = 0; // that looked up glyphs so far

    /// The lock of the calling thread. Threads take the stripes in turn.
    pthread_rwlock_t *own()
    {
        // In the thread's static block, so that it is read without a call.
        static thread_local pthread_rwlock_t *mine __attribute__((tls_model("initial-exec"))) =
            nullptr;
        if (mine == nullptr) {
            mine = &stripes[__atomic_fetch_add(&threads, 1, __ATOMIC_RELAXED) % kStripes].lock;
        }
        return mine;
    }
};

extern ZkFontLock zkFontLock;

/// Holds the lock for looking up: records and their use counts.
class ZkFontReadLock
{
public:
    ZkFontReadLock()
    {
        if (!ZK_SINGLE_THREADED()) {
            m_lock = zkFontLock.own();
            pthread_rwlock_rdlock(m_lock);
        }
    }
    ~ZkFontReadLock()
    {
        if (m_lock != nullptr) {
            pthread_rwlock_unlock(m_lock);
        }
    }
    ZkFontReadLock(const ZkFontReadLock &) = delete;
    ZkFontReadLock &operator=(const ZkFontReadLock &) = delete;

private:
    pthread_rwlock_t *m_lock = nullptr;
};

/// Holds the lock for rendering, storing and trimming.
class ZkFontWriteLock
{
public:
    ZkFontWriteLock() : m_isLocked(!ZK_SINGLE_THREADED())
    {
        if (!m_isLocked) {
            return;
        }
        for (ZkFontLock::Stripe &stripe : zkFontLock.stripes) {
            pthread_rwlock_wrlock(&stripe.lock);
        }
    }
    ~ZkFontWriteLock()
    {
        if (!m_isLocked) {
            return;
        }
        for (ZkFontLock::Stripe &stripe : zkFontLock.stripes) {
            pthread_rwlock_unlock(&stripe.lock);
        }
    }
    ZkFontWriteLock(const ZkFontWriteLock &) = delete;
    ZkFontWriteLock &operator=(const ZkFontWriteLock &) = delete;

private:
    bool m_isLocked;
};

#endif
