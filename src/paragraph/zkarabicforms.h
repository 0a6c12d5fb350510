#ifndef ZKARABICFORMS_H
#define ZKARABICFORMS_H

#include "zkglobal.h"

#include <cstdint>

/// The presentation forms of an Arabic letter: 0 where there is none. Letters that join
/// on one side only have a final form alone.
struct ZkArabicForms {
    enum Form { Final, Initial, Medial };

    std::uint16_t letter;
    std::uint16_t ligature; ///< behind a lam: the isolated lam-alef, its final form follows
    std::uint16_t forms[3]; ///< by `Form`
};

extern const ZkArabicForms kZkArabicForms[]; ///< by ascending letter
extern const int kZkArabicFormCount;

#endif
