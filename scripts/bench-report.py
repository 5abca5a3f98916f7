#!/usr/bin/env python3
"""Turns what the benchmarks measured into docs/performance.md, or compares their results with those committed.

usage: bench-report.py write FOLDER    docs/performance.md and its plots, of FOLDER/<benchmark>.json
       bench-report.py check FOLDER    fails where a result is not that of benchmarks/results.txt
       bench-report.py accept FOLDER   writes benchmarks/results.txt

Which line stands beside which peer, what is wanted of it and why it is missed stands in benchmarks/lines.json.
"""

import json
import math
import os
import platform
import re
import statistics
import subprocess
import sys
from html import escape

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
RESULTS = os.path.join(ROOT, "benchmarks", "results.txt")
NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
# Narrow to wide; each answers alike, so results are compared under one name.
SETS = ["scalar", "SSE2", "AVX2", "AVX-512"]
ANY_SET = re.compile(r"(?<=/)(scalar|SSE2|AVX2|AVX-?512\w*)(?=/|$)", re.IGNORECASE)


class Figure:
    """What one benchmark measured: nanoseconds of each repetition, items of one, its result and counters."""

    def __init__(self):
        self.times = []
        self.items = None
        self.label = ""
        self.counters = {}

    def median(self):
        return statistics.median(self.times)

    def least(self):
        return min(self.times)


def read_figures(folder):
    """Figures by program and name, and the machine's description by the first file."""
    programs, context = {}, None
    for file in sorted(os.listdir(folder)):
        if not file.endswith(".json"):
            continue
        with open(os.path.join(folder, file), encoding="utf-8") as text:
            content = json.load(text)
        context = context or content["context"]
        figures = programs.setdefault(file[: -len(".json")], {})
        for run in content["benchmarks"]:
            if run.get("error_occurred"):
                sys.exit(f"{file}: {run['name']}: {run.get('error_message', 'failed')}")
            if run["run_type"] != "iteration":
                continue
            name = re.sub(r"/repeats:\d+", "", run["run_name"])
            figure = figures.setdefault(name, Figure())
            clock = "real_time" if name.endswith("/real_time") else "cpu_time"
            nanoseconds = run[clock] * NANOSECONDS[run["time_unit"]]
            figure.times.append(nanoseconds)
            figure.label = run.get("label", "")
            figure.counters = run
            if run.get("items_per_second"):
                figure.items = round(run["items_per_second"] * nanoseconds * 1e-9)
    return programs, context


# ---- Results


def describe_results(programs):
    """Lines "program name: result", the same for all instruction sets; two answers to one name are an error."""
    lines = {}
    for program, figures in programs.items():
        for name, figure in figures.items():
            if not figure.label or "DearImGui" in name:  # whose quads are another library's affair
                continue
            name = ANY_SET.sub("*", name)
            key = f"{program} {name}"
            if lines.setdefault(key, figure.label) != figure.label:
                sys.exit(f"{key}: {figure.label} with one instruction set, {lines[key]} with another")
    return "".join(f"{key}: {label}\n" for key, label in sorted(lines.items()))


def check_results(programs):
    now = describe_results(programs)
    with open(RESULTS, encoding="utf-8") as text:
        wanted = [line for line in text.read().splitlines() if line.split()[0] in programs]
    wrong = sorted(set(now.splitlines()) ^ set(wanted))
    for line in wrong:
        print(("missing: " if line in wanted else "now:     ") + line)
    if wrong:
        sys.exit("The results of the benchmarks are not those of benchmarks/results.txt.")
    print(f"{sum(map(len, programs.values()))} benchmarks run, {len(wanted)} results are as before")


# ---- Lines


