#!/usr/bin/env python3
"""Writes src/unicode/zkcharactertables.cpp from the Unicode Character Database 15.0.0.

    tools/unicode/properties.py [FOLDER [OUTPUT [NAMES]]]

FOLDER is where Debian's package unicode-data keeps the files, /usr/share/unicode
unless told. The values are numbered as include/unicode/zkcharacter.h declares them;
NAMES, tools/common/characternames.cpp, has their names for hosts that show them.
The same input gives the same bytes on every machine.

Each distinct combination of properties is a record, stored once. The number of the
record of a code point is found in five steps, so that all of them take little room:

  areas     for each 4096 code points the number of an area
  pages     for each area 16 numbers, one for every 256 code points, of a page
  blocks    for each page 8 numbers, one for every 32 code points, of a block
  shapes    for each block where its pattern and its palette begin, and how many bits
            an entry of the pattern has: 0, 1, 2, 4 or 8
  patterns  for each of the 32 code points its place in the palette, packed from the
            lowest bit on
  palettes  record numbers; those of one block stand side by side

A block of one kind of character has no pattern and one palette entry; equal blocks and
pages are stored once, and patterns and palettes lie within and over one another.

Mirror images are a sorted list with the numbers of distances; compositions are lists
of base and composed character, one list for each mark.
"""

import os
import sys
import textwrap

import database
from database import CODE_POINTS, read_fields, read_lines, read_property, read_set

BLOCK = 32
PAGE = 8  # blocks
AREA = 16  # pages
BUDGET = 32960  # bytes of all tables; with those of breaks.py 40 KiB
BITS = (0, 1, 2, 4, 8)

HERE = os.path.dirname(os.path.abspath(__file__))
HEADER = os.path.join(HERE, "..", "..", "include", "unicode", "zkcharacter.h")
OUTPUT = os.path.join(HERE, "..", "..", "src", "unicode", "zkcharactertables.cpp")
NAMES = os.path.join(HERE, "..", "common", "characternames.cpp")

# The enumerations whose values have names to show.
NAMED = "Category Bidi Line Grapheme Word Joining Width Script".split()

# The fields of ZkCharacter, in its order.
FIELDS = ("bidi bracket line variant grapheme pictographic word category joining script "
          "combining width indic mirrored emoji presentation modifier base component").split()

LONG_BIDI = dict(Left_To_Right="L", Right_To_Left="R", Arabic_Letter="AL",
                 European_Terminator="ET")
JOINING = dict(U="None", R="Right", L="Left", D="Dual", C="Causing", T="Transparent")
WIDTHS = dict(N="Neutral", A="Ambiguous", H="Halfwidth", Na="Narrow", F="Fullwidth", W="Wide")
CONJUNCT_SCRIPTS = "Bengali Devanagari Gujarati Malayalam Oriya Telugu".split()

INPUTS = """extracted/DerivedGeneralCategory.txt extracted/DerivedBidiClass.txt LineBreak.txt
auxiliary/GraphemeBreakProperty.txt auxiliary/WordBreakProperty.txt Scripts.txt EastAsianWidth.txt
extracted/DerivedCombiningClass.txt extracted/DerivedJoiningType.txt emoji/emoji-data.txt
BidiMirroring.txt BidiBrackets.txt IndicSyllabicCategory.txt IndicPositionalCategory.txt
DerivedCoreProperties.txt DerivedNormalizationProps.txt UnicodeData.txt""".split()


def read_bidi(folder):
    """Bidi classes; what is not listed has the default of its range, told in a comment."""
    name = "extracted/DerivedBidiClass.txt"
    values = [None] * CODE_POINTS
    for line in read_lines(folder, name):
        if line.startswith("# @missing: "):
            span, value = line[len("# @missing: "):].split("; ")
            for c in database.code_points(span):
                values[c] = LONG_BIDI[value]
    for fields in read_fields(folder, name):
        for c in database.code_points(fields[0]):
            values[c] = fields[1]
    return values


def read_indic(folder, line, category, script, combining):
    syllabic = read_property(folder, "IndicSyllabicCategory.txt", "Other")
    positional = read_property(folder, "IndicPositionalCategory.txt", "NA")
    values = ["None"] * CODE_POINTS
    for c in range(CODE_POINTS):
        if line[c] == "SA":
            if positional[c] == "Visual_Order_Left":
                values[c] = "LeadingVowel"
            elif syllabic[c] == "Invisible_Stacker":
                values[c] = "Stacker"
            elif syllabic[c] == "Vowel_Dependent" and category[c] == "Lo":
                values[c] = "FollowingVowel"
        elif script[c] in CONJUNCT_SCRIPTS and syllabic[c] in ("Virama", "Consonant"):
            values[c] = "Linker" if syllabic[c] == "Virama" else "Consonant"
        elif int(combining[c]) != 0 or c == 0x200D:
            values[c] = "Extend"
    return values


