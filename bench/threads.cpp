// Labels laid out by one and by two threads. Counting owners takes a locked
// instruction as soon as a process has a second thread, so the single thread here
// has an idle one beside it. Times are per character of all threads together: two
// threads that do not disturb each other halve them.

#include "hits.h"

#include <zkfontmetrics.h>

#include <benchmark/benchmark.h>

#include <string>
#include <thread>

namespace
{

// Twelve characters each; the second text has no character in common with the first.
const char *const kLabels[] = {"Settings 24%", "БДЁЖЗИЙЛПУФЦ"};

void labels(benchmark::State &state, bool isShared)
{
    const ZkString text(kLabels[isShared ? 0 : state.thread_index()]);
    for (auto _ : state) {
        ZkFontMetrics layout(text, ZkFont());
        layout.setWorpWrap(true);
        layout.setTextMinRect(0, 0, 400, 1000);
        benchmark::DoNotOptimize(layout.paintInfoList().size());
    }
    state.SetItemsProcessed(state.iterations() * text.size());
}

} // namespace

int main(int argc, char **argv)
{
    std::thread([] {}).join(); // from here on the process counts as one of many threads
    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    registerHits("hit, several threads");
    for (const int threads : {1, 2}) {
        const std::string name = "labels/" + std::to_string(threads) + " threads";
        benchmark::RegisterBenchmark((name + ", other letters/zk").c_str(), labels, false)
            ->Threads(threads)
            ->UseRealTime();
        benchmark::RegisterBenchmark((name + ", the same letters/zk").c_str(), labels, true)
            ->Threads(threads)
            ->UseRealTime();
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
