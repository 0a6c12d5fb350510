#include "zkcharacter.h"
#include "zkglyphcache.h"
#include "zkshaper.h"
#include "zktextbreaks.h"

#include "glyph/zkmarks.h"
#include "glyph/zkthai.h"
#include "glyph/zktypefacedata.h"
#include "paragraph/zkarabicforms.h"
#include "paragraph/zkunseen.h"
#include "unicode/zkcharactertables.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLam = 0x0644, kSoftHyphen = 0xAD;
constexpr char32_t kSaraAm = 0x0E33, kNonJoiner = 0x200C; // which the joiner follows
// Letters that joining looks at across the ends of a run, marks between them included.
constexpr int kMostContext = 64;
// How far a mark may stand from its letter, either way: what a shaped glyph has room for.
constexpr int kMostOffset = 511;
constexpr int kMostAdvance = 16383; // pixels, as the layout allows

bool isMark(const ZkCharacter &c)
{
    return c.category == ZkCharacter::CategoryMn || c.category == ZkCharacter::CategoryMe;
}

bool isTransparent(char32_t c)
{
    return zkCharacter(c).joining == ZkCharacter::JoiningTransparent;
}

bool joinsForward(unsigned joining)
{
    return joining == ZkCharacter::JoiningDual || joining == ZkCharacter::JoiningLeft ||
           joining == ZkCharacter::JoiningCausing;
}

bool joinsBackward(unsigned joining)
{
    return joining == ZkCharacter::JoiningDual || joining == ZkCharacter::JoiningRight ||
           joining == ZkCharacter::JoiningCausing;
}

inline char32_t mirrored(char32_t c)
{
    // Most characters of right-to-left text stand between these and have no mirror image.
    return c < 0x28 || (c > 0xBB && c < 0xF3A) ? c : zkMirrored(c);
}

inline void put(ZkShapedGlyph *glyph, int u, std::uint32_t index, int advance)
{
    // As whole words, not bit by bit.
    const std::uint32_t words[4] = {index & 0xFFFFFF, static_cast<std::uint32_t>(advance) * 64, 0,
                                    static_cast<std::uint32_t>(u)};
    static_assert(sizeof words == sizeof *glyph && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
                  "index and flags, advance, offset, cluster");
    std::memcpy(glyph, words, sizeof words);
}

bool isKnown(std::uint32_t word, char32_t shown, bool isAlone)
{
    return isAlone ? ZkFontLetters::hasAlone(word, shown) : ZkFontLetters::has(word, shown);
}

/// Where a mark stands on its letter.
enum class MarkPlace {
    AsDrawn, ///< where the font draws it behind the letter
    Above,
    Below,
    Inside,     ///< over the middle, in its own rows
    AboveLeft,  ///< over the left edge of the letter
    AboveRight, ///< over the right one
};

MarkPlace placeOf(char32_t c, unsigned combiningClass)
{
    if (c == 0x0EB1 || (c >= 0x0EB4 && c <= 0x0EB7) || c == 0x0EBB || c == 0x0ECD) {
        return MarkPlace::Above; // LAO vowels and NIGGAHITA
    }
    if (c == 0x0EBC || c == 0x0EBA) {
        return MarkPlace::Below; // LAO SEMIVOWEL SIGN LO, PALI VIRAMA
    }
    switch (combiningClass) {
    case 10: // HEBREW SHEVA to QUBUTS
    case 11:
    case 12:
    case 13:
    case 14:
    case 15:
    case 16:
    case 17:
    case 18:
    case 20:
    case 22:  // METEG
    case 29:  // ARABIC KASRATAN
    case 32:  // KASRA
    case 118: // LAO SIGN U, UU
    case 220:
    case 240: return MarkPlace::Below;
    case 21: return MarkPlace::Inside;     // HEBREW DAGESH
    case 19:                               // HOLAM
    case 25: return MarkPlace::AboveLeft;  // SIN DOT
    case 24: return MarkPlace::AboveRight; // SHIN DOT
    case 23:                               // RAFE
    case 26:                               // VARIKA
    case 27:                               // ARABIC FATHATAN, DAMMATAN
    case 28:
    case 30: // FATHA, DAMMA, SHADDA, SUKUN, SUPERSCRIPT ALEF
    case 31:
    case 33:
    case 34:
    case 35:
    case 122: // LAO tones
    case 230: return MarkPlace::Above;
    case 1: return MarkPlace::Inside; // strokes through the letter
    default: return MarkPlace::AsDrawn;
    }
}

