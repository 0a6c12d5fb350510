#include "zkthaiwords.h"

#include <cstdlib>

#include <thai/thbrk.h>

struct ZkThaiWordsData {
    ThBrk *dictionary;
    thchar_t *letters; // of one stretch, as libthai reads them, with a 0 behind them
    int *places;       // where its words begin
    int capacity;      // letters that have room, the 0 not among them
};

namespace
{

// libthai reads TIS-620, in which the Thai block stands in the order of Unicode.
constexpr ZkUcs2 kFirstThai = 0x0E01, kLastThai = 0x0E5B;
constexpr int kFirstByte = 0xA1;

bool isThai(ZkUcs2 unit)
{
    return unit >= kFirstThai && unit <= kLastThai;
}

/// Room for a stretch of `units`; false without memory.
bool reserve(ZkThaiWordsData &data, int units)
{
    if (units <= data.capacity) {
        return true;
    }
    const std::size_t count = static_cast<std::size_t>(units);
    void *const letters = std::malloc(count + 1);
    void *const places = std::malloc(count * sizeof(int));
    if (letters == nullptr || places == nullptr) {
        std::free(letters);
        std::free(places);
        return false;
    }
    std::free(data.letters);
    std::free(data.places);
    data.letters = static_cast<thchar_t *>(letters);
    data.places = static_cast<int *>(places);
    data.capacity = units;
    return true;
}

/// Words of a stretch of Thai letters; false without memory.
bool findThai(ZkThaiWordsData &data, const ZkUcs2 *text, int units, std::uint8_t *starts)
{
    if (!reserve(data, units)) {
        return false;
    }
    for (int i = 0; i < units; ++i) {
        data.letters[i] = static_cast<thchar_t>(text[i] - kFirstThai + kFirstByte);
    }
    data.letters[units] = 0;
    const int count = th_brk_find_breaks(data.dictionary, data.letters, data.places,
                                         static_cast<std::size_t>(units));
    for (int i = 0; i < count; ++i) {
        starts[data.places[i]] = 1;
    }
    return true;
}

/// What the library does where nobody knows the words: lines end between clusters.
void findClusters(const ZkUcs2 *text, int units, std::uint8_t *starts)
{
    constexpr int kFew = 128;
    std::uint8_t few[kFew + 1];
    std::uint8_t *flags = few;
    if (units > kFew) {
        flags = static_cast<std::uint8_t *>(std::malloc(static_cast<std::size_t>(units) + 1));
        if (flags == nullptr) {
            return;
        }
    }
    ZkTextBreaks::find(text, units, flags);
    for (int i = 1; i < units; ++i) {
        starts[i] = (flags[i] & ZkTextBreaks::LineAllowed) != 0 ? 1 : 0;
    }
    if (flags != few) {
        std::free(flags);
    }
}

} // namespace

ZkThaiWords::ZkThaiWords() : ZkThaiWords(nullptr)
{
}

ZkThaiWords::ZkThaiWords(const char *folder) : d(nullptr)
{
    ThBrk *const dictionary = th_brk_new(folder);
    if (dictionary == nullptr) {
        return;
    }
    d = static_cast<ZkThaiWordsData *>(std::calloc(1, sizeof(ZkThaiWordsData)));
    if (d == nullptr) {
        th_brk_delete(dictionary);
        return;
    }
    d->dictionary = dictionary;
}

ZkThaiWords::~ZkThaiWords()
{
    if (d != nullptr) {
        th_brk_delete(d->dictionary);
        std::free(d->letters);
        std::free(d->places);
        std::free(d);
    }
}

void ZkThaiWords::findWords(const ZkUcs2 *run, int units, std::uint8_t *starts)
{
    for (int first = 0, last; first < units; first = last) {
        const bool thai = isThai(run[first]);
        for (last = first + 1; last < units && isThai(run[last]) == thai; ++last) {
        }
        if (first > 0) {
            starts[first] = 1;
        }
        if (!thai || d == nullptr || !findThai(*d, run + first, last - first, starts + first)) {
            findClusters(run + first, last - first, starts + first);
        }
    }
}
