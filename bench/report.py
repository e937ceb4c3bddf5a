#!/usr/bin/env python3
"""Runs the benchmark program, prints its table, and writes docs/performance.md and its plots.

    bench/report.py build/bench/bench/tqamsg_bench            ten minutes, writes to docs/
    bench/report.py --quick PROGRAM                           one minute, writes beside the program
"""
import argparse
import json
import math
import statistics
import subprocess
import sys
from dataclasses import dataclass
from pathlib import Path
from typing import Optional

REPETITIONS = 5
# Of the repetitions, how far apart may the fastest and the slowest be, in parts of the median.
STEADY = 0.2


@dataclass
class Row:
    """Our time divided by the yardstick's; `must` and `goal` are the most that it may be."""
    label: str
    ours: str
    yardstick: str
    must: Optional[float] = None
    goal: Optional[float] = None


@dataclass
class Growth:
    """The time of `more` divided by that of `base`, both ours; per element if `per_element`."""
    label: str
    more: str
    base: str
    must: Optional[float] = None
    per_element: bool = False


@dataclass
class Count:
    """The blocks that one call allocates. `must` may depend on the size of the message."""
    label: str
    name: str
    must: Optional[int] = None
    growth_of: Optional[str] = None


def text_rows():
    limits = {"small": (1.0, .75), "ve_status": (.90, .65), "processes": (.70, .50),
              "textheavy": (.30, .18), "deep": (.70, .45)}
    for name, (must, goal) in limits.items():
        yield Row(f"XML to binary: {name}", f"parse/{name}/tqamsg", f"parse/{name}/pugixml", must, goal)
    limits = {"small": ((.80, .60), (.80, .60)), "ve_status": ((.55, .40), (.55, .40)),
              "processes": ((.42, .30), (.55, .40)), "textheavy": ((.20, .12), (.65, .40))}
    for name, forms in limits.items():
        for form, (must, goal) in zip(("parsed", "typed"), forms):
            yield Row(f"binary to XML: {name}, {form}", f"print/{name}/{form}/tqamsg",
                      f"print/{name}/pugixml", must, goal)


def load_rows():
    for verb in ("load", "export"):
        for name in ("ve_status", "processes", "textheavy"):
            yield Row(f"{verb}: {name}", f"{verb}/{name}/tqamsg", f"{verb}/{name}/copy", 1.25, 1.05)
    yield Row("load: small", "load/small/tqamsg", "load/small/msgpack", .75, .45)
    # A walk of msgpack reads texts where they lie, which here is what a cursor does.
    yield Row("load and walk: processes, with a cursor", "load_and_walk/processes/comfort",
              "load_and_walk/processes/msgpack", .70, .50)


def base64_rows():
    # Against OpenSSL there is no goal; the goals of this row are for a vectorised library.
    limits = {("encode", "1KB"): .30, ("decode", "1KB"): .30, ("encode", "1MB"): .30, ("decode", "1MB"): .35}
    for (verb, size), must in limits.items():
        yield Row(f"Base64: {verb} {size}", f"base64/{verb}/{size}/tqamsg",
                  f"base64/{verb}/{size}/openssl", must)


def soap_rows():
    kinds = (("request/small", "small request to message", "gsoap", .28, .15),
             ("response/small", "small response", "gsoap", .85, .5),
             ("request/1MB", "1 MB request to message", "pugixml", .90, .55))
    for path, label, peer, must, goal in kinds:
        for version in ("1.1", "1.2"):
            name = f"soap/{path}/soap{version.replace('.', '')}"
            yield Row(f"SOAP {version}: {label}", f"{name}/tqamsg", f"{name}/{peer}", must, goal)


