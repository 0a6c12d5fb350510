#include "zkdatetime.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <dlfcn.h>
#include <sys/time.h>

namespace
{

bool isPastEveryYear = false;

} // namespace

// The library's calls arrive here first.
extern "C" int gettimeofday(timeval *now, void *zone) noexcept
{
    using Function = int(timeval *, void *);
    static auto *const real = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, "gettimeofday"));
    const int result = real(now, zone);
    if (isPastEveryYear) {
        now->tv_sec = static_cast<time_t>(INT64_MAX / 2);
    }
    return result;
}

// A clock whose year no int holds is told by the C library with a null pointer.
TEST(ZkClock, ATimeThatHasNoDateIsNull)
{
    if (sizeof(time_t) < 8) {
        GTEST_SKIP() << "every time of this machine has a date";
    }
    EXPECT_TRUE(ZkDate::currentDate().isValid());
    isPastEveryYear = true;
    EXPECT_FALSE(ZkDate::currentDate().isValid());
    EXPECT_FALSE(ZkTime::currentTime().isValid());
    const ZkDateTime here = ZkDateTime::currentDateTime();
    const ZkDateTime there = ZkDateTime::currentDateTimeUtc();
    EXPECT_FALSE(here.isValid());
    EXPECT_FALSE(there.isValid());
    EXPECT_EQ(here.timeSpec(), Zk::TimeLocal);
    EXPECT_EQ(there.timeSpec(), Zk::TimeUtc);
    isPastEveryYear = false;
    EXPECT_TRUE(ZkDateTime::currentDateTime().isValid());
}
