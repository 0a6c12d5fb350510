#ifndef ZKHASH_H
#define ZKHASH_H

#include "private/zksharing.h"
#include "zkglobal.h"
#include "zklist.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <iterator>
#include <new>
#include <type_traits>
#include <utility>

/// Hashes of numbers and addresses; `ZkString` has one beside it. For a key type of
/// your own, declare `unsigned zkHash(const Key &)` in its namespace. An integer of up
/// to 32 bits is its own hash, as is an enumeration's value.
template <typename Number,
          std::enable_if_t<std::is_integral<Number>::value || std::is_enum<Number>::value, int> = 0>
constexpr unsigned zkHash(Number key)
{
    if constexpr (sizeof(Number) > sizeof(unsigned)) {
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

    /// (1 << numBits) plus a little, a prime for exponents 2 to 12; `numBits` is 0 to 30.
    static constexpr int bucketCount(int numBits);

    /// `h` modulo `numBuckets`, without a division.
    unsigned bucketOf(unsigned h) const;
    static unsigned bucketOf(unsigned h, std::uint32_t reciprocal, int numBits, int numBuckets);

    /// Memory for one node of `nodeSize` bytes, at a multiple of `nodeAlign` if the
    /// table is strict about it; `freeNode` gives it back.
    void *allocateNode(int nodeAlign = 0);
    void freeNode(void *node)
    {
        std::free(strictAlignment ? static_cast<void **>(node)[-1] : node);
    }

    /// A copy of the table, unshared, with a copy of every node in the same order;
    /// `destroy` clears up if `duplicate` throws. Nodes of an alignment above 8 make
    /// it strict. This table keeps its count.
    ZkHashData *detach_helper2(Duplicate duplicate, Delete destroy, int sizeofNode, int nodeAlign);
    ZkHashData *detach_helper(Duplicate duplicate, int sizeofNode)
    {
        return detach_helper2(duplicate, nullptr, sizeofNode, 0);
    }

    /// Frees the table, and its nodes if `destroy` is given. `destroyNothing` is for
    /// keys and values that need no destruction.
    void free_helper(Delete destroy);
    void destroyAndFree() { free_helper(nullptr); }
    static void destroyNothing(Node *node);

    /// Changes the number of buckets of an unshared table: to exponent `hint` (4 to
    /// 30), or for a negative hint to hold -hint nodes, but no fewer buckets than half
    /// the nodes there are. Nodes of equal hash stay together and in order. Without
    /// memory for more buckets the table stays as it is.
    void rehash(int hint);

    /// The neighbours in bucket order; the table follows the last and precedes
    /// the first node. Going on from the end stops the process.
    static Node *nextNode(Node *node);
    static Node *previousNode(Node *node);
    Node *firstNode();

    Node *end() { return reinterpret_cast<Node *>(this); }

private:
    void *allocateStrictNode(int nodeAlign);
};

/// Values under keys, in a table that copies share.
///
/// A hash is one pointer to its table. Copying counts the new owner; the first write
/// through a hash whose table is shared copies every node ("detaches"). Non-const
/// `begin`, `end`, `find` and `operator[]` are writes; const members never detach or
/// allocate. A key needs `==` and a `zkHash`. Order is that of the buckets and, in one
/// bucket, of insertion; it is the same on every machine.
///
///     ZkHash<int, const char *> names = {{7, "seven"}};
///     names.value(7);  // "seven"
///     names.value(8);  // nullptr
///
/// Finding costs one multiplication and a walk along one chain, which holds one node
/// on average; keys that are equal modulo the number of buckets share a chain.
/// References to values hold until the key is removed or the hash detaches, iterators
/// until a key is inserted too. One hash is used by one thread at a time; hashes that
/// share a table may be used by different threads.
template <typename K, typename T>
class ZkHash
{
    // An integer key is the hash and needs no room of its own.
    static constexpr bool kKeyIsHash = std::is_integral<K>::value && sizeof(K) == sizeof(unsigned);

    template <bool isHash, typename Unused>
    struct NodeOf : ZkHashData::Node {
        NodeOf(unsigned hash, const K &k, const T &v)
            : ZkHashData::Node{nullptr, hash}, ownKey(k), value(v)
        {
        }
        const K &key() const { return ownKey; }
        bool holds(unsigned hash, const K &k) const { return h == hash && ownKey == k; }

        K ownKey;
        T value;
    };
    template <typename Unused>
    struct NodeOf<true, Unused> : ZkHashData::Node {
        NodeOf(unsigned hash, K, const T &v) : ZkHashData::Node{nullptr, hash}, value(v) {}
        K key() const { return static_cast<K>(h); }
        bool holds(unsigned hash, K) const { return h == hash; }

        T value;
    };

public:
    /// What stands in a chain: link, hash, key and value.
    typedef NodeOf<kKeyIsHash, void> Node;

private:
    // Walks the nodes in bucket order; `Value` is T or const T.
    template <typename Value>
    class Walker
    {
    public:
        typedef std::forward_iterator_tag iterator_category;
        typedef T value_type;
        typedef std::ptrdiff_t difference_type;
        typedef Value *pointer;
        typedef Value &reference;

        Walker() : m_node(nullptr) {}
        // A place to write is also a place to read.
        operator Walker<const T>() const { return Walker<const T>(m_node); }

        decltype(auto) key() const { return concrete(m_node)->key(); }
        reference value() const { return concrete(m_node)->value; }
        reference operator*() const { return value(); }
        pointer operator->() const { return &value(); }
        Walker &operator++()
        {
            m_node = ZkHashData::nextNode(m_node);
            return *this;
        }
        Walker operator++(int)
        {
            return Walker(std::exchange(m_node, ZkHashData::nextNode(m_node)));
        }
        friend bool operator==(Walker a, Walker b) { return a.m_node == b.m_node; }
        friend bool operator!=(Walker a, Walker b) { return a.m_node != b.m_node; }

    private:
        friend class ZkHash;
        explicit Walker(ZkHashData::Node *at) : m_node(at) {}
        ZkHashData::Node *m_node;
    };

public:
    typedef K key_type;
    typedef T mapped_type;
    typedef T value_type;
    typedef int size_type;
    /// What range-for and algorithms see are the values; `key()` gives the key.
    typedef Walker<T> iterator;
    typedef Walker<const T> const_iterator;

    /// An empty hash; allocates nothing.
    ZkHash() noexcept : d(&ZkHashData::shared_null) { zkRetain(d, &ZkHashData::shared_null); }
    /// Of equal keys the last counts.
    ZkHash(std::initializer_list<std::pair<K, T>> pairs);
    /// Shares the table, or copies the nodes if the table is not sharable.
    ZkHash(const ZkHash &other) : ZkHash(other.d) { Sharing::join(*this); }
    /// Takes the table; `other` is left empty.
    ZkHash(ZkHash &&other) noexcept : ZkHash() { swap(other); }
    ~ZkHash() { Sharing::leave(d); }

    ZkHash &operator=(const ZkHash &other)
    {
        Sharing::assign(this, other);
        return *this;
    }
    /// Exchanges the tables.
    ZkHash &operator=(ZkHash &&other) noexcept
    {
        swap(other);
        return *this;
    }
    void swap(ZkHash &other) noexcept { Sharing::swap(*this, other); }
    friend void swap(ZkHash &a, ZkHash &b) noexcept { a.swap(b); }

    int size() const { return d->size; }
    bool isEmpty() const { return d->size == 0; }
    /// Buckets: 0 before the first insertion, then 17, 37, 67, ... as keys come in;
    /// the key that would make more keys than buckets takes the next number.
    int capacity() const { return d->numBuckets; }
    /// True when both use one table; so do all hashes that never held a key.
    bool isSharedWith(const ZkHash &other) const { return d == other.d; }
    /// False makes each later copy of this hash copy the nodes at once, so that
    /// references into this hash survive copying it.
    void setSharable(bool on) { Sharing::setSharable(*this, on); }
    /// Takes as many buckets as `count` keys need, also fewer than there are now, but
    /// not below half the keys there are.
    void reserve(int count);
    /// Lets the table go.
    void clear() { ZkHash().swap(*this); }

    bool contains(const K &key) const { return *findNode(key) != e; }
    /// The value under `key`, or `fallback` (a default value).
    T value(const K &key, const T &fallback = T()) const;
    T operator[](const K &key) const { return value(key); }
    /// The value under `key`, for writing; a default value is put there first if there
    /// is none.
    T &operator[](const K &key);

    /// Puts `value` under `key`, over the value that is there. Both may live in this hash.
    void insert(const K &key, const T &value);
    /// Takes `key`, which may live in this hash, out; false if it is not there. The
    /// buckets stay.
    bool remove(const K &key);

    iterator begin() { return iterator(writable()->firstNode()); }
    iterator end() { return iterator(writable()->end()); }
    const_iterator begin() const { return const_iterator(d->firstNode()); }
    const_iterator end() const { return const_iterator(d->end()); }
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }

    /// Where `key` stands, or `end()`.
    iterator find(const K &key);
    const_iterator find(const K &key) const { return const_iterator(*findNode(key)); }

    /// All values (keys) in bucket order.
    ZkList<T> values() const { return ZkList<T>(begin(), end()); }
    ZkList<K> keys() const;

    /// Looks up one key after the other while the hash is not changed: what all look-ups
    /// read of the table is read once.
    class Finder
    {
    public:
        explicit Finder(const ZkHash &hash);
        /// The value under `key`, or a default value.
        T value(const K &key) const;

    private:
        ZkHashData::Node *m_end; // the table
        ZkHashData::Node **m_buckets;
        std::uint32_t m_reciprocal;
        int m_numBits, m_numBuckets;
    };

    /// The link that points to the node of `key`, or to the table at the end of its
    /// chain. Stores the hash where `hashOut` points to.
    ZkHashData::Node **findNode(const K &key, unsigned *hashOut = nullptr) const;

private:
    friend struct ZkInspector;
    friend struct ZkSharing<ZkHash>;
    typedef ZkSharing<ZkHash> Sharing;

    explicit ZkHash(ZkHashData *table) : d(table) {}

    static Node *concrete(ZkHashData::Node *node) { return static_cast<Node *>(node); }
    static void duplicateNode(ZkHashData::Node *from, void *to);
    static void deleteNode2(ZkHashData::Node *node) { concrete(node)->~Node(); }
    // What tears down a table: nodes that need no destruction are only freed.
    static constexpr ZkHashData::Delete kDelete =
        std::is_trivially_destructible<Node>::value ? ZkHashData::destroyNothing : deleteNode2;
    ZkHashData *&block() { return d; }
    static ZkHashData *emptyBlock() { return &ZkHashData::shared_null; }
    void copyBlock() { detach_helper(); }
    static void destroyBlock(ZkHashData *x) __attribute__((noinline));
    bool isAlone() const { return zkIsUnshared(d, &ZkHashData::shared_null); }
    ZkHashData *writable();
    void detach() { Sharing::detach(*this); }
    void detach_helper();
    Node *createNode(ZkHashData::Node **link, unsigned h, const K &key, const T &value);

    union {
        ZkHashData *d;
        ZkHashData::Node *e; // the same table as the end of its chains
    };
};

