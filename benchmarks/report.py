#!/usr/bin/env python3
"""Tables and charts from the results of the benchmarks.

usage: report.py RESULTS [--tables FOLDER] [--document FOLDER --versions FILE] [--missed]
RESULTS is a folder with JSON files of Google Benchmark, repetitions in them: JOB.json, and
JOB.again.json where a job was run again. --tables writes tables.md with all figures, and a chart a
job, to FOLDER; --document writes the page for readers, FOLDER/performance.md, and its chart; --missed
prints the jobs that miss a goal without a reason in reasons.json. Without any of these the tables go
to the standard output.
"""
import argparse
import html
import json
import math
import pathlib
import statistics
import sys

OWN = "Morvel"
CEILING = "ceiling: "
RAW = " (raw)"

JOBS = {
    "exchange": "A whole program",
    "startup": "Start and size",
    "normalize": "Text to NFC",
    "convert": "Between encodings",
    "search": "Find, replace all, compare",
    "numbers": "Numbers to text and back",
    "document": "A document read and written",
    "lookup": "Elements by path",
    "values": "Values set and read",
    "log": "Log in force",
    "log_off": "Log off",
    "transfer": "HTTP on loopback",
    "identifiers": "Identifiers and CRC-32",
    "dates": "ISO 8601",
    "files": "Files",
    "locks": "A lock that nobody else wants",
    "tokenize": "Text into words",
    "growth": "Growth",
    "scaling": "Threads",
}
WITHOUT_PEERS = ("growth", "scaling")  # their subjects are sizes, and numbers of threads

# What Morvel is to reach: job, beginning of the case's name, what is measured, against whom, how many
# times as much it may take. "best" is the fastest subject that is no ceiling, "limit" a plain number,
# "over raw" how much may be added to the dependency's, "one thread" what the same work takes in one.
GOALS = [
    ("exchange", "one exchange", "time", "raw", 1.05),
    ("exchange", "one exchange", "time", "POCO", 1.0),
    ("exchange", "one exchange", "time", "Qt 6", 1.0),
    ("startup", "load", "time", "over raw", 1e6),
    ("scaling", "", "time", "one thread", 1.0),
    ("normalize", "ascii", "time", "best", 1.0),
    ("normalize", "ascii", "time", "ceiling", 2.0),
    *[("normalize", script, "time", "best", 1 / 3)
      for script in ("latin", "greek", "cyrillic", "kana", "cjk", "hangul")],
    ("normalize", "decomposed", "time", "raw", 1.0),
    ("normalize", "decomposed", "time", "best", 1.1),
    ("normalize", "alternating marks", "time", "limit", 0.5e9),
    *[("convert", case + ", latin", "time", "best", 1.0)
      for case in ("Latin-1 to UTF-8", "UTF-8 to UTF-16", "UTF-16 to UTF-8")],
    *[("convert", case + ", ascii", "time", "best", 1.1)
      for case in ("Latin-1 to UTF-8", "UTF-8 to UTF-16", "UTF-16 to UTF-8")],
    ("search", "replace all", "time", "best", 1.0),
    ("search", "find", "time", "best", 1.0),
    ("search", "compare", "time", "best", 1.1),
    ("search", "compare 64 B", "allocations", "limit", 0),
    ("search", "equal", "time", "best", 1.1),
    *[("numbers", case, "time", "best", 1.1)
      for case in ("int to text", "text to int", "u64 to text", "text to u64", "double to text",
                   "text to double")],
    ("document", "load", "time", "raw", 1.05),
    ("document", "to text", "time", "raw", 1.05),
    ("document", "memory", "peak_bytes", "raw", 1.1),
    ("lookup", "", "time", "best", 1.0),
    ("lookup", "", "allocations", "limit", 0.001),  # the threads themselves allocate
    ("values", "set", "time", "best", 1.0),
    ("values", "read", "time", "best", 1.0),
    *[("values", case, "time", "best", 1.0) for case in ("16,000 new names", "64,000 new names")],
    ("log", "", "call_p50_ns", "best", 2.0),
    ("log", "", "call_p99_ns", "best", 1.0),
    ("log", "", "time", "raw", 1.0),
    ("log_off", "", "time", "limit", 120),
    ("transfer", "small GET", "time", "raw", 1.05),
    ("transfer", "GET of 512 MiB", "time", "raw", 1.15),
    ("transfer", "POST of 64 MiB", "time", "raw", 1.05),
    ("transfer", "memory", "peak_bytes", "limit", 1.25 * 512 * 2**20),
    ("identifiers", "identifiers", "time", "best", 1.0),
    ("identifiers", "CRC-32", "time", "raw", 1.02),
    ("dates", "", "time", "best", 1.1),
    ("files", "", "time", "best", 1.05),
    ("locks", "", "time", "raw", 1.1),
    ("tokenize", "", "time", "raw", 1.1),
]

