#ifndef ZKMAP_H
#define ZKMAP_H

#include "private/zksharing.h"
#include "zkglobal.h"
#include "zklist.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <new>
#include <type_traits>
#include <utility>

/// The untyped part of a map: a skip list. Nodes stand in the order of their keys;
/// every node is linked on level 0, one in eight on level 1 too, one in 64 on level
/// 2, and so on. The table itself begins and ends every level:
///
///     level 1   table ----------------> node ----------------> table
///     level 0   table -> node -> node -> node -> node -> node -> table
///
/// A node's key and value stand in front of it: `offset` bytes before the links.
struct ZK_EXPORT ZkMapData {
    struct Node {
        Node *backward;
        Node *forward[1]; ///< as many as the node's level says, plus one
    };
    enum { LastLevel = 11, Sparseness = 3 };

    Node *backward;               ///< the last node; the table's `end()` when empty
    Node *forward[LastLevel + 1]; ///< first node of each level up to `topLevel`
    ZkRefCount ref;
    int topLevel; ///< highest level that ever had a node; never falls
    int size;
    std::uint32_t randomBits;          ///< decides the next node's level
    std::uint32_t insertInOrder : 1;   ///< while copying: `randomBits` is not seeded anew
    std::uint32_t sharable : 1;        ///< cleared: every copy of the map copies the nodes at once
    std::uint32_t strictAlignment : 1; ///< a word before each node tells where its memory starts
    std::uint32_t reserved : 29;

    /// The table of every map that is empty from the start.
    static ZkMapData shared_null;

    /// A new empty table for keys and values of this alignment (0 for any up to 8).
    static ZkMapData *createData(int alignment = 0);
    /// Frees every node, whose key and value are destroyed already, and the table.
    void continueFreeData(int offset);

    /// Links a new node behind `update[i]` on each of its levels i, and makes it the
    /// entry of `update` there. Its key and value are left to be constructed. A node
    /// rises at most one level above the highest so far.
    Node *node_create(Node *update[], int offset, int alignment = 0);
    /// Takes `node`, which `update[i]` precedes on each of its levels i, out and frees it.
    void node_delete(Node *update[], int offset, Node *node);

    /// The table as the node before the first and behind the last.
    Node *end() { return reinterpret_cast<Node *>(this); }
};

/// Values under keys in the order of the keys, in nodes that copies share.
///
/// A map is one pointer to its table. Copying counts the new owner; the first write
/// through a map whose table is shared copies every node ("detaches"). Non-const
/// `begin`, `end`, `find`, `lowerBound`, `upperBound` and `operator[]` are writes;
/// const members never detach or allocate. A key needs `<`.
///
///     ZkMap<int, const char *> names = {{7, "seven"}, {3, "three"}};
///     names.begin().key();        // 3
///     names.lowerBound(4).key();  // 7
///
/// Finding takes about 4.5 comparisons for every factor of eight in size(); stepping
/// forward or backward is one load. References and iterators hold until the key is
/// removed or the map detaches. One map is used by one thread at a time; maps that
/// share a table may be used by different threads.
template <typename K, typename T>
class ZkMap
{
    struct Payload {
        K key;
        T value;
    };
    static constexpr int kNodeAlign = static_cast<int>(alignof(ZkMapData::Node));
    static constexpr int kAlignment = static_cast<int>(alignof(Payload));
    // Key and value, filled up to where links may stand.
    static constexpr int kOffset =
        (static_cast<int>(sizeof(Payload)) + kNodeAlign - 1) / kNodeAlign * kNodeAlign;

    // Walks the nodes; `Value` is T or const T.
    template <typename Value>
    class Walker
    {
    public:
        typedef std::bidirectional_iterator_tag iterator_category;
        typedef T value_type;
        typedef std::ptrdiff_t difference_type;
        typedef Value *pointer;
        typedef Value &reference;

        Walker() : m_node(nullptr) {}
        // A place to write is also a place to read.
        operator Walker<const T>() const { return Walker<const T>(m_node); }

        const K &key() const { return payload(m_node)->key; }
        reference value() const { return payload(m_node)->value; }
        reference operator*() const { return value(); }
        pointer operator->() const { return &value(); }
        Walker &operator++()
        {
            m_node = m_node->forward[0];
            return *this;
        }
        Walker &operator--()
        {
            m_node = m_node->backward;
            return *this;
        }
        Walker operator++(int) { return Walker(std::exchange(m_node, m_node->forward[0])); }
        Walker operator--(int) { return Walker(std::exchange(m_node, m_node->backward)); }
        friend bool operator==(Walker a, Walker b) { return a.m_node == b.m_node; }
        friend bool operator!=(Walker a, Walker b) { return a.m_node != b.m_node; }

