#!/usr/bin/python3
"""Makes tables and a chart of ratios from the results of tools/benchmark.

report.py RESULTS DOCUMENTS [--quick]: RESULTS has one JSON file of Google Benchmark for each job, with its
medians. With --quick the tables go to the standard output; else README.md and ratios.svg are written into
DOCUMENTS, whose reasons.txt has, for each job in which zukel is not the best, a line `Job: why`; `JobCold` and
`JobNative` for the rows of these variants.
"""

import json
import math
import sys
from pathlib import Path

import matplotlib.pyplot as plt

# Each way with the mark of the chart; the first two are what all libraries stand on.
PEERS = {"apr": ("APR", "o"), "system": ("system calls", "|"), "std": ("C/C++", "s"), "boost": ("Boost", "^"),
         "glib": ("GLib", "D"), "libuv": ("libuv", "+"), "poco": ("POCO", "v"), "qt": ("Qt", "x")}
LIBRARIES = list(PEERS)[2:]
LOST = 0.95  # a peer that takes less than this, as a part of what zukel takes, is better
UNITS = {"s": 1e9, "ms": 1e6, "us": 1e3, "ns": 1.0}
LABELS = {"DeleteTree": "{} directories", "StartUntilEnded": "caller of {} MiB", "ListNames": "{} names",
          "Segment": "{} bytes", "SegmentTouched": "{} bytes", "ReadBufferedBlocks": "{} bytes",
          "WriteBufferedBlocks": "{} bytes", "Counter": "{} at once", "GrowthBytes": "10,000 {}", "disk": "on disk"}


def read_results(folder):
    """For each case the median and the spread of each way, in nanoseconds or bytes; and what was measured where."""
    cases, contexts = {}, []
    for path in folder.glob("*.json"):
        result = json.loads(path.read_text())
        contexts.append(result["context"])
        for run in result["benchmarks"]:
            if run.get("error_occurred"):
                sys.exit(f"{run['name']}: {run['error_message']}")
            if run.get("aggregate_name") not in ("median", "cv"):
                continue
            job, way, *rest = run["run_name"].split("/")
            time = run["real_time" if "real_time" in rest else "cpu_time"]
            case = job, *(part for part in rest if part not in ("real_time", "iterations:1"))
            found = cases.setdefault(case, {}).setdefault(way, {"rounds": run["repetitions"]})
            found[run["aggregate_name"]] = run.get("bytes", time) * (
                UNITS[run["time_unit"]] if run["aggregate_name"] == "median" and "bytes" not in run else 1)
    return cases, contexts


def text_of_time(nanoseconds):
    unit = next((unit for unit, factor in UNITS.items() if nanoseconds >= factor), "ns")
    return f"{nanoseconds / UNITS[unit]:.3g} {unit.replace('u', 'µ')}"


class Row:
    """A case by zukel, or by a variant of it (zukelCold), and by the others: their same variant, or as they are."""

    def __init__(self, case, ways, ours):
        job, *rest = case
        variant = ours[len("zukel"):]
        self.case, self.key, self.bytes = case, job + variant, job.endswith("Bytes")
        parts = [LABELS.get(part, LABELS.get(job, "{}")).format(part.split(":")[-1]) for part in rest]
        self.label = ", ".join([job, *parts] + ([variant.lower()] if variant else []))
        used = {"zukel": ways[ours]}
        for peer in PEERS:
            found = [result for way, result in ways.items() if way.split(".")[0] == peer + variant] or \
                    [result for way, result in ways.items() if way.split(".")[0] == peer]
            if found:  # of several ways of one library (std.fstream, std.stdio) the best
                used[peer] = min(found, key=lambda result: result["median"])
        self.values = {peer: max(0, result["median"]) for peer, result in used.items()}
        self.spread = max(result.get("cv", 0) if result["median"] > 0 else 0 for result in used.values())
        mine = self.values.pop("zukel")
        self.ours = f"{mine:,.0f}" if self.bytes else text_of_time(mine)
        self.ratios = {peer: 1.0 if value == mine else value / mine if mine else math.inf
                       for peer, value in self.values.items()}
        self.best = min(self.ratios, key=self.ratios.get, default=None)
        self.lost = any(ratio < LOST for ratio in self.ratios.values())

    def order(self):
        return [self.case[0], self.key, *(int(part) if part.isdigit() else part for part in self.case[1:])]

    def text(self, peer):
        if self.bytes:
            return f"{self.values[peer]:,.0f}"
        return f"{self.ratios[peer]:.{2 if self.ratios[peer] < 9.95 else 0}f}"

    def cell(self, peer):
        if peer not in self.ratios:
            return ""
        return f"**{self.text(peer)}**" if self.ratios[peer] < LOST else self.text(peer)


def table(rows, peers):
    lines = ["| Job | zukel | " + " | ".join(PEERS[peer][0] for peer in peers) + " | spread |",
             "|-----|------:|" + "---:|" * len(peers) + "---:|"]
    for row in rows:
        lines.append("| " + " | ".join([row.label, row.ours, *map(row.cell, peers), f"{100 * row.spread:.0f} % |"]))
    return "\n".join(lines)


def standing(rows):
    beside = [min(ratios) for row in rows if (ratios := [row.ratios[peer] for peer in LIBRARIES if peer in row.ratios])]
    return (f"Of {len(rows)} rows zukel is the best, or within 5 % of the best, in "
            f"{sum(not row.lost for row in rows)}; of the {len(beside)} that another library can do as well, "
            f"beside these alone, in {sum(best >= LOST for best in beside)}.")


