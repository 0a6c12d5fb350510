#ifndef ZKHASH_H
#define ZKHASH_H

#include "zkglobal.h"
#include "zklist.h"

#include <array>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

class ZkString;

/// Hashes of the keys that the library uses itself; for a key type of your own,
/// declare `unsigned zkHash(const Key &)` beside it. An integer of up to 32 bits is
/// its own hash.
template <typename Integer, std::enable_if_t<std::is_integral<Integer>::value, int> = 0>
constexpr unsigned zkHash(Integer key)
{
    if constexpr (sizeof(Integer) > sizeof(unsigned)) {
        return static_cast<unsigned>(static_cast<std::uint64_t>(key) ^
                                     (static_cast<std::uint64_t>(key) >> 32));
    } else {
        return static_cast<unsigned>(key);
    }
}

template <typename T>
unsigned zkHash(T *key)
{
    return zkHash(reinterpret_cast<std::uintptr_t>(key));
}

/// Folds as many bytes of the text's UTF-8 form as it has units, so the end of a
/// text with other than ASCII characters does not count: U+00E9 gives 195, its
/// first byte. Empty gives 0.
ZK_EXPORT unsigned zkHash(const ZkString &key);

/// The untyped part of a hash table: buckets of chained nodes. The table itself
/// stands at the end of every chain, so that from any node the table can be found:
///
///     buckets[0] -> node -> node -> (table)     buckets[1] -> (table)
///
/// Its first word, where a node keeps `next`, is null; that tells it from a node.
struct ZK_EXPORT ZkHashData {
    /// What every node starts with. For integer keys the hash is the key.
    struct Node {
        Node *next;
        unsigned h;
    };
    typedef void (*Duplicate)(Node *from, void *to); ///< copies key and value
    typedef void (*Delete)(Node *node);              ///< destroys key and value

    Node *fakeNext; ///< always null
    Node **buckets;
    ZkRefCount ref;
    int size;                 ///< nodes
    int nodeSize;             ///< bytes of one node
    std::int16_t userNumBits; ///< exponent that a negative `rehash` asked for
    std::int16_t numBits;     ///< exponent of the number of buckets
    int numBuckets;           ///< `bucketCount(numBits)`, or 0 before the first insertion
    std::uint32_t sharable : 1;
    std::uint32_t strictAlignment : 1; ///< a word before each node tells where its memory starts
    std::uint32_t reserved : 30;

    /// The table of every hash that is empty from the start.
    static ZkHashData shared_null;

    enum { MinNumBits = 4, MaxNumBits = 30 };

    /// (1 << numBits) plus a little, a prime for exponents 2 to 12.
    static constexpr int bucketCount(int numBits);

    /// `h` modulo `numBuckets`, without a division.
    unsigned bucketOf(unsigned h) const;

    void *allocateNode(int nodeAlign = 0);
    void freeNode(void *node);

    /// A copy of the table with a copy of every node in the same order.
    ZkHashData *detach_helper(Duplicate duplicate, int sizeofNode)
    {
        return detach_helper2(duplicate, nullptr, sizeofNode, 0);
    }
    ZkHashData *detach_helper2(Duplicate duplicate, Delete destroy, int sizeofNode, int nodeAlign);

    /// Frees the table, and its nodes if `destroy` is given.
    void free_helper(Delete destroy);
    void destroyAndFree() { free_helper(nullptr); }

    /// Changes the number of buckets: to exponent `hint`, or for a negative hint to
    /// hold -hint nodes. Nodes of equal hash stay together and in order. Without
    /// memory for the buckets the table stays as it is.
    void rehash(int hint);

    /// The neighbours in bucket order; the table follows the last and precedes
    /// the first node. Going on from the end stops the process.
    static Node *nextNode(Node *node);
    static Node *previousNode(Node *node);
    Node *firstNode();

    Node *end() { return reinterpret_cast<Node *>(this); }
};

