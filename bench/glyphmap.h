#ifndef ZK_BENCH_GLYPHMAP_H
#define ZK_BENCH_GLYPHMAP_H

#include "private/zkglyphlease.h"
#include <zkfontcache.h>
#include <zkglyphcache.h>

#include <benchmark/benchmark.h>

#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

/// Glyphs of a line of text that are in the cache: found and let go. Beside the cache of
/// typefaces stand what a host writes first, a map under a mutex, and the classic path.
/// Shared by two programs: in one the process has a single thread, in the other several.

inline ZkFont plain(int size)
{
    return ZkFont(static_cast<unsigned char>(size), false, false, false, false);
}

struct FoundLine {
    explicit FoundLine(int length, int distinct) : face(ZkTypeface::fromFile(ZK_FONT_DEJAVU))
    {
        for (int i = 0; i < length; ++i) {
            const auto c = static_cast<ZkUcs2>('a' + i * 7 % distinct);
            units.push_back(c);
            indices.push_back(face.glyphIndex(c));
        }
        glyphs.resize(units.size());
        records.resize(units.size());
        keep.fetch(face, plain(16), indices.data(), length, glyphs.data());
        for (const ZkGlyph *glyph : glyphs) {
            map[glyph->key()] = glyph;
        }
        static const bool isOpen = ZkFontCache::instance()->setFontFile(ZK_FONT_DEJAVU);
        benchmark::DoNotOptimize(isOpen);
        classic.fetch(units.data(), length, plain(16), records.data());
    }

    int length() const { return static_cast<int>(indices.size()); }

    ZkTypeface face;
    std::vector<ZkUcs2> units;
    std::vector<std::uint32_t> indices;
    std::vector<const ZkGlyph *> glyphs;
    std::vector<const GlyphBitmap *> records;
    ZkGlyphHolder keep;
    ZkGlyphLease classic;
    std::unordered_map<std::uint64_t, const ZkGlyph *> map;
    std::mutex mutex;
};

inline void foundZk(benchmark::State &state, int length, int distinct)
{
    FoundLine line(length, distinct);
    ZkGlyphHolder holder;
    for (auto _ : state) {
        holder.fetch(line.face, plain(16), line.indices.data(), length, line.glyphs.data());
        benchmark::DoNotOptimize(line.glyphs.data());
        holder.clear();
    }
    state.SetItemsProcessed(state.iterations() * length);
}

// As a text that is laid out again: its glyphs are held.
inline void heldZk(benchmark::State &state, int length, int distinct)
{
    FoundLine line(length, distinct);
    for (auto _ : state) {
        line.keep.fetch(line.face, plain(16), line.indices.data(), length, line.glyphs.data());
        benchmark::DoNotOptimize(line.glyphs.data());
    }
    state.SetItemsProcessed(state.iterations() * length);
}

inline void foundMap(benchmark::State &state, int length, int distinct)
{
    FoundLine line(length, distinct);
    const std::uint64_t style = ZkGlyphCache::key(line.face, 0, plain(16));
    for (auto _ : state) {
        for (std::size_t i = 0; i < line.indices.size(); ++i) {
            const std::lock_guard<std::mutex> lock(line.mutex);
            line.glyphs[i] = line.map.find(style | line.indices[i])->second;
        }
        benchmark::DoNotOptimize(line.glyphs.data());
    }
    state.SetItemsProcessed(state.iterations() * length);
}

inline void foundClassic(benchmark::State &state, int length, int distinct)
{
    FoundLine line(length, distinct);
    for (auto _ : state) {
        ZkGlyphLease lease;
        lease.fetch(line.units.data(), length, plain(16), line.records.data());
        benchmark::DoNotOptimize(line.records.data());
    }
    state.SetItemsProcessed(state.iterations() * length);
}

inline void registerFound(const std::string &prefix)
{
    const struct {
        const char *name;
        int length, distinct;
    } kLines[] = {{"label_12", 12, 10}, {"line_60", 60, 26}, {"text_2000", 2000, 26}};
    for (const auto &line : kLines) {
        const std::string name = prefix + "/" + line.name;
        const int length = line.length, distinct = line.distinct;
        benchmark::RegisterBenchmark((name + "/zk").c_str(), foundZk, length, distinct);
        benchmark::RegisterBenchmark((name + "/zk_held").c_str(), heldZk, length, distinct);
        benchmark::RegisterBenchmark((name + "/map_mutex").c_str(), foundMap, length, distinct);
        benchmark::RegisterBenchmark((name + "/classic").c_str(), foundClassic, length, distinct);
    }
}

#endif
