"""make-symbols on programs of its own making.

usage: make_symbols_test.py MAKE_SYMBOLS DUMP_SYMS [TEST]
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = """
#include <stdio.h>
int input;
static inline __attribute__((always_inline)) int putIntoOther(int value) { return printf("%d", value) * input; }
__attribute__((noinline)) int other(int value) { return putIntoOther(value) + 1; }
int main(void) { return other(input); }
"""


class MakeSymbols(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="fallcatch make symbols "))
        self.addCleanup(shutil.rmtree, self.folder)
        self.program = self.folder / "a program"
        self.symbols = self.folder / "the symbols"

    def build(self, *options):
        source = self.folder / "its source.c"
        source.write_text(SOURCE, encoding="utf-8")
        subprocess.run(["gcc", "-g", "-O1", "-Wl,--build-id", *options, "-o", self.program, source], check=True)
        notes = subprocess.run(["readelf", "-n", self.program], capture_output=True, text=True, check=True).stdout
        return notes.split("Build ID: ")[1].split()[0]

    def take_debug_file(self, place):
        """What distributions do: the debug file elsewhere, and its name in the stripped program."""
        place.parent.mkdir(parents=True)
        subprocess.run(["objcopy", "--only-keep-debug", self.program, place], check=True)
        link = f"--add-gnu-debuglink={place}"
        subprocess.run(["objcopy", "--strip-all", link, self.program], check=True)

    def make(self, *arguments, **variables):
        everything = {**os.environ, "HOME": str(self.folder), **{k: str(v) for k, v in variables.items()}}
        everything.pop("XDG_CACHE_HOME", None)
        return subprocess.run([MAKE_SYMBOLS, *arguments], env=everything, capture_output=True, text=True, check=False)

    def made(self):
        found = list(self.symbols.glob("a program/*/a program.sym"))
        self.assertEqual(len(found), 1)
        return found[0].read_text(encoding="utf-8")

    def expect_lines(self, told):
        self.assertEqual(told.returncode, 0, told.stderr)
        text = self.made()
        self.assertIn("its source.c", text)
        self.assertRegex(text, r"(?m)^FUNC [0-9a-f]+ [0-9a-f]+ 0 main$")
        return text

    def test_paths_may_hold_blanks(self):
        self.build()
        self.expect_lines(self.make(DUMP_SYMS, self.symbols, self.program))

    def test_functions_that_were_put_into_others_are_recorded(self):
        self.build()
        text = self.expect_lines(self.make(DUMP_SYMS, self.symbols, self.program))
        self.assertRegex(text, r"(?m)^INLINE_ORIGIN \d+ putIntoOther$")
        self.assertRegex(text, r"(?m)^INLINE 0 5 ")

    def test_the_libraries_that_a_program_loads_are_taken_too(self):
        self.build()
        self.expect_lines(self.make(DUMP_SYMS, self.symbols, self.program))
        self.assertEqual(len(list(self.symbols.glob("libc.so.6/*/libc.so.6.sym"))), 1)

    def test_a_static_program_has_no_libraries(self):
        self.build("-static")
        self.expect_lines(self.make(DUMP_SYMS, self.symbols, self.program))
        self.assertEqual([entry.name for entry in self.symbols.iterdir()], ["a program"])

    def test_the_distributions_debug_files_are_found_by_their_build_id(self):
        number = self.build("-static")
        debug = self.folder / "usr lib debug"
        self.take_debug_file(debug / ".build-id" / number[:2] / (number[2:] + ".debug"))
        self.make(DUMP_SYMS, self.symbols, self.program)
        self.assertNotIn("its source.c", self.made())
        self.expect_lines(self.make(DUMP_SYMS, self.symbols, self.program, FALLCATCH_DEBUG_FILES=debug))

    def test_debug_files_are_found_in_debuginfods_cache(self):
        number = self.build("-static")
        self.take_debug_file(self.folder / ".cache" / "debuginfod_client" / number / "debuginfo")
        self.expect_lines(self.make(DUMP_SYMS, self.symbols, self.program))

    def test_debuginfods_cache_may_be_elsewhere(self):
        number = self.build("-static")
        cache = self.folder / "the cache"
        self.take_debug_file(cache / number / "debuginfo")
        self.expect_lines(self.make(DUMP_SYMS, self.symbols, self.program, DEBUGINFOD_CACHE_PATH=cache))

    def test_what_is_no_program_is_told_and_leaves_nothing(self):
        self.program.write_text("no program\n", encoding="utf-8")
        told = self.make(DUMP_SYMS, self.symbols, self.program)
        self.assertEqual(told.returncode, 1)
        self.assertIn(f"make-symbols: {self.program}: ", told.stderr)
        self.assertEqual(list(self.symbols.iterdir()), [])

    def test_dump_syms_is_looked_for_on_the_path(self):
        self.build("-static")
        tools = self.folder / "the tools"
        tools.mkdir()
        (tools / "dump_syms").symlink_to(DUMP_SYMS)
        told = self.make(self.symbols, self.program, PATH=f"{tools}:{os.environ['PATH']}")
        self.expect_lines(told)


MAKE_SYMBOLS, DUMP_SYMS = sys.argv[1:3]
unittest.main(argv=sys.argv[:1] + sys.argv[3:])
