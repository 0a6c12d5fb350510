#ifndef ZKARABICFORMS_H
#define ZKARABICFORMS_H

#include "zkglobal.h"

#include <cstdint>

constexpr char32_t kZkFirstArabicLetter = 0x0622, kZkFirstAlef = 0x0622;
constexpr unsigned kZkArabicLetters = 178, kZkAlefs = 6;

/// The presentation forms of each letter from the first on, see `ZkArabicForms`; 0 is none.
extern const std::uint16_t kZkArabicForms[kZkArabicLetters];
/// Of each alef the isolated lam-alef, which its final form follows; 0 for what is no alef.
extern const std::uint16_t kZkLamAlefs[kZkAlefs];

/// The presentation forms of an Arabic letter.
class ZkArabicForms
{
public:
    enum Form { Final, Initial, Medial };

    explicit ZkArabicForms(char32_t letter)
        : m_word(letter - kZkFirstArabicLetter < kZkArabicLetters
                     ? kZkArabicForms[letter - kZkFirstArabicLetter]
                     : 0U)
    {
    }

    bool isEmpty() const { return m_word == 0; }
    /// True when the letter joins on both sides if it is `isDual`, else the one before it only.
    bool joins() const { return (m_word & kJoins) != 0; }
    bool isDual() const { return (m_word & kDual) != 0; }

    /// The character of a form, 0 for none.
    char32_t form(Form form) const
    {
        if (form == Final) {
            return isEmpty() ? 0 : kFirstForm + (m_word & (kDual - 1));
        }
        return !isDual() ? 0
               : (m_word & kApart) != 0
                   ? kApartInitial + (form - Initial)
                   : kFirstForm + (m_word & (kDual - 1)) + static_cast<unsigned>(form);
    }

private:
    static constexpr char32_t kFirstForm = 0xFB50, kApartInitial = 0xFBE8;
    // Below them, the final form less the first of all. Initial and medial follow it, or
    // stand apart.
    static constexpr unsigned kDual = 0x400, kApart = 0x800, kJoins = 0x1000;

    unsigned m_word;
};

/// The lam-alef of an alef behind a lam, 0 for any other character.
inline char32_t zkLamAlef(char32_t alef)
{
    return alef - kZkFirstAlef < kZkAlefs ? kZkLamAlefs[alef - kZkFirstAlef] : 0U;
}

#endif
