"""Loads one slice of the framework's binary into an emulated machine as dyld would: segments, rebased
pointers, bound imports."""

import lief

from machine import I386, X86_64, Arm64

PROCESSORS = {
    lief.MachO.Header.CPU_TYPE.X86: I386,
    lief.MachO.Header.CPU_TYPE.X86_64: X86_64,
    lief.MachO.Header.CPU_TYPE.ARM64: Arm64,
}
IMAGE = 0x1000_0000
lief.logging.disable()


_files = []  # lief's slices live as long as the file that they come from


def slices(path):
    """The binaries of a universal file by processor name."""
    _files.append(lief.MachO.parse(str(path)))
    return {
        PROCESSORS[binary.header.cpu_type].name: binary
        for binary in (_files[-1].at(i) for i in range(_files[-1].size))}


class FrameworkImage:
    """resolve(machine, name) gives the address that an import is bound to. class_address(name): what the legacy
    Objective-C runtime puts where a class is referred to by its name."""

    def __init__(self, binary, machine, resolve, symbols, class_address):
        self.machine = machine
        self._base = machine.processor.origin + IMAGE
        self._binary = binary
        self.imports = set()
        self._map()
        self._rebase()
        self._bind(resolve)
        self._look_up_classes(class_address)
        self.exports = {
            entry.symbol.name: self._base + entry.address for entry in binary.dyld_info.exports}
        self._symbols = {name: self._base + value for name, value in symbols.items()}

    def _map(self):
        self.machine.map_image(self._base, self._binary.virtual_size)
        for segment in self._binary.segments:
            self.machine.uc.mem_write(self._base + segment.virtual_address, bytes(segment.content))

    def _rebase(self):
        for relocation in self._binary.relocations:
            place = self._base + relocation.address
            self.machine.set_number(place, self.machine.number(place) + self._base)

    def _bind(self, resolve):
        for binding in self._binary.bindings:
            name = binding.symbol.name
            self.imports.add(name)
            self.machine.set_number(
                self._base + binding.address, resolve(self.machine, name) + binding.addend)

    def _look_up_classes(self, class_address):
        for section in self._sections():
            if section.name == "__cls_refs":
                for i in range(0, section.size, 4):
                    place = self._base + section.virtual_address + i
                    self.machine.set_number(place, class_address(self.machine.text(self.machine.number(place))))

    def _sections(self):
        return [section for segment in self._binary.segments for section in segment.sections]

    def symbol(self, name):
        """A function that the binary does not export, by what its debug information knows."""
        return self._symbols[name]

    def has_symbol(self, name):
        return name in self._symbols

    def initialisers(self):
        found = []
        width = self.machine.processor.width
        for section in self._sections():
            if section.name == "__mod_init_func":
                start = self._base + section.virtual_address
                found += [self.machine.number(start + i) for i in range(0, section.size, width)]
        return found
