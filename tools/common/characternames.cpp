// Made by tools/unicode/properties.py from include/unicode/zkcharacter.h. Do not edit.

#include "characternames.h"

// clang-format off

const char *host::categoryName(unsigned value)
{
    static const char *const kNames[30] = {
    "Lu", "Ll", "Lt", "Lm", "Lo", "Mn", "Mc", "Me", "Nd", "Nl", "No", "Pc", "Pd", "Ps", "Pe", "Pi",
    "Pf", "Po", "Sm", "Sc", "Sk", "So", "Zs", "Zl", "Zp", "Cc", "Cf", "Cs", "Co", "Cn",
    };
    return value < 30 ? kNames[value] : "";
}

const char *host::bidiName(unsigned value)
{
    static const char *const kNames[23] = {
    "L", "R", "AL", "EN", "ES", "ET", "AN", "CS", "NSM", "BN", "B", "S", "WS", "ON", "LRE", "LRO",
    "RLE", "RLO", "PDF", "LRI", "RLI", "FSI", "PDI",
    };
    return value < 23 ? kNames[value] : "";
}

const char *host::lineName(unsigned value)
{
    static const char *const kNames[43] = {
    "XX", "AI", "AL", "B2", "BA", "BB", "BK", "CB", "CJ", "CL", "CM", "CP", "CR", "EB", "EM", "EX",
    "GL", "H2", "H3", "HL", "HY", "ID", "IN", "IS", "JL", "JT", "JV", "LF", "NL", "NS", "NU", "OP",
    "PO", "PR", "QU", "RI", "SA", "SG", "SP", "SY", "WJ", "ZW", "ZWJ",
    };
    return value < 43 ? kNames[value] : "";
}

const char *host::graphemeName(unsigned value)
{
    static const char *const kNames[14] = {
    "Other", "CR", "LF", "Control", "Extend", "ZWJ", "RegionalIndicator", "Prepend", "SpacingMark",
    "L", "V", "T", "LV", "LVT",
    };
    return value < 14 ? kNames[value] : "";
}

const char *host::wordName(unsigned value)
{
    static const char *const kNames[19] = {
    "Other", "CR", "LF", "Newline", "Extend", "ZWJ", "Format", "RegionalIndicator", "Katakana",
    "HebrewLetter", "ALetter", "SingleQuote", "DoubleQuote", "MidNumLet", "MidLetter", "MidNum",
    "Numeric", "ExtendNumLet", "WSegSpace",
    };
    return value < 19 ? kNames[value] : "";
}

const char *host::joiningName(unsigned value)
{
    static const char *const kNames[6] = {
    "None", "Right", "Left", "Dual", "Causing", "Transparent",
    };
    return value < 6 ? kNames[value] : "";
}

const char *host::widthName(unsigned value)
{
    static const char *const kNames[6] = {
    "Neutral", "Ambiguous", "Halfwidth", "Narrow", "Fullwidth", "Wide",
    };
    return value < 6 ? kNames[value] : "";
}

const char *host::scriptName(unsigned value)
{
    static const char *const kNames[164] = {
    "Unknown", "Common", "Inherited", "Adlam", "Ahom", "AnatolianHieroglyphs", "Arabic", "Armenian",
    "Avestan", "Balinese", "Bamum", "BassaVah", "Batak", "Bengali", "Bhaiksuki", "Bopomofo",
    "Brahmi", "Braille", "Buginese", "Buhid", "CanadianAboriginal", "Carian", "CaucasianAlbanian",
    "Chakma", "Cham", "Cherokee", "Chorasmian", "Coptic", "Cuneiform", "Cypriot", "CyproMinoan",
    "Cyrillic", "Deseret", "Devanagari", "DivesAkuru", "Dogra", "Duployan", "EgyptianHieroglyphs",
    "Elbasan", "Elymaic", "Ethiopic", "Georgian", "Glagolitic", "Gothic", "Grantha", "Greek",
    "Gujarati", "GunjalaGondi", "Gurmukhi", "Han", "Hangul", "HanifiRohingya", "Hanunoo", "Hatran",
    "Hebrew", "Hiragana", "ImperialAramaic", "InscriptionalPahlavi", "InscriptionalParthian",
    "Javanese", "Kaithi", "Kannada", "Katakana", "Kawi", "KayahLi", "Kharoshthi",
    "KhitanSmallScript", "Khmer", "Khojki", "Khudawadi", "Lao", "Latin", "Lepcha", "Limbu",
    "LinearA", "LinearB", "Lisu", "Lycian", "Lydian", "Mahajani", "Makasar", "Malayalam", "Mandaic",
    "Manichaean", "Marchen", "MasaramGondi", "Medefaidrin", "MeeteiMayek", "MendeKikakui",
    "MeroiticCursive", "MeroiticHieroglyphs", "Miao", "Modi", "Mongolian", "Mro", "Multani",
    "Myanmar", "Nabataean", "NagMundari", "Nandinagari", "NewTaiLue", "Newa", "Nko", "Nushu",
    "NyiakengPuachueHmong", "Ogham", "OlChiki", "OldHungarian", "OldItalic", "OldNorthArabian",
    "OldPermic", "OldPersian", "OldSogdian", "OldSouthArabian", "OldTurkic", "OldUyghur", "Oriya",
    "Osage", "Osmanya", "PahawhHmong", "Palmyrene", "PauCinHau", "PhagsPa", "Phoenician",
    "PsalterPahlavi", "Rejang", "Runic", "Samaritan", "Saurashtra", "Sharada", "Shavian", "Siddham",
    "SignWriting", "Sinhala", "Sogdian", "SoraSompeng", "Soyombo", "Sundanese", "SylotiNagri",
    "Syriac", "Tagalog", "Tagbanwa", "TaiLe", "TaiTham", "TaiViet", "Takri", "Tamil", "Tangsa",
    "Tangut", "Telugu", "Thaana", "Thai", "Tibetan", "Tifinagh", "Tirhuta", "Toto", "Ugaritic",
    "Vai", "Vithkuqi", "Wancho", "WarangCiti", "Yezidi", "Yi", "ZanabazarSquare",
    };
    return value < 164 ? kNames[value] : "";
}
