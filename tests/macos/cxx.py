"""The C++ library's strings and the C library's printing, for code that logs. The strings have the layout that
the compiled code expects: on arm64 Apple's library turns it round."""

import re
import struct

from unicorn.arm64_const import UC_ARM64_REG_X8
from unicorn.x86_const import UC_X86_REG_ESP

from system import System

STRING = "NSt3__112basic_stringIcNS_11char_traitsIcEENS_9allocatorIcEEE"


class StringLayout:
    """Three words. A short text lies in them; the rest hold address, size and capacity of a long one."""

    def __init__(self, machine):
        self._machine = machine
        self._width = machine.processor.width
        self._is_turned_round = machine.processor.name == "arm64"
        self._size = 3 * self._width

    def get(self, place):
        machine, width = self._machine, self._width
        raw = bytes(machine.uc.mem_read(place, self._size))
        if self._is_turned_round:
            if not raw[-1] & 0x80:
                return raw[:raw[-1]]
            start, length = machine.number(place), machine.number(place + width)
        else:
            if not raw[0] & 1:
                return raw[1:1 + (raw[0] >> 1)]
            start, length = machine.number(place + 2 * width), machine.number(place + width)
        return bytes(machine.uc.mem_read(start, length))

    def set(self, place, text):
        machine, width = self._machine, self._width
        if len(text) < self._size - 1:
            padded = text.ljust(self._size - 1, b"\0")
            size = bytes([len(text) if self._is_turned_round else len(text) << 1])
            machine.uc.mem_write(place, padded + size if self._is_turned_round else size + padded)
            return
        capacity = -(-(len(text) + 1) // 16) * 16
        start = machine.store(text.ljust(capacity, b"\0"))
        if self._is_turned_round:
            words = (start, len(text), capacity | 1 << 8 * width - 1)
        else:
            words = (capacity | 1, len(text), start)
        for i, word in enumerate(words):
            machine.set_number(place + width * i, word)


class VariableArguments:
    """A va_list: of x86-64 a record with two areas, elsewhere an address."""

    def __init__(self, machine, address):
        self._machine = machine
        self._is_record = machine.processor.name == "x86_64"
        self._address = address
        if self._is_record:
            self._general, self._floating = struct.unpack("<2I", machine.uc.mem_read(address, 8))
            self._next = machine.number(address + 8)
            self._saved = machine.number(address + 16)
        else:
            self._next = address

    def take(self, size, is_floating=False):
        """The next value's bytes as a number."""
        if self._is_record:
            if is_floating and self._floating < 176:
                self._floating += 16
                return self._machine.number(self._saved + self._floating - 16, size)
            if not is_floating and self._general < 48:
                self._general += 8
                return self._machine.number(self._saved + self._general - 8, size)
        place = self._next
        self._next += max(size, self._machine.processor.width)
        return self._machine.number(place, size)


def formatted(machine, text_format, values):
    """What vsnprintf makes of a format, as far as the logger's formats go."""
    width = machine.processor.width
    sizes = {"hh": 4, "h": 4, "": 4, "l": width, "ll": 8}

    def replace(match):
        flags, size, letter = match.groups()
        if letter == b"%":
            return b"%"
        python_format = b"%" + flags
        if letter in b"eEfgG":
            (number,) = struct.unpack("<d", struct.pack("<Q", values.take(8, is_floating=True)))
            return (python_format + letter) % number
        if letter == b"s":
            place = values.take(width)
            return (python_format + b"s") % machine.bytes_until_zero(place)
        if letter == b"S":
            place = values.take(width)
            return (python_format + b"s") % machine.wide_text(place).encode()
        count = sizes[size.decode()]
        number = values.take(count)
        bits = {"hh": 8, "h": 16}.get(size.decode(), 8 * count)
        number &= (1 << bits) - 1
        if letter in b"di" and number >> bits - 1:
            number -= 1 << bits
        return (python_format + (b"d" if letter in b"diu" else letter)) % number

    return re.sub(rb"%([-+ #0]*\d*(?:\.\d+)?)(hh|h|ll|l|)([a-zA-Z%])", replace, text_format)


class LoggingSystem(System):
    """System with what the logger uses besides. lines: what went to the standard error stream."""

    def __init__(self, world):
        super().__init__(world)
        self.lines = []
        self._slots = {}  # thread-specific values of the one thread that there is
        self._strings = {
            f"Z{STRING}6appendEPKc": self._append,
            f"Z{STRING}6assignEPKc": self._assign,
            f"Z{STRING}6assignEPKcm": self._assign_counted,
            f"Z{STRING}aSERKS5_": self._assign_other,
            f"Z{STRING}6insertEmPKc": self._insert,
            "ZNSt3__19to_stringEm": self._to_string,
            "ZNSt3__1plIcNS_11char_traitsIcEENS_9allocatorIcEEEENS_12basic_stringIT_T0_T1_EEPKS6_RKS9_":
                self._add,
        }

    def answer(self, name):
        return self._strings.get(name) or super().answer(name)

    # Memory of its own

    def mmap(self, machine):
        return machine.store(bytes(machine.arguments(2)[1]))

    def munmap(self, _machine):
        return 0

    # Strings

    def _append(self, machine):
        place, text = machine.arguments(2)
        return self._change(machine, place, lambda old: old + machine.bytes_until_zero(text))

    def _assign(self, machine):
        place, text = machine.arguments(2)
        return self._change(machine, place, lambda _old: machine.bytes_until_zero(text))

    def _assign_counted(self, machine):
        place, text, count = machine.arguments(3)
        return self._change(machine, place, lambda _old: bytes(machine.uc.mem_read(text, count)))

    def _assign_other(self, machine):
        place, other = machine.arguments(2)
        return self._change(machine, place, lambda _old: StringLayout(machine).get(other))

    def _insert(self, machine):
        place, at, text = machine.arguments(3)
        return self._change(
            machine, place, lambda old: old[:at] + machine.bytes_until_zero(text) + old[at:])

    def _change(self, machine, place, change):
        layout = StringLayout(machine)
        layout.set(place, change(layout.get(place)))
        return place

    def _to_string(self, machine):
        return self._made(machine, 1, lambda number: str(number).encode())

    def _add(self, machine):
        layout = StringLayout(machine)
        return self._made(
            machine, 2, lambda text, place: machine.bytes_until_zero(text) + layout.get(place))

    def _made(self, machine, count, make):
        """A function that returns a string: the place for it is an argument of its own kind, and on 32-bit x86
        the function takes it off the stack."""
        if machine.processor.name == "arm64":
            place, values = machine.uc.reg_read(UC_ARM64_REG_X8), machine.arguments(count)
        else:
            place, *values = machine.arguments(count + 1)
        StringLayout(machine).set(place, make(*values))
        if machine.processor.name == "i386":
            stack = machine.uc.reg_read(UC_X86_REG_ESP)
            machine.set_number(stack + 4, machine.number(stack))
            machine.uc.reg_write(UC_X86_REG_ESP, stack + 4)
        return place

    # Memory, printing, thread-specific values

    def malloc(self, machine):
        return machine.allocate(machine.arguments(1)[0])

    def free(self, _machine):
        return 0

    ZdlPv = ZdlPvm = free

    def bzero(self, machine):
        place, size = machine.arguments(2)
        machine.uc.mem_write(place, bytes(size))
        return 0

    def wmemchr(self, machine):
        place, wanted, count = machine.arguments(3)
        for i in range(count):
            if machine.number(place + 4 * i, 4) == wanted & 0xFFFFFFFF:
                return place + 4 * i
        return 0

    def vsnprintf(self, machine):
        place, size, text_format, values = machine.arguments(4)
        text = formatted(
            machine, machine.bytes_until_zero(text_format), VariableArguments(machine, values))
        machine.uc.mem_write(place, text[:size - 1] + b"\0")
        return len(text)

    def fputs(self, machine):
        self.lines.append(machine.text(machine.arguments(1)[0]))
        return 0

    def pthread_getspecific(self, machine):
        return self._slots.get(machine.arguments(1)[0] & 0xFFFFFFFF, 0)

    def pthread_setspecific(self, machine):
        key, value = machine.arguments(2)
        self._slots[key & 0xFFFFFFFF] = value
        return 0

    def pthread_key_delete(self, _machine):
        return 0
