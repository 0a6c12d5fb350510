#!/usr/bin/env python3
"""Writes src/unicode/zkbreaktables.cpp: state machines that divide a text.

    tools/unicode/breaks.py [FOLDER [OUTPUT]]

FOLDER is where Debian's package unicode-data keeps the files, /usr/share/unicode unless
told.

The rules of Unicode 15.0 for lines, grapheme clusters and words are functions below.
Each says, for what has been read so far and the class of the next character, what may
happen between the two, and what is known then. From these functions all states that can
be reached are enumerated, states that no text tells apart are joined, classes that no
state tells apart share a column, and the rest is a table:

    state = next[state * columns + column[class]]

A state tells what may happen before the character that led to it. Where that is known
only later, it is first allowed, and taken back by the state that knows: then it is the
last boundary that was allowed. The classes are numbered as include/unicode/zkcharacter.h
declares them.

Few characters need the machines. Those that take the same column in all three make a
class. For the common ones, listed below, there is a state in which they are mostly left
behind; behind certain others it is another one. So two classes tell the state, which has a
row in a table of what the machines would say before the next class, or that a machine must
be asked since its state is not the one that the classes tell:

    row = rows[class before][class]
    flags = pairs[row][next class]

No entry waits for one that was computed before it: they are all read at once.
"""

import os
import sys
import textwrap
from collections import namedtuple

import database
import properties

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
    """A minimal table of the states that `step` reaches from `start` over `classes`."""

    def __init__(self, start, step, classes):
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
        members = {}
        for state, group in enumerate(groups):
            members.setdefault(group, state)
        rows = [[(verdicts[state][i], groups[moves[state][i]]) for i in range(len(classes))]
                for _, state in sorted(members.items())]
        columns = {}
        self.columns = [columns.setdefault(tuple(row[i] for row in rows), len(columns))
                        for i in range(len(classes))]
        self.width = len(columns)
        self.rows = list(zip(*columns))
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
    return Machine(LINE_START, line_machine_step,
                   [line_class(name, variant) for variant in (0, 1) for name in names])


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


# What most texts are made of: a character of each class, and one that it often stands
# behind. The first ones change what state others leave behind: those below.
COMMON = [("1", "1"), ("\u05d0", "\u05d0"), (")", "a"), ('"', " "), ("\u201c", " "),
          ("\U0001F600", " "), ("\U0001F3FD", "\U0001F44D"), ("\U0001F1E9", " "),
          ("\u0301", "a"),
          ("\n", "a"), ("a", "a"), (" ", "a"), (".", "a"), (",", "a"), ("-", "a"), ("(", " "),
          ("'", "a"), ("!", "a"), (":", "a"), ("%", "1"), ("$", " "), ("/", "a"), ("\u2013", " "),
          ("\u2014", "a"), ("\u2019", "a"), ("&", " "), ("\u00a0", "a"),
          # A base of emoji modifiers, and what joins emoji; a mark that takes room
          ("\U0001F44D", " "), ("\u200d", "\U0001F44D"), ("\u0903", "\u0915"),
          # Chinese, Japanese, Korean
          ("\u4e00", "\u4e00"), ("\u300c", "\u4e00"), ("\u3002", "\u4e00"), ("\uff0c", "\u4e00"),
          ("\u30a2", "\u30a2"), ("\u30fc", "\u30a2"), ("\uac00", "\uac01"),
          ("\uac01", "\uac00"),
          # Thai: a consonant, a mark, vowels before and behind one
          ("\u0e01", "\u0e01"), ("\u0e34", "\u0e01"), ("\u0e40", "\u0e01"),
          ("\u0e32", "\u0e01")]

# Texts whose last two characters leave another state than the last one mostly does: within
# numbers, marks on letters of Hebrew and on emoji, what joins emoji, flags, what ends no word
# or sentence, and spaces behind what holds on to what follows them.
CONTEXTS = ["1,", "1.", "1:", "1/", "1)", "\u05d0\u0301", "\u05d0\"", "\u05d0'", ") ", "\" ",
            "\u201c ", ").", "):", "\u201c.", "\".", "\U0001F600\uFE0F", "\U0001F600.",
            "\U0001F600\uFE0F\u200D", "\U0001F44D\U0001F3FD\u200D", "\U0001F1E9\U0001F1EA"]