ROWS = [
    *text_rows(),
    Row("build by id with an iterator", "build/id/tqamsg", "build/id/capnproto", 1.4, 1.0),
    Row("build by name", "build/name/tqamsg", "build/name/pugixml", .85, .60),
    Row("walk with typed reads", "walk/fields/ve_status/typed/tqamsg", "walk/ve_status/flexbuffers", 1.8, 1.2),
    Row("walk reading texts as integers", "walk/fields/ve_status/parsed/tqamsg", "walk/ve_status/pugixml",
        .45, .30),
    *load_rows(),
    Row("header getter (int), parsed", "header/get/parsed/tqamsg", "header/get/pugixml", 2.0, 1.0),
    Row("header getter (int), typed", "header/get/typed/tqamsg", "header/get/pugixml", 2.0, 1.0),
    Row("header setter (int)", "header/set/tqamsg", "header/set/pugixml", 2.0, 1.0),
    Row("genReply: small, parsed", "reply/small/parsed/tqamsg", "reply/small/pugixml", 1.0, .6),
    Row("genReply: small, typed", "reply/small/typed/tqamsg", "reply/small/pugixml", 1.0, .6),
    *base64_rows(),
    Row("log line", "log/line/tqamsg", "log/line/calls", 1.35, 1.15),
    *soap_rows(),
]

# Other ways to do the same, and stricter readings of a row: no figure to reach.
COMPARISONS = [
    *(Row(f"walk with cursors by {how}, {form}, against the iterator",
          f"walk/fields/ve_status/{form}/{who}", f"walk/fields/ve_status/{form}/tqamsg")
      for form in ("typed", "parsed") for who, how in (("comfort", "id"), ("comfort-names", "name"))),
    Row("header getter with a cursor, against the getter", "header/get/typed/comfort", "header/get/typed/tqamsg"),
    Row("1000 frames with the reader, against calls by hand", "frames/small/comfort", "frames/small/tqamsg"),
    Row("build with the builder", "build/id/builder", "build/id/capnproto"),
    Row("build with the builder, against an iterator", "build/id/builder", "build/id/tqamsg"),
    Row("build deep with the builder, against an iterator", "build/steps/deep/builder",
        "build/steps/deep/tqamsg"),
    *(Row(f"XML to binary: {name}, {label}", f"parse/{name}/tqamsg", f"parse/{name}/{peer}")
      for name in ("small", "ve_status", "processes", "textheavy")
      for peer, label in (("pugixml-minimal", "pugixml without entities"), ("rapidxml", "RapidXML, fastest"))),
    Row("binary to XML: deep", "print/deep/parsed/tqamsg", "print/deep/pugixml"),
    Row("build by id, in memory that Cap'n Proto is given", "build/id/tqamsg", "build/id/capnproto-in-place"),
    Row("build by id, structs of a schema", "build/id/tqamsg", "build/id/capnproto-structs"),
    Row("walk element by element, typed", "walk/elements/ve_status/typed/tqamsg",
        "walk/ve_status/flexbuffers"),
    Row("walk element by element, texts", "walk/elements/ve_status/parsed/tqamsg", "walk/ve_status/pugixml"),
    Row("load and walk with an iterator, which copies texts", "load_and_walk/processes/fields/tqamsg",
        "load_and_walk/processes/msgpack"),
    Row("load and walk element by element", "load_and_walk/processes/elements/tqamsg",
        "load_and_walk/processes/msgpack"),
    Row("log line, spdlog with its file kept open", "log/line/tqamsg", "log/line/spdlog"),
]


