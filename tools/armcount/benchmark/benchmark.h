#ifndef ZK_ARMCOUNT_BENCHMARK_H
#define ZK_ARMCOUNT_BENCHMARK_H

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

/// Stands in for Google Benchmark when instructions are counted: the programs in bench/
/// are compiled with this header as they are, and each case runs a given number of
/// rounds between two marks instead of being timed. Only what those programs use.
namespace benchmark
{

class State
{
public:
    explicit State(std::int64_t rounds) : m_rounds(rounds) {}

    class Iterator
    {
    public:
        struct __attribute__((unused)) Value {
        };

        explicit Iterator(State *state) : m_state(state), m_left(state ? state->m_rounds : 0) {}
        Value operator*() const { return Value(); }
        Iterator &operator++()
        {
            --m_left;
            return *this;
        }
        bool operator!=(const Iterator &)
        {
            if (__builtin_expect(m_left != 0, true)) {
                return true;
            }
            m_state->stop();
            return false;
        }

    private:
        State *m_state;
        std::int64_t m_left;
    };

    /// The first mark is set here: what a case does before its loop is not counted.
    Iterator begin()
    {
        start();
        return Iterator(this);
    }
    Iterator end() { return Iterator(nullptr); }

    std::int64_t iterations() const { return m_rounds; }
    int thread_index() const { return 0; }
    void SetItemsProcessed(std::int64_t items) { m_items = items; }
    void SetBytesProcessed(std::int64_t) {}
    void SetIterationTime(double) {}
    void SkipWithError(const char *why);
    void PauseTiming();
    void ResumeTiming();

    std::int64_t items() const { return m_items > 0 ? m_items : m_rounds; }

private:
    void start();
    void stop();

    std::int64_t m_rounds;
    std::int64_t m_items = 0;
};

/// What RegisterBenchmark returns; threads and clocks mean nothing here.
struct Benchmark {
    std::string name;
    std::function<void(State &)> run;

    Benchmark *Threads(int) { return this; }
    Benchmark *Iterations(std::int64_t) { return this; }
    Benchmark *UseRealTime() { return this; }
    Benchmark *UseManualTime() { return this; }
};

Benchmark *addCase(const char *name, std::function<void(State &)> run);

template <typename Run, typename... Args>
Benchmark *RegisterBenchmark(const char *name, Run run, Args... args)
{
    return addCase(name, [=](State &state) { run(state, args...); });
}

template <typename T>
inline __attribute__((always_inline)) void DoNotOptimize(const T &value)
{
    asm volatile("" : : "r,m"(value) : "memory");
}
template <typename T>
inline __attribute__((always_inline)) void DoNotOptimize(T &value)
{
    asm volatile("" : "+m,r"(value) : : "memory");
}
inline __attribute__((always_inline)) void ClobberMemory()
{
    asm volatile("" : : : "memory");
}

/// Takes the arguments: pairs of a pattern (extended regular expression) and a number
/// of rounds. A case runs by the first pattern that fits its name, else not at all.
void Initialize(int *argc, char **argv);
bool ReportUnrecognizedArguments(int argc, char **argv);

/// Runs every case in a process of its own, so that none sees what another left.
std::size_t RunSpecifiedBenchmarks();
void Shutdown();

} // namespace benchmark

#endif
