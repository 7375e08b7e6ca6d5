#!/usr/bin/env python3
"""The picture of a fleet that crashes while its collector is down, from what fleet_simulation prints."""

import csv
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as pyplot  # noqa: E402

matplotlib.rcParams.update(
    {
        "svg.hashsalt": "fallcatch",  # the same picture gives the same file
        "svg.fonttype": "none",
        "axes.spines.top": False,
        "axes.spines.right": False,
    }
)
LINES = [
    ("without", "#c0504d", "a try at every start and every minute"),
    ("together", "#d98c26", "1, 2, 4 ... minutes, all alike"),
    ("apart", "#1f5fa8", "the same with jitter: the senders of fallcatch"),
]


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: fleet_plot.py CSV SVG")
    with open(sys.argv[1], newline="", encoding="utf-8") as file:
        rows = list(csv.DictReader(file))
    hours = [int(row["minute"]) / 60 for row in rows]
    figure, axes = pyplot.subplots(figsize=(9, 4.2))
    axes.axvspan(0, 6, color="#f0f0f0")
    axes.text(0.2, 28000, "the collector is down", va="top")
    for name, colour, label in LINES:
        axes.plot(hours, [float(row[name]) for row in rows], color=colour, label=label, linewidth=1)
    axes.axhline(float(rows[0]["capacity"]), color="#8a8a8a", linestyle="--", linewidth=1, label="what it takes")
    axes.set_yscale("log")
    axes.set_ylim(1, 40000)
    axes.set_xlim(0, 20)
    axes.set_xlabel("hours after the release that crashes at every start")
    axes.set_ylabel("posts a second, 1,000,000 hosts")
    axes.legend(loc="upper right", frameon=False)
    figure.savefig(sys.argv[2], metadata={"Date": None}, facecolor="white", bbox_inches="tight")


main()
