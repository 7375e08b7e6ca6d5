"""Every snippet of every page, and what keeps it right.

usage: snippets_test.py TREE CXX_COMPILER [FLAG ...]

A snippet without an entry in the table fails the test. Those that say so are compiled here or have their commands
looked up; the others name the tests that compile or run them.
"""

import json
import re
import subprocess
import sys
import unittest
from pathlib import Path

TREE, COMPILER, FLAGS = Path(sys.argv[1]), sys.argv[2], sys.argv[3:]

COMMANDS, COMPILED = "commands", "compiled"
HOSTS = "Consumer.FollowsTheReadmeToALineAndAReport"  # installs, builds and runs both minimal hosts
BYTES = "readme.ShowsTheExamplesByteForByte"
MACOS = "tools/check-macos"
MAC = "a Mac"  # Apple's programs, which no other system has: nothing here runs them

# Of each page in their order.
SNIPPETS = {
    "README.md": [
        "CrashLogUpload.TheLogEndsWithTheLineBeforeTheFault",  # the shape of the log's last lines
        COMMANDS,
        [COMMANDS, HOSTS],
        BYTES,
        BYTES,
        [COMMANDS, HOSTS],
        HOSTS,
        BYTES,
        BYTES,
        "readme.LoggingHostPrintsTheLinesShown",
    ],
    "CONTRIBUTING.md": [COMMANDS, COMMANDS],
    "SECURITY.md": [COMPILED],
    "docs/collectors.md": [COMMANDS, COMMANDS],
    "docs/crash-log.md": [COMPILED, COMPILED, COMMANDS, COMMANDS, "CrashLogUpload.AKeyNamesWhatMustNotBeSent"],
    "docs/flushing.md": [
        "readme.FlushesBeforeAThreadEnds",
        "readme.FlushesAtExit",
        "readme.FlushesInACrash",
        [COMMANDS, "PendingRecords.OfALiveProcessAreThoseOfTheNextPass"],
    ],
    "docs/hosts.md": [COMMANDS, COMMANDS],
    "docs/logging.md": ["readme.LoggingPagePrintsTheLinesShown", "readme.LoggingPagePrintsTheLinesShown"],
    "docs/macos.md": [COMMANDS, MACOS, MAC, MAC, MAC, MAC, COMMANDS, COMMANDS, MAC],
    "docs/sharp-edges.md": ["readme.SharpEdgesShowsWhatCompilesAndWhatIsRefused"],
}

# What the host has in front of the lines that a page shows.
PRELUDES = {
    "SECURITY.md": "#include <hslog/HSL.h>\n",
    "docs/crash-log.md": "#include <fallcatch_breakpad.h>\n#include <hslog/HSL.h>\n#include <hslog/HSLCrashLog.h>\n"
    "#include <hslog/HSLLastingLog.h>\n",
}
ARGUMENTS = {
    "SECURITY.md": "HSL::CLogContext* log, const char* path, const char* user",
    "docs/crash-log.md": "bool (*save)(const HSL::CDeadLog& log, void* context)",
}


def snippets(page):
    """(text) of each fenced or indented block."""
    text = page.read_text(encoding="utf-8")
    fenced = re.compile(r"^```\w*\n(.*?)^```$", re.M | re.S)
    found = [(match.start(), match[1]) for match in fenced.finditer(text)]
    rest = fenced.sub(lambda match: re.sub(r"[^\n]", "x", match[0]), text)
    for match in re.finditer(r"(?<=\n\n)(?: {4}\S[^\n]*\n)+", rest):
        # Under a list's entry such lines go on with its text.
        before = [line for line in rest[: match.start()].splitlines() if line and not line.startswith(" ")]
        if not re.match(r"- |\d+\. ", before[-1]):
            found.append((match.start(), re.sub(r"^ {4}", "", match[0], flags=re.M)))
    return [block for _, block in sorted(found)]


def sources(*patterns):
    found = [path for pattern in patterns for path in sorted(TREE.glob(pattern))]
    return "\n".join(path.read_text(encoding="utf-8") for path in found)