/// A character of a cluster.
struct Part {
    char32_t c;
    const ZkCharacter *properties;
};

// Parts of a cluster that are read once; those of a longer one behind them are read twice.
constexpr int kKeptParts = 6;

/// Where the reading of a cluster has come to.
struct Reader {
    int at, end;
    int count; ///< of what was read
    char32_t letter;
    unsigned last; ///< combining class of the last mark
    bool composes; ///< marks with the letter
};

std::int16_t offset(int pixels)
{
    return static_cast<std::int16_t>(std::clamp(pixels, -kMostOffset, kMostOffset) * 64);
}

/// Shapes one run, cluster by cluster.
class Shaping
{
public:
    Shaping(const ZkShapeRun &run, ZkShapedGlyphs *glyphs, ZkFontLetters *letters)
        : m_run(run),
          m_glyphs(glyphs),
          m_letters(*letters),
          m_isKerned(run.isKerned && run.face->hasKerning())
    {
    }

    void shape();

private:
    char32_t characterAt(int u, int *units) const;
    int clusterEnd(int u) const;
    bool isPlain(char32_t c) const;
    template <bool isRightToLeft>
    int plain(int u);
    int joinedLetters(int u);
    void endStretch(int before, int count, std::uint32_t left, bool joins);
    bool findForm(int u, const ZkArabicForms &forms, bool before, ZkArabicForms *next,
                  char32_t *shown) const;
    bool enter(int u);
    std::uint32_t enterForm(char32_t shown, bool isAlone);
    bool remember(char32_t shown, std::uint32_t index, const ZkGlyph *glyph, bool isAlone = false);
    int cluster(int u, int end);
    void heedJoiner(int first, int last);
    bool next(Reader *reader, Part *part) const;
    bool joinsBefore(int u) const;
    bool joinsAfter(int u) const;
    char32_t joined(char32_t letter, unsigned joining, bool before, bool after) const;
    char32_t ligature(char32_t letter, int end, bool before, int *alefEnd);
    ZkShapedGlyph *add(int u, std::uint32_t index, int advance);
    const ZkGlyph *record(std::uint32_t index) const
    {
        return m_run.holder->glyph(*m_run.face, index, m_run.font);
    }
    const ZkGlyph *recordOf(char32_t c, std::uint32_t *index);
    char32_t shownFor(char32_t c) const { return m_run.isRightToLeft ? mirrored(c) : c; }
    template <bool isRightToLeft>
    int distance(std::uint32_t before, std::uint32_t next);
    int askDistance(std::uint32_t left, std::uint32_t right);
    template <bool isRightToLeft>
    void pull(ZkShapedGlyph *glyph, bool isFirst, std::uint32_t left, std::uint32_t index);
    void kern(std::uint32_t index);
    void setLetter(const ZkGlyph *glyph);
    void setMark(int u, const Part &part);
    void setThaiMark(ZkPlacedGlyph *mark, const Part &part);
    void setBare(int u, const ZkGlyph *glyph);

    const ZkShapeRun &m_run;
    ZkShapedGlyphs *m_glyphs;
    ZkFontLetters &m_letters;
    bool m_isKerned;
    bool m_joinsForward = false; // the last letter that counts for joining does
    std::uint32_t m_left = 0;    // glyph that the next one may be kerned with
    int m_kernedAt = 0;          // its place

