#include <private/zksharedblock.h>

#include <gtest/gtest.h>

#include <utility>

namespace
{

/// The fields that a block has.
struct Block {
    ZkRefCount ref;
    int alloc;
    int size;
    char *data;

    static Block shared_null;
};

Block Block::shared_null = {{1}, 0, 0, nullptr};

using Owner = ZkSharedBlock<Block>;

Owner made(int size)
{
    Block *const block = Owner::create();
    block->data = static_cast<char *>(zkAllocate(size)); // under the sanitizer a leak is an error
    block->size = size;
    return Owner(block);
}

} // namespace

TEST(ZkSharedBlock, ANewBlockHasOneOwnerAndNoBuffer)
{
    const Owner owner(Owner::create());
    EXPECT_EQ(owner->ref, 1);
    EXPECT_EQ(owner->alloc, 0);
    EXPECT_EQ(owner->size, 0);
    EXPECT_EQ(owner->data, nullptr);
    EXPECT_FALSE(owner.isShared());
}

TEST(ZkSharedBlock, CopiesAreCountedUntilTheyGo)
{
    const Owner first = made(3);
    {
        const Owner second = first;
        const Owner third(*second);
        EXPECT_EQ(first->ref, 3);
        EXPECT_TRUE(first.isShared() && second.isShared());
        EXPECT_EQ(static_cast<Block *>(first), static_cast<Block *>(third));
    }
    EXPECT_EQ(first->ref, 1);
    EXPECT_FALSE(first.isShared());
}

TEST(ZkSharedBlock, AssignmentGivesTheOldBlockUp)
{
    Owner first = made(1);
    Owner second = made(2);
    const Owner kept = second;
    second = first;
    EXPECT_EQ(kept->ref, 1);
    EXPECT_EQ(first->ref, 2);
    const Owner &self = second;
    second = self;
    second = first; // another owner of the same block
    EXPECT_EQ(second->size, 1);
    EXPECT_EQ(first->ref, 2);
    second.adopt(Owner::create());
    EXPECT_EQ(first->ref, 1);
    EXPECT_EQ(second->size, 0);
}

TEST(ZkSharedBlock, WhatIsMovedFromHoldsTheEmptyBlock)
{
    Owner first = made(1);
    Owner second = std::move(first);
    EXPECT_EQ(static_cast<Block *>(first), &Block::shared_null); // NOLINT: what is left is told
    EXPECT_EQ(second->ref, 1);
    first = std::move(second);
    EXPECT_EQ(first->size, 1);
    EXPECT_EQ(static_cast<Block *>(second), &Block::shared_null); // NOLINT
    Owner &self = first;
    first = std::move(self);
    EXPECT_EQ(first->size, 1);
}

TEST(ZkSharedBlock, TheEmptyBlockIsNeverFreedAndNeverWritten)
{
    const int before = Block::shared_null.ref;
    {
        const Owner one(Block::shared_null);
        const Owner two = one;
        EXPECT_TRUE(one.isShared() && two.isShared());
    }
    EXPECT_EQ(Block::shared_null.ref, before);
    EXPECT_TRUE(Owner(Block::shared_null).isShared());
}
