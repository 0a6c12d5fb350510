#!/usr/bin/env python3
"""Writes src/unicode/zkbreaktables.cpp: state machines that divide a text.

    tools/unicode/breaks.py [OUTPUT]

The rules of Unicode 15.0 for lines, grapheme clusters and words are functions below.
Each says, for what has been read so far and the class of the next character, what may
happen between the two, and what is known then. From these functions all states that can
be reached are enumerated, states that no text tells apart are joined, classes that no
state tells apart share a column, and the rest is a table:

    state = next[state * columns + column[class]]

A state tells what may happen before the character that led to it. Where that is known
only later, it is first allowed and remembered, and taken back by the state that knows.
The classes are numbered as include/unicode/zkcharacter.h declares them.
"""

import os
import sys
import textwrap
from collections import namedtuple

import database

HERE = os.path.dirname(os.path.abspath(__file__))
HEADER = os.path.join(HERE, "..", "..", "include", "unicode", "zkcharacter.h")
OUTPUT = os.path.join(HERE, "..", "..", "src", "unicode", "zkbreaktables.cpp")

# What happens before the character that leads to a state.
NO, YES, MUST = "no", "yes", "must"
DOUBT = "doubt"    # yes, unless a later state takes it back
REVOKE = "revoke"  # no, and no at the place of the last doubt

# Lines.

LineState = namedtuple("LineState", "previous spaces joiner flags hebrew number doubt")
LINE_START = LineState("start", False, False, 0, False, 0, False)

LETTERS = ("AL", "HL")
JAMO = ("JL", "JV", "JT", "H2", "H3")
IDEOGRAPHS = ("ID", "ID'", "EB", "EM")
HARD = ("BK", "CR", "LF", "NL")


def line_class(name, variant):
    """The class that the rules see; an apostrophe marks the variant where they ask."""
    if name in ("AI", "SG", "XX"):
        return "AL"
    if name == "SA":
        return "CM" if variant else "AL"
    if name == "CJ":
        return "NS"
    return name + "'" if variant and name in ("OP", "CP", "ID") else name


def bare(name):
    return name.rstrip("'")


def line_step(state, cls):
    """Reads one character: what happens before it, and the state behind it."""
    attaches = state.previous not in ("start", "nothing", "ZW") + HARD and not state.spaces
    if cls in ("CM", "ZWJ"):
        if attaches:
            return NO, state._replace(joiner=cls == "ZWJ")
        joiner, cls = cls == "ZWJ", "AL"
    else:
        joiner = False
    verdict = line_verdict(state, cls)
    if verdict == DOUBT and state.doubt:
        raise AssertionError("two doubts at once")
    if cls == "SP":
        previous = "nothing" if state.previous in ("start",) + HARD else state.previous
        if previous not in ("nothing", "OP", "OP'", "QU", "CL", "CP", "CP'", "B2", "ZW"):
            previous = "nothing"  # no rule looks behind spaces for any other
        return verdict, LineState(previous, True, False, 0, False, 0, False)
    return verdict, LineState(
        cls, False, joiner,
        flags=(state.flags + 1) % 2 if cls == "RI" and not state.spaces else int(cls == "RI"),
        hebrew=cls in ("HY", "BA") and state.previous == "HL" and not state.spaces,
        number=line_number(state, cls),
        doubt=verdict == DOUBT)


def line_number(state, cls):
    """0: not in a number; 1: within one; 2: behind its closing bracket."""
    if cls == "NU":
        return 1
    if state.number == 1 and not state.spaces:
        return {"SY": 1, "IS": 1, "CL": 2, "CP": 2, "CP'": 2}.get(cls, 0)
    return 0


