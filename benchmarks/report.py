#!/usr/bin/env python3
"""Makes a table and a chart of ratios from the results of tools/benchmark.

report.py RESULTS DOCUMENTS [--quick]: RESULTS has one JSON file of Google Benchmark for each job. With
--quick the table goes to the standard output; else README.md and ratios.svg are written into DOCUMENTS,
whose reasons.txt has, for each job in which zukel is not the fastest, a line `Job: why`.
"""

import glob
import json
import math
import os
import statistics
import sys
from xml.sax.saxutils import escape

PEERS = ["runtime", "system", "std", "boost", "glib", "poco", "qt"]
NAMES = {"runtime": "APR", "system": "system calls", "std": "C++ library", "boost": "Boost",
         "glib": "GLib", "poco": "POCO", "qt": "Qt"}
LIBRARIES = PEERS[2:]  # the runtime and the system calls are what all of them stand on
LOST = 0.95  # a peer that takes less than this, as a part of zukel's time, is faster
UNITS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def read_results(folder):
    """For each case its samples by peer, in nanoseconds; and the loads that were seen."""
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
            parts = run["run_name"].split("/")
            job, peer = parts[0], parts[1]
            rest = [part for part in parts[2:] if part != "real_time"]
            time = "real_time" if "real_time" in parts else "cpu_time"
            samples = cases.setdefault((job, *rest), {}).setdefault(peer, [])
            samples.append(run[time] * UNITS[run["time_unit"]])
    return cases, loads, facts


def spread(samples):
    """How far the middle half of the samples reaches from the median, in percent."""
    if len(samples) < 3:
        return 0.0
    low, middle, high = statistics.quantiles(samples, n=4, method="inclusive")
    return 100 * max(high - middle, middle - low) / middle


def time_text(nanoseconds):
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def ratio_text(ratio):
    return f"{ratio:.2f}" if ratio < 9.95 else f"{ratio:.0f}"


def label(case):
    job, *rest = case
    if not rest:
        return job
    if job == "StartUntilEnded":
        return f"{job}, caller of {rest[0]} MiB"
    if job == "Counter":
        count = rest[0].split(':')[1]
        return f"{job}, {count} thread{'s' if count != '1' else ''}"
    if job == "Segment":
        return f"{job} of {rest[0]} bytes"
    return f"{job}, {', '.join(rest)}"


def order(case):
    return (case[0], [int(part.split(":")[-1]) for part in case[1:]])


class Row:
    def __init__(self, case, peers):
        self.case = case
        self.job = case[0]
        self.label = label(case)
        self.ours = statistics.median(peers["zukel"])
        self.spread = max(spread(peers[peer]) for peer in peers if peer in PEERS or peer == "zukel")
        self.ratios = {peer: statistics.median(samples) / self.ours
                       for peer, samples in peers.items() if peer in PEERS}
        self.best = min(self.ratios, key=self.ratios.get)
        self.lost = self.ratios[self.best] < LOST