    // The letter that marks are being set on, its pen at (0, 0).
    ZkPlacedGlyph m_letter = {};
    ZkPlacedGlyph m_above = {}, m_below = {};
    int m_advance = 0;
    char32_t m_character = 0;
    ZkUcs2 m_thai[3] = {};
    int m_thaiMarks = 0;
    std::int64_t m_thaiShift = 0;
    int m_tone = -1; // index of the glyph of a tone mark without a vowel
};

char32_t Shaping::characterAt(int u, int *units) const
{
    const char32_t c = m_run.text[u];
    *units = 1;
    if ((c & 0xF800) != 0xD800) {
        return c;
    }
    if (zkIsLeadSurrogate(c) && u + 1 < m_run.last && zkIsTrailSurrogate(m_run.text[u + 1])) {
        *units = 2;
        return zkPairOf(c, m_run.text[u + 1]);
    }
    return kReplacement;
}

inline int Shaping::clusterEnd(int u) const
{
    do {
        ++u;
    } while (u < m_run.last && (m_run.breaks[u] & ZkTextBreaks::Grapheme) == 0);
    return u;
}

// True for a character that is one glyph and looks at no other. The ranges come first
// because they need no look-up.
inline bool Shaping::isPlain(char32_t c) const
{
    if ((c >= 0x20 && c < 0x7F) || (c >= 0xA0 && c < 0x300 && c != 0xAD) ||
        (c >= 0x4E00 && c < 0xA000) || (c >= 0xAC00 && c < 0xD7A4)) {
        return true;
    }
    const ZkCharacter &properties = zkCharacter(c);
    return properties.joining == ZkCharacter::JoiningNone && !isMark(properties) &&
           !zkIsUnseen(c, properties);
}

void Shaping::shape()
{
    m_joinsForward = joinsBefore(m_run.first);
    for (int u = m_run.first; u < m_run.last;) {
        int next = m_run.isRightToLeft ? joinedLetters(u) : u;
        if (next == u) {
            next = m_run.isRightToLeft ? plain<true>(u) : plain<false>(u);
        }
        u = next > u || enter(u) ? next : cluster(u, clusterEnd(u));
    }
}

// Shapes characters from unit `u` on as long as their letters are known; the unit of the
// first that is not, or the end. This is all that happens to plain text.
template <bool isRightToLeft>
int Shaping::plain(int u)
{
    const ZkUcs2 *const text = m_run.text;
    const std::uint8_t *const breaks = m_run.breaks;
    const ZkFontLetters &letters = m_letters;
    const int first = u, last = m_run.last, before = m_glyphs->size();
    const std::uint32_t kerned = m_isKerned ? ZkFontLetters::kMostIndex : 0;
    ZkShapedGlyph *glyph = m_glyphs->extend(last - u);
    std::uint32_t left = m_left;
    for (; u < last; ++u, ++glyph) {
        const char32_t c = isRightToLeft ? mirrored(text[u]) : text[u];
        const std::uint32_t word = letters.letter(c);
        const bool isAlone = (breaks[u + 1] & ZkTextBreaks::Grapheme) != 0 || u + 1 == last;
        if (!ZkFontLetters::has(word, c) || !isAlone) {
            break;
        }
        const std::uint32_t index = ZkFontLetters::indexOf(word);
        pull<isRightToLeft>(glyph, u == first, left, index);
        left = index & kerned;
        put(glyph, u, index, ZkFontLetters::advanceOf(word));
    }
    endStretch(before, u - first, left, false);
    return u;
}

// Keeps `count` glyphs behind the `before` that were there, and what the last of them means to
// the next.
void Shaping::endStretch(int before, int count, std::uint32_t left, bool joins)
{
    m_glyphs->truncate(before + count);
    if (count > 0) {
        m_joinsForward = joins;
        m_left = left;
        m_kernedAt = before + count - 1;
    }
}

