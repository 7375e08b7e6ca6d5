"""What the benchmark programs measured, and which targets that meets."""

import functools
import json
import math
import operator
import pathlib
import re
import statistics
from collections.abc import Callable, Iterable
from dataclasses import dataclass
from typing import Any

Run = dict[str, Any]  # one repetition, as Google Benchmark writes it

CALLS = {
    "int_and_text": "int and short text",
    "format_id": "the same by format id",
    "inline_text": "text without values",
    "no_value": "format id without values",
    "ten_ints": "ten ints",
}
DIRECTIONS = [
    "UTF-8 to UTF-16",
    "UTF-16 to UTF-8",
    "UTF-8 to UTF-32",
    "UTF-32 to UTF-8",
    "UTF-16 to UTF-32",
    "UTF-32 to UTF-16",
]
TEXTS = [
    "ASCII",
    "ASCII, 64 KiB",
    "Latin",
    "Cyrillic",
    "CJK",
    "CJK and ASCII",
    "emoji",
    "English with typographic quotes",
    "English with emoji",
    "source code with Cyrillic comments",
    "JSON with CJK values",
    "ill-formed",
]
NEEDS_TWO_PROCESSORS = "needs two processors"  # a benchmark's refusal; any other error spoils the run
RING = "ring/48 bytes between threads"


@dataclass
class Spread:
    """Smallest, middle and largest value over the repetitions of a benchmark."""

    low: float
    median: float
    high: float

    @classmethod
    def of(cls, values: list[float]) -> "Spread":
        return cls(min(values), statistics.median(values), max(values))


class Results:
    """The repetitions of every benchmark, by its name without what Google Benchmark adds."""

    def __init__(self, documents: Iterable[dict[str, Any]]) -> None:
        self.runs: dict[str, list[Run]] = {}
        self.context: dict[str, Any] = {}
        for document in documents:
            self.context = self.context or document.get("context", {})
            for run in document["benchmarks"]:
                if run.get("run_type", "iteration") != "iteration":
                    continue
                name = re.sub(r"/(manual_time|real_time|iterations:\d+|repeats:\d+)", "", run["run_name"])
                if run.get("error_occurred"):
                    if run["error_message"] == NEEDS_TWO_PROCESSORS:
                        continue
                    raise ValueError(f"{name}: {run['error_message']}")
                self.runs.setdefault(name, []).append(run)

    @classmethod
    def load(cls, folder: str | pathlib.Path) -> "Results":
        return cls([json.loads(file.read_text()) for file in sorted(pathlib.Path(folder).glob("*.json"))])

    def __contains__(self, name: str) -> bool:
        return name in self.runs

    def names(self, prefix: str) -> list[str]:
        return [name for name in self.runs if name.startswith(prefix)]

    def spread(self, name: str, counter: str) -> Spread:
        return Spread.of([run[counter] for run in self.runs[name]])

    def median(self, name: str, counter: str) -> float:
        return self.spread(name, counter).median

    def ratio(self, name: str, above: str, below: str) -> float:
        """Of two figures of one benchmark: taken within each repetition, then the middle of all."""
        return statistics.median(run[above] / run[below] for run in self.runs[name])

    def extreme(self, name: str, counter: str, choose: Callable[[Iterable[float]], float]) -> float:
        """The extreme of what all repetitions saw: choose is min or max."""
        return choose(run[counter] for run in self.runs[name])

    def peers(self, prefix: str) -> list[str]:
        """Benchmark names below a prefix, the quickest first."""
        return sorted(self.names(prefix), key=lambda name: self.median(name, "call_p50"))

    def contexts(self) -> dict[int, str]:
        """The benchmarks of the collector, by number of contexts."""
        found = {int(name.rsplit("/", 1)[1]): name for name in self.names("collector/contexts/")}
        return dict(sorted(found.items()))

    def at_one_clock_rate(self, name: str) -> float:
        """Nanoseconds for a line: its cost to that of the lines that took turns with it, times what those cost
        in the middle of all."""
        every = self.names("collector/") + self.names("collector_peer/")
        usual = statistics.median(run["yardstick_p50"] for each in every for run in self.runs[each])
        return self.ratio(name, "call_p50", "yardstick_p50") * usual

    def costs_by_contexts(self) -> dict[int, float]:
        return {contexts: self.at_one_clock_rate(name) for contexts, name in self.contexts().items()}

    def converters(self) -> list[str]:
        found = {name.rsplit("/", 1)[1] for name in self.names("convert/")}
        return sorted(found, key=lambda who: (who != "kxpl", who))

    def gigabytes(self, direction: str, text: str, who: str) -> Spread | None:
        """Gigabytes of source a second, or None for what was not measured."""
        name = f"convert/{direction}/{text}/{who}"
        if name not in self:
            return None
        nanoseconds_for_a_byte = self.spread(name, "call_p50")
        return Spread(
            1 / nanoseconds_for_a_byte.high, 1 / nanoseconds_for_a_byte.median, 1 / nanoseconds_for_a_byte.low
        )

    def plain_loop(self) -> dict[tuple[str, str], dict[int, tuple[float, str]]]:
        """By build and direction, then by length: the worst ratio to the plain loop and its text."""
        found: dict[tuple[str, str], dict[int, tuple[float, str]]] = {}
        for name in self.names("convert_plain/"):
            _, build, direction, length = name.split("/")
            worst = min(self.runs[name], key=lambda run: run["ratio"])
            found.setdefault((build, direction), {})[int(length)] = (worst["ratio"], worst["text"])
        return found

    def times_as_quick(self, name: str) -> float | None:
        """How many times as quick as a peer the own converter or queue was that took turns with it, or None."""
        return self.ratio(name, "call_p50", "own_p50") if name in self else None