def growth_rows():
    for verb, name in (("XML to binary", "parse/{}/tqamsg"), ("binary to XML", "print/{}/parsed/tqamsg"),
                       ("walk", "walk/elements/{}/typed/tqamsg")):
        yield Growth(f"{verb}: an element of deep against one of ve_status", name.format("deep"),
                     name.format("ve_status"), 2.0, True)
    yield Growth("build: an element of deep against one of ve_status", "build/steps/deep/tqamsg",
                 "build/steps/ve_status/tqamsg", None, True)
    yield Growth("build with the builder: an element of deep against one of ve_status",
                 "build/steps/deep/builder", "build/steps/ve_status/builder", 2.0, True)
    for verb, label in (("parse", "XML to binary"), ("print", "binary to XML"), ("walk", "walk"),
                        ("load", "load")):
        # A load is a copy: what it costs depends on which cache holds the bytes, for memcpy too.
        yield Growth(f"{label}: four times the processes", f"size/{verb}/4096/tqamsg",
                     f"size/{verb}/1024/tqamsg", None if verb == "load" else 5.5)
    yield Growth("SOAP request: 4 MB against 1 MB", "soap/request/4MB/soap11/tqamsg",
                 "soap/request/1MB/soap11/tqamsg", 5.5)
    for verb, label, base in (("parse", "XML to binary", "parse/deep/tqamsg"),
                              ("print", "binary to XML", "print/deep/parsed/tqamsg"),
                              ("walk", "walk", "walk/elements/deep/typed/tqamsg"),
                              ("builder", "build with the builder", "build/steps/deep/builder")):
        yield Growth(f"{label}: four times as deep", f"shape/deep40000/{verb}/tqamsg", base, 7.0)
    for name in ("ve_status", "processes"):
        yield Growth(f"print {name}: ten header attributes set last against first",
                     f"shape/attributes/{name}/last/tqamsg", f"shape/attributes/{name}/first/tqamsg", 1.15)
    for verb, label, must in (("delete_backwards", "deleting all children, last to first", 5.5),
                              ("expand_raw", "expanding raw children", 5.5),
                              ("put_distinct", "putting distinct children one by one", None)):
        yield Growth(f"{label}: 10,000 against 2,500", f"shape/{verb}/10000/tqamsg",
                     f"shape/{verb}/2500/tqamsg", must)


GROWTH = list(growth_rows())

COUNTS = [
    Count("load: small", "load/small/tqamsg", 4),
    Count("load: processes", "load/processes/tqamsg", 4),
    Count("export: processes", "export/processes/tqamsg", 1),
    Count("header getter", "header/get/typed/tqamsg", 0),
    Count("header setter", "header/set/tqamsg", 0),
    Count("walk, typed", "walk/fields/ve_status/typed/tqamsg", 0),
    Count("walk, texts as integers", "walk/fields/ve_status/parsed/tqamsg", 0),
    Count("XML to binary: small", "parse/small/tqamsg", growth_of="load/small/tqamsg"),
    Count("XML to binary: ve_status", "parse/ve_status/tqamsg", growth_of="load/ve_status/tqamsg"),
    Count("XML to binary: processes", "parse/processes/tqamsg", growth_of="load/processes/tqamsg"),
    *(Count(f"binary to XML: {name}, {form}", f"print/{name}/{form}/tqamsg", 1)
      for name in ("ve_status", "processes", "textheavy") for form in ("parsed", "typed")),
    Count("build by id", "build/id/tqamsg"),
    Count("build with the builder", "build/id/builder"),
    Count("genReply: small", "reply/small/typed/tqamsg"),
    Count("log line", "log/line/tqamsg"),
    Count("SOAP 1.1: small request to message", "soap/request/small/soap11/tqamsg"),
    Count("SOAP 1.1: small response", "soap/response/small/soap11/tqamsg"),
]


# --- running --------------------------------------------------------------------------------------

@dataclass
class Result:
    time: float  # nanoseconds of the processor, median
    spread: float
    counters: dict


class Results(dict):
    """Results by benchmark, and what went wrong."""

    def __init__(self):
        super().__init__()
        self.context = {}
        self.errors = {}

    def add(self, report):
        self.context = report["context"]
        runs = {}
        for run in report["benchmarks"]:
            if run.get("error_occurred"):
                self.errors[run["name"]] = run["error_message"]
            elif run.get("run_type") == "iteration":
                runs.setdefault(run["run_name"], []).append(run)
        for name, repeated in runs.items():
            times = [run["cpu_time"] for run in repeated]
            median = statistics.median(times)
            self[name] = Result(median, (max(times) - min(times)) / median, repeated[0])