    private:
        friend class ZkMap;
        explicit Walker(ZkMapData::Node *at) : m_node(at) {}
        ZkMapData::Node *m_node;
    };

public:
    typedef K key_type;
    typedef T mapped_type;
    typedef T value_type;
    typedef int size_type;
    /// What range-for and algorithms see are the values; `key()` gives the key.
    typedef Walker<T> iterator;
    typedef Walker<const T> const_iterator;

    /// An empty map; allocates nothing.
    ZkMap() noexcept : d(&ZkMapData::shared_null) { zkRetain(d, &ZkMapData::shared_null); }
    /// Of equal keys the last counts.
    ZkMap(std::initializer_list<std::pair<K, T>> pairs);
    /// Shares the table, or copies the nodes if the table is not sharable.
    ZkMap(const ZkMap &other) : ZkMap(other.d) { Sharing::join(*this); }
    /// Takes the table; `other` is left empty.
    ZkMap(ZkMap &&other) noexcept : ZkMap() { swap(other); }
    ~ZkMap() { Sharing::leave(d); }

    ZkMap &operator=(const ZkMap &other)
    {
        Sharing::assign(this, other);
        return *this;
    }
    /// Exchanges the tables.
    ZkMap &operator=(ZkMap &&other) noexcept
    {
        swap(other);
        return *this;
    }
    void swap(ZkMap &other) noexcept { Sharing::swap(*this, other); }
    friend void swap(ZkMap &a, ZkMap &b) noexcept { a.swap(b); }

    int size() const { return d->size; }
    bool isEmpty() const { return d->size == 0; }
    /// True when both use one table; so do all maps that never held a key.
    bool isSharedWith(const ZkMap &other) const { return d == other.d; }
    /// False makes each later copy of this map copy the nodes at once, so that
    /// references into this map survive copying it.
    void setSharable(bool on) { Sharing::setSharable(*this, on); }
    /// Lets the table go.
    void clear() { ZkMap().swap(*this); }

    bool contains(const K &key) const { return findNode(key) != d->end(); }
    /// The value under `key`, or `fallback` (a default value).
    T value(const K &key, const T &fallback = T()) const;
    T operator[](const K &key) const { return value(key); }
    /// The value under `key`, for writing; a default value is put there first if there
    /// is none.
    T &operator[](const K &key);

    /// Puts `value` under `key`, over the value that is there. Both may live in this map.
    void insert(const K &key, const T &value);
    /// Takes `key`, which may live in this map, out; false if it is not there.
    bool remove(const K &key);

    iterator begin() { return iterator(writable()->forward[0]); }
    iterator end() { return iterator(writable()); }
    const_iterator begin() const { return const_iterator(d->end()->forward[0]); }
    const_iterator end() const { return const_iterator(d->end()); }
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }

    /// Where `key` stands, or `end()`.
    iterator find(const K &key) { return detachedAt(key, &ZkMap::findNode); }
    const_iterator find(const K &key) const { return const_iterator(findNode(key)); }
    /// The first key not below (above) `key`, or `end()`.
    iterator lowerBound(const K &key) { return detachedAt(key, &ZkMap::firstNotBelow); }
    const_iterator lowerBound(const K &key) const { return const_iterator(firstNotBelow(key)); }
    iterator upperBound(const K &key) { return detachedAt(key, &ZkMap::firstAbove); }
    const_iterator upperBound(const K &key) const { return const_iterator(firstAbove(key)); }

    /// All keys (values) in the order of the keys.
    ZkList<K> keys() const;
    ZkList<T> values() const { return ZkList<T>(begin(), end()); }