@dataclass
class Target:
    name: str
    wanted: str
    measured: str
    verdict: str  # "met", "not met" or "not measured"


def logarithmic_bound(costs: dict[int, float], contexts: int) -> float:
    """What a record may cost if costs grow from those of two contexts with the depth of a merge."""
    return costs[2] * (math.log2(contexts) + 1) / 2


def _target(
    name: str, wanted: str, measured: float | None, is_met: Callable[[float], bool], form: str = "{:.2f}"
) -> Target:
    """is_met is asked for what is measured; None means that nothing was."""
    if measured is None:
        return Target(name, wanted, "", "not measured")
    return Target(name, wanted, form.format(measured), "met" if is_met(measured) else "not met")


def _at_most(
    name: str,
    results: Results,
    benchmark: str,
    measure: Callable[[], float],
    limit: float,
    unit: str,
    form: str = "{:.2f}",
) -> Target:
    measured = measure() if benchmark in results else None
    return _target(name, f"at most {limit} {unit}".rstrip(), measured, lambda value: value <= limit, form)


def _log_call_targets(results: Results) -> list[Target]:
    targets = []
    for call, title in CALLS.items():
        name = f"log_call/{call}"
        targets.append(
            _at_most(
                f"log call, {title}: to its floor",
                results,
                name,
                functools.partial(results.ratio, name, "call_p50", "floor_p50"),
                1.15,
                "x",
            )
        )
    measured = {
        call: results.ratio(f"log_call/{call}", "call_p99", "call_p50")
        for call in CALLS
        if f"log_call/{call}" in results
    }
    worst = max(measured, key=lambda call: measured[call]) if len(measured) == len(CALLS) else None
    shown = f"{{:.2f}} ({CALLS[worst]})" if worst else ""
    targets.append(
        _target(
            "99th percentile to median, of the worst of these",
            "at most 1.6 x",
            measured[worst] if worst else None,
            lambda value: value <= 1.6,
            shown,
        )
    )
    drained = "log_call_drained/int_and_text"
    targets.append(
        _at_most(
            "log call while its ring is drained: to the quiet one",
            results,
            drained,
            lambda: results.ratio(drained, "call_p50", "quiet_p50"),
            2.5,
            "x",
        )
    )
    two = "log_call_two_threads/int_and_text"
    targets.append(
        _at_most(
            "log call of two threads at once: to the floor of two",
            results,
            two,
            lambda: results.ratio(two, "call_p50", "floor_p50"),
            1.15,
            "x",
        )
    )
    for call, limit in (("disabled", 2), ("filtered", 5)):
        name = f"log_call/{call}"
        targets.append(
            _at_most(
                f"{call} call",
                results,
                name,
                functools.partial(results.median, name, "call_p50"),
                limit,
                "ns",
                "{:.1f} ns",
            )
        )
    return targets