def groups(program):
    """The benchmarks that are compared run in one process, in turns."""
    listed = subprocess.run([program, "--benchmark_list_tests"], check=True, capture_output=True, text=True)
    made = {}
    for name in listed.stdout.split():
        parts = name.split("/")
        made.setdefault("/".join(parts[:1 if "walk" in parts[0] else 2]), []).append(name)
    return made


def run(program, options):
    results = Results()
    for group, names in groups(program).items():
        print(f"  {group}: {len(names)} benchmarks", file=sys.stderr, flush=True)
        wanted = "|".join(names)
        command = [program, f"--benchmark_filter=^({wanted})$", "--benchmark_format=json",
                   f"--benchmark_repetitions={REPETITIONS}", "--benchmark_enable_random_interleaving=true",
                   *options]
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        if done.returncode != 0:
            sys.exit(f"{group} failed:\n{done.stderr}")
        results.add(json.loads(done.stdout))
    return results


# --- texts ----------------------------------------------------------------------------------------

def time_text(nanoseconds):
    for unit, size in (("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}" if nanoseconds < 1000 * size else f"{nanoseconds / size:.0f} {unit}"
    return f"{nanoseconds:.3g} ns"


def figure_text(value):
    return "" if value is None else f"{value:g}" if isinstance(value, int) else f"{value:.2f}"


def verdict(value, must, goal=None, held="must"):
    if must is None:
        return ""
    if value > must:
        return "MISSED"
    return "goal" if goal is not None and value <= goal else held


def unsteady(*results):
    return " ~" if any(result.spread > STEADY for result in results) else ""


def row_cells(row, results):
    ours, peer = results.get(row.ours), results.get(row.yardstick)
    name = row.yardstick.rsplit("/", 1)[1]
    limits = [figure_text(row.must), figure_text(row.goal)]
    if ours is None or peer is None:
        missing = row.ours if ours is None else row.yardstick
        return [row.label, "", name, "", "", *limits, results.errors.get(missing, "not measured")]
    ratio = ours.time / peer.time
    return [row.label, time_text(ours.time), name, time_text(peer.time), f"{ratio:.2f}", *limits,
            verdict(ratio, row.must, row.goal) + unsteady(ours, peer)]


def growth_ratio(row, results):
    more, base = results[row.more], results[row.base]
    ratio = more.time / base.time
    return ratio * base.counters["elements"] / more.counters["elements"] if row.per_element else ratio


def growth_cells(row, results):
    if row.more not in results or row.base not in results:
        missing = row.more if row.more not in results else row.base
        return [row.label, "", "", "", figure_text(row.must), results.errors.get(missing, "not measured")]
    more, base = results[row.more], results[row.base]
    ratio = growth_ratio(row, results)
    return [row.label, time_text(more.time), time_text(base.time), f"{ratio:.2f}", figure_text(row.must),
            verdict(ratio, row.must, held="held") + unsteady(more, base)]


def count_limit(count, results):
    """A parse has its message, the shared counter, the record and a buffer that starts at 4 KB and doubles."""
    if count.growth_of is None or count.growth_of not in results:
        return count.must
    size = results[count.growth_of].counters["bytes"]
    return 4 + max(0, math.ceil(math.log2(size / 4096)))


def count_cells(count, results):
    if count.name not in results:
        return [count.label, "", figure_text(count.must), results.errors.get(count.name, "not measured")]
    made = round(results[count.name].counters["allocations"])
    limit = count_limit(count, results)
    return [count.label, str(made), figure_text(limit), verdict(made, limit, held="held")]


HEADS = {
    "rows": ["row", "ours", "yardstick", "its time", "ratio", "must", "goal", "verdict"],
    "growth": ["growth", "more", "base", "ratio", "must", "verdict"],
    "counts": ["allocations", "per call", "must", "verdict"],
}


def columns(head, lines):
    """A table for the terminal: the first column to the left, the others to the right."""
    widths = [max(len(line[i]) for line in [head, *lines]) for i in range(len(head))]
    return "\n".join("  ".join([line[0].ljust(widths[0]), *(cell.rjust(width) for cell, width in
                                                          zip(line[1:], widths[1:]))]).rstrip()
                     for line in [head, *lines])


def markdown(head, lines):
    rule = ["---", *["---:"] * (len(head) - 1)]
    return "\n".join("| " + " | ".join(line) + " |" for line in [head, rule, *lines])


# --- plots ----------------------------------------------------------------------------------------

INK, FAINT, OURS, PEER = "#1b1f24", "#d0d7de", "#0b5cad", "#c4530b"
WITHIN_GOAL, WITHIN_MUST, BEYOND = "#1a7f37", "#b08800", "#cf222e"


class Svg:
    """A picture, drawn element by element."""

    def __init__(self, width, height, title):
        self.parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
                      f'width="{width}" height="{height}" role="img" font-family="sans-serif" font-size="12">',
                      f"<title>{title}</title>", f'<rect width="{width}" height="{height}" fill="#ffffff"/>']

    def text(self, x, y, text, anchor="start", colour=INK, size=12, weight="normal"):
        escaped = text.replace("&", "&amp;").replace("<", "&lt;")
        self.parts.append(f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" fill="{colour}" '
                          f'font-size="{size}" font-weight="{weight}">{escaped}</text>')

    def line(self, x1, y1, x2, y2, colour=FAINT, width=1.0, dash=""):
        dashed = f' stroke-dasharray="{dash}"' if dash else ""
        self.parts.append(f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" '
                          f'stroke="{colour}" stroke-width="{width}"{dashed}/>')

    def box(self, x, y, width, height, colour, opacity=1.0):
        self.parts.append(f'<rect x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" height="{height:.1f}" '
                          f'fill="{colour}" fill-opacity="{opacity}"/>')

    def dot(self, x, y, colour, radius=4.0):
        self.parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="{radius}" fill="{colour}"/>')

    def __str__(self):
        return "\n".join([*self.parts, "</svg>", ""])


class LogAxis:
    """Positions of values on a logarithmic axis; values beyond its ends are drawn at them."""

    def __init__(self, low, high, start, end):
        self.low, self.high, self.start, self.end = math.log(low), math.log(high), start, end

    def __call__(self, value):
        inside = min(max(math.log(value), self.low), self.high)
        return self.start + (inside - self.low) / (self.high - self.low) * (self.end - self.start)


def ratios_plot(results):
    """One line for each row: where it must be, where it is to be, and where it is."""
    rows = [row for row in ROWS if row.ours in results and row.yardstick in results]
    pitch, top, left, right = 19, 70, 300, 880
    bottom = top + pitch * len(rows)
    svg = Svg(960, bottom + 20, "Time divided by the yardstick's time, row by row")
    at = LogAxis(.03, 10, left, right)
    svg.text(20, 24, "Time divided by the yardstick's: further left is faster", size=15, weight="bold")
    legend = ((WITHIN_GOAL, "within the goal"), (WITHIN_MUST, "within the must"), (BEYOND, "beyond"))
    for i, (colour, text) in enumerate(legend):
        svg.dot(left + 150 * i + 6, 42, colour)
        svg.text(left + 150 * i + 16, 46, text)
    for tick in (.05, .1, .2, .5, 1, 2, 5, 10):
        strong = tick == 1
        svg.line(at(tick), top - 8, at(tick), bottom, INK if strong else FAINT, 1.5 if strong else 1)
        svg.text(at(tick), top - 12, f"{tick:g}", "middle", size=11)
    for i, row in enumerate(rows):
        y = top + pitch * i + pitch / 2
        ratio = results[row.ours].time / results[row.yardstick].time
        svg.box(left, y - 7, at(row.must) - left, 14, WITHIN_MUST, .18)
        if row.goal is not None:
            svg.box(left, y - 7, at(row.goal) - left, 14, WITHIN_GOAL, .25)
        colour = {"goal": WITHIN_GOAL, "must": WITHIN_MUST}.get(verdict(ratio, row.must, row.goal), BEYOND)
        svg.dot(at(ratio), y, colour, 5)
        svg.text(left - 8, y + 4, row.label, "end")
        svg.text(right + 12, y + 4, f"{ratio:.2f}", colour=colour, weight="bold")
    return str(svg)


SIZE_CURVES = (
    ("XML to binary", "size/parse/{}/tqamsg", OURS, ""), ("pugixml load_buffer", "size/parse/{}/pugixml", OURS, "5 3"),
    ("binary to XML", "size/print/{}/tqamsg", PEER, ""), ("pugixml save", "size/print/{}/pugixml", PEER, "5 3"),
    ("walk", "size/walk/{}/tqamsg", WITHIN_GOAL, ""),
    ("load", "size/load/{}/tqamsg", INK, ""), ("malloc, memcpy, free", "size/load/{}/copy", INK, "5 3"),
)


def spread_labels(places, gap):
    """Moves labels that would cover each other apart, from the top down."""
    moved, last = {}, -math.inf
    for key, y in sorted(places.items(), key=lambda place: place[1]):
        last = max(y, last + gap)
        moved[key] = last
    return moved


def size_plot(results):
    """Time per kilobyte of text against the size of the message: a level line is linear cost."""
    sizes = sorted({int(name.split("/")[2]) for name in results if name.startswith("size/")})
    curves = [(label, colour, dash, [(size, results[name.format(size)].time / size) for size in sizes])
              for label, name, colour, dash in SIZE_CURVES
              if all(name.format(size) in results for size in sizes)]
    values = [value for *_, points in curves for _, value in points]
    svg = Svg(860, 480, "Time per kilobyte against the size of the message")
    svg.text(20, 24, "Processor time per KB of XML (processes): level is linear", size=15, weight="bold")
    across = LogAxis(sizes[0], sizes[-1], 80, 660)
    up = LogAxis(min(values) / 1.3, max(values) * 1.3, 440, 50)
    for size in sizes:
        svg.line(across(size), 50, across(size), 440)
        svg.text(across(size), 458, f"{size} KB" if size < 1024 else f"{size // 1024} MB", "middle", size=11)
    for power in range(math.ceil(math.log10(min(values))), math.floor(math.log10(max(values))) + 1):
        svg.line(80, up(10 ** power), 660, up(10 ** power))
        svg.text(74, up(10 ** power) + 4, time_text(10 ** power), "end", size=11)
    labels = spread_labels({label: up(points[-1][1]) for label, _, _, points in curves}, 15)
    for label, colour, dash, points in curves:
        places = [(across(size), up(value)) for size, value in points]
        for (x1, y1), (x2, y2) in zip(places, places[1:]):
            svg.line(x1, y1, x2, y2, colour, 2, dash)
        for x, y in places:
            svg.dot(x, y, colour, 3)
        svg.text(670, labels[label] + 4, label, colour=colour)
    return str(svg)


# --- the document ---------------------------------------------------------------------------------

BEGIN, END = "<!-- measured: begin -->", "<!-- measured: end -->"


def processor():
    for line in Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return "unknown"


def system():
    pairs = (line.split("=", 1) for line in Path("/etc/os-release").read_text().splitlines() if "=" in line)
    return dict(pairs).get("PRETTY_NAME", "unknown").strip('"')


def machine_lines(results, command):
    context = results.context
    peers = ", ".join(f"{key[5:]} {value}" for key, value in context.items() if key.startswith("peer "))
    load = context.get("load_avg") or [math.nan]
    return "\n".join([
        f"- Processor: {processor()}, {context['num_cpus']} cores at {context['mhz_per_cpu']} MHz, "
        f"load {load[0]:.1f}",
        f"- System: {system()}, g++ {context['compiler']}, -O2, the shared library",
        f"- Peers: {peers}",
        f"- Command: `{command}`, {context['date'][:10]}",
    ])


def summary(results):
    verdicts = [row_cells(row, results)[-1].rstrip(" ~") for row in ROWS]
    counted = {word: verdicts.count(word) for word in ("goal", "must", "MISSED")}
    other = len(verdicts) - sum(counted.values())
    return (f"{len(ROWS)} rows: {counted['goal']} within the goal, {counted['must']} within the must, "
            f"{counted['MISSED']} missed" + (f", {other} not measured" if other else "") + ".")


def measured_part(results, command):
    parts = [
        summary(results) + f" A `~` marks times whose {REPETITIONS} repetitions lie more than "
        f"{STEADY:.0%} of the median apart.",
        "![ratios](performance-ratios.svg)",
        markdown(HEADS["rows"], [row_cells(row, results) for row in ROWS]),
        "## Against other ways",
        "No figure is to be reached here; they show what a row leaves out.",
        markdown(HEADS["rows"][:5], [row_cells(row, results)[:5] for row in COMPARISONS]),
        "## Shape",
        "![cost against size](performance-size.svg)",
        markdown(HEADS["growth"], [growth_cells(row, results) for row in GROWTH]),
        "## Allocations",
        markdown(HEADS["counts"], [count_cells(count, results) for count in COUNTS]),
        "## Machine",
        machine_lines(results, command),
    ]
    return "\n\n".join(parts)


def write_document(folder, results, command):
    """Replaces the measured part of performance.md; what stands around it is written by hand."""
    folder.mkdir(parents=True, exist_ok=True)
    path = folder / "performance.md"
    text = path.read_text() if path.exists() else f"# Performance\n\n{BEGIN}\n{END}\n"
    before, rest = text.split(BEGIN, 1)
    after = rest.split(END, 1)[1]
    path.write_text(f"{before}{BEGIN}\n{measured_part(results, command)}\n{END}{after}")
    (folder / "performance-ratios.svg").write_text(ratios_plot(results))
    (folder / "performance-size.svg").write_text(size_plot(results))
    return path


def print_tables(results):
    print(columns(HEADS["rows"], [row_cells(row, results) for row in ROWS]))
    print("\n" + columns(HEADS["rows"][:5], [row_cells(row, results)[:5] for row in COMPARISONS]))
    print("\n" + columns(HEADS["growth"], [growth_cells(row, results) for row in GROWTH]))
    print("\n" + columns(HEADS["counts"], [count_cells(count, results) for count in COUNTS]))
    print("\n" + summary(results))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program", type=Path, help="the benchmark program")
    parser.add_argument("--quick", action="store_true", help="short runs: one minute instead of ten")
    parser.add_argument("--seed", type=int, help="other values in the messages")
    parser.add_argument("--out", type=Path, help="the folder of the document and the plots")
    arguments = parser.parse_args()

    options = [f"--benchmark_min_time={0.01 if arguments.quick else 0.5}"]
    if arguments.seed is not None:
        options.append(f"--seed={arguments.seed}")
    results = run(str(arguments.program.resolve()), options)
    print_tables(results)
    beside = arguments.program.resolve().parent / "report"
    folder = arguments.out or (beside if arguments.quick else Path(__file__).resolve().parent.parent / "docs")
    command = "./dev bench" + (" --quick" if arguments.quick else "")
    if arguments.seed is not None:
        command += f" --seed {arguments.seed}"
    print(f"\nwritten: {write_document(folder, results, command)}")
    for name, error in results.errors.items():
        print(f"failed: {name}: {error}", file=sys.stderr)
    return 1 if results.errors else 0


if __name__ == "__main__":
    sys.exit(main())
