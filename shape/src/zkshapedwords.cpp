#include "zkshapedwords.h"

#include "zkrunshaper.h"

#include <new>

ZkShapedWords::ZkShapedWords(std::size_t budget)
    : d(new (std::nothrow) ZkShapedWordsData(budget, kMostIdleStyles))
{
}

ZkShapedWords::~ZkShapedWords()
{
    delete d;
}

ZkShapedWords &ZkShapedWords::shared()
{
    // Hosts shape text until the very end, in destructors of static objects too.
    alignas(ZkShapedWords) static unsigned char place[sizeof(ZkShapedWords)];
    static ZkShapedWords *const words = new (place) ZkShapedWords;
    return *words;
}

void ZkShapedWords::setBudget(std::size_t bytes)
{
    if (d != nullptr) {
        const std::lock_guard<std::mutex> guard(d->lock);
        d->words.setBudget(bytes);
    }
}

ZkShapedWords::Stats ZkShapedWords::stats() const
{
    Stats stats = {};
    if (d != nullptr) {
        const std::lock_guard<std::mutex> guard(d->lock);
        stats.budget = d->words.budget();
        stats.bytes = d->words.bytes();
        stats.peakBytes = d->words.peakBytes();
        stats.words = d->words.size();
        stats.hits = d->hits;
        stats.misses = d->misses;
        stats.evicted = d->words.evicted();
        stats.styles = d->styles.styleCount();
        stats.faces = d->styles.faceCount();
    }
    return stats;
}

void ZkShapedWords::clear()
{
    if (d != nullptr) {
        d->styles.forgetIdle(0);
        const std::lock_guard<std::mutex> guard(d->lock);
        d->words.clear();
        d->hits = d->misses = 0;
    }
}
