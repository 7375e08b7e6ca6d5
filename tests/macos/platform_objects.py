"""Objects of the platform library inside an emulated machine: their fields, and calls of their operations."""

from support import bridge
from system import System


def int32(value):
    return (value & 0xFFFFFFFF ^ 0x80000000) - 0x80000000


class Library:
    """One loaded slice. events is what it asked of the system since the last clear."""

    def __init__(self, name, world=None, imports=System):
        self._bridge = bridge(name, world, imports, logs=False, whole=True)
        self.machine = self._bridge.machine
        self.system = self._bridge.imports
        self.events = self._bridge.world.events
        self.width = self.machine.processor.width

    def call(self, name, *values):
        return self.machine.call(self._bridge.image.symbol(name), *values)

    def test_commands(self):
        return self._bridge.test_commands()

    def wide(self, number):
        """A 64-bit number as arguments: 32-bit x86 takes two words."""
        number %= 1 << 64
        return [number] if self.width == 8 else [number & 0xFFFFFFFF, number >> 32]

    def symbol(self, name):
        return self._bridge.image.symbol(name)

    def time(self, microseconds=0, is_infinite=False):
        """A KxTime's address."""
        address = self.machine.allocate(32)
        self.machine.set_number(address, int(is_infinite), 1)
        self.machine.set_number(address + self.width, microseconds, 8)
        return address

    def time_value(self, address):
        value = self.machine.number(address + self.width, 8)
        return (value ^ 1 << 63) - (1 << 63)


class Thread:
    """A KxThread whose Run is a Python function."""

    def __init__(self, library, run=lambda: 0):
        machine = library.machine
        width = library.width
        self._library = library
        self.address = machine.allocate(128)
        library.system.names[self.address] = "thread"
        library.call("__ZN8KxThreadC2Ev", self.address)
        library.events.clear()
        # The slots of a derived class: two destructors, Start, WaitForExit, Run.
        base = machine.number(self.address)
        slots = [machine.number(base + width * i) for i in range(4)]
        slots.append(machine.trap(f"Run of {self.address:#x}", run))
        table = machine.allocate(width * len(slots))
        for i, slot in enumerate(slots):
            machine.set_number(table + width * i, slot)
        machine.set_number(self.address, table)
        self.slots = slots
        self.name = self.address + width
        self.priority = self.name + 3 * width  # behind a string of three words
        self.reserved = self.priority + 4
        self.run_wrapper = self.reserved + 4 + width
        self.platform_data = machine.number(self.run_wrapper + width)
        library.system.names[self.platform_data] = "handle"

    def set_empty_name(self):
        self._library.machine.uc.mem_write(self.name, bytes(3 * self._library.width))

    def is_running(self):
        return bool(self._library.machine.number(self.platform_data + self._library.width, 1))

    def set_running(self, value):
        self._library.machine.set_number(self.platform_data + self._library.width, int(value), 1)

    def start(self):
        self._library.call("__ZN8KxThread5StartEv", self.address)