private:
    friend struct ZkInspector;
    friend struct ZkSharing<ZkMap>;
    typedef ZkSharing<ZkMap> Sharing;

    static Payload *payload(ZkMapData::Node *node)
    {
        return reinterpret_cast<Payload *>(reinterpret_cast<char *>(node) - kOffset);
    }
    explicit ZkMap(ZkMapData *data) : d(data) {}
    ZkMapData *&block() { return d; }
    static ZkMapData *emptyBlock() { return &ZkMapData::shared_null; }
    void copyBlock() { detach_helper(); }
    static void destroyBlock(ZkMapData *x) __attribute__((noinline));
    bool isAlone() const { return zkIsUnshared(d, &ZkMapData::shared_null); }
    ZkMapData::Node *writable();
    template <typename Search>
    iterator detachedAt(const K &key, Search where);
    void detach() { Sharing::detach(*this); }
    void detach_helper();
    ZkMapData::Node *search(ZkMapData::Node *update[], const K &key) const;
    ZkMapData::Node *firstNotBelow(const K &key) const { return search(nullptr, key); }
    ZkMapData::Node *firstAbove(const K &key) const;
    ZkMapData::Node *findNode(const K &key) const { return mutableFindNode(nullptr, key); }
    ZkMapData::Node *mutableFindNode(ZkMapData::Node *update[], const K &key) const;
    Payload *createNode(ZkMapData::Node *update[], const K &key, const T &value);

    ZkMapData *d;
};

template <typename K, typename T>
ZkMap<K, T>::ZkMap(std::initializer_list<std::pair<K, T>> pairs) : ZkMap()
{
    for (const std::pair<K, T> &pair : pairs) {
        insert(pair.first, pair.second);
    }
}

// Destroys keys and values and frees the table.
template <typename K, typename T>
void ZkMap<K, T>::destroyBlock(ZkMapData *x)
{
    if constexpr (!std::is_trivially_destructible<Payload>::value) {
        for (ZkMapData::Node *node = x->end()->forward[0]; node != x->end();
             node = node->forward[0]) {
            payload(node)->~Payload();
        }
    }
    x->continueFreeData(kOffset);
}

// The table as a node, detached if there is anything that could be written.
template <typename K, typename T>
inline ZkMapData::Node *ZkMap<K, T>::writable()
{
    if (!isEmpty()) {
        detach();
    }
    return d->end();
}

// Moves to a copy of the table, whose nodes get levels of their own.
template <typename K, typename T>
void ZkMap<K, T>::detach_helper()
{
    ZkMap fresh(ZkMapData::createData(kAlignment)); // owns the old table once it is swapped in
    if (!isEmpty()) {
        fresh.d->insertInOrder = 1;
        ZkMapData::Node *update[ZkMapData::LastLevel + 1];
        update[0] = fresh.d->end();
        for (ZkMapData::Node *node = d->end()->forward[0]; node != d->end();
             node = node->forward[0]) {
            fresh.createNode(update, payload(node)->key, payload(node)->value);
        }
        fresh.d->insertInOrder = 0;
    }
    swap(fresh);
}

// The first node whose key is not below `key`, or the table. `update[i]`, if wanted,
// becomes the node before it on level i.
template <typename K, typename T>
inline ZkMapData::Node *ZkMap<K, T>::search(ZkMapData::Node *update[], const K &key) const
{
    ZkMapData::Node *cur = d->end();
    ZkMapData::Node *stop = cur;
    for (int i = d->topLevel; i > 0; --i) {
        // What ended the search one level higher ends it here too, unseen.
        ZkMapData::Node *next;
        while ((next = cur->forward[i]) != stop && payload(next)->key < key) {
            cur = next;
        }
        stop = next;
        if (update != nullptr) {
            update[i] = cur;
        }
    }
    // On the ground, where most nodes are in no cache, the search comes from both ends:
    // so it waits for two nodes at a time, and for half as many in a row.
    for (;;) {
        ZkMapData::Node *const next = cur->forward[0];
        if (next == stop || !(payload(next)->key < key)) {
            stop = next;
            break;
        }
        cur = next;
        ZkMapData::Node *const previous = stop->backward;
        if (previous == cur) {
            break;
        }
        if (payload(previous)->key < key) {
            cur = previous;
            break;
        }
        stop = previous;
    }
    if (update != nullptr) {
        update[0] = cur;
    }
    return stop;
}

template <typename K, typename T>
ZkMapData::Node *ZkMap<K, T>::firstAbove(const K &key) const
{
    ZkMapData::Node *node = firstNotBelow(key);
    return node != d->end() && !(key < payload(node)->key) ? node->forward[0] : node;
}

// The node of `key`, or the table; `update` as for `search`.
template <typename K, typename T>
inline ZkMapData::Node *ZkMap<K, T>::mutableFindNode(ZkMapData::Node *update[], const K &key) const
{
    ZkMapData::Node *node = search(update, key);
    return node != d->end() && key < payload(node)->key ? d->end() : node;
}

