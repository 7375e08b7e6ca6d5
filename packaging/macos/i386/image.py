"""Writes a linked library as a 32-bit Mach-O file: <mach-o/loader.h>, <mach-o/nlist.h>, <mach-o/stab.h>."""

import hashlib
import struct

from link import LOCAL_POINTER, PAGE, SEGMENTS, STUB_SIZE, SYMBOL_STUBS
from objects import I386, MAGIC, ZERO_FILL

DYLIB = 6
NO_UNDEFINED, FOR_DYLD, TWO_LEVEL, BINDS_TO_WEAK, NO_REEXPORTS = 0x1, 0x4, 0x80, 0x10000, 0x100000
SEGMENT, SYMTAB, DYSYMTAB, LOAD_DYLIB, ID_DYLIB, UUID, DYLD_INFO_ONLY, VERSION_MIN = (
    0x1, 0x2, 0xB, 0xC, 0xD, 0x1B, 0x80000022, 0x24)
READ, WRITE, EXECUTE = 1, 2, 4
IN_SECTION, EXTERNAL = 0xE, 0x1
# Stabs, by which dsymutil finds the objects and what became of their symbols.
GLOBAL_VARIABLE, FUNCTION, STATIC_VARIABLE, BEGIN, SOURCE, OBJECT_FILE, END = 0x20, 0x24, 0x26, 0x2E, 0x64, 0x66, 0x4E
HEADER_PAD = 0x400  # for install_name_tool


def uleb(value):
    out = bytearray()
    while True:
        out.append(value & 0x7F | (0x80 if value > 0x7F else 0))
        value >>= 7
        if not value:
            return bytes(out)


def sleb(value):
    out = bytearray()
    while True:
        byte = value & 0x7F
        value >>= 7
        if value == (-1 if byte & 0x40 else 0):
            out.append(byte)
            return bytes(out)
        out.append(byte | 0x80)


def version(text):
    major, minor, patch = (*(int(part) for part in text.split(".")), 0, 0)[:3]
    return major << 16 | minor << 8 | patch


def padded(data, alignment=4):
    return data + bytes(-len(data) % alignment)


def dylib_command(kind, name, current="1", compatibility="1"):
    text = padded(name.encode() + b"\0")
    return struct.pack("<6I", kind, 24 + len(text), 24, 0, version(current), version(compatibility)) + text


def rebase_info(linker, segment_of):
    out = bytearray([0x11])  # pointers
    for address in linker.rebases:
        number, offset = segment_of(address)
        out += bytes([0x20 | number]) + uleb(offset) + b"\x51"
    return padded(bytes(out) + b"\0") if linker.rebases else b""


def bind_info(linker, segment_of):
    out = bytearray(b"\x51")  # pointers
    for address, name, addend in linker.bindings:
        number, offset = segment_of(address)
        out += bytes([0x10 | linker.imports[name], 0x40]) + name.encode() + b"\0"
        out += b"\x60" + sleb(addend) + bytes([0x70 | number]) + uleb(offset) + b"\x90"
    return padded(bytes(out) + b"\0")


def weak_bind_info(linker, segment_of, weak):
    """By name, as dyld wants it: the first image that defines one serves all."""
    out = bytearray()
    for address, name, addend in sorted(linker.bindings, key=lambda binding: (binding[1], binding[0])):
        if name in weak:
            number, offset = segment_of(address)
            out += b"\x40" + name.encode() + b"\0\x51\x60" + sleb(addend) + bytes([0x70 | number]) + uleb(offset)
            out += b"\x90"
    return padded(bytes(out) + b"\0") if out else b""


def export_info(addresses):
    """A tree of one level. dyld takes the first edge that fits, so longer names come first."""
    names = sorted(addresses, key=lambda name: (-len(name), name))
    nodes = [uleb(len(b"\0" + uleb(addresses[name]))) + b"\0" + uleb(addresses[name]) + b"\0" for name in names]

    def root(start):
        out = bytes([0, len(names)])
        for name, node in zip(names, nodes):
            out += name.encode() + b"\0" + uleb(start)
            start += len(node)
        return out

    size = 0
    while size != len(root(size)):
        size = len(root(size))
    return padded(root(size) + b"".join(nodes))


