"""Pictures of what the benchmark programs measured, as SVG."""

import pathlib

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as pyplot  # noqa: E402
from matplotlib.figure import Figure  # noqa: E402

from bench_results import CALLS, DIRECTIONS, TEXTS, Results, logarithmic_bound  # noqa: E402

OWN = "#1f5fa8"
FLOOR = "#8a8a8a"
PEERS = ["#d98c26", "#4f9a63", "#a8577e", "#7a6fc0", "#b5a642"]

matplotlib.rcParams.update(
    {
        "svg.hashsalt": "fallcatch",  # the same picture gives the same file
        "svg.fonttype": "none",  # text stays text: a quarter of the size
        "font.size": 10,
        "axes.spines.top": False,
        "axes.spines.right": False,
        "axes.titlesize": 11,
        "axes.titleweight": "bold",
        "axes.titlelocation": "left",
    }
)


def _save(figure: Figure, path: pathlib.Path) -> bool:
    # Opaque: readers with a dark background see dark text else.
    figure.savefig(path, metadata={"Date": None}, facecolor="white", bbox_inches="tight")
    pyplot.close(figure)
    return True


def _latency_rows(results: Results) -> list[tuple[str, str, str, str]]:
    rows = []
    for call, title in CALLS.items():
        name = f"log_call/{call}"
        if name in results:
            rows.append((f"log call, {title}", name, "call", OWN))
            rows.append(("its floor", name, "floor", FLOOR))
    for name, title in (
        ("log_call_drained/int_and_text", "log call while drained"),
        ("log_call_two_threads/int_and_text", "log call, two threads at once"),
    ):
        if name in results:
            rows.append((title, name, "call", OWN))
    if "log_call_two_threads/int_and_text" in results:
        rows.append(("floor of two threads", "log_call_two_threads/int_and_text", "floor", FLOOR))
    for name in results.peers("log_call_peer/"):
        rows.append((name.split("/", 1)[1], name, "call", PEERS[0]))
    return rows


def latency(results: Results, path: pathlib.Path) -> bool:
    """Distribution over batches: a bar from the 1st to the 99th percentile, thick between the quartiles."""
    rows = _latency_rows(results)
    if not rows:
        return False
    figure, axes = pyplot.subplots(figsize=(9, 0.31 * len(rows) + 1))
    for y, (_, name, kind, colour) in enumerate(rows):
        at = {point: results.median(name, f"{kind}_{point}") for point in ("p1", "p25", "p50", "p75", "p99")}
        axes.plot([at["p1"], at["p99"]], [y, y], color=colour, linewidth=2, solid_capstyle="butt", alpha=0.6)
        axes.plot([at["p25"], at["p75"]], [y, y], color=colour, linewidth=8, solid_capstyle="butt", alpha=0.8)
        axes.plot(at["p50"], y, "o", color="white", markeredgecolor=colour, markersize=6)
        axes.annotate(
            f"{at['p50']:.0f}",
            (at["p99"], y),
            xytext=(6, 0),
            textcoords="offset points",
            va="center",
            fontsize=9,
            color=colour,
        )
    axes.set_yticks(range(len(rows)), [row[0] for row in rows])
    axes.invert_yaxis()
    axes.set_xscale("log")
    axes.xaxis.set_major_formatter(lambda value, _: f"{value:g}")
    axes.xaxis.set_minor_formatter(lambda value, _: f"{value:g}" if f"{value:g}"[0] in "25" else "")
    axes.grid(axis="x", which="both", alpha=0.25)
    axes.set_xlabel("nanoseconds for a call (mean of a batch of 1,000), logarithmic")
    axes.set_title(
        "What a log call costs: median as a dot and a number,\n"
        "thick from quartile to quartile, thin from the 1st to the 99th percentile of all batches"
    )
    return _save(figure, path)


def collector(results: Results, path: pathlib.Path) -> bool:
    costs = results.costs_by_contexts()
    if not costs:
        return False
    figure, (rate, cost) = pyplot.subplots(1, 2, figsize=(11, 4))
    numbers = list(costs)
    names = list(results.contexts().values())
    lines = [results.spread(name, "call_p50") for name in names]
    rate.plot(numbers, [1e3 / line.median for line in lines], "o-", color=OWN, label="collector")
    rate.fill_between(
        numbers, [1e3 / line.high for line in lines], [1e3 / line.low for line in lines], color=OWN, alpha=0.15
    )
    cost.plot(numbers, list(costs.values()), "o-", color=OWN, label="collector")
    if 2 in costs:
        bound = [n for n in numbers if n >= 2]
        cost.plot(
            bound, [logarithmic_bound(costs, n) for n in bound], ":", color=FLOOR, label="logarithmic bound"
        )
    for colour, name in zip(PEERS, results.peers("collector_peer/")):
        label = name.split("/", 1)[1]
        rate.axhline(1e3 / results.median(name, "call_p50"), color=colour, linestyle="--", label=label)
        cost.axhline(results.at_one_clock_rate(name), color=colour, linestyle="--", label=label)
    for axes, title, unit in (
        (rate, "Lines from backlog to callback", "million lines/s"),
        (cost, "Cost of a record", "nanoseconds, at one clock rate"),
    ):
        axes.set_xscale("log", base=2)
        axes.set_xticks(numbers, [str(n) for n in numbers])
        axes.set_ylim(bottom=0)
        axes.set_xlabel("contexts, strictly interleaved")
        axes.set_ylabel(unit)
        axes.set_title(title)
        axes.grid(alpha=0.25)
    cost.legend(loc="upper left", bbox_to_anchor=(1.01, 1), frameon=False)
    figure.tight_layout()
    return _save(figure, path)


def converters(results: Results, path: pathlib.Path) -> bool:
    who = results.converters()
    if not who:
        return False
    figure, panels = pyplot.subplots(4, 3, figsize=(15, 12), sharex=True)
    width = 0.8 / len(who)
    for axes, text in zip(panels.flat, [text for text in TEXTS if text != "ASCII, 64 KiB"]):
        for i, name in enumerate(who):
            speeds = [results.gigabytes(direction, text, name) for direction in DIRECTIONS]
            values = [speed.median if speed else 0 for speed in speeds]
            bars = axes.bar(
                [x + (i - (len(who) - 1) / 2) * width for x in range(len(DIRECTIONS))],
                values,
                width,
                color=OWN if name == "kxpl" else PEERS[i - 1],
                label=name,
            )
            if name == "kxpl":
                axes.bar_label(bars, [f"{value:.1f}" for value in values], fontsize=8, padding=1, color=OWN)
        axes.set_title(f"{text}: GB/s")
        axes.set_xticks(
            range(len(DIRECTIONS)),
            [direction.replace("UTF-", "").replace(" to ", " → ") for direction in DIRECTIONS],
        )
        axes.tick_params(labelbottom=True)
        axes.grid(axis="y", alpha=0.25)
        axes.set_axisbelow(True)
    panels.flat[-1].set_axis_off()
    panels[0][0].legend(loc="upper left", bbox_to_anchor=(-0.02, 1.32), ncols=len(who), frameon=False)
    figure.tight_layout()
    return _save(figure, path)


def draw_all(results: Results, folder: pathlib.Path) -> set[str]:
    """Draws what was measured and returns the names of the files."""
    drawn = set()
    for draw, name in (
        (latency, "benchmarks-log-call.svg"),
        (collector, "benchmarks-collector.svg"),
        (converters, "benchmarks-converters.svg"),
    ):
        if draw(results, folder / name):
            drawn.add(name)
    return drawn
