#ifndef ZKLIST_H
#define ZKLIST_H

#include "private/zksharing.h"
#include "zkglobal.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <new>
#include <type_traits>
#include <utility>

/// The slots of a list: pointer-sized, in one block with free room at both ends.
///
///     | ref | alloc | begin | end | flags | free ... | begin: used ... | end: free ... |
///
/// Members that change the run of used slots need a block nobody shares and stop
/// the process otherwise; the `detach` family makes such a block and leaves copying
/// the slots to the caller, who knows what they hold. An index or a count outside
/// the run changes nothing. A block of more than INT_MAX bytes is a failed
/// allocation.
struct ZK_EXPORT ZkListData {
    struct Data {
        ZkRefCount ref;             ///< lists that share the block
        int alloc;                  ///< slots of `array`
        int begin;                  ///< first used slot
        int end;                    ///< behind the last used slot; 0 <= begin <= end <= alloc
        std::uint32_t sharable : 1; ///< cleared: every copy of the list copies the elements at once
        void *array[1];             ///< `alloc` slots
    };

    /// The block of every empty list. Its own count keeps it from being freed.
    static Data shared_null;

    /// The slots that a block gets when it must have `n`. The same on every platform.
    static int grow(int n);

    int size() const { return d->end - d->begin; }
    bool isEmpty() const { return d->end == d->begin; }
    /// True when the block may be written; every structural operation below checks it.
    bool isUnshared() const { return zkIsUnshared<Data>(d, &shared_null); }
    /// The used slots, and the end of them.
    void **begin() const { return d->array + d->begin; }
    void **end() const { return d->array + d->end; }
    void **at(int i) const { return begin() + i; }

    /// Moves to a new block with `num` slots more in the run, at index `*idx`, which
    /// is cut to 0..size(). The run starts at slot 0, or in the middle of the free
    /// room when the index is negative or lies in the lower half. Returns the old block.
    Data *detach_grow(int *idx, int num);
    /// Moves to a new block of as many slots and gives up the share of the old one;
    /// returns that if it is now the caller's to free, else null.
    Data *detach();
    /// Moves to a byte copy of the block. Returns the old block, still counted.
    Data *detach2();
    /// Moves to a new block of `alloc` slots with the run at the same indices (none if
    /// `alloc` is 0). Returns the old block, still counted.
    Data *detach(int alloc);
    /// `detach(int)` to as many slots as the block has.
    Data *detach3();

    /// Gives the block `alloc` slots; what does not fit is dropped from the run.
    void realloc(int alloc);

    /// Adds slots to the run and returns the first of them. `append` uses the room
    /// below a run that has wandered far up before it grows the block; with another
    /// list, whose slots it copies byte by byte, it only ever grows. `append2` adds
    /// as many slots as `l` has and copies nothing.
    void **append(int n);
    void **append();
    void **append(const ZkListData &l);
    void **append2(const ZkListData &l);
    void **prepend();
    /// A slot before index `i`; outside the run that is `prepend` or `append`. The
    /// shorter side moves where both ends have room, the upper one of equal sides.
    void **insert(int i);
    /// Closes the gap from the shorter side, the upper one of equal sides.
    void remove(int i);
    void remove(int i, int n);
    /// Takes the slot at index `from` to index `to`.
    void move(int from, int to);
    /// Removes the slot at `xi` and returns the slot now at its index.
    void **erase(void **xi);

    Data *d;
};

/// A list in one block of pointer-sized slots that copies share: cheap to append
/// to, to prepend to and to insert into near either end.
///
/// Pointers stand in the slots themselves; an element of any other type has a heap
/// node of its own, so references to it hold while the list grows, and the block
/// that copies share holds the nodes. Copying counts the new owner and copies nothing;
/// the first write through a list whose block is shared copies every element
/// ("detaches"). Every non-const member detaches, non-const `operator[]`, `last`,
/// `begin` and `end` too; const members never do.
///
///     ZkList<ZkRect> a;
///     a.append(ZkRect(0, 0, 9, 9));
///     ZkList<ZkRect> b = a;  // a.isSharedWith(b)
///     b.prepend(ZkRect());   // a.size() is 1, b.size() is 2
///
/// Distinct lists may be used by different threads, even when they share a block;
/// one list is used by one thread at a time.
template <typename T>
class ZkList
{
    static constexpr bool kDirect = std::is_pointer<T>::value;

    // Walks the slots; `Value` is T or const T.
    template <typename Value>
    class Walker
    {
    public:
        typedef std::random_access_iterator_tag iterator_category;
        typedef T value_type;
        typedef std::ptrdiff_t difference_type;
        typedef Value *pointer;
        typedef Value &reference;