UNITS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
# What is measured beside time, and what a row of a table calls it.
EXTRAS = {"call_p50_ns": "one call, median", "call_p99_ns": "one call, 99th percentile",
          "processor_ns": "processor time", "peak_bytes": "peak memory", "library_bytes": "size of the library",
          "loaded_bytes": "size of all that is loaded", "held_bytes": "memory of the process",
          "private_bytes": "of that, its own", "code_lines": "lines of code"}
METRICS = (*EXTRAS, "allocations")


def code_lines(path):
    """Lines of a source file that are neither blank nor a comment alone."""
    lines = (line.strip() for line in path.read_text().splitlines())
    return sum(1 for line in lines if line and not line.startswith("//"))


class Subject:
    """All repetitions of one subject: lists of values by metric."""

    def __init__(self):
        self.values = {}
        self.rate_bytes = 0

    def add(self, run):
        items = run.get("items", 1) or 1
        wall = run["name"].endswith(("/real_time", "/manual_time"))
        time = run["real_time" if wall else "cpu_time"] * UNITS[run["time_unit"]] / items
        self.values.setdefault("time", []).append(time)
        if "bytes_per_second" in run:
            raw = run["real_time" if wall else "cpu_time"] * UNITS[run["time_unit"]]
            self.rate_bytes = run["bytes_per_second"] * raw / 1e9
        for metric in METRICS:
            if metric in run:
                self.values.setdefault(metric, []).append(run[metric])
        if "label" in run:  # the source file that has all of the subject's work
            self.values["code_lines"] = [code_lines(pathlib.Path(__file__).parent / run["label"])]

    def median(self, metric="time"):
        return statistics.median(self.values[metric]) if metric in self.values else None

    def spread(self, metric="time"):
        """Half the distance between the quartiles, in parts of the median."""
        values, middle = sorted(self.values[metric]), self.median(metric)
        if len(values) < 2 or not middle:
            return 0.0
        low, _, high = statistics.quantiles(values, n=4)
        return (high - low) / 2 / middle


def read(paths):
    """The cases of a job: {case: {subject: Subject}}, and the context of the last run."""
    runs, context, cases = [], None, {}
    for path in paths:
        document = json.loads(path.read_text())
        runs += document["benchmarks"]
        context = document["context"]
    # Interleaving shuffles the runs; the order of the tables is that of the source.
    for run in sorted(runs, key=lambda r: r.get("family_index", 0)):
        if run.get("run_type", "iteration") != "iteration":
            continue
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run.get('error_message')}")
        case, subject = run["name"].split("/")[:2]
        cases.setdefault(case, {}).setdefault(subject, Subject()).add(run)
    return cases, context


def read_all(folder):
    """The cases of each job that has results there, and the context of the last run."""
    results, context = {}, None
    for job in JOBS:
        paths = [p for p in (folder / f"{job}.json", folder / f"{job}.again.json") if p.exists()]
        if paths:
            results[job], context = read(paths)
    if not results:
        sys.exit(f"no results in {folder}")
    return results, context