def read_brackets(folder, mirrors):
    brackets = {}
    for fields in read_fields(folder, "BidiBrackets.txt"):
        c, pair = int(fields[0], 16), int(fields[1], 16)
        assert mirrors[c] == pair, hex(c)  # so that one table serves both
        brackets[c] = {"o": "Open", "c": "Close"}[fields[2]]
    return brackets


def read_mirrors(folder):
    mirrors = {int(f[0], 16): int(f[1], 16) for f in read_fields(folder, "BidiMirroring.txt")}
    for c, mirror in mirrors.items():
        assert mirrors[mirror] == c and c < 0x10000, hex(c)
    return mirrors


def read_mirrored(folder):
    """Bidi_Mirrored, field 9 of UnicodeData.txt; no range of its has it."""
    found = set()
    for line in read_lines(folder, "UnicodeData.txt"):
        fields = line.split(";")
        if fields[9] == "Y":
            assert not fields[1].endswith(("First>", "Last>")), line
            found.add(int(fields[0], 16))
    return found


def numbered(name, values):
    """Names as the header numbers them; a name of the database may have underscores."""
    names = database.enumerators(HEADER, name)
    numbers = {entry: i for i, entry in enumerate(names)}
    assert {value.replace("_", "") for value in values} == set(names), name
    cache = {value: numbers[value.replace("_", "")] for value in set(values)}
    return [cache[value] for value in values]


def read_characters(folder, mirrors):
    """For every code point its record, a tuple in the order of FIELDS."""
    category = read_property(folder, "extracted/DerivedGeneralCategory.txt", "Cn")
    line = read_property(folder, "LineBreak.txt", "XX")
    script = read_property(folder, "Scripts.txt", "Unknown")
    width = read_property(folder, "EastAsianWidth.txt", "N")
    combining = read_property(folder, "extracted/DerivedCombiningClass.txt", "0")
    joining = read_property(folder, "extracted/DerivedJoiningType.txt", "U")
    brackets = read_brackets(folder, mirrors)
    mirrored = read_mirrored(folder)
    assert set(mirrors) <= mirrored
    emoji = {name: read_set(folder, "emoji/emoji-data.txt", name) for name in (
        "Extended_Pictographic", "Emoji", "Emoji_Presentation", "Emoji_Modifier",
        "Emoji_Modifier_Base", "Emoji_Component")}

    def variant(c):
        if line[c] in ("OP", "CP"):
            return width[c] in "FWH"
        if line[c] == "SA":
            return category[c] in ("Mn", "Mc")
        is_future = c in emoji["Extended_Pictographic"] and category[c] == "Cn"
        assert not is_future or line[c] == "ID", hex(c)
        return is_future

    def binary(values):
        return [int(c in values) for c in range(CODE_POINTS)]

    columns = dict(
        bidi=numbered("Bidi", read_bidi(folder)),
        bracket=numbered("Bracket", [brackets.get(c, "None") for c in range(CODE_POINTS)]),
        line=numbered("Line", line),
        variant=[int(variant(c)) for c in range(CODE_POINTS)],
        grapheme=numbered("Grapheme", read_property(
            folder, "auxiliary/GraphemeBreakProperty.txt", "Other")),
        pictographic=binary(emoji["Extended_Pictographic"]),
        word=numbered("Word", read_property(folder, "auxiliary/WordBreakProperty.txt", "Other")),
        category=numbered("Category", category),
        joining=numbered("Joining", [JOINING[value] for value in joining]),
        script=numbered("Script", script),
        combining=[int(value) for value in combining],
        width=numbered("Width", [WIDTHS[value] for value in width]),
        indic=numbered("Indic", read_indic(folder, line, category, script, combining)),
        mirrored=binary(mirrored),
        emoji=binary(emoji["Emoji"]),
        presentation=binary(emoji["Emoji_Presentation"]),
        modifier=binary(emoji["Emoji_Modifier"]),
        base=binary(emoji["Emoji_Modifier_Base"]),
        component=binary(emoji["Emoji_Component"]))
    return list(zip(*(columns[name] for name in FIELDS)))