// How the letter at unit `u` is shown behind one that joins it or not: `*shown` is changed
// when that is a form. False when it takes a closer look: for marks and ligatures. `*next` are
// the forms of the unit behind.
inline bool Shaping::findForm(int u, const ZkArabicForms &forms, bool before, ZkArabicForms *next,
                              char32_t *shown) const
{
    const ZkUcs2 *const text = m_run.text;
    if (u + 1 == m_run.contextLast) {
        before = before && forms.joins();
        *shown = before ? forms.form(ZkArabicForms::Final) : *shown;
        return true;
    }
    const char32_t behind = text[u + 1];
    *next = ZkArabicForms(behind);
    if (u + 1 < m_run.last && ((m_run.breaks[u + 1] & ZkTextBreaks::Grapheme) == 0 ||
                               (text[u] == kLam && zkLamAlef(behind) != 0))) {
        return false;
    }
    if (!forms.joins()) {
        return true;
    }
    // What stands before the first of all that are passed over joins nothing.
    const bool after =
        forms.isDual() && (next->joins() || (behind >= kSoftHyphen && joinsAfter(u + 1)));
    if (before || after) {
        *shown = forms.form(!before ? ZkArabicForms::Initial
                            : after ? ZkArabicForms::Medial
                                    : ZkArabicForms::Final);
    }
    return true;
}

// Shapes Arabic letters from unit `u` on as `plain` does others, and with them the plain
// characters that are known. The unit to go on from.
int Shaping::joinedLetters(int u)
{
    const ZkUcs2 *const text = m_run.text;
    ZkArabicForms forms(text[u]);
    if (!forms.joins()) {
        return u;
    }
    const int first = u, last = m_run.last, before = m_glyphs->size();
    const std::uint32_t kerned = m_isKerned ? ZkFontLetters::kMostIndex : 0;
    ZkShapedGlyph *glyph = m_glyphs->extend(last - u);
    std::uint32_t left = m_left;
    bool joins = m_joinsForward;
    for (; u < last; ++u, ++glyph) {
        const bool isLetter = forms.joins();
        ZkArabicForms next(0);
        char32_t shown = mirrored(text[u]);
        if (!findForm(u, forms, joins, &next, &shown)) {
            break;
        }
        std::uint32_t word = m_letters.letter(shown);
        const bool isAlone = isLetter && shown == text[u];
        if (!isKnown(word, shown, isAlone)) {
            word = isLetter ? enterForm(shown, isAlone) : 0;
            if (!isKnown(word, shown, isAlone)) {
                break;
            }
        }
        const std::uint32_t index = ZkFontLetters::indexOf(word);
        pull<true>(glyph, u == first, left, index);
        left = index & kerned;
        put(glyph, u, index, ZkFontLetters::advanceOf(word));
        joins = isLetter && forms.isDual();
        forms = next;
    }
    endStretch(before, u - first, left, joins);
    return u;
}

// The word of an Arabic letter's form, which is entered among the known letters. Another
// word when that cannot be, or the face lacks the form.
std::uint32_t Shaping::enterForm(char32_t shown, bool isAlone)
{
    const std::uint32_t index = m_run.face->glyphIndex(shown);
    if (isAlone || index != 0) {
        remember(shown, index, record(index), isAlone);
    }
    return m_letters.letter(shown);
}

// Enters the character at unit `u` among the known letters. False when it is not plain, or
// cannot be remembered: then `cluster` shapes it.
bool Shaping::enter(int u)
{
    const char32_t c = m_run.text[u];
    if (clusterEnd(u) != u + 1 || (c & 0xF800) == 0xD800 || !isPlain(c)) {
        return false;
    }
    const char32_t shown = shownFor(c);
    const std::uint32_t index = m_run.face->glyphIndex(shown);
    return remember(shown, index, record(index));
}

bool Shaping::remember(char32_t shown, std::uint32_t index, const ZkGlyph *glyph, bool isAlone)
{
    return !glyph->isFailed() &&
           m_letters.enter(shown, index, std::max<int>(glyph->bitmap.advance, 0), isAlone);
}

