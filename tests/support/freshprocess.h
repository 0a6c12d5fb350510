#ifndef ZK_TESTS_FRESHPROCESS_H
#define ZK_TESTS_FRESHPROCESS_H

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

/// Runs `body` in a child, so that what it does to the process (the date mode, the
/// drift of Persian dates, TZ) stays there. The child starts as this process is
/// now: fresh, as long as every test that changes something runs so. Expectations
/// that fail in the child fail here.
template <typename Body>
void inFreshProcess(Body body)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        body();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << "the child ended by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0) << "see the failures above";
}

#endif