// What is added to a power of two for the number of buckets.
inline constexpr std::array<std::uint8_t, 32> kZkHashDelta = {
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

inline void *ZkHashData::allocateNode(int nodeAlign)
{
    if (strictAlignment) {
        return allocateStrictNode(nodeAlign);
    }
    void *node = std::malloc(static_cast<unsigned>(nodeSize));
    return node != nullptr ? node : zkAllocate(nodeSize); // which reports that there is no memory
}

// The reciprocal is too small by less than 1, so the quotient is too small by less
// than h / 2^(32 + b) < 1: the remainder is right or one bucket count too large.
inline unsigned ZkHashData::bucketOf(unsigned h, std::uint32_t reciprocal, int numBits,
                                     int numBuckets)
{
    const auto count = static_cast<unsigned>(numBuckets);
    const std::uint64_t product = static_cast<std::uint64_t>(h) * reciprocal;
    const unsigned rest = h - static_cast<unsigned>(product >> 32 >> numBits) * count;
    return rest >= count ? rest - count : rest;
}

inline unsigned ZkHashData::bucketOf(unsigned h) const
{
    return bucketOf(h, kZkHashReciprocals[static_cast<unsigned>(numBits)], numBits, numBuckets);
}

template <typename K, typename T>
ZkHash<K, T>::ZkHash(std::initializer_list<std::pair<K, T>> pairs) : ZkHash()
{
    for (const std::pair<K, T> &pair : pairs) {
        insert(pair.first, pair.second);
    }
}

// Destroys keys and values and frees the table.
template <typename K, typename T>
void ZkHash<K, T>::destroyBlock(ZkHashData *x)
{
    x->free_helper(kDelete);
}

template <typename K, typename T>
void ZkHash<K, T>::duplicateNode(ZkHashData::Node *from, void *to)
{
    const Node *source = concrete(from);
    new (to) Node(source->h, source->key(), source->value);
}

// Moves to a copy of the table.
template <typename K, typename T>
void ZkHash<K, T>::detach_helper()
{
    ZkHashData *x = d->detach_helper2(duplicateNode, kDelete, static_cast<int>(sizeof(Node)),
                                      static_cast<int>(alignof(Node)));
    Sharing::leave(std::exchange(d, x));
}

// The table, detached if there is anything that could be written.
template <typename K, typename T>
inline ZkHashData *ZkHash<K, T>::writable()
{
    if (!isEmpty()) {
        detach();
    }
    return d;
}

template <typename K, typename T>
void ZkHash<K, T>::reserve(int count)
{
    detach();
    d->rehash(count > 0 ? -count : -1);
}

template <typename K, typename T>
inline ZkHashData::Node **ZkHash<K, T>::findNode(const K &key, unsigned *hashOut) const
{
    const unsigned h = zkHash(key);
    if (hashOut != nullptr) {
        *hashOut = h;
    }
    if (d->numBuckets == 0) {
        return const_cast<ZkHashData::Node **>(&e);
    }
    ZkHashData::Node **node = d->buckets + d->bucketOf(h);
    ZK_CHECK_AT(*node == e || (*node)->next, "*node == e || (*node)->next", "../include/pub/zkhash",
                847, __PRETTY_FUNCTION__);
    while (*node != e && !concrete(*node)->holds(h, key)) {
        node = &(*node)->next;
    }
    return node;
}

template <typename K, typename T>
inline T ZkHash<K, T>::value(const K &key, const T &fallback) const
{
    ZkHashData::Node *node = *findNode(key);
    return node != e ? concrete(node)->value : fallback;
}

template <typename K, typename T>
inline ZkHash<K, T>::Finder::Finder(const ZkHash &hash)
    : m_end(hash.e),
      m_buckets(hash.d->buckets),
      m_reciprocal(kZkHashReciprocals[static_cast<unsigned>(hash.d->numBits)]),
      m_numBits(hash.d->numBits),
      m_numBuckets(hash.d->numBuckets)
{
    if (m_numBuckets == 0) { // as one bucket, which holds nothing
        m_buckets = const_cast<ZkHashData::Node **>(&hash.e);
        m_reciprocal = UINT32_MAX;
        m_numBuckets = 1;
    }
}

template <typename K, typename T>
inline T ZkHash<K, T>::Finder::value(const K &key) const
{
    const unsigned h = zkHash(key);
    ZkHashData::Node *node =
        m_buckets[ZkHashData::bucketOf(h, m_reciprocal, m_numBits, m_numBuckets)];
    for (; node != m_end; node = node->next) {
        if (concrete(node)->holds(h, key)) {
            return concrete(node)->value;
        }
    }
    return T();
}

// Puts a node for `key`, which is not there, at the link that finding it gave.
template <typename K, typename T>
typename ZkHash<K, T>::Node *ZkHash<K, T>::createNode(ZkHashData::Node **link, unsigned h,
                                                      const K &key, const T &value)
{
    if (d->size >= d->numBuckets) {
        d->rehash(d->numBits + 1);
        link = findNode(key);
    }
    struct Memory { // taken back if copying key or value throws
        ZkHashData *table;
        void *at;
        ~Memory()
        {
            if (at != nullptr) {
                table->freeNode(at);
            }
        }
    } memory = {d, d->allocateNode(static_cast<int>(alignof(Node)))};
    Node *node = new (memory.at) Node(h, key, value);
    memory.at = nullptr;
    node->next = *link;
    *link = node;
    ++d->size;
    return node;
}

template <typename K, typename T>
T &ZkHash<K, T>::operator[](const K &key)
{
    if (!isAlone()) {
        const ZkHash keep(*this); // `key` may live in the shared table
        detach_helper();
        return (*this)[key];
    }
    unsigned h = 0;
    ZkHashData::Node **link = findNode(key, &h);
    return (*link != e ? concrete(*link) : createNode(link, h, key, T()))->value;
}

template <typename K, typename T>
void ZkHash<K, T>::insert(const K &key, const T &value)
{
    if (!isAlone()) {
        const ZkHash keep(*this); // `key` and `value` may live in the shared table
        detach_helper();
        insert(key, value);
        return;
    }
    unsigned h = 0;
    ZkHashData::Node **link = findNode(key, &h);
    if (*link != e) {
        concrete(*link)->value = value;
    } else {
        createNode(link, h, key, value);
    }
}

template <typename K, typename T>
bool ZkHash<K, T>::remove(const K &key)
{
    ZkHashData::Node **link = findNode(key);
    if (*link == e) {
        return false;
    }
    if (!isAlone()) {
        const ZkHash keep(*this); // `key` may live in the shared table
        detach_helper();
        return remove(key);
    }
    ZkHashData::Node *node = *link;
    *link = node->next;
    --d->size;
    deleteNode2(node);
    d->freeNode(node);
    return true;
}

template <typename K, typename T>
typename ZkHash<K, T>::iterator ZkHash<K, T>::find(const K &key)
{
    if (!isEmpty() && !isAlone()) {
        const ZkHash keep(*this); // `key` may live in the shared table
        detach_helper();
        return iterator(*findNode(key));
    }
    return iterator(*findNode(key));
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

/// Equal keys with equal values, in whatever order; two hashes on one table are
/// equal unseen.
template <typename K, typename T>
bool operator==(const ZkHash<K, T> &a, const ZkHash<K, T> &b)
{
    if (a.isSharedWith(b) || a.size() != b.size()) {
        return a.isSharedWith(b);
    }
    for (auto it = a.begin(); it != a.end(); ++it) {
        const auto other = b.find(it.key());
        if (other == b.end() || !(other.value() == it.value())) {
            return false;
        }
    }
    return true;
}

template <typename K, typename T>
bool operator!=(const ZkHash<K, T> &a, const ZkHash<K, T> &b)
{
    return !(a == b);
}

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(ZkHashData) == 32, "the table is 32 bytes on the device");
static_assert(sizeof(ZkHash<int, void *>::Node) == 12, "a node of an integer key is 12 bytes");
#else
static_assert(sizeof(ZkHashData) == 40 && sizeof(ZkHash<int, void *>::Node) == 24,
              "pointers grow and nothing else");
#endif

#endif