def line_verdict(state, cls):
    before, spaces = state.previous, state.spaces
    if before == "start":
        return NO
    if before in HARD and not spaces:
        return NO if before == "CR" and cls == "LF" else MUST
    if cls in HARD + ("SP", "ZW"):
        return NO
    if before == "ZW":
        return YES
    if state.joiner and not spaces:
        return NO
    kind = bare(cls)
    if cls == "WJ" or (not spaces and before in ("WJ", "GL")):
        return NO
    if cls == "GL" and not spaces and before not in ("BA", "HY"):
        return NO
    # Also behind spaces; within a number the rule for numbers says the same.
    if kind in ("CL", "CP", "EX", "IS", "SY"):
        return NO
    left = bare(before)
    if left == "OP" or (left == "QU" and kind == "OP"):
        return NO
    if (left in ("CL", "CP") and kind == "NS") or (left == "B2" and kind == "B2"):
        return NO
    if spaces:
        return YES
    if "QU" in (left, kind):
        return NO
    if "CB" in (left, kind):
        return YES
    if kind in ("BA", "HY", "NS") or left == "BB" or state.hebrew:
        return NO
    if (left == "SY" and kind == "HL") or kind == "IN":
        return NO
    return line_pair(state, before, cls)


def line_pair(state, before, cls):
    """The rules for two characters side by side."""
    left, kind = bare(before), bare(cls)
    together = (
        (left in LETTERS and kind == "NU") or (left == "NU" and kind in LETTERS) or
        (left == "PR" and cls in IDEOGRAPHS) or (before in IDEOGRAPHS and kind == "PO") or
        (left in ("PR", "PO") and kind in LETTERS) or
        (left in LETTERS and kind in ("PR", "PO")) or
        # Numbers: (PR | PO)? (OP | HY)? NU (NU | SY | IS)* (CL | CP)? (PR | PO)?
        (left in ("PR", "PO", "OP", "HY") and kind == "NU") or
        (state.number == 1 and kind == "NU") or
        (state.number != 0 and kind in ("PO", "PR")) or
        # Korean syllables.
        (left == "JL" and kind in ("JL", "JV", "H2", "H3")) or
        (left in ("JV", "H2") and kind in ("JV", "JT")) or
        (left in ("JT", "H3") and kind == "JT") or
        (left in JAMO and kind == "PO") or (left == "PR" and kind in JAMO) or
        (left in LETTERS and kind in LETTERS) or (left == "IS" and kind in LETTERS) or
        (left in LETTERS + ("NU",) and cls == "OP") or
        (before == "CP" and kind in LETTERS + ("NU",)) or
        (left == "RI" and kind == "RI" and state.flags == 1) or
        (before in ("EB", "ID'") and kind == "EM"))
    if together:
        # A doubt is about the bracket between a prefix and a number.
        return REVOKE if state.doubt and kind == "NU" else NO
    return DOUBT if left in ("PR", "PO") and kind == "OP" else YES


def line_machine_step(state, cls):
    verdict, following = line_step(state, cls)
    # What an opening bracket is followed by is never divided from it; a number behind
    # it takes the doubt back.
    if state.doubt and not state.spaces and cls == "NU" and verdict == NO:
        verdict = REVOKE
    return verdict, following


# Grapheme clusters.

GraphemeState = namedtuple("GraphemeState", "previous emoji flags")
GRAPHEME_START = GraphemeState("start", 0, 0)


def grapheme_step(state, cls):
    name, pictographic = cls
    verdict = grapheme_verdict(state, name, pictographic)
    if pictographic:
        emoji = 1
    elif state.emoji == 1 and name in ("Extend", "ZWJ"):
        emoji = 2 if name == "ZWJ" else 1
    else:
        emoji = 0
    flags = (state.flags + 1) % 2 if name == "RegionalIndicator" else 0
    return verdict, GraphemeState(name, emoji, flags)


def grapheme_verdict(state, name, pictographic):
    before = state.previous
    if before == "start":
        return YES
    if before == "CR" and name == "LF":
        return NO
    if before in ("CR", "LF", "Control") or name in ("CR", "LF", "Control"):
        return YES
    together = (
        (before == "L" and name in ("L", "V", "LV", "LVT")) or
        (before in ("LV", "V") and name in ("V", "T")) or
        (before in ("LVT", "T") and name == "T") or
        name in ("Extend", "ZWJ", "SpacingMark") or before == "Prepend" or
        (state.emoji == 2 and pictographic) or
        (before == name == "RegionalIndicator" and state.flags == 1))
    return NO if together else YES


# Words.

