// Labels laid out by one and by two threads. Counting owners takes a locked
// instruction as soon as a process has a second thread, so the single thread here
// has an idle one beside it. Times are per character of all threads together: two
// threads that do not disturb each other halve them. The number of rounds is given,
// for each trial would start a thread more, and the ninth shares the first one's lock.

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

/// Renders the alphabets of both texts, as any screen has soon done: the records that
/// two threads count in are then as far apart as their letters.
void warmUp()
{
    std::string letters;
    for (char c = ' '; c <= '~'; ++c) {
        letters += c;
    }
    ZkString alphabets(letters.c_str());
    for (ZkUcs2 c = 0x0410; c <= 0x044F; ++c) { // А to я
        alphabets.append(c);
    }
    const ZkFontMetrics rendered(alphabets, ZkFont());
}

} // namespace

int main(int argc, char **argv)
{
    std::thread([] {}).join(); // from here on the process counts as one of many threads
    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    warmUp();
    registerHits("hit, several threads");
    for (const int threads : {1, 2}) {
        const std::string name = "labels/" + std::to_string(threads) + " threads";
        benchmark::RegisterBenchmark((name + ", other letters/zk").c_str(), labels, false)
            ->Threads(threads)
            ->Iterations(1000000)
            ->UseRealTime();
        benchmark::RegisterBenchmark((name + ", the same letters/zk").c_str(), labels, true)
            ->Threads(threads)
            ->Iterations(1000000)
            ->UseRealTime();
    }
    benchmark::Initialize(&argc, argv);
    // Not in this thread: its heap is where the glyphs lie, so what it writes there
    // may stand in one cache line with what the other thread reads.
    std::thread([] { benchmark::RunSpecifiedBenchmarks(); }).join();
}