def draw_chart(rows, peers, path):
    plt.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "zukel"})
    figure, axes = plt.subplots(figsize=(10, 1.5 + 0.24 * len(rows)), layout="constrained")
    for peer in peers:
        name, mark = PEERS[peer]
        points = [(row.ratios[peer], number) for number, row in enumerate(rows) if peer in row.ratios]
        axes.plot(*zip(*points), mark, markersize=6, label=name)
    axes.axvline(1, color="black")
    axes.set(xscale="log", ylim=(len(rows) - 0.5, -0.5), yticks=range(len(rows)),
             yticklabels=[row.label for row in rows],
             xlabel="time of the other one divided by the time of zukel, logarithmic: left of 1 it is faster")
    axes.xaxis.set_major_formatter("{x:g}")
    axes.grid(alpha=0.4)
    axes.tick_params(labeltop=True)
    axes.legend(loc="lower center", bbox_to_anchor=(0.4, 1.02), ncols=len(peers))
    figure.savefig(path, metadata={"Date": None})


def read_lines(path):
    return [line.strip() for line in path.read_text().splitlines() if line.strip()] if path.exists() else []


def better(rows, reasons):
    """The jobs in which somebody is better, each with its reason."""
    jobs = {}
    for row in filter(lambda row: row.lost, rows):
        where = f" in “{row.label}”" if len(row.case) > 1 else ""
        jobs.setdefault(row.key, []).append(f"{PEERS[row.best][0]} {row.text(row.best)}{where}")
    lines = [f"- **{job}** ({'; '.join(shown)}): {reasons.get(job, 'no reason is known yet.')}"
             for job, shown in jobs.items()]
    return "\n".join(lines) or "Nowhere.", [job for job in jobs if job not in reasons]


def document(rows, peers, contexts, rounds, folder, better_ones):
    facts, loads = contexts[-1], [context["load_avg"][0] for context in contexts]
    versions, compiler = (", ".join(read_lines(folder / name)) for name in ("versions", "compiler"))
    memory, disk = (read_lines(folder / "volumes") + ["unknown", "unknown"])[:2]
    times, sizes = (table([row for row in rows if row.bytes == kind], peers) for kind in (False, True))
    return f"""# Figures

Made by `./tools/benchmark`; not written by hand, but for the reasons in `docs/benchmarks/reasons.txt`.

![Time of each other way as a multiple of the time of zukel](ratios.svg)

{standing(rows)}

## Times

Each cell says how many times as long the other one takes as zukel for the same work: above 1 zukel is
faster. **Bold** is a cell in which the other one takes less than {LOST} of the time. An empty cell: that one
has no way to do the job, or none that is comparable.

{times}

The times are medians of {rounds} rounds; in each round all the ways of a job run in random order. They are
processor time, but for `StartUntilEnded`, `Run`, `ReplaceWhole`, `Counter` and `LevelDBFill`, which are
time on the clock.
“Spread” is the standard deviation of the rounds, in percent of their mean, for the way of the row in which
that is most. “APR” calls APR directly, with a pool for each operation; “system calls” do the
least that the system offers, without any of the promises of the library. “Cold” is with no `kelLibrary`
alive; the `LevelDB` rows are a database on this library's files (`examples/leveldbenv.cpp`), beside one on
LevelDB's own, which calls the system; “native” are `NativeCopy` and `NativeRename`, beside the others' same calls. The files are on {memory},
those “on disk” on {disk}, where what is written is a new file, but for “replaced”, over an
older one. Boost, POCO and Qt let their copy go to the disk before they return, which takes them longer by the clock than is told here.

## Memory

All cells are bytes: an `IdleBytes` row has what one object takes that has nothing to do, itself included, of
10,000, beside the object of the other one that is nearest; a `GrowthBytes` row what one object has taken more
after it was used 10,000 times.

{sizes}

Measured on {facts.get("num_cpus")} processors at {facts.get("mhz_per_cpu")} MHz, with a load of {min(loads):.1f} to {max(loads):.1f} on the machine, the benchmarks'
own included. {compiler}. {versions}.

## Where somebody is better

{better_ones}
"""


def main():
    folder, documents = map(Path, sys.argv[1:3])
    cases, contexts = read_results(folder)
    rows = [Row(case, ways, ours) for case, ways in cases.items() for ours in ways if ours.startswith("zukel")]
    rows = sorted((row for row in rows if row.ratios), key=Row.order)
    if not rows:
        sys.exit("report.py: nothing to compare")
    peers = [peer for peer in PEERS if any(peer in row.ratios for row in rows)]
    times = [row for row in rows if not row.bytes]
    if "--quick" in sys.argv:
        sizes = [row for row in rows if row.bytes]
        print(*(table(some, peers) for some in (times, sizes) if some), sep="\n\n")
        print("\ntimes: that of the other one divided by that of zukel; rows in Bytes: bytes\n" + standing(rows))
        return
    reasons = dict(line.split(": ", 1) for line in read_lines(documents / "reasons.txt") if line[0] != "#")
    better_ones, without = better(rows, reasons)
    rounds = max(way["rounds"] for ways in cases.values() for way in ways.values())
    (documents / "README.md").write_text(document(rows, peers, contexts, rounds, folder, better_ones))
    draw_chart(times, peers, documents / "ratios.svg")
    print(f"docs/benchmarks: {standing(rows)}")
    if without:
        print("jobs without a reason in docs/benchmarks/reasons.txt: " + ", ".join(without))


main()
