#ifndef ZKBYTEARRAY_H
#define ZKBYTEARRAY_H

#include "private/zksharedblock.h"

#include <functional>
#include <iosfwd>
#include <string_view>

/// A run of bytes whose copies share one block until the last of them is gone;
/// what `ZkString::toUtf8()` yields and what carries file names.
///
/// One object is one pointer to a `Data` block; copying is one atomic increment.
/// Nothing in this class writes the bytes of a block that exists, so no call
/// detaches and a pointer from `constData()` stays valid until the last array
/// that shares the block is assigned to or destroyed. Objects that share a block
/// may be used on different threads; one object needs a lock of the host's own.
///
///     ZkByteArray name("DejaVuSans.ttf", 6);   // "DejaVu"
///     std::fopen(name.constData(), "rb");
class ZK_EXPORT ZkByteArray
{
public:
    /// The shared block. `data[size]` is 0 except in a buffer taken over by `fromRawBytes`.
    struct ZK_EXPORT Data {
        ZkRefCount ref; ///< how many arrays share the block
        int alloc;      ///< bytes that the buffer holds
        int size;       ///< bytes in use
        char *data;     ///< from `malloc`; null while nothing was ever stored

        /// The empty block of results that hold nothing. Its own count of 1 is
        /// never given back, so it is never freed.
        static Data shared_null;

        /// Makes the buffer hold `n` bytes, `2 * n` with `grow` when it must be
        /// enlarged. It never shrinks. More than INT_MAX bytes abort.
        static void allocMemory(Data *d, std::int64_t n, bool grow);
    };

    /// An empty array with a block of its own and no buffer.
    ZkByteArray() : d(createData()) {}

    /// `n` zero bytes; empty when `n` is below 1.
    explicit ZkByteArray(int n) : ZkByteArray(n, '\0') {}

    /// `n` bytes `c`; empty when `n` is below 1.
    ZkByteArray(int n, char c);

    /// The text at `s` up to its 0 byte, or its first `len` bytes if that is less.
    /// A negative `len` sets no bound; a null `s` is empty. Never reads past `len` bytes.
    ZkByteArray(const char *s, int len = -1);

    /// All bytes of `bytes`, 0 bytes included.
    explicit ZkByteArray(std::string_view bytes);

    ZkByteArray(const ZkByteArray &other) noexcept = default;
    ZkByteArray &operator=(const ZkByteArray &other) noexcept = default;

    /// These leave `other` empty.
    ZkByteArray(ZkByteArray &&other) noexcept = default;
    ZkByteArray &operator=(ZkByteArray &&other) noexcept = default;

    ~ZkByteArray() = default;

    /// Replaces the content by the `n` bytes at `p`, by the 0-terminated text there
    /// when `n` is negative. With `copy` they are copied; without it the array
    /// takes over `p` itself, which must come from `malloc` and is freed with the
    /// block, and writes no terminator. A null `p` changes nothing.
    void fromRawBytes(char *p, int n, bool copy);

    int size() const { return d->size; }
    bool isEmpty() const { return d->size == 0; }

    /// Bytes that the buffer holds, terminator included; 0 without a buffer.
    int capacity() const { return d->alloc; }

    /// The bytes; never null, an empty text when there is no buffer. Terminated by
    /// a 0 byte except after `fromRawBytes` without `copy`.
    const char *constData() const { return d->data != nullptr ? d->data : ""; }
    const char *data() const { return constData(); }
    const char *begin() const { return constData(); }
    const char *end() const { return constData() + d->size; }

    /// Byte `i`; 0 outside 0 to size() - 1.
    char at(int i) const { return i >= 0 && i < d->size ? d->data[i] : '\0'; }
    char operator[](int i) const { return at(i); }

    /// All bytes; valid as long as the pointer of `constData()` is.
    std::string_view toStdStringView() const
    {
        return std::string_view(constData(), static_cast<std::size_t>(d->size));
    }

    /// True when both use one block.
    bool isSharedWith(const ZkByteArray &other) const { return d == other.d; }

    /// Compares as 0-terminated texts: bytes behind a first 0 byte do not count,
    /// so the three bytes "a\0b" equal "a".
    bool operator==(const ZkByteArray &other) const;
    bool operator!=(const ZkByteArray &other) const { return !(*this == other); }

    /// Order by the first differing byte, taken as unsigned. Where none differs
    /// before the shorter end or a 0 byte in either, the array of fewer bytes is less.
    /// Among arrays with 0 bytes inside this is no order: "ab" < "a\0zzzz" <
    /// "aa\0xxxxx" < "ab". Sort such bytes by `memcmp` and size.
    bool operator<(const ZkByteArray &other) const;
    bool operator>(const ZkByteArray &other) const { return other < *this; }
    bool operator<=(const ZkByteArray &other) const { return !(other < *this); }
    bool operator>=(const ZkByteArray &other) const { return !(*this < other); }

private:
    friend struct ZkInspector;
    friend class ZkString;

    explicit ZkByteArray(Data &block) noexcept : d(block) {}

    static Data *createData();

    /// The bytes before a first 0 byte.
    std::string_view text() const;

    ZkSharedBlock<Data> d;
};

/// Writes all bytes.
template <typename Traits>
std::basic_ostream<char, Traits> &operator<<(std::basic_ostream<char, Traits> &stream,
                                             const ZkByteArray &bytes)
{
    return stream << std::basic_string_view<char, Traits>(bytes.constData(),
                                                          static_cast<std::size_t>(bytes.size()));
}

namespace std
{

/// Equal arrays have equal hashes.
template <>
struct ZK_EXPORT hash<ZkByteArray> {
    std::size_t operator()(const ZkByteArray &bytes) const noexcept;
};

} // namespace std

#endif