class Snippets(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        presets = json.loads((TREE / "CMakePresets.json").read_text(encoding="utf-8"))
        cls.presets = {preset["name"] for preset in presets["configurePresets"]}
        cls.cmake = sources("CMakeLists.txt", "cmake/*.cmake", "Shared/**/CMakeLists.txt", "examples/**/CMakeLists.txt",
                            "tests/**/CMakeLists.txt", "tests/**/*.cmake", "benchmarks/CMakeLists.txt")
        cls.tests = cls.cmake + sources("tests/**/*_test.cpp", "tests/**/*.mm")
        cls.programs = {
            "fallcatch_collector": sources("examples/crash/Collector.cpp"),
            "fallcatch_log": sources("Shared/KXPL/tools/FallcatchLog.cpp"),
        }

    def entries(self, kind):
        for page, table in SNIPPETS.items():
            for block, entry in zip(snippets(TREE / page), table, strict=True):
                if kind in (entry if isinstance(entry, list) else [entry]):
                    yield page, block

    def test_every_snippet_has_an_entry(self):
        pages = [*TREE.glob("*.md"), *(page for page in TREE.glob("docs/*.md") if not page.name.endswith(".in.md"))]
        for page in pages:
            name = page.relative_to(TREE).as_posix()
            found = [block.split("\n")[0] for block in snippets(page)]
            self.assertEqual(len(found), len(SNIPPETS.get(name, [])), f"{name}: {found}")

    def test_the_tests_that_are_named_are_there(self):
        for table in SNIPPETS.values():
            for entry in table:
                for name in entry if isinstance(entry, list) else [entry]:
                    if name == MACOS:
                        self.assertTrue((TREE / MACOS).exists())
                    elif name not in (COMMANDS, COMPILED, MAC):
                        # readme.Test as CMake has it, Suite, Test as GoogleTest has it, or made by a function.
                        self.assertRegex(self.tests, rf"\b{name.split('.')[1]}\b")

    def test_what_is_to_be_compiled_compiles(self):
        for page, block in self.entries(COMPILED):
            own = "".join(line for line in block.splitlines(True) if line.startswith("#"))
            body = "".join(line for line in block.splitlines(True) if not line.startswith("#"))
            text = f"{PRELUDES[page]}{own}void host({ARGUMENTS[page]});\nvoid host({ARGUMENTS[page]})\n{{\n{body}}}\n"
            told = subprocess.run(
                [COMPILER, "-std=c++17", "-fsyntax-only", "-Wall", "-Wextra", "-Wno-unused-parameter", "-Werror",
                 *FLAGS, "-x", "c++", "-"],
                input=text, capture_output=True, text=True, check=False)
            self.assertEqual(told.returncode, 0, f"{page}:\n{told.stderr}")

    def look_up(self, page, command):
        """Programs, files, presets, targets, tests and options that a command names are there."""
        words = command.split()
        program = words[0]
        if program.startswith("./") or program.startswith("tools/"):
            self.assertTrue((TREE / program).stat().st_mode & 0o100, command)
        elif Path(program).name in self.programs:
            for option in re.findall(r"--\w+", command):
                self.assertIn(f"{option}", self.programs[Path(program).name], f"{page}: {command}")
        else:
            self.assertIn(program, ("cmake", "ctest", "gdb", "minidump_stackwalk", "Host", "wait",
                                    "build/minimal-c/minimal-c"), f"{page}: {command}")
        for option, value in zip(words, words[1:], strict=False):
            if option == "--preset":
                self.assertIn(value, self.presets, f"{page}: {command}")
            elif option == "--target":
                self.assertRegex(self.cmake, rf"\b{value}\b", f"{page}: {command}")
            elif option == "-R":
                self.assertIn(value, self.tests, f"{page}: {command}")
            elif option in ("-S", "-x") and program != Path(__file__).name:
                self.assertTrue((TREE / value).exists(), f"{page}: {command}")
        for option in re.findall(r"-D(FALLCATCH_\w+)=", command):
            self.assertRegex(self.cmake, rf"(option\(|set\(){option}\b", f"{page}: {command}")

    def test_commands_name_what_is_there(self):
        for page, block in self.entries(COMMANDS):
            for line in block.splitlines():
                command = re.sub(r"\s#.*|\s&$", "", line).strip()
                if command:
                    self.look_up(page, command)


unittest.main(argv=sys.argv[:1])
