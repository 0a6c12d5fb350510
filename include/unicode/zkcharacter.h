#ifndef ZKCHARACTER_H
#define ZKCHARACTER_H

#include "zkglobal.h"

/// The properties of one character as of Unicode 15.0, in eight bytes. Every code
/// point has them, those that are not assigned too. The names of the values are those
/// of the Unicode Character Database: short ones where texts about the algorithms use
/// them so.
///
///     zkCharacter(0x0628).bidi;      // ZkCharacter::BidiAL
///     zkCharacter(0x0628).joining;   // ZkCharacter::JoiningDual
///     zkCharacter(0x1F600).isExtendedPictographic; // 1
struct ZkCharacter {
    enum Category {
        CategoryLu,
        CategoryLl,
        CategoryLt,
        CategoryLm,
        CategoryLo,
        CategoryMn,
        CategoryMc,
        CategoryMe,
        CategoryNd,
        CategoryNl,
        CategoryNo,
        CategoryPc,
        CategoryPd,
        CategoryPs,
        CategoryPe,
        CategoryPi,
        CategoryPf,
        CategoryPo,
        CategorySm,
        CategorySc,
        CategorySk,
        CategorySo,
        CategoryZs,
        CategoryZl,
        CategoryZp,
        CategoryCc,
        CategoryCf,
        CategoryCs,
        CategoryCo,
        CategoryCn
    };
    enum Bidi {
        BidiL,
        BidiR,
        BidiAL,
        BidiEN,
        BidiES,
        BidiET,
        BidiAN,
        BidiCS,
        BidiNSM,
        BidiBN,
        BidiB,
        BidiS,
        BidiWS,
        BidiON,
        BidiLRE,
        BidiLRO,
        BidiRLE,
        BidiRLO,
        BidiPDF,
        BidiLRI,
        BidiRLI,
        BidiFSI,
        BidiPDI
    };
    enum Bracket { BracketNone, BracketOpen, BracketClose };
    /// As in the database, before any rule resolves a class to another one. Some rules ask
    /// for more than the class; `lineVariant` is 1 for an OP or CP of East Asian width, for
    /// an ID that is an unassigned pictograph, and for an SA that is a mark.
    enum Line {
        LineXX,
        LineAI,
        LineAL,
        LineB2,
        LineBA,
        LineBB,
        LineBK,
        LineCB,
        LineCJ,
        LineCL,
        LineCM,
        LineCP,
        LineCR,
        LineEB,
        LineEM,
        LineEX,
        LineGL,
        LineH2,
        LineH3,
        LineHL,
        LineHY,
        LineID,
        LineIN,
        LineIS,
        LineJL,
        LineJT,
        LineJV,
        LineLF,
        LineNL,
        LineNS,
        LineNU,
        LineOP,
        LinePO,
        LinePR,
        LineQU,
        LineRI,
        LineSA,
        LineSG,
        LineSP,
        LineSY,
        LineWJ,
        LineZW,
        LineZWJ
    };
    enum Grapheme {
        GraphemeOther,
        GraphemeCR,
        GraphemeLF,
        GraphemeControl,
        GraphemeExtend,
        GraphemeZWJ,
        GraphemeRegionalIndicator,
        GraphemePrepend,
        GraphemeSpacingMark,
        GraphemeL,
        GraphemeV,
        GraphemeT,
        GraphemeLV,
        GraphemeLVT
    };
    enum Word {
        WordOther,
        WordCR,
        WordLF,
        WordNewline,
        WordExtend,
        WordZWJ,
        WordFormat,
        WordRegionalIndicator,
        WordKatakana,
        WordHebrewLetter,
        WordALetter,
        WordSingleQuote,
        WordDoubleQuote,
        WordMidNumLet,
        WordMidLetter,
        WordMidNum,
        WordNumeric,
        WordExtendNumLet,
        WordWSegSpace
    };
    enum Joining {
        JoiningNone,
        JoiningRight,
        JoiningLeft,
        JoiningDual,
        JoiningCausing,
        JoiningTransparent
    };
    enum Width {
        WidthNeutral,
        WidthAmbiguous,
        WidthHalfwidth,
        WidthNarrow,
        WidthFullwidth,
        WidthWide
    };
    /// What a character does in a syllable of an Indic or South East Asian script.
    /// Consonant, linker and extender are told for the scripts whose conjuncts stay
    /// together (Bengali, Devanagari, Gujarati, Malayalam, Oriya, Telugu), the others for
    /// scripts written without spaces. Grapheme clusters of Unicode 15.0 know none of them.
    enum Indic {
        IndicNone,
        IndicConsonant,
        IndicLinker,         ///< the virama that joins two consonants
        IndicExtend,         ///< a mark, or a joiner, between linker and consonant
        IndicLeadingVowel,   ///< stands before the consonant it is spoken behind
        IndicFollowingVowel, ///< a letter of its own behind its consonant
        IndicStacker         ///< joins the next consonant below
    };
    enum Script {
        ScriptUnknown,
        ScriptCommon,
        ScriptInherited,
        ScriptAdlam,
        ScriptAhom,
        ScriptAnatolianHieroglyphs,
        ScriptArabic,
        ScriptArmenian,
        ScriptAvestan,
        ScriptBalinese,
        ScriptBamum,
        ScriptBassaVah,
        ScriptBatak,
        ScriptBengali,
        ScriptBhaiksuki,
        ScriptBopomofo,
        ScriptBrahmi,
        ScriptBraille,
        ScriptBuginese,
        ScriptBuhid,
        ScriptCanadianAboriginal,
        ScriptCarian,
        ScriptCaucasianAlbanian,
        ScriptChakma,
        ScriptCham,
        ScriptCherokee,
        ScriptChorasmian,
        ScriptCoptic,
        ScriptCuneiform,
        ScriptCypriot,
        ScriptCyproMinoan,
        ScriptCyrillic,
        ScriptDeseret,
        ScriptDevanagari,
        ScriptDivesAkuru,
        ScriptDogra,
        ScriptDuployan,
        ScriptEgyptianHieroglyphs,
        ScriptElbasan,
        ScriptElymaic,
        ScriptEthiopic,
        ScriptGeorgian,
        ScriptGlagolitic,
        ScriptGothic,
        ScriptGrantha,
        ScriptGreek,
        ScriptGujarati,
        ScriptGunjalaGondi,
        ScriptGurmukhi,
        ScriptHan,
        ScriptHangul,
        ScriptHanifiRohingya,
        ScriptHanunoo,
        ScriptHatran,
        ScriptHebrew,
        ScriptHiragana,
        ScriptImperialAramaic,
        ScriptInscriptionalPahlavi,
        ScriptInscriptionalParthian,
        ScriptJavanese,
        ScriptKaithi,
        ScriptKannada,
        ScriptKatakana,
        ScriptKawi,
        ScriptKayahLi,
        ScriptKharoshthi,
        ScriptKhitanSmallScript,
        ScriptKhmer,
        ScriptKhojki,
        ScriptKhudawadi,
        ScriptLao,
        ScriptLatin,
        ScriptLepcha,
        ScriptLimbu,
        ScriptLinearA,
        ScriptLinearB,
        ScriptLisu,
        ScriptLycian,
        ScriptLydian,
        ScriptMahajani,
        ScriptMakasar,
        ScriptMalayalam,
        ScriptMandaic,
        ScriptManichaean,
        ScriptMarchen,
        ScriptMasaramGondi,
        ScriptMedefaidrin,
        ScriptMeeteiMayek,
        ScriptMendeKikakui,
        ScriptMeroiticCursive,
        ScriptMeroiticHieroglyphs,
        ScriptMiao,
        ScriptModi,
        ScriptMongolian,
        ScriptMro,
        ScriptMultani,
        ScriptMyanmar,
        ScriptNabataean,
        ScriptNagMundari,
        ScriptNandinagari,
        ScriptNewTaiLue,
        ScriptNewa,
        ScriptNko,
        ScriptNushu,
        ScriptNyiakengPuachueHmong,
        ScriptOgham,
        ScriptOlChiki,
        ScriptOldHungarian,
        ScriptOldItalic,
        ScriptOldNorthArabian,
        ScriptOldPermic,
        ScriptOldPersian,
        ScriptOldSogdian,
        ScriptOldSouthArabian,
        ScriptOldTurkic,
        ScriptOldUyghur,
        ScriptOriya,
        ScriptOsage,
        ScriptOsmanya,
        ScriptPahawhHmong,
        ScriptPalmyrene,
        ScriptPauCinHau,
        ScriptPhagsPa,
        ScriptPhoenician,
        ScriptPsalterPahlavi,
        ScriptRejang,
        ScriptRunic,
        ScriptSamaritan,
        ScriptSaurashtra,
        ScriptSharada,
        ScriptShavian,
        ScriptSiddham,
        ScriptSignWriting,
        ScriptSinhala,
        ScriptSogdian,
        ScriptSoraSompeng,
        ScriptSoyombo,
        ScriptSundanese,
        ScriptSylotiNagri,
        ScriptSyriac,
        ScriptTagalog,
        ScriptTagbanwa,
        ScriptTaiLe,
        ScriptTaiTham,
        ScriptTaiViet,
        ScriptTakri,
        ScriptTamil,
        ScriptTangsa,
        ScriptTangut,
        ScriptTelugu,
        ScriptThaana,
        ScriptThai,
        ScriptTibetan,
        ScriptTifinagh,
        ScriptTirhuta,
        ScriptToto,
        ScriptUgaritic,
        ScriptVai,
        ScriptVithkuqi,
        ScriptWancho,
        ScriptWarangCiti,
        ScriptYezidi,
        ScriptYi,
        ScriptZanabazarSquare
    };

