// Levels of a text beside those of the same text as code points and as an edit of another
// one, and the laws that runs and orders keep. The input: a byte of flags, two of the
// place of the edit, then a byte for each character, from a table of few of every class.
// Where ICU is at hand, beside ICU too.

#include <zkbidi.h>
#include <zktextbreaks.h>

#ifdef ZK_FUZZ_ICU
#    include "icuunicode.h"
#endif

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace
{

typedef std::vector<ZkUcs2> Units;

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

const ZkUcs2 kAlphabet[] = {
    'a',    'z',    0x05D0, 0x05D1, 0x0628, 0x0644, '1',    '2',    '+',    '-',    '%',
    '$',    0x0661, 0x0662, ',',    '.',    0x0301, 0x064B, 0x200C, 0x00AD, '\n',   '\r',
    0x2029, '\t',   ' ',    0x2003, '!',    '(',    ')',    '[',    ']',    0x2329, 0x232A,
    0x3008, 0x3009, 0x202A, 0x202B, 0x202C, 0x202D, 0x202E, 0x2066, 0x2067, 0x2068, 0x2069,
    0xD802, 0xDD00, 0xD83D, 0xDE00, 0xD800, 0xDC00, 0x0E01, 0x4E00, 0x200D, 0x200E, 0x200F};

Units textOf(const std::uint8_t *data, std::size_t size)
{
    Units text;
    for (std::size_t i = 0; i < size; ++i) {
        text.push_back(kAlphabet[data[i] % (sizeof kAlphabet / sizeof *kAlphabet)]);
    }
    return text;
}

/// A line's runs cover it once, and its order and levels are those of its runs.
void checkLine(const ZkBidi &bidi, int first, int last)
{
    const auto count = static_cast<std::size_t>(last - first);
    std::vector<ZkBidi::Run> runs(count + 1);
    const int found = bidi.visualRuns(first, last, runs.data(), static_cast<int>(count) + 1);
    std::vector<std::uint8_t> levels(count);
    bidi.lineLevels(first, last, levels.data());
    std::vector<int> order(count), expected, seen(count);
    bidi.visualOrder(first, last, order.data());
    for (int i = 0; i < found; ++i) {
        const ZkBidi::Run &run = runs[static_cast<std::size_t>(i)];
        require(first <= run.first && run.first < run.last && run.last <= last, "a run's range");
        for (int unit = run.first; unit < run.last; ++unit) {
            require(levels[static_cast<std::size_t>(unit - first)] == run.level, "a run's level");
            expected.push_back(run.isRightToLeft() ? run.first + run.last - 1 - unit : unit);
            ++seen[static_cast<std::size_t>(unit - first)];
        }
    }
    require(order == expected, "order and runs differ");
    require(std::count(seen.begin(), seen.end(), 1) == last - first, "runs do not cover the line");
}

void checkSame(const ZkBidi &a, const ZkBidi &b)
{
    require(a.size() == b.size() && a.paragraphCount() == b.paragraphCount() &&
                a.baseLevel() == b.baseLevel(),
            "sizes differ");
    for (int i = 0; i < a.size(); ++i) {
        require(a.level(i) == b.level(i), "levels differ");
    }
}

#ifdef ZK_FUZZ_ICU

/// The standard pairs no brackets behind 63 that are open, ICU does.
bool mayBeTooDeep(const Units &text)
{
    return std::count_if(text.begin(), text.end(), [](ZkUcs2 unit) {
               return zkCharacter(unit).bracket == ZkCharacter::BracketOpen;
           }) > 63;
}

/// Where ICU goes its own way, see tests/support/icuunicode.h.
bool isOfIcu(const Units &text)
{
    const auto isAngle = [](ZkUcs2 unit) { return unit == 0x2329 || unit == 0x232A; };
    return icuunicode::hasMarkedBracket(text) || icuunicode::hasEndBehindEnd(text) ||
           icuunicode::hasOverriddenBracket(text) || mayBeTooDeep(text) ||
           std::any_of(text.begin(), text.end(), isAngle);
}

void checkBesideIcu(const Units &text, ZkBidi::Direction direction, int cut)
{
    static icuunicode::IcuBidi icu;
    ZkBidi bidi;
    require(icuunicode::sameDirections(text, bidi, icu, direction, cut) || isOfIcu(text),
            "ICU has other levels or another order");
}

#else

void checkBesideIcu(const Units &, ZkBidi::Direction, int)
{
}

#endif

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 3 || size > 4096) {
        return 0;
    }
    const auto direction = static_cast<ZkBidi::Direction>(data[0] & 3);
    Units text = textOf(data + 3, size - 3);
    const int count = static_cast<int>(text.size());
    ZkBidi bidi;
    bidi.setText(text.data(), count, direction);
    for (int i = 0; i < bidi.paragraphCount(); ++i) {
        const ZkBidi::Paragraph paragraph = bidi.paragraph(i);
        require(i == 0 || paragraph.first == bidi.paragraph(i - 1).last, "a gap");
        require(paragraph.first < paragraph.last, "an empty paragraph");
        const int middle = paragraph.first + (paragraph.last - paragraph.first) * data[1] / 256;
        checkLine(bidi, paragraph.first, paragraph.last);
        checkLine(bidi, paragraph.first, middle);
        checkLine(bidi, middle, paragraph.last);
        // A paragraph by itself is the same.
        ZkBidi alone;
        alone.setText(text.data() + paragraph.first, paragraph.last - paragraph.first, direction);
        for (int unit = paragraph.first; unit < paragraph.last; ++unit) {
            require(alone.level(unit - paragraph.first) == bidi.level(unit), "not the same alone");
        }
    }
    checkBesideIcu(text, direction, data[1] * 100 / 256);
    // A caller's buffer is large enough, and an edit leads to the same.
    std::vector<std::int64_t> buffer(static_cast<std::size_t>(ZkBidi::bufferSize(count) / 8 + 1));
    ZkBidi inBuffer(buffer.data(), ZkBidi::bufferSize(count));
    inBuffer.setText(text.data(), count, direction);
    checkSame(bidi, inBuffer);
    ZkTextCharacters characters;
    characters.setText(text.data(), count);
    const int first = count == 0 ? 0 : data[1] % (count + 1);
    const int removed = std::min(count - first, int(data[2] & 7));
    const Units inserted = textOf(data + 3, std::min<std::size_t>(size - 3, data[2] >> 3 & 7));
    text.erase(text.begin() + first, text.begin() + first + removed);
    text.insert(text.begin() + first, inserted.begin(), inserted.end());
    const int added = static_cast<int>(inserted.size());
    characters.edit(text.data(), first, removed, added);
    bidi.edit(characters, first, removed, added);
    ZkBidi fresh;
    fresh.setText(text.data(), static_cast<int>(text.size()), direction);
    checkSame(bidi, fresh);
    return 0;
}
