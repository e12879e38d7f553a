#!/usr/bin/env python3
"""Tables and charts from the results of the benchmarks.

usage: report.py RESULTS [--document FOLDER --versions FILE]
RESULTS is a folder with one JSON file of Google Benchmark a job, repetitions in it. Without
--document the tables go to the standard output; with it they go to FOLDER/performance.md and the
charts to FOLDER/performance/.
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
}

# What Morvel is to reach: job, beginning of the case's name, what is measured, against whom, how many
# times as much it may take. "best" is the fastest subject that is no ceiling, "limit" a plain number.
GOALS = [
    ("normalize", "ascii", "time", "best", 1.0),
    ("normalize", "ascii", "time", "ceiling", 2.0),
    *[("normalize", script, "time", "best", 1 / 3)
      for script in ("latin", "greek", "cyrillic", "kana", "cjk", "hangul")],
    ("normalize", "decomposed", "time", "raw", 1.0),
    ("normalize", "alternating marks", "time", "limit", 0.5e9),
    *[("convert", case + ", latin", "time", "best", 1.0)
      for case in ("Latin-1 to UTF-8", "UTF-8 to UTF-16", "UTF-16 to UTF-8")],
    *[("convert", case + ", ascii", "time", "best", 1.5)
      for case in ("Latin-1 to UTF-8", "UTF-8 to UTF-16", "UTF-16 to UTF-8")],
    ("search", "replace all", "time", "best", 1.0),
    ("search", "find", "time", "best", 1.0),
    ("search", "compare", "time", "best", 1.1),
    ("search", "compare 64 B", "allocations", "limit", 0),
    *[("numbers", case, "time", "best", 1.3)
      for case in ("int to text", "text to int", "u64 to text", "text to u64", "double to text",
                   "text to double")],
    ("document", "load", "time", "raw", 1.05),
    ("document", "to text", "time", "raw", 1.05),
    ("document", "memory", "peak_bytes", "raw", 1.1),
    ("lookup", "", "time", "best", 1.0),
    ("lookup", "", "allocations", "limit", 0),
    ("values", "set", "time", "best", 1.0),
    ("values", "read", "time", "best", 1.0),
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
    ("dates", "", "time", "raw", 1.1),
    ("files", "", "time", "best", 1.05),
    ("locks", "", "time", "raw", 1.1),
    ("tokenize", "", "time", "raw", 1.1),
]

UNITS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
METRICS = ("peak_bytes", "call_p50_ns", "call_p99_ns", "allocations")


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

    def median(self, metric="time"):
        return statistics.median(self.values[metric]) if metric in self.values else None

    def spread(self, metric="time"):
        """Half the distance between the quartiles, in parts of the median."""
        values, middle = sorted(self.values[metric]), self.median(metric)
        if len(values) < 2 or not middle:
            return 0.0
        low, _, high = statistics.quantiles(values, n=4)
        return (high - low) / 2 / middle


def read(path):
    """The cases of a job: {case: {subject: Subject}}, and the context of the run."""
    document = json.loads(path.read_text())
    cases = {}
    # Interleaving shuffles the runs; the order of the tables is that of the source.
    for run in sorted(document["benchmarks"], key=lambda r: r.get("family_index", 0)):
        if run.get("run_type", "iteration") != "iteration":
            continue
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run.get('error_message')}")
        case, subject = run["name"].split("/")[:2]
        cases.setdefault(case, {}).setdefault(subject, Subject()).add(run)
    return cases, document["context"]


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
    wanted = {"raw": lambda n: n.endswith(RAW), "ceiling": lambda n: n.startswith(CEILING)}[against]
    return next((n for n in subjects if wanted(n)), None)


def shown(value, metric="time"):
    if metric == "allocations":
        return f"{value:g}"
    if metric == "peak_bytes":
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
        metric = "peak_bytes" if case.startswith("memory") else "time"
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
            if "call_p50_ns" in subject.values:
                for extra in ("call_p50_ns", "call_p99_ns"):
                    label = "one call, median" if "p50" in extra else "one call, 99th percentile"
                    peer = best(subjects, extra)
                    rows.append(
                        f"| {label} | {'**' + name + '**' if is_own(name) else name} | {shown(subject.median(extra))}"
                        f" | ±{100 * subject.spread(extra):.0f} % | "
                        f" | {ratio(subject.median(extra), subjects[peer].median(extra))} | - | |")
    return rows


def reasons():
    """Why a goal is out of reach: a list of {job, case (its beginning), reason}."""
    return json.loads((pathlib.Path(__file__).parent / "reasons.json").read_text())


def reason(job, case):
    return next((r["reason"] for r in reasons() if r["job"] == job and case.startswith(r["case"])), None)


def verdict(ok, job, case):
    if ok:
        return "met"
    why = reason(job, case)
    return "**not met**" + (f": {why}" if why else "")


def goals(results):
    rows = ["| job | case | goal | there | |", "|---|---|---|---|---|"]
    met = 0
    total = 0
    for job, prefix, metric, against, factor in GOALS:
        for case, subjects in results.get(job, {}).items():
            if not case.startswith(prefix) or OWN not in subjects:
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
                limit = factor * subjects[other].median(metric)
                goal = f"{label}at most {factor:.2f} of {other.replace(CEILING, '')}"
                there = f"{ratio(own, subjects[other].median(metric))} ({shown(own, metric)})"
            ok = own <= limit
            met += ok
            total += 1
            rows.append(f"| {job} | {case} | {goal} | {there} | {verdict(ok, job, case)} |")
    return rows, met, total


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
        metric = "peak_bytes" if case.startswith("memory") else "time"
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
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + width + 70}" height="{height}" '
           'font-family="sans-serif" font-size="11">',
           '<rect width="100%" height="100%" fill="#ffffff"/>',
           f'<text x="10" y="18" font-size="14">{html.escape(title)}: multiples of the best '
           'peer, less is better</text>']
    for power in range(low, high + 1):
        at = x(10**power)
        out.append(f'<line x1="{at:.1f}" y1="32" x2="{at:.1f}" y2="{height - 12}" stroke="#dddddd"/>'
                   f'<text x="{at:.1f}" y="{height - 2}" text-anchor="middle" fill="#666666">{10**power:g}</text>')
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
    return "\n".join(out + ["</svg>"]) + "\n"


def growth(cases):
    """Table rows and a plot: time against size, both in multiples of the first size's."""
    rows = ["| operation | " + " | ".join(f"size {i + 1}" for i in range(5)) + " | steepest step |",
            "|---|" + "--:|" * 6]
    lines = []
    for case, subjects in cases.items():
        points = sorted((int(n), s.median()) for n, s in subjects.items())
        if "log lines" in case:
            steep = "-"
        else:
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

    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + size + 340}" height="{top + size + 40}" '
           'font-family="sans-serif" font-size="11">', '<rect width="100%" height="100%" fill="#ffffff"/>',
           '<text x="10" y="18" font-size="14">Time against size, multiples of the smallest; dashed: '
           'linear</text>']
    for power in range(0, high + 1):
        at = place((10**power, 1))[0]
        out.append(f'<line x1="{at:.1f}" y1="{top}" x2="{at:.1f}" y2="{top + size}" stroke="#dddddd"/>'
                   f'<text x="{at:.1f}" y="{top + size + 14}" text-anchor="middle">{10**power:g}</text>')
    for power in range(low, high + 1):
        at = place((1, 10**power))[1]
        out.append(f'<line x1="{left}" y1="{at:.1f}" x2="{left + size}" y2="{at:.1f}" stroke="#dddddd"/>'
                   f'<text x="{left - 5}" y="{at + 4:.1f}" text-anchor="end">{10**power:g}</text>')
    begin, end = place((1, 1)), place((10**high, 10**high))
    out.append(f'<line x1="{begin[0]:.1f}" y1="{begin[1]:.1f}" x2="{end[0]:.1f}" y2="{end[1]:.1f}" '
               'stroke="#444444" stroke-dasharray="5,4"/>')
    for index, (case, points) in enumerate(lines):
        hue = f"hsl({index * 360 // max(len(lines), 1)},65%,42%)"
        path = " ".join("{:.1f},{:.1f}".format(*place(p)) for p in points)
        out.append(f'<polyline points="{path}" fill="none" stroke="{hue}" stroke-width="2"/>'
                   f'<rect x="{left + size + 20}" y="{top + 18 * index}" width="12" height="4" fill="{hue}"/>'
                   f'<text x="{left + size + 38}" y="{top + 6 + 18 * index}">{html.escape(case)}</text>')
    return rows, "\n".join(out + ["</svg>"]) + "\n"


