#ifndef MALLOCHOOK_H
#define MALLOCHOOK_H

#include "sanitizedmalloc.h"

#include <atomic>
#include <cstddef>
#include <malloc.h>

/// Watches the memory that the whole process takes, `operator new` and FreeType included,
/// and lets requests fail. Include in one source file of a program only: outside the
/// sanitizers it defines `malloc` and its like itself, before the C library's own.
namespace mallochook
{

inline std::atomic<int> allocations{0};        ///< calls so far
inline std::atomic<int> living{0};             ///< blocks taken and not given back
inline std::atomic<int> failing{-1};           ///< the number of the call that gets null; -1: none
inline std::atomic<std::size_t> refused{0};    ///< `malloc` of this size gets null; 0: of none
inline std::atomic<bool> wasRefused{false};    ///< one of that size
inline std::atomic<bool> isRefusedOnce{false}; ///< the next block given back ends the refusing

} // namespace mallochook

#if defined(ZK_MALLOC_IS_THE_SANITIZERS)

// The sanitizers' malloc can be watched, not made to fail.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void *,
                                                                  std::size_t),
                                                         void (*)(const volatile void *));

namespace mallochook
{

constexpr bool kCanRefuse = false;

inline const int installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void *, std::size_t) { ++allocations; }, [](const volatile void *) {});

} // namespace mallochook

#else

extern "C" void *__libc_malloc(std::size_t);
extern "C" void *__libc_realloc(void *, std::size_t);
extern "C" void *__libc_calloc(std::size_t, std::size_t);
extern "C" void __libc_free(void *);

namespace mallochook
{

constexpr bool kCanRefuse = true;

/// Bytes that the C library has given out and not back.
inline std::size_t takenBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

inline bool fails()
{
    return allocations++ == failing;
}

inline void *counted(void *block)
{
    living += block != nullptr ? 1 : 0;
    return block;
}

} // namespace mallochook

extern "C" void *malloc(std::size_t bytes) noexcept
{
    if (mallochook::fails()) {
        return nullptr;
    }
    const std::size_t refused = mallochook::refused;
    if (refused != 0 && refused == bytes) {
        mallochook::wasRefused = true;
        return nullptr;
    }
    return mallochook::counted(__libc_malloc(bytes));
}

extern "C" void *calloc(std::size_t count, std::size_t bytes) noexcept
{
    return mallochook::fails() ? nullptr : mallochook::counted(__libc_calloc(count, bytes));
}

extern "C" void *realloc(void *block, std::size_t bytes) noexcept
{
    if (mallochook::fails()) {
        return nullptr;
    }
    void *const moved = __libc_realloc(block, bytes);
    return block == nullptr ? mallochook::counted(moved) : moved;
}

extern "C" void free(void *block) noexcept
{
    if (block != nullptr) {
        --mallochook::living;
        if (mallochook::isRefusedOnce && mallochook::wasRefused) {
            mallochook::refused = 0;
        }
    }
    __libc_free(block);
}

#endif

#endif