/// A table of values under keys, in one block that copies share.
///
/// A hash is one pointer to its table. Copying counts the new owner; the first
/// write to a shared table copies every node ("detaches"). A key needs `==` and a
/// `zkHash`. Order is that of the buckets and, in one bucket, of insertion; it is
/// the same on every machine.
///
///     ZkHash<int, const char *> names;
///     names.insert(7, "seven");
///     names.value(7);  // "seven"
///     names.value(8);  // nullptr
///
/// Finding costs one multiplication and a walk along one chain, which holds one
/// node on average; const members never detach or allocate. References to values
/// hold until the key is removed or the hash detaches. One hash is used by one
/// thread at a time; hashes that share a table may be used by different threads.
template <typename K, typename T>
class ZkHash
{
    // Behind `next` and the hash come key and value; an integer key is the hash.
    template <typename Key, bool isHash>
    struct NodeOf {
        NodeOf *next;
        unsigned h;
        Key key;
        T value;
    };
    template <typename Key>
    struct NodeOf<Key, true> {
        NodeOf *next;
        Key key;
        T value;
    };
    static constexpr bool kKeyIsHash = std::is_integral<K>::value && sizeof(K) == sizeof(unsigned);

public:
    typedef NodeOf<K, kKeyIsHash> Node;
    typedef K key_type;
    typedef T mapped_type;

    /// Walks the nodes in bucket order; holds until the hash is changed.
    class const_iterator
    {
    public:
        const K &key() const { return node->key; }
        const T &value() const { return node->value; }
        const T &operator*() const { return node->value; }
        const_iterator &operator++()
        {
            node = concrete(ZkHashData::nextNode(abstract(node)));
            return *this;
        }
        bool operator==(const const_iterator &other) const { return node == other.node; }
        bool operator!=(const const_iterator &other) const { return node != other.node; }

    private:
        friend class ZkHash;
        explicit const_iterator(Node *at) : node(at) {}
        Node *node;
    };

    ZkHash() : d(&ZkHashData::shared_null) { zkRetain(d, &ZkHashData::shared_null); }
    ZkHash(const ZkHash &other);
    /// Leaves `other` empty.
    ZkHash(ZkHash &&other) noexcept : ZkHash() { swap(other); }
    ~ZkHash() { release(d); }
    ZkHash &operator=(const ZkHash &other);
    ZkHash &operator=(ZkHash &&other) noexcept;
    void swap(ZkHash &other) noexcept { std::swap(d, other.d); }

    int size() const { return d->size; }
    bool isEmpty() const { return d->size == 0; }
    /// Buckets: 0 before the first insertion, then 17, 37, 67, ...
    int capacity() const { return d->numBuckets; }
    bool isSharedWith(const ZkHash &other) const { return d == other.d; }
    /// False makes every later copy copy the nodes at once.
    void setSharable(bool on);

    bool contains(const K &key) const { return *findNode(key) != endNode(); }
    /// The value under `key`, or `fallback`.
    T value(const K &key, const T &fallback = T()) const;
    const T operator[](const K &key) const { return value(key); }
    /// The value under `key`, for writing; a default value is put there first if
    /// there is none. Detaches.
    T &operator[](const K &key);

    /// Puts `value` under `key`, over the value that is there. Detaches.
    void insert(const K &key, const T &value);
    /// Takes `key` out; false if it is not there. The buckets stay. Detaches.
    bool remove(const K &key);
    /// Makes room for `count` keys, and never less for the next keys.
    void reserve(int count);
    /// Lets the table go.
    void clear() { ZkHash().swap(*this); }

    /// All values (keys) in bucket order.
    ZkList<T> values() const;
    ZkList<K> keys() const;

    const_iterator begin() const { return const_iterator(concrete(d->firstNode())); }
    const_iterator end() const { return const_iterator(endNode()); }

    /// The link that points to the node of `key`, or to the end of its chain.
    /// Stores the hash where `hashOut` points to.
    Node **findNode(const K &key, unsigned *hashOut = nullptr) const;

    /// The same keys with equal values.
    bool operator==(const ZkHash &other) const;
    bool operator!=(const ZkHash &other) const { return !(*this == other); }

private:
    friend struct ZkInspector;

    static ZkHashData::Node *abstract(Node *node)
    {
        return reinterpret_cast<ZkHashData::Node *>(node);
    }
    static Node *concrete(ZkHashData::Node *node) { return reinterpret_cast<Node *>(node); }
    Node *endNode() const { return concrete(d->end()); }
    static void duplicateNode(ZkHashData::Node *from, void *to);
    static void deleteNode2(ZkHashData::Node *node) { concrete(node)->~Node(); }
    static void release(ZkHashData *x);
    bool isUnshared() const { return zkIsUnshared<ZkHashData>(d, &ZkHashData::shared_null); }
    void detach();
    void detach_helper();
    Node *createNode(const K &key, const T &value);

