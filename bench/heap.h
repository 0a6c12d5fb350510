#ifndef ZK_BENCH_HEAP_H
#define ZK_BENCH_HEAP_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <malloc.h>

/// Bytes from `malloc` that are in use.
inline std::size_t heap()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Reports the bytes that `take(before)` tells as nanoseconds. `before` is what was in use.
template <typename Take>
void memoryOf(benchmark::State &state, Take take)
{
    for (auto _ : state) {
        const std::size_t before = heap();
        const std::size_t bytes = take(before);
        state.SetIterationTime(static_cast<double>(bytes) * 1e-9);
    }
}

#endif
