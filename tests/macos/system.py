"""macOS's threads, mutexes and clocks as the platform library sees them, played in Python and written down."""

import struct

from unicorn.x86_const import UC_X86_REG_EDX

from bridge import Imports

# Functions and their arguments: p is an address, written by the name that a test gave it; n a 32-bit number.
CALLS = {
    "pthread_atfork": "ppp", "pthread_attr_init": "p", "pthread_attr_setdetachstate": "pn",
    "pthread_attr_setschedpolicy": "pn",
    "pthread_attr_setschedparam": "pp", "pthread_create": "pppp", "pthread_join": "pp",
    "pthread_self": "", "pthread_setname_np": "p", "pthread_sigmask": "npp",
    "pthread_setcancelstate": "np",
    "sched_get_priority_min": "n", "sched_get_priority_max": "n", "usleep": "n",
    "pthread_mutexattr_init": "p", "pthread_mutexattr_settype": "pn", "pthread_mutexattr_setprotocol": "pn",
    "pthread_mutexattr_destroy": "p", "pthread_mutex_init": "pp", "pthread_mutex_destroy": "p",
    "pthread_mutex_lock": "p", "pthread_mutex_trylock": "p", "pthread_mutex_unlock": "p",
    "gettimeofday": "pp", "time": "p", "tzset": "", "localtime_r": "pp",
}


class System(Imports):
    """results: what a function returns, 0 unless set: a number, or a list whose numbers come in turn. hooks:
    functions that see the arguments before the result is given."""

    def __init__(self, world):
        super().__init__(world)
        self.results = {}
        self.hooks = {}
        self.names = {0: "null"}

    def answer(self, name):
        if name not in CALLS:
            return super().answer(name)
        return lambda machine: self._record(machine, name)

    def _record(self, machine, name):
        arguments = machine.arguments(len(CALLS[name]))
        shown = []
        for i, kind in enumerate(CALLS[name]):
            if kind == "n":
                arguments[i] &= 0xFFFFFFFF
            shown.append(str(arguments[i]) if kind == "n" else self.names.get(arguments[i], "..."))
        self.world.events.append(f"{name}({', '.join(shown)})")
        hook = self.hooks.get(name)
        if hook is not None:
            hook(*arguments)
        result = self.results.get(name, 0)
        return result.pop(0) if isinstance(result, list) else result

    def ZdlPv(self, _machine):
        self.world.events.append("operator delete")
        return 0

    ZdlPvm = ZdlPv

    # Plain arithmetic and copies are not written down.

    def strlen(self, machine):
        return len(machine.text(machine.arguments(1)[0]).encode())

    def memcpy(self, machine):
        target, source, size = machine.arguments(3)
        machine.uc.mem_write(target, bytes(machine.uc.mem_read(source, size)))
        return target

    memmove = memcpy

    def memset(self, machine):
        target, value, size = machine.arguments(3)
        machine.uc.mem_write(target, bytes([value & 0xff]) * size)
        return target

    def memchr(self, machine):
        text, wanted, size = machine.arguments(3)
        found = bytes(machine.uc.mem_read(text, size)).find(bytes([wanted & 0xff]))
        return text + found if found >= 0 else 0

    def memcmp(self, machine):
        one, other, size = machine.arguments(3)
        left, right = (bytes(machine.uc.mem_read(place, size)) for place in (one, other))
        return (left > right) - (left < right)

    def udivdi3(self, machine):
        """The same as below without signs."""
        words = machine.arguments(4)
        dividend, divisor = struct.unpack("<2Q", struct.pack("<4I", *words))
        quotient = dividend // divisor
        machine.uc.reg_write(UC_X86_REG_EDX, quotient >> 32 & 0xFFFFFFFF)
        return quotient & 0xFFFFFFFF

    def divdi3(self, machine):
        """64-bit division on 32-bit x86: two words in for each number, two out."""
        words = machine.arguments(4)
        dividend, divisor = struct.unpack("<2q", struct.pack("<4I", *words))
        quotient = abs(dividend) // abs(divisor)
        if (dividend < 0) != (divisor < 0):
            quotient = -quotient
        machine.uc.reg_write(UC_X86_REG_EDX, quotient >> 32 & 0xFFFFFFFF)
        return quotient & 0xFFFFFFFF
