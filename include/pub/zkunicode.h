#ifndef ZKUNICODE_H
#define ZKUNICODE_H

#include "zkglobal.h"

/// The properties of the 65,536 code points of the Basic Multilingual Plane, as
/// of version 5.0 of the Unicode Character Database: a character assigned later
/// has the record of an unassigned one. Constant data, read by any thread.
///
/// Two arrays make the table. The index has 2048 entries, one for each block of
/// 32 code points, that say where in the same array the block's row begins; an
/// entry of the row is the number of a record. Equal rows and equal records are
/// stored once, so a look-up is two reads of the index and no test.
class ZK_EXPORT ZkUnicodeTables
{
public:
    enum Category {
        MarkNonspacing = 1,
        MarkSpacing,
        MarkEnclosing,
        NumberDecimalDigit,
        NumberLetter,
        NumberOther,
        SeparatorSpace,
        SeparatorLine,
        SeparatorParagraph,
        OtherControl,
        OtherFormat,
        OtherSurrogate,
        OtherPrivateUse,
        OtherUnassigned,
        LetterUppercase,
        LetterLowercase,
        LetterTitlecase,
        LetterModifier,
        LetterOther,
        PunctuationConnector,
        PunctuationDash,
        PunctuationOpen,
        PunctuationClose,
        PunctuationInitialQuote,
        PunctuationFinalQuote,
        PunctuationOther,
        SymbolMath,
        SymbolCurrency,
        SymbolModifier,
        SymbolOther
    };

    /// The properties that one or more characters have in common. A difference is
    /// added to the character, modulo 65536.
    struct Properties {
        unsigned char category;             ///< general category, a value of `Category`
        signed char digitValue;             ///< 0 to 9, superscripts too; -1 for no digit
        unsigned char age : 4;              ///< 1 to 9: assigned in Unicode 1.1, 2.0, 2.1, 3.0,
                                            ///< 3.1, 3.2, 4.0, 4.1, 5.0; 0: not assigned
        unsigned char lowerCaseSpecial : 1; ///< the lower case is more than one unit
        unsigned char upperCaseSpecial : 1; ///< the upper case is more than one unit
        std::int16_t lowerCaseDifference;
        std::int16_t upperCaseDifference;
        std::int16_t titleCaseDifference;
        std::int16_t caseFoldDifference; ///< to the form in which letters compare without case
    };

    /// The record of `c`; never null.
    static const Properties *properties(ZkUcs2 c);
};

/// Questions about one character, answered from the same table.
class ZK_EXPORT ZkUnicode
{
public:
    /// White space: tab to carriage return (U+0009 to U+000D) and the separator
    /// categories. U+0085 and U+001C to U+001F are not, U+00A0 is.
    static bool isSpace(ZkUcs2 c);

    /// The upper (lower) case of `c`; `c` itself when it has none or when that
    /// takes more than one unit, as for U+00DF.
    static ZkUcs2 toUpper(ZkUcs2 c);
    static ZkUcs2 toLower(ZkUcs2 c);
};

#endif