def is_own(name):
    return name == OWN or name.startswith(OWN + " ")


def best(subjects, metric="time"):
    """Name of the best that is neither Morvel nor a ceiling; None without one."""
    peers = [n for n, s in subjects.items()
             if not is_own(n) and not n.startswith(CEILING) and s.median(metric) is not None]
    return min(peers, key=lambda n: subjects[n].median(metric), default=None)


def opponent(subjects, against, metric):
    if against == "best":
        return best(subjects, metric)
    wanted = {"raw": lambda n: n.endswith(RAW), "over raw": lambda n: n.endswith(RAW),
              "ceiling": lambda n: n.startswith(CEILING)}.get(against, lambda n: n == against)
    return next((n for n in subjects if wanted(n)), None)


def metric_of(case):
    return "peak_bytes" if case.startswith("memory") else "time"


def shown(value, metric="time"):
    if metric in ("allocations", "code_lines"):
        return f"{value:.4g}"
    if metric.endswith("_bytes"):
        return f"{value / 2**20:.1f} MiB"
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if value >= size:
            return f"{value / size:.3g} {unit}"
    return f"{value:.3g} ns"


def ratio(value, other):
    return f"{value / other:.2f}" if value is not None and other else "-"


def table(cases):
    rows = ["| case | subject | median | spread | rate | to the best peer | to the ceiling | allocations |",
            "|---|---|--:|--:|--:|--:|--:|--:|"]
    for case, subjects in cases.items():
        metric = metric_of(case)
        top = best(subjects, metric)
        ceiling = opponent(subjects, "ceiling", metric)
        for name in sorted(subjects, key=lambda n: subjects[n].median(metric)):
            subject = subjects[name]
            value = subject.median(metric)
            rate = f"{subject.rate_bytes / value:.2f} GB/s" if subject.rate_bytes and metric == "time" else ""
            allocations = subject.median("allocations")
            rows.append(
                f"| {case} | {'**' + name + '**' if is_own(name) else name} | {shown(value, metric)}"
                f" | ±{100 * subject.spread(metric):.0f} % | {rate}"
                f" | {ratio(value, subjects[top].median(metric) if top else None)}"
                f" | {ratio(value, subjects[ceiling].median(metric) if ceiling else None)}"
                f" | {'' if allocations is None else f'{allocations:.3g}'} |")
            for extra, label in EXTRAS.items():
                if extra in subject.values and extra != metric:
                    peer = best(subjects, extra)
                    rows.append(
                        f"| {case}: {label} | {'**' + name + '**' if is_own(name) else name}"
                        f" | {shown(subject.median(extra), extra)} | ±{100 * subject.spread(extra):.0f} % | "
                        f" | {ratio(subject.median(extra), subjects[peer].median(extra))} | - | |")
    return rows


def reasons():
    """Why a goal is out of reach: a list of {job, case (its beginning), reason}."""
    return json.loads((pathlib.Path(__file__).parent / "reasons.json").read_text())


def reason(job, case):
    return next((r["reason"] for r in reasons() if r["job"] == job and case.startswith(r["case"])), None)


def thread_goal(subjects):
    """No number of threads gets less done than one thread, beyond the noise, of which a tenth is believed at most."""
    one = subjects["1"]
    worst = max((n for n in subjects if n != "1"), key=lambda n: subjects[n].median())
    there = subjects[worst].median() / one.median()
    return ("as much done as in one thread", f"{1 / there:.2f} of it in {worst} threads",
            there <= 1 + min(one.spread() + subjects[worst].spread(), 0.1))


