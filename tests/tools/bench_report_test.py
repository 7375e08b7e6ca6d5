"""What tools/bench makes of measurements: a stored sample with figures on either side of the targets."""

import json
import pathlib
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "tools"))

import bench_report  # noqa: E402
import bench_results  # noqa: E402


def sample():
    return json.loads((HERE / "bench-sample.json").read_text())


def results_without(*prefixes):
    document = sample()
    document["benchmarks"] = [run for run in document["benchmarks"] if not run["run_name"].startswith(prefixes)]
    return bench_results.Results([document])


def results_with(name, **counters):
    document = sample()
    for run in document["benchmarks"]:
        if run["run_name"].startswith(name + "/"):
            run.update(counters)
    return bench_results.Results([document])


def verdicts(results):
    return {target.name: target for target in bench_results.targets(results)}


class Targets(unittest.TestCase):
    def setUp(self):
        self.found = verdicts(bench_results.Results([sample()]))

    def expect(self, name, verdict, measured):
        self.assertEqual((self.found[name].verdict, self.found[name].measured), (verdict, measured))

    def test_a_ratio_on_its_limit_is_met(self):
        self.expect("log call, int and short text: to its floor", "met", "1.15")

    def test_a_ratio_above_its_limit_is_not_met(self):
        self.expect("log call, ten ints: to its floor", "not met", "1.20")

    def test_the_worst_call_stands_for_all_percentiles(self):
        self.expect("99th percentile to median, of the worst of these", "not met", "1.67 (ten ints)")

    def test_times_are_held_to_their_limits(self):
        self.expect("disabled call", "met", "1.5 ns")
        self.expect("filtered call", "not met", "5.5 ns")

    def test_lines_come_from_the_cost_of_one(self):
        # 90 and 180 ns, 130 and 260 ns in the two repetitions.
        self.expect("collector, 1 context", "not met", "7.41 M lines/s")
        quicker = verdicts(results_with("collector/contexts/8", call_p50=125))
        self.assertEqual(quicker["collector, 8 contexts"].verdict, "met")
        self.assertEqual(quicker["collector, 8 contexts"].measured, "8.00 M lines/s")

    def test_the_slower_of_two_collectors_is_compared_with_spdlog(self):
        self.expect("lines/s of 1 and of 8 contexts: to spdlog's", "met", "2.00")

    def test_the_cost_of_a_record_may_grow_with_the_logarithm(self):
        name = "cost of a record for 4 to 256 contexts: to the logarithmic bound"
        self.expect(name, "not met", "1.02")  # 460 to 100 (8 + 1) / 2
        self.assertEqual(
            verdicts(results_with("collector/contexts/256", yardstick_p50=800))[name].verdict, "met"
        )

    def test_the_ring_is_held_to_the_quickest_queue(self):
        name = "ring, 48 bytes between threads: cost to that of the quickest queue"
        self.expect(name, "not met", "1.25")
        found = verdicts(results_with("ring/48 bytes between threads/boost::lockfree::spsc_queue", own_p50=79))
        self.assertEqual((found[name].verdict, found[name].measured), ("met", "0.99"))

    def test_memory_on_its_limit_is_met(self):
        self.expect("memory for a thread beyond its ring", "met", "1024 bytes")

    def test_what_was_not_measured_is_never_met(self):
        self.expect("log call while its ring is drained: to the quiet one", "not measured", "")
        self.expect("idle collector, 64 contexts", "not measured", "")

    def test_converters_are_judged_only_when_all_are_there(self):
        for name in self.found:
            if name.startswith("converters"):
                self.expect(name, "not measured", "")

    def test_one_slow_converter_is_named(self):
        document = sample()
        for direction in bench_results.DIRECTIONS:
            for text in bench_results.TEXTS:
                slow = direction == "UTF-32 to UTF-8" and text == "ill-formed"
                for who, cost in (("ICU", 1.0), ("iconv", 2.0)):
                    own = 1.25 if slow else 0.125
                    document["benchmarks"].append(
                        {"run_name": f"convert/{direction}/{text}/{who}", "call_p50": cost, "own_p50": own}
                    )
        found = verdicts(bench_results.Results([document]))
        icu = found["converters, every direction and text: to ICU"]
        self.assertEqual((icu.verdict, icu.measured), ("not met", "0.80 (UTF-32 to UTF-8, ill-formed)"))
        self.assertEqual(found["converters, every direction and text: to iconv"].verdict, "met")
        self.assertEqual(found["converters, ASCII: to ICU"].verdict, "met")


