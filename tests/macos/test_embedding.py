"""The sources in other hands: a host that has them as a subdirectory, and the same build in another folder."""

import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

from support import BUILD, FUNCTIONS, SOURCES

JOBS = os.environ.get("FALLCATCH_JOBS", "2")
GLUE = "Shared/DebugTools/Breakpad/Glue"


def run(*command, folder=None):
    done = subprocess.run(command, cwd=folder, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise AssertionError(f"{command}\n{done.stdout[-4000:]}{done.stderr[-4000:]}")
    return done.stdout


class EmbeddingHost(unittest.TestCase):
    def configure(self, folder, generator):
        run("cmake", "-S", Path(__file__).parent / "embed", "-B", folder, "-G", generator,
            f"-DFALLCATCH_SOURCE={SOURCES}", "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
            f"-DCMAKE_TOOLCHAIN_FILE={SOURCES}/cmake/toolchains/macos-x86_64.cmake")

    def test_is_written_as_the_page_for_macos_shows(self):
        project = (Path(__file__).parent / "embed/CMakeLists.txt").read_text()
        recipe = project.split("# [recipe] begin\n")[1].split("# [recipe] end")[0]
        self.assertIn(f"```cmake\n{recipe}```", (SOURCES / "docs/macos.md").read_text())

    def test_finds_the_header_before_anything_is_linked(self):
        with tempfile.TemporaryDirectory() as folder:
            self.configure(folder, "Ninja")
            run("ninja", "-C", folder, "CMakeFiles/Host.dir/main.c.o")

    def test_carries_the_framework_when_built_with_makefiles(self):
        with tempfile.TemporaryDirectory() as folder:
            self.configure(folder, "Unix Makefiles")
            run("cmake", "--build", folder, "--parallel", JOBS)
            application = Path(folder) / "Host.app/Contents"
            framework = application / "Frameworks/fallcatch.framework"
            self.assertEqual(os.readlink(framework / "fallcatch"), "Versions/Current/fallcatch")
            self.assertTrue((framework / "Headers/fallcatch.h").is_file())
            bound = run("llvm-objdump-19", "--macho", "--bind", "--lazy-bind", application / "MacOS/Host")
            for name in FUNCTIONS:
                self.assertRegex(bound, rf"fallcatch\s+{name}\b")


class DefaultConfiguration(unittest.TestCase):
    """What a Mac gets that names no preset: everything that is on by default."""

    def test_with_the_examples_asks_for_no_gnustep(self):
        with tempfile.TemporaryDirectory() as folder:
            said = run("cmake", "-S", SOURCES, "-B", folder, "-G", "Ninja", "-DFALLCATCH_TESTS=OFF",
                       "-DFALLCATCH_BENCHMARKS=OFF", "-DFALLCATCH_INSTALL=OFF",
                       f"-DCMAKE_TOOLCHAIN_FILE={SOURCES}/cmake/toolchains/macos-x86_64.cmake")
            self.assertIn("the demo host and the crash host need GNUstep; not built", said)


class OtherFolder(unittest.TestCase):
    def test_gives_the_same_bytes(self):
        with tempfile.TemporaryDirectory() as folder:
            for name in ("Shared", "cmake", "packaging", "tests/macos"):
                shutil.copytree(SOURCES / name, Path(folder) / name, ignore=shutil.ignore_patterns("__pycache__"))
            for name in ("CMakeLists.txt", "CMakePresets.json"):
                shutil.copy(SOURCES / name, folder)
            run("cmake", "--preset", "macos-x86_64", folder=folder)
            run("cmake", "--build", "--preset", "macos-x86_64", "--parallel", JOBS, folder=folder)
            for name in ("fallcatch.framework/fallcatch",
                         "fallcatch.framework.dSYM/Contents/Resources/DWARF/fallcatch",
                         "libfallcatch_static.a", "../../../KXPL/libkxpl.a"):
                here = BUILD / "macos-x86_64" / GLUE / name
                there = Path(folder) / "build/macos-x86_64" / GLUE / name
                self.assertEqual(here.read_bytes() == there.read_bytes(), True, name)