// Links a node for `key` behind `update`. If copying key or value throws, the node
// is taken out again.
template <typename K, typename T>
typename ZkMap<K, T>::Payload *ZkMap<K, T>::createNode(ZkMapData::Node *update[], const K &key,
                                                       const T &value)
{
    if constexpr (std::is_nothrow_copy_constructible<K>::value &&
                  std::is_nothrow_copy_constructible<T>::value) {
        ZkMapData::Node *node = d->node_create(update, kOffset, kAlignment);
        return new (payload(node)) Payload{key, value};
    } else {
        struct Undo {
            ZkMapData *d;
            ZkMapData::Node *node;
            ZkMapData::Node *before[ZkMapData::LastLevel + 1];
            ~Undo()
            {
                if (node != nullptr) {
                    d->node_delete(before, kOffset, node);
                }
            }
        } undo = {d, nullptr, {}};
        for (int i = 0; i <= ZkMapData::LastLevel; ++i) {
            undo.before[i] = i <= d->topLevel ? update[i] : d->end();
        }
        undo.node = d->node_create(update, kOffset, kAlignment);
        Payload *made = new (payload(undo.node)) Payload{key, value};
        undo.node = nullptr; // all is well, nothing to undo
        return made;
    }
}

template <typename K, typename T>
inline T ZkMap<K, T>::value(const K &key, const T &fallback) const
{
    ZkMapData::Node *node = findNode(key);
    return node != d->end() ? payload(node)->value : fallback;
}

template <typename K, typename T>
T &ZkMap<K, T>::operator[](const K &key)
{
    if (!isAlone()) {
        const ZkMap keep(*this); // `key` may live in the shared table
        detach_helper();
        return (*this)[key];
    }
    ZkMapData::Node *update[ZkMapData::LastLevel + 1];
    ZkMapData::Node *node = mutableFindNode(update, key);
    return (node != d->end() ? payload(node) : createNode(update, key, T()))->value;
}

template <typename K, typename T>
void ZkMap<K, T>::insert(const K &key, const T &value)
{
    if (!isAlone()) {
        const ZkMap keep(*this); // `key` and `value` may live in the shared table
        detach_helper();
        insert(key, value);
        return;
    }
    ZkMapData::Node *update[ZkMapData::LastLevel + 1];
    ZkMapData::Node *node = mutableFindNode(update, key);
    if (node != d->end()) {
        payload(node)->value = value;
    } else {
        createNode(update, key, value);
    }
}

template <typename K, typename T>
bool ZkMap<K, T>::remove(const K &key)
{
    if (!contains(key)) {
        return false;
    }
    if (!isAlone()) {
        const ZkMap keep(*this); // `key` may live in the shared table
        detach_helper();
        return remove(key);
    }
    ZkMapData::Node *update[ZkMapData::LastLevel + 1];
    ZkMapData::Node *node = mutableFindNode(update, key);
    payload(node)->~Payload();
    d->node_delete(update, kOffset, node);
    return true;
}

// The iterator that `where` gives for `key` once the map is detached.
template <typename K, typename T>
template <typename Search>
typename ZkMap<K, T>::iterator ZkMap<K, T>::detachedAt(const K &key, Search where)
{
    if (!isEmpty() && !isAlone()) {
        const ZkMap keep(*this); // `key` may live in the shared table
        detach_helper();
        return iterator((this->*where)(key));
    }
    return iterator((this->*where)(key));
}

template <typename K, typename T>
ZkList<K> ZkMap<K, T>::keys() const
{
    ZkList<K> all;
    for (const_iterator it = begin(); it != end(); ++it) {
        all.append(it.key());
    }
    return all;
}

/// Equal keys with equal values; two maps on one table are equal unseen.
template <typename K, typename T>
bool operator==(const ZkMap<K, T> &a, const ZkMap<K, T> &b)
{
    if (a.isSharedWith(b) || a.size() != b.size()) {
        return a.isSharedWith(b);
    }
    for (auto i = a.begin(), j = b.begin(); i != a.end(); ++i, ++j) {
        if (i.key() < j.key() || j.key() < i.key() || !(i.value() == j.value())) {
            return false;
        }
    }
    return true;
}

template <typename K, typename T>
bool operator!=(const ZkMap<K, T> &a, const ZkMap<K, T> &b)
{
    return !(a == b);
}

#endif
