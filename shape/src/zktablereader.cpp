#include "zktablereader.h"

int ZkTableReader::coverage(unsigned at, unsigned glyph) const
{
    const unsigned format = number16(at), count = number16(at + 2);
    for (unsigned i = 0; i < count && !isTooLong(); ++i) {
        const unsigned entry = at + 4 + i * (format == 1 ? 2 : 6);
        const unsigned first = number16(entry);
        if (format == 1 && first == glyph) {
            return static_cast<int>(i);
        }
        if (format != 1 && first <= glyph && glyph <= number16(entry + 2)) {
            return static_cast<int>(number16(entry + 4) + glyph - first);
        }
    }
    return -1;
}

void ZkTableReader::addCovered(unsigned at, hb_set_t *glyphs) const
{
    const unsigned format = number16(at), count = number16(at + 2);
    for (unsigned i = 0; i < count && !isTooLong(); ++i) {
        const unsigned entry = at + 4 + i * (format == 1 ? 2 : 6);
        const unsigned first = number16(entry), last = format == 1 ? first : number16(entry + 2);
        if (first <= last) {
            hb_set_add_range(glyphs, first, last);
        }
    }
}

unsigned ZkTableReader::classOf(unsigned at, unsigned glyph) const
{
    if (number16(at) == 1) {
        const unsigned first = number16(at + 2);
        return glyph >= first && glyph - first < number16(at + 4)
                   ? number16(at + 6 + 2 * (glyph - first))
                   : 0;
    }
    const unsigned count = number16(at + 2);
    for (unsigned i = 0; i < count && !isTooLong(); ++i) {
        const unsigned entry = at + 4 + 6 * i;
        if (number16(entry) <= glyph && glyph <= number16(entry + 2)) {
            return number16(entry + 4);
        }
    }
    return 0;
}

void ZkTableReader::addClass(unsigned at, unsigned number, hb_set_t *glyphs) const
{
    const bool isList = number16(at) == 1;
    const unsigned firstGlyph = number16(at + 2), count = number16(at + (isList ? 4 : 2));
    for (unsigned i = 0; i < count && !isTooLong(); ++i) {
        const unsigned entry = isList ? at + 6 + 2 * i : at + 4 + 6 * i;
        if (number16(entry + (isList ? 0 : 4)) != number) {
            continue;
        }
        const unsigned first = isList ? firstGlyph + i : number16(entry);
        const unsigned last = isList ? first : number16(entry + 2);
        if (first <= last) {
            hb_set_add_range(glyphs, first, last);
        }
    }
}