        Walker() : m_slot(nullptr) {}
        explicit Walker(void **s) : m_slot(s) {}
        // A place to write is also a place to read.
        operator Walker<const T>() const { return Walker<const T>(m_slot); }

        reference operator*() const { return element(m_slot); }
        pointer operator->() const { return &element(m_slot); }
        reference operator[](difference_type n) const { return element(m_slot + n); }
        Walker &operator++() { return *this += 1; }
        Walker &operator--() { return *this += -1; }
        Walker operator++(int) { return Walker(m_slot++); }
        Walker operator--(int) { return Walker(m_slot--); }
        Walker &operator+=(difference_type n)
        {
            m_slot += n;
            return *this;
        }
        Walker &operator-=(difference_type n) { return *this += -n; }
        friend Walker operator+(Walker a, difference_type n) { return a += n; }
        friend Walker operator+(difference_type n, Walker a) { return a += n; }
        friend Walker operator-(Walker a, difference_type n) { return a -= n; }
        friend difference_type operator-(Walker a, Walker b) { return a.m_slot - b.m_slot; }
        friend bool operator==(Walker a, Walker b) { return a.m_slot == b.m_slot; }
        friend bool operator!=(Walker a, Walker b) { return a.m_slot != b.m_slot; }
        friend bool operator<(Walker a, Walker b) { return a.m_slot < b.m_slot; }
        friend bool operator>(Walker a, Walker b) { return a.m_slot > b.m_slot; }
        friend bool operator<=(Walker a, Walker b) { return a.m_slot <= b.m_slot; }
        friend bool operator>=(Walker a, Walker b) { return a.m_slot >= b.m_slot; }

    private:
        void **m_slot;
    };

public:
    typedef T value_type;
    typedef T &reference;
    typedef const T &const_reference;
    typedef T *pointer;
    typedef const T *const_pointer;
    typedef Walker<T> iterator;
    typedef Walker<const T> const_iterator;
    typedef int size_type;
    typedef std::ptrdiff_t difference_type;

    /// An empty list; allocates nothing.
    ZkList() noexcept : p{&ZkListData::shared_null} { zkRetain(p.d, &ZkListData::shared_null); }
    ZkList(std::initializer_list<T> values) : ZkList(values.begin(), values.end()) {}
    /// Copies of first, first + 1, ... up to `last`, which is left out.
    template <typename Iterator, typename = typename std::iterator_traits<Iterator>::value_type>
    ZkList(Iterator first, Iterator last);
    /// Shares the block, or copies the elements if the block is not sharable.
    ZkList(const ZkList &other) : ZkList(other.p) { Sharing::join(*this); }
    /// Takes the block; `other` is left empty.
    ZkList(ZkList &&other) noexcept : ZkList() { swap(other); }
    ~ZkList() { Sharing::leave(p.d); }

    ZkList &operator=(const ZkList &other)
    {
        Sharing::assign(this, other);
        return *this;
    }
    /// Exchanges the blocks.
    ZkList &operator=(ZkList &&other) noexcept
    {
        swap(other);
        return *this;
    }
    void swap(ZkList &other) noexcept { Sharing::swap(*this, other); }
    friend void swap(ZkList &a, ZkList &b) noexcept { a.swap(b); }

    int size() const { return p.size(); }
    bool isEmpty() const { return p.isEmpty(); }
    /// Slots of the block, used or not.
    int capacity() const { return p.d->alloc; }
    /// True when both use one block; so do all lists that never held an element.
    bool isSharedWith(const ZkList &other) const { return p.d == other.p.d; }
    /// False makes each later copy of this list copy the elements at once, so that
    /// references into this list survive copying it.
    void setSharable(bool on) { Sharing::setSharable(*this, on); }
    /// Gives the block at least `count` slots.
    void reserve(int count);
    /// Lets the block go: an empty list without capacity is left.
    void clear() { *this = ZkList(); }

    /// Adds a copy of `value`, which may be an element of this list, at the end.
    void append(const T &value) { appendNode({makeNode(value)}); }
    void append(T &&value) { appendNode({makeNode(std::move(value))}); }
    /// Adds copies of the elements of `other`, which may be this list.
    void append(const ZkList &other);
    void prepend(const T &value) { insert(0, value); }
    /// Puts a copy of `value`, which may be an element of this list, before element `i`;
    /// an index outside the list is the nearest end. Moves slots of the shorter side.
    void insert(int i, const T &value);
    /// Takes out element `i`, or the `count` elements from `i` on. An index or count
    /// outside the list changes nothing. The capacity stays.
    void remove(int i) { remove(i, 1); }
    void remove(int i, int count);

