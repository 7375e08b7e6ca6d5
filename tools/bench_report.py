"""Writes benchmarks.md and its pictures from what the benchmark programs measured.

The prose comes from a template; every @NAME@ in it stands for a table that is made here.
"""

import argparse
import datetime
import pathlib
import platform
import re

from bench_results import CALLS, DIRECTIONS, TEXTS, Results, logarithmic_bound, targets

NOTHING = "(not measured in this run)"


def table(header: list[str], rows: list[list[str]], left: int = 1) -> str:
    """Markdown; the first `left` columns are texts, the others numbers."""
    if not rows:
        return NOTHING
    rule = ["---"] * left + ["---:"] * (len(header) - left)
    return "\n".join("| " + " | ".join(row) + " |" for row in [header, rule, *rows])


def nanoseconds(value: float) -> str:
    return f"{value:,.0f}" if value >= 1000 else f"{value:.1f}"


def times(value: float) -> str:
    return f"{value:.2f} x"


def targets_table(results: Results) -> str:
    rows = [
        [
            target.name,
            target.wanted,
            target.measured,
            target.verdict if target.verdict == "met" else f"**{target.verdict}**",
        ]
        for target in targets(results)
    ]
    return table(["target", "wanted", "measured", ""], rows, left=4)


def _distribution(results: Results, name: str, kind: str = "call") -> list[str]:
    return [
        nanoseconds(results.extreme(name, f"{kind}_p0", min)),
        nanoseconds(results.median(name, f"{kind}_p50")),
        nanoseconds(results.median(name, f"{kind}_p99")),
        nanoseconds(results.extreme(name, f"{kind}_p100", max)),
        f"{100 * results.median(name, f'{kind}_set_aside'):.1f} %",
    ]


def log_calls(results: Results) -> str:
    rows = []
    for call, title in CALLS.items():
        name = f"log_call/{call}"
        if name in results:
            rows.append(
                [
                    title,
                    *_distribution(results, name),
                    nanoseconds(results.median(name, "floor_p50")),
                    times(results.ratio(name, "call_p50", "floor_p50")),
                ]
            )
    for call, title in (
        ("front_door", "one int, through `HSLog`"),
        ("disabled", "switched off"),
        ("filtered", "refused by the filter"),
        ("ten_values_of_any_types", "ten values whose types only the run tells"),
        ("ten_ints_among_much", "ten ints, in a source with much else to inline"),
    ):
        name = f"log_call/{call}"
        if name in results:
            rows.append([title, *_distribution(results, name), "", ""])
            if "floor_p50" in results.runs[name][0]:
                rows[-1][-2:] = [
                    nanoseconds(results.median(name, "floor_p50")),
                    times(results.ratio(name, "call_p50", "floor_p50")),
                ]
    return table(["call", "min", "median", "p99", "max", "set aside", "its floor", "to the floor"], rows)


def contended(results: Results) -> str:
    rows = []
    for name, title, beside, against in (
        ("log_call_drained/int_and_text", "while another processor drains the ring", "quiet", "the quiet call"),
        ("log_call_two_threads/int_and_text", "two threads at once", "floor", "the floor of two threads"),
    ):
        if name in results:
            rows.append(
                [
                    title,
                    *_distribution(results, name),
                    f"{against}: " + nanoseconds(results.median(name, f"{beside}_p50")),
                    times(results.ratio(name, "call_p50", f"{beside}_p50")),
                ]
            )
    return table(
        ["int and short text", "min", "median", "p99", "max", "set aside", "beside it, median", "ratio"], rows
    )


def peers(results: Results) -> str:
    own = "log_call/int_and_text"
    names = results.peers("log_call_peer/")
    if own not in results or not names:
        return NOTHING
    to_floor = {name: results.ratio(name, "call_p50", "floor_p50") for name in [own, *names]}
    rows = [
        [
            "fallcatch" if name == own else name.split("/", 1)[1],
            *_distribution(results, name),
            times(to_floor[name]),
            times(to_floor[name] / to_floor[own]),
        ]
        for name in [own, *names]
    ]
    header = ["logger", "min", "median", "p99", "max", "set aside", "to the floor", "to fallcatch"]
    return table(header, rows)


def collector(results: Results) -> str:
    costs = results.costs_by_contexts()
    lines = [
        (
            f"{n} context{'s' if n > 1 else ''}",
            name,
            logarithmic_bound(costs, n) if n > 2 and 2 in costs else None,
        )
        for n, name in results.contexts().items()
    ]
    lines += [(name.split("/", 1)[1], name, None) for name in results.peers("collector_peer/")]
    rows = []
    for title, name, bound in lines:
        cost = results.spread(name, "call_p50")
        rows.append(
            [
                title,
                f"{1e3 / cost.median:.2f}",
                *[nanoseconds(value) for value in (cost.low, cost.median, cost.high)],
                nanoseconds(results.at_one_clock_rate(name)),
                nanoseconds(bound) if bound else "",
            ]
        )
    header = ["lines made by", "million lines/s", "ns for a line: min", "median", "max", "at one clock rate"]
    return table([*header, "logarithmic bound"], rows)


