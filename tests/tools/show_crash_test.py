"""How show-crash reads what a crash left, and what it refuses to believe."""

import io
import os
import pathlib
import sys
import tempfile
import unittest
from unittest import mock

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "examples" / "crash"))

import show_crash  # noqa: E402

WALKED = """Crash reason:  SIGSEGV /SEGV_MAPERR

Thread 0
 0  libc.so.6 + 0x1

Thread 1 (crashed)
 0  CrashHost!crash(int) [Crash.cpp : 7 + 0x2]
    rax = 0x0
 1  CrashHost!main [Main.cpp : 9 + 0x5]

Thread 2
 0  libc.so.6 + 0x2
"""


def line(thread: str, text: str) -> str:
    return f"12:00:00.000000 (00:00.000000) :  [{thread}]\t{text}\n"


def story() -> show_crash.Story:
    return show_crash.Story(io.StringIO())


def said(told: show_crash.Story) -> str:
    assert isinstance(told.out, io.StringIO)
    return told.out.getvalue()


class CrashedStack(unittest.TestCase):
    def test_frames_are_those_of_the_thread_that_crashed(self) -> None:
        thread, frames = show_crash.crashed_stack(WALKED)
        self.assertEqual(thread, "Thread 1 (crashed)")
        self.assertEqual([frame.split()[1] for frame in frames], ["CrashHost!crash(int)", "CrashHost!main"])

    def test_dump_without_a_crashed_thread_is_refused(self) -> None:
        with self.assertRaises(show_crash.Failure):
            show_crash.crashed_stack(WALKED.replace(" (crashed)", ""))


class Log(unittest.TestCase):
    LAST = show_crash.LAST_WORDS[0]

    def test_log_of_three_threads_that_ends_before_the_fault_is_shown(self) -> None:
        told = story()
        show_crash.show_log(line("Main", "a") + line("TID 1", "b") + line("TID 2", self.LAST), told)
        self.assertIn(self.LAST, said(told))

    def test_log_that_ends_elsewhere_is_refused(self) -> None:
        text = line("Main", "a") + line("TID 1", self.LAST) + line("TID 2", "c")
        with self.assertRaises(show_crash.Failure):
            show_crash.show_log(text, story())

    def test_log_of_two_threads_is_refused(self) -> None:
        with self.assertRaises(show_crash.Failure):
            show_crash.show_log(line("Main", "a") + line("TID 1", self.LAST), story())

    def test_log_of_remarks_alone_is_refused(self) -> None:
        with self.assertRaises(show_crash.Failure):
            show_crash.show_log("-- written in the crash\n", story())


class Surroundings(unittest.TestCase):
    def test_host_finds_neither_the_users_folder_nor_a_proxy(self) -> None:
        given = {"PATH": "/bin", "GNUSTEP_USER_ROOT": "/elsewhere", "HTTP_PROXY": "http://proxy.invalid"}
        with tempfile.TemporaryDirectory() as folder, mock.patch.dict(os.environ, given, clear=True):
            home, environment = show_crash.own_home(pathlib.Path(folder))
            self.assertEqual(set(environment), {"PATH", "GNUSTEP_CONFIG_FILE"})
            self.assertIn(f"GNUSTEP_USER_DIR={home}\n", pathlib.Path(environment["GNUSTEP_CONFIG_FILE"]).read_text())

    def test_one_file_is_taken_and_none_or_two_are_refused(self) -> None:
        self.assertEqual(show_crash.only([pathlib.Path("one")], "dump"), pathlib.Path("one"))
        for paths in ([], [pathlib.Path("one"), pathlib.Path("two")]):
            with self.assertRaises(show_crash.Failure):
                show_crash.only(paths, "dump")

    def test_steps_are_numbered(self) -> None:
        told = story()
        told.step("first")
        told.step("second")
        told.detail("more\nlines\n")
        self.assertEqual(said(told),
                         f"[1/{show_crash.STEPS}] first\n[2/{show_crash.STEPS}] second\n      more\n      lines\n")


unittest.main()
