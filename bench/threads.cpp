// Labels laid out by one and by two threads, by the classic engine and as paragraphs. Counting
// owners takes a locked instruction as soon as a process has a second thread, so the single thread
// here has an idle one beside it. Times are per character of all threads together: two threads that
// do not disturb each other halve them. The number of rounds is given, for each trial would start a
// thread more, and the ninth shares the first one's lock.

#include "hits.h"

#include <zkfontmetrics.h>
#include <zkparagraph.h>

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

// The same labels by the Unicode path, placed too.
void paragraphs(benchmark::State &state, bool isShared)
{
    static const ZkFontChain chain(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
    const ZkString text(kLabels[isShared ? 0 : state.thread_index()]);
    for (auto _ : state) {
        ZkParagraph label;
        label.setChain(chain);
        label.setText(text);
        label.setWidth(400);
        const ZkPlacedGlyph *glyphs = nullptr;
        benchmark::DoNotOptimize(label.glyphs(0, &glyphs));
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
    const struct {
        const char *name;
        void (*run)(benchmark::State &, bool);
    } kRows[] = {{"labels", labels}, {"paragraphs", paragraphs}};
    for (const auto &row : kRows) {
        for (const int threads : {1, 2}) {
            const std::string name = std::string(row.name) + '/' + std::to_string(threads);
            for (const bool isShared : {false, true}) {
                const char *const which = isShared ? "the same" : "other";
                benchmark::RegisterBenchmark((name + " threads, " + which + " letters/zk").c_str(),
                                             row.run, isShared)
                    ->Threads(threads)
                    ->Iterations(1000000)
                    ->UseRealTime();
            }
        }
    }
    benchmark::Initialize(&argc, argv);
    // Not in this thread: its heap is where the glyphs lie, so what it writes there
    // may stand in one cache line with what the other thread reads.
    std::thread([] { benchmark::RunSpecifiedBenchmarks(); }).join();
}
