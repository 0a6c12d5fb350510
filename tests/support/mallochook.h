#ifndef MALLOCHOOK_H
#define MALLOCHOOK_H

#include "sanitizedmalloc.h"

#include <atomic>
#include <cstddef>

/// Watches `malloc` and `realloc` of the whole process, `operator new` included. Include
/// in one source file of a program only: outside the sanitizers it defines
/// `malloc` itself.
namespace mallochook
{

inline std::atomic<int> allocations{0};     ///< calls so far
inline std::atomic<std::size_t> refused{0}; ///< a request of this size gets null; 0 refuses none

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

namespace mallochook
{

constexpr bool kCanRefuse = true;

} // namespace mallochook

extern "C" void *malloc(std::size_t bytes)
{
    ++mallochook::allocations;
    const std::size_t refused = mallochook::refused;
    return refused != 0 && refused == bytes ? nullptr : __libc_malloc(bytes);
}

extern "C" void *realloc(void *block, std::size_t bytes)
{
    ++mallochook::allocations;
    return __libc_realloc(block, bytes);
}

#endif

#endif