def _collector_targets(results: Results) -> list[Target]:
    targets = []
    names = results.contexts()
    for contexts, wanted in ((1, 10), (8, 8)):
        measured = 1e3 / results.median(names[contexts], "call_p50") if contexts in names else None
        targets.append(
            _target(
                f"collector, {contexts} context{'s' if contexts > 1 else ''}",
                f"at least {wanted} M lines/s",
                measured,
                functools.partial(operator.le, wanted),
                "{:.2f} M lines/s",
            )
        )
    costs = results.costs_by_contexts()
    spdlog = "collector_peer/spdlog"
    measured = None
    if 1 in costs and 8 in costs and spdlog in results:
        measured = results.at_one_clock_rate(spdlog) / max(costs[1], costs[8])
    targets.append(
        _target(
            "lines/s of 1 and of 8 contexts: to spdlog's", "more than 1 x", measured, lambda value: value > 1
        )
    )
    measured = None
    if 2 in costs and 256 in costs:
        measured = max(cost / logarithmic_bound(costs, n) for n, cost in costs.items() if n > 2)
    targets.append(
        _target(
            "cost of a record for 4 to 256 contexts: to the logarithmic bound",
            "at most 1 x",
            measured,
            lambda value: value <= 1,
        )
    )
    return targets


def _least(
    results: Results, peer: str, directions: list[str], texts: list[str]
) -> tuple[float, str] | None:
    """The smallest ratio to a peer over directions and texts, and where it was; None unless all are there."""
    least: tuple[float, str] | None = None
    for direction in directions:
        for text in texts:
            ratio = results.times_as_quick(f"convert/{direction}/{text}/{peer}")
            if ratio is None:
                return None
            if least is None or ratio < least[0]:
                least = (ratio, f"{direction}, {text}")
    return least


def _converter_targets(results: Results) -> list[Target]:
    wide = ["UTF-16 to UTF-32", "UTF-32 to UTF-16"]
    targets = []
    for title, peer, directions, texts, wanted, is_met in (
        (
            "converters, every direction and text: to ICU",
            "ICU",
            DIRECTIONS,
            TEXTS,
            "more than 1 x",
            lambda value: value > 1,
        ),
        (
            "converters, every direction and text: to iconv",
            "iconv",
            DIRECTIONS,
            TEXTS,
            "more than 1 x",
            lambda value: value > 1,
        ),
        ("converters, ASCII: to ICU", "ICU", DIRECTIONS, ["ASCII"], "at least 4 x", lambda value: value >= 4),
        (
            "the same for 64 KiB, which the cache holds",
            "ICU",
            DIRECTIONS,
            ["ASCII, 64 KiB"],
            "at least 4 x",
            lambda value: value >= 4,
        ),
        (
            "converters, between UTF-16 and UTF-32, well-formed: to ICU",
            "ICU",
            wide,
            TEXTS[:-1],
            "at least 4 x",
            lambda value: value >= 4,
        ),
    ):
        least = _least(results, peer, directions, texts)
        shown = f"{{:.2f}} ({least[1]})" if least else ""
        targets.append(_target(title, wanted, least[0] if least else None, is_met, shown))
    return targets


def _other_targets(results: Results) -> list[Target]:
    ratios = [results.ratio(name, "call_p50", "own_p50") for name in results.names(RING) if not name.endswith("/kxpl")]
    measured = 1 / min(ratios) if ratios else None
    return [
        _target(
            "ring, 48 bytes between threads: cost to that of the quickest queue",
            "at most 1 x",
            measured,
            lambda value: value <= 1,
        ),
        _at_most(
            "idle collector, 64 contexts",
            results,
            "presence/idle",
            lambda: results.median("presence/idle", "percent_of_a_core"),
            0.1,
            "% of a core",
            "{:.3f} %",
        ),
        _at_most(
            "memory for a thread beyond its ring",
            results,
            "presence/memory",
            lambda: results.median("presence/memory", "bytes_beyond_the_ring"),
            1024,
            "bytes",
            "{:.0f} bytes",
        ),
    ]


def targets(results: Results) -> list[Target]:
    return (
        _log_call_targets(results)
        + _collector_targets(results)
        + _converter_targets(results)
        + _other_targets(results)
    )
