// Boundaries of a text of any units: the same for units and code points, by kind and all
// at once, as an edit of another text; and the laws that they keep. The input: a byte of
// flags, two of the place of the edit, then units of two bytes, or one byte from a
// table where the lowest flag is set. Where ICU is at hand, beside ICU too.

#include <zktextbreaks.h>

#ifdef ZK_FUZZ_ICU
#    include "icuunicode.h"
#endif

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{

typedef std::vector<ZkUcs2> Units;
typedef std::vector<std::uint8_t> Flags;

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

const ZkUcs2 kAlphabet[] = {'a',    '.',    ',',    '1',    '(',    ')',    '$',    '%',    '\'',
                            '"',    '-',    '/',    ' ',    '\n',   '\r',   0x2028, 0x0301, 0x200D,
                            0x05D0, 0x05D1, 0x0E01, 0x0E40, 0x0E32, 0x17D2, 0x1780, 0xD83C, 0xDDE6,
                            0xDFFB, 0xD83D, 0xDC69, 0x1100, 0x1161, 0x11A8, 0xAC00, 0xAC01, 0x30AB,
                            0x4E00, 0x2014, 0x00AD, 0x200B, 0x2060, 0x00A0, 0x0600, 0x0903, '_'};

Units textOf(const std::uint8_t *data, std::size_t size, bool fromTable)
{
    Units text;
    for (std::size_t i = 0; i + (fromTable ? 0 : 1) < size; i += fromTable ? 1 : 2) {
        text.push_back(fromTable ? kAlphabet[data[i] % (sizeof kAlphabet / sizeof *kAlphabet)]
                                 : static_cast<ZkUcs2>(data[i] | data[i + 1] << 8));
    }
    return text;
}

/// A word before every second letter of a run.
class EverySecond : public ZkWordBreaker
{
public:
    void findWords(const ZkUcs2 *, int units, std::uint8_t *starts) override
    {
        for (int i = 0; i < units; i += 2) {
            starts[i] = 1;
        }
    }
};

Flags found(const Units &text, unsigned kinds, ZkWordBreaker *breaker)
{
    Flags flags(text.size() + 1, 0xEE);
    ZkTextBreaks::find(text.data(), static_cast<int>(text.size()), flags.data(),
                       ZkTextBreaks::BetweenClusters, breaker, kinds);
    return flags;
}

#ifdef ZK_FUZZ_ICU

void checkBesideIcu(const Units &text)
{
    for (const icuunicode::Kind &kind : icuunicode::kKinds) {
        icuunicode::Deviations deviations;
        icuunicode::IcuBreaks icu(kind.type);
        const Units kept = icuunicode::withoutDictionary(text, kind.flag, &deviations);
        require(icuunicode::sameBreaks(kept, kind, icu, deviations), kind.name);
    }
}

#else

void checkBesideIcu(const Units &)
{
}

#endif

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 3 || size > 4096) {
        return 0;
    }
    const bool fromTable = (data[0] & 1) != 0;
    EverySecond words;
    ZkWordBreaker *const breaker = (data[0] & 2) != 0 ? &words : nullptr;
    Units text = textOf(data + 3, size - 3, fromTable);
    const Flags all = found(text, ZkTextBreaks::AllKinds, breaker);
    Flags together(all.size());
    for (const unsigned kinds : {unsigned(ZkTextBreaks::Lines), unsigned(ZkTextBreaks::Grapheme),
                                 unsigned(ZkTextBreaks::Word)}) {
        const Flags one = found(text, kinds, breaker);
        for (std::size_t i = 0; i < one.size(); ++i) {
            require((one[i] & ~kinds) == 0, "a flag that was not asked for");
            together[i] = static_cast<std::uint8_t>(together[i] | one[i]);
        }
    }
    require(together == all, "kinds apart and at once differ");
    std::u32string points;
    Flags ofPoints;
    for (std::size_t i = 0; i < text.size(); ++i) {
        ofPoints.push_back(all[i]);
        const bool isPair =
            (text[i] & 0xFC00) == 0xD800 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
        points.push_back(isPair ? (char32_t(text[i]) << 10) + text[i + 1] - 0x35FDC00
                                : char32_t(text[i]));
        if (isPair) {
            require(all[++i] == 0, "a flag within a pair");
        }
        require((all[i] & ZkTextBreaks::LineMandatory) == 0 ||
                    (all[i] & ZkTextBreaks::LineAllowed) != 0,
                "must without may");
    }
    ofPoints.push_back(all.back());
    checkBesideIcu(text);
    if (breaker == nullptr) { // positions of its answers are units
        Flags again(points.size() + 1);
        ZkTextBreaks::find(points.data(), static_cast<int>(points.size()), again.data());
        require(again == ofPoints, "units and code points differ");
    }
    ZkTextCharacters characters;
    ZkTextBreaks breaks;
    breaks.setWordBreaker(breaker);
    characters.setText(text.data(), static_cast<int>(text.size()));
    breaks.setText(characters);
    require(Flags(breaks.flags(), breaks.flags() + text.size() + 1) == all, "looked up before");
    const int count = static_cast<int>(text.size());
    const int first = count == 0 ? 0 : data[1] % (count + 1);
    const int removed = std::min(count - first, int(data[2] & 7));
    const Units inserted =
        textOf(data + 3, std::min<std::size_t>(size - 3, data[2] >> 3 & 15), fromTable);
    text.erase(text.begin() + first, text.begin() + first + removed);
    text.insert(text.begin() + first, inserted.begin(), inserted.end());
    characters.edit(text.data(), first, removed, static_cast<int>(inserted.size()));
    breaks.edit(characters, first, removed, static_cast<int>(inserted.size()));
    require(Flags(breaks.flags(), breaks.flags() + text.size() + 1) ==
                found(text, ZkTextBreaks::AllKinds, breaker),
            "an edit and the new text differ");
    return 0;
}
