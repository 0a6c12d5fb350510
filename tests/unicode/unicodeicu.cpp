// Levels, visual order and boundaries beside ICU 72, which has the same version of
// Unicode: random characters drawn by class, and real text.

#include <zkbidi.h>
#include <zktextbreaks.h>

#include "rounds.h"
#include "utf16.h"

#include <gtest/gtest.h>
#include <unicode/ubidi.h>
#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace
{

typedef std::vector<ZkUcs2> Units;

const UChar *icuUnits(const Units &text)
{
    return reinterpret_cast<const UChar *>(text.data());
}

int sizeOf(const Units &text)
{
    return static_cast<int>(text.size());
}

std::string shown(const Units &text)
{
    std::string result;
    for (const ZkUcs2 unit : text) {
        char hexadecimal[8];
        std::snprintf(hexadecimal, sizeof hexadecimal, "%04X ", unsigned(unit));
        result += hexadecimal;
    }
    return result;
}

/// Draws characters: first a property, then one of its values, then a character that has
/// it, so that rare classes meet as often as common ones.
class Drawing
{
public:
    explicit Drawing(unsigned seed) : m_random(seed)
    {
        std::map<std::pair<int, int>, std::vector<char32_t>> classes;
        for (char32_t c = 0; c <= 0x10FFFF; ++c) {
            if (c == 0x2329 || c == 0x232A) {
                // ICU pairs each of them twice, as itself and as its canonical equivalent,
                // and finds the one left over later. The conformance test has both.
                continue;
            }
            const ZkCharacter &record = zkCharacter(c);
            classes[{0, record.bidi}].push_back(c);
            classes[{1, record.line << 1 | record.lineVariant}].push_back(c);
            classes[{2, record.grapheme << 1 | record.isExtendedPictographic}].push_back(c);
            classes[{3, record.word << 1 | record.isExtendedPictographic}].push_back(c);
            if (record.bracket != ZkCharacter::BracketNone) {
                classes[{0, 100}].push_back(c);
            }
        }
        m_properties.resize(4);
        for (auto &entry : classes) {
            m_properties[static_cast<std::size_t>(entry.first.first)].push_back(
                std::move(entry.second));
        }
    }

    int number(int below) { return std::uniform_int_distribution<int>(0, below - 1)(m_random); }

    /// Texts of one property mostly have its own classes side by side.
    Units text(int length)
    {
        std::u32string characters;
        const int property = number(4);
        const bool fewLetters = number(4) == 0;
        const char32_t brackets[] = {'(', ')', '[', ']', '{', '}', 0x3008, 0x3009};
        for (int i = 0; i < length; ++i) {
            if (fewLetters && number(3) == 0) {
                characters.push_back(brackets[number(8)]);
                continue;
            }
            const auto &values = m_properties[static_cast<std::size_t>(property)];
            const auto &value = values[static_cast<std::size_t>(number(int(values.size())))];
            characters.push_back(value[static_cast<std::size_t>(number(int(value.size())))]);
        }
        return utf16Of(characters);
    }

private:
    std::mt19937 m_random;
    std::vector<std::vector<std::vector<char32_t>>> m_properties;
};

char32_t characterAt(const Units &text, int i)
{
    UChar32 c;
    U16_GET(icuUnits(text), 0, i, sizeOf(text), c);
    return static_cast<char32_t>(c);
}

/// Characters that rule X9 removes: no level of theirs is defined.
bool isRemoved(const Units &text, int i)
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
        ASSERT_TRUE(U_SUCCESS(error));
    }

    void setLine(int first, int last)
    {
        UErrorCode error = U_ZERO_ERROR;
        ubidi_setLine(m_paragraphs, first, last, m_line, &error);
        ASSERT_TRUE(U_SUCCESS(error)) << first << " to " << last;
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
int unidirectional = 0;

/// A mark on a bracket goes with it when the bracket takes the direction before it, which
/// ICU leaves out. Counted.
int markedBrackets = 0;

bool hasMarkedBracket(const Units &text)
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
int overriddenBrackets = 0;

bool hasOverriddenBracket(const Units &text)
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
int closedBefore = 0;

bool hasEndBehindEnd(const Units &text)
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
bool sameLine(const Units &text, const ZkBidi &ours, IcuBidi &icu, int start, int first, int last)
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
bool sameDirections(const Units &text, ZkBidi &ours, IcuBidi &icu, ZkBidi::Direction direction,
                    int cut)
{
    ours.setText(text.data(), sizeOf(text), direction);
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
const Kind kKinds[] = {{"line", ZkTextBreaks::LineAllowed, UBRK_LINE},
                       {"grapheme", ZkTextBreaks::Grapheme, UBRK_CHARACTER},
                       {"word", ZkTextBreaks::Word, UBRK_WORD}};

std::vector<bool> ourBreaks(const Units &text, unsigned flag)
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

bool hasDictionary(char32_t c, unsigned flag)
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
Units withoutDictionary(const Units &text, unsigned flag, Deviations *deviations)
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

bool isMark(unsigned line)
{
    return line == ZkCharacter::LineCM || line == ZkCharacter::LineZWJ;
}

/// The line class before `i` and behind it, marks left out; XX where there is none.
unsigned classBefore(const Units &text, int i)
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

unsigned classAt(const Units &text, int i, int skipped)
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
int *lineDeviation(const Units &text, int i, bool isOurs, Deviations &deviations)
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

bool hasColonOrAt(const Units &text)
{
    return std::any_of(text.begin(), text.end(), [](ZkUcs2 unit) {
        return unit == ':' || unit == 0xFE55 || unit == 0xFF1A || unit == '@';
    });
}

/// True when the boundaries are the same but for the deviations told above.
bool sameBreaks(const Units &text, const Kind &kind, IcuBreaks &icu, Deviations &deviations)
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

} // namespace

TEST(UnicodeBesideIcu, LevelsAndOrderOfRandomCharacters)
{
    Drawing drawing(1);
    ZkBidi ours;
    IcuBidi icu;
    const int wanted = scaledRounds(10000000);
    int failures = 0;
    for (int characters = 0; characters < wanted && failures < 10;) {
        const Units text = drawing.text(1 + drawing.number(40));
        characters += sizeOf(text);
        const auto direction = static_cast<ZkBidi::Direction>(drawing.number(4));
        const int cut = drawing.number(100);
        const auto differs = [&](const Units &units) {
            return !sameDirections(units, ours, icu, direction, cut);
        };
        if (differs(text)) {
            const Units least = shortened(text, differs);
            if (hasMarkedBracket(least)) {
                ++markedBrackets;
            } else if (hasEndBehindEnd(least)) {
                ++closedBefore;
            } else if (hasOverriddenBracket(least)) {
                ++overriddenBrackets;
            } else {
                ++failures;
                ADD_FAILURE() << shown(least) << "direction " << direction;
            }
        }
    }
    std::printf("lines that ICU reckons to run one way: %d; marks on brackets: %d; PDI behind "
                "PDF: %d; brackets in overrides: %d\n",
                unidirectional, markedBrackets, closedBefore, overriddenBrackets);
}

TEST(UnicodeBesideIcu, BoundariesOfRandomCharacters)
{
    Drawing drawing(2);
    Deviations deviations;
    for (const Kind &kind : kKinds) {
        IcuBreaks icu(kind.type);
        const int wanted = scaledRounds(10000000);
        int failures = 0;
        for (int characters = 0; characters < wanted && failures < 10;) {
            const Units text =
                withoutDictionary(drawing.text(1 + drawing.number(40)), kind.flag, &deviations);
            characters += sizeOf(text);
            const auto differs = [&](const Units &units) {
                return !sameBreaks(units, kind, icu, deviations);
            };
            if (differs(text)) {
                ++failures;
                const Units units = shortened(text, differs);
                ADD_FAILURE() << kind.name << ": " << shown(units) << "\n"
                              << ::testing::PrintToString(ourBreaks(units, kind.flag)) << "\nICU\n"
                              << ::testing::PrintToString(icu.find(units));
            }
        }
    }
    std::printf("left out for dictionaries: %d; points before numbers: %d; hyphens before words: "
                "%d; joined flags: %d; colons and at signs: %d\n",
                deviations.dictionary, deviations.numberPoint, deviations.leadingHyphen,
                deviations.joinedFlags, deviations.colonOrAt);
}

TEST(UnicodeBesideIcu, TheArticlesInEveryLanguage)
{
    ZkBidi ours;
    IcuBidi icu;
    Deviations deviations;
    for (const char *const language :
         {"arabic", "chinese", "english", "hebrew", "japanese", "korean", "persian", "thai"}) {
        SCOPED_TRACE(language);
        std::ifstream file(std::string(ZK_TEXTS "/") + language + ".txt");
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        ASSERT_FALSE(bytes.empty());
        Units text(bytes.size());
        UErrorCode error = U_ZERO_ERROR;
        int units = 0;
        u_strFromUTF8(reinterpret_cast<UChar *>(text.data()), sizeOf(text), &units, bytes.data(),
                      sizeOf(text), &error);
        ASSERT_TRUE(U_SUCCESS(error));
        text.resize(static_cast<std::size_t>(units));
        for (const ZkBidi::Direction direction : {ZkBidi::Auto, ZkBidi::RightToLeft}) {
            EXPECT_TRUE(sameDirections(text, ours, icu, direction, 40));
        }
        for (const Kind &kind : kKinds) {
            IcuBreaks breaks(kind.type);
            EXPECT_TRUE(sameBreaks(withoutDictionary(text, kind.flag, &deviations), kind, breaks,
                                   deviations))
                << kind.name;
        }
    }
    // Letters of Thai for lines, those of Chinese, Japanese and Korean too for words.
    EXPECT_GT(deviations.dictionary, 0);
}
