#ifndef ZKSHARING_H
#define ZKSHARING_H

#include "zkglobal.h"

#include <utility>

/// What vector, list, hash and map do alike with the block that their copies share:
/// count its owners, copy it before a write, end it with its last owner.
///
/// A container makes this a friend and has, in private: `block()`, its pointer by
/// reference; `emptyBlock()`, the static block of all that hold nothing; `copyBlock()`,
/// which moves the container to a copy that is its own; `destroyBlock(block)`, which
/// ends a block that nobody owns any more. A block has the fields `ref` and `sharable`.
template <typename Container>
struct ZkSharing {
    /// Makes `self`, which points to the block of another container, an owner of it. A
    /// block that is not sharable is copied at once. `self` is complete by then: should
    /// copying throw, its destructor gives the share back.
    static void join(Container &self)
    {
        zkRetain(self.block(), Container::emptyBlock());
        if (!self.block()->sharable) {
            self.copyBlock();
        }
    }

    /// Gives up one share of `block`.
    template <typename Block>
    static void leave(Block *block)
    {
        if (zkRelease(block, Container::emptyBlock())) {
            Container::destroyBlock(block);
        }
    }

    static void assign(Container *self, const Container &other)
    {
        if (!self->isSharedWith(other)) {
            Container(other).swap(*self);
        }
    }

    static void swap(Container &a, Container &b) noexcept { std::swap(a.block(), b.block()); }

    /// True when the block may be written.
    static bool isAlone(Container &self)
    {
        return zkIsUnshared(self.block(), Container::emptyBlock());
    }

    static void detach(Container &self)
    {
        if (!isAlone(self)) {
            self.copyBlock();
        }
    }

    static void setSharable(Container &self, bool on)
    {
        if (on != static_cast<bool>(self.block()->sharable)) {
            detach(self);
            self.block()->sharable = on;
        }
    }
};

#endif
