// The cases of a benchmark program, each run three times: to warm up, with the rounds
// asked for, and with twice as many. The counter prints a line at the end of every
// run; behind it comes one of ours:
//
//     run CASE ROUNDS ITEMS

#include "benchmark/benchmark.h"

#include "marks.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <regex.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace benchmark
{

namespace
{

struct Pattern {
    regex_t expression;
    std::int64_t rounds;
};

std::vector<std::unique_ptr<Benchmark>> &cases()
{
    static std::vector<std::unique_ptr<Benchmark>> all;
    return all;
}

std::vector<Pattern> patterns;

void mark(int which)
{
    syscall(kMarkCall, which); // fails: it says something to the counter alone
}

[[noreturn]] void fail(const char *what, const char *which)
{
    std::fprintf(stderr, "armcount: %s: %s\n", which, what);
    std::_Exit(1);
}

std::int64_t roundsFor(const std::string &name)
{
    for (const Pattern &pattern : patterns) {
        if (regexec(&pattern.expression, name.c_str(), 0, nullptr, 0) == 0) {
            return pattern.rounds;
        }
    }
    return 0;
}

void runOnce(const Benchmark &which, std::int64_t rounds)
{
    State state(rounds);
    which.run(state);
    std::printf("run %s %lld %lld\n", which.name.c_str(), static_cast<long long>(rounds),
                static_cast<long long>(state.items()));
    std::fflush(stdout);
}

void runInChild(const Benchmark &which, std::int64_t rounds)
{
    const pid_t child = fork();
    if (child == 0) {
        runOnce(which, rounds);
        runOnce(which, rounds);
        runOnce(which, 2 * rounds);
        std::_Exit(0);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (child < 0 || status != 0) {
        fail("did not run to its end", which.name.c_str());
    }
}

} // namespace

void State::start()
{
    mark(kMarkStart);
}

void State::stop()
{
    mark(kMarkStop);
}

void State::PauseTiming()
{
    mark(kMarkPause);
}

void State::ResumeTiming()
{
    mark(kMarkResume);
}

void State::SkipWithError(const char *why)
{
    fail(why, "a case");
}

Benchmark *addCase(const char *name, std::function<void(State &)> run)
{
    cases().push_back(std::make_unique<Benchmark>(Benchmark{name, std::move(run)}));
    return cases().back().get();
}

void Initialize(int *argc, char **argv)
{
    for (int i = 1; i + 1 < *argc; i += 2) {
        Pattern pattern{{}, std::atoll(argv[i + 1])};
        if (regcomp(&pattern.expression, argv[i], REG_EXTENDED | REG_NOSUB) != 0 ||
            pattern.rounds <= 0) {
            fail("no pattern and number of rounds", argv[i]);
        }
        patterns.push_back(pattern);
    }
    *argc = 1;
}

bool ReportUnrecognizedArguments(int, char **)
{
    return false;
}

std::size_t RunSpecifiedBenchmarks()
{
    std::size_t ran = 0;
    for (const std::unique_ptr<Benchmark> &one : cases()) {
        if (const std::int64_t rounds = roundsFor(one->name)) {
            runInChild(*one, rounds);
            ++ran;
        }
    }
    return ran;
}

void Shutdown()
{
}

} // namespace benchmark
