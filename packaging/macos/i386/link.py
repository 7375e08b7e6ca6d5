"""Puts objects together: places their sections, finds what each name stands for, and fills in addresses. What
dyld has to do at load time is left as lists: pointers to move along with the image, pointers to imports."""

import struct
from dataclasses import dataclass, field

from objects import NON_LAZY_POINTERS, PRIVATE_EXTERNAL, ZERO_FILL

VANILLA, PAIR, SECTION_DIFFERENCE, LOCAL_SECTION_DIFFERENCE = 0, 1, 2, 4
LOCAL_POINTER = 0x80000000
PAGE = 0x1000
SYMBOL_STUBS = 0x8 | 0x80000000 | 0x400  # instructions only
STUB_SIZE = 12
SEGMENTS = ("__TEXT", "__DATA", "__OBJC")
# Debug information stays in the objects for dsymutil; unwinding goes by __eh_frame.
LEFT_OUT = ("__DWARF", "__LD")


class LinkError(Exception):
    pass


@dataclass
class OutputSection:
    name: str
    segment: str
    flags: int
    alignment: int = 4
    parts: list = field(default_factory=list)
    address: int = 0
    size: int = 0
    indirect: list = field(default_factory=list)  # names of imports, None for a pointer into the image
    content: bytearray = field(default_factory=bytearray)

    @property
    def kind(self):
        return self.flags & 0xFF