WordState = namedtuple("WordState", "previous last flags middle")
WORD_START = WordState("start", "start", 0, None)

WORD_ENDS = ("Newline", "CR", "LF")
WORD_LETTERS = ("ALetter", "HebrewLetter")
MARKS = ("Extend", "Format", "ZWJ")
MIDDLE_OF_LETTERS = ("MidLetter", "MidNumLet", "SingleQuote")
MIDDLE_OF_NUMBERS = ("MidNum", "MidNumLet", "SingleQuote")


def word_step(state, cls):
    """`previous` is the last character that is no mark, `last` the last of all."""
    name, pictographic = cls
    ended = state.previous in ("start",) + WORD_ENDS
    if name in MARKS and not ended and not (state.last == "ZWJ" and pictographic):
        return NO, state._replace(last=name)
    verdict, middle = word_verdict(state, name, pictographic)
    flags = (state.flags + 1) % 2 if name == "RegionalIndicator" else 0
    return verdict, WordState(name, name, flags, middle)


def word_verdict(state, name, pictographic):
    """What happens, and what the character is the middle of, if of anything."""
    before = state.previous
    if before == "start":
        return YES, None
    if before == "CR" and name == "LF" and state.last == "CR":
        return NO, None
    if before in WORD_ENDS or name in WORD_ENDS:
        return YES, None
    if state.middle == "letters" and name in WORD_LETTERS:
        return REVOKE, None
    if state.middle == "quoted" and name in WORD_LETTERS:
        return NO, None
    if state.middle == "Hebrew" and name == "HebrewLetter":
        return REVOKE, None
    if state.middle == "numbers" and name == "Numeric":
        return REVOKE, None
    if (state.last == "ZWJ" and pictographic) or state.last == name == "WSegSpace":
        return NO, None
    joined = WORD_LETTERS + ("Numeric", "Katakana", "ExtendNumLet")
    together = (
        (before in WORD_LETTERS + ("Numeric",) and name in WORD_LETTERS + ("Numeric",)) or
        (before == name == "Katakana") or
        (before in joined and name == "ExtendNumLet") or
        (before == "ExtendNumLet" and name in joined) or
        (before == name == "RegionalIndicator" and state.flags == 1))
    if together:
        return NO, None
    if before == "HebrewLetter" and name == "SingleQuote":
        return NO, "quoted"
    if before in WORD_LETTERS and name in MIDDLE_OF_LETTERS:
        return DOUBT, "letters"
    if before == "HebrewLetter" and name == "DoubleQuote":
        return DOUBT, "Hebrew"
    if before == "Numeric" and name in MIDDLE_OF_NUMBERS:
        return DOUBT, "numbers"
    return YES, None


class Machine:
    """A minimal table of the states that `step` reaches from `start` over `classes`.

    Those at the places `apart` share no column with others."""

    def __init__(self, start, step, classes, apart=()):
        numbers, order, moves, verdicts = {start: 0}, [start], [], []
        for state in order:  # grows
            steps = [step(state, cls) for cls in classes]
            for _, following in steps:
                if following not in numbers:
                    numbers[following] = len(order)
                    order.append(following)
            moves.append([numbers[following] for _, following in steps])
            verdicts.append(tuple(verdict for verdict, _ in steps))
        groups = self.join(verdicts, moves)
        # States behind a hard end come last, so that one comparison tells them.
        hard = {groups[i] for i, row in enumerate(verdicts) if MUST in row}
        places = sorted(set(groups), key=lambda group: (group in hard, group))
        groups = [places.index(group) for group in groups]
        self.first_hard = len(places) - len(hard)
        members = {}
        for state, group in enumerate(groups):
            members.setdefault(group, state)
        rows = [[(verdicts[state][i], groups[moves[state][i]]) for i in range(len(classes))]
                for _, state in sorted(members.items())]
        columns = {}
        self.columns = [columns.setdefault((i in apart, tuple(row[i] for row in rows)),
                                           len(columns)) for i in range(len(classes))]
        self.width = len(columns)
        self.rows = list(zip(*(column for _, column in columns)))
        for row in self.rows[self.first_hard:]:
            assert all(verdict in (MUST, NO) for verdict, _ in row)
        assert len(self.rows) <= 64 and groups[0] == 0

    @staticmethod
    def join(verdicts, moves):
        """Numbers of groups of states that no text tells apart, in order of appearance."""
        signatures, count = verdicts, 0
        while True:
            numbers = {}
            groups = [numbers.setdefault(signature, len(numbers)) for signature in signatures]
            if len(numbers) == count:
                return groups
            count = len(numbers)
            signatures = [(groups[i],) + tuple(groups[j] for j in row)
                          for i, row in enumerate(moves)]


