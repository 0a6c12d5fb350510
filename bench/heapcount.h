#ifndef HEAPCOUNT_H
#define HEAPCOUNT_H

#include <cstdlib>
#include <malloc.h>

/// Counts what the whole process takes from the heap, `operator new` included. Include in
/// one source file of a program only: it defines `malloc` and its kin.
namespace heapcount
{

inline std::size_t calls = 0; ///< of `malloc`, `calloc` and `realloc`
inline std::size_t bytes = 0; ///< that are in use

} // namespace heapcount

extern "C" void *__libc_malloc(std::size_t);
extern "C" void *__libc_calloc(std::size_t, std::size_t);
extern "C" void *__libc_realloc(void *, std::size_t);
extern "C" void __libc_free(void *);

extern "C" void *malloc(std::size_t size) noexcept
{
    void *const block = __libc_malloc(size);
    ++heapcount::calls;
    heapcount::bytes += malloc_usable_size(block);
    return block;
}

extern "C" void *calloc(std::size_t count, std::size_t size) noexcept
{
    void *const block = __libc_calloc(count, size);
    ++heapcount::calls;
    heapcount::bytes += malloc_usable_size(block);
    return block;
}

extern "C" void *realloc(void *old, std::size_t size) noexcept
{
    heapcount::bytes -= malloc_usable_size(old);
    void *const block = __libc_realloc(old, size);
    ++heapcount::calls;
    heapcount::bytes += malloc_usable_size(block);
    return block;
}

extern "C" void free(void *block) noexcept
{
    heapcount::bytes -= malloc_usable_size(block);
    __libc_free(block);
}

#endif
