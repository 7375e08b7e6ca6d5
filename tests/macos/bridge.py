"""The bridge inside an emulated machine, with its imports bound to a World."""

import struct

from machine import Machine

CLASS = "_OBJC_CLASS_$_"
CONSTANT_CLASS = "___CFConstantStringClassReference"
# What a call of HSLog calls behind its switch: for the thread's context, with the category's code, and then on the
# context with the code, the format, and perhaps a value's tag and content.
CONTEXT_IF_PASSED = "__ZN3HSL11CLogContext20OfThisThreadIfPassedEh"
LOG = "__ZN3HSL11CLogContext9LogPassedEhPKc"
LOG_WITH_VALUE = "__ZN3HSL11CLogContext9LogPassedEhPKchy"
MANAGER = "__ZN3HSL11CLogManager6msThisE"
INITIALIZE = ("__ZN3HSL11CLogManager10InitializeEv", "__ZN3HSL11CLogManager10InitializeEPS0_")
POINTER_TAG = 15
NOT_WRITTEN = -9


class Imports:
    """Answers for what the binary calls. A call that has none here fails the test."""

    def __init__(self, world):
        self.world = world
        self._cells = {}
        self.called = []  # names in order of the calls

    def resolve(self, machine, name):
        world = self.world
        if name.startswith(CLASS):
            return world.class_address(name[len(CLASS):])
        if name == CONSTANT_CLASS:
            world.constant_class = self._cell(machine, name)
            return world.constant_class
        if name in ("___stack_chk_guard", "___stderrp") or name.startswith(("__ZTV", "__ZTI")):
            return self._cell(machine, name)
        # Some functions have a second name on 32-bit x86.
        answer = self.answer(name.replace("$UNIX2003", "").lstrip("_"))

        def call():
            self.called.append(name)
            assert answer is not None, f"unexpected call of {name}"
            return answer(machine)

        return machine.trap(name, call)

    def answer(self, name):
        return getattr(self, name, None)

    def _cell(self, machine, name):
        if name not in self._cells:
            self._cells[name] = machine.store(bytes(range(0x40, 0x80)))
        return self._cells[name]

    # The Objective-C runtime

    def objc_msgSend(self, machine):
        receiver, selector = machine.arguments(2)
        return self.world.send(
            receiver, machine.text(selector), lambda count: machine.arguments(2 + count)[2:])

    def objc_alloc(self, machine):
        return self.world.alloc(machine.arguments(1)[0])

    def objc_alloc_init(self, machine):
        return self.world.send(self.objc_alloc(machine), "init", None)

    def objc_release(self, machine):
        return self.world.send(machine.arguments(1)[0], "release", None)

    # Breakpad

    def BreakpadCreate(self, machine):
        configuration = self.world.thing(machine.arguments(1)[0])
        self.world.configuration = dict(configuration.value)
        self.world.events.append(f"BreakpadCreate({configuration.label}) = {self.world.reporter:#x}")
        return self.world.reporter

    def BreakpadSetKeyValue(self, machine):
        reporter, key, value = machine.arguments(3)
        self.world.events.append(
            f"BreakpadSetKeyValue({reporter:#x}, {self.world.name(key)}, {self.world.name(value)})")
        return 0

    def BreakpadRelease(self, machine):
        self.world.events.append(f"BreakpadRelease({machine.arguments(1)[0]:#x})")
        return 0

    # The C and C++ libraries

    def Znwm(self, machine):
        (size,) = machine.arguments(1)
        self.world.events.append("operator new")
        return machine.allocate(size)

    def ZNSt3__112basic_stringIcNS_11char_traitsIcEENS_9allocatorIcEEE6assignEPKc(self, machine):
        string, text = machine.arguments(2)
        self.world.events.append(f"string.assign({machine.text(text)!r})")
        return string

    def pthread_key_create(self, machine):
        key, destructor = machine.arguments(2)
        self.world.events.append(f"pthread_key_create(..., {destructor})")
        machine.set_number(key, 7)
        return 0

    def wcslen(self, machine):
        (text,) = machine.arguments(1)
        length = 0
        while machine.number(text + 4 * length, 4) != 0:
            length += 1
        self.world.events.append(f"wcslen(...) = {length}")
        return length

    def cxa_atexit(self, machine):
        self.world.events.append("atexit")
        return 0


