"""A host that has the sources as a subdirectory builds in one go and carries the framework."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

from support import FUNCTIONS, SOURCES

FRAMEWORK_IN_HOST = "Contents/Frameworks/fallcatch.framework"


def run(*command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise AssertionError(f"{command}\n{done.stdout[-4000:]}{done.stderr[-4000:]}")
    return done.stdout


class EmbeddingHost(unittest.TestCase):
    def build(self, folder, generator):
        run("cmake", "-S", Path(__file__).parent / "embed", "-B", folder, "-G", generator,
            f"-DFALLCATCH_SOURCE={SOURCES}", "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
            f"-DCMAKE_TOOLCHAIN_FILE={SOURCES}/cmake/toolchains/macos-x86_64.cmake")
        # The host's source first: nothing of fallcatch is linked then.
        if generator == "Ninja":
            run("ninja", "-C", folder, "CMakeFiles/Host.dir/main.c.o")
        run("cmake", "--build", folder, "--parallel", os.environ.get("FALLCATCH_JOBS", "2"))
        return Path(folder) / "Host.app"

    def check(self, generator):
        with tempfile.TemporaryDirectory() as folder:
            application = self.build(folder, generator)
            framework = application / FRAMEWORK_IN_HOST
            self.assertEqual(os.readlink(framework / "fallcatch"), "Versions/Current/fallcatch")
            self.assertTrue((framework / "Headers/fallcatch.h").is_file())
            bound = run("llvm-objdump-19", "--macho", "--bind", "--lazy-bind", application / "Contents/MacOS/Host")
            for name in FUNCTIONS:
                self.assertRegex(bound, rf"fallcatch\s+{name}\b")

    def test_is_written_as_the_page_for_macos_shows(self):
        project = (Path(__file__).parent / "embed/CMakeLists.txt").read_text()
        recipe = project.split("# [recipe] begin\n")[1].split("# [recipe] end")[0]
        self.assertIn(f"```cmake\n{recipe}```", (SOURCES / "docs/macos.md").read_text())

    def test_with_ninja(self):
        self.check("Ninja")

    def test_with_makefiles(self):
        self.check("Unix Makefiles")