class Linker:
    def __init__(self, objects, header_size, library_of):
        """library_of(name): the number of the library that exports it, from 1, or None."""
        self.objects = objects
        self.library_of = library_of
        self.definitions = {}  # (section, offset in it) by name
        self.rebases = []  # addresses of pointers into the image
        self.bindings = []  # (address, name, addend)
        self.imports = {}  # library number by name
        self.sections = []
        self._slots = []
        self._collect()
        self._define()
        self._find_imports()
        self._add_stubs()
        self._place(header_size)
        self._fill()

    def _collect(self):
        by_name = {}
        for item in self.objects:
            for section in item.sections:
                if section.segment in LEFT_OUT:
                    continue
                segment, name = section.segment, section.name
                if section.kind == NON_LAZY_POINTERS:  # clang's segment __IMPORT is that of systems before 10.7
                    segment, name = "__DATA", "__nl_symbol_ptr"
                if segment not in SEGMENTS:
                    raise LinkError(f"{item.path}: no place for segment {segment}")
                if (segment, name) not in by_name:
                    by_name[segment, name] = OutputSection(name, segment, section.flags)
                output = by_name[segment, name]
                output.alignment = max(output.alignment, section.alignment)
                output.parts.append((item, section))
        # Sections without content come last in their segment.
        self.sections = sorted(
            by_name.values(), key=lambda section: (SEGMENTS.index(section.segment), section.kind == ZERO_FILL))

    def _define(self):
        for item in self.objects:
            for symbol in item.symbols:
                if symbol.is_defined and symbol.is_external:
                    section = item.sections[symbol.section - 1]
                    # Of inline functions every object has a copy; the first stands for all.
                    self.definitions.setdefault(symbol.name, (section, symbol.value - section.address))

    def _find_imports(self):
        missing = []
        for item in self.objects:
            for symbol in item.symbols:
                name = symbol.name
                if symbol.is_undefined and name not in self.definitions and name != "___dso_handle":
                    self.imports[name] = self.library_of(name)
                    if self.imports[name] is None or symbol.value:
                        missing.append(f"undefined symbol: {name}, used by {item.path}")
        if missing:
            raise LinkError("\n".join(missing))

    def _called(self):
        for item in self.objects:
            for section in item.sections:
                for entry in section.relocations:
                    if section.segment not in LEFT_OUT and entry.is_external and entry.is_relative:
                        name = item.symbols[entry.index].name
                        if name in self.imports:
                            yield name

    def _add_stubs(self):
        """A call of an import goes to code that jumps through a pointer which dyld fills at load time."""
        self._slots = sorted(set(self._called()))
        if self._slots:
            last_text = max(i for i, section in enumerate(self.sections) if section.segment == "__TEXT")
            self._stubs = OutputSection("__symbol_stub", "__TEXT", SYMBOL_STUBS, 4)
            self._stubs.size = STUB_SIZE * len(self._slots)
            self.sections.insert(last_text + 1, self._stubs)
            first_data = next(i for i, section in enumerate(self.sections) if section.segment == "__DATA")
            self._got = OutputSection("__got", "__DATA", NON_LAZY_POINTERS, 4)
            self._got.size = 4 * len(self._slots)
            self.sections.insert(first_data, self._got)

    def _place(self, header_size):
        free = header_size
        segment = "__TEXT"
        for output in self.sections:
            if output.segment != segment:
                segment = output.segment
                free = -(-free // PAGE) * PAGE
            free = -(-free // output.alignment) * output.alignment
            output.address = free
            for _, section in output.parts:
                free = -(-free // section.alignment) * section.alignment
                section.place = free
                free += section.size
            output.size = max(output.size, free - output.address)
            free = output.address + output.size
            if output.kind != ZERO_FILL:
                output.content = bytearray(output.size)

    def address(self, name):
        """0 for the image's own header."""
        if name == "___dso_handle":
            return 0
        section, offset = self.definitions[name]
        return section.place + offset

    def _fill(self):
        for output in self.sections:
            for item, section in output.parts:
                if output.kind == ZERO_FILL:
                    continue
                start = section.place - output.address
                output.content[start:start + section.size] = section.content
                self._relocate(output, item, section)
                if output.kind == NON_LAZY_POINTERS:
                    self._fill_pointers(output, item, section)
        for i, name in enumerate(self._slots):
            self._fill_stub(i, name)
        self.rebases.sort()
        self.bindings.sort()

    def _number(self, output, place, size):
        at = place - output.address
        return int.from_bytes(output.content[at:at + size], "little")

    def _set_number(self, output, place, value, size=4):
        at = place - output.address
        output.content[at:at + size] = (value % (1 << 8 * size)).to_bytes(size, "little")

    def _relocate(self, output, item, section):
        entries = iter(section.relocations)
        for entry in entries:
            place = section.place + entry.address
            content = self._number(output, place, entry.size)
            if entry.kind in (SECTION_DIFFERENCE, LOCAL_SECTION_DIFFERENCE):
                other = next(entries)
                if other.kind != PAIR:
                    raise LinkError(f"{item.path}: half a difference in {section.name}")
                content += item.section_at(entry.index).moved - item.section_at(other.index).moved
                self._set_number(output, place, content, entry.size)
            elif entry.kind != VANILLA or entry.size != 4:
                raise LinkError(f"{item.path}: relocation {entry.kind} of {entry.size} bytes in {section.name}")
            elif entry.is_relative:
                self._set_number(output, place, content + self._target(item, entry, True) - section.moved)
            else:
                self._point(output, item, entry, place, content)

    def _target(self, item, entry, is_call=False):
        """How far what the place refers to has moved."""
        if entry.is_scattered:
            return item.section_at(entry.index).moved
        if not entry.is_external:
            return item.sections[entry.index - 1].moved
        name = item.symbols[entry.index].name
        if is_call and name in self.imports:
            return self._stubs.address + STUB_SIZE * self._slots.index(name)
        return self.address(name)

    def _point(self, output, item, entry, place, content):
        if output.segment == "__TEXT":
            raise LinkError(f"{item.path}: an address in {output.name}, which cannot be written at load time")
        name = item.symbols[entry.index].name if entry.is_external else None
        if name in self.imports:
            self.bindings.append((place, name, (content ^ 1 << 31) - (1 << 31)))
            self._set_number(output, place, 0)
        else:
            self._set_number(output, place, content + self._target(item, entry))
            self.rebases.append(place)

    def _fill_pointers(self, output, item, section):
        first = section.first_indirect
        for i, index in enumerate(item.indirect[first:first + section.size // 4]):
            place = section.place + 4 * i
            if index == LOCAL_POINTER:  # its content has a relocation
                output.indirect.append(None)
                continue
            name = item.symbols[index].name
            if name in self.imports:
                self.bindings.append((place, name, 0))
                output.indirect.append(name)
            else:
                self._set_number(output, place, self.address(name))
                self.rebases.append(place)
                output.indirect.append(None)

    def _fill_stub(self, number, name):
        slot = self._got.address + 4 * number
        start = STUB_SIZE * number
        behind_call = self._stubs.address + start + 5
        # call 0f; 0: pop %eax; jmp *slot-0b(%eax). A caller expects nothing to stay in %eax.
        self._stubs.content[start:start + STUB_SIZE] = struct.pack("<BIB2si", 0xE8, 0, 0x58, b"\xff\xa0",
                                                                   slot - behind_call)
        self._stubs.indirect.append(name)
        self._got.indirect.append(name)
        self.bindings.append((slot, name, 0))

    def named_places(self):
        """(object, name, number of the output section from 1, address, is it hidden or local) of what is defined."""
        numbers = {id(section): i for i, output in enumerate(self.sections, 1) for _, section in output.parts}
        for item in self.objects:
            for symbol in item.symbols:
                section = item.sections[symbol.section - 1] if symbol.is_defined else None
                if section is None or id(section) not in numbers or symbol.name.startswith(("L", "l")):
                    continue
                if symbol.is_external and self.definitions[symbol.name][0] is not section:
                    continue
                yield (item, symbol.name, numbers[id(section)], symbol.value + section.moved,
                       not symbol.is_external or bool(symbol.type & PRIVATE_EXTERNAL))
