#include "zkthaiwords.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include <thai/thbrk.h>

/// Stretches that were asked for before, each in the one place that its letters lead to.
struct ZkKnownThai {
    static constexpr int kPlaces = 64, kMostUnits = 96;

    struct Stretch {
        int units = 0;
        ZkUcs2 text[kMostUnits];
        std::uint8_t starts[kMostUnits + 1];

        bool is(const ZkUcs2 *other, int count) const
        {
            return units == count &&
                   std::memcmp(text, other, static_cast<std::size_t>(count) * sizeof *text) == 0;
        }
    };

    Stretch &placeOf(const ZkUcs2 *text, int units)
    {
        std::uint32_t sum = 0;
        for (int i = 0; i < units; ++i) {
            sum = (sum ^ text[i]) * 0x9E3779B1u;
        }
        return stretches[sum >> 26]; // its six highest bits
    }

    Stretch stretches[kPlaces];
};

namespace
{

// libthai reads TIS-620, in which the Thai block stands in the order of Unicode.
constexpr ZkUcs2 kFirstThai = 0x0E01, kLastThai = 0x0E5B;
constexpr int kFirstByte = 0xA1;

/// libthai takes time with the square of the length beyond some thousand letters, so a
/// longer stretch is read through a window. The last words in it are looked at again in
/// the next one, which shows what follows them.
constexpr int kWindow = 2048, kAgain = 128;

bool isThai(ZkUcs2 unit)
{
    return unit >= kFirstThai && unit <= kLastThai;
}

/// Words of at most kWindow Thai letters. Returns their number; `places` has room for each.
int findInWindow(ThBrk *dictionary, const ZkUcs2 *text, int units, int *places)
{
    thchar_t letters[kWindow + 1];
    for (int i = 0; i < units; ++i) {
        letters[i] = static_cast<thchar_t>(text[i] - kFirstThai + kFirstByte);
    }
    letters[units] = 0;
    return th_brk_find_breaks(dictionary, letters, places, static_cast<std::size_t>(units));
}

/// Words of a stretch of Thai letters.
void findThai(ThBrk *dictionary, const ZkUcs2 *text, int units, std::uint8_t *starts)
{
    int places[kWindow];
    for (int first = 0, next; first < units; first = next) {
        const bool last = units - first <= kWindow;
        const int count =
            findInWindow(dictionary, text + first, last ? units - first : kWindow, places);
        next = last ? units : first + kWindow;
        for (int i = 0; i < count; ++i) {
            starts[first + places[i]] = 1;
            if (!last && places[i] >= kWindow - kAgain) {
                next = first + places[i];
                break;
            }
        }
    }
}

/// The same through what is known already.
void findKnown(ThBrk *dictionary, ZkKnownThai *known, const ZkUcs2 *text, int units,
               std::uint8_t *starts)
{
    if (known == nullptr || units > ZkKnownThai::kMostUnits) {
        findThai(dictionary, text, units, starts);
        return;
    }
    ZkKnownThai::Stretch &stretch = known->placeOf(text, units);
    const std::size_t count = static_cast<std::size_t>(units);
    if (!stretch.is(text, units)) {
        stretch.units = units;
        std::memcpy(stretch.text, text, count * sizeof *text);
        std::memset(stretch.starts, 0, count);
        findThai(dictionary, text, units, stretch.starts);
    }
    for (std::size_t i = 1; i < count; ++i) {
        starts[i] = stretch.starts[i] != 0 ? 1 : starts[i];
    }
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

ZkThaiWords::ZkThaiWords(const char *file)
    : m_dictionary(th_brk_new(file)),
      m_known(m_dictionary == nullptr ? nullptr : new (std::nothrow) ZkKnownThai)
{
}

ZkThaiWords::~ZkThaiWords()
{
    delete m_known;
    if (m_dictionary != nullptr) {
        th_brk_delete(m_dictionary);
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
        if (thai && isValid()) {
            findKnown(m_dictionary, m_known, run + first, last - first, starts + first);
        } else {
            findClusters(run + first, last - first, starts + first);
        }
    }
}
