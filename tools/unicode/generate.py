#!/usr/bin/env python3
"""Writes src/string/zkunicodetables.cpp from the Unicode Character Database 5.0.0.

    tools/unicode/generate.py [OUTPUT]

The files that it reads, UnicodeData.txt, SpecialCasing.txt, CaseFolding.txt and
DerivedAge.txt, stand beside it in ucd-5.0.0.tar.xz, as Unicode, Inc. published them at
https://www.unicode.org/Public/5.0.0/ucd/ under https://www.unicode.org/terms_of_use.html.
The same input gives the same bytes on every machine.

The tables cover the 65,536 code points of the Basic Multilingual Plane:

  records   each distinct combination of properties once, in the order in which
            the code points first use them
  index     512 entries, one per block of 128 code points, each the position in
            this same array of the block's 16 entries, which are the positions of
            rows of 8 record numbers each; equal blocks and equal rows once

so the record of `c` is records[index[index[index[c >> 7] + (c >> 3 & 15)] + (c & 7)]]. A
short table beside them lists the characters that fold to another one which names them neither as
its upper nor as its title case, so that all characters of a folding are found
from the folded one.
"""

import hashlib
import os
import sys
import tarfile
import textwrap

from database import fail, write

BLOCK = 128
ROW = 8
LARGEST_FOLD_CLASS = 4  # the room in ZkFoldClass
CODE_POINTS = 0x10000
UNASSIGNED = "Cn"

# Position is the category's code, starting at 1.
CATEGORIES = ("Mn Mc Me Nd Nl No Zs Zl Zp Cc Cf Cs Co Cn Lu "
              "Ll Lt Lm Lo Pc Pd Ps Pe Pi Pf Po Sm Sc Sk So").split()

# Position is the age's code, starting at 1; 0 is "not assigned".
AGES = "1.1 2.0 2.1 3.0 3.1 3.2 4.0 4.1 5.0".split()

CHECKSUMS = {
    "UnicodeData.txt": "e458a6cab52182af09cb40defab6d00e6927d51ef7291017647e9c10b3e196b9",
    "SpecialCasing.txt": "05e837308cdb6dadeb48bfa3678f8fb34f5ac90d85d618dbde3cd6059451aa81",
    "CaseFolding.txt": "e4b7065c93b113e993b817f8b330dea819b3ff411ec43294151371780b414afc",
}


def read_lines(database, name):
    """The lines of a data file, decoded; stops on a file of another version."""
    data = database.extractfile(name).read()
    expected = CHECKSUMS.get(name)
    if expected and hashlib.sha256(data).hexdigest() != expected:
        fail(name + " is not the file of version 5.0.0")
    return data.decode("ascii" if name == "UnicodeData.txt" else "utf-8").splitlines()


def read_fields(database, name):
    """The fields of each line that holds data."""
    for line in read_lines(database, name):
        content = line.split("#", 1)[0].strip()
        if content:
            yield [field.strip() for field in content.split(";")]


class Character:
    """The properties of one code point; the defaults are those of an unassigned one."""

    def __init__(self):
        self.category = UNASSIGNED
        self.digit = -1
        self.age = 0
        self.lower = self.upper = self.title = self.fold = None  # None: itself
        self.lower_special = self.upper_special = False


def simple_mapping(field):
    return int(field, 16) if field else None


def read_unicode_data(database, characters):
    """Category, digit value and the one-to-one case mappings."""
    first_of_range = None
    for line in read_lines(database, "UnicodeData.txt"):
        fields = line.split(";")
        assert len(fields) == 15, line
        code, name = int(fields[0], 16), fields[1]
        first = code
        if name.endswith(", First>"):
            first_of_range = code
            continue
        if name.endswith(", Last>"):
            first, first_of_range = first_of_range, None
        assert first_of_range is None and first is not None, line
        # Ranges carry no mappings and no digits: they may share one reading.
        assert first == code or not any(fields[6:9] + fields[12:15]), line
        for c in range(first, min(code + 1, CODE_POINTS)):
            character = characters[c]
            character.category = fields[2]
            character.digit = int(fields[7]) if fields[7] else -1
            character.upper = simple_mapping(fields[12])
            character.lower = simple_mapping(fields[13])
            # No title-case mapping of its own: that of the upper case.
            character.title = simple_mapping(fields[14] or fields[12])
    assert first_of_range is None


def read_special_casing(database, characters):
    """Which characters become several units; conditional mappings do not count."""
    for fields in read_fields(database, "SpecialCasing.txt"):
        code, lower, _title, upper = fields[:4]
        condition = fields[4] if len(fields) > 4 else ""
        if condition or int(code, 16) >= CODE_POINTS:
            continue
        characters[int(code, 16)].lower_special |= len(lower.split()) != 1
        characters[int(code, 16)].upper_special |= len(upper.split()) != 1


def read_case_folding(database, characters):
    """The foldings to one unit: common (C) and simple (S)."""
    for fields in read_fields(database, "CaseFolding.txt"):
        code, status, mapping = int(fields[0], 16), fields[1], fields[2]
        assert status in ("C", "S", "F", "T"), fields
        if status in ("C", "S") and code < CODE_POINTS:
            assert characters[code].fold is None, fields
            characters[code].fold = int(mapping, 16)


