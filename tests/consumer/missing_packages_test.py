"""What a build says where a package is missing: its Debian name, and the switch that does without it.

usage: missing_packages_test.py CMAKE TREE BREAKPAD_CACHE CXX_COMPILER
"""

import shutil
import stat
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CMAKE, TREE, CACHE, COMPILER = sys.argv[1:5]


class MissingPackages(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="fallcatch-missing-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def expect(self, words, *options):
        build = self.folder / "build"
        told = subprocess.run(
            [CMAKE, "-S", TREE, "-B", build, f"-DFALLCATCH_BREAKPAD_CACHE={CACHE}", "-DCMAKE_C_COMPILER_LAUNCHER=",
             "-DFALLCATCH_BENCHMARKS=OFF", f"-DCMAKE_CXX_COMPILER={COMPILER}", *options],
            capture_output=True, text=True, timeout=120, check=False,
        )
        self.assertNotEqual(told.returncode, 0, "it was configured all the same")
        text = " ".join(told.stderr.split())
        for word in words:
            self.assertIn(word, text)

    def test_libcurl(self):
        self.expect(["libcurl4-openssl-dev", "-DFALLCATCH_BREAKPAD=OFF"], "-DCMAKE_DISABLE_FIND_PACKAGE_CURL=ON",
                    "-DFALLCATCH_TESTS=OFF", "-DFALLCATCH_EXAMPLES=OFF")

    def test_httplib(self):
        self.expect(["libcpp-httplib-dev", "-DFALLCATCH_EXAMPLES=OFF"], "-DHTTPLIB_INCLUDE:PATH=",
                    "-DFALLCATCH_TESTS=OFF")

    def test_zlib_for_breakpads_tools(self):
        self.expect(["zlib1g-dev", "-DFALLCATCH_BREAKPAD=OFF"], "-DCMAKE_DISABLE_FIND_PACKAGE_ZLIB=ON",
                    "-DFALLCATCH_BREAKPAD_BUILD_TOOLS=ON", "-DFALLCATCH_TESTS=OFF", "-DFALLCATCH_EXAMPLES=OFF")

    def test_gnustep(self):
        self.expect(["gobjc++", "libgnustep-base-dev", "gnustep-make", "-DFALLCATCH_GLUE=OFF"],
                    "-DGNUSTEP_CONFIG=/bin/false", "-DFALLCATCH_TESTS=OFF", "-DFALLCATCH_EXAMPLES=OFF")

    def test_objective_cxx(self):
        compiler = self.folder / "g++"
        compiler.write_text(
            f'#!/bin/sh\nfor last; do :; done\ncase "$last" in *.mm) exit 1 ;; esac\nexec {COMPILER} "$@"\n',
            encoding="utf-8")
        compiler.chmod(compiler.stat().st_mode | stat.S_IXUSR)
        self.expect(["gobjc++", "-DFALLCATCH_GLUE=OFF"], f"-DCMAKE_CXX_COMPILER={compiler}", "-DFALLCATCH_TESTS=OFF",
                    "-DFALLCATCH_EXAMPLES=OFF")

    def test_googletest(self):
        self.expect(["googletest", "-DFALLCATCH_TESTS=OFF"], "-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON",
                    f"-DFALLCATCH_GOOGLETEST_DIR={self.folder}/none", "-DFALLCATCH_GLUE=OFF")


unittest.main(argv=sys.argv[:1] + sys.argv[5:])