def converters(results: Results) -> str:
    who = results.converters()
    others = [name for name in who if name != "kxpl"]
    rows = []
    for text in TEXTS:
        for direction in DIRECTIONS:
            own = results.gigabytes(direction, text, "kxpl")
            if own is None:
                continue
            speeds = [results.gigabytes(direction, text, name) for name in others]
            ratios = [results.times_as_quick(f"convert/{direction}/{text}/{name}") for name in others]
            rows.append(
                [
                    text,
                    direction,
                    f"{own.low:.2f}",
                    f"{own.median:.2f}",
                    f"{own.high:.2f}",
                    *[f"{speed.median:.2f}" if speed else "" for speed in speeds],
                    *[times(ratio) if ratio else "" for ratio in ratios],
                    times(results.ratio(f"convert/{direction}/{text}/kxpl", "memset_p50", "call_p50")),
                ]
            )
    return table(
        ["text", "direction", "kxpl: min", "median", "max", *others, *[f"to {name}" for name in others], "to memset"],
        rows,
        left=2,
    )


def plain_loop(results: Results) -> str:
    found = results.plain_loop()
    lengths = sorted({length for by_length in found.values() for length in by_length})
    rows = []
    for (build, direction), by_length in found.items():
        worst = min(by_length.values())
        rows.append(
            [
                build,
                direction,
                *[f"{by_length[length][0]:.2f}" if length in by_length else "" for length in lengths],
                f"{worst[0]:.2f}, {worst[1]}",
            ]
        )
    return table(["build", "direction", *[f"{length:,}" for length in lengths], "the worst"], rows, left=2)


def ring(results: Results) -> str:
    rows = []
    for what in ("48 bytes between threads", "4 bytes in and out", "8 bytes in and out"):
        for name in results.peers(f"ring/{what}/"):
            spread = results.spread(name, "call_p50")
            rows.append(
                [
                    what,
                    name.rsplit("/", 1)[1],
                    nanoseconds(spread.low),
                    nanoseconds(spread.median),
                    nanoseconds(spread.high),
                    "" if name.endswith("/kxpl") else times(1 / results.ratio(name, "call_p50", "own_p50")),
                ]
            )
    return table(["what", "queue", "ns: min", "median", "max", "the ring to it"], rows, left=2)


def presence(results: Results) -> str:
    rows = []
    for name, counter, title, form in (
        ("presence/idle", "percent_of_a_core", "idle collection thread, 64 contexts, % of a core", "{:.3f}"),
        ("presence/memory", "bytes_per_thread", "asked of malloc for a thread that logs, bytes", "{:,.0f}"),
        ("presence/memory", "bytes_beyond_the_ring", "of these beyond the ring's 262,144", "{:,.0f}"),
        ("presence/memory", "heap_bytes_per_thread", "as the C library rounds it, bytes", "{:,.0f}"),
    ):
        if name in results:
            spread = results.spread(name, counter)
            rows.append([title, *[form.format(value) for value in (spread.low, spread.median, spread.high)]])
    return table(["what", "min", "median", "max"], rows)


def machine(results: Results, compiler: str, constructors: str) -> str:
    cpu = re.search(r"^model name\s*:\s*(.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.MULTILINE)
    virtual = " hypervisor" in pathlib.Path("/proc/cpuinfo").read_text()
    repetitions = max((len(runs) for runs in results.runs.values()), default=0)
    rows = [
        ["date", datetime.datetime.now(datetime.UTC).date().isoformat()],
        [
            "processor",
            (cpu.group(1) if cpu else platform.machine()) + (", a virtual machine" if virtual else ""),
        ],
        ["cores", str(results.context.get("num_cpus", "?"))],
        [
            "load when it began",
            f"{results.context['load_avg'][0]:.1f}" if results.context.get("load_avg") else "?",
        ],
        ["kernel", f"{platform.system()} {platform.release()}"],
        ["compiler", compiler],
        ["repetitions", str(repetitions)],
        ["sources of kxpl with static constructors", constructors],
    ]
    return table(["", ""], rows, left=2)


def fill(template: str, results: Results, compiler: str = "?", constructors: str = "?") -> str:
    """The template with its tables; a name that is not known is an error."""
    makers = {
        "TARGETS": targets_table,
        "LOG_CALLS": log_calls,
        "CONTENDED": contended,
        "PEERS": peers,
        "COLLECTOR": collector,
        "CONVERTERS": converters,
        "PLAIN_LOOP": plain_loop,
        "RING": ring,
        "PRESENCE": presence,
        "MACHINE": lambda results: machine(results, compiler, constructors),
    }
    return re.sub(r"@([A-Z_]+)@", lambda match: makers[match.group(1)](results), template)


def without_pictures(text: str, but: set[str]) -> str:
    """The text without the pictures that this run has not made; `but` holds the names of those that it has."""
    return re.sub(
        r"!\[[^]]*\]\(([^)]*)\)\n\n", lambda match: match.group(0) if match.group(1) in but else "", text
    )


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("results", type=pathlib.Path, help="folder with the programs' JSON files")
    parser.add_argument("template", type=pathlib.Path)
    parser.add_argument("output", type=pathlib.Path, help="folder for benchmarks.md and the pictures")
    parser.add_argument("--compiler", default="?")
    parser.add_argument("--constructors", default="?")
    arguments = parser.parse_args()

    results = Results.load(arguments.results)
    arguments.output.mkdir(parents=True, exist_ok=True)
    text = fill(arguments.template.read_text(), results, arguments.compiler, arguments.constructors)
    import bench_plots  # only here: the tables need no plotting library

    text = without_pictures(text, but=bench_plots.draw_all(results, arguments.output))
    (arguments.output / "benchmarks.md").write_text(text)
    for target in targets(results):
        if target.verdict != "not measured":
            print(f"  {target.verdict:8}{target.name}: {target.measured}, wanted {target.wanted}")


if __name__ == "__main__":
    main()
