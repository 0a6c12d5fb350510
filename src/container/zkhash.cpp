#include "zkhash.h"

#include "container/zkaligned.h"

#include <algorithm>
#include <cstdlib>

ZkHashData ZkHashData::shared_null = {nullptr, nullptr, {1}, 0, 0, MinNumBits, 0, 0, 1, 0, 0};

namespace
{

// The first node in `bucket` or a later one, or the table itself.
ZkHashData::Node *firstFrom(ZkHashData *table, int bucket)
{
    for (; bucket < table->numBuckets; ++bucket) {
        if (table->buckets[bucket] != table->end()) {
            return table->buckets[bucket];
        }
    }
    return table->end();
}

ZkHashData *tableOf(ZkHashData::Node *node)
{
    while (node->next != nullptr) {
        node = node->next;
    }
    return reinterpret_cast<ZkHashData *>(node);
}

// The exponent of a table that holds `count` nodes, not less than `MinNumBits`.
int exponentFor(std::uint32_t count)
{
    int bits = 0; // no test can tell: MinNumBits are more
    while (count >> bits > 1) {
        ++bits;
    }
    bits = std::min<int>(bits, ZkHashData::MaxNumBits);
    if (static_cast<std::uint32_t>(ZkHashData::bucketCount(bits)) < count) {
        ++bits;
    }
    return std::clamp<int>(bits, ZkHashData::MinNumBits, ZkHashData::MaxNumBits);
}

std::int64_t bucketBytes(int count)
{
    return static_cast<std::int64_t>(count) * static_cast<std::int64_t>(sizeof(ZkHashData::Node *));
}

// Memory for `count` buckets. Null when there is none, except for the smallest table,
// which is needed to hold any node: that allocation fails with a message.
void *allocateBuckets(int count)
{
    const std::int64_t bytes = bucketBytes(count);
    if (count == ZkHashData::bucketCount(ZkHashData::MinNumBits)) {
        return zkAllocate(bytes);
    }
    return bytes <= INT32_MAX ? std::malloc(static_cast<std::size_t>(bytes)) : nullptr;
}

// Moves the chain that starts at `node` into `buckets`: a run of nodes with one
// hash stays together and goes to the end of its new chain.
void moveChain(ZkHashData *table, ZkHashData::Node *node)
{
    ZkHashData::Node *const e = table->end();
    while (node != e) {
        ZkHashData::Node *last = node;
        while (last->next != e && last->next->h == node->h) {
            last = last->next;
        }
        ZkHashData::Node *const rest = last->next;
        ZkHashData::Node **tail = &table->buckets[table->bucketOf(node->h)];
        while (*tail != e) {
            tail = &(*tail)->next;
        }
        last->next = e;
        *tail = node;
        node = rest;
    }
}

} // namespace

void *ZkHashData::allocateStrictNode(int nodeAlign)
{
    return zkAllocateAligned(nodeSize, nodeAlign);
}

ZkHashData *ZkHashData::detach_helper2(Duplicate duplicate, Delete destroy, int sizeofNode,
                                       int nodeAlign)
{
    ZkHashData *x = static_cast<ZkHashData *>(zkAllocate(sizeof(ZkHashData)));
    x->fakeNext = nullptr;
    x->buckets = nullptr;
    x->ref = 1;
    x->size = size;
    x->nodeSize = sizeofNode;
    x->userNumBits = userNumBits;
    x->numBits = numBits;
    x->numBuckets = numBuckets;
    x->sharable = 1;
    x->strictAlignment = nodeAlign > kZkAllocatorAlignment;
    x->reserved = 0;
    if (numBuckets == 0) {
        return x;
    }
    x->buckets = static_cast<Node **>(zkAllocate(bucketBytes(numBuckets)));
    std::fill_n(x->buckets, numBuckets, x->end());
    try {
        for (int i = 0; i < numBuckets; ++i) {
            Node **tail = &x->buckets[i];
            for (Node *old = buckets[i]; old != end(); old = old->next) {
                void *memory = x->allocateNode(nodeAlign);
                try {
                    duplicate(old, memory);
                } catch (...) {
                    x->freeNode(memory);
                    throw;
                }
                Node *copy = static_cast<Node *>(memory);
                copy->h = old->h;
                copy->next = x->end();
                *tail = copy;
                tail = &copy->next;
            }
        }
    } catch (...) {
        x->free_helper(destroy);
        throw;
    }
    return x;
}

void ZkHashData::free_helper(Delete destroy)
{
    if (destroy != nullptr) {
        for (int i = 0; i < numBuckets; ++i) {
            for (Node *node = buckets[i]; node != end();) {
                Node *next = node->next;
                if (destroy != destroyNothing) {
                    destroy(node);
                }
                freeNode(node);
                node = next;
            }
        }
    }
    std::free(buckets);
    std::free(this);
}

void ZkHashData::destroyNothing(Node * /*node*/) // unreachable: its address says what to do
{
}

void ZkHashData::rehash(int hint)
{
    int bits = hint < MinNumBits ? MinNumBits : std::min<int>(hint, MaxNumBits);
    if (hint < 0) {
        bits = exponentFor(0U - static_cast<std::uint32_t>(hint));
        userNumBits = static_cast<std::int16_t>(bits);
        while (bits < MaxNumBits && bucketCount(bits) < size / 2) {
            ++bits;
        }
    }
    if (bits == numBits) {
        return;
    }
    const int count = bucketCount(bits);
    void *fresh = allocateBuckets(count);
    if (fresh == nullptr) {
        return;
    }
    Node **old = buckets;
    const int oldCount = numBuckets;
    buckets = static_cast<Node **>(fresh);
    numBits = static_cast<std::int16_t>(bits);
    numBuckets = count;
    std::fill_n(buckets, count, end());
    for (int i = 0; i < oldCount; ++i) {
        moveChain(this, old[i]);
    }
    std::free(old);
}

ZkHashData::Node *ZkHashData::firstNode()
{
    return firstFrom(this, 0);
}

ZkHashData::Node *ZkHashData::nextNode(Node *node)
{
    Node *next = node->next;
    ZK_CHECK_AT(next, "next", "./src/zkhash", 151,
                "static ZkHashData::Node* ZkHashData::nextNode(ZkHashData::Node*)");
    if (next->next != nullptr) {
        return next;
    }
    ZkHashData *table = reinterpret_cast<ZkHashData *>(next);
    return firstFrom(table, static_cast<int>(table->bucketOf(node->h)) + 1);
}

ZkHashData::Node *ZkHashData::previousNode(Node *node)
{
    ZkHashData *table = tableOf(node);
    Node *const e = table->end();
    int start = node == e ? table->numBuckets - 1 : static_cast<int>(table->bucketOf(node->h));
    // The previous node is in the same chain, or the last one of an earlier chain.
    Node *next = node;
    for (; start >= 0; --start, next = e) {
        Node *previous = table->buckets[start];
        if (previous != next) {
            while (previous->next != next) {
                previous = previous->next;
            }
            return previous;
        }
    }
    ZK_CHECK_AT(start >= 0, "start >= 0", "./src/zkhash", 198,
                "static ZkHashData::Node* ZkHashData::previousNode(ZkHashData::Node*)");
    return e; // unreachable: the check does not return
}
