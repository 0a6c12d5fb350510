#include "zkstringlist.h"

#include "string/zkfind.h"

#include <climits>

namespace
{

/// The pieces of `text` between the places that `find(from)` gives, each of which
/// takes `sepSize` units.
template <typename Find>
ZkStringList pieces(const ZkString &text, ZkString::SplitBehavior behavior, int sepSize, Find find)
{
    ZkStringList list;
    int start = 0;
    int extra = 0;
    for (;;) {
        const int end = find(start + extra);
        if (end == -1) {
            break;
        }
        if (end != start || behavior == ZkString::KeepEmpty) {
            list.append(text.mid(start, end - start));
        }
        start = end + sepSize;
        // An empty separator would be found at the same place for ever.
        extra = sepSize == 0 ? 1 : 0;
    }
    if (start != text.size() || behavior == ZkString::KeepEmpty) {
        list.append(text.mid(start));
    }
    return list;
}

/// Sorts the strings of a list nobody shares by exchanging their slots.
class Sorter
{
public:
    explicit Sorter(ZkStringList &strings) : m_list(strings) {}

    void sort()
    {
        int depth = 0;
        for (int n = m_list.size(); n > 1; n /= 2) {
            depth += 2;
        }
        sort(0, m_list.size(), depth);
    }

private:
    static constexpr int kFew = 10;

    bool less(int i, int j) const { return m_list.at(i) < m_list.at(j); }
    void exchange(int i, int j) { m_list.exchange(i, j); }

    /// Sorts elements `first` to `last` - 1. A range that has been divided too often
    /// is sorted without dividing it further.
    void sort(int first, int last, int depth)
    {
        for (; last - first > kFew; --depth) {
            if (depth == 0) {
                heapSort(first, last - first);
                return;
            }
            const int middle = partition(first, last);
            // The smaller part first, so that recursion is never deep.
            if (middle - first < last - middle) {
                sort(first, middle, depth - 1);
                first = middle + 1;
            } else {
                sort(middle + 1, last, depth - 1);
                last = middle;
            }
        }
        insertionSort(first, last);
    }

    /// Divides a range of three or more by the median of its first, middle and last
    /// element, and returns where that stands then: nothing before it is greater,
    /// nothing behind it less.
    int partition(int first, int last)
    {
        const int middle = first + (last - first) / 2;
        order(first, middle);
        order(first, last - 1);
        order(middle, last - 1);
        // Out of the way: the scans below stop at the ends, which are ordered already.
        const int pivot = last - 2;
        exchange(middle, pivot);
        int i = first;
        int j = pivot;
        for (;;) {
            while (less(++i, pivot)) {
            }
            while (less(pivot, --j)) {
            }
            if (i >= j) {
                break;
            }
            exchange(i, j);
        }
        exchange(i, pivot);
        return i;
    }

    void order(int i, int j)
    {
        if (less(j, i)) {
            exchange(i, j);
        }
    }

    void insertionSort(int first, int last)
    {
        for (int i = first + 1; i < last; ++i) {
            for (int j = i; j > first && less(j, j - 1); --j) {
                exchange(j, j - 1);
            }
        }
    }

    void heapSort(int first, int n)
    {
        for (int root = n / 2; root-- > 0;) {
            siftDown(first, root, n);
        }
        for (int end = n; --end > 0;) {
            exchange(first, first + end);
            siftDown(first, 0, end);
        }
    }

    void siftDown(int first, int root, int n)
    {
        for (int child; (child = 2 * root + 1) < n; root = child) {
            if (child + 1 < n && less(first + child, first + child + 1)) {
                ++child;
            }
            if (!less(first + root, first + child)) {
                break;
            }
            exchange(first + root, first + child);
        }
    }

    ZkStringList &m_list;
};

} // namespace

ZkStringList ZkString::split(const ZkString &sep, SplitBehavior behavior,
                             Zk::CaseSensitivity cs) const
{
    return pieces(*this, behavior, sep.size(), [&](int from) { return indexOf(sep, from, cs); });
}

ZkStringList ZkString::split(const ZkUcs2 &sep, SplitBehavior behavior,
                             Zk::CaseSensitivity cs) const
{
    return pieces(*this, behavior, 1, [&](int from) { return indexOf(sep, from, cs); });
}

ZkString ZkStringList::join(const ZkString &sep) const
{
    ZkString result = sep.mid(sep.size()); // the shared empty string
    std::int64_t total = static_cast<std::int64_t>(sep.size()) * (size() - 1);
    for (const ZkString &element : *this) {
        total += element.size();
    }
    // The text is appended to these units, not written over them.
    result.resize(static_cast<int>(std::min(total, static_cast<std::int64_t>(INT_MAX))));
    if (total <= 0) {
        return result;
    }
    for (int i = 0; i < size(); ++i) {
        if (i > 0) {
            result.append(sep);
        }
        result.append(at(i));
    }
    return result;
}

bool ZkStringList::contains(const ZkString &s, Zk::CaseSensitivity cs) const
{
    for (const ZkString &element : *this) {
        if (element.size() == s.size() && s.compare(element, cs) == 0) {
            return true;
        }
    }
    return false;
}

void ZkStringList::sort()
{
    begin(); // detaches, once
    Sorter(*this).sort();
}

ZkStringList &ZkStringList::replaceInStrings(const ZkString &before, const ZkString &after,
                                             Zk::CaseSensitivity cs)
{
    // Either may be an element of this list, which the first replacements change.
    const ZkString wanted = before;
    const ZkString put = after;
    for (ZkString &element : *this) {
        element.replace(wanted, put, cs);
    }
    return *this;
}
