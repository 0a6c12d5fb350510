#ifndef ZKTHAI_H
#define ZKTHAI_H

#include "zkglobal.h"

#include <array>
#include <cstdint>

/// Thai marks stack on a consonant: a vowel above or below it, a tone mark on the
/// consonant or on top of the vowel. Text holds them behind the consonant in that
/// order.

constexpr ZkUcs2 kZkFirstThai = 0x0E00, kZkLastThai = 0x0E7F;

constexpr bool zkIsThai(ZkUcs2 c)
{
    return c >= kZkFirstThai && c <= kZkLastThai;
}

enum class ZkThaiClass : std::uint8_t {
    Other,      ///< carries no marks and is none
    Consonant,  ///< carries marks
    UpperVowel, ///< above the consonant, may carry a second mark
    LowerVowel, ///< below the consonant, may be followed by a second mark
    LowerSign,  ///< below, nothing follows
    UpperSign,  ///< above, nothing follows
    Tone,       ///< on the consonant or on its vowel
};

constexpr std::array<ZkThaiClass, 128> zkMakeThaiClasses()
{
    std::array<ZkThaiClass, 128> classes = {};
    for (std::size_t c = 0x01; c <= 0x2E; ++c) { // KO KAI to HO NOKHUK
        classes[c] = ZkThaiClass::Consonant;
    }
    classes[0x24] = ZkThaiClass::Other;      // RU
    classes[0x26] = ZkThaiClass::Other;      // LU
    classes[0x31] = ZkThaiClass::UpperVowel; // MAI HAN-AKAT
    classes[0x34] = ZkThaiClass::UpperVowel; // SARA I
    classes[0x35] = ZkThaiClass::UpperVowel; // SARA II
    classes[0x36] = ZkThaiClass::UpperVowel; // SARA UE
    classes[0x37] = ZkThaiClass::UpperVowel; // SARA UEE
    classes[0x38] = ZkThaiClass::LowerVowel; // SARA U
    classes[0x39] = ZkThaiClass::LowerVowel; // SARA UU
    classes[0x3A] = ZkThaiClass::LowerSign;  // PHINTHU
    classes[0x47] = ZkThaiClass::UpperSign;  // MAITAIKHU
    classes[0x48] = ZkThaiClass::Tone;       // MAI EK
    classes[0x49] = ZkThaiClass::Tone;       // MAI THO
    classes[0x4A] = ZkThaiClass::Tone;       // MAI TRI
    classes[0x4B] = ZkThaiClass::Tone;       // MAI CHATTAWA
    classes[0x4C] = ZkThaiClass::UpperSign;  // THANTHAKHAT
    classes[0x4D] = ZkThaiClass::UpperSign;  // NIKHAHIT
    classes[0x4E] = ZkThaiClass::UpperSign;  // YAMAKKAN
    return classes;
}

inline constexpr std::array<ZkThaiClass, 128> kZkThaiClasses = zkMakeThaiClasses();

constexpr ZkThaiClass zkThaiClass(ZkUcs2 c)
{
    return zkIsThai(c) ? kZkThaiClasses[c & 0x7FU] : ZkThaiClass::Other;
}

/// Whether `mark` goes on top of the vowel mark `vowel`.
constexpr bool zkStacksOnVowel(ZkUcs2 vowel, ZkUcs2 mark)
{
    switch (mark) {
    case 0x0E47: // MAITAIKHU on SARA II, SARA UEE
        return vowel == 0x0E35 || vowel == 0x0E37;
    case 0x0E4C: // THANTHAKHAT and
    case 0x0E4D: // NIKHAHIT on SARA I, SARA U
        return vowel == 0x0E34 || vowel == 0x0E38;
    default: return zkThaiClass(mark) == ZkThaiClass::Tone;
    }
}

/// The marks on the consonant `units[0]` as offsets from it, 0 for none and all 0
/// for any other unit. `units[1]` is read behind a consonant, `units[2]` behind a
/// vowel mark.
struct ZkThaiMarks {
    explicit constexpr ZkThaiMarks(const ZkUcs2 *units)
    {
        if (zkThaiClass(units[0]) != ZkThaiClass::Consonant) {
            return;
        }
        switch (zkThaiClass(units[1])) {
        case ZkThaiClass::Other:
        case ZkThaiClass::Consonant: return;
        case ZkThaiClass::Tone: tone = 1; return;
        case ZkThaiClass::UpperSign: upper = 1; return;
        case ZkThaiClass::LowerSign: lower = 1; return;
        case ZkThaiClass::UpperVowel: upper = 1; break;
        case ZkThaiClass::LowerVowel: lower = 1; break;
        }
        if (zkStacksOnVowel(units[1], units[2])) {
            tone = 2;
        }
    }

    constexpr int count() const { return (tone != 0) + (upper != 0) + (lower != 0); }

    int tone = 0;  ///< 1, or 2 on top of a vowel mark
    int upper = 0; ///< 1
    int lower = 0; ///< 1
};

#endif
