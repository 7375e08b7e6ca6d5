"""What tools/mutate makes of sources, of its tests' verdicts and of what it knows already."""

import contextlib
import importlib.machinery
import importlib.util
import io
import pathlib
import re
import sys
import tempfile
import types
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools"))

import mutate_sources  # noqa: E402


def load_mutate() -> types.ModuleType:
    loader = importlib.machinery.SourceFileLoader("mutate", str(ROOT / "tools" / "mutate"))
    spec = importlib.util.spec_from_loader("mutate", loader)
    assert spec is not None
    module = importlib.util.module_from_spec(spec)
    loader.exec_module(module)
    return module


mutate = load_mutate()


def mutants_of(text: str) -> "set[tuple[str, str]]":
    return {(mutant.kind, mutant.after.strip()) for mutant in mutate_sources.mutants_of("a.cpp", text)}


def mutant(file: str = "a.cpp", line: int = 1, after: str = "changed") -> mutate_sources.Mutant:
    return mutate_sources.Mutant(file, line, "before", after, "operator")


class Sources(unittest.TestCase):
    def test_watched_sources_and_their_programs_exist(self) -> None:
        lists = "\n".join(path.read_text() for path in sorted((ROOT / "tests").rglob("CMakeLists.txt")))
        for file, programs in mutate_sources.programs_of().items():
            self.assertTrue((ROOT / file).is_file(), file)
            for program in programs:
                self.assertRegex(lists, rf"\b{re.escape(program)}\b", file)

    def test_operators_conditions_and_statements_are_changed(self) -> None:
        found = mutants_of("{\n    if (a < b) {\n        count = 1;\n    }\n")
        self.assertIn(("operator", "if (a <= b) {"), found)
        self.assertIn(("condition", "if (!(a < b)) {"), found)
        self.assertIn(("statement", ";"), found)
        self.assertIn(("constant", "count = 2;"), found)

    def test_texts_comments_and_templates_are_left_alone(self) -> None:
        self.assertEqual(mutants_of('    // a < b\n    say("a < b");\n#if A < B\ntemplate <typename T>\n'),
                         {("statement", ";")})


class Verdicts(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def verdict(self, script: str, limit: float = 30) -> str:
        program = self.folder / "program"
        program.write_text("#!/bin/sh\n" + script)
        program.chmod(0o755)
        return mutate.run_test(program, "Suite.Test", limit)

    def test_end_of_a_test_tells_whether_it_noticed(self) -> None:
        self.assertEqual(self.verdict("exit 0"), "passed")
        self.assertEqual(self.verdict("exit 1"), "killed")
        self.assertEqual(self.verdict("kill -SEGV $$"), "killed")

    def test_test_that_hangs_is_ended(self) -> None:
        self.assertEqual(self.verdict("sleep 60", 0.3), "timeout")

    def test_source_is_put_back_whatever_happens(self) -> None:
        file = next(iter(mutate_sources.programs_of()))
        copy = self.folder / file
        copy.parent.mkdir(parents=True)
        copy.write_text("first\nsecond\n")
        seen = []

        def build(program: str) -> "tuple[bool, str]":
            seen.append(copy.read_text())
            raise RuntimeError(program)

        place = types.SimpleNamespace(tree=self.folder, build=build)
        tests = types.SimpleNamespace(learn=lambda place, program: None)
        with self.assertRaises(RuntimeError):
            mutate.attempt(mutant(file, 2, "mistake"), place, tests)
        self.assertEqual(seen, ["first\nmistake\n"])
        self.assertEqual(copy.read_text(), "first\nsecond\n")


class Order(unittest.TestCase):
    def test_thread_stays_with_its_file(self) -> None:
        work = mutate.Work([mutant("a.cpp"), mutant("b.cpp"), mutant("b.cpp"), mutant("b.cpp")])
        self.assertEqual([work.next(None).file, work.next("b.cpp").file], ["b.cpp", "b.cpp"])
        self.assertEqual(work.next(None).file, "a.cpp")  # which no other thread has compiled
        self.assertEqual(work.next("a.cpp").file, "b.cpp")
        self.assertIsNone(work.next("b.cpp"))


class Report(unittest.TestCase):
    def test_percentage_is_that_of_what_compiled(self) -> None:
        verdicts = ["killed", "timeout", "survived", "not compiled", None]
        chosen = [mutant(line=number) for number in range(len(verdicts))]
        results = types.SimpleNamespace(verdict_of=lambda m: verdicts[m.line])
        said = io.StringIO()
        with contextlib.redirect_stdout(said):
            percentage = mutate.report(results, chosen)
        self.assertAlmostEqual(percentage, 200 / 3)
        self.assertIn("5 chosen, 4 tried: 1 killed, 1 killed as they hung, 1 survived, 1 not compiled",
                      said.getvalue())
        self.assertIn("survived: a.cpp:2", said.getvalue())


unittest.main()
