#include "zkscriptrules.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr ZkUcs2 kSpace = 0x0020;
constexpr ZkUcs2 kLam = 0x0644;

constexpr bool isHebrew(ZkUcs2 c)
{
    return c >= 0x0590 && c <= 0x05FF;
}

constexpr bool isArabic(ZkUcs2 c)
{
    return (c >= 0x0600 && c <= 0x06FF) || (c >= 0x0750 && c <= 0x077F) ||
           (c >= 0xFB50 && c <= 0xFDFF) || (c >= 0xFE70 && c <= 0xFEFF);
}

// ASCII punctuation, digits and the at sign: inside a run they keep their own
// reading order.
constexpr bool isNeutralInRun(ZkUcs2 c)
{
    return c >= 0x0021 && c <= 0x0040;
}

// Letters that the letter after them can join. JEH is one of them, so that what
// follows it takes a joined form.
constexpr ZkUcs2 kJoinsForward[] = {
    0x0626, 0x0628, 0x062A, 0x062B, 0x062C, 0x062D, 0x062E, 0x0633, 0x0634, 0x0635,
    0x0636, 0x0637, 0x0638, 0x0639, 0x063A, 0x0641, 0x0642, 0x0643, 0x0644, 0x0645,
    0x0646, 0x0647, 0x064A, 0x067E, 0x0686, 0x0698, 0x06A9, 0x06AF, 0x06CC,
};

// Letters that can join the letter before them. HAMZA is not one of them.
constexpr ZkUcs2 kJoinsBackward[] = {
    0x0622, 0x0623, 0x0624, 0x0625, 0x0626, 0x0627, 0x0628, 0x0629, 0x062A, 0x062B, 0x062C,
    0x062D, 0x062E, 0x062F, 0x0630, 0x0631, 0x0632, 0x0633, 0x0634, 0x0635, 0x0636, 0x0637,
    0x0638, 0x0639, 0x063A, 0x0641, 0x0642, 0x0643, 0x0644, 0x0645, 0x0646, 0x0647, 0x0648,
    0x0649, 0x064A, 0x067E, 0x0686, 0x0698, 0x06A9, 0x06AF, 0x06CC,
};

// How a letter is written between its neighbours; the index of its four forms.
enum Form { Final, Initial, Medial, Isolated };

struct Forms {
    ZkUcs2 shape[4];
};

// A letter that has no forms of its own stays as it is.
constexpr Forms kKept = {{0, 0, 0, 0}};

