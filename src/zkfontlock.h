#ifndef ZKFONTLOCK_H
#define ZKFONTLOCK_H

#include <pthread.h>

#include <cstdint>

/// The one reader/writer lock of the process that guards the glyph store and the
/// rasteriser. It is made of several: a reader takes the one of its thread, a writer
/// all of them in order. So threads that only look glyphs up do not wait for each
/// other's cache line, and a writer, who renders a glyph, can afford the rest.
/// Constant-initialised, never destroyed.
struct ZkFontLock {
    static constexpr unsigned kStripes = 8; // threads that read at once undisturbed, about

    struct alignas(64) Stripe {
        pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
    };

    Stripe stripes[kStripes];

    /// The lock of the calling thread.
    pthread_rwlock_t *own()
    {
        // Thread descriptors lie far apart: the middle of a product mixes their high bits.
        const auto self = static_cast<std::uint32_t>(pthread_self() >> 6);
        return &stripes[(self * 2654435769U) >> 29].lock;
    }
};
static_assert(ZkFontLock::kStripes == 1U << (32 - 29), "a thread picks its stripe by three bits");

extern ZkFontLock zkFontLock;

/// Holds the lock for looking up: records and their use counts.
class ZkFontReadLock
{
public:
    ZkFontReadLock() : m_lock(zkFontLock.own()) { pthread_rwlock_rdlock(m_lock); }
    ~ZkFontReadLock() { pthread_rwlock_unlock(m_lock); }
    ZkFontReadLock(const ZkFontReadLock &) = delete;
    ZkFontReadLock &operator=(const ZkFontReadLock &) = delete;

private:
    pthread_rwlock_t *m_lock;
};

/// Holds the lock for rendering, storing and trimming.
class ZkFontWriteLock
{
public:
    ZkFontWriteLock()
    {
        for (ZkFontLock::Stripe &stripe : zkFontLock.stripes) {
            pthread_rwlock_wrlock(&stripe.lock);
        }
    }
    ~ZkFontWriteLock()
    {
        for (ZkFontLock::Stripe &stripe : zkFontLock.stripes) {
            pthread_rwlock_unlock(&stripe.lock);
        }
    }
    ZkFontWriteLock(const ZkFontWriteLock &) = delete;
    ZkFontWriteLock &operator=(const ZkFontWriteLock &) = delete;
};

#endif