# Stretches of units of one class, where several can be told at once, ascending. Those of
# FIRST_STRETCH and behind it are tried first.
PLAIN = [(0x0391, 0x03A1), (0x03A3, 0x03F5), (0x0400, 0x0481), (0x05D0, 0x05EA), (0x0620, 0x064A),
         (0x0671, 0x06D3), (0x0E01, 0x0E2E), (0x3400, 0x4DBF), (0x4E00, 0x9FFF)]
FIRST_STRETCH = PLAIN.index((0x05D0, 0x05EA))

# Bits of a class in scripts without spaces.
UNSPACED, MAY_BEGIN, MAY_END = 1, 2, 4
# Flags of ZkTextBreaks, and those that only pairs have.
FLAGS = ({NO: 0, YES: 1, DOUBT: 1, MUST: 3}, {NO: 0, YES: 4},
         {NO: 0, YES: 8, DOUBT: 8, REVOKE: 0x40})
UNSPACED_LINE, UNDECIDED = 0x10, 0x80

Class = namedtuple("Class", "columns unspaced")


class Classes:
    """The class of every record: the columns of the machines, and what lines ask of
    scripts without spaces."""

    def __init__(self, machines, records):
        self.machines = machines
        self.names = {kind: database.enumerators(HEADER, kind) for kind in ("Line", "Indic")}
        self.keys = {}
        for record in records:
            fields = dict(zip(properties.FIELDS, record))
            cls = self.class_of(fields)
            assert self.keys.setdefault(self.key(fields), cls) == cls
        self.common, self.usual, self.order, self.contexts = [], [], [], {}

    @staticmethod
    def key(fields):
        """The bits of a record that tell its class, as src/unicode/zkunitclasses.h."""
        return (fields["line"] << 7 | fields["variant"] << 13 | fields["grapheme"] << 14 |
                fields["pictographic"] << 18 | fields["word"] << 19 | fields["indic"] << 24)

    def class_of(self, fields):
        line, grapheme, word = self.machines
        columns = (line.columns[fields["line"] | fields["variant"] << 6],
                   grapheme.columns[fields["grapheme"] | fields["pictographic"] << 4],
                   word.columns[fields["pictographic"] | fields["word"] << 1])
        if self.names["Line"][fields["line"]] != "SA":
            return Class(columns, 0)
        indic = self.names["Indic"][fields["indic"]]
        return Class(columns, UNSPACED |
                     (0 if indic == "FollowingVowel" else MAY_BEGIN) |
                     (0 if indic in ("LeadingVowel", "Stacker") else MAY_END))

    def step(self, states, cls):
        """The verdicts of the machines, and their states behind a character."""
        entries = [machine.rows[state][column]
                   for machine, state, column in zip(self.machines, states, cls.columns)]
        return [entry[0] for entry in entries], tuple(entry[1] for entry in entries)

    def choose(self, class_at):
        """The common classes first, each with the state that it mostly leaves behind, and
        those that it leaves behind others."""
        self.common = [class_at(ord(c)) for c, _ in COMMON]
        assert len(set(self.common)) == len(COMMON)
        others = sorted(set(self.keys.values()) - set(self.common),
                        key=lambda cls: (cls.unspaced, cls))
        self.order = self.common + others
        for c, before in COMMON:
            states = (0, 0, 0)
            for part in "a" + before + c:
                _, states = self.step(states, class_at(ord(part)))
            self.usual.append(states)
        numbers = {cls: i for i, cls in enumerate(self.common)}
        for text in CONTEXTS:
            first, second = (numbers[class_at(ord(c))] for c in text[-2:])
            states = self.usual[numbers[class_at(ord(text[0]))]]
            for c in text[1:]:
                _, states = self.step(states, class_at(ord(c)))
            assert states != self.usual[second], text
            self.contexts[first, second] = states
        # The start of a text leads to a state too, which is that of no character.
        self.usual.append((0, 0, 0))

    def states_behind(self, before, behind):
        """The states of the machines that two common classes tell."""
        return self.contexts.get((before, behind), self.usual[behind])

    def row(self, last, states):
        """What stands before each common class, in one byte, behind the class `last`."""
        return [self.entry(last, states, behind) for behind in range(len(COMMON))] + [UNDECIDED]

    def entry(self, last, states, behind):
        verdicts, following = self.step(states, self.common[behind])
        if following != self.states_behind(last, behind) or REVOKE in verdicts[:2]:
            return UNDECIDED
        flags = sum(flag[verdict] for flag, verdict in zip(FLAGS, verdicts))
        is_between = (flags & 4 and self.order[last].unspaced & MAY_END and
                      self.order[behind].unspaced & MAY_BEGIN)
        return flags | (UNSPACED_LINE if is_between else 0)

    def lay_rows(self):
        """The rows of pairs, and for each two classes the number of theirs. Those of contexts
        are the last ones, since their numbers tell their states. Returns the number of the
        first of these too, and that of the start of a text."""
        common = len(COMMON)
        pairs, numbers = [], {}

        def number(row):
            if tuple(row) not in numbers:
                numbers[tuple(row)] = len(pairs)
                pairs.append(row)
            return numbers[tuple(row)]

        usual = [number(self.row(last, self.usual[last])) for last in range(common)]
        start = number(self.row(common, self.usual[common]))
        usual.append(number([UNDECIDED] * (common + 1)))  # behind any other class
        first_context = len(pairs)
        in_context = {}
        for (before, behind), states in self.contexts.items():
            if (behind, states) not in in_context:
                in_context[behind, states] = len(pairs)
                pairs.append(self.row(behind, states))
                self.usual.append(states)
        makers = 1 + max(before for before, _ in self.contexts)
        rows = [[in_context.get((behind, self.contexts.get((before, behind))), usual[behind])
                 for behind in range(common + 1)] for before in range(makers + 1)]
        assert rows[makers] == usual
        return pairs, rows, first_context, start

