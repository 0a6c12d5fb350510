#include "zkmap.h"

#include "container/zkaligned.h"

#include <cstdlib>

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(ZkMapData) == 72, "the table is 72 bytes on the device");
#else
static_assert(sizeof(ZkMapData) == 128, "pointers grow and nothing else");
#endif
static_assert(offsetof(ZkMapData, backward) == offsetof(ZkMapData::Node, backward) &&
                  offsetof(ZkMapData, forward) == offsetof(ZkMapData::Node, forward),
              "a table can stand in for a node");

namespace
{

// Gives back the memory of a node.
void freeNode(const ZkMapData *table, ZkMapData::Node *node, int offset)
{
    char *start = reinterpret_cast<char *>(node) - offset;
    table->strictAlignment ? zkFreeAligned(start) : std::free(start);
}

} // namespace

ZkMapData ZkMapData::shared_null = {reinterpret_cast<Node *>(&shared_null),
                                    {reinterpret_cast<Node *>(&shared_null)},
                                    {1},
                                    0,
                                    0,
                                    0,
                                    0,
                                    1,
                                    0,
                                    0};

ZkMapData *ZkMapData::createData(int alignment)
{
    ZkMapData *x = static_cast<ZkMapData *>(zkAllocate(sizeof(ZkMapData)));
    Node *e = x->end();
    e->backward = e;
    e->forward[0] = e;
    x->ref = 1;
    x->topLevel = 0;
    x->size = 0;
    x->randomBits = 0;
    x->insertInOrder = 0;
    x->sharable = 1;
    x->strictAlignment = alignment > kZkAllocatorAlignment;
    x->reserved = 0;
    return x;
}

void ZkMapData::continueFreeData(int offset)
{
    for (Node *node = end()->forward[0]; node != end();) {
        Node *next = node->forward[0];
        freeNode(this, node, offset);
        node = next;
    }
    std::free(this);
}

ZkMapData::Node *ZkMapData::node_create(Node *update[], int offset, int alignment)
{
    // Three set bits in a row for each level: one node in eight rises.
    int level = 0;
    std::uint32_t mask = (1U << Sparseness) - 1;
    while ((randomBits & mask) == mask && level < LastLevel) {
        ++level;
        mask <<= Sparseness;
    }
    if (level > topLevel) {
        level = ++topLevel;
        end()->forward[level] = end();
        update[level] = end();
    }
    // Counting up gives evenly spread levels; the high bits, which it hardly ever
    // reaches, come from the C library's generator as the host has seeded it.
    ++randomBits;
    if (level == 3 && !insertInOrder) {
        randomBits = static_cast<std::uint32_t>(std::rand());
    }

    const std::int64_t bytes = offset + static_cast<std::int64_t>(sizeof(Node)) +
                               level * static_cast<std::int64_t>(sizeof(Node *));
    void *start = strictAlignment ? zkAllocateAligned(bytes, alignment) : zkAllocate(bytes);
    Node *node = reinterpret_cast<Node *>(static_cast<char *>(start) + offset);
    node->backward = update[0];
    update[0]->forward[0]->backward = node;
    for (int i = level; i >= 0; --i) {
        node->forward[i] = update[i]->forward[i];
        update[i]->forward[i] = node;
        update[i] = node;
    }
    ++size;
    return node;
}

void ZkMapData::node_delete(Node *update[], int offset, Node *node)
{
    node->forward[0]->backward = node->backward;
    for (int i = 0; i <= topLevel && update[i]->forward[i] == node; ++i) {
        update[i]->forward[i] = node->forward[i];
    }
    --size;
    freeNode(this, node, offset);
}
