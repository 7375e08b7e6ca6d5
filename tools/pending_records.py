"""gdb: prints the log records that no collection pass has taken yet, as the next pass would print them.

    gdb -batch -x tools/pending_records.py -ex fallcatch-pending -p PID
    gdb -batch -x tools/pending_records.py -ex fallcatch-pending PROGRAM CORE

Needs debug information that describes HSL::CLogManager, and GCC's standard library. Reads only. What it shows
differently from a pass is told in docs/flushing.md.
"""

import os
import struct
import sys
import time

import gdb

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import pending_text  # noqa: E402


class Unavailable(Exception):
    """The program or its debug information lacks something; the text says what."""


def read_memory(address, size):
    return bytes(gdb.selected_inferior().read_memory(address, size)) if size else b""


def vector(value):
    """The elements of a std::vector of GCC's library."""
    start = value["_M_impl"]["_M_start"]
    for i in range(int(value["_M_impl"]["_M_finish"] - start)):
        yield (start + i).dereference()


def string(value):
    return read_memory(int(value["_M_dataplus"]["_M_p"]), int(value["_M_string_length"]))


def managers():
    """The manager of every module that has one: name and object."""
    try:
        pointer = gdb.lookup_type("HSL::CLogManager").pointer()
    except gdb.error as error:
        raise Unavailable(f"no debug information that describes HSL::CLogManager ({error})") from error
    places = {}
    for objfile in gdb.objfiles():
        symbol = objfile.lookup_global_symbol("HSL::CLogManager::msThis")
        if symbol is not None:
            places.setdefault(int(symbol.value().address), objfile.filename)
    if not places:
        try:
            places[int(gdb.parse_and_eval("(unsigned long)&'HSL::CLogManager::msThis'"))] = "the program"
        except gdb.error as error:
            raise Unavailable(f"no log manager's name among the symbols ({error})") from error
    seen = set()
    for place, module in places.items():
        manager = gdb.Value(place).cast(pointer.pointer()).dereference()
        if int(manager) not in seen and int(manager) != 0:
            seen.add(int(manager))
            yield module, manager.dereference()


class Ring:
    """What a ring holds, and how much of what was taken from it last is still there."""

    def __init__(self, context):
        buffer = context["mBuffer"]
        control = buffer["mControl"] if int(buffer) else buffer
        self.held = self.taken = b""
        if not int(control):
            return
        fields = control.dereference()
        read, write, first = (int(fields[name]) for name in ("read_offset", "write_offset", "start_offset"))
        beyond = int(fields["end_offset"]) + int(fields["elem_size"])
        everything = read_memory(int(control) + first, beyond - first)
        turned = everything[read - first:] + everything[: read - first]
        size = (write - read) % (beyond - first)
        self.held, self.taken = turned[:size], turned[size:]


class Fields:
    """Takes fields from bytes; behind their end everything is zero, as it is for a pass."""

    def __init__(self, data):
        self.data = data
        self.position = 0

    def take(self, size):
        taken = self.data[self.position:self.position + size]
        self.position += size
        return taken.ljust(size, b"\0")

    def number(self, code):
        return struct.unpack("<" + code, self.take(struct.calcsize("<" + code)))[0]

    def at_end(self):
        return self.position >= len(self.data)

    def overrun(self):
        return self.position > len(self.data)


class Record:
    """One log call."""

    def __init__(self, fields, widths):
        fields.take(1)
        self.sequence = fields.number("i")
        self.seconds, self.micros = fields.number("I"), fields.number("I")
        self.depth = fields.number("B")
        self.categories = fields.take(fields.number("B"))[:10]
        self.kind = fields.number("B")
        self.format_id, self.format = 0, b""
        if self.kind == 1:
            self.format = fields.take(fields.number("H")).split(b"\0")[0]
        elif self.kind == 3:
            self.format_id = fields.number("h")
        self.values = []
        for _ in range(max(fields.number("b"), 0)):
            tag = fields.number("B")
            if tag in pending_text.TEXT_UNITS:
                payload = fields.take(fields.number("H") * pending_text.TEXT_UNITS[tag])
            else:
                payload = fields.take(pending_text.payload_size(tag, widths))
            self.values.append((tag, payload))

    def time(self):
        return self.seconds + self.micros / 1000000.0

    def is_likely(self):
        return self.micros <= 999999 and 0 < len(self.categories) <= 10 and self.kind in (1, 3)


