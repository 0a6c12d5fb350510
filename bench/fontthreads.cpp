// Glyphs of typefaces found by one thread and by two, with the same letters and with
// others. Times are per glyph of all threads together: two threads that do not disturb
// each other halve them.

#include "glyphmap.h"

#include <thread>

namespace
{

constexpr int kLine = 60;

void lines(benchmark::State &state, bool isShared)
{
    static const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    const std::uint32_t first = isShared || state.thread_index() == 0 ? 40 : 140;
    std::vector<std::uint32_t> indices;
    for (int i = 0; i < kLine; ++i) {
        indices.push_back(first + static_cast<std::uint32_t>(i * 7 % 26));
    }
    std::vector<const ZkGlyph *> glyphs(indices.size());
    for (auto _ : state) {
        ZkGlyphHolder holder;
        holder.fetch(face, plain(16), indices.data(), kLine, glyphs.data());
        benchmark::DoNotOptimize(glyphs.data());
    }
    state.SetItemsProcessed(state.iterations() * kLine);
}

void mapLines(benchmark::State &state)
{
    static FoundLine line(kLine, 26);
    const std::uint64_t style = ZkGlyphCache::key(line.face, 0, plain(16));
    std::vector<const ZkGlyph *> glyphs(line.indices.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < line.indices.size(); ++i) {
            const std::lock_guard<std::mutex> lock(line.mutex);
            glyphs[i] = line.map.find(style | line.indices[i])->second;
        }
        benchmark::DoNotOptimize(glyphs.data());
    }
    state.SetItemsProcessed(state.iterations() * kLine);
}

} // namespace

int main(int argc, char **argv)
{
    using benchmark::RegisterBenchmark;
    std::thread([] {}).join(); // from here on the process counts as one of many threads
    registerFound("found, several threads");
    for (const int threads : {1, 2}) {
        const std::string name = "lines/" + std::to_string(threads) + " threads";
        for (const bool isShared : {false, true}) {
            const char *const which = isShared ? ", the same letters/zk" : ", other letters/zk";
            RegisterBenchmark((name + which).c_str(), lines, isShared)
                ->Threads(threads)
                ->UseRealTime();
        }
        RegisterBenchmark((name + ", the same letters/map_mutex").c_str(), mapLines)
            ->Threads(threads)
            ->UseRealTime();
    }
    benchmark::Initialize(&argc, argv);
    // Not in this thread: its heap is where the glyphs lie.
    std::thread([] { benchmark::RunSpecifiedBenchmarks(); }).join();
}
