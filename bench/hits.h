#ifndef ZK_BENCH_HITS_H
#define ZK_BENCH_HITS_H

#include <zkfontcache.h>

#include <benchmark/benchmark.h>

#include <memory>
#include <pthread.h>
#include <string>
#include <vector>

/// Finding glyphs in the cache beside the parts that a look-up must have. Shared by
/// two programs: in one the process has a single thread, in the other several.

inline constexpr unsigned kFirst = 0x20, kLast = 0x7E; // ASCII
inline constexpr int kCharacters = kLast - kFirst + 1;

inline ZkFont sized(int size)
{
    return ZkFont(static_cast<unsigned char>(size), false, false, false, false);
}

inline ZkFontCache *cache()
{
    static const bool open = ZkFontCache::instance()->setFontFile(ZK_FONT_DEJAVU);
    benchmark::DoNotOptimize(open);
    return ZkFontCache::instance();
}

/// The parts that a look-up must have, and nothing else.
class BareTable
{
public:
    BareTable(const ZkFont &font)
    {
        for (unsigned code = kFirst; code <= kLast; ++code) {
            const GlyphBitmap *glyph = ZkFontCache::glyph(static_cast<ZkUcs2>(code), font);
            m_records.push_back(std::make_unique<GlyphBitmap>(*glyph));
            const unsigned key = code | unsigned(font.fontSize()) << 16;
            Node **link = &m_buckets[key % static_cast<unsigned>(m_buckets.size())];
            while (*link != nullptr) {
                link = &(*link)->next;
            }
            m_nodes.push_back(std::make_unique<Node>(Node{nullptr, key, m_records.back().get()}));
            *link = m_nodes.back().get();
        }
    }

    __attribute__((noinline)) const GlyphBitmap *glyph(unsigned code, const ZkFont &font)
    {
        pthread_rwlock_rdlock(&m_lock);
        const unsigned key = code | unsigned(font.fontSize()) << 16;
        const Node *node = m_buckets[key % static_cast<unsigned>(m_buckets.size())];
        while (node->key != key) {
            node = node->next;
        }
        __atomic_fetch_add(&node->record->useCount, 1, __ATOMIC_RELAXED);
        pthread_rwlock_unlock(&m_lock);
        return node->record;
    }

private:
    struct Node {
        Node *next;
        unsigned key;
        GlyphBitmap *record;
    };

    pthread_rwlock_t m_lock = PTHREAD_RWLOCK_INITIALIZER;
    std::vector<Node *> m_buckets = std::vector<Node *>(131); // as the store has for 95 keys
    std::vector<std::unique_ptr<Node>> m_nodes;
    std::vector<std::unique_ptr<GlyphBitmap>> m_records;
};

// Finding: ASCII characters in turn.

inline void hitZk(benchmark::State &state)
{
    const ZkFont font = sized(16);
    cache()->clean();
    for (unsigned code = kFirst; code <= kLast; ++code) {
        ZkFontCache::glyph(static_cast<ZkUcs2>(code), font);
    }
    for (auto _ : state) {
        for (unsigned code = kFirst; code <= kLast; ++code) {
            benchmark::DoNotOptimize(ZkFontCache::glyph(static_cast<ZkUcs2>(code), font));
        }
    }
    state.SetItemsProcessed(state.iterations() * kCharacters);
}

inline void hitByHand(benchmark::State &state)
{
    const ZkFont font = sized(16);
    cache()->clean();
    BareTable table(font);
    for (auto _ : state) {
        for (unsigned code = kFirst; code <= kLast; ++code) {
            benchmark::DoNotOptimize(table.glyph(code, font));
        }
    }
    state.SetItemsProcessed(state.iterations() * kCharacters);
}

inline void registerHits(const std::string &name)
{
    benchmark::RegisterBenchmark((name + "/zk").c_str(), hitZk);
    benchmark::RegisterBenchmark((name + "/by_hand").c_str(), hitByHand);
}

#endif
