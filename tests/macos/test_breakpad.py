"""Host, bridge and Breakpad's own client for macOS, linked together: what each asks of another is there."""

import re
import subprocess

from support import BUILD, FRAMEWORK, SIXTY_FOUR_BIT_SLICES, on_slices

NAME = "@executable_path/../Frameworks/Breakpad.framework/Versions/A/Breakpad"
FUNCTIONS = {"_BreakpadCreate", "_BreakpadRelease", "_BreakpadSetKeyValue"}


def shown(*options):
    return subprocess.run(["llvm-objdump-19", "--macho", *options], capture_output=True, text=True, check=True).stdout


@on_slices(SIXTY_FOUR_BIT_SLICES)
class BreakpadClient:
    @property
    def folder(self):
        return BUILD / f"macos-{self.slice}/tests/macos/cross/breakpad"

    def bound(self, path, library):
        """What a binary takes from a library."""
        table = shown("--bind", "--lazy-bind", f"--arch={self.slice}", path)
        return set(re.findall(rf"\s{library}\s+(\S+)\n", table))

    def test_exports_the_functions_that_the_bridge_calls(self):
        client = self.folder / "Breakpad.framework/Versions/A/Breakpad"
        names = subprocess.run(["llvm-nm-19", "-gjU", client], capture_output=True, text=True, check=True).stdout
        self.assertLessEqual(FUNCTIONS, set(names.split()))
        self.assertEqual(shown("--dylib-id", client).splitlines()[-1], NAME)

    def test_is_what_the_framework_asks_for(self):
        self.assertEqual(self.bound(FRAMEWORK / "fallcatch", "Breakpad"), FUNCTIONS)
        self.assertIn(NAME, shown("--dylibs-used", f"--arch={self.slice}", FRAMEWORK / "fallcatch"))

    def test_is_linked_with_a_host_of_the_framework(self):
        self.assertIn("_FallcatchInit", self.bound(self.folder / "breakpad_host", "fallcatch"))

    def test_gives_a_host_of_the_static_libraries_what_they_leave_open(self):
        self.assertEqual(self.bound(self.folder / "breakpad_static_host", "Breakpad"), FUNCTIONS)