constexpr ZkUcs2 kFirstBasic = 0x0621;
constexpr Forms kBasicForms[] = {
    {{0xFE80, 0xFE80, 0xFE80, 0xFE80}}, // 0621 HAMZA
    {{0xFE82, 0xFE81, 0xFE82, 0xFE81}}, // 0622 ALEF WITH MADDA ABOVE
    {{0xFE84, 0xFE83, 0xFE84, 0xFE83}}, // 0623 ALEF WITH HAMZA ABOVE
    {{0xFE86, 0xFE85, 0xFE86, 0xFE85}}, // 0624 WAW WITH HAMZA ABOVE
    {{0xFE88, 0xFE87, 0xFE88, 0xFE87}}, // 0625 ALEF WITH HAMZA BELOW
    {{0xFE8A, 0xFE8B, 0xFE8C, 0xFE89}}, // 0626 YEH WITH HAMZA ABOVE
    {{0xFE8E, 0xFE8D, 0xFE8E, 0xFE8D}}, // 0627 ALEF
    {{0xFE90, 0xFE91, 0xFE92, 0xFE8F}}, // 0628 BEH
    {{0xFE94, 0xFE93, 0xFE93, 0xFE93}}, // 0629 TEH MARBUTA
    {{0xFE96, 0xFE97, 0xFE98, 0xFE95}}, // 062A TEH
    {{0xFE9A, 0xFE9B, 0xFE9C, 0xFE99}}, // 062B THEH
    {{0xFE9E, 0xFE9F, 0xFEA0, 0xFE9D}}, // 062C JEEM
    {{0xFEA2, 0xFEA3, 0xFEA4, 0xFEA1}}, // 062D HAH
    {{0xFEA6, 0xFEA7, 0xFEA8, 0xFEA5}}, // 062E KHAH
    {{0xFEAA, 0xFEA9, 0xFEAA, 0xFEA9}}, // 062F DAL
    {{0xFEAC, 0xFEAB, 0xFEAC, 0xFEAB}}, // 0630 THAL
    {{0xFEAE, 0xFEAD, 0xFEAE, 0xFEAD}}, // 0631 REH
    {{0xFEB0, 0xFEAF, 0xFEB0, 0xFEAF}}, // 0632 ZAIN
    {{0xFEB2, 0xFEB3, 0xFEB4, 0xFEB1}}, // 0633 SEEN
    {{0xFEB6, 0xFEB7, 0xFEB8, 0xFEB5}}, // 0634 SHEEN
    {{0xFEBA, 0xFEBB, 0xFEBC, 0xFEB9}}, // 0635 SAD
    {{0xFEBE, 0xFEBF, 0xFEC0, 0xFEBD}}, // 0636 DAD
    {{0xFEC2, 0xFEC3, 0xFEC4, 0xFEC1}}, // 0637 TAH
    {{0xFEC6, 0xFEC7, 0xFEC8, 0xFEC5}}, // 0638 ZAH
    {{0xFECA, 0xFECB, 0xFECC, 0xFEC9}}, // 0639 AIN
    {{0xFECE, 0xFECF, 0xFED0, 0xFECD}}, // 063A GHAIN
    kKept,                              // 063B KEHEH WITH TWO DOTS ABOVE
    kKept,                              // 063C KEHEH WITH THREE DOTS BELOW
    kKept,                              // 063D FARSI YEH WITH INVERTED V
    kKept,                              // 063E FARSI YEH WITH TWO DOTS ABOVE
    kKept,                              // 063F FARSI YEH WITH THREE DOTS ABOVE
    kKept,                              // 0640 TATWEEL
    {{0xFED2, 0xFED3, 0xFED4, 0xFED1}}, // 0641 FEH
    {{0xFED6, 0xFED7, 0xFED8, 0xFED5}}, // 0642 QAF
    {{0xFEDA, 0xFEDB, 0xFEDC, 0xFED9}}, // 0643 KAF
    {{0xFEDE, 0xFEDF, 0xFEE0, 0xFEDD}}, // 0644 LAM
    {{0xFEE2, 0xFEE3, 0xFEE4, 0xFEE1}}, // 0645 MEEM
    {{0xFEE6, 0xFEE7, 0xFEE8, 0xFEE5}}, // 0646 NOON
    {{0xFEEA, 0xFEEB, 0xFEEC, 0xFEE9}}, // 0647 HEH
    {{0xFEEE, 0xFEED, 0xFEEE, 0xFEED}}, // 0648 WAW
    {{0xFEF0, 0xFEEF, 0xFEF0, 0xFEEF}}, // 0649 ALEF MAKSURA
    {{0xFEF2, 0xFEF3, 0xFEF4, 0xFEF1}}, // 064A YEH
};

struct PersianLetter {
    ZkUcs2 code;
    Forms forms;
};

constexpr PersianLetter kPersianLetters[] = {
    {0x067E, {{0xFB57, 0xFB58, 0xFB59, 0xFB56}}}, // PEH
    {0x0686, {{0xFB7B, 0xFB7C, 0xFB7D, 0xFB7A}}}, // TCHEH
    {0x0698, {{0xFB8B, 0xFB8A, 0xFB8B, 0xFB8A}}}, // JEH
    {0x06A9, {{0xFB8F, 0xFB90, 0xFB91, 0xFB8E}}}, // KEHEH
    {0x06AF, {{0xFB93, 0xFB94, 0xFB95, 0xFB92}}}, // GAF
    {0x06CC, {{0xFBFD, 0xFBFE, 0xFBFF, 0xFBFC}}}, // FARSI YEH
};

