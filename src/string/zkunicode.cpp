#include "zkunicode.h"

#include "string/zkunicodetables.h"

#include <algorithm>

const ZkUnicodeTables::Properties *ZkUnicodeTables::properties(ZkUcs2 c)
{
    return &zkUnicodeRecord(c);
}

bool ZkUnicode::isSpace(ZkUcs2 c)
{
    if (c >= 0x09 && c <= 0x0D) {
        return true;
    }
    const int category = zkUnicodeRecord(c).category;
    return category >= ZkUnicodeTables::SeparatorSpace &&
           category <= ZkUnicodeTables::SeparatorParagraph;
}

ZkUcs2 ZkUnicode::toUpper(ZkUcs2 c)
{
    // A frozen character may still have a one-unit upper case in its record (U+1F80
    // has its title case there): the flag wins.
    const ZkUnicodeTables::Properties &record = zkUnicodeRecord(c);
    return record.upperCaseSpecial ? c : static_cast<ZkUcs2>(c + record.upperCaseDifference);
}

ZkUcs2 ZkUnicode::toLower(ZkUcs2 c)
{
    const ZkUnicodeTables::Properties &record = zkUnicodeRecord(c);
    return record.lowerCaseSpecial ? c : static_cast<ZkUcs2>(c + record.lowerCaseDifference);
}

ZkFoldClass zkUnitsFoldingTo(ZkUcs2 folded)
{
    ZkFoldClass found = {1, {folded}};
    const auto add = [&](ZkUcs2 unit) {
        ZkUcs2 *const end = found.units + found.count;
        if (std::find(found.units, end, unit) == end) {
            found.units[found.count++] = unit;
        }
    };
    // ASCII needs no look into the table.
    if (folded < 0x80) { // no test can tell: 0x80 has no case
        if (folded >= 'a' && folded <= 'z') {
            found = {2, {folded, static_cast<ZkUcs2>(folded - 0x20)}};
        }
    } else {
        const ZkUnicodeTables::Properties &record = zkUnicodeRecord(folded);
        for (const int difference : {record.upperCaseDifference, record.titleCaseDifference}) {
            const auto unit = static_cast<ZkUcs2>(folded + difference);
            // A mapping may lead to another class: the upper case of dotless i folds to i.
            if (difference != 0 && zkFolded(unit) == folded) {
                add(unit);
            }
        }
    }
    for (int i = 0; i < kZkIrregularFoldCount && kZkIrregularFolds[i].folded <= folded; ++i) {
        if (kZkIrregularFolds[i].folded == folded) {
            add(kZkIrregularFolds[i].character);
        }
    }
    return found;
}
