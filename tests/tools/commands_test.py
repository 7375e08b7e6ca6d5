"""Every command answers --help at once and without an effect, and a wrong option with 2 and one line.

Programs that could change something outside stand in the commands' way and say so when they are called.
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(sys.argv.pop(1))
CALLED = ("apt-get", "cargo", "clang", "cmake", "conan", "ctest", "curl", "debootstrap", "g++", "gcc", "mmdebstrap",
          "mount", "ninja", "npm", "pip", "pip3", "rm", "sudo", "unshare", "wget")


def commands():
    yield from (ROOT / "check", ROOT / "demo")
    for path in sorted((ROOT / "tools").iterdir()):
        # What ends in .py is a part of one of the others.
        if path.is_file() and os.access(path, os.X_OK) and path.suffix != ".py":
            yield path


class Commands(unittest.TestCase):
    def setUp(self):
        self.place = tempfile.TemporaryDirectory()
        place = pathlib.Path(self.place.name)
        self.home = place / "home"
        self.stubs = place / "stubs"
        self.called = place / "called"
        (self.home / "tmp").mkdir(parents=True)
        (self.home / "precious").write_text("kept")
        self.stubs.mkdir()
        for name in CALLED:
            stub = self.stubs / name
            stub.write_text(f'#!/bin/sh\necho "{name} $*" >>"{self.called}"\nexit 99\n')
            stub.chmod(0o755)

    def tearDown(self):
        self.place.cleanup()

    def run_command(self, command, *arguments, **more):
        environment = {"PATH": f"{self.stubs}:{os.environ['PATH']}", "HOME": str(self.home),
                       "TMPDIR": str(self.home / "tmp"), "FALLCATCH_I386_ROOT": str(self.home),
                       "PYTHONDONTWRITEBYTECODE": "1", **more}
        return subprocess.run([command, *arguments], env=environment, cwd=self.home, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=20, check=False)

    def expect_no_effect(self):
        found = sorted(str(path.relative_to(self.home)) for path in self.home.rglob("*"))
        self.assertEqual(found, ["precious", "tmp"])
        self.assertEqual((self.home / "precious").read_text(), "kept")
        self.assertFalse(self.called.exists(), self.called.exists() and self.called.read_text())

    def test_help_tells_the_usage_and_does_nothing(self):
        for command in commands():
            for option in ("--help", "-h"):
                with self.subTest(command=command.name, option=option):
                    result = self.run_command(command, option)
                    self.assertEqual(result.returncode, 0, result.stderr)
                    self.assertIn("usage: ", result.stdout)
                    self.assertEqual(result.stderr, "")
                    self.expect_no_effect()

    def test_a_wrong_option_is_refused_in_one_line(self):
        for command in commands():
            with self.subTest(command=command.name):
                result = self.run_command(command, "--no-such-option")
                self.assertEqual(result.returncode, 2, result.stderr)
                self.assertEqual(result.stdout, "")
                self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)
                self.assertIn("--no-such-option", result.stderr)
                self.expect_no_effect()

    def test_the_folder_for_the_32_bit_root_is_left_alone_unless_it_was_made_for_it(self):
        result = self.run_command(ROOT / "tools/check-i386")
        self.assertEqual(result.returncode, 3, result.stderr)
        self.assertIn("is not empty and was not made by this command", result.stderr)
        self.expect_no_effect()

    def test_a_file_in_the_place_of_the_32_bit_root_is_left_alone(self):
        result = self.run_command(ROOT / "tools/check-i386", FALLCATCH_I386_ROOT=str(self.home / "precious"))
        self.assertEqual(result.returncode, 3, result.stderr)
        self.expect_no_effect()

    def test_without_root_and_sudo_the_line_to_have_run_is_told(self):
        lean = self.home.parent / "lean"
        lean.mkdir()
        for name in ("bash", "env", "id", "dpkg-query", "mktemp", "rm", "find", "cat", "dirname"):
            (lean / name).symlink_to("/usr/bin/" + name)
        (lean / "apt-get").symlink_to(self.stubs / "apt-get")
        (lean / "id").unlink()
        (lean / "id").write_text("#!/bin/sh\necho 1000\n")
        (lean / "id").chmod(0o755)
        result = self.run_command(ROOT / "tools/setup-debian", "no-such-package", PATH=str(lean))
        self.assertEqual(result.returncode, 1)
        self.assertIn("\n    apt-get install -y --no-install-recommends no-such-package\n", result.stderr)
        self.assertNotIn("out of date", result.stderr)
        self.expect_no_effect()

    def test_check_takes_presets_by_their_exact_names(self):
        for name in ("base", ".*", "releas", "release.", "gcc", "macos-cross", ""):
            with self.subTest(name=name):
                result = self.run_command(ROOT / "check", name)
                self.assertEqual(result.returncode, 2, result.stderr)
                self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)
                self.expect_no_effect()


if __name__ == "__main__":
    unittest.main()