def goals(results):
    """Each goal: (job, case, what was to be reached, what was, whether it is met)."""
    found = []
    for job, prefix, metric, against, factor in GOALS:
        for case, subjects in results.get(job, {}).items():
            if not case.startswith(prefix):
                continue
            if against == "one thread":
                if case.startswith(CEILING):
                    continue
                found.append((job, case, *thread_goal(subjects)))
                continue
            if OWN not in subjects:
                continue
            own = subjects[OWN].median(metric)
            if own is None:
                continue
            label = {"time": "", "allocations": "allocations ", "peak_bytes": "memory ",
                     "call_p50_ns": "a call's median ", "call_p99_ns": "a call's 99th percentile "}[metric]
            if against == "limit":
                limit = factor
                goal = f"{label}at most {shown(factor, metric)}"
                there = shown(own, metric)
            else:
                other = opponent(subjects, against, metric)
                if other is None:
                    continue
                value, name = subjects[other].median(metric), other.replace(CEILING, "")
                if against == "over raw":
                    limit = value + factor
                    goal = f"{label}at most {shown(factor, metric)} over {name}"
                    there = f"{(own - value) / 1e6:.2f} ms over it ({shown(own, metric)})"
                else:
                    limit = factor * value
                    goal = f"{label}at most {factor:.2f} of {name}"
                    there = f"{ratio(own, value)} ({shown(own, metric)})"
            found.append((job, case, goal, there, own <= limit))
    return found


def missed(found):
    return [g for g in found if not g[4]]


def goal_table(found):
    rows = ["| job | case | goal | there | |", "|---|---|---|---|---|"]
    for job, case, goal, there, ok in found:
        why = reason(job, case)
        verdict = "met" if ok else "**not met**" + (f": {why}" if why else "")
        rows.append(f"| {job} | {case} | {goal} | {there} | {verdict} |")
    return rows


# Colours that can be read on a bright page and on a dark one, with their own ground: where a page
# embeds the picture, its ground needn't be the page's.
STYLE = """<style>
text { fill: #24292f; font: 12px sans-serif } text.title { font-size: 14px } text.quiet { fill: #57606a }
line { stroke: #d0d7de } line.one { stroke: #57606a } line.range { stroke: #8c959f; stroke-width: 2 }
circle { fill: #8c959f } circle.best { fill: #0b6e99 } rect.ground { fill: #ffffff }
@media (prefers-color-scheme: dark) {
  text { fill: #e6edf3 } text.quiet { fill: #9198a1 } line { stroke: #3d444d } line.one { stroke: #9198a1 }
  circle.best { fill: #4ab3e0 } rect.ground { fill: #0d1117 }
}
</style>"""


def svg(width, height, parts):
    return "\n".join([f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" '
                      f'height="{height}">', STYLE, f'<rect class="ground" width="{width}" height="{height}"/>',
                      *parts, "</svg>"]) + "\n"


def ratios(job, cases):
    """(ratio to the best peer, case, metric) of each case, the best first. A log is its 99th percentile."""
    metric = "call_p99_ns" if job == "log" else "time"
    found = []
    for case, subjects in cases.items():
        peer = best(subjects, metric)
        if peer and OWN in subjects and not case.startswith("memory") and subjects[OWN].median(metric):
            found.append((subjects[OWN].median(metric) / subjects[peer].median(metric), case, metric))
    return sorted(found)


