"""The objects of the 32-bit slice, as a host of the static libraries gets them."""

import subprocess
import unittest

import lief

from support import BUILD, FUNCTIONS, SOURCES

UNDEFINED, EXTERNAL, PRIVATE_EXTERNAL, TYPE = 0, 0x01, 0x10, 0x0E
OTHER_LIBRARIES = {"sinks", "tools"}  # optional ones, which the bridge does not need
OTHER_SYSTEMS = {"KxSharedObjectsLinux.cpp", "KxThreadLinux.cpp"}


def object_files():
    """Those in the static libraries: of a source that is gone, the object stays in the folder of an older build."""
    folder = BUILD / "macos-i386" / "Shared"
    members = set()
    for library in folder.rglob("*.a"):
        done = subprocess.run(["llvm-ar-19", "t", library], capture_output=True, text=True, check=True)
        members |= set(done.stdout.split())
    return sorted(path for path in folder.rglob("*.o") if path.name in members)


class Object:
    def __init__(self, path):
        self.path = path
        self.binary = lief.MachO.parse(str(path)).at(0)
        self.symbols = list(self.binary.symbols)


class Objects(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.objects = [Object(path) for path in object_files()]
        cls.bridge = next(item for item in cls.objects if item.path.name == "fallcatch.mm.o")

    def names(self, item, wanted):
        return {symbol.name for symbol in item.symbols if wanted(symbol.raw_type)}

    def test_exist_for_every_source(self):
        sources = {
            path.name for folder in ("Shared/KXPL", "Shared/DebugTools/Breakpad/Glue")
            for path in (SOURCES / folder).rglob("*") if path.suffix in (".cpp", ".mm")
            and path.parent.name not in OTHER_LIBRARIES}
        self.assertEqual(
            {path.name.removesuffix(".o") for path in object_files()}, sources - OTHER_SYSTEMS)

    def test_are_32_bit_and_for_the_oldest_system(self):
        for item in self.objects:
            self.assertEqual(item.binary.header.cpu_type.name, "X86")
            self.assertEqual(item.binary.header.file_type.name, "OBJECT")
            self.assertEqual(list(item.binary.version_min.version), [10, 9, 0], item.path)

    def test_of_the_bridge_define_the_four_functions_and_nothing_else(self):
        visible = self.names(
            self.bridge,
            lambda kind: kind & TYPE != UNDEFINED and kind & EXTERNAL and not kind & PRIVATE_EXTERNAL)
        self.assertEqual(sorted(visible), FUNCTIONS)

    def test_show_nothing_else_of_their_own_to_a_host(self):
        # Instances of the C++ library's templates stay visible where that library says so.
        for item in self.objects:
            if item is not self.bridge:
                visible = self.names(
                    item, lambda kind: kind & TYPE != UNDEFINED and kind & EXTERNAL
                    and not kind & PRIVATE_EXTERNAL)
                own = {name for name in visible if "NSt3__1" not in name and "St3__1" not in name}
                self.assertEqual(sorted(own), [], item.path)
