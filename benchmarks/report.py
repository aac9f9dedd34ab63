#!/usr/bin/env python3
"""Makes a table and a chart of ratios from the results of tools/benchmark.

report.py RESULTS DOCUMENTS [--quick]: RESULTS has one JSON file of Google Benchmark for each job. With
--quick the table goes to the standard output; else README.md and ratios.svg are written into DOCUMENTS,
whose reasons.txt has, for each job in which zukel is not the best, a line `Job: why`; `JobCold` and `JobNative`
for the rows of these variants.
"""

import glob
import json
import math
import os
import statistics
import sys
from xml.sax.saxutils import escape

PEERS = ["runtime", "system", "std", "boost", "glib", "libuv", "poco", "qt"]
NAMES = {"runtime": "APR", "system": "system calls", "std": "C/C++", "boost": "Boost",
         "glib": "GLib", "libuv": "libuv", "poco": "POCO", "qt": "Qt"}
LIBRARIES = PEERS[2:]  # the runtime and the system calls are what all of them stand on
LOST = 0.95  # a peer that takes less than this, as a part of what zukel takes, is better
UNITS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def read_results(folder):
    """For each case its samples by way, in nanoseconds or bytes; and the loads that were seen."""
    cases, loads, facts = {}, [], {}
    for path in glob.glob(os.path.join(folder, "*.json")):
        with open(path, encoding="utf-8") as file:
            result = json.load(file)
        facts = result["context"]
        loads.append(result["context"]["load_avg"][0])
        for run in result["benchmarks"]:
            if run["run_type"] != "iteration":
                continue
            if run.get("error_occurred"):
                sys.exit(f"{run['name']}: {run['error_message']}")
            job, way, *rest = run["run_name"].split("/")
            time = "real_time" if "real_time" in rest else "cpu_time"
            case = (job, *(part for part in rest if part not in ("real_time", "iterations:1")))
            samples = cases.setdefault(case, {}).setdefault(way, [])
            samples.append(max(0, run["bytes"]) if "bytes" in run else run[time] * UNITS[run["time_unit"]])
    return cases, loads, facts


def rows_of(case, ways):
    """The row of zukel, and those of its variants: zukelCold beside runtimeCold, where there is one, and
    beside the others as they are. Of several ways of one library (std.fstream, std.stdio) the best."""
    for ours in sorted(way for way in ways if way.startswith("zukel")):
        variant = ours[len("zukel"):]
        peers = {}
        for peer in PEERS:
            found = [samples for way, samples in ways.items() if way.split(".")[0] == peer + variant] or \
                    [samples for way, samples in ways.items() if way.split(".")[0] == peer]
            if found:
                peers[peer] = min(found, key=statistics.median)
        if peers:
            yield Row(case, variant, ways[ours], peers)


def spread(samples):
    """How far the middle half of the samples reaches from the median, in percent."""
    if len(samples) < 3:
        return 0.0
    low, middle, high = statistics.quantiles(samples, n=4, method="inclusive")
    return 100 * max(high - middle, middle - low) / middle if middle else 0.0


def time_text(nanoseconds):
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def ratio_text(ratio):
    return f"{ratio:.2f}" if ratio < 9.95 else f"{ratio:.0f}"


def bytes_text(count):
    return f"{count:,.0f}"


LABELS = {"DeleteTree": "{} directories", "StartUntilEnded": "caller of {} MiB", "ListNames": "{} names", "Segment": "{} bytes",
          "SegmentTouched": "{} bytes", "ReadBufferedBlocks": "{} bytes",
          "WriteBufferedBlocks": "{} bytes", "Counter": "{} at once", "GrowthBytes": "10,000 {}"}
VARIANTS = {"": "", "Cold": ", cold", "Native": ", native"}


def label(case, variant):
    job, *rest = case
    parts = ["on disk" if part == "disk" else LABELS.get(job, "{}").format(part.split(":")[-1]) for part in rest]
    return ", ".join([job, *parts]) + VARIANTS[variant]


def order(row):
    return [row.case[0], row.key, *(int(part) if part.isdigit() else part for part in row.case[1:])]


class Row:
    def __init__(self, case, variant, ours, peers):
        self.case = case
        self.key = case[0] + variant
        self.label = label(case, variant)
        self.bytes = case[0].endswith("Bytes")
        self.ours = statistics.median(ours)
        self.spread = max(spread(samples) for samples in [ours, *peers.values()])
        self.theirs = {peer: statistics.median(samples) for peer, samples in peers.items()}
        self.ratios = {peer: self.ratio(value) for peer, value in self.theirs.items()}
        self.best = min(self.ratios, key=self.ratios.get)
        self.lost = self.ratios[self.best] < LOST

    def ratio(self, value):
        if value == self.ours:
            return 1.0
        return value / self.ours if self.ours else math.inf

    def text(self, peer):
        return bytes_text(self.theirs[peer]) if self.bytes else ratio_text(self.ratios[peer])


