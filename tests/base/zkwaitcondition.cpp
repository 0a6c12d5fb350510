#include <zkwaitcondition.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <ctime>
#include <thread>
#include <type_traits>

namespace
{

long long monotonicMSecs()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return 1000ll * now.tv_sec + now.tv_nsec / 1000000;
}

/// Holds the mutex of a condition, as a caller of wait() must.
struct Lock {
    explicit Lock(ZkWaitCondition &c) : mutex(c.nativeMutex()) { pthread_mutex_lock(mutex); }
    ~Lock() { pthread_mutex_unlock(mutex); }
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;
    pthread_mutex_t *mutex;
};

} // namespace

TEST(ZkWaitCondition, IsNeitherCopiedNorMoved)
{
    EXPECT_FALSE(std::is_copy_constructible<ZkWaitCondition>::value);
    EXPECT_FALSE(std::is_copy_assignable<ZkWaitCondition>::value);
    EXPECT_FALSE(std::is_move_constructible<ZkWaitCondition>::value);
}

TEST(ZkWaitCondition, HoldsAMutexAndThenACondition)
{
    ZkWaitCondition condition;
    EXPECT_EQ(static_cast<void *>(condition.nativeMutex()), static_cast<void *>(&condition));
    EXPECT_LT(static_cast<void *>(condition.nativeMutex()),
              static_cast<void *>(condition.nativeCondition()));
}

TEST(ZkWaitCondition, NoTimeAndNegativeTimesEndAtOnce)
{
    ZkWaitCondition condition;
    const Lock lock(condition);
    for (int ms : {0, -1, -999, -1000, -86400000, INT_MIN}) {
        const long long before = monotonicMSecs();
        EXPECT_FALSE(condition.wait(ms)) << ms;
        EXPECT_LT(monotonicMSecs() - before, 1000) << ms;
    }
}

TEST(ZkWaitCondition, AWaitNobodyEndsLastsItsTime)
{
    ZkWaitCondition condition;
    const Lock lock(condition);
    for (int ms : {1, 30}) {
        const long long before = monotonicMSecs();
        while (condition.wait(ms)) { // woken for no reason
        }
        EXPECT_GE(monotonicMSecs() - before, ms - 1) << ms;
    }
}

TEST(ZkWaitCondition, TheMutexIsHeldAgainAfterEachWait)
{
    ZkWaitCondition condition;
    const Lock lock(condition);
    for (int ms : {0, -1, 5}) {
        condition.wait(ms);
        int result = 0;
        std::thread other([&] {
            result = pthread_mutex_trylock(condition.nativeMutex());
            if (result == 0) {
                pthread_mutex_unlock(condition.nativeMutex());
            }
        });
        other.join();
        EXPECT_EQ(result, EBUSY) << ms;
    }
}

TEST(ZkWaitCondition, ASignalOfAnotherThreadEndsALongWait)
{
    // The longest waits of all: the deadline lies 24 days ahead.
    for (int ms : {60000, INT_MAX}) {
        ZkWaitCondition condition;
        bool ready = false;
        bool timedOut = false;
        std::thread waker;
        {
            const Lock lock(condition);
            waker = std::thread([&] {
                const Lock wakerLock(condition); // free only once the other one waits
                ready = true;
                pthread_cond_signal(condition.nativeCondition());
            });
            while (!ready && !timedOut) {
                timedOut = !condition.wait(ms);
            }
        }
        waker.join();
        EXPECT_TRUE(ready) << ms;
        EXPECT_FALSE(timedOut) << ms;
    }
}

TEST(ZkWaitCondition, ABroadcastEndsTheWaitsOfAllThreads)
{
    ZkWaitCondition condition;
    bool ready = false;
    int waiting = 0, woken = 0;
    std::thread threads[3];
    for (std::thread &thread : threads) {
        thread = std::thread([&] {
            const Lock lock(condition);
            ++waiting;
            while (!ready) {
                if (!condition.wait(60000)) {
                    return;
                }
            }
            ++woken;
        });
    }
    for (bool all = false; !all;) {
        const Lock lock(condition);
        all = waiting == 3;
    }
    {
        const Lock lock(condition);
        ready = true;
        pthread_cond_broadcast(condition.nativeCondition());
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(woken, 3);
}

TEST(ZkWaitCondition, ItsConditionRunsOnTheMonotonicClock)
{
    // A deadline of that clock's near future lies decades back on the wall clock,
    // where the wait would end at once.
    ZkWaitCondition condition;
    const Lock lock(condition);
    timespec deadline = {};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_nsec += 40000000;
    if (deadline.tv_nsec >= 1000000000) {
        deadline.tv_nsec -= 1000000000;
        ++deadline.tv_sec;
    }
    const long long before = monotonicMSecs();
    int result = 0;
    while (result == 0) {
        result =
            pthread_cond_timedwait(condition.nativeCondition(), condition.nativeMutex(), &deadline);
    }
    EXPECT_EQ(result, ETIMEDOUT);
    EXPECT_GE(monotonicMSecs() - before, 39);
}