def glance(results):
    """A line a job, on a logarithmic axis: the best case as a dot, the others on the line behind it."""
    rows = [(JOBS[job], found) for job, cases in results.items()
            if job not in WITHOUT_PEERS and (found := ratios(job, cases))]
    rows.sort(key=lambda row: row[1][0][0])
    left, width, line, top = 215, 500, 24, 60
    low = math.floor(min(math.log2(found[0][0]) for _, found in rows))
    high = math.ceil(max(math.log2(found[-1][0]) for _, found in rows))
    height = top + line * len(rows) + 30

    def x(value):
        return left + width * (math.log2(value) - low) / (high - low)

    parts = ['<text x="10" y="20" class="title">Time beside the best peer, the log by the 99th percentile of a '
             'call: less is better</text>',
             '<text x="10" y="38" class="quiet">Dot: the job\'s best case. Line: its other cases.</text>']
    for power in range(low, high + 1):
        at, label = x(2.0**power), f"{2**power}" if power >= 0 else f"1/{2**-power}"
        parts.append(f'<line x1="{at:.1f}" y1="{top - 8}" x2="{at:.1f}" y2="{height - 26}"'
                     f'{" class=" + chr(34) + "one" + chr(34) if power == 0 else ""}/>'
                     f'<text x="{at:.1f}" y="{height - 10}" text-anchor="middle" class="quiet">{label}</text>')
    for index, (title, found) in enumerate(rows):
        y = top + line * index + 8
        parts.append(f'<text x="{left - 12}" y="{y + 4}" text-anchor="end">{html.escape(title)}</text>'
                     f'<line x1="{x(found[0][0]):.1f}" y1="{y}" x2="{x(found[-1][0]):.1f}" y2="{y}" class="range"/>')
        parts += [f'<circle cx="{x(value):.1f}" cy="{y}" r="2.5"/>' for value, _, _ in found[1:]]
        parts.append(f'<circle cx="{x(found[0][0]):.1f}" cy="{y}" r="6" class="best"/>'
                     f'<text x="{left + width + 12}" y="{y + 4}">{found[0][0]:.2f}</text>')
    return svg(left + width + 60, height, parts)


def summary(results, found):
    """A line a job."""
    rows = ["| job | its best case | Morvel | the best peer there | ratio | all cases | goals met |",
            "|---|---|--:|---|--:|--:|--:|"]
    for job, cases in results.items():
        if job in WITHOUT_PEERS:
            continue
        own_goals = [g for g in found if g[0] == job]
        met = f"{len(own_goals) - len(missed(own_goals))} of {len(own_goals)}"
        each = ratios(job, cases)
        if not each:
            case, subjects = next(iter(cases.items()))
            rows.append(f"| {JOBS[job]} | {case} | {shown(subjects[OWN].median())} | - | - | - | {met} |")
            continue
        value, case, metric = each[0]
        peer = best(cases[case], metric)
        span = f"{value:.2f} to {each[-1][0]:.2f}" if len(each) > 1 else "-"
        label = case + (", 99th percentile of a call" if metric == "call_p99_ns" else "")
        rows.append(f"| {JOBS[job]} | {label} | {shown(cases[case][OWN].median(metric), metric)} | "
                    f"{peer}, {shown(cases[case][peer].median(metric), metric)} | {value:.2f} | {span} | {met} |")
    return rows


COLOURS = {"own": "#0b6e99", "ceiling": "#b8b8b8", "raw": "#d9853b", "peer": "#7a9a5b"}


def colour(name):
    if is_own(name):
        return COLOURS["own"]
    if name.startswith(CEILING):
        return COLOURS["ceiling"]
    return COLOURS["raw" if name.endswith(RAW) else "peer"]


def chart(title, cases):
    """Bars on a logarithmic axis: time in multiples of the best peer's."""
    left, width, line, gap = 250, 560, 15, 26
    bars = []
    for case, subjects in cases.items():
        metric = metric_of(case)
        top = best(subjects, metric)
        base = subjects[top or OWN].median(metric) if (top or OWN) in subjects else None
        if not base:
            continue
        bars.append((case, [(n, s.median(metric) / base) for n, s in subjects.items()]))
    if not bars:
        return None
    everything = [max(r, 1e-4) for _, group in bars for _, r in group]
    low = math.floor(math.log10(min(min(everything), 0.5)))
    high = math.ceil(math.log10(max(max(everything), 2)))

    def x(value):
        return left + width * (math.log10(max(value, 10**low)) - low) / (high - low)

    height = 60 + sum(gap + line * len(group) for _, group in bars)
    out = [f'<text x="10" y="18" class="title">{html.escape(title)}: multiples of the best '
           'peer, less is better</text>']
    for power in range(low, high + 1):
        at = x(10**power)
        out.append(f'<line x1="{at:.1f}" y1="32" x2="{at:.1f}" y2="{height - 12}"/>'
                   f'<text x="{at:.1f}" y="{height - 2}" text-anchor="middle" class="quiet">{10**power:g}</text>')
    y = 38
    for case, group in bars:
        out.append(f'<text x="10" y="{y + 10}" font-weight="bold">{html.escape(case)}</text>')
        y += 16
        for name, value in group:
            out.append(f'<text x="{left - 6}" y="{y + 11}" text-anchor="end">{html.escape(name)}</text>'
                       f'<rect x="{left}" y="{y + 2}" width="{max(x(value) - left, 1):.1f}" height="{line - 4}" '
                       f'fill="{colour(name)}"/>'
                       f'<text x="{max(x(value), left + 1) + 4:.1f}" y="{y + 11}">{value:.2f}</text>')
            y += line
        y += gap - 16
    return svg(left + width + 70, height, out)


