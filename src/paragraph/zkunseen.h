#ifndef ZKUNSEEN_H
#define ZKUNSEEN_H

#include "zkcharacter.h"

/// True for characters that take no room and show nothing: controls, line ends, joiners,
/// direction marks, variation selectors and the like (what Unicode calls default
/// ignorable). The signs that enclose Arabic numbers are format characters that show.
inline bool zkIsUnseen(char32_t c, const ZkCharacter &properties)
{
    switch (properties.category) {
    case ZkCharacter::CategoryCc:
    case ZkCharacter::CategoryZl:
    case ZkCharacter::CategoryZp: return true;
    case ZkCharacter::CategoryCf:
        return !((c >= 0x0600 && c <= 0x0605) || c == 0x06DD || c == 0x070F || c == 0x0890 ||
                 c == 0x0891 || c == 0x08E2 || c == 0x110BD || c == 0x110CD ||
                 (c >= 0x13430 && c <= 0x1345F));
    case ZkCharacter::CategoryMn:
        return (c >= 0xFE00 && c <= 0xFE0F) || c == 0x034F || c == 0x17B4 || c == 0x17B5 ||
               (c >= 0x180B && c <= 0x180F) || (c >= 0xE0100 && c <= 0xE01EF);
    case ZkCharacter::CategoryLo:
        return c == 0x115F || c == 0x1160 || c == 0x3164 || c == 0xFFA0; // HANGUL FILLERs
    case ZkCharacter::CategoryCn:
        return c == 0x2065 || (c >= 0xFFF0 && c <= 0xFFF8) || (c >= 0xE0000 && c <= 0xE0FFF);
    default: return false;
    }
}

#endif
