#ifndef ICUUNICODE_H
#define ICUUNICODE_H

// Levels, visual order and boundaries beside ICU 72, which has the same version of
// Unicode, and where ICU goes its own way.

#include <zkbidi.h>
#include <zktextbreaks.h>

#include <unicode/ubidi.h>
#include <unicode/ubrk.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace icuunicode
{

typedef std::vector<ZkUcs2> Units;

inline const UChar *icuUnits(const Units &text)
{
    return reinterpret_cast<const UChar *>(text.data());
}

inline int sizeOf(const Units &text)
{
    return static_cast<int>(text.size());
}

inline std::string shown(const Units &text)
{
    std::string result;
    for (const ZkUcs2 unit : text) {
        char hexadecimal[8];
        std::snprintf(hexadecimal, sizeof hexadecimal, "%04X ", unsigned(unit));
        result += hexadecimal;
    }
    return result;
}

inline char32_t characterAt(const Units &text, int i)
{
    UChar32 c;
    U16_GET(icuUnits(text), 0, i, sizeOf(text), c);
    return static_cast<char32_t>(c);
}

inline void requireSuccess(UErrorCode error)
{
    if (U_FAILURE(error)) {
        std::fprintf(stderr, "%s\n", u_errorName(error));
        std::abort();
    }
}

/// Characters that rule X9 removes: no level of theirs is defined.
inline bool isRemoved(const Units &text, int i)
{
    switch (zkCharacter(characterAt(text, i)).bidi) {
    case ZkCharacter::BidiBN:
    case ZkCharacter::BidiLRE:
    case ZkCharacter::BidiLRO:
    case ZkCharacter::BidiRLE:
    case ZkCharacter::BidiRLO:
    case ZkCharacter::BidiPDF: return true;
    default: return false;
    }
}

class IcuBidi
{
public:
    IcuBidi() : m_paragraphs(ubidi_open()), m_line(ubidi_open()) {}
    ~IcuBidi()
    {
        ubidi_close(m_line);
        ubidi_close(m_paragraphs);
    }
    IcuBidi(const IcuBidi &) = delete;
    IcuBidi &operator=(const IcuBidi &) = delete;

    void setText(const Units &text, ZkBidi::Direction direction)
    {
        const UBiDiLevel kLevels[] = {UBIDI_DEFAULT_LTR, 0, 1, UBIDI_DEFAULT_RTL};
        UErrorCode error = U_ZERO_ERROR;
        ubidi_setPara(m_paragraphs, icuUnits(text), sizeOf(text), kLevels[direction], nullptr,
                      &error);
        requireSuccess(error);
    }

    void setLine(int first, int last)
    {
        UErrorCode error = U_ZERO_ERROR;
        ubidi_setLine(m_paragraphs, first, last, m_line, &error);
        requireSuccess(error);
    }

    std::vector<int> levels(int count)
    {
        UErrorCode error = U_ZERO_ERROR;
        const UBiDiLevel *const found = ubidi_getLevels(m_line, &error);
        return std::vector<int>(found, found + count);
    }

    std::vector<int> order(int count)
    {
        UErrorCode error = U_ZERO_ERROR;
        std::vector<int> found(static_cast<std::size_t>(count));
        ubidi_getVisualMap(m_line, found.data(), &error);
        return found;
    }

    bool isMixed() { return ubidi_getDirection(m_line) == UBIDI_MIXED; }

    UBiDi *get() { return m_paragraphs; }

private:
    UBiDi *m_paragraphs;
    UBiDi *m_line;
};

/// Where all of a line runs one way, ICU gives it the level of the paragraph without
/// looking at embeddings and at numbers: the same picture, other numbers. Counted.
inline int unidirectional = 0;

/// A mark on a bracket goes with it when the bracket takes the direction before it, which
/// ICU leaves out. Counted.
inline int markedBrackets = 0;

inline bool hasMarkedBracket(const Units &text)
{
    for (int i = 1; i < sizeOf(text); ++i) {
        int before = i - 1;
        while (before > 0 && isRemoved(text, before)) {
            --before;
        }
        if (zkCharacter(characterAt(text, i)).bidi == ZkCharacter::BidiNSM &&
            zkCharacter(text[static_cast<std::size_t>(before)]).bracket !=
                ZkCharacter::BracketNone) {
            return true;
        }
    }
    return false;
}

/// In an override a bracket is a letter and has no partner; ICU pairs some. Counted.
inline int overriddenBrackets = 0;

inline bool hasOverriddenBracket(const Units &text)
{
    bool overrides = false;
    for (const ZkUcs2 unit : text) {
        overrides = overrides || unit == 0x202D || unit == 0x202E;
        if (overrides && zkCharacter(unit).bracket != ZkCharacter::BracketNone) {
            return true;
        }
    }
    return false;
}

/// A PDI that ends no isolate has the level of what is open where it stands; behind a PDF
/// ICU gives it that of what the PDF closed. Counted.
inline int closedBefore = 0;

inline bool hasEndBehindEnd(const Units &text)
{
    for (int i = 1; i < sizeOf(text); ++i) {
        if (text[static_cast<std::size_t>(i)] == 0x2069) {
            for (int before = i - 1; before >= 0 && isRemoved(text, before); --before) {
                if (text[static_cast<std::size_t>(before)] == 0x202C) {
                    return true;
                }
            }
        }
    }
    return false;
}

/// One line of the paragraph that begins at `start` by both; false when they differ.
inline bool sameLine(const Units &text, const ZkBidi &ours, IcuBidi &icu, int start, int first,
                     int last)
{
    icu.setLine(first - start, last - start);
    const int count = last - first;
    std::vector<int> levels = icu.levels(count), order = icu.order(count);
    std::vector<std::uint8_t> ourLevels(static_cast<std::size_t>(count));
    std::vector<int> ourOrder(static_cast<std::size_t>(count));
    ours.lineLevels(first, last, ourLevels.data());
    ours.visualOrder(first, last, ourOrder.data());
    const auto removed = [&](int i) { return isRemoved(text, i); };
    const int bits = icu.isMixed() ? 0x7F : 1;
    unidirectional += bits == 1 ? 1 : 0;
    for (int i = 0; i < count; ++i) {
        const auto at = static_cast<std::size_t>(i);
        if (!removed(first + i) && ((levels[at] ^ ourLevels[at]) & bits) != 0) {
            return false;
        }
    }
    ourOrder.erase(std::remove_if(ourOrder.begin(), ourOrder.end(), removed), ourOrder.end());
    for (int &i : order) {
        i += first;
    }
    order.erase(std::remove_if(order.begin(), order.end(), removed), order.end());
    return order == ourOrder;
}

/// All paragraphs of a text, each whole and cut in two lines at `cut` per cent. ICU lets
/// brackets and marks of a paragraph feel those of the one before, so it gets each by
/// itself once both have found the same paragraphs.
inline bool sameDirections(const Units &text, ZkBidi &ours, IcuBidi &icu,
                           ZkBidi::Direction direction, int cut)
{
    ours.setText(text.data(), sizeOf(text), direction);
    if (text.empty()) {
        return ours.paragraphCount() == 0;
    }
    icu.setText(text, direction);
    if (ubidi_countParagraphs(icu.get()) != ours.paragraphCount()) {
        return false;
    }
    for (int i = 0; i < ours.paragraphCount(); ++i) {
        const ZkBidi::Paragraph paragraph = ours.paragraph(i);
        int first = 0, last = 0;
        UBiDiLevel level = 0;
        UErrorCode error = U_ZERO_ERROR;
        ubidi_getParagraphByIndex(icu.get(), i, &first, &last, &level, &error);
        if (first != paragraph.first || last != paragraph.last || level != paragraph.level) {
            return false;
        }
    }
    for (int i = 0; i < ours.paragraphCount(); ++i) {
        const ZkBidi::Paragraph paragraph = ours.paragraph(i);
        const int first = paragraph.first, last = paragraph.last;
        const Units alone(text.begin() + first, text.begin() + last);
        icu.setText(alone, direction);
        int middle = first + (last - first) * cut / 100;
        middle += middle > first && U16_IS_TRAIL(text[static_cast<std::size_t>(middle)]) ? 1 : 0;
        if (!sameLine(text, ours, icu, first, first, last) ||
            (middle > first && !sameLine(text, ours, icu, first, first, middle)) ||
            (middle < last && !sameLine(text, ours, icu, first, middle, last))) {
            return false;
        }
    }
    return true;
}

/// `text` without all characters that a difference does not need.
template <typename Differs>
Units shortened(Units text, Differs differs)
{
    for (std::size_t i = 0; i < text.size();) {
        Units shorter = text;
        shorter.erase(shorter.begin() + std::ptrdiff_t(i));
        if (!shorter.empty() && differs(shorter)) {
            text = shorter;
            i = 0;
        } else {
            ++i;
        }
    }
    return text;
}

/// The boundaries of one kind that ICU finds.
class IcuBreaks
{
public:
    explicit IcuBreaks(UBreakIteratorType type) : m_type(type)
    {
        UErrorCode error = U_ZERO_ERROR;
        m_iterator = ubrk_open(type, "", nullptr, 0, &error);
    }
    ~IcuBreaks() { ubrk_close(m_iterator); }
    IcuBreaks(const IcuBreaks &) = delete;
    IcuBreaks &operator=(const IcuBreaks &) = delete;

    std::vector<bool> find(const Units &text)
    {
        UErrorCode error = U_ZERO_ERROR;
        ubrk_setText(m_iterator, icuUnits(text), sizeOf(text), &error);
        std::vector<bool> found(text.size() + 1);
        for (int i = ubrk_first(m_iterator); i != UBRK_DONE; i = ubrk_next(m_iterator)) {
            found[static_cast<std::size_t>(i)] = true;
        }
        if (m_type == UBRK_LINE) {
            found[0] = false; // where a text begins no line ends
        }
        return found;
    }

private:
    UBreakIteratorType m_type;
    UBreakIterator *m_iterator = nullptr;
};

/// A kind of boundary, our flag for it and ICU's iterator.
struct Kind {
    const char *name;
    unsigned flag;
    UBreakIteratorType type;
};
inline const Kind kKinds[] = {{"line", ZkTextBreaks::LineAllowed, UBRK_LINE},
                              {"grapheme", ZkTextBreaks::Grapheme, UBRK_CHARACTER},
                              {"word", ZkTextBreaks::Word, UBRK_WORD}};

inline std::vector<bool> ourBreaks(const Units &text, unsigned flag)
{
    std::vector<std::uint8_t> flags(text.size() + 1);
    ZkTextBreaks::find(text.data(), sizeOf(text), flags.data(), ZkTextBreaks::AsLetters);
    std::vector<bool> found;
    for (const std::uint8_t byte : flags) {
        found.push_back((byte & flag) != 0);
    }
    return found;
}

/// Where ICU goes its own way on purpose, and how often it did.
struct Deviations {
    int dictionary = 0;    ///< it has dictionaries for scripts without spaces, and for words
                           ///< of Chinese, Japanese and Korean: such characters are left out
    int numberPoint = 0;   ///< a number may begin with a point
    int leadingHyphen = 0; ///< no line ends between a hyphen that begins a word and its letter
    int joinedFlags = 0;   ///< it counts flags anew behind a joiner within them
    int colonOrAt = 0;     ///< a colon joins no letters, an at sign is one
};

inline bool hasDictionary(char32_t c, unsigned flag)
{
    const ZkCharacter &record = zkCharacter(c);
    if (record.line == ZkCharacter::LineSA) {
        return true;
    }
    return flag == ZkTextBreaks::Word &&
           (record.script == ZkCharacter::ScriptHan ||
            record.script == ZkCharacter::ScriptHiragana ||
            record.script == ZkCharacter::ScriptKatakana || (c >= 0xAC00 && c <= 0xD7A3));
}

/// `text` without what ICU has a dictionary for.
inline Units withoutDictionary(const Units &text, unsigned flag, Deviations *deviations)
{
    Units kept;
    for (int i = 0; i < sizeOf(text);) {
        UChar32 c;
        const int first = i;
        U16_NEXT(icuUnits(text), i, sizeOf(text), c);
        if (hasDictionary(static_cast<char32_t>(c), flag)) {
            ++deviations->dictionary;
        } else {
            kept.insert(kept.end(), text.begin() + first, text.begin() + i);
        }
    }
    return kept;
}

inline bool isMark(unsigned line)
{
    return line == ZkCharacter::LineCM || line == ZkCharacter::LineZWJ;
}

/// The line class before `i` and behind it, marks left out; XX where there is none.
inline unsigned classBefore(const Units &text, int i)
{
    while (i > 0) {
        U16_BACK_1(icuUnits(text), 0, i);
        const unsigned line = zkCharacter(characterAt(text, i)).line;
        if (!isMark(line)) {
            return line;
        }
    }
    return ZkCharacter::LineXX;
}

inline unsigned classAt(const Units &text, int i, int skipped)
{
    while (i < sizeOf(text)) {
        const unsigned line = zkCharacter(characterAt(text, i)).line;
        if (!isMark(line) && skipped-- == 0) {
            return line;
        }
        U16_FWD_1(icuUnits(text), i, sizeOf(text));
    }
    return ZkCharacter::LineXX;
}

/// The deviation that explains a difference at `i`; null when none does.
inline int *lineDeviation(const Units &text, int i, bool isOurs, Deviations &deviations)
{
    const unsigned before = classBefore(text, i), behind = classAt(text, i, 0);
    const bool isPoint =
        (before == ZkCharacter::LineIS && behind == ZkCharacter::LineNU) ||
        (behind == ZkCharacter::LineIS && classAt(text, i, 1) == ZkCharacter::LineNU) ||
        (behind == ZkCharacter::LineOP && classAt(text, i, 1) == ZkCharacter::LineIS &&
         classAt(text, i, 2) == ZkCharacter::LineNU);
    if (isPoint) {
        return &deviations.numberPoint;
    }
    if (isOurs && (before == ZkCharacter::LineHY || before == ZkCharacter::LineBA)) {
        return &deviations.leadingHyphen;
    }
    if (before == ZkCharacter::LineRI && behind == ZkCharacter::LineRI &&
        std::count(text.begin(), text.begin() + i, 0x200D) > 0) {
        return &deviations.joinedFlags;
    }
    return nullptr;
}

inline bool hasColonOrAt(const Units &text)
{
    return std::any_of(text.begin(), text.end(), [](ZkUcs2 unit) {
        return unit == ':' || unit == 0xFE55 || unit == 0xFF1A || unit == '@';
    });
}

/// True when the boundaries are the same but for the deviations told above.
inline bool sameBreaks(const Units &text, const Kind &kind, IcuBreaks &icu, Deviations &deviations)
{
    if (text.empty()) {
        return true;
    }
    const std::vector<bool> ours = ourBreaks(text, kind.flag), theirs = icu.find(text);
    for (int i = 0; i <= sizeOf(text); ++i) {
        const auto at = static_cast<std::size_t>(i);
        if (ours[at] == theirs[at]) {
            continue;
        }
        int *counter = nullptr;
        if (kind.flag == ZkTextBreaks::LineAllowed) {
            counter = lineDeviation(text, i, ours[at], deviations);
        } else if (kind.flag == ZkTextBreaks::Word && hasColonOrAt(text)) {
            counter = &deviations.colonOrAt;
        }
        if (counter == nullptr) {
            return false;
        }
        ++*counter;
    }
    return true;
}

} // namespace icuunicode

#endif