def laid_over(words):
    """A short list in which every one of `words` lies, tuples of numbers, and the place of
    each. Those whose end is most of another one's beginning are joined first."""
    texts = {word: "".join(map(chr, word)) for word in words}
    pieces = []  # those that lie in no other
    for text in sorted(texts.values(), key=lambda text: (-len(text), text)):
        if not any(text in piece for piece in pieces):
            pieces.append(text)
    behind, taken = {}, set()          # the next piece, and those that are one
    first = list(range(len(pieces)))  # of a chain, by its last piece
    for overlap in range(len(pieces[0]) - 1, 0, -1):
        beginnings = {}
        for i, piece in enumerate(pieces):
            if i not in taken and len(piece) > overlap:
                beginnings.setdefault(piece[:overlap], []).append(i)
        for i, piece in enumerate(pieces):
            fitting = [j for j in beginnings.get(piece[-overlap:], ())
                       if j != first[i] and i not in behind and len(piece) > overlap]
            if fitting:
                following = fitting[0]
                beginnings[piece[-overlap:]].remove(following)
                taken.add(following)
                behind[i] = (following, overlap)
                last = following
                while last in behind:
                    last = behind[last][0]
                first[last] = first[i]
    laid = ""
    for i in sorted(set(range(len(pieces))) - taken):
        laid += pieces[i]
        while i in behind:
            i, overlap = behind[i]
            laid += pieces[i][overlap:]
    return list(map(ord, laid)), {word: laid.index(text) for word, text in texts.items()}