class Line:
    """One line of the table."""

    def __init__(self, line, figures, widest):
        def find(name):
            return figures[name.replace("{set}", widest)]

        ours, peers = find(line["ours"]), line.get("peer", [])
        peers = [find(name) for name in ([peers] if isinstance(peers, str) else peers)]
        # Of one item where both sides count alike, else of all.
        alike = ours.items is not None and all(peer.items == ours.items for peer in peers)
        items = ours.items if alike else 1.0

        def values(pick):
            if "counter" in line:
                return ours.counters[line["counter"]], sum(peer.counters[line["counter"]] for peer in peers)
            return pick(ours) / items, sum(map(pick, peers)) / items

        self.name = line["name"]
        self.peer_name = line.get("peer_name", "")
        self.is_floor = line.get("is_floor", False)
        self.is_count = "counter" in line
        self.why = line.get("why", "")
        self.ours, self.peer = values(Figure.median)
        self.least_ours, self.least_peer = values(Figure.least)
        self.ratio = self.ours / self.peer if self.peer else None
        self.least_ratio = self.least_ours / self.least_peer if self.least_peer else None
        self.wanted = line.get("wanted")
        self.wanted_ns = line.get("wanted_ns")
        if self.wanted is not None:
            self.is_missed = self.ratio > self.wanted
        elif self.wanted_ns is not None:
            self.is_missed = self.ours > self.wanted_ns
        else:
            self.is_missed = False
        # Slower than somebody who does the same; nobody is faster than a floor.
        self.is_lost = self.is_missed or (bool(self.ratio) and self.ratio > 1 and not self.is_floor and self.wanted is None)

    def format(self, value):
        if self.is_count:
            return f"{value:,.0f}"
        for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
            if value >= size:
                return f"{significant(value / size)} {unit}"
        return f"{significant(value)} ns"

    def row(self):
        limit = significant(self.wanted) if self.wanted is not None else ""
        if self.wanted_ns is not None:
            limit = self.format(self.wanted_ns)
        peer = f"{self.format(self.peer)} ({self.format(self.least_peer)})" if self.peer else ""
        ratio = f"{significant(self.ratio)} ({significant(self.least_ratio)})" if self.ratio else ""
        kind = "floor: " if self.is_floor else ""
        ours = f"{self.format(self.ours)} ({self.format(self.least_ours)})"
        cells = [self.name, ours, peer, kind + self.peer_name, f"**{ratio}**" if self.is_lost and ratio else ratio, limit]
        return "| " + " | ".join(cells) + " |"


def significant(value):
    """Three digits, without exponents or needless zeros."""
    if value >= 100:
        return f"{value:.0f}"
    if value == 0:
        return "0"
    return f"{value:.{max(0, 2 - math.floor(math.log10(value)))}f}".rstrip("0").rstrip(".")


def widest_set(figures):
    found = {match.group(1).lower() for name in figures for match in ANY_SET.finditer(name)}
    names = {match.group(1).lower(): match.group(1) for name in figures for match in ANY_SET.finditer(name)}
    best = [name for name in (entry.lower() for entry in SETS) if name in found]
    return names[best[-1]] if best else ""


# ---- Plots


def plot(title, lines):
    """Bars of ratios on a logarithmic scale: left of 1 is faster than the peer; a tick shows what is wanted."""
    left, width, row, top = 350, 420, 26, 48
    ratios = [line.ratio for line in lines] + [line.wanted for line in lines if line.wanted] + [1.0]
    low = math.floor(math.log10(min(ratios)))
    high = max(math.ceil(math.log10(max(ratios) * 1.05)), low + 1)

    def x(ratio):
        return left + width * (math.log10(ratio) - low) / (high - low)

    height = top + row * len(lines) + 30
    out = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + width + 80}" height="{height}" '
        'font-family="sans-serif" font-size="12">',
        '<rect width="100%" height="100%" fill="#fff"/>',
        f'<text x="12" y="22" font-size="15" font-weight="bold">{escape(title)}</text>',
        f'<text x="{left}" y="38" fill="#666">ours / peer, logarithmic; less is better; | is what is wanted</text>',
    ]
    bottom = top + row * len(lines)
    for power in range(low, high + 1):
        at = x(10.0**power)
        out.append(f'<line x1="{at:.1f}" y1="{top}" x2="{at:.1f}" y2="{bottom}" stroke="#ddd"/>')
        label = f"{10.0 ** power:.10f}".rstrip("0").rstrip(".")
        out.append(f'<text x="{at:.1f}" y="{bottom + 16}" text-anchor="middle" fill="#666">{label}</text>')
    for i, line in enumerate(lines):
        y = top + row * i + 5
        start, end = sorted((x(1.0), x(line.ratio)))
        color = "#c0392b" if line.is_lost else "#2e7d6b" if line.ratio <= 1 else "#7fb3a6"
        out.append(f'<text x="{left - 8}" y="{y + 12}" text-anchor="end">{escape(line.name)}</text>')
        out.append(f'<rect x="{start:.1f}" y="{y}" width="{max(end - start, 1):.1f}" height="16" fill="{color}"/>')
        if line.wanted:
            at = x(line.wanted)
            out.append(f'<line x1="{at:.1f}" y1="{y - 3}" x2="{at:.1f}" y2="{y + 19}" stroke="#000" stroke-width="2"/>')
        out.append(f'<text x="{left + width + 8}" y="{y + 12}">{significant(line.ratio)}</text>')
    out.append(f'<line x1="{x(1.0):.1f}" y1="{top}" x2="{x(1.0):.1f}" y2="{bottom}" stroke="#444"/>')
    out.append("</svg>")
    return "\n".join(out) + "\n"


