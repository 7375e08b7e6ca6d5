"""What the framework's binary and its debug information hold, slice by slice."""

import re
import subprocess
import unittest

import lief

from image import slices
from support import (
    ALL_SLICES,
    BINARY,
    DWARF,
    FRAMEWORK,
    FUNCTIONS,
    SIXTY_FOUR_BIT_SLICES,
    SOURCES,
    imports_of,
    internal_symbols,
    on_slices,
)

INSTALL_NAME = "@executable_path/../Frameworks/fallcatch.framework/Versions/A/fallcatch"
LIBRARIES = {
    "Foundation": "/System/Library/Frameworks/Foundation.framework/Versions/C/Foundation",
    "Breakpad": "@executable_path/../Frameworks/Breakpad.framework/Versions/A/Breakpad",
    "libobjc": "/usr/lib/libobjc.A.dylib",
    "libc++": "/usr/lib/libc++.1.dylib",
    "libSystem": "/usr/lib/libSystem.B.dylib",
}
OLDEST_SYSTEM = {"i386": [10, 9, 0], "x86_64": [10, 13, 0], "arm64": [11, 0, 0]}


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


class UniversalBinary(unittest.TestCase):
    def test_holds_three_processors(self):
        self.assertEqual(sorted(run("llvm-lipo-19", "-archs", BINARY).split()), ["arm64", "i386", "x86_64"])
        self.assertEqual(sorted(run("llvm-lipo-19", "-archs", DWARF).split()), ["arm64", "i386", "x86_64"])

    def test_names_no_folder_of_the_machine_that_built_it(self):
        for folder in (SOURCES, FRAMEWORK.parent):
            self.assertNotIn(str(folder).encode(), BINARY.read_bytes())


@on_slices(ALL_SLICES)
class Slice:
    @property
    def binary(self):
        return slices(BINARY)[self.slice]

    def tool(self, *options):
        return run("llvm-objdump-19", "--macho", f"--arch={self.slice}", *options, BINARY)

    def test_has_the_install_name_that_hosts_load(self):
        self.assertEqual(self.tool("--dylib-id").splitlines()[-1], INSTALL_NAME)

    def test_links_the_allowed_libraries_only(self):
        lines = self.tool("--dylibs-used").splitlines()[1:]
        used = [re.match(r"\t(.*) \(compat", line).group(1) for line in lines]
        self.assertEqual(used[0], INSTALL_NAME)
        self.assertEqual(sorted(used[1:]), sorted(LIBRARIES.values()))

    def test_exports_four_functions(self):
        self.assertEqual(sorted(entry.symbol.name for entry in self.binary.dyld_info.exports), FUNCTIONS)
        named = run("llvm-nm-19", "--defined-only", "-gj", f"--arch={self.slice}", BINARY).split("\n")
        self.assertEqual(sorted(name for name in named if name.startswith("_")), FUNCTIONS)

    def test_imports_what_is_listed_and_nothing_else(self):
        wanted = imports_of(self.slice)
        # The legacy Objective-C runtime finds classes by name: their symbols are listed and bound to nothing.
        found = {binding.symbol.name for binding in self.binary.bindings} | {
            symbol.name for symbol in self.binary.symbols if symbol.name.startswith(".objc_class_name_")}
        self.assertEqual(sorted(found - wanted.keys()), [], "used but not in imports.txt")
        self.assertEqual(sorted(wanted.keys() - found), [], "in imports.txt but no longer used")

    def test_takes_each_import_from_its_library(self):
        wanted = imports_of(self.slice)
        for binding in self.binary.bindings:
            if binding.binding_class == lief.MachO.DyldBindingInfo.CLASS.WEAK:
                continue  # of any library: another test's matter
            self.assertEqual(
                binding.library.name, LIBRARIES[wanted[binding.symbol.name]], binding.symbol.name)

    def test_lets_a_host_replace_the_operators_for_memory(self):
        weak = {line.split()[-1] for line in self.tool("--weak-bind").splitlines() if "_DATA" in line}
        self.assertEqual(weak, {"i386": {"__Znwm", "__ZdlPv"}}.get(self.slice, {"__Znwm", "__ZdlPvm"}))
        self.assertIn("BINDS_TO_WEAK", self.tool("--private-header"))

    def test_runs_on_the_oldest_system(self):
        binary = self.binary
        command = binary.build_version if binary.has_build_version else binary.version_min
        version = command.minos if binary.has_build_version else command.version
        self.assertEqual(list(version), OLDEST_SYSTEM[self.slice])

    def test_has_its_version(self):
        line = self.tool("--dylibs-used").splitlines()[1]
        self.assertTrue(line.endswith("(compatibility version 1.0.0, current version 1.0.0)"), line)

    def test_has_its_debug_information_beside_it(self):
        uuid = {
            path: re.search(rf"UUID: (\S+) \({self.slice}\)", run("llvm-dwarfdump-19", "--uuid", path)).group(1)
            for path in (BINARY, DWARF)}
        self.assertEqual(uuid[BINARY], uuid[DWARF])
        for entry in self.binary.dyld_info.exports:
            place = run(
                "llvm-symbolizer-19", f"--obj={DWARF}:{self.slice}", "--functions=linkage", hex(entry.address))
            self.assertIn(entry.symbol.name.lstrip("_"), place)
            self.assertIn("Breakpad/Glue/fallcatch.mm:", place)


@on_slices(SIXTY_FOUR_BIT_SLICES)
class SixtyFourBitSlice:
    def test_holds_nothing_that_its_functions_never_reach(self):
        names = internal_symbols(DWARF, self.slice)
        self.assertIn("__ZN3HSL11CLogContext9LogPassedEhPKc", names)
        self.assertNotIn("__ZN3HSL11CLogManager10InitializeEv", names)

    def test_uses_the_current_objective_c_runtime(self):
        names = {section.name for section in slices(BINARY)[self.slice].sections}
        self.assertLessEqual({"__objc_classrefs", "__objc_selrefs", "__objc_imageinfo"}, names)
        self.assertNotIn("__cls_refs", names)


class ThirtyTwoBitSlice(unittest.TestCase):
    def setUp(self):
        self.binary = slices(BINARY)["i386"]

    def test_uses_the_legacy_objective_c_runtime(self):
        sections = {(section.segment_name, section.name) for section in self.binary.sections}
        self.assertLessEqual(
            {("__OBJC", "__cls_refs"), ("__OBJC", "__message_refs"), ("__OBJC", "__module_info"),
             ("__OBJC", "__image_info")}, sections)
        self.assertFalse({name for _, name in sections if name.startswith("__objc_")})

    def test_is_written_to_at_load_time_in_its_data_only(self):
        writable = {"__DATA", "__OBJC"}
        for entry in (*self.binary.relocations, *self.binary.bindings):
            self.assertIn(self.binary.segment_from_virtual_address(entry.address).name, writable)
        for segment in self.binary.segments:
            self.assertEqual(bool(int(segment.init_protection) & 2), segment.name in writable, segment.name)

    def test_stores_no_zeros(self):
        data = self.binary.get_segment("__DATA")
        self.assertLess(data.file_size, 0x2000)
        self.assertGreater(data.virtual_size, 0x40000)