// What shaping asks of a letter: how it joins, whether it is one that Persian adds,
// and which row of `forms` is its own, 0 for one that stays as it is.
struct Letter {
    std::uint8_t row;
    bool joinsForward, joinsBackward, isPersian;
};

// The letters U+0600..U+06FF, reckoned from the lists above by the compiler.
struct Shaping {
    std::array<Letter, 256> letters;
    std::array<Forms, 1 + std::size(kBasicForms) + std::size(kPersianLetters)> forms;
};

constexpr unsigned low(ZkUcs2 letter)
{
    return letter & 0xFFU;
}

constexpr Shaping makeShaping()
{
    Shaping shaping = {};
    for (ZkUcs2 letter : kJoinsForward) {
        shaping.letters[low(letter)].joinsForward = true;
    }
    for (ZkUcs2 letter : kJoinsBackward) {
        shaping.letters[low(letter)].joinsBackward = true;
    }
    unsigned rows = 1;
    for (unsigned i = 0; i < std::size(kBasicForms); ++i) {
        if (kBasicForms[i].shape[Final] != 0) {
            shaping.forms[rows] = kBasicForms[i];
            shaping.letters[low(kFirstBasic) + i].row = static_cast<std::uint8_t>(rows++);
        }
    }
    for (const PersianLetter &letter : kPersianLetters) {
        shaping.forms[rows] = letter.forms;
        shaping.letters[low(letter.code)].isPersian = true;
        shaping.letters[low(letter.code)].row = static_cast<std::uint8_t>(rows++);
    }
    return shaping;
}

constexpr Shaping kShaping = makeShaping();

// Any other character is like U+0600, which joins nothing and has no forms.
const Letter &letterOf(ZkUcs2 c)
{
    return kShaping.letters[c >> 8 == 0x06 ? low(c) : 0];
}

// The form of `cur`, which has some, between two neighbours.
ZkUcs2 formBetween(const Letter &prev, const Letter &cur, const Letter &next)
{
    const Form joined = next.joinsBackward ? Medial : Final;
    const Form unjoined = next.joinsBackward ? Initial : Isolated;
    return kShaping.forms[cur.row].shape[prev.joinsForward ? joined : unjoined];
}

// The isolated ligature of a lam with this alef, 0 for any other letter. The
// final ligature is the next code point.
constexpr ZkUcs2 isolatedLamAlef(ZkUcs2 alef)
{
    switch (alef) {
    case 0x0622: return 0xFEF5; // ALEF WITH MADDA ABOVE
    case 0x0623: return 0xFEF7; // ALEF WITH HAMZA ABOVE
    case 0x0625: return 0xFEF9; // ALEF WITH HAMZA BELOW
    case 0x0627: return 0xFEFB; // ALEF
    default: return 0;
    }
}

// Shapes `n` units of `source` into `text`; nothing joins them at either end.
void shape(ZkUcs2 *text, const ZkUcs2 *source, int n)
{
    const Letter *prev = &letterOf(0);
    const Letter *cur = &letterOf(source[0]);
    for (int i = 0; i < n; ++i) {
        const ZkUcs2 follower = i + 1 < n ? source[i + 1] : ZkUcs2(0);
        const Letter *next = &letterOf(follower);
        text[i] = cur->row == 0 ? source[i] : formBetween(*prev, *cur, *next);
        if (source[i] == kLam) {
            // Only the lam gives way to the ligature: the alef stays in the text and
            // is shaped on its own, so units and glyphs keep their one-to-one order.
            const ZkUcs2 ligature = isolatedLamAlef(follower);
            if (ligature != 0) {
                text[i] = static_cast<ZkUcs2>(ligature + (prev->joinsForward ? 1 : 0));
            }
        }
        prev = cur;
        cur = next;
    }
}

