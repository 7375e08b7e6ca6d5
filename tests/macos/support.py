"""What the tests share: where the builds are, and one test class per processor."""

import os
import sys
import unittest
from pathlib import Path

from bridge import Bridge, Imports
from foundation import World
from image import FrameworkImage, slices
from machine import I386, X86_64, Arm64

SOURCES = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("FALLCATCH_MACOS_BUILD", SOURCES / "build"))
FRAMEWORK = BUILD / "macos" / "fallcatch.framework"
DSYM = BUILD / "macos" / "fallcatch.framework.dSYM"
BINARY = FRAMEWORK / "Versions/A/fallcatch"
DWARF = DSYM / "Contents/Resources/DWARF/fallcatch"
CACHE = Path(os.environ.get("XDG_CACHE_HOME") or Path.home() / ".cache") / "fallcatch"
SYSROOT = CACHE / "macos-sysroot"
TARGETS = {"x86_64": "x86_64-apple-macosx10.13", "arm64": "arm64-apple-macosx11.0"}
MACHINES = {"i386": I386, "x86_64": X86_64, "arm64": Arm64}
SIXTY_FOUR_BIT_SLICES = ("x86_64", "arm64")
ALL_SLICES = ("i386", *SIXTY_FOUR_BIT_SLICES)
FUNCTIONS = ["_FallcatchInit", "_FallcatchRelease", "_FallcatchSetReportInterval", "_GetTestCommandsList"]


def imports_of(name):
    """The library of every symbol that a slice may import, from imports.txt."""
    found = {}
    library = None
    for line in (Path(__file__).parent / "imports.txt").read_text().splitlines():
        if line.startswith("["):
            library = line.strip("[]")
        elif line and not line.startswith("#"):
            symbol, *only = line.split()
            if not only or name in only:
                found[symbol] = library
    return found


def internal_symbols(path, name):
    """The functions that are not exported, which the shipped binary no longer names."""
    return {symbol.name: symbol.value for symbol in slices(path)[name].symbols if symbol.value}


def whole_binary(name):
    """The library with what the framework's four functions never reach: a host gets that with the static ones. The
    32-bit slice has all of it."""
    if name == "i386":
        return BINARY
    return BUILD / f"macos-{name}" / "tests/macos/cross/libfallcatch_whole.dylib"


def bridge(name, world=None, imports=Imports, logs=True, whole=False):
    world = world or World()
    binary = slices(whole_binary(name) if whole else BINARY)[name]
    symbols = internal_symbols(whole_binary(name) if whole and name != "i386" else DWARF, name)

    def load(machine, resolve):
        return FrameworkImage(binary, machine, resolve, symbols, world.class_address)
    return Bridge(MACHINES[name](), load, world, imports, logs)


def on_slices(names):
    """Makes one test case per processor of a class that uses self.slice."""
    def make(body):
        module = sys.modules[body.__module__]
        for name in names:
            case = type(f"{body.__name__}_{name}", (body, unittest.TestCase), {"slice": name})
            case.__module__ = body.__module__
            case.maxDiff = None
            setattr(module, case.__name__, case)
        return body
    return make
