"""Symbols for minidumps, as Breakpad's dump_syms makes them of the framework's own debug information."""

import platform
import re
import subprocess
import unittest

from image import slices
from support import ALL_SLICES, BINARY, BUILD, DSYM, on_slices


@on_slices(ALL_SLICES)
class Symbols:
    @unittest.skipUnless(platform.machine() == "x86_64", "dump_syms is built with what runs on x86-64")
    def setUp(self):
        processor = {"i386": "x86"}.get(self.slice, self.slice)
        command = [BUILD / "macos-native/dump_syms_mac", "-a", self.slice, "-g", DSYM, BINARY]
        self.text = subprocess.run(command, capture_output=True, text=True, check=True).stdout
        self.module = rf"MODULE mac {processor} (\w+) fallcatch\n"

    def test_have_the_identifier_of_the_binary(self):
        done = subprocess.run(["llvm-dwarfdump-19", "--uuid", BINARY], capture_output=True, text=True, check=True)
        identifier = re.search(rf"UUID: (\S+) \({self.slice}\)", done.stdout).group(1).replace("-", "")
        self.assertEqual(re.match(self.module, self.text).group(1), f"{identifier}0")

    def test_lead_from_each_exported_function_to_its_source(self):
        sources = dict(re.findall(r"^FILE (\d+) (.*)$", self.text, re.MULTILINE))
        for entry in slices(BINARY)[self.slice].dyld_info.exports:
            name = entry.symbol.name.lstrip("_")
            # The first line behind a function's own is that of its first address.
            found = re.search(rf"^FUNC (?:m )?{entry.address:x} \w+ \w+ {name}\b.*\n(?:INLINE.*\n)*"
                              r"(\w+) \w+ \d+ (\d+)$", self.text, re.MULTILINE)
            self.assertIsNotNone(found, name)
            self.assertEqual(int(found.group(1), 16), entry.address)
            self.assertTrue(sources[found.group(2)].endswith("Breakpad/Glue/fallcatch.mm"), name)
