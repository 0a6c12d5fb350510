// A needle in a haystack, forwards and backwards, with and without regard to case,
// beside a comparison at every place. The input: a byte of flags, two of the start,
// two of the needle's size, then units of two bytes, the needle's first.

#include "../tests/stringmodel.h"

#include <zkstring.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace
{

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

/// The last index up to `from` where `n` stands in `h`, or -1.
int findLast(const model::Units &h, int from, const model::Units &n)
{
    int last = -1;
    for (int at = 0; (at = model::find(h, at, n)) != -1 && at <= from; ++at) {
        last = at;
    }
    return last;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 5) {
        return 0;
    }
    // With few letters near misses are many; the other alphabet is all units.
    const bool fewLetters = (data[0] & 1) != 0;
    const bool sensitive = (data[0] & 2) != 0;
    const auto cs = sensitive ? Zk::CaseSensitive : Zk::CaseInsensitive;
    static const ZkUcs2 kLetters[] = {'a', 'A', 'k', 0x212A, 0xD801, 0xDC00, 0xDC50, 0x661};
    model::Units all;
    for (std::size_t i = 5; i + 1 < size; i += 2) {
        all.push_back(fewLetters ? kLetters[data[i] % 8]
                                 : static_cast<ZkUcs2>(data[i] | data[i + 1] << 8));
    }
    const auto nl = std::min(all.size(), std::size_t(data[3] | data[4] << 8));
    const model::Units n(all.begin(), all.begin() + std::ptrdiff_t(nl));
    const model::Units h(all.begin() + std::ptrdiff_t(nl), all.end());
    const int from = (data[1] | data[2] << 8) % (int(h.size()) + 2);
    const int expected = model::find(h, from, n, sensitive);

    require(zkFindString(h.data(), int(h.size()), from, n.data(), int(nl), cs) == expected,
            "first place differs");
    if (nl != 1) { // one unit is folded alone by one search, with its neighbour by the other
        require(zkFindStringBoyerMoore(h.data(), int(h.size()), from, n.data(), int(nl), cs) ==
                    expected,
                "first place of the long search differs");
        const ZkString haystack(h.data(), int(h.size()));
        const ZkString needle(n.data(), int(nl));
        if (nl > 0 && from < int(h.size())) {
            const model::Units text = sensitive ? h : model::foldedText(h);
            const model::Units wanted = sensitive ? n : model::foldedText(n);
            require(haystack.lastIndexOf(needle, from, cs) == findLast(text, from, wanted),
                    "last place differs");
        }
    }
    return 0;
}