def line_machine():
    names = pad(database.enumerators(HEADER, "Line"), 64)
    # Letters of scripts without spaces do as others, but the reader wants to know of them.
    return Machine(LINE_START, line_machine_step,
                   [line_class(name, variant) for variant in (0, 1) for name in names],
                   apart=[names.index("SA")])


def pad(names, count):
    """Numbers that no class has count as the first class."""
    return names + [names[0]] * (count - len(names))


def grapheme_machine():
    names = pad(database.enumerators(HEADER, "Grapheme"), 16)
    return Machine(GRAPHEME_START, grapheme_step,
                   [(name, bool(variant)) for variant in (0, 1) for name in names])


def word_machine():
    names = pad(database.enumerators(HEADER, "Word"), 32)
    return Machine(WORD_START, word_step,
                   [(name, bool(variant)) for name in names for variant in (0, 1)])


# An entry is the state that follows, and in the two upper bits what happens before the
# character. Behind a hard end of line, which the last states are, the numbers of doubt and
# revocation mean something else: all that is not plain has the highest bit.
VERDICTS = {NO: 0, YES: 1, DOUBT: 2, REVOKE: 3}
BEHIND_HARD = {NO: 2, MUST: 3}

TABLES = os.path.join(HERE, "..", "..", "src", "unicode", "zkbreaktables.h")


def check_constant(name, value):
    """The header says how wide each table is, so that the compiler knows."""
    with open(TABLES, encoding="ascii") as file:
        if f"constexpr unsigned {name} = {value};" not in file.read():
            database.fail(f"zkbreaktables.h must say {name} = {value}")


def in_lines(items):
    return textwrap.fill(", ".join(map(str, items)) + ",", width=100, initial_indent="    ",
                         subsequent_indent="    ")


def arrays(name, machine):
    following = []
    for number, row in enumerate(machine.rows):
        verdicts = VERDICTS if number < machine.first_hard else BEHIND_HARD
        following += [verdicts[verdict] << 6 | state for verdict, state in row]
    text = "\n".join(
        f"const std::uint8_t kZk{name}{part}[{len(items)}] = {{\n{in_lines(items)}\n}};\n"
        for part, items in (("Columns", machine.columns), ("Next", following)))
    size = len(machine.columns) + len(following)
    return text, (f"{name:<10}{len(machine.rows):>3} states, {machine.width:>2} columns, "
                  f"{size:>5} bytes"), size


def main(arguments):
    if len(arguments) > 1:
        sys.exit(__doc__)
    output = arguments[0] if arguments else OUTPUT
    machines = (("Line", line_machine()),
                ("Grapheme", grapheme_machine()),
                ("Word", word_machine()))
    made = [arrays(*entry) for entry in machines]
    sizes = "\n".join("//   " + size for _, size, _ in made)
    definitions = "\n".join(text for text, _, _ in made)
    for name, machine in machines:
        check_constant(f"kZk{name}Width", machine.width)
    line = machines[0][1]
    check_constant("kZkLineFirstHard", line.first_hard)
    check_constant("kZkLineUnspaced",
                   line.columns[database.enumerators(HEADER, "Line").index("SA")])
    database.write(output, f"""\
// Made by tools/unicode/breaks.py, which has the rules of Unicode {database.VERSION}. Do not edit.
//
{sizes}

#include "unicode/zkbreaktables.h"

// clang-format off

{definitions}""")
    print(sizes.replace("//   ", ""))
    print(sum(size for _, _, size in made), "bytes")


if __name__ == "__main__":
    main(sys.argv[1:])