    std::uint32_t bidi : 5;        ///< a value of `Bidi`
    std::uint32_t bracket : 2;     ///< a value of `Bracket`; its pair is zkMirrored()
    std::uint32_t line : 6;        ///< a value of `Line`
    std::uint32_t lineVariant : 1; ///< more of what line rules ask, see `Line`
    std::uint32_t grapheme : 4;    ///< a value of `Grapheme`
    std::uint32_t isExtendedPictographic : 1;
    std::uint32_t word : 5;           ///< a value of `Word`
    std::uint32_t category : 5;       ///< a value of `Category`
    std::uint32_t joining : 3;        ///< a value of `Joining`
    std::uint32_t script : 8;         ///< a value of `Script`
    std::uint32_t combiningClass : 8; ///< canonical combining class, 0 to 240
    std::uint32_t width : 3;          ///< East Asian width, a value of `Width`
    std::uint32_t indic : 3;          ///< a value of `Indic`
    std::uint32_t isMirrored : 1;     ///< shows its mirror image in right-to-left text
    std::uint32_t isEmoji : 1;
    std::uint32_t isEmojiPresentation : 1; ///< in colours unless a selector says otherwise
    std::uint32_t isEmojiModifier : 1;
    std::uint32_t isEmojiModifierBase : 1;
    std::uint32_t isEmojiComponent : 1;
};
static_assert(sizeof(ZkCharacter) == 8, "a record is 8 bytes on every platform");