// The record and index of a character of a cluster, which is remembered without being plain.
const ZkGlyph *Shaping::recordOf(char32_t c, std::uint32_t *index)
{
    const bool canBeAlone = c < ZkFontLetters::kAloneEnd;
    const std::uint32_t word = m_letters.letter(c);
    if ((c < 0x10000 && isKnown(word, c, false)) || (canBeAlone && isKnown(word, c, true))) {
        *index = ZkFontLetters::indexOf(word);
        return record(*index);
    }
    *index = m_run.face->glyphIndex(c);
    const ZkGlyph *const glyph = record(*index);
    if (canBeAlone) {
        remember(c, *index, glyph, true);
    }
    return glyph;
}

inline ZkShapedGlyph *Shaping::add(int u, std::uint32_t index, int advance)
{
    ZkShapedGlyph *const glyph = m_glyphs->extend(1);
    put(glyph, u, index, std::clamp(advance, 0, kMostAdvance));
    return glyph;
}

// By how many pixels `next` stands nearer to `before`, which is the right one of the two in
// right-to-left text. Both have room in a word, `before` is not 0.
template <bool isRightToLeft>
inline int Shaping::distance(std::uint32_t before, std::uint32_t next)
{
    const std::uint32_t left = isRightToLeft ? next : before;
    const std::uint32_t right = isRightToLeft ? before : next;
    const std::uint32_t word = m_letters.pair(left, right);
    const int known = ZkFontLetters::distanceIn(word, left, right);
    return known != ZkFontLetters::kNoDistance ? known : askDistance(left, right);
}

int Shaping::askDistance(std::uint32_t left, std::uint32_t right)
{
    const int pixels = m_run.face->kerning(left, right, m_run.font.fontSize());
    m_letters.enterPair(left, right, pixels);
    return pixels;
}

// Moves `index`, which is about to stand in `glyph`, nearer to the glyph before it: the one
// that is kerned last for the first of a stretch. `left` is 0 for none.
template <bool isRightToLeft>
inline void Shaping::pull(ZkShapedGlyph *glyph, bool isFirst, std::uint32_t left,
                          std::uint32_t index)
{
    const int nearer = left != 0 ? distance<isRightToLeft>(left, index) : 0;
    if (nearer != 0) {
        ZkShapedGlyph &before = isFirst ? (*m_glyphs)[m_kernedAt] : glyph[-1];
        before.advance = std::max(before.advance + nearer * 64, 0);
    }
}

// Moves the glyph `index`, which is about to be added, nearer to the one before it.
void Shaping::kern(std::uint32_t index)
{
    if (!m_isKerned) {
        return;
    }
    index = index > ZkFontLetters::kMostIndex ? 0 : index; // no font kerns such a glyph
    if (m_left != 0 && index != 0) {
        const int nearer =
            m_run.isRightToLeft ? distance<true>(m_left, index) : distance<false>(m_left, index);
        ZkShapedGlyph &before = (*m_glyphs)[m_kernedAt];
        before.advance = std::max(before.advance + nearer * 64, 0);
    }
    m_left = index;
    m_kernedAt = m_glyphs->size();
}

// Whether a letter before unit `u`, marks passed over, joins what follows.
bool Shaping::joinsBefore(int u) const
{
    const int least = std::max(m_run.contextFirst, u - kMostContext);
    for (int i = u; i-- > least;) {
        char32_t c = m_run.text[i];
        if (zkIsTrailSurrogate(c) && i > least && zkIsLeadSurrogate(m_run.text[i - 1])) {
            c = zkPairOf(m_run.text[--i], c);
        }
        const unsigned joining = zkCharacter(c).joining;
        if (joining != ZkCharacter::JoiningTransparent) {
            return joinsForward(joining);
        }
    }
    return false;
}

// Whether a letter from unit `u` on, marks passed over, joins what is before it.
bool Shaping::joinsAfter(int u) const
{
    const int most =
        u < m_run.last ? m_run.contextLast : std::min(m_run.contextLast, m_run.last + kMostContext);
    for (int i = u; i < most; ++i) {
        char32_t c = m_run.text[i];
        if (zkIsLeadSurrogate(c) && i + 1 < most && zkIsTrailSurrogate(m_run.text[i + 1])) {
            c = zkPairOf(c, m_run.text[++i]);
        }
        const unsigned joining = zkCharacter(c).joining;
        if (joining != ZkCharacter::JoiningTransparent) {
            return joinsBackward(joining);
        }
    }
    return false;
}