def growth(cases):
    """Table rows and a plot: time against size, both in multiples of the first size's."""
    rows = ["| operation | " + " | ".join(f"size {i + 1}" for i in range(5)) + " | steepest step |",
            "|---|" + "--:|" * 6]
    lines = []
    for case, subjects in cases.items():
        points = sorted((int(n), s.median()) for n, s in subjects.items())
        steps = [math.log(b[1] / a[1]) / math.log(b[0] / a[0]) for a, b in zip(points, points[1:])]
        steep = f"size^{max(steps):.2f}"
        lines.append((case, [(n / points[0][0], t / points[0][1]) for n, t in points]))
        cells = [f"{n:,}: {shown(t)}" for n, t in points]
        rows.append(f"| {case} | " + " | ".join(cells + [""] * (5 - len(cells))) + f" | {steep} |")
    span = max((max(max(p) for p in points) for _, points in lines), default=10)
    low = math.log10(min((min(p[1] for p in points) for _, points in lines), default=1))
    low, high = min(0, math.floor(low)), math.ceil(math.log10(span))
    size, left, top = 420, 50, 40

    def place(point):
        return (left + size * math.log10(point[0]) / high,
                top + size - size * (math.log10(point[1]) - low) / (high - low))

    out = ['<text x="10" y="18" class="title">Time against size, multiples of the smallest; dashed: '
           'linear</text>']
    for power in range(0, high + 1):
        at = place((10**power, 1))[0]
        out.append(f'<line x1="{at:.1f}" y1="{top}" x2="{at:.1f}" y2="{top + size}"/>'
                   f'<text x="{at:.1f}" y="{top + size + 14}" text-anchor="middle">{10**power:g}</text>')
    for power in range(low, high + 1):
        at = place((1, 10**power))[1]
        out.append(f'<line x1="{left}" y1="{at:.1f}" x2="{left + size}" y2="{at:.1f}"/>'
                   f'<text x="{left - 5}" y="{at + 4:.1f}" text-anchor="end">{10**power:g}</text>')
    begin, end = place((1, 1)), place((10**high, 10**high))
    out.append(f'<line x1="{begin[0]:.1f}" y1="{begin[1]:.1f}" x2="{end[0]:.1f}" y2="{end[1]:.1f}" '
               'class="one" stroke-dasharray="5,4"/>')
    for index, (case, points) in enumerate(lines):
        hue = f"hsl({index * 360 // max(len(lines), 1)},65%,42%)"
        path = " ".join("{:.1f},{:.1f}".format(*place(p)) for p in points)
        out.append(f'<polyline points="{path}" fill="none" stroke="{hue}" stroke-width="2"/>'
                   f'<rect x="{left + size + 20}" y="{top + 18 * index}" width="12" height="4" fill="{hue}"/>'
                   f'<text x="{left + size + 38}" y="{top + 6 + 18 * index}">{html.escape(case)}</text>')
    return rows, svg(left + size + 340, top + size + 40, out)