class Trie:
    """The number of every code point's record, packed as told above."""

    def __init__(self, numbers):
        self.pages, self.blocks, self.shapes, self.patterns = [], [], [], []
        block_of = self.number_blocks(numbers)
        pages = {}
        for start in range(0, len(block_of), PAGE):
            page = tuple(block_of[start:start + PAGE])
            if page not in pages:
                pages[page] = len(pages)
                self.blocks.extend(page)
            self.pages.append(pages[page])
        assert len(pages) <= 256 and len(self.patterns) < 1 << 13
        self.fold_pages()
        assert len(self.palettes) < 1 << 16 and max(self.blocks) <= 0xFFFF
        for c, number in enumerate(numbers):
            assert self.find(c) == number, hex(c)

    def fold_pages(self):
        """Most pages are those of planes without characters."""
        areas, pages = {}, self.pages
        self.areas, self.pages = [], []
        for start in range(0, len(pages), AREA):
            area = tuple(pages[start:start + AREA])
            if area not in areas:
                areas[area] = len(areas)
                self.pages.extend(area)
            self.areas.append(areas[area])
        assert self.areas[:4] == list(range(4))  # the first ones stand in their order

    def number_blocks(self, numbers):
        """Gives equal blocks one number, and each its pattern and its palette."""
        known, order, block_of = {}, [], []
        for start in range(0, CODE_POINTS, BLOCK):
            block = tuple(numbers[start:start + BLOCK])
            if block not in known:
                known[block] = len(order)
                order.append((block, tuple(dict.fromkeys(block))))
            block_of.append(known[block])
        shapes = []
        for block, palette in order:
            bits = next(b for b in BITS if len(palette) <= 1 << b)
            packed = sum(palette.index(number) << i * bits for i, number in enumerate(block))
            shapes.append((bits, tuple(packed.to_bytes(BLOCK * bits // 8, "little")), palette))
        self.patterns, pattern_places = laid_over({pattern for _, pattern, _ in shapes})
        self.palettes, palette_places = laid_over({palette for _, _, palette in shapes})
        for bits, pattern, palette in shapes:
            self.shapes.append(BITS.index(bits) << 13 | pattern_places[pattern])
            self.shapes.append(palette_places[palette])
        return block_of

    def find(self, c):
        page = self.pages[self.areas[c >> 12] * AREA + (c >> 8 & AREA - 1)]
        block = self.blocks[page * PAGE + (c >> 5 & PAGE - 1)]
        pattern, palette = self.shapes[2 * block:2 * block + 2]
        bits = BITS[pattern >> 13]
        at = (c & BLOCK - 1) * bits
        packed = self.patterns[(pattern & 0x1FFF) + (at >> 3)]  # also where bits is 0
        return self.palettes[palette + (packed >> (at & 7) & (1 << bits) - 1)]


def read_compositions(folder):
    """Triples (mark, base, composed); Hangul syllables are reckoned, not listed."""
    excluded = read_set(folder, "DerivedNormalizationProps.txt", "Full_Composition_Exclusion")
    triples = []
    for line in read_lines(folder, "UnicodeData.txt"):
        fields = line.split(";")
        parts = fields[5].split()
        c = int(fields[0], 16)
        if len(parts) == 2 and not parts[0].startswith("<") and c not in excluded:
            triples.append((int(parts[1], 16), int(parts[0], 16), c))
    return sorted(triples)


def in_lines(items):
    return textwrap.fill(", ".join(map(str, items)) + ",", width=100, initial_indent="    ",
                         subsequent_indent="    ")


def array(kind, name, items, size):
    """An array's definition, and a line about its bytes for the banner."""
    items = list(items)
    return (f"const {kind} {name}[{len(items)}] = {{\n{in_lines(items)}\n}};\n",
            f"//   {name:<28} {len(items) * size:>6} bytes")


def composition_arrays(triples):
    marks, starts, bases, composed = [], [], [], []
    for mark, base, c in triples:
        if c >= 0x10000:
            continue
        assert mark < 0x10000 and base < 0x10000
        if not marks or marks[-1] != mark:
            marks.append(mark)
            starts.append(len(bases))
        bases.append(base)
        composed.append(c)
    starts.append(len(bases))
    # Above the Basic Multilingual Plane there are few, all parts of one length.
    high = [part for mark, base, c in triples if c >= 0x10000 for part in (base, mark, c)]
    return [array("std::uint16_t", "kZkCompositionMarks", marks, 2),
            array("std::uint16_t", "kZkCompositionStarts", starts, 2),
            array("std::uint16_t", "kZkCompositionBases", bases, 2),
            array("std::uint16_t", "kZkCompositions", composed, 2),
            array("std::uint32_t", "kZkHighCompositions", high, 4)], len(marks), len(high) // 3


def mirror_arrays(mirrors):
    sources = sorted(mirrors)
    distances = list(dict.fromkeys(mirrors[c] - c for c in sources))
    return [array("std::uint16_t", "kZkMirrorSources", sources, 2),
            array("std::uint8_t", "kZkMirrorDistanceNumbers",
                  (distances.index(mirrors[c] - c) for c in sources), 1),
            array("std::int16_t", "kZkMirrorDistances", distances, 2)], len(sources)


def name_tables():
    """The source of the names: each value without the prefix of its enumeration."""
    functions = []
    for kind in NAMED:
        names = database.enumerators(HEADER, kind)
        quoted = in_lines([f'"{name}"' for name in names])
        functions.append(f"""\
const char *host::{kind.lower()}Name(unsigned value)
{{
    static const char *const kNames[{len(names)}] = {{
{quoted}
    }};
    return value < {len(names)} ? kNames[value] : "";
}}
""")
    return f"""\
// Made by tools/unicode/properties.py from include/unicode/zkcharacter.h. Do not edit.

#include "characternames.h"

// clang-format off

{chr(10).join(functions)}"""


def main(arguments):
    if len(arguments) > 3:
        sys.exit(__doc__)
    folder = arguments[0] if arguments else database.FOLDER
    output = arguments[1] if len(arguments) > 1 else OUTPUT
    database.write(arguments[2] if len(arguments) > 2 else NAMES, name_tables())

    mirrors = read_mirrors(folder)
    characters = read_characters(folder, mirrors)
    # The record of a character that is not assigned comes first, and is that of every
    # number above U+10FFFF.
    records = {characters[0x10FFFF]: 0}
    numbers = [records.setdefault(record, len(records)) for record in characters]
    trie = Trie(numbers)
    texts = ["{" + ",".join(map(str, record)) + "}" for record in records]

    arrays = [array("ZkCharacter", "kZkCharacterRecords", texts, 8),
              array("std::uint8_t", "kZkCharacterAreas", trie.areas, 1),
              array("std::uint8_t", "kZkCharacterPages", trie.pages, 1),
              array("std::uint16_t", "kZkCharacterBlocks", trie.blocks, 2),
              array("std::uint16_t", "kZkCharacterShapes", trie.shapes, 2),
              array("std::uint8_t", "kZkCharacterPatterns", trie.patterns, 1),
              array("std::uint16_t", "kZkCharacterPalettes", trie.palettes, 2)]
    mirror_list, mirror_count = mirror_arrays(mirrors)
    composition_list, mark_count, high_count = composition_arrays(read_compositions(folder))
    arrays += mirror_list + composition_list

    total = sum(int(size.split()[-2]) for _, size in arrays)
    if total > BUDGET:
        database.fail(f"{total} bytes of tables, more than {BUDGET}")
    for name in INPUTS:
        read_lines(folder, name)  # stops on a file of another version
    inputs = textwrap.fill(", ".join(INPUTS) + ".", width=96, initial_indent="// ",
                           subsequent_indent="// ")
    sizes = "\n".join(size for _, size in arrays)
    definitions = "\n".join(definition for definition, _ in arrays)
    database.write(output, f"""\
// Made by tools/unicode/properties.py from the Unicode Character Database {database.VERSION}:
{inputs}
// Do not edit.
//
{sizes}

#include "unicode/zkcharactertables.h"

// clang-format off

{definitions}
const int kZkCharacterRecordCount = {len(records)};
const int kZkMirrorCount = {mirror_count};
const int kZkCompositionMarkCount = {mark_count};
const int kZkHighCompositionCount = {high_count};
""")
    print(sizes.replace("//   ", ""))
    print(f"{total} bytes, {len(records)} records")


if __name__ == "__main__":
    main(sys.argv[1:])