// The presentation form of a letter, the letter itself where the face has none.
char32_t Shaping::joined(char32_t letter, unsigned joining, bool before, bool after) const
{
    before = before && joinsBackward(joining);
    after = after && joinsForward(joining);
    if (!before && !after) {
        return letter;
    }
    const char32_t form = ZkArabicForms(letter).form(before && after ? ZkArabicForms::Medial
                                                     : before        ? ZkArabicForms::Final
                                                                     : ZkArabicForms::Initial);
    if (form == 0) {
        return letter;
    }
    const std::uint32_t word = m_letters.letter(form);
    const bool isThere = ZkFontLetters::has(word, form) ? ZkFontLetters::indexOf(word) != 0
                                                        : m_run.face->hasGlyph(form);
    return isThere ? form : letter;
}

// The lam-alef of a lam whose cluster ends at `end`, 0 when no alef follows or the face has
// none. `*alefEnd` is the end of the alef's cluster then.
char32_t Shaping::ligature(char32_t letter, int end, bool before, int *alefEnd)
{
    if (letter != kLam || end >= m_run.last) {
        return 0;
    }
    for (int i = end; i-- > m_run.first && m_run.text[i] != kLam;) {
        if (!isTransparent(m_run.text[i])) {
            return 0; // a joiner keeps them apart
        }
    }
    const char32_t alone = zkLamAlef(m_run.text[end]);
    if (alone == 0) {
        return 0;
    }
    const char32_t form = alone + (before ? 1U : 0U);
    *alefEnd = clusterEnd(end);
    return m_run.face->hasGlyph(form) ? form : 0;
}

// The next character of the reader's cluster that is seen and stands by itself: the ones
// that the face has composed with the letter are passed over. False at the end. A mark is
// in the way of those behind it that do not come later in the canonical order.
bool Shaping::next(Reader *reader, Part *part) const
{
    int units = 0;
    for (; reader->at < reader->end; reader->at += units) {
        const char32_t c = characterAt(reader->at, &units);
        const ZkCharacter &properties = zkCharacter(c);
        if (zkIsUnseen(c, properties)) {
            continue;
        }
        const unsigned combiningClass = properties.combiningClass;
        const bool isBlocked = reader->count == 0 || !reader->composes ||
                               (reader->count > 1 && reader->last >= combiningClass);
        const char32_t composed = isBlocked ? 0 : zkCompose(reader->letter, c);
        if (composed != 0 && m_run.face->hasGlyph(composed)) {
            reader->letter = composed;
            continue;
        }
        if (reader->count++ == 0) {
            reader->letter = c;
        } else {
            reader->last = combiningClass;
        }
        reader->at += units;
        *part = {c, &properties};
        return true;
    }
    return false;
}

