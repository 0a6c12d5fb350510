#include <zkglobal.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

TEST(ZkGlobal, AFailedCheckNamesExpressionFileLineAndFunction)
{
    EXPECT_DEATH(ZK_CHECK_AT(1 < 0, "1 < 0", "./src/zknothing", 12, "void f()"),
                 "\\./src/zknothing:12: void f\\(\\): Assertion `1 < 0' failed\\.");
}

TEST(ZkGlobal, AHeldCheckDoesNothing)
{
    ZK_CHECK_AT(0 < 1, "0 < 1", "./src/zknothing", 12, "void f()");
}

TEST(ZkGlobal, AnAbsurdAllocationSaysSoAndAborts)
{
    EXPECT_DEATH(std::free(zkAllocate(std::int64_t(INT_MAX) + 1)),
                 "libzk: no memory for 2147483648 bytes");
    EXPECT_DEATH(std::free(zkReallocate(nullptr, std::int64_t(1) << 40)),
                 "libzk: no memory for 1099511627776 bytes");
}

TEST(ZkGlobal, EvenNothingHasAnAddress)
{
    for (std::int64_t bytes : {0, -5}) {
        void *block = zkAllocate(bytes);
        EXPECT_NE(block, nullptr) << bytes;
        block = zkReallocate(block, bytes);
        EXPECT_NE(block, nullptr) << bytes;
        std::free(block);
    }
}

TEST(ZkGlobal, ReallocationKeepsTheBytes)
{
    void *block = zkAllocate(4);
    std::memcpy(block, "abcd", 4);
    block = zkReallocate(block, 4096);
    EXPECT_EQ(std::memcmp(block, "abcd", 4), 0);
    std::free(block);
}

TEST(ZkGlobal, WrappedKeepsTheLow32Bits)
{
    const struct {
        std::int64_t value;
        int wrapped;
    } kRows[] = {
        {0, 0},
        {INT_MAX, INT_MAX},
        {std::int64_t(INT_MAX) + 1, INT_MIN},
        {std::int64_t(INT_MIN) - 1, INT_MAX},
        {std::int64_t(1) << 32, 0},
        {-1, -1},
    };
    for (const auto &row : kRows) {
        EXPECT_EQ(zkWrapped(row.value), row.wrapped) << row.value;
    }
}

TEST(ZkRefCount, TellsTheLastOwner)
{
    ZkRefCount count = {1};
    EXPECT_TRUE(count.isOne());
    count.ref();
    EXPECT_EQ(count, 2);
    EXPECT_FALSE(count.isOne());
    EXPECT_TRUE(count.deref());
    EXPECT_FALSE(count.deref());
}

TEST(ZkRefCount, ComesOutExactWhenThreadsComeAndGo)
{
    ZkRefCount count = {1};
    count.ref(3); // still one thread
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&count] {
            for (int k = 0; k < 10000; ++k) {
                count.ref();
                count.ref(2);
                EXPECT_TRUE(count.deref());
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(count, 4 + 4 * 10000 * 2);
}