    ZkHashData *d;
};

constexpr std::array<std::uint8_t, 32> kZkHashDelta = {
    0, 0, 1, 3, 1, 5, 3, 3, 1, 9, 7, 5, 3, 9, 25, 3, 1, 21, 3, 21, 7, 15, 9, 5, 3, 29, 15};

constexpr int ZkHashData::bucketCount(int numBits)
{
    return (1 << numBits) + kZkHashDelta[static_cast<unsigned>(numBits)];
}

// 2^(32 + b) / bucketCount(b), rounded down: what a hash is multiplied with to get
// its quotient, or one less.
constexpr std::array<std::uint32_t, 32> zkHashReciprocals()
{
    std::array<std::uint32_t, 32> reciprocals = {};
    for (int b = ZkHashData::MinNumBits; b <= ZkHashData::MaxNumBits; ++b) {
        const std::uint64_t quotient =
            (std::uint64_t(1) << (32 + b)) / static_cast<std::uint64_t>(ZkHashData::bucketCount(b));
        reciprocals[static_cast<unsigned>(b)] =
            static_cast<std::uint32_t>(quotient > UINT32_MAX ? UINT32_MAX : quotient);
    }
    return reciprocals;
}

inline constexpr std::array<std::uint32_t, 32> kZkHashReciprocals = zkHashReciprocals();

// The reciprocal is too small by less than 1, so the quotient is too small by less
// than h / 2^(32 + b) < 1: the remainder is right or one bucket count too large.
inline unsigned ZkHashData::bucketOf(unsigned h) const
{
    const auto bits = static_cast<unsigned>(numBits);
    const auto count = static_cast<unsigned>(numBuckets);
    const std::uint64_t product = std::uint64_t(h) * kZkHashReciprocals[bits];
    const unsigned rest = h - static_cast<unsigned>(product >> 32 >> bits) * count;
    return rest >= count ? rest - count : rest;
}

template <typename K, typename T>
inline ZkHash<K, T>::ZkHash(const ZkHash &other) : d(other.d)
{
    zkRetain(d, &ZkHashData::shared_null);
    if (!d->sharable) {
        detach();
    }
}

template <typename K, typename T>
ZkHash<K, T> &ZkHash<K, T>::operator=(const ZkHash &other)
{
    if (d != other.d) {
        ZkHash(other).swap(*this);
    }
    return *this;
}

template <typename K, typename T>
ZkHash<K, T> &ZkHash<K, T>::operator=(ZkHash &&other) noexcept
{
    swap(other);
    return *this;
}

template <typename K, typename T>
inline void ZkHash<K, T>::release(ZkHashData *x)
{
    if (zkRelease(x, &ZkHashData::shared_null)) {
        x->free_helper(deleteNode2);
    }
}

template <typename K, typename T>
void ZkHash<K, T>::duplicateNode(ZkHashData::Node *from, void *to)
{
    const Node *source = concrete(from);
    if constexpr (kKeyIsHash) {
        new (to) Node{nullptr, source->key, source->value};
    } else {
        new (to) Node{nullptr, source->h, source->key, source->value};
    }
}

template <typename K, typename T>
inline void ZkHash<K, T>::detach()
{
    if (!isUnshared()) {
        detach_helper();
    }
}

template <typename K, typename T>
void ZkHash<K, T>::detach_helper()
{
    ZkHashData *x = d->detach_helper2(duplicateNode, deleteNode2, static_cast<int>(sizeof(Node)),
                                      static_cast<int>(alignof(Node)));
    release(d);
    d = x;
}

template <typename K, typename T>
void ZkHash<K, T>::setSharable(bool on)
{
    if (on != static_cast<bool>(d->sharable)) {
        detach();
        d->sharable = on;
    }
}