// Shapes the cluster `[u, end)`, and the alef behind a lam with it; the unit to go on from.
// Its letter is known when all of it was seen.
int Shaping::cluster(int u, int end)
{
    Reader reader = {u, end, 0, 0, 0, true};
    Part kept[kKeptParts];
    int count = 0;
    while (count < kKeptParts && next(&reader, &kept[count])) {
        ++count;
    }
    if (count == 0) {
        int units = 0;
        const unsigned joining = zkCharacter(characterAt(u, &units)).joining;
        if (joining != ZkCharacter::JoiningTransparent) {
            m_joinsForward = joinsForward(joining);
        }
        add(u, 0, 0)->flags = ZkShapedGlyph::Invisible;
        m_left = 0;
        return end;
    }
    Reader rest = reader;
    Part part = {};
    while (count == kKeptParts && next(&reader, &part)) {
    }
    const char32_t letter = reader.letter;
    const ZkCharacter &first = letter == kept[0].c ? *kept[0].properties : zkCharacter(letter);
    char32_t shown = letter;
    int behind = end;
    if (first.joining != ZkCharacter::JoiningNone &&
        first.joining != ZkCharacter::JoiningTransparent) {
        int alefEnd = end;
        const bool before = m_joinsForward && joinsBackward(first.joining);
        const char32_t both = ligature(shown, end, before, &alefEnd);
        if (both != 0) {
            shown = both;
            behind = alefEnd;
            m_joinsForward = false;
        } else {
            shown = joined(shown, first.joining, before, joinsAfter(u + 1));
            m_joinsForward = joinsForward(first.joining);
        }
    } else if (first.joining == ZkCharacter::JoiningNone) {
        m_joinsForward = false;
    }
    heedJoiner(u, behind);

    std::uint32_t index = 0;
    const ZkGlyph *const glyph = recordOf(shownFor(shown), &index);
    m_character = letter;
    if (isMark(first)) {
        setBare(u, glyph);
    } else {
        kern(index);
        add(u, index, glyph->bitmap.advance);
        setLetter(glyph);
    }
    for (int i = 1; i < count; ++i) {
        setMark(u, kept[i]);
    }
    while (count == kKeptParts && next(&rest, &part)) {
        setMark(u, part);
    }
    if (behind > end) { // the marks of the alef
        Reader alef = {end + 1, behind, 0, 0, 0, false};
        while (next(&alef, &part)) {
            setMark(u, part);
        }
    }
    return behind;
}

// A joiner or non-joiner at the end of the units `[first, last)`, marks passed over, has the
// last word.
void Shaping::heedJoiner(int first, int last)
{
    for (int i = last; i-- > first;) {
        if ((m_run.text[i] & ~1U) == kNonJoiner) {
            const bool joins = m_run.text[i] != kNonJoiner;
            while (++i < last && isTransparent(m_run.text[i])) {
            }
            m_joinsForward = i == last ? joins : m_joinsForward;
            return;
        }
    }
}

// Marks that follow are set on `glyph`, which has just been added.
void Shaping::setLetter(const ZkGlyph *glyph)
{
    const GlyphBitmap &bitmap = glyph->bitmap;
    m_letter = {&bitmap, bitmap.left, -bitmap.top, 0, 0};
    m_above = m_below = m_letter;
    m_advance = std::max<int>(bitmap.advance, 0);
    m_thai[0] = m_character < 0x10000 ? static_cast<ZkUcs2>(m_character) : ZkUcs2(0);
    m_thai[1] = m_thai[2] = 0;
    m_thaiMarks = 0;
    m_tone = -1; // no test can tell: any number below 0 does
}

// A mark with nothing to stand on takes the room of its ink.
void Shaping::setBare(int u, const ZkGlyph *glyph)
{
    const GlyphBitmap &bitmap = glyph->bitmap;
    m_left = 0;
    setLetter(glyph);
    if (bitmap.advance > 0) {
        add(u, glyph->index(), bitmap.advance);
    } else {
        add(u, glyph->index(), bitmap.width)->x = offset(-bitmap.left);
        m_letter.x = m_above.x = m_below.x = 0;
        m_advance = bitmap.width;
    }
}