class Strings:
    def __init__(self):
        self.data = bytearray(b" \0")
        self._places = {"": 1}

    def place(self, text):
        if text not in self._places:
            self._places[text] = len(self.data)
            self.data += text.encode() + b"\0"
        return self._places[text]


class SymbolTable:
    def __init__(self, linker, exported, object_name):
        """object_name(path): how the debug map names an object."""
        self.strings = Strings()
        self._linker = linker
        places = list(linker.named_places())
        local = self._debug_map(places, object_name)
        local += [self._entry(name, IN_SECTION, number, address) for _, name, number, address, _ in places
                  if name not in exported]
        defined = [self._entry(name, IN_SECTION | EXTERNAL, number, address)
                   for _, name, number, address, _ in sorted(places, key=lambda place: place[1]) if name in exported]
        names = sorted(linker.imports)
        undefined = [self._entry(name, EXTERNAL, 0, 0, linker.imports[name] << 8) for name in names]
        self.counts = len(local), len(defined), len(undefined)
        self.data = b"".join(local + defined + undefined)
        self.number = {name: len(local) + len(defined) + i for i, name in enumerate(names)}

    def _entry(self, name, kind, section, value, description=0):
        return struct.pack("<I2BHI", self.strings.place(name), kind, section, description, value)

    def _debug_map(self, places, object_name):
        sections = self._linker.sections
        starts = sorted({place[3] for place in places})
        after = dict(zip(starts, starts[1:]))
        out = []
        for item in self._linker.objects:
            out += [self._entry("", SOURCE, 0, 0), self._entry(object_name(item.path), OBJECT_FILE, 3, 0, 1)]
            for owner, name, number, address, hidden in places:
                if owner is not item:
                    continue
                section = sections[number - 1]
                if section.flags & 0x80000000:  # instructions
                    end = min(after.get(address, 1 << 32), section.address + section.size)
                    out += [self._entry("", BEGIN, number, address), self._entry(name, FUNCTION, number, address),
                            self._entry("", FUNCTION, 0, end - address), self._entry("", END, number, end - address)]
                else:
                    out.append(self._entry(name, STATIC_VARIABLE if hidden else GLOBAL_VARIABLE, number, address))
            out.append(self._entry("", SOURCE, 1, 0))
        return out