# Numbers of a unit's classes as src/unicode/zkunitclasses.h takes them apart: the upper six
# bits of nine are a common class, or a number above all of them.
def code_of(number):
    common = len(COMMON)
    return number << 3 if number < common else (common << 3) + number - common


def find_factor(keys, bits):
    """A factor that leads all keys to different places, the upper bits of the product."""
    random = 1
    while True:
        random = (random * 1664525 + 1013904223) & 0xFFFFFFFF
        factor = random | 1
        places = set()
        for key in keys:
            place = (key * factor & 0xFFFFFFFF) >> 32 - bits
            if place in places:
                break
            places.add(place)
        else:
            return factor


# An entry is the state that follows, and in the two upper bits what happens before the
# character. For lines these are the flags of ZkTextBreaks but for the revocation.
VERDICTS = {NO: 0, YES: 1, DOUBT: 1, REVOKE: 2, MUST: 3}

WORD_NAMES = database.enumerators(HEADER, "Word")
TABLES = os.path.join(HERE, "..", "..", "src", "unicode", "zkbreaktables.h")


def check_constant(name, value):
    """The header says how wide each table is, so that the compiler knows."""
    with open(TABLES, encoding="ascii") as file:
        if f" {name} = {value};" not in file.read():
            database.fail(f"zkbreaktables.h must say {name} = {value}")


def in_lines(items):
    return textwrap.fill(", ".join(map(str, items)) + ",", width=100, initial_indent="    ",
                         subsequent_indent="    ")


def arrays(name, machine):
    following = [VERDICTS[verdict] << 6 | state for row in machine.rows for verdict, state in row]
    check_constant(f"kZk{name}Width", machine.width)
    return array("std::uint8_t", f"kZk{name}Next", following, 1)


def array(kind, name, items, size):
    """An array's definition, and a line about its bytes for the banner."""
    items = list(items)
    return (f"const {kind} {name}[{len(items)}] = {{\n{in_lines(items)}\n}};\n",
            f"//   {name:<24} {len(items) * size:>5} bytes", len(items) * size)


HASH_BITS = 9
BUDGET = 8000  # bytes of all tables; with those of properties.py 40 KiB