// Adds what stands behind a letter in its cluster: a mark over or under it, or another
// letter beside it.
void Shaping::setMark(int u, const Part &part)
{
    m_left = 0; // what follows is not kerned
    std::uint32_t index = 0;
    const ZkGlyph *const glyph = recordOf(part.c, &index);
    const GlyphBitmap &bitmap = glyph->bitmap;
    const ZkCharacter &properties = *part.properties;
    ZkPlacedGlyph mark = {&bitmap, 0, -bitmap.top, 0, 0};
    const bool isThai = zkThaiClass(m_thai[0]) == ZkThaiClass::Consonant && m_thaiMarks < 2 &&
                        part.c < 0x10000 &&
                        zkThaiClass(static_cast<ZkUcs2>(part.c)) > ZkThaiClass::Consonant;
    const MarkPlace place = placeOf(part.c, properties.combiningClass);
    if (!isMark(properties) || (place == MarkPlace::AsDrawn && !isThai && bitmap.advance > 0)) {
        if (part.c == kSaraAm && m_tone >= 0) { // its ring stands under the tone mark
            ZkShapedGlyph &tone = (*m_glyphs)[m_tone];
            const ZkGlyph *const toneGlyph = record(tone.index);
            ZkPlacedGlyph raised = {&toneGlyph->bitmap,
                                    tone.x / 64 + toneGlyph->bitmap.left + m_advance,
                                    tone.y / 64 - toneGlyph->bitmap.top, 0, 0};
            mark.x = m_advance + bitmap.left;
            zkRaiseAbove(raised, mark);
            tone.y = offset(raised.y + toneGlyph->bitmap.top);
        }
        add(u, index, bitmap.advance);
        m_character = part.c;
        setLetter(glyph);
        return;
    }
    const int inkLeft = m_letter.x;
    const int inkWidth =
        m_letter.glyph->width != 0 ? static_cast<int>(m_letter.glyph->width) : m_advance;
    mark.x = inkLeft + (inkWidth - bitmap.width) / 2;
    if (isThai) {
        setThaiMark(&mark, part);
    } else if (place == MarkPlace::AsDrawn) {
        mark.x = m_advance + bitmap.left;
    } else if (place == MarkPlace::Below) {
        zkDropBelow(mark, m_below);
        m_below = mark;
    } else if (place != MarkPlace::Inside) {
        if (place == MarkPlace::AboveLeft) {
            mark.x = inkLeft;
        } else if (place == MarkPlace::AboveRight) {
            mark.x = inkLeft + inkWidth - bitmap.width;
        }
        zkRaiseAbove(mark, m_above);
        m_above = mark;
    }
    const int pen = m_run.isRightToLeft ? 0 : m_advance;
    ZkShapedGlyph *const added = add(u, index, 0);
    added->x = offset(mark.x - bitmap.left - pen);
    added->y = offset(mark.y + bitmap.top);
}

// The stack of a Thai consonant: a vowel or sign, then a tone or sign on top of it.
void Shaping::setThaiMark(ZkPlacedGlyph *mark, const Part &part)
{
    m_thai[++m_thaiMarks] = static_cast<ZkUcs2>(part.c);
    const ZkThaiMarks marks(m_thai);
    mark->x = zkThaiMarkX(*m_letter.glyph, *mark->glyph, 0, m_advance);
    if (m_thaiMarks == 1 && marks.lower) {
        zkDropBelow(*mark, m_letter);
        m_below = *mark;
        return;
    }
    if (m_thaiMarks == 1 || marks.lower) {
        m_thaiShift = zkStemShift(*mark, m_letter);
    }
    mark->x = zkWrapped(mark->x - m_thaiShift); // those on top move with the first
    if (m_thaiMarks == 2 && marks.upper) {
        zkRaiseAbove(*mark, m_above);
    }
    m_above = *mark;
    if (m_thaiMarks == 1 && marks.tone == 1) {
        m_tone = m_glyphs->size();
    }
}

// With letters that are remembered for this run alone.
__attribute__((noinline)) void shapeAlone(const ZkShapeRun &run, ZkShapedGlyphs *glyphs)
{
    ZkFontLetters letters = {};
    Shaping(run, glyphs, &letters).shape();
}

} // namespace

ZkShaper::~ZkShaper() = default;

bool ZkShaper::needsScripts() const
{
    return true;
}

std::uint32_t ZkShaper::serial() const
{
    return 0;
}

void ZkSimpleShaper::shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs)
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*run.face);
    ZkFontLetters *const letters = open != nullptr ? open->lettersOf(run.font) : nullptr;
    letters != nullptr ? Shaping(run, glyphs, letters).shape() : shapeAlone(run, glyphs);
}

bool ZkSimpleShaper::needsScripts() const
{
    return false;
}
