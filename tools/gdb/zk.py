"""Shows the values of libzk in gdb: texts as texts, containers with their elements.

    (gdb) source tools/gdb/zk.py
    (gdb) print names
    $1 = ZkHash of 1 = {[7] = "seven"}

A line `source <where it is>/zk.py` in ~/.gdbinit loads it each time; a program built
with -g by Clang needs -fstandalone-debug too, or gdb does not know the blocks.

Reads the blocks only; nothing is called in the program. Of a block that cannot
be one (a broken pointer, a negative size) only that is told.
"""
import itertools

import gdb
import gdb.printing


def rounded_up(offset, type_):
    return -(-offset // type_.alignof) * type_.alignof


def at(address, type_):
    """The value of `type_` at a `char *`."""
    return address.cast(type_.pointer()).dereference()


def char_pointer(pointer):
    return pointer.cast(gdb.lookup_type("char").pointer())


def elements(type_, n=0):
    """The type given as template argument `n`, typedefs resolved."""
    return type_.strip_typedefs().template_argument(n)


class Printer:
    """What all have in common: nothing of a broken block is followed."""

    def __init__(self, value):
        self.value = value
        self.broken = None
        try:
            self.read()
        except (gdb.error, gdb.MemoryError, ValueError) as error:
            self.broken = f"<broken: {error}>"

    def check(self, holds, what):
        if not holds:
            raise ValueError(what)

    def to_string(self):
        return self.broken or self.text()


class StringPrinter(Printer):
    def read(self):
        d = self.value["d"]["p"]
        size, data = int(d["size"]), d["data"]
        self.check(0 <= size, "negative size")
        self.units = bytes(gdb.selected_inferior().read_memory(int(data), 2 * size)) if size else b""

    def text(self):
        # Units are characters; a surrogate, which is none, shows as U+FFFD.
        units = memoryview(self.units).cast("H")
        return "".join(chr(u) if not 0xD800 <= u < 0xE000 else "\ufffd" for u in units)

    def display_hint(self):
        return None if self.broken else "string"


class ByteArrayPrinter(Printer):
    def read(self):
        d = self.value["d"]["p"]
        size, data = int(d["size"]), d["data"]
        self.check(0 <= size, "negative size")
        self.bytes = data.string("latin-1", length=size) if size else ""

    def text(self):
        return self.bytes

    def display_hint(self):
        return None if self.broken else "string"


class ArrayPrinter(Printer):
    """A container whose elements have an index."""

    def text(self):
        return f"{self.name} of {self.size}, capacity {self.capacity}"

    def children(self):
        if not self.broken:
            for i in range(self.size):
                yield f"[{i}]", self.element(i)

    def display_hint(self):
        return None if self.broken else "array"


class VectorPrinter(ArrayPrinter):
    name = "ZkVector"

    def read(self):
        d = self.value["d"]
        self.size, self.capacity = int(d["size"]), int(d["alloc"])
        self.check(0 <= self.size <= self.capacity, f"size {self.size} of {self.capacity}")
        # The elements stand right behind the header.
        self.first = (d + 1).cast(elements(self.value.type).pointer())

    def element(self, i):
        return (self.first + i).dereference()


class ListPrinter(ArrayPrinter):
    name = "ZkList"

    def read(self):
        d = self.value["p"]["d"]
        begin, end, self.capacity = int(d["begin"]), int(d["end"]), int(d["alloc"])
        self.check(0 <= begin <= end <= self.capacity, f"run {begin} to {end} of {self.capacity}")
        self.size = end - begin
        self.type = elements(list_type(self.value.type))
        self.slots = d["array"].address.cast(gdb.lookup_type("void").pointer().pointer()) + begin

    def element(self, i):
        slot = self.slots + i
        # Pointers stand in the slots themselves, all else in nodes.
        if self.type.strip_typedefs().code == gdb.TYPE_CODE_PTR:
            return slot.cast(self.type.pointer()).dereference()
        return slot.dereference().cast(self.type.pointer()).dereference()


def list_type(type_):
    """ZkList<T> of a list or of a class derived from one."""
    type_ = type_.strip_typedefs()
    while not type_.name.startswith("ZkList<"):
        type_ = type_.fields()[0].type.strip_typedefs()
    return type_


class PairPrinter(Printer):
    """A container of keys and values."""

    def text(self):
        return f"{self.name} of {self.size}"

    def children(self):
        if self.broken:
            return
        # No more than there should be: the links of a broken block may go round.
        for index, (key, value) in enumerate(itertools.islice(self.pairs(), self.size)):
            yield f"[{2 * index}]", key
            yield f"[{2 * index + 1}]", value

    def display_hint(self):
        return None if self.broken else "map"


class HashPrinter(PairPrinter):
    name = "ZkHash"

    def read(self):
        self.d = self.value["d"].dereference()
        self.size, self.buckets = int(self.d["size"]), int(self.d["numBuckets"])
        self.check(0 <= self.size and 0 <= self.buckets, "negative size")
        self.key, self.mapped = elements(self.value.type), elements(self.value.type, 1)

    def pairs(self):
        head = gdb.lookup_type("ZkHashData::Node")
        integer = self.key.strip_typedefs().code in (gdb.TYPE_CODE_INT, gdb.TYPE_CODE_CHAR)
        key_is_hash = integer and self.key.sizeof == 4
        key_at = rounded_up(head.sizeof, self.key)
        value_at = rounded_up(head.sizeof if key_is_hash else key_at + self.key.sizeof, self.mapped)
        end = int(self.d.address)
        for i in range(self.buckets):
            node = self.d["buckets"][i]
            while int(node) != end:
                start = char_pointer(node)
                key = node["h"].cast(self.key) if key_is_hash else at(start + key_at, self.key)
                yield key, at(start + value_at, self.mapped)
                node = node["next"]


class MapPrinter(PairPrinter):
    name = "ZkMap"

    def read(self):
        self.d = self.value["d"].dereference()
        self.size = int(self.d["size"])
        self.check(0 <= self.size, "negative size")
        self.key, self.mapped = elements(self.value.type), elements(self.value.type, 1)

    def pairs(self):
        # Key and value stand in front of the links, filled up to a pointer's alignment.
        pointer = gdb.lookup_type("void").pointer()
        value_at = rounded_up(self.key.sizeof, self.mapped)
        wider = max(self.key, self.mapped, pointer, key=lambda type_: type_.alignof)
        offset = rounded_up(value_at + self.mapped.sizeof, wider)
        node = self.d["forward"][0]
        while int(node) != int(self.d.address):
            start = char_pointer(node) - offset
            yield at(start, self.key), at(start + value_at, self.mapped)
            node = node["forward"][0]


def collection():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("libzk")
    for pattern, printer in (("^ZkString$", StringPrinter),
                             ("^ZkByteArray$", ByteArrayPrinter),
                             ("^ZkVector<.*>$", VectorPrinter),
                             ("^ZkList<.*>$", ListPrinter),
                             ("^ZkStringList$", ListPrinter),
                             ("^ZkHash<.*>$", HashPrinter),
                             ("^ZkMap<.*>$", MapPrinter)):
        printers.add_printer(printer.name if hasattr(printer, "name") else pattern[1:-1],
                             pattern, printer)
    return printers


gdb.printing.register_pretty_printer(None, collection(), replace=True)
