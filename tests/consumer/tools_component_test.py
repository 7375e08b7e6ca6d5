"""The component "tools" has all that reads crashes, and each part finds the others from there."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

CMAKE, BUILD, GDB = sys.argv[1:4]

TOOLS = {
    "bin/dump_syms",
    "bin/fallcatch_collector",
    "bin/fallcatch_log",
    "bin/make-symbols",
    "bin/minidump_stackwalk",
    "libexec/fallcatch/fallcatch_sender",
    "share/fallcatch/pending_records.py",
}


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, timeout=60, check=True).stdout


class ToolsComponent(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.prefix = pathlib.Path(folder.name)
        cls.install("tools")

    @classmethod
    def install(cls, component):
        output_of(CMAKE, "--install", BUILD, "--component", component, "--prefix", cls.prefix)

    def test_has_every_tool(self):
        self.assertEqual({tool for tool in TOOLS if (self.prefix / tool).is_file()}, TOOLS)

    def test_sender_tells_where_reports_lie(self):
        self.install("breakpad")  # whose library puts them there
        sender = self.prefix / "libexec/fallcatch/fallcatch_sender"
        self.assertIn("Example", output_of(sender, "--where", "Example"))

    def test_make_symbols_finds_dump_syms(self):
        symbols = self.prefix / "symbols"
        output_of(self.prefix / "bin/make-symbols", symbols, self.prefix / "bin/fallcatch_log")
        self.assertTrue(list(symbols.glob("fallcatch_log/*/fallcatch_log.sym")))

    @unittest.skipUnless(pathlib.Path(GDB).is_file(), "gdb is not installed")
    def test_gdb_finds_fallcatch_log(self):
        found = output_of(GDB, "-batch", "-x", self.prefix / "share/fallcatch/pending_records.py", "-ex",
                          "python print(renderer())")
        self.assertEqual(pathlib.Path(found.strip()).resolve(), (self.prefix / "bin/fallcatch_log").resolve())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
