"""The linker of the 32-bit slice by itself: what it refuses, and what it says then."""

import subprocess
import tempfile
import unittest
from pathlib import Path

from support import SOURCES, SYSROOT

LINKER = SOURCES / "packaging/macos/i386/ld"


class Linker(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def compile(self, text, *options):
        target = self.folder / "it.o"
        subprocess.run(
            ["clang-19", "-target", "i386-apple-macosx10.9", "-isysroot", SYSROOT, "-x", "c", "-c", "-", *options,
             "-o", target], input=text, text=True, check=True)
        return target

    def link(self, *arguments):
        return subprocess.run(
            [LINKER, "-syslibroot", SYSROOT, *arguments, "-install_name", "it", "-o", self.folder / "it", "-lSystem"],
            capture_output=True, text=True, check=False)

    def test_names_what_nothing_defines(self):
        done = self.link(self.compile("int nowhere(void); int f(void); int f(void) { return nowhere(); }"))
        self.assertEqual(done.returncode, 1)
        self.assertIn("undefined symbol: _nowhere, used by ", done.stderr)

    def test_refuses_an_address_in_code(self):
        done = self.link(self.compile("int a; int* f(void); int* f(void) { return &a; }", "-mdynamic-no-pic"))
        self.assertEqual(done.returncode, 1)
        self.assertIn("an address in __text, which cannot be written at load time", done.stderr)

    def test_refuses_options_that_it_does_not_know(self):
        done = self.link("-dead_strip")
        self.assertEqual(done.returncode, 1)
        self.assertIn("no option -dead_strip", done.stderr)

    def test_refuses_what_is_no_32_bit_object(self):
        other = self.folder / "other.o"
        subprocess.run(["clang-19", "-target", "arm64-apple-macosx11.0", "-x", "c", "-c", "/dev/null", "-o", other],
                       check=True)
        self.assertIn("other.o: no 32-bit x86 object", self.link(other).stderr)

    def test_gives_other_bytes_another_identifier(self):
        identifiers = set()
        for text in ("int f(void) { return 1; }", "int f(void) { return 2; }", "int f(void) { return 2; }"):
            self.assertEqual(self.link(self.compile(text)).stderr, "")
            shown = subprocess.run(["llvm-dwarfdump-19", "--uuid", self.folder / "it"], capture_output=True, text=True,
                                   check=True).stdout
            identifiers.add(shown.split()[1])
        self.assertEqual(len(identifiers), 2)