def class_arrays(machines, characters):
    classes = Classes(machines, set(characters))

    def fields_at(c):
        return dict(zip(properties.FIELDS, characters[c]))

    classes.choose(lambda c: classes.class_of(fields_at(c)))
    numbers = {cls: i for i, cls in enumerate(classes.order)}
    common = len(COMMON)
    # The greatest number is that of the second unit of a pair.
    assert code_of(len(numbers) - 1) >> 3 < 63 and classes.order[common].unspaced == 0
    assert all(c < 0x10000 for c, record in enumerate(characters) if doubts(record)), \
        "a boundary that is taken back is one unit before"

    def unit_at(c):
        fields = fields_at(c)
        return (fields["bidi"] | fields["bracket"] << 5 |
                code_of(numbers[classes.class_of(fields)]) << 7)

    factor = find_factor(sorted(classes.keys), HASH_BITS)
    places = [0] * (1 << HASH_BITS)
    for key, cls in classes.keys.items():
        places[(key * factor & 0xFFFFFFFF) >> 32 - HASH_BITS] = numbers[cls]
    pairs, rows, first_context, start = classes.lay_rows()
    assert PLAIN == sorted(PLAIN)
    plain = []
    for first, last in PLAIN:
        units = {unit_at(c) for c in range(first, last + 1)}
        assert len(units) == 1, hex(first)
        plain.append("{%d,%d,%d}" % (first, last, unit_at(first)))
    plain.append("{65535,65535,0}")  # ends a search
    check_constant("kZkCommonClasses", common)
    check_constant("kZkContextClasses", len(rows) - 1)
    check_constant("kZkFirstContextRow", first_context)
    check_constant("kZkStartRow", start)
    check_constant("kZkNoBreakPair", sum(pairs, []).index(0))
    check_constant("kZkFirstStretch", FIRST_STRETCH)
    check_constant("kZkClassFactor", f"{factor}U")
    columns = ["{%d,%d,%d,%d}" % (cls.columns + (cls.unspaced,)) for cls in classes.order]
    usual = [line | grapheme << 8 | word << 16 for line, grapheme, word in classes.usual]
    return [array("ZkBreakColumns", "kZkBreakColumns", columns, 4),
            array("std::uint8_t", "kZkBreakClasses", places, 1),
            array("std::uint8_t", "kZkBreakRows", sum(rows, []), 1),
            array("std::uint8_t", "kZkBreakPairs", sum(pairs, []), 1),
            array("std::uint32_t", "kZkUsualStates", usual, 4),
            array("std::uint16_t", "kZkLowUnits", (unit_at(c) for c in range(0x100)), 2),
            array("std::uint16_t", "kZkSyllableUnits", (unit_at(0xAC00), unit_at(0xAC01)), 2),
            array("ZkPlainRange", "kZkPlainRanges", plain, 6)]


def doubts(record):
    """True for a character that may be the middle of a word or a number."""
    name = WORD_NAMES[dict(zip(properties.FIELDS, record))["word"]]
    return name in MIDDLE_OF_LETTERS + MIDDLE_OF_NUMBERS + ("DoubleQuote",)


def main(arguments):
    if len(arguments) > 2:
        sys.exit(__doc__)
    folder = arguments[0] if arguments else database.FOLDER
    output = arguments[1] if len(arguments) > 1 else OUTPUT
    machines = (line_machine(), grapheme_machine(), word_machine())
    characters = properties.read_characters(folder, properties.read_mirrors(folder))
    made = [arrays(*entry) for entry in zip(("Line", "Grapheme", "Word"), machines)]
    made += class_arrays(machines, characters)
    total = sum(size for _, _, size in made)
    if total > BUDGET:
        database.fail(f"{total} bytes of tables, more than {BUDGET}")
    sizes = "\n".join(size for _, size, _ in made)
    definitions = "\n".join(text for text, _, _ in made)
    database.write(output, f"""\
// Made by tools/unicode/breaks.py, which has the rules of Unicode {database.VERSION}, from its
// Character Database. Do not edit.
//
{sizes}

#include "unicode/zkbreaktables.h"

// clang-format off

{definitions}""")
    print(sizes.replace("//   ", ""))
    print(total, "bytes")


if __name__ == "__main__":
    main(sys.argv[1:])
