#ifndef ZKGLOBAL_H
#define ZKGLOBAL_H

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

#if __has_include(<sys/single_threaded.h>)
#    include <sys/single_threaded.h>
#    define ZK_SINGLE_THREADED() (__libc_single_threaded != 0)
#else
#    define ZK_SINGLE_THREADED() false
#endif

/// What every header of the library shares: the text unit, the enumerations of
/// namespace `Zk`, the export macro, the contract check, the reference count
/// and the allocation that never returns null.

/// `ZK_EXPORT` marks what programs may call, `ZK_HIDDEN` the parts of such a class
/// that only the library defines. A static library offers nothing beyond the program.
#if defined(ZK_STATIC)
#    define ZK_EXPORT
#elif defined(_WIN32)
#    error "libzk is a library for ELF systems"
#else
#    define ZK_EXPORT __attribute__((visibility("default")))
#endif
#define ZK_HIDDEN __attribute__((visibility("hidden")))

/// One unit of text: a character of the Basic Multilingual Plane.
typedef unsigned short ZkUcs2;

namespace Zk
{

/// How letters compare. Any value but `CaseSensitive` means "without regard to case".
enum CaseSensitivity { CaseInsensitive = 0, CaseSensitive = 1 };

/// The calendar in which a date's numbers are read. `DateModeDefault` stands for
/// the process-wide mode of `ZkDate::setDateMode`.
enum DateMode { DateGregorian = 0, DatePersian = 1, DateModeDefault = 2 };

/// What a date-time's numbers refer to.
enum TimeSpec { TimeLocal = 0, TimeUtc = 1, TimeOffset = 2 };

/// How a size is fitted into another one.
enum AspectRatioMode { IgnoreAspect = 0, KeepAspect = 1, KeepAspectExpanding = 2 };

} // namespace Zk

/// Reports a broken contract the way the C library's assert does
/// ("prog: file:line: function: Assertion `expression' failed.") and aborts.
/// Standard output is flushed first, so no earlier message is lost.
[[noreturn]] ZK_EXPORT void zkAssertFail(const char *expression, const char *file, int line,
                                         const char *function) __attribute__((cold, noinline));

/// Stops the process unless `condition` holds, in every kind of build. The
/// expression, file and line are given as literals: they are what a host's log
/// shows and stay put when code moves.
#define ZK_CHECK_AT(condition, expression, file, line, function)                                   \
    (static_cast<bool>(condition) ? static_cast<void>(0)                                           \
                                  : zkAssertFail(expression, file, line, function))

/// `malloc` and `realloc` for at least one byte. A size above INT_MAX, or memory
/// that the system does not give, prints one line on standard error and aborts:
/// no caller ever sees a null pointer or a wrapped size.
ZK_EXPORT void *zkAllocate(std::int64_t bytes) __attribute__((malloc, returns_nonnull));
ZK_EXPORT void *zkReallocate(void *block, std::int64_t bytes) __attribute__((returns_nonnull));

/// What they do when there is no memory: prints the line and aborts.
[[noreturn]] ZK_EXPORT void zkNoMemory(std::int64_t bytes) __attribute__((cold, noinline));

/// `new T(arguments...)` that ends as `zkAllocate` does where `new` would throw
/// `std::bad_alloc`. What the constructor throws is passed on. Freed by `delete`.
template <typename T, typename... Arguments>
T *zkNew(Arguments &&...arguments)
{
    T *const made = ::new (std::nothrow) T(std::forward<Arguments>(arguments)...);
    if (made == nullptr) {
        zkNoMemory(static_cast<std::int64_t>(sizeof(T)));
    }
    return made;
}

/// `value` modulo 2^32, as the 32-bit number a device's registers would hold.
constexpr int zkWrapped(std::int64_t value)
{
    return static_cast<int>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(value)));
}

/// The number of objects that share a block. Plain data, so that a block can be
/// a constant or be copied byte by byte. Each operation on a living block is
/// atomic; while the process has one thread, which the C library knows, counting
/// costs no bus lock.
struct ZkRefCount {
    int value;

    /// One more owner, or `owners` more. Whoever calls already owns the block, so
    /// no order is needed.
    void ref(int owners = 1)
    {
        if (ZK_SINGLE_THREADED()) {
            value += owners;
        } else {
            __atomic_fetch_add(&value, owners, __ATOMIC_RELAXED);
        }
    }

    /// One owner fewer. False when that was the last: the block is the caller's
    /// to free, and every earlier owner's writes are visible. A sole owner is told
    /// so by a plain load: nobody else is left who could change the count.
    bool deref()
    {
        if (ZK_SINGLE_THREADED()) {
            return --value != 0;
        }
        return !isOne() && __atomic_sub_fetch(&value, 1, __ATOMIC_ACQ_REL) != 0;
    }

    /// True when nobody else owns the block, so it may be written.
    bool isOne() const { return load() == 1; }

    int load() const { return __atomic_load_n(&value, __ATOMIC_ACQUIRE); }
    operator int() const { return load(); }

    /// For a block that no other thread can see yet.
    ZkRefCount &operator=(int count)
    {
        value = count;
        return *this;
    }
};

/// Owners of a block that may be `empty`, the static one that all empty containers
/// of a kind share. It is never freed and never written, and once the process has
/// several threads it is not counted either: threads that count in one cache line
/// wait for each other.
template <typename Block>
inline void zkRetain(Block *block, const Block *empty)
{
    if (block != empty || ZK_SINGLE_THREADED()) {
        block->ref.ref();
    }
}

/// Gives up one share. True when it was the last one: the block is the caller's to free.
template <typename Block>
inline bool zkRelease(Block *block, const Block *empty)
{
    if (block != empty) {
        return !block->ref.deref();
    }
    if (ZK_SINGLE_THREADED()) {
        --block->ref.value;
    }
    return false;
}

/// True when the block may be written: it has one owner and is not `empty`.
template <typename Block>
inline bool zkIsUnshared(const Block *block, const Block *empty)
{
    return block != empty && block->ref.isOne();
}

/// Opens the private block of a container to the test that looks into it; the
/// library defines no such type.
struct ZkInspector;

#endif