def table(rows, peers):
    lines = ["| Job | zukel | " + " | ".join(NAMES[peer] for peer in peers) + " | spread |",
             "|-----|------:|" + "---:|" * len(peers) + "---:|"]
    for row in rows:
        cells = []
        for peer in peers:
            if peer not in row.ratios:
                cells.append("")
            else:
                text = ratio_text(row.ratios[peer])
                cells.append(f"**{text}**" if row.ratios[peer] < LOST else text)
        lines.append(f"| {row.label} | {time_text(row.ours)} | " + " | ".join(cells) +
                     f" | {row.spread:.0f} % |")
    return "\n".join(lines)


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
    .poco { stroke: #1a7f37; fill: #1a7f37; } .qt { stroke: #cf222e; }
    @media (prefers-color-scheme: dark) {
      text { fill: #e6edf3; }
      .small { fill: #9ea7b3; }
      .grid { stroke: #30363d; }
      .one { stroke: #e6edf3; }
      .band { fill: #161b22; }
      .runtime { stroke: #9ea7b3; fill: #9ea7b3; } .system { stroke: #e6edf3; }
      .std { stroke: #4493f8; } .boost { stroke: #f0883e; fill: #f0883e; } .glib { stroke: #ab7df8; }
      .poco { stroke: #3fb950; fill: #3fb950; } .qt { stroke: #f85149; }
    }"""
SHAPES = {"runtime": "M-4.5 0 A4.5 4.5 0 1 0 4.5 0 A4.5 4.5 0 1 0 -4.5 0z", "system": "M0 -6 V6",
          "std": "M-4.5 -4.5 H4.5 V4.5 H-4.5z", "boost": "M0 -5.5 L5.5 4 H-5.5z",
          "glib": "M0 -5.5 L5 0 L0 5.5 L-5 0z", "poco": "M0 5.5 L5.5 -4 H-5.5z",
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


def slower(rows, reasons):
    """The jobs in which somebody is faster, each with its reason."""
    lines, without = [], []
    jobs = {}
    for row in rows:
        if row.lost:
            jobs.setdefault(row.job, []).append(row)
    for job, lost in jobs.items():
        shown = "; ".join(f"{NAMES[row.best]} {ratio_text(row.ratios[row.best])} in “{row.label}”"
                          if len(row.case) > 1 else
                          f"{NAMES[row.best]} {ratio_text(row.ratios[row.best])}" for row in lost)
        if job not in reasons:
            without.append(job)
        lines.append(f"- **{job}** ({shown}): {reasons.get(job, 'no reason is known yet.')}")
    return lines, without


def document(rows, peers, loads, facts, rounds, folder, reasons):
    lines, without = slower(rows, reasons)
    won = sum(1 for row in rows if not row.lost)
    beside = [[row.ratios[peer] for peer in LIBRARIES if peer in row.ratios] for row in rows]
    beside = [ratios for ratios in beside if ratios]
    ahead = sum(1 for ratios in beside if min(ratios) >= LOST)
    versions = ", ".join(read_lines(folder, "versions"))
    compiler = "; ".join(read_lines(folder, "compiler"))
    volume = "".join(read_lines(folder, "volume"))
    return f"""# Figures

Made by `./tools/benchmark`; not written by hand, but for the reasons in `docs/benchmarks/reasons.txt`.

![Time of each other way as a multiple of the time of zukel](ratios.svg)

Each cell says how many times as long the other one takes as zukel for the same work: above 1 zukel is
faster. **Bold** is a cell in which the other one takes less than {LOST} of the time. An empty cell: that one
has no way to do the job, or none that is comparable. Of {len(rows)} rows zukel is the fastest, or within 5 % of
the fastest, in {won}; of the {len(beside)} that another library can do as well, beside these alone, in {ahead}.

{table(rows, peers)}

The times are medians of {rounds} rounds; in each round all the ways of a job run in random order. They are
processor time, but for `StartUntilEnded` and `Counter`, which are time on the clock. “Spread” is how far
the middle half of the rounds reaches from the median, for the way of the row in which that is most. “APR” is
the runtime called directly, with a pool for each operation as the library needs one; “system calls” do the
least that the system offers, without any of the promises of the library. The files are on a volume of the
kind {volume}.

Measured on {facts.get("num_cpus")} processors at {facts.get("mhz_per_cpu")} MHz, with a load of {min(loads):.1f} to {max(loads):.1f} on the machine, the benchmarks'
own included. {compiler}. {versions}.

## Where somebody is faster

{chr(10).join(lines) if lines else "Nowhere."}
""", without


def main():
    folder, documents = sys.argv[1:3]
    quick = "--quick" in sys.argv[3:]
    cases, loads, facts = read_results(folder)
    rows = [Row(case, peers) for case, peers in sorted(cases.items(), key=lambda item: order(item[0]))
            if "zukel" in peers and any(peer in PEERS for peer in peers)]
    if not rows:
        sys.exit("report.py: nothing to compare")
    peers = [peer for peer in PEERS if any(peer in row.ratios for row in rows)]
    rounds = max(len(samples) for by_peer in cases.values() for samples in by_peer.values())
    if quick:
        print(table(rows, peers))
        print(f"\nratios: time of the other one divided by that of zukel; load {max(loads):.1f}")
        return
    os.makedirs(documents, exist_ok=True)
    text, without = document(rows, peers, loads, facts, rounds, folder, read_reasons(documents))
    for name, content in (("README.md", text), ("ratios.svg", chart(rows, peers))):
        with open(os.path.join(documents, name), "w", encoding="utf-8") as file:
            file.write(content)
    print(f"docs/benchmarks: {len(rows)} rows, {sum(row.lost for row in rows)} of them with somebody faster")
    if without:
        print("jobs without a reason in docs/benchmarks/reasons.txt: " + ", ".join(without))


main()
