"""gdb: prints the log records that no collection pass has taken yet, as the next pass would print them.

Writes the same file that a crashed process writes of its log, and has fallcatch_log print it.

    gdb -batch -x tools/pending_records.py -ex fallcatch-pending -p PID
    gdb -batch -x tools/pending_records.py -ex fallcatch-pending PROGRAM CORE

Needs debug information that describes HSL::CLogManager, and GCC's standard library. Reads only. What it shows
differently from a pass is told in docs/flushing.md.
"""

import glob
import os
import shutil
import struct
import subprocess
import tempfile
import time

import gdb

HERE = os.path.dirname(os.path.abspath(__file__))
MOST_CONTEXTS = 4096
MOST_FORMATS = 32768
LONGEST_TEXT = 65535
LARGEST_RING = 1 << 30
RING_WHOLE, RING_DAMAGED, RING_UNREADABLE, RING_MISSING = range(4)


class Unavailable(Exception):
    """The program or its debug information lacks something; the text says what."""


def read_memory(address, size):
    return bytes(gdb.selected_inferior().read_memory(address, size)) if size else b""


def vector(value, most):
    """The elements of a std::vector of GCC's library; no more than `most`, whatever it claims to hold."""
    start = value["_M_impl"]["_M_start"]
    for i in range(min(max(int(value["_M_impl"]["_M_finish"] - start), 0), most)):
        yield (start + i).dereference()


def string(value):
    """The text of a std::string; empty where there is none to be read."""
    try:
        length = int(value["_M_string_length"])
        return read_memory(int(value["_M_dataplus"]["_M_p"]), min(max(length, 0), LONGEST_TEXT))
    except gdb.error:
        return b""


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


class CrashLog:
    """The file's sections; what they hold is told in hslog/crash/CrashLogFormat.h."""

    def __init__(self, widths, zone):
        self.data = bytearray(b"HSLCrash" + struct.pack("<IIBBBBiII", 0x01020304, 1, *widths, 4, 0, zone, 0, 0))
        self.sections = 0

    def add(self, kind, payload):
        self.data += kind.encode() + struct.pack("<I", len(payload)) + payload
        self.sections += 1

    def finish(self):
        self.add("DONE", struct.pack("<I", self.sections))
        return bytes(self.data)


def is_sound(ring):
    first, last = ring["start_offset"], ring["end_offset"]
    return (ring["elem_size"] == 1 and 0 < ring["num_elem"] <= LARGEST_RING and last == first + ring["num_elem"]
            and first <= ring["read_offset"] <= last and first <= ring["write_offset"] <= last)


def taken_number(context, read):
    """The first bytes of the record at the read position, where a pass has given them back to the writer already."""
    try:
        taken = context["mTaken"].dereference()
        return struct.pack("<bi", 0, int(taken["mNumber"])) if int(taken["mOffset"]) == read else b""
    except gdb.error:
        return b""


def ring_of(context):
    """A RingProblem, the ring's fields and its bytes, oldest first."""
    empty = dict.fromkeys(("num_elem", "read_offset", "write_offset", "start_offset"), 0)
    try:
        buffer = context["mBuffer"]
        control = buffer["mControl"] if int(buffer) else buffer
        if not int(control):
            return RING_MISSING, empty, b""
        fields = control.dereference()
        ring = {name: int(fields[name]) for name in
                ("elem_size", "num_elem", "start_offset", "end_offset", "read_offset", "write_offset")}
        if not is_sound(ring):
            return RING_DAMAGED, ring, b""
        read, write = ring["read_offset"], ring["write_offset"]
        taken = taken_number(context, read)
        if write >= read:
            return RING_WHOLE, ring, taken + read_memory(int(control) + read, write - read)
        old = taken + read_memory(int(control) + read, ring["end_offset"] + 1 - read)
        return RING_WHOLE, ring, old + read_memory(int(control) + ring["start_offset"], write - ring["start_offset"])
    except gdb.error:
        return RING_UNREADABLE, empty, b""


def number(value):
    try:
        return int(value)
    except gdb.error:
        return 0


def add_context(log, context):
    problem, ring, data = ring_of(context)
    log.add("CTXT", struct.pack("<iiIIIII", number(context["mDepth"]), number(context["mRecordCount"]),
                                ring["num_elem"], ring["read_offset"], ring["write_offset"], ring["start_offset"],
                                problem) + string(context["mName"]))
    if data:
        log.add("RING", data)


def zone_of(manager):
    """Seconds that the process's local time is ahead of UTC; gdb's, where the process does not say."""
    try:
        return int(manager["mLedger"].dereference()["mZoneOffset"])
    except gdb.error:
        return time.localtime().tm_gmtoff


def crash_log(manager):
    widths = gdb.lookup_type("long").sizeof, manager.address.type.sizeof
    log = CrashLog(widths, zone_of(manager))
    last = last_time() or 0.0
    try:
        passing = bytes(int(manager["mFilter"][i]) for i in range(256))
    except gdb.error:
        passing = b"\1" * 256
    log.add("STAT", struct.pack("<iII", number(manager["mSequence"]), int(last), round(last % 1 * 1000000))
            + passing + struct.pack("<IIIq", 0, 0, 0, int(time.time())))
    for context in vector(manager["mContexts"], MOST_CONTEXTS):
        if number(context):
            add_context(log, context)
    for place, entry in enumerate(vector(manager["mFormatStrings"], MOST_FORMATS)):
        narrow = number(entry["mNarrow"]) != 0
        log.add("FORM", struct.pack("<IB", place, narrow) + (string(entry["mString"]) if narrow else b""))
    return log.finish()


def renderer():
    """fallcatch_log: the one that FALLCATCH_LOG names, beside this file, in a build of this tree or in the path."""
    builds = sorted(glob.glob(os.path.join(HERE, "..", "build", "*", "Shared", "KXPL", "fallcatch_log")))
    installed = [os.path.join(HERE, "fallcatch_log"), os.path.join(HERE, "..", "..", "bin", "fallcatch_log")]
    for candidate in [os.environ.get("FALLCATCH_LOG"), *installed, *builds, shutil.which("fallcatch_log")]:
        if candidate and os.access(candidate, os.X_OK) and os.path.isfile(candidate):
            return candidate
    raise Unavailable("there is no fallcatch_log: build it, or name it in FALLCATCH_LOG")


class Pending(gdb.Command):
    """Prints the log records that no collection pass has taken yet; with "all" also those that the filter hides, with
"json" as one object a line."""

    def __init__(self):
        super().__init__("fallcatch-pending", gdb.COMMAND_DATA)

    def invoke(self, argument, from_tty):
        try:
            options = ["--" + word for word in argument.split()]
            found = list(managers())
            for module, manager in found:
                if len(found) > 1:
                    gdb.write(f"-- {module}\n")
                self.show(manager, options)
            if not found:
                gdb.write("-- no log manager exists\n")
        except (Unavailable, gdb.error) as reason:
            raise gdb.GdbError(f"fallcatch-pending: {reason}") from reason

    @staticmethod
    def show(manager, options):
        with tempfile.NamedTemporaryFile(prefix="fallcatch-", suffix=".log") as file:
            file.write(crash_log(manager))
            file.flush()
            shown = subprocess.run([renderer(), *options, file.name], stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, check=False)
        gdb.write(shown.stdout.decode("utf-8", "backslashreplace"))


Pending()
