"""The stand-ins for Apple's SDK and for Breakpad: they offer what the framework uses and nothing else."""

import re
import unittest

from image import slices
from support import BINARY, SIXTY_FOUR_BIT_SLICES, SOURCES, imports_of

STUBS = SOURCES / "packaging/macos/stubs"
LISTS = {
    "Breakpad": STUBS / "Breakpad.framework/Breakpad.tbd",
    "Foundation": STUBS / "Foundation.framework/Foundation.tbd",
    "libc++": STUBS / "libc++.tbd",
    "libobjc": STUBS / "libobjc.tbd",
}
HEADER = STUBS / "Foundation.framework/Headers/Foundation.h"


def offered(path):
    """Symbol names by processor, from one text-based list."""
    found = {name: set() for name in SIXTY_FOUR_BIT_SLICES}
    exports = path.read_text().split("exports:")[1]
    for entry in exports.split("  - targets:")[1:]:
        targets = re.match(r"\s*\[([^]]*)\]", entry).group(1)
        symbols = set()
        for kind, names in re.findall(r"(weak-symbols|symbols|objc-classes):\s*\[([^]]*)\]", entry):
            prefix = "_OBJC_CLASS_$_" if kind == "objc-classes" else ""
            symbols |= {prefix + name for name in re.split(r"[,\s]+", names.strip())}
        for target in (name.strip().removesuffix("-macos") for name in targets.split(",")):
            if target in found:  # the 32-bit linker takes what is listed for any
                found[target] |= symbols
    return found


def declared_selectors():
    text = re.sub(r"__attribute__\(\(.*?\)\);|//.*", ";", HEADER.read_text())
    found = set()
    for declaration in re.findall(r"^[+-] \([^)]*\)\s*(.*?);", text, re.MULTILINE):
        keywords = re.findall(r"(\w+:)", declaration)
        found.add("".join(keywords) or declaration.split()[0])
    return found


class Stubs(unittest.TestCase):
    maxDiff = None

    def test_list_what_the_slices_use(self):
        for library, path in LISTS.items():
            for name, symbols in offered(path).items():
                used = {symbol for symbol, of in imports_of(name).items() if of == library}
                self.assertEqual(sorted(symbols), sorted(used), f"{path.name}, {name}")

    def test_declare_the_messages_that_the_bridge_sends(self):
        # The 32-bit slice names every message; elsewhere some are calls of the runtime.
        binary = slices(BINARY)["i386"]
        sections = {section.name: section for section in binary.sections}
        references = bytes(sections["__message_refs"].content)
        strings = bytes(sections["__cstring"].content)
        sent = set()
        for i in range(0, len(references), 4):
            offset = int.from_bytes(references[i:i + 4], "little") - sections["__cstring"].virtual_address
            sent.add(strings[offset:strings.index(b"\0", offset)].decode())
        self.assertEqual(sorted(declared_selectors()), sorted(sent))