class Bridge:
    def __init__(self, processor, load, world, imports=Imports, logs=True):
        """load(machine, resolve) puts the code into the machine's memory. With logs there is a manager, switched
        on, and log calls are written down and do nothing else."""
        self.machine = Machine(processor)
        self.world = world
        world.machine = self.machine
        self.imports = imports(world)
        self.image = load(self.machine, self.imports.resolve)
        self.machine.watch(self.image.symbol(LOG), lambda: self._on_log(3))
        self.machine.watch(self.image.symbol(LOG_WITH_VALUE), lambda: self._on_log(5))
        for name in INITIALIZE:
            if self.image.has_symbol(name):  # what nothing calls is left out of the framework
                self.machine.watch(
                    self.image.symbol(name), lambda: world.events.append("CLogManager::Initialize"))
        for initialiser in self.image.initialisers():
            self.machine.call(initialiser)
        self.initialiser_events = list(world.events)
        world.events.clear()
        self.imports.called.clear()
        if logs:
            self._switch_on_logging()

    def _switch_on_logging(self):
        machine = self.machine
        for name in (LOG, LOG_WITH_VALUE):
            machine.uc.mem_write(self.image.symbol(name), machine.processor.return_instruction)
        # Any address but null will do.
        machine.uc.mem_write(self.image.symbol(CONTEXT_IF_PASSED), machine.processor.return_one)
        manager = machine.store(bytes(64))
        machine.set_number(manager + machine.processor.width, 1, 1)
        machine.set_number(self.image.symbol(MANAGER), manager)

    def _on_log(self, count):
        _, code, text_format, *value = self.machine.arguments(count)
        line = f"HSLog([{code & 0xFF}], {self.machine.text(text_format)!r}"
        if value:
            # Of the content 32-bit x86 passes two words; a pointer is the first.
            tag, content = value[0] & 0xFF, value[1]
            if tag == POINTER_TAG:
                line += f", pointer to {self.world.name(content)}"
            else:
                line += f", a value of tag {tag}"
        self.world.events.append(line + ")")

    def _wide(self, text):
        """Takes a string, a list of code points for what no string can hold, or None for a null pointer."""
        if text is None:
            return 0
        units = [ord(character) for character in text] if isinstance(text, str) else text
        return self.machine.store(struct.pack(f"<{len(units) + 1}I", *units, 0))

    def init(self, url, parameters=(), count=None):
        """parameters may be None for a null list."""
        pointers = [self._wide(text) for text in parameters or ()]
        unit = "Q" if self.machine.processor.width == 8 else "I"
        layout = f"<{len(pointers) + 1}{unit}"
        array = 0 if parameters is None else self.machine.store(struct.pack(layout, *pointers, 0xBAD))
        count = len(pointers) if count is None else count
        # What is never read is no address.
        return self.machine.call(
            self.image.exports["_FallcatchInit"], 0xBAD1, self._wide(url), 0xBAD2, array, count)

    def set_report_interval(self, reporter, interval):
        self.machine.call(self.image.exports["_FallcatchSetReportInterval"], reporter, interval % (1 << 32))

    def release(self, reporter):
        self.machine.call(self.image.exports["_FallcatchRelease"], reporter)

    def test_commands(self, capacity=2):
        """The result and the two entries behind the pointer; NOT_WRITTEN marks what was left alone."""
        codes = self.machine.store(struct.pack("<4i", *[NOT_WRITTEN] * 4))
        count = self.machine.call(self.image.exports["_GetTestCommandsList"], codes, capacity)
        entries = struct.unpack("<4i", self.machine.uc.mem_read(codes, 16))
        assert entries[2:] == (NOT_WRITTEN, NOT_WRITTEN)
        return count & 0xFFFFFFFF, list(entries[:2])
