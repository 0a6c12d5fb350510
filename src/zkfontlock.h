#ifndef ZKFONTLOCK_H
#define ZKFONTLOCK_H

#include <pthread.h>

/// Guards the glyph store and the rasteriser of the process. Constant-initialised,
/// never destroyed.
extern pthread_rwlock_t zkFontLock;

/// Holds the lock for looking up: records and their use counts.
class ZkFontReadLock
{
public:
    ZkFontReadLock() { pthread_rwlock_rdlock(&zkFontLock); }
    ~ZkFontReadLock() { pthread_rwlock_unlock(&zkFontLock); }
    ZkFontReadLock(const ZkFontReadLock &) = delete;
    ZkFontReadLock &operator=(const ZkFontReadLock &) = delete;
};

/// Holds the lock for rendering, storing and trimming.
class ZkFontWriteLock
{
public:
    ZkFontWriteLock() { pthread_rwlock_wrlock(&zkFontLock); }
    ~ZkFontWriteLock() { pthread_rwlock_unlock(&zkFontLock); }
    ZkFontWriteLock(const ZkFontWriteLock &) = delete;
    ZkFontWriteLock &operator=(const ZkFontWriteLock &) = delete;
};

#endif
