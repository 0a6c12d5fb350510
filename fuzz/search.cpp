// A needle in a haystack by every search and comparison, beside a comparison at
// every place. The input: a byte of flags, two of the start, two of the needle's
// size, then units of two bytes, the needle's first.

#include "stringsearches.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace
{

void require(const std::string &difference)
{
    if (!difference.empty()) {
        std::fprintf(stderr, "%s differs\n", difference.c_str());
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 5) {
        return 0;
    }
    // With few letters near misses are many; the other alphabet is all units.
    const bool fewLetters = (data[0] & 1) != 0;
    static const ZkUcs2 kLetters[] = {'a', 'A', 'k', 0x212A, 0xD801, 0xDC00, 0xDC50, 0x661};
    model::Units all;
    for (std::size_t i = 5; i + 1 < size; i += 2) {
        all.push_back(fewLetters ? kLetters[data[i] % 8]
                                 : static_cast<ZkUcs2>(data[i] | data[i + 1] << 8));
    }
    const auto nl = std::min(all.size(), std::size_t(data[3] | data[4] << 8));
    const model::Units n(all.begin(), all.begin() + std::ptrdiff_t(nl));
    const model::Units h(all.begin() + std::ptrdiff_t(nl), all.end());
    const StringSearches searches(h, n, (data[0] & 2) != 0);
    require(searches.differenceFrom((data[1] | data[2] << 8) % (int(h.size()) + 2)));
    require(searches.difference());
    return 0;
}