def scaling(cases):
    """Table rows: one thread's pace, and what more of them get done in multiples of it."""
    counts = sorted({int(n) for subjects in cases.values() for n in subjects})
    rows = ["| work | one thread | " + " | ".join(f"{n} threads" for n in counts[1:]) + " | noise |",
            "|---|" + "--:|" * (len(counts) + 1)]
    for case, subjects in cases.items():
        one = subjects["1"].median()
        more = [f"{one / subjects[str(n)].median():.2f}" for n in counts[1:]]
        noise = max(subject.spread() for subject in subjects.values())
        rows.append(f"| {case.replace(CEILING, '')} | {shown(one)} each | " + " | ".join(more)
                    + f" | ±{100 * noise:.0f} % |")
    return rows


def columns(cases, wanted):
    """Table rows, one a subject: `wanted` are (heading, case, metric)."""
    names = list(dict.fromkeys(name for subjects in cases.values() for name in subjects))
    rows = ["| | " + " | ".join(heading for heading, _, _ in wanted) + " |", "|---|" + "--:|" * len(wanted)]
    for name in names:
        cells = []
        for _, case, metric in wanted:
            subject = cases.get(case, {}).get(name)
            value = subject.median(metric) if subject else None
            cells.append("-" if value is None else shown(value, metric))
        rows.append(f"| {name.replace(CEILING, '')} | " + " | ".join(cells) + " |")
    return rows


def job_table(job, cases):
    if job == "growth":
        return growth(cases)[0]
    return scaling(cases) if job == "scaling" else table(cases)


def whole_programs(results):
    """What of the page is about programs rather than about calls."""
    text = []
    if "exchange" in results:
        text += ["## A whole program", "",
                 "An exchange with a server, as an application has it all day: an order built as a document and posted to "
                 "an nginx on loopback, the reply parsed, ten values read, one as a number and one as a date, the reply "
                 "saved to a file, three lines of log. Each peer does it 2,000 times in a process of its own, and its "
                 "source file in `benchmarks/exchange` is all that it takes. The server ends each connection; where it "
                 "keeps them, all but Morvel use theirs again: a request of Morvel's is one of its own. The lines of Morvel's "
                 "and POCO's logs may reach their file behind the last exchange; processor time has them all. "
                 "Allocations are all blocks of memory that one exchange asks the system's `malloc` for.", "",
                 *columns(results["exchange"], [
                     ("time", "one exchange", "time"), ("processor time", "one exchange", "processor_ns"),
                     ("allocations", "one exchange", "allocations"), ("peak memory", "one exchange", "peak_bytes"),
                     ("lines of code", "one exchange", "code_lines"), ("time, connection kept", "kept connection", "time")]),
                 ""]
    if "startup" in results:
        text += ["## Start and size", "",
                 "What it costs to have the library: `dlopen` until it returns, the size of its own file and of all "
                 "files that come with it, the memory of a process that has loaded it and does nothing, and the time from "
                 "the start of the program above to the first line of its log on disk.", "",
                 *columns(results["startup"], [
                     ("load", "load", "time"), ("own size", "load", "library_bytes"),
                     ("all that comes", "load", "loaded_bytes"), ("memory", "load", "held_bytes"),
                     ("of that, private", "load", "private_bytes"),
                     ("start to first line", "start to first log line", "time")]), ""]
    if "scaling" in results:
        text += ["## Threads", "",
                 "What more threads get done, in multiples of what one does. Lines of a log go through one writer to one "
                 "disk; arithmetic shares nothing, and shows what the machine has to give.", "",
                 *scaling(results["scaling"]), ""]
    return text


