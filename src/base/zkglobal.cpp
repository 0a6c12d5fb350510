// The report of a broken contract must not depend on the build's NDEBUG.
#undef NDEBUG
#include <assert.h>

#include "zkglobal.h"

#include "base/zkmemory.h"

#include <climits>
#include <cstdio>
#include <cstdlib>

void zkAssertFail(const char *expression, const char *file, int line, const char *function)
{
    std::fflush(stdout); // abort() leaves buffers unwritten
#ifdef __GLIBC__
    __assert_fail(expression, file, static_cast<unsigned>(line), function);
#else
    std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", file, line, function, expression);
    std::abort();
#endif
}

void zkReportNoMemory(std::int64_t bytes)
{
    std::fflush(stdout); // neither abort() nor a signal writes what is buffered
    std::fprintf(stderr, "libzk: no memory for %lld bytes\n", static_cast<long long>(bytes));
}

void zkNoMemory(std::int64_t bytes)
{
    zkReportNoMemory(bytes);
    std::abort();
}

namespace
{

// A block is counted in int, and even an empty one needs an address of its own.
std::size_t checkedBytes(std::int64_t bytes)
{
    if (bytes > INT_MAX) {
        zkNoMemory(bytes);
    }
    return bytes < 1 ? 1 : static_cast<std::size_t>(bytes);
}

} // namespace

void *zkAllocate(std::int64_t bytes)
{
    void *block = std::malloc(checkedBytes(bytes));
    if (block == nullptr) {
        zkNoMemory(bytes);
    }
    return block;
}

void *zkReallocate(void *block, std::int64_t bytes)
{
    void *moved = std::realloc(block, checkedBytes(bytes));
    if (moved == nullptr) {
        zkNoMemory(bytes);
    }
    return moved;
}
