#ifndef ZKSHAREDBLOCK_H
#define ZKSHAREDBLOCK_H

#include "zkglobal.h"

/// One owner of a counted block: all that a `ZkString` or a `ZkByteArray` holds.
/// Copying is one atomic increment; the last owner frees the block and its buffer.
///
/// `Block` has the fields `ref`, `alloc`, `size` and `data` in this order, where
/// `data` is null or from `malloc`, and a static block `shared_null` for what holds
/// nothing. That one is never freed; see `zkRetain` for when it is counted.
template <typename Block>
class ZkSharedBlock
{
public:
    /// Takes over a block; its count has this owner in it already.
    explicit ZkSharedBlock(Block *block) noexcept : p(block) {}

    /// Shares a block.
    explicit ZkSharedBlock(Block &block) noexcept : p(&block) { retain(); }

    ZkSharedBlock(const ZkSharedBlock &other) noexcept : p(other.p) { retain(); }

    /// Leaves `other` the empty block.
    ZkSharedBlock(ZkSharedBlock &&other) noexcept : p(other.p) { other.attachNull(); }

    ~ZkSharedBlock() { release(); }

    ZkSharedBlock &operator=(const ZkSharedBlock &other) noexcept;

    /// Leaves `other` the empty block.
    ZkSharedBlock &operator=(ZkSharedBlock &&other) noexcept;

    /// True when the block may not be written: it has other owners or is the empty one.
    bool isShared() const { return !zkIsUnshared(p, &Block::shared_null); }

    /// Gives the own block up and takes over another one.
    void adopt(Block *block) noexcept;

    Block *operator->() const { return p; }
    operator Block *() const { return p; }

    /// A block with one owner and no buffer.
    static Block *create();

private:
    void retain() noexcept { zkRetain(p, &Block::shared_null); }
    void release() noexcept;
    void attachNull() noexcept;

    Block *p; ///< never null between calls
};

/// Frees a block that has no owner any more.
ZK_EXPORT void zkFreeBlock(void *block, void *buffer) noexcept;

template <typename Block>
inline ZkSharedBlock<Block> &ZkSharedBlock<Block>::operator=(const ZkSharedBlock &other) noexcept
{
    if (this != &other) {
        adopt(other.p);
        retain();
    }
    return *this;
}

template <typename Block>
inline ZkSharedBlock<Block> &ZkSharedBlock<Block>::operator=(ZkSharedBlock &&other) noexcept
{
    if (this != &other) {
        adopt(other.p);
        other.attachNull();
    }
    return *this;
}

template <typename Block>
inline void ZkSharedBlock<Block>::adopt(Block *block) noexcept
{
    release();
    p = block;
}

template <typename Block>
inline Block *ZkSharedBlock<Block>::create()
{
    Block *const block = static_cast<Block *>(zkAllocate(sizeof(Block)));
    *block = {{1}, 0, 0, nullptr};
    return block;
}

template <typename Block>
inline void ZkSharedBlock<Block>::release() noexcept
{
    if (zkRelease(p, &Block::shared_null)) {
        zkFreeBlock(p, p->data);
    }
}

template <typename Block>
inline void ZkSharedBlock<Block>::attachNull() noexcept
{
    p = &Block::shared_null;
    retain();
}

#endif
