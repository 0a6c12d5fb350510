#include <zkstring.h>

#include <gtest/gtest.h>

TEST(ZkString, CopiesShareUntilOneChanges)
{
    ZkString a("abc");
    ZkString b = a;
    EXPECT_TRUE(a.isSharedWith(b));
    b.append("d");
    EXPECT_FALSE(a.isSharedWith(b));
    EXPECT_EQ(a, ZkString("abc"));
    EXPECT_EQ(b, ZkString("abcd"));
}