def tables(folder, results):
    """All figures, for those who want them."""
    folder.mkdir(parents=True, exist_ok=True)
    text = ["# Tables of one run", "",
            "\"(raw)\" is the dependency that Morvel stands on, called directly; a ceiling is the bare work that no "
            "library can beat. Spread is half the distance between the quartiles.", "",
            *goal_table(goals(results)), ""]
    for job, cases in results.items():
        rows = job_table(job, cases)
        plot = growth(cases)[1] if job == "growth" else None if job == "scaling" else chart(JOBS[job], cases)
        text += [f"## {JOBS[job]}", "", *rows, ""]
        if plot:
            (folder / f"{job}.svg").write_text(plot)
            text += [f"![{JOBS[job]}]({job}.svg)", ""]
    (folder / "tables.md").write_text("\n".join(text))


def document(folder, results, context, versions):
    """The page for readers: a chart, a line a job, and how it was measured."""
    charts = folder / "performance"
    charts.mkdir(parents=True, exist_ok=True)
    (charts / "glance.svg").write_text(glance(results))
    found = goals(results)
    text = ["# Performance", "",
            "Morvel beside what a user could take instead. A ratio is Morvel's time by that of the best peer in the "
            "same case, so below 1 Morvel is faster. \"(raw)\" is the dependency that Morvel stands on, called "
            "directly.", "",
            "![Morvel beside the best of its peers, a line a job](performance/glance.svg)", "",
            *summary(results, found), ""]
    if missed(found):
        text += ["| What misses its goal | goal, and what was reached | why |", "|---|---|---|",
                 *[f"| {JOBS[job]}, {case} | {goal}; {there} | {reason(job, case) or ''} |"
                   for job, case, goal, there, _ in missed(found)], ""]
    else:
        text += ["All goals are met.", ""]
    text += whole_programs(results)
    if "growth" in results:
        rows = [[cell.strip() for cell in row.split("|")] for row in growth(results["growth"])[0]]
        text += ["## Growth", "", "From the smallest size to the largest; the steepest step of work that is linear is "
                 "size^1.", "", "| operation | from | to | steepest step |", "|---|--:|--:|--:|",
                 *[f"| {row[1]} | {row[2]} | {[c for c in row[2:7] if c][-1]} | {row[7]} |" for row in rows[2:]], ""]
        text += [f"- {case}: {why}" for case in results["growth"] if (why := reason("growth", case))] + [""]
    text += ["## How it was measured", "",
             "By `script/bench`; `script/bench JOB` runs one job and prints its table. All subjects of a job run in one "
             "process (those of the first two have one each), their repetitions shuffled among each other, each after its "
             "result has been checked, and the "
             "figure is the median. A job that misses a goal without a reason is run again, and all its repetitions "
             "count. What each subject took in each case, with the spread, a ceiling of bare work and the allocations, "
             "stands in `build/bench/report` after a run. Times of one machine say little about another's: read the "
             "ratios.", "",
             f"Machine: {versions.pop('machine', 'unknown')}; {context['num_cpus']} cores. "
             f"Run: {context['date']}, library built as {versions.pop('build', 'release')}.", "",
             "Versions: " + ", ".join(f"{k} {v}" for k, v in versions.items()) + ".", ""]
    (folder / "performance.md").write_text("\n".join(text))


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("results", type=pathlib.Path)
    arguments.add_argument("--tables", type=pathlib.Path)
    arguments.add_argument("--document", type=pathlib.Path)
    arguments.add_argument("--versions", type=pathlib.Path)
    arguments.add_argument("--missed", action="store_true")
    given = arguments.parse_args()
    results, context = read_all(given.results)
    if given.missed:
        print(*sorted({job for job, case, *_ in missed(goals(results)) if not reason(job, case)}))
        return
    if given.tables:
        tables(given.tables, results)
    if given.document:
        versions = dict(l.split("=", 1) for l in given.versions.read_text().splitlines() if "=" in l)
        document(given.document, results, context, versions)
    if given.tables or given.document:
        return
    for job, cases in results.items():
        print("\n".join([f"\n## {JOBS[job]}", "", *job_table(job, cases)]))
    found = goals(results)
    print("\n".join(["", f"## Goals: {len(found) - len(missed(found))} of {len(found)} met", "", *goal_table(found)]))


if __name__ == "__main__":
    main()
