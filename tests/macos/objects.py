"""Links 32-bit x86 objects into an emulated machine, for want of a linker that takes the sections of the legacy
Objective-C runtime. Does what ld, dyld and that runtime would, as far as these objects need it."""

import struct

import lief

VANILLA, PAIR, SECTION_DIFFERENCE, LOCAL_SECTION_DIFFERENCE = 0, 1, 2, 4
ZERO_FILL, POINTERS_TO_SYMBOLS, INITIALISERS = 1, 6, 9
LOCAL_POINTER = 0x80000000
IN_SECTION, EXTERNAL = 0xE, 0x1
IMAGE = 0x1000_0000


class Relocation:
    """One of <mach-o/reloc.h>; a scattered one names an address instead of a symbol or section."""

    def __init__(self, first, second):
        self.is_scattered = bool(first >> 31)
        if self.is_scattered:
            self.address = first & 0xFFFFFF
            self.kind = first >> 24 & 0xF
            self.size = 1 << (first >> 28 & 3)
            self.is_relative = bool(first >> 30 & 1)
            self.value = second
        else:
            self.address = first
            self.index = second & 0xFFFFFF
            self.is_relative = bool(second >> 24 & 1)
            self.size = 1 << (second >> 25 & 3)
            self.is_external = bool(second >> 27 & 1)
            self.kind = second >> 28


class Object:
    def __init__(self, path):
        self.path = path
        self._data = path.read_bytes()
        self.binary = lief.MachO.parse(str(path)).at(0)
        # Debug information and the linker's own notes are not loaded.
        self.sections = list(self.binary.sections)
        self.symbols = list(self.binary.symbols)
        self.places = {}  # new address by number of the section, from 1

    def loaded(self):
        return [(i, s) for i, s in enumerate(self.sections, 1) if s.segment_name not in ("__DWARF", "__LD")]

    def relocations(self, section):
        for i in range(section.numberof_relocations):
            yield Relocation(*struct.unpack_from("<2I", self._data, section.relocation_offset + 8 * i))

    def moved(self, number):
        return self.places[number] - self.sections[number - 1].virtual_address

    def moved_at(self, address):
        for number, section in self.loaded():
            if section.virtual_address <= address < section.virtual_address + max(section.size, 1):
                return self.moved(number)
        raise AssertionError(f"{self.path}: no section at {address:#x}")

    def indirect_symbols(self, section):
        table = self.binary.dynamic_symbol_command.indirect_symbol_offset
        count = section.size // 4
        return struct.unpack_from(f"<{count}I", self._data, table + 4 * section.reserved1)


class ObjectsImage:
    """The same face as FrameworkImage: exports, initialisers, symbol."""

    def __init__(self, paths, machine, resolve, class_address):
        self._machine = machine
        self._resolve = resolve
        self._objects = [Object(path) for path in paths]
        self._definitions = {}
        self._place()
        self._define()
        self.imports = set()
        for item in self._objects:
            for number, section in item.loaded():
                self._relocate(item, number, section)
                if section.type.value == POINTERS_TO_SYMBOLS:
                    self._fill_pointers(item, number, section)
        self._look_up_classes(class_address)
        self.exports = self._definitions

    def _place(self):
        free = IMAGE
        for item in self._objects:
            for number, section in item.loaded():
                alignment = 1 << section.alignment
                free = -(-free // alignment) * alignment
                item.places[number] = free
                free += section.size
        self._machine.map_image(IMAGE, free - IMAGE)
        for item in self._objects:
            for number, section in item.loaded():
                if section.type.value != ZERO_FILL:
                    self._machine.uc.mem_write(item.places[number], bytes(section.content))

    def _define(self):
        for item in self._objects:
            for symbol in item.symbols:
                defined = symbol.raw_type & 0xE == IN_SECTION and symbol.raw_type & EXTERNAL
                if defined and symbol.numberof_sections in item.places:
                    address = symbol.value + item.moved(symbol.numberof_sections)
                    self._definitions.setdefault(symbol.name, address)

    def _address(self, name):
        if name in self._definitions:
            return self._definitions[name]
        self.imports.add(name)
        return self._resolve(self._machine, name)

    def _relocate(self, item, number, section):
        entries = iter(list(item.relocations(section)))
        for entry in entries:
            place = item.places[number] + entry.address
            content = self._machine.number(place, entry.size)
            if entry.kind in (SECTION_DIFFERENCE, LOCAL_SECTION_DIFFERENCE):
                pair = next(entries)
                assert pair.kind == PAIR
                content += item.moved_at(entry.value) - item.moved_at(pair.value)
            else:
                assert entry.kind == VANILLA and entry.size == 4
                content += self._target(item, entry)
                if entry.is_relative:
                    content -= item.moved(number)
            self._machine.set_number(place, content, entry.size)

    def _target(self, item, entry):
        """How far what the place refers to has moved."""
        if entry.is_scattered:
            return item.moved_at(entry.value)
        if entry.is_external:
            return self._address(item.symbols[entry.index].name)
        return item.moved(entry.index)

    def _fill_pointers(self, item, number, section):
        for i, index in enumerate(item.indirect_symbols(section)):
            if index != LOCAL_POINTER:
                self._machine.set_number(
                    item.places[number] + 4 * i, self._address(item.symbols[index].name))

    def _look_up_classes(self, class_address):
        for item in self._objects:
            for number, section in item.loaded():
                if section.name == "__cls_refs":
                    for place in range(item.places[number], item.places[number] + section.size, 4):
                        name = self._machine.text(self._machine.number(place))
                        self._machine.set_number(place, class_address(name))

    def symbol(self, name):
        return self._definitions[name]

    def has_symbol(self, name):
        return name in self._definitions

    def initialisers(self):
        return [
            self._machine.number(item.places[number] + i)
            for item in self._objects
            for number, section in item.loaded() if section.type.value == INITIALISERS
            for i in range(0, section.size, 4)]