class Image:
    def __init__(self, linker, options, object_name):
        self._linker = linker
        self._options = options
        self._segments = self._lay_out()
        exported = {name: linker.address(name) for name in options.exported}
        self._symbols = SymbolTable(linker, exported, object_name)
        self._parts = {
            "rebase": rebase_info(linker, self._segment_of), "bind": bind_info(linker, self._segment_of),
            "weak": weak_bind_info(linker, self._segment_of, options.weak),
            "export": export_info(exported), "symbols": self._symbols.data, "indirect": self._indirect(),
            "strings": padded(bytes(self._symbols.strings.data))}

    def _lay_out(self):
        """(name, address, size in memory, offset, size in the file, sections) of each segment."""
        found = []
        offset = 0
        for name in SEGMENTS:
            sections = [section for section in self._linker.sections if section.segment == name]
            if not sections:
                continue
            start = 0 if name == "__TEXT" else sections[0].address // PAGE * PAGE
            end = sections[-1].address + sections[-1].size
            stored = [section.address + section.size for section in sections if section.kind != ZERO_FILL]
            file_size = -(-(max(stored) - start) // PAGE) * PAGE if stored else 0
            found.append((name, start, -(-(end - start) // PAGE) * PAGE, offset, file_size, sections))
            offset += file_size
        return found

    def _segment_of(self, address):
        for number, (_, start, size, *_) in enumerate(self._segments):
            if start <= address < start + size:
                return number, address - start
        raise AssertionError(hex(address))

    def _indirect(self):
        table = []
        self._first_indirect = {}
        for section in self._linker.sections:
            self._first_indirect[id(section)] = len(table)
            table += [LOCAL_POINTER if name is None else self._symbols.number[name] for name in section.indirect]
        return struct.pack(f"<{len(table)}I", *table)

    def _segment_command(self, name, address, size, offset, file_size, sections):
        protection = READ | (EXECUTE if name == "__TEXT" else 0) | (WRITE if name in ("__DATA", "__OBJC") else 0)
        out = struct.pack("<2I16s8I", SEGMENT, 56 + 68 * len(sections), name.encode(), address, size, offset,
                          file_size, 7, protection, len(sections), 0)
        for section in sections:
            in_file = 0 if section.kind == ZERO_FILL else offset + section.address - address
            stub_size = STUB_SIZE if section.flags == SYMBOL_STUBS else 0
            out += struct.pack(
                "<16s16s9I", section.name.encode(), name.encode(), section.address, section.size, in_file,
                section.alignment.bit_length() - 1, 0, 0, section.flags, self._first_indirect[id(section)], stub_size)
        return out

    def _commands(self, uuid):
        options, parts = self._options, self._parts
        end = self._segments[-1]
        address = end[1] + end[2]
        offset = end[3] + end[4]
        at = {}
        for name, data in parts.items():
            at[name] = (offset + sum(len(parts[other]) for other in list(parts)[:list(parts).index(name)]), len(data))
        size = sum(len(data) for data in parts.values())
        local, defined, undefined = self._symbols.counts
        commands = [self._segment_command(*segment) for segment in self._segments]
        commands.append(self._segment_command("__LINKEDIT", address, -(-size // PAGE) * PAGE, offset, size, []))
        commands.append(dylib_command(
            ID_DYLIB, options.install_name, options.current_version, options.compatibility_version))
        commands.append(struct.pack("<12I", DYLD_INFO_ONLY, 48, *at["rebase"], *at["bind"], *at["weak"], 0, 0,
                                    *at["export"]))
        commands.append(struct.pack("<6I", SYMTAB, 24, at["symbols"][0], local + defined + undefined, *at["strings"]))
        commands.append(struct.pack(
            "<20I", DYSYMTAB, 80, 0, local, local, defined, local + defined, undefined, 0, 0, 0, 0, 0, 0,
            at["indirect"][0], at["indirect"][1] // 4, 0, 0, 0, 0))
        commands.append(struct.pack("<2I16s", UUID, 24, uuid))
        commands.append(struct.pack("<4I", VERSION_MIN, 16, version(options.oldest), version(options.sdk)))
        commands += [dylib_command(LOAD_DYLIB, *library) for library in options.libraries]
        body = b"".join(commands)
        header = struct.pack("<7I", MAGIC, I386, 3, DYLIB, len(commands), len(body),
                             NO_UNDEFINED | FOR_DYLD | TWO_LEVEL | NO_REEXPORTS
                             | (BINDS_TO_WEAK if parts["weak"] else 0))
        return header + body

    def _bytes(self, uuid):
        end = self._segments[-1]
        out = bytearray(end[3] + end[4])
        for _, address, _, offset, _, sections in self._segments:
            for section in sections:
                start = offset + section.address - address
                out[start:start + len(section.content)] = section.content
        commands = self._commands(uuid)
        out[:len(commands)] = commands
        return bytes(out) + b"".join(self._parts.values())

    def data(self):
        """The identifier is made of all other bytes: the same input gives the same file."""
        digest = bytearray(hashlib.sha256(self._bytes(bytes(16))).digest()[:16])
        digest[6] = digest[6] & 0x0F | 0x50
        digest[8] = digest[8] & 0x3F | 0x80
        return self._bytes(bytes(digest))