def records_of(context, widths):
    """The complete records of one context, oldest first, and the number of bytes that make none."""
    ring = Ring(context)
    data = ring.held
    count = int(context["mRecordCount"])
    if count > 0 and not (data[:1] == b"\0" and Record(Fields(data), widths).is_likely()):
        # A pass is under way and has taken the record's marker and number: what it took is still in memory.
        whole = ring.taken[-5:] + data
        if whole[:1] == b"\0" and Record(Fields(whole), widths).is_likely():
            data = whole
    fields = Fields(data)
    records = []
    while len(records) < count and not fields.at_end():
        record = Record(fields, widths)
        if fields.overrun():
            break
        records.append(record)
    return records


def merged(contexts):
    """(name, record) in the order in which a pass outputs them; `contexts` are (name, records)."""
    waiting = [(name, list(records)) for name, records in contexts if records]
    while waiting:
        name, records = min(waiting, key=lambda entry: entry[1][0].sequence)
        yield name, records.pop(0)
        waiting = [entry for entry in waiting if entry[1]]


def static(code, name):
    """A static variable of the library by its name among the symbols; None if there is no such."""
    try:
        address = int(gdb.parse_and_eval(f"(unsigned long)&'{name}'"))
    except gdb.error:
        return None
    return struct.unpack("<" + code, read_memory(address, struct.calcsize(code)))[0]


def last_time():
    """The time of the record that a pass processed last, in seconds; None if none was."""
    file = "HSL::(anonymous namespace)::"
    seconds = static("I", file + "sLastSecs")
    return seconds + static("I", file + "sLastMicros") / 1000000.0 if seconds else None


def header(record, name, last):
    clock = time.localtime(record.seconds)
    delta = 0.0 if last is None else record.time() - last
    whole = int(delta)
    text = "%6d  %02d:%02d:%02d.%06d  (%02d.%06d) :  [" % (
        record.sequence, clock.tm_hour, clock.tm_min, clock.tm_sec, record.micros, whole,
        int((delta - whole) * 1000000.0))
    return text.encode() + name.ljust(18) + b"]\t" + b"|  " * record.depth


class Pending(gdb.Command):
    """Prints the log records that no collection pass has taken yet; with "all" also those that the filter hides."""

    def __init__(self):
        super().__init__("fallcatch-pending", gdb.COMMAND_DATA)

    def invoke(self, argument, from_tty):
        try:
            found = list(managers())
            for module, manager in found:
                if len(found) > 1:
                    gdb.write(f"-- {module}\n")
                self.show(manager, argument.strip() == "all")
            if not found:
                gdb.write("-- no log manager exists\n")
        except Unavailable as reason:
            raise gdb.GdbError(f"fallcatch-pending: {reason}") from reason

    @staticmethod
    def show(manager, with_hidden):
        widths = {"long": gdb.lookup_type("long").sizeof, "pointer": manager.address.type.sizeof}
        texts = pending_text.Texts(widths, read_memory, gdb.MemoryError)
        entries = [(bool(entry["mNarrow"]), string(entry["mString"])) for entry in vector(manager["mFormatStrings"])]
        contexts = [(string(c["mName"]), records_of(c, widths)) for c in vector(manager["mContexts"]) if int(c)]
        passing = [int(manager["mFilter"][i]) != 0 for i in range(256)]
        last = last_time()
        shown = hidden = 0
        for name, record in merged(contexts):
            if with_hidden or any(passing[code] for code in record.categories):
                line = header(record, name, last) + texts.render(record, entries) + b"\n"
                gdb.write(line.decode("utf-8", "backslashreplace"))
                shown += 1
            else:
                hidden += 1
            last = record.time() if record.seconds != 0 else None
        gdb.write(f"-- {shown} pending; {hidden} more that the filter hides\n")


Pending()