def read_ages(database, characters):
    """The version that first assigned each character; ages above 5.0 are later files'."""
    for fields in read_fields(database, "DerivedAge.txt"):
        first, _, last = fields[0].partition("..")
        if fields[1] not in AGES:
            assert tuple(map(int, fields[1].split("."))) > (5, 0), fields
            continue
        age = AGES.index(fields[1]) + 1
        for c in range(int(first, 16), min(int(last or first, 16) + 1, CODE_POINTS)):
            assert characters[c].age == 0, fields
            # Noncharacters have an age but stay unassigned.
            if characters[c].category != UNASSIGNED:
                characters[c].age = age
    for c, character in enumerate(characters):
        assert (character.age == 0) == (character.category == UNASSIGNED), hex(c)


def difference(c, mapped):
    """What to add to `c`; both ends are in the plane, so a signed 16-bit word holds it."""
    if mapped is None:
        return 0
    assert mapped < CODE_POINTS and -0x8000 <= mapped - c <= 0x7FFF, hex(c)
    return mapped - c


def record_of(c, character):
    """The fields of ZkUnicodeTables::Properties, in its order."""
    assert -1 <= character.digit <= 9, hex(c)
    return (CATEGORIES.index(character.category) + 1, character.digit, character.age,
            int(character.lower_special), int(character.upper_special),
            difference(c, character.lower), difference(c, character.upper),
            difference(c, character.title), difference(c, character.fold))


def number_records(characters):
    """The distinct records in the order of first use, and the number of each character's."""
    numbers = {}
    indices = [numbers.setdefault(record_of(c, character), len(numbers))
               for c, character in enumerate(characters)]
    return list(numbers), indices


def shared_pieces(values, length, start):
    """`values` cut in pieces of `length`, equal ones once, as one list that will stand at
    position `start`; and the position of each piece."""
    positions, pieces, found = {}, [], []
    for at in range(0, len(values), length):
        piece = tuple(values[at:at + length])
        if piece not in positions:
            positions[piece] = start + len(pieces)
            pieces.extend(piece)
        found.append(positions[piece])
    return pieces, found


def pack(characters):
    """The records and the three-level index that finds them."""
    records, numbers = number_records(characters)
    blocks = CODE_POINTS // BLOCK
    # Rows stand behind blocks, whose number is known when the rows are cut.
    room = len(shared_pieces(shared_pieces(numbers, ROW, 0)[1], BLOCK // ROW, 0)[0])
    rows, row_positions = shared_pieces(numbers, ROW, blocks + room)
    middle, block_positions = shared_pieces(row_positions, BLOCK // ROW, blocks)
    index = block_positions + middle + rows
    assert len(block_positions) == blocks and len(middle) == room and len(index) <= 0x10000
    for c, character in enumerate(characters):
        record = records[index[index[index[c >> 7] + (c >> 3 & 15)] + (c & 7)]]
        assert record == record_of(c, character), hex(c)
    return records, index


def irregular_folds(characters):
    """Pairs (folded, character) that the folded one's own mappings do not lead to."""
    pairs, sizes = [], {}
    for c, character in enumerate(characters):
        folded = c if character.fold is None else character.fold
        sizes[folded] = sizes.get(folded, 0) + 1
        if folded != c and c not in (characters[folded].upper, characters[folded].title):
            pairs.append((folded, c))
    assert max(sizes.values()) <= LARGEST_FOLD_CLASS
    return sorted(pairs)


def in_lines(items):
    """Comma-separated text, wrapped."""
    return textwrap.fill(", ".join(items) + ",", width=100, initial_indent="    ",
                         subsequent_indent="    ")


def render(versions, records, index, folds):
    fold_texts = [f"{{{folded:#06x}, {c:#06x}}}" for folded, c in folds]
    record_texts = ["{" + ",".join(map(str, record)) + "}" for record in records]
    return f"""\
// Made by tools/unicode/generate.py from the Unicode Character Database 5.0.0:
{versions}
// Do not edit.

#include "string/zkunicodetables.h"

// clang-format off

const ZkUnicodeTables::Properties kZkUnicodeRecords[{len(records)}] = {{
{in_lines(record_texts)}
}};

const std::uint16_t kZkUnicodeIndex[{len(index)}] = {{
{in_lines([str(entry) for entry in index])}
}};

const int kZkIrregularFoldCount = {len(folds)};
const ZkIrregularFold kZkIrregularFolds[kZkIrregularFoldCount] = {{
{in_lines(fold_texts)}
}};
"""


def main(arguments):
    if len(arguments) > 1:
        sys.exit(__doc__)
    here = os.path.dirname(os.path.abspath(__file__))
    output = arguments[0] if arguments else os.path.join(
        here, "..", "..", "src", "string", "zkunicodetables.cpp")
    with tarfile.open(os.path.join(here, "ucd-5.0.0.tar.xz")) as database:
        generate(database, output)


def generate(database, output):
    characters = [Character() for _ in range(CODE_POINTS)]
    read_unicode_data(database, characters)
    read_special_casing(database, characters)
    read_case_folding(database, characters)
    read_ages(database, characters)

    # The two files that name their version say so on their first line.
    versions = ["UnicodeData.txt"] + [read_lines(database, name)[0].lstrip("# ")
                                      for name in ("SpecialCasing.txt", "CaseFolding.txt")]
    versions.append("DerivedAge.txt")
    records, index = pack(characters)
    write(output, render("// " + ", ".join(versions) + ".", records, index,
                         irregular_folds(characters)))
    print(f"{len(records)} records, {len(index)} numbers in the index")


if __name__ == "__main__":
    main(sys.argv[1:])