// Writes the run [first, last] of `source` backwards, a stretch of neutral units
// as a whole in its own order. Returns the end of what was written.
ZkUcs2 *emitRun(ZkUcs2 *out, const ZkUcs2 *source, int first, int last)
{
    for (int i = last; i >= first;) {
        ZkUcs2 *const stretch = out;
        while (i >= first && isNeutralInRun(source[i])) {
            *out++ = source[i--];
        }
        if (out - stretch > 1) {
            std::reverse(stretch, out);
        }
        while (i >= first && !isNeutralInRun(source[i])) {
            *out++ = source[i--];
        }
    }
    return out;
}

// Copies a run that is one stretch of neutral units, which most numbers and signs
// between other letters are, and returns its length. 0 for any other run.
template <typename IsInRun>
int copyNumber(ZkUcs2 *out, const ZkUcs2 *source, int n, IsInRun isInRun)
{
    int length = 0;
    while (length < n && isNeutralInRun(source[length])) {
        out[length] = source[length];
        ++length;
    }
    int next = length;
    // no test can tell: behind the end the answer is the same
    while (next < n && source[next] == kSpace) {
        ++next;
    }
    return next < n && isInRun(source[next]) ? 0 : length;
}

// Writes `n` units of `source` to `out` with every run of the right-to-left class
// in visual order. A space belongs to a run only between two of its units, and
// never as the last unit of the text.
template <bool (*isRightToLeft)(ZkUcs2)>
void reorderRuns(ZkUcs2 *out, const ZkUcs2 *source, int n)
{
    const auto isInRun = [](ZkUcs2 c) { return isNeutralInRun(c) || isRightToLeft(c); };
    for (int i = 0; i < n;) {
        if (!isInRun(source[i])) {
            *out++ = source[i++];
            continue;
        }
        const int first = i;
        const int written = copyNumber(out, source + i, n - i, isInRun);
        if (written > 0) {
            out += written;
            i += written;
            continue;
        }
        int last = i;
        for (++i; i < n && (isInRun(source[i]) || source[i] == kSpace); ++i) {
            if (source[i] != kSpace) {
                last = i;
            }
        }
        out = emitRun(out, source, first, last);
        i = last + 1; // the spaces behind the run are outside
    }
}

// Room for `n` units, from `malloc`; null, and a message, without memory.
ZkUcs2 *allocateUnits(int n)
{
    const std::uint64_t bytes = static_cast<std::uint64_t>(n) * sizeof(ZkUcs2);
    void *block = bytes <= SIZE_MAX ? std::malloc(static_cast<std::size_t>(bytes)) : nullptr;
    if (block == nullptr) {
        std::printf("Malloc unicode failed.\n");
    }
    return static_cast<ZkUcs2 *>(block);
}

template <bool (*isOfClass)(ZkUcs2)>
int includes(const ZkUcs2 *text, int n)
{
    if (text == nullptr) {
        return 0;
    }
    for (int i = 0; i < n; ++i) {
        if (isOfClass(text[i])) {
            return 1;
        }
    }
    return 0;
}

} // namespace

int isIncludeHebrew(const ZkUcs2 *text, int n)
{
    return includes<isHebrew>(text, n);
}

int isIncludeArbic(const ZkUcs2 *text, int n)
{
    return includes<isArabic>(text, n);
}

int convertRule3(ZkUcs2 prev, ZkUcs2 cur, ZkUcs2 next)
{
    const Letter &letter = letterOf(cur);
    return letter.isPersian ? formBetween(letterOf(prev), letter, letterOf(next)) : -1;
}

void arabicRulesConvert(ZkUcs2 *text, int n)
{
    if (text == nullptr || n < 1) {
        return;
    }
    ZkUcs2 *shaped = allocateUnits(n);
    if (shaped == nullptr) {
        return;
    }
    shape(shaped, text, n);
    reorderRuns<isArabic>(text, shaped, n);
    std::free(shaped);
}

void reversalHebrew(ZkUcs2 *text, int n)
{
    if (text == nullptr || n < 1) {
        return;
    }
    ZkUcs2 *copy = allocateUnits(n);
    if (copy == nullptr) {
        return;
    }
    std::memcpy(copy, text, static_cast<std::size_t>(n) * sizeof(ZkUcs2));
    reorderRuns<isHebrew>(text, copy, n);
    std::free(copy);
}
