"""The logger as built for macOS, from the bridge's log calls to the line that comes out, on every slice."""

import struct

from bridge import CONTEXT_IF_PASSED, LOG_WITH_VALUE, NOT_WRITTEN
from cxx import LoggingSystem
from foundation import World
from platform_objects import Library
from support import ALL_SLICES, on_slices

MANAGER = "__ZN3HSL11CLogManager"
INFO = 3
CLOCK = (1700000000, 250000)


class Logger:
    def __init__(self, name, arguments, contents=None):
        self.library = Library(name, World(arguments=arguments, contents=contents), LoggingSystem)
        self.system = self.library.system
        self._time(CLOCK)
        self.system.results["pthread_self"] = 0x7001
        self.system.results["localtime_r"] = self.library.machine.store(
            struct.pack("<9i", 20, 13, 22, 14, 10, 123, 2, 317, 0) + bytes(24))

    def _time(self, clock):
        layout = "<qi" if self.library.width == 8 else "<ii"
        self.system.hooks["gettimeofday"] = (
            lambda place, _zone: self.library.machine.uc.mem_write(place, struct.pack(layout, *clock)))

    def initialise(self):
        self.library.call(MANAGER + "10InitializeEv")
        return self

    def test_collection_thread_is_made_with_darwins_outside_signals_blocked(self):
        block, set_mask = 1, 3
        faults = {4, 5, 6, 8, 10, 11, 12}  # SIGILL SIGTRAP SIGABRT SIGFPE SIGBUS SIGSEGV SIGSYS
        masks = []
        self.system.hooks["pthread_sigmask"] = (
            lambda how, mask, _before: masks.append((how, self.library.machine.number(mask, 4))))
        self.initialise()
        calls = [event.split("(")[0] for event in self.library.events]
        create = calls.index("pthread_create")
        self.assertLess(calls.index("pthread_sigmask"), create)
        self.assertIn("pthread_sigmask", calls[create:])
        self.assertEqual([how for how, _ in masks], [block, set_mask])
        self.assertEqual({n for n in range(1, 33) if not masks[0][1] >> (n - 1) & 1}, faults)

    def enable(self, level=INFO):
        manager = self.manager()
        self.library.call(MANAGER + "9SetEnableEb", manager, 1)
        self.library.call(MANAGER + "14SetFilterValueEhb", manager, level, 1)
        return self

    def manager(self):
        return self.library.machine.number(self.library.symbol(MANAGER + "6msThisE"))

    def lines(self):
        """What a collection pass puts out."""
        del self.system.lines[:]
        self.library.call(MANAGER + "7CollectEv", self.manager())
        return list(self.system.lines)

    def log(self, text_format, tag, payload):
        """Logs one value: payload is what stands behind the tag in memory."""
        machine = self.library.machine
        content = self.library.wide(int.from_bytes(payload, "little"))
        context = self.library.call(CONTEXT_IF_PASSED, INFO)
        text_format = machine.store(text_format.encode() + b"\0")
        self.library.call(LOG_WITH_VALUE, context, INFO, text_format, tag, *content)

    def pointer(self, data):
        """The payload that points at some data."""
        return self.library.machine.store(data).to_bytes(self.library.width, "little")


def header(number):
    return f"{number:6}  22:13:20.250000  (00.000000) :  [Main              ]\t"


@on_slices(ALL_SLICES)
class Logging:
    def logger(self, *arguments):
        return Logger(self.slice, ["/Host", *arguments]).initialise()

    def test_of_the_bridge_comes_out_as_lines(self):
        logger = self.logger().enable()
        logger.library.test_commands()
        first = logger.lines()
        self.assertEqual(len(first), 2)
        number = int(first[0].split()[0])
        self.assertEqual(first, [
            header(number) + "Checking command line for crash test parameters\n\n",
            header(number + 1) + "No crash test parameters found\n\n",
        ])
        self.assertEqual(logger.lines(), [])

    def test_of_an_argument_shows_its_address_as_text(self):
        # What stands at the address of the argument's object is read as text.
        logger = Logger(self.slice, ["/Host", "-tcwt", "TC_DIV0"], {"argument2": b"bytes\0"})
        logger.initialise().enable()
        logger.library.test_commands()
        lines = logger.lines()
        self.assertEqual(
            [line.split("\t")[1] for line in lines],
            ["Checking command line for crash test parameters\n\n",
             "Received instruction to crash on workder thread\n\n",
             "Crash type: bytes\n\n"])

    def test_switched_off_records_nothing(self):
        logger = self.logger()
        logger.library.test_commands()
        self.assertEqual(logger.lines(), [])

    def test_of_another_level_records_nothing(self):
        logger = self.logger().enable(level=4)
        logger.library.test_commands()
        self.assertEqual(logger.lines(), [])

    def test_starts_the_collection_thread_with_the_manager(self):
        logger = self.logger()
        self.assertEqual(
            [event for event in logger.library.events if event.startswith("pthread_create")],
            ["pthread_create(..., ..., ..., ...)"])

    def test_ends_with_the_manager(self):
        logger = self.logger().enable()
        logger.library.test_commands()
        logger.library.call(MANAGER + "7CleanupEv")
        self.assertEqual(logger.manager(), 0)
        self.assertEqual(logger.library.test_commands(), (0, [NOT_WRITTEN] * 2))

    def check_value(self, text_format, tag, payload, shown):
        logger = self.logger().enable()
        logger.log(text_format, tag, payload(logger) if callable(payload) else payload)
        self.assertEqual([line.split("\t")[1] for line in logger.lines()], [shown + "\n"])

    def test_hands_numbers_of_every_width_to_the_c_library(self):
        for text_format, tag, layout, number, shown in (
                ("<%d>", 4, "<b", -5, "<-5>"),
                ("<%hd>", 5, "<h", -300, "<-300>"),
                ("<%08x>", 10, "<I", 0xFEDCBA98, "<fedcba98>"),
                ("<%lld>", 7, "<q", -(1 << 40) - 1, "<-1099511627777>"),
                ("<%llu>", 11, "<Q", 1 << 63, "<9223372036854775808>"),
                ("<%f>", 12, "<f", 0.25, "<0.250000>"),
                ("<%.2f>", 13, "<d", -1.5, "<-1.50>")):
            self.check_value(text_format, tag, struct.pack(layout, number), shown)

    def test_hands_on_a_long_in_the_width_of_the_processor(self):
        number = -7 if self.slice == "i386" else -(1 << 40)
        layout = "<i" if self.slice == "i386" else "<q"
        self.check_value("<%ld>", 14, struct.pack(layout, number), f"<{number}>")

    def test_hands_on_texts_of_every_kind(self):
        text = "H\u00f6st \U0001F41E"
        for tag, text_format, encoding in ((16, "<%s>", "utf-8"), (17, "<%S>", "utf-32-le"),
                                           (18, "<%S>", "utf-16-le")):
            data = text.encode(encoding) + bytes(4)
            self.check_value(text_format, tag, lambda logger, data=data: logger.pointer(data), f"<{text}>")
