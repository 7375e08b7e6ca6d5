"""Reads what a linker is given: 32-bit Mach-O objects (<mach-o/loader.h>, <mach-o/nlist.h>, <mach-o/reloc.h>) and
archives of them (BSD's and GNU's names of members)."""

import struct
from dataclasses import dataclass, field
from pathlib import Path

MAGIC, I386, OBJECT = 0xFEEDFACE, 7, 1
SEGMENT, SYMTAB, DYSYMTAB = 0x1, 0x2, 0xB
ZERO_FILL, NON_LAZY_POINTERS = 0x1, 0x6
STAB, PRIVATE_EXTERNAL, TYPE, EXTERNAL = 0xE0, 0x10, 0x0E, 0x01
UNDEFINED, ABSOLUTE, IN_SECTION = 0x0, 0x2, 0xE


@dataclass
class Section:
    name: str
    segment: str
    address: int
    size: int
    alignment: int
    flags: int
    first_indirect: int
    content: bytes
    relocations: list
    place: int = 0  # in the image

    @property
    def kind(self):
        return self.flags & 0xFF

    @property
    def moved(self):
        return self.place - self.address


@dataclass
class Symbol:
    name: str
    type: int
    section: int  # from 1
    value: int

    @property
    def is_defined(self):
        return self.type & TYPE == IN_SECTION

    @property
    def is_undefined(self):
        return self.type & TYPE == UNDEFINED

    @property
    def is_external(self):
        return bool(self.type & EXTERNAL)


@dataclass
class Relocation:
    """A scattered one names an address of the object instead of a symbol or a section."""
    address: int
    kind: int
    size: int
    is_relative: bool
    is_scattered: bool
    is_external: bool
    index: int  # of a symbol or section; a scattered one's address


@dataclass
class Object:
    path: str
    sections: list = field(default_factory=list)
    symbols: list = field(default_factory=list)
    indirect: list = field(default_factory=list)

    def section_at(self, address):
        for section in self.sections:
            if section.address <= address < section.address + max(section.size, 1):
                return section
        raise ValueError(f"{self.path}: no section at {address:#x}")


def text(data):
    return data.split(b"\0", 1)[0].decode()


def relocation(first, second):
    if first >> 31:
        return Relocation(first & 0xFFFFFF, first >> 24 & 0xF, 1 << (first >> 28 & 3), bool(first >> 30 & 1), True,
                          False, second)
    return Relocation(first, second >> 28, 1 << (second >> 25 & 3), bool(second >> 24 & 1), False,
                      bool(second >> 27 & 1), second & 0xFFFFFF)


def read_sections(data, at, count):
    for i in range(count):
        name, segment, address, size, offset, alignment, first, relocations, flags, reserved, _ = struct.unpack_from(
            "<16s16s9I", data, at + 68 * i)
        kept = flags & 0xFF != ZERO_FILL
        yield Section(
            text(name), text(segment), address, size, 1 << alignment, flags, reserved,
            data[offset:offset + size] if kept else b"",
            [relocation(*struct.unpack_from("<2I", data, first + 8 * k)) for k in range(relocations)])


def read_object(path, data):
    magic, processor, _, kind, commands, *_ = struct.unpack_from("<7I", data)
    if (magic, processor, kind) != (MAGIC, I386, OBJECT):
        raise ValueError(f"{path}: no 32-bit x86 object")
    found = Object(path)
    at = 28
    for _ in range(commands):
        command, size = struct.unpack_from("<2I", data, at)
        if command == SEGMENT:
            found.sections += read_sections(data, at + 56, struct.unpack_from("<I", data, at + 48)[0])
        elif command == SYMTAB:
            symbols, count, strings, _ = struct.unpack_from("<4I", data, at + 8)
            for i in range(count):
                name, kind, section, _, value = struct.unpack_from("<I2BHI", data, symbols + 12 * i)
                found.symbols.append(Symbol(text(data[strings + name:strings + name + 4096]), kind, section, value))
        elif command == DYSYMTAB:
            table, count = struct.unpack_from("<2I", data, at + 56)
            found.indirect = list(struct.unpack_from(f"<{count}I", data, table))
        at += size
    return found


def members(data):
    """Names and contents of an archive."""
    names = b""
    at = 8
    while at + 60 <= len(data):
        name, size = data[at:at + 16].decode().rstrip(), int(data[at + 48:at + 58])
        content = data[at + 60:at + 60 + size]
        if name.startswith("#1/"):
            length = int(name[3:])
            name, content = text(content[:length]), content[length:]
        elif name == "//":
            names = content
        elif name[0] == "/" and name[1:].isdigit():
            name = names[int(name[1:]):].split(b"/\n", 1)[0].decode()
        if not name.startswith(("/", "__.SYMDEF")):
            yield name.rstrip("/"), content
        at += 60 + size + size % 2


def read(path):
    """The objects of a file, and whether it is an archive, of which a linker takes what is asked for."""
    data = Path(path).read_bytes()
    if data.startswith(b"!<arch>\n"):
        return [read_object(f"{path}({name})", content) for name, content in members(data)], True
    return [read_object(str(path), data)], False


def defined(item):
    return {symbol.name for symbol in item.symbols if symbol.is_defined and symbol.is_external}


def read_all(paths):
    """The objects of all files; of archives those that define what is missing otherwise, in their order."""
    taken, offered, order = [], [], {}
    for path in paths:
        found, is_archive = read(path)
        (offered if is_archive else taken).extend(found)
        order.update({item.path: len(order) + i for i, item in enumerate(found)})
    while True:
        have = {name for item in taken for name in defined(item)}
        missing = {symbol.name for item in taken for symbol in item.symbols if symbol.is_undefined} - have
        wanted = next((item for item in offered if defined(item) & missing), None)
        if wanted is None:
            return sorted(taken, key=lambda item: order[item.path])
        offered.remove(wanted)
        taken.append(wanted)