# ---- The page


def first_line_of(command):
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout.splitlines()[0]
    except (OSError, subprocess.CalledProcessError, IndexError):
        return ""


def describe_machine(context):
    processor, system = platform.machine(), platform.system()
    if os.path.exists("/proc/cpuinfo"):
        with open("/proc/cpuinfo", encoding="utf-8") as text:
            processor = next((line.split(":")[1].strip() for line in text if line.startswith("model name")), processor)
    if os.path.exists("/etc/os-release"):
        with open("/etc/os-release", encoding="utf-8") as text:
            system = dict(line.strip().split("=", 1) for line in text if "=" in line).get("PRETTY_NAME", system).strip('"')
    caches = ", ".join(
        f"L{cache['level']} {cache['size'] // 1024} KiB" for cache in context["caches"] if cache["type"] != "Instruction"
    )
    load = context.get("load_avg") or [0.0]
    return (
        f"{processor}, {context['num_cpus']} cores in use, caches {caches}; {system}; "
        f"{first_line_of([os.environ.get('CXX', 'g++'), '--version'])}; load when it began {load[0]:.1f}"
    )


HEAD = """# Performance

Written by `scripts/bench.sh`, not by hand. Which benchmark stands beside which peer, what is wanted of it, and why it is
missed where it is, stands in `benchmarks/lines.json`.

A figure is the median of {repetitions} runs and, in brackets, the least; a ratio is ours through the peer's, of medians and in
brackets of the least. Times are of one item (an entity, a box, a query) where both sides count alike, else of all of them. A
*floor* is work that nobody can do without, such as copying the bytes; other peers do the same as we do. Ratios in bold are
where we lose: more than is wanted, or slower than a peer where nothing is said.

Machine: {machine}. {date}.
"""


def write_page(programs, context):
    with open(os.path.join(ROOT, "benchmarks", "lines.json"), encoding="utf-8") as text:
        groups = json.load(text)["groups"]
    repetitions = max(len(figure.times) for figures in programs.values() for figure in figures.values())
    head = HEAD.format(repetitions=repetitions, machine=describe_machine(context), date=context["date"][:10])
    body, lost, images = "", [], os.path.join(ROOT, "docs", "images")
    for group in groups:
        lines = []
        for entry in group["lines"]:
            figures = programs.get(entry.get("program", group["program"]))
            if figures is None:
                print(f"not measured: {group['title']}: {entry['name']}", file=sys.stderr)
                continue
            try:
                lines.append(Line(entry, figures, widest_set(figures)))
            except KeyError as name:
                sys.exit(f"{group['title']}: {entry['name']}: there is no benchmark or counter {name}")
        if not lines:
            continue
        image = "performance-" + re.sub(r"[^a-z0-9]+", "-", group["title"].lower()) + ".svg"
        compared = [line for line in lines if line.ratio]
        with open(os.path.join(images, image), "w", encoding="utf-8") as text:
            text.write(plot(group["title"], compared))
        body += f"\n## {group['title']}\n\n{group['about']}\n\n"
        body += "| | ours | peer or floor | which | ours / peer | wanted |\n|---|---|---|---|---|---|\n"
        body += "\n".join(line.row() for line in lines) + "\n"
        body += f"\n![{group['title']}: ratios](images/{image})\n"
        lost += [(group["title"], line) for line in lines if line.is_lost]
    head += "\n## Where we lose, and why\n\n"
    for title, line in lost:
        much = significant(line.ratio) if line.ratio and line.wanted_ns is None else line.format(line.ours)
        limit = line.wanted_ns and line.format(line.wanted_ns) or line.wanted and significant(line.wanted)
        wanted = f", wanted {limit}" if limit else ""
        head += f"- {title}, {line.name}: {much}{wanted}. {line.why or 'Not explained yet.'}\n"
    if not lost:
        head += "Nowhere, on this machine.\n"
    with open(os.path.join(ROOT, "docs", "performance.md"), "w", encoding="utf-8") as text:
        text.write(head + body)
    print(f"docs/performance.md: {body.count('![')} groups, {len(lost)} lines lost")


def main():
    if len(sys.argv) != 3 or sys.argv[1] not in ("write", "check", "accept"):
        sys.exit(__doc__)
    programs, context = read_figures(sys.argv[2])
    if sys.argv[1] == "write":
        write_page(programs, context)
    elif sys.argv[1] == "check":
        check_results(programs)
    else:
        with open(RESULTS, "w", encoding="utf-8") as text:
            text.write(describe_results(programs))


if __name__ == "__main__":
    main()
