"""Reads the Unicode Character Database 15.0.0, as Debian's package unicode-data has it."""

import os
import re
import sys
import tempfile

FOLDER = "/usr/share/unicode"
VERSION = "15.0.0"
CODE_POINTS = 0x110000


def fail(message):
    sys.exit(os.path.basename(sys.argv[0]) + ": " + message)


def read_lines(folder, name):
    with open(os.path.join(folder, name), encoding="utf-8") as file:
        lines = file.read().splitlines()
    # Files name their version near their top; UnicodeData.txt does not.
    if name != "UnicodeData.txt":
        head = "\n".join(lines[:15])
        if VERSION not in head and "Emoji Version " + VERSION[:-2] not in head:
            fail(f"{name} is not the file of version {VERSION}")
    return lines


def read_fields(folder, name):
    """The fields of each line that holds data."""
    for line in read_lines(folder, name):
        content = line.split("#", 1)[0].strip()
        if content:
            yield [field.strip() for field in content.split(";")]


def code_points(field):
    """The range that "0041" or "0041..005A" names."""
    first, _, last = field.partition("..")
    return range(int(first, 16), int(last or first, 16) + 1)


def read_property(folder, name, default):
    """The value of every code point; `default` where the file has none."""
    values = [default] * CODE_POINTS
    for fields in read_fields(folder, name):
        for c in code_points(fields[0]):
            values[c] = fields[1]
    return values


def read_set(folder, name, wanted):
    """The code points that have a binary property."""
    found = set()
    for fields in read_fields(folder, name):
        if fields[1] == wanted:
            found.update(code_points(fields[0]))
    return found


def enumerators(header, name):
    """The names of `enum NAME` in a C++ header, without its prefix, in order."""
    with open(header, encoding="utf-8") as file:
        body = re.search(r"enum " + name + r" \{(.*?)\}", file.read(), re.S).group(1)
    names = re.findall(r"^\s*(\w+),?", re.sub(r"//.*", "", body).replace(",", ",\n"), re.M)
    assert all(entry.startswith(name) for entry in names), names
    return [entry[len(name):] for entry in names]


def write(path, text):
    """Replaces the file in one step: a failure leaves the old one."""
    folder = os.path.dirname(os.path.abspath(path))
    handle, temporary = tempfile.mkstemp(dir=folder, suffix=".tmp")
    try:
        with os.fdopen(handle, "w", encoding="ascii", newline="\n") as file:
            file.write(text)
        os.chmod(temporary, 0o644)
        os.replace(temporary, path)
    except BaseException:
        os.unlink(temporary)
        raise