def table(rows, peers):
    lines = ["| Job | zukel | " + " | ".join(NAMES[peer] for peer in peers) + " | spread |",
             "|-----|------:|" + "---:|" * len(peers) + "---:|"]
    for row in rows:
        cells = [row.text(peer) if peer in row.ratios else "" for peer in peers]
        cells = [f"**{cell}**" if cell and row.ratios[peer] < LOST else cell for peer, cell in zip(peers, cells)]
        lines.append(f"| {row.label} | {(bytes_text if row.bytes else time_text)(row.ours)} | " +
                     " | ".join(cells) + f" | {row.spread:.0f} % |")
    return "\n".join(lines)


def tables(rows, peers):
    """That of the times, and that of the bytes."""
    kinds = [[row for row in rows if row.bytes == kind] for kind in (False, True)]
    return [table(kind, peers) if kind else "" for kind in kinds]


def standing(rows):
    beside = [[row.ratios[peer] for peer in LIBRARIES if peer in row.ratios] for row in rows]
    beside = [ratios for ratios in beside if ratios]
    return (f"Of {len(rows)} rows zukel is the best, or within 5 % of the best, in "
            f"{sum(not row.lost for row in rows)}; of the {len(beside)} that another library can do as well, "
            f"beside these alone, in {sum(min(ratios) >= LOST for ratios in beside)}.")


STYLE = """
    text { font-family: "DejaVu Sans", Verdana, Helvetica, Arial, sans-serif; font-size: 13px; fill: #1f2328; }
    .end { text-anchor: end; }
    .middle { text-anchor: middle; }
    .small { font-size: 12px; fill: #57606a; }
    .grid { stroke: #d8dee4; stroke-width: 1; }
    .one { stroke: #1f2328; stroke-width: 1.6; }
    .band { fill: #f6f8fa; }
    .mark { stroke-width: 1.6; fill: none; }
    .runtime { stroke: #57606a; fill: #57606a; } .system { stroke: #1f2328; }
    .std { stroke: #0969da; } .boost { stroke: #bc4c00; fill: #bc4c00; } .glib { stroke: #8250df; }
    .poco { stroke: #1a7f37; fill: #1a7f37; } .qt { stroke: #cf222e; } .libuv { stroke: #9a6700; }
    @media (prefers-color-scheme: dark) {
      text { fill: #e6edf3; }
      .small { fill: #9ea7b3; }
      .grid { stroke: #30363d; }
      .one { stroke: #e6edf3; }
      .band { fill: #161b22; }
      .runtime { stroke: #9ea7b3; fill: #9ea7b3; } .system { stroke: #e6edf3; }
      .std { stroke: #4493f8; } .boost { stroke: #f0883e; fill: #f0883e; } .glib { stroke: #ab7df8; }
      .poco { stroke: #3fb950; fill: #3fb950; } .qt { stroke: #f85149; } .libuv { stroke: #d29922; }
    }"""
SHAPES = {"runtime": "M-4.5 0 A4.5 4.5 0 1 0 4.5 0 A4.5 4.5 0 1 0 -4.5 0z", "system": "M0 -6 V6",
          "std": "M-4.5 -4.5 H4.5 V4.5 H-4.5z", "boost": "M0 -5.5 L5.5 4 H-5.5z",
          "glib": "M0 -5.5 L5 0 L0 5.5 L-5 0z", "libuv": "M-5.5 0 H5.5 M0 -5.5 V5.5", "poco": "M0 5.5 L5.5 -4 H-5.5z",
          "qt": "M-4.5 -4.5 L4.5 4.5 M-4.5 4.5 L4.5 -4.5"}


def mark(peer, x, y, title=""):
    inside = f"<title>{escape(title)}</title>" if title else ""
    return f'  <path class="mark {peer}" transform="translate({x:.1f} {y:.1f})" d="{SHAPES[peer]}">{inside}</path>'


