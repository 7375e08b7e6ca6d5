"""An emulated processor with the memory that a loaded library sees: the image, a stack, a heap, and one trap
per import. A call into a trap is answered by a Python function."""

import struct

import unicorn
from unicorn import arm64_const as a64
from unicorn import x86_const as x86

PAGE = 0x1000
STEPS_AT_MOST = 20_000_000


class Processor:
    """What differs between processors. Addresses of a 64-bit one lie above 4 GiB, so that a pointer that
    loses its upper half does not go unnoticed."""

    def arguments(self, machine, count):
        return [machine.uc.reg_read(register) for register in self.argument_registers[:count]]

    def variadic(self, machine, fixed):
        """The first variable argument behind so many fixed ones, as an unsigned 32-bit number."""
        return self.arguments(machine, fixed + 1)[fixed] & 0xFFFFFFFF

    def pass_arguments(self, machine, values):
        for register, value in zip(self.argument_registers, values):
            machine.uc.reg_write(register, value % (1 << 64))

    def prepare(self, machine):
        pass

    def check_stack(self, machine):
        """Every function may rely on a stack pointer that is a multiple of 16 at a call."""
        assert (machine.uc.reg_read(self.stack_pointer) + self.pushed_by_call) % 16 == 0


class X86_64(Processor):
    name = "x86_64"
    width = 8
    origin = 0x5_0000_0000
    kind = (unicorn.UC_ARCH_X86, unicorn.UC_MODE_64)
    argument_registers = (
        x86.UC_X86_REG_RDI, x86.UC_X86_REG_RSI, x86.UC_X86_REG_RDX,
        x86.UC_X86_REG_RCX, x86.UC_X86_REG_R8, x86.UC_X86_REG_R9,
    )
    kept_registers = (
        x86.UC_X86_REG_RBX, x86.UC_X86_REG_RBP, x86.UC_X86_REG_R12,
        x86.UC_X86_REG_R13, x86.UC_X86_REG_R14, x86.UC_X86_REG_R15,
    )
    result_register = x86.UC_X86_REG_RAX
    stack_pointer = x86.UC_X86_REG_RSP
    return_instruction = b"\xc3"
    return_one = b"\xb8\x01\x00\x00\x00\xc3"  # mov eax, 1; ret
    pushed_by_call = 8

    def enter(self, machine, stop):
        stack = machine.uc.reg_read(self.stack_pointer) - 8
        machine.uc.mem_write(stack, struct.pack("<Q", stop))
        machine.uc.reg_write(self.stack_pointer, stack)
        return stack + 8


class Arm64(Processor):
    name = "arm64"
    width = 8
    origin = 0x5_0000_0000
    kind = (unicorn.UC_ARCH_ARM64, unicorn.UC_MODE_ARM)
    argument_registers = tuple(getattr(a64, f"UC_ARM64_REG_X{i}") for i in range(8))
    kept_registers = tuple(getattr(a64, f"UC_ARM64_REG_X{i}") for i in range(19, 30))
    result_register = a64.UC_ARM64_REG_X0
    stack_pointer = a64.UC_ARM64_REG_SP
    return_instruction = b"\xc0\x03\x5f\xd6"
    return_one = b"\x20\x00\x80\xd2\xc0\x03\x5f\xd6"  # mov x0, #1; ret
    pushed_by_call = 0

    def prepare(self, machine):
        # Apple's first arm64 Macs have version 8.4; the emulator starts with 8.0 and with floating point off.
        machine.uc.ctl_set_cpu_model(a64.UC_CPU_ARM64_MAX)
        machine.uc.reg_write(a64.UC_ARM64_REG_CPACR_EL1, 3 << 20)

    def variadic(self, machine, fixed):
        # Apple's convention puts variable arguments on the stack.
        return machine.number(machine.uc.reg_read(self.stack_pointer), 4)

    def enter(self, machine, stop):
        machine.uc.reg_write(a64.UC_ARM64_REG_LR, stop)
        return machine.uc.reg_read(self.stack_pointer)


class I386(Processor):
    name = "i386"
    width = 4
    origin = 0
    kind = (unicorn.UC_ARCH_X86, unicorn.UC_MODE_32)
    kept_registers = (
        x86.UC_X86_REG_EBX, x86.UC_X86_REG_EBP, x86.UC_X86_REG_ESI, x86.UC_X86_REG_EDI,
    )
    result_register = x86.UC_X86_REG_EAX
    stack_pointer = x86.UC_X86_REG_ESP
    return_instruction = b"\xc3"
    return_one = b"\xb8\x01\x00\x00\x00\xc3"  # mov eax, 1; ret
    pushed_by_call = 4

    def arguments(self, machine, count):
        stack = machine.uc.reg_read(self.stack_pointer)
        return [machine.number(stack + 4 + 4 * i, 4) for i in range(count)]

    def pass_arguments(self, machine, values):
        stack = machine.uc.reg_read(self.stack_pointer) - 64
        for i, value in enumerate(values):
            machine.uc.mem_write(stack + 4 * i, struct.pack("<I", value % (1 << 32)))
        machine.uc.reg_write(self.stack_pointer, stack)

    def enter(self, machine, stop):
        stack = machine.uc.reg_read(self.stack_pointer) - 4
        machine.uc.mem_write(stack, struct.pack("<I", stop))
        machine.uc.reg_write(self.stack_pointer, stack)
        return stack + 4