    /// Takes element `from` to index `to`, or exchanges two elements. No element is
    /// copied. An index outside the list changes nothing.
    void move(int from, int to);
    void exchange(int i, int j);

    /// Element `i`; an index outside 0..size()-1 stops the process. The non-const
    /// form detaches.
    const T &at(int i) const;
    T &operator[](int i);
    const T &operator[](int i) const { return at(i); }
    /// Element `i`, or `fallback` (a default value) when there is none.
    T value(int i, const T &fallback = T()) const;
    /// The element at size() - 1; an empty list stops the process. The non-const form
    /// detaches.
    T &last();
    const T &last() const;

    iterator begin();
    iterator end();
    const_iterator begin() const { return const_iterator(p.begin()); }
    const_iterator end() const { return const_iterator(p.end()); }
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }

    /// The first index at or after `from` (0 when negative) that holds `value`, or -1.
    int indexOf(const T &value, int from = 0) const;
    bool contains(const T &value) const { return indexOf(value) >= 0; }

private:
    friend struct ZkInspector;
    friend struct ZkSharing<ZkList>;
    typedef ZkSharing<ZkList> Sharing;

    // A node on its way into a slot.
    struct Made {
        void *node;
        void *take() { return std::exchange(node, nullptr); }
        ~Made() { deleteNodes(&node, &node + 1); }
    };

    explicit ZkList(ZkListData data) : p(data) {}

    static T &element(void **slot);
    template <typename Source>
    static void *makeNode(Source &&value);
    static void copyNodes(void **to, void **stop, void **from);
    static void deleteNodes(void **first, void **stop);
    ZkListData::Data *&block() { return p.d; }
    static ZkListData::Data *emptyBlock() { return &ZkListData::shared_null; }
    void copyBlock() { detach_helper(p.d->alloc); }
    static void destroyBlock(ZkListData::Data *x) __attribute__((noinline));
    // One comparison: size is never negative.
    bool has(int i) const { return static_cast<unsigned>(i) < static_cast<unsigned>(size()); }
    void clearSlots();
    void appendNode(Made made);
    void detach() { Sharing::detach(*this); }
    void detach_helper(int alloc);
    void **detach_helper_grow(int i, int c);

    ZkListData p;
};

// What a slot stands for: a pointer element, or the element it points to.
template <typename T>
inline T &ZkList<T>::element(void **slot)
{
    if constexpr (kDirect) {
        return *static_cast<T *>(static_cast<void *>(slot));
    } else {
        return *static_cast<T *>(*slot);
    }
}

// What a slot holds for `value`.
template <typename T>
template <typename Source>
inline void *ZkList<T>::makeNode(Source &&value)
{
    if constexpr (kDirect) {
        void *node;
        std::memcpy(&node, &value, sizeof node);
        return node;
    } else {
        return zkNew<T>(std::forward<Source>(value));
    }
}

// Fills `to`..`stop` with copies of the elements at `from`.
template <typename T>
void ZkList<T>::copyNodes(void **to, void **stop, void **from)
{
    for (; to != stop; ++to, ++from) {
        *to = makeNode(static_cast<const T &>(element(from)));
    }
}

// Destroys the elements of `first`..`stop`, the last one first.
template <typename T>
void ZkList<T>::deleteNodes(void **first, void **stop)
{
    if constexpr (!kDirect) {
        while (stop != first) {
            ::delete static_cast<T *>(*--stop);
        }
    }
}

template <typename T>
void ZkList<T>::destroyBlock(ZkListData::Data *x)
{
    deleteNodes(x->array + x->begin, x->array + x->end);
    std::free(x);
}

template <typename T>
template <typename Iterator, typename>
ZkList<T>::ZkList(Iterator first, Iterator last) : ZkList()
{
    for (; first != last; ++first) {
        append(*first);
    }
}

// Moves to a block of `alloc` slots with copies of all elements.
template <typename T>
void ZkList<T>::detach_helper(int alloc)
{
    ZkList fresh(p);
    fresh.p.detach(alloc);
    fresh.clearSlots();
    copyNodes(fresh.p.begin(), fresh.p.end(), p.begin());
    swap(fresh);
}

// Moves to a block with room for `c` more elements at index `i` (cut to the list)
// and copies of all others. Returns the first of the new slots, which are null.
template <typename T>
void **ZkList<T>::detach_helper_grow(int i, int c)
{
    ZkList fresh(p);
    fresh.p.detach_grow(&i, c);
    fresh.clearSlots();
    void **const gap = fresh.p.at(i);
    copyNodes(fresh.p.begin(), gap, p.begin());
    copyNodes(fresh.p.end() - (size() - i), fresh.p.end(), p.at(i));
    swap(fresh);
    return gap;
}