def document(folder, results, context, versions):
    charts = folder / "performance"
    charts.mkdir(parents=True, exist_ok=True)
    for old in charts.glob("*.svg"):
        old.unlink()
    goal_rows, met, total = goals(results)
    text = ["# Performance", "",
            "Morvel beside what a user could take instead, written by `script/bench`. `script/bench JOB` runs "
            "one job and prints its table. Times of one machine say little about another's: read the ratios. "
            "All subjects of a job ran in one process, their repetitions shuffled among each other, each "
            "after its result had been checked. \"(raw)\" is the dependency that Morvel stands on, called "
            "directly; a ceiling is the bare work that no library can beat. Spread is half the distance "
            "between the quartiles.", "",
            f"Machine: {versions.pop('machine', 'unknown')}; {context['num_cpus']} cores. "
            f"Run: {context['date']}, library built as {versions.pop('build', 'release')}.", "",
            "Versions: " + ", ".join(f"{k} {v}" for k, v in versions.items()) + ".", "",
            "## Goals", "", f"{met} of {total} met.", "", *goal_rows, ""]
    for job, title in JOBS.items():
        if job not in results:
            continue
        text += [f"## {title}", "", f"`script/bench {job}`", ""]
        if job == "growth":
            rows, plot = growth(results[job])
        else:
            rows, plot = table(results[job]), chart(title, results[job])
        text += rows + [""]
        if job == "growth":
            text += [f"{case}: {why}\n" for case in results[job] if (why := reason(job, case))]
        if plot:
            (charts / f"{job}.svg").write_text(plot)
            text += [f"![{title}](performance/{job}.svg)", ""]
    (folder / "performance.md").write_text("\n".join(text))


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("results", type=pathlib.Path)
    arguments.add_argument("--document", type=pathlib.Path)
    arguments.add_argument("--versions", type=pathlib.Path)
    given = arguments.parse_args()
    results, context = {}, None
    for job in JOBS:
        path = given.results / f"{job}.json"
        if path.exists():
            results[job], context = read(path)
    if not results:
        sys.exit(f"no results in {given.results}")
    if given.document:
        versions = dict(l.split("=", 1) for l in given.versions.read_text().splitlines() if "=" in l)
        document(given.document, results, context, versions)
        return
    for job, cases in results.items():
        print("\n".join([f"\n## {JOBS[job]}", ""] + (growth(cases)[0] if job == "growth" else table(cases))))
    rows, met, total = goals(results)
    print("\n".join(["", f"## Goals: {met} of {total} met", ""] + rows))


if __name__ == "__main__":
    main()
