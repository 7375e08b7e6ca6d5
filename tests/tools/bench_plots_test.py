"""The pictures that tools/bench draws of measurements."""

import pathlib
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "tools"))

try:
    import bench_plots
except ImportError:
    print("skipped: no matplotlib")
    sys.exit(77)

import json  # noqa: E402

import bench_results  # noqa: E402


def results(*prefixes: str) -> bench_results.Results:
    """Of the stored sample, what begins with one of the prefixes."""
    document = json.loads((HERE / "bench-sample.json").read_text())
    document["benchmarks"] = [run for run in document["benchmarks"] if run["run_name"].startswith(prefixes)]
    return bench_results.Results([document])


class Plots(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def test_nothing_measured_draws_nothing(self) -> None:
        self.assertEqual(bench_plots.draw_all(results("none/"), self.folder), set())
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_only_what_was_measured_is_drawn(self) -> None:
        drawn = bench_plots.draw_all(results("log_call"), self.folder)
        self.assertEqual(drawn, {"benchmarks-log-call.svg"})
        self.assertEqual({path.name for path in self.folder.iterdir()}, drawn)

    def test_texts_stay_texts(self) -> None:
        bench_plots.draw_all(results("log_call"), self.folder)
        self.assertIn("log call, ten ints", (self.folder / "benchmarks-log-call.svg").read_text())

    def test_same_figures_give_the_same_file(self) -> None:
        bench_plots.draw_all(results(""), self.folder)
        first = {path.name: path.read_bytes() for path in self.folder.iterdir()}
        bench_plots.draw_all(results(""), self.folder)
        self.assertEqual(first, {path.name: path.read_bytes() for path in self.folder.iterdir()})
        self.assertTrue(first)


unittest.main()