/// The properties of `c`; above U+10FFFF those of a character that is not assigned.
/// Constant time, no lock.
ZK_EXPORT const ZkCharacter &zkCharacter(char32_t c);

/// The character that looks like `c` seen in a mirror, `c` itself where there is none.
/// A bracket's mirror image is the bracket it pairs with.
ZK_EXPORT char32_t zkMirrored(char32_t c);

/// The one character that is canonically equivalent to `base` followed by `mark`, as
/// normalisation form C composes them (Hangul syllables too); 0 where there is none.
ZK_EXPORT char32_t zkCompose(char32_t base, char32_t mark);

/// A text whose characters have been looked up, for `ZkBidi` and `ZkTextBreaks` to share:
/// two bytes for each unit. The text itself is not copied; it must stay as it is while
/// this object, or an analysis of it, is asked. A surrogate without its partner is a
/// character of its own.
///
/// Memory grows with the longest text and is kept for the next one. With a buffer of the
/// caller's nothing is allocated as long as the text fits.
class ZK_EXPORT ZkTextCharacters
{
public:
    ZkTextCharacters();
    /// Uses `capacity` numbers at `buffer`, one for each unit, which must outlive this object.
    ZkTextCharacters(std::uint16_t *buffer, int capacity);
    ~ZkTextCharacters();
    ZkTextCharacters(const ZkTextCharacters &) = delete;
    ZkTextCharacters &operator=(const ZkTextCharacters &) = delete;

    /// Looks up `units` of UTF-16, or `count` code points. O(n).
    void setText(const ZkUcs2 *text, int units);
    void setText(const char32_t *text, int count);

    /// `text` is the text of before with `removed` units at `first` replaced by `inserted`
    /// others. Looks up those only; O(inserted), a move of what is behind and a glance at all
    /// of the text.
    void edit(const ZkUcs2 *text, int first, int removed, int inserted);
    void edit(const char32_t *text, int first, int removed, int inserted);

    /// Units of UTF-16 or code points, whichever the text is in.
    int size() const { return m_size; }

    /// The character that unit `i` belongs to; both units of a pair give the same.
    char32_t character(int i) const;
    const ZkCharacter &properties(int i) const { return zkCharacter(character(i)); }

    /// True when every character is sure to stand from left to right: no letter or
    /// number of a right-to-left script, no control of direction.
    bool isLeftToRight() const { return m_leftToRight; }

private:
    friend class ZkBidi;
    friend class ZkTextBreaks;

    void reserve(int units);
    template <typename Unit>
    void set(const Unit *text, int units);
    template <typename Unit>
    void replace(const Unit *text, int first, int removed, int inserted);
    template <typename Unit>
    void keep(const Unit *text);

    const ZkUcs2 *m_units;    // the text when it is UTF-16, else null
    const char32_t *m_points; // the text when it is code points, else null
    std::uint16_t *m_classes; // of each unit, what analysis asks
    int m_size;
    int m_capacity;
    bool m_ownsClasses;
    bool m_leftToRight;
    bool m_separated; // there may be separators of paragraphs
};

#endif
