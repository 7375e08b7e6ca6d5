"""The code for x86-64 without an emulator: over GNUstep's Foundation, real threads and LLVM's libc++."""

import platform
import re
import signal
import subprocess
import tempfile
import unittest

from support import BINARY, BUILD

NATIVE = BUILD / "macos-native"
HOSTS = BUILD / "macos-x86_64/tests/macos/cross"
# The framework has a log manager of its own, which nobody outside can switch on.
OUT_OF_REACH = "*.LogsNothing"


def run(*command):
    with tempfile.TemporaryDirectory() as folder:
        return subprocess.run(command, cwd=folder, capture_output=True, text=True, errors="replace", timeout=120,
                              check=False)


@unittest.skipUnless(platform.machine() == "x86_64", "this processor is another")
class Native(unittest.TestCase):
    def run_host(self, image, *arguments):
        return run(NATIVE / "run_host", image, *arguments)


class FrameworkOverFoundation(Native):
    def test_passes_the_tests_of_the_bridge(self):
        done = run(NATIVE / "glue_test", "--gtest_brief=1", f"--gtest_filter=-{OUT_OF_REACH}")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertGreater(int(re.search(r"PASSED  . (\d+) tests", done.stdout).group(1)), 140)

    def test_serves_a_host_from_start_to_end(self):
        done = self.run_host(f"{HOSTS / 'host_on_mac'},{BINARY}", "-tcwt", "TC_DIV0")
        self.assertEqual((done.stdout, done.stderr, done.returncode), ("0 failures\n", "", 0))


class LoggerWithRealThreads(Native):
    def test_gives_every_line_in_order(self):
        for thread in ("-tcmt", "-tcwt"):
            done = self.run_host(HOSTS / "logger_on_mac", thread, "TC_DER0")
            self.assertEqual((done.stdout.splitlines()[1:], done.stderr, done.returncode), (["0 failures"], "", 0))


class Crash(Native):
    def crash(self, thread, kind):
        return self.run_host(HOSTS / "logger_on_mac", thread, kind, "--crash").returncode

    def test_at_address_zero_is_a_segmentation_fault_on_either_thread(self):
        self.assertEqual(self.crash("-tcmt", "TC_DER0"), -signal.SIGSEGV)
        self.assertEqual(self.crash("-tcwt", "TC_DER0"), -signal.SIGSEGV)

    def test_by_a_pure_virtual_call_aborts_on_either_thread(self):
        self.assertEqual(self.crash("-tcmt", "TC_PUREV"), -signal.SIGABRT)
        self.assertEqual(self.crash("-tcwt", "TC_PUREV"), -signal.SIGABRT)


class Loader(Native):
    def test_refuses_what_it_has_nothing_for(self):
        done = self.run_host(HOSTS / "host_on_mac", "-tcwt", "TC_DIV0")
        self.assertEqual(done.returncode, 3)
        self.assertRegex(done.stderr, r"uses _\w+, which nothing stands for here")