template <typename K, typename T>
inline typename ZkHash<K, T>::Node **ZkHash<K, T>::findNode(const K &key, unsigned *hashOut) const
{
    const unsigned h = zkHash(key);
    if (hashOut != nullptr) {
        *hashOut = h;
    }
    Node *const e = endNode();
    if (d->numBuckets == 0) {
        // The link that an empty table has to its end is the hash's own pointer.
        return reinterpret_cast<Node **>(const_cast<ZkHashData **>(&d));
    }
    Node **node = reinterpret_cast<Node **>(d->buckets + d->bucketOf(h));
    ZK_CHECK_AT(*node == e || (*node)->next, "*node == e || (*node)->next", "../include/pub/zkhash",
                847, __PRETTY_FUNCTION__);
    if constexpr (kKeyIsHash) {
        while (*node != e && (*node)->key != key) {
            node = &(*node)->next;
        }
    } else {
        while (*node != e && ((*node)->h != h || !((*node)->key == key))) {
            node = &(*node)->next;
        }
    }
    return node;
}

template <typename K, typename T>
inline T ZkHash<K, T>::value(const K &key, const T &fallback) const
{
    const Node *node = *findNode(key);
    return node == endNode() ? fallback : node->value;
}

template <typename K, typename T>
typename ZkHash<K, T>::Node *ZkHash<K, T>::createNode(const K &key, const T &value)
{
    unsigned h = 0;
    if (d->size >= d->numBuckets) {
        d->rehash(d->numBits + 1);
    }
    Node **link = findNode(key, &h);
    void *memory = d->allocateNode(static_cast<int>(alignof(Node)));
    if constexpr (kKeyIsHash) {
        *link = new (memory) Node{*link, key, value};
    } else {
        *link = new (memory) Node{*link, h, key, value};
    }
    ++d->size;
    return *link;
}

template <typename K, typename T>
T &ZkHash<K, T>::operator[](const K &key)
{
    const ZkHash keep(isUnshared() ? ZkHash() : *this); // `key` may live in the shared table
    detach();
    Node *node = *findNode(key);
    return (node != endNode() ? node : createNode(key, T()))->value;
}

template <typename K, typename T>
void ZkHash<K, T>::insert(const K &key, const T &value)
{
    if (!isUnshared()) {
        const ZkHash keep(*this); // `key` and `value` may live in the shared table
        detach_helper();
        insert(key, value);
        return;
    }
    Node *node = *findNode(key);
    if (node != endNode()) {
        node->value = value;
    } else {
        createNode(key, value);
    }
}

template <typename K, typename T>
bool ZkHash<K, T>::remove(const K &key)
{
    if (!contains(key)) {
        return false;
    }
    if (!isUnshared()) {
        const ZkHash keep(*this);
        detach_helper();
        return remove(key);
    }
    Node **link = findNode(key);
    Node *node = *link;
    *link = node->next;
    --d->size;
    node->~Node();
    d->freeNode(node);
    return true;
}

template <typename K, typename T>
void ZkHash<K, T>::reserve(int count)
{
    detach();
    d->rehash(count > 0 ? -count : -1);
}

template <typename K, typename T>
ZkList<T> ZkHash<K, T>::values() const
{
    ZkList<T> all;
    for (const_iterator it = begin(); it != end(); ++it) {
        all.append(it.value());
    }
    return all;
}

template <typename K, typename T>
ZkList<K> ZkHash<K, T>::keys() const
{
    ZkList<K> all;
    for (const_iterator it = begin(); it != end(); ++it) {
        all.append(it.key());
    }
    return all;
}

template <typename K, typename T>
bool ZkHash<K, T>::operator==(const ZkHash &other) const
{
    if (d == other.d) {
        return true;
    }
    if (size() != other.size()) {
        return false;
    }
    for (const_iterator it = begin(); it != end(); ++it) {
        const Node *node = *other.findNode(it.key());
        if (node == other.endNode() || !(node->value == it.value())) {
            return false;
        }
    }
    return true;
}

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(ZkHashData) == 32, "the table is 32 bytes on the device");
static_assert(sizeof(ZkHash<int, void *>::Node) == 12, "a node of an integer key is 12 bytes");
#else
static_assert(sizeof(ZkHashData) == 40 && sizeof(ZkHash<int, void *>::Node) == 24,
              "pointers grow and nothing else");
#endif

#endif