// Makes a fresh block destructible, should copying an element throw. (Whoever
// fills it then swaps it in, and so leaves it the old block to release.)
template <typename T>
inline void ZkList<T>::clearSlots()
{
    if constexpr (!kDirect) {
        std::fill(p.begin(), p.end(), nullptr);
    }
}

template <typename T>
void ZkList<T>::reserve(int count)
{
    if (!p.isUnshared()) {
        detach_helper(std::max(count, p.d->alloc));
    } else if (count > p.d->alloc) {
        p.realloc(count);
    }
}

// Puts a node at the end. It was made first: the value may live in this list.
template <typename T>
inline void ZkList<T>::appendNode(Made made)
{
    void **const slot = p.isUnshared() ? p.append() : detach_helper_grow(INT32_MAX, 1);
    *slot = made.take();
}

template <typename T>
void ZkList<T>::append(const ZkList &other)
{
    const int n = other.size();
    if (n == 0) {
        return;
    }
    void **to = p.isUnshared() ? p.append(other.p) : detach_helper_grow(INT32_MAX, n);
    p.d->end -= n;
    // The slots are there, but the run is cut back and grows again with each copy: if one
    // throws, the destructor must not find the slots behind it.
    for (int i = 0; i < n; ++i) {
        *to++ = makeNode(other.at(i));
        ++p.d->end;
    }
}

template <typename T>
void ZkList<T>::insert(int i, const T &value)
{
    Made made = {makeNode(value)};
    void **const slot = p.isUnshared() ? p.insert(i) : detach_helper_grow(i, 1);
    *slot = made.take();
}

template <typename T>
void ZkList<T>::remove(int i, int count)
{
    if (i >= 0 && count > 0 && i <= size() - count) {
        detach();
        deleteNodes(p.at(i), p.at(i) + count);
        p.remove(i, count);
    }
}

template <typename T>
void ZkList<T>::move(int from, int to)
{
    if (from != to) {
        detach();
        p.move(from, to);
    }
}

template <typename T>
void ZkList<T>::exchange(int i, int j)
{
    if (has(i) && has(j)) {
        detach();
        std::swap(*p.at(i), *p.at(j));
    }
}

template <typename T>
inline const T &ZkList<T>::at(int i) const
{
    ZK_CHECK_AT(has(i), "i >= 0 && i < p.size()", "../include/pub/zklist", 446,
                __PRETTY_FUNCTION__);
    return element(p.at(i));
}

template <typename T>
inline T &ZkList<T>::operator[](int i)
{
    ZK_CHECK_AT(has(i), "i >= 0 && i < p.size()", "../include/pub/zklist", 460,
                __PRETTY_FUNCTION__);
    detach();
    return element(p.at(i));
}

template <typename T>
T ZkList<T>::value(int i, const T &fallback) const
{
    return has(i) ? element(p.at(i)) : fallback;
}

template <typename T>
inline T &ZkList<T>::last()
{
    ZK_CHECK_AT(!isEmpty(), "!isEmpty()", "../include/pub/zklist", 291, __PRETTY_FUNCTION__);
    detach();
    return element(p.end() - 1);
}

template <typename T>
inline const T &ZkList<T>::last() const
{
    ZK_CHECK_AT(!isEmpty(), "!isEmpty()", "../include/pub/zklist", 291, __PRETTY_FUNCTION__);
    return element(p.end() - 1);
}

template <typename T>
inline typename ZkList<T>::iterator ZkList<T>::begin()
{
    if (!isEmpty()) { // nothing to write, nothing to detach
        detach();
    }
    return iterator(p.begin());
}

template <typename T>
inline typename ZkList<T>::iterator ZkList<T>::end()
{
    return begin() + size();
}

template <typename T>
int ZkList<T>::indexOf(const T &value, int from) const
{
    for (int i = std::max(from, 0); i < size(); ++i) {
        if (element(p.at(i)) == value) {
            return i;
        }
    }
    return -1;
}

/// Equal sizes and equal elements; two lists on one block are equal unseen.
template <typename T>
bool operator==(const ZkList<T> &a, const ZkList<T> &b)
{
    return a.isSharedWith(b) || std::equal(a.begin(), a.end(), b.begin(), b.end());
}

template <typename T>
bool operator!=(const ZkList<T> &a, const ZkList<T> &b)
{
    return !(a == b);
}

/// The order of a dictionary.
template <typename T>
bool operator<(const ZkList<T> &a, const ZkList<T> &b)
{
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
}

#endif