class Machine:
    TRAPS, HEAP, STACK = 0x5000_0000, 0x6000_0000, 0x7000_0000
    SIZE = 0x100_0000

    def __init__(self, processor):
        self.processor = processor
        self.uc = unicorn.Uc(*processor.kind)
        processor.prepare(self)
        self._traps = []  # functions by number
        self._answers = {}  # trap number by name
        for start in (self.TRAPS, self.HEAP, self.STACK):
            self.uc.mem_map(processor.origin + start, self.SIZE)
        self.uc.mem_write(self._trap_address(0), processor.return_instruction * 0x1000)
        self._next_free = processor.origin + self.HEAP
        self._failure = None
        self.stop = self.trap("the end of a call", lambda: 0)
        self.uc.hook_add(
            unicorn.UC_HOOK_CODE, self._on_trap,
            begin=self._trap_address(1), end=self._trap_address(0x1000))

    # Memory

    def map_image(self, start, size):
        first = start // PAGE * PAGE
        self.uc.mem_map(first, -(-(start + size - first) // PAGE) * PAGE)

    def number(self, address, size=None):
        return int.from_bytes(self.uc.mem_read(address, size or self.processor.width), "little")

    def set_number(self, address, value, size=None):
        size = size or self.processor.width
        self.uc.mem_write(address, (value % (1 << 8 * size)).to_bytes(size, "little"))

    def bytes_until_zero(self, address):
        end = address
        while self.number(end, 1) != 0:
            end += 1
        return bytes(self.uc.mem_read(address, end - address))

    def text(self, address):
        """A zero-terminated C string."""
        return self.bytes_until_zero(address).decode()

    def wide_text(self, address):
        """A zero-terminated string of 32-bit characters."""
        end = address
        while self.number(end, 4) != 0:
            end += 4
        return bytes(self.uc.mem_read(address, end - address)).decode("utf-32-le")

    def allocate(self, size):
        address = self._next_free
        self._next_free += -(-max(size, 1) // 16) * 16
        return address

    def store(self, data):
        address = self.allocate(len(data))
        self.uc.mem_write(address, bytes(data))
        return address

    # Calls

    def _trap_address(self, number):
        return self.processor.origin + self.TRAPS + number * len(self.processor.return_instruction)

    def trap(self, name, answer):
        """An address that code may call; the answer's result is what the call returns."""
        if name not in self._answers:
            self._answers[name] = len(self._traps)
            self._traps.append(answer)
        return self._trap_address(self._answers[name])

    def watch(self, address, seen):
        """Calls seen() whenever the code at the address is about to run."""
        self.uc.hook_add(
            unicorn.UC_HOOK_CODE, lambda *_: self._guard(seen), begin=address, end=address)

    def arguments(self, count):
        return self.processor.arguments(self, count)

    def _guard(self, function):
        # An exception must not travel through the emulator.
        try:
            return function()
        except BaseException as error:  # noqa: B902
            self._failure = self._failure or error
            self.uc.emu_stop()
            return 0

    def _on_trap(self, _uc, address, _size, _data):
        number = (address - self._trap_address(0)) // len(self.processor.return_instruction)
        self.processor.check_stack(self)
        result = self._guard(self._traps[number])
        self.uc.reg_write(self.processor.result_register, (result or 0) % (1 << 8 * self.processor.width))

    def call(self, address, *values):
        """Calls the function and returns its result. The registers that a function must keep are checked."""
        processor = self.processor
        stack = processor.origin + self.STACK + self.SIZE - 0x1000
        self.uc.reg_write(processor.stack_pointer, stack)
        processor.pass_arguments(self, values)
        kept = {register: 0x1111 * (i + 1) for i, register in enumerate(processor.kept_registers)}
        for register, value in kept.items():
            self.uc.reg_write(register, value)
        stack_after = processor.enter(self, self.stop)
        self._failure = None
        self.uc.emu_start(address, self.stop, count=STEPS_AT_MOST)
        if self._failure is not None:
            raise self._failure
        assert self.uc.reg_read(processor.stack_pointer) == stack_after
        assert {register: self.uc.reg_read(register) for register in kept} == kept
        return self.uc.reg_read(processor.result_register) % (1 << 8 * processor.width)