class Figures(unittest.TestCase):
    def test_a_ratio_is_taken_within_a_repetition(self):
        # The second repetition is twice as slow as the first, floor and call alike.
        results = bench_results.Results([sample()])
        self.assertAlmostEqual(results.ratio("log_call/int_and_text", "call_p50", "floor_p50"), 1.15)
        self.assertEqual(results.median("log_call/int_and_text", "call_p50"), 69)

    def test_aggregates_are_not_repetitions(self):
        self.assertEqual(bench_results.Results([sample()]).median("log_call/disabled", "call_p50"), 1.5)

    def test_a_failed_benchmark_spoils_the_report(self):
        document = sample()
        document["benchmarks"][0].update(error_occurred=True, error_message="lines are missing")
        with self.assertRaisesRegex(ValueError, "lines are missing"):
            bench_results.Results([document])


class Report(unittest.TestCase):
    def test_a_row_holds_extremes_medians_and_ratio(self):
        text = bench_report.log_calls(bench_results.Results([sample()]))
        self.assertIn("| int and short text | 42.0 | 69.0 | 90.0 | 220.0 | 1.0 % | 60.0 | 1.15 x |", text)

    def test_converters_show_gigabytes_and_ratios(self):
        text = bench_report.converters(bench_results.Results([sample()]))
        row = "| ASCII | UTF-8 to UTF-16 | 4.00 | 5.33 | 8.00 | 0.67 | 0.33 | 8.00 x | 16.00 x | 0.80 x |"
        self.assertIn(row, text)

    def test_the_plain_loop_has_a_row_for_each_build_and_direction(self):
        runs = [
            {"run_name": f"convert_plain/gcc-32/UTF-8 to UTF-16/{length}", "ratio": ratio, "text": text}
            for length, ratio, text in ((1000, 2.5, "CJK"), (1, 0.968, "emoji"), (30, 1.25, "ASCII"))
        ]
        table = bench_report.plain_loop(bench_results.Results([{"benchmarks": runs}]))
        self.assertIn("| build | direction | 1 | 30 | 1,000 | the worst |", table)
        self.assertIn("| gcc-32 | UTF-8 to UTF-16 | 0.97 | 1.25 | 2.50 | 0.97, emoji |", table)

    def test_verdicts_stand_out_unless_met(self):
        text = bench_report.targets_table(bench_results.Results([sample()]))
        self.assertIn("| disabled call | at most 2 ns | 1.5 ns | met |", text)
        self.assertIn("| filtered call | at most 5 ns | 5.5 ns | **not met** |", text)
        self.assertIn("| idle collector, 64 contexts | at most 0.1 % of a core |  | **not measured** |", text)

    def test_prose_is_kept_and_tables_are_put_in(self):
        text = bench_report.fill(
            "Before.\n\n@COLLECTOR@\n\n<!-- @ after -->\n", bench_results.Results([sample()])
        )
        self.assertTrue(text.startswith("Before.\n\n| lines made by |"))
        self.assertTrue(text.endswith("|\n\n<!-- @ after -->\n"))
        # What takes turns with the lines costs 400 and 800 ns; its middle is the clock rate of the last columns.
        self.assertIn("| 8 contexts | 5.13 | 130.0 | 195.0 | 260.0 | 195.0 | 300.0 |", text)

    def test_an_unknown_table_is_an_error(self):
        with self.assertRaises(KeyError):
            bench_report.fill("@NO_SUCH_TABLE@", bench_results.Results([sample()]))

    def test_pictures_of_what_was_not_measured_are_left_out(self):
        text = "One.\n\n![1](1.svg)\n\nTwo.\n\n![2](2.svg)\n\nEnd.\n"
        self.assertEqual(
            bench_report.without_pictures(text, but={"2.svg"}), "One.\n\nTwo.\n\n![2](2.svg)\n\nEnd.\n"
        )

    def test_the_template_can_be_filled_from_any_part_of_a_run(self):
        template = (HERE.parents[1] / "docs" / "benchmarks.in.md").read_text()
        for left_out in ("log_call", "collector", "convert", "presence"):
            text = bench_report.fill(template, results_without(left_out))
            self.assertIn(bench_report.NOTHING, text)
            self.assertNotRegex(text, r"@[A-Z_]+@")


if __name__ == "__main__":
    unittest.main()