def chart(rows, peers):
    left, right, top, height, width = 262, 850, 92, 22, 880
    bottom = top + height * len(rows)
    values = [ratio for row in rows for ratio in row.ratios.values()]
    low = min(0.5, min(values) / 1.15)
    high = max(values) * 1.15

    def x(ratio):
        return left + (right - left) * math.log(ratio / low) / math.log(high / low)

    out = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {bottom + 54}" role="img" '
           'aria-labelledby="title description">',
           '  <title id="title">How long others take for the work that zukel does</title>',
           '  <desc id="description">For each job the time of each other way as a multiple of the time of '
           'zukel. To the right of the line at 1 the other one is slower.</desc>',
           f"  <style>{STYLE}\n  </style>"]
    step = (width - 40) / len(peers)
    for number, peer in enumerate(peers):
        out.append(mark(peer, 30 + step * number, 22))
        out.append(f'  <text x="{42 + step * number:.1f}" y="27">{NAMES[peer]}</text>')
    for number in range(0, len(rows), 2):
        out.append(f'  <rect class="band" x="10" y="{top + height * number}" width="{width - 20}" '
                   f'height="{height}"/>')
    for tick in (0.1, 0.2, 0.5, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000):
        if low <= tick <= high:
            out.append(f'  <path class="grid" d="M{x(tick):.1f} {top - 6} V{bottom + 6}"/>')
            for y in (top - 12, bottom + 22):
                out.append(f'  <text class="middle small" x="{x(tick):.1f}" y="{y}">{tick:g}</text>')
    out.append(f'  <path class="one" d="M{x(1):.1f} {top - 6} V{bottom + 6}"/>')
    for y in (top - 12, bottom + 22):
        out.append(f'  <text class="middle" x="{x(1):.1f}" y="{y}">1</text>')
    out.append(f'  <text class="end small" x="{x(1) - 8:.1f}" y="{top - 34}">faster than zukel</text>')
    out.append(f'  <text class="small" x="{x(1) + 8:.1f}" y="{top - 34}">takes so many times as long as zukel</text>')
    for number, row in enumerate(rows):
        y = top + height * (number + 0.5)
        out.append(f'  <text class="end" x="{left - 12}" y="{y + 4.5:.1f}">{escape(row.label)}</text>')
        for peer in peers:
            if peer in row.ratios:
                out.append(mark(peer, x(row.ratios[peer]), y,
                                f"{row.label}, {NAMES[peer]}: {ratio_text(row.ratios[peer])}"))
    out.append(f'  <text class="middle small" x="{(left + right) / 2}" y="{bottom + 44}">'
               "time of the other one divided by the time of zukel, logarithmic</text>")
    out.append("</svg>\n")
    return "\n".join(out)


def read_reasons(documents):
    reasons = {}
    path = os.path.join(documents, "reasons.txt")
    if os.path.exists(path):
        with open(path, encoding="utf-8") as file:
            for line in file:
                if ":" in line and not line.startswith("#"):
                    job, reason = line.split(":", 1)
                    reasons[job.strip()] = reason.strip()
    return reasons


def read_lines(folder, name):
    path = os.path.join(folder, name)
    if not os.path.exists(path):
        return []
    with open(path, encoding="utf-8") as file:
        return [line.strip() for line in file if line.strip()]


def better(rows, reasons):
    """The jobs in which somebody is better, each with its reason."""
    jobs = {}
    for row in rows:
        if row.lost:
            jobs.setdefault(row.key, []).append(row)
    lines = []
    for job, lost in jobs.items():
        shown = "; ".join(f"{NAMES[row.best]} {row.text(row.best)}" +
                          (f" in “{row.label}”" if len(row.case) > 1 else "") for row in lost)
        lines.append(f"- **{job}** ({shown}): {reasons.get(job, 'no reason is known yet.')}")
    return lines, [job for job in jobs if job not in reasons]


def document(rows, peers, loads, facts, rounds, folder, reasons):
    lines, without = better(rows, reasons)
    versions = ", ".join(read_lines(folder, "versions"))
    compiler = "; ".join(read_lines(folder, "compiler"))
    memory, disk = (read_lines(folder, "volumes") + ["unknown", "unknown"])[:2]
    times, sizes = tables(rows, peers)
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
“Spread” is how far the middle half of the rounds reaches from the median, for the way of the row in which
that is most. “APR” is the runtime called directly, with a pool for each operation; “system calls” do the
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

{chr(10).join(lines) if lines else "Nowhere."}
""", without


def main():
    folder, documents = sys.argv[1:3]
    quick = "--quick" in sys.argv[3:]
    cases, loads, facts = read_results(folder)
    rows = sorted((row for case, ways in cases.items() for row in rows_of(case, ways)), key=order)
    if not rows:
        sys.exit("report.py: nothing to compare")
    peers = [peer for peer in PEERS if any(peer in row.ratios for row in rows)]
    rounds = max(len(samples) for ways in cases.values() for samples in ways.values())
    if quick:
        print("\n\n".join(filter(None, tables(rows, peers))))
        print(f"\ntimes: that of the other one divided by that of zukel; rows in Bytes: bytes; load {max(loads):.1f}")
        print(standing(rows))
        return
    os.makedirs(documents, exist_ok=True)
    text, without = document(rows, peers, loads, facts, rounds, folder, read_reasons(documents))
    times = [row for row in rows if not row.bytes]
    for name, content in (("README.md", text), ("ratios.svg", chart(times, peers))):
        with open(os.path.join(documents, name), "w", encoding="utf-8") as file:
            file.write(content)
    print(f"docs/benchmarks: {standing(rows)}")
    if without:
        print("jobs without a reason in docs/benchmarks/reasons.txt: " + ", ".join(without))


main()
